// SPDX-License-Identifier: MIT
// Shape of a FRU image, for building and for decoding.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace eeprom::fru {

constexpr std::size_t kBlock = 8;
constexpr std::size_t kHeaderSize = 8;
constexpr std::size_t kAreaLengthByte = 1;
constexpr std::uint8_t kFormatVersion = 1;
constexpr std::uint8_t kEndMark = 0xC1;
constexpr std::size_t kMaxField = 63;
constexpr int kCodeShift = 6;
constexpr std::int64_t kEnglish = 25;
constexpr std::size_t kDateSize = 3;

enum class Code : std::uint8_t { binary = 0, bcd_plus = 1, six_bit = 2, text = 3 };
inline constexpr std::array<std::string_view, 4> kCodeNames = {"binary", "bcd_plus", "six_bit",
                                                               "text"};

/// Two digits a byte, the first in the high nibble.
inline constexpr std::string_view kBcdDigits = "0123456789 -.";
/// Characters of six bits begin here, the first in the lowest bits.
constexpr char kSixBitFirst = ' ';
constexpr int kSixBits = 6;

inline constexpr std::array<std::string_view, 2> kChassisFields = {"part_number", "serial_number"};
inline constexpr std::array<std::string_view, 5> kBoardFields = {
    "manufacturer", "product_name", "serial_number", "part_number", "fru_file_id"};
inline constexpr std::array<std::string_view, 7> kProductFields = {
    "manufacturer",  "product_name", "part_number", "product_version",
    "serial_number", "asset_tag",    "fru_file_id"};

/// An info area that consists of fields.
struct Area {
    std::string_view key;  ///< of its table in [[fru]]; empty: the keys of [[fru]] itself
    std::string_view what;
    std::size_t header_byte;      ///< that holds its offset in blocks
    std::string_view second_key;  ///< what byte 2 is: a language or a chassis type
    std::int64_t second_default;
    bool has_date;
    std::span<const std::string_view> fields;

    constexpr std::size_t fields_at() const { return has_date ? 3 + kDateSize : 3; }
};

inline constexpr std::array kAreas = {
    Area{"chassis", "the FRU chassis info area", 2, "type", 0, false, kChassisFields},
    Area{"board", "the FRU board info area", 3, "language", kEnglish, true, kBoardFields},
    Area{"", "the FRU product info area", 4, "language", kEnglish, false, kProductFields},
};
/// "board.serial_number", "custom 1" behind the fields that have names.
std::string field_name(const Area &area, std::size_t index);

constexpr std::size_t kInternalByte = 1;
constexpr std::size_t kMultirecordByte = 5;

}  // namespace eeprom::fru
