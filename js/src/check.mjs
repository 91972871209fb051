// The hash of every export's result bits and statuses over the golden sequence, which is that of the
// library's own tests on all platforms: inputs of all kinds, the limits of the family, special values.
// As a program it prints what differs, and how many are the same.
//
// Bits are kept as words, the low one first: as numbers, NaNs would lose theirs.

import qelvm from './index.mjs';

// ---- unsigned 64-bit arithmetic, in pairs of words -----------------------------------------------

/** The words of the product of (ah, al) and (bh, bl). */
function product(ah, al, bh, bl) {
  const a0 = al & 0xffff;
  const a1 = al >>> 16;
  const b0 = bl & 0xffff;
  const b1 = bl >>> 16;
  const middle = a1 * b0 + ((a0 * b0) / 65536 >>> 0);
  const other = a0 * b1 + (middle % 65536);
  const low = ((other << 16) | ((a0 * b0) & 0xffff)) >>> 0;
  const carry = a1 * b1 + Math.floor(middle / 65536) + Math.floor(other / 65536);
  return [(carry + Math.imul(ah, bl) + Math.imul(al, bh)) >>> 0, low];
}

/** splitmix64. */
class Random {
  constructor(high, low) {
    this.high = high;
    this.low = low;
  }
  /** Draws 64 bits into `this.h` and `this.l`. */
  draw() {
    const low = this.low + 0x7f4a7c15;
    this.high = (this.high + 0x9e3779b9 + (low > 0xffffffff ? 1 : 0)) >>> 0;
    this.low = low >>> 0;
    let h = this.high;
    let l = this.low;
    for (const [shift, ph, pl] of [[30, 0xbf58476d, 0x1ce4e5b9], [27, 0x94d049bb, 0x133111eb]]) {
      const shifted = ((l >>> shift) | (h << (32 - shift))) >>> 0;
      [h, l] = product((h ^ (h >>> shift)) >>> 0, (l ^ shifted) >>> 0, ph, pl);
    }
    this.l = (l ^ ((l >>> 31) | (h << 1))) >>> 0;
    this.h = (h ^ (h >>> 31)) >>> 0;
  }
  /** Uniform in [-limit, limit). */
  within(limit) {
    this.draw();
    return ((this.h | 0) * 2 ** 22 + (this.l >>> 10)) * 2 ** -53 * limit;
  }
  below(count) {
    this.draw();
    return ((this.h % count) * (0x100000000 % count) + (this.l % count)) % count;
  }
}

// ---- arguments -----------------------------------------------------------------------------------

const number = new Float64Array(1);
const words = new Uint32Array(number.buffer);
const single = new Float32Array(1);
const singleWord = new Uint32Array(single.buffer);

/** What differs between the formats: patterns are [low word, high word], of a float [word, 0]. */
const formats = {
  '64f': {
    words: 2,
    fractionBits: 52,
    bias: 1023,
    least: -1074,
    bitsOf: (x) => ((number[0] = x), [words[0], words[1]]),
    random: (l, h) => [l, h],
    within: 760,
  },
  '32f': {
    words: 1,
    fractionBits: 23,
    bias: 127,
    least: -149,
    bitsOf: (x) => ((single[0] = x), [singleWord[0], 0]),
    random: (l) => [l, 0],
    within: 110,
  },
};
const topOf = (format) => format.words - 1; // the word of the sign and the exponent
const exponentShift = (format) => format.fractionBits - 32 * topOf(format);

/** 2^exponent, whatever the engine's `**` does. */
function power(exponent) {
  const place = exponent + 1074; // of the bit, where the number is subnormal
  words.set(exponent >= -1022 ? [0, (exponent + 1023) << 20] : place < 32 ? [1 << place, 0] : [0, 1 << (place - 32)]);
  return number[0];
}

/** A pattern with another top word. */
function withTop(format, pattern, f) {
  const changed = [...pattern];
  changed[topOf(format)] = f(pattern[topOf(format)]) >>> 0;
  return changed;
}
const negated = (format, pattern) => withTop(format, pattern, (top) => top ^ 0x80000000);

/** A pattern, some integers further. */
function moved(format, [low, high], step) {
  if (format.words === 1) return [(low + step) >>> 0, 0];
  const sum = low + step;
  return [sum >>> 0, (high + Math.floor(sum / 0x100000000)) >>> 0];
}

function input(format, random, kind) {
  random.draw();
  const shift = exponentShift(format);
  const pattern = format.random(random.l, random.h);
  switch (kind) {
    case 0:
      return pattern;
    case 1: {
      const exponent = format.bias - 64 + random.below(128);
      return withTop(format, pattern, (top) => (top & (0x80000000 | ((1 << shift) - 1))) | (exponent << shift));
    }
    case 2:
      return format.bitsOf(random.within(1));
    case 3:
      return format.bitsOf(random.within(30));
    case 4:
      return format.bitsOf(random.within(format.within));
    case 5:
      return moved(format, format.bitsOf(1), random.below(64) - 32);
    case 6:
      return withTop(format, pattern, (top) => top & ~((2 * format.bias + 1) << shift));
    default:
      return format.bitsOf((random.below(4001) - 2000) * 0.25);
  }
}

/** Values at which something changes for some family or format, with both signs. */
function specialValues(format) {
  const values = [];
  const add = (x) => values.push(format.bitsOf(x), negated(format, format.bitsOf(x)));
  const { least, bias, fractionBits } = format;
  add(0);
  for (const exponent of [least, least + 10, -bias, 1 - bias, -100, -60, -53, -52, -28, -10, -3, -1, 0, 1, 2, 5,
                          17, 20, 53, 60, 100, bias]) {
    const x = power(exponent);
    add(x);
    add(x * 1.5);
    add(x + power(Math.max(exponent - fractionBits, -1074)));
  }
  for (const x of [0.1, 0.3, 0.7, 0.999, 1.1, 3, 7, 9, 10, 27, 88, 89, 103.9, 104.5, 700, 709, 710, 745, 746, 1e4,
                   1e10, 1e30])
    add(x);
  const infinity = format.bitsOf(Infinity);
  const quiet = withTop(format, infinity, (top) => top | (1 << (exponentShift(format) - 1)));
  for (const pattern of [moved(format, infinity, -1), infinity, moved(format, infinity, 1),
                         moved(format, infinity, 0x5a5), quiet, moved(format, quiet, 5)])
    values.push(pattern, negated(format, pattern));
  return values;
}

const kinds = 8;
const perKind = 16384;

/** The pairs that all families have, as words; and the generator behind them. */
function commonPairs(format) {
  const random = new Random(0, 1);
  const pairs = new Uint32Array(kinds * perKind * 4);
  for (let i = 0; i < kinds * perKind; ++i) {
    pairs.set(input(format, random, i % kinds), 4 * i);
    pairs.set(input(format, random, random.below(kinds)), 4 * i + 2);
  }
  return { pairs, state: [random.high, random.low] };
}

// ---- the hashes ----------------------------------------------------------------------------------

function hashOf(entry, shape, format, common, limits) {
  const memory = new Uint32Array(entry.memory.buffer);
  const [x, y, r, s] = entry.places.map((place) => place / 4);
  const [px, py, pr, ps] = entry.places;
  const two = shape === 'TwoSources' || shape === 'SourceAndScalar';
  const both = shape === 'TwoDestinations';
  const { call } = entry;
  const wide = format.words === 2;

  let high = 0xcbf29ce4; // FNV-1a, a byte at a time
  let low = 0x84222325;
  const mixWord = (word) => {
    for (let shift = 0; shift < 32; shift += 8) {
      const mixed = (low ^ ((word >>> shift) & 255)) >>> 0;
      const times = mixed * 0x1b3;
      low = times >>> 0;
      high = (Math.imul(high, 0x1b3) + (mixed << 8) + (times - low) * 2 ** -32) | 0;
    }
  };
  const mixResult = (place) => {
    mixWord(memory[place]);
    mixWord(wide ? memory[place + 1] : 0);
  };
  const mixStatus = (status) => {
    mixWord(status);
    mixWord(0);
  };
  const put = (x0, x1, y0, y1) => {
    memory[x] = x0;
    memory[y] = y0;
    if (wide) {
      memory[x + 1] = x1;
      memory[y + 1] = y1;
    }
  };
  const mixCall = (x0, x1, y0, y1) => {
    put(x0, x1, y0, y1);
    const status = both ? call(px, pr, ps, 1) : two ? call(px, py, pr, 1) : call(px, pr, 1);
    mixResult(r);
    if (both) mixResult(s);
    mixStatus(status);
  };
  const mixInPlace = (x0, x1, y0, y1) => { // the last source is the first destination
    put(x0, x1, y0, y1);
    const shared = shape === 'TwoSources' ? y : x;
    mixStatus(both ? call(px, px, ps, 1) : two ? call(px, py, 4 * shared, 1) : call(px, px, 1));
    mixResult(shared);
  };

  const { pairs, state } = common;
  for (let i = 0; i < pairs.length; i += 4) mixCall(pairs[i], pairs[i + 1], pairs[i + 2], pairs[i + 3]);
  const random = new Random(...state);
  for (const limit of limits)
    for (let step = -2; step <= 2; ++step)
      for (const negative of [false, true]) {
        const near = moved(format, format.bitsOf(limit), step);
        const tried = negative ? negated(format, near) : near;
        mixCall(...tried, ...input(format, random, random.below(kinds)));
        mixCall(...input(format, random, random.below(kinds)), ...tried);
      }
  const values = specialValues(format);
  for (const one of values)
    for (const other of values) {
      mixCall(...one, ...other);
      mixInPlace(...one, ...other);
    }
  return [high, low].map((word) => (word >>> 0).toString(16).padStart(8, '0')).join('');
}

let common; // the arguments of all families, by the element's type
const known = {}; // exports that are one computation are computed once

/** Every export in turn: { name, module, hash, expected, same }. */
export function* goldenHashes({ simd = qelvm.simd } = {}) {
  if (common === undefined)
    common = Object.fromEntries(Object.entries(formats).map(([type, format]) => [type, commonPairs(format)]));
  for (const [family, { shape, limits, hashes }] of Object.entries(golden))
    for (const [suffix, expected] of Object.entries(hashes)) {
      const name = `qels${family}_${suffix}`;
      const entry = qelvm.raw(name, simd);
      const type = suffix.slice(0, 3);
      const computation = `${entry.module} ${entry.name}`;
      if (known[computation] === undefined)
        known[computation] = hashOf(entry, shape, formats[type], common[type], limits);
      const hash = known[computation];
      yield { name, module: entry.module, hash, expected, same: hash === expected };
    }
}

// As a program, in Node.
if (typeof process === 'object' && process.argv && /qelvm-check$|check\.mjs$/.test(process.argv[1] || '')) {
  const names = new Set();
  const wrong = new Set();
  for (const simd of qelvm.simd ? [true, false] : [false])
    for (const { name, module, hash, expected, same } of goldenHashes({ simd })) {
      names.add(name);
      if (same) continue;
      wrong.add(name);
      console.log(`${name} (${module}): ${hash}, not ${expected}`);
    }
  console.log(`qelvm ${qelvm.version}: ${names.size - wrong.size} of ${names.size} exports give the same bits here`);
  process.exitCode = wrong.size === 0 ? 0 : 1;
}
