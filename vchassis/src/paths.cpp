// SPDX-License-Identifier: MIT
#include "paths.h"

#include <dirent.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <set>

#include "i2c_class.h"
#include "real.h"
#include "text.h"

namespace vchassis {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kTmp = "/tmp/";
constexpr std::string_view kDev = "/dev";
// While a chassis is active the host's own hardware is out of reach, described or not.
constexpr std::string_view kGuarded[] = {"/dev/cpld", "/dev/fpga", "/dev/i2c"};
constexpr unsigned kI2cMajor = 89;
// The first of the major numbers that the kernel leaves to local use.
constexpr unsigned kLocalMajor = 240;

bool is_above(std::string_view path, std::string_view other) {
    return path == "/" || (is_under(other, path) && other.size() > path.size());
}

bool is_owned(const Machine &machine, std::string_view path) {
    return is_under(path, kI2cClass) ||
           std::any_of(machine.owned().begin(), machine.owned().end(),
                       [path](const std::string &prefix) { return is_under(path, prefix); });
}

bool is_above_owned(const Machine &machine, std::string_view path) {
    return is_above(path, kI2cClass) ||
           std::any_of(machine.owned().begin(), machine.owned().end(),
                       [path](const std::string &owned) { return is_above(path, owned); });
}

bool exists(const std::string &path) {
    return faccessat(AT_FDCWD, path.c_str(), F_OK, AT_SYMLINK_NOFOLLOW) == 0;
}

// The bus class of sysfs is made, so it lies with the state, too.
std::string behind(const Machine &machine, const std::string &path) {
    const bool made = is_under(path, kI2cClass) || is_above(path, kI2cClass);
    return (made || machine.keeps(path) ? machine.store().dir() : machine.dir()).string() + path;
}

// A directory on the way to an owned path that the host lacks.
bool is_way(const Machine &machine, const std::string &path) {
    return is_above_owned(machine, path) && !exists(path) && exists(behind(machine, path));
}

std::string without_slash(std::string_view path) {
    return std::string(path.size() > 1 && path.ends_with('/') ? path.substr(0, path.size() - 1)
                                                              : path);
}

// What a relative path is relative to, as the kernel names it.
std::string base_of(int dirfd) {
    std::error_code error;
    return dirfd == AT_FDCWD
               ? fs::current_path(error).string()
               : fs::read_symlink(fmt::format("/proc/self/fd/{}", dirfd), error).string();
}

// Relative to a directory of the chassis, the way out of it differs from the kernel's.
Place absolute(const Machine &machine, int dirfd, const char *path) {
    if (path[0] == '/') {
        return {Place::Kind::host, fs::path(path).lexically_normal(), {}};
    }
    const std::string base = base_of(dirfd);
    if (base.empty()) {
        return {Place::Kind::host, path, {}};
    }
    const std::string seen = as_seen(machine, base);
    const std::string full = (fs::path(seen) / path).lexically_normal();
    return seen == base ? Place{Place::Kind::host, full, {}} : Place{Place::Kind::file, full, full};
}

bool is_file_of_chassis(const Machine &machine, Place &place) {
    if (is_under(place.path, kI2cClass)) {
        make_i2c_class(machine);
    }
    const std::string path = without_slash(place.path);
    const bool owned = is_owned(machine, path);
    if (!owned && !path.starts_with(kTmp) && !is_way(machine, path)) {
        return false;
    }
    std::string real = behind(machine, place.path);
    if (owned || exists(real)) {
        place.real = std::move(real);
        place.is_read_only = machine.is_apart() && !machine.keeps(path);
        return true;
    }
    return false;
}

using Seen = std::set<std::string, std::less<>>;

// The entries of a directory that lead to places of this kind when they are named below `path`, and
// there: `root` is what stands in front of the path, nothing for the host.
void add_entries(const Machine &machine, const std::string &root, const std::string &path,
                 Place::Kind kind, Seen &seen, std::vector<Listed> &all) {
    DIR *stream = real().opendir((root + path).c_str());
    if (stream == nullptr) {
        return;
    }
    while (const dirent64 *entry = real().readdir64(stream)) {
        const std::string_view name = entry->d_name;
        const bool dots = name == "." || name == "..";
        const std::string full = fmt::format("{}/{}", path == "/" ? "" : path, name);
        const Place place = locate(machine, AT_FDCWD, full.c_str());
        const bool leads_there = place.kind == kind && (root.empty() || place.real == root + full);
        if ((dots || leads_there) && seen.emplace(name).second) {
            all.push_back({std::string(name), entry->d_ino, entry->d_type});
        }
    }
    real().closedir(stream);
}

template <class Devices>
void add_devices(const Machine &machine, const std::string &path, const Devices &devices,
                 std::vector<Listed> &all) {
    for (const auto &[device, unused] : devices) {
        const fs::path full = device;
        if (full.parent_path() == path) {
            const Place place = locate(machine, AT_FDCWD, device.c_str());
            all.push_back({full.filename(), device_number(machine, place).inode(), DT_CHR});
        }
    }
}

}  // namespace

std::string as_seen(const Machine &machine, const std::string &path) {
    for (const std::string &root : {machine.dir().string(), machine.store().dir().string()}) {
        if (is_under(path, root) && path.size() > root.size()) {
            std::string seen = path.substr(root.size());
            const bool ours =
                is_owned(machine, seen) || is_under(seen, "/tmp") || is_way(machine, seen);
            if (ours && behind(machine, seen) == path) {
                return seen;
            }
        }
    }
    return path;
}

Place locate(const Machine &machine, int dirfd, const char *path) {
    Place place = absolute(machine, dirfd, path);
    if (machine.registers(place.path) != nullptr) {
        place.kind = Place::Kind::registers;
    } else if (machine.bus(place.path) != nullptr) {
        place.kind = Place::Kind::bus;
    } else if (std::any_of(std::begin(kGuarded), std::end(kGuarded),
                           [&place](auto prefix) { return place.path.starts_with(prefix); })) {
        place.kind = Place::Kind::missing_device;
    } else if (is_file_of_chassis(machine, place)) {
        place.kind = Place::Kind::file;
    }
    return place;
}

int change_error(const Place &place, bool creates) {
    if (!place.is_read_only) {
        return 0;
    }
    const int error_of_existing = creates ? EEXIST : EROFS;
    const int error_of_missing = creates ? EROFS : ENOENT;
    return exists(place.real) ? error_of_existing : error_of_missing;
}

void make_parents(const Place &place) {
    if (place.kind == Place::Kind::file && place.real != place.path) {
        std::error_code ignored;
        fs::create_directories(fs::path(place.real).parent_path(), ignored);
    }
}

bool is_mixed(const Machine &machine, std::string_view path) {
    if (is_owned(machine, path)) {
        return false;
    }
    const auto holds = [path](const auto &device) { return is_above(path, device.first); };
    return path == kDev || is_under(path, "/tmp") || is_above_owned(machine, path) ||
           std::any_of(machine.spaces().begin(), machine.spaces().end(), holds);
}

std::vector<Listed> list_mixed(const Machine &machine, const std::string &path) {
    if (is_above(path, kI2cClass)) {
        make_i2c_class(machine);
    }
    std::vector<Listed> all;
    Seen seen;
    add_entries(machine, "", path, Place::Kind::host, seen, all);
    for (const std::string &root : {machine.dir().string(), machine.store().dir().string()}) {
        add_entries(machine, root, path, Place::Kind::file, seen, all);
    }
    add_devices(machine, path, machine.spaces(), all);
    add_devices(machine, path, machine.buses(), all);
    return all;
}

DeviceNumber device_number(const Machine &machine, const Place &place) {
    if (place.kind == Place::Kind::bus) {
        return {kI2cMajor, static_cast<unsigned>(machine.bus(place.path)->number())};
    }
    if (place.kind != Place::Kind::registers) {
        return {};
    }
    const auto at = machine.spaces().find(place.path);
    return {kLocalMajor, static_cast<unsigned>(std::distance(machine.spaces().begin(), at))};
}

}  // namespace vchassis
