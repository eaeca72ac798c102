// SPDX-License-Identifier: MIT
#include "dfdctl/board/describe.hpp"

#include <dfd/records.h>
#include <dfd/types.h>
#include <algorithm>
#include <array>
#include <span>

#include <fmt/format.h>

namespace dfdctl {

namespace {

std::string_view word(std::span<const char *const> words, int number) {
    const bool known = number >= 0 && static_cast<std::size_t>(number) < words.size();
    return known ? words[static_cast<std::size_t>(number)] : "?";
}

/// A member name without its leading dot.
std::string_view member(const char *name) {
    return std::string_view(name).substr(1);
}

struct CodeMeaning {
    int code;
    std::string_view text;
};
constexpr std::array kCodes = {
    CodeMeaning{DFD_ERR, "not found, cannot be opened or parsed, or not possible"},
    CodeMeaning{DFD_ERR_CONFLICT, "something else is already installed"},
    CodeMeaning{DFD_ERR_UNUSABLE, "the item, or an argument, does not fit the operation"},
    CodeMeaning{DFD_ERR_NOT_SUPPORTED, "not configured: the board lacks the feature"},
    CodeMeaning{DFD_ERR_IO, "a hardware read or write failed"},
    CodeMeaning{DFD_ERR_ARG, "an argument, or a length that the function cannot use"},
    CodeMeaning{DFD_ERR_MAC_FILE, "the MAC temperature file cannot be read"},
    CodeMeaning{DFD_ERR_NO_MEMORY, "out of memory"},
    CodeMeaning{DFD_ERR_NO_BACKPLANE, "no backplane EEPROM is configured"},
    CodeMeaning{DFD_ERR_PARAM, "bad parameters of an EEPROM or master-board function"},
};

using LedValues = std::array<std::uint32_t, 7>;

LedValues led_values(const led_info_t &record) {
    return {record.dark,  record.green,       record.red,         record.yellow,
            record.spark, record.fspark_open, record.fspark_close};
}

std::string describe_led(const led_info_t &record) {
    const LedValues values = led_values(record);
    std::string text;
    for (std::size_t state = 0; state < values.size(); ++state) {
        const std::string value =
            values[state] == LED_REGVAL_UNSET ? "-" : fmt::format("{}", values[state]);
        text += fmt::format("{}{} {}", text.empty() ? "" : ", ", member(led_info_mem_str[state]),
                            value);
    }
    return text;
}

std::string place(const info_ctrl_t &record) {
    switch (record.src) {
        case INFO_SRC_LOCALBUS:
            return fmt::format("localbus {} register 0x{:02x}", record.fpath, record.reg_offset);
        case INFO_SRC_I2C:
            return fmt::format("i2c {} address 0x{:02x} register 0x{:02x}", record.fpath,
                               record.addr, record.reg_offset);
        case INFO_SRC_FILE:
            return fmt::format("file {} offset {}", record.fpath, record.reg_offset);
        default:
            return "no source";
    }
}

std::string shape(const info_ctrl_t &record) {
    std::string text(format_word(record.frmt));
    if (record.frmt == INFO_FRMT_BIT) {
        text += fmt::format(" {} width {}", record.bit_offset, record.len);
    } else if (record.len != 1) {
        text += fmt::format(" of {}", record.len);
    }
    const bool byte_order = record.frmt == INFO_FRMT_BYTE || record.frmt == INFO_FRMT_NUM_BYTES;
    if (record.pola == INFO_POLA_NEGATIVE && record.frmt == INFO_FRMT_BIT) {
        text += ", inverted";
    } else if (byte_order && record.len > 1) {
        text += record.pola == INFO_POLA_NEGATIVE ? ", least significant byte first"
                                                  : ", most significant byte first";
    }
    return text;
}

std::string describe_eeprom(const info_ctrl_t &record) {
    return fmt::format("{} EEPROM {} address 0x{:02x}", mode_word(record.mode), record.fpath,
                       record.addr);
}

Json info_ctrl_json(const info_ctrl_t &record) {
    return {{"mode", mode_word(record.mode)},
            {"int_cons", record.int_cons},
            {"src", source_word(record.src)},
            {"frmt", format_word(record.frmt)},
            {"pola", polarity_word(record.pola)},
            {"fpath", record.fpath},
            {"addr", record.addr},
            {"reg_offset", record.reg_offset},
            {"len", record.len},
            {"bit_offset", record.bit_offset}};
}

Json led_json(const led_info_t &record) {
    Json json;
    const LedValues values = led_values(record);
    for (std::size_t state = 0; state < values.size(); ++state) {
        json[std::string(member(led_info_mem_str[state]))] =
            values[state] == LED_REGVAL_UNSET ? Json() : Json(values[state]);
    }
    return json;
}

std::string describe_irq_info(const irq_info_t &record) {
    return fmt::format("{}, values {} {} {}", irq_type_word(record.type), record.val0, record.val1,
                       record.val2);
}

std::string describe_irq_ctrl(const irq_ctrl_t &record) {
    return fmt::format("pending bits are {}, clear value {} {}", record.irq_flag != 0 ? 1 : 0,
                       record.irq_clr_flag != 0 ? "as the status" : "inverted",
                       record.irq_clr_bit != 0 ? "of the pending bits" : "of all bits");
}

}  // namespace

std::string_view irq_type_word(std::uint32_t type) {
    for (const irq_type_name_t &row : g_irq_type_name) {
        if (row.type == type) {
            return row.name;
        }
    }
    return "unknown";
}

std::string_view mode_word(int mode) {
    return word(info_ctrl_mode_str, mode);
}
std::string_view source_word(int source) {
    return word(info_src_str, source);
}
std::string_view format_word(int format) {
    return word(info_frmt_str, format);
}
std::string_view polarity_word(int polarity) {
    return word(info_pola_str, polarity);
}

std::string_view code_meaning(int code) {
    const auto *found = std::find_if(kCodes.begin(), kCodes.end(),
                                     [code](const CodeMeaning &row) { return row.code == code; });
    return found != kCodes.end() ? found->text : std::string_view();
}

std::string_view led_state_name(std::uint32_t state) {
    return state < std::size(led_info_mem_str) ? member(led_info_mem_str[state]) : "?";
}

std::string describe(const info_ctrl_t &record) {
    switch (record.mode) {
        case INFO_CTRL_MODE_CONSTANT:
            return fmt::format("constant {}", record.int_cons);
        case INFO_CTRL_MODE_TLV:
        case INFO_CTRL_MODE_FRU:
        case INFO_CTRL_MODE_LEGACY:
            return describe_eeprom(record);
        case INFO_CTRL_MODE_CONFIG:
            return fmt::format("{}, {}", place(record), shape(record));
        default:
            return fmt::format("mode {}: {}, {}", mode_word(record.mode), place(record),
                               shape(record));
    }
}

std::string describe(const Item &item) {
    const auto text = [](auto describe_record, const auto *record) {
        return record != nullptr ? std::string(describe_record(*record)) : std::string();
    };
    switch (item.type->kind) {
        case Kind::integer:
            return text([](int value) { return fmt::format("{}", value); }, record_of<int>(item));
        case Kind::text: {
            const char *value = record_of<char>(item);
            return value != nullptr ? fmt::format("\"{}\"", value) : "";
        }
        case Kind::i2c_dev:
            return text(
                [](const i2c_dev_t &dev) {
                    return fmt::format("/dev/i2c-{} address 0x{:02x}", dev.bus, dev.addr);
                },
                record_of<i2c_dev_t>(item));
        case Kind::info_ctrl:
            return text([](const info_ctrl_t &record) { return describe(record); },
                        record_of<info_ctrl_t>(item));
        case Kind::irq_ctrl:
            return text(describe_irq_ctrl, record_of<irq_ctrl_t>(item));
        case Kind::irq_info:
            return text(describe_irq_info, record_of<irq_info_t>(item));
        case Kind::led_info:
            return text(describe_led, record_of<led_info_t>(item));
        case Kind::temp_info:
            return text(
                [](const temp_info_t &sensor) {
                    return fmt::format("{} ({})", sensor.temp_name,
                                       word(temp_info_type_str, sensor.type));
                },
                record_of<temp_info_t>(item));
        case Kind::none:
            break;
    }
    return {};
}

Json item_json(const Item &item) {
    Json json;
    json["name"] = item.type->name;
    json["index1"] = item.type->max1 >= 0 ? Json(item.index1) : Json();
    json["index2"] = item.type->max2 >= 0 ? Json(item.index2) : Json();
    json["key"] = fmt::format("0x{:08x}", item.key());
    json["kind"] = kind_name(item.type->kind);
    return json;
}

Json record_json(const Item &item) {
    const auto json = [](const auto *record, auto convert) {
        return record != nullptr ? Json(convert(*record)) : Json();
    };
    switch (item.type->kind) {
        case Kind::integer:
            return json(record_of<int>(item), [](int value) -> Json { return {{"value", value}}; });
        case Kind::text: {
            const char *value = record_of<char>(item);
            return value != nullptr ? Json{{"value", value}} : Json();
        }
        case Kind::i2c_dev:
            return json(record_of<i2c_dev_t>(item), [](const i2c_dev_t &dev) -> Json {
                return {{"bus", dev.bus}, {"addr", dev.addr}};
            });
        case Kind::info_ctrl:
            return json(record_of<info_ctrl_t>(item), info_ctrl_json);
        case Kind::irq_ctrl:
            return json(record_of<irq_ctrl_t>(item), [](const irq_ctrl_t &ctrl) -> Json {
                return {{"irq_flag", ctrl.irq_flag},
                        {"irq_clr_flag", ctrl.irq_clr_flag},
                        {"irq_clr_bit", ctrl.irq_clr_bit}};
            });
        case Kind::irq_info:
            return json(record_of<irq_info_t>(item), [](const irq_info_t &irq) -> Json {
                return {{"type", irq_type_word(irq.type)},
                        {"val0", irq.val0},
                        {"val1", irq.val1},
                        {"val2", irq.val2}};
            });
        case Kind::led_info:
            return json(record_of<led_info_t>(item), led_json);
        case Kind::temp_info:
            return json(record_of<temp_info_t>(item), [](const temp_info_t &temp) -> Json {
                return {{"temp_name", temp.temp_name},
                        {"type", word(temp_info_type_str, temp.type)}};
            });
        case Kind::none:
            break;
    }
    return {};
}

Json origin_json(const Item &item, const LoadRecord &loaded) {
    const auto found = loaded.origins.find(item.key());
    if (found == loaded.origins.end()) {
        return {};
    }
    Json lines = Json::array();
    for (const Origin &origin : found->second) {
        lines.push_back({{"file", loaded.files[origin.file].path}, {"line", origin.line}});
    }
    return lines;
}

}  // namespace dfdctl
