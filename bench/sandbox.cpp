// SPDX-License-Identifier: MIT
#include "bench/sandbox.hpp"

#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string_view>

#include "bench/board_files.hpp"

namespace bench {

namespace {

std::string g_root;
std::string g_path;
unsigned char g_memory[256];

/// Valid until the next call.
const char *real_path(const char *path) {
    const std::string_view text = path;
    if (g_root.empty()) {
        return path;
    }
    if (text.starts_with("/dev/i2c-")) {
        return device_file().c_str();
    }
    if (text.starts_with("/etc/cfg/dfd/") || text.starts_with("/tmp/bspinfo/")) {
        g_path = g_root + path;
        return g_path.c_str();
    }
    return path;
}

}  // namespace

void set_board_root(const std::string &root) {
    g_root = root;
}

const std::string &device_file() {
    static const std::string path = [] {
        const auto file = scratch_directory() / "device";
        std::ofstream(file, std::ios::binary) << std::string(1, '\1') << std::string(255, '\0');
        return file.string();
    }();
    return path;
}

void set_i2c_memory(const std::string &image) {
    std::memcpy(g_memory, image.data(), std::min(image.size(), sizeof g_memory));
}

}  // namespace bench

extern "C" {

// Names that the linker puts in the place of open and so on.
int __real_open(const char *path, int flags, ...);
int __wrap_open(const char *path, int flags, ...);
FILE *__real_fopen(const char *path, const char *mode);
FILE *__wrap_fopen(const char *path, const char *mode);
int __real_access(const char *path, int mode);
int __wrap_access(const char *path, int mode);
int __real_ioctl(int fd, unsigned long request, ...);
int __wrap_ioctl(int fd, unsigned long request, ...);

int __wrap_open(const char *path, int flags, ...) {
    constexpr mode_t kMode = 0600;
    return __real_open(bench::real_path(path), flags, kMode);
}

FILE *__wrap_fopen(const char *path, const char *mode) {
    return __real_fopen(bench::real_path(path), mode);
}

int __wrap_access(const char *path, int mode) {
    return __real_access(bench::real_path(path), mode);
}

int __wrap_ioctl(int fd, unsigned long request, ...) {
    va_list arguments;
    va_start(arguments, request);
    auto *const transfer = va_arg(arguments, i2c_rdwr_ioctl_data *);
    va_end(arguments);
    __real_ioctl(fd, request, transfer);
    const i2c_msg &offset = transfer->msgs[0];
    const i2c_msg &data = transfer->msgs[1];
    if ((data.flags & I2C_M_RD) != 0) {
        for (unsigned i = 0; i < data.len; ++i) {
            data.buf[i] = bench::g_memory[(offset.buf[0] + i) % sizeof bench::g_memory];
        }
    }
    return static_cast<int>(transfer->nmsgs);
}
}
