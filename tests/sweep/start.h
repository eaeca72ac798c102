// SPDX-License-Identifier: MIT
// The start-up of a board, from a library that knows nothing.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "support/libc_calls.h"
#include "vchassis/chassis.h"

namespace sweep_test {

struct Start {
    int result = 0;
    std::vector<dfd_test::MadeCall> made = {};
    std::vector<std::string> wrong = {};
    long blocks_kept = 0;
    long blocks_in_use = 0;                           // of the store and the conversion lists
    std::map<std::uint32_t, std::string> items = {};  // by key, the records as bytes
    std::size_t conversions = 0;
};

class StartingBoard {
  public:
    explicit StartingBoard(const std::string &name);
    ~StartingBoard();
    StartingBoard(const StartingBoard &) = delete;
    StartingBoard &operator=(const StartingBoard &) = delete;

    // From a library that knows nothing.
    Start start(dfd_test::Positions positions, std::optional<dfd_test::CallFault> fault = {});
    // Once more: with what the start before found out of the board, but without its items.
    Start start_again();

  private:
    Start run(dfd_test::Positions positions, std::optional<dfd_test::CallFault> fault);

    vchassis::Chassis chassis_;
};

}  // namespace sweep_test
