// SPDX-License-Identifier: MIT
// What dfdctl show board shows.
#include <dfd/chassis.h>
#include <dfd/records.h>
#include <algorithm>
#include <initializer_list>
#include <optional>
#include <set>
#include <tuple>

#include "dfdctl/board/installed.hpp"
#include "dfdctl/board/item_value.hpp"
#include "dfdctl/output.hpp"
#include "dfdctl/pages/board_page.hpp"

#include <fmt/format.h>

namespace dfdctl {

namespace {

/// One item of each combination of mode, source, format and polarity, the first by key.
std::vector<Sample> pick_samples(const LoadRecord &loaded) {
    std::set<std::tuple<int, int, int, int>> seen;
    std::vector<Sample> samples;
    for (const auto &[key, origins] : loaded.origins) {
        const Item item = item_of_key(key);
        if (item.type->kind != Kind::info_ctrl) {
            continue;
        }
        const auto &record = *record_of<info_ctrl_t>(item);
        if (seen.emplace(record.mode, record.src, record.frmt, record.pola).second) {
            samples.push_back({item, read_item(item)});
        }
    }
    return samples;
}

/// The library hands the mode itself back for an item of mode tlv or fru: no number then.
std::optional<int> place(std::uint32_t type, int number) {
    const auto *record = record_of<info_ctrl_t>(item_of(type));
    const bool is_mode = record != nullptr &&
                         (record->mode == INFO_CTRL_MODE_TLV || record->mode == INFO_CTRL_MODE_FRU);
    return number < 0 || is_mode ? std::nullopt : std::optional(number);
}

bool any_failed(std::initializer_list<Reading> readings) {
    return std::any_of(readings.begin(), readings.end(),
                       [](const Reading &reading) { return reading.failed(); });
}

bool has_failed(const Unit &unit) {
    return any_failed({unit.product, unit.serial, unit.version, unit.type});
}

bool has_failed(const Backplane &backplane) {
    return any_failed({backplane.type, backplane.version, backplane.serial, backplane.mac}) ||
           std::any_of(backplane.serials.begin(), backplane.serials.end(),
                       [](const Reading &serial) { return serial.failed(); });
}

bool has_failed(const Sample &sample) {
    return sample.reading.failed();
}

template <typename Row>
bool any_row_failed(const std::vector<Row> &rows) {
    return std::any_of(rows.begin(), rows.end(), [](const Row &row) { return has_failed(row); });
}

}  // namespace

BoardPage read_board_page(const Options &options) {
    BoardPage page{.library = start_library(options)};
    page.board = find_board_type();
    page.chassis = page.library.usable()
                       ? find_chassis_type()
                       : TypeFound{DFD_ERR, TypeSource::none, "the library did not start"};
    page.slot = place(DFD_KEY_MY_SLOTID, sdd_get_my_slotid());
    page.sub_slot = place(DFD_KEY_MY_SSLOTID, sdd_get_my_sslotid());
    page.units = find_units(page.library.loaded);
    page.backplanes = find_backplanes();
    page.buses = written_buses(page.library.loaded);
    page.samples = pick_samples(page.library.loaded);
    page.other_library = other_installed_library();
    return page;
}

int exit_of_page(const BoardPage &page) {
    if (!page.library.usable() || page.library.incomplete()) {
        return kExitUsage;
    }
    const bool failed = any_row_failed(page.units) || any_row_failed(page.backplanes) ||
                        any_row_failed(page.samples);
    return failed ? kExitReadingFailed : kExitOk;
}

void report_start(const BoardPage &page) {
    if (!page.library.usable()) {
        complain(fmt::format("the library did not start: {}",
                             page.board.type <= 0
                                 ? "the board type is unknown"
                                 : "the board's list of configuration files is missing"));
    }
}

}  // namespace dfdctl
