// SPDX-License-Identifier: MIT
#include "listing.h"

#include <fmt/format.h>

#include <filesystem>

namespace vchassis {

constinit std::atomic<int> Listings::g_count{0};

void Listings::opened(const Machine &machine, DIR *stream) {
    std::error_code error;
    const std::string real =
        std::filesystem::read_symlink(fmt::format("/proc/self/fd/{}", dirfd(stream)), error);
    if (std::string path = as_seen(machine, real); !error && is_mixed(machine, path)) {
        all_[stream].path = std::move(path);
        ++g_count;
        rewound(machine, stream);
    }
}

void Listings::rewound(const Machine &machine, DIR *stream) {
    if (Listing *listing = find(stream)) {
        listing->entries = list_mixed(machine, listing->path);
        listing->next = 0;
    }
}

void Listings::closed(DIR *stream) {
    g_count -= static_cast<int>(all_.erase(stream));
}

Listing *Listings::find(DIR *stream) {
    const auto found = all_.find(stream);
    return found == all_.end() ? nullptr : &found->second;
}

}  // namespace vchassis
