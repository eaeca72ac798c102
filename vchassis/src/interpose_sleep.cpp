// SPDX-License-Identifier: MIT
// Sleeps: virtual time goes on, real time only when asked to. Absolute deadlines refer to the
// host's clock and stay with libc.
#include <time.h>
#include <unistd.h>

#include <cstdint>

#include "real.h"
#include "scope.h"

using vchassis::Entry;
using vchassis::real;

namespace {

constexpr std::uint64_t kUsPerSecond = 1000000;
constexpr long kNsPerUs = 1000;
constexpr long kNsPerSecond = 1000000000;

// Whether the sleep is over already.
bool slept(std::uint64_t us) {
    Entry in;
    if (!in) {
        return false;
    }
    in->slept(us);
    return !in->real_time();
}

bool is_valid(const timespec *time) {
    return time != nullptr && time->tv_sec >= 0 && time->tv_nsec >= 0 &&
           time->tv_nsec < kNsPerSecond;
}

// A part of a microsecond counts as a whole one, as a timer would round.
std::uint64_t to_us(const timespec &time) {
    return static_cast<std::uint64_t>(time.tv_sec) * kUsPerSecond +
           static_cast<std::uint64_t>((time.tv_nsec + kNsPerUs - 1) / kNsPerUs);
}

}  // namespace

INTERPOSED int usleep(useconds_t us) {
    return slept(us) ? 0 : real().usleep(us);
}

INTERPOSED unsigned sleep(unsigned seconds) {
    return slept(seconds * kUsPerSecond) ? 0 : real().sleep(seconds);
}

INTERPOSED int nanosleep(const timespec *time, timespec *left) {
    return is_valid(time) && slept(to_us(*time)) ? 0 : real().nanosleep(time, left);
}

INTERPOSED int clock_nanosleep(clockid_t clock, int flags, const timespec *time, timespec *left) {
    const bool relative = (flags & TIMER_ABSTIME) == 0;
    return relative && is_valid(time) && slept(to_us(*time))
               ? 0
               : real().clock_nanosleep(clock, flags, time, left);
}
