// SPDX-License-Identifier: MIT
// An item as dfd_info_set_int sees it: one byte of a register, and the bits of it that are the
// item's.
#pragma once

#include <cstdint>

#include "dfdctl/board/reading.hpp"

struct info_ctrl;

namespace dfdctl {

/// The register's byte as it is, whatever the format says of it.
Reading read_byte(const struct info_ctrl &record);
std::uint8_t bits_of(const struct info_ctrl &record);
/// The byte that writing a value brings; outside of the item's bits it only counts where the whole
/// byte is written.
std::uint8_t byte_written(const struct info_ctrl &record, std::uint32_t value);
/// On I2C the library writes the bits around a field, too.
bool is_written_whole(const struct info_ctrl &record);
/// Of two items that are configured.
bool is_same_register(const Item &one, const Item &other);
/// Writes the item's bits of a byte, or the whole of it where the library would; its result.
int write_byte(const struct info_ctrl &record, std::uint8_t byte);

}  // namespace dfdctl
