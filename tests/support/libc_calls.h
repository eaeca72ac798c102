// SPDX-License-Identifier: MIT
// Calls of the C library that fail when the library under test makes them. For test programs that
// compile libc_calls.cpp in: its functions stand before those of libc.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace dfd_test {

enum class LibcCall {
    allocation,
    tsearch,
    rwlock_init,
    ioctl,
    open,
    seek,
    read,
    write,
    close,
    fopen,
    fgets,
    fclose,
    access
};

// While it lives, calls of this kind fail: `count` of them, behind `skip` that pass. An ioctl is
// carried out and answers `result`; a line is not read, for EIO.
class FailingCalls {
  public:
    explicit FailingCalls(LibcCall call, unsigned skip = 0, unsigned count = 1, int result = 0);
    ~FailingCalls();
    FailingCalls(const FailingCalls &) = delete;
    FailingCalls &operator=(const FailingCalls &) = delete;

    // Whether every failure was asked for.
    bool all_happened() const;
};

// While it lives, `hook` runs in each pause of the library: hardware that changes meanwhile.
class DuringPauses {
  public:
    explicit DuringPauses(std::function<void()> hook);
    ~DuringPauses();
    DuringPauses(const DuringPauses &) = delete;
    DuringPauses &operator=(const DuringPauses &) = delete;
};

// What a sweep counts as the positions of a call: system calls and those on files, or all that
// takes memory.
enum class Positions { system, memory };

struct CallFault {
    enum class How {
        error,         // any call: it does nothing (a close closes) and fails with `error`
        nothing,       // a read or write moves no byte
        half,          // a read or write of several bytes moves half of them
        first_message  // an I2C transfer carries out one message of two and says so
    };
    enum class Reach {
        once,
        attempts,  // this call and the next four of its kind: all attempts of an I2C transfer
        and_on     // all behind it too, where they can fail like that
    };
    std::size_t at = 0;  // position, from 0 on
    Reach reach = Reach::once;
    How how = How::error;
    int error = 0;
};

// A call of the library as it ended.
struct MadeCall {
    LibcCall call;
    bool failed = false;                     // as the fault wants
    std::string target = {};                 // path; of an I2C transfer the address behind it
    long offset = 0;                         // register, or first byte of the transfer
    std::size_t size = 0;                    // bytes, or messages, asked for
    bool delivers = false;                   // reads, also over I2C
    std::vector<std::uint8_t> written = {};  // what reached the device
};

// Watches what runs while it lives, which must be the library alone: any call counts. Calls that
// libc and the virtual chassis make on the way do not.
class WatchedCalls {
  public:
    explicit WatchedCalls(Positions positions, std::optional<CallFault> fault = {});
    ~WatchedCalls();
    WatchedCalls(const WatchedCalls &) = delete;
    WatchedCalls &operator=(const WatchedCalls &) = delete;

    // Ends the watch; what follows may be asked then.
    void end();
    const std::vector<MadeCall> &made() const;
    // Descriptors and files left open, closed twice or never opened: a line for each.
    std::vector<std::string> wrong() const;
    // Blocks that were allocated and not freed.
    long blocks_kept() const;

    struct Watch;

  private:
    std::unique_ptr<Watch> watch_;
};

// A sanitizer owns the allocator of its programs.
#ifdef DFD_SANITIZED
inline constexpr bool kAllocationsCanFail = false;
#else
inline constexpr bool kAllocationsCanFail = true;
#endif

}  // namespace dfd_test
