// One short road beside the full kernel of its family: no result may be further from the kernel's,
// before either is rounded to a float, than `distance` says. Compiled for each family, which
// QELVM_FAMILY_SOURCE, QELVM_KERNEL, QELVM_ROAD and QELVM_FAMILY_NAME name.
// usage: FAMILY_road [COUNT]: prints rows of docs/short-roads.md; 1 if a result is too far.
#include "core/export.hpp"

#undef QELVM_EXPORTS // the kernel alone is wanted
#define QELVM_EXPORTS(...)
#include QELVM_FAMILY_SOURCE

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <tuple>

namespace qelvm {
namespace {

struct Tag {
  using Element = float;
};
using OneKernel = QELVM_KERNEL<Tag>;
#ifdef QELVM_ROAD_OF_EXPORT
using OneRoad = QELVM_ROAD<Tag>;
#else
using OneRoad = QELVM_ROAD;
#endif
constexpr int sources = sizeof(OneRoad::inside) / sizeof(double);
using Register = Simd<double, registerDoubles>;

struct Findings {
  double farthest = 0; ///< relative
  long inDomain = 0, left = 0;
  bool saturates = true;

  void add(double approximate, double full, bool away) {
    if (full != 0)
      farthest = std::fmax(farthest, std::fabs(approximate - full) / std::fabs(full));
    ++inDomain;
    left += !away;
  }
};

/// The full kernel's result, if the argument is in one of its ranges.
template <class Kernel, class... X>
bool fullResult(double (&result)[2], X... x) {
  const auto take = [&](const auto& value) {
    if constexpr (requires { value.second; }) {
      result[0] = value.first;
      result[1] = value.second;
    } else if constexpr (requires { value.valid; }) {
      result[0] = value.value;
      return value.valid;
    } else {
      result[0] = value;
    }
    return true;
  };
  if (Kernel::isOrdinary(x...))
    return take(Kernel::compute(static_cast<double>(x)...));
  if constexpr (requires { Kernel::isInSecondRange(x...); })
    if (Kernel::isInSecondRange(x...))
      return take(Kernel::computeSecondRange(static_cast<double>(x)...));
  return false;
}

template <class Kernel, class Road, class Results>
void compare(Findings& findings, const float (&x)[2][registerDoubles], unsigned inside,
             const Results& results) {
  for (int i = 0; i < registerDoubles; ++i) {
    double full[2];
    bool has = false;
    if constexpr (sources == 1)
      has = fullResult<Kernel>(full, x[0][i]);
    else
      has = fullResult<Kernel>(full, x[0][i], x[1][i]);
    if ((inside >> i & 1) == 0 || !has)
      continue;
    if constexpr (requires { Road::saturation; })
      if (std::fabs(x[0][i]) >= Road::saturation) { // both round to one
        findings.saturates &= static_cast<float>(results.raw[i]) == static_cast<float>(full[0]);
        continue;
      }
    const auto element = [&](int d, const Register& z, unsigned stands) {
      const unsigned away = awayFromMiddles<Road>(z).bits() & stands;
      if ((stands >> i & 1) != 0)
        findings.add(z.raw[i], full[d], (away >> i & 1) != 0);
    };
    if constexpr (requires { results.second; }) {
      element(0, results.first, ~0u);
      element(1, results.second, ~0u);
    } else if constexpr (requires { results.stands; }) {
      element(0, results.value, results.stands.bits());
    } else {
      element(0, results, ~0u);
    }
  }
}

template <class Kernel, class Road, class Contains, class Compute>
Findings measure(long count, unsigned seed, const Contains& contains, const Compute& compute) {
  std::mt19937_64 random(seed);
  Findings findings;
  for (long done = 0; done < count; done += registerDoubles) {
    float x[2][registerDoubles];
    for (auto& array : x)
      for (float& element : array) { // any pattern, or a number of usual size
        const auto bits = static_cast<std::uint32_t>(random());
        element = std::bit_cast<float>(
            done % 3 == 0 ? bits
                          : (bits & 0x807FFFFF) |
                                static_cast<std::uint32_t>(0x3A800000 + (random() % 12 << 23)));
      }
    Register v[2];
    for (int s = 0; s < 2; ++s)
      v[s] = loadRegister<Register, float>(x[s]);
    const auto run = [&](const auto&... arguments) {
      const auto inside = contains(arguments...);
      if (inside.bits() == 0)
        return;
      // Braces keep the order; the others' arguments could lie outside of tables.
      const double* other = Road::inside;
      const auto next = [&] { return uniform<Register>(*other++); };
      const std::tuple<std::remove_cvref_t<decltype(arguments)>...> only{
          select(inside, arguments, next())...};
      compare<Kernel, Road>(findings, x, inside.bits(), std::apply(compute, only));
    };
    if constexpr (sources == 1)
      run(v[0]);
    else
      run(v[0], v[1]);
  }
  return findings;
}

int row(const char* name, const char* domain, double distance, const Findings& findings) {
  std::printf(
      "| %s | %s | 2^%.2f | 2^%.2f | 2^%.1f |\n", name, domain, std::log2(distance),
      std::log2(findings.farthest),
      std::log2(static_cast<double>(findings.left) / static_cast<double>(findings.inDomain)));
  return findings.farthest <= distance && findings.left > 0 && findings.saturates ? 0 : 1;
}

template <class Kernel, class Road>
int rows(const char* name, long count) {
  int wrong = row(name, "main", Road::distance,
                  measure<Kernel, Road>(
                      count, 1, [](const auto&... x) { return Road::isOrdinary(x...); },
                      [](const auto&... x) { return Road::compute(x...); }));
  if constexpr (requires(Register x) { Road::isInWiderRange(x); })
    wrong |= row(name, "wider", Road::distance,
                 measure<Kernel, Road>(
                     count, 2, [](const auto&... x) { return Road::isInWiderRange(x...); },
                     [](const auto&... x) { return Road::computeWider(x...); }));
  return wrong;
}

} // namespace
} // namespace qelvm

int main(int argc, char** argv) {
  if (!__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("fma")) {
    std::puts("this processor has no registers of four doubles with fused multiply-add");
    return 77;
  }
  return qelvm::rows<qelvm::OneKernel, qelvm::OneRoad>(QELVM_FAMILY_NAME,
                                                       argc > 1 ? std::atol(argv[1]) : 3'000'000);
}
