// SPDX-License-Identifier: MIT
// An example board on its virtual chassis, started, and every call that reads it or sets something.
#pragma once

#include <string>
#include <vector>

#include "dfdctl/observe/frame.hpp"
#include "vchassis/chassis.h"

namespace dfd_check {

struct Asked {
    const dfdctl::observe::Call *call;
    dfdctl::observe::Args args;

    int run() const { return dfdctl::observe::Frame(*call, args).run(); }
};

class Board {
  public:
    explicit Board(const std::string &directory);

    // Of getters alone, or of setters and controls as well.
    std::vector<Asked> calls(bool only_getters) const;

    vchassis::Chassis chassis;

  private:
    std::vector<Asked> calls_;
};

}  // namespace dfd_check
