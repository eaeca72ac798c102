// SPDX-License-Identifier: MIT
#pragma once

#include "dfdctl/board/reading.hpp"

struct info_ctrl;

namespace dfdctl {

/// The value of an item, whatever its kind and however it is obtained.
Reading read_item(const Item &item);

/// The register behind an item: what dfd_info_set_int writes.
Reading read_register(const Item &item);
/// What read_register then shows where dfd_info_set_int has written a value.
std::int64_t reads_back_as(const info_ctrl &record, std::uint32_t written);

}  // namespace dfdctl
