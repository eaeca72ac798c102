// SPDX-License-Identifier: MIT
#include "dfdctl/explain/layout.hpp"

#include <algorithm>

#include "dfdctl/board/describe.hpp"
#include "dfdctl/board/facts.hpp"
#include "dfdctl/output.hpp"

#include <fmt/format.h>

namespace dfdctl::explain {

namespace {

constexpr std::size_t kIndent = 4;
constexpr std::size_t kLabel = 9;

std::vector<std::string> words_of(const std::string &text) {
    std::vector<std::string> words;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find(' ', at), text.size());
        words.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return words;
}

/// "mode=config cm8_fans.cfg:41,", then ":42" while the file stays the same.
std::vector<std::string> line_pieces(const std::vector<MemberLine> &lines) {
    std::vector<std::string> pieces;
    std::string file;
    for (const MemberLine &line : lines) {
        const std::size_t colon = line.place.rfind(':');
        const bool same_file = line.place.substr(0, colon) == file;
        file = line.place.substr(0, colon);
        std::string piece =
            line.member.empty() ? "" : fmt::format("{}={} ", line.member, line.value);
        piece += same_file ? line.place.substr(colon) : line.place;
        if (!line.replaced.empty()) {
            piece += fmt::format(" (replaces {})", joined(line.replaced, ", then "));
        }
        pieces.push_back(piece + (&line == &lines.back() ? "" : ","));
    }
    return pieces;
}

}  // namespace

void print_pieces(std::FILE *out, std::string_view label, const std::vector<std::string> &pieces) {
    dfdctl::print_pieces(out, fmt::format("{:{}}{:<{}}", "", kIndent, label, kLabel), pieces);
}

void print_text(std::FILE *out, std::string_view label, const std::string &text) {
    print_pieces(out, label, words_of(text));
}

std::string_view unit_of(const Item &item) {
    return item.type->kind == Kind::integer ? facts_of(item.type->type).unit : std::string_view();
}

void print_description(std::FILE *out, const Item &item, const LoadRecord &loaded) {
    const std::string description = describe(item);
    const bool is_value = item.type->kind == Kind::integer || item.type->kind == Kind::text;
    const std::string_view unit = unit_of(item);
    print_text(out, is_value ? "value" : "says",
               description.empty()
                   ? "not configured"
                   : fmt::format("{}{}{}", description, unit.empty() ? "" : " ", unit));
    const std::vector<MemberLine> lines = member_lines(item, loaded);
    if (!lines.empty()) {
        print_pieces(out, "set by", line_pieces(lines));
    }
}

}  // namespace dfdctl::explain
