// SPDX-License-Identifier: MIT
// Text that fits the terminal.
#pragma once

#include <sys/ioctl.h>

#include <cstddef>
#include <cstdio>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace dfd_tools {

inline constexpr std::size_t kUsualWidth = 80;  ///< where no terminal tells another one
inline constexpr std::size_t kNoLimit = std::numeric_limits<std::size_t>::max();

inline constexpr std::string_view kRed = "\x1b[31m";
inline constexpr std::string_view kPlain = "\x1b[0m";

/// Columns that a text takes: one for each character of UTF-8, none for a colour.
std::size_t columns_of(std::string_view text);
/// Where the character in this column begins.
std::size_t offset_of(std::string_view text, std::size_t column);
/// Without the blanks at its end.
std::string trimmed(std::string line);
/// The text in lines of at most `room` columns, broken between words, all but the first indented.
/// A word that is longer is broken behind a sign such as '/', or anywhere.
std::vector<std::string> wrapped(std::string text, std::size_t room, std::size_t indent);
/// The same for text that has lines already.
std::vector<std::string> wrapped_lines(const std::string &text, std::size_t room,
                                       std::size_t indent);

/// Zeros where nothing tells it.
winsize terminal_size(std::FILE *out);
/// Columns of text: those asked for; 0: those of the terminal behind `out`, else the usual ones.
std::size_t width_on(std::FILE *out, std::size_t asked);
/// Columns of messages on standard error: those of the terminal there, or the width asked for. In a
/// file or a pipe a message has no limit: a search by line finds all of it.
std::size_t message_width(std::size_t asked = 0);
/// A message on standard error, which a terminal that has gone does not stop.
void put_message(const std::string &text, std::size_t width, const char *end = "\n");

}  // namespace dfd_tools
