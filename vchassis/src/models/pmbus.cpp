// SPDX-License-Identifier: MIT
#include "pmbus.h"

#include <fmt/format.h>
#include <linux/i2c.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "../text.h"

namespace vchassis {

namespace {

struct CommandName {
    std::uint8_t code;
    const char *name;
};
constexpr CommandName kNames[] = {
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

constexpr std::uint8_t kClearFaults = 0x03;
constexpr std::uint8_t kVoutMode = 0x20;
constexpr std::uint8_t kFirstStatus = 0x78;
constexpr std::uint8_t kLastStatus = 0x81;
constexpr std::uint8_t kLastReadOnly = 0x9f;
constexpr std::size_t kCommands = 256;
constexpr std::size_t kWordBytes = 2;
constexpr unsigned kByteBits = 8;
constexpr std::uint8_t kIdleBus = 0xff;

constexpr int kMantissaBits = 11;
constexpr int kMantissaMin = -1024;
constexpr int kMantissaMax = 1023;
constexpr unsigned kMantissaMask = 0x7ff;
constexpr int kExponentMin = -16;
constexpr int kExponentMax = 15;
constexpr unsigned kExponentMask = 0x1f;
constexpr std::int64_t kDefaultVoutExponent = -9;
constexpr Range kByte{0, 0xff};
constexpr Range kWord{0, 0xffff};

std::string name_of(std::uint8_t code) {
    const auto *row = std::find_if(std::begin(kNames), std::end(kNames),
                                   [code](const CommandName &each) { return each.code == code; });
    return row == std::end(kNames) ? "" : row->name;
}

// A command code or its name.
std::uint8_t code_of(const Section &table, const Section::Entry &entry) {
    if (const auto number = parse_number(entry.key); number && *number < kCommands) {
        return static_cast<std::uint8_t>(*number);
    }
    std::set<std::string> names;
    for (const CommandName &each : kNames) {
        if (entry.key == each.name) {
            return each.code;
        }
        names.insert(each.name);
    }
    const std::string guess = nearest(entry.key, names);
    table.fail(entry.value->mark,
               fmt::format("'{}' is no PMBus command; {}", entry.key,
                           guess.empty() ? "give its code, 0x00 to 0xff"
                                         : fmt::format("did you mean '{}'?", guess)));
}

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
    const int exponent = sign_extend(word >> kMantissaBits, 5);
    return std::ldexp(mantissa, exponent);
}

std::optional<std::uint16_t> to_linear16(double value, int exponent) {
    const double mantissa = std::round(std::ldexp(value, -exponent));
    if (!(mantissa >= 0 && mantissa <= std::numeric_limits<std::uint16_t>::max())) {
        return std::nullopt;
    }
    return static_cast<std::uint16_t>(mantissa);
}

Pmbus::Pmbus(std::string path, const Section &section)
    : Slave(std::move(path), section),
      vout_exponent_(static_cast<int>(section.integer_or(
          "vout_exponent", {kExponentMin, kExponentMax}, kDefaultVoutExponent))) {
    initial_.resize(kCommands * kWordBytes);
    load(section, "byte", Format::byte);
    load(section, "word", Format::word);
    load(section, "linear11", Format::linear11);
    load(section, "linear16", Format::linear16);
    load(section, "text", Format::text);
    const bool scaled = std::any_of(commands_.begin(), commands_.end(), [](const auto &each) {
        return each.second.format == Format::linear16;
    });
    if (scaled && !commands_.contains(kVoutMode)) {
        commands_[kVoutMode] = {Format::byte, {}};
        put_word(kVoutMode, static_cast<unsigned>(vout_exponent_) & kExponentMask);
    }
}

void Pmbus::load(const Section &section, const char *key, Format format) {
    const Section *table = section.table(key);
    if (table == nullptr) {
        return;
    }
    for (const Section::Entry &entry : table->entries()) {
        const std::uint8_t code = code_of(*table, entry);
        if (!commands_.emplace(code, Command{format, {}}).second) {
            table->fail(entry.value->mark, fmt::format("command 0x{:02x} is given twice", code));
        }
        put(*table, entry, code, format);
    }
}

void Pmbus::put(const Section &table, const Section::Entry &entry, std::uint8_t code,
                Format format) {
    std::optional<std::uint16_t> word;
    switch (format) {
        case Format::byte:
            word = static_cast<std::uint16_t>(table.integer_of(entry.key, *entry.value, kByte));
            break;
        case Format::word:
            word = static_cast<std::uint16_t>(table.integer_of(entry.key, *entry.value, kWord));
            break;
        case Format::linear11:
            word = to_linear11(table.number_of(entry.key, *entry.value));
            break;
        case Format::linear16:
            word = to_linear16(table.number_of(entry.key, *entry.value), vout_exponent_);
            break;
        case Format::text:
            commands_[code].text = table.text_of(entry.key, *entry.value);
            word = commands_[code].text.size() <= I2C_SMBUS_BLOCK_MAX
                       ? std::optional<std::uint16_t>(0)
                       : std::nullopt;
            break;
    }
    if (!word) {
        table.fail(entry.value->mark, fmt::format("the value of '{}' does not fit", entry.key));
    }
    put_word(code, *word);
}

void Pmbus::put_word(std::uint8_t code, std::uint16_t word) {
    initial_[code * kWordBytes] = static_cast<std::uint8_t>(word);
    initial_[code * kWordBytes + 1] = static_cast<std::uint8_t>(word >> kByteBits);
}

std::uint16_t Pmbus::word(std::uint8_t code) const {
    return static_cast<std::uint16_t>(contents()[code * kWordBytes] |
                                      contents()[code * kWordBytes + 1] << kByteBits);
}

const Pmbus::Command *Pmbus::current() const {
    const auto found = commands_.find(static_cast<std::uint8_t>(scratch.pointer()));
    return found == commands_.end() ? nullptr : &found->second;
}

bool Pmbus::start(bool read) {
    index_ = 0;
    pending_.clear();
    expect_command_ = !read;
    return true;
}

bool Pmbus::write(std::uint8_t byte) {
    const Command *command = current();
    if (expect_command_) {
        expect_command_ = false;
        return choose(byte);
    }
    const bool read_only = scratch.pointer() >= kFirstStatus && scratch.pointer() <= kLastReadOnly;
    if (command == nullptr || command->format == Format::text || read_only ||
        pending_.size() == width(*command)) {
        return false;
    }
    pending_.push_back(byte);
    return true;
}

bool Pmbus::choose(std::uint8_t code) {
    scratch.set_pointer(code);
    if (code == kClearFaults) {
        const auto status = contents().subspan(kFirstStatus * kWordBytes,
                                               (kLastStatus + 1 - kFirstStatus) * kWordBytes);
        std::fill(status.begin(), status.end(), std::uint8_t{0});
        return true;
    }
    return current() != nullptr;
}

std::size_t Pmbus::width(const Command &command) {
    return command.format == Format::byte ? 1 : kWordBytes;
}

// Half a word is no command and changes nothing.
void Pmbus::stop() {
    const Command *command = current();
    if (command != nullptr && pending_.size() == width(*command)) {
        std::copy(pending_.begin(), pending_.end(),
                  contents().subspan(scratch.pointer() * kWordBytes).begin());
    }
    pending_.clear();
}

std::uint8_t Pmbus::read() {
    const Command *command = current();
    const std::size_t at = index_++;
    if (command == nullptr) {
        return kIdleBus;
    }
    if (command->format == Format::text) {
        const std::string &text = command->text;
        return at == 0             ? static_cast<std::uint8_t>(text.size())
               : at <= text.size() ? static_cast<std::uint8_t>(text[at - 1])
                                   : kIdleBus;
    }
    return at < width(*command) ? contents()[scratch.pointer() * kWordBytes + at] : kIdleBus;
}

std::string Pmbus::summary() const {
    return fmt::format("{} commands", commands_.size());
}

std::string Pmbus::reading(std::uint8_t code, const Command &command) const {
    switch (command.format) {
        case Format::byte:
            return fmt::format("0x{:02x}", contents()[code * kWordBytes]);
        case Format::word:
            return fmt::format("0x{:04x}", word(code));
        case Format::linear11:
            return fmt::format("{:.6g}", from_linear11(word(code)));
        case Format::linear16:
            return fmt::format("{:.6g}", std::ldexp(word(code), vout_exponent_));
        case Format::text:
            break;
    }
    return command.text;
}

std::vector<Device::Named> Pmbus::named() const {
    std::vector<Named> out;
    for (const auto &[code, command] : commands_) {
        out.push_back(
            {static_cast<std::uint32_t>(code * kWordBytes), name_of(code), reading(code, command)});
    }
    return out;
}

}  // namespace vchassis
