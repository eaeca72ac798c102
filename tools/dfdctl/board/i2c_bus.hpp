// SPDX-License-Identifier: MIT
// I2C buses as the tool itself uses them, beside the library.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace dfdctl {

class I2cBus {
  public:
    explicit I2cBus(const std::string &device);
    ~I2cBus();
    I2cBus(const I2cBus &) = delete;
    I2cBus &operator=(const I2cBus &) = delete;

    /// errno of opening it; 0: it is open.
    int error() const { return error_; }
    /// What its adapter can do (I2C_FUNCS); 0 where it does not say.
    unsigned long functions() const;

    /// Writes in one message, which is right on every adapter; 0 or errno.
    int write(std::uint16_t address, std::span<const std::uint8_t> bytes) const;
    /// Writes the offset, then reads; 0 or errno.
    int read(std::uint16_t address, std::span<const std::uint8_t> offset,
             std::span<std::uint8_t> out) const;

  private:
    int fd_;
    int error_;
};

}  // namespace dfdctl
