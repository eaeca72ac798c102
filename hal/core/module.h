// SPDX-License-Identifier: MIT
// Board module: what its files share.
#pragma once

#include <dfd/dfd.h>

#include "framework/item.h"
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

}  // namespace dfd
