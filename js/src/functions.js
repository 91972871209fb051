// The functions, by shape. The build writes a copy of its text for every function, so that an engine
// sees each call only one export: it then compiles the call into the caller's loop. (Of closures that
// share one text it would not know which export is called.)
({
  OneSource: (row, suffix) => {
    let call, heap, x, r, px, pr;
    const start = () => {
      ({ call, heap, x, r, px, pr } = numberEntry(row, suffix));
    };
    return (a, out) => {
      if (typeof a !== 'number') return applyToArrays(row, suffix, [a], out);
      if (out !== undefined) refuseOut(row, out);
      if (call === undefined) start();
      heap[x] = a;
      lastStatus = call(px, pr, 1);
      return heap[r];
    };
  },
  TwoSources: (row, suffix) => {
    let call, heap, x, y, r, px, py, pr;
    const start = () => {
      ({ call, heap, x, y, r, px, py, pr } = numberEntry(row, suffix));
    };
    return (a, b, out) => {
      if (typeof a !== 'number' || typeof b !== 'number') return applyToArrays(row, suffix, [a, b], out);
      if (out !== undefined) refuseOut(row, out);
      if (call === undefined) start();
      heap[x] = a;
      heap[y] = b;
      lastStatus = call(px, py, pr, 1);
      return heap[r];
    };
  },
  TwoDestinations: (row, suffix) => {
    let call, heap, x, r, s, px, pr, ps;
    const start = () => {
      ({ call, heap, x, r, s, px, pr, ps } = numberEntry(row, suffix));
    };
    return (a, out) => {
      if (typeof a !== 'number') return applyToArrays(row, suffix, [a], out);
      if (out !== undefined) refuseOut(row, out);
      if (call === undefined) start();
      heap[x] = a;
      lastStatus = call(px, pr, ps, 1);
      return { sin: heap[r], cos: heap[s] };
    };
  },

  // Those of `Math` take anything that converts to a number. `Math.pow` is its own where an argument
  // is 1 and the other infinite or no number.
  MathOneSource: (f) => (x) => f(+x),
  MathTwoSources: (f) => (x, y) => f(+x, +y),
  MathPow: (f) => (x, y) => {
    const a = +x;
    const b = +y;
    if (b !== b || ((b === Infinity || b === -Infinity) && (a === 1 || a === -1))) return NaN;
    return f(a, b);
  },
});
