// Tables, of which each export owns its copies, and polynomials, whose coefficients may come from
// them.
#pragma once

#include "core/simd.hpp"

#include <concepts>
#include <cstdint>

namespace qelvm {

/// Stands before a table that is a template on the export: keeps compilers from merging the copies
/// of several exports into one.
#define QELVM_TABLE [[gnu::used]] inline constexpr

/// A row of two words, or of two sums of a table.
struct alignas(rowAlignment<2>) PairRow {
  double hi;
  double lo;
};

/// A table whose entries are a rule that compilers evaluate exactly.
template <int N>
struct Table {
  double entry[N];
};
template <int N>
consteval Table<N> tabulate(double (*rule)(int)) {
  Table<N> table{};
  for (int i = 0; i < N; ++i)
    table.entry[i] = rule(i);
  return table;
}

/// (simd.hpp has the same for a register of indices.)
QELVM_INLINE constexpr double entryOf(const double* table, std::int32_t index) {
  return table[static_cast<std::uint32_t>(index)];
}
template <class Row, class Field>
QELVM_INLINE constexpr Field entryOf(const Row* table, std::int32_t index, Field Row::*field) {
  return table[static_cast<std::uint32_t>(index)].*field;
}

template <class Row, class Field, int N>
QELVM_INLINE constexpr Field entryOf(const Row* table, std::int32_t index, Field (Row::*field)[N],
                                     int k) {
  return (table[static_cast<std::uint32_t>(index)].*field)[k];
}

/// Entry `index` of a table of doubles, or one field of row `index` of a table of records,
/// or element k of a field that is an array.
template <class I>
QELVM_INLINE constexpr auto lookUp(const double* table, const I& index) {
  return lanewise([table](const auto& i) QELVM_ALWAYS_INLINE { return entryOf(table, i); }, index);
}
template <class Row, class Field, class I>
QELVM_INLINE constexpr auto lookUp(const Row* table, const I& index, Field Row::*field) {
  return lanewise([=](const auto& i) QELVM_ALWAYS_INLINE { return entryOf(table, i, field); },
                  index);
}
template <class Row, class Field, int N, class I>
QELVM_INLINE constexpr auto lookUp(const Row* table, const I& index, Field (Row::*field)[N],
                                   int k) {
  return lanewise([=](const auto& i) QELVM_ALWAYS_INLINE { return entryOf(table, i, field, k); },
                  index);
}

/// A row of N entries: the centre of an interval, then coefficients. The latter stand in the order
/// in which they are needed, the last first.
template <int N>
struct alignas(rowAlignment<N>) FittedRow {
  static constexpr int place(int k) { return k == 0 ? 0 : N - k; }

  consteval FittedRow(std::same_as<double> auto... entry) {
    int k = 0;
    ((f[place(k++)] = entry), ...);
  }

  double f[N]{};
};

/// Entry k of such a row.
template <int N, class I>
QELVM_INLINE constexpr auto lookUp(const FittedRow<N>* rows, const I& index, int k) {
  return lookUp(rows, index, &FittedRow<N>::f, FittedRow<N>::place(k));
}

/// Stands before the step that needs `value` and, as the next entry, k. Compilers would load a
/// whole row over registers at once, and keep in memory what the registers cannot hold: they are
/// told to load no group of four before the one before it is used up.
template <class V, int N>
QELVM_INLINE constexpr void loadInGroups(const V& value, const FittedRow<N>*& rows, int k) {
  if (FittedRow<N>::place(k) % 4 == 0)
    rows = knownAfter(value, rows);
}

/// c(0) + x (c(1) + x (c(2) + ... x c(N - 1))), from the innermost coefficient outwards, each
/// product and each sum rounded; c is a function of the degree or an array.
template <int N, class Coefficient, class V>
QELVM_INLINE constexpr V horner(Coefficient c, const V& x) {
  return withIndices<N - 2>([&](auto... i) QELVM_ALWAYS_INLINE {
    V sum = x * c(N - 1) + c(N - 2);
    ((sum = sum * x + c(N - 3 - i)), ...);
    return sum;
  });
}
template <class V, int N>
QELVM_INLINE constexpr V horner(const double (&c)[N], const V& x) {
  return horner<N>([&](int k) QELVM_ALWAYS_INLINE { return c[k]; }, x);
}

} // namespace qelvm
