// Runs engine.js in an engine and checks what it reports.
// usage: node engines.mjs ENGINE FOLDER SITE BUILD
// ENGINE: node, chromium, firefox or webkit; FOLDER: for what was reported, FOLDER/ENGINE (table.mjs reads
// it), and the inputs; SITE: the page, built; BUILD: a build of the library with its tool and tests

import { execFile } from 'node:child_process';
import { createHash } from 'node:crypto';
import { mkdir, readFile, rename, rm, stat, writeFile } from 'node:fs/promises';
import { cpus } from 'node:os';
import { pathToFileURL } from 'node:url';
import { promisify } from 'node:util';
import { launch } from './browsers.mjs';
import { serve } from './serve.mjs';

const [engine, folder, site, build] = process.argv.slice(2);
const run = promisify(execFile);
const { families } = JSON.parse(await readFile(`${site}/families.json`, 'utf8'));
const count = 1000000, mathCount = 100000;

/** Half of them any bits; the others where the functions have their ranges. */
function* randomNumbers(type) {
  let state = 1;
  const word = () => { // mulberry32
    state = (state + 0x6D2B79F5) | 0;
    let t = Math.imul(state ^ (state >>> 15), 1 | state);
    t = (t + Math.imul(t ^ (t >>> 7), 61 | t)) ^ t;
    return (t ^ (t >>> 14)) >>> 0;
  };
  const words = new Uint32Array(2), Floats = type === '32f' ? Float32Array : Float64Array;
  for (;;) {
    const limit = [1, 30, 800][word() % 3];
    if (word() & 1) new Floats(words.buffer)[0] = limit * (word() / 0x80000000 - 1 + word() / 2 ** 63);
    else words.set([word(), word()]);
    yield* words.subarray(0, Floats.BYTES_PER_ELEMENT / 4);
  }
}

/** Runs jobs, some at once. */
async function all(jobs) {
  const queue = [...jobs];
  await Promise.all(cpus().map(async () => {
    while (queue.length) await queue.shift()();
  }));
}

/** Arguments, and what the native library and MPFR make of them; once for all engines. */
async function prepare() {
  const inputs = `${folder}/inputs`, tool = `${build}/apps/qelvm/qelvm`;
  const done = await stat(`${inputs}/reference.json`).catch(() => null);
  if (done?.mtimeMs > (await stat(`${build}/src/libqelvmpx.so.5`)).mtimeMs) return inputs;
  await rm(inputs, { recursive: true, force: true });
  await mkdir(inputs, { recursive: true });
  for (const type of ['32f', '64f']) {
    const numbers = randomNumbers(type), words = type === '32f' ? 1 : 2;
    for (const which of ['x', 'y'])
      await writeFile(`${inputs}/${type}_${which}.bin`, Uint32Array.from({ length: count * words }, () => numbers.next().value));
    await writeFile(`${inputs}/${type}_scalar.bin`, new (words === 1 ? Float32Array : Float64Array)(count).fill(-2.5));
  }
  const reference = {};
  const names = Object.entries(families).flatMap(([family, { hashes }]) => Object.keys(hashes).map((type) => `${family}_${type}`));
  await all(names.map((name) => async () => {
    const [family, type] = name.split('_'), { shape } = families[family];
    const second = { TwoSources: ['--second-input', `${inputs}/${type}_y.bin`], SourceAndScalar: ['--scalar', '-2.5'] };
    const { stdout } = await run(tool, ['apply', name, '--format', 'raw', '--input', `${inputs}/${type}_x.bin`,
      ...(second[shape] ?? [])], { encoding: 'buffer', maxBuffer: 2 ** 28 });
    reference[name] = createHash('sha256').update(stdout).digest('hex');
  }));
  await all(Object.keys(families).map((family) => async () => {
    if (!Object.hasOwn(Math, families[family].reference)) return;
    const { stdout } = await run(`${build}/tests/exact`, [family, mathCount], { encoding: 'buffer', maxBuffer: 2 ** 26 });
    await writeFile(`${inputs}/${family}.bin`, stdout);
  }));
  await writeFile(`${inputs}/reference.json`, JSON.stringify(reference));
  return inputs;
}

const inputs = await prepare();
const reference = JSON.parse(await readFile(`${inputs}/reference.json`, 'utf8'));
const report = `${folder}/${engine}.new`;
await rm(report, { recursive: true, force: true });
await mkdir(report, { recursive: true });

let close = async () => {};
try {
  let finish;
  const finished = new Promise((resolve, reject) => {
    finish = resolve;
    setTimeout(() => reject(new Error('no report after three minutes')), 180000).unref();
  });
  const { server, address } = await serve({ '/inputs/': inputs, '/tests/': import.meta.dirname ?? new URL('.', import.meta.url).pathname, '/': site }, 0,
    async (request, response) => {
      const chunks = [];
      for await (const chunk of request) chunks.push(chunk);
      const body = Buffer.concat(chunks), [, kind, family] = request.url.split('/');
      if (request.method !== 'POST') console.log(`${request.url} is not there`);
      else if (kind === 'report') finish(JSON.parse(body));
      else if (kind === 'failure') finish({ failure: body.toString() });
      else await writeFile(`${report}/${family}.${kind}`, body);
      response.end();
    });
  let version;
  if (engine === 'node') {
    version = `Node ${process.versions.node}`;
    close = async () => server.close();
    const { measure } = await import('./engine.js');
    await measure(address, pathToFileURL(`${site}/`));
  } else {
    const browser = await launch(engine, `${address}/tests/engine.html`);
    ({ version } = browser);
    close = async () => {
      await browser.close();
      server.close();
    };
  }
  const { failure, golden, random, modules } = await finished;
  if (failure) throw new Error(failure);
  const hashes = Object.fromEntries(Object.entries(families).flatMap(([family, facts]) =>
    Object.entries(facts.hashes).map(([type, hash]) => [`${family}_${type}`, hash])));
  let wrong = 0;
  const compare = (found, expected, what) => {
    for (const name of Object.keys(expected))
      if (!found.some(([of]) => of === name)) console.log(`FAILED ${name}: no ${what}`, ++wrong);
    for (const [name, hash] of found)
      if (hash !== expected[name]) console.log(`FAILED ${name}: another ${what}`, ++wrong);
  };
  compare(golden, hashes, 'golden hash');
  compare(random, reference, `hash of the results for ${count} random arguments than natively`);
  await writeFile(`${report}/version`, version);
  if (wrong) process.exitCode = 1;
  else {
    await rm(`${folder}/${engine}`, { recursive: true, force: true });
    await rename(report, `${folder}/${engine}`);
    console.log(`${version}: the golden hashes of ${Object.keys(reference).length} exports, and the native bits for ` +
      `${count} random arguments each (modules: ${modules.join(' and ')})`);
  }
} catch (error) {
  console.log(`FAILED: ${error.message}`);
  process.exitCode = 1;
} finally {
  await close();
}
