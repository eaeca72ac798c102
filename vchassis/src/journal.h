// SPDX-License-Identifier: MIT
// Where accesses are written down: the log of a test, the trace of a command.
#pragma once

#include <vector>

#include "vchassis/chassis.h"

namespace vchassis {

class Journal {
  public:
    void keep_log() { keep_log_ = true; }
    // Takes over the descriptor for the life of the process.
    void trace_to(int fd) { trace_fd_ = fd; }

    void record(Event event);
    const std::vector<Event> &log() const { return log_; }
    void clear() { log_.clear(); }

  private:
    bool keep_log_ = false;
    int trace_fd_ = -1;
    std::vector<Event> log_;
};

}  // namespace vchassis
