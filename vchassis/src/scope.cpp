// SPDX-License-Identifier: MIT
#include "scope.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <utility>

#include "environment.h"
#include "real.h"
#include "streams.h"

namespace vchassis {

namespace {

enum class State { unknown, idle, active };

// All constant-initialised: the first call may come before any constructor has run.
constinit std::mutex g_lock;
constinit std::atomic<State> g_state{State::unknown};
constinit Session *g_session = nullptr;
thread_local bool t_inside = false;

// Own descriptors stand where programs that count theirs from 3 on do not meet them.
constexpr int kFirstOwnFd = 512;
constexpr int kInheritedFds = 32;
constexpr mode_t kTraceMode = 0666;
// A program takes this long to start, so the next one finds an EEPROM ready again.
constexpr std::uint64_t kProcessStartUs = 20000;

[[noreturn]] void give_up(const char *message) {
    const std::string line = fmt::format("vchassis: {}\n", message);
    [[maybe_unused]] const ssize_t n = real().write(STDERR_FILENO, line.data(), line.size());
    _exit(kExitUnusable);
}

// Where the limit of descriptors does not reach that far, the next free one has to do.
int high_copy(int fd) {
    const int high = fcntl(fd, F_DUPFD_CLOEXEC, kFirstOwnFd);
    return high >= 0 ? high : fcntl(fd, F_DUPFD_CLOEXEC, 0);
}

int open_trace(const char *target) {
    if (std::strcmp(target, kTraceToStderr) == 0) {
        return high_copy(STDERR_FILENO);
    }
    const int fd = real().open(target, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, kTraceMode);
    if (fd < 0) {
        give_up(
            fmt::format("cannot open the trace file {}: {}", target, std::strerror(errno)).c_str());
    }
    const int high = high_copy(fd);
    real().close(fd);
    return high;
}

// Lives until the process ends: files are still closed after the last destructor.
Session *from_environment(const char *dir) {
    try {
        const char *state = std::getenv(kStateVariable);
        auto machine =
            std::make_unique<Machine>(dir, state != nullptr && *state != '\0'
                                               ? std::filesystem::path(state)
                                               : std::filesystem::path(dir) / Machine::kStateDir);
        machine->load_directory();
        {
            const Store::Lock lock(machine->store());
            machine->clock().advance(kProcessStartUs);
        }
        auto *session = new Session(std::move(machine));
        session->set_real_time(std::getenv(kRealTimeVariable) != nullptr);
        if (const char *at = std::getenv(kSignalAtVariable)) {
            char *signal = nullptr;
            const unsigned long count = std::strtoul(at, &signal, 10);
            session->set_signal_at(count, *signal == ':' ? std::atoi(signal + 1) : SIGKILL);
        }
        if (const char *trace = std::getenv(kTraceVariable)) {
            session->journal().trace_to(open_trace(trace));
        }
        return session;
    } catch (const std::exception &error) {
        give_up(error.what());
    }
}

// With the lock held. Before libc has set up the environment the question stays open.
void look_at_environment() {
    if (environ == nullptr) {
        return;
    }
    const char *dir = std::getenv(kDirVariable);
    g_session = dir == nullptr ? nullptr : from_environment(dir);
    g_state = g_session == nullptr ? State::idle : State::active;
}

void before_fork() {
    if (!t_inside) {
        g_lock.lock();
    }
}

void after_fork() {
    if (!t_inside) {
        g_lock.unlock();
    }
}

// Without this a child forked while another thread holds the lock would never get it.
__attribute__((constructor)) void handle_forks() {
    pthread_atfork(before_fork, after_fork, after_fork);
}

// Devices that the program before this one has left open, as a shell does that redirects. Shells
// use low descriptors, and every program pays for looking.
__attribute__((constructor)) void take_over_devices() {
    for (int fd = 0; fd < kInheritedFds && std::getenv(kDirVariable) != nullptr; ++fd) {
        if (real().fcntl(fd, F_GETFD) < 0) {
            continue;
        }
        char link[PATH_MAX];
        const std::string name = fmt::format("/proc/self/fd/{}", fd);
        const ssize_t size = real().readlinkat(AT_FDCWD, name.c_str(), link, sizeof link);
        const std::string_view text(link, size < 0 ? 0 : static_cast<std::size_t>(size));
        if (text.starts_with(Session::kStandInLink)) {
            if (const Entry in; in) {
                in->inherited(fd, text);
            }
        }
    }
    follow_standard_streams();
}

}  // namespace

Session *exchange_session(Session *session) {
    if (g_state == State::unknown) {
        look_at_environment();
    }
    g_state = session == nullptr ? State::idle : State::active;
    return std::exchange(g_session, session);
}

Inside::Inside() {
    g_lock.lock();
    t_inside = true;
}

Inside::~Inside() {
    t_inside = false;
    g_lock.unlock();
}

Entry::Entry() : errno_(errno) {
    if (!t_inside && g_state != State::idle) {
        enter();
    }
}

Entry::Entry(int fd) : errno_(errno) {
    // A tracked descriptor exists only while a chassis is active.
    if (!t_inside && Session::may_track(fd)) {
        enter();
        if (session_ != nullptr && !session_->tracks(fd)) {
            leave();
        }
    }
}

Entry::Entry(int dirfd, const char *path) : Entry() {
    if (session_ == nullptr) {
        return;
    }
    // Without a path the *at() functions mean the descriptor itself.
    if (path != nullptr && *path != '\0') {
        place_ = locate(session_->machine(), dirfd, path);
    }
    if (place_.kind == Place::Kind::host) {
        leave();
    }
}

Entry::~Entry() {
    if (session_ != nullptr) {
        leave();
    }
    errno = errno_;
}

void Entry::enter() {
    g_lock.lock();
    t_inside = true;
    if (g_state == State::unknown) {
        look_at_environment();
    }
    session_ = g_session;
    if (session_ == nullptr) {
        leave();
    }
}

void Entry::leave() {
    session_ = nullptr;
    t_inside = false;
    g_lock.unlock();
}

bool is_ours(const char *path) {
    return static_cast<bool>(Entry(AT_FDCWD, path));
}

}  // namespace vchassis
