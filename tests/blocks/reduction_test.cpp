// The reduction of large trigonometric arguments, against MPFR with pi to 2000 bits.

#include "../hard_angles.hpp"
#include "../mpfr_number.hpp"
#include "trig/reduce_trig_argument.hpp"

#include <gtest/gtest.h>

#include <cfloat>
#include <random>

namespace qelvm {
namespace {

using Number = MpfrNumber<2000>;

class TrigReductionTest : public testing::Test {
protected:
  TrigReductionTest() {
    mpfr_const_pi(halfPi_, MPFR_RNDN);
    mpfr_div_2ui(halfPi_, halfPi_, 1, MPFR_RNDN);
  }

  /// Expects x and -x to be reduced to within 2^-75 of the exact remainder; below 2^30 the pieces
  /// of pi/4 and their last product leave an error that grows with x besides.
  void expectReduced(double x) {
    const TrigReduction r = reduceTrigArgument(x);
    const TrigReduction negated = reduceTrigArgument(-x);
    EXPECT_EQ(negated.quadrant, -r.quadrant & 3) << std::hexfloat << x;
    EXPECT_EQ(negated.remainder.hi, -r.remainder.hi) << std::hexfloat << x;
    EXPECT_EQ(negated.remainder.lo, -r.remainder.lo) << std::hexfloat << x;
    EXPECT_EQ(r.remainder.hi + r.remainder.lo, r.remainder.hi) << std::hexfloat << x;
    EXPECT_LE(std::fabs(r.remainder.hi), M_PI_4 + 0x1p-22) << std::hexfloat << x;

    // The multiple of pi/2 that the remainder implies, and what it leaves.
    mpfr_set_d(exact_, x, MPFR_RNDN);
    mpfr_sub_d(turns_, exact_, r.remainder.hi, MPFR_RNDN);
    mpfr_div(turns_, turns_, halfPi_, MPFR_RNDN);
    mpfr_rint(turns_, turns_, MPFR_RNDN);
    mpfr_fms(exact_, turns_, halfPi_, exact_, MPFR_RNDN); // negated
    mpfr_fmod_ui(turns_, turns_, 4, MPFR_RNDN);
    EXPECT_EQ(mpfr_get_si(turns_, MPFR_RNDN), r.quadrant) << std::hexfloat << x;

    mpfr_add_d(difference_, exact_, r.remainder.hi, MPFR_RNDN);
    mpfr_add_d(difference_, difference_, r.remainder.lo, MPFR_RNDN);
    const double absolute = std::fabs(mpfr_get_d(difference_, MPFR_RNDN));
    const double error = absolute / std::fabs(r.remainder.hi);
    EXPECT_LE(absolute,
              std::fabs(r.remainder.hi) * 0x1p-75 + (x < 0x1p30 ? x * 0x1p-141 : 0x1p-121))
        << std::hexfloat << x;
    if (error > worst_) {
      worst_ = error;
      worstAt_ = x;
    }
  }

  void TearDown() override {
    std::printf("largest relative error: 2^%.2f at %a\n", std::log2(worst_), worstAt_);
  }

  std::mt19937_64 random_{11};

private:
  static int mpfr_fmod_ui(mpfr_ptr r, mpfr_srcptr x, unsigned long y, mpfr_rnd_t mode) {
    Number modulus;
    mpfr_set_ui(modulus, y, mode);
    return mpfr_fmod(r, x, modulus, mode);
  }

  Number halfPi_, exact_, turns_, difference_;
  double worst_ = 0, worstAt_ = 0;
};

TEST_F(TrigReductionTest, AllExponents) {
  for (int exponent = 0; exponent < 1024; ++exponent)
    for (int i = 0; i < 100; ++i)
      expectReduced(std::ldexp(1 + static_cast<double>(random_() >> 12) * 0x1p-52, exponent));
  for (int exponent = 0; exponent < 1024; ++exponent)
    for (double significand : {1.0, 1 + DBL_EPSILON, 1.5, 2 - DBL_EPSILON})
      expectReduced(std::ldexp(significand, exponent));
}

TEST_F(TrigReductionTest, NextToMultiplesOfQuarterPi) {
  for (double x : hardAngles(53, 1024))
    expectReduced(x);
}

TEST_F(TrigReductionTest, NextToSmallMultiplesOfQuarterPi) {
  for (int i = 0; i < 20000; ++i) {
    const double n = static_cast<double>(random_() >> (11 + i % 52));
    for (double ulps = -2; ulps <= 2; ++ulps) {
      const double x = (n + 1) * M_PI_4;
      expectReduced(x + ulps * (std::nextafter(x, DBL_MAX) - x));
    }
  }
}

/// Where fewer than four octants are left of the leading products, and yet they count.
/// Two at once as each alone, whichever regimes meet.
TEST_F(TrigReductionTest, Pairs) {
  const auto draw = [this] { // 2^17 to 2^1024 at random, half of it below 2^40
    const bool small = (random_() & 1) != 0;
    const double exponent = std::uniform_real_distribution<double>(17, small ? 40 : 1024)(random_);
    return std::copysign(std::exp2(exponent), static_cast<double>(random_() & 1) - 0.5);
  };
  const auto expectSame = [](const TrigReduction& alone, double hi, double lo, int quadrant) {
    EXPECT_EQ(alone.remainder.hi, hi);
    EXPECT_EQ(alone.remainder.lo, lo);
    EXPECT_EQ(alone.quadrant, quadrant);
  };
  for (int i = 0; i < 20000; ++i) {
    const double x = draw(), y = draw();
    const TrigReductionOf<Lanes<2>> both = reduceTrigArguments(Lanes<2>{x, y});
    expectSame(reduceTrigArgument(x), laneOf<0>(both.remainder.hi), laneOf<0>(both.remainder.lo),
               laneOf<0>(both.quadrant));
    expectSame(reduceTrigArgument(y), laneOf<1>(both.remainder.hi), laneOf<1>(both.remainder.lo),
               laneOf<1>(both.quadrant));
  }
}

TEST_F(TrigReductionTest, FewOctantsLeft) {
  for (double x : {0x1.0262d50066aa3p+380, 0x1.06a3338053d0ep+380, 0x1.010321804471ap+380,
                   0x1.147d228022d69p+380, 0x1.01fbd28004fb1p+380})
    expectReduced(x);
}

} // namespace
} // namespace qelvm
