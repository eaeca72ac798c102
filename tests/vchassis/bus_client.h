// SPDX-License-Identifier: MIT
// Short forms of what the tests do on device files and buses.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <vector>

namespace vchassis_test {

using Bytes = std::vector<std::uint8_t>;

// The device and the bus of most chassis here.
inline constexpr const char *kCpld = "/dev/cpld0";
inline constexpr const char *kBus = "/dev/i2c-0";

class File {
  public:
    explicit File(const char *path, int flags = O_RDWR) : fd(open(path, flags)) {}
    ~File() {
        if (fd >= 0) {
            close(fd);
        }
    }
    File(const File &) = delete;
    File &operator=(const File &) = delete;

    const int fd;
};

// A register of a device file as the program on the chassis sees it; -1 where it cannot be read.
inline int read_register(const char *device, std::uint32_t reg) {
    const File file(device, O_RDONLY);
    std::uint8_t byte = 0;
    return pread(file.fd, &byte, 1, reg) == 1 ? byte : -1;
}

inline void write_register(const char *device, std::uint32_t reg, std::uint8_t byte) {
    const File file(device, O_WRONLY);
    EXPECT_EQ(pwrite(file.fd, &byte, 1, reg), 1);
}

// The errno of a call that failed, 0 for one that did not.
inline int error_of(long result) {
    return result < 0 ? errno : 0;
}

struct Step {
    std::uint16_t flags;
    Bytes bytes;  // of a read: as many as are wanted
};

inline Step put(Bytes bytes) {
    return {0, std::move(bytes)};
}
inline Step put_on(Bytes bytes) {
    return {I2C_M_NOSTART, std::move(bytes)};
}
inline Step get(std::size_t count) {
    return {I2C_M_RD, Bytes(count)};
}

struct Answer {
    int result = 0;
    int error = 0;
    Bytes bytes = {};  // of all reads, one after the other
};

// One I2C_RDWR to one address.
inline Answer transfer(const char *bus, std::uint16_t addr, std::vector<Step> steps) {
    std::vector<i2c_msg> messages;
    for (Step &step : steps) {
        messages.push_back(
            {addr, step.flags, static_cast<std::uint16_t>(step.bytes.size()), step.bytes.data()});
    }
    i2c_rdwr_ioctl_data request{messages.data(), static_cast<std::uint32_t>(messages.size())};
    const File file(bus);
    Answer answer;
    answer.result = ioctl(file.fd, I2C_RDWR, &request);
    answer.error = error_of(answer.result);
    for (const Step &step : steps) {
        if ((step.flags & I2C_M_RD) != 0 && answer.result >= 0) {
            answer.bytes.insert(answer.bytes.end(), step.bytes.begin(), step.bytes.end());
        }
    }
    return answer;
}

// `count` bytes from `offset` on.
inline Bytes read_from(const char *bus, std::uint16_t addr, std::uint8_t offset,
                       std::size_t count) {
    return transfer(bus, addr, {put({offset}), get(count)}).bytes;
}

}  // namespace vchassis_test
