// SPDX-License-Identifier: MIT
// Temporary names. In the chassis they are tried out by functions that lead there.
#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <sys/random.h>
#include <sys/stat.h>

#include "real.h"
#include "scope.h"

using vchassis::Entry;
using vchassis::is_ours;
using vchassis::real;

namespace {

constexpr size_t kPatternSize = 6;
constexpr char kPattern[] = "XXXXXX";
constexpr char kLetters[] = "abcdefghijklmnopqrstuvwxyz0123456789";
constexpr size_t kLetterCount = sizeof kLetters - 1;
constexpr int kAttempts = 1000;
constexpr mode_t kFileMode = 0600;
constexpr mode_t kDirectoryMode = 0700;

// Fills in names until `use` takes one: it returns -1 with EEXIST for one that is there already.
template <class Use>
int try_names(char *path, int suffix, Use use) {
    const size_t length = strlen(path);
    const size_t end = suffix < 0 ? 0 : length - static_cast<size_t>(suffix);
    if (suffix < 0 || length < static_cast<size_t>(suffix) + kPatternSize ||
        strncmp(path + end - kPatternSize, kPattern, kPatternSize) != 0) {
        errno = EINVAL;
        return -1;
    }
    for (int i = 0; i < kAttempts; ++i) {
        unsigned char random[kPatternSize] = {};
        if (getrandom(random, sizeof random, 0) < 0) {
            return -1;
        }
        for (size_t k = 0; k < kPatternSize; ++k) {
            path[end - kPatternSize + k] = kLetters[random[k] % kLetterCount];
        }
        if (const int result = use(path); result >= 0 || errno != EEXIST) {
            return result;
        }
    }
    return -1;
}

int make_file(char *path, int suffix, int flags) {
    if (!is_ours(path)) {
        return real().mkostemps(path, suffix, flags);
    }
    return try_names(path, suffix, [flags](const char *name) {
        return open(name, (flags & ~O_ACCMODE) | O_RDWR | O_CREAT | O_EXCL, kFileMode);
    });
}

}  // namespace

INTERPOSED int mkostemps(char *path, int suffix, int flags) {
    return make_file(path, suffix, flags);
}
INTERPOSED int mkostemps64(char *path, int suffix, int flags) {
    return make_file(path, suffix, flags);
}
INTERPOSED int mkstemps(char *path, int suffix) {
    return make_file(path, suffix, 0);
}
INTERPOSED int mkstemps64(char *path, int suffix) {
    return make_file(path, suffix, 0);
}
INTERPOSED int mkostemp(char *path, int flags) {
    return make_file(path, 0, flags);
}
INTERPOSED int mkostemp64(char *path, int flags) {
    return make_file(path, 0, flags);
}
INTERPOSED int mkstemp(char *path) {
    return make_file(path, 0, 0);
}
INTERPOSED int mkstemp64(char *path) {
    return make_file(path, 0, 0);
}

INTERPOSED char *mkdtemp(char *path) noexcept {
    if (!is_ours(path)) {
        return real().mkdtemp(path);
    }
    const int result =
        try_names(path, 0, [](const char *name) { return mkdir(name, kDirectoryMode); });
    return result < 0 ? nullptr : path;
}

// Only finds a free name. An empty one tells of a failure.
INTERPOSED char *mktemp(char *path) noexcept {
    if (!is_ours(path)) {
        return real().mktemp(path);
    }
    const int result = try_names(path, 0, [](const char *name) {
        struct stat info {};
        const int found = lstat(name, &info);
        errno = found == 0 ? EEXIST : errno;
        return found < 0 && errno == ENOENT ? 0 : -1;
    });
    *path = result < 0 ? '\0' : *path;
    return path;
}
