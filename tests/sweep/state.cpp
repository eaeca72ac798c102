// SPDX-License-Identifier: MIT
#include "sweep/state.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <vector>

#include "dfdctl/board/offline.hpp"
#include "framework/dfd_lib_cfg/module.h"
#include "framework/watch.h"
#include "hal/irq_distrib.h"

namespace sweep_test {

namespace {

using Bytes = std::vector<std::byte>;

// What loading fills: all else that the library remembers are answers.
std::vector<std::span<std::byte>> loaded_parts() {
    const auto part = [](auto &object) {
        return std::span(reinterpret_cast<std::byte *>(&object), sizeof object);
    };
    return {part(g_item_root),
            part(dfd_lib_cfg_fan_splvl_conv_lst),
            part(dfd_lib_cfg_pid_str_conv_lst),
            part(dfd_lib_cfg_power_name_conv_lst),
            part(dfd_lib_cfg_fan_name_conv_lst),
            part(dfd::g_irq_type_distrib)};
}

std::vector<Bytes> loaded() {
    std::vector<Bytes> kept;
    for (const std::span<std::byte> part : loaded_parts()) {
        kept.emplace_back(part.begin(), part.end());
    }
    return kept;
}

void put_back(const std::vector<Bytes> &kept) {
    auto bytes = kept.begin();
    for (const std::span<std::byte> part : loaded_parts()) {
        std::copy(bytes->begin(), bytes->end(), part.begin());
        ++bytes;
    }
}

// As before the first start: taken before main().
const dfdctl::LibraryState kFresh;

}  // namespace

void forget_answers() {
    const std::vector<Bytes> kept = loaded();
    kFresh.restore();
    put_back(kept);
}

void forget_items() {
    const dfdctl::LibraryState now;
    dfdctl::forget_board();
    const std::vector<Bytes> empty = loaded();
    now.restore();
    put_back(empty);
}

void forget_look_ups() {
    const btree_root items = g_item_root;
    dfd::init_items();
    g_item_root = items;
}

}  // namespace sweep_test
