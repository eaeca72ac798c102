// SPDX-License-Identifier: MIT
#include "bench/store.hpp"

#include <malloc.h>
#include <search.h>

#include <cstdlib>
#include <vector>

#include "framework/dfd_lib_cfg/module.h"

// Set by the linker: the first and one past the last byte of everything marked DFD_STATE.
extern std::byte __start_dfd_state[];
extern std::byte __stop_dfd_state[];

namespace bench {

namespace {

void free_entry(void *node) {
    auto *const entry = static_cast<btree_entry *>(node);
    std::free(entry->record);
    std::free(entry);
}

void free_list(dfd_list_head_t &head) {
    for (dfd_list_head_t *link = head.next; link != &head;) {
        dfd_list_head_t *const next = link->next;
        std::free(link);  // the link is the node's first member
        link = next;
    }
}

}  // namespace

void forget_everything() {
    static const std::vector<std::byte> untouched(__start_dfd_state, __stop_dfd_state);
    tdestroy(g_item_root.tree, free_entry);
    free_list(dfd_lib_cfg_fan_splvl_conv_lst);
    free_list(dfd_lib_cfg_pid_str_conv_lst);
    free_list(dfd_lib_cfg_power_name_conv_lst);
    free_list(dfd_lib_cfg_fan_name_conv_lst);
    std::copy(untouched.begin(), untouched.end(), __start_dfd_state);
    malloc_trim(0);
}

std::size_t heap_in_use() {
    return mallinfo2().uordblks;
}

}  // namespace bench
