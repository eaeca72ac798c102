// SPDX-License-Identifier: MIT
// A description as a tree of sections. Whoever reads a section asks for the keys it understands;
// keys nobody asked for are then refused with the nearest name that was asked for. So the list of
// valid keys is said once, by the code that uses them.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vchassis {

struct DescriptionError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Mark {
    unsigned line = 0;
    unsigned column = 0;
};

// Of a section, for messages.
struct Where {
    std::shared_ptr<const std::string> file;
    Mark mark;

    // "file:line:column"
    std::string text() const;
};

class Section;

struct Value {
    std::variant<bool, std::int64_t, double, std::string, std::vector<Value>,
                 std::shared_ptr<Section>>
        data;
    Mark mark;
};

struct Range {
    std::int64_t low = 0;
    std::int64_t high = 0;
};
inline constexpr Range kByte{0, 0xff};

inline constexpr unsigned kByteBits = 8;
inline constexpr std::uint64_t kUsPerMs = 1000;

class Section {
  public:
    // `title` is what messages call this section, for example "[[i2c]]".
    Section(std::shared_ptr<const std::string> file, std::string title, Mark mark);

    // False when the key is there already.
    bool add(std::string key, Value value);
    // Of a section under construction: the value of a key, or null.
    Value *held(std::string_view key);

    // A key that is asked for is remembered as it stands: a literal, or as long-lived.
    bool has(std::string_view key) const { return find(key) != nullptr; }
    std::int64_t integer(std::string_view key, Range range) const;
    std::int64_t integer_or(std::string_view key, Range range, std::int64_t otherwise) const;
    std::optional<double> number(std::string_view key) const;
    std::string text(std::string_view key) const;
    std::string text_or(std::string_view key, const std::string &otherwise) const;
    bool flag_or(std::string_view key, bool otherwise) const;
    bool is_flag(std::string_view key) const;
    // Which of the words stands there; the first one where the key does not.
    std::size_t choice(std::string_view key, std::span<const std::string_view> words) const;
    std::vector<std::string> texts(std::string_view key) const;
    const Section *table(std::string_view key) const;
    std::vector<const Section *> tables(std::string_view key) const;

    // The keys of a table whose names are data, such as register addresses.
    struct Entry {
        const std::string &key;
        const Value *value;
    };
    std::vector<Entry> entries() const;
    // One integer or an array of them, each a byte.
    std::vector<std::uint8_t> byte_list(const Value &value) const;
    std::int64_t integer_of(std::string_view what, const Value &value, Range range) const;
    double number_of(std::string_view what, const Value &value) const;
    std::string text_of(std::string_view what, const Value &value) const;

    void refuse_unknown() const;
    Where where() const { return {file_, mark_}; }
    // A path of the description, relative to the directory the description stands in.
    std::string beside(const std::string &path) const;
    const Mark &mark_of(std::string_view key) const;
    [[noreturn]] void fail(const Mark &mark, const std::string &message) const;
    [[noreturn]] void fail_at(std::string_view key, const std::string &message) const;

  private:
    const Value *find(std::string_view key) const;
    const Value &need(std::string_view key) const;

    struct Pair;
    const Pair *pair_of(std::string_view key) const;

    struct Pair {
        std::string key;
        Value value;
        mutable bool is_asked = false;
    };

    std::shared_ptr<const std::string> file_;
    std::string title_;
    Mark mark_;
    std::vector<Pair> pairs_;
    mutable std::vector<std::string_view> missed_;  // asked for, and not there
};

// Throws DescriptionError with "file:line:column: ..." when the text is not TOML.
std::shared_ptr<Section> parse_description(std::string_view text, const std::string &file);
// The same by one of two ways: plain TOML only, null for any other text; all of it.
std::shared_ptr<Section> parse_plain(std::string_view text, const std::string &file);
std::shared_ptr<Section> parse_toml(std::string_view text, const std::string &file);

}  // namespace vchassis
