// What takes time, away from the page.

import { expose } from './lib/comlink.js';
import { errorsOf, exactData, mathFunction, mathResults } from './exact.js';
import qelvm from './lib/qelvm/index.mjs';
import { goldenHashes } from './lib/qelvm/check.mjs';
import { apply } from './library.js';
import { formats, toBits } from './numbers.js';

const families = fetch(new URL('families.json', import.meta.url)).then((response) => response.json())
  .then((facts) => facts.families); // awaited in each call: what comes before the worker listens would be lost
const data = {};

expose({
  /** Calls `report(name, same)` for every export, as its hash is computed. */
  async golden(report) {
    for (const { name, same } of goldenHashes()) await report(name.replace(/^qels/, ''), same);
  },

  /** Errors of an export, and of the engine's function where it has one, over the family's range. */
  async errors(name) {
    const [family, type] = name.split('_'), format = formats[type], facts = (await families)[family];
    const exact = await (data[`${family}_${type}`] ??= exactData(`data/${family}_${type}.bin`, facts));
    const operand = (array) => array && format.Floats.from(array);
    const { results } = apply(name, facts.shape, operand(exact.x), operand(exact.y));
    const floats = results.map((bits) => new format.Floats(bits.buffer));
    const f = type === '64f' && mathFunction(facts);
    return {
      x: exact.x,
      ours: errorsOf(floats, exact, format),
      math: f ? errorsOf([mathResults(f, exact)], exact, format) : null,
    };
  },

  /** The function at arguments. */
  async graph(name, x, y) {
    const [family, type] = name.split('_'), { Floats } = formats[type];
    const { results } = apply(name, (await families)[family].shape, Floats.from(x), Floats.from(x, () => y));
    return results.map((bits) => Float64Array.from(new Floats(bits.buffer)));
  },

  /** One call: the bits of the results, and the status; the engine's own result where there is one. */
  async evaluate(name, x, y) {
    const [family, type] = name.split('_'), format = formats[type], facts = (await families)[family];
    const bits = (n) => format.Bits.of(format.bytes === 8 ? n : Number(n));
    const { results, status } = apply(name, facts.shape, bits(x), bits(y));
    const f = type === '64f' && mathFunction(facts);
    const number = (n) => new format.Floats(bits(n).buffer)[0];
    return {
      results: results.map((array) => BigInt(array[0])),
      status: `${status}: ${qelvm.statusText(status)}`,
      math: f ? toBits(f(number(x), number(y)), format) : null,
    };
  },
});
