// SPDX-License-Identifier: MIT
// A signal line: one bit of a register that conditions elsewhere drive, at once or after a time.
#pragma once

#include "../wiring.h"

namespace vchassis {

class Line : public Wiring {
  public:
    // Line `index` of those that stand side by side.
    Line(const Section &section, unsigned index);

    bool settle() override;
    std::vector<Link *> links() override;

  private:
    enum class Mode {  // in the order of their words
        follow,        // active while the conditions hold
        set,           // active while they hold; otherwise as others leave it
        clear,         // inactive while they do not; otherwise as others leave it
        event,         // becomes active whenever they begin or cease to hold
    };

    bool drive(bool active);
    static Mode mode_of(const Section &section);

    // Its value is the level of the bit while the line is active.
    Condition to_;
    Conditions when_;
    Mode mode_;
    std::uint64_t on_us_;
    std::uint64_t off_us_;
};

}  // namespace vchassis
