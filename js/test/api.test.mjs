// The package as a program sees it. QELVM_PACKAGE is its folder.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import test from 'node:test';
import { createRequire } from 'node:module';
import { pathToFileURL } from 'node:url';
import { Worker } from 'node:worker_threads';
import vm from 'node:vm';

const folder = path.resolve(process.env.QELVM_PACKAGE || 'build/wasm/npm');
const module = await import(pathToFileURL(path.join(folder, 'index.mjs')));
const { default: qelvm } = module;
const doubles = (...values) => Float64Array.from(values);
const floats = (...values) => Float32Array.from(values);

/** What an export gives for one element after the other, past everything that the package does. */
function exactly(name, T, sources, count) {
  const { call, memory, places } = qelvm.raw(name, false);
  const results = [];
  let status = 0;
  for (let i = 0; i < count; ++i) {
    sources.forEach((source, s) => new T(memory.buffer, places[s], 1).set([typeof source === 'number' ? source : source[i]]));
    const both = name.startsWith('qelsSinCos');
    const destinations = both ? [places[2], places[3]] : [places[2]];
    const reported = call(...sources.map((_, s) => places[s]), ...destinations, 1);
    if (reported) status = reported;
    results.push(destinations.map((place) => new T(memory.buffer, place, 1)[0]));
  }
  return { results, status };
}

const families = {};
for (const [, family] of fs.readFileSync('families/families.inc', 'utf8').matchAll(/^QELVM_FAMILY\((\w+), (?!SourceAndScalar)/gm))
  families[family === 'Ln' ? 'log' : family.toLowerCase()] = family;
const two = ['atan2', 'div', 'pow'];
const special = [0, -0, 1, -1, 0.5, -0.75, 2, -3, 20.25, -1e5, 1e300, -5e-324, Infinity, -Infinity, NaN];

test('every function, in both classes: numbers, both kinds of arrays, plain arrays, checked, in place, blocks', () => {
  const long = Array.from({ length: 5000 }, (_, i) => (i % 100 < 60 ? 0.1 + (i % 977) / 1000 : special[i % special.length]));
  for (const [set, suffix] of [[qelvm, '64f_A53'], [qelvm.a50, '64f_A50']])
    for (const [name, family] of Object.entries(families)) {
      const f = set[name];
      assert.equal(f.name, name);
      const list = (r) => (name === 'sincos' ? [...r.sin].map((sin, i) => [sin, r.cos[i]]) : [...r].map((x) => [x]));
      for (const [T, export_] of [[Float64Array, `qels${family}_${suffix}`], [Float32Array, `qels${family}_32f_A11`]]) {
        const x = T.from(long);
        const y = T.from(long, (_, i) => special[(i * 7) % special.length]);
        const args = two.includes(name) ? [x, y] : [x];
        const expected = exactly(export_, T, args, x.length);
        const result = f(...args);
        const part = name === 'sincos' ? result.cos : result;
        assert.ok(part instanceof T);
        assert.deepEqual(list(result), expected.results, `${name} of ${T.name}`);
        assert.equal(qelvm.status, expected.status, name);
        const checked = set.checked[name](...args);
        assert.deepEqual([list(checked.result), checked.status], [expected.results, expected.status]);
        if (name !== 'sincos') {
          assert.equal(f(...args, args[args.length - 1]), args[args.length - 1]); // in place
          assert.deepEqual(list(args[args.length - 1]), expected.results, `${name} in place`);
        }
      }
      for (const [i, x] of special.entries()) {
        const args = two.includes(name) ? [x, special[(i * 4 + 1) % special.length]] : [x];
        const { results, status } = exactly(`qels${family}_${suffix}`, Float64Array, args, 1);
        const [expected, ofArray] = name === 'sincos'
          ? [{ sin: results[0][0], cos: results[0][1] }, { sin: [results[0][0]], cos: [results[0][1]] }]
          : [results[0][0], [results[0][0]]];
        assert.deepEqual(set.checked[name](...args), { result: expected, status }, `${name}(${args})`);
        assert.deepEqual(f([args[0]], ...args.slice(1)), ofArray);
      }
    }
  assert.deepEqual(Object.keys(qelvm.checked), Object.keys(families));
  for (const name of [...Object.keys(families), 'a50', 'checked', 'Math', 'Status', 'version'])
    assert.equal(module[name], qelvm[name]);
});

test('a number goes with an array', () => {
  const x = doubles(1, 2, 3);
  assert.deepEqual(qelvm.pow(x, 2), doubles(1, 4, 9));
  assert.deepEqual(qelvm.pow(2, x), doubles(2, 4, 8));
  assert.deepEqual(qelvm.div(floats(1, 3), 3), floats(1 / 3, 1));
  assert.deepEqual(qelvm.div([1, 3], 4), [0.25, 0.75]);
  const many = new Float64Array(10000).fill(3);
  assert.ok(qelvm.pow(many, 2).every((v) => v === 9));
  assert.deepEqual(qelvm.atan2(1, x)[0], qelvm.atan2(1, 1));
  // floats only where all arrays are
  assert.deepEqual(qelvm.div(floats(0.1), doubles(3)), doubles(Math.fround(0.1) / 3));
  assert.deepEqual(qelvm.div(floats(0.1), [3]), doubles(Math.fround(0.1) / 3));
});

test('places for results: given, as an option, overlapping, plain', () => {
  const x = doubles(1, 4, 9, 16);
  const roots = doubles(1, 2, 3, 4);
  const out = new Float64Array(4);
  assert.equal(qelvm.sqrt(x, out), out);
  assert.deepEqual(out, roots);
  assert.equal(qelvm.sqrt(x, { out: out.fill(0) }), out);
  assert.deepEqual(out, roots);
  assert.deepEqual(qelvm.sqrt(x, { out: undefined }), roots);
  const plain = [0, 0, 0, 0];
  assert.equal(qelvm.sqrt(x, plain), plain);
  assert.deepEqual(plain, [1, 2, 3, 4]);
  // as if computed from a copy, whichever way the arrays overlap, over several blocks
  for (const [from, to] of [[0, 3], [3, 0], [0, 0]]) {
    const memory = Float64Array.from({ length: 9003 }, (_, i) => i);
    const expected = qelvm.sqrt(memory.slice(from, from + 9000));
    qelvm.sqrt(memory.subarray(from, from + 9000), memory.subarray(to, to + 9000));
    assert.deepEqual(memory.subarray(to, to + 9000), expected);
  }
  const both = { sin: new Float64Array(4), cos: new Float64Array(4) };
  assert.deepEqual(qelvm.sincos(x, both), qelvm.sincos(x));
  const same = qelvm.sin(x);
  assert.deepEqual(both.sin, same);
  qelvm.sincos(x, { out: { sin: out, cos: out } }); // one array for both: the cosines
  assert.deepEqual(out, qelvm.cos(x));
  const memory = new Float64Array(5);
  qelvm.sincos(x, { sin: memory.subarray(0, 4), cos: memory.subarray(1, 5) });
  assert.deepEqual(memory, doubles(same[0], ...qelvm.cos(x)));
});

test('memory of all kinds', () => {
  const shared = new Float64Array(new SharedArrayBuffer(24), 8);
  shared.set([4, 9]);
  qelvm.sqrt(shared, shared);
  assert.deepEqual([...shared], [2, 3]);
  assert.deepEqual(qelvm.exp(new Float64Array(0)), new Float64Array(0));
  assert.deepEqual(qelvm.exp([]), []);
  assert.equal(qelvm.checked.exp(new Float64Array(0)).status, 0);
  assert.equal(qelvm.exp(vm.runInNewContext('Float64Array.of(0)'))[0], 1); // of another window
  assert.deepEqual([1, 4].map(qelvm.sqrt), [1, 2]); // map passes an index, too
  // NaNs keep their bits in arrays of numbers; a signalling one is made quiet
  const bits = new BigUint64Array([0x7ff0000000000123n, 0xfff8000000000456n]);
  const result = qelvm.exp(new Float64Array(bits.buffer));
  assert.deepEqual(new BigUint64Array(result.buffer), new BigUint64Array([0x7ff8000000000123n, 0xfff8000000000456n]));
});

test('what is refused: with what was wrong, and nothing half written', () => {
  const x = doubles(1, 2);
  const detached = doubles(1, 2);
  structuredClone(detached.buffer, { transfer: [detached.buffer] });
  const rows = [
    [() => qelvm.exp(), TypeError, /exp: x is undefined/],
    [() => qelvm.exp('1'), TypeError, /exp: x is the string "1"/],
    [() => qelvm.exp(1n), TypeError, /x is a bigint/],
    [() => qelvm.exp(null), TypeError, /x is null/],
    [() => qelvm.exp({}), TypeError, /x is an Object/],
    [() => qelvm.exp(new Int32Array(2)), TypeError, /x is an Int32Array/],
    [() => qelvm.exp(new BigInt64Array(2)), TypeError, /x is a BigInt64Array/],
    [() => qelvm.exp(new DataView(x.buffer)), TypeError, /x is a DataView/],
    [() => qelvm.exp([1, '2']), TypeError, /x\[1\] is the string "2"/],
    [() => qelvm.exp([1, , 2]), TypeError, /x\[1\] is undefined/], // eslint-disable-line
    [() => qelvm.exp(detached), TypeError, /buffer of x is detached/],
    [() => qelvm.exp(x, detached), TypeError, /buffer of out is detached/],
    [() => qelvm.exp(x, new Float64Array(3)), RangeError, /out has 3 elements, not 2/],
    [() => qelvm.exp(x, new Float32Array(2)), TypeError, /out is a Float32Array, and the results are doubles/],
    [() => qelvm.exp(floats(1, 2), x), TypeError, /out is a Float64Array, and the results are floats/],
    [() => qelvm.exp(x, 'out'), TypeError, /out is the string "out"/],
    [() => qelvm.exp(x, 0), TypeError, /out is a number/],
    [() => qelvm.exp(x, null), TypeError, /out is null/],
    [() => qelvm.exp(x, {}), TypeError, /out is an Object/],
    [() => qelvm.exp(1, x), TypeError, /out goes with an array/],
    [() => qelvm.pow(x), TypeError, /pow: y is undefined/],
    [() => qelvm.pow(x, doubles(1, 2, 3)), RangeError, /x has 2 elements, y has 3/],
    [() => qelvm.atan2(x, 'y'), TypeError, /atan2: x is the string/],
    [() => qelvm.sincos(x, x), TypeError, /out.sin is undefined/],
    [() => qelvm.sincos(x, { sin: x }), TypeError, /out.cos is undefined/],
    [() => qelvm.a50.log(true), TypeError, /log: x is a boolean/],
    [() => qelvm.raw('qelsNothing_64f_A53'), RangeError, /no export qelsNothing_64f_A53/],
  ];
  qelvm.log(0);
  for (const [call, kind, message] of rows) {
    assert.throws(call, (error) => error instanceof kind && message.test(error.message), `${call}`);
    assert.deepEqual([...x], [1, 2], `${call}`);
    assert.equal(qelvm.status, qelvm.Status.Singularity, `${call}`);
  }
});

test('statuses', () => {
  const { Status, checked, statusText } = qelvm;
  for (const [outcome, status] of [
    [checked.exp(1000), Status.Overflow], [checked.exp(-1000), Status.Underflow], [checked.log(0), Status.Singularity],
    [checked.log(-1), Status.Domain], [checked.log(1), Status.Ok],
    [checked.log(doubles(-1, 0, 1)), Status.Singularity], // the last that reported
    [checked.log([0, ...new Array(9999).fill(1)]), Status.Singularity], // of an earlier block
  ])
    assert.equal(outcome.status, status);
  assert.equal(statusText(Status.Domain), 'an argument lay outside the domain');
  assert.match(statusText(7), /unknown/);
});

test('the shape of Math', () => {
  const ours = qelvm.Math;
  assert.equal(Object.prototype.toString.call(ours), '[object Math]');
  const absent = ['expm1', 'hypot', 'log1p', 'log2', 'random'];
  for (const name of Object.getOwnPropertyNames(Math)) {
    if (absent.includes(name)) assert.equal(name in ours, false, name);
    else if (typeof Math[name] === 'number') assert.equal(ours[name], Math[name]);
    else if (ours[name] === undefined) continue; // newer than this package
    else {
      assert.equal(typeof ours[name], 'function', name);
      assert.equal(ours[name].name, name);
    }
  }
  for (const name of Object.getOwnPropertyNames(ours)) assert.ok(name in Math, name);
  // Where Math has no choice, it is the same: what converts, signs of zero, infinities, NaN.
  const exact = [0, -0, Infinity, -Infinity, NaN, undefined, null, '', '1', [], {}, true];
  for (const name of Object.getOwnPropertyNames(ours)) {
    if (typeof ours[name] !== 'function') continue;
    for (const x of exact)
      for (const y of exact) {
        const [got, expected] = [ours[name](x, y), Math[name](x, y)];
        assert.ok(Object.is(got, expected) || Math.abs(got - expected) < 1e-15 * Math.abs(expected), `${name}(${x}, ${y})`);
      }
    assert.throws(() => ours[name](1n, 1n), TypeError, name);
  }
  for (const [x, y] of [[1, NaN], [1, Infinity], [-1, -Infinity], [NaN, 0], [2, Infinity], [-8, 1 / 3], [-2, 3]])
    assert.deepEqual(ours.pow(x, y), Math.pow(x, y));
  assert.equal(qelvm.pow(1, NaN), 1); // as IEEE 754 has it
});

test('one instance for both kinds of modules, and one in every worker', async () => {
  const require = createRequire(import.meta.url);
  assert.equal(require(path.join(folder, 'index.cjs')), qelvm);
  const worker = new Worker(
    `const q = require(${JSON.stringify(path.join(folder, 'index.cjs'))});
     require('node:worker_threads').parentPort.postMessage(q.exp(1))`, { eval: true });
  const [value] = await Promise.all([new Promise((done) => worker.once('message', done))]);
  assert.equal(value, qelvm.exp(1));
});

/** The package in an engine of its own, its text and its WebAssembly changed. */
function elsewhere(changeText, change = () => {}) {
  const context = vm.createContext({});
  vm.runInContext('var own = WebAssembly', context);
  context.WebAssembly = Object.defineProperties({}, Object.getOwnPropertyDescriptors(context.own));
  change(context);
  vm.runInContext(changeText(fs.readFileSync(path.join(folder, 'qelvm.js'), 'utf8')), context);
  return context[Object.getOwnPropertySymbols(context).find((symbol) => /^qelvm /.test(symbol.description))];
}

test('a damaged module, an engine that lacks something: a clear error, or the plain module', async () => {
  const plain = /("plain":\{"size":\d+,"text":")([^"]*)/;
  const damages = {
    truncated: (text) => text.slice(0, text.length / 2),
    'one digit': (text) => `${text.slice(0, 9000)}${text[9000] === 'A' ? 'B' : 'A'}${text.slice(9001)}`,
    'the last digits': (text) => text.replace(/.....$/, 'AAAAA'),
    'no digit': (text) => `${text.slice(0, 500)}!${text.slice(501)}`,
    empty: () => '',
  };
  for (const [what, damage] of Object.entries(damages)) {
    const broken = elsewhere((text) => text.replace(plain, (_, head, digits) => head + damage(digits)));
    assert.throws(() => broken.exp(1), { message: /^qelvm: the plain module in this package is damaged: / }, what);
  }
  const same = (text) => text;
  const without = elsewhere(same, (context) => (context.WebAssembly = undefined));
  assert.throws(() => without.exp(1), { message: /no WebAssembly/ });
  await assert.rejects(without.ready(), { message: /no WebAssembly/ });

  const lazy = elsewhere(same, (context) => {
    context.WebAssembly.Module = function () {
      throw new RangeError('too large for this thread');
    };
  });
  assert.throws(() => lazy.exp(1), { message: /too large for this thread.*await qelvm.ready/ });
  await lazy.ready();
  assert.equal(lazy.exp(1), qelvm.exp(1));

  const old = elsewhere(same, (context) => (context.WebAssembly.validate = () => false));
  assert.equal(old.simd, false);
  assert.equal(qelvm.simd, true);
  assert.equal(qelvm.raw('qelsSin_64f_A50').module, 'simd');
  assert.equal(old.raw('qelsSin_64f_A50').module, 'plain');
  const x = Float64Array.from({ length: 3000 }, (_, i) => i * i);
  assert.deepEqual([...old.sin(x)], [...qelvm.sin(x)]);
});

test('the golden hashes of all exports, by both modules', async () => {
  const { goldenHashes } = await import(pathToFileURL(path.join(folder, 'check.mjs')));
  for (const simd of [true, false]) {
    const found = [...goldenHashes({ simd })];
    assert.equal(found.length, 135);
    assert.deepEqual(found.filter(({ same }) => !same), []);
  }
});
