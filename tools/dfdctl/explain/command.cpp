// SPDX-License-Identifier: MIT
// dfdctl explain: from a call or an item to the wire.
#include "dfdctl/command.hpp"

#include <dfd/framework.h>
#include <dfd/keys.h>
#include <dfd/records.h>
#include <algorithm>
#include <memory>
#include <optional>
#include <tuple>

#include "common/nearest.hpp"
#include "dfdctl/board/find_boards.hpp"
#include "dfdctl/board/keys.hpp"
#include "dfdctl/board/offline.hpp"
#include "dfdctl/board/start.hpp"
#include "dfdctl/explain/output.hpp"
#include "dfdctl/output.hpp"

#include <fmt/format.h>

namespace dfdctl {

namespace {

using explain::Explanation;
using observe::Args;
using observe::Call;
using observe::RoleKind;

struct Arguments {
    std::string name;
    std::vector<std::string> words;
    std::string root;
    std::string board;
    std::string chassis;
    std::vector<std::string> answers;
    bool reads = false;

    bool is_offline() const { return !(root + board + chassis).empty(); }
};

BoardPlace board_of(const Arguments &arguments) {
    const std::vector<BoardPlace> places = find_boards(arguments.root, arguments.board);
    if (places.size() > 1) {
        std::vector<std::string> names;
        for (const BoardPlace &place : places) {
            names.push_back(fmt::format("--root {}/ --board {}", place.root, place.board_type));
        }
        throw UsageError(fmt::format("several boards there, choose one: {}", joined(names, "; ")));
    }
    return places.front();
}

int chassis_of(const Arguments &arguments, const BoardPlace &place) {
    if (!arguments.chassis.empty()) {
        std::uint32_t type = 0;
        if (!parse_number(arguments.chassis, type)) {
            throw UsageError(fmt::format("'{}' is no chassis type: a number", arguments.chassis));
        }
        if (type > kLastToldChassis && static_cast<int>(type) != place.board_type) {
            throw UsageError(fmt::format(
                "'{}' is no chassis type of this board: a backplane EEPROM tells 0 to {}",
                arguments.chassis, kLastToldChassis));
        }
        return static_cast<int>(type);
    }
    const std::vector<int> types = chassis_types(place.root);
    return types.empty() ? 0 : types.front();
}

LoadRecord load(const Arguments &arguments) {
    const BoardPlace place = board_of(arguments);
    int result = 0;
    LoadRecord loaded = load_offline({.root = place.root,
                                      .board_type = place.board_type,
                                      .chassis_type = chassis_of(arguments, place)},
                                     &result);
    if (result != DFD_OK) {
        throw UsageError(fmt::format("board type {} cannot be loaded: {}{}: {}", place.board_type,
                                     place.root, loaded.list_path, loaded.list_error));
    }
    for (const ConfigFile &file : loaded.files) {
        // A missing card_pid.cfg or chassis file is no mistake.
        if (file.failed_line != 0 || (!file.opened && file.role == FileRole::listed)) {
            complain(fmt::format("{}: {} ('dfdctl lint' tells more)", file.path, file.error));
        }
    }
    return loaded;
}

/// What is left out is the first unit of the board that goes with the rest.
void complete(const Call &call, const observe::Units &units, Args &args) {
    for (const Args &known : units.all_args(call)) {
        if (std::equal(args.numbers.begin(), args.numbers.end(), known.numbers.begin())) {
            args.numbers = known.numbers;
            return;
        }
    }
}

/// Arguments of a function.
Args parse_args(const Call &call, const observe::Units &units,
                const std::vector<std::string> &words) {
    const auto inputs = call.inputs();
    if (words.size() > inputs.size()) {
        throw UsageError(inputs.empty() ? fmt::format("{} takes no arguments", call.name)
                                        : fmt::format("{} takes {}", call.name, call.usage()));
    }
    Args args;
    for (std::size_t i = 0; i < words.size(); ++i) {
        std::uint32_t number = 0;
        const bool is_text = facts_of(inputs[i]->role).kind == RoleKind::text;
        const bool is_number = !is_text && parse_number(words[i], number);
        const bool is_length = is_number && inputs[i]->role == observe::Role::length;
        if ((is_text && words[i].size() > observe::kMaxLength) ||
            (is_length && number > observe::kMaxLength)) {
            throw UsageError(fmt::format("a text or length is at most {} here: {} takes {}",
                                         observe::kMaxLength, call.name, call.usage()));
        }
        if (is_text) {
            args.texts.push_back(words[i]);
        } else if (is_number) {
            args.numbers.push_back(number);
        } else {
            throw UsageError(
                fmt::format("'{}' is no number: {} takes {}", words[i], call.name, call.usage()));
        }
    }
    complete(call, units, args);
    return args;
}

[[noreturn]] void unknown_name(const std::string &name) {
    std::vector<std::string_view> names(key_names().begin(), key_names().end());
    names.insert(names.end(), observe::call_names().begin(), observe::call_names().end());
    const std::string guess = dfd_tools::did_you_mean(name, names);
    throw UsageError(fmt::format("unknown item or function '{}'{}", name,
                                 guess.empty() ? "; 'dfdctl items' lists the items" : guess));
}

int exit_of(const Explanation &explanation) {
    const bool failed = explanation.failed() || tells_failure(explanation);
    const bool is_refused = failed && explanation.seen.result == DFD_ERR_NOT_SUPPORTED;
    if (is_refused || explanation.not_configured()) {
        return kExitNotSupported;
    }
    if (explanation.reading != explain::Reading::hardware || !failed) {
        return kExitOk;
    }
    return explanation.failed_io() ? kExitIo : kExitReadingFailed;
}

/// One loaded board, and what is asked about it.
class Session {
  public:
    Session(const Options &options, const Arguments &arguments, const LoadRecord &loaded)
        : options_(options),
          arguments_(arguments),
          loaded_(loaded),
          observer_(loaded),
          units_(loaded, own_slot()) {}

    int call(const Call &call) {
        check(call);
        const Explanation explanation =
            explain_call(call, parse_args(call, units_, arguments_.words));
        const auto print = options_.json ? explain::print_call_json : explain::print_call;
        print(options_.out, explanation, loaded_);
        print_log(explanation);
        return exit_of(explanation);
    }

    int item() {
        const Item item = parse_item(arguments_.name, arguments_.words);
        const observe::BoardUse board = observe::observe_board(observer_, units_);
        explain::ItemExplanation explanation{item, explain::consumers_of(board, item, loaded_),
                                             nullptr};
        std::optional<Explanation> reading;
        if (is_readable(item) && (arguments_.reads || !arguments_.answers.empty())) {
            reading = read(item, board);
            explanation.reading = &*reading;
            print_log(*reading);
        }
        const auto print = options_.json ? explain::print_item_json : explain::print_item;
        print(options_.out, explanation, loaded_);
        if (dfd_lib_cfg_get_item(item.key()) == nullptr) {
            return kExitNotSupported;
        }
        return reading.has_value() ? exit_of(*reading) : int{kExitOk};
    }

  private:
    /// Where this card is: as given, or as the hardware tells when that is to be asked.
    std::optional<std::uint32_t> own_slot() const {
        const bool asks = arguments_.reads && depends_on_slot();
        observe::Answers answers =
            asks ? observe::Answers::hardware() : observe::Answers::nothing();
        answers.items = observe::parse_answers(arguments_.answers);
        return observer_.own_slot(answers);
    }

    /// Items of cards are asked for by functions that count slots.
    bool depends_on_slot() const {
        const Call *call = observe::find_call(arguments_.name);
        if (call == nullptr) {
            return true;
        }
        const auto inputs = call->inputs();
        return !inputs.empty() && inputs.front()->role == observe::Role::slot;
    }

    void check(const Call &call) const {
        if (!call.can_be_observed()) {
            throw UsageError(fmt::format(
                "{} is not explained: it loads or changes the library's own tables", call.name));
        }
        if (arguments_.reads && !call.only_reads()) {
            throw UsageError(fmt::format(
                "{} does more than read: explain it without --read, nothing is written then",
                call.name));
        }
    }

    Explanation explain_call(const Call &call, const Args &args) const {
        return explain::explain_call(observer_, units_,
                                     {.call = &call,
                                      .args = args,
                                      .given = observe::parse_answers(arguments_.answers),
                                      .reads_hardware = arguments_.reads});
    }

    static bool is_readable(const Item &item) {
        return item.type->kind == Kind::info_ctrl && record_of<info_ctrl_t>(item) != nullptr;
    }

    /// By the getter whose answer is this item's value, with its conversion and unit. Without one,
    /// by the engine, or by any getter whose conversion or EEPROM query the item needs.
    Explanation read(const Item &item, const observe::BoardUse &board) const {
        const auto &record = *record_of<info_ctrl_t>(item);
        const bool needs_function =
            record.frmt == INFO_FRMT_NUM_BUF ||
            (record.mode > INFO_CTRL_MODE_CONSTANT && record.mode != INFO_CTRL_MODE_FUNC);
        const observe::CallUse *best = nullptr;
        for (const observe::CallUse &use : board.calls) {
            const bool asks = use.call->does == observe::Does::get &&
                              std::ranges::find(*use.keys, item.key()) != use.keys->end();
            const bool is_better = best == nullptr || indirection_of(use) < indirection_of(*best);
            best = asks && is_better ? &use : best;
        }
        if (best != nullptr && (needs_function || reads_only(*best, item))) {
            return explain_call(*best->call, *best->args);
        }
        const char *engine = record.frmt == INFO_FRMT_BUF ? "dfd_info_get_buf" : "dfd_info_get_int";
        return explain_call(*observe::find_call(engine), {.numbers = {item.key()}});
    }

    /// How far a getter is from the items that it asks for; the driver interface comes first.
    static std::tuple<std::size_t, std::size_t, bool> indirection_of(const observe::CallUse &use) {
        return {use.keys->size(), use.call->inputs().size(), !use.call->name.starts_with("drv_")};
    }

    /// Whether nothing else is read by it but where this card is.
    static bool reads_only(const observe::CallUse &use, const Item &item) {
        return std::ranges::all_of(*use.keys, [&item](std::uint32_t key) {
            const std::uint32_t type = DFD_KEY_TYPE(key);
            return key == item.key() || type == DFD_KEY_MY_SLOTID ||
                   item_of_key(key).type->kind != Kind::info_ctrl;
        });
    }

    /// What the library said meanwhile was kept from its usual place.
    void print_log(const Explanation &explanation) const {
        if (options_.debug > 0) {
            fmt::print(stderr, "{}", explanation.seen.log);
        }
    }

    const Options &options_;
    const Arguments &arguments_;
    const LoadRecord &loaded_;
    observe::Observer observer_;
    observe::Units units_;
};

int explain_command(const Options &options, const Arguments &arguments) {
    const bool is_item = is_item_name(arguments.name);
    const Call *call = observe::find_call(arguments.name);
    if (!is_item && call == nullptr) {
        unknown_name(arguments.name);
    }
    if (arguments.reads && arguments.is_offline()) {
        throw UsageError(
            "--read asks the hardware of this system: without --root, --board and "
            "--chassis");
    }
    const LoadRecord loaded =
        arguments.is_offline() ? load(arguments) : require_library(options).loaded;
    Session session(options, arguments, loaded);
    return is_item ? session.item() : session.call(*call);
}

}  // namespace

void add_explain(Command &top, const Options &options) {
    auto arguments = std::make_shared<Arguments>();
    Command command =
        top.subcommand("explain", "Show the way from a function or an item to the wire",
                       "dfdctl explain drv_get_fan_speed 2 1 --read");
    command.word("NAME", arguments->name, "A function of the library, or an item");
    command.words("ARGUMENT", arguments->words,
                  "Arguments of the function (without them: the first unit), indexes of the item",
                  "[ARGUMENT...]", 0, observe::kMaxParams);
    command.option(
        "--root", arguments->root,
        "Explain a board from its files: a directory that holds etc/cfg/dfd, or one above", "DIR");
    command.option("--board", arguments->board, "Board type, where there are several: 62 or 0x3e",
                   "TYPE");
    command.option("--chassis", arguments->chassis, "Chassis type; standard: the first one there",
                   "TYPE");
    command.option("--answer", arguments->answers,
                   "What an item reads: 'fan_state_1=0'; may be given several times", "ITEM=VALUE");
    command.flag("--read", arguments->reads,
                 "Ask the hardware; without it, nothing is read and values are assumed");
    command.runs([&options, arguments] { return explain_command(options, *arguments); });
}

}  // namespace dfdctl
