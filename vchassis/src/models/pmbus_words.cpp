// SPDX-License-Identifier: MIT
#include "pmbus_words.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

namespace vchassis {

namespace {

struct CommandName {
    std::uint8_t code;
    const char *name;
};
constexpr CommandName kCommandNames[] = {
    {0x01, "operation"},          {0x03, "clear_faults"},       {0x10, "write_protect"},
    {0x19, "capability"},         {0x20, "vout_mode"},          {0x21, "vout_command"},
    {0x3a, "fan_config_1_2"},     {0x3b, "fan_command_1"},      {0x3c, "fan_command_2"},
    {0x78, "status_byte"},        {0x79, "status_word"},        {0x7a, "status_vout"},
    {0x7b, "status_iout"},        {0x7c, "status_input"},       {0x7d, "status_temperature"},
    {0x7e, "status_cml"},         {0x81, "status_fans_1_2"},    {0x88, "read_vin"},
    {0x89, "read_iin"},           {0x8b, "read_vout"},          {0x8c, "read_iout"},
    {0x8d, "read_temperature_1"}, {0x8e, "read_temperature_2"}, {0x8f, "read_temperature_3"},
    {0x90, "read_fan_speed_1"},   {0x91, "read_fan_speed_2"},   {0x96, "read_pout"},
    {0x97, "read_pin"},           {0x98, "pmbus_revision"},     {0x99, "mfr_id"},
    {0x9a, "mfr_model"},          {0x9b, "mfr_revision"},       {0x9d, "mfr_date"},
    {0x9e, "mfr_serial"},
};

constexpr int kMantissaBits = 11;
constexpr int kMantissaMin = -1024;
constexpr int kMantissaMax = 1023;
constexpr unsigned kMantissaMask = 0x7ff;
constexpr int kExponentMin = -16;
constexpr int kExponentMax = 15;
constexpr unsigned kExponentMask = 0x1f;
constexpr unsigned kExponentBits = 5;

int sign_extend(unsigned value, unsigned bits) {
    const unsigned sign = 1U << (bits - 1);
    return static_cast<int>(value ^ sign) - static_cast<int>(sign);
}

}  // namespace

// The smallest exponent that takes the number keeps most of its digits.
std::optional<std::uint16_t> to_linear11(double value) {
    if (value == 0) {
        return std::uint16_t{0};
    }
    for (int exponent = kExponentMin; exponent <= kExponentMax; ++exponent) {
        const double mantissa = std::round(std::ldexp(value, -exponent));
        if (mantissa >= kMantissaMin && mantissa <= kMantissaMax) {
            const unsigned low = static_cast<unsigned>(static_cast<int>(mantissa)) & kMantissaMask;
            const unsigned high = static_cast<unsigned>(exponent) & kExponentMask;
            return static_cast<std::uint16_t>(high << kMantissaBits | low);
        }
    }
    return std::nullopt;
}

double from_linear11(std::uint16_t word) {
    const int mantissa = sign_extend(word & kMantissaMask, kMantissaBits);
    const int exponent = sign_extend(word >> kMantissaBits, kExponentBits);
    return std::ldexp(mantissa, exponent);
}

std::optional<std::uint16_t> to_linear16(double value, int exponent) {
    const double mantissa = std::round(std::ldexp(value, -exponent));
    if (!(mantissa >= 0 && mantissa <= std::numeric_limits<std::uint16_t>::max())) {
        return std::nullopt;
    }
    return static_cast<std::uint16_t>(mantissa);
}

std::uint8_t vout_mode_byte(int exponent) {
    return static_cast<std::uint8_t>(static_cast<unsigned>(exponent) & kExponentMask);
}

std::optional<std::uint8_t> pmbus_code(std::string_view name) {
    const auto *row = std::find_if(std::begin(kCommandNames), std::end(kCommandNames),
                                   [name](const CommandName &each) { return name == each.name; });
    return row == std::end(kCommandNames) ? std::nullopt : std::optional(row->code);
}

std::string pmbus_name(std::uint8_t code) {
    const auto *row = std::find_if(std::begin(kCommandNames), std::end(kCommandNames),
                                   [code](const CommandName &each) { return each.code == code; });
    return row == std::end(kCommandNames) ? "" : row->name;
}

std::set<std::string> pmbus_names() {
    std::set<std::string> names;
    for (const CommandName &each : kCommandNames) {
        names.insert(each.name);
    }
    return names;
}

}  // namespace vchassis
