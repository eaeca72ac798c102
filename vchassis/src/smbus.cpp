// SPDX-License-Identifier: MIT
#include "smbus.h"

#include <linux/i2c.h>

#include <algorithm>

#include "user_memory.h"

namespace vchassis {

namespace {

constexpr unsigned kPecPolynomial = 0x107;

std::uint8_t pec_of(std::uint8_t pec, std::uint8_t byte) {
    unsigned rest = static_cast<unsigned>(pec ^ byte) << kByteBits;
    for (unsigned bit = kByteBits; bit-- > 0;) {
        if ((rest >> (bit + kByteBits) & 1U) != 0) {
            rest ^= kPecPolynomial << bit;
        }
    }
    return static_cast<std::uint8_t>(rest);
}

// Over the address as it goes over the wire, and the first `count` bytes.
std::uint8_t pec_of(std::uint8_t pec, const Message &message, std::size_t count) {
    pec = pec_of(pec, static_cast<std::uint8_t>(message.addr << 1 | (reads(message) ? 1 : 0)));
    for (std::size_t i = 0; i < count; ++i) {
        pec = pec_of(pec, message.bytes[i]);
    }
    return pec;
}

class Smbus {
  public:
    Smbus(const I2cPort &port, const i2c_smbus_ioctl_data &request)
        : port_(port), request_(request), size_(request.size) {}

    Outcome run(const Transact &transact) {
        if (const int error = take(); error != 0) {
            return Outcome::failure(error);
        }
        compose();
        protect();
        const std::size_t wanted = messages_.back().bytes.size();
        const Outcome outcome = transact(messages_, 0);
        if (outcome.result < 0) {
            return outcome;
        }
        const int error = judge(wanted);
        return error == 0 ? Outcome{} : Outcome::failure(error);
    }

  private:
    bool read() const { return request_.read_write == I2C_SMBUS_READ; }
    bool calls() const {
        return size_ == I2C_SMBUS_PROC_CALL || size_ == I2C_SMBUS_BLOCK_PROC_CALL;
    }
    bool has_data() const {
        return size_ != I2C_SMBUS_QUICK && (size_ != I2C_SMBUS_BYTE || read());
    }
    // The caller says how long a block is, but for an SMBus block that is read.
    bool length_counts() const {
        return size_ == I2C_SMBUS_I2C_BLOCK_DATA || size_ == I2C_SMBUS_BLOCK_PROC_CALL ||
               (size_ == I2C_SMBUS_BLOCK_DATA && !read());
    }
    bool takes_data() const {
        return has_data() && (!read() || calls() || size_ == I2C_SMBUS_I2C_BLOCK_DATA);
    }
    std::size_t data_size() const {
        switch (size_) {
            case I2C_SMBUS_BYTE:
            case I2C_SMBUS_BYTE_DATA:
                return sizeof data_.byte;
            case I2C_SMBUS_WORD_DATA:
            case I2C_SMBUS_PROC_CALL:
                return sizeof data_.word;
            default:
                return sizeof data_.block;
        }
    }

    int take() {
        if (size_ > I2C_SMBUS_I2C_BLOCK_DATA || request_.read_write > I2C_SMBUS_READ ||
            (has_data() && request_.data == nullptr)) {
            return EINVAL;
        }
        if (takes_data() && !take_from_user(&data_, request_.data, data_size())) {
            return EFAULT;
        }
        if (size_ == I2C_SMBUS_I2C_BLOCK_BROKEN) {
            take_old_block();
        }
        return length_counts() && data_.block[0] > I2C_SMBUS_BLOCK_MAX ? EINVAL : 0;
    }
    // The old request has no length in it and always reads a full block.
    void take_old_block() {
        size_ = I2C_SMBUS_I2C_BLOCK_DATA;
        if (read()) {
            data_.block[0] = I2C_SMBUS_BLOCK_MAX;
        }
    }

    void compose() {
        switch (size_) {
            case I2C_SMBUS_QUICK:
                return add(read(), {});
            case I2C_SMBUS_BYTE:
                return read() ? add_read(1) : add(false, {request_.command});
            case I2C_SMBUS_BYTE_DATA:
                return read() ? command_then_read(1) : add(false, {request_.command, data_.byte});
            case I2C_SMBUS_WORD_DATA:
                return read() ? command_then_read(2) : add_word();
            case I2C_SMBUS_PROC_CALL:
                add_word();
                return add_read(2);
            case I2C_SMBUS_BLOCK_DATA:
                return read() ? command_then_block() : add_block(0);
            case I2C_SMBUS_BLOCK_PROC_CALL:
                add_block(0);
                return add_block_read();
            default:
                return read() ? command_then_read(data_.block[0]) : add_block(1);
        }
    }

    void add(bool read, std::vector<std::uint8_t> bytes) {
        messages_.push_back({port_.addr, port_.flags(read), std::move(bytes)});
    }
    void add_read(std::size_t count) { add(true, std::vector<std::uint8_t>(count)); }
    void command_then_read(std::size_t count) {
        add(false, {request_.command});
        add_read(count);
    }
    void add_block_read() {
        add_read(1);
        messages_.back().flags |= I2C_M_RECV_LEN;
    }
    void command_then_block() {
        add(false, {request_.command});
        add_block_read();
    }
    void add_word() {
        add(false, {request_.command, static_cast<std::uint8_t>(data_.word),
                    static_cast<std::uint8_t>(data_.word >> kByteBits)});
    }
    // The count in front of the data is part of an SMBus block, not of an I2C block.
    void add_block(std::size_t from) {
        std::vector<std::uint8_t> bytes{request_.command};
        bytes.insert(bytes.end(), data_.block + from, data_.block + 1 + data_.block[0]);
        add(false, std::move(bytes));
    }

    // Packet error checking: one byte more at the end of the transaction.
    bool with_pec() const {
        return port_.pec && size_ != I2C_SMBUS_QUICK && size_ != I2C_SMBUS_I2C_BLOCK_DATA;
    }
    void protect() {
        if (with_pec()) {
            Message &last = messages_.back();
            last.bytes.push_back(reads(last) ? std::uint8_t{0}
                                             : pec_of(0, last, last.bytes.size()));
        }
    }
    bool pec_holds() const {
        std::uint8_t pec = 0;
        for (const Message &message : messages_) {
            pec = pec_of(pec, message,
                         message.bytes.size() - (&message == &messages_.back() ? 1 : 0));
        }
        return messages_.back().bytes.back() == pec;
    }

    int judge(std::size_t wanted) {
        const Message &last = messages_.back();
        if (!reads(last) || !has_data()) {
            return 0;
        }
        if (last.bytes.size() < wanted) {
            return EIO;
        }
        if (with_pec() && !pec_holds()) {
            return EBADMSG;
        }
        store(last.bytes);
        return give_to_user(request_.data, &data_, data_size()) ? 0 : EFAULT;
    }

    void store(const std::vector<std::uint8_t> &bytes) {
        switch (size_) {
            case I2C_SMBUS_BYTE:
            case I2C_SMBUS_BYTE_DATA:
                data_.byte = bytes[0];
                return;
            case I2C_SMBUS_WORD_DATA:
            case I2C_SMBUS_PROC_CALL:
                data_.word = static_cast<std::uint16_t>(bytes[0] | bytes[1] << kByteBits);
                return;
            case I2C_SMBUS_I2C_BLOCK_DATA:
                std::copy(bytes.begin(), bytes.end(), data_.block + 1);
                return;
            default:
                std::copy_n(bytes.begin(), 1 + bytes[0], data_.block);
        }
    }

    const I2cPort &port_;
    const i2c_smbus_ioctl_data &request_;
    std::uint32_t size_;
    // Braces alone zero the first member, a byte: this is the longest.
    i2c_smbus_data data_{.block = {}};
    std::vector<Message> messages_;
};

}  // namespace

Outcome smbus_transaction(const I2cPort &port, const i2c_smbus_ioctl_data &request,
                          const Transact &transact) {
    return Smbus(port, request).run(transact);
}

}  // namespace vchassis
