// The report of an exceptional element, once its default result is stored: the flag of its status.
#pragma once

#include "qelvm.h"

#include <cstdint>

namespace qelvm {

/// One event, built on the stack of reportElementError. Only `status` is read; the rest is formed
/// so that another handler could take raiseFloatingException's place and no kernel would change.
struct QelErrorReport {
  QelStatus status;
  std::int32_t elementIndex;
  unsigned char reserved[32]; // left unset
  char reportText[64];
  std::int32_t reportTextLength; // without the NUL
};

/// What goes before and after the name of the reporting export: nothing.
inline constexpr char reportTextPrefix[1] = {};
inline constexpr char reportTextSuffix[1] = {};

/// Joins at most 8 characters of the prefix, 64 of the name and 8 of the suffix, and a NUL. Returns
/// the number of characters without the NUL; `destination` has room for 81.
std::int32_t joinReportText(const char* prefix, const char* name, const char* suffix,
                            char* destination) noexcept;

/// Performs the one double operation that raises the flag of `report.status`: overflow (12),
/// underflow (17), divide-by-zero (18), invalid (19); nothing for any other status.
void raiseFloatingException(const QelErrorReport& report) noexcept;

/// Reports element `elementIndex`. The four pointers are the call's arrays (an only source or
/// destination stands twice); nothing is read through them.
void reportElementError(QelStatus status, std::int32_t elementIndex, const void* firstSource,
                        const void* secondSource, const void* firstDestination,
                        const void* secondDestination, const char* nameSlot) noexcept;

} // namespace qelvm
