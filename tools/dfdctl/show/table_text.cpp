// SPDX-License-Identifier: MIT
// The pages made of rows, as text.
#include <algorithm>

#include "dfdctl/show/text.hpp"

#include <fmt/format.h>

namespace dfdctl {

namespace {

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

/// With the word for what is wrong: behind a number, in the place of a name.
std::string cell_text(const Row &row, std::size_t column) {
    const std::string text = cell_text(row.cells[column]);
    const std::optional<Judgement> &judgement = row.judgements[column];
    if (!judgement) {
        return text;
    }
    return row.cells[column].meaning.empty() ? text + " " + judgement->word : judgement->word;
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
                   cell_text(row, i));
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
            cells.push_back(cell_text(row, i));
        }
        table.add(std::move(cells));
    }
    table.print(out);
    if (!missing.empty()) {
        fmt::print(out, "  Not supported: {}\n", missing);
    }
}

}  // namespace

void print_page(std::FILE *out, const PageData &data, bool first) {
    for (const SectionData &section : data.sections) {
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
