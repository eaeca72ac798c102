// SPDX-License-Identifier: MIT
#include "support/libc_calls.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <pthread.h>
#include <search.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <map>
#include <utility>

namespace dfd_test {

struct WatchedCalls::Watch {
    struct OpenFile {
        std::string path;
        long offset = 0;
    };

    Positions positions;
    std::optional<CallFault> fault;
    std::size_t position = 0;
    LibcCall failing = LibcCall::allocation;
    unsigned attempts = 0;
    std::vector<MadeCall> made = {};
    std::map<int, OpenFile> descriptors = {};
    std::map<const std::FILE *, std::string> files = {};
    std::vector<std::string> wrong = {};
    long blocks = 0;
};

}  // namespace dfd_test

namespace {

using dfd_test::CallFault;
using dfd_test::LibcCall;
using dfd_test::MadeCall;
using dfd_test::Positions;
using Watch = dfd_test::WatchedCalls::Watch;

struct Plan {
    bool is_active;
    dfd_test::LibcCall call;
    unsigned skip;
    unsigned count;
    int result;
};
Plan g_plan;
Watch *g_watch = nullptr;
// Within a call that is watched: what libc, the chassis and this file call on the way.
bool g_is_inside = false;
std::function<void()> g_during_pauses;

// Only calls from the library itself: the virtual chassis and the tests allocate as well.
bool is_from_library(const void *caller) {
    Dl_info info;
    return dladdr(caller, &info) != 0 && std::strstr(info.dli_fname, "libdfd.so") != nullptr;
}

bool fails(dfd_test::LibcCall call, const void *caller) {
    if (!g_plan.is_active || g_plan.call != call || g_plan.count == 0 || !is_from_library(caller)) {
        return false;
    }
    if (g_plan.skip > 0) {
        --g_plan.skip;
        return false;
    }
    --g_plan.count;
    return true;
}

// How the call may fail besides with an error.
bool can_fail(LibcCall call, std::size_t size, CallFault::How how) {
    const bool moves = call == LibcCall::read || call == LibcCall::write;
    switch (how) {
        case CallFault::How::error:
            return true;
        case CallFault::How::nothing:
            return moves && size > 0;
        case CallFault::How::half:
            return moves && size > 1;
        default:
            return call == LibcCall::ioctl && size > 1;
    }
}

bool is_reached(Watch &watch, const CallFault &fault, LibcCall call) {
    constexpr unsigned kAttempts = 5;
    if (watch.position == fault.at) {
        watch.failing = call;
        watch.attempts = 1;
        return true;
    }
    if (watch.position < fault.at || fault.reach == CallFault::Reach::once) {
        return false;
    }
    return fault.reach == CallFault::Reach::and_on ||
           (call == watch.failing && watch.attempts++ < kAttempts);
}

bool is_hit(Watch &watch, LibcCall call, std::size_t size) {
    return watch.fault.has_value() && is_reached(watch, *watch.fault, call) &&
           can_fail(call, size, watch.fault->how);
}

// One call, from its beginning to its end. False when nobody watches.
class Step {
  public:
    Step(LibcCall call, std::size_t size) : watch_(g_is_inside ? nullptr : g_watch) {
        if (watch_ == nullptr) {
            return;
        }
        g_is_inside = true;
        const bool takes_memory = call == LibcCall::allocation || call == LibcCall::rwlock_init;
        if (takes_memory != (watch_->positions == Positions::memory)) {
            return;
        }
        made_ = {.call = call, .failed = is_hit(*watch_, call, size), .size = size};
        is_position_ = true;
        ++watch_->position;
    }
    ~Step() {
        if (watch_ != nullptr) {
            const int error = errno;
            {
                MadeCall made = std::move(made_);
                if (is_position_) {
                    watch_->made.push_back(std::move(made));
                }
            }
            g_is_inside = false;
            errno = error;
        }
    }
    Step(const Step &) = delete;
    Step &operator=(const Step &) = delete;

    explicit operator bool() const { return watch_ != nullptr; }
    Watch *operator->() { return watch_; }
    MadeCall &made() { return made_; }

    // Null when the call is to go through.
    const CallFault *fault() const { return made_.failed ? &*watch_->fault : nullptr; }
    // It fails, errno set.
    bool errs() const {
        const bool fails = made_.failed && watch_->fault->how == CallFault::How::error;
        if (fails) {
            errno = watch_->fault->error;
        }
        return fails;
    }

  private:
    Watch *watch_;
    MadeCall made_ = {.call = LibcCall::allocation};
    bool is_position_ = false;
};

// How many bytes of a read or write may pass.
std::size_t passing(const Step &step, std::size_t size) {
    if (step.fault() == nullptr) {
        return size;
    }
    return step.fault()->how == CallFault::How::half ? size / 2 : 0;
}

// Notes where a read or write goes.
void note_place(Step &step, int fd) {
    const auto file = step->descriptors.find(fd);
    if (file == step->descriptors.end()) {
        step->wrong.push_back("a descriptor is used that is not open");
        return;
    }
    step.made().target = file->second.path;
    step.made().offset = file->second.offset;
}

void note_transfer(Step &step, int fd, const i2c_rdwr_ioctl_data &request) {
    note_place(step, fd);
    const i2c_msg &offset = request.msgs[0];
    const i2c_msg &data = request.msgs[1];
    step.made().target += ":" + std::to_string(offset.addr);
    step.made().offset = offset.len == 1 ? offset.buf[0] : offset.buf[0] * 256 + offset.buf[1];
    step.made().delivers = (data.flags & I2C_M_RD) != 0;
}

template <typename Allocate>
void *watched_allocation(Allocate allocate) {
    Step step(LibcCall::allocation, 0);
    void *const block = step.errs() ? nullptr : allocate();
    step->blocks += block != nullptr ? 1 : 0;
    return block;
}

template <typename Function>
Function *next(const char *name) {
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

}  // namespace

namespace dfd_test {

FailingCalls::FailingCalls(LibcCall call, unsigned skip, unsigned count, int result) {
    g_plan = {true, call, skip, count, result};
}

FailingCalls::~FailingCalls() {
    g_plan = {};
}

bool FailingCalls::all_happened() const {
    return g_plan.count == 0;
}

DuringPauses::DuringPauses(std::function<void()> hook) {
    g_during_pauses = std::move(hook);
}

DuringPauses::~DuringPauses() {
    g_during_pauses = nullptr;
}

WatchedCalls::WatchedCalls(Positions positions, std::optional<CallFault> fault)
    : watch_(new Watch{.positions = positions, .fault = fault}) {
    g_watch = watch_.get();
}

WatchedCalls::~WatchedCalls() {
    end();
}

void WatchedCalls::end() {
    g_watch = nullptr;
}

const std::vector<MadeCall> &WatchedCalls::made() const {
    return watch_->made;
}

std::vector<std::string> WatchedCalls::wrong() const {
    std::vector<std::string> all = watch_->wrong;
    for (const auto &[fd, file] : watch_->descriptors) {
        all.push_back(file.path + " stays open");
    }
    for (const auto &[file, path] : watch_->files) {
        all.push_back(path + " stays open");
    }
    return all;
}

long WatchedCalls::blocks_kept() const {
    return watch_->blocks;
}

}  // namespace dfd_test

extern "C" {

void *tsearch(const void *key, void **root, int (*compare)(const void *, const void *)) {
    static auto *const real = next<decltype(tsearch)>("tsearch");
    return fails(LibcCall::tsearch, __builtin_return_address(0)) ? nullptr
                                                                 : real(key, root, compare);
}

int pthread_rwlock_init(pthread_rwlock_t *lock, const pthread_rwlockattr_t *attributes) noexcept {
    constexpr int kOutOfMemory = 12;
    static auto *const real = next<decltype(pthread_rwlock_init)>("pthread_rwlock_init");
    if (const Step step(LibcCall::rwlock_init, 0); step) {
        return step.errs() ? kOutOfMemory : real(lock, attributes);
    }
    return fails(LibcCall::rwlock_init, __builtin_return_address(0)) ? kOutOfMemory
                                                                     : real(lock, attributes);
}

int ioctl(int fd, unsigned long request, ...) noexcept {
    static auto *const real = next<int(int, unsigned long, void *)>("ioctl");
    va_list arguments;
    va_start(arguments, request);
    void *const argument = va_arg(arguments, void *);
    va_end(arguments);
    if (Step step(LibcCall::ioctl, 2); step) {
        i2c_rdwr_ioctl_data transfer = *static_cast<i2c_rdwr_ioctl_data *>(argument);
        note_transfer(step, fd, transfer);
        if (step.errs()) {
            return -1;
        }
        if (step.fault() != nullptr) {
            transfer.nmsgs = 1;
        }
        const int result = real(fd, request, &transfer);
        if (result == 2 && !step.made().delivers) {
            const i2c_msg &data = transfer.msgs[1];
            step.made().written.assign(data.buf, data.buf + data.len);
        }
        return result;
    }
    const int result = real(fd, request, argument);
    return fails(LibcCall::ioctl, __builtin_return_address(0)) ? g_plan.result : result;
}

int open(const char *path, int flags, ...) {
    static auto *const real = next<int(const char *, int, ...)>("open");
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    Step step(LibcCall::open, 0);
    if (!step) {
        return real(path, flags, mode);
    }
    step.made().target = path;
    const int fd = step.errs() ? -1 : real(path, flags, mode);
    if (fd >= 0) {
        step->descriptors[fd] = {.path = path};
    }
    return fd;
}

int close(int fd) {
    static auto *const real = next<decltype(close)>("close");
    Step step(LibcCall::close, 0);
    if (!step) {
        return real(fd);
    }
    note_place(step, fd);
    step->descriptors.erase(fd);
    const int result = real(fd);
    return step.errs() ? -1 : result;
}

off_t lseek(int fd, off_t offset, int whence) noexcept {
    static auto *const real = next<decltype(lseek)>("lseek");
    Step step(LibcCall::seek, 0);
    if (!step) {
        return real(fd, offset, whence);
    }
    note_place(step, fd);
    const off_t at = step.errs() ? -1 : real(fd, offset, whence);
    step.made().offset = offset;
    step->descriptors[fd].offset = offset;
    return at;
}

ssize_t read(int fd, void *buffer, std::size_t size) {
    static auto *const real = next<decltype(read)>("read");
    Step step(LibcCall::read, size);
    if (!step) {
        return real(fd, buffer, size);
    }
    note_place(step, fd);
    step.made().delivers = true;
    const std::size_t count = passing(step, size);
    return step.errs() ? -1 : count == 0 ? 0 : real(fd, buffer, count);
}

ssize_t write(int fd, const void *data, std::size_t size) {
    static auto *const real = next<decltype(write)>("write");
    // What the library prints goes this way only where its output has no buffer.
    Step step(LibcCall::write, size);
    if (!step) {
        return real(fd, data, size);
    }
    note_place(step, fd);
    const std::size_t count = passing(step, size);
    const ssize_t result = step.errs() ? -1 : count == 0 ? 0 : real(fd, data, count);
    if (result > 0) {
        const auto *const bytes = static_cast<const std::uint8_t *>(data);
        step.made().written.assign(bytes, bytes + result);
    }
    return result;
}

int access(const char *path, int mode) noexcept {
    static auto *const real = next<decltype(access)>("access");
    Step step(LibcCall::access, 0);
    if (!step) {
        return real(path, mode);
    }
    step.made().target = path;
    return step.errs() ? -1 : real(path, mode);
}

std::FILE *fopen(const char *path, const char *mode) {
    static auto *const real = next<decltype(fopen)>("fopen");
    Step step(LibcCall::fopen, 0);
    if (!step) {
        return real(path, mode);
    }
    step.made().target = path;
    std::FILE *const file = step.errs() ? nullptr : real(path, mode);
    if (file != nullptr) {
        step->files[file] = path;
    }
    return file;
}

char *fgets(char *line, int size, std::FILE *file) {
    static auto *const real = next<decltype(fgets)>("fgets");
    Step step(LibcCall::fgets, static_cast<std::size_t>(size));
    const bool is_planned = !step && fails(LibcCall::fgets, __builtin_return_address(0));
    if (step.fault() == nullptr && !is_planned) {
        return real(line, size, file);
    }
    // Writing to a file that is open for reading is what sets its error flag.
    std::fputc(0, file);
    errno = EIO;
    step.errs();
    return nullptr;
}

int fclose(std::FILE *file) {
    static auto *const real = next<decltype(fclose)>("fclose");
    Step step(LibcCall::fclose, 0);
    if (!step) {
        return real(file);
    }
    if (step->files.erase(file) == 0) {
        step->wrong.push_back("a file is closed that is not open");
        return EOF;
    }
    const int result = real(file);
    return step.errs() ? EOF : result;
}

int usleep(useconds_t us) {
    static auto *const real = next<decltype(usleep)>("usleep");
    if (g_during_pauses && is_from_library(__builtin_return_address(0))) {
        g_during_pauses();
    }
    // What the chassis does meanwhile is not the library's.
    const bool was_inside = std::exchange(g_is_inside, true);
    const int result = real(us);
    g_is_inside = was_inside;
    return result;
}

#ifndef DFD_SANITIZED
void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void __libc_free(void *block);

void *malloc(std::size_t size) noexcept {
    if (g_watch != nullptr && !g_is_inside) {
        return watched_allocation([=] { return __libc_malloc(size); });
    }
    return fails(LibcCall::allocation, __builtin_return_address(0)) ? nullptr : __libc_malloc(size);
}

void *calloc(std::size_t count, std::size_t size) noexcept {
    if (g_watch != nullptr && !g_is_inside) {
        return watched_allocation([=] { return __libc_calloc(count, size); });
    }
    return fails(LibcCall::allocation, __builtin_return_address(0)) ? nullptr
                                                                    : __libc_calloc(count, size);
}

void free(void *block) noexcept {
    if (g_watch != nullptr && !g_is_inside && block != nullptr) {
        --g_watch->blocks;
    }
    __libc_free(block);
}
#endif
}
