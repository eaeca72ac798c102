// SPDX-License-Identifier: MIT
#include "dfdctl/board/describe.hpp"
#include "dfdctl/board/faults.hpp"
#include "dfdctl/explain/interpret.hpp"
#include "dfdctl/explain/layout.hpp"
#include "dfdctl/explain/output.hpp"
#include "dfdctl/output.hpp"

#include <fmt/format.h>

namespace dfdctl::explain {

namespace {

using dfd::watch::Op;
using dfd::watch::Via;
using observe::Event;

constexpr std::string_view kReadings[] = {"assumed", "given", "hardware"};
constexpr std::string_view kOps[] = {"get_int", "get_int_by_index", "get_buf",
                                     "set_int", "led_regval",       "led_state"};
constexpr std::string_view kVias[] = {"device", "i2c", "plain_file", "file_exists"};

template <typename Enum>
std::string_view name_in(std::span<const std::string_view> names, Enum value) {
    return names[static_cast<std::size_t>(value)];
}

Json lines_json(const Item &item, const LoadRecord &loaded) {
    Json lines = Json::array();
    for (const MemberLine &line : member_lines(item, loaded)) {
        lines.push_back({{"member", text_or_null(line.member)},
                         {"value", line.value},
                         {"place", line.place},
                         {"replaces", line.replaced}});
    }
    return lines;
}

Json transfer_json(const Event &event) {
    Json json = {{"kind", "transfer"},
                 {"via", name_in(kVias, event.via)},
                 {"write", event.is_write},
                 {"path", event.text}};
    if (event.via == Via::i2c) {
        json["address"] = event.addr;
    }
    json["offset"] = event.offset;
    json["length"] = event.len;
    json["result"] = event.result;
    json["errno"] = text_or_null(errno_name(event.error));
    json["bytes"] = text_or_null(hex_text(event.bytes));
    return json;
}

Json engine_json(const Explanation &explanation, std::size_t index) {
    const Event &event = explanation.seen.events[index];
    Json json = {{"kind", "engine"},
                 {"operation", name_in(kOps, event.op)},
                 {"argument", event.argument},
                 {"converted_by_function", event.has_processor},
                 {"result", event.result}};
    json["value"] = event.result >= 0 ? Json(static_cast<std::int32_t>(event.value)) : Json();
    json["assumed"] = !explanation.is_real(event.key);
    Interpretation way;
    if (const auto *record = record_of<info_ctrl_t>(item_of_key(event.key));
        record != nullptr && event.op <= Op::set_int && event.op != Op::get_buf) {
        way = event.op == Op::set_int
                  ? interpret_write(*record, event.argument)
                  : interpret_read(*record, explanation.bytes(index, false), event.has_processor);
    }
    json["steps"] = Json::array();
    for (const Step &step : way.steps) {
        json["steps"].push_back({{"what", step.what}, {"value", step.value}});
    }
    json["log"] = text_or_null(observe::log_message(event.text));
    return json;
}

Json event_json(const Explanation &explanation, std::size_t index) {
    const Event &event = explanation.seen.events[index];
    switch (event.kind) {
        case Event::Kind::engine:
            return engine_json(explanation, index);
        case Event::Kind::transfer:
            return transfer_json(event);
        case Event::Kind::conversion:
            return {{"kind", "conversion"},
                    {"list", item_of(observe::list_type(event.list)).type->name},
                    {"text", text_or_null(event.text)},
                    {"number", event.number},
                    {"found", event.found},
                    {"index1", event.value}};
        case Event::Kind::pause:
            return {{"kind", "pause"}, {"us", event.number}};
        case Event::Kind::lookup:
            break;
    }
    return {{"kind", "lookup"}, {"found", event.found}};
}

Json stage_json(const Explanation &explanation, const Stage &stage, const LoadRecord &loaded) {
    Json json;
    json["item"] = stage.has_item ? item_json(stage.item) : Json();
    json["configured"] = stage.has_item && explanation.seen.events[stage.first].found;
    if (stage.has_item && stage.earlier == Stage::kFirstTime) {
        json["says"] = text_or_null(describe(stage.item));
        json["record"] = record_json(stage.item);
        json["set_by"] = lines_json(stage.item, loaded);
    }
    json["events"] = Json::array();
    for (std::size_t i = stage.first; i < stage.end; ++i) {
        json["events"].push_back(event_json(explanation, i));
    }
    return json;
}

Json outputs_json(const Explanation &explanation) {
    Json outputs = Json::array();
    for (const observe::Output &output : explanation.seen.outputs) {
        Json json;
        if (output.param->role == observe::Role::out) {
            json["value"] = output.number;
        } else {
            const auto *bytes = reinterpret_cast<const std::uint8_t *>(output.bytes.data());
            json["bytes"] = hex_text(std::span(bytes, output.bytes.size()));
        }
        json["unit"] = text_or_null(output.param->unit);
        outputs.push_back(json);
    }
    return outputs;
}

Json call_json(const Explanation &explanation, const LoadRecord &loaded) {
    const observe::Call &call = *explanation.call;
    Json json = {{"function", call.name},
                 {"call", observe::text_of(call, explanation.args)},
                 {"subsystem", observe::subsystem_name(call.subsystem)},
                 {"does", observe::does_name(call.does)},
                 {"reading", name_in(kReadings, explanation.reading)}};
    json["stages"] = Json::array();
    for (const Stage &stage : explanation.stages) {
        json["stages"].push_back(stage_json(explanation, stage, loaded));
    }
    json["repeats"] = Json::array();
    for (const observe::Repeat &repeat : explanation.seen.repeats) {
        json["repeats"].push_back(
            {{"first", repeat.first}, {"count", repeat.count}, {"times", repeat.times}});
    }
    json["result"] = call.returns_nothing ? Json() : Json(explanation.seen.result);
    json["meaning"] = text_or_null(explanation.failed() ? code_meaning(explanation.seen.result)
                                                        : std::string_view());
    json["value"] = text_or_null(value_text(explanation));
    json["outputs"] = outputs_json(explanation);
    json["unit"] = text_or_null(call.unit);
    json["because"] = text_or_null(explanation.reason());
    json["assumed"] = explanation.assumptions();
    return json;
}

}  // namespace

void print_call_json(std::FILE *out, const Explanation &explanation, const LoadRecord &loaded) {
    Json json = {{"command", "explain"}};
    json.update(call_json(explanation, loaded));
    print_json(out, json);
}

void print_item_json(std::FILE *out, const ItemExplanation &explanation, const LoadRecord &loaded) {
    const Item &item = explanation.item;
    Json json = {{"command", "explain"},
                 {"item", item_json(item)},
                 {"unit", text_or_null(unit_of(item))},
                 {"max_index1", item.type->max1},
                 {"max_index2", item.type->max2},
                 {"says", text_or_null(describe(item))},
                 {"record", record_json(item)},
                 {"set_by", lines_json(item, loaded)}};
    json["used_by"] = Json::array();
    for (const Consumer &consumer : explanation.consumers) {
        json["used_by"].push_back(
            {{"function", consumer.call->name},
             {"call",
              consumer.is_exact ? Json(observe::text_of(*consumer.call, consumer.args)) : Json()},
             {"how", consumer.how},
             {"works", consumer.worked},
             {"refusal", text_or_null(consumer.refusal)}});
    }
    json["read_by"] =
        explanation.reading != nullptr ? call_json(*explanation.reading, loaded) : Json();
    print_json(out, json);
}

}  // namespace dfdctl::explain
