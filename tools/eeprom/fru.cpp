// SPDX-License-Identifier: MIT
// FRU image: common header and info areas, in blocks of 8 bytes with zero checksums.
#include <array>
#include <numeric>

#include "common/nearest.hpp"
#include "eeprom/fru_shape.hpp"
#include "eeprom/image.hpp"

#include <fmt/format.h>

namespace eeprom {

namespace {

using fru::Area;
using fru::Code;
using fru::kBlock;
using fru::kCodeNames;

/// A blank fills an odd end.
Bytes encode_bcd_plus(std::string text, const toml::source_region &where) {
    if (text.size() % 2 != 0) {
        text += ' ';
    }
    Bytes bytes;
    for (std::size_t i = 0; i < text.size(); i += 2) {
        const std::size_t high = fru::kBcdDigits.find(text[i]);
        const std::size_t low = fru::kBcdDigits.find(text[i + 1]);
        if (high == std::string_view::npos || low == std::string_view::npos) {
            fail(where, "a bcd_plus field holds digits, blanks, '-' and '.' only");
        }
        bytes.push_back(static_cast<std::uint8_t>(high << kNibbleBits | low));
    }
    return bytes;
}

Bytes encode_six_bit(const std::string &text, const toml::source_region &where) {
    constexpr int kByteBits = 8;
    Bytes bytes;
    unsigned pending = 0;
    int count = 0;
    for (const char c : text) {
        if (c < fru::kSixBitFirst || c > '_') {
            fail(where, "a six_bit field holds characters from blank to '_' only (no lower case)");
        }
        pending |= static_cast<unsigned>(c - fru::kSixBitFirst) << count;
        for (count += fru::kSixBits; count >= kByteBits; count -= kByteBits) {
            bytes.push_back(static_cast<std::uint8_t>(pending & kByteMax));
            pending >>= kByteBits;
        }
    }
    if (count > 0) {
        bytes.push_back(static_cast<std::uint8_t>(pending));
    }
    return bytes;
}

/// Characters of Latin 1, of which a description's UTF-8 has two bytes above 0x7f.
Bytes encode_latin_1(const std::string &text, const toml::source_region &where) {
    constexpr unsigned kAscii = 0x80;
    constexpr unsigned kTwoBytes = 0xC2;  // leads 0x80 to 0xbf
    Bytes bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto lead = static_cast<std::uint8_t>(text[i]);
        if (lead < kAscii) {
            bytes.push_back(lead);
            continue;
        }
        if ((lead & ~1U) != kTwoBytes || i + 1 == text.size()) {
            fail(where, "a field holds characters of Latin 1 only");
        }
        const auto next = static_cast<std::uint8_t>(text[++i]);
        bytes.push_back(static_cast<std::uint8_t>(next + (lead - kTwoBytes) * 0x40U));
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
        case Code::binary:
            return {text.begin(), text.end()};
        default:
            return encode_latin_1(text, where);
    }
}

/// Type/length byte and data.
Bytes with_type_length(const Bytes &data, Code code, const toml::source_region &where) {
    if (data.size() > fru::kMaxField) {
        fail(where,
             fmt::format("a field has at most {} bytes, this one {}", fru::kMaxField, data.size()));
    }
    const auto head = static_cast<std::uint8_t>(static_cast<unsigned>(code) << fru::kCodeShift |
                                                static_cast<unsigned>(data.size()));
    if (head == fru::kEndMark) {
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
        return with_type_length(encode_latin_1(text, node.source()), Code::text, node.source());
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
    area[fru::kAreaLengthByte] = static_cast<std::uint8_t>(blocks);
    area.resize(size - 1, static_cast<std::uint8_t>(section.number_or("pad", 0, 0, kByteMax)));
    area.push_back(zero_checksum(area));
    area.back() = static_cast<std::uint8_t>(area.back() + section.flag("spoil_area_checksum"));
}

/// Least significant byte first.
Bytes date_bytes(Section &section) {
    constexpr std::int64_t kMax = 0xFFFFFF;
    constexpr int kByteBits = 8;
    Bytes bytes(fru::kDateSize);
    std::int64_t minutes = section.number_or("mfg_date", 0, 0, kMax);
    for (std::uint8_t &byte : bytes) {
        byte = static_cast<std::uint8_t>(minutes & kByteMax);
        minutes >>= kByteBits;
    }
    return bytes;
}

Bytes area_bytes(const Area &shape, Section &section) {
    Bytes area = {fru::kFormatVersion, 0,
                  static_cast<std::uint8_t>(
                      section.number_or(shape.second_key, shape.second_default, 0, kByteMax))};
    if (shape.has_date) {
        append(area, date_bytes(section));
    }
    const auto all = static_cast<std::int64_t>(shape.fields.size());
    const auto count = static_cast<std::size_t>(section.number_or("field_count", all, 0, all));
    for (const std::string_view name : shape.fields.first(count)) {
        const toml::node *node = section.node(name);
        append(area, node != nullptr ? field_bytes(*node)
                                     : with_type_length({}, Code::text, section.where()));
    }
    append(area, custom_fields(section));
    area.push_back(fru::kEndMark);
    close_area(area, section);
    return area;
}

/// In blocks; 0: the image has no such area.
std::uint8_t offset_blocks(Section &section, std::string_view key, std::int64_t standard) {
    const auto start = section.number_or(key, standard, 0, kByteMax * std::int64_t{kBlock});
    if (start % std::int64_t{kBlock} != 0) {
        fail(section.where(key), fmt::format("'{}' is a multiple of 8", key));
    }
    return static_cast<std::uint8_t>(start / std::int64_t{kBlock});
}

/// Places an area behind the header that is in work.
void put_area(const Area &shape, Section &section, std::string_view offset_key, std::size_t base,
              std::int64_t standard, Bytes &header, Image &image) {
    const std::uint8_t blocks = offset_blocks(section, offset_key, standard);
    header[shape.header_byte] = blocks;
    if (blocks != 0) {
        image.put(base + blocks * kBlock, area_bytes(shape, section), shape.what, section.where());
    }
}

void put_sub_area(const Area &shape, Section &fru, std::size_t base, Bytes &header, Image &image) {
    const toml::node *node = fru.node(shape.key);
    if (node == nullptr) {
        return;
    }
    if (!node->is_table()) {
        fail(node->source(),
             fmt::format("'{}' is a table: begin it with [fru.{}]", shape.key, shape.key));
    }
    Section section(*node->as_table());
    put_area(shape, section, "offset", base, 0, header, image);
    section.finish();
}

}  // namespace

void build_fru(Section &section, Image &image) {
    const auto base = section.offset();
    Bytes header(fru::kHeaderSize);
    header[0] = fru::kFormatVersion;
    header[fru::kInternalByte] = offset_blocks(section, "internal_offset", 0);
    header[fru::kMultirecordByte] = offset_blocks(section, "multirecord_offset", 0);
    for (const Area &shape : fru::kAreas) {
        if (shape.key.empty()) {
            put_area(shape, section, "product_offset", base, fru::kHeaderSize, header, image);
        } else {
            put_sub_area(shape, section, base, header, image);
        }
    }
    header.back() = zero_checksum(header);
    header.back() =
        static_cast<std::uint8_t>(header.back() + section.flag("spoil_header_checksum"));
    image.put(base, header, "the FRU common header", section.where());
}

}  // namespace eeprom
