// SPDX-License-Identifier: MIT
// The working directory and the names of places. Inside the chassis the process really stands in
// the chassis directory; a program gets the name back that it went there by.
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>

#include "real.h"
#include "redirect.h"

using vchassis::as_seen;
using vchassis::Entry;
using vchassis::look;
using vchassis::Place;
using vchassis::real;

namespace {

// Into `buffer`, or into memory of its own size when there is none, as getcwd() does.
char *hand_out(const std::string &text, char *buffer, size_t size) {
    const size_t needed = text.size() + 1;
    if (size != 0 && size < needed) {
        errno = ERANGE;
        return nullptr;
    }
    char *out = buffer != nullptr ? buffer : static_cast<char *>(malloc(std::max(size, needed)));
    return out == nullptr ? nullptr : static_cast<char *>(memcpy(out, text.c_str(), needed));
}

// Empty: the name that the host has for it is the right one.
std::string name_of_cwd() {
    char name[PATH_MAX];
    Entry in;
    if (!in || real().getcwd(name, sizeof name) == nullptr) {
        return {};
    }
    const std::string seen = as_seen(in->machine(), name);
    return seen == name ? std::string() : seen;
}

char *resolved_name(const Place &place, char *out) {
    if (place.kind == Place::Kind::missing_device) {
        errno = ENOENT;
        return nullptr;
    }
    if (place.is_device()) {
        return hand_out(place.path, out, 0);
    }
    char name[PATH_MAX];
    if (real().realpath(place.real.c_str(), name) == nullptr) {
        return nullptr;
    }
    const Entry in;
    return hand_out(in ? as_seen(in->machine(), name) : name, out, 0);
}

}  // namespace

INTERPOSED int chdir(const char *path) noexcept {
    return look(AT_FDCWD, path, [](int, const char *name) { return real().chdir(name); });
}

INTERPOSED char *getcwd(char *buffer, size_t size) noexcept {
    const std::string name = name_of_cwd();
    if (name.empty() || (buffer != nullptr && size == 0)) {
        return real().getcwd(buffer, size);
    }
    return hand_out(name, buffer, size);
}
INTERPOSED char *__getcwd_chk(char *buffer, size_t size, size_t room) noexcept {
    if (size > room) {
        abort();
    }
    return getcwd(buffer, size);
}
INTERPOSED char *getwd(char *buffer) noexcept {
    return getcwd(buffer, PATH_MAX);
}
// $PWD is right as long as it leads to where the process stands.
INTERPOSED char *get_current_dir_name() noexcept {
    const std::string name = name_of_cwd();
    return name.empty() ? real().get_current_dir_name() : hand_out(name, nullptr, 0);
}

INTERPOSED char *realpath(const char *path, char *out) noexcept {
    Place place;
    if (const Entry in(AT_FDCWD, path); in) {
        place = in.place();
    }
    return place.kind == Place::Kind::host ? real().realpath(path, out) : resolved_name(place, out);
}
INTERPOSED char *__realpath_chk(const char *path, char *out, size_t room) noexcept {
    if (room < PATH_MAX) {
        abort();
    }
    return realpath(path, out);
}
INTERPOSED char *canonicalize_file_name(const char *path) noexcept {
    return realpath(path, nullptr);
}

INTERPOSED ssize_t readlinkat(int dirfd, const char *path, char *out, size_t size) noexcept {
    return look(dirfd, path, [=](int base, const char *name) {
        return real().readlinkat(base, name, out, size);
    });
}
INTERPOSED ssize_t readlink(const char *path, char *out, size_t size) noexcept {
    return readlinkat(AT_FDCWD, path, out, size);
}
INTERPOSED ssize_t __readlink_chk(const char *path, char *out, size_t size, size_t room) noexcept {
    if (size > room) {
        abort();
    }
    return readlink(path, out, size);
}
INTERPOSED ssize_t __readlinkat_chk(int dirfd, const char *path, char *out, size_t size,
                                    size_t room) noexcept {
    if (size > room) {
        abort();
    }
    return readlinkat(dirfd, path, out, size);
}
