// SPDX-License-Identifier: MIT
#include "section.h"
#include "common/text.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <utility>

#include "text.h"

namespace vchassis {

Section::Section(std::shared_ptr<const std::string> file, std::string title, Mark mark)
    : file_(std::move(file)), title_(std::move(title)), mark_(mark) {
    constexpr std::size_t kMostlyAtMost = 4;
    pairs_.reserve(kMostlyAtMost);
}

// Sections are short: most keys differ in their length already.
const Section::Pair *Section::pair_of(std::string_view key) const {
    const auto found = std::ranges::find(pairs_, key, &Pair::key);
    return found == pairs_.end() ? nullptr : &*found;
}

bool Section::add(std::string key, Value value) {
    if (pair_of(key) != nullptr) {
        return false;
    }
    const auto place = std::ranges::upper_bound(pairs_, key, {}, &Pair::key);
    pairs_.insert(place, {std::move(key), std::move(value)});
    return true;
}

Value *Section::held(std::string_view key) {
    auto *const found = const_cast<Pair *>(pair_of(key));
    return found == nullptr ? nullptr : &found->value;
}

const Value *Section::find(std::string_view key) const {
    const Pair *const found = pair_of(key);
    if (found == nullptr) {
        missed_.push_back(key);
        return nullptr;
    }
    found->is_asked = true;
    return &found->value;
}

const Value &Section::need(std::string_view key) const {
    const Value *value = find(key);
    if (value == nullptr) {
        fail(mark_, fmt::format("{} lacks the key '{}'", title_, key));
    }
    return *value;
}

std::int64_t Section::integer_of(std::string_view what, const Value &value, Range range) const {
    const auto *number = std::get_if<std::int64_t>(&value.data);
    if (number == nullptr || *number < range.low || *number > range.high) {
        fail(value.mark,
             fmt::format("'{}' must be an integer from {} to {}", what, range.low, range.high));
    }
    return *number;
}

double Section::number_of(std::string_view what, const Value &value) const {
    if (const auto *whole = std::get_if<std::int64_t>(&value.data)) {
        return static_cast<double>(*whole);
    }
    const auto *number = std::get_if<double>(&value.data);
    if (number == nullptr) {
        fail(value.mark, fmt::format("'{}' must be a number", what));
    }
    return *number;
}

std::string Section::text_of(std::string_view what, const Value &value) const {
    const auto *text = std::get_if<std::string>(&value.data);
    if (text == nullptr) {
        fail(value.mark, fmt::format("'{}' must be a text in quotes", what));
    }
    return *text;
}

std::int64_t Section::integer(std::string_view key, Range range) const {
    return integer_of(key, need(key), range);
}

std::int64_t Section::integer_or(std::string_view key, Range range, std::int64_t otherwise) const {
    const Value *value = find(key);
    return value == nullptr ? otherwise : integer_of(key, *value, range);
}

std::optional<double> Section::number(std::string_view key) const {
    const Value *value = find(key);
    return value == nullptr ? std::nullopt : std::optional(number_of(key, *value));
}

std::string Section::text(std::string_view key) const {
    return text_of(key, need(key));
}

std::string Section::text_or(std::string_view key, const std::string &otherwise) const {
    const Value *value = find(key);
    return value == nullptr ? otherwise : text_of(key, *value);
}

bool Section::flag_or(std::string_view key, bool otherwise) const {
    const Value *value = find(key);
    if (value == nullptr) {
        return otherwise;
    }
    const bool *flag = std::get_if<bool>(&value->data);
    if (flag == nullptr) {
        fail(value->mark, fmt::format("'{}' must be true or false", key));
    }
    return *flag;
}

bool Section::is_flag(std::string_view key) const {
    const Value *value = find(key);
    return value != nullptr && std::holds_alternative<bool>(value->data);
}

std::size_t Section::choice(std::string_view key, std::span<const std::string_view> words) const {
    const std::string word = text_or(key, std::string(words.front()));
    const auto found = std::find(words.begin(), words.end(), word);
    if (found == words.end()) {
        fail_at(key,
                fmt::format("'{}' must be {} or {}", word,
                            dfd_tools::joined(words.first(words.size() - 1), ", "), words.back()));
    }
    return static_cast<std::size_t>(found - words.begin());
}

std::vector<std::string> Section::texts(std::string_view key) const {
    std::vector<std::string> out;
    const Value *value = find(key);
    if (value == nullptr) {
        return out;
    }
    const auto *list = std::get_if<std::vector<Value>>(&value->data);
    if (list == nullptr) {
        fail(value->mark, fmt::format("'{}' must be a list of texts in quotes", key));
    }
    for (const Value &item : *list) {
        out.push_back(text_of(key, item));
    }
    return out;
}

const Section *Section::table(std::string_view key) const {
    const Value *value = find(key);
    if (value == nullptr) {
        return nullptr;
    }
    const auto *section = std::get_if<std::shared_ptr<Section>>(&value->data);
    if (section == nullptr) {
        fail(value->mark, fmt::format("'{}' must be a table: {} = {{ ... }}", key, key));
    }
    return section->get();
}

std::vector<const Section *> Section::tables(std::string_view key) const {
    std::vector<const Section *> out;
    const Value *value = find(key);
    if (value == nullptr) {
        return out;
    }
    const auto *list = std::get_if<std::vector<Value>>(&value->data);
    for (std::size_t i = 0; list != nullptr && i < list->size(); ++i) {
        if (const auto *section = std::get_if<std::shared_ptr<Section>>(&(*list)[i].data)) {
            out.push_back(section->get());
        }
    }
    if (list == nullptr || out.size() != list->size()) {
        fail(value->mark, fmt::format("'{}' must be a list of tables: [[{}]]", key, key));
    }
    return out;
}

std::vector<Section::Entry> Section::entries() const {
    std::vector<Entry> out;
    for (const Pair &pair : pairs_) {
        out.push_back({pair.key, &pair.value});
    }
    return out;
}

std::vector<std::uint8_t> Section::byte_list(const Value &value) const {
    std::vector<std::uint8_t> out;
    const auto *list = std::get_if<std::vector<Value>>(&value.data);
    if (list == nullptr) {
        out.push_back(static_cast<std::uint8_t>(integer_of("byte", value, kByte)));
        return out;
    }
    for (const Value &item : *list) {
        out.push_back(static_cast<std::uint8_t>(integer_of("byte", item, kByte)));
    }
    return out;
}

void Section::refuse_unknown() const {
    const auto unknown = std::ranges::find(pairs_, false, &Pair::is_asked);
    if (unknown == pairs_.end()) {
        return;
    }
    std::set<std::string> valid(missed_.begin(), missed_.end());
    for (const Pair &pair : pairs_) {
        if (pair.is_asked) {
            valid.insert(pair.key);
        }
    }
    const std::string guess = nearest(unknown->key, valid);
    fail(unknown->value.mark,
         fmt::format("{} knows no key '{}'; {}", title_, unknown->key,
                     guess.empty() ? fmt::format("valid are {}", dfd_tools::joined(valid, ", "))
                                   : fmt::format("did you mean '{}'?", guess)));
}

const Mark &Section::mark_of(std::string_view key) const {
    const Value *value = find(key);
    return value == nullptr ? mark_ : value->mark;
}

std::string Where::text() const {
    return fmt::format("{}:{}:{}", *file, mark.line, mark.column);
}

std::string Section::beside(const std::string &path) const {
    return (std::filesystem::path(*file_).parent_path() / path).string();
}

void Section::fail(const Mark &mark, const std::string &message) const {
    throw DescriptionError(fmt::format("{}:{}:{}: {}", *file_, mark.line, mark.column, message));
}

void Section::fail_at(std::string_view key, const std::string &message) const {
    fail(mark_of(key), message);
}

}  // namespace vchassis
