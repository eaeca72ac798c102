// SPDX-License-Identifier: MIT
#include "support/libc_calls.h"

#include <dlfcn.h>
#include <pthread.h>
#include <search.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <utility>

namespace {

struct Plan {
    bool is_active;
    dfd_test::LibcCall call;
    unsigned skip;
    unsigned count;
    int result;
};
Plan g_plan;
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

}  // namespace dfd_test

extern "C" {

void *tsearch(const void *key, void **root, int (*compare)(const void *, const void *)) {
    static auto *const real = next<decltype(tsearch)>("tsearch");
    return fails(dfd_test::LibcCall::tsearch, __builtin_return_address(0))
               ? nullptr
               : real(key, root, compare);
}

int pthread_rwlock_init(pthread_rwlock_t *lock, const pthread_rwlockattr_t *attributes) noexcept {
    constexpr int kOutOfMemory = 12;
    static auto *const real = next<decltype(pthread_rwlock_init)>("pthread_rwlock_init");
    return fails(dfd_test::LibcCall::rwlock_init, __builtin_return_address(0))
               ? kOutOfMemory
               : real(lock, attributes);
}

int ioctl(int fd, unsigned long request, ...) noexcept {
    static auto *const real = next<int(int, unsigned long, void *)>("ioctl");
    va_list arguments;
    va_start(arguments, request);
    void *const argument = va_arg(arguments, void *);
    va_end(arguments);
    const int result = real(fd, request, argument);
    return fails(dfd_test::LibcCall::ioctl, __builtin_return_address(0)) ? g_plan.result : result;
}

char *fgets(char *line, int size, FILE *stream) {
    constexpr int kErrorSeen = 0x20;  // what ferror asks for
    static auto *const real = next<decltype(fgets)>("fgets");
    if (!fails(dfd_test::LibcCall::fgets, __builtin_return_address(0))) {
        return real(line, size, stream);
    }
    stream->_flags |= kErrorSeen;
    errno = EIO;
    return nullptr;
}

int usleep(useconds_t us) {
    static auto *const real = next<decltype(usleep)>("usleep");
    if (g_during_pauses && is_from_library(__builtin_return_address(0))) {
        g_during_pauses();
    }
    return real(us);
}

#ifndef DFD_SANITIZED
void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);

void *malloc(std::size_t size) noexcept {
    return fails(dfd_test::LibcCall::allocation, __builtin_return_address(0)) ? nullptr
                                                                              : __libc_malloc(size);
}

void *calloc(std::size_t count, std::size_t size) noexcept {
    return fails(dfd_test::LibcCall::allocation, __builtin_return_address(0))
               ? nullptr
               : __libc_calloc(count, size);
}
#endif
}
