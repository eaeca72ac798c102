// SPDX-License-Identifier: MIT
#include "sweep/start.h"

#include <dfd/framework.h>
#include <dfd/records.h>
#include <search.h>

#include "dfdctl/board/keys.hpp"
#include "dfdctl/board/offline.hpp"
#include "framework/dfd_lib_cfg/module.h"
#include "sweep/state.h"

namespace sweep_test {

namespace {

std::size_t size_of(std::uint32_t key) {
    switch (dfdctl::item_of_key(key).type->kind) {
        case dfdctl::Kind::integer:
            return sizeof(int);
        case dfdctl::Kind::text:
            return DFD_STRING_SIZE;
        case dfdctl::Kind::i2c_dev:
            return sizeof(i2c_dev_t);
        case dfdctl::Kind::info_ctrl:
            return sizeof(info_ctrl_t);
        case dfdctl::Kind::irq_ctrl:
            return sizeof(irq_ctrl_t);
        case dfdctl::Kind::irq_info:
            return sizeof(irq_info_t);
        case dfdctl::Kind::led_info:
            return sizeof(led_info_t);
        case dfdctl::Kind::temp_info:
            return sizeof(temp_info_t);
        default:
            return 0;
    }
}

// For twalk, which passes nothing of the caller's on.
std::map<std::uint32_t, std::string> *g_items = nullptr;

void collect(const void *node, VISIT visit, int /*depth*/) {
    if (visit == postorder || visit == leaf) {
        const auto *const entry = *static_cast<btree_entry *const *>(node);
        (*g_items)[entry->key].assign(static_cast<const char *>(entry->record),
                                      size_of(entry->key));
    }
}

std::size_t length_of(const dfd_list_head_t &head) {
    std::size_t length = 0;
    for (const dfd_list_head_t *link = head.next; link != &head; link = link->next) {
        ++length;
    }
    return length;
}

void look_at_items(Start &start) {
    // The node of the tree, the entry in it, and its record.
    constexpr long kBlocksOfItem = 3;
    g_items = &start.items;
    twalk(g_item_root.tree, collect);
    start.conversions =
        length_of(dfd_lib_cfg_fan_splvl_conv_lst) + length_of(dfd_lib_cfg_pid_str_conv_lst) +
        length_of(dfd_lib_cfg_power_name_conv_lst) + length_of(dfd_lib_cfg_fan_name_conv_lst);
    start.blocks_in_use = kBlocksOfItem * static_cast<long>(start.items.size()) +
                          static_cast<long>(start.conversions);
}

}  // namespace

StartingBoard::StartingBoard(const std::string &name) : chassis_(BUILD_DIR "/boards/" + name) {}

StartingBoard::~StartingBoard() {
    dfdctl::forget_board();
}

Start StartingBoard::start(dfd_test::Positions positions,
                           std::optional<dfd_test::CallFault> fault) {
    dfdctl::forget_board();
    return run(positions, fault);
}

Start StartingBoard::start_again() {
    forget_items();
    return run(dfd_test::Positions::system, {});
}

Start StartingBoard::run(dfd_test::Positions positions, std::optional<dfd_test::CallFault> fault) {
    chassis_.reset();
    chassis_.clear_log();
    dfd_test::WatchedCalls watched(positions, fault);
    Start start{.result = dev_drv_init()};
    watched.end();
    start.made = watched.made();
    start.wrong = watched.wrong();
    start.blocks_kept = watched.blocks_kept();
    look_at_items(start);
    return start;
}

}  // namespace sweep_test
