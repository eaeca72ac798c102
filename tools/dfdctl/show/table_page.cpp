// SPDX-License-Identifier: MIT
#include "dfdctl/show/table_page.hpp"
#include "dfdctl/board/item_value.hpp"

#include <dfd/chassis.h>
#include <dfd/records.h>
#include <algorithm>

#include "dfdctl/board/inventory.hpp"
#include "hal/facts.h"

#include <fmt/format.h>

namespace dfdctl {

namespace {

Reading not_supported() {
    return {.status = Status::none, .code = DFD_ERR_NOT_SUPPORTED};
}

/// A unit's second index counts only where the item takes one: a rotor's tray has none.
Item item_behind(const Column &column, const Place &place) {
    const std::uint32_t second = key_types()[column.item].max2 >= 0 ? place.index2 : 0;
    const int card = column.is_of_card ? sdd_get_virtual_slotid(static_cast<int>(place.index1)) : 0;
    return item_of(column.item, column.is_of_card ? static_cast<std::uint32_t>(card) : place.index1,
                   second);
}

/// A silent EEPROM and one that lacks the information are different failures.
Reading failed_reading(const Column &column, const Item &item, int code) {
    const auto *record = column.item != 0 ? record_of<info_ctrl_t>(item) : nullptr;
    const bool is_eeprom =
        record != nullptr && record->fpath[0] != '\0' && dfd::is_e2prom_mode(record->mode);
    if (!is_eeprom) {
        return engine_failure(code);
    }
    if (!answers(record->fpath, static_cast<std::uint16_t>(record->addr))) {
        return failure(Status::io_error, code, "the EEPROM does not answer");
    }
    return failure(Status::bad_data, code, "the EEPROM does not hold this information");
}

Reading converted(const Column &column, const Answer &answer) {
    Reading reading{.value = answer.value};
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

Reading read_cell(const Column &column, const Place &place) {
    if (column.ready != nullptr) {
        return column.ready(place);
    }
    const bool has_item = column.item != 0;
    const Item item = item_behind(column, place);
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
    const Answer answer = column.read(place);
    if (answer.code == DFD_OK) {
        return converted(column, answer);
    }
    if (!has_item && answer.code == DFD_ERR_NOT_SUPPORTED) {
        return not_supported();
    }
    Reading reading = failed_reading(column, item, answer.code);
    if (has_item) {
        reading.error += fmt::format(" ({})", item.name());
    }
    return reading;
}

bool is_absent(const Reading &presence) {
    const auto *number = std::get_if<std::int64_t>(&presence.value);
    return presence.ok() && number != nullptr && *number == 0;
}

Row read_row(const Section &section, const Place &place) {
    Row row;
    for (const LabelColumn &column : section.labels) {
        row.labels.push_back(column.label(place));
    }
    bool absent = false;
    for (const Column &column : section.columns) {
        row.cells.push_back(absent ? Reading{.status = Status::absent} : read_cell(column, place));
        absent = absent || (column.is_presence && is_absent(row.cells.back()));
    }
    return row;
}

std::string cell_text(const Reading &reading) {
    switch (reading.status) {
        case Status::none:
            return "not supported";
        case Status::absent:
            return "-";
        case Status::ok:
            break;
        default:
            return fmt::format("({})", status_name(reading.status));
    }
    if (!reading.meaning.empty()) {
        return reading.meaning;
    }
    return value_text(reading) + (reading.unit.empty() ? "" : " " + reading.unit);
}

/// The unit that a line below the table is about: "1 2".
std::string row_name(const Row &row) {
    std::string name;
    for (const Reading &label : row.labels) {
        name += value_text(label) + " ";
    }
    return name;
}

void print_failures(std::FILE *out, const SectionData &data) {
    for (const Row &row : data.rows) {
        for (std::size_t i = 0; i < row.cells.size(); ++i) {
            if (row.cells[i].failed()) {
                fmt::print(out, "  {}{}: {}\n", row_name(row), data.section->columns[i].heading,
                           row.cells[i].error);
            }
        }
    }
}

void print_values(std::FILE *out, const SectionData &data) {
    const Row &row = data.rows.front();
    std::size_t width = 0;
    for (const Column &column : data.section->columns) {
        width = std::max(width, std::string_view(column.heading).size());
    }
    for (std::size_t i = 0; i < row.cells.size(); ++i) {
        fmt::print(out, "  {:<{}}  {}\n", data.section->columns[i].heading, width,
                   cell_text(row.cells[i]));
    }
}

/// No unit that is plugged has it; of units that are not, nothing is known.
bool is_supported(const SectionData &data, std::size_t column) {
    const auto any = [&](auto condition) {
        return std::any_of(data.rows.begin(), data.rows.end(),
                           [&](const Row &row) { return condition(row.cells[column].status); });
    };
    return any([](Status status) { return status != Status::none && status != Status::absent; }) ||
           !any([](Status status) { return status == Status::none; });
}

/// Columns that no unit has are named below the table.
void print_table(std::FILE *out, const SectionData &data) {
    std::vector<std::string> headings;
    std::vector<std::size_t> shown;
    std::string missing;
    for (const LabelColumn &column : data.section->labels) {
        headings.push_back(upper(column.heading));
    }
    for (std::size_t i = 0; i < data.section->columns.size(); ++i) {
        const Column &column = data.section->columns[i];
        if (is_supported(data, i)) {
            headings.push_back(upper(column.heading));
            shown.push_back(i);
        } else {
            missing += (missing.empty() ? "" : ", ") + std::string(column.heading);
        }
    }
    Table table(headings);
    for (const Row &row : data.rows) {
        std::vector<std::string> cells;
        for (const Reading &label : row.labels) {
            cells.push_back(value_text(label));
        }
        for (const std::size_t i : shown) {
            cells.push_back(cell_text(row.cells[i]));
        }
        table.add(std::move(cells));
    }
    table.print(out);
    if (!missing.empty()) {
        fmt::print(out, "  Not supported: {}\n", missing);
    }
}

nlohmann::ordered_json row_json(const Section &section, const Row &row) {
    nlohmann::ordered_json json = nlohmann::ordered_json::object();
    for (std::size_t i = 0; i < row.labels.size(); ++i) {
        json[section.labels[i].key] = to_json(row.labels[i])["value"];
    }
    for (std::size_t i = 0; i < row.cells.size(); ++i) {
        json[section.columns[i].key] = to_json(row.cells[i]);
    }
    return json;
}

template <typename Condition>
bool any_cell(const SectionData &data, Condition condition) {
    return std::ranges::any_of(
        data.rows, [&](const Row &row) { return std::ranges::any_of(row.cells, condition); });
}

bool is_missing(const SectionData &data) {
    return !any_cell(data, [](const Reading &cell) { return cell.status != Status::none; });
}

}  // namespace

bool PageData::has_failed() const {
    return std::ranges::any_of(sections, [](const SectionData &section) {
        return any_cell(section, [](const Reading &cell) { return cell.failed(); });
    });
}

bool PageData::is_empty() const {
    return std::all_of(sections.begin(), sections.end(), [](const SectionData &data) {
        return data.section->has_defaults || is_missing(data);
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

PageData read_page(const Page &page, const LoadRecord &record) {
    PageData data{.page = &page, .sections = {}};
    for (const Section &section : page.sections) {
        SectionData &read = data.sections.emplace_back(SectionData{&section, {}});
        const std::vector<Place> places =
            section.rows != nullptr ? section.rows(record) : std::vector<Place>(1);
        for (const Place &place : places) {
            read.rows.push_back(read_row(section, place));
        }
    }
    return data;
}

void print_page(std::FILE *out, const PageData &data, bool first) {
    for (const SectionData &section : data.sections) {
        print_heading(out, section.section->title, first);
        first = false;
        if (is_missing(section)) {
            fmt::print(out, "  not supported\n");
        } else if (section.section->rows == nullptr) {
            print_values(out, section);
        } else {
            print_table(out, section);
        }
        print_failures(out, section);
    }
}

nlohmann::ordered_json page_json(const PageData &data) {
    nlohmann::ordered_json json = nlohmann::ordered_json::object();
    for (const SectionData &section : data.sections) {
        if (section.section->rows == nullptr) {
            json[section.section->key] = row_json(*section.section, section.rows.front());
            continue;
        }
        nlohmann::ordered_json rows = nlohmann::ordered_json::array();
        for (const Row &row : section.rows) {
            rows.push_back(row_json(*section.section, row));
        }
        json[section.section->key] = std::move(rows);
    }
    return json;
}

}  // namespace dfdctl
