// SPDX-License-Identifier: MIT
#include "journal.h"
#include "common/text.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <linux/i2c.h>
#include <unistd.h>

#include <cstring>

#include "text.h"

namespace vchassis {

namespace {

constexpr std::size_t kFileBytesShown = 16;

struct Bit {
    int bit;
    const char *name;
};

constexpr Bit kOpenFlags[] = {{O_CREAT, "O_CREAT"},    {O_EXCL, "O_EXCL"},
                              {O_TRUNC, "O_TRUNC"},    {O_APPEND, "O_APPEND"},
                              {O_SYNC, "O_SYNC"},      {O_NONBLOCK, "O_NONBLOCK"},
                              {O_CLOEXEC, "O_CLOEXEC"}};
constexpr Bit kMessageFlags[] = {
    {I2C_M_TEN, "ten"}, {I2C_M_NOSTART, "nostart"}, {I2C_M_RECV_LEN, "recv_len"}};
constexpr Bit kAccessModes[] = {{R_OK, "R_OK"}, {W_OK, "W_OK"}, {X_OK, "X_OK"}};

template <std::size_t N>
std::string names(int value, const Bit (&bits)[N], const char *separator) {
    std::string out;
    for (const Bit &each : bits) {
        if ((value & each.bit) == each.bit) {
            out += separator;
            out += each.name;
        }
    }
    return out;
}

std::string open_flags(int flags) {
    const int mode = flags & O_ACCMODE;
    const char *access = mode == O_RDONLY ? "O_RDONLY" : mode == O_WRONLY ? "O_WRONLY" : "O_RDWR";
    return access + names(flags, kOpenFlags, "|");
}

std::string access_mode(int mode) {
    return mode == F_OK ? "F_OK" : names(mode, kAccessModes, "|").substr(1);
}

std::string message_text(const Message &message) {
    return fmt::format(" {{{} 0x{:02x}{} [{}]}}", (message.flags & I2C_M_RD) != 0 ? 'r' : 'w',
                       message.addr, names(message.flags, kMessageFlags, " "),
                       dfd_tools::hex_text(message.bytes));
}

std::string result_text(const Event &event) {
    if (event.result >= 0) {
        return fmt::format(" = {}", event.result);
    }
    const char *name = strerrorname_np(event.error);
    return fmt::format(" = {} {}", event.result, name == nullptr ? "?" : name);
}

// Device bytes in full, of plain files only the beginning.
std::string bytes_text(const char *verb, const Event &event) {
    const std::span<const std::uint8_t> all(event.bytes);
    const bool cut = !event.path.starts_with("/dev/") && all.size() > kFileBytesShown;
    return fmt::format("{} {} @0x{:04x} [{}{}]", verb, event.path, event.offset,
                       dfd_tools::hex_text(cut ? all.first(kFileBytesShown) : all),
                       cut ? " ..." : "");
}

std::string transfer_text(const Event &event) {
    std::string out = "transfer " + event.path;
    for (const Message &message : event.messages) {
        out += message_text(message);
    }
    return out;
}

std::string body(const Event &event) {
    switch (event.op) {
        case Op::open:
            return fmt::format("open {} {}", event.path, open_flags(event.flags));
        case Op::close:
            return "close " + event.path;
        case Op::seek:
            return fmt::format("seek {} @0x{:04x}", event.path, event.offset);
        case Op::read:
            return bytes_text("read", event);
        case Op::write:
            return bytes_text("write", event);
        case Op::transfer:
            return transfer_text(event);
        case Op::access:
            return fmt::format("access {} {}", event.path, access_mode(event.flags));
        case Op::sleep:
            break;
    }
    return fmt::format("sleep {} us", event.sleep_us);
}

}  // namespace

std::string to_text(const Event &event) {
    return body(event) + result_text(event);
}

void Journal::record(Event event) {
    if (trace_fd_ >= 0) {
        // One write per line keeps the lines of several processes whole.
        const std::string line = fmt::format("vchassis[{}] {}\n", getpid(), to_text(event));
        [[maybe_unused]] const ssize_t n = write(trace_fd_, line.data(), line.size());
    }
    if (keep_log_) {
        log_.push_back(std::move(event));
    }
}

}  // namespace vchassis
