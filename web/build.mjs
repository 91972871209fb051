// Puts the page together.
// usage: node build.mjs SITE MODULES PACKAGE EXACT
// SITE: the folder to fill; MODULES: where npm has installed what package.json names; PACKAGE: the built
// package of js/; EXACT: the program that knows exact results, tests/accuracy/exact.cpp

import { execFile } from 'node:child_process';
import { cp, mkdir, readFile, stat, writeFile } from 'node:fs/promises';
import { fileURLToPath } from 'node:url';
import { promisify } from 'node:util';

const [site, modules, qelvm, exact] = process.argv.slice(2);
const root = fileURLToPath(new URL('..', import.meta.url));
const read = (name) => readFile(root + name, 'utf8');
const perFamily = 12000; // arguments, of each type

/** What the page knows of the families, from the places where it stands. */
async function facts() {
  const accuracy = await read('docs/accuracy.md');
  const families = {};
  const rows = (await read('families/families.inc')).matchAll(
    /^QELVM_FAMILY\((\w+), (\w+), (.*), ([\d.]+), ([\d.]+), ([\d.]+)\)/gm);
  for (const [, name, shape, , single, a50, a53] of rows) {
    const own = await read(`families/${name}.txt`);
    const like = /^like (\w+)/m.exec(own);
    const known = like ? await read(`families/${like[1]}.txt`) : own;
    families[name] = {
      shape,
      computes: /^# \w+: (.*?)\.?$/m.exec(own)[1].replaceAll('`', ''),
      reference: /^reference (\w+)/m.exec(known)[1],
      hashes: Object.fromEntries([...own.matchAll(/^hash (\w+) (\w+)/gm)].map(([, type, hash]) => [type, hash])),
      bounds: { '32f': +single, '64f_A50': +a50, '64f_A53': +a53 },
      largest: Object.fromEntries([...accuracy.matchAll(
        new RegExp(`^\\| \`${name}_(\\w+)\` \\| [\\d.]+ \\| ([\\d.]+) \\|`, 'gm'))].map(([, type, error]) => [type, +error])),
    };
  }
  return { families };
}

/** The first table of a document, as an HTML table. */
function htmlTable(markdown) {
  const lines = /(?:^\|.*\n)+/m.exec(markdown)[0].trim().split('\n');
  const cells = (line, tag) => line.slice(1, -1).split('|').map((text, i) =>
    tag === 'td' && i === 0 ? `<th scope="row">${html(text)}</th>` : `<${tag}>${html(text)}</${tag}>`).join('');
  const html = (text) => text.trim().replaceAll('&', '&amp;').replaceAll('<', '&lt;').replace(/`(.*?)`/g, '<code>$1</code>');
  return `<table><thead><tr>${cells(lines[0], 'th')}</tr></thead>\n<tbody>${
    lines.slice(2).map((line) => `<tr>${cells(line, 'td')}</tr>`).join('\n')}</tbody></table>`;
}

/** Exact results, made where they are older than the program that makes them. */
async function exactResults(names) {
  const made = (await stat(exact)).mtimeMs;
  const queue = names.flatMap((name) => [[name, '32f', '--floats'], [name, '64f']]);
  const work = async () => {
    for (let job; (job = queue.shift()); ) {
      const [name, type, ...options] = job, path = `${site}/data/${name}_${type}.bin`;
      if ((await stat(path).catch(() => null))?.mtimeMs > made) continue;
      const { stdout } = await promisify(execFile)(exact, [name, perFamily, ...options],
        { encoding: 'buffer', maxBuffer: 2 ** 26 });
      await writeFile(path, stdout);
    }
  };
  await Promise.all([work(), work()]);
}

await mkdir(`${site}/data`, { recursive: true });
await mkdir(`${site}/lib`, { recursive: true });
const { version } = JSON.parse(await readFile(`${qelvm}/package.json`, 'utf8'));
const known = await facts();
await exactResults(Object.keys(known.families));
for (const name of ['style.css', 'page.js', 'charts.js', 'worker.js', 'library.js', 'exact.js',
  'numbers.js'])
  await cp(`${root}web/${name}`, `${site}/${name}`);
await cp(`${modules}/uplot/dist/uPlot.esm.js`, `${site}/lib/uPlot.js`);
await cp(`${modules}/uplot/dist/uPlot.min.css`, `${site}/lib/uPlot.css`);
await cp(`${modules}/comlink/dist/esm/comlink.min.mjs`, `${site}/lib/comlink.js`);
await cp(qelvm, `${site}/lib/qelvm`, { recursive: true });
await writeFile(`${site}/families.json`, JSON.stringify(known));
await writeFile(`${site}/index.html`, (await read('web/index.html'))
  .replace('<!-- engines -->', htmlTable(await read('docs/engines.md'))).replace('{version}', version));
