// Exact results that came with the page (tests/accuracy/exact.cpp), and errors against them.

/** Arguments `x` (and `y`) in order, and of each result the nearest double and the `rest` above it. */
export async function exactData(url, { shape }) {
  const response = await fetch(url);
  if (!response.ok) throw new Error(`${url}: ${response.status} ${response.statusText}`);
  const all = new Float64Array(await response.arrayBuffer());
  const sources = shape === 'TwoSources' || shape === 'SourceAndScalar' ? 2 : 1;
  const destinations = shape === 'TwoDestinations' ? 2 : 1;
  const count = all.length / (sources + 2 * destinations);
  if (!Number.isInteger(count) || count === 0) throw new Error(`${url} is damaged`);
  const array = (i) => all.subarray(i * count, (i + 1) * count);
  const results = Array.from({ length: destinations }, (_, d) =>
    ({ nearest: array(sources + 2 * d), rest: array(sources + 2 * d + 1) }));
  return { x: array(0), y: sources === 2 ? array(1) : undefined, results };
}

/** The engine's own function for a family, or undefined. */
export function mathFunction({ reference, shape }) {
  return shape !== 'TwoDestinations' && Object.hasOwn(Math, reference) ? Math[reference] : undefined;
}

/** What it gives for the arguments. */
export function mathResults(f, { x, y }) {
  return x.map(y ? (value, i) => f(value, y[i]) : (value) => f(value));
}

const number = new Float64Array(1), words = new Uint32Array(number.buffer);

/** The distance of the exact value to its neighbours in a format. */
function ulp(nearest, rest, { precision, lowest }) {
  number[0] = nearest;
  let exponent = ((words[1] >>> 20) & 0x7FF) - 1023;
  const power = words[0] === 0 && (words[1] & 0xFFFFF) === 0;
  if (power && nearest * rest < 0) --exponent; // the exact value lies below the power of two
  exponent = Math.max(exponent - precision + 1, lowest);
  words[0] = 0;
  words[1] = (exponent + 1023) << 20; // the ranges are far from numbers whose ulp is subnormal
  return number[0];
}

/**
 * Errors in ulps of results, an array for each destination: the larger one where there are two; and how
 * many arguments have a result that is not the correctly rounded one.
 */
export function errorsOf(list, exact, format) {
  const errors = new Float64Array(exact.x.length);
  let wrong = 0;
  for (let i = 0; i < errors.length; ++i) {
    let right = true;
    list.forEach((results, d) => {
      const nearest = exact.results[d].nearest[i], rest = exact.results[d].rest[i];
      const rounded = format.bytes === 8 ? nearest : Math.fround(nearest);
      right &&= Object.is(results[i], rounded) || results[i] === rounded;
      const error = Number.isFinite(nearest)
        ? Math.abs(results[i] - nearest - rest) / ulp(nearest, rest, format)
        : results[i] === nearest ? 0 : Infinity;
      errors[i] = Math.max(errors[i], error);
    });
    if (!right) ++wrong;
  }
  return { errors, wrong };
}
