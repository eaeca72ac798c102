// SPDX-License-Identifier: MIT
// Reads and writes of one source, as an info_ctrl item names it.
#include "framework/dfd_info/bits.h"
#include "framework/dfd_info/module.h"
#include "framework/watch.h"

int sdd_read_info_localbus(const char *path, uint32_t reg, int len, uint8_t *buf) {
    // Byte by byte: a register file has no transfers of more than one register.
    for (int i = 0; i < len; ++i) {
        const auto at = static_cast<int>(reg + static_cast<uint32_t>(i));
        const int rv = sdd_device_read(path, at, buf == nullptr ? nullptr : buf + i, 1);
        // A device that delivers no byte has failed: the register does not exist.
        if (rv <= 0) {
            LOG_ERR("read info[addr=0x%x read_bytes=%d] from cpld fail, reading_byte=%d rv=%d\r\n",
                    reg, len, i, rv);
            return rv;
        }
    }
    return len;
}

int sdd_write_info_localbus(const char *path, uint32_t reg, int len, const uint8_t *value,
                            uint8_t mask) {
    if (value == nullptr) {
        return DFD_ERR;
    }
    uint8_t byte = *value;
    if (mask != dfd::kWholeByte) {
        uint8_t old_byte = 0;
        if (sdd_device_read(path, static_cast<int>(reg), &old_byte, 1) <= 0) {
            return DFD_ERR;
        }
        byte = dfd::merge_under_mask(old_byte, byte, mask);
    }
    (void)len;  // one register, whatever the caller's length
    return sdd_device_write(path, static_cast<int>(reg), &byte, 1) >= 0 ? DFD_OK : DFD_ERR;
}

int dfd_read_info(int src, const char *path, uint16_t addr, uint32_t reg, int len, uint8_t *buf) {
    switch (src) {
        case INFO_SRC_LOCALBUS:
            return sdd_read_info_localbus(path, reg, len, buf);
        case INFO_SRC_I2C: {
            const int rv = sdd_read_i2c(path, addr, static_cast<uint16_t>(reg), buf,
                                        static_cast<uint32_t>(len));
            return rv >= 0 ? len : rv;
        }
        case INFO_SRC_FILE:
            return sdd_device_read(path, static_cast<int>(reg), buf, len);
        default:
            DFD_WATCH(refused, dfd::watch::Refusal::source);
            LOG_ERR("info src[%d] error\r\n", src);
            return DFD_ERR;
    }
}

namespace {

// The mask is not applied: a bit field on I2C is written as the whole prepared byte.
int write_info_i2c(const char *func, const char *path, uint16_t addr, uint32_t reg, int len,
                   const uint8_t *value) {
    if (len != 1 || value == nullptr) {
        LOG_ERR_IN(func, "not support write info to other i2c more than 1 byte\r\n");
        return DFD_ERR;
    }
    // At err level on the normal path too: operators watch for I2C writes by this line.
    LOG_ERR_IN(func, "warning i2c write addr 0x%x write_bytes %d val 0x%x\r\n", addr, len, *value);
    return sdd_write_i2c(path, addr, static_cast<uint16_t>(reg), value, 1);
}

}  // namespace

int dfd_write_info(int src, const char *path, uint16_t addr, uint32_t reg, int len,
                   const uint8_t *value, uint8_t mask) {
    switch (src) {
        case INFO_SRC_LOCALBUS:
            return sdd_write_info_localbus(path, reg, len, value, mask);
        case INFO_SRC_I2C:
            return write_info_i2c(__func__, path, addr, reg, len, value);
        case INFO_SRC_FILE:
            DFD_WATCH(refused, dfd::watch::Refusal::file_write);
            LOG_ERR("not support write info to file\r\n");
            return DFD_ERR;
        default:
            DFD_WATCH(refused, dfd::watch::Refusal::source);
            LOG_ERR("info src[%d] error\r\n", src);
            return DFD_ERR;
    }
}
