// SPDX-License-Identifier: MIT
#include "dfdctl/new_board/template.hpp"

#include <fmt/format.h>

#include <cctype>
#include <charconv>

namespace dfdctl::new_board {

namespace {

constexpr std::string_view kOpen = "{{";
constexpr std::string_view kClose = "}}";
constexpr std::string_view kHexPrefix = "0x";
constexpr std::string_view kFile = "%file ";
constexpr std::string_view kEnd = "%end";
constexpr int kHexBase = 16;
constexpr int kDecimalBase = 10;

/// A sum of products of numbers, variables and expressions in parentheses.
class Expression {
  public:
    Expression(std::string_view text, const Variables &variables)
        : rest_(text), variables_(variables) {}

    long value() {
        const long result = sum();
        if (!word().empty() || !rest_.empty()) {
            throw TemplateError(fmt::format("unexpected '{}'", rest_));
        }
        return result;
    }

  private:
    long sum() {
        long result = product();
        for (;;) {
            if (take('+')) {
                result += product();
            } else if (take('-')) {
                result -= product();
            } else {
                return result;
            }
        }
    }

    long product() {
        long result = factor();
        for (;;) {
            if (take('*')) {
                result *= factor();
            } else if (take('/')) {
                result /= divisor();
            } else if (take('%')) {
                result %= divisor();
            } else {
                return result;
            }
        }
    }

    long divisor() {
        const long result = factor();
        if (result == 0) {
            throw TemplateError("division by 0");
        }
        return result;
    }

    long factor() {
        if (take('(')) {
            const long result = sum();
            if (!take(')')) {
                throw TemplateError("')' is missing");
            }
            return result;
        }
        const std::string_view name = word();
        rest_.remove_prefix(name.size());
        return !name.empty() && std::isdigit(static_cast<unsigned char>(name.front())) != 0
                   ? number(name)
                   : variable(name);
    }

    static long number(std::string_view digits) {
        const bool is_hex = digits.starts_with(kHexPrefix);
        const std::string_view body = is_hex ? digits.substr(kHexPrefix.size()) : digits;
        long result = 0;
        const auto [end, error] = std::from_chars(body.data(), body.data() + body.size(), result,
                                                  is_hex ? kHexBase : kDecimalBase);
        if (error != std::errc() || end != body.data() + body.size()) {
            throw TemplateError(fmt::format("'{}' is no number", digits));
        }
        return result;
    }

    long variable(std::string_view name) const {
        const auto found = variables_.find(name);
        if (found == variables_.end() || !std::holds_alternative<long>(found->second)) {
            throw TemplateError(fmt::format("'{}' is no number", name));
        }
        return std::get<long>(found->second);
    }

    void skip_blanks() {
        while (rest_.starts_with(' ')) {
            rest_.remove_prefix(1);
        }
    }

    bool take(char sign) {
        skip_blanks();
        const bool is_there = rest_.starts_with(sign);
        rest_.remove_prefix(is_there ? 1 : 0);
        return is_there;
    }

    /// The name or number that comes next; it stays in the rest.
    std::string_view word() {
        skip_blanks();
        std::size_t size = 0;
        while (size < rest_.size() &&
               (std::isalnum(static_cast<unsigned char>(rest_[size])) != 0 || rest_[size] == '_')) {
            ++size;
        }
        return rest_.substr(0, size);
    }

    std::string_view rest_;
    const Variables &variables_;
};

std::string evaluate(std::string_view expression, const Variables &variables) {
    const auto found = variables.find(expression);
    if (found != variables.end() && std::holds_alternative<std::string>(found->second)) {
        return std::get<std::string>(found->second);
    }
    const long value = Expression(expression, variables).value();
    return expression.starts_with(kHexPrefix) ? fmt::format("{:#04x}", value)
                                              : std::to_string(value);
}

std::string fill_in(std::string_view line, const Variables &variables) {
    std::string result;
    for (;;) {
        const std::size_t open = line.find(kOpen);
        result += line.substr(0, open);
        if (open == std::string_view::npos) {
            return result;
        }
        line.remove_prefix(open + kOpen.size());
        const std::size_t close = line.find(kClose);
        if (close == std::string_view::npos) {
            throw TemplateError("'}}' is missing");
        }
        result += evaluate(line.substr(0, close), variables);
        line.remove_prefix(close + kClose.size());
    }
}

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    while (!text.empty()) {
        const std::size_t end = text.find(separator);
        parts.push_back(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return parts;
}

class Expander {
  public:
    Expander(std::string_view text, const Tables &tables)
        : lines_(split(text, '\n')), tables_(tables) {}

    Expanded run(const Variables &variables) {
        Expanded result;
        try {
            if (block(variables, &result.content) != lines_.size()) {
                throw TemplateError("%end without beginning");
            }
        } catch (const TemplateError &error) {
            throw TemplateError(fmt::format("line {}: {}", at_ + 1, error.what()));
        }
        result.file = std::move(file_);
        return result;
    }

  private:
    /// Goes on from the current line to the %end of its block, or the end; without a result the
    /// lines are passed over. Returns where it stopped.
    std::size_t block(const Variables &variables, std::string *result) {
        for (; at_ < lines_.size() && lines_[at_] != kEnd; ++at_) {
            if (lines_[at_].starts_with(kFile)) {
                file_ = result != nullptr ? fill_in(lines_[at_].substr(kFile.size()), variables)
                                          : file_;
            } else if (lines_[at_].starts_with('%')) {
                directive(variables, result);
            } else if (result != nullptr) {
                *result += fill_in(lines_[at_], variables) + '\n';
            }
        }
        return at_;
    }

    void inner(const Variables &variables, std::string *result) {
        if (block(variables, result) == lines_.size()) {
            throw TemplateError("%end is missing");
        }
    }

    /// What the block of an %each is expanded with, once for each.
    Rows rows_of(const std::vector<std::string_view> &words, const Variables &variables) const {
        if (words.size() == 2) {
            const auto table = tables_.find(words[1]);
            if (table == tables_.end()) {
                throw TemplateError(fmt::format("'{}' is no table", words[1]));
            }
            return table->second;
        }
        const long first = Expression(words[2], variables).value();
        const long last = Expression(words[3], variables).value();
        Rows rows;
        for (long i = first; i <= last; ++i) {
            rows.push_back({{std::string(words[1]), i}});
        }
        return rows;
    }

    /// Every directive is the first line of a block. A block that is passed over is not evaluated.
    void directive(const Variables &variables, std::string *result) {
        const std::vector<std::string_view> words = split(lines_[at_], ' ');
        const std::size_t begin = at_ + 1;
        const bool is_each = words[0] == "%each" && (words.size() == 2 || words.size() == 4);
        if (result != nullptr && is_each) {
            for (Variables row : rows_of(words, variables)) {
                row.insert(variables.begin(), variables.end());
                at_ = begin;
                inner(row, result);
            }
        } else if (result != nullptr && words[0] == "%if" && words.size() == 2) {
            const bool is_wanted = Expression(words[1], variables).value() != 0;
            at_ = begin;
            inner(variables, is_wanted ? result : nullptr);
        } else if (result != nullptr) {
            throw TemplateError(fmt::format("'{}' is no directive", lines_[at_]));
        }
        // Where no line was written, the end has not been found yet.
        at_ = begin;
        inner(variables, nullptr);
    }

    std::vector<std::string_view> lines_;
    const Tables &tables_;
    std::size_t at_ = 0;
    std::string file_;
};

}  // namespace

Expanded expand(std::string_view text, const Variables &variables, const Tables &tables) {
    return Expander(text, tables).run(variables);
}

}  // namespace dfdctl::new_board
