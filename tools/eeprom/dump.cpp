// SPDX-License-Identifier: MIT
#include "eeprom/build.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <numeric>
#include <span>

#include "hal/facts.h"

#include <fmt/format.h>

namespace eeprom {

namespace {

using View = std::span<const std::uint8_t>;

constexpr std::size_t kRow = 16;
constexpr std::uint8_t kFruEnd = 0xC1;
constexpr std::size_t kFruBlock = 8;
constexpr unsigned kByteValues = 256;

std::string printable(View bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text += std::isprint(byte) != 0 ? static_cast<char>(byte) : '.';
    }
    return text;
}

std::string hex_rows(View bytes) {
    std::string rows;
    for (std::size_t at = 0; at < bytes.size(); at += kRow) {
        const View row = bytes.subspan(at, std::min(kRow, bytes.size() - at));
        std::string hex;
        for (const std::uint8_t byte : row) {
            hex += fmt::format(" {:02x}", byte);
        }
        rows += fmt::format("{:04x} {:<48}  {}\n", at, hex, printable(row));
    }
    return rows;
}

unsigned sum(View bytes) {
    return std::accumulate(bytes.begin(), bytes.end(), 0U);
}

std::string_view tlv_type_name(std::uint8_t type) {
    switch (type) {
        case 2:
            return "product name";
        case 3:
            return "serial number";
        case 5:
            return "hardware version";
        case 6:
            return "device type";
        default:
            return "other";
    }
}

std::string tlv_entries(View data) {
    std::string text;
    for (std::size_t at = 0; at < data.size();) {
        if (data.size() - at < 2 || data.size() - at - 2 < data[at + 1]) {
            return text + "  the last entry runs past the data area\n";
        }
        const View value = data.subspan(at + 2, data[at + 1]);
        text += fmt::format("  entry {} ({}), {} bytes: \"{}\"\n", data[at],
                            tlv_type_name(data[at]), value.size(), printable(value));
        at += 2 + value.size();
    }
    return text;
}

std::string describe_tlv(View bytes) {
    const bool is_short = bytes[0] == 1;
    const std::size_t header = is_short ? 6 : 10;
    const std::size_t length = bytes[header - 2] * kByteValues + bytes[header - 1];
    std::string text = fmt::format("TLV image, version {}, header version {}.{}0, device type {}\n",
                                   bytes[0], bytes[2] >> 4U, bytes[2] & 0xFU, bytes[3]);
    if (header + length + 2 > bytes.size()) {
        return text + fmt::format("  data length {} does not fit the memory\n", length);
    }
    text += tlv_entries(bytes.subspan(header, length));
    const unsigned stored = bytes[header + length] * kByteValues + bytes[header + length + 1];
    const unsigned computed = sum(bytes.first(header + length));
    return text +
           fmt::format("  checksum 0x{:04x}, {}\n", stored,
                       stored == computed ? "right" : fmt::format("should be 0x{:04x}", computed));
}

std::string fru_fields(View area) {
    constexpr std::array<std::string_view, 7> kNames = {
        "manufacturer",  "product name", "part number", "product version",
        "serial number", "asset tag",    "FRU file id"};
    constexpr std::uint8_t kLengthMask = 0x3F;
    constexpr int kCodeShift = 6;
    std::string text;
    std::size_t at = 3;
    for (std::size_t i = 0; at < area.size() && area[at] != kFruEnd; ++i) {
        const std::size_t length = area[at] & kLengthMask;
        if (at + 1 + length > area.size()) {
            return text + "  the last field runs past the area\n";
        }
        text += fmt::format("  {}, code {}, {} bytes: \"{}\"\n",
                            i < kNames.size() ? kNames[i] : "custom", area[at] >> kCodeShift,
                            length, printable(area.subspan(at + 1, length)));
        at += 1 + length;
    }
    return text;
}

std::string verdict(View bytes) {
    return sum(bytes) % kByteValues == 0 ? "right" : "wrong";
}

std::string describe_fru(View bytes) {
    const std::size_t start = bytes[4] * kFruBlock;
    std::string text =
        fmt::format("FRU image, header checksum {}\n", verdict(bytes.first(kFruBlock)));
    if (start == 0 || start + 1 >= bytes.size() ||
        start + bytes[start + 1] * kFruBlock > bytes.size()) {
        return text + "  no product info area inside the memory\n";
    }
    const View area = bytes.subspan(start, bytes[start + 1] * kFruBlock);
    return text + fmt::format("  product info area at byte {}, {} bytes\n", start, area.size()) +
           fru_fields(area) + fmt::format("  checksum {}\n", verdict(area));
}

}  // namespace

std::string describe_image(const Bytes &bytes) {
    constexpr std::size_t kSmallest = 16;
    const View view(bytes);
    std::string text = hex_rows(view);
    if (view.size() < kSmallest) {
        return text;
    }
    if (view[1] == dfd::tlv::kFlag) {
        return text + describe_tlv(view);
    }
    if (view[0] == 1 && sum(view.first(kFruBlock)) % kByteValues == 0) {
        return text + describe_fru(view);
    }
    return text + "no TLV or FRU image\n";
}

}  // namespace eeprom
