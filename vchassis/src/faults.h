// SPDX-License-Identifier: MIT
// Faults waiting for the accesses they match.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "vchassis/chassis.h"

namespace vchassis {

class Faults {
  public:
    void add(const Fault &fault) { waiting_.push_back(fault); }
    void clear() { waiting_.clear(); }

    // The fault that hits this access, counted down.
    std::optional<Fault> take(Op op, const std::string &path, int addr = -1,
                              std::int64_t offset = -1);

  private:
    std::vector<Fault> waiting_;
};

}  // namespace vchassis
