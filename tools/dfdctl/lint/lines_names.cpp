// SPDX-License-Identifier: MIT
// What a line says: its key, its member, its indexes.
#include <algorithm>
#include <cctype>

#include "common/nearest.hpp"
#include "dfdctl/board/keys.hpp"
#include "dfdctl/lint/lines.hpp"
#include "dfdctl/lint/survey.hpp"
#include "framework/dfd_lib_cfg/members.h"

#include <fmt/format.h>

namespace dfdctl::lint {

namespace {

using dfd::watch::Step;
using Flaw = NumberText::Flaw;

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

/// A name without the "_N" at its end.
std::string_view without_indexes(std::string_view name) {
    for (std::size_t at = name.rfind('_'); at != std::string_view::npos; at = name.rfind('_')) {
        if (at + 1 < name.size() && !is_digit(name[at + 1])) {
            break;
        }
        name = name.substr(0, at);
    }
    return name;
}

bool has_members(const SourceLine &line) {
    return dfd::member_kind(dfd::kind_of_type(line.row->type)) != nullptr;
}

/// The name of the item as it is written, without indexes, and without the member where there may
/// be one.
std::string_view written_key(const SourceLine &line) {
    const bool is_plain = line.row != nullptr && !has_members(line);
    const std::string_view name = line.name;
    return without_indexes(is_plain ? name : name.substr(0, name.find('.')));
}

std::vector<std::string_view> member_names(const SourceLine &line) {
    const auto *const kind = dfd::member_kind(dfd::kind_of_type(line.row->type));
    return {kind->names.begin(), kind->names.end()};
}

/// "slot_online.mode_3": how a line of this item may look.
std::string example(const SourceLine &line) {
    const std::string_view member = line.member != dfd::watch::kNoMember
                                        ? member_names(line)[static_cast<std::size_t>(line.member)]
                                    : has_members(line) ? member_names(line).front()
                                                        : "";
    return fmt::format("{}{}{}{}", line.row->name, member, line.row->max_index1 >= 0 ? "_1" : "",
                       line.row->max_index2 >= 0 ? "_2" : "");
}

/// "takes one index, 0 to 32".
std::string takes(const dfd::KeyRow &row) {
    if (row.max_index1 < 0) {
        return "takes no index";
    }
    return row.max_index2 < 0 ? fmt::format("takes one index, 0 to {}", row.max_index1)
                              : fmt::format("takes two indexes, 0 to {} and 0 to {}",
                                            row.max_index1, row.max_index2);
}

void unknown_key(Check &check, const SourceLine &line) {
    const std::string_view key = written_key(line);
    check.at_name("unknown-key", line,
                  fmt::format("the line is ignored: '{}' is no item{}", key,
                              dfd_tools::did_you_mean(key, key_names())));
}

/// What may be meant by a name that goes on behind that of an item; nothing when that is nearest.
std::string other_meaning(std::string_view key, const dfd::KeyRow &row) {
    const auto nearest = dfd_tools::nearest_names(key, key_names(), 1);
    return nearest.empty() || nearest.front() == row.name
               ? ""
               : dfd_tools::did_you_mean(key, key_names());
}

/// A line whose name goes on behind that of an item.
void swallowed_key(Check &check, const SourceLine &line) {
    const std::string_view key = written_key(line);
    const bool is_stored = line.step == Step::stored;
    check.at_name(
        is_stored ? "key-prefix" : "unknown-key", line,
        fmt::format("'{}' is no item: the library takes it for '{}'{}{}", key, line.row->name,
                    is_stored ? " and stores the value there" : ", then skips the line",
                    other_meaning(key, *line.row)));
}

void unknown_member(Check &check, const SourceLine &line) {
    const std::string_view rest = index_part(line);
    if (!rest.empty() && rest.front() != '.' && rest.front() != '_') {
        swallowed_key(check, line);
        return;
    }
    const std::size_t at = line.row->name.size();
    if (!rest.starts_with('.')) {
        check.add("member-missing", line, at,
                  fmt::format("the line is skipped: '{}' has members; write one, such as '{}'",
                              line.row->name, example(line)));
        return;
    }
    const std::string_view member = without_indexes(rest);
    const auto names = member_names(line);
    check.add("member-unknown", line, at,
              fmt::format("the line is skipped: '{}' has no member '{}'{}", line.row->name, member,
                          dfd_tools::did_you_mean(member, names)));
}

/// A line whose member goes on behind the name of one.
void swallowed_member(Check &check, const SourceLine &line) {
    const auto names = member_names(line);
    const std::string_view member = names[static_cast<std::size_t>(line.member)];
    const std::size_t at = line.row->name.size();
    const bool stored = line.step == Step::stored;
    check.add(stored ? "member-prefix" : "member-unknown", line, at,
              fmt::format("'{}' is no member: the library takes it for '{}'{}",
                          without_indexes(std::string_view(line.name).substr(at)), member,
                          stored ? " and stores the value there" : ", then skips the line"));
}

void swallowed(Check &check, const SourceLine &line) {
    if (line.member == dfd::watch::kNoMember) {
        swallowed_key(check, line);
    } else {
        swallowed_member(check, line);
    }
}

void missing_index(Check &check, const SourceLine &line) {
    const std::string_view rest = without_end(index_part(line));
    if (line.step == Step::no_index1 && !rest.empty() && !is_digit(rest.front())) {
        swallowed(check, line);
        return;
    }
    check.at_index("index-missing", line,
                   fmt::format("the line is skipped: '{}' {}; write it as '{}'", line.row->name,
                               takes(*line.row), example(line)));
}

/// Takes the text of the next index off, as the library splits them; not of an empty text.
std::string_view take_index(std::string_view &rest) {
    rest.remove_prefix(1);
    const std::string_view text = rest.substr(0, rest.find('_'));
    rest.remove_prefix(text.size());
    return text;
}

/// Whether an index stands for what it looks like.
void check_index(Check &check, const SourceLine &line, std::string_view text, int max) {
    const Flaw flaw = judge_number(text).flaw;
    if (flaw == Flaw::none) {
        return;
    }
    const auto at = static_cast<std::size_t>(text.data() - line.name.data());
    const bool skipped = line.step != Step::stored && line.step != Step::not_stored;
    const std::string made =
        skipped ? "the line is skipped" : fmt::format("it is read as {}", number_read(text));
    switch (flaw) {
        case Flaw::empty:
            check.add("index-empty", line, at,
                      fmt::format("no digits behind the '_': {}; write the index",
                                  skipped ? made : "it is read as 0"));
            break;
        case Flaw::rubbish:
            check.add("index-rubbish", line, at,
                      fmt::format("'{}' is no plain number: {}{}", text, made, hint_of_hex(text)));
            break;
        case Flaw::octal:
            check.add("number-octal", line, at,
                      fmt::format("'{}' is decimal: {}; write it without the 0", text, made));
            break;
        case Flaw::range:
            check.add(
                "index-range", line, at,
                fmt::format("'{}' exceeds 32 bits: {}; the index is 0 to {}", text, made, max));
            break;
        case Flaw::none:
            break;
    }
}

int indexes_of(const dfd::KeyRow &row) {
    return (row.max_index1 >= 0 ? 1 : 0) + (row.max_index2 >= 0 ? 1 : 0);
}

/// Nothing but so many indexes as every reader takes them: "_12_0".
bool are_plain(std::string_view text, int indexes) {
    constexpr std::size_t kSurelyFit = 8;
    for (; indexes > 0; --indexes) {
        const std::size_t end = std::min(text.find('_', 1), text.size());
        const bool is_zero = end == 2 && text[1] == '0';
        if (end < 2 || end > kSurelyFit || text[0] != '_' || (text[1] == '0' && !is_zero) ||
            !std::all_of(text.begin() + 1, text.begin() + end, is_digit)) {
            return false;
        }
        text.remove_prefix(end);
    }
    return text.empty();
}

void check_indexes(Check &check, const SourceLine &line, std::string_view rest) {
    const std::array limits = {line.row->max_index1, line.row->max_index2};
    for (std::size_t i = 0; !rest.empty(); ++i) {
        const std::string_view text = take_index(rest);
        if (i >= limits.size() || limits[i] < 0) {
            const auto at = static_cast<std::size_t>(text.data() - line.name.data()) - 1;
            check.add(
                "index-surplus", line, at,
                fmt::format("'{}' is ignored: '{}' {}", std::string_view(line.name).substr(at),
                            line.row->name, takes(*line.row)));
            return;
        }
        check_index(check, line, text, limits[i]);
    }
}

void out_of_range(Check &check, const SourceLine &line) {
    const bool is_first = line.step == Step::index1_range;
    const int max = is_first ? line.row->max_index1 : line.row->max_index2;
    std::string_view rest = without_end(index_part(line));
    std::string_view text;
    for (int i = is_first ? 1 : 0; i < 2; ++i) {
        text = rest.empty() ? std::string_view() : take_index(rest);
    }
    if (judge_number(text).flaw != Flaw::none) {
        check_indexes(check, line, without_end(index_part(line)));
        return;
    }
    check.add("index-range", line, static_cast<std::size_t>(text.data() - line.name.data()),
              fmt::format("the line is skipped: the {}index of '{}' is 0 to {}",
                          line.row->max_index2 < 0 ? "" : (is_first ? "first " : "second "),
                          line.row->name, max));
}

void check_spaces(Check &check, const SourceLine &line) {
    const std::string_view written = without_end(line.raw.substr(0, line.raw.find('=')));
    const std::size_t begin = written.find_first_not_of(' ');
    const std::size_t space = written.find(' ', begin);
    if (space != std::string_view::npos) {
        check.at_byte("space-in-name", line, space,
                      fmt::format("the space is deleted: the name is '{}'", line.name));
    }
}

/// Behind the last character of a name a tab is harmless; before it, it is part of the name.
bool check_tab(Check &check, const SourceLine &line) {
    const std::size_t tab = line.name.find('\t');
    if (tab >= without_end(line.name).size()) {
        return true;
    }
    check.add(
        "tab-in-name", line, tab,
        fmt::format(
            "a tab in the name is part of it: {}; use spaces",
            line.step == Step::unknown_key ? "the library knows no such item and ignores the line"
            : line.step == Step::stored
                ? fmt::format("the library takes it for '{}'", as_written(item_of_key(line.key)))
                : "the line is skipped"));
    return false;
}

std::string hint_of_comment(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(" \t");
    if (begin == std::string_view::npos) {
        return "a line of tabs is not empty to the library; ";
    }
    if (text[begin] == '#') {
        return "a comment must begin with '#', not with a tab; ";
    }
    return text[begin] == ';' || text[begin] == '/' ? "comments begin with '#'; " : "";
}

}  // namespace

bool check_plain_name(Check &check, const SourceLine &line) {
    const std::string_view rest = without_end(index_part(line));
    const bool takes_none = line.row->max_index1 < 0;
    if (takes_none && !rest.empty() && (rest.size() < 2 || rest[0] != '_' || !is_digit(rest[1]))) {
        swallowed(check, line);
        return false;
    }
    if (!are_plain(rest, indexes_of(*line.row))) {
        check_indexes(check, line, rest);
    }
    return true;
}

void check_name(Check &check, const SourceLine &line) {
    if (!check_tab(check, line)) {
        return;
    }
    switch (line.step) {
        case Step::blank:
        case Step::comment:
            break;
        case Step::no_equals:
            check.at_name("no-equals", line,
                          fmt::format("no '=' in this line: {}{}",
                                      hint_of_comment(without_end(line.raw)), loss(check, line)));
            break;
        case Step::no_name:
            check.at_name("no-name", line,
                          fmt::format("no name before '=': {}", loss(check, line)));
            break;
        case Step::unknown_key:
            unknown_key(check, line);
            break;
        case Step::refused_type:
            check.at_name("unknown-key", line,
                          fmt::format("the line is skipped: '{}' stands in the library's table but "
                                      "names no item",
                                      line.row->name));
            break;
        case Step::unknown_member:
            unknown_member(check, line);
            break;
        case Step::no_index1:
        case Step::no_index2:
            missing_index(check, line);
            break;
        case Step::index1_range:
        case Step::index2_range:
            out_of_range(check, line);
            break;
        case Step::not_stored:
        case Step::stored:
            if (check_plain_name(check, line)) {
                check_spaces(check, line);
            }
            break;
    }
}

}  // namespace dfdctl::lint
