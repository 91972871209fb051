// Loops over vector functions, compiled for one level of processors: vector_loops.cpp is compiled
// once for each.
#pragma once

namespace peers {

/// How a loop comes to its results.
enum class Form {
  None,         ///< there is no such loop
  Of,           ///< f(x)
  OfTwo,        ///< f(x, y)
  ReciprocalOf, ///< 1 / f(x)
  Both,         ///< f(x) and g(x)
  Pair,         ///< f(x) gives two results
  Quotient,     ///< x / y
  Reciprocal,   ///< 1 / x
  Root,         ///< the square root, an instruction
  ReciprocalRoot,
};

/// f and g take and give registers of the level.
struct VectorCall {
  Form form = Form::None;
  void* f = nullptr;
  void* g = nullptr;
};

#define QELVM_VECTOR_LOOP(Element)                                                                 \
  void loop(const VectorCall& call, const Element* x, const Element* y, Element* r, Element* r2,   \
            int length); // a multiple of 16

namespace v3 {
QELVM_VECTOR_LOOP(double)
QELVM_VECTOR_LOOP(float)
} // namespace v3
namespace v4 {
QELVM_VECTOR_LOOP(double)
QELVM_VECTOR_LOOP(float)
} // namespace v4

#undef QELVM_VECTOR_LOOP

} // namespace peers
