// SPDX-License-Identifier: MIT
#include <algorithm>
#include <array>

#include "dfdctl/lint/lint.hpp"

namespace dfdctl::lint {

namespace {

using enum Severity;

constexpr Scope kLine = Scope::line;
constexpr Scope kItem = Scope::item;
constexpr Scope kBoard = Scope::board;

// error: does not work as it is written; warning: likely a mistake; note: worth knowing.
/* clang-format off */
constexpr std::array kRules = {
    Rule{"byte-order-mark", error, kLine, "A byte order mark is part of the first line", "format"},
    Rule{"carriage-return", error, kLine, "A carriage return inside a line is deleted, and what stands behind it joined to the line", "format"},
    Rule{"chassis-file-missing", note, kBoard, "Without a file of its chassis a board has the values of its own files only", "files"},
    Rule{"comment-behind-value", warning, kLine, "A comment is a line of its own: behind a value '#' is part of it", "format"},
    Rule{"conversion-empty", error, kLine, "An empty text begins every text, so the look-up always stops at it", "format"},
    Rule{"conversion-redundant", note, kLine, "A look-up that ends at an earlier entry leads to the same result", "format"},
    Rule{"conversion-replaced", warning, kLine, "An entry whose line is replaced stays in its conversion list, ahead of the new one", "format"},
    Rule{"conversion-shadowed", error, kLine, "A look-up takes the first entry that fits: those behind it are never found", "format"},
    Rule{"crlf", note, kLine, "Carriage returns at the ends of lines are deleted", "format"},
    Rule{"file-missing", error, kBoard, "Loading stops at a listed file that cannot be opened: it and all behind it are lost", "files"},
    Rule{"file-name-odd", warning, kBoard, "A file whose name is not spelt as the library builds it is never loaded", "files"},
    Rule{"file-unlisted", note, kBoard, "A file of cfg_file that no list names is never loaded", "files"},
    Rule{"index-collision", error, kLine, "Items whose indexes differ only in bits that the key does not keep are one item", "format"},
    Rule{"index-cut", note, kLine, "The key of an item keeps 16 bits of the first index and 8 of the second", "format"},
    Rule{"index-empty", error, kLine, "An index without digits is read as 0 or -1", "format"},
    Rule{"index-missing", error, kLine, "A line whose item takes an index and has none is skipped", "format"},
    Rule{"index-range", error, kLine, "A line whose index is out of range is skipped", "format"},
    Rule{"index-rubbish", error, kLine, "An index ends at the first character that is no digit of it", "format"},
    Rule{"index-surplus", error, kLine, "Text behind the last index is ignored", "format"},
    Rule{"key-prefix", error, kLine, "A name counts as that of the first item that begins it", "format"},
    Rule{"line-too-long", error, kLine, "A line over 255 bytes is read as several", "format"},
    Rule{"list-duplicate", warning, kBoard, "A file that is listed twice is loaded twice", "files"},
    Rule{"list-empty", error, kBoard, "A board without a list of files, or with an empty one, has no configuration", "files"},
    Rule{"list-line-empty", error, kBoard, "An empty line of the list stands for the file '.cfg'; loading stops there", "files"},
    Rule{"list-name-long", error, kBoard, "A name of over 30 characters is read as two", "files"},
    Rule{"list-unknown-type", note, kBoard, "The library does not start on a board type that has no list of files", "files"},
    Rule{"member-missing", error, kLine, "A line that names an item with members and none of them is skipped", "format"},
    Rule{"member-prefix", error, kLine, "A member counts as the first one that begins it", "format"},
    Rule{"member-unknown", error, kLine, "A line with an unknown member is skipped", "format"},
    Rule{"no-equals", error, kLine, "A line without '=' ends the loading of the file, and of all files behind it", "format"},
    Rule{"no-final-newline", note, kLine, "A last line without line end is read, but what is appended to the file joins it", "format"},
    Rule{"no-name", error, kLine, "A line that begins with '=' ends the loading of the file, and of all files behind it", "format"},
    Rule{"number-empty", error, kLine, "A number without digits is -1", "format"},
    Rule{"number-octal", warning, kLine, "Numbers are decimal or, behind 0x, hexadecimal; a leading 0 changes nothing", "format"},
    Rule{"number-range", error, kLine, "Of a number only 32 bits are kept", "format"},
    Rule{"number-rubbish", error, kLine, "A number ends at the first character that is no digit of it", "format"},
    Rule{"override", note, kLine, "A later file, such as that of the chassis, replaces the value of an earlier one", "files"},
    Rule{"pid-file-missing", warning, kBoard, "Without card_pid.cfg no product identifier tells the board type", "files"},
    Rule{"pid-too-long", error, kLine, "Of the product identifier 9 characters are read, so a longer text never fits", "files"},
    Rule{"quotes", error, kLine, "Quotes are part of the value", "format"},
    Rule{"repeat", note, kLine, "A line that sets a value again changes nothing", "format"},
    Rule{"replace", warning, kLine, "A later line of the same file replaces the value of an earlier one", "format"},
    Rule{"second-equals", warning, kLine, "The value begins at the first '='; a second one is part of it", "format"},
    Rule{"space-in-name", warning, kLine, "Spaces inside a name are deleted", "format"},
    Rule{"space-in-value", warning, kLine, "Spaces inside a value are deleted", "format"},
    Rule{"tab", note, kLine, "Tabs are not deleted as spaces are", "format"},
    Rule{"tab-in-name", error, kLine, "A tab is part of the name, so that it names no item", "format"},
    Rule{"text-cut", error, kLine, "A path or sensor name over 127 bytes is cut", "format"},
    Rule{"text-empty", warning, kLine, "An empty text is stored as it is", "format"},
    Rule{"text-too-long", error, kLine, "A text of 64 bytes or more is refused and the line skipped", "format"},
    Rule{"unknown-key", error, kLine, "A line with an unknown name is ignored", "format"},
    Rule{"unknown-rule", warning, kLine, "A '# lint: allow' that names no rule allows nothing", "format"},
    Rule{"unprintable", warning, kLine, "Bytes outside printable ASCII are part of names and values", "format"},
    Rule{"value-cut", error, kLine, "A value ends at the first tab", "format"},
    Rule{"word-prefix", warning, kLine, "A word counts as the first one that begins it", "format"},
    Rule{"word-unknown", error, kLine, "A word that is none is stored as 0, an interrupt type as 12", "format"},
};
/* clang-format on */

constexpr bool is_sorted_by_id() {
    return std::ranges::is_sorted(kRules, {}, &Rule::id);
}
static_assert(is_sorted_by_id());

}  // namespace

std::span<const Rule> rules() {
    return kRules;
}

const Rule *find_rule(std::string_view id) {
    const auto *found = std::ranges::lower_bound(kRules, id, {}, &Rule::id);
    return found != kRules.end() && found->id == id ? found : nullptr;
}

}  // namespace dfdctl::lint
