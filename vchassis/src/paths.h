// SPDX-License-Identifier: MIT
// Where a path of the program leads: to a device, into the chassis directory, or to the host.
#pragma once

#include <string>

#include "machine.h"

namespace vchassis {

struct Place {
    enum class Kind {
        host,            // not ours
        file,            // `real` in the chassis directory
        registers,       // a register space of the chassis
        bus,             // an I2C bus of the chassis
        missing_device,  // named like a device of a chassis, but not described
    };
    Kind kind = Kind::host;
    std::string path;  // absolute, as the program means it
    std::string real;
};

// `dirfd` and `path` as openat() takes them.
Place locate(const Machine &machine, int dirfd, const char *path);

}  // namespace vchassis
