// SPDX-License-Identifier: MIT
// What the watching tools need of the library beyond the hooks; not part of libdfd.so.
#include "framework/watch.h"

#include <search.h>

#include <cstdlib>
#include <cstring>

#include "framework/dfd_lib_cfg/module.h"

// Set by the linker: the first and one past the last byte of everything marked DFD_STATE.
extern std::byte __start_dfd_state[];
extern std::byte __stop_dfd_state[];

namespace dfd::watch {

const Hooks *hooks = nullptr;
Failure failure;
Line current_line;

namespace {

constexpr std::size_t kTextSize = 256;
using Text = char[kTextSize];
Text g_raw;
Text g_name;
Text g_value;

void keep(Text &kept, const char *text) {
    const std::size_t length = strnlen(text, kTextSize - 1);
    std::memcpy(kept, text, length);
    kept[length] = '\0';
}

void free_entry(void *node) {
    auto *const entry = static_cast<btree_entry *>(node);
    std::free(entry->record);
    std::free(entry);
}

void free_list(const dfd_list_head_t &head) {
    for (dfd_list_head_t *link = head.next; link != &head;) {
        dfd_list_head_t *const next = link->next;
        std::free(link);  // the link is the node's first member
        link = next;
    }
}

}  // namespace

void begin_line(const char *path, int number, const char *raw) {
    keep(g_raw, raw);
    current_line = {};
    current_line.path = path;
    current_line.number = number;
    current_line.raw = g_raw;
    current_line.member = kNoMember;
    current_line.step = Step::blank;
}

void keep_pair(const char *name, const char *value) {
    keep(g_name, name);
    keep(g_value, value);
    current_line.name = g_name;
    current_line.value = g_value;
}

std::span<std::byte> state() {
    return {__start_dfd_state, __stop_dfd_state};
}

void free_items() {
    tdestroy(g_item_root.tree, free_entry);
    for (const dfd_list_head_t *list :
         {&dfd_lib_cfg_fan_splvl_conv_lst, &dfd_lib_cfg_pid_str_conv_lst,
          &dfd_lib_cfg_power_name_conv_lst, &dfd_lib_cfg_fan_name_conv_lst}) {
        free_list(*list);
    }
}

}  // namespace dfd::watch
