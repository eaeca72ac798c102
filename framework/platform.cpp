// SPDX-License-Identifier: MIT
#include "framework/platform.h"

#include <fcntl.h>
#include <unistd.h>

namespace dfd {

LineReader::LineReader(const char *path) : file_(std::fopen(path, "r")) {}

LineReader::~LineReader() {
    if (file_ != nullptr) {
        std::fclose(file_);
    }
}

bool LineReader::next(char *line, int size) {
    return std::fgets(line, size, file_) != nullptr;
}

int read_file(const char *path, void *buf, int len) {
    const int fd = open(path, O_RDONLY);
    if (fd < 0) {
        return kCannotOpen;
    }
    const auto count = read(fd, buf, static_cast<size_t>(len));
    close(fd);
    return static_cast<int>(count);
}

bool file_exists(const char *path) {
    return access(path, F_OK) == 0;
}

void pause_us(unsigned us) {
    usleep(us);
}

}  // namespace dfd
