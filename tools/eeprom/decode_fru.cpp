// SPDX-License-Identifier: MIT
#include <algorithm>
#include <chrono>
#include <numeric>

#include "eeprom/fru_shape.hpp"
#include "eeprom/parts.hpp"
#include "hal/e2prom/cursor.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

namespace eeprom {

namespace {

using fru::Code;

constexpr std::uint8_t kLengthMask = 0x3F;

/// An area as it lies in the memory; its last byte is the checksum.
struct Place {
    const fru::Area &shape;
    std::size_t start;
    View bytes;
};

bool adds_up(View bytes) {
    return std::accumulate(bytes.begin(), bytes.end(), 0U) % (UINT8_MAX + 1U) == 0;
}

/// Nothing where a nibble stands for no digit.
std::optional<std::string> bcd_plus_text(View data) {
    std::string text;
    for (const std::uint8_t byte : data) {
        for (const unsigned digit : {unsigned{byte} >> kNibbleBits, byte & kLowNibble}) {
            if (digit >= fru::kBcdDigits.size()) {
                return std::nullopt;
            }
            text += fru::kBcdDigits[digit];
        }
    }
    return text;
}

/// Nothing where bits are left over that are not zero.
std::optional<std::string> six_bit_text(View data) {
    constexpr int kByteBits = 8;
    constexpr unsigned kMask = (1U << fru::kSixBits) - 1;
    std::string text;
    unsigned pending = 0;
    int count = 0;
    for (const std::uint8_t byte : data) {
        pending |= static_cast<unsigned>(byte) << count;
        for (count += kByteBits; count >= fru::kSixBits; count -= fru::kSixBits) {
            text += static_cast<char>(fru::kSixBitFirst + static_cast<char>(pending & kMask));
            pending >>= static_cast<unsigned>(fru::kSixBits);
        }
    }
    return pending == 0 ? std::optional(text) : std::nullopt;
}

/// Latin 1 as UTF-8; nothing where there are control characters.
std::optional<std::string> latin_1_text(View data) {
    constexpr std::uint8_t kUpper = 0xA0;
    constexpr std::uint8_t kAscii = 0x7F;
    std::string text;
    for (const std::uint8_t byte : data) {
        if (byte < ' ' || (byte >= kAscii && byte < kUpper)) {
            return std::nullopt;
        }
        if (byte < kAscii) {
            text += static_cast<char>(byte);
        } else {
            text += static_cast<char>(0xC0U | byte >> 6U);
            text += static_cast<char>(0x80U | (byte & kLengthMask));
        }
    }
    return text;
}

std::optional<std::string> text_of(Code code, View data) {
    switch (code) {
        case Code::bcd_plus:
            return bcd_plus_text(data);
        case Code::six_bit:
            return six_bit_text(data);
        case Code::text:
            return latin_1_text(data);
        default:
            return std::nullopt;
    }
}

/// As a description has it.
std::string value_of(const Field &field) {
    if (field.code == "text" && field.is_text) {
        return toml_text(field.text);
    }
    return fmt::format("{{ {} = {}, code = \"{}\" }}", field.is_text ? "text" : "bytes",
                       toml_text(field.text), field.code);
}

Field read_field(dfd::ByteCursor &cursor, std::size_t area_start) {
    const std::uint8_t type_length = cursor.take_u8();
    const auto code = static_cast<Code>(type_length >> fru::kCodeShift);
    const std::size_t at = area_start + cursor.offset();
    const View data = cursor.take(type_length & kLengthMask);
    const auto text = text_of(code, data);
    return {.name = {},
            .offset = at,
            .size = data.size(),
            .code = std::string(fru::kCodeNames[static_cast<std::size_t>(code)]),
            .text = text ? *text : hex_text(data),
            .is_text = text.has_value()};
}

/// What stands between the end mark and the checksum.
void describe_padding(Parts &parts, View padding) {
    const bool is_uniform = !padding.empty() && std::ranges::count(padding, padding.front()) ==
                                                    static_cast<std::ptrdiff_t>(padding.size());
    if (is_uniform && padding.front() != 0) {
        parts.line(fmt::format("pad = 0x{:02x}", padding.front()));
    }
}

void describe_fields(Parts &parts, const Place &place) {
    const View content = place.bytes.first(place.bytes.size() - 1);
    dfd::ByteCursor cursor(content);
    cursor.take(place.shape.fields_at());
    std::string custom;
    std::size_t count = 0;
    for (; cursor.is_valid() && !cursor.at_end() && cursor.peek() != fru::kEndMark; ++count) {
        const std::size_t at = cursor.offset();
        Field field = read_field(cursor, place.start);
        if (!cursor.is_valid()) {
            parts.broken(place.start + at, "a field runs past the end of its area");
            return;
        }
        field.name = fru::field_name(place.shape, count);
        if (count < place.shape.fields.size()) {
            parts.line(fmt::format("{} = {}", place.shape.fields[count], value_of(field)));
        } else {
            custom += (custom.empty() ? "" : ", ") + value_of(field);
        }
        parts.out.fields.push_back(field);
    }
    if (count < place.shape.fields.size()) {
        parts.line(fmt::format("field_count = {}", count));
    }
    if (!custom.empty()) {
        parts.line(fmt::format("custom = [{}]", custom));
    }
    if (!cursor.is_valid() || cursor.at_end()) {
        parts.broken(place.start + content.size(), "the fields have no end mark 0xc1");
        return;
    }
    describe_padding(parts, content.subspan(cursor.offset() + 1));
}

std::string date_text(std::uint32_t minutes) {
    using namespace std::chrono;
    constexpr sys_days kEpoch = year(1996) / January / 1;
    const auto at = kEpoch + std::chrono::minutes(minutes);
    return fmt::format("{:%Y-%m-%d %H:%M}", fmt::gmtime(system_clock::to_time_t(at)));
}

void describe_head(Parts &parts, const Place &place) {
    constexpr std::size_t kSecondByte = 2;
    parts.line(fmt::format("area_size = {}", place.bytes.size()));
    parts.line(fmt::format("{} = {}", place.shape.second_key, place.bytes[kSecondByte]));
    if (!place.shape.has_date) {
        return;
    }
    const View date = place.bytes.subspan(kSecondByte + 1, fru::kDateSize);
    const std::uint32_t minutes =
        date[0] | std::uint32_t{date[1]} << 8U | std::uint32_t{date[2]} << 16U;
    if (minutes != 0) {
        parts.line(fmt::format("mfg_date = {}  # {}", minutes, date_text(minutes)));
        parts.out.fields.push_back({.name = std::string(place.shape.key) + ".mfg_date",
                                    .offset = place.start + kSecondByte + 1,
                                    .size = fru::kDateSize,
                                    .code = "",
                                    .text = date_text(minutes),
                                    .can_set = false});
    }
}

/// The area that the header names; nothing, with the fault noted, where it is none.
std::optional<Place> find_area(Parts &parts, const fru::Area &shape) {
    const std::size_t start = parts.image[shape.header_byte] * fru::kBlock;
    const std::string what(shape.what);
    if (start + fru::kAreaLengthByte >= parts.image.size()) {
        parts.broken(
            shape.header_byte,
            fmt::format("{} begins at byte {}, behind the end of the memory", what, start));
        return std::nullopt;
    }
    const std::size_t size = parts.image[start + fru::kAreaLengthByte] * fru::kBlock;
    if (size <= shape.fields_at() || size > parts.image.size() - start) {
        parts.broken(start + fru::kAreaLengthByte,
                     fmt::format("{} is {} bytes long, the memory has {} from there on", what, size,
                                 parts.image.size() - start));
        return std::nullopt;
    }
    return Place{shape, start, parts.image.subspan(start, size)};
}

void decode_area(Parts &parts, const fru::Area &shape) {
    const auto place = find_area(parts, shape);
    if (!place) {
        return;
    }
    const std::string what(shape.what);
    if (place->bytes[0] != fru::kFormatVersion) {
        parts.fault(place->start, fmt::format("the format version of {} is {}, it should be 1",
                                              what, place->bytes[0]));
    }
    if (!adds_up(place->bytes)) {
        const std::size_t at = place->bytes.size() - 1;
        const View content = place->bytes.first(at);
        const auto right =
            static_cast<std::uint8_t>(0U - std::accumulate(content.begin(), content.end(), 0U));
        parts.fault(place->start + at,
                    fmt::format("the checksum of {} is 0x{:02x}, it should be 0x{:02x}", what,
                                place->bytes[at], right));
    }
    parts.line(shape.key.empty() ? fmt::format("product_offset = {}", place->start)
                                 : fmt::format("\n[fru.{}]\noffset = {}", shape.key, place->start));
    describe_head(parts, *place);
    describe_fields(parts, *place);
}

void check_header(Parts &parts, View header) {
    constexpr std::size_t kChecksumByte = fru::kHeaderSize - 1;
    if (header[0] != fru::kFormatVersion) {
        parts.fault(0, fmt::format("the format version is {}, it should be 1", header[0]));
    }
    if (!adds_up(header)) {
        parts.fault(kChecksumByte, "the checksum of the header is wrong");
    }
    for (const auto &[byte, name] : {std::pair(fru::kInternalByte, "internal"),
                                     std::pair(fru::kMultirecordByte, "multirecord")}) {
        const std::size_t start = header[byte] * fru::kBlock;
        if (start != 0) {
            parts.line(fmt::format("{}_offset = {}", name, start));
        }
        if (start >= parts.image.size()) {
            parts.fault(byte, fmt::format("the {} area begins at byte {}, behind the end of the "
                                          "memory",
                                          name, start));
        }
    }
}

/// Areas that share bytes cannot be told one by one.
void check_overlap(Parts &parts) {
    std::vector<std::pair<std::size_t, std::size_t>> taken = {{0, fru::kHeaderSize}};
    for (const fru::Area &shape : fru::kAreas) {
        const std::size_t start = parts.image[shape.header_byte] * fru::kBlock;
        if (start == 0 || start + 1 >= parts.image.size()) {
            continue;
        }
        const std::size_t end = start + parts.image[start + 1] * fru::kBlock;
        for (const auto &[first, last] : taken) {
            if (start < last && first < end) {
                parts.broken(start, fmt::format("{} overlaps another area", shape.what));
            }
        }
        taken.emplace_back(start, end);
    }
}

}  // namespace

std::string fru::field_name(const Area &area, std::size_t index) {
    const std::string prefix = area.key.empty() ? "" : fmt::format("{}.", area.key);
    return index < area.fields.size()
               ? fmt::format("{}{}", prefix, area.fields[index])
               : fmt::format("{}custom {}", prefix, index - area.fields.size() + 1);
}

void decode_fru(Parts &parts) {
    if (parts.image.size() < fru::kHeaderSize) {
        parts.broken(parts.image.size(), "the memory ends inside the FRU header");
        return;
    }
    parts.line("[[fru]]");
    check_header(parts, parts.image.first(fru::kHeaderSize));
    // The keys of the product area stand in [[fru]] itself, before its tables.
    const fru::Area &product = fru::kAreas.back();
    if (parts.image[product.header_byte] == 0) {
        parts.line("product_offset = 0");
    } else {
        decode_area(parts, product);
    }
    for (const fru::Area &shape : fru::kAreas) {
        if (!shape.key.empty() && parts.image[shape.header_byte] != 0) {
            decode_area(parts, shape);
        }
    }
    check_overlap(parts);
}

}  // namespace eeprom
