// SPDX-License-Identifier: MIT
// TLV image: header, entries (type, length, value), 16-bit sum of everything before it.
#include <array>
#include <numeric>

#include "common/nearest.hpp"
#include "eeprom/image.hpp"
#include "eeprom/tlv_shape.hpp"
#include "framework/dfd_info/bits.h"
#include "hal/facts.h"

#include <fmt/format.h>

namespace eeprom {

namespace {

using tlv::EntryType;
using tlv::kDeviceTypeEntry;
using tlv::kEntryTypes;
using tlv::kIntegerSize;
using tlv::kShortVersion;

std::uint8_t entry_type(Section &entry) {
    const toml::node *node = entry.node("type");
    if (node == nullptr) {
        fail(entry.where(), "'type' is missing");
    }
    if (node->is_integer()) {
        return static_cast<std::uint8_t>(entry.required_number("type", 0, kByteMax));
    }
    const std::string name = entry.required_text("type");
    std::vector<std::string_view> names;
    for (const EntryType &type : kEntryTypes) {
        if (type.name == name) {
            return type.number;
        }
        names.push_back(type.name);
    }
    fail(node->source(),
         fmt::format("unknown entry type '{}'{}", name, dfd_tools::did_you_mean(name, names)));
}

Bytes big_endian(std::int64_t value, std::size_t size) {
    Bytes bytes(size);
    for (std::size_t i = size; i-- > 0; value >>= dfd::kBitsPerByte) {
        bytes[i] = static_cast<std::uint8_t>(value & kByteMax);
    }
    return bytes;
}

Bytes entry_value(Section &entry) {
    const auto text = entry.text("text");
    const auto bytes = entry.bytes("bytes");
    const auto number = entry.number("number", 0, UINT32_MAX);
    const auto size = entry.number("size", 0, kByteMax);
    if (text.has_value() + bytes.has_value() + number.has_value() != 1) {
        fail(entry.where(), "an entry has one value: 'text', 'number' or 'bytes'");
    }
    if (number) {
        const auto width = static_cast<std::size_t>(size.value_or(kIntegerSize));
        if (width < kIntegerSize && *number >> (width * dfd::kBitsPerByte) != 0) {
            fail(entry.where("number"),
                 fmt::format("'number' does not fit in 'size', {} bytes", width));
        }
        return big_endian(*number, width);
    }
    Bytes value = bytes ? *bytes : Bytes(text->begin(), text->end());
    if (size && static_cast<std::size_t>(*size) < value.size()) {
        fail(entry.where("size"),
             fmt::format("'size' is below the {} bytes of the value", value.size()));
    }
    // A text ends in a NUL unless 'size' leaves no room for it.
    const std::size_t wanted = value.size() + (text ? 1 : 0);
    value.resize(size ? static_cast<std::size_t>(*size) : wanted);
    if (value.size() > static_cast<std::size_t>(kByteMax)) {
        fail(entry.where(), "a value has at most 255 bytes");
    }
    return value;
}

Bytes entries(Section &section, bool &has_device_type) {
    Bytes data;
    for (const toml::table *table : section.tables("entry")) {
        Section entry(*table);
        const std::uint8_t type = entry_type(entry);
        const Bytes value = entry_value(entry);
        entry.finish();
        has_device_type |= type == kDeviceTypeEntry;
        data.push_back(type);
        data.push_back(static_cast<std::uint8_t>(value.size()));
        append(data, value);
    }
    return data;
}

/// "1.2" as the nibbles of one byte.
std::uint8_t header_version(Section &section) {
    const std::string text = section.text("hw_version").value_or("0.0");
    const bool well_formed = text.size() == 3 && text[1] == '.';
    const auto digits = well_formed ? parse_hex(std::string{text[0], text[2]}) : std::nullopt;
    if (!digits) {
        fail(section.where("hw_version"),
             "'hw_version' of the header is two hexadecimal digits \"x.y\"");
    }
    return digits->front();
}

}  // namespace

void build_tlv(Section &section, Image &image) {
    const std::size_t offset = section.offset();
    const auto version = section.number_or("version", kShortVersion, 0, kByteMax);
    bool has_device_type = false;
    const Bytes data = entries(section, has_device_type);
    const auto type = section.number("device_type", 0, kByteMax);
    if (!type && !has_device_type) {
        fail(section.where(), "'device_type' is missing: here or in an entry of that type");
    }
    Bytes bytes = {
        static_cast<std::uint8_t>(version),
        static_cast<std::uint8_t>(section.number_or("flag", dfd::tlv::kFlag, 0, kByteMax)),
        header_version(section), static_cast<std::uint8_t>(type.value_or(dfd::tlv::kTypeInEntry))};
    if (version != kShortVersion) {
        append(bytes, sized_bytes(section, "reserved", kIntegerSize));
    }
    const auto size = static_cast<std::int64_t>(data.size());
    append(bytes, big_endian(section.number_or("data_length", size, 0, kWordMax), 2));
    append(bytes, data);
    std::int64_t sum = std::accumulate(bytes.begin(), bytes.end(), std::int64_t{0});
    sum += section.flag("spoil_checksum") ? 1 : 0;
    append(bytes, big_endian(sum, 2));
    image.put(offset, bytes, "the TLV image", section.where());
}

}  // namespace eeprom
