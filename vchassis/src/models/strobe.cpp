// SPDX-License-Identifier: MIT
#include "strobe.h"

#include "registers.h"

namespace vchassis {

Strobe::Strobe(const Section &section, unsigned index)
    : on_(needed_table(section, "on"), index, false),
      to_(needed_table(section, "to"), index),
      when_(section, "when", index) {
    on_.watches = true;
}

void Strobe::attach(std::span<std::uint8_t> scratch_bytes, const Clock &clock) {
    Wiring::attach(scratch_bytes, clock);
    on_.target->register_table()->watch(on_.reg, [this](std::uint8_t written) { act_on(written); });
}

std::vector<Link *> Strobe::links() {
    std::vector<Link *> all{&on_, &to_};
    when_.add_to(all);
    return all;
}

void Strobe::act_on(std::uint8_t written) const {
    if (on_.holds_in(written) && when_.hold()) {
        to_.put(true);
    }
}

}  // namespace vchassis
