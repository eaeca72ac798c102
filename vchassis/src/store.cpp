// SPDX-License-Identifier: MIT
#include "store.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <stdexcept>

#include "text.h"

namespace vchassis {

namespace fs = std::filesystem;

namespace {

constexpr mode_t kFileMode = 0666;
constexpr const char *kFingerprintFile = "description.id";
constexpr const char *kLockFile = "lock";
constexpr const char *kAreaSuffix = ".bin";

[[noreturn]] void fail(const char *action, const fs::path &path, const char *advice = "") {
    throw std::runtime_error(
        fmt::format("cannot {} {}: {}{}", action, path.string(), std::strerror(errno), advice));
}

std::string slurp(const fs::path &path) {
    std::ifstream in(path, std::ios::binary);
    return read_all(in);
}

void fill_file(int fd, std::span<const std::uint8_t> bytes, const fs::path &path) {
    if (ftruncate(fd, 0) != 0 || ftruncate(fd, static_cast<off_t>(bytes.size())) != 0) {
        fail("size", path);
    }
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n =
            pwrite(fd, bytes.data() + done, bytes.size() - done, static_cast<off_t>(done));
        if (n <= 0) {
            fail("write", path);
        }
        done += static_cast<std::size_t>(n);
    }
}

bool has_size(int fd, std::size_t size) {
    struct stat info {};
    return fstat(fd, &info) == 0 && static_cast<std::size_t>(info.st_size) == size;
}

}  // namespace

Store::Store(fs::path dir) : dir_(std::move(dir)) {}

void Store::make() const {
    std::error_code error;
    // The lock is the first file of a state and is looked for last: a process that starts beside
    // this one may be making it meanwhile.
    if (fs::is_directory(dir_, error) && !fs::is_empty(dir_, error) && !error &&
        !fs::exists(dir_ / kLockFile, error)) {
        throw std::runtime_error(fmt::format(
            "{} holds other files; give an empty or a new directory for the state", dir_.string()));
    }
    fs::create_directories(dir_, error);
    if (error) {
        throw std::runtime_error(fmt::format(
            "cannot create the state directory {}: {}; choose another one or copy the chassis",
            dir_.string(), error.message()));
    }
}

Store::~Store() {
    for (const std::span<std::uint8_t> area : areas_) {
        munmap(area.data(), area.size());
    }
}

// A lock on a freshly opened file also excludes other threads and survives no process. A program
// that has no descriptor left goes on without: its accesses must fail as they do on hardware only.
Store::Lock::Lock(const Store &store)
    : fd_(open((store.dir_ / kLockFile).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, kFileMode)) {
    if (fd_ < 0 && errno != EMFILE && errno != ENFILE) {
        fail("open", store.dir_ / kLockFile, "; --state names another state directory");
    }
    while (fd_ >= 0 && flock(fd_, LOCK_EX) != 0 && errno == EINTR) {
    }
}

Store::Lock::~Lock() {
    if (fd_ >= 0) {
        close(fd_);
    }
}

bool Store::prepare(const std::string &fingerprint) {
    if (slurp(dir_ / kFingerprintFile) == fingerprint) {
        return true;
    }
    revoke();
    for (const fs::directory_entry &entry : fs::directory_iterator(dir_)) {
        if (entry.path().extension() == kAreaSuffix) {
            fs::remove(entry.path());
        }
    }
    return false;
}

void Store::revoke() const {
    fs::remove(dir_ / kFingerprintFile);
}

void Store::commit(const std::string &fingerprint) {
    const fs::path path = dir_ / kFingerprintFile;
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    if (!(out << fingerprint).flush()) {
        fail("write", path);  // or each run would make the state anew
    }
}

std::span<std::uint8_t> Store::area(const std::string &name,
                                    std::span<const std::uint8_t> initial) {
    const fs::path path = dir_ / (name + kAreaSuffix);
    const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, kFileMode);
    if (fd < 0) {
        fail("open", path);
    }
    if (!has_size(fd, initial.size())) {
        fill_file(fd, initial, path);
    }
    void *memory = mmap(nullptr, initial.size(), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    close(fd);
    if (memory == MAP_FAILED) {
        fail("map", path);
    }
    areas_.emplace_back(static_cast<std::uint8_t *>(memory), initial.size());
    return areas_.back();
}

}  // namespace vchassis
