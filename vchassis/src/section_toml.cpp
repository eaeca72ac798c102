// SPDX-License-Identifier: MIT
// TOML to sections; the only file that sees the TOML parser.
#include <fmt/format.h>

#include <toml++/toml.h>

#include "section.h"

namespace vchassis {

namespace {

Mark mark_of(const toml::node &node) {
    return {node.source().begin.line, node.source().begin.column};
}

class Converter {
  public:
    explicit Converter(const std::string &file)
        : file_(std::make_shared<const std::string>(file)) {}

    std::shared_ptr<Section> section(const toml::table &table, std::string title) const {
        auto out = std::make_shared<Section>(file_, std::move(title), mark_of(table));
        for (const auto &[key, node] : table) {
            std::string name(key.str());
            Value converted = value(node, name);
            // Messages about a key point at the key, not behind its equals sign.
            converted.mark = {key.source().begin.line, key.source().begin.column};
            out->add(std::move(name), std::move(converted));
        }
        return out;
    }

  private:
    Value value(const toml::node &node, const std::string &name) const {
        const Mark mark = mark_of(node);
        if (const auto *table = node.as_table()) {
            return {section(*table, "'" + name + "'"), mark};
        }
        if (const auto *array = node.as_array()) {
            return {list(*array, name), mark};
        }
        if (const auto *flag = node.as_boolean()) {
            return {flag->get(), mark};
        }
        if (const auto *whole = node.as_integer()) {
            return {whole->get(), mark};
        }
        if (const auto *number = node.as_floating_point()) {
            return {number->get(), mark};
        }
        if (const auto *text = node.as_string()) {
            return {text->get(), mark};
        }
        throw DescriptionError(fmt::format("{}:{}:{}: '{}' is a date or time, which no key takes",
                                           *file_, mark.line, mark.column, name));
    }

    std::vector<Value> list(const toml::array &array, const std::string &name) const {
        std::vector<Value> out;
        out.reserve(array.size());
        for (const toml::node &item : array) {
            if (const auto *table = item.as_table()) {
                out.push_back({section(*table, "[[" + name + "]]"), mark_of(item)});
            } else {
                out.push_back(value(item, name));
            }
        }
        return out;
    }

    std::shared_ptr<const std::string> file_;
};

}  // namespace

std::shared_ptr<Section> parse_description(std::string_view text, const std::string &file) {
    std::shared_ptr<Section> plain = parse_plain(text, file);
    return plain != nullptr ? plain : parse_toml(text, file);
}

std::shared_ptr<Section> parse_toml(std::string_view text, const std::string &file) {
    try {
        return Converter(file).section(toml::parse(text, file), "the description");
    } catch (const toml::parse_error &error) {
        const auto &where = error.source().begin;
        throw DescriptionError(
            fmt::format("{}:{}:{}: {}", file, where.line, where.column, error.description()));
    }
}

}  // namespace vchassis
