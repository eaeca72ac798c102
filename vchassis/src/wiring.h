// SPDX-License-Identifier: MIT
// What connects devices: it keeps registers in step with registers elsewhere, whoever writes those.
// The machine settles all wiring before bytes are read and after bytes were written.
#pragma once

#include "model.h"

namespace vchassis {

class Wiring {
  public:
    Wiring() = default;
    virtual ~Wiring() = default;
    Wiring(const Wiring &) = delete;
    Wiring &operator=(const Wiring &) = delete;

    // Brings the register it drives up to date; whether anything changed.
    virtual bool settle() = 0;
    virtual std::vector<Link *> links() = 0;

    // From here on it is part of the machine.
    virtual void attach(std::span<std::uint8_t> scratch_bytes, const Clock &clock) {
        scratch.attach(scratch_bytes);
        clock_ = &clock;
    }

  protected:
    // What it remembers, as in a slave: for the next command goes on where this one stopped.
    Scratch scratch;
    const Clock &clock() const { return *clock_; }

  private:
    const Clock *clock_ = nullptr;
};

// All of the conditions of a list; an empty one always holds.
class Conditions {
  public:
    Conditions(const Section &section, std::string_view key, unsigned shift = 0);

    bool hold() const;
    void add_to(std::vector<Link *> &links);

  private:
    std::vector<std::unique_ptr<Condition>> all_;
};

// A table that must be there.
const Section &needed_table(const Section &section, std::string_view key);

// What the [wiring] of a description asks for.
std::vector<std::unique_ptr<Wiring>> make_wiring(const Section &section);

}  // namespace vchassis
