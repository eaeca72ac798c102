// SPDX-License-Identifier: MIT
// Which numbers the indexes of a call can have: units of the board, by the roles of parameters.
#pragma once

#include <map>
#include <optional>

#include "dfdctl/board/units.hpp"
#include "dfdctl/observe/calls.hpp"

namespace dfdctl::observe {

class Units {
  public:
    /// Of the items that are configured: constants in them count, nothing is read. The slot of this
    /// card, where the caller knows it.
    explicit Units(const LoadRecord &record, std::optional<std::uint32_t> own_slot = {});

    /// Every combination of the numbers of a call; other numbers have their standard.
    std::vector<Args> all_args(const Call &call) const;

    /// The card of a slot, as the keys of its items have it.
    std::uint32_t card_of(std::uint32_t slot) const;

    /// The slot of this card, by which others see it: as configured where that is a constant,
    /// otherwise a number that no other card of the configuration has.
    std::uint32_t own_slot() const { return own_slot_; }
    /// The number is such a one: no slot of the chassis.
    bool is_own_slot_assumed() const { return is_own_slot_assumed_; }
    /// What my_slotid has to read for that.
    std::uint32_t own_slot_value() const { return own_slot_value_; }

  private:
    Numbers index1_of(std::uint32_t type) const;
    Numbers numbers(Role role, std::uint32_t first) const;
    Numbers sensors(Role role, std::uint32_t card) const;
    const std::vector<std::uint32_t> &values_of(Role role, Role before, std::uint32_t first) const;
    Numbers slots() const;
    Numbers led_types() const;
    Numbers led_units(std::uint32_t led_type) const;
    Numbers macs() const;
    Numbers backplanes() const;
    Numbers irq_types() const;
    void find_own_slot(std::optional<std::uint32_t> known);

    const LoadRecord &record_;
    /// By role, and the number that they depend on.
    mutable std::map<std::pair<Role, std::uint32_t>, std::vector<std::uint32_t>> known_;
    std::uint32_t own_slot_ = 0;
    std::uint32_t own_slot_value_ = 0;
    bool is_own_slot_assumed_ = false;
};

}  // namespace dfdctl::observe
