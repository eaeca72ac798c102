// SPDX-License-Identifier: MIT
#include "dfdctl/coverage/matrix.hpp"

#include <algorithm>
#include <map>
#include <set>

#include "dfdctl/output.hpp"

#include <fmt/format.h>

namespace dfdctl::coverage {

namespace {

using observe::Call;
using observe::Role;
using observe::RoleKind;

using Numbers = std::vector<std::uint32_t>;
using States = std::map<Numbers, State>;

std::vector<Role> index_roles(const Call &call) {
    std::vector<Role> roles;
    std::ranges::transform(indexes_of(call), std::back_inserter(roles), &Index::role);
    return roles;
}

/// Functions of one name that behave the same.
struct Function {
    std::vector<const Call *> calls;
    std::vector<Role> roles;
    States states;

    const Call &first() const { return *calls.front(); }
    Role unit() const { return roles.empty() ? Role::none : roles.front(); }
};

std::vector<Function> functions_of(const std::vector<Cell> &cells) {
    std::map<const Call *, States> by_call;
    for (const Cell &cell : cells) {
        Numbers indexes;
        for (const Index &index : indexes_of(*cell.call)) {
            indexes.push_back(cell.args.numbers[index.at]);
        }
        by_call[cell.call].emplace(std::move(indexes), cell.state);
    }
    std::vector<Function> functions;
    // By name, whatever the prefix: the table is sorted by whole names.
    for (const Call &call : observe::calls()) {
        if (!observe::is_of_board(call)) {
            continue;
        }
        const States &states = by_call[&call];
        const auto same = std::find_if(functions.begin(), functions.end(), [&](const Function &f) {
            return split_name(f.first().name).base == split_name(call.name).base &&
                   f.first().subsystem == call.subsystem && f.roles == index_roles(call) &&
                   f.states == states;
        });
        if (same != functions.end()) {
            same->calls.push_back(&call);
        } else {
            functions.push_back({{&call}, index_roles(call), states});
        }
    }
    return functions;
}

std::string prefixes_of(const Function &function) {
    std::string text;
    for (const std::string_view wanted : {"drv", "sdd", "dfd"}) {
        for (const Call *call : function.calls) {
            if (split_name(call->name).prefix == wanted) {
                text += (text.empty() ? "" : " ") + std::string(wanted);
            }
        }
    }
    return text;
}

using Line = std::vector<std::optional<State>>;

/// Whether the tuples are all combinations of their numbers.
bool is_product(const std::vector<Numbers> &tuples) {
    std::size_t combinations = 1;
    for (std::size_t i = 0; i < tuples.front().size(); ++i) {
        std::set<std::uint32_t> values;
        for (const Numbers &tuple : tuples) {
            values.insert(tuple[i]);
        }
        combinations *= values.size();
    }
    return combinations == tuples.size();
}

std::string detail_of(const Function &function, const std::vector<Numbers> &tuples) {
    std::string text;
    for (std::size_t i = 0; i < tuples.front().size(); ++i) {
        Numbers values;
        for (const Numbers &tuple : tuples) {
            values.push_back(tuple[i]);
        }
        std::sort(values.begin(), values.end());
        values.erase(std::unique(values.begin(), values.end()), values.end());
        text += fmt::format("{}{} {}", text.empty() ? "" : ", ",
                            observe::facts_of(function.roles[i + 1]).word, ranges(values));
    }
    return text;
}

void add_row(Matrix &matrix, const Function &function, const std::vector<Numbers> &tuples,
             const Line &line) {
    if (!tuples.front().empty() && !is_product(tuples)) {
        // Each number of the last index alone: what is left has an index less.
        std::map<std::uint32_t, std::vector<Numbers>> by_last;
        for (const Numbers &tuple : tuples) {
            by_last[tuple.back()].push_back(tuple);
        }
        for (const auto &[last, part] : by_last) {
            add_row(matrix, function, part, line);
        }
        return;
    }
    matrix.rows.push_back({.name = std::string(split_name(function.first().name).base),
                           .prefixes = prefixes_of(function),
                           .detail = detail_of(function, tuples),
                           .cells = line});
}

/// A row for each set of further indexes that behave the same with every unit.
void add_rows(Matrix &matrix, const Function &function) {
    if (function.states.empty()) {
        matrix.rows.push_back({.name = std::string(split_name(function.first().name).base),
                               .prefixes = prefixes_of(function),
                               .detail = {},
                               .cells = {}});
        return;
    }
    std::map<Numbers, Line> lines;
    for (const auto &[indexes, state] : function.states) {
        const bool has_unit = !indexes.empty();
        const Numbers rest(indexes.begin() + (has_unit ? 1 : 0), indexes.end());
        Line &line = lines[rest];
        line.resize(std::max<std::size_t>(matrix.units.size(), 1));
        const auto column =
            has_unit ? std::ranges::find(matrix.units, indexes.front()) - matrix.units.begin() : 0;
        line[static_cast<std::size_t>(column)] = state;
    }
    std::vector<std::pair<Line, std::vector<Numbers>>> sets;
    for (const auto &[rest, line] : lines) {
        const auto same = std::ranges::find(sets, line, [](const auto &set) { return set.first; });
        if (same != sets.end()) {
            same->second.push_back(rest);
        } else {
            sets.push_back({line, {rest}});
        }
    }
    for (const auto &[line, tuples] : sets) {
        add_row(matrix, function, tuples, line);
    }
}

Matrix matrix_of(const std::vector<const Function *> &functions) {
    Matrix matrix{.group = functions.front()->first().subsystem,
                  .unit = functions.front()->unit(),
                  .units = {},
                  .rows = {}};
    std::set<std::uint32_t> units;
    for (const Function *function : functions) {
        for (const auto &[indexes, state] : function->states) {
            if (!indexes.empty()) {
                units.insert(indexes.front());
            }
        }
    }
    matrix.units.assign(units.begin(), units.end());
    for (const Function *function : functions) {
        add_rows(matrix, *function);
    }
    std::ranges::stable_sort(matrix.rows, {}, &Row::name);
    return matrix;
}

}  // namespace

bool Row::has(State state) const {
    return std::ranges::find(cells, std::optional(state)) != cells.end();
}

bool Row::is_all(State state) const {
    return std::ranges::all_of(cells,
                               [state](const auto &cell) { return cell.value_or(state) == state; });
}

std::string Row::title() const {
    return name + (prefixes.empty() ? "" : " (" + prefixes + ")") +
           (detail.empty() ? "" : " " + detail);
}

std::vector<Index> indexes_of(const Call &call) {
    std::vector<Index> found;
    std::size_t number = 0;
    for (const observe::Param *param : call.inputs()) {
        const RoleKind kind = observe::facts_of(param->role).kind;
        if (kind == RoleKind::index) {
            found.push_back({param->role, number});
        }
        number += kind != RoleKind::text ? 1 : 0;
    }
    return found;
}

std::vector<Matrix> matrices(const std::vector<Cell> &cells) {
    const std::vector<Function> functions = functions_of(cells);
    std::map<std::pair<observe::Subsystem, Role>, std::vector<const Function *>> tables;
    for (const Function &function : functions) {
        tables[{function.first().subsystem, function.unit()}].push_back(&function);
    }
    std::vector<Matrix> found;
    for (const auto &[place, members] : tables) {
        found.push_back(matrix_of(members));
    }
    return found;
}

std::string number_text(std::uint32_t number) {
    return number == kOwnSlot ? "own" : std::to_string(number);
}

std::string ranges(const std::vector<std::uint32_t> &numbers) {
    std::vector<std::string> names;
    std::ranges::transform(numbers, std::back_inserter(names), number_text);
    return joined(ranges_of(names), ",");
}

Name split_name(std::string_view function) {
    for (const std::string_view prefix : {"drv", "sdd", "dfd"}) {
        if (function.starts_with(prefix) && function[prefix.size()] == '_') {
            return {prefix, function.substr(prefix.size() + 1)};
        }
    }
    return {{}, function};
}

}  // namespace dfdctl::coverage
