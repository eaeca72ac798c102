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

    /// Replaces bytes, whoever placed them.
    void overlay(std::size_t offset, std::span<const std::uint8_t> bytes,
                 const toml::source_region &where);

    const Bytes &bytes() const { return bytes_; }
    bool is_placed(std::size_t offset) const { return !owner_[offset].empty(); }

  private:
    void check_place(std::size_t offset, std::size_t size, std::string_view what,
                     const toml::source_region &where) const;

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
void build_plain_text(Section &section, Image &image);
void build_overlay(Section &section, Image &image);

/// The image of a description. Throws Error.
Image build_table(const toml::table &root);
Image image_of_text(const std::string &text);

}  // namespace eeprom
