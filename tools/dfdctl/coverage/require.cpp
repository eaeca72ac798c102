// SPDX-License-Identifier: MIT
#include "dfdctl/coverage/require.hpp"

#include <algorithm>
#include <map>

#include "common/nearest.hpp"
#include "common/text.hpp"
#include "dfdctl/board/keys.hpp"
#include "dfdctl/command.hpp"
#include "dfdctl/coverage/matrix.hpp"

#include <fmt/format.h>

namespace dfdctl::coverage {

namespace {

using observe::Call;
using observe::Role;
using observe::Subsystem;

constexpr std::size_t kMostMissing = 4;  // names in one message

/// Roles whose numbers are units of one kind, so that all can be expected to do the same.
constexpr Role kAlike[] = {Role::fan,    Role::supply,  Role::slot, Role::card, Role::sub_slot,
                           Role::sensor, Role::channel, Role::port, Role::mac,  Role::backplane};

Role first_index(const Call &call) {
    const std::vector<Index> indexes = indexes_of(call);
    return indexes.empty() ? Role::none : indexes.front().role;
}

bool is_allowed(const Call &call, const std::vector<std::string> &allowed) {
    return std::ranges::any_of(allowed, [&call](const std::string &name) {
        return name == call.name || name == split_name(call.name).base;
    });
}

/// Cells of functions with the same name and the same answer make one gap.
class Collection {
  public:
    void add(const Call &call, Gap gap) {
        const Name name = split_name(call.name);
        gap.group = call.subsystem;
        gap.function = name.base;
        const auto same = std::ranges::find_if(known_, [&gap](const Known &known) {
            return known.gap.function == gap.function && known.gap.unit() == gap.unit() &&
                   known.gap.why == gap.why;
        });
        Known &known =
            same != known_.end() ? *same : known_.emplace_back(Known{std::move(gap), {}});
        known.prefixes.emplace_back(name.prefix);
    }

    std::vector<Gap> take() {
        std::vector<Gap> gaps;
        for (Known &known : known_) {
            std::erase(known.prefixes, "");
            // As in the tables: the driver interface first.
            std::stable_partition(known.prefixes.begin(), known.prefixes.end(),
                                  [](const auto &prefix) { return prefix != "dfd"; });
            if (!known.prefixes.empty()) {
                known.gap.function += fmt::format(" ({})", dfd_tools::joined(known.prefixes, " "));
            }
            gaps.push_back(std::move(known.gap));
        }
        std::ranges::stable_sort(gaps, {}, [](const Gap &gap) {
            return std::tie(gap.group, gap.function, gap.where, gap.number);
        });
        return gaps;
    }

  private:
    struct Known {
        Gap gap;
        std::vector<std::string> prefixes;
    };
    std::vector<Known> known_;
};

Gap gap_of(const Cell &cell) {
    Gap gap{.is_unusable = cell.state == State::unusable, .why = why(cell)};
    for (const Index &index : indexes_of(*cell.call)) {
        const std::string_view word = observe::facts_of(index.role).word;
        gap.where = gap.where.empty() ? std::string(word) : fmt::format("{}, {}", gap.unit(), word);
        gap.number = cell.args.numbers[index.at];
    }
    return gap;
}

/// The functions of the demanded groups with their cells; without cells where there is no unit.
std::map<const Call *, std::vector<const Cell *>> demanded(std::span<const Cell> cells,
                                                           const Demand &demand) {
    std::map<const Call *, std::vector<const Cell *>> by_call;
    for (const Call &call : observe::calls()) {
        const bool is_wanted =
            std::ranges::find(demand.groups, call.subsystem) != demand.groups.end() &&
            !is_allowed(call, demand.allowed);
        if (is_wanted && observe::is_of_board(call)) {
            by_call[&call];
        }
    }
    for (const Cell &cell : cells) {
        if (const auto found = by_call.find(cell.call); found != by_call.end()) {
            found->second.push_back(&cell);
        }
    }
    return by_call;
}

/// Groups of which nothing works, unless an essential function has said so.
void add_empty_groups(std::vector<Gap> &missing, std::span<const Cell> cells,
                      const Demand &demand) {
    for (const Subsystem group : demand.groups) {
        const bool works = std::ranges::any_of(cells, [group](const Cell &cell) {
            return cell.call->subsystem == group && cell.state == State::answers;
        });
        if (!works && std::ranges::find(missing, group, &Gap::group) == missing.end()) {
            missing.push_back(
                {.group = group, .function = "all functions", .why = "nothing is configured"});
        }
    }
}

std::vector<std::string_view> group_names() {
    std::vector<std::string_view> names;
    std::ranges::transform(groups(), std::back_inserter(names), observe::subsystem_name);
    return names;
}

}  // namespace

std::span<const Subsystem> groups() {
    static const std::vector<Subsystem> all = [] {
        std::set<Subsystem> found;
        for (const Call &call : observe::calls()) {
            if (observe::is_of_board(call)) {
                found.insert(call.subsystem);
            }
        }
        return std::vector(found.begin(), found.end());
    }();
    return all;
}

std::vector<Subsystem> parse_groups(const std::string &text) {
    std::vector<Subsystem> found;
    const std::vector<std::string_view> names = group_names();
    for (std::size_t begin = 0; begin <= text.size();) {
        const std::size_t end = std::min(text.find(',', begin), text.size());
        const std::string word = text.substr(begin, end - begin);
        const auto name = std::ranges::find(names, word);
        if (name == names.end()) {
            const std::string guess = dfd_tools::did_you_mean(word, names);
            throw UsageError(fmt::format("unknown group '{}'{}; the groups are: {}", word, guess,
                                         dfd_tools::joined(names, ", ")));
        }
        found.push_back(groups()[static_cast<std::size_t>(name - names.begin())]);
        begin = end + 1;
    }
    return found;
}

void check_functions(const std::vector<std::string> &names) {
    std::vector<std::string_view> known;
    for (const Call &call : observe::calls()) {
        known.push_back(call.name);
        known.push_back(split_name(call.name).base);
    }
    std::ranges::sort(known);
    known.erase(std::unique(known.begin(), known.end()), known.end());
    for (const std::string &name : names) {
        if (!std::ranges::binary_search(known, name)) {
            throw UsageError(
                fmt::format("unknown function '{}'{}", name, dfd_tools::did_you_mean(name, known)));
        }
    }
}

std::string Gap::unit() const {
    return where.empty() ? std::string() : fmt::format("{} {}", where, number_text(number));
}

std::string why(const Cell &cell) {
    if (cell.refusal.has_value()) {
        return fmt::format("{} is unusable: {}", item_of_key(cell.refusal->key).name(),
                           cell.refusal->reason);
    }
    if (cell.missing.empty()) {
        return "not supported as it is configured";
    }
    const auto count = std::min(cell.missing.size(), kMostMissing);
    const std::string more = cell.missing.size() > count
                                 ? fmt::format(" and {} more", cell.missing.size() - count)
                                 : std::string();
    return fmt::format("{}{} not configured{}",
                       dfd_tools::joined(std::span(cell.missing).first(count), ", "), more,
                       cell.state == State::standard
                           ? fmt::format(" (answers {} all the same)", cell.result)
                           : std::string());
}

Gaps find_gaps(std::span<const Cell> cells, const Demand &demand) {
    Collection missing;
    Collection uneven;
    for (const auto &[call, own] : demanded(cells, demand)) {
        if (own.empty() && call->is_essential) {
            missing.add(*call, {.why = fmt::format("the board has no {}",
                                                   observe::facts_of(first_index(*call)).word)});
        }
        const bool answers = std::ranges::any_of(
            own, [](const Cell *cell) { return cell->state == State::answers; });
        for (const Cell *cell : own) {
            if (cell->state == State::answers) {
                continue;
            }
            const bool is_uneven =
                answers && std::ranges::find(kAlike, first_index(*call)) != std::end(kAlike);
            if (call->is_essential || cell->state == State::unusable ||
                (is_uneven && call->is_polled)) {
                missing.add(*call, gap_of(*cell));
            } else if (is_uneven) {
                uneven.add(*call, gap_of(*cell));
            }
        }
    }
    Gaps gaps{.missing = missing.take(), .uneven = uneven.take()};
    add_empty_groups(gaps.missing, cells, demand);
    return gaps;
}

}  // namespace dfdctl::coverage
