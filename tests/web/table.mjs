// Prints docs/engines.md from what engines.mjs has left in FOLDER.
// usage: node table.mjs FOLDER SITE

import { readFile, readdir } from 'node:fs/promises';

const [folder, site] = process.argv.slice(2);
const { families } = JSON.parse(await readFile(`${site}/families.json`, 'utf8'));
const engines = { node: 'V8', chromium: 'V8', firefox: 'SpiderMonkey', webkit: 'JavaScriptCore' };
const present = (await readdir(folder)).filter((name) => name in engines)
  .sort((a, b) => Object.keys(engines).indexOf(a) - Object.keys(engines).indexOf(b));
if (present.length === 0) throw new Error(`no engine has left its results in ${folder}`);

const bits = async (path) => {
  const bytes = await readFile(path);
  return new BigUint64Array(bytes.buffer.slice(bytes.byteOffset, bytes.byteOffset + bytes.length));
};
const titles = await Promise.all(present.map(async (engine) => {
  const [, name, version] = /^(\S+) (\d+(?:\.\d+)?)/.exec(await readFile(`${folder}/${engine}/version`, 'utf8'));
  return `${name[0].toUpperCase()}${name.slice(1)} ${version} (${engines[engine]})`;
}));

/** How many elements are not the same in all of the lists. */
const differing = (lists) => lists[0].reduce((sum, value, i) => sum + lists.some((list) => list[i] !== value), 0);

const rows = [];
for (const [family, { reference, shape }] of Object.entries(families)) {
  if (!Object.hasOwn(Math, reference) || shape === 'SourceAndScalar' || shape === 'TwoDestinations') continue;
  const of = (kind) => Promise.all(present.map((engine) => bits(`${folder}/${engine}/${family}.${kind}`)));
  const [math, ours] = [await of('math'), await of('qelvm')];
  if (differing(ours) > 0) throw new Error(`qelvm's ${family} differs between engines`);
  const count = math[0].length;
  const exact = await bits(`${folder}/inputs/${family}.bin`); // sources, nearest, rest
  const nearest = exact.subarray(exact.length - 2 * count, exact.length - count);
  rows.push([`\`${reference}\``, ...math.map((list) => differing([list, nearest])), differing(math), differing([ours[0], nearest])]);
}
const line = (cells) => `| ${cells.join(' | ')} |`;
console.log(`# Engines

What the functions of \`Math\` give in engines of today, for 100000 arguments over the main range of each
(that of the pictures in [accuracy/](accuracy/)): how many results are not the correctly rounded ones, by
MPFR; for how many arguments the engines do not all give the same; and how many results of the package's
\`64f_A53\` are not correctly rounded. These were the same bits in all engines.

${line(['function', ...titles, 'engines disagree', 'qelvm'])}
${line(['---', ...titles.map(() => '--:'), '--:', '--:'])}
${rows.map(line).join('\n')}

In each of these engines the golden hashes of all exports, and the results of each for a million random
arguments, are those of the native library, from both modules of the package. \`tools/figures.sh engines\`
measures it again; \`./test.sh --platforms\` checks the bits.`);
