// SPDX-License-Identifier: MIT
// What makes texts and numbers of bytes: the filter for texts, the number rule, trimming, and what
// takes telemetry apart.
#include <dfd/fan.h>
#include <dfd/inventory.h>
#include <dfd/types.h>

#include <memory>

#include "framework/dfd_lib_cfg/module.h"
#include "fuzz/layouts.h"

namespace dfd_fuzz {

namespace {

bool is_shown(std::uint8_t byte) {
    return byte >= 0x21 && byte <= 0x7E;
}

// As large as it is told, so that a sanitizer sees each byte too many.
void check_filter(Input bytes, int capacity) {
    const Bytes source(bytes.begin(), bytes.end());
    Bytes buffer(static_cast<std::size_t>(capacity), 0xA5);
    int length = capacity;
    const int result = sdd_get_string_by_buf(source.data(), static_cast<int>(source.size()),
                                             buffer.data(), &length);
    if (source.empty() && source.data() == nullptr) {
        return;
    }
    if (source.size() >= static_cast<std::size_t>(capacity)) {
        demand(result == DFD_ERR_UNUSABLE, "a text without room for its end");
        demand(buffer == Bytes(buffer.size(), 0xA5), "a refused text wrote");
        return;
    }
    const auto end = std::find_if_not(source.begin(), source.end(), is_shown);
    Bytes expected(source.begin(), end);
    demand(result == 0 && length == static_cast<int>(expected.size()), "length of a text");
    expected.push_back(0);
    demand(std::equal(expected.begin(), expected.end(), buffer.begin()), "a text");
}

// Digits at the start, behind white space and a sign; 64 bits that hold at their limits, cut to 32.
std::uint32_t number_by_rule(const std::string &text) {
    if (text.empty()) {
        return UINT32_MAX;
    }
    const bool is_hex = text.size() > 2 && text[0] == '0' && (text[1] | 0x20) == 'x';
    const std::string_view digits = "0123456789abcdef";
    const std::size_t base = is_hex ? 16 : 10;
    std::size_t at = is_hex ? 2 : std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size());
    const bool is_negative = !is_hex && text[at] == '-';
    at += !is_hex && (text[at] == '-' || text[at] == '+') ? 1 : 0;
    __int128 number = 0;
    for (; at < text.size(); ++at) {
        const bool is_letter = text[at] >= 'A' && text[at] <= 'F';
        const std::size_t digit =
            digits.find(static_cast<char>(is_letter ? text[at] | 0x20 : text[at]));
        if (digit >= base) {
            break;
        }
        number = std::min<__int128>(number * static_cast<int>(base) + static_cast<int>(digit),
                                    static_cast<__int128>(INT64_MAX) + 1);
    }
    const __int128 value = is_negative ? -number : std::min<__int128>(number, INT64_MAX);
    return static_cast<std::uint32_t>(value);
}

void check_number(const std::string &text) {
    const std::unique_ptr<char[]> exact(new char[text.size() + 1]);
    std::copy_n(text.c_str(), text.size() + 1, exact.get());
    std::uint32_t number = 0;
    demand(dfd_lib_cfg_get_value_from_char(exact.get(), &number, 1) == 0, "the rule refuses none");
    demand(number == number_by_rule(text), "a number is not what the rule says: " + text);
}

void check_spaces(const std::string &text) {
    std::string without = text;
    std::erase(without, ' ');
    const std::unique_ptr<char[]> name(new char[text.size() + 1]);
    demand(sdd_fan_name_remove_sp(name.get(), text.c_str()) == 0 && name.get() == without,
           "spaces of a name");
    std::erase(without, '\r');
    std::erase(without, '\n');
    std::copy_n(text.c_str(), text.size() + 1, name.get());
    dfd_lib_cfg_trim(name.get());
    demand(name.get() == without, "a line that is trimmed");
}

}  // namespace

// Parameters: capacity of the buffer; bytes.
void text(Input input) {
    Parameters parameters(input);
    const int capacity = parameters.byte() + 1;
    const Input bytes = parameters.rest();
    check_filter(bytes, capacity);
    const std::string line(bytes.begin(), bytes.end());
    check_number(line.substr(0, line.find('\0')));
    check_spaces(line.substr(0, line.find('\0')));
}

}  // namespace dfd_fuzz
