// SPDX-License-Identifier: MIT
// What each function of the library makes of each unit of a board, observed with answered buses.
#pragma once

#include <optional>

#include "dfdctl/observe/board_use.hpp"

namespace dfdctl::coverage {

enum class State : std::uint8_t {
    answers,
    standard,        ///< answers, but with the library's own value: nothing is configured
    not_configured,  ///< says so, or misses an item
    unusable         ///< an item is there that the engine or the function does not take
};

/// Why an item is of no use to a function.
struct Refusal {
    std::uint32_t key;
    int code;
    int member;  ///< that it is about; dfd::watch::kNoMember: all of it
    std::string reason;

    bool operator==(const Refusal &) const = default;
};

/// In the place of the own slot where neither the configuration nor the caller says its number.
inline constexpr std::uint32_t kOwnSlot = UINT32_MAX;

/// One function with one set of arguments.
struct Cell {
    const observe::Call *call;
    observe::Args args;
    State state;
    int result;                           ///< of the run that went deepest
    std::vector<std::string> missing;     ///< items and lists that it asked for in vain
    std::optional<Refusal> refusal = {};  ///< of an unusable one
    observe::Observation pass = {};       ///< that run, of a getter that monitoring software polls
};

/// `given`: what items read, before all that is tried.
std::vector<Cell> survey(const observe::Observer &observer, const observe::Units &units,
                         const observe::Answers &given);

/// Words for the report: "ok", "default", "not configured", "unusable".
std::string_view state_word(State state);

}  // namespace dfdctl::coverage
