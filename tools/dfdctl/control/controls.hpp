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

/// One thing to change.
struct Change {
    std::string target;         ///< "power of slot 3"
    std::string requested;      ///< "off"
    Item item;                  ///< must be configured
    std::string warning = {};   ///< what it disturbs; empty: nothing
    std::string obstacle = {};  ///< why it cannot be done; empty: nothing
    int obstacle_status = kExitReadingFailed;
    std::string failure = {};            ///< what result -1 means; empty: nothing in particular
    std::function<int()> execute;        ///< result of the library
    std::function<Reading()> read = {};  ///< what it changes; none: that cannot be read
    std::int64_t expected = 0;           ///< what then reads back
    bool is_flag = false;                ///< any value but 0 counts as 1
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
