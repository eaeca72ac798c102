// SPDX-License-Identifier: MIT
// The pages made of rows, as text.
#include <algorithm>

#include "common/text.hpp"
#include "dfdctl/show/text.hpp"

#include <fmt/format.h>

namespace dfdctl {

namespace {

constexpr std::size_t kSentenceIndent = 6;  // of the second line of a sentence

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
    return shown_text(reading) + (reading.unit.empty() ? "" : " " + reading.unit);
}

/// With the word for what is wrong: behind a number, in the place of a name.
std::string cell_text(const Row &row, std::size_t column) {
    const std::string text = cell_text(row.cells[column]);
    const std::optional<Judgement> &judgement = row.judgements[column];
    if (!judgement) {
        return text;
    }
    const bool has_name = !row.cells[column].meaning.empty();
    const std::string marked = has_name ? judgement->word : text + " " + judgement->word;
    return judgement->severity == Severity::note ? marked : in_red(marked);
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
        std::vector<NamedReading> readings;
        for (std::size_t i = 0; i < row.cells.size(); ++i) {
            readings.push_back({data.section->columns[i].heading, row.cells[i]});
        }
        print_reasons(out, row_name(row), readings);
    }
}

void print_values(std::FILE *out, const SectionData &data) {
    const Row &row = data.rows.front();
    std::size_t width = 0;
    for (const Column &column : data.section->columns) {
        width = std::max(width, std::string_view(column.heading).size());
    }
    for (std::size_t i = 0; i < row.cells.size(); ++i) {
        print_named(out, data.section->columns[i].heading, width, cell_text(row, i));
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

/// Values that are numbers throughout.
bool is_numeric(const SectionData &data, std::size_t column) {
    const auto is_other = [&](const Row &row) {
        const Reading &cell = row.cells[column];
        return cell.ok() &&
               (!cell.meaning.empty() || std::holds_alternative<std::string>(cell.value));
    };
    return std::ranges::none_of(data.rows, is_other);
}

/// Something is wrong there: it stays where not all columns fit.
bool is_judged(const SectionData &data, std::size_t column) {
    return std::ranges::any_of(data.rows, [&](const Row &row) {
        return row.judgements[column] || row.cells[column].failed();
    });
}

/// Columns that no unit has are named below the table.
void print_table(std::FILE *out, const SectionData &data) {
    std::vector<Heading> headings;
    std::vector<std::size_t> shown;
    std::string missing;
    for (const LabelColumn &column : data.section->labels) {
        headings.emplace_back(upper(column.heading));
    }
    for (std::size_t i = 0; i < data.section->columns.size(); ++i) {
        const Column &column = data.section->columns[i];
        if (is_supported(data, i)) {
            Heading &heading = headings.emplace_back(upper(column.heading));
            heading.rank = is_judged(data, i) ? 0 : column.rank + 1;
            heading.fit = is_numeric(data, i) ? Fit::number : Fit::cut;
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
            cells.push_back(cell_text(row, i));
        }
        table.add(std::move(cells));
    }
    table.print(out);
    if (!missing.empty()) {
        print_wrapped(out, fmt::format("  Not supported: {}", missing), kSentenceIndent);
    }
}

}  // namespace

void print_reasons(std::FILE *out, const std::string &unit,
                   std::span<const NamedReading> readings) {
    std::vector<std::pair<std::string, std::vector<std::string>>> reasons;
    for (const auto &[name, reading] : readings) {
        if (!reading.failed() || reading.cause) {
            continue;
        }
        auto known =
            std::ranges::find(reasons, reading.error, &decltype(reasons)::value_type::first);
        if (known == reasons.end()) {
            known = reasons.insert(known, {reading.error, {}});
        }
        known->second.push_back(name);
    }
    for (const auto &[reason, names] : reasons) {
        print_wrapped(out, fmt::format("  {}{}: {}", unit, dfd_tools::joined(names, ", "), reason),
                      kSentenceIndent);
    }
}

void print_page(std::FILE *out, const PageData &data, bool first) {
    for (const SectionData &section : data.sections) {
        if (!data.unit.empty() && section.rows.empty()) {
            continue;  // it is about others
        }
        print_heading(out, section.section->title, first);
        first = false;
        if (section.is_missing()) {
            fmt::print(out, "  not supported\n");
        } else if (section.section->rows == nullptr) {
            print_values(out, section);
        } else {
            print_table(out, section);
        }
        print_failures(out, section);
    }
}

}  // namespace dfdctl
