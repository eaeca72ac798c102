// SPDX-License-Identifier: MIT
// Commands that change something: what each does is data, how it is asked, done, checked and told
// is the same for all.
#pragma once

#include <functional>
#include <span>

#include "dfdctl/board/load_record.hpp"
#include "dfdctl/board/reading.hpp"
#include "dfdctl/command.hpp"

namespace dfdctl {

/// A field of a register that a change writes.
struct Signal {
    std::string target;                  ///< "power of slot 3"
    Item item;                           ///< is configured
    std::uint32_t written = 0;           ///< the value that stays
    std::function<Reading()> show = {};  ///< its state for the user; none: what the item reads
    /// What is then shown, of a signal whose register need not show what was written to it.
    std::optional<std::int64_t> shows = {};
    bool is_beside = false;  ///< the library writes it as well: told where it changes
};

/// One call of the library.
struct Change {
    std::string target;                ///< "all line cards"
    std::string requested;             ///< "off"
    std::vector<Signal> signals = {};  ///< none: the board does not have it
    std::string missing = {};          ///< then, what is not configured
    std::string warning = {};          ///< what it disturbs; empty: nothing
    std::string obstacle = {};         ///< why it cannot be done; empty: nothing
    int obstacle_status = kExitReadingFailed;
    std::string failure = {};  ///< what result -1 means; empty: nothing in particular
    const char *mismatch = "it does not read back as requested";
    bool is_pulse = false;  ///< the signals end as they were: printed before -> requested -> after
    std::function<int()> execute = {};  ///< result of the library
};

using ControlWords = std::vector<std::string>;

struct Control {
    const char *group;
    const char *name;   ///< null: the group is the command
    const char *usage;  ///< of its words
    const char *words;  ///< what they are
    const char *description;
    const char *example;
    std::size_t fewest;  ///< words
    std::size_t most;
    /// What the words ask for; throws UsageError. The library runs.
    std::vector<Change> (*plan)(const ControlWords &words, const LoadRecord &record);
};

std::span<const Control> controls();

}  // namespace dfdctl
