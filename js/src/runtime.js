// The package but for what the build knows: `built` holds the version, the statuses, the functions and
// the modules (build.mjs writes it before this text, inside one function).
//
// One script without `import` and `export`, which leaves its interface under a symbol: index.mjs and
// index.cjs both load it, so that a program has it once, with one memory and one last status.

const key = Symbol.for(`qelvm ${built.version}`);

// ---- the modules ---------------------------------------------------------------------------------

const bytesOfElement = { '32f': 4, '64f': 8 };
const views = { '32f': Float32Array, '64f': Float64Array };
const capacity = 2048; // elements of one call of an export
const buffers = 4; // two sources, two destinations

/** The bytes of a text in base64. (`atob` is of browsers and Node, not of the language.) */
function fromBase64(text) {
  const digits = new Uint8Array(128).fill(255);
  for (let i = 0; i < 64; ++i)
    digits['ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/'.charCodeAt(i)] = i;
  const bytes = new Uint8Array(Math.floor((text.length * 3) / 4));
  for (let i = 0, n = 0, bits = 0; i < text.length; ++i) {
    const digit = digits[text.charCodeAt(i)];
    if (!(digit < 64)) throw new Error(`no digit at ${i}`);
    bits = (bits << 6) | digit;
    if (i % 4 > 0) bytes[n++] = bits >> (6 - 2 * (i % 4));
  }
  return bytes;
}

/** What the zlib stream (RFC 1950 and 1951) of `size` bytes holds; throws where it is damaged. */
function inflate(input, size) {
  const output = new Uint8Array(size);
  let at = 2;
  let held = 0;
  let count = 0; // bits held
  let end = 0;
  const bits = (n) => {
    while (count < n) {
      if (at >= input.length) throw new Error('it ends too early');
      held |= input[at++] << count;
      count += 8;
    }
    const value = held & ((1 << n) - 1);
    held >>>= n;
    count -= n;
    return value;
  };
  /** How many codes each length has, and the symbols in the order of their codes. */
  const codeOf = (lengths) => {
    const counts = new Uint16Array(16);
    for (const length of lengths) ++counts[length];
    counts[0] = 0;
    const places = new Uint16Array(17);
    for (let i = 1; i < 16; ++i) places[i + 1] = places[i] + counts[i];
    const symbols = new Uint16Array(lengths.length);
    lengths.forEach((length, symbol) => {
      if (length > 0) symbols[places[length]++] = symbol;
    });
    return { counts, symbols };
  };
  const decode = ({ counts, symbols }) => {
    let code = 0;
    let first = 0;
    let place = 0;
    for (let length = 1; length < 16; ++length) {
      code |= bits(1);
      if (code - counts[length] < first) return symbols[place + code - first];
      place += counts[length];
      first = (first + counts[length]) << 1;
      code <<= 1;
    }
    throw new Error('it has an unknown code');
  };
  const put = (byte) => {
    if (end >= size) throw new Error('it is too long');
    output[end++] = byte;
  };
  /** A length or a distance: of four codes (or two) each, the first without more bits, one more bit. */
  const extended = (code, step, first) => {
    if (code < 2 * step) return first + code;
    const more = Math.floor(code / step) - 1;
    return first + ((step + (code % step)) << more) + bits(more);
  };
  for (let last = 0; last === 0; ) {
    last = bits(1);
    if (bits(2) !== 2) throw new Error('it has a block of another kind'); // the build makes no others
    const literals = bits(5) + 257;
    const distances = bits(5) + 1;
    const lengthLengths = new Array(19).fill(0);
    const order = [16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15];
    for (let i = 0, n = bits(4) + 4; i < n; ++i) lengthLengths[order[i]] = bits(3);
    const lengthCode = codeOf(lengthLengths);
    const lengths = [];
    while (lengths.length < literals + distances) {
      const symbol = decode(lengthCode);
      if (symbol < 16) lengths.push(symbol);
      else {
        const again = symbol === 16 ? 3 + bits(2) : symbol === 17 ? 3 + bits(3) : 11 + bits(7);
        const value = symbol === 16 ? lengths[lengths.length - 1] : 0;
        for (let i = 0; i < again; ++i) lengths.push(value);
      }
    }
    const literal = codeOf(lengths.slice(0, literals));
    const distance = codeOf(lengths.slice(literals));
    for (;;) {
      const symbol = decode(literal);
      if (symbol < 256) put(symbol);
      else if (symbol === 256) break;
      else {
        const length = symbol === 285 ? 258 : extended(symbol - 257, 4, 3);
        const back = extended(decode(distance), 2, 1);
        if (back > end) throw new Error('it refers to before its beginning');
        for (let i = 0; i < length; ++i) put(output[end - back]);
      }
    }
  }
  let a = 1;
  let b = 0;
  for (const byte of output) {
    a = (a + byte) % 65521;
    b = (b + a) % 65521;
  }
  at = input.length - 4;
  if (end !== size || ((b << 8) | (a >> 8)) !== ((input[at] << 16) | (input[at + 1] << 8) | input[at + 2])
      || (a & 255) !== input[at + 3])
    throw new Error('its checksum is another');
  return output;
}

/** The bytes of a module of the package. */
function bytesOf(name) {
  const { text, size } = built.modules[name];
  try {
    return inflate(fromBase64(text), size);
  } catch (error) {
    throw failure(`the ${name} module in this package is damaged: ${error.message}`, error);
  }
}

function failure(what, cause) {
  const error = new Error(`qelvm: ${what}`);
  error.cause = cause;
  return error;
}

function requireWebAssembly() {
  if (typeof WebAssembly !== 'object')
    throw failure('this engine has no WebAssembly, or does not let this page use it');
}

/** Whether the engine has 128-bit registers: it takes a function of one `v128.const`. */
function hasSimd() {
  const header = [0, 97, 115, 109, 1, 0, 0, 0];
  const type = [1, 4, 1, 96, 0, 0];
  const code = [10, 23, 1, 21, 0, 253, 12, ...new Array(16).fill(0), 26, 11];
  return WebAssembly.validate(new Uint8Array([...header, ...type, 3, 2, 1, 0, ...code]));
}

/** A module at work: its exports, and the places of the arrays in its memory, as numbers of bytes. */
function machineOf(instance) {
  const { memory, __heap_base: heapBase } = instance.exports;
  const size = 8 * capacity;
  const first = (heapBase.value + 63) & ~63;
  const missing = first + buffers * size - memory.buffer.byteLength;
  if (missing > 0) memory.grow(Math.ceil(missing / 65536));
  const places = [];
  for (let i = 0; i < buffers; ++i) places.push(first + i * size);
  const heap = {};
  for (const type of Object.keys(views)) heap[type] = new views[type](memory.buffer);
  return { exports: instance.exports, memory, places, heap };
}

const machines = {}; // by the names of the modules, as they are needed

function machine(name) {
  if (machines[name] === undefined) {
    requireWebAssembly();
    const bytes = bytesOf(name);
    try {
      machines[name] = machineOf(new WebAssembly.Instance(new WebAssembly.Module(bytes)));
    } catch (error) {
      throw failure(
        `the engine does not start the ${name} module here and now (${error.message}); ` +
          'where it is too large to be compiled at once, `await qelvm.ready()` first',
        error,
      );
    }
  }
  return machines[name];
}

/** Starts the modules without blocking; needed only where the engine refuses to start them at once. */
async function ready() {
  requireWebAssembly();
  for (const name of simd() ? ['plain', 'simd'] : ['plain'])
    if (machines[name] === undefined) {
      const { instance } = await WebAssembly.instantiate(bytesOf(name));
      if (machines[name] === undefined) machines[name] = machineOf(instance);
    }
}

let simdFound;
function simd() {
  if (simdFound === undefined) simdFound = typeof WebAssembly === 'object' && hasSimd();
  return simdFound;
}

/** The export that computes what `name` does, in the module that has it and is faster. */
function entryOf(name, withSimd = simd()) {
  const representative = Object.hasOwn(built.aliases, name) ? built.aliases[name] : name;
  const module = withSimd && built.simdExports.includes(representative) ? 'simd' : 'plain';
  const found = machine(module);
  if (typeof found.exports[representative] !== 'function') throw new RangeError(`qelvm: no export ${name}`);
  return { name: representative, module, call: found.exports[representative], ...found };
}

// ---- arguments -----------------------------------------------------------------------------------

let lastStatus = 0;

/** Float64Array, Float32Array or Array where x is one, of whatever window or worker; else ''. */
function kindOf(x) {
  if (Array.isArray(x)) return 'Array';
  if (!ArrayBuffer.isView(x)) return '';
  const tag = x[Symbol.toStringTag];
  return tag === 'Float64Array' || tag === 'Float32Array' ? tag : '';
}

function describe(x) {
  if (x === null || x === undefined) return String(x);
  if (typeof x === 'object') {
    const tag = Object.prototype.toString.call(x).slice(8, -1);
    return `${/^[AEIOU]/.test(tag) ? 'an' : 'a'} ${tag}`;
  }
  return typeof x === 'string' ? `the string ${JSON.stringify(x.slice(0, 40))}` : `a ${typeof x}`;
}

function refuseDetached(name, what, x) {
  if (x.length > 0) return;
  try {
    new Uint8Array(x.buffer); // throws where the buffer has been transferred
  } catch (error) {
    throw new TypeError(`${name}: the buffer of ${what} is detached`);
  }
}

/** The numbers of a plain array. */
function copied(name, what, x) {
  const copy = new Float64Array(x.length);
  for (let i = 0; i < copy.length; ++i) {
    const value = x[i];
    if (typeof value !== 'number')
      throw new TypeError(`${name}: ${what}[${i}] is ${describe(value)}; numbers are needed`);
    copy[i] = value;
  }
  return copy;
}

/** An argument: its kind ('' of a number) and its values. */
function sourceOf(name, what, x) {
  if (typeof x === 'number') return { kind: '', values: x };
  const kind = kindOf(x);
  if (kind === '')
    throw new TypeError(
      `${name}: ${what} is ${describe(x)}; it can be a number, a Float64Array, a Float32Array or an ` +
        'array of numbers',
    );
  if (kind === 'Array') return { kind, values: copied(name, what, x) };
  refuseDetached(name, what, x);
  return { kind, values: x };
}

/** The arrays for the results that the last argument names: itself, `out` in it, or none. */
function outOf(name, argument, parts) {
  if (argument === undefined) return undefined;
  const options = argument !== null && typeof argument === 'object' && kindOf(argument) === '';
  const out = options && 'out' in argument ? argument.out : argument;
  if (out === undefined) return undefined;
  const arrays = parts ? parts.map((part) => (out === null ? out : out[part])) : [out];
  arrays.forEach((array, i) => {
    const what = parts ? `out.${parts[i]}` : 'out';
    if (array === null || typeof array !== 'object' || kindOf(array) === '')
      throw new TypeError(
        `${name}: ${what} is ${describe(array)}; it can be a Float64Array, a Float32Array or an array`,
      );
    if (kindOf(array) !== 'Array') refuseDetached(name, what, array);
  });
  return arrays;
}

/** Whether results can go there while sources are still being read: where these lie elsewhere, or at
 *  the very same places. */
function apart(out, other) {
  if (typeof other === 'number' || out.buffer !== other.buffer) return true;
  if (out.byteOffset === other.byteOffset) return out.BYTES_PER_ELEMENT === other.BYTES_PER_ELEMENT;
  return (
    out.byteOffset >= other.byteOffset + other.byteLength ||
    other.byteOffset >= out.byteOffset + out.byteLength
  );
}

// ---- calls ---------------------------------------------------------------------------------------

/** Elements by blocks. Returns the last status that one reported. */
function runBlocks({ call, places, heap }, type, length, sources, outs) {
  const memory = heap[type];
  const View = views[type];
  const bytes = bytesOfElement[type];
  const part = (array, i, n) => new View(array.buffer, array.byteOffset + i * bytes, n);
  sources.forEach((source, s) => {
    if (typeof source === 'number')
      memory.fill(source, places[s] / bytes, places[s] / bytes + Math.min(length, capacity));
  });
  const addresses = [
    ...sources.map((_, s) => places[s]),
    ...outs.map((_, d) => places[2 + d]),
  ];
  let last = 0;
  for (let i = 0; i < length; i += capacity) {
    const n = Math.min(capacity, length - i);
    sources.forEach((source, s) => {
      if (typeof source !== 'number') memory.set(part(source, i, n), places[s] / bytes);
    });
    const status = call(...addresses, n);
    if (status !== 0) last = status;
    outs.forEach((out, d) => {
      const begin = places[2 + d] / bytes;
      part(out, i, n).set(memory.subarray(begin, begin + n));
    });
  }
  return last;
}

/** A call with at least one array. */
function applyToArrays({ name, family, parts }, doubleClass, given, argument) {
  const whats = given.length === 1 ? ['x'] : built.argumentNames[family] || ['x', 'y'];
  const sources = given.map((x, s) => sourceOf(name, whats[s], x));
  const wanted = outOf(name, argument, parts);
  const arrays = sources.filter(({ kind }) => kind !== '');
  const { length } = arrays[0].values;
  if (arrays.length > 1 && arrays[1].values.length !== length)
    throw new RangeError(
      `${name}: ${whats[0]} has ${length} elements, ${whats[1]} has ${arrays[1].values.length}`,
    );
  // Floats where all arrays are of floats; the kind of what comes out is that of what went in.
  const kinds = arrays.map(({ kind }) => kind);
  const type = kinds.every((kind) => kind === 'Float32Array') ? '32f' : '64f';
  const plain = kinds.every((kind) => kind === 'Array');
  const View = views[type];
  if (wanted)
    wanted.forEach((out, d) => {
      const what = parts ? `out.${parts[d]}` : 'out';
      const kind = kindOf(out);
      if (kind !== 'Array' && kind !== View.name)
        throw new TypeError(
          `${name}: ${what} is a ${kind}, and the results are ${type === '32f' ? 'floats' : 'doubles'}`,
        );
      if (out.length !== length)
        throw new RangeError(`${name}: ${what} has ${out.length} elements, not ${length}`);
    });
  const values = sources.map(({ kind, values: x }) =>
    kind === 'Float32Array' && type === '64f' ? new Float64Array(x) : x,
  );
  const direct = wanted
    ? wanted.map(
        (out, d) =>
          kindOf(out) !== 'Array' &&
          values.every((x) => apart(out, x)) &&
          wanted.every((other, e) => e === d || kindOf(other) === 'Array' || apart(out, other)),
      )
    : [];
  const fresh = (_, d) => (direct[d] ? wanted[d] : new View(length));
  const results = parts ? parts.map(fresh) : [fresh(null, 0)];
  const suffix = type === '64f' ? doubleClass : '32f_A11'; // the classes of floats are the same
  const status = runBlocks(entryOf(`qels${family}_${suffix}`), type, length, values, results);
  if (wanted)
    wanted.forEach((out, d) => {
      if (kindOf(out) === 'Array') for (let i = 0; i < length; ++i) out[i] = results[d][i];
      else if (!direct[d]) out.set(results[d]);
    });
  lastStatus = status;
  const outcome = wanted || (plain ? results.map((array) => Array.from(array)) : results);
  return parts ? Object.fromEntries(parts.map((part, d) => [part, outcome[d]])) : outcome[0];
}

/** What a function of numbers needs, for doubles: the export, the memory, and where the numbers stand in
 *  it, by element and by address. */
function numberEntry({ family }, suffix) {
  const { call, heap, places } = entryOf(`qels${family}_${suffix}`);
  const [px, py, pr, ps] = places;
  const [x, y, r, s] = places.map((place) => place / 8);
  return { call, heap: heap['64f'], x, y, r, s, px, py, pr, ps };
}

/** `out` is for arrays; a number there is what `array.map` passes, and means nothing. */
function refuseOut({ name, parts }, out) {
  if (typeof out !== 'number' && outOf(name, out, parts))
    throw new TypeError(`${name}: out goes with an array, and there are only numbers`);
}

function named(name, f) {
  return Object.defineProperty(f, 'name', { value: name });
}

/** The functions of one class of doubles, with the `checked` form of each. */
function functionsOf(suffix) {
  const functions = {};
  const checked = {};
  for (const row of built.functions) {
    const { name } = row;
    const f = texts[suffix][name] ? named(name, texts[suffix][name](row, suffix)) : accurate[name];
    functions[name] = f;
    checked[name] = named(name, (...given) => {
      const result = f(...given);
      return { result, status: lastStatus };
    });
  }
  return { ...functions, checked: Object.freeze(checked) };
}

/** An object with the shape of `Math`: what is not exact by its definition is ours, or absent. */
function mathLike() {
  const like = {};
  const define = (name, value) => Object.defineProperty(like, name, { value });
  for (const name of ['E', 'LN10', 'LN2', 'LOG10E', 'LOG2E', 'PI', 'SQRT1_2', 'SQRT2'])
    define(name, Math[name]);
  for (const name of 'abs ceil clz32 f16round floor fround imul max min round sign sumPrecise trunc'.split(' '))
    if (typeof Math[name] === 'function') define(name, Math[name]);
  for (const [name, text] of Object.entries(texts.Math)) define(name, named(name, text(accurate[name])));
  define(Symbol.toStringTag, 'Math');
  return Object.freeze(like);
}

// ---- what a program sees -------------------------------------------------------------------------

const accurate = functionsOf('64f_A53');
const qelvm = {
  ...accurate,
  a50: Object.freeze(functionsOf('64f_A50')),
  Math: mathLike(),
  ready,
  raw: entryOf,
  Status: Object.freeze(built.statuses),
  statusText: (status) => built.statusTexts[status] || `unknown status ${status}`,
  version: built.fullVersion,
};
Object.defineProperty(qelvm, 'status', { get: () => lastStatus, enumerable: true });
Object.defineProperty(qelvm, 'simd', { get: simd, enumerable: true });
Object.defineProperty(globalThis, key, { value: Object.freeze(qelvm), configurable: true });
