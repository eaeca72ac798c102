// SPDX-License-Identifier: MIT
#include "i2c_dev.h"

#include <linux/i2c-dev.h>
#include <linux/i2c.h>

#include <algorithm>
#include <cstring>

namespace vchassis {

namespace {

constexpr std::size_t kMaxMessages = I2C_RDWR_IOCTL_MAX_MSGS;
constexpr std::size_t kMaxLength = 8192;
constexpr std::uintptr_t kSevenBitMax = 0x7f;
constexpr std::uintptr_t kTenBitMax = 0x3ff;
// What a plain adapter can do; packet error checking and host notify are not among it.
constexpr unsigned long kFunctions = I2C_FUNC_I2C | I2C_FUNC_SMBUS_QUICK | I2C_FUNC_SMBUS_BYTE |
                                     I2C_FUNC_SMBUS_BYTE_DATA | I2C_FUNC_SMBUS_WORD_DATA |
                                     I2C_FUNC_SMBUS_PROC_CALL | I2C_FUNC_SMBUS_BLOCK_DATA |
                                     I2C_FUNC_SMBUS_I2C_BLOCK;

Outcome refuse(int error) {
    return Outcome::failure(error);
}

bool reads(const Message &message) {
    return (message.flags & I2C_M_RD) != 0;
}

std::uint16_t flags_of(const I2cPort &port, bool read) {
    return static_cast<std::uint16_t>((read ? I2C_M_RD : 0) | (port.ten_bit ? I2C_M_TEN : 0));
}

// A block read brings its own length, for which the caller's buffer must have room.
bool receives_length_well(const i2c_msg &message) {
    return (message.flags & I2C_M_RD) != 0 && message.len >= 1 && message.buf[0] >= 1 &&
           message.len >= message.buf[0] + I2C_SMBUS_BLOCK_MAX;
}

int check(const i2c_msg &message) {
    if (message.len > kMaxLength) {
        return EINVAL;
    }
    if (message.buf == nullptr && message.len > 0) {
        return EFAULT;
    }
    const bool block = (message.flags & I2C_M_RECV_LEN) != 0;
    return block && !receives_length_well(message) ? EINVAL : 0;
}

Message take(const i2c_msg &from) {
    Message message{from.addr, from.flags, {}};
    if ((from.flags & I2C_M_RECV_LEN) != 0) {
        message.bytes.resize(from.buf[0]);
    } else if (reads(message)) {
        message.bytes.resize(from.len);
    } else {
        message.bytes.assign(from.buf, from.buf + from.len);
    }
    return message;
}

void give(const std::vector<Message> &messages, const i2c_rdwr_ioctl_data &request) {
    for (std::size_t i = 0; i < messages.size(); ++i) {
        if (reads(messages[i])) {
            const auto room = static_cast<std::size_t>(request.msgs[i].len);
            const std::size_t count = std::min(room, messages[i].bytes.size());
            std::copy_n(messages[i].bytes.begin(), count, request.msgs[i].buf);
        }
    }
}

Outcome rdwr(const i2c_rdwr_ioctl_data *request, const Transact &transact) {
    if (request == nullptr) {
        return refuse(EFAULT);
    }
    if (request->msgs == nullptr || request->nmsgs == 0 || request->nmsgs > kMaxMessages) {
        return refuse(EINVAL);
    }
    std::vector<Message> messages;
    for (std::size_t i = 0; i < request->nmsgs; ++i) {
        if (const int error = check(request->msgs[i]); error != 0) {
            return refuse(error);
        }
        messages.push_back(take(request->msgs[i]));
    }
    const Outcome outcome = transact(messages, -1);
    if (outcome.result >= 0) {
        give(messages, *request);
    }
    return outcome;
}

// One SMBus transaction as the messages it consists of.
class Smbus {
  public:
    Smbus(const I2cPort &port, const i2c_smbus_ioctl_data &request)
        : port_(port), request_(request), data_(request.data) {}

    Outcome run(const Transact &transact) {
        if (const int error = check(); error != 0) {
            return refuse(error);
        }
        compose();
        const std::size_t wanted = messages_.size();
        const Outcome outcome = transact(messages_, 0);
        if (outcome.result < 0) {
            return outcome;
        }
        const bool missing = wanted > 0 && reads(messages_.back()) && !has_all(messages_.back());
        if (missing) {
            return refuse(EIO);
        }
        deliver();
        return {0, 0};
    }

  private:
    bool read() const { return request_.read_write == I2C_SMBUS_READ; }
    bool sends_block() const {
        return request_.size == I2C_SMBUS_BLOCK_PROC_CALL ||
               (!read() && (request_.size == I2C_SMBUS_BLOCK_DATA || is_i2c_block()));
    }
    bool is_i2c_block() const {
        return request_.size == I2C_SMBUS_I2C_BLOCK_DATA ||
               request_.size == I2C_SMBUS_I2C_BLOCK_BROKEN;
    }
    bool has_data() const {
        return request_.size != I2C_SMBUS_QUICK && (request_.size != I2C_SMBUS_BYTE || read());
    }
    bool has_all(const Message &message) const {
        return request_.size == I2C_SMBUS_QUICK || !message.bytes.empty();
    }

    int check() const {
        if (request_.size > I2C_SMBUS_I2C_BLOCK_DATA || request_.read_write > I2C_SMBUS_READ ||
            (has_data() && data_ == nullptr)) {
            return EINVAL;
        }
        const bool length_counts =
            sends_block() || (read() && request_.size == I2C_SMBUS_I2C_BLOCK_DATA);
        const bool bad =
            length_counts && (data_->block[0] < 1 || data_->block[0] > I2C_SMBUS_BLOCK_MAX);
        if (bad) {
            return EINVAL;
        }
        return request_.size == I2C_SMBUS_BLOCK_PROC_CALL ? EOPNOTSUPP : 0;
    }

    void compose() {
        switch (request_.size) {
            case I2C_SMBUS_QUICK:
                return add(read(), {});
            case I2C_SMBUS_BYTE:
                return read() ? add_read(1) : add(false, {request_.command});
            case I2C_SMBUS_BYTE_DATA:
                return read() ? command_then_read(1) : add(false, {request_.command, data_->byte});
            case I2C_SMBUS_WORD_DATA:
                return read() ? command_then_read(2) : add_word();
            case I2C_SMBUS_PROC_CALL:
                add_word();
                return add_read(2);
            case I2C_SMBUS_BLOCK_DATA:
                return read() ? command_then_block() : add_block(0);
            default:
                return read() ? command_then_read(i2c_block_length()) : add_block(1);
        }
    }

    std::size_t i2c_block_length() const {
        // The old request has no length in it and always means a full block.
        return request_.size == I2C_SMBUS_I2C_BLOCK_BROKEN ? I2C_SMBUS_BLOCK_MAX : data_->block[0];
    }

    void add(bool read, std::vector<std::uint8_t> bytes) {
        messages_.push_back({port_.addr, flags_of(port_, read), std::move(bytes)});
    }
    void add_read(std::size_t count) { add(true, std::vector<std::uint8_t>(count)); }
    void command_then_read(std::size_t count) {
        add(false, {request_.command});
        add_read(count);
    }
    void command_then_block() {
        command_then_read(1);
        messages_.back().flags |= I2C_M_RECV_LEN;
    }
    void add_word() {
        add(false, {request_.command, static_cast<std::uint8_t>(data_->word),
                    static_cast<std::uint8_t>(data_->word >> kByteBits)});
    }
    // The count in front of the data is part of an SMBus block, not of an I2C block.
    void add_block(std::size_t from) {
        std::vector<std::uint8_t> bytes{request_.command};
        bytes.insert(bytes.end(), data_->block + from, data_->block + 1 + data_->block[0]);
        add(false, std::move(bytes));
    }

    void deliver() {
        const std::vector<std::uint8_t> &bytes = messages_.back().bytes;
        const bool answered = reads(messages_.back()) && request_.size != I2C_SMBUS_QUICK;
        if (!answered) {
            return;
        }
        switch (request_.size) {
            case I2C_SMBUS_BYTE:
            case I2C_SMBUS_BYTE_DATA:
                data_->byte = bytes[0];
                return;
            case I2C_SMBUS_WORD_DATA:
            case I2C_SMBUS_PROC_CALL:
                data_->word = static_cast<std::uint16_t>(bytes[0] | bytes[1] << kByteBits);
                return;
            case I2C_SMBUS_BLOCK_DATA:
                std::copy(bytes.begin(), bytes.end(), data_->block);
                return;
            default:
                data_->block[0] = static_cast<std::uint8_t>(bytes.size());
                std::copy(bytes.begin(), bytes.end(), data_->block + 1);
        }
    }

    const I2cPort &port_;
    const i2c_smbus_ioctl_data &request_;
    i2c_smbus_data *data_;
    std::vector<Message> messages_;
};

Outcome set_address(I2cPort &port, const Bus &bus, std::uintptr_t addr, bool force) {
    if (addr > (port.ten_bit ? kTenBitMax : kSevenBitMax)) {
        return refuse(EINVAL);
    }
    const Slave *slave = port.ten_bit ? nullptr : bus.at(static_cast<int>(addr));
    if (!force && slave != nullptr && slave->driver_bound()) {
        return refuse(EBUSY);
    }
    port.addr = static_cast<std::uint16_t>(addr);
    return {};
}

Outcome functions(const Bus &bus, void *argument) {
    if (argument == nullptr) {
        return refuse(EFAULT);
    }
    const unsigned long all = kFunctions | (bus.nostart() ? I2C_FUNC_NOSTART : 0UL);
    std::memcpy(argument, &all, sizeof all);
    return {};
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
        case I2C_RETRIES:
        case I2C_TIMEOUT:
            return {};
        case I2C_FUNCS:
            return functions(bus, argument);
        case I2C_RDWR:
            return rdwr(static_cast<const i2c_rdwr_ioctl_data *>(argument), transact);
        case I2C_SMBUS:
            return argument == nullptr
                       ? refuse(EFAULT)
                       : Smbus(port, *static_cast<const i2c_smbus_ioctl_data *>(argument))
                             .run(transact);
        default:
            return refuse(ENOTTY);
    }
}

Outcome i2c_read(const I2cPort &port, std::span<std::uint8_t> out, const Transact &transact) {
    const std::size_t count = std::min(out.size(), kMaxLength);
    std::vector<Message> messages{
        {port.addr, flags_of(port, true), std::vector<std::uint8_t>(count)}};
    const Outcome outcome = transact(messages, static_cast<std::int64_t>(count));
    if (outcome.result >= 0) {
        std::copy(messages[0].bytes.begin(), messages[0].bytes.end(), out.begin());
    }
    return outcome;
}

Outcome i2c_write(const I2cPort &port, std::span<const std::uint8_t> bytes,
                  const Transact &transact) {
    const std::size_t count = std::min(bytes.size(), kMaxLength);
    const auto sent = bytes.first(count);
    std::vector<Message> messages{{port.addr, flags_of(port, false), {sent.begin(), sent.end()}}};
    return transact(messages, static_cast<std::int64_t>(count));
}

}  // namespace vchassis
