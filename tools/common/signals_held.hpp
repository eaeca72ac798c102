// SPDX-License-Identifier: MIT
#pragma once

#include <csignal>
#include <string>

namespace dfd_tools {

/// Between the first and the last step of something that must not stop half-way: signals that would
/// end or stop the program (INT, TERM, HUP, QUIT, TSTP, and PIPE of an output that ended) wait
/// while it lives. They take effect at its end, so what is to be said must be said before.
class SignalsHeld {
  public:
    SignalsHeld();
    ~SignalsHeld();
    SignalsHeld(const SignalsHeld &) = delete;
    SignalsHeld &operator=(const SignalsHeld &) = delete;

    /// Names of those that came meanwhile, "HUP, TERM"; empty when none did.
    std::string waiting() const;

  private:
    sigset_t before_;
};

}  // namespace dfd_tools
