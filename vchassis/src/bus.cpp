// SPDX-License-Identifier: MIT
#include "bus.h"

#include <algorithm>
#include <set>

namespace vchassis {

namespace {

constexpr unsigned kSevenBits = 0x7f;

void drop_unread(std::span<Message> messages) {
    for (Message &message : messages) {
        if (reads(message)) {
            message.bytes.clear();
        }
    }
}

}  // namespace

// A message without a start of its own goes on where the previous one ended; turning round needs a
// start whatever the flag says.
bool Bus::continues(const Message &message, const Message &previous) const {
    return nostart_ && (message.flags & I2C_M_NOSTART) != 0 && reads(message) == reads(previous);
}

Slave *Bus::add(int addr, std::unique_ptr<Slave> slave) {
    const auto [place, added] = slaves_.emplace(addr, std::move(slave));
    return added ? place->second.get() : nullptr;
}

Slave *Bus::at(int addr) const {
    const auto found = slaves_.find(addr);
    return found == slaves_.end() ? nullptr : found->second.get();
}

// Ten-bit addresses are a space of their own, in which nothing stands. Of any other address seven
// bits go over the wire, whatever stands above them.
Slave *Bus::address(const Message &message) const {
    const bool ten_bit = ten_bit_ && (message.flags & I2C_M_TEN) != 0;
    Slave *slave = ten_bit ? nullptr : at(static_cast<int>(message.addr & kSevenBits));
    const bool answers = slave != nullptr && slave->present() && slave->start(reads(message));
    return answers ? slave : nullptr;
}

// The first byte of a block read says how many follow.
bool Bus::receive(Slave &slave, Message &message) {
    if ((message.flags & I2C_M_RECV_LEN) != 0) {
        const std::uint8_t count = slave.read();
        message.bytes.resize(message.bytes.size() + count);
        message.bytes[0] = count;
        std::generate(message.bytes.begin() + 1, message.bytes.end(),
                      [&slave] { return slave.read(); });
        return count >= 1 && count <= I2C_SMBUS_BLOCK_MAX;
    }
    std::generate(message.bytes.begin(), message.bytes.end(), [&slave] { return slave.read(); });
    return true;
}

bool Bus::send(Slave &slave, const Message &message) {
    return std::all_of(message.bytes.begin(), message.bytes.end(),
                       [&slave](std::uint8_t byte) { return slave.write(byte); });
}

Outcome Bus::transfer(std::span<Message> messages) {
    Outcome outcome{static_cast<std::int64_t>(messages.size()), 0};
    std::set<Slave *> addressed;
    Slave *slave = nullptr;
    for (std::size_t i = 0; i < messages.size() && outcome.error == 0; ++i) {
        Message &message = messages[i];
        if (i == 0 || !continues(message, messages[i - 1])) {
            slave = address(message);
            addressed.insert(slave);
        }
        if (slave == nullptr) {
            outcome = Outcome::failure(absent_error_);
        } else if (reads(message) && !receive(*slave, message)) {
            outcome = Outcome::failure(EPROTO);
        } else if (!reads(message) && !send(*slave, message)) {
            outcome = Outcome::failure(EIO);
        }
        if (outcome.error != 0) {
            drop_unread(messages.subspan(i));
        }
    }
    addressed.erase(nullptr);
    for (Slave *each : addressed) {
        each->stop();
    }
    return outcome;
}

}  // namespace vchassis
