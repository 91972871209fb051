// Runs a WebAssembly program of the tests in Node: node run_wasi.mjs PROGRAM ARGUMENT... It sees the
// working directory. Node 18 wants to be told that the interface is still being worked on.
import fs from 'node:fs';
import { spawnSync } from 'node:child_process';

const option = '--experimental-wasi-unstable-preview1';
if (process.versions.node.startsWith('18.') && !process.execArgv.includes(option))
  process.exit(spawnSync(process.execPath, [option, ...process.argv.slice(1)], { stdio: 'inherit' }).status ?? 1);
process.removeAllListeners('warning');
const { WASI } = await import('node:wasi');

const [program, ...args] = process.argv.slice(2);
const wasi = new WASI({ version: 'preview1', args: [program, ...args], preopens: { '.': '.' }, returnOnExit: true });
const { instance } = await WebAssembly.instantiate(fs.readFileSync(program), {
  wasi_snapshot_preview1: wasi.wasiImport,
});
process.exitCode = wasi.start(instance);
