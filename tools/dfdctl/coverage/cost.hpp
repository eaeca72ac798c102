// SPDX-License-Identifier: MIT
// What one pass of monitoring software costs on the buses.
#pragma once

#include <span>

#include "dfdctl/coverage/survey.hpp"

namespace dfdctl::coverage {

/// Transfers with one device.
struct Traffic {
    dfd::watch::Via via;
    std::string device;      ///< path
    std::uint16_t addr = 0;  ///< I2C only
    std::uint64_t reads = 0;
    std::uint64_t writes = 0;
    std::uint64_t bytes = 0;  ///< data, without addresses and offsets
    std::uint64_t bits = 0;   ///< on the wire; I2C only
};

struct Cost {
    std::size_t calls = 0;         ///< of functions that answer
    std::vector<Traffic> traffic;  ///< by device
    std::uint64_t pause_us = 0;    ///< that the library sleeps

    std::uint64_t transfers() const;
    std::uint64_t bytes() const;
    /// Time on the I2C buses one after the other.
    std::uint64_t bus_us(std::uint32_t i2c_khz) const;
};

/// Every polled function that answers, with each unit once, by its name in the driver interface.
Cost monitoring_pass(std::span<const Cell> cells);

/// Clock cycles of a transfer: a byte takes nine, its acknowledgement included; start, repeated
/// start and stop take one each.
std::uint64_t i2c_bits(bool is_write, int offset_bytes, std::uint32_t len);

std::uint64_t microseconds(std::uint64_t bits, std::uint32_t i2c_khz);

}  // namespace dfdctl::coverage
