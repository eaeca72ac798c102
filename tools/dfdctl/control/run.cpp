// SPDX-License-Identifier: MIT
#include <dfd/types.h>
#include <unistd.h>
#include <algorithm>
#include <map>
#include <memory>

#include "dfdctl/board/start.hpp"
#include "dfdctl/control/controls.hpp"
#include "dfdctl/output.hpp"

#include <fmt/format.h>

namespace dfdctl {

namespace {

struct Request {
    ControlWords words;
    bool yes = false;
};

struct Outcome {
    Reading before;
    Reading after;
    int result = DFD_OK;
    std::optional<bool> verified;  ///< nothing: it cannot be read back
    std::string error;
    int status = kExitOk;
};

std::string full_name(const Control &control) {
    return control.name != nullptr ? fmt::format("{} {}", control.group, control.name)
                                   : control.group;
}

/// Asks at a terminal; elsewhere --yes is the only answer.
void confirm(const Control &control, const std::vector<Change> &changes, bool yes) {
    std::string warnings;
    for (const Change &change : changes) {
        if (!change.warning.empty()) {
            warnings += (warnings.empty() ? "" : "; ") + change.warning;
        }
    }
    if (warnings.empty() || yes) {
        return;
    }
    if (isatty(STDIN_FILENO) == 0) {
        throw UsageError(fmt::format("{}: {}. Nothing was done; confirm with --yes",
                                     full_name(control), warnings));
    }
    fmt::print(stderr, "dfdctl: {}. Continue? [y/N] ", warnings);
    std::fflush(stderr);
    const int answer = std::getchar();
    if (answer != 'y' && answer != 'Y') {
        throw UsageError("nothing was done");
    }
}

Reading read_back(const Change &change) {
    return change.read ? change.read() : Reading{.status = Status::none};
}

bool reads_as(const Reading &reading, const Change &change) {
    const auto *number = std::get_if<std::int64_t>(&reading.value);
    if (!reading.ok() || number == nullptr) {
        return false;
    }
    return (change.is_flag ? std::int64_t{*number != 0} : *number) == change.expected;
}

Outcome refused(int status, int code, const std::string &error) {
    const Reading none = {.status = Status::none};
    return {.before = none,
            .after = none,
            .result = code,
            .verified = std::nullopt,
            .error = error,
            .status = status};
}

/// What the library's result and the value read back mean together.
void judge(const Change &change, Outcome &outcome) {
    if (outcome.result < 0) {
        const bool is_known = outcome.result == DFD_ERR && !change.failure.empty();
        outcome.error = is_known ? change.failure
                                 : fmt::format("the library failed with result {}", outcome.result);
        outcome.status = outcome.result == DFD_ERR_IO ? kExitIo : kExitReadingFailed;
    } else if (outcome.after.failed()) {
        outcome.error = "done, but it cannot be read back: " + outcome.after.error;
        outcome.status = outcome.after.status == Status::io_error ? kExitIo : kExitReadingFailed;
    } else if (change.read) {
        outcome.verified = reads_as(outcome.after, change);
        outcome.error = *outcome.verified ? "" : "it does not read back as requested";
        outcome.status = *outcome.verified ? kExitOk : kExitReadingFailed;
    }
}

Outcome execute(const Change &change, const Library &library) {
    if (!change.obstacle.empty()) {
        return refused(change.obstacle_status, DFD_ERR_UNUSABLE, change.obstacle);
    }
    if (record_of<char>(change.item) == nullptr) {
        return refused(
            library.incomplete() ? kExitUsage : kExitNotSupported, DFD_ERR_NOT_SUPPORTED,
            fmt::format("not supported: {} is not configured on this board", change.item.name()));
    }
    Outcome outcome;
    outcome.before = read_back(change);
    outcome.result = change.execute();
    outcome.after = read_back(change);
    judge(change, outcome);
    return outcome;
}

nlohmann::ordered_json outcome_json(const Change &change, const Outcome &outcome) {
    using nlohmann::ordered_json;
    return {{"target", change.target},
            {"requested", change.requested},
            {"result", outcome.result},
            {"verified", outcome.verified ? ordered_json(*outcome.verified) : ordered_json()},
            {"before", to_json(outcome.before)},
            {"after", to_json(outcome.after)},
            {"error", text_or_null(outcome.error)}};
}

void print_outcome(std::FILE *out, const Change &change, const Outcome &outcome) {
    if (outcome.before.status == Status::none && outcome.error.empty()) {
        fmt::print(out, "{}: {}\n", change.target, change.requested);
    } else if (outcome.before.status != Status::none) {
        fmt::print(out, "{}: {} -> {}\n", change.target, full_text(outcome.before),
                   full_text(outcome.after));
    }
}

int run(const Options &options, const Control &control, const Request &request) {
    if (request.words.size() < control.fewest) {
        throw UsageError(fmt::format("{} takes: {}", full_name(control), control.usage));
    }
    const Library library = require_library(options);
    const std::vector<Change> changes = control.plan(request.words, library.log);
    const bool supported = std::any_of(changes.begin(), changes.end(), [](const Change &change) {
        return record_of<char>(change.item) != nullptr && change.obstacle.empty();
    });
    confirm(control, changes, request.yes || !supported);
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    int status = kExitOk;
    for (const Change &change : changes) {
        const Outcome outcome = execute(change, library);
        list.push_back(outcome_json(change, outcome));
        if (!options.json) {
            print_outcome(options.out, change, outcome);
        }
        if (!outcome.error.empty()) {
            fmt::print(stderr, "dfdctl: {}: {}\n", change.target, outcome.error);
        }
        status = status != kExitOk ? status : outcome.status;
    }
    if (options.json) {
        print_json(options.out, {{"command", full_name(control)}, {"changes", list}});
    }
    return status;
}

/// What the commands of a group do.
std::string group_description(std::string_view group) {
    std::string text;
    for (const Control &control : controls()) {
        if (control.group == group) {
            text += (text.empty() ? "" : "; ") + std::string(control.description);
        }
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
}

}  // namespace dfdctl
