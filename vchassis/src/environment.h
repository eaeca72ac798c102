// SPDX-License-Identifier: MIT
// What the launcher tells the preload library.
#pragma once

namespace vchassis {

inline constexpr const char *kDirVariable = "VCHASSIS_DIR";
inline constexpr const char *kStateVariable = "VCHASSIS_STATE";
inline constexpr const char *kTraceVariable = "VCHASSIS_TRACE";
inline constexpr const char *kRealTimeVariable = "VCHASSIS_REAL_TIME";
// "N:SIGNAL", both numbers: the signal comes before the Nth access to a device.
inline constexpr const char *kSignalAtVariable = "VCHASSIS_SIGNAL_AT";
// As the value of kTraceVariable, instead of a file name.
inline constexpr const char *kTraceToStderr = "-";

// Exit status of a command that could not be put on the chassis; far from what commands return.
inline constexpr int kExitUnusable = 125;

}  // namespace vchassis
