// SPDX-License-Identifier: MIT
#include "dfdctl/explain/explain.hpp"

#include <dfd/framework.h>
#include <dfd/records.h>
#include <algorithm>
#include <array>

#include "dfdctl/board/describe.hpp"
#include "dfdctl/board/facts.hpp"
#include "dfdctl/observe/refusal.hpp"
#include "framework/dfd_lib_cfg/members.h"

#include <fmt/format.h>

namespace dfdctl::explain {

namespace {

using observe::Answers;
using observe::Event;
using observe::Observation;

std::string member_name(const Item &item, int member) {
    const auto *kind = dfd::member_kind(dfd::kind_of_type(item.type->type));
    const auto at = static_cast<std::size_t>(member);
    return kind != nullptr && at < kind->names.size() ? std::string(kind->names[at]).substr(1) : "";
}

std::string place_of(const Origin &origin, const LoadRecord &loaded) {
    const std::string &path = loaded.files[origin.file].path;
    return fmt::format("{}:{}", path.substr(path.rfind('/') + 1), origin.line);
}

bool is_failed_transfer(const Event &event) {
    return event.kind == Event::Kind::transfer && event.via != dfd::watch::Via::file_exists &&
           event.result < 0;
}

/// The last event for which `match` holds, or null.
template <typename Match>
const Event *last_event(const Observation &seen, Match match) {
    const auto found = std::find_if(seen.events.rbegin(), seen.events.rend(), match);
    return found != seen.events.rend() ? &*found : nullptr;
}

std::string engine_reason(const Event &event) {
    const std::string name = item_of_key(event.key).name();
    if (event.result == DFD_ERR_IO) {
        return fmt::format("{} cannot be {}", name,
                           event.op == dfd::watch::Op::set_int ? "written" : "read");
    }
    return fmt::format("{}: the engine returns {}", name, event.result);
}

std::string_view how_of(const observe::Use &use) {
    if (!use.is_read) {
        return "looks at";
    }
    return use.op == dfd::watch::Op::set_int ? "writes" : "reads";
}

Consumer consumer_of(const observe::Use &use, const Item &item, const LoadRecord &loaded,
                     bool is_exact) {
    const bool refused = use.is_read && !use.worked && use.refused != 0;
    const auto reason = observe::reason_of(loaded, item, use.refusal);
    return {.call = use.call,
            .args = *use.args,
            .is_exact = is_exact,
            .how = how_of(use),
            .worked = !refused,
            .refusal = refused ? (reason.has_value() ? reason->text
                                                     : std::string(code_meaning(use.refused)))
                               : std::string()};
}

}  // namespace

std::vector<MemberLine> member_lines(const Item &item, const LoadRecord &loaded) {
    const auto found = loaded.origins.find(item.key());
    if (found == loaded.origins.end()) {
        return {};
    }
    std::map<int, MemberLine> lines;
    for (const Origin &origin : found->second) {
        MemberLine &line = lines[origin.member];
        if (!line.place.empty()) {
            line.replaced.push_back(fmt::format("{} of {}", line.value, line.place));
        }
        line.member = member_name(item, origin.member);
        line.value = loaded.lines[origin.source].value;
        line.place = place_of(origin, loaded);
    }
    std::vector<MemberLine> result;
    for (auto &[member, line] : lines) {
        result.push_back(std::move(line));
    }
    return result;
}

std::vector<Stage> stages_of(const Observation &seen) {
    std::vector<Stage> stages;
    for (std::size_t i = 0; i < seen.events.size(); ++i) {
        const Event &event = seen.events[i];
        const bool is_lookup = event.kind == Event::Kind::lookup;
        const bool goes_on =
            !stages.empty() &&
            (!is_lookup || (stages.back().has_item && stages.back().item.key() == event.key));
        if (!goes_on) {
            Stage stage{.item = item_of_key(event.key), .has_item = is_lookup, .first = i};
            const auto earlier =
                std::find_if(stages.begin(), stages.end(), [&](const Stage &other) {
                    return is_lookup && other.has_item && other.item.key() == event.key;
                });
            if (earlier != stages.end()) {
                stage.earlier = static_cast<std::size_t>(earlier - stages.begin());
            }
            stages.push_back(stage);
        }
        stages.back().end = i + 1;
    }
    return stages;
}

bool Explanation::not_configured() const {
    const std::vector<std::uint32_t> keys = seen.keys();
    return !keys.empty() && std::all_of(keys.begin(), keys.end(), [](std::uint32_t key) {
        return dfd_lib_cfg_get_item(key) == nullptr;
    });
}

bool Explanation::failed() const {
    if (call->returns_nothing || seen.result >= 0) {
        return false;
    }
    const Event *read = last_event(seen, [](const Event &event) {
        return event.kind == Event::Kind::engine && event.op == dfd::watch::Op::get_int;
    });
    const bool is_value = call->returns_value && !call->unit.empty() && read != nullptr &&
                          read->result == DFD_OK &&
                          static_cast<std::int32_t>(read->value) == seen.result;
    return !is_value;
}

bool Explanation::failed_io() const {
    return std::any_of(seen.events.begin(), seen.events.end(), is_failed_transfer);
}

std::string Explanation::reason() const {
    if (!failed() && !tells_failure(*this)) {
        return {};
    }
    const std::string cause = cause_of_failure();
    return absence.empty() || cause.empty() ? cause : fmt::format("{}; {}", cause, absence);
}

std::string Explanation::cause_of_failure() const {
    const Event *missing = last_event(
        seen, [](const Event &event) { return event.kind == Event::Kind::lookup && !event.found; });
    const std::string lack =
        missing != nullptr ? item_of_key(missing->key).missing_name() + " is not configured" : "";
    if (seen.result == DFD_ERR_NOT_SUPPORTED && !lack.empty()) {
        return lack;
    }
    const Event *engine = last_event(seen, [](const Event &event) {
        return event.kind == Event::Kind::engine && event.result < 0;
    });
    if (engine != nullptr) {
        return engine_reason(*engine);
    }
    const Event *transfer = last_event(seen, is_failed_transfer);
    if (transfer == nullptr) {
        return lack;
    }
    return transfer->via == dfd::watch::Via::i2c
               ? fmt::format("{} address 0x{:02x} does not answer", transfer->text, transfer->addr)
               : fmt::format("{} does not answer", transfer->text);
}

bool Explanation::is_given(std::uint32_t key) const {
    return std::any_of(given.begin(), given.end(),
                       [key](const observe::ItemAnswer &item) { return item.key == key; });
}

std::vector<std::uint8_t> Explanation::bytes(std::size_t engine, bool written) const {
    std::vector<std::uint8_t> all;
    for (const Event &event : seen.events) {
        if (event.kind == Event::Kind::transfer && event.engine == static_cast<int>(engine) &&
            event.is_write == written) {
            all.insert(all.end(), event.bytes.begin(), event.bytes.end());
        }
    }
    return all;
}

std::vector<std::string> Explanation::assumptions() const {
    std::vector<std::string> texts;
    if (reading == Reading::hardware) {
        return texts;
    }
    for (const Event &event : seen.events) {
        const bool is_read = event.kind == Event::Kind::engine && event.result >= 0 &&
                             event.op == dfd::watch::Op::get_int;
        const auto *record = is_read ? record_of<info_ctrl_t>(item_of_key(event.key)) : nullptr;
        if (record == nullptr || record->mode == INFO_CTRL_MODE_CONSTANT || is_given(event.key)) {
            continue;
        }
        const std::string text = fmt::format("{} = {}", item_of_key(event.key).name(),
                                             static_cast<std::int32_t>(event.value));
        if (std::find(texts.begin(), texts.end(), text) == texts.end()) {
            texts.push_back(text);
        }
    }
    return texts;
}

namespace {

std::ptrdiff_t configured_items(const Observation &seen) {
    return std::ranges::count_if(seen.keys(), [](std::uint32_t key) {
        const std::uint32_t type = DFD_KEY_TYPE(key);
        return type != DFD_KEY_MY_SLOTID && type != DFD_KEY_SLOT_BASE &&
               dfd_lib_cfg_get_item(key) != nullptr;
    });
}

/// A slot for which less is configured than for this card may be the own one.
Answers deepest_answers(const observe::Observer &observer, const observe::Units &units,
                        const Request &request) {
    Answers given;
    given.items = request.given;
    const auto explored = [&] {
        observe::Exploration found =
            observe::explore(observer, units, *request.call, request.args, given);
        return std::move(found.runs[found.deepest]);
    };
    observe::Run run = explored();
    const auto inputs = request.call->inputs();
    const bool has_slot =
        !request.args.numbers.empty() && inputs.front()->role == observe::Role::slot;
    const std::uint32_t own = DFD_MAKE_KEY(DFD_KEY_MY_SLOTID, 0, 0);
    if (has_slot && given.find(own) == nullptr) {
        const std::uint32_t base = units.own_slot() - units.own_slot_value();
        given = given.with({.key = own, .number = request.args.numbers.front() - base});
        observe::Run as_own = explored();
        if (configured_items(as_own.seen) > configured_items(run.seen)) {
            run = std::move(as_own);
        }
    }
    return std::move(run.answers);
}

/// A unit that is not plugged explains why its devices do not answer.
std::string absence_of_unit(const observe::Observer &observer, const std::vector<Stage> &stages) {
    for (const Stage &stage : stages) {
        const std::uint32_t type = stage.has_item ? presence_type_of(stage.item.type->type) : 0;
        const Item presence = item_of(type, stage.item.index1);
        if (type == 0 || record_of<info_ctrl_t>(presence) == nullptr) {
            continue;
        }
        const Observation seen =
            observer.observe(*observe::find_call("dfd_info_get_int"),
                             {.numbers = {presence.key()}, .texts = {}}, Answers::hardware());
        if (seen.result == DFD_OK && seen.outputs.front().number == 0) {
            return fmt::format("{} tells that the unit is not plugged", presence.name());
        }
    }
    return {};
}

}  // namespace

Explanation explain_call(const observe::Observer &observer, const observe::Units &units,
                         const Request &request) {
    Explanation result{.call = request.call, .args = request.args, .given = request.given};
    if (request.reads_hardware) {
        result.reading = Reading::hardware;
        result.answers = Answers::hardware();
        result.answers.items = request.given;
    } else {
        result.reading = request.given.empty() ? Reading::assumed : Reading::given;
        result.answers = deepest_answers(observer, units, request);
    }
    // Once more, with the log: it says why the engine refuses an item.
    result.seen = observer.observe(*request.call, request.args, result.answers, observe::Log::open);
    result.stages = stages_of(result.seen);
    if (request.reads_hardware && (result.failed() || tells_failure(result)) &&
        result.failed_io()) {
        result.absence = absence_of_unit(observer, result.stages);
    }
    return result;
}

std::vector<Consumer> consumers_of(const observe::BoardUse &board, const Item &item,
                                   const LoadRecord &loaded) {
    std::vector<Consumer> consumers;
    const auto exact = board.keys.find(item.key());
    if (exact != board.keys.end()) {
        for (const observe::Use &use : exact->second) {
            consumers.push_back(consumer_of(use, item, loaded, true));
        }
        return consumers;
    }
    const auto is_known = [&](const observe::Call *call) {
        return std::any_of(consumers.begin(), consumers.end(),
                           [call](const Consumer &known) { return known.call == call; });
    };
    for (const auto &[key, uses] : board.keys) {
        for (const observe::Use &use : uses) {
            if (DFD_KEY_TYPE(key) == item.type->type && !is_known(use.call)) {
                consumers.push_back(consumer_of(use, item_of_key(key), loaded, false));
            }
        }
    }
    const auto list = board.lists.find(item.type->type);
    if (list != board.lists.end()) {
        for (const observe::Call *call : list->second) {
            if (!is_known(call)) {
                consumers.push_back(
                    {.call = call, .args = {}, .is_exact = false, .how = "looks up"});
            }
        }
    }
    return consumers;
}

}  // namespace dfdctl::explain
