// SPDX-License-Identifier: MIT
// The board's own EEPROM, which stands at the same place on every board.
#pragma once

#include <cstdint>
#include <optional>

namespace dfdctl {

/// The bytes that tell its layout and, in the legacy layouts, the board type.
struct BoardHeader {
    std::uint8_t layout;
    std::uint8_t flag;
    std::uint8_t type_byte;
    std::uint8_t addend_byte;
    std::uint8_t sub_type_byte;

    bool is_tlv() const;
};

/// Nothing when the EEPROM does not answer.
std::optional<BoardHeader> read_board_header();

}  // namespace dfdctl
