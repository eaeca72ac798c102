// SPDX-License-Identifier: MIT
#include "redirect.h"

#include <fcntl.h>

namespace vchassis {

namespace {

// What is neither said of a device here nor asked of the chassis is true of any of this kind.
constexpr const char *kDeviceStandIn = "/dev/null";
constexpr int kDeviceErrors[] = {0, EACCES, EEXIST, EPERM, EINVAL};

int device_error(Use use) {
    return kDeviceErrors[static_cast<std::size_t>(use)];
}

void redirect(const Machine &machine, const Place &place, Use use, Target &target) {
    target.dirfd = AT_FDCWD;
    if (place.kind == Place::Kind::missing_device) {
        target.error = ENOENT;
    } else if (place.is_device()) {
        target.real = kDeviceStandIn;
        target.error = device_error(use);
        target.device = device_number(machine, place);
    } else {
        target.real = place.real;
        target.error = use == Use::look ? 0 : change_error(place, use == Use::create);
    }
    if (use == Use::create && target.error == 0) {
        make_parents(place);
    }
}

}  // namespace

Target resolve(int dirfd, const char *path, Use use) {
    Target target{dirfd, path};
    if (Entry in(dirfd, path); in) {
        redirect(in->machine(), in.place(), use, target);
    }
    return target;
}

Target resolve(int fd, Use use) {
    Target target{fd, ""};
    if (Entry in(fd); in && (in->is_device(fd) || use != Use::look)) {
        redirect(in->machine(), in->place(fd), use, target);
    }
    return target;
}

}  // namespace vchassis
