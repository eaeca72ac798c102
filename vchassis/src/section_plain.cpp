// SPDX-License-Identifier: MIT
// Descriptions as they are mostly written, in a tenth of the work that all of TOML takes; every
// program on a chassis reads one. What is not plain, mistakes too, is left to the TOML parser.
#include <algorithm>
#include <array>
#include <charconv>
#include <set>

#include "section.h"

namespace vchassis {

namespace {

// What a character may be part of, as bits.
enum : unsigned char { kBareKey = 1, kPlainWord = 2, kDigit = 4, kHexDigit = 8, kText = 16 };
constexpr auto kParts = [] {
    std::array<unsigned char, 256> parts{};
    const auto is_in = [](int c, char first, char last) { return c >= first && c <= last; };
    for (int c = 0; c < 256; ++c) {
        const bool is_digit = is_in(c, '0', '9');
        const bool is_alpha = is_in(c, 'a', 'z') || is_in(c, 'A', 'Z');
        const bool is_hex = is_digit || is_in(c, 'a', 'f') || is_in(c, 'A', 'F');
        const bool is_key = is_digit || is_alpha || c == '_' || c == '-';
        const bool is_word = is_key || c == '+' || c == '.' || c == ':';
        const bool is_text = is_in(c, ' ', '~') || c == '\t';
        parts[static_cast<std::size_t>(c)] = static_cast<unsigned char>(
            (is_key ? kBareKey : 0) | (is_word ? kPlainWord : 0) | (is_digit ? kDigit : 0) |
            (is_hex ? kHexDigit : 0) | (is_text ? kText : 0));
    }
    return parts;
}();
constexpr std::size_t kMostDigits = 15;  // of any base: no number is too large
constexpr int kMostDepth = 16;
constexpr int kHexadecimal = 16;

struct NotPlain {};

bool is_part(char c, unsigned char of) {
    return (kParts[static_cast<unsigned char>(c)] & of) != 0;
}

bool is_all(std::string_view text, unsigned char of) {
    return !text.empty() && text.size() <= kMostDigits &&
           std::ranges::all_of(text, [of](char c) { return is_part(c, of); });
}

bool is_decimal(std::string_view digits) {
    return is_all(digits, kDigit) && (digits.front() != '0' || digits.size() == 1);
}

class Reader {
  public:
    Reader(std::string_view text, const std::string &file)
        : text_(text), file_(std::make_shared<const std::string>(file)) {}

    std::shared_ptr<Section> document() {
        const auto root = std::make_shared<Section>(file_, "the description", here());
        Section *table = root.get();
        for (skip_blank_lines(); at_ < text_.size(); skip_blank_lines()) {
            if (next() == '[') {
                table = &header(*root);
            } else {
                pair(*table);
            }
            end_line();
        }
        return root;
    }

  private:
    Mark here() const { return {line_, static_cast<unsigned>(at_ - line_begin_ + 1)}; }
    char next() const { return at_ < text_.size() ? text_[at_] : '\n'; }

    bool takes(char c) {
        const bool is_there = at_ < text_.size() && text_[at_] == c;
        at_ += is_there ? 1 : 0;
        return is_there;
    }

    void need(bool is_plain) const {
        if (!is_plain) {
            throw NotPlain{};
        }
    }

    std::string_view take_all(unsigned char of) {
        const std::size_t begin = at_;
        while (at_ < text_.size() && is_part(text_[at_], of)) {
            ++at_;
        }
        return text_.substr(begin, at_ - begin);
    }

    void skip_blanks() {
        while (next() == ' ' || next() == '\t') {
            ++at_;
        }
    }

    void end_line() {
        skip_blanks();
        if (next() == '#') {
            take_all(kText);
        }
        if (at_ < text_.size()) {
            need(takes('\n'));
            ++line_;
            line_begin_ = at_;
        }
    }

    void skip_blank_lines() {
        for (skip_blanks(); at_ < text_.size() && (next() == '\n' || next() == '#');
             skip_blanks()) {
            end_line();
        }
    }

    std::string key() {
        const std::string_view word = take_all(kBareKey);
        need(!word.empty());
        return std::string(word);
    }

    /// "[a]", "[a.b]", "[[a]]", "[[a.b]]"
    Section &header(Section &root) {
        const Mark mark = here();
        takes('[');
        const bool is_list = takes('[');
        Section *above = &root;
        for (;;) {
            const Mark key_mark = here();
            std::string name = key();
            if (takes('.')) {
                above = &below(*above, std::move(name), mark, key_mark);
                continue;
            }
            need(takes(']') && (!is_list || takes(']')));
            return is_list ? element(*above, std::move(name), mark, key_mark)
                           : table(*above, std::move(name), mark, key_mark);
        }
    }

    std::shared_ptr<Section> section_of_header(std::string title, Mark mark) {
        auto section = std::make_shared<Section>(file_, std::move(title), mark);
        of_headers_.insert(section.get());
        return section;
    }

    Section &table(Section &above, std::string name, Mark mark, Mark key_mark) {
        const auto section = section_of_header("'" + name + "'", mark);
        need(above.add(std::move(name), {section, key_mark}));
        return *section;
    }

    Section &element(Section &above, std::string name, Mark mark, Mark key_mark) {
        const auto section = section_of_header("[[" + name + "]]", mark);
        if (Value *const held = above.held(name)) {
            last_of(*held);
            auto *const list = std::get_if<std::vector<Value>>(&held->data);
            need(list != nullptr);
            list->push_back({section, mark});
        } else {
            std::vector<Value> first;
            first.push_back({section, mark});
            need(above.add(std::move(name), {std::move(first), key_mark}));
        }
        return *section;
    }

    /// The table, or the last table of the list, of a name in front of a point.
    Section &below(Section &above, std::string name, Mark mark, Mark key_mark) {
        Value *const value = above.held(name);
        return value != nullptr ? last_of(*value) : table(above, std::move(name), mark, key_mark);
    }

    /// Only headers add to what headers have made.
    Section &last_of(Value &value) const {
        auto *list = std::get_if<std::vector<Value>>(&value.data);
        need(list == nullptr || !list->empty());
        auto *section = std::get_if<std::shared_ptr<Section>>(list != nullptr ? &list->back().data
                                                                              : &value.data);
        need(section != nullptr && of_headers_.contains(section->get()));
        return **section;
    }

    void pair(Section &table) {
        const Mark mark = here();
        std::string name = key();
        skip_blanks();
        need(takes('='));
        skip_blanks();
        Value read = value(name);
        read.mark = mark;
        need(table.add(std::move(name), std::move(read)));
    }

    Value value(const std::string &name) {
        const Mark mark = here();
        switch (next()) {
            case '"':
                return {string(), mark};
            case '[':
                return {list(name), mark};
            case '{':
                return {inline_table("'" + name + "'"), mark};
            default:
                return {word(), mark};
        }
    }

    std::string string() {
        takes('"');
        const std::size_t begin = at_;
        while (is_part(next(), kText) && next() != '"' && next() != '\\') {
            ++at_;
        }
        std::string read(text_.substr(begin, at_ - begin));
        need(takes('"') && next() != '"');
        return read;
    }

    std::vector<Value> list(const std::string &name) {
        need(++depth_ <= kMostDepth);
        std::vector<Value> read;
        takes('[');
        for (skip_blank_lines(); !takes(']'); skip_blank_lines()) {
            const Mark mark = here();
            read.push_back(next() == '{' ? Value{inline_table("[[" + name + "]]"), mark}
                                         : value(name));
            skip_blank_lines();
            need(takes(',') || next() == ']');
        }
        --depth_;
        return read;
    }

    std::shared_ptr<Section> inline_table(std::string title) {
        need(++depth_ <= kMostDepth);
        auto read = std::make_shared<Section>(file_, std::move(title), here());
        takes('{');
        skip_blanks();
        for (bool is_last = takes('}'); !is_last;) {
            pair(*read);
            skip_blanks();
            is_last = takes('}');
            need(is_last || takes(','));
            skip_blanks();
        }
        --depth_;
        return read;
    }

    /// A number, true or false.
    decltype(Value::data) word() {
        const std::string_view text = take_all(kPlainWord);
        if (text == "true" || text == "false") {
            return text == "true";
        }
        if (text.starts_with("0x")) {
            need(is_all(text.substr(2), kHexDigit));
            return number<std::int64_t>(text.substr(2), kHexadecimal);
        }
        const std::string_view digits = text.substr(text.starts_with('-') ? 1 : 0);
        const std::size_t point = digits.find('.');
        need(is_decimal(digits.substr(0, point)));
        if (point == std::string_view::npos) {
            return number<std::int64_t>(text, 10);
        }
        need(is_all(digits.substr(point + 1), kDigit));
        return number<double>(text, std::chars_format::fixed);
    }

    template <class Number, class How>
    Number number(std::string_view text, How how) const {
        Number read = 0;
        const auto end = std::from_chars(text.data(), text.data() + text.size(), read, how);
        need(end.ec == std::errc() && end.ptr == text.data() + text.size());
        return read;
    }

    std::string_view text_;
    std::size_t at_ = 0;
    unsigned line_ = 1;
    std::size_t line_begin_ = 0;
    int depth_ = 0;
    std::shared_ptr<const std::string> file_;
    std::set<const Section *> of_headers_;
};

}  // namespace

std::shared_ptr<Section> parse_plain(std::string_view text, const std::string &file) {
    try {
        return Reader(text, file).document();
    } catch (const NotPlain &) {
        return nullptr;
    }
}

}  // namespace vchassis
