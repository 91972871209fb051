// What takes time, away from the page.

import { expose } from './lib/comlink.js';
import { errorsOf, exactData, mathFunction, mathResults } from './exact.js';
import { goldenHash } from './golden.js';
import { load } from './module.js';
import { formats, toBits } from './numbers.js';

const formatOf = (name) => formats[name.split('_')[1]];
const loading = load(); // awaited in each call: what comes before the worker listens would be lost
const data = {};

expose({
  /** Calls `report(name, same)` for every export, as its hash is computed. */
  async golden(report) {
    const library = await loading;
    for (const [family, { golden, hashes }] of Object.entries(library.families))
      for (const [type, hash] of Object.entries(hashes)) {
        const name = `${family}_${type}`;
        await report(name, goldenHash(library, name, golden) === hash);
      }
  },

  /** Errors of an export, and of the engine's function where it has one, over the family's range. */
  async errors(name) {
    const library = await loading, { families } = library;
    const [family, type] = name.split('_'), format = formats[type];
    const exact = await (data[`${family}_${type}`] ??= exactData(`data/${family}_${type}.bin`, families[family]));
    const operand = (array) => array && format.Floats.from(array);
    const { results } = library.apply(name, operand(exact.x), operand(exact.y));
    const floats = results.map((bits) => new format.Floats(bits.buffer));
    const f = type === '64f' && mathFunction(families[family]);
    return {
      x: exact.x,
      ours: errorsOf(floats, exact, format),
      math: f ? errorsOf([mathResults(f, exact)], exact, format) : null,
    };
  },

  /** The function at arguments. */
  async graph(name, x, y) {
    const library = await loading;
    const { Floats } = formatOf(name);
    const { results } = library.apply(name, Floats.from(x), Floats.from(x, () => y));
    return results.map((bits) => Float64Array.from(new Floats(bits.buffer)));
  },

  /** One call: the bits of the results, and the status; the engine's own result where there is one. */
  async evaluate(name, x, y) {
    const library = await loading, { families } = library;
    const [family, type] = name.split('_'), format = formats[type];
    const bits = (n) => format.Bits.of(format.bytes === 8 ? n : Number(n));
    const { results, status } = library.apply(name, bits(x), bits(y));
    const f = type === '64f' && mathFunction(families[family]);
    const number = (n) => new format.Floats(bits(n).buffer)[0];
    return {
      results: results.map((array) => BigInt(array[0])),
      status,
      math: f ? toBits(f(number(x), number(y)), format) : null,
    };
  },
});
