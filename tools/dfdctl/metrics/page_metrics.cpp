// SPDX-License-Identifier: MIT
#include "dfdctl/metrics/page_metrics.hpp"

#include <algorithm>
#include <array>
#include <set>

#include <fmt/format.h>

namespace dfdctl {

namespace {

struct UnitName {
    std::string_view unit;  ///< of a reading
    std::string_view name;  ///< in a metric
};

constexpr std::array kUnits = {UnitName{"C", "celsius"}, UnitName{"V", "volts"},
                               UnitName{"A", "amperes"}, UnitName{"W", "watts"}};

/// Other units are words already.
std::string_view unit_name(std::string_view unit) {
    const auto found = std::ranges::find(kUnits, unit, &UnitName::unit);
    return found != kUnits.end() ? found->name : unit;
}

/// In the place of a value that means nothing.
constexpr std::string_view kNoWord = "?";

/// With all its digits.
std::string number_text(const Reading &reading) {
    const auto *fraction = std::get_if<double>(&reading.value);
    return fraction != nullptr ? fmt::format("{}", *fraction) : value_text(reading);
}

/// A unit and what is told of it.
struct RowContext {
    Exposition &metrics;
    const Section &section;
    Labels labels;

    std::string name(std::string_view what) const {
        return fmt::format("dfd_{}_{}", section.subject != nullptr ? section.subject : section.key,
                           what);
    }
    std::string help(std::string_view what) const {
        return fmt::format("{}: {}", section.title, what);
    }
};

/// Words that say yes or no: the number tells as much.
bool is_flag(const Words &words) {
    return std::ranges::any_of(std::array<Words, 3>{kAbsentPresent, kOffOn, kNoYes},
                               [&](const Words &flag) { return flag.data() == words.data(); });
}

/// One series a state; of a unit that is present, absence is no state.
void add_states(const RowContext &row, const Column &column, const Reading &cell) {
    const std::string_view metric = metric_of(column);
    const std::string name = row.name(metric) + (metric.ends_with("state") ? "" : "_state");
    const std::string now = cell.meaning.empty() ? value_text(cell) : cell.meaning;
    std::set<std::string_view> states(column.words.begin() + (column.is_presence ? 1 : 0),
                                      column.words.end());
    states.erase(kNoWord);
    for (const std::string_view state : states) {
        Labels labels = row.labels;
        labels.emplace_back("state", state);
        row.metrics.add(name,
                        row.help(fmt::format("{}; 1 for the state that it is in, 0 for others",
                                             column.heading)),
                        labels, state == now ? "1" : "0");
    }
}

void add_number(const RowContext &row, const Column &column, const Reading &cell) {
    const std::string_view unit = unit_name(cell.unit);
    std::string help = column.heading;
    if (!column.words.empty()) {
        help += fmt::format(", 0 {}, 1 {}", column.words[0], column.words[1]);
    } else if (!unit.empty()) {
        help += fmt::format(", in {}", unit);
    }
    const std::string name = row.name(metric_of(column));
    row.metrics.add(unit.empty() ? name : fmt::format("{}_{}", name, unit), row.help(help),
                    row.labels, number_text(cell));
}

/// Texts, and numbers that are a name. An item may be configured as a text where a number is meant.
bool is_label(const Column &column, const Reading &cell) {
    return column.is_identity || (std::holds_alternative<std::string>(cell.value) &&
                                  (column.words.empty() || is_flag(column.words)));
}

void add_cell(const RowContext &row, const Column &column, const Reading &cell) {
    const bool is_absent =
        column.is_presence && cell.value == decltype(cell.value)(std::int64_t{0});
    if (column.is_presence) {
        row.metrics.add(row.name("present"), row.help("1 where it is plugged, 0 where it is not"),
                        row.labels, is_absent ? "0" : "1");
    }
    if (is_absent || (column.is_presence && is_flag(column.words))) {
        return;
    }
    if (!column.words.empty() && !is_flag(column.words)) {
        add_states(row, column, cell);
    } else {
        add_number(row, column, cell);
    }
}

bool has_value(const Column &column, const Reading &cell) {
    return cell.ok() && !std::holds_alternative<std::monostate>(cell.value) &&
           !metric_of(column).empty();
}

void add_row(const RowContext &row, const Row &read) {
    Labels identity = row.labels;
    for (std::size_t i = 0; i < read.cells.size(); ++i) {
        const Column &column = row.section.columns[i];
        const Reading &cell = read.cells[i];
        if (!has_value(column, cell)) {
            continue;
        }
        if (is_label(column, cell)) {
            identity.emplace_back(metric_of(column),
                                  cell.meaning.empty() ? value_text(cell) : cell.meaning);
        } else {
            add_cell(row, column, cell);
        }
    }
    if (identity.size() > row.labels.size()) {
        row.metrics.add(row.name("info"), row.help("what it is; always 1"), identity, "1");
    }
}

}  // namespace

std::string_view metric_of(const Column &column) {
    return column.metric != nullptr ? column.metric : column.key;
}

void add_page(Exposition &metrics, const PageData &page) {
    for (const SectionData &data : page.sections) {
        for (const Row &row : data.rows) {
            RowContext context{metrics, *data.section, {}};
            for (std::size_t i = 0; i < row.labels.size(); ++i) {
                const Reading &label = row.labels[i];
                const bool is_empty = std::holds_alternative<std::monostate>(label.value);
                context.labels.emplace_back(data.section->labels[i].key,
                                            is_empty ? "" : value_text(label));
            }
            add_row(context, row);
        }
    }
}

}  // namespace dfdctl
