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

void print_page(std::FILE *out, const BoardPage &page);
void print_page_json(std::FILE *out, const BoardPage &page);

}  // namespace dfdctl
