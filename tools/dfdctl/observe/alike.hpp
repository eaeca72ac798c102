// SPDX-License-Identifier: MIT
// Units that are described alike are used alike: of a row of them some are observed, and what was
// seen of these holds for those between.
#pragma once

#include <array>
#include <optional>

#include "dfdctl/observe/units.hpp"

struct info_ctrl;

namespace dfdctl::observe {

/// In the order in which a call asks for them.
using Keys = std::vector<std::uint32_t>;

/// Whether the engine, and the functions that ask it, do the same with both, though in two places.
bool are_alike(const info_ctrl &a, const info_ctrl &b);

/// Calls of one function that were seen to do the same with items that are described alike: from
/// one to another the indexes differ by as much as the arguments do.
class Pattern {
  public:
    Pattern(const Call &call, const Args &args, const Keys &keys);

    /// Learns from another call that did the same; false where its keys are not of this pattern.
    bool takes(const Args &args, const Keys &keys);
    /// What a call asks for that lies between those learned from. Nothing where these leave a
    /// doubt, or where an item that the call would ask for is described otherwise.
    std::optional<Keys> keys_of(const Args &args) const;

  private:
    /// Bits: an index is always the same; it moves with one of the arguments.
    using Ways = std::uint32_t;
    static constexpr Ways kFixed = 1;
    static constexpr Ways moves_with(std::size_t argument) { return Ways{2} << argument; }

    struct Asked {
        Item item;  ///< of the first call
        const void *record;
        std::array<Ways, 2> ways;  ///< in which the indexes may come about, by what was seen
    };
    struct Range {
        bool is_of_units;
        std::uint32_t low;
        std::uint32_t high;
    };

    Ways ways_of(const Args &args, std::uint32_t from, std::uint32_t to) const;
    std::optional<std::uint32_t> index_of(const Args &args, std::uint32_t from, Ways ways) const;
    std::optional<std::uint32_t> key_of(const Args &args, const Asked &asked) const;
    bool is_between(const Args &args) const;

    Args first_;
    std::vector<Range> ranges_;  ///< of the arguments that were learned from
    std::vector<Asked> asked_;
};

}  // namespace dfdctl::observe
