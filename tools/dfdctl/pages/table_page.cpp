// SPDX-License-Identifier: MIT
#include "dfdctl/pages/table_page.hpp"
#include "common/text.hpp"
#include "dfdctl/board/item_value.hpp"

#include <dfd/chassis.h>
#include <dfd/records.h>
#include <algorithm>
#include <array>

#include "dfdctl/board/inventory.hpp"
#include "dfdctl/board/read_pass.hpp"
#include "dfdctl/command.hpp"
#include "hal/facts.h"

#include <fmt/format.h>

namespace dfdctl {

namespace {

Reading not_supported() {
    return {.status = Status::none, .code = DFD_ERR_NOT_SUPPORTED};
}

/// A unit's second index counts only where the item takes one: a rotor's tray has none.
Item item_at(const Column &column, const Place &place) {
    const std::uint32_t second = key_types()[column.item].max2 >= 0 ? place.index2 : 0;
    const int card = column.is_of_card ? sdd_get_virtual_slotid(static_cast<int>(place.index1)) : 0;
    return item_of(column.item, column.is_of_card ? static_cast<std::uint32_t>(card) : place.index1,
                   second);
}

Reading failed_reading(const Column &column, const Item &item, int code) {
    const auto *record = column.item != 0 ? record_of<info_ctrl_t>(item) : nullptr;
    const bool is_sub_card = column.item == DFD_KEY_SSLOT_E2PROM;
    const bool is_eeprom = record != nullptr && record->fpath[0] != '\0' &&
                           (is_sub_card || dfd::is_e2prom_mode(record->mode));
    if (!is_eeprom) {
        return engine_failure(code);
    }
    Eeprom eeprom = eeprom_of(item, *record);
    if (is_sub_card) {
        eeprom.mode = INFO_CTRL_MODE_TLV;  // whatever its item says
    }
    return eeprom_failure(eeprom, code);
}

Reading converted(const Column &column, const Answer &answer) {
    Reading reading{.value = answer.value, .meaning = answer.meaning, .contents = answer.contents};
    if (const auto *number = std::get_if<std::int64_t>(&answer.value)) {
        const auto index = static_cast<std::size_t>(*number);
        if (index < column.words.size()) {
            reading.meaning = column.words[index];
        }
        if (column.scale != 1) {
            reading.value = static_cast<double>(*number) / column.scale;
        }
        reading.unit = column.unit;
    }
    return reading;
}

}  // namespace

std::optional<Item> item_behind(const Column &column, const Place &place) {
    return column.item != 0 ? std::optional(item_at(column, place)) : std::nullopt;
}

Reading read_cell(const Column &column, const Place &place) {
    if (column.ready != nullptr) {
        return column.ready(place);
    }
    const bool has_item = column.item != 0;
    const Item item = item_at(column, place);
    if (has_item && record_of<char>(item) == nullptr) {
        return not_supported();
    }
    if (column.read == nullptr) {
        Reading reading = read_item(item);
        const auto *number = std::get_if<std::int64_t>(&reading.value);
        if (number != nullptr && static_cast<std::size_t>(*number) < column.words.size()) {
            reading.meaning = column.words[static_cast<std::size_t>(*number)];
        }
        return reading;
    }
    const ReadingScope scope;
    const Answer answer = column.read(place);
    if (answer.code == DFD_OK) {
        return converted(column, answer);
    }
    if (!has_item && answer.code == DFD_ERR_NOT_SUPPORTED) {
        return not_supported();
    }
    Reading reading = scope.explained(failed_reading(column, item, answer.code));
    if (has_item && reading.device.empty()) {
        reading.error += fmt::format(" ({})", item.name());
    }
    return reading;
}

namespace {

bool is_absent(const Reading &presence) {
    const auto *number = std::get_if<std::int64_t>(&presence.value);
    return presence.ok() && number != nullptr && *number == 0;
}

void judge(const Section &section, Row &row) {
    row.judgements.resize(row.cells.size());
    for (std::size_t i = 0; i < row.cells.size(); ++i) {
        const Judge judge = section.columns[i].judge;
        if (judge != nullptr && row.cells[i].ok()) {
            row.judgements[i] = judge({section, row.place, row, row.cells[i]});
        }
    }
}

Row read_row(const Section &section, const Place &place) {
    Row row{.place = place};
    for (const LabelColumn &column : section.labels) {
        row.labels.push_back(column.label(place));
    }
    bool absent = false;
    for (const Column &column : section.columns) {
        row.cells.push_back(absent ? Reading{.status = Status::absent} : read_cell(column, place));
        absent = absent || (column.is_presence && is_absent(row.cells.back()));
    }
    judge(section, row);
    return row;
}

std::string unit_of(const Section &section, const Place &place) {
    return value_text(section.labels.front().label(place));
}

/// Of a named unit its rows only; the units that there are go to `known`.
std::vector<Place> places_of(const Section &section, const LoadRecord &record,
                             const std::string &unit, std::vector<std::string> &known) {
    const bool has_rows = section.rows != nullptr;
    if (unit.empty() || !has_rows) {
        return has_rows ? section.rows(record) : std::vector<Place>(unit.empty() ? 1 : 0);
    }
    std::vector<Place> places = section.rows(record);
    std::erase_if(places, [&](const Place &place) {
        const std::string name = unit_of(section, place);
        if (std::ranges::find(known, name) == known.end()) {
            known.push_back(name);
        }
        return name != unit;
    });
    return places;
}

Json row_json(const Section &section, const Row &row) {
    Json json = Json::object();
    for (std::size_t i = 0; i < row.labels.size(); ++i) {
        json[section.labels[i].key] = to_json(row.labels[i])["value"];
    }
    for (std::size_t i = 0; i < row.cells.size(); ++i) {
        Json &cell = json[section.columns[i].key] = to_json(row.cells[i]);
        cell["judgement"] = judgement_json(row.judgements[i]);
    }
    return json;
}

template <typename Condition>
bool any_cell(const SectionData &data, Condition condition) {
    return std::ranges::any_of(
        data.rows, [&](const Row &row) { return std::ranges::any_of(row.cells, condition); });
}

}  // namespace

bool SectionData::is_missing() const {
    return !any_cell(*this, [](const Reading &cell) { return cell.status != Status::none; });
}

bool PageData::has_failed() const {
    return std::ranges::any_of(sections, [](const SectionData &section) {
        return any_cell(section, [](const Reading &cell) { return cell.failed(); });
    });
}

bool PageData::is_empty() const {
    return std::all_of(sections.begin(), sections.end(), [](const SectionData &data) {
        return data.section->has_defaults || data.is_missing();
    });
}

std::vector<Place> places_of(const Numbers &numbers) {
    std::vector<Place> places;
    for (const std::uint32_t number : numbers) {
        places.push_back({number, 0});
    }
    return places;
}

Reading first_index(const Place &place) {
    return {.value = std::int64_t{place.index1}};
}

Reading second_index(const Place &place) {
    return {.value = std::int64_t{place.index2}};
}

const char *word_of(UnitKind kind) {
    static constexpr std::array kWords = {"tray",     "supply", "slot",     "card",
                                          "sub-slot", "port",   "backplane"};
    return kWords[static_cast<std::size_t>(kind)];
}

PageData read_page(const Page &page, const LoadRecord &record, const std::string &unit) {
    PageData data{.page = &page, .unit = unit, .sections = {}};
    std::vector<std::string> known;
    for (const Section &section : page.sections) {
        SectionData &read = data.sections.emplace_back(SectionData{&section, {}});
        for (const Place &place : places_of(section, record, unit, known)) {
            read.rows.push_back(read_row(section, place));
        }
    }
    if (!unit.empty() && std::ranges::find(known, unit) == known.end()) {
        throw UsageError(
            known.empty() ? fmt::format("there is no {} {}; this board has none", page.unit, unit)
                          : fmt::format("there is no {} {}; this board has {}", page.unit, unit,
                                        dfd_tools::joined(ranges_of(known), ", ")));
    }
    return data;
}

Json page_json(const PageData &data) {
    Json json = Json::object();
    for (const SectionData &section : data.sections) {
        if (section.section->rows == nullptr) {
            json[section.section->key] =
                section.rows.empty() ? Json() : row_json(*section.section, section.rows.front());
            continue;
        }
        Json rows = Json::array();
        for (const Row &row : section.rows) {
            rows.push_back(row_json(*section.section, row));
        }
        json[section.section->key] = std::move(rows);
    }
    return json;
}

}  // namespace dfdctl
