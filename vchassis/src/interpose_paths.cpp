// SPDX-License-Identifier: MIT
// The functions that change what a path names: what a program makes, renames or deletes on a
// chassis must not be the host's. With them the few on descriptors that change a file's properties.
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <utime.h>

#include "real.h"
#include "redirect.h"

using vchassis::real;
using vchassis::redirected;
using vchassis::redirected_pair;
using vchassis::Target;
using vchassis::Use;

namespace {

// A call on a descriptor, unless that is a device.
template <class Call>
int unless_device(int fd, Use use, Call call) {
    const Target target = vchassis::resolve(fd, use);
    if (target.error != 0) {
        errno = target.error;
        return -1;
    }
    return call();
}

}  // namespace

INTERPOSED int unlinkat(int dirfd, const char *path, int flags) noexcept {
    return redirected(dirfd, path, Use::change, [=](int base, const char *name) {
        return real().unlinkat(base, name, flags);
    });
}
INTERPOSED int unlink(const char *path) noexcept {
    return unlinkat(AT_FDCWD, path, 0);
}
INTERPOSED int rmdir(const char *path) noexcept {
    return unlinkat(AT_FDCWD, path, AT_REMOVEDIR);
}

INTERPOSED int remove(const char *path) noexcept {
    const int result = unlink(path);
    return result < 0 && errno == EISDIR ? rmdir(path) : result;
}

INTERPOSED int mkdirat(int dirfd, const char *path, mode_t mode) noexcept {
    return redirected(dirfd, path, Use::create,
                      [=](int base, const char *name) { return real().mkdirat(base, name, mode); });
}
INTERPOSED int mkdir(const char *path, mode_t mode) noexcept {
    return mkdirat(AT_FDCWD, path, mode);
}

INTERPOSED int mknodat(int dirfd, const char *path, mode_t mode, dev_t device) noexcept {
    return redirected(dirfd, path, Use::create, [=](int base, const char *name) {
        return real().mknodat(base, name, mode, device);
    });
}
INTERPOSED int mknod(const char *path, mode_t mode, dev_t device) noexcept {
    return mknodat(AT_FDCWD, path, mode, device);
}
INTERPOSED int mkfifoat(int dirfd, const char *path, mode_t mode) noexcept {
    return mknodat(dirfd, path, mode | S_IFIFO, 0);
}
INTERPOSED int mkfifo(const char *path, mode_t mode) noexcept {
    return mkfifoat(AT_FDCWD, path, mode);
}

INTERPOSED int renameat2(int from_dir, const char *from, int to_dir, const char *to,
                         unsigned flags) noexcept {
    return redirected_pair(from_dir, from, Use::change, to_dir, to,
                           [flags](const Target &source, const Target &target) {
                               return real().renameat2(source.dirfd, source.path(), target.dirfd,
                                                       target.path(), flags);
                           });
}
INTERPOSED int renameat(int from_dir, const char *from, int to_dir, const char *to) noexcept {
    return renameat2(from_dir, from, to_dir, to, 0);
}
INTERPOSED int rename(const char *from, const char *to) noexcept {
    return renameat(AT_FDCWD, from, AT_FDCWD, to);
}

INTERPOSED int linkat(int from_dir, const char *from, int to_dir, const char *to,
                      int flags) noexcept {
    return redirected_pair(
        from_dir, from, Use::own, to_dir, to, [flags](const Target &source, const Target &target) {
            return real().linkat(source.dirfd, source.path(), target.dirfd, target.path(), flags);
        });
}
INTERPOSED int link(const char *from, const char *to) noexcept {
    return linkat(AT_FDCWD, from, AT_FDCWD, to, 0);
}
INTERPOSED int symlinkat(const char *text, int dirfd, const char *path) noexcept {
    return redirected(dirfd, path, Use::create, [=](int base, const char *name) {
        return real().symlinkat(text, base, name);
    });
}
INTERPOSED int symlink(const char *text, const char *path) noexcept {
    return symlinkat(text, AT_FDCWD, path);
}

INTERPOSED int fchmodat(int dirfd, const char *path, mode_t mode, int flags) noexcept {
    return redirected(dirfd, path, Use::own, [=](int base, const char *name) {
        return real().fchmodat(base, name, mode, flags);
    });
}
INTERPOSED int chmod(const char *path, mode_t mode) noexcept {
    return fchmodat(AT_FDCWD, path, mode, 0);
}
INTERPOSED int lchmod(const char *path, mode_t mode) noexcept {
    return fchmodat(AT_FDCWD, path, mode, AT_SYMLINK_NOFOLLOW);
}
INTERPOSED int fchmod(int fd, mode_t mode) noexcept {
    return unless_device(fd, Use::own, [=] { return real().fchmod(fd, mode); });
}

INTERPOSED int fchownat(int dirfd, const char *path, uid_t user, gid_t group, int flags) noexcept {
    return redirected(dirfd, path, Use::own, [=](int base, const char *name) {
        return real().fchownat(base, name, user, group, flags);
    });
}
INTERPOSED int chown(const char *path, uid_t user, gid_t group) noexcept {
    return fchownat(AT_FDCWD, path, user, group, 0);
}
INTERPOSED int lchown(const char *path, uid_t user, gid_t group) noexcept {
    return fchownat(AT_FDCWD, path, user, group, AT_SYMLINK_NOFOLLOW);
}
INTERPOSED int fchown(int fd, uid_t user, gid_t group) noexcept {
    return unless_device(fd, Use::own, [=] { return real().fchown(fd, user, group); });
}

INTERPOSED int truncate64(const char *path, off64_t size) noexcept {
    return redirected(AT_FDCWD, path, Use::resize,
                      [=](int, const char *name) { return real().truncate(name, size); });
}
INTERPOSED int truncate(const char *path, off_t size) noexcept {
    return truncate64(path, size);
}
INTERPOSED int ftruncate64(int fd, off64_t size) noexcept {
    return unless_device(fd, Use::resize, [=] { return real().ftruncate(fd, size); });
}
INTERPOSED int ftruncate(int fd, off_t size) noexcept {
    return ftruncate64(fd, size);
}

INTERPOSED int futimens(int fd, const timespec times[2]) noexcept {
    return unless_device(fd, Use::own, [=] { return real().futimens(fd, times); });
}
INTERPOSED int utimensat(int dirfd, const char *path, const timespec times[2], int flags) noexcept {
    return redirected(dirfd, path, Use::own, [=](int base, const char *name) {
        return real().utimensat(base, name, times, flags);
    });
}
INTERPOSED int utimes(const char *path, const timeval times[2]) noexcept {
    return redirected(AT_FDCWD, path, Use::own,
                      [=](int, const char *name) { return real().utimes(name, times); });
}
INTERPOSED int lutimes(const char *path, const timeval times[2]) noexcept {
    return redirected(AT_FDCWD, path, Use::own,
                      [=](int, const char *name) { return real().lutimes(name, times); });
}
INTERPOSED int futimesat(int dirfd, const char *path, const timeval times[2]) noexcept {
    return redirected(dirfd, path, Use::own, [=](int base, const char *name) {
        return real().futimesat(base, name, times);
    });
}
INTERPOSED int utime(const char *path, const utimbuf *times) noexcept {
    return redirected(AT_FDCWD, path, Use::own,
                      [=](int, const char *name) { return real().utime(name, times); });
}

INTERPOSED int setxattr(const char *path, const char *name, const void *value, size_t size,
                        int flags) noexcept {
    return redirected(AT_FDCWD, path, Use::own, [=](int, const char *at) {
        return real().setxattr(at, name, value, size, flags);
    });
}
INTERPOSED int lsetxattr(const char *path, const char *name, const void *value, size_t size,
                         int flags) noexcept {
    return redirected(AT_FDCWD, path, Use::own, [=](int, const char *at) {
        return real().lsetxattr(at, name, value, size, flags);
    });
}
INTERPOSED int removexattr(const char *path, const char *name) noexcept {
    return redirected(AT_FDCWD, path, Use::own,
                      [=](int, const char *at) { return real().removexattr(at, name); });
}
INTERPOSED int lremovexattr(const char *path, const char *name) noexcept {
    return redirected(AT_FDCWD, path, Use::own,
                      [=](int, const char *at) { return real().lremovexattr(at, name); });
}
