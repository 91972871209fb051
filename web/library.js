// Exports of the package by their names, over arrays of any length.

import qelvm from './lib/qelvm/index.mjs';
import { formats } from './numbers.js';

/**
 * What an export such as Exp_64f_A53 of that shape gives for arguments `x` (and `y`; of a scalar, as many
 * times the same): an array of bits for each result, and the status of the last block that was not Ok.
 * `simd`: of the module for registers, where it has the export. `module` is the one that was asked.
 */
export function apply(name, shape, x, y, simd = qelvm.simd) {
  const { Bits } = formats[name.split('_')[1]];
  const { call, memory, places, module } = qelvm.raw(`qels${name}`, simd);
  const capacity = (places[1] - places[0]) / 8;
  const [inX, inY, ...out] = places.map((place) => new Bits(memory.buffer, place, capacity));
  const bits = (array) => new Bits(array.buffer, array.byteOffset, array.length); // NaNs keep theirs
  const results = (shape === 'TwoDestinations' ? out : out.slice(0, 1)).map(() => new Bits(x.length));
  const operands = {
    OneSource: [places[0], places[2]],
    TwoSources: places.slice(0, 3),
    SourceAndScalar: places.slice(0, 3),
    TwoDestinations: [places[0], places[2], places[3]],
  }[shape];
  let status = 0;
  for (let start = 0; start < x.length; start += capacity) {
    const end = Math.min(start + capacity, x.length);
    inX.set(bits(x).subarray(start, end));
    if (operands[1] === places[1]) inY.set(bits(y).subarray(start, end));
    const of = call(...operands, end - start);
    if (of !== 0) status = of;
    results.forEach((array, d) => array.set(out[d].subarray(0, end - start), start));
  }
  return { results, status, module };
}
