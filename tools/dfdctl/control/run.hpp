// SPDX-License-Identifier: MIT
// What all commands of this room do alike.
#pragma once

#include <string>

#include "dfdctl/command.hpp"
#include "framework/watch.h"

namespace dfdctl {

/// For hooks that replace others: those go on answering, such as for a bus that takes no writes.
bool ask_outer(const dfd::watch::Hooks *outer, const dfd::watch::Transfer &transfer, int *result);

/// Asks at a terminal; elsewhere --yes is the only answer. Throws UsageError for any other.
void confirm(const std::string &command, const std::string &warnings, bool yes);

/// Says that signals of the system have waited until the command was through.
void tell_signals(const std::string &names, const std::string &command, int status);

inline constexpr const char *kDispatchGroup = "irq";
inline constexpr const char *kDispatchDescription =
    "Run the library's dispatcher once: what is pending, which handler calls";

/// `irq dispatch`, in its group.
void add_dispatch(Command &group, const Options &options);

}  // namespace dfdctl
