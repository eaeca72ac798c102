// SPDX-License-Identifier: MIT
// Names of values, from 0 up: the same on the pages and in explanations.
#pragma once

namespace dfdctl {

inline constexpr const char *kAbsentPresent[] = {"absent", "present"};
inline constexpr const char *kOffOn[] = {"off", "on"};
inline constexpr const char *kNoYes[] = {"no", "yes"};
inline constexpr const char *kTrayStates[] = {"absent", "present", "failed", "line failed"};
inline constexpr const char *kAirflows[] = {"other", "-F", "-R"};
inline constexpr const char *kSupplyStates[] = {"absent", "present",     "?",
                                                "failed", "line failed", "failed"};
/// Of DFD_POWER_TYPE_UNKNOWN: no power_name item begins the supply's name.
inline constexpr const char *kUnknownSupply = "unknown name";
inline constexpr const char *kMasterStates[] = {"absent", "present", "master", "ready",
                                                "inconsistent"};
inline constexpr const char *kResetStates[] = {"released", "in reset"};
inline constexpr const char *kCardPowerStates[] = {"no card", "off, power is lacking", "off", "on"};

}  // namespace dfdctl
