// SPDX-License-Identifier: MIT
// The fixed layouts of fans and power supplies.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "framework/text.h"
#include "hal/e2prom/module.h"

namespace {

constexpr int kFanTypeAt = 0;
constexpr int kFanSnAt = 1;
constexpr int kFanSnBytes = 13;
constexpr int kFanMajorAt = 14;
constexpr int kFanMinorAt = 15;
constexpr int kFanBytes = 16;

constexpr int kPowerNameBytes = 12;
constexpr int kVersionDigits = 3;  // "xyz"

constexpr int kVersionLength = 4;   // "x.yz"
constexpr int kFanVersionSize = 8;  // "Vff.ff" and the terminator fit
constexpr int kBase16 = 16;

using dfd::E2prom;

using FanRecord = uint8_t[kFanBytes];

int read_fan_record(const E2prom &e2prom, FanRecord &record) {
    const int rv = e2prom.load(0, record);
    if (rv != DFD_OK) {
        LOG_ERR_IN(e2prom.func, "Read fan eeprom error(dev: %s, addr: %02x).\n",
                   dfd::shown(e2prom.dev), e2prom.addr);
    }
    return rv;
}

int swap_nibbles(int byte) {
    return (byte & 0x0F) << 4 | (byte >> 4 & 0x0F);
}

// The digits of a version text "x.yz"; false, with the reason logged, for another form.
bool version_digits(const char *func, const char *hw, char (&digits)[kVersionDigits + 1]) {
    if (std::strlen(hw) != kVersionLength || hw[1] != '.') {
        LOG_ERR_IN(func, "HW format must x.yz, now is:%s", hw);
        return false;
    }
    digits[0] = hw[0];
    digits[1] = hw[2];
    digits[2] = hw[3];
    digits[3] = '\0';
    return true;
}

int put_fan_sn(const char *func, const char *sn, FanRecord &record) {
    if (dfd::is_empty(sn)) {
        LOG_VBOSE_IN(func, "Fan set sn:do nothing\n");
        return DFD_OK;
    }
    const auto length = static_cast<int>(std::strlen(sn));
    if (length != kFanSnBytes) {
        LOG_ERR_IN(func, "Fan sn lenth error:%d, needed lenth:%d\n", length, kFanSnBytes);
        return DFD_ERR;
    }
    std::memcpy(record + kFanSnAt, sn, kFanSnBytes);
    return DFD_OK;
}

int put_fan_version(const char *func, const char *hw, FanRecord &record) {
    if (dfd::is_empty(hw)) {
        LOG_VBOSE_IN(func, "Fan set hw:do nothing\n");
        return DFD_OK;
    }
    char digits[kVersionDigits + 1];
    if (!version_digits(func, hw, digits)) {
        return DFD_ERR;
    }
    const long value = std::strtol(digits, nullptr, kBase16);
    LOG_VBOSE_IN(func, "Fan hw strtol:0x%lx", value);
    record[kFanMajorAt] = static_cast<uint8_t>(value >> 8);
    record[kFanMinorAt] = static_cast<uint8_t>(swap_nibbles(static_cast<int>(value & 0xFF)));
    LOG_VBOSE_IN(func, "Fan hw now:0x%x 0x%x\n", record[kFanMajorAt], record[kFanMinorAt]);
    return DFD_OK;
}

int write_back(const E2prom &e2prom, int offset, std::span<const uint8_t> bytes) {
    const int rv = e2prom.store(offset, bytes);
    if (rv != DFD_OK) {
        LOG_ERR_IN(e2prom.func, "Write e2prom error:%d\n", rv);
        return DFD_ERR;
    }
    return DFD_OK;
}

void deliver_fan_type(const FanRecord &record, void *buf, int *len) {
    const uint32_t type = record[kFanTypeAt];
    std::memcpy(buf, &type, sizeof type);
    *len = sizeof type;
}

void deliver_fan_version(const FanRecord &record, void *buf, int *len) {
    char text[kFanVersionSize];
    const int minor = record[kFanMinorAt];
    *len =
        std::snprintf(text, sizeof text, "V%x.%x%x", record[kFanMajorAt], minor & 0x0F, minor >> 4);
    std::memcpy(buf, text, static_cast<std::size_t>(*len) + 1);
}

int get_power_name(const E2prom &e2prom, int offset, void *buf, int *len) {
    uint8_t name[kPowerNameBytes] = {};
    const int rv = e2prom.load(offset, name);
    if (rv != DFD_OK) {
        LOG_ERR_IN(e2prom.func, "Read power eeprom name error(dev: %s, addr: %02x, offset:%02x).\n",
                   dfd::shown(e2prom.dev), e2prom.addr, offset);
        return rv;
    }
    std::memcpy(buf, name, sizeof name);
    *len = sizeof name;
    return DFD_OK;
}

int get_power_version(const E2prom &e2prom, int offset, void *buf, int *len) {
    uint8_t digits[kVersionDigits] = {};
    const int rv = e2prom.load(offset, digits);
    if (rv != DFD_OK) {
        LOG_ERR_IN(e2prom.func, "Read power eeprom hw error(dev: %s, addr: %02x, offset:%02x).\n",
                   dfd::shown(e2prom.dev), e2prom.addr, offset);
        return rv;
    }
    char text[kVersionLength + 1];
    std::snprintf(text, sizeof text, "%c.%c%c", digits[0], digits[1], digits[2]);
    std::memcpy(buf, text, sizeof text);
    *len = kVersionLength;
    return DFD_OK;
}

}  // namespace

int sdd_get_e2prom_legacy_info_by_type(const char *dev, uint32_t type, uint16_t addr, void *buf,
                                       int *len) {
    if (buf == nullptr || len == nullptr) {
        LOG_ERR("Invalid parameter info by type form e2prom!\n");
        return DFD_ERR_PARAM;
    }
    FanRecord record = {};
    if (const int rv = read_fan_record({__func__, dev, addr}, record); rv != DFD_OK) {
        return rv;
    }
    switch (type) {
        case E2PROM_INFO_SN:
            std::memcpy(buf, record + kFanSnAt, kFanSnBytes);
            *len = kFanSnBytes;
            return DFD_OK;
        case E2PROM_INFO_HW_VER:
            deliver_fan_version(record, buf, len);
            return DFD_OK;
        case E2PROM_INFO_DEV_TYPE:
            deliver_fan_type(record, buf, len);
            return DFD_OK;
        default:
            return DFD_ERR;
    }
}

int sdd_get_e2prom_legacy_power_info_by_type(const char *dev, uint32_t type, uint16_t addr,
                                             int offset, void *buf, int *len) {
    if (buf == nullptr || len == nullptr) {
        LOG_ERR("Invalid parameter info by type form e2prom!\n");
        return DFD_ERR_PARAM;
    }
    switch (type) {
        case E2PROM_INFO_NAME:
            return get_power_name({__func__, dev, addr}, offset, buf, len);
        case E2PROM_INFO_HW_VER:
            return get_power_version({__func__, dev, addr}, offset, buf, len);
        default:
            return DFD_ERR;
    }
}

int dfd_set_fan_info_legacy(const char *dev, uint16_t addr, const uint32_t *type, const char *sn,
                            const char *hw) {
    if (dfd::is_empty(sn) && dfd::is_empty(hw)) {
        LOG_VBOSE("Set fan do nothing, both sn and hw are empty!\n");
        return DFD_OK;
    }
    const E2prom e2prom = {__func__, dev, addr};
    FanRecord record = {};
    if (const int rv = read_fan_record(e2prom, record); rv != DFD_OK) {
        return rv;
    }
    if (type != nullptr) {
        record[kFanTypeAt] = static_cast<uint8_t>(*type);
    }
    if (put_fan_sn(__func__, sn, record) != DFD_OK ||
        put_fan_version(__func__, hw, record) != DFD_OK) {
        return DFD_ERR;
    }
    return write_back(e2prom, 0, record);
}

int dfd_set_power_info_legacy(const char *dev, uint16_t addr, int offset, const char *hw) {
    if (dfd::is_empty(hw)) {
        LOG_VBOSE("Set power do nothing, hw are empty!\n");
        return DFD_OK;
    }
    const E2prom e2prom = {__func__, dev, addr};
    uint8_t stored[kVersionDigits] = {};
    if (const int rv = e2prom.load(offset, stored); rv != DFD_OK) {
        LOG_ERR("Read power eeprom error(dev: %s, addr: %02x, offset: %02x).\n", dfd::shown(dev),
                addr, offset);
        return rv;
    }
    char digits[kVersionDigits + 1];
    if (!version_digits(__func__, hw, digits)) {
        return DFD_ERR;
    }
    std::memcpy(stored, digits, sizeof stored);
    LOG_VBOSE("Power hw strtol:0x%lx", std::strtol(digits, nullptr, kBase16));
    LOG_VBOSE("Power hw now:0x%x 0x%x 0x%x\n", stored[0], stored[1], stored[2]);
    return write_back(e2prom, offset, stored);
}
