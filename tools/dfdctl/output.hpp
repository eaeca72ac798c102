// SPDX-License-Identifier: MIT
// Text that fits the terminal, and JSON.
#pragma once

#include <concepts>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/json.hpp"
#include "common/terminal.hpp"
#include "common/text.hpp"

namespace dfdctl {

using dfd_tools::columns_of;
using dfd_tools::hex_text;
using dfd_tools::joined;
using dfd_tools::Json;
using dfd_tools::kUsualWidth;
using dfd_tools::wrapped;
using dfd_tools::wrapped_lines;

/// Sets the width that all text keeps: `columns`; 0: that of the terminal behind `out`, else the
/// usual one. Wide text has no limit: nothing is wrapped, cut or left out.
void set_width(std::FILE *out, unsigned columns, bool is_wide);
std::size_t text_width();
/// Lines of the terminal behind `out`; nothing where it is none, or wide text is asked for.
std::optional<std::size_t> screen_height(std::FILE *out);
bool is_wide();

/// Lets what is wrong stand out in red where `out` is a terminal, unless NO_COLOR or a dumb TERM
/// asks for plain text.
void set_colour(std::FILE *out);
bool is_coloured();
/// The text in red, or as it is. Take it for whole cells and words: a line may not break in it.
std::string in_red(const std::string &text);

/// The text with a line end, wrapped to the width.
void print_wrapped(std::FILE *out, const std::string &text, std::size_t indent);
/// Pieces behind a label, broken between them; further lines are indented as deep as the label is.
void print_pieces(std::FILE *out, const std::string &label, const std::vector<std::string> &pieces);
/// "a," "b," "c"
std::vector<std::string> with_commas(std::vector<std::string> pieces);
/// "1-4", "9", "own": neighbouring numbers as a range, other names as they are.
std::vector<std::string> ranges_of(const std::vector<std::string> &names);
/// "  name            text", wrapped behind the margin of `width` columns for the name.
void print_named(std::FILE *out, std::string_view name, std::size_t width, std::string_view text);

/// As in dfd_tools, by the width that set_width() was given.
std::size_t message_width();
/// The name that messages begin with, "dfdctl" until another one is set.
void set_program(const char *name);
const char *program();
/// "dfdctl: TEXT" on standard error; a terminal that has gone stops nothing.
void complain(const std::string &text);
/// The same without a line end, to be answered behind it.
void ask(const std::string &question);

/// A value, without its end where it is longer than a cell of a table may be.
std::string cut(const std::string &value);

/// What happens to a cell that is longer than any should be.
enum class Fit {
    cut,        ///< its end is left out
    cut_front,  ///< its beginning, as of paths
    number,     ///< as cut, and aligned to the right
    whole,      ///< nothing: one types it again
    prose       ///< the text is wrapped in the room that other columns leave, or below the row
};

/// The head of a column. Where not all columns fit, those of lower rank stay, and of the same rank
/// the left ones; the first one always does.
struct Heading {
    template <std::convertible_to<std::string> Text>
    Heading(Text &&words, Fit how = Fit::cut, unsigned place = 0)
        : text(std::forward<Text>(words)), fit(how), rank(place) {}

    std::string text;
    Fit fit;
    unsigned rank;
};

/// Rows under headings, columns aligned.
class Table {
  public:
    explicit Table(std::vector<Heading> headings);

    void add(std::vector<std::string> cells);
    bool has_rows() const { return !rows_.empty(); }
    /// The rows, each indented by two blanks; without rows nothing. Columns that do not fit, and
    /// those with cells that would be cut, stand below the row where there are few rows; else
    /// columns that do not fit are named below the table.
    void print(std::FILE *out) const;

  private:
    struct Layout;

    std::string shown(std::size_t column, const std::string &cell) const;
    bool has_few_rows() const;
    bool is_cut(std::size_t column) const;
    Layout fitted() const;
    std::size_t widen(Layout &layout, std::size_t used) const;
    void print_headings(std::FILE *out, const Layout &layout) const;
    void print_row(std::FILE *out, const Layout &layout, const std::vector<std::string> &row) const;
    void print_notes(std::FILE *out, const Layout &layout) const;

    std::vector<Heading> headings_;
    std::vector<std::vector<std::string>> rows_;
};

/// A heading of a page, with an empty line before all but the first.
void print_heading(std::FILE *out, const std::string &text, bool first = false);

/// As a heading of a column: "SUB-SLOT" for "sub_slot".
std::string upper(std::string_view word);

Json text_or_null(std::string_view text);
void print_json(std::FILE *out, const Json &json);

}  // namespace dfdctl
