// SPDX-License-Identifier: MIT
// Pages of the configuration reference: text written by hand around blocks that are generated.
//
//   <!-- begin generated NAME: WORD ... -->
//   replaced
//   <!-- end generated -->
#pragma once

#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace reference {

/// A page that cannot be generated; what() begins with FILE:LINE.
struct PageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Block {
    std::size_t line;  ///< of the begin marker, from 0
    std::string name;
    std::vector<std::string> words;
};

class Page {
  public:
    explicit Page(const std::filesystem::path &path);

    const std::string &name() const { return name_; }
    const std::vector<std::string> &lines() const { return lines_; }
    const std::vector<Block> &blocks() const { return blocks_; }
    /// "docs/configuration/fans.md:7: ...", for a line counted from 0.
    PageError error(std::size_t line, const std::string &text) const;

    /// The page with every block filled with what `content` makes of it.
    std::string filled(const std::function<std::string(const Block &)> &content) const;
    std::string text() const;
    void write(const std::string &text) const;

  private:
    bool is_begin(std::size_t line) const;
    std::size_t end_of(std::size_t begin) const;

    std::filesystem::path path_;
    std::string name_;  ///< without directory and ".md"
    std::vector<std::string> lines_;
    std::vector<Block> blocks_;
};

/// All pages of a directory by name.
std::vector<Page> read_pages(const std::filesystem::path &directory);

}  // namespace reference
