// SPDX-License-Identifier: MIT
// The requests of the I2C character device, reduced to transfers.
#pragma once

#include <linux/i2c.h>

#include <cstdint>
#include <functional>
#include <vector>

#include "bus.h"

namespace vchassis {

// What I2C_SLAVE and its like have set on one open file.
struct I2cPort {
    std::uint16_t addr = 0;
    bool ten_bit = false;
    bool pec = false;

    std::uint16_t flags(bool read) const {
        return static_cast<std::uint16_t>((read ? I2C_M_RD : 0) | (ten_bit ? I2C_M_TEN : 0));
    }
};

// Carries out the messages; a success is reported as `success`, or as the number of messages done
// when `success` is negative.
using Transact = std::function<Outcome(std::vector<Message> &messages, std::int64_t success)>;

Outcome i2c_ioctl(I2cPort &port, const Bus &bus, unsigned long request, void *argument,
                  const Transact &transact);

// Plain read() and write() on the bus file are one message to the address of I2C_SLAVE.
Outcome i2c_read(const I2cPort &port, std::span<std::uint8_t> out, const Transact &transact);
Outcome i2c_write(const I2cPort &port, std::span<const std::uint8_t> bytes,
                  const Transact &transact);

}  // namespace vchassis
