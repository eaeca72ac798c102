// SPDX-License-Identifier: MIT
// Streams. Inside libc fopen() does not come past open(), so streams are made here from descriptors
// that did: of a plain file by fdopen(), of a device by functions that read and write through them.
#include <fcntl.h>
#include <stdint.h>
#include <stdio.h>
#include <stdio_ext.h>
#include <string.h>
#include <unistd.h>

#include "real.h"
#include "scope.h"
#include "streams.h"

using vchassis::Entry;
using vchassis::is_ours;
using vchassis::Place;
using vchassis::real;
using vchassis::Session;

namespace {

constexpr mode_t kCreateMode = 0666;

int open_flags(const char *mode) {
    const bool both = strchr(mode, '+') != nullptr;
    int flags = both ? O_RDWR : *mode == 'r' ? O_RDONLY : O_WRONLY;
    flags |= *mode == 'w' ? O_CREAT | O_TRUNC : *mode == 'a' ? O_CREAT | O_APPEND : 0;
    flags |= strchr(mode, 'x') != nullptr ? O_EXCL : 0;
    return flags | (strchr(mode, 'e') != nullptr ? O_CLOEXEC : 0);
}

int descriptor(void *cookie) {
    return static_cast<int>(reinterpret_cast<intptr_t>(cookie));
}

ssize_t read_cookie(void *cookie, char *buffer, size_t size) {
    return read(descriptor(cookie), buffer, size);
}

// A stream takes 0, not -1, for a failure.
ssize_t write_cookie(void *cookie, const char *data, size_t size) {
    const ssize_t done = write(descriptor(cookie), data, size);
    return done < 0 ? 0 : done;
}

int seek_cookie(void *cookie, off64_t *offset, int whence) {
    const off64_t at = lseek64(descriptor(cookie), *offset, whence);
    *offset = at;
    return at < 0 ? -1 : 0;
}

int close_cookie(void *cookie) {
    return close(descriptor(cookie));
}

FILE *device_stream(int fd, const char *mode) {
    FILE *stream = fopencookie(reinterpret_cast<void *>(intptr_t{fd}), mode,
                               {read_cookie, write_cookie, seek_cookie, close_cookie});
    // So that fileno() works, by which C++ streams read.
    if (stream != nullptr) {
        stream->_fileno = fd;
    }
    return stream;
}

bool is_device(int fd) {
    Entry in(fd);
    return in && in->is_device(fd);
}

FILE *open_stream(const char *path, const char *mode) {
    const int fd = open(path, open_flags(mode), kCreateMode);
    if (fd < 0) {
        return nullptr;
    }
    FILE *stream = fdopen(fd, mode);
    if (stream == nullptr) {
        const int error = errno;
        close(fd);
        errno = error;
    }
    return stream;
}

// No device can move into an open stream, nor out of one. A standard stream is followed by another
// one of its name; of any other the caller has to take the result.
FILE *replace_stream(const char *path, const char *mode, FILE *old) {
    fflush(old);
    const int wanted = fileno(old);
    const int fd = open(path, open_flags(mode), kCreateMode);
    if (fd < 0) {
        return nullptr;
    }
    if (wanted >= 0 && wanted != fd) {
        dup2(fd, wanted);
        close(fd);
    }
    FILE *fresh = device_stream(wanted >= 0 ? wanted : fd, mode);
    for (FILE **standard : {&stdin, &stdout, &stderr}) {
        if (*standard == old && fresh != nullptr) {
            *standard = fresh;
        }
    }
    return fresh;
}

// libc closes and opens the descriptor itself.
FILE *reopen_file(const Place &place, const char *path, const char *mode, FILE *stream) {
    const int before = fileno(stream);
    Entry in;
    if (in && in->tracks(before)) {
        in->closed(before, 0);
    }
    FILE *result = real().freopen(path, mode, stream);
    if (in && result != nullptr && place.kind == Place::Kind::file) {
        in->opened(place, open_flags(mode), fileno(result));
    }
    return result;
}

struct Standard {
    FILE **stream;
    const char *mode;
    bool followed;
};
Standard g_standard[] = {{&stdin, "r", false}, {&stdout, "w", false}, {&stderr, "w", false}};

void follow(int fd, Standard &standard) {
    FILE *old = *standard.stream;
    if (standard.followed || !is_device(fd) || old == nullptr || fileno(old) != fd) {
        return;
    }
    FILE *fresh = device_stream(fd, standard.mode);
    if (fresh != nullptr) {
        const int mode = fd == STDERR_FILENO ? _IONBF : __flbf(old) != 0 ? _IOLBF : _IOFBF;
        setvbuf(fresh, nullptr, mode, BUFSIZ);
        *standard.stream = fresh;
        standard.followed = true;
    }
}

}  // namespace

void vchassis::follow_standard_streams() {
    for (int fd = 0; fd <= STDERR_FILENO; ++fd) {
        follow(fd, g_standard[fd]);
    }
}

INTERPOSED FILE *fdopen(int fd, const char *mode) noexcept {
    return is_device(fd) ? device_stream(fd, mode) : real().fdopen(fd, mode);
}

INTERPOSED FILE *fopen(const char *path, const char *mode) {
    return is_ours(path) ? open_stream(path, mode) : real().fopen(path, mode);
}

INTERPOSED FILE *fopen64(const char *path, const char *mode) {
    return fopen(path, mode);
}

// Without a path it changes the mode of what is open.
INTERPOSED FILE *freopen(const char *path, const char *mode, FILE *stream) {
    const int before = fileno(stream);
    Place from;
    if (Entry in(before); in) {
        from = in->place(before);
    }
    Place to = from;
    if (path != nullptr) {
        const Entry in(AT_FDCWD, path);
        to = in ? in.place() : Place{};
    }
    if (from.is_device() || to.is_device() || to.kind == Place::Kind::missing_device ||
        Session::refuses(to, open_flags(mode))) {
        return replace_stream(path != nullptr ? path : from.path.c_str(), mode, stream);
    }
    const bool elsewhere = path != nullptr && to.kind == Place::Kind::file;
    return reopen_file(to, elsewhere ? to.real.c_str() : path, mode, stream);
}
INTERPOSED FILE *freopen64(const char *path, const char *mode, FILE *stream) {
    return freopen(path, mode, stream);
}

// Closing a plain stream closes the descriptor inside libc; a device stream comes past close(). The
// chassis stays locked meanwhile, for another thread may get the descriptor's number at once.
INTERPOSED int fclose(FILE *stream) {
    const int fd = fileno(stream);
    if (Entry in(fd); in && !in->is_device(fd)) {
        const int result = real().fclose(stream);
        return in.give<int>(in->closed(fd, result));
    }
    return real().fclose(stream);
}
