// The call frame with kernels of every shape, and the error report, from inside.

#include "core/call_frame.hpp"

#include <gtest/gtest.h>

#include <cfenv>
#include <string>
#include <thread>
#include <vector>

namespace qelvm {
namespace {

template <int N>
struct Tag {
  static constexpr int lanes = N;
};

/// Doubles positive elements, halves those below -100 (its second range), and reports the others:
/// zero as a singularity, the rest as outside the domain.
template <class Export>
struct OneSourceKernel {
  static constexpr int lanes = Export::lanes;
  static bool isOrdinary(double x) { return x > 0; }
  static bool isInSecondRange(double x) { return x < -100; }
  template <class V>
  static V compute(const V& x) {
    return x * 2.0;
  }
  template <class V>
  static V computeSecondRange(const V& x) {
    return x * 0.5;
  }
  static QelStatus exceptional(const Stored<double>& x, Stored<double>& result) {
    const QelStatus status = x == 0 ? qelStatusSingularity : qelStatusDomain;
    result = -1;
    return status;
  }
};

template <class Export>
struct TwoSourceKernel {
  static constexpr int lanes = Export::lanes;
  static bool isOrdinary(float x, float y) { return x < y; }
  template <class V>
  static V compute(const V& x, const V& y) {
    return y - x;
  }
  /// Reads a source again after the store.
  static QelStatus exceptional(const Stored<float>&, const Stored<float>& y,
                               Stored<float>& result) {
    result = 0;
    return y == 0 ? qelStatusDomain : qelStatusOk;
  }
};

/// Multiplies by a scalar; classifies it once, in the constructor.
template <class Export>
struct ScalarKernel {
  static constexpr int lanes = Export::lanes;
  explicit ScalarKernel(double scalar) : factor(scalar), reports(scalar < 0) {}
  static bool isOrdinary(double x) { return x > 0; }
  template <class V>
  V compute(const V& x) const {
    return x * factor;
  }
  QelStatus exceptional(const Stored<double>& x, Stored<double>& result) const {
    result = x * factor;
    return reports ? QelStatus{qelStatusDomain} : QelStatus{qelStatusOk};
  }
  double factor;
  bool reports;
};

/// Never reports: `exceptional` returns nothing.
template <class Export>
struct TwoDestinationKernel {
  static constexpr int lanes = Export::lanes;
  static bool isOrdinary(float x) { return x > 0; }
  template <class V>
  static TwoResults<V> compute(const V& x) {
    return {x + 1.0, x * 3.0};
  }
  static void exceptional(const Stored<float>& x, Stored<float>& first, Stored<float>& second) {
    const float source = x;
    first = source;
    second = -source;
  }
};

template <class T>
class FrameShapes : public testing::Test {};
using LaneCounts = testing::Types<Tag<1>, Tag<2>, Tag<4>>;
TYPED_TEST_SUITE(FrameShapes, LaneCounts);

TYPED_TEST(FrameShapes, OneSourceMixesItsRanges) {
  const double src[] = {1, 2, 3, 4, -200, -300, -400, -500, 5, -600, 0, 6, -1, 7, 8, 9, 10, 11};
  const double expected[] = {2,    4,  6,  8,  -100, -150, -200, -250, 10,
                             -300, -1, 12, -1, 14,   16,   18,   20,   22};
  double dst[18];
  using Kernel = OneSourceKernel<TypeParam>;
  EXPECT_EQ((call<TypeParam, Kernel>(sources(src), destinations(dst), 18)), qelStatusDomain);
  for (int i = 0; i < 18; ++i)
    EXPECT_EQ(dst[i], expected[i]) << i;
  EXPECT_EQ((call<TypeParam, Kernel>(sources(src), destinations(dst), 12)), qelStatusSingularity);
  EXPECT_EQ((call<TypeParam, Kernel>(sources(src), destinations(dst), 10)), qelStatusOk);
}

TYPED_TEST(FrameShapes, TwoSourcesAreReadAgainAfterTheStore) {
  const float src1[] = {1, 2, 3, 4, 5, 9, 7};
  float src2[] = {2, 4, 6, 8, 10, 5, 14};
  float dst[7];
  using Kernel = TwoSourceKernel<TypeParam>;
  const float* second = src2;
  EXPECT_EQ((call<TypeParam, Kernel>(sources(src1, second), destinations(dst), 7)), qelStatusOk);
  EXPECT_EQ((call<TypeParam, Kernel>(sources(src1, second), destinations(src2), 7)),
            qelStatusDomain);
  const float expected[] = {1, 2, 3, 4, 5, 0, 7};
  for (int i = 0; i < 7; ++i) {
    EXPECT_EQ(dst[i], expected[i]);
    EXPECT_EQ(src2[i], expected[i]);
  }
}

TYPED_TEST(FrameShapes, TheScalarGoesToTheKernel) {
  const double src[] = {1, 2, 3, 4, 5, 6, 0, 8, 9};
  double dst[9];
  using Kernel = ScalarKernel<TypeParam>;
  EXPECT_EQ((call<TypeParam, Kernel>(sources(src), destinations(dst), 9, 2.5)), qelStatusOk);
  for (int i = 0; i < 9; ++i)
    EXPECT_EQ(dst[i], src[i] * 2.5);
  EXPECT_EQ((call<TypeParam, Kernel>(sources(src), destinations(dst), 9, -1.0)), qelStatusDomain);
}

TYPED_TEST(FrameShapes, TwoDestinationsInPlaceOfEither) {
  using Kernel = TwoDestinationKernel<TypeParam>;
  const std::vector<float> src = {1, 2, 3, 4, 5, -6, 7, 8, 9};
  std::vector<float> first(9), second(9), inPlace = src, other(9);
  const auto run = [&](std::vector<float>& a, std::vector<float>& b, const float* from) {
    return call<TypeParam, Kernel>(sources(from), destinations(a.data(), b.data()), 9);
  };
  EXPECT_EQ(run(first, second, src.data()), qelStatusOk);
  for (std::size_t i = 0; i < 9; ++i) {
    EXPECT_EQ(first[i], src[i] > 0 ? src[i] + 1 : src[i]);
    EXPECT_EQ(second[i], src[i] > 0 ? src[i] * 3 : -src[i]);
  }
  run(inPlace, other, inPlace.data());
  EXPECT_EQ(inPlace, first);
  EXPECT_EQ(other, second);
  inPlace = src;
  run(other, inPlace, inPlace.data());
  EXPECT_EQ(other, first);
  EXPECT_EQ(inPlace, second);
}

TYPED_TEST(FrameShapes, EveryPointerIsChecked) {
  float x[4] = {1, 2, 3, 4}, y[4] = {};
  const float* none = nullptr;
  float* nowhere = nullptr;
  const auto two = [](const float* a, const float* b, float* r) {
    return call<TypeParam, TwoSourceKernel<TypeParam>>(sources(a, b), destinations(r), 4);
  };
  EXPECT_EQ(two(none, x, y), qelStatusNullPointer);
  EXPECT_EQ(two(x, none, y), qelStatusNullPointer);
  EXPECT_EQ(two(x, x, nowhere), qelStatusNullPointer);
  const auto split = [&](float* a, float* b, int length) {
    const float* from = x;
    return call<TypeParam, TwoDestinationKernel<TypeParam>>(sources(from), destinations(a, b),
                                                            length);
  };
  EXPECT_EQ(split(nowhere, y, 4), qelStatusNullPointer);
  EXPECT_EQ(split(y, nowhere, 4), qelStatusNullPointer);
  EXPECT_EQ(split(nowhere, nowhere, 0), qelStatusSizeError);
}

TEST(ErrorReport, RaisesTheFlagOfTheStatusAndNoOther) {
  const std::pair<QelStatus, int> rows[] = {{qelStatusOverflow, FE_OVERFLOW | FE_INEXACT},
                                            {qelStatusUnderflow, FE_UNDERFLOW | FE_INEXACT},
                                            {qelStatusSingularity, FE_DIVBYZERO},
                                            {qelStatusDomain, FE_INVALID},
                                            {qelStatusOk, 0},
                                            {qelStatusNullPointer, 0},
                                            {1, 0}};
  for (const auto& [status, flags] : rows) {
    std::feclearexcept(FE_ALL_EXCEPT);
    reportElementError(status, 5, nullptr, nullptr, nullptr, nullptr, "");
    EXPECT_EQ(
        std::fetestexcept(FE_DIVBYZERO | FE_INEXACT | FE_INVALID | FE_OVERFLOW | FE_UNDERFLOW),
        flags)
        << status;
  }
}

TEST(ErrorReport, TextIsJoinedWithinItsLimits) {
  char text[81];
  const std::string name(70, 'n');
  EXPECT_EQ(joinReportText("0123456789", name.c_str(), "end", text), 75);
  EXPECT_EQ(std::string(text), "01234567" + std::string(64, 'n') + "end");
  EXPECT_EQ(joinReportText("", "", "123456789", text), 8);
  text[0] = 'x';
  EXPECT_EQ(joinReportText("", "", "", text), 0);
  EXPECT_EQ(text[0], '\0');
  EXPECT_EQ(sizeof(QelErrorReport), 108u);
}

} // namespace
} // namespace qelvm
