// The module of the package in js/, and what is known of its exports.

import { Library } from './library.js';

/** The library; `base` is where the page is served. */
export async function load(base = import.meta.url) {
  const { families } = await (await fetch(new URL('families.json', base))).json();
  const { instance } = await WebAssembly.instantiateStreaming(fetch(new URL('lib/qelvm/q.wasm', base)));
  return new Library(instance.exports, families);
}
