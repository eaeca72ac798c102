// SPDX-License-Identifier: MIT
// A write strobe: each time a program writes a register, it sets bits of another one, once.
#pragma once

#include "../wiring.h"

namespace vchassis {

class Strobe : public Wiring {
  public:
    // Strobe `index` of those that stand side by side.
    Strobe(const Section &section, unsigned index);

    void attach(std::span<std::uint8_t> scratch_bytes, const Clock &clock) override;
    bool settle() override { return false; }
    std::vector<Link *> links() override;

  private:
    void act_on(std::uint8_t written) const;

    // About the byte that is written, whatever the register makes of it.
    Condition on_;
    Condition to_;
    Conditions when_;
};

}  // namespace vchassis
