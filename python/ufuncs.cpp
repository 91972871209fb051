// The ufuncs of the Python package: for every family and both accuracies a loop over floats and one
// over doubles, which call the library. NumPy does the rest: it casts, broadcasts, buffers what is
// unaligned or of the other byte order, releases the interpreter's lock, and looks at the exception
// flags afterwards.
#define PY_SSIZE_T_CLEAN
#include <Python.h>
#define NPY_NO_DEPRECATED_API NPY_1_7_API_VERSION
#include <numpy/arrayobject.h>
#include <numpy/ufuncobject.h>

#include "qelvm.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <type_traits>

#include <dlfcn.h>

namespace {

/// Elements that are collected on the stack for one call where an operand is not contiguous.
constexpr npy_intp blockLength = 512;
/// The length of a call is an int32_t.
constexpr npy_intp longestCall = npy_intp(1) << 30;

// ---- calls of the library by the type of the function ------------------------------------------

/// An export as a call with an array of pointers: sources, then destinations.
template <auto function>
struct Export;

template <class T, QelStatus(QELVM_CALL* function)(const T*, T*, std::int32_t)>
struct Export<function> {
  using Element = T;
  static constexpr int sources = 1, destinations = 1;
  static void call(T* const* p, std::int32_t length) { function(p[0], p[1], length); }
};

template <class T, QelStatus(QELVM_CALL* function)(const T*, const T*, T*, std::int32_t)>
struct Export<function> {
  using Element = T;
  static constexpr int sources = 2, destinations = 1;
  static void call(T* const* p, std::int32_t length) { function(p[0], p[1], p[2], length); }
};

template <class T, QelStatus(QELVM_CALL* function)(const T*, T*, T*, std::int32_t)>
struct Export<function> {
  using Element = T;
  static constexpr int sources = 1, destinations = 2;
  static void call(T* const* p, std::int32_t length) { function(p[0], p[1], p[2], length); }
};

/// The same function with one second source for all elements, where the library has it.
template <auto function>
constexpr std::nullptr_t withScalar = nullptr;
template <>
constexpr auto withScalar<qelsPow_32f_A24> = qelsPowx_32f_A24;
template <>
constexpr auto withScalar<qelsPow_64f_A50> = qelsPowx_64f_A50;
template <>
constexpr auto withScalar<qelsPow_64f_A53> = qelsPowx_64f_A53;

// ---- the loop over one axis --------------------------------------------------------------------

/// How the elements of a source and of a destination lie to each other.
enum class Overlap {
  None,
  Ahead,     ///< the same places, or every source is read before something is stored in its place
  Sequential ///< a source may be what was stored for an earlier element
};

Overlap overlap(const char* source, npy_intp sourceStep, const char* destination,
                npy_intp destinationStep, npy_intp length, npy_intp size) {
  const auto first = [&](const char* p, npy_intp step) {
    return p + std::min(step, npy_intp(0)) * (length - 1);
  };
  const auto end = [&](const char* p, npy_intp step) {
    return p + std::max(step, npy_intp(0)) * (length - 1) + size;
  };
  if (end(source, sourceStep) <= first(destination, destinationStep) ||
      end(destination, destinationStep) <= first(source, sourceStep))
    return Overlap::None;
  const npy_intp step = destinationStep < 0 ? -destinationStep : destinationStep;
  if (step < size)
    return Overlap::Sequential;
  if (sourceStep == destinationStep) {
    npy_intp between = (destination - source) % step; // columns of one array, say
    between += between < 0 ? step : 0;
    if (between >= size && step - between >= size)
      return Overlap::None;
    if (source == destination)
      return Overlap::Ahead;
  }
  return destinationStep > 0 && sourceStep >= destinationStep && source >= destination
             ? Overlap::Ahead
             : Overlap::Sequential;
}

/// `call(pointers, length)` for the elements of `sources` and `destinations` operands.
template <class T, int sources, int destinations, class Call>
void apply(char* const* operands, const npy_intp* steps, npy_intp length, const Call& call) {
  constexpr int count = sources + destinations;
  constexpr auto size = npy_intp(sizeof(T));
  const auto element = [&](int operand, npy_intp i) {
    return reinterpret_cast<T*>(operands[operand] + i * steps[operand]);
  };

  bool collected[count], sequential = false;
  for (int k = 0; k < count; ++k)
    collected[k] = steps[k] != size && length > 1;
  for (int s = 0; s < sources; ++s)
    for (int d = sources; d < count; ++d) {
      const Overlap found = overlap(operands[s], steps[s], operands[d], steps[d], length, size);
      sequential |= found == Overlap::Sequential;
      // In place some exports report less: they look at their sources after the store.
      collected[s] |= found != Overlap::None;
    }
  if (sequential) {
    for (npy_intp i = 0; i < length; ++i) {
      T sourceElements[sources];
      T* pointers[count];
      for (int k = 0; k < count; ++k)
        pointers[k] = element(k, i);
      for (int s = 0; s < sources; ++s) {
        sourceElements[s] = *pointers[s];
        pointers[s] = &sourceElements[s];
      }
      call(pointers, 1);
    }
    return;
  }

  bool direct = true;
  for (const bool c : collected)
    direct &= !c;
  T block[count][blockLength];
  const npy_intp longest = direct ? longestCall : blockLength;
  for (npy_intp done = 0, n; done < length; done += n) {
    n = std::min(longest, length - done);
    T* pointers[count];
    for (int k = 0; k < count; ++k)
      pointers[k] = collected[k] ? block[k] : element(k, done);
    for (int s = 0; s < sources; ++s)
      if (collected[s] && (done == 0 || steps[s] != 0)) {
        if (steps[s] == size)
          std::copy_n(element(s, done), n, block[s]);
        else
          for (npy_intp i = 0; i < n; ++i)
            block[s][i] = *element(s, done + i);
      }
    call(pointers, std::int32_t(n));
    for (int d = sources; d < count; ++d)
      if (collected[d])
        for (npy_intp i = 0; i < n; ++i)
          *element(d, done + i) = block[d][i];
  }
}

template <auto function>
void loop(char** operands, const npy_intp* dimensions, const npy_intp* steps, void*) {
  using Exported = Export<function>;
  using T = typename Exported::Element;
  const npy_intp length = dimensions[0];
  if constexpr (withScalar<function> != nullptr) {
    if (steps[1] == 0 &&
        overlap(operands[1], 0, operands[2], steps[2], length, sizeof(T)) == Overlap::None) {
      const T scalar = *reinterpret_cast<const T*>(operands[1]);
      char* const arrays[] = {operands[0], operands[2]};
      const npy_intp arraySteps[] = {steps[0], steps[2]};
      apply<T, 1, 1>(arrays, arraySteps, length, [scalar](T* const* p, std::int32_t n) {
        withScalar<function>(p[0], scalar, p[1], n);
      });
      return;
    }
  }
  apply<T, Exported::sources, Exported::destinations>(operands, steps, length, Exported::call);
}

// ---- calls along the longest axis --------------------------------------------------------------

// The inner loop of a ufunc is along the last axis in memory. Where that is short and the arrays do
// not reduce to one axis (a column and a row, three columns of a table), calls of three elements
// are most of the time: `along_longest_axis` of the package calls the ufunc with its axes in
// another order.
using Vectorcall = PyObject* (*)(PyObject*, PyObject* const*, std::size_t, PyObject*);
Vectorcall numpysCall;
PyObject* alongLongestAxis;

constexpr npy_intp shortAxis = 32, manyElements = 4096;

/// Whether to have a closer look: a table with a short axis that is not all of contiguous arrays.
bool mayHaveShortLoops(PyObject* const* inputs, int count) {
  npy_intp elements = 1, shortest = shortAxis + 1;
  bool flat = true;
  for (int k = 0; k < count; ++k) {
    if (!PyArray_CheckExact(inputs[k]))
      return false;
    auto* array = reinterpret_cast<PyArrayObject*>(inputs[k]);
    auto* first = reinterpret_cast<PyArrayObject*>(inputs[0]);
    const int rank = PyArray_NDIM(array);
    if (rank != 0) {
      flat &= PyArray_IS_C_CONTIGUOUS(array) && rank == PyArray_NDIM(first) &&
              PyArray_CompareLists(PyArray_DIMS(array), PyArray_DIMS(first), rank);
    }
    elements = std::max(elements, PyArray_SIZE(array));
    for (int axis = 0; axis < rank; ++axis)
      if (const npy_intp extent = PyArray_DIM(array, axis); extent > 1)
        shortest = std::min(shortest, extent);
  }
  return !flat && elements >= manyElements && shortest <= shortAxis;
}

PyObject* call(PyObject* ufunc, PyObject* const* arguments, std::size_t flagged, PyObject* names) {
  constexpr auto offsetFlag = std::size_t(1) << (8 * sizeof(std::size_t) - 1);
  const auto count = int(flagged & ~offsetFlag);
  const bool hasOut = names != nullptr && PyTuple_Size(names) == 1 &&
                      PyUnicode_CompareWithASCIIString(PyTuple_GetItem(names, 0), "out") == 0;
  if ((names == nullptr || hasOut) && count == reinterpret_cast<PyUFuncObject*>(ufunc)->nin &&
      mayHaveShortLoops(arguments, count))
    return PyObject_CallFunctionObjArgs(alongLongestAxis, ufunc,
                                        hasOut ? arguments[count] : Py_None, arguments[0],
                                        count > 1 ? arguments[1] : nullptr, nullptr);
  return numpysCall(ufunc, arguments, flagged, names);
}

// ---- the module --------------------------------------------------------------------------------

/// A new ufunc in `ufuncs` under each of its names; false, with an exception set, if that failed.
template <auto floats, auto doubles>
bool add(PyObject* ufuncs, const char* documentation, std::initializer_list<const char*> names) {
  using Floats = Export<floats>;
  constexpr int operands = Floats::sources + Floats::destinations;
  static_assert(std::is_same_v<typename Floats::Element, float> &&
                std::is_same_v<typename Export<doubles>::Element, double>);
  static PyUFuncGenericFunction loops[] = {loop<floats>, loop<doubles>};
  static void* data[] = {nullptr, nullptr};
  static char types[2 * operands];
  std::fill_n(types, operands, char(NPY_FLOAT));
  std::fill_n(types + operands, operands, char(NPY_DOUBLE));
  PyObject* ufunc =
      PyUFunc_FromFuncAndData(loops, data, types, 2, Floats::sources, Floats::destinations,
                              PyUFunc_None, *names.begin(), documentation, 0);
  if (ufunc == nullptr)
    return false;
  auto& vectorcall = reinterpret_cast<PyUFuncObject*>(ufunc)->vectorcall;
  numpysCall = reinterpret_cast<Vectorcall>(vectorcall);
  vectorcall = reinterpret_cast<decltype(+vectorcall)>(call);
  bool done = true;
  for (const char* name : names)
    done = done && PyDict_SetItemString(ufuncs, name, ufunc) == 0;
  Py_DECREF(ufunc);
  return done;
}

template <bool faster>
bool addAll(PyObject* ufuncs) {
#define QELVM_UFUNC(family, accurateText, fasterText, ...)                                         \
  if (!add < qels##family##_32f_A24,                                                               \
      faster                                                                                       \
          ? qels##family##_64f_A50                                                                 \
          : qels##family##_64f_A53 > (ufuncs, faster ? fasterText : accurateText, {__VA_ARGS__}))  \
    return false;
#include "ufuncs.inc"
#undef QELVM_UFUNC
  return true;
}

/// The record of the loaded library and the path of its file.
PyObject* library(PyObject*, PyObject*) {
  const QelLibVersion& version = *qelvmGetLibVersion();
  Dl_info file{};
  dladdr(&version, &file);
  return Py_BuildValue("(iiii)ss", version.versionMajor, version.versionMinor, version.buildMajor,
                       version.buildNumber, version.cpuCode, file.dli_fname);
}

PyObject* setAlongLongestAxis(PyObject*, PyObject* function) {
  Py_INCREF(function);
  Py_XDECREF(alongLongestAxis);
  alongLongestAxis = function;
  Py_RETURN_NONE;
}

PyMethodDef methods[] = {{"library", library, METH_NOARGS, nullptr},
                         {"set_along_longest_axis", setAlongLongestAxis, METH_O, nullptr},
                         {nullptr, nullptr, 0, nullptr}};
PyModuleDef definition = {PyModuleDef_HEAD_INIT,
                          "qelvm._ufuncs",
                          nullptr,
                          -1,
                          methods,
                          nullptr,
                          nullptr,
                          nullptr,
                          nullptr};

bool addUfuncs(PyObject* module, const char* name, bool (*fill)(PyObject*)) {
  PyObject* ufuncs = PyDict_New();
  if (ufuncs != nullptr && fill(ufuncs) && PyModule_AddObject(module, name, ufuncs) == 0)
    return true;
  Py_XDECREF(ufuncs);
  return false;
}

} // namespace

PyMODINIT_FUNC PyInit__ufuncs() {
  import_array();
  import_umath();
  PyObject* module = PyModule_Create(&definition);
  if (module != nullptr &&
      !(addUfuncs(module, "a53", addAll<false>) && addUfuncs(module, "a50", addAll<true>))) {
    Py_DECREF(module);
    return nullptr;
  }
  return module;
}
