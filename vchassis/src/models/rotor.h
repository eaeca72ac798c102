// SPDX-License-Identifier: MIT
// A fan rotor: its measured speed, a number in registers, follows its speed setting.
#pragma once

#include <map>
#include <optional>

#include "../wiring.h"

namespace vchassis {

// Bits of one or several registers that stand for a speed: by a table of codes, or evenly from the
// value of a rotor that stands still to that at full speed.
class SpeedField : public Link {
  public:
    struct Form {
        const char *key;
        std::int64_t bits;
        std::int64_t least_step;
    };
    // Field `index` of rotors that are alike. At full speed it holds, where the description gives
    // no other value, `full_rpm` in a field that shows speeds, the highest value in one that sets
    // them.
    SpeedField(const Section &rotor, const Form &form, unsigned index,
               std::optional<std::int64_t> full_rpm = std::nullopt);

    // The highest speed of the codes; without codes none.
    std::optional<std::int64_t> highest_code_rpm() const;
    std::int64_t rpm(std::int64_t full_rpm) const;
    // Whether another value stands there now.
    bool show(std::int64_t rpm, std::int64_t full_rpm) const;

  private:
    void read_place(const Section &table, const Form &form, unsigned index);
    void read_codes(const Section &table, const Section &codes);
    void read_ends(const Section &table, std::optional<std::int64_t> full_rpm);
    std::int64_t value_of(std::int64_t rpm, std::int64_t full_rpm) const;
    std::int64_t max() const { return (std::int64_t{1} << bits_) - 1; }
    // How far the byte of a register stands to the left in the number.
    unsigned place_of(std::uint32_t byte) const;
    std::uint32_t number() const;

    bool high_byte_first_;
    unsigned bit_ = 0;
    unsigned bits_ = 0;
    std::map<std::int64_t, std::int64_t> codes_;  // value to revolutions per minute
    std::int64_t still_ = 0;
    std::int64_t full_ = 0;
};

class Rotor : public Wiring {
  public:
    // Rotor `index` of those that are alike.
    Rotor(const Section &section, unsigned index);

    bool settle() override;
    std::vector<Link *> links() override;

  private:
    SpeedField set_;
    std::int64_t full_rpm_;
    SpeedField speed_;
    Conditions turns_when_;
};

}  // namespace vchassis
