// SPDX-License-Identifier: MIT
#include "real.h"

#include <dlfcn.h>

#include <atomic>

namespace vchassis {

namespace {

constinit Real g_real{};
constinit std::atomic<bool> g_ready{false};

template <class Function>
void look_up(Function &function, const char *name) {
    function = reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

void look_up_files() {
    look_up(g_real.open, "open64");
    look_up(g_real.openat, "openat64");
    look_up(g_real.close, "close");
    look_up(g_real.lseek, "lseek64");
    look_up(g_real.read, "read");
    look_up(g_real.write, "write");
    look_up(g_real.pread, "pread64");
    look_up(g_real.pwrite, "pwrite64");
    look_up(g_real.ioctl, "ioctl");
    look_up(g_real.dup, "dup");
    look_up(g_real.dup2, "dup2");
    look_up(g_real.dup3, "dup3");
    look_up(g_real.access, "access");
    look_up(g_real.faccessat, "faccessat");
}

void look_up_paths() {
    look_up(g_real.fstatat, "fstatat");
    look_up(g_real.fstatat64, "fstatat64");
    look_up(g_real.statx, "statx");
    look_up(g_real.getxattr, "getxattr");
    look_up(g_real.lgetxattr, "lgetxattr");
    look_up(g_real.opendir, "opendir");
    look_up(g_real.unlinkat, "unlinkat");
    look_up(g_real.mkdirat, "mkdirat");
    look_up(g_real.renameat2, "renameat2");
}

void look_up_streams_and_sleeps() {
    look_up(g_real.fopen, "fopen64");
    look_up(g_real.fdopen, "fdopen");
    look_up(g_real.fclose, "fclose");
    look_up(g_real.sleep, "sleep");
    look_up(g_real.usleep, "usleep");
    look_up(g_real.nanosleep, "nanosleep");
    look_up(g_real.clock_nanosleep, "clock_nanosleep");
}

}  // namespace

// Two threads may look up at once; they find the same.
const Real &real() {
    if (!g_ready.load(std::memory_order_acquire)) {
        look_up_files();
        look_up_paths();
        look_up_streams_and_sleeps();
        g_ready.store(true, std::memory_order_release);
    }
    return g_real;
}

}  // namespace vchassis
