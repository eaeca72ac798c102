// SPDX-License-Identifier: MIT
#include <algorithm>
#include <array>
#include <map>

#include "dfdctl/board/keys.hpp"
#include "dfdctl/coverage/matrix.hpp"
#include "dfdctl/coverage/report.hpp"
#include "dfdctl/output.hpp"

#include <fmt/format.h>

namespace dfdctl::coverage {

namespace {

using observe::Role;
using observe::Subsystem;

constexpr std::size_t kIndent = 18;     // of the lists of functions
constexpr std::size_t kGap = 2;         // between columns
constexpr std::size_t kTextIndent = 6;  // of the second line of a sentence

constexpr std::array kStates = {State::answers, State::standard, State::not_configured,
                                State::unusable};

std::string_view cell_word(const std::optional<State> &cell) {
    if (!cell.has_value()) {
        return "";
    }
    static constexpr std::string_view kWords[] = {"ok", "dflt", "-", "BAD"};
    return kWords[static_cast<std::size_t>(*cell)];
}

/// Neighbouring units that are the same in every row.
struct Column {
    std::string label;
    std::size_t at;  ///< of one of them in the rows

    std::size_t width(const std::vector<const Row *> &rows) const {
        std::size_t width = label.size();
        for (const Row *row : rows) {
            width = std::max(width, cell_word(row->cells[at]).size());
        }
        return width + kGap;
    }
};

std::vector<Column> columns_of(const Matrix &matrix, const std::vector<const Row *> &rows) {
    std::vector<Column> columns;
    for (std::size_t i = 0; i < matrix.units.size();) {
        const auto is_same = [&](std::size_t other) {
            return std::ranges::all_of(
                rows, [&](const Row *row) { return row->cells[i] == row->cells[other]; });
        };
        std::vector<std::uint32_t> units = {matrix.units[i]};
        std::size_t next = i + 1;
        while (next < matrix.units.size() && is_same(next)) {
            units.push_back(matrix.units[next]);
            ++next;
        }
        columns.push_back({ranges(units), i});
        i = next;
    }
    return columns;
}

std::string trimmed(std::string line) {
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

/// A matrix on paper: as many of its columns as fit, then the rest below.
class Grid {
  public:
    Grid(const Matrix &matrix, std::vector<const Row *> rows)
        : unit_(upper(observe::facts_of(matrix.unit).word)),
          rows_(std::move(rows)),
          columns_(columns_of(matrix, rows_)) {
        for (const Row *row : rows_) {
            name_ = std::max(name_, row->name.size());
            prefixes_ = std::max(prefixes_, row->prefixes.size());
            detail_ = std::max(detail_, row->detail.size());
        }
    }

    void print(std::FILE *out) const {
        if (std::ranges::any_of(columns_, [&](const Column &column) {
                return head_width() + column.width(rows_) > text_width();
            })) {
            print_sentences(out);
            return;
        }
        for (std::size_t begin = 0; begin < columns_.size();) {
            std::size_t width = head_width();
            std::size_t end = begin;
            while (end < columns_.size() && width + columns_[end].width(rows_) <= text_width()) {
                width += columns_[end].width(rows_);
                ++end;
            }
            print_part(out, std::span(columns_).subspan(begin, end - begin));
            begin = end;
        }
    }

  private:
    std::size_t head_width() const { return kGap + name_ + kGap + prefixes_ + kGap + detail_; }

    /// Where there is no room for a column beside the name: "  get_fan_speed (drv): tray 1-4 ok".
    void print_sentences(std::FILE *out) const {
        for (const Row *row : rows_) {
            std::vector<std::string> cells;
            for (const Column &column : columns_) {
                if (row->cells[column.at].has_value()) {
                    cells.push_back(
                        fmt::format("{} {}", column.label, cell_word(row->cells[column.at])));
                }
            }
            print_wrapped(out, fmt::format("  {}: {} {}", row->title(), unit_, joined(cells, ", ")),
                          kTextIndent);
        }
    }

    std::string head(std::string_view name, std::string_view prefixes,
                     std::string_view detail) const {
        return fmt::format("  {:<{}}  {:<{}}  {:<{}}", name, name_, prefixes, prefixes_, detail,
                           detail_);
    }

    void print_part(std::FILE *out, std::span<const Column> part) const {
        std::string line = head(unit_, "", "");
        for (const Column &column : part) {
            line += fmt::format("  {:<{}}", column.label, column.width(rows_) - kGap);
        }
        fmt::print(out, "{}\n", trimmed(line));
        for (const Row *row : rows_) {
            line = head(row->name, row->prefixes, row->detail);
            for (const Column &column : part) {
                line += fmt::format("  {:<{}}", cell_word(row->cells[column.at]),
                                    column.width(rows_) - kGap);
            }
            fmt::print(out, "{}\n", trimmed(line));
        }
    }

    std::string unit_;
    std::vector<const Row *> rows_;
    std::vector<Column> columns_;
    std::size_t name_ = 0;
    std::size_t prefixes_ = 0;
    std::size_t detail_ = 0;
};

/// "  LABEL   a, b,\n          c"
void print_list(std::FILE *out, std::string_view label, std::vector<std::string> words) {
    if (!words.empty()) {
        print_pieces(out, fmt::format("  {:<{}}", label, kIndent - kGap),
                     with_commas(std::move(words)));
    }
}

/// One group: a grid for each kind of unit, then lists of the functions without units, and of those
/// that have no row in a grid.
void print_group(std::FILE *out, std::span<const Matrix> matrices, bool all) {
    fmt::print(out, "\n{}\n", observe::subsystem_name(matrices.front().group));
    std::map<std::pair<State, std::string>, std::vector<std::string>> lists;
    for (const Matrix &matrix : matrices) {
        std::vector<const Row *> rows;
        for (const Row &row : matrix.rows) {
            const bool is_folded =
                matrix.unit == Role::none || row.cells.empty() ||
                (!all && (row.is_all(State::not_configured) || row.is_all(State::standard)));
            if (!is_folded) {
                rows.push_back(&row);
            } else if (row.cells.empty()) {
                const auto word = observe::facts_of(matrix.unit).word;
                lists[{State::unusable, fmt::format("no {}", word)}].push_back(row.title());
            } else {
                const State state = **std::ranges::find_if(
                    row.cells, [](const auto &cell) { return cell.has_value(); });
                lists[{state, std::string(state_word(state))}].push_back(row.title());
            }
        }
        if (!rows.empty()) {
            Grid(matrix, std::move(rows)).print(out);
        }
    }
    for (const auto &[label, functions] : lists) {
        print_list(out, label.second, functions);
    }
}

void print_matrices(std::FILE *out, const Report &report, bool all) {
    const std::vector<Matrix> found = matrices(report.cells);
    for (auto begin = found.begin(); begin != found.end();) {
        const auto end = std::find_if(
            begin, found.end(), [&](const Matrix &other) { return other.group != begin->group; });
        print_group(out, std::span(begin, end), all);
        begin = end;
    }
}

std::string plural(std::uint64_t count, std::string_view noun) {
    return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

/// File and line of the member that a reason is about, else of the item's first line.
std::string place_of(const Refusal &refusal, const Report &report) {
    const auto lines = report.record.origins.find(refusal.key);
    if (lines == report.record.origins.end()) {
        return report.place.root;
    }
    const SourceLine *line = report.record.line_of(refusal.key, refusal.member);
    line = line != nullptr ? line : &report.record.lines[lines->second.front().source];
    return fmt::format("{}{}:{}", report.place.root, report.record.files[line->file].path,
                       line->line);
}

/// "drv_set_led(0, 0, 0) and 6 more", by function.
std::vector<std::string> calls_of(const std::vector<const Cell *> &cells) {
    std::vector<std::string> texts;
    for (std::size_t i = 0; i < cells.size();) {
        const observe::Call *const call = cells[i]->call;
        const auto next = std::find_if(cells.begin() + static_cast<std::ptrdiff_t>(i), cells.end(),
                                       [call](const Cell *cell) { return cell->call != call; });
        const auto end = static_cast<std::size_t>(next - cells.begin());
        texts.push_back(text_of(*call, cells[i]->args) +
                        (end - i > 1 ? fmt::format(" and {} more", end - i - 1) : ""));
        i = end;
    }
    return texts;
}

/// The items that are of no use, with the functions that want them.
void print_unusable(std::FILE *out, const Report &report) {
    struct Known {
        Refusal refusal;
        std::vector<const Cell *> calls;
    };
    std::vector<Known> known;
    for (const Cell &cell : report.cells) {
        if (!cell.refusal.has_value()) {
            continue;
        }
        auto same = std::ranges::find(known, *cell.refusal, &Known::refusal);
        if (same == known.end()) {
            same = known.insert(known.end(), Known{*cell.refusal, {}});
        }
        same->calls.push_back(&cell);
    }
    if (!known.empty()) {
        fmt::print(out, "\nUnusable\n");
    }
    for (const Known &each : known) {
        print_wrapped(out,
                      fmt::format("  {}: {}: {} (code {})", place_of(each.refusal, report),
                                  item_of_key(each.refusal.key).name(), each.refusal.reason,
                                  each.refusal.code),
                      kTextIndent);
        print_list(out, "  wanted by", calls_of(each.calls));
    }
}

std::string device_of(const Traffic &traffic) {
    return traffic.via == dfd::watch::Via::i2c
               ? fmt::format("{} 0x{:02x}", traffic.device, traffic.addr)
               : traffic.device;
}

std::string milliseconds(std::uint64_t us) {
    constexpr double kUsPerMs = 1000.0;
    return fmt::format("{:.1f} ms", static_cast<double>(us) / kUsPerMs);
}

void print_cost(std::FILE *out, const Report &report) {
    const Cost &cost = report.cost;
    print_heading(out,
                  fmt::format("One monitoring pass: {}, {}, {}", plural(cost.calls, "call"),
                              plural(cost.transfers(), "transfer"), plural(cost.bytes(), "byte")));
    Table table({{"DEVICE", Fit::cut_front},
                 {"READS", Fit::number},
                 {"WRITES", Fit::number},
                 {"BYTES", Fit::number},
                 {"BUS TIME", Fit::number}});
    for (const Traffic &traffic : cost.traffic) {
        const std::string time =
            traffic.bits > 0 ? milliseconds(microseconds(traffic.bits, report.i2c_khz)) : "-";
        table.add({device_of(traffic), fmt::format("{}", traffic.reads),
                   fmt::format("{}", traffic.writes), fmt::format("{}", traffic.bytes), time});
    }
    table.print(out);
    print_wrapped(out,
                  fmt::format("  {} on I2C at {} kHz; the library pauses for {}",
                              milliseconds(cost.bus_us(report.i2c_khz)), report.i2c_khz,
                              milliseconds(cost.pause_us)),
                  kTextIndent);
}

/// Behind the gaps of one function that only differ in the last index, or have one reason.
std::size_t end_of_row(const std::vector<Gap> &gaps, std::size_t begin) {
    const auto differs = [&](const Gap &gap) {
        const Gap &first = gaps[begin];
        const bool is_alike = gap.where == first.where && gap.is_unusable == first.is_unusable;
        return gap.function != first.function || !(is_alike || gap.why == first.why);
    };
    const auto end =
        std::find_if(gaps.begin() + static_cast<std::ptrdiff_t>(begin), gaps.end(), differs);
    return static_cast<std::size_t>(end - gaps.begin());
}

void print_gaps(std::FILE *out, std::string_view title, const std::vector<Gap> &gaps) {
    if (!gaps.empty()) {
        print_heading(out, std::string(title));
    }
    for (std::size_t i = 0; i < gaps.size();) {
        const std::size_t end = end_of_row(gaps, i);
        std::vector<std::uint32_t> numbers;
        for (std::size_t each = i; each < end; ++each) {
            numbers.push_back(gaps[each].number);
        }
        const Gap &gap = gaps[i];
        const bool is_range = gaps[end - 1].where == gap.where;
        std::string units = gap.where.empty() ? "" : " " + gap.unit();
        if (end - i > 1) {
            units = is_range ? fmt::format(" {} {}", gap.where, ranges(numbers))
                             : fmt::format("{} and {} more", units, end - i - 1);
        }
        print_wrapped(
            out,
            fmt::format("  {}: {}{}: {}{}", observe::subsystem_name(gap.group), gap.function, units,
                        gap.why, gaps[end - 1].why != gap.why ? ", and so on" : ""),
            kTextIndent);
        i = end;
    }
}

void print_demand(std::FILE *out, const Report &report) {
    print_gaps(out, "Missing", report.gaps.missing);
    print_gaps(out, "Works for other units only", report.gaps.uneven);
    std::vector<std::string_view> names;
    std::ranges::transform(report.demand->groups, std::back_inserter(names),
                           observe::subsystem_name);
    fmt::print(out, "\n");
    print_wrapped(out,
                  fmt::format("Required {}: {} missing, {} uneven", joined(names, ", "),
                              report.gaps.missing.size(), report.gaps.uneven.size()),
                  kTextIndent);
}

}  // namespace

std::size_t Report::count(State state) const {
    return static_cast<std::size_t>(std::ranges::count(cells, state, &Cell::state));
}

void print_text(std::FILE *out, const Report &report, bool all) {
    const std::string chassis = report.chassis_type.has_value()
                                    ? fmt::format(", chassis {}", *report.chassis_type)
                                    : std::string();
    print_wrapped(out,
                  fmt::format("Board 0x{:x}{}{}{}", report.place.board_type, chassis,
                              report.place.root.empty() ? "" : ": ", report.place.root),
                  kTextIndent);
    print_wrapped(
        out,
        "ok answers, dflt the library's own value or no effect (nothing is configured), - "
        "not configured, BAD configured but unusable; in the second column the prefixes of "
        "the functions",
        0);
    print_matrices(out, report, all);
    print_unusable(out, report);
    print_cost(out, report);
    if (report.demand.has_value()) {
        print_demand(out, report);
    }
    std::vector<std::string> counts;
    for (const State state : kStates) {
        counts.push_back(fmt::format("{} {}", report.count(state), state_word(state)));
    }
    fmt::print(out, "\n");
    print_wrapped(out,
                  fmt::format("{}: {}", plural(report.cells.size(), "cell"), joined(counts, ", ")),
                  kTextIndent);
}

}  // namespace dfdctl::coverage
