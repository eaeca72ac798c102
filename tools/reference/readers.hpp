// SPDX-License-Identifier: MIT
// Who asks for an item: observed, never written down.
#pragma once

#include <filesystem>
#include <map>
#include <set>
#include <string_view>
#include <vector>

#include "dfdctl/board/keys.hpp"

namespace reference {

class Readers {
  public:
    /// Calls every function on every board below the directory, and keeps what it asks for.
    explicit Readers(const std::filesystem::path &boards);

    /// Functions that ask for items of a key: of names that differ in their layer only, the one of
    /// the highest.
    std::vector<std::string_view> of(const dfdctl::KeyType &key) const;

    /// Whether the function of that name, whatever its layer, asks for items of a key.
    bool asks(std::string_view function, const dfdctl::KeyType &key) const;

  private:
    void observe(const std::string &root, int board_type, int chassis_type);

    std::map<std::uint32_t, std::set<std::string_view>> functions_;  ///< by key type
};

}  // namespace reference
