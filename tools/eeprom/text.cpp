// SPDX-License-Identifier: MIT
#include "eeprom/text.hpp"

#include <algorithm>
#include <cctype>

#include "common/nearest.hpp"

#include <fmt/format.h>

namespace eeprom {

namespace {

Bytes array_bytes(const toml::array &array, std::string_view key) {
    Bytes bytes;
    for (const toml::node &element : array) {
        const auto value = element.value<std::int64_t>();
        if (!element.is_integer() || *value < 0 || *value > kByteMax) {
            fail(element.source(), fmt::format("'{}' takes bytes, numbers from 0 to 255", key));
        }
        bytes.push_back(static_cast<std::uint8_t>(*value));
    }
    return bytes;
}

}  // namespace

void fail(const toml::source_region &where, const std::string &message) {
    throw Error(fmt::format("{}:{}:{}: {}", where.path ? *where.path : "description",
                            where.begin.line, where.begin.column, message),
                message);
}

void append(Bytes &to, const Bytes &from) {
    to.insert(to.end(), from.begin(), from.end());
}

std::optional<Bytes> parse_hex(std::string_view text) {
    std::string digits;
    for (const char c : text) {
        if (std::isspace(static_cast<unsigned char>(c)) != 0) {
            continue;
        }
        if (std::isxdigit(static_cast<unsigned char>(c)) == 0) {
            return std::nullopt;
        }
        digits += c;
    }
    if (digits.size() % 2 != 0) {
        return std::nullopt;
    }
    constexpr int kHex = 16;
    Bytes bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        bytes.push_back(static_cast<std::uint8_t>(std::stoi(digits.substr(i, 2), nullptr, kHex)));
    }
    return bytes;
}

Bytes sized_bytes(Section &section, std::string_view key, std::size_t size) {
    const Bytes bytes = section.bytes(key).value_or(Bytes(size));
    if (bytes.size() != size) {
        fail(section.where(key), fmt::format("'{}' has {} bytes", key, size));
    }
    return bytes;
}

const toml::node *Section::node(std::string_view key) {
    known_.push_back(key);
    return table_.get(key);
}

const toml::source_region &Section::where(std::string_view key) const {
    const toml::node *found = table_.get(key);
    return found != nullptr ? found->source() : table_.source();
}

std::optional<std::string> Section::text(std::string_view key) {
    const toml::node *found = node(key);
    if (found == nullptr) {
        return std::nullopt;
    }
    if (!found->is_string()) {
        fail(found->source(), fmt::format("'{}' takes a text in quotes", key));
    }
    return found->value<std::string>();
}

std::string Section::required_text(std::string_view key) {
    auto value = text(key);
    if (!value) {
        fail(where(), fmt::format("'{}' is missing", key));
    }
    return *value;
}

std::optional<std::int64_t> Section::number(std::string_view key, std::int64_t min,
                                            std::int64_t max) {
    const toml::node *found = node(key);
    if (found == nullptr) {
        return std::nullopt;
    }
    const auto value = found->value<std::int64_t>();
    if (!found->is_integer() || *value < min || *value > max) {
        fail(found->source(), fmt::format("'{}' takes a number from {} to {}", key, min, max));
    }
    return value;
}

std::int64_t Section::number_or(std::string_view key, std::int64_t otherwise, std::int64_t min,
                                std::int64_t max) {
    return number(key, min, max).value_or(otherwise);
}

std::int64_t Section::required_number(std::string_view key, std::int64_t min, std::int64_t max) {
    const auto value = number(key, min, max);
    if (!value) {
        fail(where(), fmt::format("'{}' is missing", key));
    }
    return *value;
}

std::size_t Section::offset(std::string_view key) {
    return static_cast<std::size_t>(number_or(key, 0, 0, kWordMax));
}

bool Section::flag(std::string_view key) {
    const toml::node *found = node(key);
    if (found == nullptr) {
        return false;
    }
    if (!found->is_boolean()) {
        fail(found->source(), fmt::format("'{}' is true or false", key));
    }
    return found->value_or(false);
}

std::optional<Bytes> Section::bytes(std::string_view key) {
    const toml::node *found = node(key);
    if (found == nullptr) {
        return std::nullopt;
    }
    if (const toml::array *array = found->as_array()) {
        return array_bytes(*array, key);
    }
    const auto hex = found->is_string() ? parse_hex(found->value_or(std::string_view())) : Bytes();
    if (!found->is_string() || !hex) {
        fail(found->source(),
             fmt::format("'{}' takes numbers from 0 to 255 or pairs of hexadecimal digits", key));
    }
    return hex;
}

std::vector<const toml::table *> Section::tables(std::string_view key) {
    std::vector<const toml::table *> result;
    const toml::node *found = node(key);
    if (found == nullptr) {
        return result;
    }
    if (const toml::table *single = found->as_table()) {
        return {single};
    }
    const toml::array *array = found->as_array();
    if (array == nullptr || !array->is_homogeneous<toml::table>()) {
        fail(found->source(), fmt::format("'{}' is a table: begin it with [[{}]]", key, key));
    }
    for (const toml::node &element : *array) {
        result.push_back(element.as_table());
    }
    return result;
}

void Section::finish() const {
    for (const auto &[key, value] : table_) {
        if (std::find(known_.begin(), known_.end(), key.str()) == known_.end()) {
            fail(key.source(), fmt::format("unknown key '{}'{}", key.str(),
                                           dfd_tools::did_you_mean(key.str(), known_)));
        }
    }
}

}  // namespace eeprom
