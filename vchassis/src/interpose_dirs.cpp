// SPDX-License-Identifier: MIT
// Directory streams, and what libc builds on them without coming past the public functions.
#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <glob.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

#include "real.h"
#include "redirect.h"

using vchassis::Entry;
using vchassis::Listed;
using vchassis::Listing;
using vchassis::Listings;
using vchassis::look;
using vchassis::Place;
using vchassis::real;

namespace {

DIR *opened(DIR *stream) {
    if (Entry in; in && stream != nullptr) {
        in->listings().opened(in->machine(), stream);
    }
    return stream;
}

// The stream's listing goes to `use`, under the lock; false when libc serves the stream.
template <class Use>
bool with_listing(DIR *stream, Use use) {
    if (!Listings::any()) {
        return false;
    }
    Entry in;
    Listing *listing = in ? in->listings().find(stream) : nullptr;
    if (listing != nullptr) {
        use(*listing);
    }
    return listing != nullptr;
}

template <class Dirent>
Dirent *next_entry(Listing &listing, Dirent &out) {
    if (listing.next >= listing.entries.size()) {
        return nullptr;
    }
    const Listed &listed = listing.entries[listing.next++];
    out.d_ino = static_cast<decltype(out.d_ino)>(listed.inode);
    out.d_off = static_cast<decltype(out.d_off)>(listing.next);
    out.d_reclen = sizeof out;
    out.d_type = listed.type;
    out.d_name[listed.name.copy(out.d_name, sizeof out.d_name - 1)] = '\0';
    return &out;
}

// By what the result is to point to.
dirent *next_of(DIR *stream, const dirent *) {
    return readdir(stream);
}
dirent64 *next_of(DIR *stream, const dirent64 *) {
    return readdir64(stream);
}

template <class Dirent>
int read_into(DIR *stream, Dirent *out, Dirent **result) {
    const int before = errno;
    errno = 0;
    const Dirent *entry = next_of(stream, out);
    const int error = errno;
    errno = before;
    *result =
        entry == nullptr ? nullptr : static_cast<Dirent *>(memcpy(out, entry, entry->d_reclen));
    return entry == nullptr ? error : 0;
}

bool leads_into_chassis(int dirfd, const char *path) {
    Entry in;
    if (!in || path == nullptr) {
        return false;
    }
    const Place place = vchassis::locate(in->machine(), dirfd, path);
    return place.kind != Place::Kind::host || is_mixed(in->machine(), place.path);
}

// The entries as scandir() gives them out: an array and each element from malloc().
template <class Dirent>
int scan(DIR *stream, Dirent ***out, int (*wanted)(const Dirent *),
         int (*order)(const Dirent **, const Dirent **)) {
    if (stream == nullptr) {
        return -1;
    }
    std::vector<const Dirent *> found;
    while (const Dirent *entry = next_of(stream, static_cast<const Dirent *>(nullptr))) {
        void *copy = wanted == nullptr || wanted(entry) != 0 ? malloc(entry->d_reclen) : nullptr;
        if (copy != nullptr) {
            found.push_back(static_cast<Dirent *>(memcpy(copy, entry, entry->d_reclen)));
        }
    }
    closedir(stream);
    if (order != nullptr) {
        std::stable_sort(found.begin(), found.end(),
                         [order](const Dirent *a, const Dirent *b) { return order(&a, &b) < 0; });
    }
    *out = static_cast<Dirent **>(malloc((found.size() + 1) * sizeof(Dirent *)));
    for (std::size_t i = 0; *out != nullptr && i < found.size(); ++i) {
        (*out)[i] = const_cast<Dirent *>(found[i]);
    }
    return *out == nullptr ? -1 : static_cast<int>(found.size());
}

DIR *open_at(int dirfd, const char *path) {
    const int fd = openat(dirfd, path, O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK);
    return fd < 0 ? nullptr : fdopendir(fd);
}

int stat_of(const char *path, struct stat *out, bool of_link) {
    return of_link ? lstat(path, out) : stat(path, out);
}
int stat_of(const char *path, struct stat64 *out, bool of_link) {
    return of_link ? lstat64(path, out) : stat64(path, out);
}

// glob() takes the functions to look with from its caller; these come past the chassis.
template <class Glob, class Stat, class Dirent, class Call>
int glob_with(const char *pattern, int flags, int (*on_error)(const char *, int), Glob *out,
              Call call) {
    const bool active = static_cast<bool>(Entry());
    if (!active || (flags & GLOB_ALTDIRFUNC) != 0) {
        return call(pattern, flags, on_error, out);
    }
    const Glob given = *out;
    out->gl_opendir = [](const char *path) -> void * { return opendir(path); };
    out->gl_closedir = [](void *stream) { closedir(static_cast<DIR *>(stream)); };
    out->gl_readdir = [](void *stream) {
        return next_of(static_cast<DIR *>(stream), static_cast<const Dirent *>(nullptr));
    };
    out->gl_lstat = [](const char *path, Stat *info) { return stat_of(path, info, true); };
    out->gl_stat = [](const char *path, Stat *info) { return stat_of(path, info, false); };
    const int result = call(pattern, flags | GLOB_ALTDIRFUNC, on_error, out);
    out->gl_flags &= ~GLOB_ALTDIRFUNC;
    out->gl_opendir = given.gl_opendir;
    out->gl_closedir = given.gl_closedir;
    out->gl_readdir = given.gl_readdir;
    out->gl_lstat = given.gl_lstat;
    out->gl_stat = given.gl_stat;
    return result;
}

}  // namespace

INTERPOSED DIR *opendir(const char *path) {
    DIR *stream = nullptr;
    look(AT_FDCWD, path, [&stream](int, const char *name) {
        stream = real().opendir(name);
        return stream == nullptr ? -1 : 0;
    });
    return opened(stream);
}

INTERPOSED DIR *fdopendir(int fd) {
    return opened(real().fdopendir(fd));
}

// The descriptor is closed inside libc.
INTERPOSED int closedir(DIR *stream) {
    const int fd = dirfd(stream);
    if (Entry in; in) {
        in->listings().closed(stream);
    }
    if (Entry in(fd); in) {
        return in.give<int>(in->closed(fd, real().closedir(stream)));
    }
    return real().closedir(stream);
}

INTERPOSED dirent *readdir(DIR *stream) {
    dirent *entry = nullptr;
    const bool ours = with_listing(
        stream, [&entry](Listing &listing) { entry = next_entry(listing, listing.entry); });
    return ours ? entry : real().readdir(stream);
}
INTERPOSED dirent64 *readdir64(DIR *stream) {
    dirent64 *entry = nullptr;
    const bool ours = with_listing(
        stream, [&entry](Listing &listing) { entry = next_entry(listing, listing.entry64); });
    return ours ? entry : real().readdir64(stream);
}

INTERPOSED int readdir_r(DIR *stream, dirent *out, dirent **result) {
    return read_into(stream, out, result);
}
INTERPOSED void rewinddir(DIR *stream) noexcept {
    real().rewinddir(stream);
    if (Entry in; in) {
        in->listings().rewound(in->machine(), stream);
    }
}
INTERPOSED long telldir(DIR *stream) noexcept {
    long at = 0;
    const bool ours = with_listing(
        stream, [&at](const Listing &listing) { at = static_cast<long>(listing.next); });
    return ours ? at : real().telldir(stream);
}
INTERPOSED void seekdir(DIR *stream, long at) noexcept {
    const bool ours = with_listing(
        stream, [at](Listing &listing) { listing.next = static_cast<std::size_t>(at); });
    if (!ours) {
        real().seekdir(stream, at);
    }
}

INTERPOSED int readdir64_r(DIR *stream, dirent64 *out, dirent64 **result) {
    return read_into(stream, out, result);
}

INTERPOSED int scandirat(int dirfd, const char *path, dirent ***out, int (*wanted)(const dirent *),
                         int (*order)(const dirent **, const dirent **)) {
    return leads_into_chassis(dirfd, path) ? scan(open_at(dirfd, path), out, wanted, order)
                                           : real().scandirat(dirfd, path, out, wanted, order);
}
INTERPOSED int scandirat64(int dirfd, const char *path, dirent64 ***out,
                           int (*wanted)(const dirent64 *),
                           int (*order)(const dirent64 **, const dirent64 **)) {
    return leads_into_chassis(dirfd, path) ? scan(open_at(dirfd, path), out, wanted, order)
                                           : real().scandirat64(dirfd, path, out, wanted, order);
}
INTERPOSED int scandir(const char *path, dirent ***out, int (*wanted)(const dirent *),
                       int (*order)(const dirent **, const dirent **)) {
    return scandirat(AT_FDCWD, path, out, wanted, order);
}
INTERPOSED int scandir64(const char *path, dirent64 ***out, int (*wanted)(const dirent64 *),
                         int (*order)(const dirent64 **, const dirent64 **)) {
    return scandirat64(AT_FDCWD, path, out, wanted, order);
}

INTERPOSED int glob(const char *pattern, int flags, int (*on_error)(const char *, int),
                    glob_t *out) noexcept {
    return glob_with<glob_t, struct stat, dirent>(pattern, flags, on_error, out, real().glob);
}
INTERPOSED int glob64(const char *pattern, int flags, int (*on_error)(const char *, int),
                      glob64_t *out) noexcept {
    return glob_with<glob64_t, struct stat64, dirent64>(pattern, flags, on_error, out,
                                                        real().glob64);
}
