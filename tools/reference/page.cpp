// SPDX-License-Identifier: MIT
#include "reference/page.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>

namespace reference {

namespace {

constexpr std::string_view kBegin = "<!-- begin generated ";
constexpr std::string_view kMarkerEnd = " -->";
constexpr std::string_view kEnd = "<!-- end generated -->";

std::vector<std::string> words_of(const std::string &text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

Block parse_marker(const Page &page, std::size_t line) {
    std::string marker = page.lines()[line];
    if (!marker.ends_with(kMarkerEnd)) {
        throw page.error(line, "the marker does not end in \"-->\"");
    }
    marker = marker.substr(kBegin.size(), marker.size() - kBegin.size() - kMarkerEnd.size());
    const std::size_t colon = marker.find(':');
    const std::string words = colon == std::string::npos ? "" : marker.substr(colon + 1);
    return {line, marker.substr(0, colon), words_of(words)};
}

}  // namespace

Page::Page(const std::filesystem::path &path) : path_(path), name_(path.stem()) {
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        lines_.push_back(line);
    }
    for (std::size_t line = 0; line < lines_.size(); ++line) {
        if (is_begin(line)) {
            blocks_.push_back(parse_marker(*this, line));
            line = end_of(line);
        }
    }
}

PageError Page::error(std::size_t line, const std::string &text) const {
    return PageError(fmt::format("{}:{}: {}", path_.string(), line + 1, text));
}

bool Page::is_begin(std::size_t line) const {
    return lines_[line].starts_with(kBegin);
}

std::size_t Page::end_of(std::size_t begin) const {
    for (std::size_t line = begin + 1; line < lines_.size() && !is_begin(line); ++line) {
        if (lines_[line] == kEnd) {
            return line;
        }
    }
    throw error(begin, fmt::format("no \"{}\" behind this marker", kEnd));
}

std::string Page::filled(const std::function<std::string(const Block &)> &content) const {
    std::string text;
    auto block = blocks_.begin();
    for (std::size_t line = 0; line < lines_.size(); ++line) {
        text += lines_[line] + '\n';
        if (block != blocks_.end() && block->line == line) {
            text += content(*block++);
            line = end_of(line);
            text += lines_[line] + '\n';
        }
    }
    return text;
}

std::string Page::text() const {
    std::string text;
    for (const std::string &line : lines_) {
        text += line + '\n';
    }
    return text;
}

void Page::write(const std::string &text) const {
    std::ofstream file(path_);
    file << text;
    if (!file.flush()) {
        throw PageError(path_.string() + ": cannot be written");
    }
}

std::vector<Page> read_pages(const std::filesystem::path &directory) {
    std::vector<std::filesystem::path> paths;
    for (const auto &entry : std::filesystem::directory_iterator(directory)) {
        if (entry.path().extension() == ".md") {
            paths.push_back(entry.path());
        }
    }
    std::sort(paths.begin(), paths.end());
    return {paths.begin(), paths.end()};
}

}  // namespace reference
