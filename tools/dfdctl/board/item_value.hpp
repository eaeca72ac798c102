// SPDX-License-Identifier: MIT
#pragma once

#include "dfdctl/board/reading.hpp"

namespace dfdctl {

/// The value of an item, whatever its kind and however it is obtained.
Reading read_item(const Item &item);

/// The register behind an item: what dfd_info_set_int writes.
Reading read_register(const Item &item);

}  // namespace dfdctl
