// SPDX-License-Identifier: MIT
#include "dfdctl/explain/interpret.hpp"

#include <algorithm>

#include "common/text.hpp"
#include "framework/dfd_info/bits.h"
#include "framework/text.h"

#include <fmt/format.h>

namespace dfdctl::explain {

namespace {

constexpr int kDecimal = 10;

std::string hex(std::uint8_t byte) {
    return fmt::format("0x{:02x}", byte);
}

bool is_negative(const info_ctrl_t &record) {
    return record.pola == INFO_POLA_NEGATIVE;
}

Interpretation field(const info_ctrl_t &record, std::uint8_t byte, bool has_processor) {
    Interpretation result;
    if (is_negative(record)) {
        result.steps.push_back({"inverted (pola negative)", hex(static_cast<std::uint8_t>(~byte))});
    }
    const std::uint8_t value =
        dfd::extract_field(byte, record.bit_offset, record.len, is_negative(record));
    result.steps.push_back({fmt::format("shifted right by {}, masked with {}", record.bit_offset,
                                        hex(dfd::low_bits(record.len))),
                            fmt::format("{}", value)});
    if (!has_processor) {
        result.value = value;
    }
    return result;
}

Interpretation number(const info_ctrl_t &record, std::span<const std::uint8_t> bytes) {
    const auto value = static_cast<std::int32_t>(dfd::join_bytes(bytes, is_negative(record)));
    std::string what = "as a number";
    if (bytes.size() > 1) {
        what = fmt::format("joined, {} significant byte first",
                           is_negative(record) ? "least" : "most");
    }
    constexpr std::size_t kNumberBytes = 4;
    if (bytes.size() > kNumberBytes) {
        what += ", of which 4 count";
    }
    return {{{what, fmt::format("{}", value)}}, value};
}

Interpretation decimal(std::span<const std::uint8_t> bytes) {
    const std::string text(bytes.begin(), bytes.end());
    const int value = dfd::number_in_base(text.c_str(), kDecimal);
    return {{{"as decimal text", fmt::format("{}", value)}}, value};
}

}  // namespace

std::string bytes_text(std::span<const std::uint8_t> bytes) {
    std::string text = dfd_tools::hex_text(bytes);
    const auto end = std::find_if_not(bytes.begin(), bytes.end(), [](std::uint8_t byte) {
        return byte == ' ' || dfd::is_graphic(byte);
    });
    constexpr std::ptrdiff_t kFewest = 2;  // a byte alone is rather a number
    if (end - bytes.begin() >= kFewest) {
        text += fmt::format(" \"{}\"", std::string(bytes.begin(), end));
    }
    return text;
}

Interpretation interpret_read(const info_ctrl_t &record, std::span<const std::uint8_t> bytes,
                              bool has_processor) {
    if (bytes.empty()) {
        return {};
    }
    switch (record.frmt) {
        case INFO_FRMT_BIT:
            return field(record, bytes.front(), has_processor);
        case INFO_FRMT_NUM_STR:
            return decimal(bytes);
        case INFO_FRMT_NUM_BUF:
        case INFO_FRMT_BUF:
            return {};
        default: {
            // Bytes that a file is too short for are 0.
            std::vector<std::uint8_t> all(bytes.begin(), bytes.end());
            all.resize(std::max<std::size_t>(record.len, 1));
            return number(record, all);
        }
    }
}

Interpretation interpret_write(const info_ctrl_t &record, std::uint32_t value) {
    if (record.frmt != INFO_FRMT_BIT) {
        const auto low = static_cast<std::uint8_t>(value);
        return {{{"low byte", hex(low)}}, low};
    }
    Interpretation result;
    const std::uint8_t shifted = dfd::place_field(value, record.bit_offset, false);
    const std::uint8_t byte = dfd::place_field(value, record.bit_offset, is_negative(record));
    result.steps.push_back({fmt::format("shifted left by {}", record.bit_offset), hex(shifted)});
    if (is_negative(record)) {
        result.steps.push_back({"inverted (pola negative)", hex(byte)});
    }
    result.value = byte;
    if (record.src == INFO_SRC_LOCALBUS) {
        result.steps.push_back(
            {"bits that change", hex(dfd::field_mask(record.bit_offset, record.len))});
    } else if (record.src == INFO_SRC_I2C) {
        result.steps.push_back(
            {"written as a whole, the other bits become", is_negative(record) ? "1" : "0"});
    }
    return result;
}

}  // namespace dfdctl::explain
