// SPDX-License-Identifier: MIT
// Shape of a FRU image.
#pragma once

namespace dfd::fru {

inline constexpr int kBlockBytes = 8;       // offsets and lengths count in these
inline constexpr int kProductOffsetAt = 4;  // byte of the common header: the product info area
inline constexpr int kAreaLengthAt = 1;     // byte of an area

}  // namespace dfd::fru
