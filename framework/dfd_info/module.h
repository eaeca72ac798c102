// SPDX-License-Identifier: MIT
// Information access engine: what its files share.
#pragma once

#include <dfd/access.h>
#include <dfd/framework.h>

#include "framework/log.h"

static constexpr char kLogFile[] = "framework/dfd_info.cpp";
