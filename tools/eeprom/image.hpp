// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "eeprom/text.hpp"

namespace eeprom {

constexpr std::size_t kEepromSize = 256;

/// The bytes of a memory into which layouts are placed; no byte may be placed twice.
class Image {
  public:
    Image(std::size_t size, std::uint8_t fill);

    /// Places bytes; what and where name the culprit when they overlap or do not fit.
    void put(std::size_t offset, std::span<const std::uint8_t> bytes, std::string_view what,
             const toml::source_region &where);

    const Bytes &bytes() const { return bytes_; }

  private:
    Bytes bytes_;
    std::vector<std::string> owner_;  ///< what placed each byte; empty for filled ones
};

/// The layouts; each takes its section of the description and places its bytes.
void build_tlv(Section &section, Image &image);
void build_fru(Section &section, Image &image);
void build_fan_legacy(Section &section, Image &image);
void build_power_legacy(Section &section, Image &image);
void build_board_legacy(Section &section, Image &image);
void build_backplane(Section &section, Image &image);
void build_bytes(Section &section, Image &image);
void build_text(Section &section, Image &image);

}  // namespace eeprom
