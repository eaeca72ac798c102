// SPDX-License-Identifier: MIT
// The library's write to an I2C device is two messages, the second with I2C_M_NOSTART. Adapters
// that do not know the flag report success and put the data at a wrong register. So every command
// that makes the library write asks here first.
#pragma once

#include <string>
#include <vector>

#include "dfdctl/board/load_record.hpp"

namespace dfdctl {

/// Why the library must not write over this bus device; empty where it may, or where the bus cannot
/// be asked: a write fails then by itself.
std::string write_obstacle(const std::string &device);

/// Throws UsageError when the library would write this item over such a bus.
void check_bus_of(const Item &item, bool force);

/// While it lives, writes of the library over such buses fail, whichever function makes them, and
/// standard error says once why.
class BusWriteGuard {
  public:
    explicit BusWriteGuard(const bool &force);
    ~BusWriteGuard() { current_ = nullptr; }
    BusWriteGuard(const BusWriteGuard &) = delete;
    BusWriteGuard &operator=(const BusWriteGuard &) = delete;

    bool has_refused() const { return has_refused_; }

    /// For hooks that stand in place of the guard's: whether this transfer is refused, with
    /// *result.
    static bool refuses(const dfd::watch::Transfer &transfer, int *result);
    /// Nobody but the guard answers the library.
    static bool is_alone() { return current_ != nullptr && dfd::watch::hooks == &current_->hooks_; }

  private:
    bool answer(const dfd::watch::Transfer &transfer, int *result);

    static BusWriteGuard *current_;

    dfd::watch::Hooks hooks_;
    const bool &force_;
    bool has_refused_ = false;
    Watching watching_;
};

/// A bus that functions of the library write over on this board.
struct WrittenBus {
    std::string device;
    std::string item;      ///< the first that is written over it
    std::string obstacle;  ///< as write_obstacle tells
};

/// All of them, by device.
std::vector<WrittenBus> written_buses(const LoadRecord &record);

}  // namespace dfdctl
