// SPDX-License-Identifier: MIT
// Who uses what on a board: every getter, setter and control observed with every unit.
#pragma once

#include <deque>
#include <map>
#include <memory>
#include <memory_resource>

#include "dfdctl/observe/alike.hpp"
#include "dfdctl/observe/observer.hpp"
#include "dfdctl/observe/units.hpp"

namespace dfdctl::observe {

/// A call under one set of answers.
struct Run {
    Answers answers;
    Observation seen;
};

/// A call under several sets of answers, none of them from hardware: which keys it asks for depends
/// on what it reads.
struct Exploration {
    std::vector<Run> runs;
    std::size_t deepest = 0;  ///< of the runs: asks for the most keys
    Keys asked;               ///< that a run asks for

    const Run &best() const { return runs[deepest]; }
    /// All keys of all runs, in the order of their discovery.
    const Keys &keys() const { return asked; }
    /// Some run was a success: the result is not negative.
    bool works() const;
    /// 0 where some run was a success; otherwise the result of the deepest run.
    int code() const;
};

/// `given` answers come before all that is tried.
Exploration explore(const Observer &observer, const Units &units, const Call &call,
                    const Args &args, const Answers &given = {});

/// Whether observe_board calls the function: getters, setters and controls of the board.
bool is_of_board(const Call &call);

/// What a function makes of a key.
struct Use {
    const Call *call = nullptr;
    const Args *args = nullptr;  ///< of the first call that asked
    bool is_read = false;        ///< asked of the engine; otherwise only the record was looked at
    dfd::watch::Op op = {};
    bool has_processor = false;        ///< the function converts the bytes itself
    bool worked = false;               ///< the engine did it at least once
    int refused = 0;                   ///< negative code of the engine although everything answered
    dfd::watch::Refusal refusal = {};  ///< why

    bool operator==(const Use &) const = default;
};

/// A call with its arguments.
struct CallUse {
    const Call *call;
    const Args *args;
    const Keys *keys;
    bool works = false;  ///< Exploration::works
    int code = 0;        ///< Exploration::code
};

struct BoardUse {
    BoardUse() = default;
    BoardUse(BoardUse &&) = default;

    /// That the others point to.
    std::deque<Args> args;
    std::deque<Keys> asked;
    std::unique_ptr<std::pmr::monotonic_buffer_resource> memory =
        std::make_unique<std::pmr::monotonic_buffer_resource>();
    std::pmr::map<std::uint32_t, std::pmr::vector<Use>> keys{memory.get()};  ///< configured or not
    /// Key types whose items are looked up as a list, by a text or a register value.
    std::map<std::uint32_t, std::vector<const Call *>> lists;
    std::vector<CallUse> calls;
};

/// Whether each unit is observed, or a unit that is described like others is said to be used as
/// they are: the same, in a tenth of the time.
enum class Rows { observed, taken_over };

BoardUse observe_board(const Observer &observer, const Units &units, Rows rows = Rows::taken_over);

}  // namespace dfdctl::observe
