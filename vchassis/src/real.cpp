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
    look_up(g_real.fcntl, "fcntl");
    look_up(g_real.close_range, "close_range");
    look_up(g_real.closefrom, "closefrom");
    look_up(g_real.access, "access");
    look_up(g_real.faccessat, "faccessat");
}

void look_up_views() {
    look_up(g_real.fstatat, "fstatat");
    look_up(g_real.fstatat64, "fstatat64");
    look_up(g_real.statx, "statx");
    look_up(g_real.statfs, "statfs");
    look_up(g_real.statfs64, "statfs64");
    look_up(g_real.statvfs, "statvfs");
    look_up(g_real.statvfs64, "statvfs64");
    look_up(g_real.pathconf, "pathconf");
    look_up(g_real.getxattr, "getxattr");
    look_up(g_real.lgetxattr, "lgetxattr");
    look_up(g_real.listxattr, "listxattr");
    look_up(g_real.llistxattr, "llistxattr");
    look_up(g_real.readlinkat, "readlinkat");
    look_up(g_real.chdir, "chdir");
    look_up(g_real.getcwd, "getcwd");
    look_up(g_real.get_current_dir_name, "get_current_dir_name");
    look_up(g_real.realpath, "realpath");
}

void look_up_directories() {
    look_up(g_real.opendir, "opendir");
    look_up(g_real.fdopendir, "fdopendir");
    look_up(g_real.closedir, "closedir");
    look_up(g_real.readdir, "readdir");
    look_up(g_real.readdir64, "readdir64");
    look_up(g_real.rewinddir, "rewinddir");
    look_up(g_real.telldir, "telldir");
    look_up(g_real.seekdir, "seekdir");
    look_up(g_real.scandirat, "scandirat");
    look_up(g_real.scandirat64, "scandirat64");
    look_up(g_real.glob, "glob");
    look_up(g_real.glob64, "glob64");
}

void look_up_changes() {
    look_up(g_real.unlinkat, "unlinkat");
    look_up(g_real.mkdirat, "mkdirat");
    look_up(g_real.mknodat, "mknodat");
    look_up(g_real.renameat2, "renameat2");
    look_up(g_real.linkat, "linkat");
    look_up(g_real.symlinkat, "symlinkat");
    look_up(g_real.fchmodat, "fchmodat");
    look_up(g_real.fchmod, "fchmod");
    look_up(g_real.fchownat, "fchownat");
    look_up(g_real.fchown, "fchown");
    look_up(g_real.truncate, "truncate64");
    look_up(g_real.ftruncate, "ftruncate64");
    look_up(g_real.futimens, "futimens");
    look_up(g_real.utimensat, "utimensat");
    look_up(g_real.utimes, "utimes");
    look_up(g_real.lutimes, "lutimes");
    look_up(g_real.futimesat, "futimesat");
    look_up(g_real.utime, "utime");
    look_up(g_real.setxattr, "setxattr");
    look_up(g_real.lsetxattr, "lsetxattr");
    look_up(g_real.removexattr, "removexattr");
    look_up(g_real.lremovexattr, "lremovexattr");
    look_up(g_real.mkostemps, "mkostemps64");
    look_up(g_real.mkdtemp, "mkdtemp");
    look_up(g_real.mktemp, "mktemp");
}

void look_up_streams_and_sleeps() {
    look_up(g_real.fopen, "fopen64");
    look_up(g_real.fdopen, "fdopen");
    look_up(g_real.freopen, "freopen64");
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
        look_up_views();
        look_up_directories();
        look_up_changes();
        look_up_streams_and_sleeps();
        g_ready.store(true, std::memory_order_release);
    }
    return g_real;
}

}  // namespace vchassis
