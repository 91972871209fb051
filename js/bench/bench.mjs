// Times of the package beside `Math`, in nanoseconds for an element; the rows of docs/javascript.md.
// usage: node js/bench/bench.mjs [PACKAGE] [REPETITIONS]
//
// Numbers: a loop that calls the function for each of 10^4. Arrays: 10^6 doubles in one call, with the
// module over 128-bit registers (for the functions that it has) and without it, beside a loop over
// `Math` that fills an array. Each is the least of interleaved repetitions.

import fs from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import vm from 'node:vm';
import { pathToFileURL } from 'node:url';

const folder = path.resolve(process.argv[2] || 'build/wasm/npm');
const repetitions = Number(process.argv[3] || 9);
const { default: qelvm } = await import(pathToFileURL(path.join(folder, 'index.mjs')));

// The same package in an engine that claims to have no such registers.
const context = vm.createContext({});
vm.runInContext('WebAssembly.validate = () => false', context);
vm.runInContext(fs.readFileSync(path.join(folder, 'qelvm.js'), 'utf8'), context);
const plain = context[Object.getOwnPropertySymbols(context).find(({ description }) => /^qelvm /.test(description))];

const ranges = {
  acos: [-1, 1], acosh: [1, 100], asin: [-1, 1], asinh: [-100, 100], atan: [-10, 10], atan2: [-10, 10],
  atanh: [-1, 1], cbrt: [-1e6, 1e6], cos: [-100, 100], cosh: [-20, 20], div: [1, 2], erf: [-5, 5], erfc: [-5, 5],
  exp: [-700, 700], inv: [1, 2], invcbrt: [0.1, 1e6], invsqrt: [0.1, 1e6], log: [1e-6, 1e6], log10: [1e-6, 1e6],
  pow: [0.1, 10], sin: [-100, 100], sincos: [-100, 100], sinh: [-20, 20], sqrt: [0, 1e6], tan: [-100, 100],
  tanh: [-10, 10],
};
const beside = { ...Object.fromEntries(Object.getOwnPropertyNames(Math).map((name) => [name, Math[name]])),
                 inv: undefined, div: undefined };

/** A loop of its own for each function, so that the engine does not mix up what they were called with. */
const loopOver = (f, two) =>
  new Function('f', two
    ? 'return (x, y, r) => { for (let i = 0; i < r.length; ++i) r[i] = f(x[i], y[i]); }'
    : 'return (x, y, r) => { for (let i = 0; i < r.length; ++i) r[i] = f(x[i]); }')(f);
const sinCosLoop = new Function('f', 'return (x, y, r) => { for (let i = 0; i < r.length; ++i) r[i] = f(x[i]).sin; }');

let seed = 1;
const uniform = (low, high) => {
  seed = (Math.imul(seed, 1664525) + 1013904223) >>> 0;
  return low + (high - low) * ((seed + 0.5) / 2 ** 32);
};

console.log(`Node ${process.version}, V8 ${process.versions.v8}, ${os.cpus()[0].model}\n`);
console.log('| function | number | `Math` | 10^6, registers | 10^6, plain | `Math` in a loop |');
console.log('|---|---|---|---|---|---|');
for (const [name, [low, high]] of Object.entries(ranges)) {
  const two = ['atan2', 'div', 'pow'].includes(name);
  const x = Float64Array.from({ length: 1e6 }, () => uniform(low, high));
  const y = Float64Array.from({ length: 1e6 }, () => uniform(low, high));
  const r = new Float64Array(1e6);
  const out = name === 'sincos' ? { sin: r, cos: new Float64Array(1e6) } : r;
  const few = [x.subarray(0, 1e4), y.subarray(0, 1e4), r.subarray(0, 1e4)];
  const ofMath = beside[name];
  const withRegisters = qelvm.raw(qelvm.simd ? nameOf(name) : '', true).module === 'simd';
  const ways = [
    [1e4, name === 'sincos' ? sinCosLoop(qelvm[name]) : loopOver(qelvm[name], two), few],
    [1e4, ofMath && loopOver(ofMath, two), few],
    [1e6, withRegisters && ((a, b) => (two ? qelvm[name](a, b, out) : qelvm[name](a, out))), [x, y]],
    [1e6, (a, b) => (two ? plain[name](a, b, out) : plain[name](a, out)), [x, y]],
    [1e6, ofMath && loopOver(ofMath, two), [x, y, r]],
  ];
  const least = ways.map(() => Infinity);
  for (let repetition = 0; repetition < repetitions; ++repetition)
    ways.forEach(([elements, run, args], w) => {
      if (!run) return;
      for (let again = elements === 1e4 ? 20 : 1; again > 0; --again) {
        const begin = performance.now();
        run(...args);
        least[w] = Math.min(least[w], ((performance.now() - begin) * 1e6) / elements);
      }
    });
  console.log(`| \`${name}\` | ${least.map((t) => (t === Infinity ? '' : t.toFixed(1))).join(' | ')} |`);
}

function nameOf(name) {
  const family = { log: 'Ln', sincos: 'SinCos', invsqrt: 'InvSqrt', invcbrt: 'InvCbrt' }[name];
  return `qels${family || name[0].toUpperCase() + name.slice(1)}_64f_A53`;
}
