import { proxy, wrap } from './lib/comlink.js';
import { Axis, Charts } from './charts.js';
import { bitsText, decimalText, formats, hexadecimalText, neighbour, parse, toNumber } from './numbers.js';

const at = (id) => document.getElementById(id);

/** An element with attributes and children. */
function element(tag, attributes = {}, ...children) {
  const e = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) if (value !== undefined) e.setAttribute(name, value);
  e.append(...children);
  return e;
}

function fail(error) {
  at('failure').hidden = false;
  at('failure').textContent = `This page cannot go on: ${error?.message ?? error}`;
  console.error(error);
}

/** A worker's functions; what goes wrong before they can answer is shown. */
function start() {
  const worker = new Worker(new URL('worker.js', import.meta.url), { type: 'module' });
  worker.addEventListener('error', (event) => fail(event.message || 'the worker did not start'));
  return wrap(worker);
}

const { families } = await (await fetch('families.json')).json();
const worker = start(); // for what the reader asks for
let checker; // for the hashes, which take some seconds
let name, axis, measured; // of the export that is shown
let latest = 0; // the last change: answers to earlier ones are late

const familyOf = () => families[name.split('_')[0]];
const format = () => formats[name.split('_')[1]];
const takesTwo = () => ['TwoSources', 'SourceAndScalar'].includes(familyOf().shape);

// ---- this browser, checked

async function check() {
  const names = Object.entries(families).flatMap(([family, { hashes }]) => Object.keys(hashes).map((t) => `${family}_${t}`));
  const squares = Object.fromEntries(names.map((n) => [n, element('i', { title: n })]));
  at('exports').replaceChildren(...Object.values(squares));
  at('check-again').disabled = true;
  let done = 0;
  const different = [];
  const verdict = at('verdict');
  verdict.className = '';
  verdict.textContent = `Computing the hash of every export: 0 of ${names.length} …`;
  checker ??= start();
  await checker.golden(proxy((n, same) => {
    squares[n].className = same ? 'good' : 'bad';
    squares[n].title = `${n}: ${same ? 'the same bits' : 'other bits'}`;
    if (!same) different.push(n);
    verdict.textContent = `Computing the hash of every export: ${++done} of ${names.length} …`;
  }));
  verdict.className = different.length ? 'bad' : 'good';
  verdict.textContent = different.length
    ? `${names.length - different.length} of ${names.length} the same bits here; others: ${different.join(', ')}`
    : `✓ ${done} of ${names.length} the same bits here`;
  at('exports').setAttribute('aria-label', verdict.textContent);
  at('check-again').disabled = false;
}

// ---- the function

const charts = new Charts(at('graph'), at('errors'), (shares) => {
  if (shares) axis.select(...shares);
  else axis.range = [...axis.whole];
  show();
});

function second() {
  const input = at('second'), message = at('second-message');
  if (!takesTwo()) return 0n;
  try {
    const bits = parse(input.value, format());
    input.removeAttribute('aria-invalid');
    message.textContent = '';
    return bits;
  } catch (error) {
    input.setAttribute('aria-invalid', 'true');
    message.textContent = `Second argument: ${error.message}`;
    return null;
  }
}

/** Both plots over the axis's range, and the results at the argument. */
async function show() {
  const change = latest, y = second();
  const digits = axis.range.every((x, i) => x === axis.whole[i]) ? 3 : 6;
  at('range').textContent = axis.range.map((x) => +x.toPrecision(digits)).join(' to ');
  charts.errors(axis, measured.x, measured.ours.errors, measured.math?.errors, familyBound());
  if (y === null) return;
  const x = axis.samples();
  const results = await worker.graph(name, x, toNumber(y, format()));
  if (change === latest) charts.graph(axis, x, results);
}

const familyBound = () => {
  const { bounds } = familyOf(), type = name.slice(name.indexOf('_') + 1);
  return bounds[type] ?? bounds[type.split('_')[0]];
};

function showMeasured() {
  const { reference, largest } = familyOf(), count = measured.x.length, type = name.slice(name.indexOf('_') + 1);
  const row = (title, { errors, wrong }) => element('tr', {},
    element('th', { scope: 'row' }, element('code', {}, title)),
    element('td', {}, `${errors.reduce((a, b) => Math.max(a, b), 0).toFixed(4)} ulp`),
    element('td', {}, `${wrong} of ${count} (${(100 * wrong / count).toPrecision(2)} %)`));
  const rows = [row(name, measured.ours)];
  if (measured.math) rows.push(row(`Math.${reference}`, measured.math));
  at('measured').tBodies[0].replaceChildren(...rows);
  const item = (text, colour, dashed) =>
    element('span', { style: `--colour: var(--${colour})`, class: dashed && 'dashed' }, text);
  at('legend').replaceChildren(item(name, 'ours'),
    ...(measured.math ? [item(`Math.${reference} of this browser`, 'engine')] : []),
    item(`bound ${familyBound()} ulp`, 'ours', true), item('½ ulp: correct rounding', 'quiet', true));
  at('bound').textContent = `Bound, asserted against MPFR in every test run: ${familyBound()} ulp. Largest error that ` +
    `the repository has seen, in its hardest places too: ${largest[type]} ulp.` +
    (measured.math ? '' : ` This browser has no Math.${reference} to set beside${name.includes('32f') ? ' floats' : ''}.`);
}

async function choose(chosen) {
  name = chosen;
  history.replaceState(null, '', `#${name}`);
  const change = ++latest, family = familyOf();
  at('family').value = name.split('_')[0];
  for (const radio of document.getElementsByName('type')) radio.checked = name.endsWith(`_${radio.value}`);
  at('second-label').hidden = !takesTwo();
  at('computes').textContent = `${name}: ${family.computes}.`;
  at('graph-title').textContent = {
    TwoSources: 'Graph over the first argument, with the second one as above; errors with any second one',
    SourceAndScalar: 'Graph over the argument, with the power as above; errors with the power 2.5',
    TwoDestinations: 'Graph: the first result, and the second one in the other colour',
  }[family.shape] ?? 'Graph';
  at('argument-of').textContent = name;
  at('bits-example').textContent = bitsText(parse('1', format()), format());
  at('progress').textContent = 'Measuring 12 000 arguments …';
  evaluate();
  const result = await worker.errors(name);
  if (change !== latest) return;
  at('progress').textContent = '';
  const range = axis && axis.family === family && axis.range;
  measured = result;
  axis = Object.assign(new Axis(measured.x), { family });
  if (range) axis.range = range; // another class of the same function: the same view
  showMeasured();
  await show();
}

// ---- an argument

function line(title, bits, note, className) {
  const of = format();
  return [element('dt', {}, title), element('dd', { class: className },
    element('span', { class: 'number' }, decimalText(bits, of)), element('span', { class: 'number' }, hexadecimalText(bits, of)),
    element('span', { class: 'number' }, bitsText(bits, of)), ...(note ? [note] : []))];
}

async function evaluate() {
  const input = at('argument'), message = at('argument-message'), y = second();
  const change = (evaluate.latest = (evaluate.latest ?? 0) + 1);
  let x;
  try {
    x = parse(input.value, format());
    input.removeAttribute('aria-invalid');
    message.textContent = '';
  } catch (error) {
    input.setAttribute('aria-invalid', 'true');
    message.textContent = error.message;
    at('results').replaceChildren();
    return;
  }
  if (y === null) return;
  const { reference, shape } = familyOf();
  const titles = shape === 'TwoDestinations' ? ['sine', 'cosine'] : ['result'];
  const cards = await Promise.all([-1, 0, 1].map(async (step) => {
    const of = neighbour(x, step, format());
    const { results, status, math } = await worker.evaluate(name, of, y);
    return element('article', { class: step === 0 ? 'card here' : 'card' },
      element('h3', {}, ['one ulp below', 'the argument', 'one ulp above'][step + 1]),
      element('dl', {}, ...line('argument', of), ...results.flatMap((bits, d) => line(titles[d], bits)),
        element('dt', {}, 'status'), element('dd', {}, status),
        ...(math === null ? []
          : math === results[0] ? [element('dt', {}, `Math.${reference}`), element('dd', {}, 'the same bits')]
          : line(`Math.${reference}: other bits`, math, undefined, 'differs'))));
  }));
  if (change === evaluate.latest) at('results').replaceChildren(...cards);
}

// ---- controls

const types = Object.keys(Object.values(families)[0].hashes);
at('family').append(...Object.keys(families).map((family) => element('option', { value: family }, family)));
at('types').append(...types.map((type) => element('label', {},
  element('input', { type: 'radio', name: 'type', value: type }), element('span', {}, type))));
const chosen = () => `${at('family').value}_${document.querySelector('[name=type]:checked').value}`;
const attempt = (f) => (...args) => Promise.resolve(f(...args)).catch(fail);
at('family').addEventListener('change', attempt(() => choose(chosen())));
at('types').addEventListener('change', attempt(() => choose(chosen())));
at('second').addEventListener('input', attempt(() => Promise.all([axis && show(), evaluate()])));
at('argument').addEventListener('input', attempt(evaluate));
at('argument-form').addEventListener('submit', (event) => event.preventDefault());
at('check-again').addEventListener('click', attempt(check));

const views = { in: [0.25, 0.75], out: [-0.5, 1.5], left: [-0.25, 0.75], right: [0.25, 1.25], all: null };
const keys = { '+': 'in', '=': 'in', '-': 'out', ArrowLeft: 'left', ArrowRight: 'right', 0: 'all' };
const zoom = attempt((to) => axis && charts.onSelect(views[to]));
for (const button of document.querySelectorAll('[data-zoom]'))
  button.addEventListener('click', () => zoom(button.dataset.zoom));
at('plots').addEventListener('keydown', (event) => {
  const to = keys[event.key];
  if (!to || event.ctrlKey || event.metaKey || event.altKey) return;
  event.preventDefault();
  zoom(to);
});

function chooseByAddress() {
  const [, family, type] = /^#(\w+?)_(\w+)$/.exec(location.hash) ?? [];
  return choose(families[family]?.hashes[type] ? `${family}_${type}` : 'Sin_64f_A53');
}
window.addEventListener('hashchange', attempt(chooseByAddress));
attempt(async () => {
  await chooseByAddress();
  await check();
})();
