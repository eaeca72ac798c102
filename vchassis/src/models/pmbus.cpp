// SPDX-License-Identifier: MIT
#include "pmbus.h"

#include <fmt/format.h>
#include <linux/i2c.h>

#include <algorithm>
#include <cmath>

#include "../text.h"
#include "pmbus_words.h"

namespace vchassis {

namespace {

constexpr std::uint8_t kClearFaults = 0x03;
constexpr std::uint8_t kVoutMode = 0x20;
constexpr std::uint8_t kFirstStatus = 0x78;
constexpr std::uint8_t kLastStatus = 0x81;
constexpr std::uint8_t kLastReadOnly = 0x9f;
constexpr std::size_t kCommands = 256;
constexpr std::size_t kWordBytes = 2;
constexpr std::uint8_t kIdleBus = 0xff;

constexpr Range kExponents{-16, 15};
constexpr std::int64_t kDefaultVoutExponent = -9;
constexpr Range kWord{0, 0xffff};

// A command code or its name.
std::uint8_t code_of(const Section &table, const Section::Entry &entry) {
    if (const auto number = parse_number(entry.key); number && *number < kCommands) {
        return static_cast<std::uint8_t>(*number);
    }
    if (const auto code = pmbus_code(entry.key)) {
        return *code;
    }
    const std::string guess = nearest(entry.key, pmbus_names());
    table.fail(entry.value->mark,
               fmt::format("'{}' is no PMBus command; {}", entry.key,
                           guess.empty() ? "give its code, 0x00 to 0xff"
                                         : fmt::format("did you mean '{}'?", guess)));
}

}  // namespace

Pmbus::Pmbus(std::string path, const Section &section)
    : Slave(std::move(path), section),
      vout_exponent_(
          static_cast<int>(section.integer_or("vout_exponent", kExponents, kDefaultVoutExponent))) {
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
        put_word(kVoutMode, vout_mode_byte(vout_exponent_));
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
        out.push_back({static_cast<std::uint32_t>(code * kWordBytes), pmbus_name(code),
                       reading(code, command)});
    }
    return out;
}

}  // namespace vchassis
