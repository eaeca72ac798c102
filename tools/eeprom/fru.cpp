// SPDX-License-Identifier: MIT
// FRU image: common header and product info area, in blocks of 8 bytes with zero checksums.
#include <array>
#include <numeric>

#include "common/nearest.hpp"
#include "eeprom/image.hpp"

#include <fmt/format.h>

namespace eeprom {

namespace {

constexpr std::size_t kBlock = 8;
constexpr std::size_t kHeaderSize = 8;
constexpr std::size_t kProductOffsetByte = 4;
constexpr std::size_t kAreaLengthByte = 1;
constexpr std::int64_t kEnglish = 25;
constexpr std::uint8_t kFormatVersion = 1;
constexpr std::uint8_t kEndMark = 0xC1;
constexpr std::size_t kMaxField = 63;
constexpr int kCodeShift = 6;

enum class Code : std::uint8_t { binary = 0, bcd_plus = 1, six_bit = 2, text = 3 };
constexpr std::array<std::string_view, 4> kCodeNames = {"binary", "bcd_plus", "six_bit", "text"};

constexpr std::array<std::string_view, 7> kFields = {
    "manufacturer",  "product_name", "part_number", "product_version",
    "serial_number", "asset_tag",    "fru_file_id"};

/// Two digits a byte, the first in the high nibble; a blank fills an odd end.
Bytes encode_bcd_plus(std::string text, const toml::source_region &where) {
    constexpr std::string_view kDigits = "0123456789 -.";
    constexpr int kNibble = 4;
    if (text.size() % 2 != 0) {
        text += ' ';
    }
    Bytes bytes;
    for (std::size_t i = 0; i < text.size(); i += 2) {
        const std::size_t high = kDigits.find(text[i]);
        const std::size_t low = kDigits.find(text[i + 1]);
        if (high == std::string_view::npos || low == std::string_view::npos) {
            fail(where, "a bcd_plus field holds digits, blanks, '-' and '.' only");
        }
        bytes.push_back(static_cast<std::uint8_t>(high << kNibble | low));
    }
    return bytes;
}

/// Characters from blank to underscore, six bits each, the first in the lowest bits.
Bytes encode_six_bit(const std::string &text, const toml::source_region &where) {
    constexpr int kBits = 6;
    constexpr int kByteBits = 8;
    Bytes bytes;
    unsigned pending = 0;
    int count = 0;
    for (const char c : text) {
        if (c < ' ' || c > '_') {
            fail(where, "a six_bit field holds characters from blank to '_' only (no lower case)");
        }
        pending |= static_cast<unsigned>(c - ' ') << count;
        for (count += kBits; count >= kByteBits; count -= kByteBits) {
            bytes.push_back(static_cast<std::uint8_t>(pending & kByteMax));
            pending >>= kByteBits;
        }
    }
    if (count > 0) {
        bytes.push_back(static_cast<std::uint8_t>(pending));
    }
    return bytes;
}

Code field_code(Section &field) {
    const auto name = field.text("code");
    for (std::size_t i = 0; name && i < kCodeNames.size(); ++i) {
        if (kCodeNames[i] == *name) {
            return static_cast<Code>(i);
        }
    }
    if (name) {
        fail(field.where("code"),
             fmt::format("unknown code '{}'{}", *name, dfd_tools::did_you_mean(*name, kCodeNames)));
    }
    return Code::text;
}

Bytes encode_text(const std::string &text, Code code, const toml::source_region &where) {
    switch (code) {
        case Code::bcd_plus:
            return encode_bcd_plus(text, where);
        case Code::six_bit:
            return encode_six_bit(text, where);
        default:
            return {text.begin(), text.end()};
    }
}

/// Type/length byte and data.
Bytes with_type_length(const Bytes &data, Code code, const toml::source_region &where) {
    if (data.size() > kMaxField) {
        fail(where,
             fmt::format("a field has at most {} bytes, this one {}", kMaxField, data.size()));
    }
    const auto head = static_cast<std::uint8_t>(static_cast<unsigned>(code) << kCodeShift |
                                                static_cast<unsigned>(data.size()));
    if (head == kEndMark) {
        fail(where,
             "a text of one character would read as the end of the fields: write it as "
             "{ text = \"...\", code = \"binary\" }");
    }
    Bytes bytes = {head};
    append(bytes, data);
    return bytes;
}

/// A field is a text in quotes, or a table { text or bytes, code }.
Bytes field_bytes(const toml::node &node) {
    if (node.is_string()) {
        const auto text = node.value_or(std::string());
        return with_type_length({text.begin(), text.end()}, Code::text, node.source());
    }
    if (!node.is_table()) {
        fail(node.source(), "a field is a text in quotes or { text = ..., code = ... }");
    }
    Section field(*node.as_table());
    const auto raw = field.bytes("bytes");
    const auto text = field.text("text");
    const Code code = field_code(field);
    field.finish();
    if (raw.has_value() == text.has_value()) {
        fail(node.source(), "a field has either 'text' or 'bytes'");
    }
    return with_type_length(raw ? *raw : encode_text(*text, code, node.source()), code,
                            node.source());
}

Bytes custom_fields(Section &section) {
    const toml::node *node = section.node("custom");
    Bytes bytes;
    if (node == nullptr) {
        return bytes;
    }
    if (!node->is_array()) {
        fail(node->source(), "'custom' is an array of fields");
    }
    for (const toml::node &element : *node->as_array()) {
        append(bytes, field_bytes(element));
    }
    return bytes;
}

std::uint8_t zero_checksum(std::span<const std::uint8_t> bytes) {
    return static_cast<std::uint8_t>(0U - std::accumulate(bytes.begin(), bytes.end(), 0U));
}

/// Pads the area to whole blocks (or to area_size), fills in its length and its checksum.
void close_area(Bytes &area, Section &section) {
    const std::size_t needed = (area.size() + 1 + kBlock - 1) / kBlock * kBlock;
    const auto wanted = section.number("area_size", 0, kByteMax * std::int64_t{kBlock});
    if (wanted &&
        (*wanted % std::int64_t{kBlock} != 0 || static_cast<std::size_t>(*wanted) < needed)) {
        fail(section.where("area_size"),
             fmt::format("'area_size' is a multiple of {} of at least {}", kBlock, needed));
    }
    const std::size_t size = wanted ? static_cast<std::size_t>(*wanted) : needed;
    const auto blocks =
        section.number_or("area_length", static_cast<std::int64_t>(size / kBlock), 0, kByteMax);
    area[kAreaLengthByte] = static_cast<std::uint8_t>(blocks);
    area.resize(size - 1);
    area.push_back(zero_checksum(area));
    area.back() = static_cast<std::uint8_t>(area.back() + section.flag("spoil_area_checksum"));
}

Bytes product_area(Section &section) {
    Bytes area = {kFormatVersion, 0,
                  static_cast<std::uint8_t>(section.number_or("language", kEnglish, 0, kByteMax))};
    for (const std::string_view name : kFields) {
        const toml::node *node = section.node(name);
        append(area, node != nullptr ? field_bytes(*node)
                                     : with_type_length({}, Code::text, section.where()));
    }
    append(area, custom_fields(section));
    area.push_back(kEndMark);
    close_area(area, section);
    return area;
}

}  // namespace

void build_fru(Section &section, Image &image) {
    const auto offset = section.offset();
    const auto start = section.number_or("product_offset", kHeaderSize, kHeaderSize,
                                         kByteMax * std::int64_t{kBlock});
    if (start % std::int64_t{kBlock} != 0) {
        fail(section.where("product_offset"), "'product_offset' is a multiple of 8");
    }
    Bytes header(kHeaderSize);
    header[0] = kFormatVersion;
    header[kProductOffsetByte] = static_cast<std::uint8_t>(start / std::int64_t{kBlock});
    header.back() = zero_checksum(header);
    header.back() =
        static_cast<std::uint8_t>(header.back() + section.flag("spoil_header_checksum"));
    image.put(offset, header, "the FRU common header", section.where());
    image.put(offset + static_cast<std::size_t>(start), product_area(section),
              "the FRU product info area", section.where());
}

}  // namespace eeprom
