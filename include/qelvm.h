/**
 * @file qelvm.h
 * Vector elementary functions with the same bits on every platform.
 *
 * One function per family, element type and accuracy class, named `qels<Family>_<type>_A<class>`:
 *
 * | class | element | accuracy |
 * |-------|---------|----------|
 * | `32f_A11`, `32f_A21`, `32f_A24` | `float` | computed in double precision, rounded once |
 * | `64f_A50` | `double` | the faster kernel |
 * | `64f_A53` | `double` | mostly within hundredths of an ulp of the correctly rounded result |
 *
 * The three `float` classes are one and the same computation, and in most families so are the two
 * `double` classes.
 *
 * @section contract The contract of every vector function
 *
 * **Arguments.** Source arrays, destination arrays, number of elements. Arrays are contiguous, of
 * any alignment, `length` elements each. Element i of a destination is computed from element i of
 * the sources alone: not from other elements, its position, `length` or an earlier call.
 *
 * **Status.** `length < 1` returns #qelStatusSizeError; then a null array pointer returns
 * #qelStatusNullPointer; both leave everything untouched, exception flags too. Any other call
 * writes every destination element. An exceptional element (overflow, underflow to zero, pole,
 * argument outside the domain) gets its IEEE default result and is reported: the call goes on and
 * returns the status of the last reported element, #qelStatusOk if there is none. A NaN argument
 * is not reported.
 *
 * **Bits.** Results are the same on every platform, compiler and processor, every bit, those of
 * NaNs too. A NaN argument gives that NaN with its quiet bit set, sign and payload kept; of two
 * NaNs the one that comes first in the argument list: `src1`, or `src` before `power`. (`Pow` and
 * `Powx` of 1 or to the power of 0 give 1.) An invalid operation or an argument outside the domain
 * gives the negative default NaN, 0xFFF8000000000000 or 0xFFC00000.
 *
 * **Exception flags.** A report raises the matching IEEE flag in the calling thread: overflow,
 * underflow, divide-by-zero (pole), invalid (domain); ordinary arithmetic raises its own, inexact
 * above all. A signalling NaN raises invalid, a quiet one nothing. Flags are never tested or
 * cleared.
 *
 * **In place.** A destination may be a source array: the results are the same. What three families
 * report then differs: `Acos` and `Asin`, and `Div` in double precision; see there. The two
 * destinations of `SinCos` may be one array, which then holds the cosines. Arrays that overlap
 * otherwise are not supported.
 *
 * **Environment.** Round to nearest and masked floating-point exceptions, the platforms' defaults,
 * are assumed; control settings are neither read nor changed. Every function may be called from any
 * number of threads. Nothing is allocated, kept between calls, or in need of initialisation.
 *
 * **Error bounds** are in ulps of the exact result, against which the library is tested with MPFR;
 * 0.5 means correctly rounded. So are `float` results, but for a few arguments in the families with
 * the bound 0.5000001: there the exact result lies so close to the middle between two floats that
 * the double result is that middle. For the families of one source every float has been tried, and
 * docs/every-float.md lists these arguments. `proven` means: a proof from the text of the kernel
 * shows that no error is larger than the number in parentheses, or than the bound (docs/proofs.md
 * tells what it assumes). `observed`: the bound rests on arguments and measurement, and the number
 * is the largest error that any search has found.
 */
#ifndef QELVM_H
#define QELVM_H

/** @name Version of this header
 * That of the loaded library is in the record of qelvmGetLibVersion().
 * @{ */
#define QELVM_VERSION_MAJOR 5 /**< major version: another one is another interface */
#define QELVM_VERSION_MINOR 0 /**< minor version */
#define QELVM_BUILD_MAJOR 11  /**< major build number */
#define QELVM_BUILD_NUMBER 35 /**< build number */
/** @} */

#ifndef RC_INVOKED /* a resource compiler reads the version only */

#include <stdint.h>

#if defined(_WIN32) && defined(_M_IX86)
#define QELVM_CALL __stdcall
#elif defined(_WIN32) && defined(__i386__)
#define QELVM_CALL __attribute__((__stdcall__))
#else
/** Calling convention: callee-pops on 32-bit Windows, the platform's ordinary one elsewhere. */
#define QELVM_CALL
#endif

#if defined(__GNUC__) && !defined(_WIN32)
#define QELVM_API __attribute__((visibility("default")))
#else
/** Marks a function that the library exports. */
#define QELVM_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** What a call returns: negative for errors, positive for warnings, 0 for neither. */
typedef int32_t QelStatus;

enum {
  qelStatusOk = 0,           /**< no element was reported */
  qelStatusSizeError = -6,   /**< `length` is less than 1; nothing was read or written */
  qelStatusNullPointer = -8, /**< an array pointer is null; nothing was read or written */
  qelStatusOverflow = 12,    /**< warning: a result overflowed */
  qelStatusUnderflow = 17,   /**< warning: a result underflowed to zero */
  qelStatusSingularity = 18, /**< warning: an argument was a pole (division by zero) */
  qelStatusDomain = 19       /**< warning: an argument lay outside the domain */
};

/** What a status means, as a short English text; never null. (Part of the header, not exported.) */
static inline const char* qelStatusText(QelStatus status) {
  switch (status) {
  case qelStatusOk:
    return "no element was reported";
  case qelStatusSizeError:
    return "the length is less than 1";
  case qelStatusNullPointer:
    return "an array pointer is null";
  case qelStatusOverflow:
    return "a result overflowed";
  case qelStatusUnderflow:
    return "a result underflowed to zero";
  case qelStatusSingularity:
    return "an argument was a pole";
  case qelStatusDomain:
    return "an argument lay outside the domain";
  default:
    return "unknown status";
  }
}

/** The version record; all of it constant. */
typedef struct QelLibVersion {
  int32_t versionMajor; /**< major version */
  int32_t versionMinor; /**< minor version */
  int32_t buildMajor;   /**< major build number */
  int32_t buildNumber;  /**< build number */
  /** What the build is compiled for, as text: "px" every processor, "v3" and "v4" the levels
   * x86-64-v3 (AVX2) and x86-64-v4 (AVX-512), "asd" aarch64 (Advanced SIMD). Same results. */
  char cpuCode[4];
  const char* libraryFile;   /**< file name of the library on Windows */
  const char* versionText;   /**< version as text */
  const char* buildDateText; /**< build date, as "Mmm dd yyyy" */
} QelLibVersion;

/**
 * @defgroup acos Acos: arccosine
 *
 * `dst[i]` = arccosine of `src[i]`, from 0 to pi.
 *
 * An infinite argument is told from a NaN after its result is stored: in place (`dst` the same
 * array as `src`) infinities give NaN without a report.
 *
 * | src | result | reported |
 * |-----|--------|----------|
 * | NaN | NaN | nothing |
 * | infinity | NaN | #qelStatusDomain |
 * | beyond [-1, 1] | NaN | #qelStatusDomain |
 * | 1 | +0 | nothing |
 * | otherwise | the arccosine | nothing |
 *
 * @image html Acos.svg
 * @{
 */
/** 0.5000001 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsAcos_32f_A11(const float* src, float* dst, int32_t length);
/** 0.5000001 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsAcos_32f_A21(const float* src, float* dst, int32_t length);
/** 0.5000001 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsAcos_32f_A24(const float* src, float* dst, int32_t length);
/** 0.518 ulp, proven (0.5171) */
QELVM_API QelStatus QELVM_CALL qelsAcos_64f_A50(const double* src, double* dst, int32_t length);
/** 0.518 ulp, proven (0.5171) */
QELVM_API QelStatus QELVM_CALL qelsAcos_64f_A53(const double* src, double* dst, int32_t length);
/** @} */

/**
 * @defgroup acosh Acosh: inverse hyperbolic cosine
 *
 * `dst[i]` = inverse hyperbolic cosine of `src[i]`, never negative.
 *
 * | src | result | reported |
 * |-----|--------|----------|
 * | NaN | NaN | nothing |
 * | +infinity | +infinity | nothing |
 * | below 1, -infinity included | NaN | #qelStatusDomain |
 * | 1 | +0 | nothing |
 * | otherwise | the inverse hyperbolic cosine | nothing |
 *
 * @image html Acosh.svg
 * @{
 */
/** 0.5000001 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsAcosh_32f_A11(const float* src, float* dst, int32_t length);
/** 0.5000001 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsAcosh_32f_A21(const float* src, float* dst, int32_t length);
/** 0.5000001 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsAcosh_32f_A24(const float* src, float* dst, int32_t length);
/** 0.519 ulp, proven (0.5187) */
QELVM_API QelStatus QELVM_CALL qelsAcosh_64f_A50(const double* src, double* dst, int32_t length);
/** 0.519 ulp, proven (0.5187) */
QELVM_API QelStatus QELVM_CALL qelsAcosh_64f_A53(const double* src, double* dst, int32_t length);
/** @} */

/**
 * @defgroup asin Asin: arcsine
 *
 * `dst[i]` = arcsine of `src[i]`, from -pi/2 to pi/2; the result for -x is exactly minus the result
 * for x.
 *
 * An infinite argument is told from a NaN after its result is stored: in place (`dst` the same
 * array as `src`) infinities give NaN without a report.
 *
 * | src | result | reported |
 * |-----|--------|----------|
 * | NaN | NaN | nothing |
 * | infinity | NaN | #qelStatusDomain |
 * | beyond [-1, 1] | NaN | #qelStatusDomain |
 * | magnitude up to 2^-53 | the argument | nothing |
 * | otherwise | the arcsine | nothing |
 *
 * @image html Asin.svg
 * @{
 */
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsAsin_32f_A11(const float* src, float* dst, int32_t length);
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsAsin_32f_A21(const float* src, float* dst, int32_t length);
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsAsin_32f_A24(const float* src, float* dst, int32_t length);
/** 0.519 ulp, proven (0.5182) */
QELVM_API QelStatus QELVM_CALL qelsAsin_64f_A50(const double* src, double* dst, int32_t length);
/** 0.519 ulp, proven (0.5182) */
QELVM_API QelStatus QELVM_CALL qelsAsin_64f_A53(const double* src, double* dst, int32_t length);
/** @} */

/**
 * @defgroup asinh Asinh: inverse hyperbolic sine
 *
 * `dst[i]` = inverse hyperbolic sine of `src[i]`; the result for -x is exactly minus the result for
 * x.
 *
 * | src | result | reported |
 * |-----|--------|----------|
 * | NaN | NaN | nothing |
 * | infinity | the argument | nothing |
 * | magnitude below 2^-57 | the argument | nothing |
 * | otherwise | the inverse hyperbolic sine | nothing |
 *
 * @image html Asinh.svg
 * @{
 */
/** 0.5000001 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsAsinh_32f_A11(const float* src, float* dst, int32_t length);
/** 0.5000001 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsAsinh_32f_A21(const float* src, float* dst, int32_t length);
/** 0.5000001 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsAsinh_32f_A24(const float* src, float* dst, int32_t length);
/** 0.527 ulp, proven (0.5264) */
QELVM_API QelStatus QELVM_CALL qelsAsinh_64f_A50(const double* src, double* dst, int32_t length);
/** 0.527 ulp, proven (0.5264) */
QELVM_API QelStatus QELVM_CALL qelsAsinh_64f_A53(const double* src, double* dst, int32_t length);
/** @} */

/**
 * @defgroup atan Atan: arctangent
 *
 * `dst[i]` = arctangent of `src[i]`, between -pi/2 and pi/2. Never reports: every valid call
 * returns #qelStatusOk. The result for -x is exactly minus the result for x.
 *
 * | src | result |
 * |-----|--------|
 * | NaN | NaN |
 * | magnitude 2^54 or more, infinity | pi/2 with the sign of src |
 * | magnitude below 2^-53, zero | src itself |
 * | otherwise | the arctangent |
 *
 * The error of A50 and A53 is largest for arguments just above 1/8, 1/4 and 1/2; for arguments from
 * 0.547 on it stays below 0.63 ulp, proven, too.
 *
 * @image html Atan.svg
 * @{
 */
/** 0.5000001 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsAtan_32f_A11(const float* src, float* dst, int32_t length);
/** 0.5000001 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsAtan_32f_A21(const float* src, float* dst, int32_t length);
/** 0.5000001 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsAtan_32f_A24(const float* src, float* dst, int32_t length);
/** 0.754 ulp, proven (0.7533) */
QELVM_API QelStatus QELVM_CALL qelsAtan_64f_A50(const double* src, double* dst, int32_t length);
/** 0.754 ulp, proven (0.7533) */
QELVM_API QelStatus QELVM_CALL qelsAtan_64f_A53(const double* src, double* dst, int32_t length);
/** @} */

/**
 * @defgroup atan2 Atan2: angle of a point
 *
 * `dst[i]` = the angle of the point with the ordinate `src1[i]` (y) and the abscissa `src2[i]` (x),
 * from -pi to pi: the arctangent of y / x in the right quadrant. Never reports: every valid call
 * returns #qelStatusOk. The result has the sign of y, and its magnitude does not depend on that
 * sign:
 *
 * | y | x | magnitude of the result |
 * |---|---|--------|
 * | NaN, or anything | anything, or NaN | NaN |
 * | infinite | +infinity, -infinity | pi/4, 3 pi/4 |
 * | infinite | finite | pi/2 |
 * | finite | +infinity, -infinity | 0, pi |
 * | zero | positive or +0, negative or -0 | 0, pi |
 * | finite, not zero | zero | pi/2 |
 * | finite, not zero | finite, not zero | the angle |
 *
 * The double bound is 0.52 ulp; where x is subnormal and |y / x| above 2^54, 0.7244 ulp.
 *
 * @image html Atan2.svg
 * @{
 */
/** 0.5000001 ulp, proven */
QELVM_API QelStatus QELVM_CALL qelsAtan2_32f_A11(const float* src1, const float* src2, float* dst,
                                                 int32_t length);
/** 0.5000001 ulp, proven */
QELVM_API QelStatus QELVM_CALL qelsAtan2_32f_A21(const float* src1, const float* src2, float* dst,
                                                 int32_t length);
/** 0.5000001 ulp, proven */
QELVM_API QelStatus QELVM_CALL qelsAtan2_32f_A24(const float* src1, const float* src2, float* dst,
                                                 int32_t length);
/** 0.52 ulp, proven (0.518); 0.7244 ulp where src2 is subnormal and the quotient above 2^54,
 * proven */
QELVM_API QelStatus QELVM_CALL qelsAtan2_64f_A50(const double* src1, const double* src2,
                                                 double* dst, int32_t length);
/** 0.52 ulp, proven (0.518); 0.7244 ulp where src2 is subnormal and the quotient above 2^54,
 * proven */
QELVM_API QelStatus QELVM_CALL qelsAtan2_64f_A53(const double* src1, const double* src2,
                                                 double* dst, int32_t length);
/** @} */

/**
 * @defgroup atanh Atanh: inverse hyperbolic tangent
 *
 * `dst[i]` = inverse hyperbolic tangent of `src[i]`; the result for -x is exactly minus the result
 * for x.
 *
 * | src | result | reported |
 * |-----|--------|----------|
 * | NaN | NaN | nothing |
 * | 1, -1 | the infinity of its sign | #qelStatusSingularity |
 * | beyond [-1, 1], infinities included | NaN | #qelStatusDomain |
 * | magnitude below 2^-57 | the argument | nothing |
 * | otherwise | the inverse hyperbolic tangent | nothing |
 *
 * @image html Atanh.svg
 * @{
 */
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsAtanh_32f_A11(const float* src, float* dst, int32_t length);
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsAtanh_32f_A21(const float* src, float* dst, int32_t length);
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsAtanh_32f_A24(const float* src, float* dst, int32_t length);
/** 0.508 ulp, proven (0.5051) */
QELVM_API QelStatus QELVM_CALL qelsAtanh_64f_A50(const double* src, double* dst, int32_t length);
/** 0.508 ulp, proven (0.5051) */
QELVM_API QelStatus QELVM_CALL qelsAtanh_64f_A53(const double* src, double* dst, int32_t length);
/** @} */

/**
 * @defgroup cbrt Cbrt: cube root
 *
 * `dst[i]` = the real cube root of `src[i]`, of the same sign. Never reports: every valid call
 * returns #qelStatusOk. Cubes of integers give the integer; the root of -x is exactly minus the
 * root of x.
 *
 * | src | result |
 * |-----|--------|
 * | NaN | NaN |
 * | infinity or zero, of either sign | src itself |
 * | otherwise, subnormal too | cube root |
 *
 * @image html Cbrt.svg
 * @{
 */
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsCbrt_32f_A11(const float* src, float* dst, int32_t length);
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsCbrt_32f_A21(const float* src, float* dst, int32_t length);
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsCbrt_32f_A24(const float* src, float* dst, int32_t length);
/** 0.506 ulp, proven (0.5056) */
QELVM_API QelStatus QELVM_CALL qelsCbrt_64f_A50(const double* src, double* dst, int32_t length);
/** 0.506 ulp, proven (0.5056) */
QELVM_API QelStatus QELVM_CALL qelsCbrt_64f_A53(const double* src, double* dst, int32_t length);
/** @} */

/**
 * @defgroup cos Cos: cosine
 *
 * `dst[i]` = the cosine of `src[i]`, in radians. Reports #qelStatusDomain for infinite arguments.
 * The bound holds for arguments of any size: they are reduced with as many bits of pi as they need.
 * The 64f bound is that of two arguments, +-0x1.65a1dd290660fp+16, next to a zero; at all others it
 * is 0.541 ulp, which is proven.
 *
 * | src | result | reported |
 * |-----|--------|----------|
 * | NaN | NaN | nothing |
 * | infinity, of either sign | NaN | #qelStatusDomain |
 * | zero, magnitude below 2^-252 | 1 | nothing |
 * | otherwise | cosine | nothing |
 *
 * @image html Cos.svg
 * @{
 */
/** 0.5000001 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsCos_32f_A11(const float* src, float* dst, int32_t length);
/** 0.5000001 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsCos_32f_A21(const float* src, float* dst, int32_t length);
/** 0.5000001 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsCos_32f_A24(const float* src, float* dst, int32_t length);
/** 0.602 ulp, proven (0.6011) */
QELVM_API QelStatus QELVM_CALL qelsCos_64f_A50(const double* src, double* dst, int32_t length);
/** 0.602 ulp, proven (0.6011) */
QELVM_API QelStatus QELVM_CALL qelsCos_64f_A53(const double* src, double* dst, int32_t length);
/** @} */

/**
 * @defgroup cosh Cosh: hyperbolic cosine
 *
 * `dst[i]` = hyperbolic cosine of `src[i]`. The first magnitude that overflows is
 * 710.475860073944 (32f: 89.4159927368164).
 *
 * | src | result | reported |
 * |-----|--------|----------|
 * | NaN | NaN | nothing |
 * | infinity | +infinity | nothing |
 * | magnitude below 2^-53 | 1 | nothing |
 * | from that magnitude on | +infinity | #qelStatusOverflow |
 * | otherwise | the hyperbolic cosine | nothing |
 *
 * @image html Cosh.svg
 * @{
 */
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsCosh_32f_A11(const float* src, float* dst, int32_t length);
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsCosh_32f_A21(const float* src, float* dst, int32_t length);
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsCosh_32f_A24(const float* src, float* dst, int32_t length);
/** 1.8 ulp, proven (1.7173) */
QELVM_API QelStatus QELVM_CALL qelsCosh_64f_A50(const double* src, double* dst, int32_t length);
/** 0.52 ulp, proven (0.5199) */
QELVM_API QelStatus QELVM_CALL qelsCosh_64f_A53(const double* src, double* dst, int32_t length);
/** @} */

/**
 * @defgroup div Div: division
 *
 * `dst[i] = src1[i] / src2[i]`, correctly rounded (bound 0.5 ulp) in all five classes, which are
 * one IEEE division per element.
 *
 * | src1 | src2 | result | reported |
 * |------|------|--------|----------|
 * | finite, not zero | zero | infinity, of the signs' product | #qelStatusSingularity |
 * | zero | zero | NaN | #qelStatusSingularity |
 * | infinity or NaN | anything, zero too | IEEE quotient | nothing |
 * | finite | infinity or NaN | IEEE quotient | nothing |
 * | finite | finite, not zero | IEEE quotient | nothing |
 *
 * Overflow and underflow only raise their flags. Infinity / 0 is infinity, and no pole.
 * 0 / 0 raises the invalid flag (the division) and divide-by-zero (the report).
 *
 * In place: the 64f classes look at `src2[i]` after `dst[i]` is stored. With `dst == src2` they
 * therefore report an element whose *quotient* is zero or NaN, and not one whose divisor was zero
 * and whose quotient is infinite. The 32f classes report alike in place and apart.
 *
 * @image html Div.svg
 * @{
 */
/** 0.5 ulp, proven */
QELVM_API QelStatus QELVM_CALL qelsDiv_32f_A11(const float* src1, const float* src2, float* dst,
                                               int32_t length);
/** 0.5 ulp, proven */
QELVM_API QelStatus QELVM_CALL qelsDiv_32f_A21(const float* src1, const float* src2, float* dst,
                                               int32_t length);
/** 0.5 ulp, proven */
QELVM_API QelStatus QELVM_CALL qelsDiv_32f_A24(const float* src1, const float* src2, float* dst,
                                               int32_t length);
/** 0.5 ulp, proven (0.5000) */
QELVM_API QelStatus QELVM_CALL qelsDiv_64f_A50(const double* src1, const double* src2, double* dst,
                                               int32_t length);
/** 0.5 ulp, proven (0.5000) */
QELVM_API QelStatus QELVM_CALL qelsDiv_64f_A53(const double* src1, const double* src2, double* dst,
                                               int32_t length);
/** @} */

/**
 * @defgroup erf Erf: error function
 *
 * `dst[i]` = 2/sqrt(pi) times the integral of e^(-t^2) from 0 to `src[i]`. Never reports: every
 * valid call returns #qelStatusOk. The result for -x is exactly minus the result for x;
 * from 5.9215872 on it is 1. The result for an infinity is 1 with its sign, for a NaN the NaN.
 *
 * @image html Erf.svg
 * @{
 */
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsErf_32f_A11(const float* src, float* dst, int32_t length);
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsErf_32f_A21(const float* src, float* dst, int32_t length);
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsErf_32f_A24(const float* src, float* dst, int32_t length);
/** 0.51 ulp, proven (0.5068) */
QELVM_API QelStatus QELVM_CALL qelsErf_64f_A50(const double* src, double* dst, int32_t length);
/** 0.51 ulp, proven (0.5068) */
QELVM_API QelStatus QELVM_CALL qelsErf_64f_A53(const double* src, double* dst, int32_t length);
/** @} */

/**
 * @defgroup erfc Erfc: complementary error function
 *
 * `dst[i]` = 1 - erf(`src[i]`), without cancellation.
 *
 * | src | result | reported |
 * |-----|--------|----------|
 * | NaN | NaN | nothing |
 * | +infinity, -infinity | +0, 2 | nothing |
 * | from 27.226017111108366 on (32f: 10.054195) | +0 | #qelStatusUnderflow |
 * | up to -5.8635847487551676 (32f: -3.8325069) | 2 | nothing |
 * | otherwise | erfc x, subnormal results too | nothing |
 *
 * Subnormal results raise the underflow flag without a status.
 *
 * @image html Erfc.svg
 * @{
 */
/** 0.5000001 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsErfc_32f_A11(const float* src, float* dst, int32_t length);
/** 0.5000001 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsErfc_32f_A21(const float* src, float* dst, int32_t length);
/** 0.5000001 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsErfc_32f_A24(const float* src, float* dst, int32_t length);
/** 0.508 ulp, proven (0.5063) */
QELVM_API QelStatus QELVM_CALL qelsErfc_64f_A50(const double* src, double* dst, int32_t length);
/** 0.508 ulp, proven (0.5063) */
QELVM_API QelStatus QELVM_CALL qelsErfc_64f_A53(const double* src, double* dst, int32_t length);
/** @} */

/**
 * @defgroup exp Exp: exponential
 *
 * `dst[i] = e` raised to `src[i]`.
 *
 * | src | result | reported |
 * |-----|--------|----------|
 * | NaN | NaN | nothing |
 * | +infinity, -infinity | +infinity, +0 | nothing |
 * | above 709.782712893384 (32f: 88.7228317) | +infinity | #qelStatusOverflow |
 * | below -745.1332191019412 (32f: -103.972076) | +0 | #qelStatusUnderflow |
 * | magnitude below 2^-52 | 1 + x | nothing |
 * | otherwise | e^x, subnormal results too | nothing |
 *
 * The limits themselves are not reported. Results that round to zero or to a subnormal raise the
 * underflow flag without a status.
 *
 * @image html Exp.svg
 * @{
 */
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsExp_32f_A11(const float* src, float* dst, int32_t length);
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsExp_32f_A21(const float* src, float* dst, int32_t length);
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsExp_32f_A24(const float* src, float* dst, int32_t length);
/** 2.0 ulp, proven (1.9691); 1.5 ulp where the result is subnormal, proven */
QELVM_API QelStatus QELVM_CALL qelsExp_64f_A50(const double* src, double* dst, int32_t length);
/** 0.518 ulp, proven (0.5179); 0.51 ulp where the result is subnormal, proven (0.509) */
QELVM_API QelStatus QELVM_CALL qelsExp_64f_A53(const double* src, double* dst, int32_t length);
/** @} */

/**
 * @defgroup inv Inv: reciprocal
 *
 * `dst[i] = 1 / src[i]`, correctly rounded (bound 0.5 ulp) in all five classes, which are one IEEE
 * division per element. A zero gives the infinity of its sign and reports #qelStatusSingularity;
 * an infinity gives the zero of its sign and a NaN the NaN, unreported. Small subnormal arguments
 * overflow to infinity without a status.
 *
 * @image html Inv.svg
 * @{
 */
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsInv_32f_A11(const float* src, float* dst, int32_t length);
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsInv_32f_A21(const float* src, float* dst, int32_t length);
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsInv_32f_A24(const float* src, float* dst, int32_t length);
/** 0.5 ulp, proven (0.5000) */
QELVM_API QelStatus QELVM_CALL qelsInv_64f_A50(const double* src, double* dst, int32_t length);
/** 0.5 ulp, proven (0.5000) */
QELVM_API QelStatus QELVM_CALL qelsInv_64f_A53(const double* src, double* dst, int32_t length);
/** @} */

/**
 * @defgroup invcbrt InvCbrt: reciprocal cube root
 *
 * `dst[i]` = 1 / the real cube root of `src[i]`, of the same sign; the result for -x is exactly
 * minus the result for x.
 *
 * | src | result | reported |
 * |-----|--------|----------|
 * | NaN | NaN | nothing |
 * | infinity | the zero of its sign | nothing |
 * | zero | the infinity of its sign | #qelStatusSingularity |
 * | otherwise, subnormal too | reciprocal cube root | nothing |
 *
 * @image html InvCbrt.svg
 * @{
 */
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsInvCbrt_32f_A11(const float* src, float* dst, int32_t length);
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsInvCbrt_32f_A21(const float* src, float* dst, int32_t length);
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsInvCbrt_32f_A24(const float* src, float* dst, int32_t length);
/** 0.51 ulp, proven (0.5085) */
QELVM_API QelStatus QELVM_CALL qelsInvCbrt_64f_A50(const double* src, double* dst, int32_t length);
/** 0.51 ulp, proven (0.5085) */
QELVM_API QelStatus QELVM_CALL qelsInvCbrt_64f_A53(const double* src, double* dst, int32_t length);
/** @} */

/**
 * @defgroup invsqrt InvSqrt: reciprocal square root
 *
 * `dst[i]` = 1 / the square root of `src[i]`.
 *
 * | src | result | reported |
 * |-----|--------|----------|
 * | NaN | NaN | nothing |
 * | +infinity | +0 | nothing |
 * | zero | the infinity of its sign | #qelStatusSingularity |
 * | negative, -infinity | NaN | #qelStatusDomain |
 * | otherwise, subnormal too | reciprocal square root | nothing |
 *
 * @image html InvSqrt.svg
 * @{
 */
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsInvSqrt_32f_A11(const float* src, float* dst, int32_t length);
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsInvSqrt_32f_A21(const float* src, float* dst, int32_t length);
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsInvSqrt_32f_A24(const float* src, float* dst, int32_t length);
/** 0.502 ulp, proven (0.5016) */
QELVM_API QelStatus QELVM_CALL qelsInvSqrt_64f_A50(const double* src, double* dst, int32_t length);
/** 0.502 ulp, proven (0.5016) */
QELVM_API QelStatus QELVM_CALL qelsInvSqrt_64f_A53(const double* src, double* dst, int32_t length);
/** @} */

/**
 * @defgroup ln Ln: natural logarithm
 *
 * `dst[i]` = natural logarithm of `src[i]`.
 *
 * | src | result | reported |
 * |-----|--------|----------|
 * | NaN | NaN | nothing |
 * | +infinity | +infinity | nothing |
 * | +0, -0 | -infinity | #qelStatusSingularity |
 * | negative, -infinity included | NaN | #qelStatusDomain |
 * | 1 | +0 | nothing |
 * | positive, subnormal too | the logarithm | nothing |
 *
 * @image html Ln.svg
 * @{
 */
/** 0.5000001 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsLn_32f_A11(const float* src, float* dst, int32_t length);
/** 0.5000001 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsLn_32f_A21(const float* src, float* dst, int32_t length);
/** 0.5000001 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsLn_32f_A24(const float* src, float* dst, int32_t length);
/** 1.6 ulp, proven (1.5534) */
QELVM_API QelStatus QELVM_CALL qelsLn_64f_A50(const double* src, double* dst, int32_t length);
/** 0.511 ulp, proven */
QELVM_API QelStatus QELVM_CALL qelsLn_64f_A53(const double* src, double* dst, int32_t length);
/** @} */

/**
 * @defgroup log10 Log10: decimal logarithm
 *
 * `dst[i]` = decimal logarithm of `src[i]`.
 *
 * | src | result | reported |
 * |-----|--------|----------|
 * | NaN | NaN | nothing |
 * | +infinity | +infinity | nothing |
 * | +0, -0 | -infinity | #qelStatusSingularity |
 * | negative, -infinity included | NaN | #qelStatusDomain |
 * | 1 | +0 | nothing |
 * | positive, subnormal too | the logarithm | nothing |
 *
 * @image html Log10.svg
 * @{
 */
/** 0.5000001 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsLog10_32f_A11(const float* src, float* dst, int32_t length);
/** 0.5000001 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsLog10_32f_A21(const float* src, float* dst, int32_t length);
/** 0.5000001 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsLog10_32f_A24(const float* src, float* dst, int32_t length);
/** 2.15 ulp, proven (2.1246) */
QELVM_API QelStatus QELVM_CALL qelsLog10_64f_A50(const double* src, double* dst, int32_t length);
/** 0.542 ulp, proven (0.5415) */
QELVM_API QelStatus QELVM_CALL qelsLog10_64f_A53(const double* src, double* dst, int32_t length);
/** @} */

/**
 * @defgroup pow Pow: power
 *
 * `dst[i] = src1[i]` raised to `src2[i]`. The first row that applies counts:
 *
 * | src1 | src2 | result | reported |
 * |------|------|--------|----------|
 * | 1 | anything, NaN too | 1 | nothing |
 * | anything, NaN too | +0, -0 | 1 | nothing |
 * | NaN, or anything | anything, or NaN | NaN | nothing |
 * | +0, -0 | positive | +0; -0 for -0 and an odd integer | nothing |
 * | +0, -0 | negative | +infinity; -infinity for -0 and an odd integer | #qelStatusDomain |
 * | -1 | integer, infinite | 1; -1 for an odd integer | nothing |
 * | magnitude below 1 | +infinity, -infinity | +0, +infinity | nothing |
 * | magnitude above 1 | +infinity, -infinity | +infinity, +0 | nothing |
 * | infinite | positive | infinity; negative for -infinity and an odd integer | nothing |
 * | infinite | negative | zero; -0 for -infinity and an odd integer | nothing |
 * | negative | not an integer | NaN | #qelStatusDomain |
 * | otherwise | | the power, which may be infinite, subnormal or zero | nothing |
 *
 * Overflow and underflow only raise their flags. A zero raised to a negative power raises
 * divide-by-zero and, by its report, invalid.
 *
 * @image html Pow.svg
 * @{
 */
/** 0.5000001 ulp, proven */
QELVM_API QelStatus QELVM_CALL qelsPow_32f_A11(const float* src1, const float* src2, float* dst,
                                               int32_t length);
/** 0.5000001 ulp, proven */
QELVM_API QelStatus QELVM_CALL qelsPow_32f_A21(const float* src1, const float* src2, float* dst,
                                               int32_t length);
/** 0.5000001 ulp, proven */
QELVM_API QelStatus QELVM_CALL qelsPow_32f_A24(const float* src1, const float* src2, float* dst,
                                               int32_t length);
/** 0.6 ulp, proven (0.5998) */
QELVM_API QelStatus QELVM_CALL qelsPow_64f_A50(const double* src1, const double* src2, double* dst,
                                               int32_t length);
/** 0.6 ulp, proven (0.5998) */
QELVM_API QelStatus QELVM_CALL qelsPow_64f_A53(const double* src1, const double* src2, double* dst,
                                               int32_t length);
/** @} */

/**
 * @defgroup powx Powx: power with one exponent
 *
 * `dst[i] = src[i]` raised to `power`, passed by value: the results and the statuses of `Pow` with
 * this exponent in every element.
 *
 * @image html Powx.svg
 * @{
 */
/** 0.5000001 ulp, proven */
QELVM_API QelStatus QELVM_CALL qelsPowx_32f_A11(const float* src, float power, float* dst,
                                                int32_t length);
/** 0.5000001 ulp, proven */
QELVM_API QelStatus QELVM_CALL qelsPowx_32f_A21(const float* src, float power, float* dst,
                                                int32_t length);
/** 0.5000001 ulp, proven */
QELVM_API QelStatus QELVM_CALL qelsPowx_32f_A24(const float* src, float power, float* dst,
                                                int32_t length);
/** 0.6 ulp, proven (0.5998) */
QELVM_API QelStatus QELVM_CALL qelsPowx_64f_A50(const double* src, double power, double* dst,
                                                int32_t length);
/** 0.6 ulp, proven (0.5998) */
QELVM_API QelStatus QELVM_CALL qelsPowx_64f_A53(const double* src, double power, double* dst,
                                                int32_t length);
/** @} */

/**
 * @defgroup sincos SinCos: sine and cosine
 *
 * `dstSin[i]` = the sine of `src[i]`, `dstCos[i]` = its cosine: the very results of `Sin` and `Cos`
 * of the same class, in less time than both. Reports #qelStatusDomain for infinite arguments, once
 * for each. Either destination may be the source.
 * The 64f bound is that of the cosine of two arguments, see `Cos`; at all others it is 0.541 ulp.
 *
 * | src | sine | cosine | reported |
 * |-----|------|--------|----------|
 * | NaN | NaN | NaN | nothing |
 * | infinity, of either sign | NaN | NaN | #qelStatusDomain |
 * | zero of either sign, magnitude below 2^-252 | src itself | 1 | nothing |
 * | otherwise | sine | cosine | nothing |
 *
 * @image html SinCos.svg
 * @{
 */
/** 0.5000001 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsSinCos_32f_A11(const float* src, float* dstSin, float* dstCos,
                                                  int32_t length);
/** 0.5000001 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsSinCos_32f_A21(const float* src, float* dstSin, float* dstCos,
                                                  int32_t length);
/** 0.5000001 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsSinCos_32f_A24(const float* src, float* dstSin, float* dstCos,
                                                  int32_t length);
/** 0.602 ulp, proven (0.6011) */
QELVM_API QelStatus QELVM_CALL qelsSinCos_64f_A50(const double* src, double* dstSin, double* dstCos,
                                                  int32_t length);
/** 0.602 ulp, proven (0.6011) */
QELVM_API QelStatus QELVM_CALL qelsSinCos_64f_A53(const double* src, double* dstSin, double* dstCos,
                                                  int32_t length);
/** @} */

/**
 * @defgroup sin Sin: sine
 *
 * `dst[i]` = the sine of `src[i]`, in radians. Reports #qelStatusDomain for infinite arguments.
 * The bound holds for arguments of any size: they are reduced with as many bits of pi as they need.
 *
 * | src | result | reported |
 * |-----|--------|----------|
 * | NaN | NaN | nothing |
 * | infinity, of either sign | NaN | #qelStatusDomain |
 * | zero of either sign, magnitude below 2^-252 | src itself | nothing |
 * | otherwise | sine | nothing |
 *
 * @image html Sin.svg
 * @{
 */
/** 0.5000001 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsSin_32f_A11(const float* src, float* dst, int32_t length);
/** 0.5000001 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsSin_32f_A21(const float* src, float* dst, int32_t length);
/** 0.5000001 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsSin_32f_A24(const float* src, float* dst, int32_t length);
/** 0.541 ulp, proven (0.5408) */
QELVM_API QelStatus QELVM_CALL qelsSin_64f_A50(const double* src, double* dst, int32_t length);
/** 0.541 ulp, proven (0.5408) */
QELVM_API QelStatus QELVM_CALL qelsSin_64f_A53(const double* src, double* dst, int32_t length);
/** @} */

/**
 * @defgroup sinh Sinh: hyperbolic sine
 *
 * `dst[i]` = hyperbolic sine of `src[i]`. The result for -x is exactly minus the
 * result for x. The first magnitude that overflows is 710.475860073944 (32f: 89.4159927368164).
 *
 * | src | result | reported |
 * |-----|--------|----------|
 * | NaN | NaN | nothing |
 * | infinity | src itself | nothing |
 * | magnitude below 2^-53 | src itself; 64f raises underflow where it is subnormal | nothing |
 * | from that magnitude on | infinity of its sign | #qelStatusOverflow |
 * | otherwise | the hyperbolic sine | nothing |
 *
 * @image html Sinh.svg
 * @{
 */
/** 0.5000001 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsSinh_32f_A11(const float* src, float* dst, int32_t length);
/** 0.5000001 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsSinh_32f_A21(const float* src, float* dst, int32_t length);
/** 0.5000001 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsSinh_32f_A24(const float* src, float* dst, int32_t length);
/** 2.0 ulp, proven (1.9498) */
QELVM_API QelStatus QELVM_CALL qelsSinh_64f_A50(const double* src, double* dst, int32_t length);
/** 0.52 ulp, proven (0.5199) */
QELVM_API QelStatus QELVM_CALL qelsSinh_64f_A53(const double* src, double* dst, int32_t length);
/** @} */

/**
 * @defgroup sqrt Sqrt: square root
 *
 * `dst[i]` = the square root of `src[i]`, computed without a square-root instruction; it has been
 * the correctly rounded one in every test, that is the same as an IEEE square root.
 *
 * | src | result | reported |
 * |-----|--------|----------|
 * | NaN, +infinity | NaN, +infinity | nothing |
 * | zero of either sign | src itself | nothing |
 * | negative, -infinity | NaN | #qelStatusDomain |
 * | otherwise, subnormal too | square root | nothing |
 *
 * @image html Sqrt.svg
 * @{
 */
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsSqrt_32f_A11(const float* src, float* dst, int32_t length);
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsSqrt_32f_A21(const float* src, float* dst, int32_t length);
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsSqrt_32f_A24(const float* src, float* dst, int32_t length);
/** 0.5 ulp, proven (0.5000) */
QELVM_API QelStatus QELVM_CALL qelsSqrt_64f_A50(const double* src, double* dst, int32_t length);
/** 0.5 ulp, proven (0.5000) */
QELVM_API QelStatus QELVM_CALL qelsSqrt_64f_A53(const double* src, double* dst, int32_t length);
/** @} */

/**
 * @defgroup tan Tan: tangent
 *
 * `dst[i]` = the tangent of `src[i]`, in radians. Reports #qelStatusDomain for infinite arguments.
 * The bound holds for arguments of any size, next to the poles too: they are reduced with as many
 * bits of pi as they need.
 *
 * | src | result | reported |
 * |-----|--------|----------|
 * | NaN | NaN | nothing |
 * | infinity, of either sign | NaN | #qelStatusDomain |
 * | zero of either sign, magnitude below 2^-252 | src itself | nothing |
 * | otherwise | tangent | nothing |
 *
 * @image html Tan.svg
 * @{
 */
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsTan_32f_A11(const float* src, float* dst, int32_t length);
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsTan_32f_A21(const float* src, float* dst, int32_t length);
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsTan_32f_A24(const float* src, float* dst, int32_t length);
/** 0.558 ulp, proven (0.5571) */
QELVM_API QelStatus QELVM_CALL qelsTan_64f_A50(const double* src, double* dst, int32_t length);
/** 0.558 ulp, proven (0.5571) */
QELVM_API QelStatus QELVM_CALL qelsTan_64f_A53(const double* src, double* dst, int32_t length);
/** @} */

/**
 * @defgroup tanh Tanh: hyperbolic tangent
 *
 * `dst[i]` = the hyperbolic tangent of `src[i]`. Never reports: every valid call returns
 * #qelStatusOk. The result for -x is exactly minus the result for x; from 19.0615475 on it is 1.
 * The result for an infinity is 1 with its sign, for a NaN the NaN.
 *
 * @image html Tanh.svg
 * @{
 */
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsTanh_32f_A11(const float* src, float* dst, int32_t length);
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsTanh_32f_A21(const float* src, float* dst, int32_t length);
/** 0.5 ulp, every float tried */
QELVM_API QelStatus QELVM_CALL qelsTanh_32f_A24(const float* src, float* dst, int32_t length);
/** 0.51 ulp, proven (0.5058) */
QELVM_API QelStatus QELVM_CALL qelsTanh_64f_A50(const double* src, double* dst, int32_t length);
/** 0.51 ulp, proven (0.5058) */
QELVM_API QelStatus QELVM_CALL qelsTanh_64f_A53(const double* src, double* dst, int32_t length);
/** @} */

/**
 * @defgroup version Version query
 * @{
 */
/** The version record of the loaded library: the same pointer on every call; do not free it. */
QELVM_API const QelLibVersion* QELVM_CALL qelvmGetLibVersion(void);
/** @} */

#ifdef __cplusplus
}
#endif

#endif
#endif
