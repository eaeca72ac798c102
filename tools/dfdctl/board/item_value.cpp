// SPDX-License-Identifier: MIT
#include <dfd/access.h>
#include <dfd/driver.h>
#include <dfd/framework.h>
#include <dfd/inventory.h>
#include <dfd/power.h>
#include <dfd/records.h>
#include <algorithm>
#include <array>
#include <cstring>

#include "dfdctl/board/describe.hpp"
#include "dfdctl/board/inventory.hpp"
#include "dfdctl/board/item_value.hpp"
#include "dfdctl/board/library_calls.hpp"
#include "dfdctl/board/read_pass.hpp"
#include "framework/dfd_info/bits.h"

#include <fmt/format.h>

namespace dfdctl {

namespace {

constexpr std::size_t kTextSize = 256;

Reading not_configured() {
    return failure(Status::not_configured, DFD_ERR_NOT_SUPPORTED, "not configured on this board");
}

Reading buffer_item(const Item &item) {
    std::array<std::uint8_t, kTextSize> buffer = {};
    const int result = dfd_info_get_buf(item.key(), buffer.data(), buffer.size(), nullptr);
    return result >= 0 ? buffer_reading(std::span(buffer).first(static_cast<std::size_t>(result)))
                       : engine_failure(result);
}

/// The name that a LED table or string items give a number.
std::string meaning_of(const Facts &facts, int value) {
    if (facts.led_table != 0) {
        constexpr std::uint32_t kNone = UINT32_MAX;
        std::uint32_t state = kNone;
        const int result = dfd_get_led_info_state(DFD_MAKE_KEY(facts.led_table, 0, 0),
                                                  static_cast<std::uint32_t>(value), &state);
        return result == DFD_OK && state != kNone ? std::string(led_state_name(state))
                                                  : std::string();
    }
    if (facts.type_names == 0) {
        return {};
    }
    const char *name =
        record_of<char>(item_of(facts.type_names, static_cast<std::uint32_t>(value)));
    return name != nullptr ? name : "";
}

Reading number_reading(const Facts &facts, int value, int scale) {
    Reading reading;
    if (scale == 1) {
        reading.value = std::int64_t{value};
    } else {
        reading.value = static_cast<double>(value) / scale;
    }
    reading.unit = facts.unit;
    reading.meaning = meaning_of(facts, value);
    return reading;
}

/// A number of the library with the unit and the names of its item's type.
Reading number_of(const Answer &answer, const Facts &facts, int scale) {
    const auto *number = std::get_if<std::int64_t>(&answer.value);
    return number != nullptr ? number_reading(facts, static_cast<int>(*number), scale)
                             : engine_failure(answer.code);
}

/// Bytes without a conversion of their own: most significant first.
int plain_number(std::uint8_t *bytes, int len, int *value) {
    unsigned number = 0;
    for (int i = 0; i < len; ++i) {
        number = number << dfd::kBitsPerByte | bytes[i];
    }
    *value = static_cast<int>(number);
    return DFD_OK;
}

int first_byte(std::uint8_t *bytes, int /*len*/, int *value) {
    *value = bytes[0];
    return DFD_OK;
}

Reading integer_item(const Item &item, const info_ctrl_t &record, const Facts &facts) {
    if (const LibraryValue *library = library_value_of(item)) {
        return number_of(library->read({item.index1, item.index2}), facts, library->scale);
    }
    const bool is_type = item.type->type == DFD_KEY_POWER_TYPE;
    const auto processor = is_type ? dfd_get_power_type_by_buf : plain_number;
    int value = 0;
    const int result = dfd_info_get_int(item.key(), &value,
                                        record.frmt == INFO_FRMT_NUM_BUF ? processor : nullptr);
    return result == DFD_OK ? number_reading(facts, value, 1) : engine_failure(result);
}

/// Of a supply, the library alone knows which entry of its EEPROM it takes for what.
constexpr LibraryValue kSupplyTexts[] = {
    {DFD_KEY_POWER_TYPE, 1, by_text<drv_get_power_name>},
    {DFD_KEY_POWER_SN, 1, by_text<drv_get_power_sn>},
    {DFD_KEY_POWER_HW_VER, 1, by_text<drv_get_power_hw_version>},
};

Reading inventory_item(const Item &item, const info_ctrl_t &record, const Facts &facts) {
    if (facts.info == 0) {
        return failure(Status::unusable, DFD_ERR_UNUSABLE,
                       fmt::format("{} is not a piece of inventory information: mode {} does not "
                                   "say what to read",
                                   item.type->name, info_ctrl_mode_str[record.mode]));
    }
    const Eeprom eeprom = eeprom_of(item, record);
    const auto *supply = std::ranges::find(kSupplyTexts, item.type->type, &LibraryValue::type);
    if (supply != std::end(kSupplyTexts)) {
        const Answer answer = supply->read({item.index1, 0});
        return answer.code == DFD_OK ? Reading{.value = answer.value}
                                     : eeprom_failure(eeprom, answer.code);
    }
    Reading reading = read_inventory(eeprom, facts.info);
    if (const auto *number = std::get_if<std::int64_t>(&reading.value)) {
        reading.meaning = meaning_of(facts, static_cast<int>(*number));
    }
    return reading;
}

bool is_inventory_mode(int mode) {
    return mode == INFO_CTRL_MODE_TLV || mode == INFO_CTRL_MODE_FRU;
}

Reading info_ctrl_reading(const Item &item, const info_ctrl_t &record) {
    const Facts &facts = facts_of(item.type->type);
    const bool legacy = record.mode == INFO_CTRL_MODE_LEGACY && facts.legacy != Legacy::none;
    const bool is_figure = facts.info == 0 && library_value_of(item) != nullptr;
    if ((is_inventory_mode(record.mode) || legacy) && !is_figure) {
        return inventory_item(item, record, facts);
    }
    return record.frmt == INFO_FRMT_BUF ? buffer_item(item) : integer_item(item, record, facts);
}

/// A unit that is not there explains why its devices do not answer.
bool is_absent(const Item &item) {
    const std::uint32_t type = presence_type_of(item.type->type);
    const Item presence = item_of(type, item.index1);
    int present = 1;
    return type != 0 && record_of<info_ctrl_t>(presence) != nullptr &&
           dfd_info_get_int(presence.key(), &present, nullptr) == DFD_OK && present == 0;
}

Reading text_reading(std::string text) {
    return {.value = std::move(text)};
}

}  // namespace

Reading engine_failure(int code) {
    switch (code) {
        case DFD_ERR_NOT_SUPPORTED:
            return failure(Status::bad_data, code,
                           "the value read has no meaning by the "
                           "configuration's conversion items");
        case DFD_ERR_IO:
            return failure(Status::io_error, code, "the device cannot be read");
        case DFD_ERR:
            return failure(Status::bad_data, code, "the value read cannot be converted");
        default:
            return failure(Status::unusable, code,
                           "mode, format, length or bit offset of the item do not allow reading");
    }
}

namespace {

Reading item_reading(const Item &item) {
    const void *record = dfd_lib_cfg_get_item(item.key());
    if (record == nullptr) {
        return not_configured();
    }
    switch (item.type->kind) {
        case Kind::integer:
            return number_reading(facts_of(item.type->type), *record_of<int>(item), 1);
        case Kind::text:
            return text_reading(record_of<char>(item));
        case Kind::info_ctrl:
            return info_ctrl_reading(item, *record_of<info_ctrl_t>(item));
        default:
            return text_reading(describe(item));
    }
}

Reading register_reading(const Item &item) {
    const auto *record = record_of<info_ctrl_t>(item);
    if (record == nullptr) {
        return not_configured();
    }
    int value = 0;
    const int result = dfd_info_get_int(item.key(), &value,
                                        record->frmt == INFO_FRMT_NUM_BUF ? first_byte : nullptr);
    return result == DFD_OK ? number_reading(facts_of(item.type->type), value, 1)
                            : engine_failure(result);
}

}  // namespace

Reading read_item(const Item &item) {
    Reading reading = with_cause([&item] { return item_reading(item); });
    const bool may_be_absent = reading.failed() && item.type->kind == Kind::info_ctrl;
    if (may_be_absent && reading.status != Status::not_configured && is_absent(item)) {
        reading.status = Status::absent;
    }
    return reading;
}

Reading read_register(const Item &item) {
    return with_cause([&item] { return register_reading(item); });
}

std::int64_t reads_back_as(const info_ctrl_t &record, std::uint32_t written) {
    const std::uint32_t at = record.bit_offset;
    if (record.frmt != INFO_FRMT_BIT || at >= dfd::kBitsPerByte) {
        return static_cast<std::uint8_t>(written);
    }
    const bool is_inverted = record.pola == INFO_POLA_NEGATIVE;
    return dfd::extract_field(dfd::place_field(written, at, is_inverted), at, record.len,
                              is_inverted);
}

}  // namespace dfdctl
