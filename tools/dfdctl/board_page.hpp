// SPDX-License-Identifier: MIT
// Everything that `show board` shows, and its two forms.
#pragma once

#include <cstdio>
#include <optional>
#include <vector>

#include "dfdctl/board.hpp"
#include "dfdctl/startup.hpp"

namespace dfdctl {

struct Sample {
    Item item;
    Reading reading;
};

struct BoardPage {
    Library library;
    TypeFound board;
    TypeFound chassis;
    std::optional<int> slot;
    std::optional<int> sub_slot;
    std::vector<Unit> units;
    std::vector<Backplane> backplanes;
    std::vector<Sample> samples;
};

BoardPage read_board_page(const Options &options);
void print_page(std::FILE *out, const BoardPage &page);
nlohmann::ordered_json board_json(const BoardPage &page);
int exit_of_page(const BoardPage &page);
/// Says on standard error why the library did not start, where it did not.
void report_start(const BoardPage &page);

}  // namespace dfdctl
