// SPDX-License-Identifier: MIT
// Board module: what its files share.
#pragma once

#include <dfd/dfd.h>

#include "framework/log.h"

static constexpr char kLogFile[] = "hal/core.cpp";

namespace dfd {

// Backplane information sources are numbered 1 and 2.
inline constexpr uint32_t kFirstBackplane = 1;
inline constexpr uint32_t kLastBackplane = 2;

// Sum of two configured or read numbers, which may be anything.
constexpr int add_wrapping(int a, int b) {
    return static_cast<int>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

// The record of a key as its kind, or null.
template <typename Record>
const Record *get_item(uint32_t key) {
    return static_cast<const Record *>(dfd_lib_cfg_get_item(key));
}

// The value of an int item without indexes, or a default.
inline int int_item_or(uint32_t type, int otherwise) {
    const int *const item = get_item<int>(DFD_MAKE_KEY(type, 0, 0));
    return item != nullptr ? *item : otherwise;
}

}  // namespace dfd
