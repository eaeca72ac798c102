// SPDX-License-Identifier: MIT
#include "reference/readers.hpp"

#include <algorithm>

#include "dfdctl/board/offline.hpp"
#include "dfdctl/observe/board_use.hpp"

namespace reference {

namespace {

using dfdctl::observe::Call;
using dfdctl::observe::Does;
using dfdctl::observe::Event;

/// Of two names of one function the pages show the one with the earlier prefix.
constexpr std::string_view kPrefixes[] = {"drv_", "dfd_", "sdd_"};
constexpr std::size_t kPrefixSize = 4;

std::size_t prefix_of(std::string_view name) {
    const auto *const found = std::ranges::find(kPrefixes, name.substr(0, kPrefixSize));
    return static_cast<std::size_t>(found - std::begin(kPrefixes));
}

/// The name without its layer.
std::string_view stem_of(std::string_view name) {
    return prefix_of(name) < std::size(kPrefixes) ? name.substr(kPrefixSize) : name;
}

std::uint32_t type_asked_for(const Event &event) {
    switch (event.kind) {
        case Event::Kind::lookup:
        case Event::Kind::engine:
            return DFD_KEY_TYPE(event.key);
        case Event::Kind::conversion:
            return dfdctl::observe::list_type(event.list);
        default:
            return DFD_KEY_NONE;
    }
}

/// Whether what the function asks for is its own matter, not an item that its caller names.
bool asks_by_itself(const Call &call) {
    return call.can_be_observed() && call.does != Does::bus;
}

}  // namespace

Readers::Readers(const std::filesystem::path &boards) {
    for (const auto &board : std::filesystem::directory_iterator(boards)) {
        const std::string root = board.path();
        const std::vector<int> chassis = dfdctl::chassis_types(root);
        for (const int type : dfdctl::board_types(root)) {
            observe(root, type, chassis.empty() ? type : chassis.front());
        }
    }
}

void Readers::observe(const std::string &root, int board_type, int chassis_type) {
    const dfdctl::LoadRecord record = dfdctl::load_offline(
        {.root = root, .board_type = board_type, .chassis_type = chassis_type});
    const dfdctl::observe::Observer observer(record);
    const dfdctl::observe::Units units(record);
    for (const Call &call : dfdctl::observe::calls()) {
        if (!asks_by_itself(call)) {
            continue;
        }
        for (const auto &args : units.all_args(call)) {
            for (const auto &run : explore(observer, units, call, args).runs) {
                for (const Event &event : run.seen.events) {
                    functions_[type_asked_for(event)].insert(call.name);
                }
            }
        }
    }
}

bool Readers::asks(std::string_view function, const dfdctl::KeyType &key) const {
    const auto found = functions_.find(key.type);
    return found != functions_.end() && found->second.contains(function);
}

std::vector<std::string_view> Readers::of(const dfdctl::KeyType &key) const {
    const auto found = functions_.find(key.type);
    if (found == functions_.end()) {
        return {};
    }
    std::vector<std::string_view> sorted(found->second.begin(), found->second.end());
    std::ranges::sort(sorted, {},
                      [](std::string_view name) { return std::pair(prefix_of(name), name); });
    std::set<std::string_view> stems;
    std::erase_if(sorted,
                  [&](std::string_view name) { return !stems.insert(stem_of(name)).second; });
    return sorted;
}

}  // namespace reference
