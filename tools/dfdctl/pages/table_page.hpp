// SPDX-License-Identifier: MIT
// Pages as rows: what a page consists of is data, how it is read is here.
#pragma once

#include <span>

#include "dfdctl/board/library_calls.hpp"
#include "dfdctl/board/units.hpp"
#include "dfdctl/board/value_words.hpp"
#include "dfdctl/output.hpp"
#include "dfdctl/pages/judge.hpp"

namespace dfdctl {

using Words = std::span<const char *const>;

/// The scale of what is read in thousandths of its unit.
constexpr int kThousandths = 1000;

/// One kind of value, for each unit of a section.
struct Column {
    const char *key;  ///< in JSON
    const char *heading;
    std::uint32_t item = 0;  ///< key type behind it, with the indexes of the unit; 0: no single one
    Reader read = nullptr;   ///< null: the item is read
    Words words = {};        ///< names of the values from 0 up
    Reading (*ready)(const Place &) = nullptr;  ///< instead of both, a reading that is made already
    std::string_view unit = {};
    unsigned rank = 0;         ///< of columns that do not all fit, those of lower rank are shown
    int scale = 1;             ///< how much finer than the unit the reader's numbers are
    bool is_presence = false;  ///< value 0: the unit is not plugged, nothing else of it is read
    /// Cards: index1 of the item is the virtual slot of the unit's slot.
    bool is_of_card = false;
    Judge judge = nullptr;  ///< null: its values are not judged
    /// In the name of its metric; null: the key, empty: it has none.
    const char *metric = nullptr;
    bool is_identity = false;  ///< says what the unit is: a label of the unit's metric `info`
};

/// What a unit is, by a number or a text.
constexpr Column identity(const char *key, const char *heading, std::uint32_t item, Reader read,
                          const char *metric = nullptr) {
    return {.key = key,
            .heading = heading,
            .item = item,
            .read = read,
            .metric = metric,
            .is_identity = true};
}
constexpr Column serial_number(std::uint32_t item, Reader read) {
    return identity("serial_number", "serial number", item, read, "serial");
}
constexpr Column hw_version(std::uint32_t item, Reader read) {
    return identity("hw_version", "hw version", item, read, "revision");
}

/// What stands in the place of a value that is a name or a number of the configuration.
using Label = Reading (*)(const Place &);

struct LabelColumn {
    const char *key;
    const char *heading;
    Label label;
};

/// A table, one row a unit; without `rows` one list of values of the whole system.
struct Section {
    const char *key;  ///< in JSON
    const char *title;
    std::vector<Place> (*rows)(const LoadRecord &) = nullptr;
    std::span<const LabelColumn> labels = {};
    std::span<const Column> columns = {};
    bool has_defaults = false;  ///< has values also on a board without what the page is about
    /// What a row is about: "tray 1 rotor 2". Null: each value of the system speaks for itself.
    std::string (*unit)(const Place &) = nullptr;
    const char *subject = nullptr;  ///< in the names of metrics; null: the key
};

struct Page {
    const char *name;
    const char *description;
    const char *unit;     ///< what the first label of its rows names
    const char *example;  ///< such a name
    std::span<const Section> sections;
};

std::span<const Page> pages();

std::vector<Place> places_of(const Numbers &numbers);
/// A row for each unit of a kind.
template <UnitKind Kind>
std::vector<Place> rows_of(const LoadRecord &record) {
    return places_of(units_of(record, Kind));
}

/// The item behind a cell; nothing where no single one is.
std::optional<Item> item_behind(const Column &column, const Place &place);

/// "tray", "supply", "sub-slot".
const char *word_of(UnitKind kind);
/// "supply 3".
template <UnitKind Kind>
std::string numbered(const Place &place) {
    return std::string(word_of(Kind)) + " " + std::to_string(place.index1);
}

/// The usual labels.
Reading first_index(const Place &place);
Reading second_index(const Place &place);

// The sections of each page.
std::span<const Section> slot_sections();
std::span<const Section> fan_sections();
std::span<const Section> power_sections();
std::span<const Section> temperature_sections();
std::span<const Section> voltage_sections();
std::span<const Section> led_sections();
std::span<const Section> sfp_sections();
std::span<const Section> backplane_sections();
std::span<const Section> subcard_sections();
std::span<const Section> irq_sections();

/// A page that was read.
struct Row {
    Place place = {};
    std::vector<Reading> labels = {};
    std::vector<Reading> cells = {};
    std::vector<std::optional<Judgement>> judgements = {};  ///< of each cell
};

struct SectionData {
    const Section *section;
    std::vector<Row> rows;

    /// No unit has any of it.
    bool is_missing() const;
};

struct PageData {
    const Page *page;
    std::string unit;  ///< the only one that was asked for
    std::vector<SectionData> sections;

    bool has_failed() const;
    /// The board has nothing that the page could show.
    bool is_empty() const;
};

/// Visits section, row and number of each cell.
template <typename Visit>
void each_cell(std::span<const PageData> pages, Visit visit) {
    for (const PageData &page : pages) {
        for (const SectionData &data : page.sections) {
            for (const Row &row : data.rows) {
                for (std::size_t i = 0; i < row.cells.size(); ++i) {
                    visit(*data.section, row, i);
                }
            }
        }
    }
}

/// Of one unit, where one is named, its rows only; sections without rows are empty then. A unit
/// that the board does not have is a UsageError.
PageData read_page(const Page &page, const LoadRecord &record, const std::string &unit = {});
/// One cell anew; nothing is judged.
Reading read_cell(const Column &column, const Place &place);
Json page_json(const PageData &data);

}  // namespace dfdctl
