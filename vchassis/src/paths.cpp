// SPDX-License-Identifier: MIT
#include "paths.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string_view>

namespace vchassis {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kTmp = "/tmp/";
// While a chassis is active the host's own hardware is out of reach, described or not.
constexpr std::string_view kGuarded[] = {"/dev/cpld", "/dev/fpga", "/dev/i2c"};

std::string absolute(int dirfd, const char *path) {
    if (path[0] == '/') {
        return fs::path(path).lexically_normal();
    }
    std::error_code error;
    const fs::path base = dirfd == AT_FDCWD
                              ? fs::current_path(error)
                              : fs::read_symlink(fmt::format("/proc/self/fd/{}", dirfd), error);
    return error ? std::string(path) : std::string((base / path).lexically_normal());
}

bool is_under(std::string_view path, std::string_view prefix) {
    return path.starts_with(prefix) && (path.size() == prefix.size() || path[prefix.size()] == '/');
}

bool is_owned(const Machine &machine, std::string_view path) {
    return std::any_of(machine.owned().begin(), machine.owned().end(),
                       [path](const std::string &prefix) { return is_under(path, prefix); });
}

}  // namespace

Place locate(const Machine &machine, int dirfd, const char *path) {
    Place place{Place::Kind::host, absolute(dirfd, path), {}};
    if (machine.registers(place.path) != nullptr) {
        place.kind = Place::Kind::registers;
    } else if (machine.bus(place.path) != nullptr) {
        place.kind = Place::Kind::bus;
    } else if (std::any_of(std::begin(kGuarded), std::end(kGuarded),
                           [&place](auto prefix) { return place.path.starts_with(prefix); })) {
        place.kind = Place::Kind::missing_device;
    } else if (const bool owned = is_owned(machine, place.path);
               owned || place.path.starts_with(kTmp)) {
        place.real = machine.dir().string() + place.path;
        const bool ours = owned || faccessat(AT_FDCWD, place.real.c_str(), F_OK, 0) == 0;
        place.kind = ours ? Place::Kind::file : Place::Kind::host;
    }
    return place;
}

}  // namespace vchassis
