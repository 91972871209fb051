// The page, used as a reader would: clicks and keys in a browser.
// usage: node page_test.mjs chromium|firefox SITE [SCREENSHOTS]: into that folder, if one is named

import assert from 'node:assert/strict';
import { drive } from './browsers.mjs';
import { serve } from './serve.mjs';

const [engine, site, screenshots] = process.argv.slice(2);
const { server, address } = await serve({ '/': site });
const other = await serve({ '/': site }, server.address().port); // a taken port: the next free one
assert.notEqual(other.address, address);
other.server.close();
const browser = await drive(engine);
const problems = [];
try {
  const page = await browser.newPage();
  page.on('pageerror', (error) => problems.push(error.message));
  const text = (selector) => page.$eval(selector, (e) => e.textContent);
  const until = (what, selector, pattern) => page.waitForFunction((s, p) => new RegExp(p).test(document.querySelector(s)?.textContent ?? ''),
    { timeout: 60000 }, selector, pattern).catch(async () => assert.fail(`${what}: ${await text(selector)}`));
  const type = async (selector, value) => {
    await page.click(selector);
    await page.$eval(selector, (e) => e.select());
    await page.keyboard.type(value);
  };
  const shows = (name) => until(`shows ${name}`, '#measured tbody', `^${name}[\\d.]+ ulp`);

  await page.setViewport({ width: 1100, height: 820 });
  await page.goto(address);
  await until('every hash', '#verdict', '^✓ 135 of 135 the same bits here$');
  assert.equal(await page.$$eval('#exports .good', (list) => list.length), 135);
  assert.ok(await page.$$eval('#why tbody tr', (rows) => rows.length) > 15, 'the table of engines');
  await shows('Sin_64f_A53');
  assert.equal(await page.$$eval('#plots canvas', (list) => list.length), 2);

  // Zoom: by a button, by a drag, by keys, and back.
  const range = () => text('#range');
  const whole = await range();
  assert.equal(whole, '-10 to 10');
  await page.click('[data-zoom=in]');
  await page.waitForFunction((r) => document.querySelector('#range').textContent !== r, {}, whole);
  await page.$eval('#plots', (e) => e.scrollIntoView());
  const plot = await (await page.$('#errors .u-over')).boundingBox();
  const before = await range();
  await page.mouse.move(plot.x + plot.width * 0.3, plot.y + 50);
  await page.mouse.down();
  await page.mouse.move(plot.x + plot.width * 0.6, plot.y + 60, { steps: 5 });
  await page.mouse.up();
  await page.waitForFunction((r) => document.querySelector('#range').textContent !== r, {}, before);
  const [low, high] = (await range()).split(' to ').map(Number);
  assert.ok(high - low < 4 && high - low > 2, `30 % of 10: ${low} to ${high}`);
  await page.focus('#plots');
  await page.keyboard.press('0');
  assert.equal(await range(), whole);

  // Another function, with two arguments, and another class by the keyboard.
  await page.select('#family', 'Pow');
  await shows('Pow_64f_A53');
  await type('#second', '0.5');
  await type('#argument', '2');
  await until('2 to the power of 0.5', '.card.here', '1\\.4142135623730951');
  await type('#second', 'x');
  await until('nonsense', '#second-message', 'is not a number');
  await page.select('#family', 'Exp');
  await shows('Exp_64f_A53');
  await page.click('[name=type][value="64f_A50"] + span');
  await shows('Exp_64f_A50');
  await page.keyboard.press('ArrowLeft');
  await shows('Exp_32f_A24');

  // Arguments of every kind.
  await page.click('[name=type][value="64f_A53"] + span');
  await shows('Exp_64f_A53');
  for (const [argument, result, status] of [
    ['1', '2.718281828459045', 0], ['0x1p-3', '1.1331484530668263', 0], ['0x7ff4000000000001', '0x7ffc000000000001', 0],
    ['-nan', '-nan', 0], ['inf', 'inf', 0], ['-800', '0', 17], ['710', 'inf', 12], ['1e999', 'inf', 0]]) {
    await type('#argument', argument);
    await until(`exp of ${argument}`, '.card.here', `result.*${result.replace('.', '\\.')}.*status${status}:`);
  }
  for (const nonsense of ['one', '1e', '0x', '--1']) {
    await type('#argument', nonsense);
    await until(nonsense, '#argument-message', 'is not a number');
    assert.equal(await page.$$eval('.card', (list) => list.length), 0);
  }
  await type('#argument', '0.1');
  await until('recovered', '.card.here', '1\\.1051709180756477');
  const progress = until('progress', '#verdict', 'of 135 …$');
  await page.focus('#check-again');
  await page.keyboard.press('Enter');
  await progress;

  // A function by its address; a phone; dark.
  await page.goto(`${address}/#Tan_64f_A53`);
  await page.reload();
  await shows('Tan_64f_A53');
  await page.goto(`${address}/#Nonsense`);
  await page.reload();
  await until('every hash again', '#verdict', '^✓');
  await shows('Sin_64f_A53');
  const picture = async (name) => {
    await new Promise((resolve) => setTimeout(resolve, 500)); // the last square fades in
    if (screenshots) await page.screenshot({ path: `${screenshots}/${name}.png` });
  };
  await picture('desktop');
  const narrow = { width: 390, height: 844 };
  await page.setViewport(narrow);
  await page.waitForFunction(() => document.documentElement.scrollWidth <= 390 && document.querySelector('#graph canvas').clientWidth < 390);
  await picture('phone');
  if (engine === 'chromium') {
    await page.setViewport({ width: 1100, height: 820 });
    const paper = () => page.$eval('body', (body) => getComputedStyle(body).backgroundColor);
    const light = await paper();
    await page.emulateMediaFeatures([{ name: 'prefers-color-scheme', value: 'dark' }]);
    assert.notEqual(await paper(), light);
    await page.$eval('#look', (e) => e.scrollIntoView());
    await picture('dark');
  }
  assert.equal(await text('#failure'), '');
  assert.deepEqual(problems, []);
  console.log(`${await browser.version()}: hashes, plots, arguments, nonsense, a phone's width`);
} finally {
  await browser.close();
  server.close();
}
