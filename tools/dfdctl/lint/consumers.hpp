// SPDX-License-Identifier: MIT
// Why the engine refuses an item, and what the functions make of those that it takes.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>

#include "dfdctl/lint/survey.hpp"

namespace dfdctl::lint {

struct Refusal {
    CtrlMember member;  ///< that it is about
    std::string text;   ///< ".len is '40', but a number has 1 to 31 bytes"
};

/// In words, from the message that the engine logged; nothing where it is not about the
/// description.
std::optional<Refusal> explain_refusal(const Check &check, const Item &item,
                                       const std::string &message);

/// Items against the functions that use them; `refused` are those that the engine never takes.
void check_consumers(Check &check, const std::set<std::uint32_t> &refused);
/// Items that no function asks for, where nothing else is said of them.
void check_unasked(Check &check);

}  // namespace dfdctl::lint
