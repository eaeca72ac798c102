// SPDX-License-Identifier: MIT
// What the library's functions make of the items of the loaded board, as observed.
#pragma once

#include <cstdint>
#include <set>
#include <span>

#include "dfdctl/observe/board_use.hpp"

namespace dfdctl::lint {

class Uses {
  public:
    /// Calls every getter, setter and control of the library with every unit of the board; nothing
    /// outside is touched.
    explicit Uses(const StartupLog &log);

    /// Some function writes items of this type, or reads them.
    bool is_written(std::uint32_t type) const { return written_.contains(type); }
    bool is_read(std::uint32_t type) const { return read_.contains(type); }
    /// What each function makes of an item; nothing for one that no function asks for.
    std::span<const observe::Use> of(std::uint32_t key) const;
    /// Items of the type are searched as a list.
    bool is_list(std::uint32_t type) const { return board_.lists.contains(type); }

  private:
    observe::BoardUse board_;
    std::set<std::uint32_t> written_;
    std::set<std::uint32_t> read_;
};

}  // namespace dfdctl::lint
