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

void raiseFloatingException(const QelErrorReport& report) noexcept {
  // The volatile store is the rounding to a double, and keeps the operation.
  [[maybe_unused]] volatile double discarded;
  switch (report.status) {
  case qelStatusDomain:
    discarded = invalid();
    break;
  case qelStatusSingularity:
    discarded = dividedByZero(1.0);
    break;
  case qelStatusOverflow:
    discarded = overflowed();
    break;
  case qelStatusUnderflow:
    discarded = underflowed();
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
