// SPDX-License-Identifier: MIT
#include <dfd/records.h>
#include <dfd/types.h>
#include <unistd.h>
#include <algorithm>
#include <map>
#include <memory>

#include "common/signals_held.hpp"
#include "dfdctl/board/bus_writes.hpp"
#include "dfdctl/board/describe.hpp"
#include "dfdctl/board/item_value.hpp"
#include "dfdctl/board/log_capture.hpp"
#include "dfdctl/board/register_bits.hpp"
#include "dfdctl/board/start.hpp"
#include "dfdctl/control/controls.hpp"
#include "dfdctl/control/run.hpp"
#include "dfdctl/output.hpp"

#include <fmt/format.h>

namespace dfdctl {

namespace {

struct Request {
    ControlWords words;
    bool yes = false;
};

/// A signal at one moment.
struct Look {
    Reading shown = {.status = Status::none};
    Reading byte = {.status = Status::none};  ///< its register
};

/// What became of a signal.
struct Outcome {
    const Signal *signal;
    Look before = {};
    Look after = {};
    std::optional<bool> verified = {};  ///< nothing: it was not written, or cannot be read back
    std::string error = {};
    std::string note = {};
    int status = kExitOk;
};

/// What became of a call of the library.
struct Done {
    const Change *change;
    int result = DFD_OK;
    std::string error = {};
    int status = kExitOk;
    std::vector<Outcome> signals = {};  ///< none: nothing was done
};

std::string full_name(const Control &control) {
    return control.name != nullptr ? fmt::format("{} {}", control.group, control.name)
                                   : control.group;
}

const info_ctrl_t &description_of(const Signal &signal) {
    return *record_of<info_ctrl_t>(signal.item);
}

/// The number of a reading; 0 without one.
std::int64_t number_of(const Reading &reading) {
    const auto *number = std::get_if<std::int64_t>(&reading.value);
    return number != nullptr ? *number : 0;
}

std::uint8_t byte_of(const Look &look) {
    return static_cast<std::uint8_t>(number_of(look.byte));
}

Look look_at(const Signal &signal) {
    return {signal.show ? signal.show() : read_register(signal.item),
            read_byte(description_of(signal))};
}

/// The reading that tells whether a signal took what was written.
const Reading &decisive(const Signal &signal, const Look &look) {
    return signal.shows ? look.shown : look.byte;
}

int exit_of_failure(const Reading &reading) {
    return reading.status == Status::io_error ? kExitIo : kExitReadingFailed;
}

// ---- Before -------------------------------------------------------------------------------------

/// On I2C the library writes the bits around a field as well.
std::string overwritten_bits(const Signal &signal) {
    const info_ctrl_t &record = description_of(signal);
    const Reading byte = read_byte(record);
    const auto before = static_cast<std::uint8_t>(number_of(byte));
    const std::uint8_t written = byte_written(record, signal.written);
    const auto around = static_cast<std::uint8_t>(~bits_of(record));
    if (!is_written_whole(record) || !byte.ok() || ((before ^ written) & around) == 0) {
        return {};
    }
    return fmt::format(
        "{}: its register on I2C is written as a whole, bits of others change: "
        "0x{:02x} -> 0x{:02x}",
        signal.target, before, written);
}

std::string warnings_of(const std::vector<Change> &changes) {
    std::string text;
    const auto add = [&text](const std::string &warning) {
        text += (text.empty() || warning.empty() ? "" : "; ") + warning;
    };
    for (const Change &change : changes) {
        if (change.signals.empty() || !change.obstacle.empty()) {
            continue;
        }
        add(change.warning);
        for (const Signal &signal : change.signals) {
            add(overwritten_bits(signal));
        }
    }
    return text;
}

Done refused(const Change &change, int status, int result, const std::string &error) {
    return {.change = &change, .result = result, .error = error, .status = status};
}

/// Why the library is not asked at all: nothing that it would write can be read. A signal among
/// others that cannot be read does not stop the others.
std::optional<Done> unreadable(const Change &change, const std::vector<Outcome> &signals) {
    const Reading *failed = nullptr;
    for (const Outcome &each : signals) {
        const Reading &reading = decisive(*each.signal, each.before);
        if (!each.signal->is_beside && reading.status != Status::io_error) {
            return {};
        }
        failed = failed == nullptr ? &reading : failed;
    }
    return refused(change, kExitIo, DFD_ERR_IO,
                   "nothing was done, its state cannot be read: " + error_with_advice(*failed));
}

// ---- After --------------------------------------------------------------------------------------

void judge_value(const Change &change, Outcome &outcome) {
    const Signal &signal = *outcome.signal;
    const Reading &reading = decisive(signal, outcome.after);
    if (!reading.ok()) {
        outcome.error = "done, but it cannot be read back: " + error_with_advice(reading);
        outcome.status = exit_of_failure(reading);
        return;
    }
    const info_ctrl_t &record = description_of(signal);
    const auto difference =
        static_cast<std::uint8_t>(byte_of(outcome.after) ^ byte_written(record, signal.written));
    outcome.verified = signal.shows ? number_of(outcome.after.shown) == *signal.shows
                                    : (difference & bits_of(record)) == 0;
    outcome.error = *outcome.verified ? "" : change.mismatch;
    outcome.status = *outcome.verified ? kExitOk : kExitReadingFailed;
}

/// Bits of a signal's register that no signal of the change writes.
std::uint8_t bits_around(const std::vector<Outcome> &signals, const Signal &signal) {
    std::uint8_t bits = 0;
    for (const Outcome &each : signals) {
        if (is_same_register(each.signal->item, signal.item)) {
            bits |= bits_of(description_of(*each.signal));
        }
    }
    return static_cast<std::uint8_t>(~bits);
}

/// The library merges a field into its register, so bits around it change by themselves; on I2C the
/// write changes them.
void judge_around(const std::vector<Outcome> &signals, Outcome &outcome) {
    const auto changed = static_cast<std::uint8_t>(
        (byte_of(outcome.before) ^ byte_of(outcome.after)) & bits_around(signals, *outcome.signal));
    if (!outcome.before.byte.ok() || !outcome.after.byte.ok() || changed == 0) {
        return;
    }
    const std::string bytes =
        fmt::format("0x{:02x} -> 0x{:02x}", byte_of(outcome.before), byte_of(outcome.after));
    if (!is_written_whole(description_of(*outcome.signal))) {
        outcome.note = "other bits of its register changed meanwhile: " + bytes;
    } else if (outcome.error.empty()) {
        outcome.error = "the write changed other bits of its register: " + bytes;
        outcome.status = kExitReadingFailed;
    }
}

void judge_result(Done &done) {
    if (done.result >= 0) {
        return;
    }
    const bool is_known = done.result == DFD_ERR && !done.change->failure.empty();
    done.error = is_known ? done.change->failure
                          : fmt::format("the library failed with result {}", done.result);
    done.status = done.result == DFD_ERR_IO ? kExitIo : kExitReadingFailed;
}

Done execute(const Change &change, const Library &library) {
    if (!change.obstacle.empty()) {
        return refused(change, change.obstacle_status,
                       change.obstacle_status == kExitOk ? DFD_OK : DFD_ERR_UNUSABLE,
                       change.obstacle);
    }
    if (change.signals.empty()) {
        return refused(
            change, library.incomplete() ? kExitUsage : kExitNotSupported, DFD_ERR_NOT_SUPPORTED,
            fmt::format("not supported: {} is not configured on this board", change.missing));
    }
    Done done{.change = &change};
    for (const Signal &signal : change.signals) {
        done.signals.push_back({.signal = &signal, .before = look_at(signal)});
    }
    if (const auto refusal = unreadable(change, done.signals)) {
        return *refusal;
    }
    done.result = change.execute();
    judge_result(done);
    for (Outcome &each : done.signals) {
        each.after = look_at(*each.signal);
        judge_value(change, each);
        judge_around(done.signals, each);
    }
    return done;
}

// ---- What is told -------------------------------------------------------------------------------

bool is_told(const Outcome &outcome) {
    return !outcome.signal->is_beside || !outcome.error.empty() ||
           full_text(outcome.before.shown) != full_text(outcome.after.shown);
}

std::string hex(const Reading &byte) {
    return byte.ok() ? fmt::format("0x{:02x}", number_of(byte)) : std::string();
}

Json register_json(const Outcome &outcome) {
    return {{"item", item_json(outcome.signal->item)},
            {"bits", fmt::format("0x{:02x}", bits_of(description_of(*outcome.signal)))},
            {"before", text_or_null(hex(outcome.before.byte))},
            {"after", text_or_null(hex(outcome.after.byte))}};
}

Json outcome_json(const Done &done, const Outcome *outcome) {
    const Reading none = {.status = Status::none};
    const bool is_first = outcome == nullptr || outcome == &done.signals.front();
    const bool is_skipped = outcome == nullptr && done.status == kExitOk;
    const std::string error = is_skipped                        ? std::string()
                              : is_first && !done.error.empty() ? done.error
                              : outcome != nullptr              ? outcome->error
                                                                : std::string();
    const std::string note = is_skipped           ? done.error
                             : outcome != nullptr ? outcome->note
                                                  : std::string();
    const bool is_verified = outcome != nullptr && outcome->verified.has_value();
    return {{"target", outcome != nullptr ? outcome->signal->target : done.change->target},
            {"requested", done.change->requested},
            {"result", done.result},
            {"verified", is_verified ? Json(*outcome->verified) : Json()},
            {"before", to_json(outcome != nullptr ? outcome->before.shown : none)},
            {"after", to_json(outcome != nullptr ? outcome->after.shown : none)},
            {"register", outcome != nullptr ? register_json(*outcome) : Json()},
            {"error", text_or_null(error)},
            {"note", text_or_null(note)}};
}

Json document(const Control &control, const std::vector<Done> &all) {
    Json list = Json::array();
    for (const Done &done : all) {
        if (done.signals.empty()) {
            list.push_back(outcome_json(done, nullptr));
        }
        for (const Outcome &outcome : done.signals) {
            if (is_told(outcome)) {
                list.push_back(outcome_json(done, &outcome));
            }
        }
    }
    return {{"command", full_name(control)}, {"changes", list}};
}

std::string rows_of(const std::vector<Done> &all) {
    std::string text;
    for (const Done &done : all) {
        const std::string pulse =
            done.change->is_pulse ? fmt::format(" -> {}", done.change->requested) : std::string();
        for (const Outcome &outcome : done.signals) {
            if (is_told(outcome)) {
                text += fmt::format("{}: {}{} -> {}\n", outcome.signal->target,
                                    full_text(outcome.before.shown), pulse,
                                    full_text(outcome.after.shown));
            }
        }
    }
    return text;
}

void complain_of(const Done &done) {
    if (!done.error.empty()) {
        complain(fmt::format("{}: {}", done.change->target, done.error));
    }
    for (const Outcome &outcome : done.signals) {
        for (const std::string &text : {outcome.error, outcome.note}) {
            if (!text.empty()) {
                complain(fmt::format("{}: {}", outcome.signal->target, text));
            }
        }
    }
}

/// The first that is not 0.
int status_of(const std::vector<Done> &all) {
    for (const Done &done : all) {
        if (done.status != kExitOk) {
            return done.status;
        }
        for (const Outcome &outcome : done.signals) {
            if (outcome.status != kExitOk) {
                return outcome.status;
            }
        }
    }
    return kExitOk;
}

void tell(const Options &options, const Control &control, const std::vector<Done> &all) {
    const std::string text = options.json ? document(control, all).document() + "\n" : rows_of(all);
    // Errors of the output show when it is closed.
    std::fputs(text.c_str(), options.out);
    std::fflush(options.out);
    std::ranges::for_each(all, complain_of);
}

int run(const Options &options, const Control &control, const Request &request) {
    if (request.words.size() < control.fewest) {
        throw UsageError(fmt::format("{} takes: {}", full_name(control), control.usage));
    }
    const Library library = require_library(options);
    // A terminal that takes no more text must not stop it between two writes.
    std::optional<LogHeld> log(std::in_place);
    const std::vector<Change> changes = control.plan(request.words, library.loaded);
    for (const Change &change : changes) {
        for (const Signal &signal : change.signals) {
            check_bus_of(signal.item, options.force);
        }
    }
    confirm(full_name(control), warnings_of(changes), request.yes);
    // From the first write to the last nothing stops this: not the hang-up of a terminal either, to
    // which nothing is printed before all is done.
    const dfd_tools::SignalsHeld held;
    std::vector<Done> all;
    for (const Change &change : changes) {
        all.push_back(execute(change, library));
    }
    log.reset();
    tell(options, control, all);
    const int status = status_of(all);
    if (const std::string names = held.waiting(); !names.empty()) {
        tell_signals(names, full_name(control), status);
    }
    return status;
}

/// What the commands of a group do.
std::string group_description(const std::string &group) {
    std::string text;
    const auto add = [&text](std::string more) {
        more[0] = static_cast<char>(text.empty() ? more[0] : std::tolower(more[0]));
        text += (text.empty() ? "" : "; ") + more;
    };
    for (const Control &control : controls()) {
        if (control.group == group) {
            add(control.description);
        }
    }
    if (group == kDispatchGroup) {
        add(kDispatchDescription);
    }
    return text;
}

void add_control(Command &parent, const char *name, const Control &control,
                 const Options &options) {
    auto request = std::make_shared<Request>();
    Command command = parent.subcommand(name, control.description, control.example);
    if (control.most > 0) {
        command.words("WORDS", request->words, control.words, control.usage, 0, control.most);
    }
    command.flag("--yes", request->yes, "Do not ask, also where traffic is disturbed");
    command.runs([&options, &control, request] { return run(options, control, *request); });
}

}  // namespace

bool ask_outer(const dfd::watch::Hooks *outer, const dfd::watch::Transfer &transfer, int *result) {
    return outer != nullptr && outer->answer != nullptr &&
           outer->answer(outer->context, transfer, result);
}

void confirm(const std::string &command, const std::string &warnings, bool yes) {
    if (warnings.empty() || yes) {
        return;
    }
    if (isatty(STDIN_FILENO) == 0) {
        throw UsageError(
            fmt::format("{}: {}. Nothing was done; confirm with --yes", command, warnings));
    }
    ask(warnings + ". Continue? [y/N]");
    const int answer = std::getchar();
    if (answer != 'y' && answer != 'Y') {
        throw UsageError("nothing was done");
    }
}

void tell_signals(const std::string &names, const std::string &command, int status) {
    complain(fmt::format("{} waited until '{}' was {}", names, command,
                         status == kExitOk ? "finished; nothing is left half-way"
                                           : "through; see above what failed"));
}

void add_controls(Command &top, const Options &options) {
    std::map<std::string, Command> groups;
    for (const Control &control : controls()) {
        if (control.name == nullptr) {
            add_control(top, control.group, control, options);
            continue;
        }
        auto group = groups.find(control.group);
        if (group == groups.end()) {
            Command command =
                top.subcommand(control.group, group_description(control.group), control.example);
            command.needs_subcommand();
            group = groups.emplace(control.group, command).first;
        }
        add_control(group->second, control.name, control, options);
    }
    add_dispatch(groups.at(kDispatchGroup), options);
}

}  // namespace dfdctl
