// The floating-point building blocks, for one element and for lanes.

#include "core/floating_point.hpp"

#include <gtest/gtest.h>

#include <cfenv>
#include <cmath>
#include <limits>
#include <random>

namespace qelvm {
namespace {

std::vector<double> randomDoubles(int count, int exponents) {
  std::mt19937_64 random(7);
  std::vector<double> values;
  for (int i = 0; i < count; ++i)
    values.push_back(
        std::ldexp(static_cast<double>(static_cast<std::int64_t>(random())) * 0x1p-63,
                   static_cast<int>(random() % static_cast<unsigned>(2 * exponents)) - exponents));
  return values;
}

/// a + b == s + e in exact arithmetic, for doubles below 2^28 that are multiples of 2^-92.
bool sumsAgree(double a, double b, double s, double e) {
  using Exact = __int128;
  const double unit = std::ldexp(1.0, -92);
  const auto exact = [unit](double v) { return static_cast<Exact>(v / unit); };
  return exact(a) + exact(b) == exact(s) + exact(e);
}

int significantBits(double x) {
  const std::uint64_t significand = (bitsOf(x) & fractionMask<double>) | (std::uint64_t{1} << 52);
  return x == 0 ? 0 : 53 - std::countr_zero(significand);
}

TEST(Bits, FieldsOfDoublesAndFloats) {
  EXPECT_EQ(exponentField(1.0), 1023);
  EXPECT_EQ(exponentField(-0x1p-1074), 0);
  EXPECT_EQ(exponentField(-std::numeric_limits<double>::infinity()), 0x7FF);
  EXPECT_EQ(exponentField(1.0f), 127);
  EXPECT_EQ(exponentField(-0x1p-149f), 0);
  EXPECT_EQ(exponentField(std::numeric_limits<float>::quiet_NaN()), 0xFF);
  EXPECT_EQ(withExponent(0x3FF + 5, 1.0), 32.0);
  EXPECT_EQ(withExponent(0x3FF + 5, 0.0), 32.0);
  EXPECT_EQ(withExponent(0x3FF, -0x1.8p77), -1.5);
  EXPECT_EQ(withExponent(0x3FF + 0x800, 1.0), 1.0) << "the field is taken modulo 2048";
  EXPECT_EQ(lowWord(0x1.8p52 - 2), static_cast<std::int32_t>(0xFFFFFFFE));
  EXPECT_EQ(highWord(-1.0), static_cast<std::int32_t>(0xBFF00000));
}

TEST(Bits, MagnitudeWithinHasAnInclusiveLowerAndAnExclusiveUpperEnd) {
  for (double sign : {1.0, -1.0}) {
    EXPECT_TRUE(magnitudeWithin(sign * 0.5, 0.5, 4.0));
    EXPECT_TRUE(magnitudeWithin(sign * std::nextafter(4.0, 0.0), 0.5, 4.0));
    EXPECT_FALSE(magnitudeWithin(sign * 4.0, 0.5, 4.0));
    EXPECT_FALSE(magnitudeWithin(sign * std::nextafter(0.5, 0.0), 0.5, 4.0));
    EXPECT_FALSE(magnitudeWithin(sign * 0.0, 0.5, 4.0));
    EXPECT_FALSE(magnitudeWithin(sign * std::numeric_limits<double>::infinity(), 0.5, 4.0));
  }
  EXPECT_FALSE(magnitudeWithin(std::numeric_limits<float>::quiet_NaN(), 0.5f, 4.0f));
}

TEST(ExactArithmetic, SplitsAndSumsLoseNothing) {
  EXPECT_EQ(splitHiLo(1 + 0x1p-52, split26Bits).hi, 1.0);
  EXPECT_EQ(splitHiLo(1 + 0x1p-52, split26Bits).lo, 0x1p-52);
  const std::vector<double> values = randomDoubles(20000, 28);
  for (std::size_t i = 0; i + 1 < values.size(); ++i) {
    const double a = values[i], b = values[i + 1];
    for (const auto& [splitter, bits] :
         {std::pair{split26Bits, 26}, {split26BitsShort, 26}, {split31Bits, 31}}) {
      const DoubleDouble split = splitHiLo(a, splitter);
      ASSERT_EQ(split.hi + split.lo, a);
      ASSERT_LE(significantBits(split.hi), bits) << a << " " << splitter;
    }
    ASSERT_LE(significantBits(splitHiLo(a, split26Bits).lo), 26);
    const DoubleDouble any = twoSum(a, b);
    ASSERT_TRUE(sumsAgree(a, b, any.hi, any.lo)) << a << " " << b;
    const bool ordered = std::fabs(a) >= std::fabs(b);
    const DoubleDouble fast = ordered ? fastTwoSum(a, b) : fastTwoSum(b, a);
    ASSERT_EQ(fast.hi, any.hi);
    ASSERT_EQ(fast.lo, any.lo);
  }
}

TEST(Rounding, ByAShifter) {
  for (const auto& [x, integer] :
       {std::pair{2.5, 2}, {3.5, 4}, {-1.5, -2}, {-0.4, 0}, {1e9, 1000000000}}) {
    const Rounded<double> rounded = roundShifter(x, integerShifter);
    EXPECT_EQ(rounded.value, integer);
    EXPECT_EQ(lowWord(rounded.sum), integer);
  }
  EXPECT_EQ(roundShifter(1.0 + 0x1.4p-7, 0x1.8p45).value, 1.0 + 0x1p-7);
  for (double x : randomDoubles(2000, 300)) {
    const double kept = keepLeadingBits(x, 0x1.8p32);
    EXPECT_LE(significantBits(kept), 21);
    EXPECT_LE(std::fabs(kept - x), std::ldexp(std::fabs(x), -19));
  }
}

TEST(Scaling, TwoStepRoundsOnce) {
  EXPECT_EQ(scaleTwoStep(0.75, 1024), 1.348269851146737e+308);
  EXPECT_EQ(scaleTwoStep(1.0, -1074), 0x1p-1074);
  EXPECT_EQ(scaleTwoStep(1.0, 1023), 0x1p1023);
  std::mt19937_64 random(3);
  for (int m = -1083; m <= 1023; ++m) {
    const double r = 0.5 + 3.5 * static_cast<double>(random() >> 11) * 0x1p-53;
    const double expected = std::ldexp(r, m);
    ASSERT_EQ(scaleTwoStep(r, m), expected) << r << " 2^" << m;
    if (m >= -1022 && m <= 1021) {
      ASSERT_EQ(scaleByPowerOfTwo(r, m), expected);
    }
  }
}

TEST(Scaling, SubnormalsArePrescaledExactly) {
  const auto subnormal = prescaleSubnormal(0x1.8p-1070, twoTo200, -100);
  EXPECT_EQ(subnormal.x, 0x1.8p-870);
  EXPECT_EQ(subnormal.x * twoToMinus200, 0x1.8p-1070);
  EXPECT_EQ(subnormal.adjustment, -100);
  const auto normal = prescaleSubnormal(0x1p-1022, twoTo200, -100);
  EXPECT_EQ(normal.x, 0x1p-1022);
  EXPECT_EQ(normal.adjustment, 0);
}

TEST(Polynomials, HornerRoundsEveryStepFromTheInnermostOutwards) {
  const double c[] = {0x1.1p0, -0x1.2345p-3, 0x1.7777777777777p-6, 0x1.9p2};
  const double x = 0x1.3579bdf135791p-2;
  EXPECT_EQ(horner(c, x), c[0] + x * (c[1] + x * (c[2] + x * c[3])));
}

/// Every block gives in each lane what it gives for that lane's value alone.
TEST(LanesTest, AgreeWithSingleElements) {
  const double c[] = {0.5, 0.25, -3.0};
  const double table[] = {1, 2, 4, 8};
  const auto chain = [&](const auto& x) {
    const auto split = splitHiLo(x, split26Bits);
    const auto sum = fastTwoSum(split.hi, split.lo);
    const auto exact = twoSum(sum.hi / 3.0, -x);
    const auto rounded = roundShifter(exact.lo * 1e17, integerShifter);
    const auto index = (lowWord(rounded.sum) >> 3 | highWord(x)) & 3;
    const auto scaled = scaleTwoStep(horner(c, x), exponentField(x) - 1100);
    const auto prescaled = prescaleSubnormal(scaled, twoTo200, -100);
    return scaleByPowerOfTwo(keepLeadingBits(prescaled.x, 0x1.8p32) + lookUp(table, index),
                             prescaled.adjustment + (1 << (index - 1 + 1)));
  };
  const std::vector<double> values = randomDoubles(4000, 60);
  for (std::size_t i = 0; i + 3 < values.size(); i += 4) {
    const Lanes<4> four = chain(Lanes<4>{values[i], values[i + 1], values[i + 2], values[i + 3]});
    ASSERT_EQ(laneOf<0>(four), chain(values[i]));
    ASSERT_EQ(laneOf<1>(four), chain(values[i + 1]));
    ASSERT_EQ(laneOf<2>(four), chain(values[i + 2]));
    ASSERT_EQ(laneOf<3>(four), chain(values[i + 3]));
  }
}

TEST(Flags, DefaultResultsAreFormedAtRunTime) {
  const struct {
    double (*make)();
    double value; // NaN for any NaN
    int flags;
  } rows[] = {
      {overflowed, std::numeric_limits<double>::infinity(), FE_OVERFLOW | FE_INEXACT},
      {underflowed, 0.0, FE_UNDERFLOW | FE_INEXACT},
      {[] { return dividedByZero(-1.0); }, -std::numeric_limits<double>::infinity(), FE_DIVBYZERO},
      {invalid, std::numeric_limits<double>::quiet_NaN(), FE_INVALID},
  };
  for (const auto& row : rows) {
    std::feclearexcept(FE_ALL_EXCEPT);
    const double made = row.make();
    const int flags = std::fetestexcept(FE_ALL_EXCEPT & ~0x2); // 0x2: the denormal flag of x86
    EXPECT_TRUE(made == row.value || (std::isnan(made) && std::isnan(row.value)));
    EXPECT_EQ(flags, row.flags);
  }
}

} // namespace
} // namespace qelvm
