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
  const [{ goldenHashes }, { apply }, { exactData, mathFunction, mathResults }, { formats }] = await Promise.all(
    ['lib/qelvm/check.mjs', 'library.js', 'exact.js', 'numbers.js'].map((name) => import(new URL(name, site).href)));
  const { families } = await (await fetch(new URL('families.json', base))).json();
  const inputs = {};
  for (const type of ['32f', '64f'])
    inputs[type] = await Promise.all(['x', 'y', 'scalar'].map(async (which) =>
      new formats[type].Floats(await get(`inputs/${type}_${which}.bin`))));

  const golden = [], random = [], modules = new Set(); // of both modules, where there are two
  for (const simd of [true, false]) {
    for (const { name, module, hash } of goldenHashes({ simd })) {
      if (simd && module === 'plain') continue;
      golden.push([name.replace(/^qels/, ''), hash]);
      modules.add(module);
    }
  }
  for (const simd of modules.has('simd') ? [true, false] : [false]) {
    for (const [family, { shape, hashes }] of Object.entries(families)) {
      for (const type of Object.keys(hashes)) {
        const [x, y, scalar] = inputs[type.split('_')[0]], name = `${family}_${type}`;
        const { results, module } = apply(name, shape, x, shape === 'SourceAndScalar' ? scalar : y, simd);
        if (simd && module === 'plain') continue;
        random.push([name, await sha256(results)]);
      }
    }
  }
  for (const [family, facts] of Object.entries(families)) {
    const f = mathFunction(facts);
    if (!f || facts.shape === 'SourceAndScalar') continue;
    const exact = await exactData(new URL(`inputs/${family}.bin`, base), facts);
    await post(`math/${family}`, mathResults(f, exact));
    await post(`qelvm/${family}`, apply(`${family}_64f_A53`, facts.shape, exact.x, exact.y).results[0]);
  }
  await post('report', JSON.stringify({ golden, random, modules: [...modules] }));
}
