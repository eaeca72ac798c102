// SPDX-License-Identifier: MIT
#include "dfdctl/observe/answers.hpp"

#include <dfd/framework.h>
#include <dfd/inventory.h>
#include <dfd/keys.h>
#include <dfd/temperature.h>
#include <algorithm>

#include "dfdctl/board/keys.hpp"
#include "dfdctl/board/units.hpp"
#include "framework/dfd_info/bits.h"
#include "framework/platform.h"
#include "hal/board_bus.h"
#include "hal/facts.h"

#include <fmt/format.h>

namespace dfdctl::observe {

namespace {

using dfd::watch::Op;
using dfd::watch::Transfer;
using dfd::watch::Via;

constexpr int kFailed = -1;
constexpr int kMessages = 2;  // of an I2C transfer that succeeded
constexpr std::uint32_t kLastByteOfNumber = 3;

RawBytes bit_bytes(const info_ctrl_t &record, std::uint32_t value) {
    RawBytes raw;
    raw.put(dfd::place_field(value, record.bit_offset, record.pola == INFO_POLA_NEGATIVE));
    return raw;
}

/// Byte `i` of a number, counted from the least significant one.
std::uint8_t byte_of(std::uint32_t value, std::uint32_t i) {
    return i > kLastByteOfNumber ? std::uint8_t{0}
                                 : static_cast<std::uint8_t>(value >> (dfd::kBitsPerByte * i));
}

RawBytes number_bytes(std::uint32_t len, std::uint32_t value, bool little_endian) {
    RawBytes raw;
    for (std::uint32_t i = 0; i < len; ++i) {
        raw.put(byte_of(value, little_endian ? i : len - 1 - i));
    }
    return raw;
}

std::string_view first_name(const dfd_list_head_t &list, std::string_view otherwise) {
    if (list.next == &list) {
        return otherwise;
    }
    return reinterpret_cast<const val_convert_node_t *>(list.next)->str_val;
}

std::string_view name_of_type(const dfd_list_head_t &list, std::uint32_t type,
                              std::string_view otherwise) {
    for (const dfd_list_head_t *link = list.next; link != &list; link = link->next) {
        const auto *node = reinterpret_cast<const val_convert_node_t *>(link);
        if (static_cast<std::uint32_t>(node->index1) == type) {
            return node->str_val;
        }
    }
    return first_name(list, otherwise);
}

/// index1 of the first item of a type.
std::uint32_t first_index(const LoadRecord &log, std::uint32_t type, std::uint32_t otherwise) {
    const std::vector<Item> items = items_of(log, type);
    return items.empty() ? otherwise : items.front().index1;
}

/// The part of a source that a transfer asks for; the count that the source can give.
int deliver(const RawBytes &raw, std::size_t from, const Transfer &transfer) {
    const std::size_t left = raw.count > from ? raw.count - from : 0;
    const std::size_t count = std::min<std::size_t>(transfer.len, left);
    std::copy_n(raw.bytes.begin() + static_cast<std::ptrdiff_t>(std::min(from, raw.count)), count,
                transfer.data);
    if (transfer.via == Via::i2c) {
        // A memory goes on behind what was put into it.
        std::fill_n(transfer.data + count, transfer.len - count, std::uint8_t{0});
        return kMessages;
    }
    return static_cast<int>(count);
}

/// Sub-cards are read as TLV images whatever their mode says, and written by their mode.
bool is_tlv_read(std::uint32_t key, const Transfer &transfer) {
    constexpr std::uint32_t kDataArea = 6;
    return DFD_KEY_TYPE(key) == DFD_KEY_SSLOT_E2PROM &&
           (transfer.offset == kDataArea || transfer.len == DFD_TLV_HEADER_SIZE ||
            transfer.len == RawBytes::kSize);
}

/// As it was found out when the board was loaded: nothing outside is asked now.
std::uint32_t known_board_type() {
    dfd::watch::Hooks silence;
    silence.answer = [](void * /*context*/, const Transfer &transfer, int *result) {
        *result = transfer.via == Via::plain_file ? int{dfd::kCannotOpen} : kFailed;
        return true;
    };
    silence.pause = [](void * /*context*/, unsigned /*us*/) { return true; };
    const Watching watching(silence);
    return static_cast<std::uint32_t>(std::max(sdd_get_my_card_type(), 0));
}

bool names_layout(std::uint32_t key, const void *record) {
    if (record == nullptr || dfd::kind_of_key(key) != dfd::Kind::info_ctrl) {
        return false;
    }
    return dfd::is_e2prom_mode(static_cast<const info_ctrl_t *>(record)->mode);
}

/// The field of a supply that is asked for stands at .reg_offset.
RawBytes supply_legacy_image(std::uint32_t key, const info_ctrl_t &record,
                             const Inventory &content) {
    RawBytes raw;
    raw.count = std::min<std::size_t>(record.reg_offset, RawBytes::kSize);
    raw.put(DFD_KEY_TYPE(key) == DFD_KEY_POWER_TYPE ? content.name : "100");
    return raw;
}

}  // namespace

Answers Answers::with(ItemAnswer item) const {
    Answers result = *this;
    std::erase_if(result.items, [&](const ItemAnswer &old) { return old.key == item.key; });
    result.items.push_back(std::move(item));
    return result;
}

const ItemAnswer *Answers::find(std::uint32_t key) const {
    const auto found = std::find_if(items.begin(), items.end(),
                                    [key](const ItemAnswer &item) { return item.key == key; });
    return found != items.end() ? &*found : nullptr;
}

void RawBytes::put(std::span<const std::uint8_t> more) {
    const std::size_t room = std::min(more.size(), kSize - count);
    std::copy_n(more.begin(), room, bytes.begin() + static_cast<std::ptrdiff_t>(count));
    count += room;
}

void RawBytes::put(std::string_view text) {
    put(std::span(reinterpret_cast<const std::uint8_t *>(text.data()), text.size()));
}

void RawBytes::put(std::uint8_t byte) {
    put(std::span(&byte, 1));
}

RawBytes raw_bytes(const info_ctrl_t &record, std::uint32_t value) {
    RawBytes raw;
    switch (record.frmt) {
        case INFO_FRMT_BIT:
            return bit_bytes(record, value);
        case INFO_FRMT_NUM_STR: {
            const std::string text = fmt::format("{}", static_cast<std::int32_t>(value));
            raw.put(std::string_view(text).substr(0, record.len));
            return raw;
        }
        case INFO_FRMT_NUM_BUF:
            return number_bytes(record.len, value, true);
        default:
            return number_bytes(record.len, value, record.pola == INFO_POLA_NEGATIVE);
    }
}

Plausible::Plausible(const LoadRecord &log) {
    board_type = known_board_type();
    fan_type = first_index(log, DFD_KEY_FAN_ATTR_TYPE, fan_type);
    fan_name = name_of_type(dfd_lib_cfg_fan_name_conv_lst, fan_type, fan_name);
    supply_name = first_name(dfd_lib_cfg_power_name_conv_lst, supply_name);
    power_class = first_index(log, DFD_KEY_POWER_REGVAL_CONVERT, power_class);
    const dfd_list_head_t &levels = dfd_lib_cfg_fan_splvl_conv_lst;
    if (levels.next != &levels) {
        speed_class = static_cast<std::uint32_t>(
            reinterpret_cast<const val_convert_node_t *>(levels.next)->int_val);
    }
}

void Answerer::looked_up(std::uint32_t key, const void *record) {
    last_ = {key, record};
    if (names_layout(key, record)) {
        last_eeprom_ = last_;
    }
}

void Answerer::engine_begin(const dfd::watch::EngineCall &call) {
    call_ = call;
    in_engine_ = call.op != Op::led_regval && call.op != Op::led_state;
}

bool Answerer::is_answered() const {
    return answers_.from != Answers::From::hardware ||
           (in_engine_ && answers_.find(call_.key) != nullptr);
}

bool Answerer::answer(const Transfer &transfer, int *result) const {
    if (!is_answered()) {
        return false;
    }
    const bool answers_values =
        answers_.from != Answers::From::nothing ||
        answers_.find(in_engine_ ? call_.key : item_of_eeprom(transfer).key) != nullptr;
    switch (transfer.via) {
        case Via::file_exists:
            *result = kFailed;
            return true;
        case Via::plain_file:
            *result = answers_values ? read(transfer) : int{dfd::kCannotOpen};
            return true;
        default:
            break;
    }
    if (!answers_values || transfer.path == nullptr) {
        *result = kFailed;
    } else if (transfer.is_write) {
        *result = transfer.via == Via::i2c ? kMessages : int{DFD_OK};
    } else {
        *result = read(transfer);
    }
    return true;
}

int Answerer::read(const Transfer &transfer) const {
    if (in_engine_) {
        const auto &record = *static_cast<const info_ctrl_t *>(last_.record);
        const std::uint32_t index = call_.op == Op::get_int_by_index ? call_.argument : 0;
        RawBytes raw = item_bytes();
        if (record.src == INFO_SRC_LOCALBUS) {
            raw.count = raw.bytes.size();  // registers do not end, as a file does
        }
        return deliver(raw, transfer.offset - record.reg_offset - record.len * index, transfer);
    }
    if (transfer.via == Via::i2c) {
        return deliver(eeprom(transfer), transfer.offset, transfer);
    }
    // A plain file: what tells the board type, figures otherwise.
    RawBytes raw;
    if (transfer.via == Via::plain_file && transfer.len < DFD_MAC_TEMP_FILE_SIZE) {
        raw.put(first_name(dfd_lib_cfg_pid_str_conv_lst, ""));
    } else if (DFD_KEY_TYPE(last_.key) == DFD_KEY_SETMAC_E2TYPE_FILE) {
        constexpr std::uint32_t kTypeBase = 47;
        raw.put(fmt::format("{:010x}", plausible_.board_type - kTypeBase));
    } else {
        std::fill(raw.bytes.begin(), raw.bytes.end(), static_cast<std::uint8_t>(answers_.value));
        raw.count = raw.bytes.size();
    }
    return deliver(raw, transfer.offset, transfer);
}

std::uint32_t Answerer::standard_value() const {
    if (!call_.has_processor) {
        return answers_.value;
    }
    switch (DFD_KEY_TYPE(call_.key)) {
        case DFD_KEY_CARD_RATE_POWER:
            return plausible_.power_class;
        case DFD_KEY_GET_FAN_CFG_SPEED:
            return plausible_.speed_class;
        default:
            return answers_.value;
    }
}

/// Text that fits what an item of bytes is for.
RawBytes Answerer::buffer_bytes() const {
    const auto &record = *static_cast<const info_ctrl_t *>(last_.record);
    RawBytes raw;
    switch (DFD_KEY_TYPE(call_.key)) {
        case DFD_KEY_BACKPLANE_MAC:
            raw.put("00:00:00:00:00:01");
            break;
        case DFD_KEY_POWER_TYPE:
            raw.put(plausible_.supply_name);
            break;
        case DFD_KEY_E2_SETMAC:
            raw.put(static_cast<std::uint8_t>(answers_.value));
            break;
        default:
            while (raw.count < record.len && raw.count < RawBytes::kSize) {
                raw.put(std::uint8_t{'1'});
            }
    }
    raw.count = std::clamp<std::size_t>(record.len, 1, RawBytes::kSize);
    return raw;
}

RawBytes Answerer::item_bytes() const {
    const auto &record = *static_cast<const info_ctrl_t *>(last_.record);
    const bool is_name = DFD_KEY_TYPE(call_.key) == DFD_KEY_POWER_TYPE && call_.has_processor;
    if (const ItemAnswer *given = answers_.find(call_.key)) {
        if (!given->text.has_value()) {
            return raw_bytes(record, given->number);
        }
        RawBytes raw;
        raw.put(*given->text);
        raw.count = std::clamp<std::size_t>(record.len, 1, RawBytes::kSize);
        return raw;
    }
    if (call_.op == Op::get_buf || (is_name && record.frmt == INFO_FRMT_NUM_BUF)) {
        return buffer_bytes();
    }
    // What a write under a mask finds in the register.
    return call_.op == Op::set_int ? number_bytes(1, 0, true) : raw_bytes(record, standard_value());
}

Inventory Answerer::inventory(std::uint32_t key) const {
    const std::uint32_t type = DFD_KEY_TYPE(key);
    const bool is_supply = type >= DFD_KEY_POWER_TYPE && type <= DFD_KEY_POWER_SW_VER;
    Inventory result{.type = plausible_.fan_type,
                     .name = is_supply ? plausible_.supply_name : plausible_.fan_name,
                     .sn = "SN00000000001",
                     .hw = "1.00",
                     .entry0 = "1.00"};
    if (type == DFD_KEY_POWER_RATE_SUPPLY) {
        result.entry0 = std::string("\xE8\x03\0\0", 4);  // 1000 W
    }
    if (type == DFD_KEY_POWER_TYPE) {
        // Four bytes of a TLV image's type go for the name, least significant first.
        result.type = 0;
        for (std::uint32_t i = 0; i < sizeof result.type && i < result.name.size(); ++i) {
            result.type |= static_cast<std::uint32_t>(result.name[i]) << (dfd::kBitsPerByte * i);
        }
    }
    if (const ItemAnswer *given = answers_.find(key)) {
        if (given->text.has_value()) {
            result.name = result.sn = result.hw = result.entry0 = *given->text;
        } else {
            result.type = given->number;
        }
    }
    return result;
}

Answerer::LookedUp Answerer::item_of_eeprom(const Transfer &transfer) const {
    for (const LookedUp &item : {last_, last_eeprom_}) {
        if (item.record == nullptr || dfd::kind_of_key(item.key) != dfd::Kind::info_ctrl) {
            continue;
        }
        const auto &record = *static_cast<const info_ctrl_t *>(item.record);
        if (transfer.path == std::string_view(record.fpath) && transfer.addr == record.addr) {
            return item;
        }
    }
    return {};
}

RawBytes Answerer::eeprom(const Transfer &transfer) const {
    const LookedUp item = item_of_eeprom(transfer);
    Inventory content = inventory(item.key);
    if (transfer.path == std::string_view(dfd::kBoardBus) &&
        transfer.addr == dfd::kBoardE2promAddr) {
        content.type = plausible_.board_type;
    }
    if (item.record == nullptr) {
        return tlv_image(content);
    }
    const auto &record = *static_cast<const info_ctrl_t *>(item.record);
    switch (record.mode) {
        case INFO_CTRL_MODE_FRU:
            return is_tlv_read(item.key, transfer) ? tlv_image(content) : fru_image(content);
        case INFO_CTRL_MODE_LEGACY:
            return DFD_KEY_TYPE(item.key) < DFD_KEY_FAN_TYPE
                       ? supply_legacy_image(item.key, record, content)
                       : fan_legacy_image(content);
        default:
            return tlv_image(content);
    }
}

}  // namespace dfdctl::observe
