// Checks what WebAssembly modules consist of: no imports; the exports that have ordinals, the memory, and
// the beginning of what is the host's.
// usage: node check_module.mjs MODULE...
import assert from 'node:assert/strict';
import fs from 'node:fs';

const names = [...fs.readFileSync('families/ordinals.inc', 'utf8').matchAll(/^QELVM_ORDINAL\(\d+, (\w+)\)/gm)];
const expected = [...names.map(([, name]) => `${name} function`), '__heap_base global', 'memory memory'].sort();

for (const file of process.argv.slice(2)) {
  const module = new WebAssembly.Module(fs.readFileSync(file));
  assert.deepEqual(WebAssembly.Module.imports(module), [], file);
  assert.deepEqual(WebAssembly.Module.exports(module).map(({ name, kind }) => `${name} ${kind}`).sort(), expected, file);
}
console.log(`${expected.length} exports, no imports`);
