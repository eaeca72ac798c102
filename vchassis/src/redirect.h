// SPDX-License-Identifier: MIT
// Where a function on a path without a descriptor really goes.
#pragma once

#include <errno.h>

#include <string>

#include "scope.h"

namespace vchassis {

// What a call does to the thing named; it decides what a device answers, and a read-only file.
enum class Use {
    look,    // is shown a character device
    change,  // EACCES
    create,  // EEXIST; of a file the missing parent directories are made
    own,     // EPERM: what only the owner of a file may do
    resize,  // EINVAL
};

struct Target {
    int dirfd;
    const char *given;
    std::string real = {};
    int error = 0;
    DeviceNumber device = {};

    const char *path() const { return real.empty() ? given : real.c_str(); }
};

Target resolve(int dirfd, const char *path, Use use);
// Of a descriptor: `error` only when it is a device or a read-only file.
Target resolve(int fd, Use use);

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

// For functions on two paths.
template <class Call>
int redirected_pair(int from_dir, const char *from, Use use, int to_dir, const char *to,
                    Call call) {
    const Target source = resolve(from_dir, from, use);
    const Target target = resolve(to_dir, to, Use::create);
    if (source.error != 0 || target.error != 0) {
        errno = source.error != 0 ? source.error : target.error;
        return -1;
    }
    return call(source, target);
}

}  // namespace vchassis
