// SPDX-License-Identifier: MIT
// I2C transfers: the only place that talks to a bus device.
#include <dfd/access.h>
#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstring>

#include "framework/platform.h"
#include "framework/watch.h"

namespace {

constexpr int kMaxAttempts = 5;
constexpr unsigned kRetryPause_us = 10000;
constexpr uint32_t kMaxWriteBytes = 256;
constexpr uint32_t kMaxReadBytes = UINT16_MAX;

// The register offset as it goes over the bus.
struct OffsetBytes {
    uint8_t bytes[2];
    uint16_t count;
};

OffsetBytes offset_bytes(uint16_t offset, int wide_offset) {
    const auto low = static_cast<uint8_t>(offset);
    if (wide_offset == 0) {
        return {{low, 0}, 1};
    }
    return {{static_cast<uint8_t>(offset >> 8), low}, 2};
}

// Offset, then data, as one request. It stands where it is asked for: behind each system call the
// code on the way back comes from memory anew.
[[gnu::always_inline]] inline int transfer(const char *path, uint16_t addr, OffsetBytes offset,
                                           uint16_t offset_flags, uint16_t data_flags,
                                           uint8_t *data, uint32_t len) {
    const int fd = open(path, O_RDWR | O_SYNC);
    DFD_WATCH_CALL(open, fd);
    if (fd < 0) {
        return fd;
    }
    i2c_msg messages[] = {{addr, offset_flags, offset.count, offset.bytes},
                          {addr, data_flags, static_cast<uint16_t>(len), data}};
    i2c_rdwr_ioctl_data request = {messages, sizeof messages / sizeof messages[0]};
    const int rv = ioctl(fd, I2C_RDWR, &request);
    DFD_WATCH_CALL(ioctl, rv);
    close(fd);
    return rv;
}

template <typename Attempt>
int with_retries(Attempt attempt) {
    int rv = DFD_ERR;
    for (int i = 0; i < kMaxAttempts; ++i) {
        rv = attempt();
        if (rv >= 0) {
            break;
        }
        dfd::pause_us(kRetryPause_us);
    }
    return rv;
}

[[gnu::always_inline]] inline int read_once(const char *path, uint16_t addr, uint16_t offset,
                                            uint8_t *buf, uint32_t len, int wide_offset) {
    if (path == nullptr || buf == nullptr || len > kMaxReadBytes) {
        return DFD_ERR;
    }
    // This flag marks the wide offset of a read for drivers that support one.
    const uint16_t offset_flags = wide_offset != 0 ? I2C_M_TEN : 0;
    const OffsetBytes offset_out = offset_bytes(offset, wide_offset);
    return dfd::watch::transfer(
        {.via = dfd::watch::Via::i2c,
         .path = path,
         .addr = addr,
         .offset = offset,
         .offset_bytes = offset_out.count,
         .data = buf,
         .len = len},
        [=] { return transfer(path, addr, offset_out, offset_flags, I2C_M_RD, buf, len); });
}

}  // namespace

int sdd_read_i2c_one_time(const char *path, uint16_t addr, uint16_t offset, uint8_t *buf,
                          uint32_t len, int wide_offset) {
    return read_once(path, addr, offset, buf, len, wide_offset);
}

int sdd_write_i2c_one_time(const char *path, uint16_t addr, uint16_t offset, const uint8_t *data,
                           uint32_t len, int wide_offset) {
    if (path == nullptr || data == nullptr || len > kMaxWriteBytes) {
        return DFD_ERR;
    }
    if (len == 0) {
        return 0;
    }
    uint8_t copy[kMaxWriteBytes];
    std::memcpy(copy, data, len);
    const OffsetBytes offset_out = offset_bytes(offset, wide_offset);
    return dfd::watch::transfer(
        {.via = dfd::watch::Via::i2c,
         .is_write = true,
         .path = path,
         .addr = addr,
         .offset = offset,
         .offset_bytes = offset_out.count,
         .data = copy,
         .len = len},
        [=, &copy] { return transfer(path, addr, offset_out, 0, I2C_M_NOSTART, copy, len); });
}

int sdd_read_i2c(const char *path, uint16_t addr, uint16_t offset, uint8_t *buf, uint32_t len) {
    return with_retries([=] { return read_once(path, addr, offset, buf, len, 0); });
}

int sdd_write_i2c(const char *path, uint16_t addr, uint16_t offset, const uint8_t *data,
                  uint32_t len) {
    return with_retries([=] { return sdd_write_i2c_one_time(path, addr, offset, data, len, 0); });
}
