// SPDX-License-Identifier: MIT
// The functions on descriptors and paths that stand in front of libc. Each asks the chassis first
// and otherwise calls the one of libc with everything as it came in.
#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "real.h"
#include "scope.h"
#include "streams.h"

using vchassis::Entry;
using vchassis::real;

namespace {

// open() has a mode only when it may create a file.
bool takes_mode(int flags) {
    return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
}

int open_any(int dirfd, const char *path, int flags, mode_t mode) {
    if (Entry in(dirfd, path); in) {
        return in.give<int>(in->open(in.place(), flags, mode));
    }
    return dirfd == AT_FDCWD ? real().open(path, flags, mode)
                             : real().openat(dirfd, path, flags, mode);
}

// `copy` is what libc returned. The lock is free again when streams are looked at.
int duplicated(int fd, int copy) {
    if (Entry in; in && copy >= 0 && copy != fd) {
        in->duplicated(fd, copy);
    }
    if (copy >= 0 && copy <= STDERR_FILENO) {
        vchassis::follow_standard_streams();
    }
    return copy;
}

}  // namespace

// The mode of a variable argument list, or 0.
#define MODE_AFTER(flags, mode)           \
    mode_t mode = 0;                      \
    if (takes_mode(flags)) {              \
        va_list arguments;                \
        va_start(arguments, flags);       \
        mode = va_arg(arguments, mode_t); \
        va_end(arguments);                \
    }

// The one pointer of a variable argument list.
#define POINTER_AFTER(last, pointer)           \
    va_list arguments;                         \
    va_start(arguments, last);                 \
    void *pointer = va_arg(arguments, void *); \
    va_end(arguments);

INTERPOSED int open(const char *path, int flags, ...) {
    MODE_AFTER(flags, mode)
    return open_any(AT_FDCWD, path, flags, mode);
}

INTERPOSED int open64(const char *path, int flags, ...) {
    MODE_AFTER(flags, mode)
    return open_any(AT_FDCWD, path, flags | O_LARGEFILE, mode);
}

INTERPOSED int openat(int dirfd, const char *path, int flags, ...) {
    MODE_AFTER(flags, mode)
    return open_any(dirfd, path, flags, mode);
}

INTERPOSED int openat64(int dirfd, const char *path, int flags, ...) {
    MODE_AFTER(flags, mode)
    return open_any(dirfd, path, flags | O_LARGEFILE, mode);
}

// What the compiler makes of open() without a mode in fortified programs.
INTERPOSED int __open_2(const char *path, int flags) {
    return open_any(AT_FDCWD, path, flags, 0);
}
INTERPOSED int __open64_2(const char *path, int flags) {
    return open_any(AT_FDCWD, path, flags | O_LARGEFILE, 0);
}
INTERPOSED int __openat_2(int dirfd, const char *path, int flags) {
    return open_any(dirfd, path, flags, 0);
}
INTERPOSED int __openat64_2(int dirfd, const char *path, int flags) {
    return open_any(dirfd, path, flags | O_LARGEFILE, 0);
}

INTERPOSED int creat(const char *path, mode_t mode) {
    return open_any(AT_FDCWD, path, O_CREAT | O_WRONLY | O_TRUNC, mode);
}
INTERPOSED int creat64(const char *path, mode_t mode) {
    return open_any(AT_FDCWD, path, O_CREAT | O_WRONLY | O_TRUNC | O_LARGEFILE, mode);
}

INTERPOSED int close(int fd) {
    if (Entry in(fd); in) {
        return in.give<int>(in->close(fd));
    }
    return real().close(fd);
}

INTERPOSED off64_t lseek64(int fd, off64_t offset, int whence) noexcept {
    if (Entry in(fd); in) {
        return in.give<off64_t>(in->seek(fd, offset, whence));
    }
    return real().lseek(fd, offset, whence);
}

INTERPOSED off_t lseek(int fd, off_t offset, int whence) noexcept {
    return static_cast<off_t>(lseek64(fd, offset, whence));
}

INTERPOSED ssize_t read(int fd, void *buffer, size_t size) {
    if (Entry in(fd); in) {
        return in.give<ssize_t>(in->read(fd, buffer, size));
    }
    return real().read(fd, buffer, size);
}

INTERPOSED ssize_t write(int fd, const void *data, size_t size) {
    if (Entry in(fd); in) {
        return in.give<ssize_t>(in->write(fd, data, size));
    }
    return real().write(fd, data, size);
}

INTERPOSED ssize_t pread64(int fd, void *buffer, size_t size, off64_t offset) {
    if (Entry in(fd); in) {
        return in.give<ssize_t>(in->pread(fd, buffer, size, offset));
    }
    return real().pread(fd, buffer, size, offset);
}

INTERPOSED ssize_t pwrite64(int fd, const void *data, size_t size, off64_t offset) {
    if (Entry in(fd); in) {
        return in.give<ssize_t>(in->pwrite(fd, data, size, offset));
    }
    return real().pwrite(fd, data, size, offset);
}

INTERPOSED ssize_t pread(int fd, void *buffer, size_t size, off_t offset) {
    return pread64(fd, buffer, size, offset);
}

INTERPOSED ssize_t pwrite(int fd, const void *data, size_t size, off_t offset) {
    return pwrite64(fd, data, size, offset);
}

// Fortified programs have their buffer size checked; libc aborts them, and so do these.
INTERPOSED ssize_t __read_chk(int fd, void *buffer, size_t size, size_t room) {
    if (size > room) {
        abort();
    }
    return read(fd, buffer, size);
}

INTERPOSED ssize_t __pread_chk(int fd, void *buffer, size_t size, off_t offset, size_t room) {
    if (size > room) {
        abort();
    }
    return pread64(fd, buffer, size, offset);
}

INTERPOSED ssize_t __pread64_chk(int fd, void *buffer, size_t size, off64_t offset, size_t room) {
    if (size > room) {
        abort();
    }
    return pread64(fd, buffer, size, offset);
}

INTERPOSED int ioctl(int fd, unsigned long request, ...) noexcept {
    POINTER_AFTER(request, argument)
    if (Entry in(fd); in) {
        return in.give<int>(in->ioctl(fd, request, argument));
    }
    return real().ioctl(fd, request, argument);
}

INTERPOSED int access(const char *path, int mode) noexcept {
    if (Entry in(AT_FDCWD, path); in) {
        return in.give<int>(in->access(in.place(), mode));
    }
    return real().access(path, mode);
}

INTERPOSED int faccessat(int dirfd, const char *path, int mode, int flags) noexcept {
    if (Entry in(dirfd, path); in) {
        return in.give<int>(in->access(in.place(), mode));
    }
    return real().faccessat(dirfd, path, mode, flags);
}

// The two names of one function.
INTERPOSED int euidaccess(const char *path, int mode) noexcept {
    return faccessat(AT_FDCWD, path, mode, AT_EACCESS);
}
INTERPOSED int eaccess(const char *path, int mode) noexcept {
    return euidaccess(path, mode);
}

INTERPOSED int dup(int fd) noexcept {
    const int copy = real().dup(fd);
    if (Entry in(fd); in && copy >= 0) {
        in->duplicated(fd, copy);
    }
    return copy;
}

INTERPOSED int dup2(int fd, int target) noexcept {
    return duplicated(fd, real().dup2(fd, target));
}

INTERPOSED int dup3(int fd, int target, int flags) noexcept {
    return duplicated(fd, real().dup3(fd, target, flags));
}

namespace {

// What fcntl() tells of a descriptor are the flags that stay after open().
constexpr int kOnlyForOpen = O_CREAT | O_EXCL | O_NOCTTY | O_TRUNC | O_CLOEXEC;

int control(int fd, int command, void *argument) {
    if (command == F_GETFL) {
        if (Entry in(fd); in && in->is_device(fd)) {
            return in->flags(fd) & ~kOnlyForOpen;
        }
    }
    const int result = real().fcntl(fd, command, argument);
    if (result >= 0 && (command == F_DUPFD || command == F_DUPFD_CLOEXEC)) {
        if (Entry in(fd); in) {
            in->duplicated(fd, result);
        }
    }
    return result;
}

void close_tracked(unsigned first, unsigned last) {
    if (Entry in; in) {
        for (const int fd : in->tracked(first, last)) {
            in->close(fd);
        }
    }
}

}  // namespace

INTERPOSED int fcntl(int fd, int command, ...) {
    POINTER_AFTER(command, argument)
    return control(fd, command, argument);
}
INTERPOSED int fcntl64(int fd, int command, ...) {
    POINTER_AFTER(command, argument)
    return control(fd, command, argument);
}

INTERPOSED int close_range(unsigned first, unsigned last, int flags) noexcept {
    if (first <= last && flags == 0) {
        close_tracked(first, last);
    }
    return real().close_range(first, last, flags);
}
INTERPOSED void closefrom(int first) noexcept {
    close_tracked(first < 0 ? 0 : static_cast<unsigned>(first), ~0U);
    real().closefrom(first);
}
