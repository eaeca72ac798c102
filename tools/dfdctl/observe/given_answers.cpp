// SPDX-License-Identifier: MIT
// Answers as the command line gives them.
#include <dfd/records.h>
#include <iterator>
#include <sstream>

#include "dfdctl/board/keys.hpp"
#include "dfdctl/command.hpp"
#include "dfdctl/observe/answers.hpp"

#include <fmt/format.h>

namespace dfdctl::observe {

namespace {

/// Without a text that could stand for it.
bool reads_number(const Item &item) {
    const auto &record = *record_of<info_ctrl_t>(item);
    const bool is_field = record.frmt == INFO_FRMT_BIT || record.frmt == INFO_FRMT_BYTE ||
                          record.frmt == INFO_FRMT_NUM_BYTES;
    return is_field && (record.mode == INFO_CTRL_MODE_CONFIG || record.mode == INFO_CTRL_MODE_FUNC);
}

ItemAnswer parse_answer(const std::string &text) {
    const auto equals = text.find('=');
    std::istringstream left(text.substr(0, equals));
    const std::vector<std::string> words(std::istream_iterator<std::string>(left), {});
    if (equals == std::string::npos || words.empty()) {
        throw UsageError(
            fmt::format("--answer '{}': an item and its value, such as 'fan_state_1=0'", text));
    }
    const Item item = parse_item(words.front(), std::span(words).subspan(1));
    if (record_of<info_ctrl_t>(item) == nullptr || item.type->kind != Kind::info_ctrl) {
        throw UsageError(
            fmt::format("--answer: {} is not configured as something that is read", item.name()));
    }
    const std::string value = text.substr(equals + 1);
    const bool is_negative = value.starts_with('-');
    std::uint32_t number = 0;
    if (!parse_number(value.substr(is_negative ? 1 : 0), number)) {
        if (reads_number(item)) {
            throw UsageError(
                fmt::format("--answer: {} reads a number, '{}' is none", item.name(), value));
        }
        return {.key = item.key(), .text = value};
    }
    return {.key = item.key(), .number = is_negative ? 0 - number : number};
}

}  // namespace

std::vector<ItemAnswer> parse_answers(const std::vector<std::string> &texts) {
    Answers answers;
    for (const std::string &text : texts) {
        answers = answers.with(parse_answer(text));
    }
    return answers.items;
}

}  // namespace dfdctl::observe
