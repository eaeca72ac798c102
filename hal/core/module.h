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

// The record of a key as its kind, or null.
template <typename Record>
const Record *get_item(uint32_t key) {
    return static_cast<const Record *>(dfd_lib_cfg_get_item(key));
}

}  // namespace dfd
