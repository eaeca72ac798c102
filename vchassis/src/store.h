// SPDX-License-Identifier: MIT
// The state directory: one file per device holding its bytes, mapped shared, so that every process
// on the chassis sees the same registers, and the bytes can be looked at with any tool.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace vchassis {

class Store {
  public:
    explicit Store(std::filesystem::path dir);
    ~Store();
    Store(const Store &) = delete;
    Store &operator=(const Store &) = delete;

    // Creates the directory; call it before anything else. A directory with other files in it is
    // refused, for prepare() deletes files.
    void make() const;

    // Excludes other processes and other users of this store while it lives. Not recursive.
    class Lock {
      public:
        explicit Lock(const Store &store);
        ~Lock();
        Lock(const Lock &) = delete;
        Lock &operator=(const Lock &) = delete;

      private:
        int fd_;
    };

    // Whether the files belong to the description with this fingerprint; false drops them all.
    bool prepare(const std::string &fingerprint);
    // Takes back what commit() said, while what belongs to the state is not whole.
    void revoke() const;
    // Says that all areas are there; until then the next prepare() starts afresh.
    void commit(const std::string &fingerprint);

    // The mapped file of this name; created with `initial` when it is missing or of another size.
    std::span<std::uint8_t> area(const std::string &name, std::span<const std::uint8_t> initial);

    const std::filesystem::path &dir() const { return dir_; }

  private:
    std::filesystem::path dir_;
    std::vector<std::span<std::uint8_t>> areas_;
};

}  // namespace vchassis
