// SPDX-License-Identifier: MIT
#include <algorithm>

#include "dfdctl/board/describe.hpp"
#include "dfdctl/board/keys.hpp"
#include "dfdctl/coverage/matrix.hpp"
#include "dfdctl/coverage/report.hpp"
#include "dfdctl/output.hpp"

#include <fmt/format.h>

namespace dfdctl::coverage {

namespace {

Json refusal_json(const Cell &cell, const LoadRecord &record) {
    if (!cell.refusal.has_value()) {
        return nullptr;
    }
    const Item item = item_of_key(cell.refusal->key);
    return {{"item", item.name()},
            {"origin", origin_json(item, record)},
            {"code", cell.refusal->code},
            {"reason", cell.refusal->reason}};
}

Json indexes_json(const Cell &cell) {
    Json indexes = Json::object();
    for (const Index &index : indexes_of(*cell.call)) {
        const std::uint32_t number = cell.args.numbers[index.at];
        indexes[std::string(observe::facts_of(index.role).word)] =
            number == kOwnSlot ? Json("own") : Json(number);
    }
    return indexes;
}

/// Functions about units that this board does not have.
Json unitless_json(const Report &report) {
    Json names = Json::array();
    for (const observe::Call &call : observe::calls()) {
        if (observe::is_of_board(call) &&
            std::ranges::find(report.cells, &call, &Cell::call) == report.cells.end()) {
            names.push_back(call.name);
        }
    }
    return names;
}

Json cells_json(const Report &report) {
    Json list = Json::array();
    for (const Cell &cell : report.cells) {
        list.push_back({{"group", observe::subsystem_name(cell.call->subsystem)},
                        {"function", cell.call->name},
                        {"does", observe::does_name(cell.call->does)},
                        {"indexes", indexes_json(cell)},
                        {"state", state_word(cell.state)},
                        {"result", cell.result},
                        {"missing", cell.missing},
                        {"unusable", refusal_json(cell, report.record)}});
    }
    return list;
}

std::string_view via_word(dfd::watch::Via via) {
    switch (via) {
        case dfd::watch::Via::i2c:
            return "i2c";
        case dfd::watch::Via::device:
            return "device";
        default:
            return "file";
    }
}

Json cost_json(const Report &report) {
    const Cost &cost = report.cost;
    Json devices = Json::array();
    for (const Traffic &traffic : cost.traffic) {
        const bool is_i2c = traffic.via == dfd::watch::Via::i2c;
        devices.push_back({{"via", via_word(traffic.via)},
                           {"device", traffic.device},
                           {"addr", is_i2c ? Json(traffic.addr) : Json(nullptr)},
                           {"reads", traffic.reads},
                           {"writes", traffic.writes},
                           {"bytes", traffic.bytes},
                           {"bus_us", is_i2c ? Json(microseconds(traffic.bits, report.i2c_khz))
                                             : Json(nullptr)}});
    }
    return {{"calls", cost.calls},
            {"transfers", cost.transfers()},
            {"bytes", cost.bytes()},
            {"i2c_khz", report.i2c_khz},
            {"bus_us", cost.bus_us(report.i2c_khz)},
            {"pause_us", cost.pause_us},
            {"devices", std::move(devices)}};
}

Json gaps_json(const std::vector<Gap> &gaps) {
    Json list = Json::array();
    for (const Gap &gap : gaps) {
        list.push_back({{"group", observe::subsystem_name(gap.group)},
                        {"function", gap.function},
                        {"unit", gap.unit()},
                        {"why", gap.why}});
    }
    return list;
}

Json demand_json(const Report &report) {
    if (!report.demand.has_value()) {
        return nullptr;
    }
    Json groups = Json::array();
    for (const observe::Subsystem group : report.demand->groups) {
        groups.push_back(observe::subsystem_name(group));
    }
    return {{"groups", std::move(groups)},
            {"missing", gaps_json(report.gaps.missing)},
            {"uneven", gaps_json(report.gaps.uneven)}};
}

Json report_json(const Report &report) {
    return {{"board_type", report.place.board_type},
            {"chassis_type",
             report.chassis_type.has_value() ? Json(*report.chassis_type) : Json(nullptr)},
            {"root", report.place.root},
            {"counts",
             {{"ok", report.count(State::answers)},
              {"default", report.count(State::standard)},
              {"not_configured", report.count(State::not_configured)},
              {"unusable", report.count(State::unusable)}}},
            {"cells", cells_json(report)},
            {"without_unit", unitless_json(report)},
            {"pass", cost_json(report)},
            {"required", demand_json(report)}};
}

}  // namespace

void print_json(std::FILE *out, const std::vector<Report> &reports) {
    Json boards = Json::array();
    std::ranges::transform(reports, std::back_inserter(boards), report_json);
    dfdctl::print_json(out, {{"command", "coverage"}, {"boards", std::move(boards)}});
}

}  // namespace dfdctl::coverage
