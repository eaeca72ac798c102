// SPDX-License-Identifier: MIT
#include <dfd/framework.h>
#include <algorithm>
#include <array>
#include <cassert>
#include <cstring>

#include "common/nearest.hpp"
#include "dfdctl/lint/consumers.hpp"
#include "dfdctl/lint/files.hpp"
#include "dfdctl/lint/lint.hpp"
#include "framework/dfd_lib_cfg/members.h"

#include <fmt/format.h>

namespace dfdctl::lint {

namespace {

using dfd::watch::Step;

constexpr std::string_view kBlanks = " \t\r\n";

/// What the parser deletes anywhere in a line.
bool is_deleted(char c) {
    return c == ' ' || c == '\r' || c == '\n';
}

/// The byte of a raw line that a position in the line without spaces stands for.
std::size_t byte_of(std::string_view raw, std::size_t trimmed_offset) {
    std::size_t byte = 0;
    for (; byte < raw.size(); ++byte) {
        if (is_deleted(raw[byte])) {
            continue;
        }
        if (trimmed_offset == 0) {
            break;
        }
        --trimmed_offset;
    }
    return byte;
}

/// Takes the next word off a text; empty at its end.
std::string_view take_word(std::string_view &text) {
    const std::size_t begin = std::min(text.find_first_not_of(kBlanks), text.size());
    const std::size_t end = std::min(text.find_first_of(kBlanks, begin), text.size());
    const std::string_view word = text.substr(begin, end - begin);
    text.remove_prefix(end);
    return word;
}

/// The ids behind "# lint: allow"; nothing for any other comment.
std::string_view allowance(std::string_view comment) {
    comment.remove_prefix(std::min(comment.find_first_not_of(kBlanks), comment.size()));
    comment.remove_prefix(comment.empty() ? 0 : 1);
    return take_word(comment) == "lint:" && take_word(comment) == "allow" ? comment
                                                                          : std::string_view();
}

std::vector<std::string_view> rule_ids() {
    std::vector<std::string_view> ids;
    for (const Rule &rule : rules()) {
        ids.push_back(rule.id);
    }
    return ids;
}

/// Where the value begins; behind the "=" when there is none.
std::size_t value_byte(const SourceLine &line) {
    const std::size_t behind = line.raw.find('=') + 1;
    const std::size_t begin = line.raw.find_first_not_of(kBlanks, behind);
    return begin != std::string::npos ? begin : behind;
}

}  // namespace

std::string_view index_part(const SourceLine &line) {
    std::string_view rest = line.name;
    rest.remove_prefix(line.row != nullptr ? line.row->name.size() : 0);
    if (line.member != dfd::watch::kNoMember) {
        const auto *const kind = dfd::member_kind(dfd::kind_of_type(line.row->type));
        rest.remove_prefix(std::strlen(kind->names[static_cast<std::size_t>(line.member)]));
    }
    return rest;
}

std::string unknown_rule(std::string_view id) {
    return fmt::format("'{}' is no rule{}", id, dfd_tools::did_you_mean(id, rule_ids()));
}

Check::Check(const LoadRecord &log, std::string root, const std::set<std::string> &skipped)
    : log_(log), root_(std::move(root)), skipped_(skipped), origins_(log.origins) {
    read_allowances();
}

void Check::read_allowances() {
    for (const SourceLine &line : log_.lines) {
        if (line.step != Step::comment) {
            continue;
        }
        std::string_view ids = allowance(line.raw);
        for (auto id = take_word(ids); !id.empty(); id = take_word(ids)) {
            allow(id, line);
        }
    }
}

/// `id` is a part of the line.
void Check::allow(std::string_view id, const SourceLine &line) {
    const auto byte = static_cast<std::size_t>(id.data() - line.raw.data());
    if (const Rule *rule = find_rule(id)) {
        allowed_.try_emplace({root_ + log_.files[line.file].path, rule},
                             Allowance{line.line, column_of(line, byte)});
    } else {
        at_byte("unknown-rule", line, byte, unknown_rule(id));
    }
}

void Check::keep(std::string_view rule, std::string file, int line, int column, std::string text) {
    const Rule *const row = find_rule(rule);
    assert(row != nullptr);
    if (row != nullptr && !skipped_.contains(std::string(rule))) {
        findings_.push_back({std::move(file), line, column, row, printable(std::move(text))});
    }
}

int Check::column_of(const SourceLine &line, std::size_t byte) {
    return static_cast<int>(line.begin + byte + 1);
}

void Check::at_byte(std::string_view rule, const SourceLine &line, std::size_t byte,
                    std::string text) {
    keep(rule, root_ + log_.files[line.file].path, line.line, column_of(line, byte),
         std::move(text));
}

void Check::add(std::string_view rule, const SourceLine &line, std::size_t trimmed_offset,
                std::string text) {
    at_byte(rule, line, byte_of(line.raw, trimmed_offset), std::move(text));
}

void Check::at_name(std::string_view rule, const SourceLine &line, std::string text) {
    add(rule, line, 0, std::move(text));
}

void Check::at_index(std::string_view rule, const SourceLine &line, std::string text) {
    add(rule, line, line.name.size() - index_part(line).size(), std::move(text));
}

void Check::at_value(std::string_view rule, const SourceLine &line, std::string text) {
    at_byte(rule, line, value_byte(line), std::move(text));
}

void Check::at_member(std::string_view rule, std::uint32_t key, int member, std::string text) {
    const SourceLine *const line = line_of(key, member);
    if (line != nullptr) {
        at_value(rule, *line, std::move(text));
    } else {
        at_item(rule, key, std::move(text));
    }
}

void Check::at_item(std::string_view rule, std::uint32_t key, std::string text) {
    const auto found = log_.origins.find(key);
    assert(found != log_.origins.end());
    if (found != log_.origins.end()) {
        at_name(rule, log_.lines[found->second.front().source], std::move(text));
    }
}

void Check::at_file(std::string_view rule, std::string_view path, int line, std::string text) {
    keep(rule, root_ + std::string(path), line, 1, std::move(text));
}

std::string Check::place(const SourceLine &line) const {
    const std::string &path = log_.files[line.file].path;
    return fmt::format("{}:{}", path.substr(path.rfind('/') + 1), line.line);
}

const std::vector<Item> &Check::items(Kind kind) const {
    if (items_.empty()) {
        for (const auto &[key, origins] : log_.origins) {
            Item item = item_of_key(key);
            if (item.type->kind == Kind::info_ctrl) {
                item.record = dfd_lib_cfg_get_item(key);  // that most rules look at
            }
            items_[item.type->kind].push_back(item);
        }
    }
    return items_[kind];
}

const SourceLine *Check::line_of(std::uint32_t key, int member) const {
    const auto found = origins_.find(key);
    return found != log_.origins.end() ? log_.line_of(found->second, member) : nullptr;
}

std::set<Check::Place> Check::places() const {
    std::set<Place> places;
    for (const Finding &finding : findings_) {
        places.insert(place_of(finding));
    }
    return places;
}

std::set<Check::Place> Check::misread_lines() const {
    constexpr std::array<std::string_view, 7> kMisreadings = {
        "index-empty", "index-range",   "index-rubbish", "index-surplus",
        "key-prefix",  "member-prefix", "tab-in-name"};
    std::set<Place> places;
    for (const Finding &finding : findings_) {
        if (std::ranges::find(kMisreadings, finding.rule->id) != kMisreadings.end()) {
            places.insert(place_of(finding));
        }
    }
    return places;
}

bool Check::has_mistakes() const {
    return std::ranges::any_of(findings_, [this](const Finding &finding) {
        return finding.rule->severity != Severity::note &&
               !allowed_.contains({finding.file, finding.rule});
    });
}

bool Check::is_about(const Finding &finding, std::string_view rule, std::uint32_t key) const {
    if (finding.rule->id != rule) {
        return false;
    }
    const auto origins = log_.origins.find(key);
    return origins != log_.origins.end() &&
           std::ranges::any_of(origins->second, [&](const Origin &origin) {
               return finding.line == origin.line &&
                      finding.file == root_ + log_.files[origin.file].path;
           });
}

bool Check::is_found(std::string_view rule, std::uint32_t key) const {
    const Rule *const wanted = find_rule(rule);
    return std::ranges::any_of(findings_, [&](const Finding &finding) {
        return finding.rule == wanted && is_about(finding, rule, key);
    });
}

bool Check::has_error(std::uint32_t type) const {
    std::set<Place> errors;
    for (const Finding &finding : findings_) {
        if (finding.rule->severity == Severity::error) {
            errors.insert(place_of(finding));
        }
    }
    return std::ranges::any_of(log_.lines, [&](const SourceLine &line) {
        return line.row != nullptr && line.row->type == type && errors.contains(place_of(line));
    });
}

void Check::withdraw(std::string_view rule, std::uint32_t key) {
    std::erase_if(findings_, [&](const Finding &finding) { return is_about(finding, rule, key); });
}

void Check::withdraw(std::string_view rule) {
    std::erase_if(findings_, [&](const Finding &finding) { return finding.rule->id == rule; });
    use_allowances(rule);
}

void Check::use_allowances(std::string_view rule) {
    for (auto &[place, allowance] : allowed_) {
        allowance.is_used |= place.second->id == rule;
    }
}

std::vector<Finding> Check::take() {
    std::erase_if(findings_, [this](const Finding &finding) {
        const auto allowance = allowed_.find({finding.file, finding.rule});
        if (allowance == allowed_.end()) {
            return false;
        }
        allowance->second.is_used = true;
        return true;
    });
    std::sort(findings_.begin(), findings_.end());
    findings_.erase(std::unique(findings_.begin(), findings_.end()), findings_.end());
    return std::move(findings_);
}

void check_all(Check &check) {
    check_lines(check);
    check_replaced(check);
    check_items(check);
    check_rows(check);
    // Items of a file that is not there would be missed again by each that goes with one.
    if (has_all_files(check.log())) {
        check_together(check);
    }
    check_addresses(check);
    check_siblings(check);
    check_files(check);
    check_unasked(check);
}

}  // namespace dfdctl::lint
