// SPDX-License-Identifier: MIT
// Directory streams that show the host and the chassis side by side. What is listed is collected
// when the stream is opened or rewound, as the contents of a directory are a snapshot anyway.
#pragma once

#include <dirent.h>

#include <atomic>
#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

#include "paths.h"

namespace vchassis {

struct Listing {
    std::string path;
    std::vector<Listed> entries = {};
    std::size_t next = 0;
    // What was returned last, by either of the two functions.
    dirent entry{};
    dirent64 entry64{};
};

class Listings {
  public:
    Listings() = default;
    ~Listings() { g_count -= static_cast<int>(all_.size()); }
    Listings(const Listings &) = delete;
    Listings &operator=(const Listings &) = delete;

    // Without a lock: false when no stream can be ours.
    static bool any() { return g_count != 0; }

    // Takes on a stream that was just opened when its directory is a mixed one.
    void opened(const Machine &machine, DIR *stream);
    void rewound(const Machine &machine, DIR *stream);
    void closed(DIR *stream);
    // Null for streams that libc may serve.
    Listing *find(DIR *stream);

  private:
    static std::atomic<int> g_count;
    std::unordered_map<DIR *, Listing> all_;
};

}  // namespace vchassis
