// The exports of a WebAssembly module of the library by name, with memory for their operands.

import { formats } from './numbers.js';

/** The shapes of families/families.inc: how many sources and destinations, and whether a scalar. */
const shapes = {
  OneSource: { sources: 1, destinations: 1 },
  TwoSources: { sources: 2, destinations: 1 },
  SourceAndScalar: { sources: 1, destinations: 1, scalar: true },
  TwoDestinations: { sources: 1, destinations: 2 },
};

/**
 * The function (src, scalar, dst, length) with a scalar that it loads from an address: as an argument
 * from JavaScript, a NaN would lose its bits. A module of one function.
 */
function scalarFromMemory(f, memory, single) {
  const i32 = 0x7F, load = single ? [0x2A, 2, 0] : [0x2B, 3, 0];
  const type = (second) => [0x60, 4, i32, second, i32, i32, 1, i32];
  const section = (id, content) => [id, content.length, ...content];
  const module = new WebAssembly.Module(Uint8Array.from([
    0, 0x61, 0x73, 0x6D, 1, 0, 0, 0,
    ...section(1, [2, ...type(single ? 0x7D : 0x7C), ...type(i32)]),
    ...section(2, [2, 1, 0x71, 1, 0x6D, 2, 0, 0, 1, 0x71, 1, 0x66, 0, 0]), // q.m and q.f
    ...section(3, [1, 1]),
    ...section(7, [1, 1, 0x66, 0, 1]),
    ...section(10, [1, 15, 0, 0x20, 0, 0x20, 1, ...load, 0x20, 2, 0x20, 3, 0x10, 0, 0x0B]),
  ]));
  return new WebAssembly.Instance(module, { q: { m: memory, f } }).exports.f;
}

/**
 * A module's exports, called with operands in its memory.
 * `exports`: of an instance; `families`: name to { shape }, as families.json has them.
 */
export class Library {
  constructor(exports, families, capacity = 65536) {
    this.exports = exports;
    this.families = families;
    this.capacity = capacity; // elements of each operand
    const pages = Math.ceil((4 * 8 * capacity) / 65536);
    this.base = exports.memory.grow(pages) * 65536;
    this.scalarCalls = {};
  }

  /**
   * An export over the memory of its operands: `inputs`, two arrays of bits (the second holds a scalar in
   * its first element), `results`, and `call(length)`, which returns the status. In place, the last
   * source is the first destination.
   */
  operands(name, { inPlace = false } = {}) {
    const [family, type] = name.split('_');
    const { sources, destinations, scalar } = shapes[this.families[family].shape];
    const { memory, [`qels${name}`]: f } = this.exports;
    const { Bits } = formats[type];
    const address = (i) => this.base + i * 8 * this.capacity;
    const array = (i) => new Bits(memory.buffer, address(i), this.capacity);
    const inputs = [0, 1].map(array), results = [2, 3].map(array).slice(0, destinations);
    const [x, y, other] = [0, 1, 3].map(address);
    let r = address(2);
    if (inPlace) {
      r = address(sources - 1);
      results[0] = inputs[sources - 1];
    }
    const scalarCall = scalar && (this.scalarCalls[name] ??= scalarFromMemory(f, memory, type === '32f'));
    const call =
      scalar ? (length) => scalarCall(x, y, r, length)
      : sources === 2 ? (length) => f(x, y, r, length)
      : destinations === 2 ? (length) => f(x, r, other, length)
      : (length) => f(x, r, length);
    return { call, inputs, results };
  }

  /** The results, arrays of bits, for arrays of bits or of numbers; and the status of the last block. */
  apply(name, x, y) {
    const { call, inputs, results } = this.operands(name);
    const Bits = results[0].constructor;
    const bits = (array) => new Bits(array.buffer, array.byteOffset, array.length);
    const out = results.map(() => new Bits(x.length));
    let status = 0;
    for (let start = 0; start < x.length; start += this.capacity) {
      const length = Math.min(this.capacity, x.length - start);
      inputs[0].set(bits(x).subarray(start, start + length));
      if (y) inputs[1].set(bits(y).subarray(start, start + length));
      const of = call(length);
      if (of !== 0) status = of;
      out.forEach((array, d) => array.set(results[d].subarray(0, length), start));
    }
    return { results: out, status };
  }
}
