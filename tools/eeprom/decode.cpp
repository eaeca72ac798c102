// SPDX-License-Identifier: MIT
#include "eeprom/decode.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <numeric>

#include "eeprom/fru_shape.hpp"
#include "eeprom/parts.hpp"
#include "hal/facts.h"

#include <fmt/format.h>

namespace eeprom {

namespace {

constexpr std::array<std::string_view, 7> kNames = {
    "unknown", "tlv", "fru", "fan_legacy", "power_legacy", "board_legacy", "backplane"};

bool is_printable(std::uint8_t byte) {
    return byte >= ' ' && byte <= '~';
}

bool is_all(View bytes, std::uint8_t value) {
    return std::ranges::all_of(bytes, [value](std::uint8_t byte) { return byte == value; });
}

/// The header is right, or wrong in its checksum only while a product area begins where it says.
bool looks_like_fru(View image) {
    if (image.size() < fru::kHeaderSize || image[0] != fru::kFormatVersion) {
        return false;
    }
    const View header = image.first(fru::kHeaderSize);
    if (std::accumulate(header.begin(), header.end(), 0U) % (UINT8_MAX + 1U) == 0) {
        return true;
    }
    const std::size_t area = header[fru::kAreas.back().header_byte] * fru::kBlock;
    return area != 0 && area + 1 < image.size() && image[area] == fru::kFormatVersion &&
           image[area + 1] != 0;
}

Layout layout_of(View image, Layout hint) {
    const bool has_flag = image.size() > 1 && image[1] == dfd::tlv::kFlag;
    // The library reads a TLV image also where a FRU image is expected, and tells the records of
    // old boards from it by the flag.
    const bool may_be_tlv = hint == Layout::unknown || hint == Layout::board_legacy ||
                            (hint == Layout::fru && !looks_like_fru(image));
    if (has_flag && may_be_tlv) {
        return Layout::tlv;
    }
    return hint == Layout::unknown && looks_like_fru(image) ? Layout::fru : hint;
}

void decode_as(Parts &parts, Layout layout, const Hint &hint) {
    switch (layout) {
        case Layout::tlv:
            return decode_tlv(parts);
        case Layout::fru:
            return decode_fru(parts);
        case Layout::fan_legacy:
            return decode_fan_legacy(parts);
        case Layout::power_legacy:
            return decode_power_legacy(parts, hint);
        case Layout::board_legacy:
            return decode_board_legacy(parts);
        case Layout::backplane:
            return decode_backplane(parts);
        case Layout::unknown:
            parts.broken(0, "neither a TLV nor a FRU image begins here");
    }
}

}  // namespace

std::string_view layout_name(Layout layout) {
    return kNames[static_cast<std::size_t>(layout)];
}

std::optional<Layout> layout_named(std::string_view name) {
    const auto *found = std::ranges::find(kNames, name);
    const auto place = static_cast<std::size_t>(found - kNames.begin());
    return place == 0 || place == kNames.size() ? std::nullopt
                                                : std::optional(static_cast<Layout>(place));
}

std::vector<std::string_view> layout_names() {
    return {kNames.begin() + 1, kNames.end()};
}

const Field *Decoded::field(std::string_view name) const {
    const auto found = std::ranges::find(fields, name, &Field::name);
    return found == fields.end() ? nullptr : &*found;
}

Decoded decode(const Bytes &image, const Hint &hint) {
    Decoded out;
    Parts parts{.image = image, .out = out};
    for (const std::uint8_t value : {std::uint8_t{UINT8_MAX}, std::uint8_t{0}}) {
        out.is_blank = out.is_blank || is_all(image, value);
    }
    if (out.is_blank) {
        parts.broken(0, image.empty() ? std::string("empty")
                                      : fmt::format("blank: all bytes are 0x{:02x}", image[0]));
    } else {
        out.layout = layout_of(image, hint.layout);
        decode_as(parts, out.layout, hint);
    }
    std::ranges::stable_sort(out.faults, {}, &Fault::offset);
    out.description = describe(parts);
    return out;
}

std::vector<Layout> layouts_behind(Layout expected) {
    switch (expected) {
        case Layout::unknown:
            return {Layout::tlv, Layout::fru};
        case Layout::board_legacy:
            return {Layout::tlv, Layout::board_legacy};
        default:
            return {expected};
    }
}

std::optional<std::string> ascii_text(View bytes) {
    if (!std::ranges::all_of(bytes, is_printable)) {
        return std::nullopt;
    }
    return std::string(bytes.begin(), bytes.end());
}

std::optional<std::string> padded_text(View bytes) {
    while (!bytes.empty() && bytes.back() == 0) {
        bytes = bytes.first(bytes.size() - 1);
    }
    return ascii_text(bytes);
}

std::string toml_text(std::string_view text) {
    constexpr unsigned kSixBits = 0x3F;
    std::string out = "\"";
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<std::uint8_t>(text[i]);
        if (byte == '"' || byte == '\\') {
            out += fmt::format("\\{}", text[i]);
        } else if (is_printable(byte)) {
            out += text[i];
        } else {
            // Texts of images are Latin 1: two bytes of UTF-8.
            const unsigned next = ++i < text.size() ? static_cast<std::uint8_t>(text[i]) : 0U;
            out += fmt::format("\\u{:04x}", (byte & kSixBits) << 6U | (next & kSixBits));
        }
    }
    return out + '"';
}

std::vector<Difference> differences(const Bytes &before, const Bytes &after) {
    std::vector<Difference> found;
    bool is_open = false;
    for (std::size_t i = 0; i < std::max(before.size(), after.size()); ++i) {
        const bool in_both = i < before.size() && i < after.size();
        if (in_both && before[i] == after[i]) {
            is_open = false;
            continue;
        }
        if (!is_open) {
            found.push_back({i, {}, {}});
        }
        is_open = true;
        if (i < before.size()) {
            found.back().before.push_back(before[i]);
        }
        if (i < after.size()) {
            found.back().after.push_back(after[i]);
        }
    }
    return found;
}

}  // namespace eeprom
