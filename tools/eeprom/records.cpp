// SPDX-License-Identifier: MIT
// Layouts with every field at a fixed place: legacy fans, supplies and boards, the backplane
// record, plain bytes and texts.
#include <algorithm>
#include <cctype>

#include "eeprom/image.hpp"

#include <fmt/format.h>

namespace eeprom {

namespace {

std::uint8_t byte_of(Section &section, std::string_view key) {
    return static_cast<std::uint8_t>(section.required_number(key, 0, kByteMax));
}

/// A text in a field of `size` bytes, the rest filled.
Bytes fixed_text(const std::string &text, std::size_t size, std::uint8_t pad,
                 const toml::source_region &where) {
    if (text.size() > size) {
        fail(where,
             fmt::format("'{}' has {} characters, the field has {}", text, text.size(), size));
    }
    Bytes bytes(text.begin(), text.end());
    bytes.resize(size, pad);
    return bytes;
}

/// The three digits of a version "x.yz".
std::string required_digits(Section &section, std::string_view key) {
    const std::string text = section.required_text(key);
    const bool has_point = text.size() == 4 && text[1] == '.';
    const std::string digits = has_point ? text.substr(0, 1) + text.substr(2) : "";
    if (digits.empty() ||
        !std::ranges::all_of(digits, [](unsigned char c) { return std::isxdigit(c) != 0; })) {
        fail(section.where(key),
             fmt::format("'{}' is a version \"x.yz\" of hexadecimal digits", key));
    }
    return digits;
}

Bytes mac_bytes(Section &section) {
    constexpr std::size_t kMacSize = 6;
    constexpr std::size_t kMacText = 17;
    std::string text = section.required_text("mac");
    bool well_formed = text.size() == kMacText;
    for (std::size_t i = 2; well_formed && i < kMacText; i += 3) {
        well_formed = text[i] == ':';
        text[i] = ' ';
    }
    const auto bytes = parse_hex(text);
    if (!well_formed || !bytes || bytes->size() != kMacSize) {
        fail(section.where("mac"), "'mac' is six pairs of hexadecimal digits, 00:11:22:33:44:55");
    }
    return *bytes;
}

}  // namespace

void build_fan_legacy(Section &section, Image &image) {
    constexpr std::size_t kSerialSize = 13;
    const std::size_t offset = section.offset();
    Bytes bytes = {byte_of(section, "type")};
    const std::string serial = section.required_text("serial_number");
    if (serial.size() != kSerialSize) {
        fail(section.where("serial_number"), "'serial_number' has exactly 13 characters");
    }
    bytes.insert(bytes.end(), serial.begin(), serial.end());
    const std::string digits = required_digits(section, "hw_version");
    // The two digits behind the point are stored with their nibbles swapped.
    append(bytes, *parse_hex(std::string{'0', digits[0], digits[2], digits[1]}));
    image.put(offset, bytes, "the fan record", section.where());
}

void build_power_legacy(Section &section, Image &image) {
    constexpr std::size_t kNameSize = 12;
    const std::size_t name_offset = section.offset("name_offset");
    const std::size_t hw_offset =
        static_cast<std::size_t>(section.required_number("hw_version_offset", 0, kWordMax));
    const Bytes name =
        fixed_text(section.required_text("name"), kNameSize,
                   static_cast<std::uint8_t>(section.number_or("pad", ' ', 0, kByteMax)),
                   section.where("name"));
    const std::string digits = required_digits(section, "hw_version");
    image.put(name_offset, name, "the power supply name", section.where("name"));
    image.put(hw_offset, Bytes(digits.begin(), digits.end()), "the power supply version",
              section.where("hw_version"));
}

void build_board_legacy(Section &section, Image &image) {
    constexpr std::size_t kTypeByte = 3;
    constexpr std::size_t kAddendByte = 7;
    constexpr std::size_t kSubTypeByte = 64;
    const auto layout = section.required_number("layout", 1, 2);
    const std::size_t offset = section.offset();
    const std::string_view second_key = layout == 1 ? "sub_type" : "addend";
    const std::size_t second_byte = layout == 1 ? kSubTypeByte : kAddendByte;
    const std::uint8_t type = byte_of(section, "type");
    const std::uint8_t second = byte_of(section, second_key);
    const auto what = "the board record";
    // Byte 1 is what tells this layout from a TLV image.
    image.put(offset, Bytes{static_cast<std::uint8_t>(layout), 0}, what, section.where());
    image.put(offset + kTypeByte, Bytes{type}, what, section.where("type"));
    image.put(offset + second_byte, Bytes{second}, what, section.where(second_key));
}

void build_backplane(Section &section, Image &image) {
    constexpr std::size_t kHwVersionSize = 8;
    constexpr std::size_t kSerialNumberSize = 19;
    constexpr std::size_t kSerials = 4;
    constexpr std::size_t kReserved = 6;
    const std::size_t offset = section.offset();
    Bytes bytes = {byte_of(section, "chassis_type")};
    append(bytes, fixed_text(section.required_text("hw_version"), kHwVersionSize, 0,
                             section.where("hw_version")));
    append(bytes, fixed_text(section.required_text("serial_number"), kSerialNumberSize, 0,
                             section.where("serial_number")));
    append(bytes, mac_bytes(section));
    append(bytes, sized_bytes(section, "serials", kSerials));
    append(bytes, sized_bytes(section, "reserved", kReserved));
    image.put(offset, bytes, "the backplane record", section.where());
}

void build_bytes(Section &section, Image &image) {
    const std::size_t offset = section.offset();
    const auto bytes = section.bytes("values");
    if (!bytes) {
        fail(section.where(), "'values' is missing");
    }
    image.put(offset, *bytes, "[[bytes]]", section.where());
}

void build_overlay(Section &section, Image &image) {
    const std::size_t offset = section.offset();
    image.overlay(offset, section.bytes("values").value_or(Bytes()), section.where());
}

void build_plain_text(Section &section, Image &image) {
    const std::size_t offset = section.offset();
    const std::string text = section.required_text("value");
    const auto size =
        section.number_or("size", static_cast<std::int64_t>(text.size()), 0, kWordMax);
    const auto pad = static_cast<std::uint8_t>(section.number_or("pad", 0, 0, kByteMax));
    image.put(offset, fixed_text(text, static_cast<std::size_t>(size), pad, section.where("value")),
              "[[text]]", section.where());
}

}  // namespace eeprom
