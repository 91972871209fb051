/** One export: its hash here, and the one that it should have. */
export interface GoldenHash {
  name: string;
  module: 'plain' | 'simd';
  hash: string;
  expected: string;
  same: boolean;
}

/** Every export in turn, over some 200000 arguments each: a second or two for all of them. With
 *  `simd: false` those of the plain module alone. */
export function goldenHashes(options?: { simd?: boolean }): Generator<GoldenHash>;
