// SPDX-License-Identifier: MIT
#include "line.h"

namespace vchassis {

namespace {

constexpr Range kDelays_ms{0, 3'600'000};

// What the line remembers, as bits of the scratch's pointer.
constexpr std::uint32_t kSettledBefore = 1;
constexpr std::uint32_t kInput = 2;   // whether the conditions held the last time
constexpr std::uint32_t kOutput = 4;  // the same after the delay

std::uint64_t delay_us(const Section &section, std::string_view key) {
    return static_cast<std::uint64_t>(section.integer_or(key, kDelays_ms, 0)) * kUsPerMs;
}

}  // namespace

Line::Line(const Section &section, unsigned index)
    : to_(needed_table(section, "to"), index),
      when_(section, "when", index),
      mode_(mode_of(section)),
      on_us_(delay_us(section, "on_ms")),
      off_us_(delay_us(section, "off_ms")) {
    if (!section.has("when")) {
        section.fail_at("when", "a line lacks the key 'when'");
    }
    if (!to_.is_one_bit()) {
        section.fail_at("to", "a line drives one bit: give 'bit' in place of 'mask'");
    }
}

Line::Mode Line::mode_of(const Section &section) {
    static constexpr std::string_view kModes[] = {"follow", "set", "clear", "event"};
    return static_cast<Mode>(section.choice("mode", kModes));
}

std::vector<Link *> Line::links() {
    std::vector<Link *> all{&to_};
    when_.add_to(all);
    return all;
}

bool Line::drive(bool active) {
    const bool changes = to_.holds() != active;
    if (changes) {
        to_.put(active);
    }
    return changes;
}

// The delay counts from the change of the conditions; a change back before its end starts it anew.
bool Line::settle() {
    const std::uint32_t before = scratch.pointer();
    const std::uint64_t now_us = clock().now_us();
    const bool input = when_.hold();
    bool output = (before & kOutput) != 0;
    if ((before & kSettledBefore) == 0) {
        output = input;
    } else if (input != ((before & kInput) != 0)) {
        scratch.set_until_us(now_us + (input ? on_us_ : off_us_));
    }
    const bool arrives = input != output && now_us >= scratch.until_us();
    output = arrives ? input : output;
    scratch.set_pointer(kSettledBefore | (input ? kInput : 0) | (output ? kOutput : 0));
    switch (mode_) {
        case Mode::follow:
            return drive(output);
        case Mode::set:
            return output && drive(true);
        case Mode::clear:
            return !output && drive(false);
        case Mode::event:
            return arrives && drive(true);
    }
    return false;
}

}  // namespace vchassis
