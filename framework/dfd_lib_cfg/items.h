// SPDX-License-Identifier: MIT
// Storing one value of one configuration line. All return 0, or -1 when memory runs out, the store
// refuses, or a string is too long.
#pragma once

#include <cstdint>

#include "framework/dfd_lib_cfg/members.h"

namespace dfd {

// The record that was asked for last: the lines of a record mostly stand together. Valid as long as
// nothing is deleted from the store.
struct LastRecord {
    uint32_t key = 0;
    void *record = nullptr;  // null: not in the store, or nothing asked yet
};

}  // namespace dfd

int dfd_lib_cfg_add_int_item(dfd::LastRecord *last, uint32_t key, const char *value, int line);
int dfd_lib_cfg_add_str_item(dfd::LastRecord *last, uint32_t key, const char *value, int line);

namespace dfd {

int add_member_item(LastRecord *last, const MemberKind &kind, uint32_t key, int member,
                    const char *value, int line);

// Member number of the text right behind the key name. 0, or -1 when it names no member.
int get_member(const MemberKind &kind, const char *text, int *member, int line);

}  // namespace dfd
