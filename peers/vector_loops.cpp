// Nothing of the C++ library is used here: its inline functions, compiled for this level, could
// take the place of those of the whole program.

#include "peers/vector_loops.hpp"

#include <immintrin.h>

namespace peers::QELVM_LEVEL {
namespace {

#ifdef __AVX512F__
// (All lanes, masked: for the root without a mask g++ 12 warns of a value not set, in its own
// header.)
struct Doubles {
  using Element = double;
  using Vector = __m512d;
  static Vector root(Vector v) { return _mm512_maskz_sqrt_pd(0xff, v); }
};
struct Floats {
  using Element = float;
  using Vector = __m512;
  static Vector root(Vector v) { return _mm512_maskz_sqrt_ps(0xffff, v); }
};
#else
struct Doubles {
  using Element = double;
  using Vector = __m256d;
  static Vector root(Vector v) { return _mm256_sqrt_pd(v); }
};
struct Floats {
  using Element = float;
  using Vector = __m256;
  static Vector root(Vector v) { return _mm256_sqrt_ps(v); }
};
#endif

template <class R>
struct Two {
  typename R::Vector first, second;
};

/// The calls of these loops go to the functions themselves, with registers as arguments.
template <class R>
struct Loop {
  using Element = typename R::Element;
  using Vector = typename R::Vector;
  using One = Vector (*)(Vector);
  using OfTwo = Vector (*)(Vector, Vector);
  using Pair = Two<R> (*)(Vector);
  static constexpr int step = sizeof(Vector) / sizeof(Element);

  const Element *x, *y;
  Element *r, *r2;
  int length;

  static Vector load(const Element* place) {
    Vector v;
    __builtin_memcpy(&v, place, sizeof v);
    return v;
  }
  static void store(Element* place, Vector v) { __builtin_memcpy(place, &v, sizeof v); }

  template <class Body>
  void each(Body body) const {
    for (int i = 0; i < length; i += step)
      store(r + i, body(i));
  }

  void run(const VectorCall& call) const {
    const Vector one = Vector{} + Element{1};
    const auto f = reinterpret_cast<One>(call.f);
    const auto g = reinterpret_cast<One>(call.g);
    const auto ofTwo = reinterpret_cast<OfTwo>(call.f);
    const auto pair = reinterpret_cast<Pair>(call.f);
    switch (call.form) {
    case Form::None:
      return;
    case Form::Of:
      return each([&](int i) { return f(load(x + i)); });
    case Form::OfTwo:
      return each([&](int i) { return ofTwo(load(x + i), load(y + i)); });
    case Form::ReciprocalOf:
      return each([&](int i) { return one / f(load(x + i)); });
    case Form::Both:
      return each([&](int i) {
        store(r2 + i, g(load(x + i)));
        return f(load(x + i));
      });
    case Form::Pair:
      return each([&](int i) {
        const Two<R> results = pair(load(x + i));
        store(r2 + i, results.second);
        return results.first;
      });
    case Form::Quotient:
      return each([&](int i) { return load(x + i) / load(y + i); });
    case Form::Reciprocal:
      return each([&](int i) { return one / load(x + i); });
    case Form::Root:
      return each([&](int i) { return R::root(load(x + i)); });
    case Form::ReciprocalRoot:
      return each([&](int i) { return one / R::root(load(x + i)); });
    }
  }
};

} // namespace

void loop(const VectorCall& call, const double* x, const double* y, double* r, double* r2,
          int length) {
  Loop<Doubles>{x, y, r, r2, length}.run(call);
}
void loop(const VectorCall& call, const float* x, const float* y, float* r, float* r2, int length) {
  Loop<Floats>{x, y, r, r2, length}.run(call);
}

} // namespace peers::QELVM_LEVEL
