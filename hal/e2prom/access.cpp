// SPDX-License-Identifier: MIT
// Raw EEPROM access.
#include <dfd/access.h>

#include <algorithm>

#include "framework/platform.h"
#include "framework/text.h"
#include "hal/e2prom/module.h"

namespace {

constexpr int kPageBytes = 4;
constexpr unsigned kWritePause_us = 10000;

// The message of a failed write says "get" too: log filters match this one text.
void log_failure(const dfd::E2prom &e2prom, int offset, int rv) {
    LOG_ERR_IN(e2prom.func, "Failed to get e2prom info: dev %s 0x%02x, offset: %d(ret %d)\r\n",
               dfd::shown(e2prom.dev), e2prom.addr, offset, rv);
}

}  // namespace

int dfd_read_e2prom(const char *dev, uint16_t addr, int offset, uint8_t *buf, int len) {
    const int rv =
        sdd_read_i2c(dev, addr, static_cast<uint16_t>(offset), buf, static_cast<uint32_t>(len));
    if (rv < 0) {
        log_failure({__func__, dev, addr}, offset, rv);
        return rv;
    }
    return DFD_OK;
}

int dfd_write_e2prom(const char *dev, uint16_t addr, int offset, const uint8_t *buf, int len) {
    while (len > 0) {
        const int to_boundary = kPageBytes - (offset & (kPageBytes - 1));
        const int chunk = std::min(len, to_boundary);
        const int rv = sdd_write_i2c(dev, addr, static_cast<uint16_t>(offset), buf,
                                     static_cast<uint32_t>(chunk));
        if (rv < 0) {
            log_failure({__func__, dev, addr}, offset, rv);
            return rv;
        }
        offset += chunk;
        buf += chunk;
        len -= chunk;
        dfd::pause_us(kWritePause_us);
    }
    return DFD_OK;
}
