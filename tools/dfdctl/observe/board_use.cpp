// SPDX-License-Identifier: MIT
#include "dfdctl/observe/board_use.hpp"

#include <dfd/framework.h>
#include <dfd/keys.h>
#include <algorithm>
#include <map>
#include <unordered_map>
#include <unordered_set>

#include "dfdctl/board/in_order.hpp"

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

/// What is in the first of the uses of one function, made where there is none. A key that is read
/// counts as that, not also as looked at.
Use &use_like(std::pmr::vector<Use> &uses, const Use &wanted) {
    const auto found = std::find_if(uses.begin(), uses.end(), [&](const Use &use) {
        return use.call == wanted.call && (!use.is_read || !wanted.is_read || use.op == wanted.op);
    });
    Use &use = found != uses.end() ? *found : uses.emplace_back(Use{wanted.call, wanted.args});
    if (wanted.is_read) {
        use.is_read = true;
        use.op = wanted.op;
    }
    return use;
}

void add_use(std::pmr::vector<Use> &uses, const Use &more) {
    Use &use = use_like(uses, more);
    use.has_processor = use.has_processor || more.has_processor;
    use.worked = use.worked || more.worked;
    if (use.refused == 0) {
        use.refused = more.refused;
        use.refusal = more.refusal;
    }
}

/// What an event tells of the key that it is about.
Use use_of(const Event &event, bool everything_answered) {
    Use use;
    use.is_read = event.kind == Event::Kind::engine;
    if (!use.is_read) {
        return use;
    }
    use.op = event.op;
    use.has_processor = event.has_processor;
    if (!everything_answered) {
        return use;
    }
    use.worked = event.result >= 0;
    if (event.result < 0) {
        use.refused = event.result;
        // A value that a conversion table does not have tells nothing of the description.
        const bool is_look_up = event.result == DFD_ERR_NOT_SUPPORTED && event.op != Op::get_buf;
        use.refusal = is_look_up ? dfd::watch::Refusal::none : event.refusal;
    }
    return use;
}

void note_list(BoardUse &board, const Call *call, std::uint32_t type) {
    std::vector<const Call *> &users = board.lists[type];
    if (users.empty() || users.back() != call) {
        users.push_back(call);
    }
}

/// What a call tells of the board.
struct Told {
    Keys keys;
    std::vector<std::pmr::vector<Use>> uses;  ///< of each key, without call and arguments
    std::vector<std::uint32_t> lists;         ///< key types
    bool works = false;
    int code = 0;
    /// It is told by the items that the engine was asked for, and by nothing else.
    bool is_by_items = true;

    bool is_like(const Told &other) const {
        return uses == other.uses && works == other.works && code == other.code;
    }
};

Told told_by(const Exploration &found) {
    Told told{.keys = found.keys(),
              .uses = {},
              .lists = {},
              .works = found.works(),
              .code = found.code()};
    told.uses.resize(told.keys.size());
    told.is_by_items = found.runs.size() < kMaxRuns;
    std::unordered_map<std::uint32_t, std::size_t> places;
    for (const std::uint32_t key : told.keys) {
        places.emplace(key, places.size());
    }
    for (const Run &run : found.runs) {
        told.is_by_items = told.is_by_items && run.seen.dropped == 0;
        for (const Event &event : run.seen.events) {
            switch (event.kind) {
                case Event::Kind::conversion:
                    told.lists.push_back(list_type(event.list));
                    told.is_by_items = false;
                    break;
                case Event::Kind::transfer:
                    told.is_by_items = told.is_by_items && event.engine != kOutside;
                    break;
                case Event::Kind::lookup:
                case Event::Kind::engine:
                    add_use(told.uses[places.at(event.key)],
                            use_of(event, run.answers.from == Answers::From::values));
                    break;
                default:
                    break;
            }
        }
    }
    return told;
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

/// A function with every unit of the board.
class CallsOf {
  public:
    CallsOf(const Observer &observer, const Units &units, const Call &call, Rows rows,
            std::optional<std::uint32_t> own_slot, BoardUse &board)
        : observer_(observer), units_(units), call_(call), rows_(rows), own_slot_(own_slot) {
        for (Args &args : units.all_args(call)) {
            seen_.push_back({.args = &board.args.emplace_back(std::move(args)),
                             .keys = &board.asked.emplace_back()});
        }
        for (std::size_t i = 0; i < seen_.size(); ++i) {
            // From both ends: what is alike then lies between.
            see(seen_[i % 2 == 0 ? i / 2 : seen_.size() - 1 - i / 2]);
        }
    }

    /// Adds it under one of its names.
    void add_to(BoardUse &board, const Call &name) const {
        Places places;
        for (const Seen &seen : seen_) {
            add_uses(board, name, seen, places);
            for (const std::uint32_t type : seen.told->lists) {
                note_list(board, &name, type);
            }
            board.calls.push_back({&name, seen.args, seen.keys, seen.told->works, seen.told->code});
        }
    }

  private:
    struct Seen {
        const Args *args;
        const Told *told = nullptr;
        Keys *keys;  ///< in the place of those that are told
    };
    struct Known {
        const Told *told;
        Pattern pattern;
    };
    static constexpr std::size_t kUsualUses = 4;
    /// A board on which no unit is like another is not searched for long.
    static constexpr std::size_t kMaxPatterns = 8;

    void see(Seen &seen) {
        const Args &args = *seen.args;
        const bool may_be_like = may_be_like_others(args);
        if (may_be_like) {
            for (const Known &known : known_) {
                if (std::optional<Keys> keys = known.pattern.keys_of(args)) {
                    seen.told = known.told;
                    *seen.keys = std::move(*keys);
                    return;
                }
            }
        }
        const Told &told = told_.emplace_back(told_by(explore(observer_, units_, call_, args)));
        if (may_be_like && told.is_by_items) {
            learn(args, told);
        }
        seen.told = &told;
        *seen.keys = told.keys;
    }

    /// Functions treat this card among the others, and the fabric card, in a way of their own.
    bool is_special(Role role, std::uint32_t number) const {
        const bool is_place = role == Role::slot || role == Role::card;
        return is_place && (number == own_slot_ || units_.card_of(number) != number);
    }

    bool may_be_like_others(const Args &args) const {
        if (rows_ == Rows::observed || args.numbers.empty() || call_.subsystem == Subsystem::irq) {
            return false;
        }
        for (std::size_t i = 0; i < roles_.size(); ++i) {
            if (is_special(roles_[i], args.numbers[i])) {
                return false;
            }
        }
        return true;
    }

    void learn(const Args &args, const Told &told) {
        for (Known &known : known_) {
            if (known.told->is_like(told) && known.pattern.takes(args, told.keys)) {
                return;
            }
        }
        if (known_.size() == kMaxPatterns) {
            known_.pop_front();
        }
        known_.push_back({&told, Pattern(call_, args, told.keys)});
    }

    /// From one unit to the next each key goes on by one.
    using Places = std::vector<InOrder<decltype(BoardUse::keys)>>;

    static void add_uses(BoardUse &board, const Call &name, const Seen &seen, Places &places) {
        places.resize(std::max(places.size(), seen.keys->size()), InOrder(board.keys));
        for (std::size_t i = 0; i < seen.keys->size(); ++i) {
            std::pmr::vector<Use> &uses = places[i].find_or_make((*seen.keys)[i])->second;
            if (uses.empty()) {
                uses.reserve(kUsualUses);
            }
            for (Use use : seen.told->uses[i]) {
                use.call = &name;
                use.args = seen.args;
                add_use(uses, use);
            }
        }
    }

    const Observer &observer_;
    const Units &units_;
    const Call &call_;
    const Rows rows_;
    /// As the functions see it: an item need not be able to hold the number that it is to read.
    const std::optional<std::uint32_t> own_slot_;
    const std::vector<Role> roles_ = call_.number_roles();
    std::vector<Seen> seen_;
    std::deque<Told> told_;
    std::deque<Known> known_;
};

}  // namespace

BoardUse observe_board(const Observer &observer, const Units &units, Rows rows) {
    const auto own_slot = observer.own_slot(with_own_slot(Answers::all(1), units));
    BoardUse board;
    std::map<const Call *, CallsOf> observed;
    for (const Call &call : calls()) {
        if (is_of_board(call) && call.passes_to.empty()) {
            observed.try_emplace(&call, observer, units, call, rows, own_slot, board);
        }
    }
    for (const Call &call : calls()) {
        if (is_of_board(call)) {
            observed.at(call.passes_to.empty() ? &call : find_call(call.passes_to))
                .add_to(board, call);
        }
    }
    return board;
}

}  // namespace dfdctl::observe
