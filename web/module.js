// The module of the package in js/, and what is known of its exports.

import { Library } from './library.js';

export async function load() {
  const { families } = await (await fetch('families.json')).json();
  const { instance } = await WebAssembly.instantiateStreaming(fetch('lib/qelvm/q.wasm'));
  return new Library(instance.exports, families);
}
