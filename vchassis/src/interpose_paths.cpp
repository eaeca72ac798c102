// SPDX-License-Identifier: MIT
// The functions on paths without a descriptor: looking at files and directories, and changing them.
// Scripts need them; and what a program deletes on a chassis must not be the host's.
#include <dirent.h>
#include <errno.h>
#include <stdio.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "real.h"
#include "scope.h"

#define INTERPOSED extern "C" __attribute__((visibility("default")))

using vchassis::Entry;
using vchassis::Place;
using vchassis::real;

namespace {

namespace fs = std::filesystem;

// What a look at a device shows: a character device.
constexpr const char *kDeviceStandIn = "/dev/null";

enum class Use { look, change, create };

// Where a call really goes.
struct Target {
    int dirfd;
    const char *given;
    std::string real = {};
    int error = 0;

    const char *path() const { return real.empty() ? given : real.c_str(); }
};

void redirect(const Place &place, Use use, Target &target) {
    target.dirfd = AT_FDCWD;
    if (place.kind == Place::Kind::missing_device) {
        target.error = ENOENT;
    } else if (place.kind != Place::Kind::file) {
        target.real = kDeviceStandIn;
        target.error = use == Use::look ? 0 : EACCES;
    } else {
        target.real = place.real;
    }
    if (use == Use::create && target.error == 0) {
        std::error_code ignored;
        fs::create_directories(fs::path(place.real).parent_path(), ignored);
    }
}

Target resolve(int dirfd, const char *path, Use use) {
    Target target{dirfd, path};
    if (Entry in(dirfd, path); in) {
        redirect(in.place(), use, target);
    }
    return target;
}

template <class Call>
auto redirected(int dirfd, const char *path, Use use, Call call) {
    const Target target = resolve(dirfd, path, use);
    if (target.error != 0) {
        errno = target.error;
        return decltype(call(dirfd, path)){-1};
    }
    return call(target.dirfd, target.path());
}

template <class Call>
auto look(int dirfd, const char *path, Call call) {
    return redirected(dirfd, path, Use::look, call);
}

template <class Stat>
auto stat_into(Stat *out, int flags) {
    return [out, flags](int dirfd, const char *path) {
        if constexpr (sizeof(Stat) == sizeof(struct stat)) {
            return real().fstatat(dirfd, path, reinterpret_cast<struct stat *>(out), flags);
        } else {
            return real().fstatat64(dirfd, path, out, flags);
        }
    };
}

}  // namespace

INTERPOSED int stat(const char *path, struct stat *out) noexcept {
    return look(AT_FDCWD, path, stat_into(out, 0));
}
INTERPOSED int stat64(const char *path, struct stat64 *out) noexcept {
    return look(AT_FDCWD, path, stat_into(out, 0));
}
INTERPOSED int lstat(const char *path, struct stat *out) noexcept {
    return look(AT_FDCWD, path, stat_into(out, AT_SYMLINK_NOFOLLOW));
}
INTERPOSED int lstat64(const char *path, struct stat64 *out) noexcept {
    return look(AT_FDCWD, path, stat_into(out, AT_SYMLINK_NOFOLLOW));
}
INTERPOSED int fstatat(int dirfd, const char *path, struct stat *out, int flags) noexcept {
    return look(dirfd, path, stat_into(out, flags));
}
INTERPOSED int fstatat64(int dirfd, const char *path, struct stat64 *out, int flags) noexcept {
    return look(dirfd, path, stat_into(out, flags));
}

INTERPOSED int statx(int dirfd, const char *path, int flags, unsigned mask,
                     struct statx *out) noexcept {
    return look(dirfd, path, [=](int base, const char *name) {
        return real().statx(base, name, flags, mask, out);
    });
}

// For `ls -l`.
INTERPOSED ssize_t getxattr(const char *path, const char *name, void *value, size_t size) noexcept {
    return look(AT_FDCWD, path,
                [=](int, const char *at) { return real().getxattr(at, name, value, size); });
}
INTERPOSED ssize_t lgetxattr(const char *path, const char *name, void *value,
                             size_t size) noexcept {
    return look(AT_FDCWD, path,
                [=](int, const char *at) { return real().lgetxattr(at, name, value, size); });
}

INTERPOSED DIR *opendir(const char *path) {
    DIR *stream = nullptr;
    look(AT_FDCWD, path, [&stream](int, const char *name) {
        stream = real().opendir(name);
        return stream == nullptr ? -1 : 0;
    });
    return stream;
}

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

INTERPOSED int renameat2(int from_dir, const char *from, int to_dir, const char *to,
                         unsigned flags) noexcept {
    const Target source = resolve(from_dir, from, Use::change);
    const Target target = resolve(to_dir, to, Use::create);
    if (source.error != 0 || target.error != 0) {
        errno = source.error != 0 ? source.error : target.error;
        return -1;
    }
    return real().renameat2(source.dirfd, source.path(), target.dirfd, target.path(), flags);
}
INTERPOSED int renameat(int from_dir, const char *from, int to_dir, const char *to) noexcept {
    return renameat2(from_dir, from, to_dir, to, 0);
}
INTERPOSED int rename(const char *from, const char *to) noexcept {
    return renameat(AT_FDCWD, from, AT_FDCWD, to);
}
