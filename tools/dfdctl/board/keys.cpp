// SPDX-License-Identifier: MIT
#include "dfdctl/board/keys.hpp"

#include <dfd/framework.h>
#include <dfd/records.h>
#include <algorithm>
#include <array>
#include <charconv>
#include <type_traits>

#include "common/nearest.hpp"
#include "dfdctl/command.hpp"

#include <fmt/format.h>

namespace dfdctl {

namespace {

constexpr int kKey1Bits = 0xFFFF;
constexpr int kKey2Bits = 0xFF;

/// The blocks of the key table, each closed by an entry that names no item.
struct Block {
    std::uint32_t first;
    std::uint32_t end;
    Kind kind;
};

constexpr std::array kBlocks = {
    Block{DFD_KEY_NONE + 1, DFD_KEY_END_INT, Kind::integer},
    Block{DFD_KEY_END_INT + 1, DFD_KEY_END_STRING, Kind::text},
    Block{DFD_KEY_END_STRING + 1, DFD_KEY_END_I2C_DEV, Kind::i2c_dev},
    Block{DFD_KEY_END_I2C_DEV + 1, DFD_KEY_END_INFO_CTRL, Kind::info_ctrl},
    Block{DFD_KEY_END_INFO_CTRL + 1, DFD_KEY_END_IRQ_CTRL, Kind::irq_ctrl},
    Block{DFD_KEY_END_IRQ_CTRL + 1, DFD_KEY_END_IRQ_INFO, Kind::irq_info},
    Block{DFD_KEY_END_IRQ_INFO + 1, DFD_KEY_END_LED_INFO, Kind::led_info},
    Block{DFD_KEY_END_LED_INFO + 1, DFD_KEY_END_TEMP_INFO, Kind::temp_info},
};

constexpr Kind kind_of(std::uint32_t type) {
    for (const Block &block : kBlocks) {
        if (type >= block.first && type < block.end) {
            return block.kind;
        }
    }
    return Kind::none;
}

#define DFDCTL_KEY_ROW(number, identifier, name, max1, max2) \
    KeyType{(number), (name), (max1), (max2), kind_of(number)},
constexpr std::array kKeyTypes = {DFD_KEY_TABLE(DFDCTL_KEY_ROW)};
#undef DFDCTL_KEY_ROW
static_assert(kKeyTypes.size() == DFD_KEY_COUNT);

constexpr std::array<std::string_view, 9> kKindNames = {"none",     "int",       "string",
                                                        "i2c_dev",  "info_ctrl", "irq_ctrl",
                                                        "irq_info", "led_info",  "temp_info"};

std::string usage_of(const KeyType &type) {
    if (type.index_count() == 0) {
        return fmt::format("{} takes no index", type.name);
    }
    if (type.index_count() == 1) {
        return fmt::format("{} takes one index, 0 to {}", type.name, type.max1);
    }
    return fmt::format("{} takes two indexes, the first 0 to {}, the second 0 to {}", type.name,
                       type.max1, type.max2);
}

std::uint32_t parse_index(const KeyType &type, const std::string &text, int max) {
    std::uint32_t value = 0;
    if (!parse_number(text, value) || value > static_cast<std::uint32_t>(max)) {
        throw UsageError(fmt::format("index '{}' is out of range: {}", text, usage_of(type)));
    }
    return value;
}

/// "fan_real_speed_1_2" in its parts.
struct LineName {
    std::string name;
    std::vector<std::string> indexes;
    const KeyType *type;  ///< null where no item has this name
};

LineName split_line_name(const std::string &text) {
    LineName line{text, {}, find_key_type(text)};
    std::uint32_t number = 0;
    for (std::size_t at = text.rfind('_'); line.type == nullptr && at != std::string::npos;
         at = line.name.rfind('_')) {
        if (!parse_number(line.name.substr(at + 1), number)) {
            break;
        }
        line.indexes.insert(line.indexes.begin(), line.name.substr(at + 1));
        line.name.erase(at);
        line.type = find_key_type(line.name);
    }
    return line;
}

}  // namespace

std::span<const KeyType> key_types() {
    return kKeyTypes;
}

std::span<const std::string_view> key_names() {
    static const std::vector<std::string_view> names = [] {
        std::vector<std::string_view> result;
        for (const KeyType &type : kKeyTypes) {
            if (type.kind != Kind::none) {
                result.push_back(type.name);
            }
        }
        return result;
    }();
    return names;
}

const KeyType *find_key_type(std::string_view name) {
    const auto *found = std::find_if(
        kKeyTypes.begin(), kKeyTypes.end(),
        [name](const KeyType &type) { return type.name == name && type.kind != Kind::none; });
    return found != kKeyTypes.end() ? found : nullptr;
}

std::string_view kind_name(Kind kind) {
    return kKindNames[static_cast<std::size_t>(kind)];
}

bool Item::is_possible() const {
    const auto fits = [](std::uint32_t index, int max) {
        return index <= static_cast<std::uint32_t>(std::max(max, 0));
    };
    return fits(index1, type->max1) && fits(index2, type->max2);
}

std::string Item::missing_name() const {
    constexpr std::uint32_t kNoSlot = UINT16_MAX;  // what a negative slot number makes of an index
    if (is_possible()) {
        return name();
    }
    return index1 == kNoSlot ? std::string(type->name) + " (there is no such slot)"
                             : name() + " (no line can have this index)";
}

std::string Item::name(std::string_view member) const {
    const bool is_position = type->type == DFD_KEY_IRQ_INFO || type->type == DFD_KEY_IRQ_MASK;
    std::string text = fmt::format("{}{}", type->name, member);
    if (type->max1 >= 0) {
        text += is_position ? fmt::format("_{:#06x}", index1) : fmt::format("_{}", index1);
    }
    if (type->max2 >= 0) {
        text += fmt::format("_{}", index2);
    }
    return text;
}

Item item_of_key(std::uint32_t key) {
    constexpr unsigned kIndex1Shift = 8;
    return item_of(DFD_KEY_TYPE(key), (key >> kIndex1Shift) & kKey1Bits, key & kKey2Bits);
}

Item item_of(std::uint32_t type, std::uint32_t index1, std::uint32_t index2) {
    return {&kKeyTypes[std::min<std::size_t>(type, kKeyTypes.size() - 1)], index1, index2};
}

template <typename Record>
const Record *record_of(const Item &item) {
    if (std::is_same_v<Record, info_ctrl_t> && item.type->kind != Kind::info_ctrl) {
        return nullptr;
    }
    return static_cast<const Record *>(item.record != nullptr ? item.record
                                                              : dfd_lib_cfg_get_item(item.key()));
}
template const int *record_of<int>(const Item &);
template const char *record_of<char>(const Item &);
template const i2c_dev_t *record_of<i2c_dev_t>(const Item &);
template const info_ctrl_t *record_of<info_ctrl_t>(const Item &);
template const irq_ctrl_t *record_of<irq_ctrl_t>(const Item &);
template const irq_info_t *record_of<irq_info_t>(const Item &);
template const led_info_t *record_of<led_info_t>(const Item &);
template const temp_info_t *record_of<temp_info_t>(const Item &);

bool is_item_name(const std::string &name) {
    return split_line_name(name).type != nullptr;
}

Item parse_item(const std::string &name, std::span<const std::string> indexes) {
    auto [bare_name, words, type] = split_line_name(name);
    if (type == nullptr) {
        const std::string guess = dfd_tools::did_you_mean(bare_name, key_names());
        throw UsageError(
            fmt::format("unknown item '{}'{}", name,
                        guess.empty() ? "; 'dfdctl items' lists those of this board" : guess));
    }
    words.insert(words.end(), indexes.begin(), indexes.end());
    if (words.size() != static_cast<std::size_t>(type->index_count())) {
        throw UsageError(usage_of(*type));
    }
    Item item{type, 0, 0};
    if (!words.empty()) {
        item.index1 = parse_index(*type, words[0], type->max1);
    }
    if (words.size() > 1) {
        item.index2 = parse_index(*type, words[1], type->max2);
    }
    return item;
}

bool parse_number(const std::string &text, std::uint32_t &value) {
    constexpr int kHex = 16;
    constexpr int kDecimal = 10;
    const bool hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    const char *begin = text.data() + (hex ? 2 : 0);
    const char *end = text.data() + text.size();
    const auto result = std::from_chars(begin, end, value, hex ? kHex : kDecimal);
    return result.ec == std::errc() && result.ptr == end;
}

}  // namespace dfdctl
