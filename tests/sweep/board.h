// SPDX-License-Identifier: MIT
// An example board, started on its virtual chassis, and the calls that it gives arguments to.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "dfdctl/board/load_record.hpp"
#include "dfdctl/board/offline.hpp"
#include "dfdctl/observe/frame.hpp"
#include "dfdctl/observe/units.hpp"
#include "support/libc_calls.h"
#include "vchassis/chassis.h"

namespace sweep_test {

using dfdctl::observe::Args;
using dfdctl::observe::Call;

// A call of one function, by the table of calls.
struct Asked {
    const Call *call;
    Args args;
    std::string base = {};  // function that the name passes through to, or the name itself

    std::string text() const { return dfdctl::observe::text_of(*call, args); }
};

// What became of it.
struct Answer {
    int result = 0;
    std::vector<dfdctl::observe::Output> before = {};  // what the outputs held
    std::vector<dfdctl::observe::Output> outputs = {};
    std::vector<dfd_test::MadeCall> made = {};
    std::vector<std::string> wrong = {};
    long blocks_kept = 0;
};

class Board {
  public:
    // Starts the library. What it has found out about the board it forgets again: every call has to
    // find it anew.
    explicit Board(const std::string &name);

    // Each function with the arguments that the board has for it.
    std::vector<Asked> asked() const;

    // Devices and library as they were after the start.
    void restore();
    void restore_devices() { chassis_.reset(); }
    // Whether the library remembers nothing of what was called since.
    bool is_as_started() const;

    Answer call(const Asked &asked, dfd_test::Positions positions,
                std::optional<dfd_test::CallFault> fault = {});

    const std::string &name() const { return name_; }

  private:
    using Bytes = std::vector<std::byte>;
    std::string name_;
    vchassis::Chassis chassis_;
    dfdctl::LoadRecord record_;
    std::optional<dfdctl::observe::Units> units_;
    Bytes started_;
};

}  // namespace sweep_test
