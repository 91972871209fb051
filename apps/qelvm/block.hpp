// The arrays of one call of an export, and the call.
#pragma once

#include "error.hpp"
#include "formats.hpp"
#include "loader/loader.hpp"

#include <vector>

namespace tool {

template <class T>
class Block {
public:
  Block(const loader::Export& e, loader::Function function, std::size_t capacity)
      : function_(function), capacity_(capacity) {
    sources_[0].resize(capacity);
    results_[0].resize(capacity);
    if (e.sources() == 2)
      sources_[1].resize(capacity);
    if (e.destinations() == 2)
      results_[1].resize(capacity);
  }

  std::size_t capacity() const { return capacity_; }
  Columns<T> sources() { return {sources_[0].data(), orNull(sources_[1])}; }
  Columns<const T> results() const { return {results_[0].data(), orNull(results_[1])}; }
  void setScalar(T scalar) { scalar_ = scalar; }
  void setSecond(T value) { sources_[1].assign(capacity_, value); }

  /// Computes the first `count` elements.
  QelStatus call(std::size_t count) {
    return call(
        {sources_[0].data(), sources_[1].data(), scalar_, results_[0].data(), results_[1].data()},
        count);
  }

  /// The status that element i reports; changes no result.
  QelStatus statusOf(std::size_t i) const {
    const T* second = sources_[1].empty() ? nullptr : &sources_[1][i];
    T result, secondResult;
    return call({&sources_[0][i], second, scalar_, &result, &secondResult}, 1);
  }

private:
  /// The pointer to an array that the export may not have.
  template <class Array>
  static auto orNull(Array& array) {
    return array.empty() ? nullptr : array.data();
  }

  QelStatus call(const loader::Operands<T>& operands, std::size_t count) const {
    const QelStatus status = function_(operands, static_cast<std::int32_t>(count));
    if (status < 0)
      throw Error("the library refused a call: {}", loader::statusName(status));
    return status;
  }

  loader::Function function_;
  std::size_t capacity_;
  std::array<std::vector<T>, 2> sources_, results_; // empty where the export has no second one
  T scalar_ = 0;
};

} // namespace tool
