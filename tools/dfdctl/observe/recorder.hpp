// SPDX-License-Identifier: MIT
// The hooks that fill an observation.
#pragma once

#include <cstdio>

#include "dfdctl/board/log_capture.hpp"
#include "dfdctl/observe/observer.hpp"

namespace dfdctl::observe {

class Recorder {
  public:
    Recorder(const Answers &answers, const Plausible &plausible, const LogCapture *log);

    const dfd::watch::Hooks &hooks() const { return hooks_; }
    Observation take() { return std::move(seen_); }

  private:
    /// False when there is no room for it.
    bool add(Event &&event);
    void fold();
    bool fold_period(std::size_t period);
    void engine_end(const dfd::watch::EngineCall &call, int result, std::uint32_t value);
    void transferred(const dfd::watch::Transfer &transfer, int result,
                     const dfd::watch::Failure &failure);

    static Recorder &self(void *context) { return *static_cast<Recorder *>(context); }

    dfd::watch::Hooks hooks_;
    Answerer answerer_;
    bool makes_pauses_;
    const LogCapture *log_;
    Observation seen_;
    int engine_ = kOutside;
    std::size_t log_at_ = 0;
};

}  // namespace dfdctl::observe
