// SPDX-License-Identifier: MIT
#include "dfdctl/lint/uses.hpp"

#include <dfd/keys.h>
#include <algorithm>

#include "dfdctl/lint/lint.hpp"

namespace dfdctl::lint {

namespace {

observe::BoardUse observe_board(const LoadRecord &log) {
    const observe::Observer observer(log);
    return observe::observe_board(observer, observe::Units(log));
}

}  // namespace

Uses::Uses(const LoadRecord &log) : board_(observe_board(log)) {
    for (const auto &[key, uses] : board_.keys) {
        asked_.insert(DFD_KEY_TYPE(key));
        if (std::ranges::any_of(uses, is_write)) {
            written_.insert(DFD_KEY_TYPE(key));
        }
    }
}

const Uses &Check::uses() const {
    if (uses_ == nullptr) {
        uses_ = std::make_shared<const Uses>(log_);
    }
    return *uses_;
}

std::span<const observe::Use> Uses::of(std::uint32_t key) const {
    const auto found = keys_.find(key);
    return found != board_.keys.end() ? found->second : std::span<const observe::Use>();
}

}  // namespace dfdctl::lint
