// SPDX-License-Identifier: MIT
#include "reference/tables.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <span>

#include "common/nearest.hpp"
#include "dfdctl/lint/lint.hpp"
#include "dfdctl/lint/run.hpp"

namespace reference {

namespace {

using dfdctl::KeyType;
using dfdctl::Kind;

constexpr std::string_view kKeys = "keys";
constexpr std::string_view kUnreadKeys = "unread keys";

constexpr std::string_view kHeadings[] = {
    "## Purpose", "## Keys and index ranges",    "## Members", "## What reads it", "## Unit",
    "## Example", "## Mistakes that lint finds",
};

constexpr std::size_t kMaxNames = 6;  // of functions in a cell

bool is_of_keys(const Block &block) {
    return block.name == kKeys || block.name == kUnreadKeys;
}

const KeyType &key_named(const Page &page, const Block &block, const std::string &name) {
    if (const KeyType *const key = dfdctl::find_key_type(name)) {
        return *key;
    }
    throw page.error(block.line, fmt::format("no key is named '{}'{}", name,
                                             dfd_tools::did_you_mean(name, dfdctl::key_names())));
}

std::string range(int max) {
    return max < 0 ? "-" : fmt::format("0 to {}", max);
}

std::string key_table(const Page &page, const Block &block) {
    std::string text = "| Key | Type | Kind | index1 | index2 |\n|---|---|---|---|---|\n";
    for (const std::string &name : block.words) {
        const KeyType &key = key_named(page, block, name);
        text += fmt::format("| `{}` | {} | {} | {} | {} |\n", key.name, key.type,
                            dfdctl::kind_name(key.kind), range(key.max1), range(key.max2));
    }
    return text;
}

std::string unread_key_table(const Page &page, const Block &block, const Readers &readers) {
    for (const std::string &name : block.words) {
        if (const auto functions = readers.of(key_named(page, block, name)); !functions.empty()) {
            throw page.error(block.line,
                             fmt::format("'{}' is listed as asked for by no function, but {} does",
                                         name, functions.front()));
        }
    }
    return key_table(page, block);
}

std::string names_in_cell(const std::vector<std::string_view> &functions) {
    std::string cell;
    for (const std::string_view name :
         std::span(functions).first(std::min(functions.size(), kMaxNames))) {
        cell += fmt::format("{}`{}`", cell.empty() ? "" : ", ", name);
    }
    if (functions.size() > kMaxNames) {
        cell += fmt::format(", {} more", functions.size() - kMaxNames);
    }
    return cell;
}

std::string reader_table(const Page &page, const Readers &readers) {
    std::string text = "| Key | Asked for by |\n|---|---|\n";
    for (const Block &block : page.blocks()) {
        if (block.name != kKeys) {
            continue;
        }
        for (const std::string &name : block.words) {
            const auto functions = readers.of(key_named(page, block, name));
            text +=
                fmt::format("| `{}` | {} |\n", name,
                            functions.empty() ? "none on these boards" : names_in_cell(functions));
        }
    }
    return text;
}

std::string key_index(const KeyIndex &index) {
    std::vector<const KeyType *> keys;
    for (const std::string_view name : dfdctl::key_names()) {
        keys.push_back(dfdctl::find_key_type(name));
    }
    std::ranges::sort(keys, {}, &KeyType::name);
    std::string text = "| Key | Kind | Page |\n|---|---|---|\n";
    for (const KeyType *const key : keys) {
        text += fmt::format("| `{}` | {} | [{}]({}.md) |\n", key->name,
                            dfdctl::kind_name(key->kind), index.page_of(*key), index.page_of(*key));
    }
    return text;
}

std::string rule_table(const Page &page) {
    std::string rows;
    for (const dfdctl::lint::Rule &rule : dfdctl::lint::rules()) {
        if (rule.page == page.name()) {
            rows += fmt::format("| `{}` | {} | {} |\n", rule.id,
                                dfdctl::lint::severity_word(rule.severity), rule.rationale);
        }
    }
    return rows.empty() ? "No rule is about this page alone.\n"
                        : "| Rule | Severity | Why |\n|---|---|---|\n" + rows;
}

std::string all_rules() {
    std::string text = "| Rule | Severity | Why | Page |\n|---|---|---|---|\n";
    for (const dfdctl::lint::Rule &rule : dfdctl::lint::rules()) {
        text += fmt::format("| `{}` | {} | {} | [{}]({}.md) |\n", rule.id,
                            dfdctl::lint::severity_word(rule.severity), rule.rationale, rule.page,
                            rule.page);
    }
    return text;
}

}  // namespace

KeyIndex::KeyIndex(const std::vector<Page> &pages) {
    for (const Page &page : pages) {
        for (const Block &block : page.blocks()) {
            if (!is_of_keys(block)) {
                continue;
            }
            for (const std::string &word : block.words) {
                const KeyType &key = key_named(page, block, word);
                const auto [at, is_new] = page_of_.emplace(key.name, page.name());
                if (!is_new) {
                    throw page.error(block.line, fmt::format("'{}' is listed on page '{}' already",
                                                             word, at->second));
                }
            }
        }
    }
    for (const std::string_view name : dfdctl::key_names()) {
        if (!page_of_.contains(name)) {
            throw PageError(fmt::format("no page lists the key '{}'", name));
        }
    }
}

std::string block_content(const Page &page, const Block &block, const KeyIndex &index,
                          const Readers &readers) {
    const struct {
        std::string_view name;
        std::function<std::string()> make;
    } contents[] = {
        {kKeys, [&] { return key_table(page, block); }},
        {kUnreadKeys, [&] { return unread_key_table(page, block, readers); }},
        {"readers", [&] { return reader_table(page, readers); }},
        {"members", member_table},
        {"words", word_table},
        {"key index", [&] { return key_index(index); }},
        {"rules", [&] { return rule_table(page); }},
        {"all rules", all_rules},
    };
    for (const auto &[name, make] : contents) {
        if (name == block.name) {
            return make();
        }
    }
    throw page.error(block.line, fmt::format("no block is named '{}'", block.name));
}

void check_headings(const Page &page) {
    if (std::ranges::none_of(page.blocks(), is_of_keys)) {
        return;
    }
    std::size_t line = 0;
    for (const std::string_view heading : kHeadings) {
        const auto found = std::find(page.lines().begin() + static_cast<std::ptrdiff_t>(line),
                                     page.lines().end(), heading);
        if (found == page.lines().end()) {
            throw page.error(line, fmt::format("\"{}\" is missing from here on", heading));
        }
        line = static_cast<std::size_t>(found - page.lines().begin());
    }
}

}  // namespace reference
