// SPDX-License-Identifier: MIT
// The library's item store between measurements.
#pragma once

#include <cstddef>

namespace bench {

/// Frees all items and lists, gives the memory back and puts the library's state as it was at the
/// first call, which must come before anything is loaded.
void forget_everything();

/// Bytes of the heap in use, with what malloc adds.
std::size_t heap_in_use();

}  // namespace bench
