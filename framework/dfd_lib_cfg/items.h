// SPDX-License-Identifier: MIT
// Storing one value of one configuration line. All return 0, or -1 when memory runs out, the store
// refuses, or a string is too long.
#pragma once

#include <cstdint>

#include "framework/dfd_lib_cfg/members.h"

int dfd_lib_cfg_add_int_item(uint32_t key, const char *value, int line);
int dfd_lib_cfg_add_str_item(uint32_t key, const char *value, int line);

namespace dfd {

int add_member_item(const MemberKind &kind, uint32_t key, int member, const char *value, int line);

// Member number of the text right behind the key name. 0, or -1 when it names no member.
int get_member(const MemberKind &kind, const char *text, int *member, int line);

}  // namespace dfd
