// SPDX-License-Identifier: MIT
// A fan rotor: its measured speed, a number in two registers, follows its speed register.
#pragma once

#include "../wiring.h"

namespace vchassis {

class Rotor : public Wiring {
  public:
    // Rotor `index` of those that are alike: its registers follow those of the one before.
    Rotor(const Section &section, unsigned index);

    bool settle() override;
    std::vector<Link *> links() override;

  private:
    std::uint16_t rpm() const;

    Link set_;    // 0 stands still, 255 is full speed
    Link speed_;  // revolutions per minute, two bytes
    Conditions turns_when_;
    std::uint32_t full_rpm_;
    bool high_byte_first_;
};

}  // namespace vchassis
