// SPDX-License-Identifier: MIT
#include <algorithm>

#include "eeprom/parts.hpp"
#include "eeprom/tlv_shape.hpp"
#include "hal/e2prom/tlv_image.h"

#include <fmt/format.h>

namespace eeprom {

namespace {

/// The header as it stands in the memory.
struct TlvHeader {
    std::uint8_t version = 0;
    std::uint8_t flag = 0;
    std::uint8_t hw_version = 0;
    std::uint8_t device_type = 0;
    View reserved = {};
    std::size_t length = 0;
    std::size_t size = 0;

    std::size_t length_at() const { return size - 2; }
    bool has_type() const { return device_type != dfd::tlv::kTypeInEntry; }
};

std::optional<TlvHeader> read_header(View image) {
    dfd::ByteCursor cursor(image);
    TlvHeader header{.version = cursor.take_u8(),
                     .flag = cursor.take_u8(),
                     .hw_version = cursor.take_u8(),
                     .device_type = cursor.take_u8()};
    if (header.version != dfd::tlv::kVersion1) {
        header.reserved = cursor.take(tlv::kIntegerSize);
    }
    header.length = dfd::big_endian(cursor.take(2));
    header.size = cursor.offset();
    return cursor.is_valid() ? std::optional(header) : std::nullopt;
}

std::string entry_name(const TlvHeader &header, std::uint8_t type) {
    for (const tlv::EntryType &row : tlv::kEntryTypes) {
        const bool is_second = row.number == tlv::kDeviceTypeEntry && header.has_type();
        if (row.number == type && !is_second) {
            return std::string(row.name);
        }
    }
    return fmt::format("entry 0x{:02x}", type);
}

void describe_header(Parts &parts, const TlvHeader &header) {
    parts.line("[[tlv]]");
    parts.line(fmt::format("version = {}", header.version));
    if (header.flag != dfd::tlv::kFlag) {
        parts.line(fmt::format("flag = 0x{:02x}", header.flag));
        parts.fault(1, fmt::format("the flag is 0x{:02x}, it should be 0x{:02x}", header.flag,
                                   dfd::tlv::kFlag));
    }
    parts.line(fmt::format("hw_version = \"{:x}.{:x}\"", header.hw_version >> kNibbleBits,
                           header.hw_version & kLowNibble));
    parts.line(fmt::format("device_type = {}", header.device_type));
    if (std::ranges::any_of(header.reserved, [](std::uint8_t byte) { return byte != 0; })) {
        parts.line(fmt::format("reserved = \"{}\"", hex_text(header.reserved)));
    }
    if (header.has_type()) {
        parts.out.fields.push_back({"device_type", 3, 1, "", fmt::to_string(header.device_type)});
    }
}

void describe_entry(Parts &parts, const TlvHeader &header, const dfd::tlv::Entry &entry) {
    const std::size_t at = header.size + entry.at + dfd::tlv::kEntryHeaderSize;
    const std::string name = entry_name(header, entry.type);
    const bool is_number =
        entry.type == tlv::kDeviceTypeEntry && entry.value.size() == tlv::kIntegerSize;
    const auto text = padded_text(entry.value);
    Field field{name, at, entry.value.size(), "", {}};
    field.can_set = !name.starts_with("entry");
    parts.line(fmt::format("\n[[tlv.entry]]  # at 0x{:02x}", header.size + entry.at));
    parts.line(field.can_set ? fmt::format("type = \"{}\"", name)
                             : fmt::format("type = 0x{:02x}", entry.type));
    if (is_number) {
        field.text = fmt::to_string(dfd::big_endian(entry.value));
        parts.line("number = " + field.text);
    } else if (text) {
        field.text = *text;
        parts.line(fmt::format("text = {}", toml_text(*text)));
        parts.line(fmt::format("size = {}", entry.value.size()));
    } else {
        field.is_text = false;
        field.text = hex_text(entry.value);
        parts.line(fmt::format("bytes = \"{}\"", field.text));
    }
    parts.out.fields.push_back(field);
}

void describe_entries(Parts &parts, const TlvHeader &header, View data) {
    dfd::ByteCursor cursor(data);
    std::size_t end = 0;
    for (dfd::tlv::Entry entry{}; dfd::tlv::next_entry(cursor, &entry);) {
        describe_entry(parts, header, entry);
        end = cursor.offset();
    }
    if (!cursor.is_valid()) {
        parts.broken(header.size + end, "an entry runs past the end of the entries");
    }
}

void check_sum(Parts &parts, std::size_t end) {
    const std::uint32_t stored = dfd::big_endian(parts.image.subspan(end, 2));
    const std::uint32_t computed = dfd::tlv::sum_of(parts.image.first(end)) & UINT16_MAX;
    if (stored != computed) {
        parts.fault(
            end, fmt::format("the checksum is 0x{:04x}, it should be 0x{:04x}", stored, computed));
    }
}

}  // namespace

void decode_tlv(Parts &parts) {
    const auto header = read_header(parts.image);
    if (!header) {
        parts.broken(parts.image.size(), "the memory ends inside the TLV header");
        return;
    }
    describe_header(parts, *header);
    const std::size_t room = parts.image.size() - header->size;
    const bool fits = header->length + dfd::tlv::kChecksumSize <= room;
    if (!fits) {
        parts.broken(header->length_at(),
                     fmt::format("the length of the entries is {}, the memory has room for {}",
                                 header->length, room < 2 ? 0 : room - 2));
    } else if (header->length < dfd::tlv::kMinLength || header->length > dfd::tlv::kMaxLength) {
        parts.fault(header->length_at(),
                    fmt::format("the length of the entries is {}, outside {} to {}", header->length,
                                dfd::tlv::kMinLength, dfd::tlv::kMaxLength));
    }
    describe_entries(parts, *header,
                     parts.image.subspan(header->size, std::min(header->length, room)));
    if (fits) {
        check_sum(parts, header->size + header->length);
    }
}

}  // namespace eeprom
