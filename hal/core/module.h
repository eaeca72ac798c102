// SPDX-License-Identifier: MIT
// Board module: what its files share.
#pragma once

#include <dfd/dfd.h>

#include "framework/item.h"
#include "framework/log.h"
#include "hal/facts.h"

static constexpr char kLogFile[] = "hal/core.cpp";

namespace dfd {

// Sum of two configured or read numbers, which may be anything.
constexpr int add_wrapping(int a, int b) {
    return static_cast<int>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

}  // namespace dfd
