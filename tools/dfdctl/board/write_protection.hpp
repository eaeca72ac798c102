// SPDX-License-Identifier: MIT
// The write-protect signals of EEPROMs, in the groups that the library switches.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

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

/// Whether the signal lets write; nothing where it cannot be read.
std::optional<bool> is_lifted(const Item &signal);

/// What protects and what lets write.
inline constexpr std::uint32_t kProtected = 255;
inline constexpr std::uint32_t kUnprotected = 0;

std::span<const ProtectionGroup> protection_groups();

/// A signal as it was found.
struct FoundSignal {
    Item signal;
    std::string unit;
    Reading byte;
};

/// What protects a unit (from 1) of a group, as it is now: its own signal, or all of the group
/// where it has none.
std::vector<FoundSignal> find_protection(int target, std::uint32_t unit);
/// A signal that was found some time ago.
FoundSignal found_before(std::uint32_t index, const Reading &byte);

/// What does not read as it was found: "fan tray 2 (/dev/cpld0 register 0x1a is 0x00, was 0xff)";
/// empty where all does.
std::string changed_protection(std::span<const FoundSignal> found);
/// Writes what was found; what could not be read is protected, the safe side. Returns what still
/// reads otherwise, as changed_protection.
std::string put_back(std::span<const FoundSignal> found);

/// Lifts the protection while it lives, and then puts back what was found: what a user has lifted
/// stays lifted. Hold signals of the system meanwhile.
class ProtectionLifted {
  public:
    explicit ProtectionLifted(std::vector<FoundSignal> found);
    ~ProtectionLifted() { dfdctl::put_back(found_); }
    ProtectionLifted(const ProtectionLifted &) = delete;
    ProtectionLifted &operator=(const ProtectionLifted &) = delete;

    /// What still protects: "fan tray 2 (/dev/cpld0 register 0x1a is 0xff, not 0x00)"; empty where
    /// nothing does.
    std::string obstacle() const;
    /// As the function of this name.
    std::string put_back();

  private:
    std::vector<FoundSignal> found_;
};

}  // namespace dfdctl
