// SPDX-License-Identifier: MIT
// Device files: the only place that opens, positions and transfers on them.
#include <dfd/access.h>
#include <fcntl.h>
#include <unistd.h>

#include "framework/watch.h"

namespace {

constexpr mode_t kFileMode = 0600;

int read_device(const char *path, int offset, uint8_t *buf, int len) {
    const int fd = open(path, O_RDWR, kFileMode);
    DFD_WATCH_CALL(open, fd);
    if (fd < 0) {
        return DFD_ERR;
    }
    auto rv = static_cast<int>(lseek(fd, offset, SEEK_SET));
    DFD_WATCH_CALL(seek, rv);
    if (rv >= 0) {
        rv = static_cast<int>(read(fd, buf, static_cast<size_t>(len)));
        DFD_WATCH_CALL(read, rv);
    }
    close(fd);
    return rv;
}

int write_device(const char *path, int offset, const uint8_t *buf, int len) {
    const int fd = open(path, O_RDWR, kFileMode);
    DFD_WATCH_CALL(open, fd);
    if (fd < 0) {
        // A write to a missing device succeeds: boards share configuration for parts that only some
        // of them have.
        return DFD_OK;
    }
    auto rv = static_cast<int>(lseek(fd, offset, SEEK_SET));
    DFD_WATCH_CALL(seek, rv);
    if (rv >= 0) {
        rv = static_cast<int>(write(fd, buf, static_cast<size_t>(len)));
        DFD_WATCH_CALL(write, rv);
    }
    close(fd);
    return rv < 0 ? rv : DFD_OK;
}

}  // namespace

int sdd_device_read(const char *path, int offset, uint8_t *buf, int len) {
    if (buf == nullptr || path == nullptr || len < 0) {
        return DFD_ERR;
    }
    return dfd::watch::transfer({.via = dfd::watch::Via::device,
                                 .path = path,
                                 .offset = static_cast<uint32_t>(offset),
                                 .data = buf,
                                 .len = static_cast<uint32_t>(len)},
                                [=] { return read_device(path, offset, buf, len); });
}

int sdd_device_write(const char *path, int offset, const uint8_t *buf, int len) {
    if (buf == nullptr || path == nullptr || len < 0) {
        return DFD_ERR;
    }
    return dfd::watch::transfer({.via = dfd::watch::Via::device,
                                 .is_write = true,
                                 .path = path,
                                 .offset = static_cast<uint32_t>(offset),
                                 .data = const_cast<uint8_t *>(buf),
                                 .len = static_cast<uint32_t>(len)},
                                [=] { return write_device(path, offset, buf, len); });
}
