// SPDX-License-Identifier: MIT
// Which registers of which device the board's items claim.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "dfdctl/board/keys.hpp"
#include "dfdctl/lint/lint.hpp"

struct info_ctrl;

namespace dfdctl::lint {

struct Device {
    int source;  ///< enum info_src
    std::string path;
    std::uint32_t addr;  ///< I2C only, else 0

    auto operator<=>(const Device &) const = default;
};

/// One item's registers: a field of one, or bytes from the first on.
struct Claim {
    Item item;
    const struct info_ctrl *ctrl;
    std::uint32_t first;
    std::uint32_t bytes;
    std::uint8_t mask;  ///< of the field; all bits for bytes
    bool is_field;

    std::uint64_t end() const { return std::uint64_t{first} + bytes; }
    bool operator==(const Claim &other) const {
        return first == other.first && bytes == other.bytes && mask == other.mask;
    }
};

/// An EEPROM that is decoded as a whole.
struct Image {
    Item item;
    std::string_view layout;
};

/// By device; EEPROMs have no claims.
std::map<Device, std::vector<Image>> images_of(const Check &check);

/// By register, fields of one by their lowest bit.
std::map<Device, std::vector<Claim>> claims_of(const Check &check);

}  // namespace dfdctl::lint
