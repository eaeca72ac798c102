// SPDX-License-Identifier: MIT
// What the library's functions make of the items of the loaded board, as observed.
#pragma once

#include <cstdint>
#include <set>
#include <span>

#include "dfdctl/board/in_order.hpp"
#include "dfdctl/observe/board_use.hpp"

namespace dfdctl::lint {

class Uses {
  public:
    /// Calls every getter, setter and control of the library with every unit of the board; nothing
    /// outside is touched.
    explicit Uses(const LoadRecord &log);

    /// Some function asks for items of this type, configured or not.
    bool is_asked(std::uint32_t type) const { return asked_.contains(type); }
    /// Some function writes items of this type.
    bool is_written(std::uint32_t type) const { return written_.contains(type); }
    /// What each function makes of an item; nothing for one that no function asks for.
    std::span<const observe::Use> of(std::uint32_t key) const;
    /// Items of the type are searched as a list.
    bool is_list(std::uint32_t type) const { return board_.lists.contains(type); }

  private:
    observe::BoardUse board_;
    mutable InOrder<const decltype(board_.keys)> keys_{board_.keys};
    std::set<std::uint32_t> asked_;
    std::set<std::uint32_t> written_;
};

inline bool is_write(const observe::Use &use) {
    return use.is_read && use.op == dfd::watch::Op::set_int;
}
/// Through the engine; otherwise only the record was looked at, or it is written.
inline bool is_read(const observe::Use &use) {
    return use.is_read && use.op != dfd::watch::Op::set_int;
}

}  // namespace dfdctl::lint
