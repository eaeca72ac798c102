// SPDX-License-Identifier: MIT
// Looking at what a path or a descriptor leads to. A device of the chassis is shown as a character
// device of the user who runs the program. Its file system and times are those of its stand-in, by
// path and by descriptor: `cp` takes a file that differs for one that was replaced.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "real.h"
#include "redirect.h"

using vchassis::DeviceNumber;
using vchassis::look;
using vchassis::real;
using vchassis::resolve;
using vchassis::Target;
using vchassis::Use;

namespace {

constexpr mode_t kDeviceMode = S_IFCHR | 0660;

// In programs of 64 bits the two structures are the same.
template <class Stat>
int real_stat(int dirfd, const char *path, Stat *out, int flags) {
    if constexpr (sizeof(Stat) == sizeof(struct stat)) {
        return real().fstatat(dirfd, path, reinterpret_cast<struct stat *>(out), flags);
    } else {
        return real().fstatat64(dirfd, path, out, flags);
    }
}

template <class Stat>
void show_as(const DeviceNumber &device, Stat *out) {
    out->st_mode = kDeviceMode;
    out->st_rdev = makedev(device.major, device.minor);
    out->st_ino = static_cast<decltype(out->st_ino)>(device.inode());
    out->st_nlink = 1;
    out->st_uid = geteuid();
    out->st_gid = getegid();
}

void show_as(const DeviceNumber &device, struct statx *out) {
    out->stx_mode = kDeviceMode;
    out->stx_rdev_major = device.major;
    out->stx_rdev_minor = device.minor;
    out->stx_ino = device.inode();
    out->stx_nlink = 1;
    out->stx_uid = geteuid();
    out->stx_gid = getegid();
}

bool is_descriptor(const char *path, int flags) {
    return (flags & AT_EMPTY_PATH) != 0 && (path == nullptr || *path == '\0');
}

// `call` fills in `out` for a descriptor and a path of the host.
template <class Stat, class Call>
int show(int dirfd, const char *path, int flags, Stat *out, Call call) {
    const bool by_descriptor = is_descriptor(path, flags);
    const Target target =
        by_descriptor ? resolve(dirfd, Use::look) : resolve(dirfd, path, Use::look);
    if (target.error != 0) {
        errno = target.error;
        return -1;
    }
    const bool is_device = target.device.major != 0;
    const int result = call(target.dirfd, by_descriptor && !is_device ? path : target.path());
    if (result == 0 && is_device) {
        show_as(target.device, out);
    }
    return result;
}

template <class Stat>
int show_stat(int dirfd, const char *path, Stat *out, int flags) {
    return show(dirfd, path, flags, out,
                [=](int base, const char *name) { return real_stat(base, name, out, flags); });
}

// AT_FDCWD, which is negative, is no descriptor here.
template <class Stat>
int show_descriptor(int fd, Stat *out) {
    if (fd < 0) {
        errno = EBADF;
        return -1;
    }
    return show_stat(fd, "", out, AT_EMPTY_PATH);
}

}  // namespace

INTERPOSED int stat(const char *path, struct stat *out) noexcept {
    return show_stat(AT_FDCWD, path, out, 0);
}
INTERPOSED int stat64(const char *path, struct stat64 *out) noexcept {
    return show_stat(AT_FDCWD, path, out, 0);
}
INTERPOSED int lstat(const char *path, struct stat *out) noexcept {
    return show_stat(AT_FDCWD, path, out, AT_SYMLINK_NOFOLLOW);
}
INTERPOSED int lstat64(const char *path, struct stat64 *out) noexcept {
    return show_stat(AT_FDCWD, path, out, AT_SYMLINK_NOFOLLOW);
}
INTERPOSED int fstatat(int dirfd, const char *path, struct stat *out, int flags) noexcept {
    return show_stat(dirfd, path, out, flags);
}
INTERPOSED int fstatat64(int dirfd, const char *path, struct stat64 *out, int flags) noexcept {
    return show_stat(dirfd, path, out, flags);
}
INTERPOSED int fstat(int fd, struct stat *out) noexcept {
    return show_descriptor(fd, out);
}
INTERPOSED int fstat64(int fd, struct stat64 *out) noexcept {
    return show_descriptor(fd, out);
}

// Programs linked with an older libc call these, and say which layout they mean: there is one. None
// calls the function above by its name: that of a sanitizer may stand before it, and come back
// here.
INTERPOSED int __xstat(int, const char *path, struct stat *out) {
    return show_stat(AT_FDCWD, path, out, 0);
}
INTERPOSED int __xstat64(int, const char *path, struct stat64 *out) {
    return show_stat(AT_FDCWD, path, out, 0);
}
INTERPOSED int __lxstat(int, const char *path, struct stat *out) {
    return show_stat(AT_FDCWD, path, out, AT_SYMLINK_NOFOLLOW);
}
INTERPOSED int __lxstat64(int, const char *path, struct stat64 *out) {
    return show_stat(AT_FDCWD, path, out, AT_SYMLINK_NOFOLLOW);
}
INTERPOSED int __fxstat(int, int fd, struct stat *out) {
    return show_descriptor(fd, out);
}
INTERPOSED int __fxstat64(int, int fd, struct stat64 *out) {
    return show_descriptor(fd, out);
}
INTERPOSED int __fxstatat(int, int dirfd, const char *path, struct stat *out, int flags) {
    return show_stat(dirfd, path, out, flags);
}
INTERPOSED int __fxstatat64(int, int dirfd, const char *path, struct stat64 *out, int flags) {
    return show_stat(dirfd, path, out, flags);
}

INTERPOSED int statx(int dirfd, const char *path, int flags, unsigned mask,
                     struct statx *out) noexcept {
    return show(dirfd, path, flags, out, [=](int base, const char *name) {
        return real().statx(base, name, flags, mask, out);
    });
}

INTERPOSED int statfs(const char *path, struct statfs *out) noexcept {
    return look(AT_FDCWD, path, [=](int, const char *at) { return real().statfs(at, out); });
}
INTERPOSED int statfs64(const char *path, struct statfs64 *out) noexcept {
    return look(AT_FDCWD, path, [=](int, const char *at) { return real().statfs64(at, out); });
}
INTERPOSED int statvfs(const char *path, struct statvfs *out) noexcept {
    return look(AT_FDCWD, path, [=](int, const char *at) { return real().statvfs(at, out); });
}
INTERPOSED int statvfs64(const char *path, struct statvfs64 *out) noexcept {
    return look(AT_FDCWD, path, [=](int, const char *at) { return real().statvfs64(at, out); });
}
INTERPOSED long pathconf(const char *path, int name) noexcept {
    return look(AT_FDCWD, path, [=](int, const char *at) { return real().pathconf(at, name); });
}

// For `ls -l` and `cp -p`.
INTERPOSED ssize_t getxattr(const char *path, const char *name, void *value, size_t size) noexcept {
    return look(AT_FDCWD, path,
                [=](int, const char *at) { return real().getxattr(at, name, value, size); });
}
INTERPOSED ssize_t lgetxattr(const char *path, const char *name, void *value,
                             size_t size) noexcept {
    return look(AT_FDCWD, path,
                [=](int, const char *at) { return real().lgetxattr(at, name, value, size); });
}
INTERPOSED ssize_t listxattr(const char *path, char *list, size_t size) noexcept {
    return look(AT_FDCWD, path,
                [=](int, const char *at) { return real().listxattr(at, list, size); });
}
INTERPOSED ssize_t llistxattr(const char *path, char *list, size_t size) noexcept {
    return look(AT_FDCWD, path,
                [=](int, const char *at) { return real().llistxattr(at, list, size); });
}
