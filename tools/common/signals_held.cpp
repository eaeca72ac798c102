// SPDX-License-Identifier: MIT
#include "common/signals_held.hpp"

namespace dfd_tools {

namespace {

constexpr struct {
    int number;
    const char *name;
} kHeld[] = {{SIGINT, "INT"},   {SIGTERM, "TERM"}, {SIGHUP, "HUP"},
             {SIGQUIT, "QUIT"}, {SIGTSTP, "TSTP"}, {SIGPIPE, "PIPE"}};

}  // namespace

SignalsHeld::SignalsHeld() {
    sigset_t held;
    sigemptyset(&held);
    for (const auto &signal : kHeld) {
        sigaddset(&held, signal.number);
    }
    sigprocmask(SIG_BLOCK, &held, &before_);
}

SignalsHeld::~SignalsHeld() {
    sigprocmask(SIG_SETMASK, &before_, nullptr);
}

std::string SignalsHeld::waiting() const {
    sigset_t pending;
    sigpending(&pending);
    std::string names;
    for (const auto &signal : kHeld) {
        if (sigismember(&pending, signal.number) == 1) {
            names += (names.empty() ? "" : ", ") + std::string(signal.name);
        }
    }
    return names;
}

}  // namespace dfd_tools
