// SPDX-License-Identifier: MIT
#include "dfdctl/coverage/reason.hpp"

#include <dfd/records.h>
#include <dfd/types.h>
#include <string_view>

#include "dfdctl/board/describe.hpp"
#include "dfdctl/board/keys.hpp"

#include <fmt/format.h>

namespace dfdctl::coverage {

namespace {

std::string bad_length(const info_ctrl_t &record) {
    return fmt::format(".len is {}: a number in format {} has 1 to 31 bytes", record.len,
                       format_word(record.frmt));
}

std::string bad_bit(const info_ctrl_t &record) {
    return fmt::format(".bit_offset is {}: a byte has bits 0 to 7", record.bit_offset);
}

std::string bad_format(const info_ctrl_t &record) {
    return fmt::format(".frmt is {}, which is no format of a number", format_word(record.frmt));
}

std::string bad_buffer(const info_ctrl_t &record) {
    return fmt::format(
        ".frmt is {} and .len {}: the function wants frmt buf and 1 to 255 bytes, no more than it "
        "has room for",
        format_word(record.frmt), record.len);
}

std::string bad_mode(const info_ctrl_t &record) {
    return fmt::format(".mode is {}: only config can be written or read as bytes",
                       mode_word(record.mode));
}

std::string no_processor(const info_ctrl_t & /*record*/) {
    return ".frmt is num_buf, whose bytes this function does not interpret: use byte or num_bytes";
}

std::string not_processed(const info_ctrl_t &record) {
    return fmt::format(".frmt is {} and .len {}: the function makes no value of that",
                       format_word(record.frmt), record.len);
}

std::string no_text_write(const info_ctrl_t & /*record*/) {
    return ".frmt is num_str, which cannot be written";
}

std::string no_file_write(const info_ctrl_t & /*record*/) {
    return ".src is file, which cannot be written";
}

std::string no_source(const info_ctrl_t &record) {
    return fmt::format(".src is {}: a value is read from localbus, i2c or file",
                       source_word(record.src));
}

std::string no_transfer(const info_ctrl_t &record) {
    return fmt::format("there is no such transfer: .src is {}, .fpath '{}', .frmt {}, .len {}",
                       source_word(record.src), record.fpath, format_word(record.frmt), record.len);
}

/// What the engine logs, by a part of the message.
constexpr struct {
    std::string_view logged;
    std::string (*words)(const info_ctrl_t &record);
} kEngineReasons[] = {
    {"format=", bad_buffer},
    {"] len[", bad_length},
    {"] bit_offsest[", bad_bit},
    {"]  format[", bad_format},
    {"] format[", bad_format},
    {"] mode[", bad_mode},
    {"] ctrl mode[", bad_mode},
    {"process function is null", no_processor},
    {"process fail", not_processed},
    {"not support str int set", no_text_write},
    {"not support write info to file", no_file_write},
    {"info src[", no_source},
    {"read int info", no_transfer},
    {"read buf info", no_transfer},
    {"write int info", no_transfer},
};

}  // namespace

std::string code_word(int code) {
    switch (code) {
        case DFD_ERR_UNUSABLE:
            return "does not fit the operation";
        case DFD_ERR_NOT_SUPPORTED:
            return "not supported";
        case DFD_ERR_IO:
            return "reading or writing failed";
        case DFD_ERR_ARG:
        case DFD_ERR_PARAM:
            return "bad arguments";
        case DFD_ERR_MAC_FILE:
            return "bad temperature file";
        default:
            return "failed";
    }
}

std::string engine_reason(std::uint32_t key, int code, const std::string &log) {
    const auto *record = record_of<info_ctrl_t>(item_of_key(key));
    for (const auto &row : kEngineReasons) {
        if (record != nullptr && log.find(row.logged) != std::string::npos) {
            return row.words(*record);
        }
    }
    return fmt::format("the library refuses it: {}", code_word(code));
}

std::string no_eeprom_reason(std::uint32_t key) {
    const auto *record = record_of<info_ctrl_t>(item_of_key(key));
    return fmt::format(".mode is {}, but the function reads no EEPROM for it",
                       record != nullptr ? mode_word(record->mode) : "?");
}

std::string function_reason(std::uint32_t key, int code) {
    return fmt::format("the function does not take it as it is described ({}): {}",
                       describe(item_of_key(key)), code_word(code));
}

}  // namespace dfdctl::coverage
