// SPDX-License-Identifier: MIT
// Layouts with every field at a fixed place. None has a checksum: a fault is what a field cannot
// say.
#include <algorithm>
#include <cctype>

#include "eeprom/parts.hpp"

#include <fmt/format.h>

namespace eeprom {

namespace {

/// Whether the memory is large enough for the record.
bool fits(Parts &parts, std::size_t size, const char *what) {
    if (parts.image.size() < size) {
        parts.broken(parts.image.size(), fmt::format("the memory ends inside {}", what));
        return false;
    }
    return true;
}

void number(Parts &parts, std::size_t at, const char *name) {
    parts.out.fields.push_back({name, at, 1, "", fmt::to_string(parts.image[at])});
    parts.line(fmt::format("{} = {}", name, parts.image[at]));
}

/// A text field; `shown` is nothing where its bytes are none.
void text(Parts &parts, std::size_t at, std::size_t size, const char *name,
          const std::optional<std::string> &shown) {
    const View bytes = parts.image.subspan(at, size);
    if (!shown) {
        const bool is_erased =
            std::ranges::count(bytes, UINT8_MAX) == static_cast<std::ptrdiff_t>(bytes.size());
        parts.broken(at, fmt::format("{} is {}", name, is_erased ? "blank" : "not text"));
    }
    parts.out.fields.push_back(
        {name, at, size, "", shown ? *shown : hex_text(bytes), shown.has_value()});
    parts.line(fmt::format("{} = {}", name, shown ? toml_text(*shown) : "\"\""));
}

std::optional<std::string> without_blanks(std::optional<std::string> padded) {
    if (padded) {
        padded->erase(padded->find_last_not_of(' ') + 1);
    }
    return padded;
}

/// "205" as "2.05".
std::optional<std::string> version_text(View digits) {
    if (!std::ranges::all_of(digits, [](unsigned char c) { return std::isxdigit(c) != 0; })) {
        return std::nullopt;
    }
    return fmt::format("{:c}.{:c}{:c}", digits[0], digits[1], digits[2]);
}

}  // namespace

void decode_fan_legacy(Parts &parts) {
    constexpr std::size_t kSerialAt = 1;
    constexpr std::size_t kSerialSize = 13;
    constexpr std::size_t kMajorAt = 14;
    constexpr std::size_t kSize = 16;
    if (!fits(parts, kSize, "the fan record")) {
        return;
    }
    parts.line("[[fan_legacy]]");
    number(parts, 0, "type");
    text(parts, kSerialAt, kSerialSize, "serial_number",
         ascii_text(parts.image.subspan(kSerialAt, kSerialSize)));
    const std::uint8_t major = parts.image[kMajorAt];
    const std::uint8_t minor = parts.image[kMajorAt + 1];
    // The digits behind the point are stored with the first one in the low four bits.
    const std::string version =
        fmt::format("{:x}.{:x}{:x}", major, minor & kLowNibble, minor >> kNibbleBits);
    text(parts, kMajorAt, 2, "hw_version",
         major <= kLowNibble ? std::optional(version) : std::nullopt);
}

void decode_power_legacy(Parts &parts, const Hint &hint) {
    constexpr std::size_t kNameSize = 12;
    constexpr std::size_t kVersionSize = 3;
    const std::size_t name_at = hint.name_offset.value_or(0);
    parts.line("[[power_legacy]]");
    if (!hint.version_offset) {
        parts.broken(0, "where the version of the legacy layout of supplies stands is not known");
        return;
    }
    const std::size_t version_at = *hint.version_offset;
    if (!fits(parts, name_at + kNameSize, "the name") ||
        !fits(parts, version_at + kVersionSize, "the version")) {
        return;
    }
    parts.line(fmt::format("name_offset = 0x{:02x}", name_at));
    const View name = parts.image.subspan(name_at, kNameSize);
    if (name.back() == 0) {
        parts.line("pad = 0");
        text(parts, name_at, kNameSize, "name", padded_text(name));
    } else {
        text(parts, name_at, kNameSize, "name", without_blanks(ascii_text(name)));
    }
    parts.line(fmt::format("hw_version_offset = 0x{:02x}", version_at));
    text(parts, version_at, kVersionSize, "hw_version",
         version_text(parts.image.subspan(version_at, kVersionSize)));
}

void decode_board_legacy(Parts &parts) {
    constexpr std::size_t kTypeByte = 3;
    constexpr std::size_t kAddendByte = 7;
    constexpr std::size_t kSubTypeByte = 64;
    if (!fits(parts, kSubTypeByte + 1, "the board record")) {
        return;
    }
    parts.line("[[board_legacy]]");
    number(parts, 0, "layout");
    parts.out.fields.back().can_set = false;  // the other layout has another field
    number(parts, kTypeByte, "type");
    if (parts.image[0] == 1) {
        number(parts, kSubTypeByte, "sub_type");
    } else if (parts.image[0] == 2) {
        number(parts, kAddendByte, "addend");
    } else {
        parts.broken(0, fmt::format("there is no layout {} of boards", parts.image[0]));
    }
}

void decode_backplane(Parts &parts) {
    constexpr std::size_t kVersionAt = 1;
    constexpr std::size_t kVersionSize = 8;
    constexpr std::size_t kSerialAt = 9;
    constexpr std::size_t kSerialSize = 19;
    constexpr std::size_t kMacAt = 28;
    constexpr std::size_t kMacSize = 6;
    constexpr std::size_t kSerialsAt = 34;
    constexpr std::size_t kSerials = 4;
    constexpr std::size_t kSize = 44;
    if (!fits(parts, kSize, "the backplane record")) {
        return;
    }
    const auto part = [&](std::size_t at, std::size_t size) {
        return parts.image.subspan(at, size);
    };
    parts.line("[[backplane]]");
    number(parts, 0, "chassis_type");
    text(parts, kVersionAt, kVersionSize, "hw_version",
         padded_text(part(kVersionAt, kVersionSize)));
    text(parts, kSerialAt, kSerialSize, "serial_number", padded_text(part(kSerialAt, kSerialSize)));
    text(parts, kMacAt, kMacSize, "mac", hex_text(part(kMacAt, kMacSize), ':'));
    const View serials = part(kSerialsAt, kSerials);
    parts.out.fields.push_back({.name = "serials",
                                .offset = kSerialsAt,
                                .size = kSerials,
                                .code = "",
                                .text = dfd_tools::joined(serials, " "),
                                .can_set = false});
    parts.line(fmt::format("serials = [{}]", dfd_tools::joined(serials, ", ")));
    const View reserved = part(kSerialsAt + kSerials, kSize - kSerialsAt - kSerials);
    parts.line(fmt::format("reserved = \"{}\"", hex_text(reserved)));
}

}  // namespace eeprom
