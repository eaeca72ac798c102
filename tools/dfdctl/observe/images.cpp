// SPDX-License-Identifier: MIT
// Small valid EEPROM images.
#include <dfd/inventory.h>
#include <algorithm>

#include "dfdctl/observe/answers.hpp"
#include "framework/dfd_info/bits.h"
#include "hal/e2prom/tlv_image.h"

namespace dfdctl::observe {

namespace {

void put_entry(RawBytes &data, std::uint8_t type, std::string_view value) {
    data.put(type);
    data.put(static_cast<std::uint8_t>(value.size()));
    data.put(value);
}

std::string big_endian(std::uint32_t value) {
    std::string bytes;
    for (std::uint32_t i = sizeof value; i-- > 0;) {
        bytes.push_back(static_cast<char>(value >> (dfd::kBitsPerByte * i)));
    }
    return bytes;
}

void put_checksum(RawBytes &raw, std::size_t from) {
    const auto area = std::span(raw.bytes).first(raw.count).subspan(from);
    raw.put(static_cast<std::uint8_t>(calculate_crc(area.data(), static_cast<int>(area.size()))));
}

void put_field(RawBytes &area, std::string_view text) {
    constexpr unsigned kText = 0xC0;
    constexpr std::size_t kMaxLength = 63;
    const std::string_view cut = text.substr(0, kMaxLength);
    area.put(static_cast<std::uint8_t>(kText | cut.size()));
    area.put(cut);
}

}  // namespace

RawBytes tlv_image(const Inventory &inventory) {
    RawBytes data;
    put_entry(data, 0, inventory.entry0);
    put_entry(data, E2PROM_INFO_NAME, inventory.name);
    put_entry(data, E2PROM_INFO_SN, inventory.sn);
    put_entry(data, E2PROM_INFO_HW_VER, inventory.hw);
    put_entry(data, E2PROM_INFO_DEV_TYPE, big_endian(inventory.type));
    data.count = std::min<std::size_t>(data.count, dfd::tlv::kMaxLength);

    RawBytes image;
    image.put(std::array<std::uint8_t, 6>{dfd::tlv::kVersion1, dfd::tlv::kFlag, 0x10,
                                          dfd::tlv::kTypeInEntry, 0,
                                          static_cast<std::uint8_t>(data.count)});
    image.put(std::span(data.bytes).first(data.count));
    const std::uint32_t sum = dfd::tlv::sum_of(std::span(image.bytes).first(image.count));
    image.put(static_cast<std::uint8_t>(sum >> dfd::kBitsPerByte));
    image.put(static_cast<std::uint8_t>(sum));
    return image;
}

RawBytes fru_image(const Inventory &inventory) {
    constexpr std::size_t kBlock = 8;
    constexpr std::size_t kAreaAt = kBlock;
    constexpr std::uint8_t kEndOfFields = 0xC1;
    RawBytes image;
    // The product info area is in block 1.
    image.put(std::array<std::uint8_t, 7>{1, 0, 0, 0, 1, 0, 0});
    put_checksum(image, 0);
    image.put(std::array<std::uint8_t, 3>{1, 0, 0});  // version, length as below, language
    for (const std::string_view text :
         {std::string_view("MAKER"), std::string_view(inventory.name), std::string_view("PART"),
          std::string_view(inventory.hw), std::string_view(inventory.sn)}) {
        put_field(image, text);
    }
    image.put(kEndOfFields);
    while (image.count % kBlock != kBlock - 1) {
        image.put(std::uint8_t{0});
    }
    image.bytes[kAreaAt + 1] = static_cast<std::uint8_t>((image.count + 1 - kAreaAt) / kBlock);
    put_checksum(image, kAreaAt);
    return image;
}

RawBytes fan_legacy_image(const Inventory &inventory) {
    constexpr std::size_t kSnSize = 13;
    RawBytes image;
    image.put(static_cast<std::uint8_t>(inventory.type));
    std::string sn = inventory.sn;
    sn.resize(kSnSize, '0');
    image.put(sn);
    image.put(std::uint8_t{1});  // version 1.00
    image.put(std::uint8_t{0});
    return image;
}

}  // namespace dfdctl::observe
