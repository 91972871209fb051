// Numbers that a proof may not type: enclosures of rests of constants and tables from MPFR, and of
// what a recorded polynomial leaves of its function from Sollya.
#pragma once

#include "recorder.hpp"
#include "tools/tables/mpfr_real.hpp"

#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <string>

namespace qelvm::proof {

/// What is checked by evaluation alone.
inline void require(bool holds, const std::string& what) {
  if (!holds)
    fail("not so: " + what);
}

/// A closed interval with double ends, printed for Gappa.
struct Interval {
  double low, high;

  static Interval within(double limit) { return {-limit, limit}; }
  double magnitude() const { return std::max(std::fabs(low), std::fabs(high)); }
  std::string text() const { return "[" + ends(low) + "," + ends(high) + "]"; }

private:
  static std::string ends(double v) {
    const std::string t = hex(v);
    return v < 0 ? t.substr(1, t.size() - 2) : t;
  }
};

inline double below(double v) {
  return std::nextafter(v, -std::numeric_limits<double>::infinity());
}
inline double above(double v) {
  return std::nextafter(v, std::numeric_limits<double>::infinity());
}

/// Around a number that MPFR has to 300 bits but for the errors of a few operations on numbers up
/// to `scale` (1 where they are at most of that size); zero only where it is zero by itself.
inline Interval enclosure(const Real& number, double scale = 1.0) {
  const double v = number.toDouble(), slack = scale * 0x1p-280;
  const Real low = number - Real(slack), high = number + Real(slack);
  return {below(std::min(v, low.toDouble())), above(std::max(v, high.toDouble()))};
}

/// The least ulp of the values of a function that is monotonic and of one sign between two
/// arguments.
template <class F>
double leastUlp(const F& of, const Real& low, const Real& high) {
  const double first = of(low).toDouble(), last = of(high).toDouble();
  const double least = std::min(std::fabs(first), std::fabs(last)) * (1 - 0x1p-50);
  require((first > 0) == (last > 0) && least > 0, "of one sign");
  return std::ldexp(1.0, std::ilogb(least) - 52);
}

inline Real pi() {
  Real r;
  mpfr_const_pi(r.get(), MPFR_RNDN);
  return r;
}
inline Real ln2() {
  Real r;
  mpfr_const_log2(r.get(), MPFR_RNDN);
  return r;
}
/// 2^k, exactly.
inline Real twoTo(long k) {
  Real r(1.0);
  mpfr_mul_2si(r.get(), r.get(), k, MPFR_RNDN);
  return r;
}

/// The recorded answer to a question of this hash, in the file of the environment variable
/// QELVM_PROOF_ANSWERS: what the last full run was told.
inline std::string recordedAnswer(const std::string& hash) {
  static const std::map<std::string, std::string> recorded = [] {
    std::map<std::string, std::string> answers;
    if (const char* path = std::getenv("QELVM_PROOF_ANSWERS")) {
      std::ifstream in(path);
      for (std::string name, answer; in >> name && std::getline(in >> std::ws, answer);)
        answers[name] = answer;
    }
    return answers;
  }();
  const auto found = recorded.find(hash);
  return found == recorded.end() ? "" : found->second;
}

/// What Sollya prints for a question; asked once, then kept by the question's text in the folder of
/// the environment variable QELVM_PROOF_CACHE.
inline std::string askSollya(const std::string& question) {
  const char* folder = std::getenv("QELVM_PROOF_CACHE");
  const std::string cache = folder ? folder : "/tmp/qelvm-proof-cache";
  std::filesystem::create_directories(cache);
  char name[32];
  Word hash = 14695981039346656037u;
  for (const char c : question)
    hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211u;
  std::snprintf(name, sizeof name, "%016llx", static_cast<unsigned long long>(hash));
  if (const std::string answer = recordedAnswer(name); !answer.empty())
    return answer;
  const std::string base = cache + "/" + name + ".sollya", result = cache + "/" + name + ".answer";
  const auto read = [](const std::string& path) {
    std::ifstream in(path);
    return std::string(std::istreambuf_iterator<char>(in), {});
  };
  if (read(base) != question || read(result).empty()) {
    const std::string mine = base + std::to_string(reinterpret_cast<std::uintptr_t>(&question));
    std::ofstream(mine) << question;
    if (std::system(
            ("nice sollya --warnonstderr < " + mine + " > " + mine + ".answer 2> " + mine + ".err")
                .c_str()) != 0)
      fail("sollya failed on: " + question);
    if (!read(mine + ".err").empty())
      fail("sollya warns: " + read(mine + ".err") + "\nof: " + question);
    std::filesystem::rename(mine + ".answer", result);
    std::filesystem::rename(mine, base);
    std::filesystem::remove(mine + ".err");
  }
  return read(result);
}

/// The recorded computation of a term as a formula of one variable, every rounding left out.
inline std::string formulaOf(const Term& t, const Term& variable, const std::string& name) {
  if (t.id == variable.id)
    return name;
  const Node& n = nodeOf(t.id);
  const auto of = [&](std::size_t k) { return formulaOf(Term::ofNode(n.args[k]), variable, name); };
  if (n.known)
    return hex(fromWord<double>(*n.known));
  if (n.kind == Kind::negative)
    return "(-" + of(0) + ")";
  if (n.kind != Kind::rounded)
    fail("no polynomial: " + n.label);
  return "(" + of(0) + n.label + of(1) + ")";
}

/// A recorded polynomial at x, computed without its roundings: in numbers that have + and *, and
/// that `number` makes of coefficients.
template <class Number, class OfCoefficient>
Number polynomialAt(const Number& x, const Term& polynomial, const Term& variable,
                    const OfCoefficient& number) {
  if (polynomial.id == variable.id)
    return x;
  if (polynomial.isKnown())
    return number(polynomial.value());
  const std::string label = nodeOf(polynomial.id).label;
  require(label == "+" || label == "*", "a polynomial");
  const Number a = polynomialAt(x, operand(polynomial, 0), variable, number),
               b = polynomialAt(x, operand(polynomial, 1), variable, number);
  return label == "+" ? a + b : a * b;
}

/// A value, and its derivative.
struct WithSlope {
  Real value, slope;
  friend WithSlope operator+(const WithSlope& a, const WithSlope& b) {
    return {a.value + b.value, a.slope + b.slope};
  }
  friend WithSlope operator*(const WithSlope& a, const WithSlope& b) {
    return {a.value * b.value, a.value * b.slope + a.slope * b.value};
  }
};

/// A bound of |polynomial - function| over an interval (with double ends), proven by Sollya's
/// supnorm. Both are formulas in x, the polynomial made of recorded ones: one last bit of a
/// coefficient counts. With `relative`, the bound is of |polynomial / function - 1|.
inline double polynomialError(const std::string& polynomial, const std::string& function,
                              Interval range, bool relative = false) {
  const std::string question =
      "display = hexadecimal!;\nprec = 400!;\nverbosity = 1!;\np = " + polynomial +
      ";\nf = " + function + ";\ns = supnorm(horner(simplify(p)), f, " + range.text() + ", " +
      (relative ? "relative" : "absolute") +
      ", 2^(-10));\nprint(round(sup(s), double, RU));\nquit;\n";
  const std::string answer = askSollya(question);
  char* end = nullptr;
  const double bound = std::strtod(answer.c_str(), &end);
  if (end == answer.c_str() || !(bound >= 0) || std::isinf(bound))
    fail("sollya answers '" + answer + "' to: " + question);
  return bound;
}
/// The same for a recorded term as a polynomial in another.
inline double polynomialError(const Term& polynomial, const Term& variable,
                              const std::string& function, Interval range, bool relative = false) {
  return polynomialError(formulaOf(polynomial, variable, "x"), function, range, relative);
}

} // namespace qelvm::proof
