// SPDX-License-Identifier: MIT
// The file of expectations.
#include <toml++/toml.h>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "common/nearest.hpp"
#include "dfdctl/check/expect.hpp"
#include "dfdctl/command.hpp"

#include <fmt/format.h>

namespace dfdctl::check {

namespace {

/// Reads one file and knows where a mistake in it is.
class Parser {
  public:
    explicit Parser(const std::string &path) : path_(path) {}

    Expectations parse();

  private:
    [[noreturn]] void fail(const toml::source_region &where, const std::string &what) const {
        throw UsageError(
            fmt::format("{}:{}:{}: {}", path_, where.begin.line, where.begin.column, what));
    }
    std::string text() const;
    std::int64_t number(std::string_view key, const toml::node &node) const;
    std::string name(const toml::node &node, std::string_view kind) const;
    ExpectedKind kind(std::string_view name, const toml::node &node) const;
    void entry(const toml::key &key, const toml::node &node, Expectations &expected) const;

    const std::string &path_;
};

std::string Parser::text() const {
    if (std::filesystem::is_directory(path_)) {
        throw UsageError(fmt::format("{} is a directory, not a file of expectations", path_));
    }
    std::ifstream file(path_, std::ios::binary);
    std::string content{std::istreambuf_iterator<char>(file), {}};
    if (!file) {
        throw UsageError(
            fmt::format("{} cannot be read: {}; 'dfdctl check --learn FILE' writes one", path_,
                        std::strerror(errno)));
    }
    return content;
}

std::int64_t Parser::number(std::string_view key, const toml::node &node) const {
    const auto value = node.value_exact<std::int64_t>();
    if (!value) {
        fail(node.source(), fmt::format("'{0}' takes a number: {0} = 62", key));
    }
    return *value;
}

/// A number, or the name of a sensor.
std::string Parser::name(const toml::node &node, std::string_view kind) const {
    if (const auto number = node.value_exact<std::int64_t>()) {
        return fmt::format("{}", *number);
    }
    if (const auto word = node.value_exact<std::string>()) {
        return *word;
    }
    fail(node.source(), fmt::format("'{}' takes numbers, of sensors names in quotes", kind));
}

ExpectedKind Parser::kind(std::string_view name_of_kind, const toml::node &node) const {
    ExpectedKind kind{std::string(name_of_kind), {}};
    if (const toml::array *list = node.as_array()) {
        for (const toml::node &each : *list) {
            kind.units.push_back({name(each, name_of_kind), {}, each.source().begin.line});
        }
        return kind;
    }
    const toml::table *table = node.as_table();
    if (table == nullptr) {
        fail(node.source(), fmt::format("'{0}' takes a list, {0} = [1, 2], or is a table, [{0}], "
                                        "with lines such as 1 = \"PS1200-AC\"",
                                        name_of_kind));
    }
    for (const auto &[key, value] : *table) {
        const auto identity = value.value_exact<std::string>();
        if (!identity) {
            fail(value.source(),
                 fmt::format("what unit {} is stands in quotes; \"\" is any", key.str()));
        }
        kind.units.push_back({std::string(key.str()), *identity, key.source().begin.line});
    }
    return kind;
}

void Parser::entry(const toml::key &key, const toml::node &node, Expectations &expected) const {
    std::vector<std::string_view> known = kind_names();
    if (std::ranges::find(known, key.str()) != known.end()) {
        expected.kinds.push_back(kind(key.str(), node));
    } else if (key == kBoardType) {
        expected.board_type = number(key.str(), node);
    } else if (key == kChassisType) {
        expected.chassis_type = number(key.str(), node);
    } else if (key == kPeer) {
        expected.peer = node.value_exact<bool>();
        if (!expected.peer) {
            fail(node.source(), "'peer' is true or false");
        }
    } else {
        known.insert(known.end(), {kBoardType, kChassisType, kPeer});
        fail(key.source(), fmt::format("nothing can be expected of '{}'{}", key.str(),
                                       dfd_tools::did_you_mean(key.str(), known)));
    }
}

Expectations Parser::parse() {
    Expectations expected{.path = path_};
    try {
        const toml::table table = toml::parse(text());
        for (const auto &[key, node] : table) {
            entry(key, node, expected);
        }
    } catch (const toml::parse_error &error) {
        fail(error.source(), fmt::format("{}; texts stand in quotes", error.description()));
    }
    return expected;
}

}  // namespace

Expectations read_expectations(const std::string &path) {
    return Parser(path).parse();
}

}  // namespace dfdctl::check
