// SPDX-License-Identifier: MIT
// What a line says: the walk over all lines, bytes that do not mean what they look like.
#include "dfdctl/lint/lines.hpp"

#include <algorithm>
#include <fstream>

#include <fmt/format.h>

namespace dfdctl::lint {

namespace {

using dfd::watch::Step;

constexpr ByteSet kBlank(" \t\r\n\v\f");
/// That are what they look like wherever they stand in a name or a value.
constexpr ByteSet kPlainBytes(
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_.-/:");

/// Kept for one finding a file, at the first of the lines.
struct Habit {
    const SourceLine *first = nullptr;
    std::size_t byte = 0;
    int lines = 0;

    void seen(const SourceLine &line, std::size_t at) {
        if (first == nullptr) {
            first = &line;
            byte = at;
        }
        ++lines;
    }
    std::string count() const { return fmt::format("{} line{}", lines, lines == 1 ? "" : "s"); }
};

bool ends_line(std::string_view raw, std::size_t byte) {
    return raw.find_first_not_of("\r\n", byte) == std::string::npos;
}

/// The first byte of a line that is neither printable ASCII nor blank.
std::size_t find_odd_byte(std::string_view raw) {
    const auto odd = [](char c) {
        return (c < ' ' || c > '~') && c != '\t' && c != '\r' && c != '\n';
    };
    return static_cast<std::size_t>(std::find_if(raw.begin(), raw.end(), odd) - raw.begin());
}

/// The reader's text ends at a zero byte though the file goes on.
bool is_cut_by_zero(const Check &check, const SourceLine &line) {
    const SourceLine *const next = &line + 1;
    const bool is_last =
        next == check.log().lines.data() + check.log().lines.size() || next->file != line.file;
    return !is_last && !line.raw.ends_with('\n') && line.raw.size() < kReaderBytes;
}

std::string outcome(const SourceLine &rest) {
    switch (rest.step) {
        case Step::no_equals:
        case Step::no_name:
            return "ends the loading of this file";
        case Step::stored:
            return fmt::format("sets '{}'", rest.name);
        default:
            return "has no effect";
    }
}

/// The part of a long line that the library takes for another line, and what it does.
const SourceLine *harmful_rest(const Check &check, const SourceLine &line) {
    const auto &lines = check.log().lines;
    const auto first = static_cast<std::size_t>(&line - lines.data());
    for (std::size_t i = first + 1; i < lines.size() && lines[i].is_rest(); ++i) {
        const bool is_blank = lines[i].step == Step::blank;
        const bool is_comment = lines[i].step == Step::comment && line.step == Step::comment;
        if (!is_blank && !is_comment) {
            return &lines[i];
        }
    }
    return nullptr;
}

bool check_length(Check &check, const SourceLine &line) {
    const SourceLine *const rest = harmful_rest(check, line);
    if (rest == nullptr) {
        return true;
    }
    constexpr std::size_t kShown = 30;
    std::string shown(rest->raw.substr(0, kShown));
    shown.erase(shown.find_last_not_of("\r\n") + 1);
    check.at_byte(
        "line-too-long", *rest, 0,
        fmt::format("the library reads {} bytes of a line at a time: '{}{}' is a line of "
                    "its own to it, which {}; break the line",
                    kReaderBytes, shown, rest->raw.size() > kShown ? "..." : "", outcome(*rest)));
    return line.step == Step::no_equals;
}

void check_odd_bytes(Check &check, const SourceLine &line) {
    if (is_cut_by_zero(check, line)) {
        return;  // told once for the file
    }
    const std::size_t odd = find_odd_byte(line.raw);
    if (odd < line.raw.size()) {
        check.at_byte("unprintable", line, odd,
                      fmt::format("the byte 0x{:02x} is no printable ASCII and is taken as it is; "
                                  "configurations are plain ASCII",
                                  static_cast<unsigned char>(line.raw[odd])));
    }
    const std::size_t cr = line.raw.find('\r');
    if (cr != std::string::npos && !ends_line(line.raw, cr)) {
        check.at_byte("carriage-return", line, cr,
                      "a carriage return inside the line is deleted and joins what stands around "
                      "it; end lines with a line feed");
    }
}

/// So many bytes of a file tell its encoding.
constexpr std::size_t kTellingBytes = 4;

Encoding encoding_of_text(std::string_view begin) {
    if (begin.starts_with("\xEF\xBB\xBF")) {
        return Encoding::utf8_marked;
    }
    // Without a mark, ASCII characters as two bytes each, in either order.
    const auto has_zeros = [&](std::size_t first) {
        return begin.size() >= kTellingBytes && begin[first] == '\0' && begin[first + 2] == '\0' &&
               begin[1 - first] != '\0' && begin[3 - first] != '\0';
    };
    const bool is_utf16 = begin.starts_with("\xFF\xFE") || begin.starts_with("\xFE\xFF") ||
                          has_zeros(0) || has_zeros(1);
    return is_utf16 ? Encoding::utf16 : Encoding::plain;
}

class FileHabits {
  public:
    explicit FileHabits(Check &check) : check_(check) {}

    /// A line that is_plain().
    void seen_plain(const SourceLine &line) {
        if (last_ != nullptr && last_->file != line.file) {
            report();
        }
        last_ = &line;
    }
    void seen(const SourceLine &line) {
        seen_plain(line);
        const bool is_crlf = line.raw.ends_with("\r\n");
        if (is_crlf) {
            crlf_.seen(line, line.raw.size() - 2);
        }
        if (line.number == 1) {
            encoding_ = line.raw.size() < kTellingBytes
                            ? encoding_of_file(check_.root() + check_.log().files[line.file].path)
                            : encoding_of_text(line.raw);
        }
        if (encoding_ == Encoding::plain && line.step != dfd::watch::Step::comment &&
            is_cut_by_zero(check_, line)) {
            zeros_.seen(line, line.raw.size());
        }
        const std::size_t tab = line.raw.find('\t');
        if (tab != std::string::npos && line.step == Step::stored) {
            tabs_.seen(line, tab);
        }
    }

    void report() {
        if (last_ == nullptr) {
            return;
        }
        if (crlf_.first != nullptr) {
            check_.at_byte("crlf", *crlf_.first, crlf_.byte,
                           fmt::format("{} of this file end with a carriage return; the library "
                                       "deletes it, other tools may not",
                                       crlf_.count()));
        }
        if (tabs_.first != nullptr) {
            check_.at_byte("tab", *tabs_.first, tabs_.byte,
                           fmt::format("tabs in {} of this file: not deleted as spaces are, only "
                                       "harmless behind names and around values; use spaces",
                                       tabs_.count()));
        }
        if (zeros_.first != nullptr) {
            check_.at_byte("unprintable", *zeros_.first, zeros_.byte,
                           zeros_.lines == 1
                               ? "a zero byte: the library does not see the rest of this line"
                               : fmt::format("zero bytes in {} of this file: the library does not "
                                             "see the rest of such a line",
                                             zeros_.count()));
        }
        if (!last_->raw.ends_with('\n') && encoding_ != Encoding::utf16) {
            check_.at_byte("no-final-newline", *last_, last_->raw.size(),
                           "the last line has no line end: it counts, but a line appended to the "
                           "file will be joined to it");
        }
        crlf_ = {};
        tabs_ = {};
        zeros_ = {};
        last_ = nullptr;
    }

    /// Of the file of the last line seen.
    Encoding encoding() const { return encoding_; }

  private:
    Check &check_;
    Habit crlf_;
    Habit tabs_;
    Habit zeros_;
    Encoding encoding_ = Encoding::plain;
    const SourceLine *last_ = nullptr;
};

/// A stored line that is nothing but "name=value", as most are, neither the first of its file nor a
/// part of a longer one.
bool is_plain(const SourceLine &line) {
    const std::string_view raw = line.raw;
    const std::size_t equals = line.name.size();
    const std::size_t end = equals + 1 + line.value.size();
    return line.step == Step::stored && line.number != 1 && !line.is_rest() &&
           raw.size() == end + 1 && raw[end] == '\n' && raw[equals] == '=' &&
           kPlainBytes.first_not_in(raw.substr(0, equals)) == equals &&
           kPlainBytes.first_not_in(raw.substr(equals + 1)) == line.value.size();
}

/// False when the line needs no further judgement.
bool check_bytes(Check &check, const SourceLine &line, Encoding encoding) {
    if (line.number == 1 && encoding != Encoding::plain) {
        check.at_byte("byte-order-mark", line, 0, fmt::format("the file {}", flaw_of(encoding)));
        return false;
    }
    if (!check_length(check, line)) {
        return false;
    }
    if (line.step == Step::comment) {
        return true;
    }
    check_odd_bytes(check, line);
    return true;
}

}  // namespace

Encoding encoding_of_file(const std::string &path) {
    std::array<char, kTellingBytes> begin = {};
    std::ifstream file(path, std::ios::binary);
    file.read(begin.data(), begin.size());
    return encoding_of_text({begin.data(), static_cast<std::size_t>(file.gcount())});
}

std::string_view flaw_of(Encoding encoding) {
    switch (encoding) {
        case Encoding::utf8_marked:
            return "begins with a byte order mark, which is part of its first line to the library; "
                   "save it without";
        case Encoding::utf16:
            return "is UTF-16 text, of which the library sees next to nothing; save it as plain "
                   "ASCII";
        case Encoding::plain:
            break;
    }
    return "";
}

std::string_view without_end(std::string_view text) {
    while (!text.empty() && kBlank.has(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

std::string loss(const Check &check, const SourceLine &line) {
    const bool is_listed = check.log().files[line.file].role == FileRole::listed;
    return is_listed ? "the library stops here: the rest of this file and all files that the list "
                       "names behind it are lost"
                     : "the library stops here: the rest of this file is lost";
}

void check_lines(Check &check) {
    FileHabits habits(check);
    for (const SourceLine &line : check.log().lines) {
        if (is_plain(line)) {
            habits.seen_plain(line);
            check_plain_name(check, line);
            check_plain_value(check, line);
            continue;
        }
        habits.seen(line);
        if (line.is_rest() || !check_bytes(check, line, habits.encoding())) {
            continue;
        }
        check_name(check, line);
        if (line.step == Step::stored || line.step == Step::not_stored) {
            check_value(check, line);
        }
    }
    habits.report();
}

}  // namespace dfdctl::lint
