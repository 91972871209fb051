/** What the functions take in an array's place and give back: what comes out is of the kind that went
 *  in. Plain arrays and doubles are computed in double precision, arrays of floats in floats. */
type Doubles = Float64Array | number[];
type Elements = Float32Array | Doubles;

/** Where results go: an array of the same length, in place of a source too. */
type Out<A> = A | { out?: A };

interface OneSource {
  (x: number): number;
  (x: Float64Array): Float64Array;
  (x: Float32Array): Float32Array;
  (x: readonly number[]): number[];
  (x: Float32Array, out: Out<Float32Array>): Float32Array;
  <A extends Doubles>(x: Float64Array | readonly number[], out: Out<A>): A;
  <A extends number[]>(x: Float32Array, out: Out<A>): A;
}

interface TwoSources {
  (x: number, y: number): number;
  (x: Float64Array, y: Elements | readonly number[] | number): Float64Array;
  (x: Elements | readonly number[] | number, y: Float64Array): Float64Array;
  (x: Float32Array, y: Float32Array | number): Float32Array;
  (x: number, y: Float32Array): Float32Array;
  (x: readonly number[], y: readonly number[] | number): number[];
  (x: number, y: readonly number[]): number[];
  (x: Float32Array, y: readonly number[]): Float64Array;
  (x: readonly number[], y: Float32Array): Float64Array;
  <A extends Elements>(x: Elements | readonly number[] | number, y: Elements | readonly number[] | number, out: Out<A>): A;
}

interface SineAndCosine {
  (x: number): { sin: number; cos: number };
  (x: Float64Array): { sin: Float64Array; cos: Float64Array };
  (x: Float32Array): { sin: Float32Array; cos: Float32Array };
  (x: readonly number[]): { sin: number[]; cos: number[] };
  <A extends Elements, B extends Elements>(x: Elements | readonly number[], out: Out<{ sin: A; cos: B }>): { sin: A; cos: B };
}

/** A result and what the call reported: `Status.Ok`, or the status of the last reported element. */
interface Outcome<R> {
  result: R;
  status: number;
}

interface CheckedOneSource {
  (x: number): Outcome<number>;
  (x: Float64Array): Outcome<Float64Array>;
  (x: Float32Array): Outcome<Float32Array>;
  (x: readonly number[]): Outcome<number[]>;
  <A extends Elements>(x: Elements | readonly number[], out: Out<A>): Outcome<A>;
}

interface CheckedTwoSources {
  (x: number, y: number): Outcome<number>;
  (x: Float64Array, y: Elements | readonly number[] | number): Outcome<Float64Array>;
  (x: Elements | readonly number[] | number, y: Float64Array): Outcome<Float64Array>;
  (x: Float32Array, y: Float32Array | number): Outcome<Float32Array>;
  (x: number, y: Float32Array): Outcome<Float32Array>;
  (x: readonly number[], y: readonly number[] | number): Outcome<number[]>;
  (x: number, y: readonly number[]): Outcome<number[]>;
  <A extends Elements>(x: Elements | readonly number[] | number, y: Elements | readonly number[] | number, out: Out<A>): Outcome<A>;
}

interface CheckedSineAndCosine {
  (x: number): Outcome<{ sin: number; cos: number }>;
  (x: Float64Array): Outcome<{ sin: Float64Array; cos: Float64Array }>;
  (x: Float32Array): Outcome<{ sin: Float32Array; cos: Float32Array }>;
  (x: readonly number[]): Outcome<{ sin: number[]; cos: number[] }>;
  <A extends Elements, B extends Elements>(x: Elements | readonly number[], out: Out<{ sin: A; cos: B }>): Outcome<{ sin: A; cos: B }>;
}

/** The functions, each giving `{ result, status }`. */
interface CheckedFunctions {
  // @checked@
}

/** The functions of one accuracy class. */
interface Functions {
  // @functions@
  readonly checked: Readonly<CheckedFunctions>;
}

/** Statuses: negative for errors of the arguments, positive for warnings. */
interface Statuses {
  // @statuses@
}

/** `Math` without what engines compute in ways of their own and this package does not. */
type MathLike = Omit<Math, 'random' | 'hypot' | 'expm1' | 'log1p' | 'log2'>;

/** An export of a module, for callers that put the elements into its memory themselves. */
interface Entry {
  /** The export that computes it: of those that are the same computation, one. */
  name: string;
  module: 'plain' | 'simd';
  /** Addresses of sources and destinations, then the number of elements; returns the status. */
  call: (...addresses: number[]) => number;
  memory: { readonly buffer: ArrayBuffer };
  /** Four places in the memory, of 16384 bytes each: two sources, two destinations. */
  places: number[];
}

interface Qelvm extends Readonly<Functions> {
  /** The faster class of doubles. */
  readonly a50: Readonly<Functions>;
  /** For programs that use `Math`: the same names, the same bits everywhere. */
  readonly Math: MathLike;
  /** What the last call reported. */
  readonly status: number;
  /** Whether the engine has the 128-bit registers that the faster module needs. */
  readonly simd: boolean;
  readonly Status: Readonly<Statuses>;
  /** What a status means, as a short English text. */
  statusText(status: number): string;
  /** The library's version: four numbers. */
  readonly version: string;
  /** Starts the modules without blocking, where an engine refuses to start them at the first call. */
  ready(): Promise<void>;
  /** The export of that name, such as 'qelsExp_64f_A53'. */
  raw(name: string, simd?: boolean): Entry;
}

declare const qelvm: Qelvm;
export default qelvm;

// @esm
// @exports@
export const a50: Qelvm['a50'];
export const checked: Qelvm['checked'];
declare const MathLikeObject: Qelvm['Math'];
export { MathLikeObject as Math };
export const ready: Qelvm['ready'];
export const raw: Qelvm['raw'];
export const Status: Qelvm['Status'];
export const statusText: Qelvm['statusText'];
export const version: Qelvm['version'];
