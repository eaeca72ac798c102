// SPDX-License-Identifier: MIT
#include "framework/platform.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "framework/watch.h"

namespace dfd {

namespace {

// The path that a configuration file is really read from.
const char *real_path(const char *path) {
#ifdef DFD_WATCHED
    if (watch::hooks != nullptr && watch::hooks->map_path != nullptr) {
        return watch::hooks->map_path(watch::hooks->context, path);
    }
#endif
    return path;
}

int read_once(const char *path, void *buf, int len) {
    const int fd = open(path, O_RDONLY);
    DFD_WATCH_CALL(open, fd);
    if (fd < 0) {
        return kCannotOpen;
    }
    const auto count = read(fd, buf, static_cast<size_t>(len));
    DFD_WATCH_CALL(read, count);
    close(fd);
    return static_cast<int>(count);
}

}  // namespace

LineReader::LineReader(const char *path) : file_(std::fopen(real_path(path), "r")) {}

LineReader::~LineReader() {
    if (file_ != nullptr) {
        std::fclose(file_);
    }
}

bool LineReader::next(char *line, int size) {
    if (std::fgets(line, size, file_) != nullptr) {
        return true;
    }
    error_ = std::ferror(file_) != 0 ? errno : 0;
    return false;
}

int read_file(const char *path, void *buf, int len) {
    return watch::transfer({.via = watch::Via::plain_file,
                            .path = path,
                            .data = static_cast<uint8_t *>(buf),
                            .len = static_cast<uint32_t>(len)},
                           [=] { return read_once(path, buf, len); });
}

bool file_exists(const char *path) {
    constexpr int kAbsent = -1;
    return watch::transfer({.via = watch::Via::file_exists, .path = path}, [=] {
               const int rv = access(path, F_OK);
               DFD_WATCH_CALL(access, rv);
               return rv == 0 ? 0 : kAbsent;
           }) == 0;
}

void pause_us(unsigned us) {
    if (!DFD_WATCH_ANSWERS(pause, us)) {
        usleep(us);
    }
}

}  // namespace dfd
