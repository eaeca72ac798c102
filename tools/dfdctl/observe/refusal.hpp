// SPDX-License-Identifier: MIT
// Why the engine refuses an item, in words.
#pragma once

#include <optional>
#include <string>

#include "dfdctl/board/load_record.hpp"

namespace dfdctl::observe {

struct Reason {
    CtrlMember member;  ///< that it is about
    std::string text;   ///< ".len is '40', but a number has 1 to 31 bytes"
};

/// Nothing where the description is not the cause.
std::optional<Reason> reason_of(const LoadRecord &log, const Item &item,
                                dfd::watch::Refusal refusal);

}  // namespace dfdctl::observe
