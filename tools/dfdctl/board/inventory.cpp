// SPDX-License-Identifier: MIT
#include "dfdctl/board/inventory.hpp"

#include <dfd/framework.h>
#include <dfd/inventory.h>
#include <dfd/records.h>
#include <algorithm>
#include <array>
#include <cstring>

#include "dfdctl/board/read_pass.hpp"
#include "hal/e2prom/fru_image.h"

#include <fmt/format.h>

namespace dfdctl {

namespace {

constexpr std::size_t kBufferSize = 256;
constexpr int kWordSize = 4;
using Buffer = std::array<std::uint8_t, kBufferSize>;

int query_fru(const Eeprom &eeprom, std::uint32_t info, Buffer &buffer, int &len) {
    const auto query = info == E2PROM_INFO_HW_VER ? sdd_get_e2prom_info_by_type_fru_compatible
                                                  : sdd_get_e2prom_info_by_type_fru;
    return query(eeprom.device.c_str(), info, eeprom.address, buffer.data(), &len);
}

int query_legacy(const Eeprom &eeprom, std::uint32_t info, Buffer &buffer, int &len) {
    if (eeprom.legacy == Legacy::power) {
        return sdd_get_e2prom_legacy_power_info_by_type(eeprom.device.c_str(), info, eeprom.address,
                                                        eeprom.offset, buffer.data(), &len);
    }
    return sdd_get_e2prom_legacy_info_by_type(eeprom.device.c_str(), info, eeprom.address,
                                              buffer.data(), &len);
}

int query(const Eeprom &eeprom, std::uint32_t info, Buffer &buffer, int &len) {
    switch (eeprom.mode) {
        case INFO_CTRL_MODE_TLV:
            return sdd_get_e2prom_info_by_type(eeprom.device.c_str(), info, eeprom.address,
                                               buffer.data(), &len);
        case INFO_CTRL_MODE_FRU:
            return query_fru(eeprom, info, buffer, len);
        case INFO_CTRL_MODE_LEGACY:
            return query_legacy(eeprom, info, buffer, len);
        default:
            return DFD_ERR_UNUSABLE;
    }
}

/// A FRU image has no type of its own; its product name without blanks is looked up.
Reading type_by_name(Reading reading) {
    std::string name = value_text(reading);
    std::erase(name, ' ');
    std::uint32_t type = 0;
    if (dfd_lib_cfg_get_fan_type_by_name(name.c_str(), &type) != DFD_OK) {
        return failure(Status::bad_data, DFD_ERR,
                       fmt::format("no fan_name item begins product name '{}'", name));
    }
    reading.value = std::int64_t{type};
    reading.bytes.clear();
    reading.contents = Contents::text;
    return reading;
}

Reading interpret(const Eeprom &eeprom, std::uint32_t info, const Buffer &buffer, int len) {
    const bool is_word = info == E2PROM_INFO_DEV_TYPE && len == kWordSize;
    // A FRU image answers with text, the TLV image that stands in for one with an integer.
    const bool is_text = eeprom.mode == INFO_CTRL_MODE_FRU && std::isprint(buffer[0]) != 0;
    if (is_word && !is_text) {
        std::uint32_t word = 0;
        std::memcpy(&word, buffer.data(), sizeof(word));
        return {.value = std::int64_t{word}};
    }
    return buffer_reading(std::span(buffer).first(static_cast<std::size_t>(std::max(len, 0))));
}

/// One byte more than is used: the library, when it logs, looks at the byte behind a broken area.
using Image = std::array<std::uint8_t, kBufferSize + 1>;

/// By the library's own verdict, which takes a TLV image of version 2 as it is.
bool is_tlv(const Eeprom &eeprom) {
    std::array<std::uint8_t, DFD_TLV_HEADER_SIZE> header = {};
    return dfd_get_e2prom_info(eeprom.device.c_str(), eeprom.address, header.data()) == DFD_OK;
}

/// Header and product area, the one that the library reads.
bool is_fru(const Image &image) {
    namespace fru = dfd::fru;
    if (ipmi_validate_common_hdr(image.data(), DFD_FRU_HEADER_SIZE) != DFD_OK) {
        return false;
    }
    const std::size_t at = image[fru::kProductOffsetAt] * std::size_t{fru::kBlockBytes};
    if (at == 0 || at + fru::kAreaLengthAt >= kBufferSize) {
        return false;
    }
    const std::size_t size = image[at + fru::kAreaLengthAt] * std::size_t{fru::kBlockBytes};
    return size != 0 && at + size <= kBufferSize &&
           verify_fru_data(&image[at], static_cast<int>(size)) == DFD_OK;
}

/// Where a FRU image is damaged the library looks for a TLV image.
std::string damage_of(const Eeprom &eeprom, const Image &image) {
    const bool is_bad_fru = eeprom.mode == INFO_CTRL_MODE_FRU && !is_fru(image);
    if ((is_bad_fru || eeprom.mode == INFO_CTRL_MODE_TLV) && !is_tlv(eeprom)) {
        return is_bad_fru ? "no valid FRU image: header or product area is damaged"
                          : "no valid TLV image: flag, length or checksum is wrong";
    }
    return {};
}

std::string flaw_of(const Eeprom &eeprom, int code) {
    Image image = {};
    if (dfd_read_e2prom(eeprom.device.c_str(), eeprom.address, 0, image.data(), kBufferSize) ==
        DFD_OK) {
        if (const std::string blank = blankness(std::span(image).first(kBufferSize));
            !blank.empty()) {
            return "is " + blank;
        }
        if (const std::string damage = damage_of(eeprom, image); !damage.empty()) {
            return "holds " + damage;
        }
    }
    return fmt::format("does not hold this information in layout {} (result {})",
                       info_ctrl_mode_str[eeprom.mode], code);
}

}  // namespace

Eeprom eeprom_of(const Item &item, const info_ctrl_t &record) {
    return {.mode = record.mode,
            .device = record.fpath,
            .address = static_cast<std::uint16_t>(record.addr),
            .offset = static_cast<int>(record.reg_offset),
            .legacy = facts_of(item.type->type).legacy};
}

Reading read_inventory(const Eeprom &eeprom, std::uint32_t info) {
    const ReadingScope scope;
    Buffer buffer = {};
    int len = kBufferSize;
    if (info == E2PROM_INFO_DEV_TYPE && eeprom.mode != INFO_CTRL_MODE_FRU) {
        len = kWordSize;
    }
    const int result = query(eeprom, info, buffer, len);
    if (result == DFD_OK) {
        Reading reading = interpret(eeprom, info, buffer, len);
        const bool is_name = std::holds_alternative<std::string>(reading.value);
        return info == E2PROM_INFO_DEV_TYPE && is_name ? type_by_name(std::move(reading)) : reading;
    }
    return scope.explained(eeprom_failure(eeprom, result));
}

std::string blankness(std::span<const std::uint8_t> bytes) {
    constexpr std::uint8_t kErased = 0xFF;
    for (const std::uint8_t blank : {kErased, std::uint8_t{0}}) {
        if (std::ranges::count(bytes, blank) == std::ssize(bytes)) {
            return fmt::format("blank: 0x{:02x} throughout", blank);
        }
    }
    return {};
}

Reading bad_eeprom(const std::string &device, std::uint16_t address, int code,
                   const std::string &flaw) {
    Reading reading =
        failure(Status::bad_data, code,
                fmt::format("the EEPROM at address 0x{:02x} on {} {}", address, device, flaw));
    reading.device = fmt::format("{} 0x{:02x}", device, address);
    return reading;
}

Reading eeprom_failure(const Eeprom &eeprom, int code) {
    return bad_eeprom(eeprom.device, eeprom.address, code, flaw_of(eeprom, code));
}

}  // namespace dfdctl
