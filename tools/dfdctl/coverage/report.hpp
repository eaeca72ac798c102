// SPDX-License-Identifier: MIT
// What dfdctl coverage says of a board, as text and JSON.
#pragma once

#include <cstdio>

#include "dfdctl/board/find_boards.hpp"
#include "dfdctl/coverage/cost.hpp"
#include "dfdctl/coverage/require.hpp"
#include "dfdctl/coverage/survey.hpp"

namespace dfdctl::coverage {

struct Report {
    BoardPlace place;
    std::optional<int> chassis_type;  ///< unset: there is no chassis file
    LoadRecord record = {};
    std::vector<Cell> cells = {};
    Cost cost = {};
    std::uint32_t i2c_khz = 0;
    std::optional<Demand> demand;
    Gaps gaps = {};

    std::size_t count(State state) const;
};

/// `all`: also rows of functions nothing of which is configured.
void print_text(std::FILE *out, const Report &report, bool all);

void print_json(std::FILE *out, const std::vector<Report> &reports);

}  // namespace dfdctl::coverage
