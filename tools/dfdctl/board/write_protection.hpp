// SPDX-License-Identifier: MIT
// The write-protect signals of EEPROMs, in the groups that the library switches.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "common/signals_held.hpp"
#include "dfdctl/board/reading.hpp"

namespace dfdctl {

struct ProtectionGroup {
    std::string_view name;  ///< as the command line knows it
    std::string_view unit;  ///< what one signal protects
    int target;             ///< enum dfd_write_protect_target
    std::uint32_t first;    ///< index of e2_write_protect
    std::uint32_t last;

    /// The signals that are configured.
    std::vector<Item> signals() const;
    /// "fan tray 2", "backplane".
    std::string unit_of(const Item &signal) const;
};

/// What protects and what lets write.
inline constexpr std::uint32_t kProtected = 255;
inline constexpr std::uint32_t kUnprotected = 0;

std::span<const ProtectionGroup> protection_groups();

/// Lifts the protection of a group while it lives, and then puts back what it found: what a user
/// has lifted stays lifted, also where a function of the library protects when it is done. Signals
/// of the system wait meanwhile.
class ProtectionLifted {
  public:
    explicit ProtectionLifted(int target);
    ~ProtectionLifted() { put_back(); }
    ProtectionLifted(const ProtectionLifted &) = delete;
    ProtectionLifted &operator=(const ProtectionLifted &) = delete;

    /// Signals that could not be put back, "fan tray 2, fan tray 3"; empty when all read as before.
    std::string put_back();

  private:
    struct Found {
        Item signal;
        std::string unit;
        Reading byte;
    };

    dfd_tools::SignalsHeld held_;
    std::vector<Found> found_;
};

}  // namespace dfdctl
