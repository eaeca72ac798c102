// SPDX-License-Identifier: MIT
#include "dfdctl/observe/calls.hpp"

#include <dfd/dfd.h>
#include <algorithm>
#include <stdexcept>

#include "dfdctl/observe/call_row.hpp"
#include "dfdctl/output.hpp"
#include "service/intf/pass_through.h"

#include <fmt/format.h>

namespace dfdctl::observe {

namespace {

constexpr std::string_view kSubsystemNames[] = {
    "board", "slots", "cards", "voltages",  "power",     "fans", "temps",
    "leds",  "ports", "irq",   "inventory", "backplane", "bus",  "framework"};
constexpr std::string_view kDoesNames[] = {"get", "set",     "control", "pure",
                                           "bus", "startup", "internal"};

constexpr bool roles_are_in_order() {
    for (std::size_t i = 0; i < std::size(kRoles); ++i) {
        if (kRoles[i].role != static_cast<Role>(i)) {
            return false;
        }
    }
    return std::size(kRoles) == static_cast<std::size_t>(Role::none) + 1;
}
static_assert(roles_are_in_order());

/// A name that passes everything through, and the function that it is called as.
struct PassThrough {
    std::string_view name;
    std::string_view to;
    std::int64_t (*run)(const Word *words);
};

#define DFDCTL_PASS_THROUGH_ROW(name, to, parameters, arguments) PassThrough{#name, #to, run<name>},
constexpr PassThrough kPassThrough[] = {DFD_PASS_THROUGH(DFDCTL_PASS_THROUGH_ROW)};
#undef DFDCTL_PASS_THROUGH_ROW

Call forwarding(const PassThrough &row, std::span<const Call> calls) {
    const auto to = std::ranges::find(calls, row.to, &Call::name);
    if (to == calls.end()) {
        throw std::logic_error(std::string(row.to) + " is in no table of calls");
    }
    Call call = *to;
    call.name = row.name;
    call.run = row.run;
    call.passes_to = to->passes_to.empty() ? to->name : to->passes_to;
    // What a board must have, and what is polled, is said of the driver interface.
    const bool is_driver = row.name.starts_with("drv_");
    call.is_essential = call.is_essential && is_driver;
    call.is_polled = call.is_polled && is_driver;
    return call;
}

std::vector<Call> sorted_calls() {
    const auto table = table_of_calls();
    std::vector<Call> all(table.begin(), table.end());
    for (const PassThrough &row : kPassThrough) {
        all.push_back(forwarding(row, all));
    }
    std::sort(all.begin(), all.end(), [](const Call &a, const Call &b) { return a.name < b.name; });
    return all;
}

bool is_input(const Param &param) {
    const RoleKind kind = facts_of(param.role).kind;
    return kind != RoleKind::output && kind != RoleKind::support;
}

}  // namespace

std::string_view subsystem_name(Subsystem subsystem) {
    return kSubsystemNames[static_cast<std::size_t>(subsystem)];
}

std::string_view does_name(Does does) {
    return kDoesNames[static_cast<std::size_t>(does)];
}

const RoleFacts &facts_of(Role role) {
    return kRoles[static_cast<std::size_t>(role)];
}

std::vector<const Param *> Call::inputs() const {
    std::vector<const Param *> result;
    for (const Param &param : params()) {
        if (is_input(param)) {
            result.push_back(&param);
        }
    }
    return result;
}

std::vector<Role> Call::number_roles() const {
    std::vector<Role> roles;
    for (const Param *param : inputs()) {
        if (facts_of(param->role).kind != RoleKind::text) {
            roles.push_back(param->role);
        }
    }
    return roles;
}

bool Call::only_reads() const {
    const bool delivers = std::any_of(params().begin(), params().end(), [](const Param &param) {
        return facts_of(param.role).kind == RoleKind::output;
    });
    return does == Does::get || does == Does::pure ||
           (does == Does::bus && (delivers || returns_value));
}

std::string Call::usage() const {
    std::string text;
    for (const Param *param : inputs()) {
        text += (text.empty() ? "" : " ") + upper(facts_of(param->role).word);
    }
    return text;
}

std::string text_of(const Call &call, const Args &args) {
    std::string text;
    std::size_t number = 0;
    std::size_t word = 0;
    for (const Param *param : call.inputs()) {
        const RoleFacts &facts = facts_of(param->role);
        text += text.empty() ? "" : ", ";
        if (facts.kind == RoleKind::text) {
            text += fmt::format(
                "\"{}\"", word < args.texts.size() ? args.texts[word] : std::string(facts.text));
            ++word;
        } else {
            const bool is_given = number < args.numbers.size();
            text += fmt::format("{}", is_given ? args.numbers[number] : facts.standard);
            ++number;
        }
    }
    return fmt::format("{}({})", call.name, text);
}

std::span<const Call> calls() {
    static const std::vector<Call> all = sorted_calls();
    return all;
}

const Call *find_call(std::string_view name) {
    const auto all = calls();
    const auto found =
        std::lower_bound(all.begin(), all.end(), name,
                         [](const Call &call, std::string_view text) { return call.name < text; });
    return found != all.end() && found->name == name ? &*found : nullptr;
}

std::span<const std::string_view> call_names() {
    static const std::vector<std::string_view> names = [] {
        std::vector<std::string_view> result;
        for (const Call &call : calls()) {
            result.push_back(call.name);
        }
        return result;
    }();
    return names;
}

}  // namespace dfdctl::observe
