// SPDX-License-Identifier: MIT
// What the checks of lines share.
#pragma once

#include <algorithm>
#include <array>

#include "dfdctl/lint/lint.hpp"

namespace dfdctl::lint {

/// Bytes as a table: every byte of every line is looked for in some.
class ByteSet {
  public:
    constexpr explicit ByteSet(std::string_view bytes) {
        for (const char c : bytes) {
            has_[static_cast<unsigned char>(c)] = true;
        }
    }
    constexpr bool has(char c) const { return has_[static_cast<unsigned char>(c)]; }
    /// Where the first of them stands, or the size of the text.
    constexpr std::size_t first_in(std::string_view text) const {
        const auto found = std::ranges::find_if(text, [this](char c) { return has(c); });
        return static_cast<std::size_t>(found - text.begin());
    }
    /// The same of the first other byte.
    constexpr std::size_t first_not_in(std::string_view text) const {
        const auto found = std::ranges::find_if(text, [this](char c) { return !has(c); });
        return static_cast<std::size_t>(found - text.begin());
    }

  private:
    std::array<bool, 256> has_ = {};
};

/// The name of a line: its key, member and indexes.
void check_name(Check &check, const SourceLine &line);
/// The same of a line that was stored, or was refused for its value, and whose name has no blanks;
/// false when it was taken for the name of something else.
bool check_plain_name(Check &check, const SourceLine &line);
/// The value of a line that was stored, or was refused for it.
void check_value(Check &check, const SourceLine &line);
/// The same where nothing stands beside it, and nothing in it that means nothing there.
void check_plain_value(Check &check, const SourceLine &line);

/// How a text reads as the number that it is meant to be.
struct NumberText {
    enum class Flaw { none, empty, rubbish, octal, range };
    Flaw flaw;
    std::size_t digits;  ///< length of the part that the library reads
};
NumberText judge_number(std::string_view text);
/// "; hexadecimal begins with 0x: write 0xa0" for "a0"; empty for what is no such text.
std::string hint_of_hex(std::string_view text);
/// What the library makes of it.
std::string number_read(std::string_view text);

/// How a file is written, by how it begins.
enum class Encoding { plain, utf8_marked, utf16 };
Encoding encoding_of_file(const std::string &path);
/// What is wrong with such a file; empty for a plain one.
std::string_view flaw_of(Encoding encoding);
/// A text without what stands behind its last character that is no blank.
std::string_view without_end(std::string_view text);
/// What files behind this one lose when its loading ends.
std::string loss(const Check &check, const SourceLine &line);

}  // namespace dfdctl::lint
