// SPDX-License-Identifier: MIT
// The key-name table: names, index limits and the record kind of each item type.
#pragma once

#include <dfd/keys.h>

#include <array>
#include <string_view>

namespace dfd {

// Record kinds; `none` is refused by the parser.
enum class Kind {
    none,
    integer,
    string,
    i2c_dev,
    info_ctrl,
    irq_ctrl,
    irq_info,
    led_info,
    temp_info
};

inline constexpr int kNoIndex = -1;

struct KeyRow {
    uint32_t type;
    std::string_view name;
    int max_index1;  // kNoIndex: the type takes none
    int max_index2;
    Kind kind;
};

// Blocks of one kind, each open at its end.
struct KindBlock {
    uint32_t first;
    uint32_t end;
    Kind kind;
};

inline constexpr std::array<KindBlock, 8> kKindBlocks = {{
    {DFD_KEY_NONE + 1, DFD_KEY_END_INT, Kind::integer},
    {DFD_KEY_END_INT + 1, DFD_KEY_END_STRING, Kind::string},
    {DFD_KEY_END_STRING + 1, DFD_KEY_END_I2C_DEV, Kind::i2c_dev},
    {DFD_KEY_END_I2C_DEV + 1, DFD_KEY_END_INFO_CTRL, Kind::info_ctrl},
    {DFD_KEY_END_INFO_CTRL + 1, DFD_KEY_END_IRQ_CTRL, Kind::irq_ctrl},
    {DFD_KEY_END_IRQ_CTRL + 1, DFD_KEY_END_IRQ_INFO, Kind::irq_info},
    {DFD_KEY_END_IRQ_INFO + 1, DFD_KEY_END_LED_INFO, Kind::led_info},
    {DFD_KEY_END_LED_INFO + 1, DFD_KEY_END_TEMP_INFO, Kind::temp_info},
}};

constexpr KindBlock block_of_kind(Kind kind) {
    for (const KindBlock &block : kKindBlocks) {
        if (block.kind == kind) {
            return block;
        }
    }
    return {0, 0, kind};
}

constexpr Kind kind_of_type(uint32_t type) {
    for (const KindBlock &block : kKindBlocks) {
        if (type >= block.first && type < block.end) {
            return block.kind;
        }
    }
    return Kind::none;
}

constexpr Kind kind_of_key(uint32_t key) {
    return kind_of_type(DFD_KEY_TYPE(key));
}

inline constexpr std::array<KeyRow, DFD_KEY_COUNT> kKeyTable = {{
#define DFD_KEY_ROW(number, identifier, name, max1, max2) \
    {number, name, max1, max2, kind_of_type(number)},
    DFD_KEY_TABLE(DFD_KEY_ROW)
#undef DFD_KEY_ROW
}};

}  // namespace dfd
