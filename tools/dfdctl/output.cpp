// SPDX-License-Identifier: MIT
#include "dfdctl/output.hpp"

#include <unistd.h>
#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <numeric>
#include <optional>

#include <fmt/format.h>

namespace dfdctl {

using dfd_tools::kNoLimit;
using dfd_tools::offset_of;
using dfd_tools::trimmed;

namespace {

constexpr std::size_t kMargin = 2;      // before each column
constexpr std::size_t kDeepMargin = 6;  // of what stands below a row
constexpr std::size_t kLongestCell = 24;
constexpr std::size_t kProseRoom = 40;  // less is no place for wrapped text
constexpr std::size_t kFewRows = 2;
constexpr std::string_view kCutMark = "...";

std::size_t g_width = kUsualWidth;
std::size_t g_asked_width = 0;  // 0: that of the terminal
bool g_is_coloured = false;
const char *g_program = "dfdctl";

std::size_t longest_word(std::string_view text) {
    std::size_t longest = 0;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find(' ', at), text.size());
        longest = std::max(longest, columns_of(text.substr(at, end - at)));
        at = end + 1;
    }
    return longest;
}

std::string padded(const std::string &text, std::size_t width, bool is_right) {
    const std::string blanks(width - std::min(width, columns_of(text)), ' ');
    return is_right ? blanks + text : text + blanks;
}

std::string lower(std::string text) {
    std::ranges::transform(text, text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

bool is_too_long(std::string_view cell) {
    return !is_wide() && columns_of(cell) > kLongestCell;
}

/// Of a path the names at the end.
std::string cut_front(const std::string &path) {
    if (!is_too_long(path)) {
        return path;
    }
    const std::size_t begin = offset_of(path, columns_of(path) - (kLongestCell - kCutMark.size()));
    const std::size_t name = path.rfind('/');
    return std::string(kCutMark) +
           path.substr(name != std::string::npos ? std::max(name, begin) : begin);
}

bool follows(std::string_view number, std::string_view next) {
    std::uint32_t one = 0;
    std::uint32_t other = 0;
    const auto is_number = [](std::string_view text, std::uint32_t &value) {
        const char *end = text.data() + text.size();
        const auto result = std::from_chars(text.data(), end, value);
        return result.ec == std::errc() && result.ptr == end;
    };
    return is_number(number, one) && is_number(next, other) && other == one + 1;
}

}  // namespace

void set_width(std::FILE *out, unsigned columns, bool is_wide) {
    g_asked_width = is_wide ? kNoLimit : columns;
    g_width = dfd_tools::width_on(out, g_asked_width);
}

std::optional<std::size_t> screen_height(std::FILE *out) {
    const std::size_t lines = dfd_tools::terminal_size(out).ws_row;
    return lines == 0 || is_wide() ? std::nullopt : std::optional(lines);
}

std::size_t text_width() {
    return g_width;
}

bool is_wide() {
    return g_width == kNoLimit;
}

void set_colour(std::FILE *out) {
    const char *refused = std::getenv("NO_COLOR");
    const char *terminal = std::getenv("TERM");
    const bool is_plain = refused != nullptr && *refused != '\0';
    const bool is_dumb = terminal == nullptr || std::string_view(terminal) == "dumb";
    g_is_coloured = isatty(fileno(out)) != 0 && !is_plain && !is_dumb;
}

bool is_coloured() {
    return g_is_coloured;
}

std::string in_red(const std::string &text) {
    return g_is_coloured ? std::string(dfd_tools::kRed).append(text).append(dfd_tools::kPlain)
                         : text;
}

void print_wrapped(std::FILE *out, const std::string &text, std::size_t indent) {
    fmt::print(out, "{}\n", joined(wrapped(text, g_width, indent), "\n"));
}

void print_pieces(std::FILE *out, const std::string &label,
                  const std::vector<std::string> &pieces) {
    const std::size_t margin = columns_of(label);
    std::string line = label;
    bool is_first = true;
    for (const std::string &piece : pieces) {
        if (!is_first && columns_of(line) + 1 + columns_of(piece) > g_width) {
            print_wrapped(out, line, margin);
            line = std::string(margin, ' ');
            is_first = true;
        }
        line += (is_first ? "" : " ") + piece;
        is_first = false;
    }
    print_wrapped(out, line, margin);
}

std::vector<std::string> with_commas(std::vector<std::string> pieces) {
    for (std::size_t i = 0; i + 1 < pieces.size(); ++i) {
        pieces[i] += ",";
    }
    return pieces;
}

std::vector<std::string> ranges_of(const std::vector<std::string> &names) {
    std::vector<std::string> ranges;
    for (std::size_t i = 0; i < names.size();) {
        std::size_t last = i;
        while (last + 1 < names.size() && follows(names[last], names[last + 1])) {
            ++last;
        }
        ranges.push_back(i == last ? names[i] : fmt::format("{}-{}", names[i], names[last]));
        i = last + 1;
    }
    return ranges;
}

void print_named(std::FILE *out, std::string_view name, std::size_t width, std::string_view text) {
    print_wrapped(out, fmt::format("  {:<{}}  {}", name, width, text), kMargin + width + kMargin);
}

std::size_t message_width() {
    return dfd_tools::message_width(g_asked_width);
}

void set_program(const char *name) {
    g_program = name;
}

const char *program() {
    return g_program;
}

void complain(const std::string &text) {
    dfd_tools::put_message(fmt::format("{}: {}", g_program, text), message_width());
}

void ask(const std::string &question) {
    dfd_tools::put_message(fmt::format("{}: {}", g_program, question), message_width(), " ");
}

std::string cut(const std::string &value) {
    return is_too_long(value)
               ? value.substr(0, offset_of(value, kLongestCell - kCutMark.size())).append(kCutMark)
               : value;
}

/// Which columns stand beside each other, and how wide.
struct Table::Layout {
    std::vector<std::size_t> beside;  ///< from the left
    std::vector<std::size_t> left_out;
    std::vector<std::size_t> widths;  ///< by column
    std::optional<std::size_t> prose;
    std::size_t prose_room = 0;
};

Table::Table(std::vector<Heading> headings) : headings_(std::move(headings)) {}

void Table::add(std::vector<std::string> cells) {
    rows_.push_back(std::move(cells));
}

std::string Table::shown(std::size_t column, const std::string &cell) const {
    switch (headings_[column].fit) {
        case Fit::cut:
        case Fit::number:
            return cut(cell);
        case Fit::cut_front:
            return cut_front(cell);
        default:
            return cell;
    }
}

bool Table::has_few_rows() const {
    return rows_.size() <= kFewRows;
}

bool Table::is_cut(std::size_t column) const {
    return std::ranges::any_of(
        rows_, [&](const auto &row) { return shown(column, row[column]) != row[column]; });
}

Table::Layout Table::fitted() const {
    Layout layout;
    std::vector<std::size_t> order;
    for (std::size_t i = 0; i < headings_.size(); ++i) {
        layout.widths.push_back(longest_word(headings_[i].text));
        for (const auto &row : rows_) {
            layout.widths[i] = std::max(layout.widths[i], columns_of(shown(i, row[i])));
        }
        if (headings_[i].fit == Fit::prose) {
            layout.prose = i;
        } else {
            order.push_back(i);
        }
    }
    std::stable_sort(order.begin() + 1, order.end(), [&](std::size_t one, std::size_t other) {
        return headings_[one].rank < headings_[other].rank;
    });
    std::size_t used = 0;
    for (const std::size_t i : order) {
        const std::size_t more = kMargin + layout.widths[i];
        const bool fits =
            layout.beside.empty() || (used + more <= g_width && !(has_few_rows() && is_cut(i)));
        (fits ? layout.beside : layout.left_out).push_back(i);
        used += fits ? more : 0;
    }
    std::ranges::sort(layout.beside);
    std::ranges::sort(layout.left_out);
    used = widen(layout, used);
    layout.prose_room = g_width - std::min(g_width, used + kMargin);
    return layout;
}

/// Headings in one line where there is room for that; the width of the columns then.
std::size_t Table::widen(Layout &layout, std::size_t used) const {
    std::vector<std::size_t> widths = layout.widths;
    std::size_t wider = 0;
    for (const std::size_t i : layout.beside) {
        widths[i] = std::max(widths[i], columns_of(headings_[i].text));
        wider += kMargin + widths[i];
    }
    if (wider > g_width) {
        return used;
    }
    layout.widths = std::move(widths);
    return wider;
}

void Table::print_headings(std::FILE *out, const Layout &layout) const {
    std::vector<std::vector<std::string>> heads(headings_.size());
    std::size_t height = 1;
    for (const std::size_t i : layout.beside) {
        heads[i] = wrapped(headings_[i].text, layout.widths[i], 0);
        height = std::max(height, heads[i].size());
    }
    for (std::size_t line = 0; line < height; ++line) {
        std::string text;
        for (const std::size_t i : layout.beside) {
            const std::size_t above = height - heads[i].size();
            text += std::string(kMargin, ' ') + padded(line >= above ? heads[i][line - above] : "",
                                                       layout.widths[i],
                                                       headings_[i].fit == Fit::number);
        }
        if (layout.prose && line + 1 == height &&
            columns_of(headings_[*layout.prose].text) <= layout.prose_room) {
            text += std::string(kMargin, ' ') + headings_[*layout.prose].text;
        }
        fmt::print(out, "{}\n", trimmed(text));
    }
}

void Table::print_row(std::FILE *out, const Layout &layout,
                      const std::vector<std::string> &row) const {
    std::string line;
    for (const std::size_t i : layout.beside) {
        line += std::string(kMargin, ' ') +
                padded(shown(i, row[i]), layout.widths[i], headings_[i].fit == Fit::number);
    }
    std::vector<std::string> below;
    if (has_few_rows()) {
        for (const std::size_t i : layout.left_out) {
            below.push_back(fmt::format("{}: {}", lower(headings_[i].text), row[i]));
        }
    }
    below = with_commas(std::move(below));
    const std::string prose = layout.prose ? row[*layout.prose] : std::string();
    if (columns_of(prose) > layout.prose_room && layout.prose_room < kProseRoom) {
        below.insert(below.begin(), prose);
    } else if (layout.prose) {
        line += std::string(kMargin, ' ');
        const std::size_t margin = columns_of(line);
        line += prose;
        print_wrapped(out, line, margin);
        line.clear();
    }
    if (!line.empty()) {
        print_wrapped(out, line, kDeepMargin);
    }
    if (!below.empty()) {
        print_pieces(out, std::string(kDeepMargin, ' '), below);
    }
}

void Table::print_notes(std::FILE *out, const Layout &layout) const {
    std::vector<std::string> names;
    for (const std::size_t i : layout.left_out) {
        names.push_back(lower(headings_[i].text));
    }
    if (!has_few_rows() && !names.empty()) {
        print_wrapped(out,
                      fmt::format("  Not shown for lack of width: {}; --wide shows {}",
                                  joined(names, ", "), names.size() == 1 ? "it" : "them"),
                      2 * kMargin);
    }
}

void Table::print(std::FILE *out) const {
    if (rows_.empty()) {
        return;
    }
    const Layout layout = fitted();
    print_headings(out, layout);
    for (const auto &row : rows_) {
        print_row(out, layout, row);
    }
    print_notes(out, layout);
}

void print_heading(std::FILE *out, const std::string &text, bool first) {
    fmt::print(out, "{}", first ? "" : "\n");
    print_wrapped(out, text, kMargin);
}

std::string upper(std::string_view word) {
    std::string text(word);
    std::ranges::transform(text, text.begin(), [](char c) {
        return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c == '_' ? '-' : c;
    });
    return text;
}

Json text_or_null(std::string_view text) {
    return text.empty() ? Json() : Json(text);
}

void print_json(std::FILE *out, const Json &json) {
    fmt::print(out, "{}\n", json.document());
}

}  // namespace dfdctl
