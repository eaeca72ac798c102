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

using nlohmann::ordered_json;

/// By TypeSource and BackplaneSource.
constexpr std::array kTypeSources = {"product_id", "eeprom_tlv", "eeprom_legacy",
                                     "backplane",  "board_type", "none"};
constexpr std::array kBackplaneSources = {"record", "items"};

ordered_json type_json(const TypeFound &found) {
    const bool known = found.type > 0;
    return {{"type", known ? ordered_json(found.type) : ordered_json()},
            {"type_hex", known ? ordered_json(fmt::format("0x{:x}", found.type)) : ordered_json()},
            {"source", kTypeSources[static_cast<std::size_t>(found.source)]},
            {"found_by", found.how}};
}

ordered_json file_json(const LoadRecord &loaded, const ConfigFile &file) {
    static constexpr std::array kRoles = {"card_pid", "listed", "chassis"};
    ordered_json problems = ordered_json::array();
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
            {"error_line", file.failed_line != 0 ? ordered_json(file.failed_line) : ordered_json()},
            {"problems", problems}};
}

ordered_json unit_json(const Unit &unit) {
    return {{"unit", unit.name},
            {"index", unit.index ? ordered_json(*unit.index) : ordered_json()},
            {"layout", unit.layout != INFO_CTRL_MODE_NONE ? ordered_json(mode_word(unit.layout))
                                                          : ordered_json()},
            {"device", text_or_null(unit.device)},
            {"address", unit.device.empty() ? ordered_json() : ordered_json(unit.address)},
            {"product_name", to_json(unit.product)},
            {"serial_number", to_json(unit.serial)},
            {"hw_version", to_json(unit.version)},
            {"type", to_json(unit.type)}};
}

ordered_json backplane_json(const Backplane &backplane) {
    ordered_json serials = ordered_json::array();
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

ordered_json bus_json(const WrittenBus &bus) {
    return {{"device", bus.device},
            {"written_for", bus.item},
            {"takes_writes", bus.obstacle.empty()},
            {"error", text_or_null(bus.obstacle)}};
}

ordered_json sample_json(const Sample &sample) {
    return {{"item", item_json(sample.item)},
            {"record", record_json(sample.item)},
            {"reading", to_json(sample.reading)}};
}

template <typename Row, typename Convert>
ordered_json list_json(const std::vector<Row> &rows, Convert convert) {
    ordered_json list = ordered_json::array();
    for (const Row &row : rows) {
        list.push_back(convert(row));
    }
    return list;
}

ordered_json place_json(std::optional<int> number) {
    return number ? ordered_json(*number) : ordered_json();
}

}  // namespace

ordered_json board_json(const BoardPage &page) {
    ordered_json board = type_json(page.board);
    board["slot"] = place_json(page.slot);
    board["sub_slot"] = place_json(page.sub_slot);
    const LoadRecord &loaded = page.library.loaded;
    return {
        {"started", page.library.usable()},
        {"board", board},
        {"chassis", type_json(page.chassis)},
        {"other_library", text_or_null(page.other_library)},
        {"fingerprint", page.library.usable() ? ordered_json(fingerprint(loaded)) : ordered_json()},
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
