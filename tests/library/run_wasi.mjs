// Runs a WebAssembly program of the tests in Node: node run_wasi.mjs PROGRAM ARGUMENT... It sees the
// working directory. (Node 18 needs --experimental-wasi-unstable-preview1, later ones do not know it.)
import fs from 'node:fs';
import { WASI } from 'node:wasi';

const [program, ...args] = process.argv.slice(2);
const wasi = new WASI({ version: 'preview1', args: [program, ...args], preopens: { '.': '.' }, returnOnExit: true });
const { instance } = await WebAssembly.instantiate(fs.readFileSync(program), {
  wasi_snapshot_preview1: wasi.wasiImport,
});
process.exitCode = wasi.start(instance);
