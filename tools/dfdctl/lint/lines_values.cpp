// SPDX-License-Identifier: MIT
// What a line says: its value.
#include <algorithm>
#include <string>

#include "common/nearest.hpp"
#include "dfdctl/lint/lines.hpp"
#include "framework/dfd_lib_cfg/lookup.h"
#include "framework/dfd_lib_cfg/members.h"

#include <fmt/format.h>

namespace dfdctl::lint {

namespace {

using dfd::Field;
using Flaw = NumberText::Flaw;

constexpr ByteSet kOtherBlanks("\t\v\f");
constexpr ByteSet kSpaces(" \t\v\f");
constexpr ByteSet kBlanksAndEnds(" \t\v\f\r\n");
constexpr ByteSet kTelling(" \t\v\f#\"'=");  // that a value is not all that stands there
constexpr ByteSet kDecimal("0123456789");
constexpr ByteSet kHexadecimal("0123456789abcdefABCDEF");

struct Meaning {
    Field field;
    std::size_t size;  ///< of a text, terminator included
    dfd::Words words;
};

Meaning meaning_of(const SourceLine &line) {
    const dfd::Kind kind = dfd::kind_of_type(line.row->type);
    if (kind == dfd::Kind::string) {
        return {Field::text, DFD_STRING_SIZE, {}};
    }
    const dfd::MemberKind *const members = dfd::member_kind(kind);
    if (members == nullptr) {
        return {Field::number, 0, {}};
    }
    const dfd::MemberRow &row = members->rows[static_cast<std::size_t>(line.member)];
    return {row.field, row.size, row.words};
}

/// Digits are too many for 32 bits, signed or unsigned.
bool is_too_large(std::string_view digits, int base, bool is_negative) {
    constexpr std::uint64_t kUnsigned = 0xFFFFFFFF;
    constexpr std::uint64_t kNegative = 0x80000000;
    const std::uint64_t limit = is_negative ? kNegative : kUnsigned;
    std::uint64_t value = 0;
    for (const char c : digits) {
        const int digit = c <= '9' ? c - '0' : (c | ' ') - 'a' + 10;
        value = value * static_cast<std::uint64_t>(base) + static_cast<std::uint64_t>(digit);
        if (value > limit) {
            return true;
        }
    }
    return false;
}

/// 08 and 010, but not 07: it is the same to everyone.
bool looks_octal(std::string_view digits) {
    const std::size_t first = digits.find_first_not_of('0');
    return digits.starts_with('0') && first != std::string_view::npos &&
           (digits.size() - first > 1 || digits[first] > '7');
}

void check_number(Check &check, const SourceLine &line) {
    const NumberText number = judge_number(line.value);
    const std::string_view value = line.value;
    const std::string hint = number.flaw == Flaw::rubbish ? hint_of_hex(value) : "";
    switch (number.flaw) {
        case Flaw::none:
            break;
        case Flaw::empty:
            // An LED table says so that the LED cannot show a state.
            if (dfd::kind_of_type(line.row->type) != dfd::Kind::led_info) {
                check.at_value("number-empty", line,
                               "no number behind '=': stored as -1 (0xffffffff)");
            }
            break;
        case Flaw::rubbish:
            check.at_value("number-rubbish", line,
                           number.digits == 0
                               ? fmt::format("'{}' is no number: stored as {}{}", value,
                                             number_read(value), hint)
                               : fmt::format("'{}' is read up to '{}': stored as {}{}", value,
                                             value.substr(0, number.digits), number_read(value),
                                             hint.empty() ? "; write a whole number alone" : hint));
            break;
        case Flaw::octal:
            check.at_value("number-octal", line,
                           fmt::format("'{}' is decimal and stored as {}, not octal; write it "
                                       "without the 0",
                                       value, number_read(value)));
            break;
        case Flaw::range:
            check.at_value(
                "number-range", line,
                fmt::format("'{}' exceeds 32 bits: stored as {}", value, number_read(value)));
            break;
    }
}

std::vector<std::string_view> names_of(const Meaning &meaning) {
    if (meaning.field == Field::word) {
        return {meaning.words.begin(), meaning.words.end()};
    }
    std::vector<std::string_view> names;
    for (const irq_type_name_t &row : g_irq_type_name) {
        names.emplace_back(row.name);
    }
    return names;
}

/// The word that the library takes the value for; empty for none.
std::string_view word_taken(const Meaning &meaning, const SourceLine &line) {
    if (meaning.field == Field::word) {
        const int word = dfd::find_word(meaning.words, line.value.data());
        return word == dfd::kNoWord ? "" : meaning.words[static_cast<std::size_t>(word)];
    }
    const std::uint32_t type = dfd::find_irq_type(line.value.data());
    return type == IRQ_TYPE_UNKNOWN ? "" : g_irq_type_name[type].name;
}

std::string one_of(const std::vector<std::string_view> &names) {
    std::string text = "; it is one of ";
    for (const std::string_view name : names) {
        text += fmt::format("{}{}", name == names.front() ? "" : ", ", name);
    }
    return text;
}

void check_word(Check &check, const SourceLine &line, const Meaning &meaning) {
    const std::string_view taken = word_taken(meaning, line);
    if (taken == line.value && !taken.empty()) {
        return;
    }
    if (!taken.empty()) {
        check.at_value("word-prefix", line,
                       fmt::format("'{}' is no word of this member: it is taken for '{}'; write "
                                   "that, if it is meant",
                                   line.value, taken));
        return;
    }
    const auto names = names_of(meaning);
    const std::string guess = dfd_tools::did_you_mean(line.value, names);
    check.at_value("word-unknown", line,
                   fmt::format("'{}' is no word of this member: stored as {}{}", line.value,
                               meaning.field == Field::word ? "0 (none)" : "12 (unknown type)",
                               guess.empty() || line.value.empty() ? one_of(names) : guess));
}

bool is_conversion(std::uint32_t type) {
    return type == DFD_KEY_CARD_PID_STR || type == DFD_KEY_POWER_NAME || type == DFD_KEY_FAN_NAME;
}

void check_text(Check &check, const SourceLine &line, const Meaning &meaning) {
    const std::size_t most = meaning.size - 1;
    const bool is_string = line.member == dfd::watch::kNoMember;
    if (line.value.empty() && !is_conversion(line.row->type)) {
        check.at_value("text-empty", line, "no text behind '=': an empty one is stored");
    }
    if (line.value.size() <= most) {
        return;
    }
    if (is_string) {
        check.at_value("text-too-long", line,
                       fmt::format("the line is skipped: the text has {} bytes, {} are allowed",
                                   line.value.size(), most));
    } else {
        check.at_value("text-cut", line,
                       fmt::format("the text has {} bytes, the first {} are kept: it ends in '{}'",
                                   line.value.size(), most, line.value.substr(most - 10, 10)));
    }
}

/// What stands behind "=", line end and blanks around it left out.
std::string_view written_value(const SourceLine &line) {
    std::string_view text = line.raw;
    text.remove_prefix(text.find('=') + 1);
    return without_end(text.substr(kBlanksAndEnds.first_not_in(text)));
}

std::size_t byte_in(const SourceLine &line, std::string_view part) {
    return static_cast<std::size_t>(part.data() - line.raw.data());
}

/// A tab ends the value; what it hides may be a comment.
void check_end(Check &check, const SourceLine &line, std::string_view written) {
    std::string_view rest = written.substr(kOtherBlanks.first_in(written));
    rest.remove_prefix(kSpaces.first_not_in(rest));
    if (!rest.empty() && rest.front() != '#') {
        check.at_byte("value-cut", line, byte_in(line, rest),
                      fmt::format("the value ends at the tab before: it is '{}', and '{}' is "
                                  "ignored",
                                  line.value, rest));
    }
}

bool check_comment(Check &check, const SourceLine &line, std::string_view written,
                   const Meaning &meaning) {
    const std::size_t hash = written.find('#');
    const bool is_behind = hash != std::string_view::npos && hash > 0 &&
                           (meaning.field != Field::text || written[hash - 1] == ' ');
    if (!is_behind) {
        return true;
    }
    check.at_byte(
        "comment-behind-value", line, byte_in(line, written.substr(hash)),
        fmt::format("no comment can stand here: the value is '{}'; write the comment on a "
                    "line of its own",
                    line.value));
    return false;
}

bool check_quotes(Check &check, const SourceLine &line) {
    const std::size_t quote = line.value.find_first_of("\"'");
    if (quote == std::string::npos) {
        return true;
    }
    check.at_value(
        "quotes", line,
        fmt::format("the quotes are part of the value, which is {}; leave them out", line.value));
    return false;
}

bool check_equals(Check &check, const SourceLine &line, std::string_view written) {
    const std::size_t equals = written.find('=');
    if (equals == std::string_view::npos) {
        return true;
    }
    check.at_byte("second-equals", line, byte_in(line, written.substr(equals)),
                  fmt::format("a second '=' is part of the value, which is '{}'; one item a line",
                              line.value));
    return false;
}

/// What stands beside the value, or in it and means nothing there; false when that says it all.
bool check_written(Check &check, const SourceLine &line, std::string_view written,
                   const Meaning &meaning) {
    check_end(check, line, written);
    const std::string_view used = written.substr(0, kOtherBlanks.first_in(written));
    if (!check_comment(check, line, used, meaning) || !check_quotes(check, line) ||
        !check_equals(check, line, used)) {
        return false;
    }
    if (const std::size_t space = without_end(used).find(' '); space != std::string_view::npos) {
        check.at_byte("space-in-value", line, byte_in(line, used.substr(space)),
                      fmt::format("the space is deleted: the value is '{}'", line.value));
    }
    return true;
}

}  // namespace

NumberText judge_number(std::string_view text) {
    if (text.empty()) {
        return {Flaw::empty, 0};
    }
    const bool is_hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    const bool has_sign = !is_hex && (text[0] == '-' || text[0] == '+');
    const std::size_t begin = is_hex ? 2 : (has_sign ? 1 : 0);
    const std::size_t end =
        begin + (is_hex ? kHexadecimal : kDecimal).first_not_in(text.substr(begin));
    if (end == begin) {
        return {Flaw::rubbish, 0};
    }
    const std::string_view digits = text.substr(begin, end - begin);
    if (end < text.size()) {
        return {Flaw::rubbish, end};
    }
    constexpr std::size_t kSurelyFit = 8;
    if (digits.size() > kSurelyFit && is_too_large(digits, is_hex ? 16 : 10, text[0] == '-')) {
        return {Flaw::range, end};
    }
    return {!is_hex && looks_octal(digits) ? Flaw::octal : Flaw::none, end};
}

std::string hint_of_hex(std::string_view text) {
    const bool is_hex = kHexadecimal.first_not_in(text) == text.size() &&
                        kDecimal.first_not_in(text) != text.size();
    return is_hex ? fmt::format("; hexadecimal begins with 0x: write 0x{}", text) : "";
}

std::string number_read(std::string_view text) {
    const std::uint32_t number = dfd::number_from_text(std::string(text).c_str());
    const auto as_signed = static_cast<std::int32_t>(number);
    return as_signed < 0 ? fmt::format("{} (0x{:x})", as_signed, number)
                         : fmt::format("{}", number);
}

void check_value(Check &check, const SourceLine &line) {
    const std::string_view written = written_value(line);
    if (kTelling.first_in(written) == written.size() ||
        check_written(check, line, written, meaning_of(line))) {
        check_plain_value(check, line);
    }
}

void check_plain_value(Check &check, const SourceLine &line) {
    const Meaning meaning = meaning_of(line);
    switch (meaning.field) {
        case Field::number:
            check_number(check, line);
            break;
        case Field::word:
        case Field::irq_type:
            check_word(check, line, meaning);
            break;
        case Field::text:
            check_text(check, line, meaning);
            break;
    }
}

}  // namespace dfdctl::lint
