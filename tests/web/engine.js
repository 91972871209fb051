// In an engine: what every export and the engine's own Math give, reported to the server at `base`
// (engines.mjs), which knows what is right.

/** The SHA-256 of arrays of bits; of two, taken in turn. */
async function sha256([first, second]) {
  let bits = first;
  if (second) {
    bits = new first.constructor(2 * first.length);
    for (let i = 0; i < first.length; ++i) {
      bits[2 * i] = first[i];
      bits[2 * i + 1] = second[i];
    }
  }
  const { subtle } = globalThis.crypto ?? (await import('node:crypto')).webcrypto;
  const digest = new Uint8Array(await subtle.digest('SHA-256', bits));
  return Array.from(digest, (byte) => byte.toString(16).padStart(2, '0')).join('');
}

/** `site`: where the page's modules are, a folder or the server. */
export async function measure(base, site = base) {
  const get = async (path) => (await fetch(new URL(path, base))).arrayBuffer();
  const post = (path, body) => fetch(new URL(path, base), { method: 'POST', body });
  const load = (name) => import(new URL(name, site).href);
  const [{ load: loadLibrary }, { goldenHash }, { exactData, mathFunction, mathResults }, { formats }] =
    await Promise.all(['module.js', 'golden.js', 'exact.js', 'numbers.js'].map(load));
  const library = await loadLibrary(base);
  const golden = {}, random = {}, inputs = {};
  for (const type of ['32f', '64f'])
    inputs[type] = await Promise.all(['x', 'y', 'scalar'].map(async (which) =>
      new formats[type].Floats(await get(`inputs/${type}_${which}.bin`))));
  for (const [family, facts] of Object.entries(library.families)) {
    for (const type of Object.keys(facts.hashes)) {
      const name = `${family}_${type}`;
      golden[name] = goldenHash(library, name, facts.golden);
      const [x, y, scalar] = inputs[type.split('_')[0]];
      random[name] = await sha256(library.apply(name, x, facts.shape === 'SourceAndScalar' ? scalar : y).results);
    }
    const f = mathFunction(facts);
    if (!f || facts.shape === 'SourceAndScalar') continue;
    const exact = await exactData(new URL(`inputs/${family}.bin`, base), facts);
    await post(`math/${family}`, mathResults(f, exact));
    await post(`qelvm/${family}`, library.apply(`${family}_64f_A53`, exact.x, exact.y).results[0]);
  }
  await post('report', JSON.stringify({ golden, random }));
}
