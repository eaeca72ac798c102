// SPDX-License-Identifier: MIT
// One I2C bus and its slaves: messages in, acknowledges and bytes out.
#pragma once

#include <linux/i2c.h>

#include <cstdint>
#include <map>
#include <memory>
#include <span>

#include "model.h"
#include "vchassis/chassis.h"

namespace vchassis {

// A system call's return value, with errno when it is negative.
struct Outcome {
    std::int64_t result = 0;
    int error = 0;

    static Outcome failure(int error) { return {-1, error}; }
};

inline bool reads(const Message &message) {
    return (message.flags & I2C_M_RD) != 0;
}

class Bus {
  public:
    explicit Bus(int number) : number_(number) {}

    int number() const { return number_; }
    void set_absent_error(int error) { absent_error_ = error; }
    // How long the adapter waits for an absent address before that.
    void set_absent_us(std::uint64_t us) { absent_us_ = us; }
    // What a transfer that ended so has taken.
    std::uint64_t waited_us(const Outcome &outcome) const {
        return outcome.error == absent_error_ ? absent_us_ : 0;
    }
    // An adapter without I2C_M_NOSTART ignores the flag, as those of the kernel do.
    void set_nostart(bool knows_it) { nostart_ = knows_it; }
    bool nostart() const { return nostart_; }
    // Without ten-bit addresses it ignores their flag too.
    void set_ten_bit(bool knows_it) { ten_bit_ = knows_it; }
    bool ten_bit() const { return ten_bit_; }

    // Null when the address is taken.
    Slave *add(int addr, std::unique_ptr<Slave> slave);
    Slave *at(int addr) const;
    template <class Predicate>
    void remove_if(Predicate predicate) {
        std::erase_if(slaves_, predicate);
    }
    const std::map<int, std::unique_ptr<Slave>> &slaves() const { return slaves_; }

    // Carries out the messages as one transfer with a stop at the end. Read messages come in with
    // as many bytes as are wanted and leave with those that arrived.
    Outcome transfer(std::span<Message> messages);

  private:
    Slave *address(const Message &message) const;
    bool continues(const Message &message, const Message &previous) const;
    static bool receive(Slave &slave, Message &message);
    static bool send(Slave &slave, const Message &message);

    int number_;
    int absent_error_ = ENXIO;
    std::uint64_t absent_us_ = 0;
    bool nostart_ = true;
    bool ten_bit_ = true;
    std::map<int, std::unique_ptr<Slave>> slaves_;
};

}  // namespace vchassis
