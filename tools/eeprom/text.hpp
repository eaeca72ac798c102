// SPDX-License-Identifier: MIT
#pragma once

#include <toml++/toml.h>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "eeprom/build.hpp"

namespace eeprom {

inline constexpr std::int64_t kByteMax = 0xFF;
inline constexpr std::int64_t kWordMax = 0xFFFF;

[[noreturn]] void fail(const toml::source_region &where, const std::string &message);

void append(Bytes &to, const Bytes &from);

/// Hexadecimal digits in pairs, blanks between them allowed, as bytes.
std::optional<Bytes> parse_hex(std::string_view text);

/// A table of the description that remembers which keys were asked for; finish() refuses the
/// others. Every key must therefore be asked for, also where its value does not matter.
class Section {
  public:
    explicit Section(const toml::table &table) : table_(table) {}

    const toml::source_region &where() const { return table_.source(); }
    const toml::source_region &where(std::string_view key) const;
    /// The node of a key, or null.
    const toml::node *node(std::string_view key);

    std::optional<std::string> text(std::string_view key);
    std::string required_text(std::string_view key);
    std::optional<std::int64_t> number(std::string_view key, std::int64_t min, std::int64_t max);
    std::int64_t number_or(std::string_view key, std::int64_t otherwise, std::int64_t min,
                           std::int64_t max);
    std::int64_t required_number(std::string_view key, std::int64_t min, std::int64_t max);
    /// Where the layout begins in the memory: 0 where the description does not say it.
    std::size_t offset(std::string_view key = "offset");
    bool flag(std::string_view key);
    /// An array of numbers 0 to 255, or a text of hexadecimal digits.
    std::optional<Bytes> bytes(std::string_view key);
    /// The tables of an array of tables, in order.
    std::vector<const toml::table *> tables(std::string_view key);

    void finish() const;

  private:
    const toml::table &table_;
    std::vector<std::string_view> known_;
};

/// So many bytes, zeros by default.
Bytes sized_bytes(Section &section, std::string_view key, std::size_t size);

}  // namespace eeprom
