// SPDX-License-Identifier: MIT
// Calls of the C library that fail when the library under test makes them. For test programs that
// compile libc_calls.cpp in: its functions stand before those of libc.
#pragma once

#include <functional>

namespace dfd_test {

enum class LibcCall { allocation, tsearch, rwlock_init, ioctl, fgets };

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

// A sanitizer owns the allocator of its programs.
#ifdef DFD_SANITIZED
inline constexpr bool kAllocationsCanFail = false;
#else
inline constexpr bool kAllocationsCanFail = true;
#endif

}  // namespace dfd_test
