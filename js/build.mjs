// Writes the package from the two modules, the list of families with their facts, and the header.
// usage: node build.mjs SOURCE_DIRECTORY MODULES ALIASES VERSION OUTPUT
//   MODULES   the folder of qelvm-few.wasm and qelvm-few-simd.wasm
//   ALIASES   a line `export representative` for each export that the modules leave to another
//   VERSION   of the library: four numbers
// Node alone is needed. Every name, bound and text that the package has comes from the sources.

import fs from 'node:fs';
import path from 'node:path';
import zlib from 'node:zlib';

const [source, modules, aliasFile, fullVersion, output] = process.argv.slice(2);
const read = (...name) => fs.readFileSync(path.join(source, ...name), 'utf8');

// ---- what the sources say ------------------------------------------------------------------------

const header = read('include/qelvm.h');
const statuses = Object.fromEntries(
  [...header.matchAll(/^ +qelStatus(\w+) = (-?\d+),? /gm)].map(([, name, value]) => [name, Number(value)]),
);
const statusTexts = Object.fromEntries(
  [...header.matchAll(/case qelStatus(\w+):\s+return "(.*)";/g)].map(([, name, text]) => [statuses[name], text]),
);

/** What the header says of the bound of an export. */
function statementOf(name) {
  const [, text] = header.match(new RegExp(`^/\\*\\* ((?:(?!\\*/)[^@])*) \\*/\\n.*QELVM_CALL qels${name}\\(`, 'm'));
  return text.replace(/\s+(\* )?/g, ' ');
}

const families = [
  ...read('families/families.inc').matchAll(
    /^QELVM_FAMILY\((\w+), (\w+), ([\w| ]+), [\d.]+, [\d.]+, [\d.]+\)/gm,
  ),
].map(([, family, shape, reports]) => {
  const facts = read('families', `${family}.txt`);
  return {
    family,
    shape,
    reports: reports === 'Nothing' ? [] : reports.split(' | '),
    bounds: Object.fromEntries(['32f_A24', '64f_A50', '64f_A53'].map((kind) => [kind, statementOf(`${family}_${kind}`)])),
    computes: facts.match(/^# \w+: (.*?)\.?$/m)[1],
    facts,
  };
});
const aliases = Object.fromEntries(
  fs.readFileSync(aliasFile, 'utf8').trim().split('\n').map((line) => line.split(' ')),
);

/** The golden sequence's own arguments of a family, and the hashes of its exports. */
function goldenOf({ family, facts }) {
  const like = facts.match(/^like (\w+)/m);
  const limits = like
    ? goldenOf(families.find((other) => other.family === like[1])).limits
    : [...facts.matchAll(/^golden (.*?)\s*(#.*)?$/gm)].flatMap(([, values]) => values.split(/\s+/).map(numberOf));
  return { limits, hashes: Object.fromEntries([...facts.matchAll(/^hash (\w+) (\w+)/gm)].map(([, c, h]) => [c, h])) };
}

/** A number of the facts: decimal, hexadecimal, or by its name. */
function numberOf(text) {
  if (text.startsWith('-')) return -numberOf(text.slice(1));
  const named = { largest: Number.MAX_VALUE, normal: 2 ** -1022, smallest: Number.MIN_VALUE }[text];
  if (named !== undefined) return named;
  const hex = text.match(/^0x([\da-f]+)\.?([\da-f]*)p([+-]?\d+)$/);
  const exponent = hex ? Number(hex[3]) - 4 * hex[2].length : 0;
  const half = exponent >> 1; // the whole power may be too small
  const value = hex ? Number(BigInt(`0x${hex[1]}${hex[2]}`)) * 2 ** half * 2 ** (exponent - half) : Number(text);
  if (!Number.isFinite(value)) throw new Error(`not a number: ${text}`);
  return value;
}

// ---- the names in JavaScript ---------------------------------------------------------------------

const functions = families
  .filter(({ shape }) => shape !== 'SourceAndScalar') // a number goes where an array can
  .map((row) => ({
    ...row,
    name: row.family === 'Ln' ? 'log' : row.family.toLowerCase(),
    sources: row.shape === 'TwoSources' ? 2 : 1,
    parts: row.shape === 'TwoDestinations' ? ['sin', 'cos'] : undefined,
  }));
const argumentNames = { Atan2: ['y', 'x'] }; // as in Math
const namesOf = ({ family, sources }) => argumentNames[family] || ['x', 'y'].slice(0, sources);

// Three numbers of a package, four of a build.
const [major, minor, buildMajor, buildNumber] = fullVersion.split('.').map(Number);
const version = `${major}.${minor}.${buildMajor * 1000 + buildNumber}`;

function packed(name) {
  const bytes = fs.readFileSync(path.join(modules, name));
  return { bytes, size: bytes.length, text: zlib.deflateSync(bytes, { level: 9, memLevel: 9 }).toString('base64').replace(/=+$/, '') };
}
const plain = packed('qelvm-few.wasm');
const simd = packed('qelvm-few-simd.wasm');
const built = {
  version,
  fullVersion,
  statuses,
  statusTexts,
  argumentNames,
  functions: functions.map(({ name, family, sources, parts }) => ({ name, family, sources, parts })),
  aliases,
  simdExports: WebAssembly.Module.exports(new WebAssembly.Module(simd.bytes))
    .map(({ name }) => name)
    .filter((name) => name.startsWith('qels')),
  modules: {
    plain: { size: plain.size, text: plain.text },
    simd: { size: simd.size, text: simd.text },
  },
};

const shapeTexts = (0, eval)(read('js/src/functions.js'));
const textFor = (shape) => shapeTexts[shape].toString().replace(/\n\s*/g, '\n');
const inMath = functions.filter(({ name }) => typeof Math[name] === 'function');
const textsOf = (rows, shapeOf) => `{\n${rows.map((row) => `${row.name}: ${textFor(shapeOf(row))}`).join(',\n')}\n}`;
const texts = `{
'64f_A53': ${textsOf(functions, ({ shape }) => shape)},
'64f_A50': ${textsOf(functions.filter(({ family }) => !aliases[`qels${family}_64f_A50`]), ({ shape }) => shape)},
Math: ${textsOf(inMath, ({ name, shape }) => (name === 'pow' ? 'MathPow' : `Math${shape}`))}
}`;

// ---- the files -----------------------------------------------------------------------------------

const license = `// qelvm ${fullVersion}: the licence stands in the file LICENSE beside this one.\n`;
const names = functions.map(({ name }) => name);
const others = ['a50', 'checked', 'Math', 'ready', 'raw', 'Status', 'statusText', 'version'];
const api = `globalThis[Symbol.for('qelvm ${version}')]`;

const shapes = {
  OneSource: 'OneSource',
  TwoSources: 'TwoSources',
  TwoDestinations: 'SineAndCosine',
};
const documentation = (row) => {
  const text = row.computes.replace(/`src1`|`src2`|`src`/g, (s) => `\`${namesOf(row)[s === '`src2`' ? 1 : 0]}\``);
  const { '32f_A24': floats, '64f_A50': A50, '64f_A53': A53 } = row.bounds;
  const named = (bound) => bound.replace(/\bsrc(\d)/g, (s, k) => `\`${namesOf(row)[k - 1]}\``);
  const bounds = `Within ${named(A53)}.${A50 === A53 ? '' : ` \`a50\`: ${A50}.`} Of floats: ${floats}.`;
  return `${text[0].toUpperCase()}${text.slice(1)}. ${bounds} Reports ${row.reports.join(', ').toLowerCase() || 'nothing'}.`;
};
const types = read('js/src/types.d.ts')
  .replace(/^.*@functions@.*$/m, functions.map((row) => `  /** ${documentation(row)} */\n  ${row.name}: ${shapes[row.shape]};`).join('\n'))
  .replace(/^.*@checked@.*$/m, functions.map((row) => `  ${row.name}: Checked${shapes[row.shape]};`).join('\n'))
  .replace(/^.*@statuses@.*$/m, Object.entries(statuses).map(([name, value]) => `  /** ${statusTexts[value]} */\n  readonly ${name}: ${value};`).join('\n'))
  .replace(/^.*@exports@.*$/m, functions.map((row) => `/** ${documentation(row)} */\nexport const ${row.name}: ${shapes[row.shape]};`).join('\n'));

const files = {
  'qelvm.js': `${license}(function () {\n'use strict';\nconst built = ${JSON.stringify(built)};\nconst texts = ${texts};\nif (globalThis[Symbol.for('qelvm ${version}')]) return;\n${read('js/src/runtime.js').replace(/^\s*\/\/.*\n/gm, '')}})();\n`,
  'index.mjs': `${license}import './qelvm.js';\nconst qelvm = ${api};\nexport default qelvm;\nexport const { ${[...names, ...others].join(', ')} } = qelvm;\n`,
  'index.cjs': `${license}'use strict';\nrequire('./qelvm.js');\nmodule.exports = ${api};\n`,
  'index.d.mts': `${license}${types}`,
  'index.d.cts': `${license}${types.replace('export default qelvm;', 'export = qelvm;').replace(/^\/\/ @esm\n(.|\n)*$/m, '')}`,
  'check.mjs': `#!/usr/bin/env node\n${license}const golden = ${JSON.stringify(Object.fromEntries(families.map((row) => [row.family, { shape: row.shape, ...goldenOf(row) }])))};\n${read('js/src/check.mjs')}`,
  'check.d.mts': read('js/src/check.d.mts'),
  'package.json': read('js/package.json.in').replace('@version@', version),
  'README.md': read('js/README.md'),
  LICENSE: read('LICENSE'),
};
fs.mkdirSync(output, { recursive: true });
for (const [name, text] of Object.entries(files)) fs.writeFileSync(path.join(output, name), text);
