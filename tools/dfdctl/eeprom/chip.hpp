// SPDX-License-Identifier: MIT
// A serial EEPROM on a bus, read and written by messages that are right on every adapter.
#pragma once

#include "dfdctl/board/faults.hpp"
#include "dfdctl/board/i2c_bus.hpp"
#include "dfdctl/eeprom/place.hpp"

namespace dfdctl {

class Chip {
  public:
    /// Throws EepromFailure where the bus cannot be opened or takes no plain messages.
    explicit Chip(const ImagePlace &place);

    /// All bytes. Throws EepromFailure.
    eeprom::Bytes read() const;
    /// Makes the bytes that differ from `before` those of `after`, and returns what the chip then
    /// holds. Throws EepromFailure.
    eeprom::Bytes change(const eeprom::Bytes &before, const eeprom::Bytes &after) const;

  private:
    std::vector<std::uint8_t> offset_bytes(std::size_t offset) const;
    void write(std::size_t offset, std::span<const std::uint8_t> bytes) const;
    [[noreturn]] void fail(const std::string &what, const FailedTransfer &failed) const;
    [[noreturn]] void fail(const char *what, std::size_t offset, int error) const;

    const ImagePlace &place_;
    I2cBus bus_;
};

}  // namespace dfdctl
