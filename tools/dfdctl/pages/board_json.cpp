// SPDX-License-Identifier: MIT
// The page of `show board` as JSON.
#include <array>

#include "dfdctl/board/describe.hpp"
#include "dfdctl/board/fingerprint.hpp"
#include "dfdctl/output.hpp"
#include "dfdctl/pages/board_page.hpp"

#include <fmt/format.h>

namespace dfdctl {

namespace {

/// By TypeSource and BackplaneSource.
constexpr std::array kTypeSources = {"product_id", "eeprom_tlv", "eeprom_legacy",
                                     "backplane",  "board_type", "none"};
constexpr std::array kBackplaneSources = {"record", "items"};

Json type_json(const TypeFound &found) {
    const bool known = found.type > 0;
    return {{"type", known ? Json(found.type) : Json()},
            {"type_hex", known ? Json(fmt::format("0x{:x}", found.type)) : Json()},
            {"source", kTypeSources[static_cast<std::size_t>(found.source)]},
            {"found_by", found.how}};
}

Json file_json(const LoadRecord &loaded, const ConfigFile &file) {
    static constexpr std::array kRoles = {"card_pid", "listed", "chassis"};
    Json problems = Json::array();
    for (const std::size_t problem : file.problems) {
        const SourceLine &line = loaded.lines[problem];
        problems.push_back({{"line", line.line}, {"message", problem_of(line)}});
    }
    return {{"path", file.path},
            {"role", kRoles[static_cast<std::size_t>(file.role)]},
            {"loaded", !file.failed()},
            {"lines", file.lines},
            {"items", file.items},
            {"error", text_or_null(file.error)},
            {"error_line", file.failed_line != 0 ? Json(file.failed_line) : Json()},
            {"problems", problems}};
}

Json unit_json(const Unit &unit) {
    return {{"unit", unit.name},
            {"index", unit.index ? Json(*unit.index) : Json()},
            {"layout", unit.layout != INFO_CTRL_MODE_NONE ? Json(mode_word(unit.layout)) : Json()},
            {"device", text_or_null(unit.device)},
            {"address", unit.device.empty() ? Json() : Json(unit.address)},
            {"product_name", to_json(unit.product)},
            {"serial_number", to_json(unit.serial)},
            {"hw_version", to_json(unit.version)},
            {"type", to_json(unit.type)}};
}

Json backplane_json(const Backplane &backplane) {
    Json serials = Json::array();
    for (const Reading &serial : backplane.serials) {
        serials.push_back(to_json(serial));
    }
    return {{"number", backplane.id},
            {"source", kBackplaneSources[static_cast<std::size_t>(backplane.source)]},
            {"place", backplane.place},
            {"chassis_type", to_json(backplane.type)},
            {"hw_version", to_json(backplane.version)},
            {"serial_number", to_json(backplane.serial)},
            {"mac", to_json(backplane.mac)},
            {"serials", serials}};
}

Json bus_json(const WrittenBus &bus) {
    return {{"device", bus.device},
            {"written_for", bus.item},
            {"takes_writes", bus.obstacle.empty()},
            {"error", text_or_null(bus.obstacle)}};
}

Json sample_json(const Sample &sample) {
    return {{"item", item_json(sample.item)},
            {"record", record_json(sample.item)},
            {"reading", to_json(sample.reading)}};
}

template <typename Row, typename Convert>
Json list_json(const std::vector<Row> &rows, Convert convert) {
    Json list = Json::array();
    for (const Row &row : rows) {
        list.push_back(convert(row));
    }
    return list;
}

Json place_json(std::optional<int> number) {
    return number ? Json(*number) : Json();
}

}  // namespace

Json board_json(const BoardPage &page) {
    Json board = type_json(page.board);
    board["slot"] = place_json(page.slot);
    board["sub_slot"] = place_json(page.sub_slot);
    const LoadRecord &loaded = page.library.loaded;
    return {
        {"started", page.library.usable()},
        {"board", board},
        {"chassis", type_json(page.chassis)},
        {"other_library", text_or_null(page.other_library)},
        {"fingerprint", page.library.usable() ? Json(fingerprint(loaded)) : Json()},
        {"list_file",
         {{"path", text_or_null(loaded.list_path)}, {"error", text_or_null(loaded.list_error)}}},
        {"files", list_json(loaded.files,
                            [&loaded](const ConfigFile &file) { return file_json(loaded, file); })},
        {"inventory", list_json(page.units, unit_json)},
        {"backplanes", list_json(page.backplanes, backplane_json)},
        {"written_buses", list_json(page.buses, bus_json)},
        {"readings", list_json(page.samples, sample_json)}};
}

}  // namespace dfdctl
