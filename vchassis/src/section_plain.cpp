// SPDX-License-Identifier: MIT
// Descriptions as they are mostly written, in a tenth of the work that all of TOML takes; every
// program on a chassis reads one. What is not plain, mistakes too, is left to the TOML parser.
#include <algorithm>
#include <charconv>
#include <set>

#include "section.h"

namespace vchassis {

namespace {

constexpr std::string_view kBareKey =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-";
constexpr std::string_view kDigits = "0123456789";
constexpr std::string_view kHexDigits = "0123456789abcdefABCDEF";
constexpr std::size_t kMostDigits = 15;  // of any base: no number is too large
constexpr int kMostDepth = 16;
constexpr int kHexadecimal = 16;

struct NotPlain {};

bool is_all(std::string_view text, std::string_view characters) {
    return !text.empty() && text.size() <= kMostDigits &&
           text.find_first_not_of(characters) == std::string_view::npos;
}

bool is_decimal(std::string_view digits) {
    return is_all(digits, kDigits) && (digits.front() != '0' || digits.size() == 1);
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

    std::string_view take_all(std::string_view characters) {
        const std::size_t end = std::min(text_.find_first_not_of(characters, at_), text_.size());
        const std::string_view taken = text_.substr(at_, end - at_);
        at_ = end;
        return taken;
    }

    void skip_blanks() {
        while (next() == ' ' || next() == '\t') {
            ++at_;
        }
    }

    void end_line() {
        skip_blanks();
        if (next() == '#') {
            at_ = std::min(text_.find('\n', at_), text_.size());
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
        const std::size_t end = text_.find_first_of("\"\\\n", at_);
        need(end != std::string_view::npos && text_[end] == '"');
        std::string read(text_.substr(at_, end - at_));
        at_ = end + 1;
        need(next() != '"');
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
        std::string_view text = take_all(
            "+-.0123456789_:"
            "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz");
        if (text == "true" || text == "false") {
            return text == "true";
        }
        if (text.starts_with("0x")) {
            need(is_all(text.substr(2), kHexDigits));
            return number<std::int64_t>(text.substr(2), kHexadecimal);
        }
        const std::string_view digits = text.substr(text.starts_with('-') ? 1 : 0);
        const std::size_t point = digits.find('.');
        need(is_decimal(digits.substr(0, point)));
        if (point == std::string_view::npos) {
            return number<std::int64_t>(text, 10);
        }
        need(is_all(digits.substr(point + 1), kDigits));
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
    const bool is_ascii = std::ranges::all_of(
        text, [](char c) { return (c >= ' ' && c < '\x7f') || c == '\n' || c == '\t'; });
    try {
        return is_ascii ? Reader(text, file).document() : nullptr;
    } catch (const NotPlain &) {
        return nullptr;
    }
}

}  // namespace vchassis
