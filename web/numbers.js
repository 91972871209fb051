// Numbers as text and as bits. Bits are BigInts: a NaN that passes through a JavaScript number may
// lose its own.

/** The two formats: bytes, bits of the significand, the exponent of the smallest subnormal. */
export const formats = {
  '64f': { bytes: 8, precision: 53, lowest: -1074, Floats: Float64Array, Bits: BigUint64Array },
  '32f': { bytes: 4, precision: 24, lowest: -149, Floats: Float32Array, Bits: Uint32Array },
};

const width = (format) => BigInt(8 * format.bytes);
const fraction = (format) => BigInt(format.precision - 1);
export const signOf = (format) => 1n << (width(format) - 1n);
const infinity = (format) => ((1n << (width(format) - 1n - fraction(format))) - 1n) << fraction(format);

export function toNumber(bits, format) {
  const { Floats, Bits } = format;
  return new Floats(new Bits([format.bytes === 8 ? bits : Number(bits)]).buffer)[0];
}

export function toBits(number, format) {
  const { Floats, Bits } = format;
  return BigInt(new Bits(new Floats([number]).buffer)[0]);
}

const bitLength = (n) => n.toString(2).length;

/** The bits of the number nearest to the ratio of two positive integers, ties to even. */
function nearest(numerator, denominator, format) {
  const { precision, lowest } = format;
  let exponent = bitLength(numerator) - bitLength(denominator) - precision;
  for (;;) { // the quotient gets `precision` bits; fewer if the result is subnormal
    exponent = Math.max(exponent, lowest);
    const n = exponent < 0 ? numerator << BigInt(-exponent) : numerator;
    const d = exponent > 0 ? denominator << BigInt(exponent) : denominator;
    let quotient = n / d;
    if (bitLength(quotient) > precision) {
      ++exponent;
      continue;
    }
    const twice = 2n * (n % d);
    if (twice > d || (twice === d && quotient & 1n)) ++quotient;
    // The leading bit adds one to the biased exponent, and so does a carry.
    const bits = (BigInt(exponent - lowest) << fraction(format)) + quotient;
    return bits < infinity(format) ? bits : infinity(format);
  }
}

/**
 * The bits that a text means: a decimal number, a hexadecimal one (0x1.8p-3), bits (0x and as many
 * digits as the format has), inf, nan, or largest, normal, smallest. Throws an Error that says
 * what is wrong.
 */
export function parse(text, format) {
  const t = text.trim().toLowerCase().replace(/^\u2212/, '-');
  const digits = 2 * format.bytes;
  if (t === '') throw new Error('Type a number.');
  if (t.length > 800) throw new Error('That is longer than any number needs: 800 characters at most.');
  const [, sign, rest] = /^([+-]?)(.*)$/s.exec(t);
  const signed = (bits) => (sign === '-' ? bits | signOf(format) : bits);
  if (sign === '' && new RegExp(`^0x[0-9a-f]{${digits}}$`).test(rest)) return BigInt(rest);
  const named = {
    inf: infinity(format),
    infinity: infinity(format),
    nan: infinity(format) | (1n << (fraction(format) - 1n)),
    largest: infinity(format) - 1n,
    normal: 1n << fraction(format),
    smallest: 1n,
  };
  if (Object.hasOwn(named, rest)) return signed(named[rest]);
  const decimal = /^(\d*)\.?(\d*)(?:e([+-]?\d+))?$/.exec(rest);
  const hexadecimal = /^0x([0-9a-f]*)\.?([0-9a-f]*)(?:p([+-]?\d+))?$/.exec(rest);
  const [, whole, part, power] = hexadecimal ?? decimal ?? [];
  if (!(whole || part))
    throw new Error(`“${text.trim().slice(0, 40)}” is not a number: 0.1, -1e-300, 0x1.8p-3, nan, inf, or ` +
      `bits as 0x and ${digits} hexadecimal digits.`);
  const integer = BigInt((hexadecimal ? '0x' : '') + (whole + part));
  // Where the exponent alone decides, powers need not be large.
  const limit = hexadecimal ? 8000 : 4000;
  const exponent = Math.max(-limit, Math.min(limit, Number(power ?? 0))) - part.length * (hexadecimal ? 4 : 1);
  if (integer === 0n) return signed(0n);
  const scale = (hexadecimal ? 2n : 10n) ** BigInt(Math.abs(exponent));
  return signed(exponent < 0 ? nearest(integer, scale, format) : nearest(integer * scale, 1n, format));
}

export const bitsText = (bits, format) => '0x' + bits.toString(16).padStart(2 * format.bytes, '0');

export const isNan = (bits, format) => (bits & ~signOf(format)) > infinity(format);

/** The shortest decimal number that is read as these bits; a NaN with its sign. */
export function decimalText(bits, format) {
  const sign = bits & signOf(format) ? '-' : '';
  if (isNan(bits, format)) return `${sign}nan`;
  const x = Math.abs(toNumber(bits, format));
  if (x === Infinity) return `${sign}inf`;
  if (format.bytes === 8) return sign + x;
  for (let precision = 1; ; ++precision) {
    const text = String(Number(x.toPrecision(precision)));
    if (Math.fround(Number(text)) === x || precision === 9) return sign + text;
  }
}

/** As C prints it with %a: 0x1.8p-3; of a NaN the payload. */
export function hexadecimalText(bits, format) {
  const sign = bits & signOf(format) ? '-' : '';
  const magnitude = bits & ~signOf(format);
  const f = magnitude & ((1n << fraction(format)) - 1n);
  if (isNan(bits, format)) {
    const quiet = 1n << (fraction(format) - 1n);
    const payload = (f & ~quiet).toString(16);
    return f & quiet ? `${sign}nan${payload === '0' ? '' : `(${payload})`}` : `${sign}snan(${payload})`;
  }
  if (magnitude === infinity(format)) return `${sign}inf`;
  if (magnitude === 0n) return `${sign}0x0p+0`;
  const biased = Number(magnitude >> fraction(format));
  const exponent = Math.max(biased, 1) + format.lowest + format.precision - 2;
  const nibbles = Math.ceil((format.precision - 1) / 4);
  const hex = (f << BigInt(4 * nibbles - format.precision + 1)).toString(16).padStart(nibbles, '0').replace(/0+$/, '');
  return `${sign}0x${biased ? 1 : 0}${hex && '.'}${hex}p${exponent < 0 ? '' : '+'}${exponent}`;
}

/** The next number up (step 1) or down (-1); the ends and NaNs are their own neighbours. */
export function neighbour(bits, step, format) {
  if (isNan(bits, format)) return bits;
  const sign = signOf(format);
  const ordinal = (bits & sign ? -(bits & ~sign) : bits) + BigInt(step);
  const magnitude = ordinal < 0n ? -ordinal : ordinal;
  if (magnitude > infinity(format)) return bits;
  return ordinal < 0n || (ordinal === 0n && bits & sign) ? magnitude | sign : magnitude;
}
