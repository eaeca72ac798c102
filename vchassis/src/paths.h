// SPDX-License-Identifier: MIT
// Where a path of the program leads: to a device, into the chassis directory, or to the host.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "machine.h"

namespace vchassis {

struct Place {
    enum class Kind {
        host,            // not ours
        file,            // `real`: in the chassis directory or the state, or reached from there
        registers,       // a register space of the chassis
        bus,             // an I2C bus of the chassis
        missing_device,  // named like a device of a chassis, but not described
    };
    Kind kind = Kind::host;
    std::string path;  // absolute, as the program means it
    std::string real;
    bool is_read_only = false;

    bool is_device() const { return kind == Kind::registers || kind == Kind::bus; }
};

// `dirfd` and `path` as openat() takes them.
Place locate(const Machine &machine, int dirfd, const char *path);

// What a read-only place answers to a change of what is there, or to making something there: an
// errno, 0 where it may be done.
int change_error(const Place &place, bool creates);

// The missing directories above a place in the chassis directory.
void make_parents(const Place &place);

// The name by which the program knows a path of the host: another one for what lies in the chassis
// directory.
std::string as_seen(const Machine &machine, const std::string &path);

// Whether a directory, given as the program sees it, shows things of the host and of the chassis
// side by side.
bool is_mixed(const Machine &machine, std::string_view path);

struct Listed {
    std::string name;
    ino64_t inode;
    unsigned char type;  // as in dirent
};

// What a program finds in a mixed directory: of the host what is not the chassis's to show.
std::vector<Listed> list_mixed(const Machine &machine, const std::string &path);

// The device number that a device shows; the major one is 0 for what is no device.
struct DeviceNumber {
    unsigned major = 0;
    unsigned minor = 0;

    ino64_t inode() const { return ino64_t{major} << 20 | minor; }
};
DeviceNumber device_number(const Machine &machine, const Place &place);

}  // namespace vchassis
