// The packed package, installed as users install it: in an ES module, in CommonJS, in TypeScript, in
// bundles, in a worker. QELVM_PACKAGE is its folder. Installing needs npm and the packages esbuild and
// typescript; without them the tests are skipped.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import test from 'node:test';
import vm from 'node:vm';
import { spawnSync } from 'node:child_process';

const source = path.resolve(process.env.QELVM_PACKAGE || 'build/wasm/npm');
const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'qelvm-consumers-'));
process.on('exit', () => fs.rmSync(folder, { recursive: true, force: true }));

function run(command, ...args) {
  const { status, stdout, stderr, error } = spawnSync(command, args, { cwd: folder, encoding: 'utf8' });
  assert.equal(error, undefined);
  assert.equal(status, 0, `${command} ${args.join(' ')}\n${stdout}${stderr}`);
  return stdout.trim();
}
const write = (name, text) => fs.writeFileSync(path.join(folder, name), text);
const limit = 120_000; // bytes

write('package.json', '{"private": true}');
const quiet = ['--no-audit', '--no-fund', '--no-package-lock', '--loglevel=error'];
const packing = spawnSync('npm', ['pack', source, '--json', ...quiet], { cwd: folder, encoding: 'utf8' });
const packed = packing.status === 0 ? JSON.parse(packing.stdout)[0] : undefined;
const noNpm = packed ? false : 'no npm';
const installed =
  packed && spawnSync('npm', ['install', `./${packed.filename}`, 'esbuild@0.25', 'typescript@5', ...quiet], { cwd: folder });
const noTools = installed && installed.status === 0 ? false : 'esbuild and typescript cannot be had';
if (packed && noTools) run('npm', 'install', `./${packed.filename}`, '--offline', ...quiet);

const program = `
  const x = new Float64Array([0, 1]);
  console.log(exp(1), qelvm.exp(x)[1], qelvm.Math.exp(1), qelvm.checked.log(0).status);`;
const printed = '2.718281828459045 2.718281828459045 2.718281828459045 18';

test('the tarball: what is in it, and how large it is', { skip: noNpm }, () => {
  assert.deepEqual(packed.files.map(({ path: name }) => name).sort(), [
    'LICENSE', 'README.md', 'check.d.mts', 'check.mjs', 'index.cjs', 'index.d.cts', 'index.d.mts', 'index.mjs',
    'package.json', 'qelvm.js',
  ]);
  assert.ok(packed.size <= limit, `${packed.size} bytes`);
  const { version, dependencies } = JSON.parse(fs.readFileSync(path.join(folder, 'node_modules/qelvm/package.json')));
  assert.match(version, /^\d+\.\d+\.\d+$/);
  assert.equal(dependencies, undefined);
});

test('an ES module, CommonJS, a worker, the check', { skip: noNpm }, () => {
  write('esm.mjs', `import qelvm, { exp } from 'qelvm';${program}`);
  assert.equal(run('node', 'esm.mjs'), printed);
  write('common.cjs', `const qelvm = require('qelvm'); const { exp } = qelvm;${program}`);
  assert.equal(run('node', 'common.cjs'), printed);
  write('worker.mjs', `import { Worker } from 'node:worker_threads'; new Worker(new URL('./esm.mjs', import.meta.url));`);
  assert.equal(run('node', 'worker.mjs'), printed);
  assert.match(run('npx', 'qelvm-check'), /135 of 135 exports give the same bits here$/);
});

test('TypeScript', { skip: noTools }, () => {
  const uses = `${program}
    const one: number = exp(1);
    const many: Float64Array = exp(x);
    const floats: Float32Array = qelvm.pow(new Float32Array(2), 2);
    const plain: number[] = qelvm.a50.exp([1, 2]);
    const given: Float64Array = exp(x, { out: x });
    const { sin, cos }: { sin: Float64Array; cos: Float64Array } = qelvm.sincos(x);
    const { result, status }: { result: number; status: number } = qelvm.checked.atan2(1, 2);
    const engine: number = qelvm.Math.hypot === undefined ? 0 : 1; // @absent
    const ready: Promise<void> = qelvm.ready();
    // @ts-expect-error
    exp('1');
    // @ts-expect-error
    exp(1n);
    // @ts-expect-error
    exp(new Int32Array(1));
    // @ts-expect-error
    qelvm.pow(x);
    // @ts-expect-error
    const wrong: number = exp(x);
    void [one, many, floats, plain, given, sin, cos, result, status, ready, wrong, qelvm.Status.Domain];`
    .replace(/^.*@absent$/m, '    // @ts-expect-error\n    qelvm.Math.hypot(1, 2);');
  write('main.mts', `import qelvm, { exp } from 'qelvm';${uses}\nimport { goldenHashes } from 'qelvm/check'; void goldenHashes;`);
  write('main.cts', `import qelvm = require('qelvm'); const { exp } = qelvm;${uses}`);
  write('bundled.ts', `import qelvm, { exp } from 'qelvm';${uses}`);
  const strict = ['--noEmit', '--strict', '--target', 'es2020'];
  run('npx', 'tsc', ...strict, '--module', 'nodenext', 'main.mts', 'main.cts');
  run('npx', 'tsc', ...strict, '--module', 'esnext', '--moduleResolution', 'bundler', 'bundled.ts');
});

test('bundles, without configuration', { skip: noTools }, () => {
  write('app.js', `import qelvm, { exp } from 'qelvm';${program}`);
  write('required.js', `const qelvm = require('qelvm'); const { exp } = qelvm;${program}`);
  for (const [entry, ...options] of [['app.js'], ['app.js', '--minify'], ['required.js']]) {
    run('npx', 'esbuild', entry, '--bundle', '--outfile=bundle.js', '--log-level=warning', ...options);
    const lines = [];
    vm.runInNewContext(fs.readFileSync(path.join(folder, 'bundle.js'), 'utf8'),
                       { console: { log: (...values) => lines.push(values.join(' ')) } });
    assert.deepEqual(lines, [printed], `${entry} ${options}`);
  }
  run('npx', 'esbuild', 'app.js', '--bundle', '--platform=node', '--format=esm', '--outfile=bundle.mjs', '--log-level=warning');
  assert.equal(run('node', 'bundle.mjs'), printed);
});
