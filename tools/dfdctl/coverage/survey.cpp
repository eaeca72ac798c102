// SPDX-License-Identifier: MIT
#include "dfdctl/coverage/survey.hpp"

#include <dfd/framework.h>
#include <dfd/keys.h>
#include <dfd/records.h>
#include <algorithm>

#include "dfdctl/board/describe.hpp"
#include "dfdctl/board/keys.hpp"
#include "dfdctl/observe/refusal.hpp"

#include <fmt/format.h>

namespace dfdctl::coverage {

namespace {

using dfd::watch::Op;
using dfd::watch::Via;
using observe::Answers;
using observe::Event;
using observe::Exploration;
using observe::Observation;
using observe::Run;

/// Keys that only say where this card is: they decide nothing about what a function asks for then.
bool says_where(std::uint32_t key) {
    const std::uint32_t type = DFD_KEY_TYPE(key);
    return type == DFD_KEY_MY_SLOTID || type == DFD_KEY_SLOT_BASE || type == DFD_KEY_SSLOT_BASE;
}

bool is_question(const Event &event) {
    return (event.kind == Event::Kind::lookup && !says_where(event.key)) ||
           event.kind == Event::Kind::conversion;
}

/// Whether the item is configured, or any entry of the list: which one matches, only the unit's own
/// answer can tell.
bool is_there(const Event &event) {
    return event.found || (event.kind == Event::Kind::conversion && event.list->next != event.list);
}

bool is_missing(const Event &event) {
    return is_question(event) && !is_there(event);
}

bool is_led(const Event &event) {
    return event.op == Op::led_regval || event.op == Op::led_state;
}

/// Null when nothing was asked for.
const Event *last_question(const Observation &seen) {
    const auto found = std::find_if(seen.events.rbegin(), seen.events.rend(), is_question);
    return found != seen.events.rend() ? &*found : nullptr;
}

/// A key of the type of this one that was found: the missing one was chosen by a value that was
/// read, or is one of a row that is walked through.
bool has_found_type(const Observation &seen, std::uint32_t key) {
    return std::any_of(seen.events.begin(), seen.events.end(), [key](const Event &event) {
        return event.kind == Event::Kind::lookup && event.found &&
               DFD_KEY_TYPE(event.key) == DFD_KEY_TYPE(key);
    });
}

std::string name_of(const Event &event) {
    if (event.kind == Event::Kind::conversion) {
        const KeyType &type = *item_of(observe::list_type(event.list)).type;
        return fmt::format("an entry of {}", type.name);
    }
    return item_of_key(event.key).missing_name();
}

/// Classifies one call.
class Judge {
  public:
    Judge(const observe::Observer &observer, const Exploration &found, Cell &cell)
        : observer_(observer), found_(found), cell_(cell) {}

    void run() {
        if (find_refusal() || find_no_path() || find_no_eeprom()) {
            cell_.state = State::unusable;
            return;
        }
        if (const Run *run = run_that_misses()) {
            cell_.state = State::not_configured;
            note_missing(run->seen);
        } else if (found_.works()) {
            judge_success();
        } else {
            judge_failure();
        }
    }

  private:
    const Observation &deepest() const { return found_.best().seen; }

    /// A look-up in vain within this engine call: then the item itself may be all right.
    static bool misses_within(const Observation &seen, std::size_t engine) {
        return std::any_of(seen.events.begin(), seen.events.end(), [engine](const Event &event) {
            return event.engine == static_cast<int>(engine) && is_missing(event);
        });
    }

    bool worked_once(const Event &refused) const {
        return std::any_of(found_.runs.begin(), found_.runs.end(), [&](const Run &run) {
            return std::any_of(
                run.seen.events.begin(), run.seen.events.end(), [&](const Event &event) {
                    return event.kind == Event::Kind::engine && event.key == refused.key &&
                           event.op == refused.op && event.result >= 0;
                });
        });
    }

    /// An item that the engine executes with no answer that was tried.
    bool find_refusal() {
        for (const Run &run : found_.runs) {
            const auto &events = run.seen.events;
            for (std::size_t i = 0; i < events.size(); ++i) {
                const Event &event = events[i];
                const bool is_refused = event.kind == Event::Kind::engine && event.result < 0 &&
                                        !is_led(event) && !misses_within(run.seen, i);
                if (is_refused && !worked_once(event)) {
                    refuse_item(event);
                    return true;
                }
            }
        }
        return false;
    }

    void refuse_item(const Event &event) {
        const auto reason =
            observe::reason_of(observer_.record(), item_of_key(event.key), event.refusal);
        if (reason.has_value()) {
            refuse(event.key, event.result, reason->member, reason->text);
        } else {
            refuse(event.key, event.result, dfd::watch::kNoMember,
                   fmt::format("the library refuses it: {}", code_meaning(event.result)));
        }
    }

    /// The answered buses take any path, the system does not.
    bool find_no_path() {
        std::uint32_t key = 0;
        for (const Event &event : deepest().events) {
            if (event.kind == Event::Kind::lookup && event.found) {
                key = event.key;
            }
            const bool is_transfer =
                event.kind == Event::Kind::transfer && event.via != Via::file_exists;
            if (is_transfer && event.text.empty() && key != 0) {
                refuse(key, DFD_ERR_IO, kFpath, ".fpath is missing: there is nothing to open");
                return true;
            }
        }
        return false;
    }

    /// The engine leaves an item to an EEPROM, and the function goes on without reading one.
    bool find_no_eeprom() {
        const auto &events = deepest().events;
        for (auto event = events.begin(); event != events.end(); ++event) {
            const bool is_left = event->kind == Event::Kind::engine && event->op != Op::get_buf &&
                                 (event->result == DFD_FROM_TLV || event->result == DFD_FROM_FRU);
            if (is_left && std::none_of(event, events.end(), [](const Event &later) {
                    return later.kind == Event::Kind::transfer;
                })) {
                const auto *record = record_of<info_ctrl_t>(item_of_key(event->key));
                refuse(event->key, event->result, kMode,
                       fmt::format(".mode is {}, but the function reads no EEPROM for it",
                                   record != nullptr ? mode_word(record->mode) : "?"));
                return true;
            }
        }
        return false;
    }

    void refuse(std::uint32_t key, int code, int member, std::string reason) {
        cell_.refusal =
            Refusal{.key = key, .code = code, .member = member, .reason = std::move(reason)};
    }

    /// Whether some run has found what this event misses, if only for another value.
    bool is_found_elsewhere(const Event &event) const {
        return event.kind == Event::Kind::lookup &&
               std::any_of(found_.runs.begin(), found_.runs.end(),
                           [&](const Run &run) { return has_found_type(run.seen, event.key); });
    }

    /// A way through the function that ends at something that is not configured, if another unit
    /// state leads to a good answer or not. The deepest such way, or null.
    const Run *run_that_misses() const {
        if (deepest().result < 0 && misses(deepest())) {
            return &found_.best();
        }
        const auto run = std::find_if(found_.runs.begin(), found_.runs.end(), [this](const Run &r) {
            return r.seen.result < 0 && misses(r.seen);
        });
        return run != found_.runs.end() ? &*run : nullptr;
    }

    bool misses(const Observation &seen) const {
        const Event *const last = last_question(seen);
        const bool ends_there =
            last != nullptr && !is_there(*last) && (!found_.works() || !is_found_elsewhere(*last));
        const bool says_so =
            seen.result == DFD_ERR_NOT_SUPPORTED &&
            std::any_of(seen.events.begin(), seen.events.end(), [this](const Event &event) {
                return is_missing(event) && !is_found_elsewhere(event);
            });
        return ends_there || says_so;
    }

    void note_missing(const Observation &seen) {
        for (const Event &event : seen.events) {
            const std::string name = is_missing(event) ? name_of(event) : std::string();
            if (!name.empty() && std::ranges::find(cell_.missing, name) == cell_.missing.end()) {
                cell_.missing.push_back(name);
            }
        }
    }

    /// What would say where this card is, where nothing else is missing.
    void note_missing_place() {
        for (const Event &event : deepest().events) {
            if (event.kind == Event::Kind::lookup &&
                event.key == DFD_MAKE_KEY(DFD_KEY_MY_SLOTID, 0, 0) && !event.found &&
                cell_.missing.empty()) {
                cell_.missing.push_back(item_of_key(event.key).name());
            }
        }
    }

    void judge_success() {
        const auto &events = deepest().events;
        const bool finds = std::any_of(events.begin(), events.end(), [](const Event &event) {
            return is_question(event) && is_there(event);
        });
        const Event *const last = last_question(deepest());
        const bool is_standard = last != nullptr && !is_there(*last) &&
                                 (!finds || (!is_found_elsewhere(*last) && !has_effect()));
        cell_.state = is_standard ? State::standard : State::answers;
        if (is_standard) {
            note_missing(deepest());
        }
    }

    /// Whether a setter writes, and what a getter tells depends on what is read.
    bool has_effect() const {
        if (cell_.call->does != observe::Does::get) {
            return std::any_of(deepest().events.begin(), deepest().events.end(),
                               [](const Event &event) {
                                   return event.kind == Event::Kind::transfer && event.is_write;
                               });
        }
        constexpr std::uint32_t kHigh = 0x7FFF;
        for (const std::uint32_t value : {std::uint32_t{0}, kHigh}) {
            Answers answers = found_.best().answers;
            answers.value = value;
            const Observation seen = observer_.observe(*cell_.call, cell_.args, answers);
            if (seen.result != deepest().result || !same_outputs(seen, deepest())) {
                return true;
            }
        }
        return false;
    }

    static bool same_outputs(const Observation &a, const Observation &b) {
        return std::ranges::equal(a.outputs, b.outputs,
                                  [](const observe::Output &x, const observe::Output &y) {
                                      return x.number == y.number && x.bytes == y.bytes;
                                  });
    }

    /// Nothing that was tried succeeds, though all that was asked for is there.
    void judge_failure() {
        const auto &events = deepest().events;
        const auto last = std::find_if(events.rbegin(), events.rend(), [](const Event &event) {
            return event.kind == Event::Kind::lookup && event.found && !says_where(event.key);
        });
        const bool declines = cell_.result == DFD_ERR_NOT_SUPPORTED;
        const bool lacks = std::any_of(events.begin(), events.end(), is_missing);
        if (declines || lacks || last == events.rend()) {
            cell_.state = State::not_configured;
            note_missing(deepest());
            note_missing_place();
            return;
        }
        cell_.state = State::unusable;
        refuse(last->key, cell_.result, dfd::watch::kNoMember,
               fmt::format("the function does not take it as it is described ({}): {}",
                           describe(item_of_key(last->key)), code_meaning(cell_.result)));
    }

    const observe::Observer &observer_;
    const Exploration &found_;
    Cell &cell_;
};

Cell judged(const observe::Observer &observer, const observe::Units &units,
            const observe::Call &call, const observe::Args &args, const Answers &given) {
    Exploration found = observe::explore(observer, units, call, args, given);
    Cell cell{.call = &call,
              .args = args,
              .state = State::answers,
              .result = found.best().seen.result,
              .missing = {}};
    Judge(observer, found, cell).run();
    if (call.is_polled) {
        cell.pass = std::move(found.runs[found.deepest].seen);
    }
    const auto inputs = call.inputs();
    const bool has_slot = !inputs.empty() && inputs.front()->role == observe::Role::slot;
    if (has_slot && units.is_own_slot_assumed() && args.numbers.front() == units.own_slot()) {
        cell.args.numbers.front() = kOwnSlot;
        const std::string assumed = fmt::format("_{}", units.own_slot());
        for (std::string &name : cell.missing) {
            if (name.ends_with(assumed)) {
                name.replace(name.size() - assumed.size(), assumed.size(), " of the own slot");
            }
        }
    }
    return cell;
}

}  // namespace

std::vector<Cell> survey(const observe::Observer &observer, const observe::Units &units,
                         const observe::Answers &given) {
    std::vector<Cell> cells;
    for (const observe::Call &call : observe::calls()) {
        if (!observe::is_of_board(call)) {
            continue;
        }
        for (const observe::Args &args : units.all_args(call)) {
            cells.push_back(judged(observer, units, call, args, given));
        }
    }
    return cells;
}

std::string_view state_word(State state) {
    static constexpr std::string_view kWords[] = {"ok", "default", "not configured", "unusable"};
    return kWords[static_cast<std::size_t>(state)];
}

}  // namespace dfdctl::coverage
