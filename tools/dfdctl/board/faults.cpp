// SPDX-License-Identifier: MIT
#include "dfdctl/board/faults.hpp"

#include <grp.h>
#include <sys/stat.h>
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include <fmt/format.h>

namespace dfdctl {

namespace {

using dfd::watch::SystemCall;

constexpr const char *kNoNode = "its driver is not loaded, or the items name the wrong node";
constexpr const char *kNoFile = "what writes this file is not running, or has not written it yet";
constexpr const char *kDenied = "run as root";
constexpr const char *kNoDriver = "the node is there, its device is not: look at 'dmesg'";
constexpr const char *kNoAnswer = "the device is not plugged, has no power, or has another address";
constexpr const char *kTimedOut = "a device may hold the bus: unplug those on it one by one";
constexpr const char *kRefused = "the adapter cannot do such transfers: 'i2cdetect -F' tells";
constexpr const char *kBusy = "another program or a driver uses it: stop that, or try again";
constexpr const char *kShort = "the device ends before this register";

constexpr const char *kSilent = "no acknowledgement at this address";
constexpr const char *kSystem = nullptr;

// By where, then errno. Some adapters say EIO or EREMOTEIO also where the address was acknowledged
// and a register was not, so one such failure does not prove a device dead.
constexpr std::array kFaults = {
    FaultRow{true, false, ENOENT, Fault::no_node, Reach::node, 1, false, kSystem, kNoNode},
    FaultRow{true, false, ENOTDIR, Fault::no_node, Reach::node, 1, false, kSystem, kNoNode},
    FaultRow{true, false, EACCES, Fault::denied, Reach::node, 1, false, kSystem, kDenied},
    FaultRow{true, false, EPERM, Fault::denied, Reach::node, 1, false, kSystem, kDenied},
    FaultRow{true, false, ENXIO, Fault::no_driver, Reach::node, 1, false, kSystem, kNoDriver},
    FaultRow{true, false, ENODEV, Fault::no_driver, Reach::node, 1, false, kSystem, kNoDriver},
    FaultRow{true, false, EBUSY, Fault::busy, Reach::transfer, 1, true, kSystem, kBusy},
    FaultRow{false, true, ENXIO, Fault::no_answer, Reach::device, 1, true, kSilent, kNoAnswer},
    FaultRow{false, true, EREMOTEIO, Fault::no_answer, Reach::device, 2, true, kSilent, kNoAnswer},
    FaultRow{false, true, EIO, Fault::no_answer, Reach::device, 2, true, kSilent, kNoAnswer},
    FaultRow{false, true, ETIMEDOUT, Fault::timed_out, Reach::bus, 1, false, "time-out", kTimedOut},
    FaultRow{false, true, EOPNOTSUPP, Fault::refused, Reach::transfer, 1, false,
             "the adapter refuses the transfer", kRefused},
    FaultRow{false, true, EAGAIN, Fault::busy, Reach::transfer, 1, true, "the bus is busy", kBusy},
    FaultRow{false, true, EBUSY, Fault::busy, Reach::transfer, 1, true, "the bus is busy", kBusy},
    FaultRow{false, false, ETIMEDOUT, Fault::timed_out, Reach::node, 1, false, "time-out", nullptr},
    FaultRow{false, false, 0, Fault::short_read, Reach::transfer, 1, false, "short read", kShort},
};
constexpr FaultRow kOther{false, false, 0,       Fault::other, Reach::transfer,
                          1,     true,  kSystem, nullptr};

struct ErrorName {
    int error;
    const char *name;
};

constexpr ErrorName kNames[] = {
    {EPERM, "EPERM"},         {ENOENT, "ENOENT"},
    {EINTR, "EINTR"},         {EIO, "EIO"},
    {ENXIO, "ENXIO"},         {EBADF, "EBADF"},
    {EAGAIN, "EAGAIN"},       {ENOMEM, "ENOMEM"},
    {EACCES, "EACCES"},       {EFAULT, "EFAULT"},
    {EBUSY, "EBUSY"},         {ENODEV, "ENODEV"},
    {ENOTDIR, "ENOTDIR"},     {EISDIR, "EISDIR"},
    {EINVAL, "EINVAL"},       {ENFILE, "ENFILE"},
    {EMFILE, "EMFILE"},       {ENOTTY, "ENOTTY"},
    {EFBIG, "EFBIG"},         {ENOSPC, "ENOSPC"},
    {ESPIPE, "ESPIPE"},       {EROFS, "EROFS"},
    {ELOOP, "ELOOP"},         {ENAMETOOLONG, "ENAMETOOLONG"},
    {ENOSYS, "ENOSYS"},       {EBADMSG, "EBADMSG"},
    {EPROTO, "EPROTO"},       {EOVERFLOW, "EOVERFLOW"},
    {EREMOTEIO, "EREMOTEIO"}, {EOPNOTSUPP, "EOPNOTSUPP"},
    {ETIMEDOUT, "ETIMEDOUT"}, {ESHUTDOWN, "ESHUTDOWN"},
    {EHOSTDOWN, "EHOSTDOWN"},
};

/// The group that may do what the user may not; empty where joining one would not help.
std::string group_of(const std::string &path) {
    struct stat node = {};
    if (stat(path.c_str(), &node) != 0 || (node.st_mode & S_IRGRP) == 0 ||
        (node.st_mode & S_IWGRP) == 0 || node.st_gid == 0) {
        return {};
    }
    const struct group *group = getgrgid(node.st_gid);
    return group != nullptr ? std::string(group->gr_name) : fmt::format("{}", node.st_gid);
}

}  // namespace

std::string FailedTransfer::device() const {
    return address ? fmt::format("{} 0x{:02x}", path, *address) : path;
}

const FaultRow &fault_of(const FailedTransfer &failed) {
    const bool is_of_node = failed.call == SystemCall::open;
    const bool is_of_bus = failed.call == SystemCall::ioctl;
    const auto *found = std::ranges::find_if(kFaults, [&](const FaultRow &row) {
        return row.is_of_node == is_of_node && row.is_of_bus == is_of_bus &&
               row.error == failed.error;
    });
    return found != kFaults.end() ? *found : kOther;
}

std::string errno_name(int error) {
    if (error == 0) {
        return {};
    }
    const auto *found = std::ranges::find(kNames, error, &ErrorName::error);
    return found != std::end(kNames) ? found->name : fmt::format("errno {}", error);
}

std::string words_of(const FailedTransfer &failed) {
    const FaultRow &row = fault_of(failed);
    return row.words != nullptr ? row.words : std::strerror(failed.error);
}

std::string advice_of(const FailedTransfer &failed) {
    const FaultRow &row = fault_of(failed);
    std::string advice = row.advice != nullptr ? row.advice : "";
    if (row.fault == Fault::denied) {
        const std::string group = group_of(failed.path);
        advice += group.empty() ? "" : fmt::format(" or join group {}", group);
    }
    const bool is_plain_file = !failed.path.starts_with("/dev/");
    return row.fault == Fault::no_node && is_plain_file ? kNoFile : advice;
}

}  // namespace dfdctl
