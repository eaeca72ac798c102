// SPDX-License-Identifier: MIT
#pragma once

#include <dfd/keys.h>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace dfdctl {

/// What is stored under a key.
enum class Kind {
    none,
    integer,
    text,
    i2c_dev,
    info_ctrl,
    irq_ctrl,
    irq_info,
    led_info,
    temp_info
};

struct KeyType {
    std::uint32_t type;
    std::string_view name;
    int max1;  ///< largest first index; -1: takes none
    int max2;  ///< largest second index; -1: takes none
    Kind kind;

    int index_count() const { return (max1 >= 0 ? 1 : 0) + (max2 >= 0 ? 1 : 0); }
};

/// All key types by number, the ends of blocks included (their kind is none).
std::span<const KeyType> key_types();
/// Names of the key types that a configuration can set.
std::span<const std::string_view> key_names();
/// The key type of a name that a configuration can set, or null.
const KeyType *find_key_type(std::string_view name);

std::string_view kind_name(Kind kind);

/// One item: a key type and its indexes (0 where it takes none).
struct Item {
    const KeyType *type;
    std::uint32_t index1;
    std::uint32_t index2;
    const void *record = nullptr;  ///< once it was looked up: record_of() does so otherwise

    std::uint32_t key() const { return DFD_MAKE_KEY(type->type, index1, index2); }
    /// As a line of the configuration begins: "fan_real_speed_1_2", "irq_info_0x0102_3"; with a
    /// member "fan_real_speed.len_1_2".
    std::string name(std::string_view member = {}) const;
    /// Whether a line can configure it: no index is above its limit.
    bool is_possible() const;
    /// The name of an item that is not configured, and why no line can configure it where that is
    /// so.
    std::string missing_name() const;
};

Item item_of_key(std::uint32_t key);
/// The item of a type other than by name.
Item item_of(std::uint32_t type, std::uint32_t index1 = 0, std::uint32_t index2 = 0);

/// The record of an item as the kind that its type has, or null when it is not configured. Asked
/// for info_ctrl_t an item of another kind has none.
template <typename Record>
const Record *record_of(const Item &item);

/// Whether the first word that names an item is the name of one, with its indexes or without.
bool is_item_name(const std::string &name);
/// Names an item from command-line words: "fan_real_speed 1 2" or "fan_real_speed_1_2"; throws
/// UsageError with the allowed range or the nearest names.
Item parse_item(const std::string &name, std::span<const std::string> indexes);

/// Decimal, or hexadecimal after 0x; false when the text is anything else.
bool parse_number(const std::string &text, std::uint32_t &value);

}  // namespace dfdctl
