// SPDX-License-Identifier: MIT
#include "i2c_dev.h"

#include <linux/i2c-dev.h>
#include <linux/i2c.h>

#include <algorithm>
#include <climits>

#include "smbus.h"
#include "user_memory.h"

namespace vchassis {

namespace {

constexpr std::size_t kMaxMessages = I2C_RDWR_IOCTL_MAX_MSGS;
constexpr std::size_t kMaxLength = 8192;
constexpr std::uintptr_t kSevenBitMax = 0x7f;
constexpr std::uintptr_t kTenBitMax = 0x3ff;
constexpr std::uintptr_t kMsPerTimeout = 10;
// What every adapter can do here; host notify is not among it.
constexpr unsigned long kFunctions = I2C_FUNC_I2C | I2C_FUNC_SMBUS_EMUL |
                                     I2C_FUNC_SMBUS_READ_BLOCK_DATA |
                                     I2C_FUNC_SMBUS_BLOCK_PROC_CALL;

Outcome refuse(int error) {
    return Outcome::failure(error);
}

// A block read brings its own length, for which the caller's buffer must have room.
bool receives_length_well(const i2c_msg &asked, const Message &message) {
    return reads(message) && asked.len >= 1 && message.bytes[0] >= 1 &&
           asked.len >= message.bytes[0] + I2C_SMBUS_BLOCK_MAX;
}

// The bytes of a message as they come in, those of a read too; 0 or an errno.
int take(const i2c_msg &asked, Message &message) {
    if (asked.len > kMaxLength) {
        return EINVAL;
    }
    message.bytes.resize(asked.len);
    if (!take_from_user(message.bytes.data(), asked.buf, asked.len)) {
        return EFAULT;
    }
    if ((asked.flags & I2C_M_RECV_LEN) != 0) {
        if (!receives_length_well(asked, message)) {
            return EINVAL;
        }
        message.bytes.resize(message.bytes[0]);
    }
    return 0;
}

bool give(const std::vector<Message> &messages, const std::vector<i2c_msg> &asked) {
    bool good = true;
    for (std::size_t i = 0; i < messages.size(); ++i) {
        if (reads(messages[i])) {
            const std::size_t count = std::min<std::size_t>(asked[i].len, messages[i].bytes.size());
            good = give_to_user(asked[i].buf, messages[i].bytes.data(), count) && good;
        }
    }
    return good;
}

Outcome rdwr(const void *argument, const Transact &transact) {
    i2c_rdwr_ioctl_data request{};
    if (!take_from_user(&request, argument, sizeof request)) {
        return refuse(EFAULT);
    }
    if (request.msgs == nullptr || request.nmsgs == 0 || request.nmsgs > kMaxMessages) {
        return refuse(EINVAL);
    }
    std::vector<i2c_msg> asked(request.nmsgs);
    if (!take_from_user(asked.data(), request.msgs, asked.size() * sizeof(i2c_msg))) {
        return refuse(EFAULT);
    }
    std::vector<Message> messages;
    for (const i2c_msg &each : asked) {
        messages.push_back({each.addr, each.flags, {}});
        if (const int error = take(each, messages.back()); error != 0) {
            return refuse(error);
        }
    }
    const Outcome outcome = transact(messages, -1);
    return outcome.result < 0 || give(messages, asked) ? outcome : refuse(EFAULT);
}

Outcome set_address(I2cPort &port, const Bus &bus, std::uintptr_t addr, bool force) {
    if (addr > (port.ten_bit ? kTenBitMax : kSevenBitMax)) {
        return refuse(EINVAL);
    }
    // A driver's address is taken, also as a ten-bit one.
    const Slave *slave = bus.at(static_cast<int>(addr));
    if (!force && slave != nullptr && slave->driver_bound()) {
        return refuse(EBUSY);
    }
    port.addr = static_cast<std::uint16_t>(addr);
    return {};
}

Outcome functions(const Bus &bus, void *argument) {
    const unsigned long all = kFunctions | (bus.nostart() ? I2C_FUNC_NOSTART : 0UL) |
                              (bus.ten_bit() ? I2C_FUNC_10BIT_ADDR : 0UL);
    return give_to_user(argument, &all, sizeof all) ? Outcome{} : refuse(EFAULT);
}

Outcome smbus(const I2cPort &port, const void *argument, const Transact &transact) {
    i2c_smbus_ioctl_data request{};
    return take_from_user(&request, argument, sizeof request)
               ? smbus_transaction(port, request, transact)
               : refuse(EFAULT);
}

}  // namespace

Outcome i2c_ioctl(I2cPort &port, const Bus &bus, unsigned long request, void *argument,
                  const Transact &transact) {
    const auto number = reinterpret_cast<std::uintptr_t>(argument);
    switch (request) {
        case I2C_SLAVE:
        case I2C_SLAVE_FORCE:
            return set_address(port, bus, number, request == I2C_SLAVE_FORCE);
        case I2C_TENBIT:
            port.ten_bit = number != 0;
            return {};
        case I2C_PEC:
            port.pec = number != 0;
            return {};
        case I2C_RETRIES:
            return number > INT_MAX ? refuse(EINVAL) : Outcome{};
        case I2C_TIMEOUT:
            return number > INT_MAX / kMsPerTimeout ? refuse(EINVAL) : Outcome{};
        case I2C_FUNCS:
            return functions(bus, argument);
        case I2C_RDWR:
            return rdwr(argument, transact);
        case I2C_SMBUS:
            return smbus(port, argument, transact);
        default:
            return refuse(ENOTTY);
    }
}

Outcome i2c_read(const I2cPort &port, std::span<std::uint8_t> out, const Transact &transact) {
    const std::size_t count = std::min(out.size(), kMaxLength);
    std::vector<Message> messages{{port.addr, port.flags(true), std::vector<std::uint8_t>(count)}};
    const Outcome outcome = transact(messages, static_cast<std::int64_t>(count));
    const bool given = outcome.result < 0 ||
                       give_to_user(out.data(), messages[0].bytes.data(), messages[0].bytes.size());
    return given ? outcome : refuse(EFAULT);
}

Outcome i2c_write(const I2cPort &port, std::span<const std::uint8_t> bytes,
                  const Transact &transact) {
    const std::size_t count = std::min(bytes.size(), kMaxLength);
    std::vector<Message> messages{{port.addr, port.flags(false), std::vector<std::uint8_t>(count)}};
    if (!take_from_user(messages[0].bytes.data(), bytes.data(), count)) {
        return refuse(EFAULT);
    }
    return transact(messages, static_cast<std::int64_t>(count));
}

}  // namespace vchassis
