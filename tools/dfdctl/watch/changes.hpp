// SPDX-License-Identifier: MIT
// What differs from the text before.
#pragma once

#include <string>
#include <vector>

namespace dfdctl::watch {

enum class Style { reverse, star };

/// A cell is what stands between gaps of two blanks. Lines are compared with the line before that
/// has most of the first cells in common, below the same heading: rows may move.
class Changes {
  public:
    explicit Changes(Style style) : style_(style) {}

    /// The lines with what is new or different marked; the first time nothing is.
    std::vector<std::string> marked(const std::vector<std::string> &lines);
    /// The next lines are the first ones again.
    void forget() { before_.clear(); }

  private:
    struct Line {
        std::string heading;
        std::string text;
        std::vector<std::string> cells;
    };

    static std::vector<Line> split(const std::vector<std::string> &lines);
    const Line *line_before(const Line &line) const;
    std::string marked(const Line &line) const;

    Style style_;
    std::vector<Line> before_;
};

}  // namespace dfdctl::watch
