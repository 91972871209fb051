#include "peers/vectors.hpp"

#include "peers/vector_loops.hpp"

#include <dlfcn.h>

#include <type_traits>

namespace peers {
namespace {

/// A family's work by the functions of one library.
struct Work {
  Form form = Form::None;
  std::string f;
  std::string g;
  std::string accuracy = "u10"; ///< the part of SLEEF's names that tells the bound: 1.0 ulp
};

struct Row {
  std::string family;
  Work cLibrary, oneUlp;
};

Row same(const char* family, Form form, const char* f) {
  return {family, {form, f, {}, {}}, {form, f, {}}};
}

const Row rows[] = {
    same("Acos", Form::Of, "acos"),
    same("Acosh", Form::Of, "acosh"),
    same("Asin", Form::Of, "asin"),
    same("Asinh", Form::Of, "asinh"),
    same("Atan2", Form::OfTwo, "atan2"),
    same("Atan", Form::Of, "atan"),
    same("Atanh", Form::Of, "atanh"),
    same("Cbrt", Form::Of, "cbrt"),
    same("Cos", Form::Of, "cos"),
    same("Cosh", Form::Of, "cosh"),
    {"Div", {Form::Quotient, {}, {}, {}}, {}},
    same("Erf", Form::Of, "erf"),
    {"Erfc", {Form::Of, "erfc", {}, {}}, {Form::Of, "erfc", {}, "u15"}},
    same("Exp", Form::Of, "exp"),
    same("InvCbrt", Form::ReciprocalOf, "cbrt"),
    {"InvSqrt", {Form::ReciprocalRoot, {}, {}, {}}, {Form::ReciprocalOf, "sqrt", {}, "u05"}},
    {"Inv", {Form::Reciprocal, {}, {}, {}}, {}},
    same("Ln", Form::Of, "log"),
    same("Log10", Form::Of, "log10"),
    same("Pow", Form::OfTwo, "pow"),
    same("Powx", Form::OfTwo, "pow"),
    {"SinCos", {Form::Both, "sin", "cos", {}}, {Form::Pair, "sincos", {}}},
    same("Sin", Form::Of, "sin"),
    same("Sinh", Form::Of, "sinh"),
    {"Sqrt", {Form::Root, {}, {}, {}}, {Form::Of, "sqrt", {}, "u05"}},
    same("Tan", Form::Of, "tan"),
    same("Tanh", Form::Of, "tanh"),
};

Work workOf(Vectors vectors, const std::string& family) {
  for (const Row& row : rows)
    if (row.family == family)
      return vectors == Vectors::CLibrary ? row.cLibrary : row.oneUlp;
  return {};
}

void* libraryOf(Vectors vectors) {
  static void* const cLibrary = dlopen("libmvec.so.1", RTLD_LAZY | RTLD_LOCAL);
  static void* const sleef = dlopen("libsleef.so.3", RTLD_LAZY | RTLD_LOCAL);
  return vectors == Vectors::CLibrary ? cLibrary : sleef;
}

/// The name under which the library has its function for registers of T.
template <class T>
std::string symbolName(Vectors vectors, const Work& work, const std::string& function, bool wide) {
  constexpr bool isFloat = std::is_same_v<T, float>;
  const std::string lanes = std::to_string((wide ? 8 : 4) * (isFloat ? 2 : 1));
  if (vectors == Vectors::OneUlp)
    return "Sleef_" + function + (isFloat ? "f" : "d") + lanes + "_" + work.accuracy +
           (wide ? "avx512f" : "avx2");
  return std::string("_ZGV") + (wide ? "e" : "d") + "N" + lanes +
         (work.form == Form::OfTwo ? "vv_" : "v_") + function + (isFloat ? "f" : "");
}

} // namespace

bool installed(Vectors vectors) {
  return libraryOf(vectors) != nullptr;
}

template <class T>
Loop<T> vectorLoop([[maybe_unused]] Vectors vectors, [[maybe_unused]] const std::string& family,
                   [[maybe_unused]] const std::string& level) {
#ifdef __x86_64__
  if ((level != "v3" && level != "v4") || !installed(vectors))
    return {};
  const Work work = workOf(vectors, family);
  VectorCall call{work.form};
  const auto find = [&](const std::string& function, void*& address) {
    if (function.empty())
      return true; // an instruction
    address =
        dlsym(libraryOf(vectors), symbolName<T>(vectors, work, function, level == "v4").c_str());
    return address != nullptr;
  };
  if (work.form == Form::None || !find(work.f, call.f) || !find(work.g, call.g))
    return {};
  const auto loop = [call, wide = level == "v4"](const T* x, const T* y, T* r, T* r2, int length) {
    if (wide)
      v4::loop(call, x, y, r, r2, length);
    else
      v3::loop(call, x, y, r, r2, length);
  };
  return [loop](const loader::Operands<T>& o, int length) {
    loop(o.source, o.secondSource, o.destination, o.secondDestination, length);
  };
#else
  return {};
#endif
}

template Loop<float> vectorLoop<float>(Vectors, const std::string&, const std::string&);
template Loop<double> vectorLoop<double>(Vectors, const std::string&, const std::string&);

std::string vectorText(Vectors vectors, const std::string& family) {
  const Work work = workOf(vectors, family);
  switch (work.form) {
  case Form::None:
    break;
  case Form::Of:
    return work.f + "(x)";
  case Form::OfTwo:
    return work.f + (family == "Atan2" ? "(y, x)" : "(x, y)");
  case Form::ReciprocalOf:
    return "1 / " + work.f + "(x)";
  case Form::Both:
    return work.f + "(x), " + work.g + "(x)";
  case Form::Pair:
    return work.f + "(x)";
  case Form::Quotient:
    return "x / y";
  case Form::Reciprocal:
    return "1 / x";
  case Form::Root:
    return "sqrt(x)";
  case Form::ReciprocalRoot:
    return "1 / sqrt(x)";
  }
  return {};
}

} // namespace peers
