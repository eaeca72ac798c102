// SPDX-License-Identifier: MIT
#include "dfdctl/board/i2c_bus.hpp"

#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <cerrno>

namespace dfdctl {

namespace {

int transfer(int fd, std::span<i2c_msg> messages) {
    i2c_rdwr_ioctl_data request = {messages.data(), static_cast<std::uint32_t>(messages.size())};
    return ioctl(fd, I2C_RDWR, &request) < 0 ? errno : 0;
}

i2c_msg message(std::uint16_t address, std::uint16_t flags, std::span<std::uint8_t> bytes) {
    return {address, flags, static_cast<std::uint16_t>(bytes.size()), bytes.data()};
}

}  // namespace

I2cBus::I2cBus(const std::string &device)
    : fd_(open(device.c_str(), O_RDWR | O_CLOEXEC)), error_(fd_ < 0 ? errno : 0) {}

I2cBus::~I2cBus() {
    if (fd_ >= 0) {
        close(fd_);
    }
}

unsigned long I2cBus::functions() const {
    unsigned long functions = 0;
    return fd_ >= 0 && ioctl(fd_, I2C_FUNCS, &functions) == 0 ? functions : 0;
}

int I2cBus::write(std::uint16_t address, std::span<const std::uint8_t> bytes) const {
    std::vector<std::uint8_t> copy(bytes.begin(), bytes.end());
    i2c_msg messages[] = {message(address, 0, copy)};
    return transfer(fd_, messages);
}

int I2cBus::read(std::uint16_t address, std::span<const std::uint8_t> offset,
                 std::span<std::uint8_t> out) const {
    std::vector<std::uint8_t> copy(offset.begin(), offset.end());
    i2c_msg messages[] = {message(address, 0, copy), message(address, I2C_M_RD, out)};
    return transfer(fd_, messages);
}

}  // namespace dfdctl
