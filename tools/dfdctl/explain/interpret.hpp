// SPDX-License-Identifier: MIT
// The engine's way from bytes to a number, and back, step by step.
#pragma once

#include <dfd/records.h>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace dfdctl::explain {

struct Step {
    std::string what;   ///< "inverted"
    std::string value;  ///< "0xfd"
};

struct Interpretation {
    std::vector<Step> steps;
    /// What the engine makes of it; empty where the caller's own conversion comes last.
    std::optional<std::int64_t> value;
};

/// Bytes that were read for an integer of an item.
Interpretation interpret_read(const info_ctrl_t &record, std::span<const std::uint8_t> bytes,
                              bool has_processor);

/// A number on its way into a register, up to the bits that are written.
Interpretation interpret_write(const info_ctrl_t &record, std::uint32_t value);

/// "fd 03", in brackets what of it can be printed, if anything can.
std::string bytes_text(std::span<const std::uint8_t> bytes);

}  // namespace dfdctl::explain
