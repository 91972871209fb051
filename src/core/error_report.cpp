#include "core/error_report.hpp"

#include "core/floating_point.hpp"

namespace qelvm {

std::int32_t joinReportText(const char* prefix, const char* name, const char* suffix,
                            char* destination) noexcept {
  std::int32_t length = 0;
  const auto append = [&](const char* text, std::int32_t most) {
    for (std::int32_t i = 0; i < most && text[i] != '\0'; ++i)
      destination[length++] = text[i];
  };
  append(prefix, 8);
  append(name, 64);
  append(suffix, 8);
  destination[length] = '\0';
  return length;
}

namespace {

#ifdef __i386__
// The same in the x87 unit, whose status word is all that some callers of 32-bit code read. Its
// registers have a wider exponent: a double overflows or underflows at the store. The fwait lets an
// exception that the caller has unmasked trap here.
void multiplyInX87(double x) {
  double discarded;
  asm volatile("fldl %1\n\tfmull %1\n\tfstpl %0\n\tfwait" : "=m"(discarded) : "m"(x) : "st");
}
void divideByZeroInX87(double x) {
  double discarded;
  const double zero = 0.0;
  asm volatile("fldl %1\n\tfdivl %2\n\tfstpl %0\n\tfwait"
               : "=m"(discarded)
               : "m"(x), "m"(zero)
               : "st");
}
#else
// Elsewhere there is one unit.
void multiplyInX87(double) {}
void divideByZeroInX87(double) {}
#endif

} // namespace

void raiseFloatingException(const QelErrorReport& report) noexcept {
  // The volatile store is the rounding to a double, and keeps the operation.
  [[maybe_unused]] volatile double discarded;
  switch (report.status) {
  case qelStatusDomain:
    discarded = invalid();
    divideByZeroInX87(0.0);
    break;
  case qelStatusSingularity:
    discarded = dividedByZero(1.0);
    divideByZeroInX87(1.0);
    break;
  case qelStatusOverflow:
    discarded = overflowed();
    multiplyInX87(largestDouble);
    break;
  case qelStatusUnderflow:
    discarded = underflowed();
    multiplyInX87(tinyDouble);
    break;
  default:
    break;
  }
}

void reportElementError(QelStatus status, std::int32_t elementIndex, const void* /*firstSource*/,
                        const void* /*secondSource*/, const void* /*firstDestination*/,
                        const void* /*secondDestination*/, const char* nameSlot) noexcept {
  QelErrorReport report;
  report.status = status;
  report.elementIndex = elementIndex;
  report.reportTextLength =
      joinReportText(reportTextPrefix, nameSlot, reportTextSuffix, report.reportText);
  raiseFloatingException(report);
}

} // namespace qelvm
