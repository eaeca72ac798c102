// SPDX-License-Identifier: MIT
// Exported driver interface: what its files share.
#pragma once

#include "framework/log.h"

static constexpr char kLogFile[] = "service/intf.cpp";
