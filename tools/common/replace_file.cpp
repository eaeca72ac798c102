// SPDX-License-Identifier: MIT
#include "common/replace_file.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "common/signals_held.hpp"

namespace dfd_tools {

namespace {

constexpr mode_t kReadableByAll = 0644;

bool write_all(int fd, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(fd, text.data(), text.size());
        if (written < 0) {
            return false;
        }
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

/// Closes the file on each path.
bool fill(int fd, const std::string &text) {
    const bool is_written =
        write_all(fd, text) && fchmod(fd, kReadableByAll) == 0 && fsync(fd) == 0;
    const int error = errno;
    const bool is_closed = close(fd) == 0;
    errno = is_written ? errno : error;
    return is_written && is_closed;
}

/// The new name outlives a loss of power, too. A file system that cannot do that has done its best.
void sync_directory(const std::filesystem::path &directory) {
    if (const int fd = open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); fd >= 0) {
        fsync(fd);
        close(fd);
    }
}

}  // namespace

void replace_file(const std::string &path, const std::string &text) {
    // A link stays one; a device or pipe is nothing that another file may take the place of.
    const std::filesystem::path target = std::filesystem::weakly_canonical(path);
    if (std::filesystem::is_other(target)) {
        throw std::system_error(ENOTSUP, std::generic_category(),
                                path + " is no regular file and is as it was");
    }
    std::string beside = target.parent_path() / ("." + target.filename().string() + ".XXXXXX");
    const SignalsHeld held;
    const int fd = mkostemp(beside.data(), O_CLOEXEC);
    if (fd < 0 || !fill(fd, text) || rename(beside.c_str(), target.c_str()) != 0) {
        const int error = errno;
        if (fd >= 0) {
            unlink(beside.c_str());
        }
        throw std::system_error(error, std::generic_category(),
                                path + " cannot be replaced and is as it was");
    }
    sync_directory(target.parent_path());
}

}  // namespace dfd_tools
