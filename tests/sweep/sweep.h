// SPDX-License-Identifier: MIT
// Runs a call once, then once for every fault at every position, and judges each run.
#pragma once

#include <cstddef>
#include <set>
#include <string>
#include <vector>

#include "sweep/board.h"

namespace sweep_test {

struct Counts {
    std::size_t functions = 0;
    std::size_t calls = 0;  // functions with arguments
    std::size_t positions = 0;
    std::size_t faults = 0;  // runs with a fault
};

// Whether nothing is left out: DFD_SWEEP=whole in the environment.
bool is_whole();

// All faults that the call at this position may meet.
std::vector<dfd_test::CallFault> faults_at(std::size_t at, const dfd_test::MadeCall &call);

// "Sweep of BOARD: ..." on standard output.
void print_counts(const std::string &what, const Counts &counts);

// What tells the calls of a board apart: their function, their kinds of accesses and their outcome.
std::set<std::string> shapes_of(Board &board, dfd_test::Positions positions);

// Every function of the board at every position; of calls with one shape, or with one of `swept`,
// which another board has had, only the whole sweep tries more than the first.
Counts sweep(Board &board, dfd_test::Positions positions, std::set<std::string> swept = {});

}  // namespace sweep_test
