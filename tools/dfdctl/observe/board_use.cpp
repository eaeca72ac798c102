// SPDX-License-Identifier: MIT
#include "dfdctl/observe/board_use.hpp"

#include <dfd/framework.h>
#include <dfd/keys.h>
#include <algorithm>
#include <functional>
#include <map>
#include <unordered_set>

namespace dfdctl::observe {

namespace {

using dfd::watch::Op;

constexpr std::size_t kMaxRuns = 48;
/// Values that make functions take another way: nothing there, all lines high, a number above every
/// threshold.
constexpr std::uint32_t kOtherValues[] = {0, 0x7FFF};

/// What does not depend on the values read.
struct Finding {
    const Observer &observer;
    const Call &call;
    const Args &args;
    Exploration result = {};
    std::unordered_set<std::uint32_t> known = {};  ///< what result.asked holds

    /// Whether the run tells more than those before it: asks for other keys, or is the first
    /// success.
    bool run(Answers answers) {
        const bool worked = result.works();
        Run run{.answers = std::move(answers), .seen = {}};
        run.seen = observer.observe(call, args, run.answers);
        bool is_new = !worked && run.seen.result >= 0;
        for (const Event &event : run.seen.events) {
            if (event.kind == Event::Kind::lookup && known.insert(event.key).second) {
                result.asked.push_back(event.key);
                is_new = true;
            }
        }
        result.runs.push_back(std::move(run));
        return is_new;
    }
};

/// Keys whose integers a run has read.
std::vector<std::uint32_t> integers_read(const Observation &seen) {
    std::vector<std::uint32_t> keys;
    for (const Event &event : seen.events) {
        const bool is_integer = event.kind == Event::Kind::engine &&
                                (event.op == Op::get_int || event.op == Op::get_int_by_index);
        if (is_integer && std::find(keys.begin(), keys.end(), event.key) == keys.end()) {
            keys.push_back(event.key);
        }
    }
    return keys;
}

/// How much a run tells: items that are configured, then all items, then success.
std::array<std::size_t, 3> depth_of(const Run &run) {
    const std::vector<std::uint32_t> keys = run.seen.keys();
    const auto configured = std::count_if(keys.begin(), keys.end(), [](std::uint32_t key) {
        return dfd_lib_cfg_get_item(key) != nullptr;
    });
    return {static_cast<std::size_t>(configured), keys.size(), run.seen.result >= 0 ? 1U : 0U};
}

/// Follows each way that a run opens by reading one item otherwise.
void vary(Finding &finding, const Answers &given) {
    for (std::size_t base = 0; base < finding.result.runs.size(); ++base) {
        const Answers from = finding.result.runs[base].answers;
        for (const std::uint32_t key : integers_read(finding.result.runs[base].seen)) {
            if (given.find(key) != nullptr) {
                continue;
            }
            for (const std::uint32_t value : kOtherValues) {
                if (finding.result.runs.size() >= kMaxRuns) {
                    return;
                }
                if (!finding.run(from.with({.key = key, .number = value}))) {
                    finding.result.runs.pop_back();
                }
            }
        }
    }
}

/// The use of a key by a call, made where there is none. A key that is read counts as that, not
/// also as looked at.
Use &use_of(std::vector<Use> &uses, const CallUse &call, const Event &event) {
    const bool is_read = event.kind == Event::Kind::engine;
    const auto found = std::find_if(uses.begin(), uses.end(), [&](const Use &use) {
        return use.call == call.call && (!use.is_read || !is_read || use.op == event.op);
    });
    Use &use = found != uses.end() ? *found : uses.emplace_back(Use{call.call, call.args});
    if (is_read) {
        use.is_read = true;
        use.op = event.op;
        use.has_processor = use.has_processor || event.has_processor;
    }
    return use;
}

void note_list(BoardUse &board, const Call *call, std::uint32_t type) {
    std::vector<const Call *> &users = board.lists[type];
    if (users.empty() || users.back() != call) {
        users.push_back(call);
    }
}

void note_run(BoardUse &board, const CallUse &call, const Run &run) {
    for (const Event &event : run.seen.events) {
        if (event.kind == Event::Kind::conversion) {
            note_list(board, call.call, list_type(event.list));
        }
        if (event.kind != Event::Kind::lookup && event.kind != Event::Kind::engine) {
            continue;
        }
        Use &use = use_of(board.keys[event.key], call, event);
        if (event.kind == Event::Kind::lookup || run.answers.from != Answers::From::values) {
            continue;
        }
        use.worked = use.worked || event.result >= 0;
        if (event.result < 0 && use.refused == 0) {
            use.refused = event.result;
            // A value that a conversion table does not have tells nothing of the description.
            const bool is_look_up =
                event.result == DFD_ERR_NOT_SUPPORTED && event.op != Op::get_buf;
            use.refusal = is_look_up ? dfd::watch::Refusal::none : event.refusal;
        }
    }
}

Answers with_own_slot(Answers answers, const Units &units) {
    const std::uint32_t key = DFD_MAKE_KEY(DFD_KEY_MY_SLOTID, 0, 0);
    return answers.find(key) != nullptr
               ? answers
               : answers.with({.key = key, .number = units.own_slot_value()});
}

}  // namespace

bool Exploration::works() const {
    return std::any_of(runs.begin(), runs.end(),
                       [](const Run &run) { return run.seen.result >= 0; });
}

int Exploration::code() const {
    return works() ? 0 : best().seen.result;
}

Exploration explore(const Observer &observer, const Units &units, const Call &call,
                    const Args &args, const Answers &given) {
    Finding finding{observer, call, args};
    const Answers fixed = with_own_slot(given, units);
    const auto answers_with = [&](std::uint32_t value) {
        Answers answers = Answers::all(value);
        answers.items = fixed.items;
        return answers;
    };
    finding.run(answers_with(1));
    if (call.does == Does::get) {
        vary(finding, fixed);
    } else if (!integers_read(finding.result.runs[0].seen).empty()) {
        // Interrupts: every line of every level.
        for (const std::uint32_t value : {std::uint32_t{0}, UINT32_MAX}) {
            finding.run(answers_with(value));
        }
    }
    Exploration &result = finding.result;
    if (result.runs.size() > 1) {
        const auto deepest = std::ranges::max_element(result.runs, {}, depth_of);
        result.deepest = static_cast<std::size_t>(deepest - result.runs.begin());
    }
    return std::move(finding.result);
}

bool is_of_board(const Call &call) {
    return call.does == Does::get || call.does == Does::set || call.does == Does::control;
}

namespace {

/// By the function that they pass everything through to.
using Names = std::multimap<const Call *, const Call *>;

/// Says of each name of a function what was observed of it, in the order of the table of calls.
template <typename Told, typename CallOf>
void tell_of_names(std::vector<Told> &all, const Names &names, CallOf call_of) {
    const std::size_t count = all.size();
    for (std::size_t i = 0; i < count; ++i) {
        const auto [first, last] = names.equal_range(call_of(all[i]));
        for (auto name = first; name != last; ++name) {
            Told told = all[i];
            call_of(told) = name->second;
            all.push_back(std::move(told));
        }
    }
    if (all.size() != count) {
        std::stable_sort(all.begin(), all.end(), [&](const Told &a, const Told &b) {
            return std::less<>()(call_of(a), call_of(b));
        });
    }
}

}  // namespace

BoardUse observe_board(const Observer &observer, const Units &units) {
    BoardUse board;
    Names names;
    for (const Call &call : calls()) {
        if (!is_of_board(call)) {
            continue;
        }
        if (!call.passes_to.empty()) {
            names.emplace(find_call(call.passes_to), &call);
            continue;
        }
        for (const Args &args : units.all_args(call)) {
            const Exploration found = explore(observer, units, call, args);
            board.calls.push_back({&call, args, found.keys(), found.works(), found.code()});
            for (const Run &run : found.runs) {
                note_run(board, board.calls.back(), run);
            }
        }
    }
    const auto call_of = [](auto &told) -> auto & {
        return told.call;
    };
    tell_of_names(board.calls, names, call_of);
    for (auto &[key, uses] : board.keys) {
        tell_of_names(uses, names, call_of);
    }
    for (auto &[type, users] : board.lists) {
        tell_of_names(
            users, names, [](auto &call) -> auto & { return call; });
    }
    return board;
}

}  // namespace dfdctl::observe
