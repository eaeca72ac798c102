// SPDX-License-Identifier: MIT
// Why a transfer failed: the words for it, what to do, and what need not be asked again.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "framework/watch.h"

namespace dfdctl {

enum class Fault {
    no_node,
    denied,
    no_driver,  ///< the node is there, what it stands for is not
    no_answer,  ///< nobody acknowledges
    timed_out,
    refused,  ///< by the adapter
    busy,
    short_read,
    other
};

/// What a failure says of other transfers.
enum class Reach {
    transfer,  ///< nothing
    device,    ///< the device, unless it has answered before
    bus,       ///< the device, and the bus once two of its addresses in a row do the same
    node       ///< everything behind this path
};

/// A failed transfer, or with a path alone a device that is not asked any more.
struct FailedTransfer {
    std::string path;
    std::optional<std::uint16_t> address;  ///< on a bus
    dfd::watch::SystemCall call = dfd::watch::SystemCall::none;
    int error = 0;  ///< errno; 0: the device delivered nothing

    /// "/dev/i2c-2 0x58", "/dev/cpld0".
    std::string device() const;

    bool operator==(const FailedTransfer &) const = default;
};

struct FaultRow {
    bool is_of_node;  ///< opening the path failed
    bool is_of_bus;
    int error;
    Fault fault;
    Reach reach;
    int failures;         ///< of different transfers of a device that prove it dead
    bool is_worth_retry;  ///< it may pass: the library's retries are let through
    const char *words;    ///< null: those of the system
    const char *advice;   ///< what to do; null: nothing that is always right
};

const FaultRow &fault_of(const FailedTransfer &failed);

/// "ENXIO"; "errno 133" for one without a name; empty for 0.
std::string errno_name(int error);
/// "no acknowledgement at this address".
std::string words_of(const FailedTransfer &failed);
/// What to do, with the group that owns the node; may be empty.
std::string advice_of(const FailedTransfer &failed);

}  // namespace dfdctl
