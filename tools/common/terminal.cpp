// SPDX-License-Identifier: MIT
#include "common/terminal.hpp"

#include <unistd.h>

#include <algorithm>
#include <iterator>

#include "common/text.hpp"

namespace dfd_tools {

namespace {

bool is_continuation(char byte) {
    constexpr unsigned kMask = 0xC0;
    constexpr unsigned kContinuation = 0x80;
    return (static_cast<unsigned char>(byte) & kMask) == kContinuation;
}

/// Bytes of what begins here: a colour, or a byte.
std::size_t size_at(std::string_view text, std::size_t at) {
    for (const std::string_view colour : {kRed, kPlain}) {
        if (text.substr(at).starts_with(colour)) {
            return colour.size();
        }
    }
    return 1;
}

/// Where a line that is too long ends: at a blank, else behind a sign that parts words.
std::size_t end_of_line(std::string_view text, std::size_t room) {
    const std::size_t limit = offset_of(text, room);
    const std::size_t begin = text.find_first_not_of(' ');
    if (const std::size_t blank = text.rfind(' ', limit);
        blank != std::string_view::npos && blank > begin) {
        return blank;
    }
    const std::size_t sign = text.find_last_of("/,;=|", limit - 1);
    return sign != std::string_view::npos && sign > begin ? sign + 1 : limit;
}

}  // namespace

std::size_t offset_of(std::string_view text, std::size_t column) {
    std::size_t at = 0;
    for (std::size_t seen = 0; at < text.size();) {
        const std::size_t size = size_at(text, at);
        if (size == 1 && !is_continuation(text[at]) && seen++ == column) {
            break;
        }
        at += size;
    }
    return at;
}

std::size_t columns_of(std::string_view text) {
    std::size_t columns = 0;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t size = size_at(text, at);
        columns += size == 1 && !is_continuation(text[at]) ? 1 : 0;
        at += size;
    }
    return columns;
}

std::string trimmed(std::string line) {
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

std::vector<std::string> wrapped(std::string text, std::size_t room, std::size_t indent) {
    const std::string margin(std::min(indent, room / 2), ' ');
    std::vector<std::string> lines;
    while (columns_of(text) > room) {
        const std::size_t end = end_of_line(text, room);
        const std::size_t next = std::min(text.find_first_not_of(' ', end), text.size());
        lines.push_back(trimmed(text.substr(0, end)));
        text = margin + text.substr(next);
    }
    lines.push_back(trimmed(std::move(text)));
    return lines;
}

std::vector<std::string> wrapped_lines(const std::string &text, std::size_t room,
                                       std::size_t indent) {
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        std::ranges::move(wrapped(text.substr(at, end - at), room, indent),
                          std::back_inserter(lines));
        at = end + 1;
    }
    return lines;
}

winsize terminal_size(std::FILE *out) {
    winsize size = {};
    return ioctl(fileno(out), TIOCGWINSZ, &size) == 0 ? size : winsize{};
}

std::size_t width_on(std::FILE *out, std::size_t asked) {
    const std::size_t terminal = terminal_size(out).ws_col;
    return asked != 0 ? asked : terminal != 0 ? terminal : kUsualWidth;
}

std::size_t message_width(std::size_t asked) {
    return isatty(STDERR_FILENO) != 0 ? width_on(stderr, asked) : kNoLimit;
}

void put_message(const std::string &text, std::size_t width, const char *end) {
    constexpr std::size_t kFurtherLines = 4;
    std::fputs((joined(wrapped_lines(text, width, kFurtherLines), "\n") + end).c_str(), stderr);
    std::fflush(stderr);
}

}  // namespace dfd_tools
