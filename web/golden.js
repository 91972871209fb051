// The golden hash of an export, computed in this engine: the sequence of tests/library/golden.cpp and
// the special values of tests/library/checks.hpp. families/*.txt have what it gives everywhere.

import { formats, parse, signOf, toBits, toNumber } from './numbers.js';

const kinds = 8, perKind = 16384;
const mask = (1n << 64n) - 1n;
/** 2^e; the engine's own operator need not be exact. */
const power = (e) => toNumber(parse(`0x1p${e}`, formats['64f']), formats['64f']);

/** splitmix64. */
class Random {
  constructor(state) {
    this.state = state;
  }
  bits() {
    let z = (this.state = (this.state + 0x9E3779B97F4A7C15n) & mask);
    z = ((z ^ (z >> 30n)) * 0xBF58476D1CE4E5B9n) & mask;
    z = ((z ^ (z >> 27n)) * 0x94D049BB133111EBn) & mask;
    return z ^ (z >> 31n);
  }
  below(count) {
    return Number(this.bits() % BigInt(count));
  }
  within(limit) {
    return Number(BigInt.asIntN(64, this.bits()) >> 10n) * power(-53) * limit;
  }
}

/** The bits of an input of that kind. */
function input(random, kind, format) {
  const single = format.bytes === 4;
  const fractionBits = BigInt(format.precision - 1);
  const bias = single ? 127 : 1023;
  const fraction = (1n << fractionBits) - 1n;
  const all = 2n * signOf(format) - 1n;
  const r = random.bits() & all;
  switch (kind) {
    case 0: return r;
    case 1:
      return (r & (signOf(format) | fraction)) | (BigInt(bias - 64 + random.below(128)) << fractionBits);
    case 2: return toBits(random.within(1), format);
    case 3: return toBits(random.within(30), format);
    case 4: return toBits(random.within(single ? 110 : 760), format);
    case 5: return (BigInt(bias) << fractionBits) + BigInt(random.below(64) - 32);
    case 6: return r & ~(BigInt(2 * bias + 1) << fractionBits);
    default: return toBits((random.below(4001) - 2000) * 0.25, format);
  }
}

function specialValues(format) {
  const single = format.bytes === 4;
  const values = [];
  const add = (v) => values.push(toBits(v, format), toBits(-v, format));
  add(0);
  for (const e of [format.lowest, format.lowest + 10, single ? -127 : -1023, single ? -126 : -1022,
    -100, -60, -53, -52, -28, -10, -3, -1, 0, 1, 2, 5, 17, 20, 53, 60, 100, single ? 127 : 1023]) {
    add(power(e));
    add(power(e) * 1.5);
    add(power(e) + power(Math.max(e - format.precision + 1, -1074)));
  }
  for (const v of [0.1, 0.3, 0.7, 0.999, 1.1, 3, 7, 9, 10, 27, 88, 89, 103.9, 104.5, 700, 709, 710, 745, 746,
    1e4, 1e10, 1e30]) add(v);
  const infinity = toBits(Infinity, format), quiet = 1n << BigInt(format.precision - 2);
  for (const bits of [infinity - 1n, infinity, infinity + 1n, infinity + 0x5A5n, infinity | quiet,
    (infinity | quiet) + 5n]) values.push(bits, bits | signOf(format));
  return values;
}

/** Numbers of any size as the 32-bit words of an operand. */
function wordsOf(bits, format) {
  return new Uint32Array(format.Bits.from(format.bytes === 8 ? bits : bits.map(Number)).buffer);
}

/** The pairs that are the same for every family, and the generator as it stands after the first. */
function commonPairs(format) {
  const random = new Random(1n);
  const pairs = [], special = [];
  for (let i = 0; i < kinds * perKind; ++i)
    pairs.push(input(random, i % kinds, format), input(random, random.below(kinds), format));
  const values = specialValues(format);
  for (const x of values) for (const y of values) special.push(x, y);
  return { pairs: wordsOf(pairs, format), special: wordsOf(special, format), state: random.state };
}

/** Pairs at the limits among the family's facts. */
function limitPairs(format, limits, state) {
  const random = new Random(state);
  const other = () => input(random, random.below(kinds), format);
  const pairs = [];
  for (const text of limits) {
    const limit = toBits(toNumber(parse(text, formats['64f']), formats['64f']), format);
    for (let step = -2n; step <= 2n; ++step)
      for (const sign of [0n, signOf(format)]) {
        const x = BigInt.asUintN(8 * format.bytes, limit + step) ^ sign;
        pairs.push(x, other());
        pairs.push(other(), x);
      }
  }
  return wordsOf(pairs, format);
}

/** FNV-1a of 64 bits, a byte at a time, over words; in quarters, whose products are 32-bit integers. */
class Hash {
  quarters = [0x2325, 0x8422, 0x9CE4, 0xCBF2];
  add(words) {
    let [a, b, c, d] = this.quarters;
    for (const word of words)
      for (let shift = 0; shift < 32; shift += 8) {
        a ^= (word >>> shift) & 0xFF;
        const p = a * 0x1B3, q = b * 0x1B3 + (p >>> 16); // the prime is 2^40 + 0x1B3
        const r = c * 0x1B3 + (a << 8) + (q >>> 16), s = d * 0x1B3 + (b << 8) + (r >>> 16);
        a = p & 0xFFFF;
        b = q & 0xFFFF;
        c = r & 0xFFFF;
        d = s & 0xFFFF;
      }
    this.quarters = [a, b, c, d];
  }
  text() {
    return this.quarters.map((quarter) => quarter.toString(16).padStart(4, '0')).reverse().join('');
  }
}

const common = {};

/**
 * The hash, 16 hexadecimal digits, of an export such as Exp_64f_A53 with the limits (`golden`) of its
 * family's facts; `library` as library.js makes it.
 */
export function goldenHash(library, name, limits) {
  const type = name.split('_')[1], format = formats[type], width = format.bytes / 4;
  const { pairs, special, state } = (common[type] ??= commonPairs(format));
  const hash = new Hash();
  const perPair = 2 * (2 + 1) + 2 * 2; // words, at most: results and status; in place a result and status
  const record = new Uint32Array(1024 * perPair); // 64 bits each: the upper words of floats remain 0
  const words = ({ inputs, results, call }) =>
    ({ call, arrays: [...inputs, ...results].map((array) => new Uint32Array(array.buffer, array.byteOffset, 2)) });
  const apart = words(library.operands(name)), shared = words(library.operands(name, { inPlace: true }));

  const run = (list, inPlace) => {
    let end = 0;
    const put = (low, high) => {
      record[end] = low;
      record[end + 1] = high;
      end += 2;
    };
    const putResult = (array) => put(array[0], width === 2 ? array[1] : 0);
    const load = ([x, y], i) => {
      x[0] = list[i];
      y[0] = list[i + width];
      if (width === 2) {
        x[1] = list[i + 1];
        y[1] = list[i + 3];
      }
    };
    for (let i = 0; i < list.length; i += 2 * width) {
      load(apart.arrays, i);
      const status = apart.call(1);
      for (let d = 2; d < apart.arrays.length; ++d) putResult(apart.arrays[d]);
      put(status, 0);
      if (inPlace) {
        load(shared.arrays, i);
        put(shared.call(1), 0);
        putResult(shared.arrays[2]);
      }
      if (end + perPair > record.length) {
        hash.add(record.subarray(0, end));
        end = 0;
      }
    }
    hash.add(record.subarray(0, end));
  };
  run(pairs, false);
  run(limitPairs(format, limits, state), false);
  run(special, true);
  return hash.text();
}
