// SPDX-License-Identifier: MIT
#include "dfdctl/watch/changes.hpp"

#include <algorithm>

namespace dfdctl::watch {

namespace {

constexpr std::string_view kGap = "  ";
constexpr std::string_view kReverse = "\033[7m";
constexpr std::string_view kPlain = "\033[0m";

std::vector<std::string> cells_of(const std::string &text) {
    std::vector<std::string> cells;
    for (std::size_t at = text.find_first_not_of(' '); at < text.size();) {
        const std::size_t end = std::min(text.find(kGap, at), text.size());
        cells.push_back(text.substr(at, end - at));
        at = std::min(text.find_first_not_of(' ', end), text.size());
    }
    return cells;
}

std::size_t common_cells(const std::vector<std::string> &one,
                         const std::vector<std::string> &other) {
    const auto [end, unused] = std::mismatch(one.begin(), one.end(), other.begin(), other.end());
    return static_cast<std::size_t>(end - one.begin());
}

}  // namespace

std::vector<Changes::Line> Changes::split(const std::vector<std::string> &lines) {
    std::vector<Line> split;
    std::string heading;
    for (const std::string &text : lines) {
        const bool is_heading = !text.empty() && text.front() != ' ';
        split.push_back({is_heading ? std::string() : heading, text, cells_of(text)});
        heading = is_heading ? text : heading;
    }
    return split;
}

const Changes::Line *Changes::line_before(const Line &line) const {
    const Line *best = nullptr;
    std::size_t most = 0;
    for (const Line &before : before_) {
        if (before.text == line.text) {
            return &before;
        }
        const std::size_t common =
            before.heading == line.heading ? common_cells(line.cells, before.cells) : 0;
        if (common > most) {
            most = common;
            best = &before;
        }
    }
    return best;
}

std::string Changes::marked(const Line &line) const {
    const Line *before = line_before(line);
    std::string text = line.text;
    std::size_t at = 0;
    for (std::size_t i = 0; i < line.cells.size(); ++i) {
        const std::string &cell = line.cells[i];
        at = text.find(cell, at);
        if (before != nullptr && i < before->cells.size() && before->cells[i] == cell) {
            at += cell.size();
        } else if (style_ == Style::star) {
            // In the place of a blank of the gap.
            at += cell.size();
            text.replace(at, at < text.size() ? 1 : 0, "*");
            ++at;
        } else {
            text.insert(at, kReverse);
            at += kReverse.size() + cell.size();
            text.insert(at, kPlain);
            at += kPlain.size();
        }
    }
    return text;
}

std::vector<std::string> Changes::marked(const std::vector<std::string> &lines) {
    std::vector<Line> now = split(lines);
    std::vector<std::string> texts = lines;
    if (!before_.empty()) {
        std::ranges::transform(now, texts.begin(), [&](const Line &line) { return marked(line); });
    }
    before_ = std::move(now);
    return texts;
}

}  // namespace dfdctl::watch
