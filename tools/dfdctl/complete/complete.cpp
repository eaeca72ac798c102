// SPDX-License-Identifier: MIT
#include "dfdctl/complete/complete.hpp"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <sstream>

#include "dfdctl/board/find_boards.hpp"
#include "dfdctl/board/offline.hpp"
#include "dfdctl/command.hpp"
#include "dfdctl/complete/values.hpp"

namespace dfdctl {

namespace {

using complete::Candidate;
using complete::Candidates;
using complete::Expected;
using complete::Values;

/// `vchassis` puts the directory of its chassis here, for the command line behind it.
constexpr const char *kRootVariable = "DFDCTL_COMPLETE_ROOT";

/// A label of a page may ask the hardware: here nothing does.
bool refuse(void * /*context*/, const dfd::watch::Transfer & /*transfer*/, int *result) {
    *result = -1;
    return true;
}

/// The types of chassis that a board may be in; without any one that no file is of.
std::vector<int> chassis_of(const Expected &expected, const std::string &root) {
    std::uint32_t wanted = 0;
    if (parse_number(expected.option("--chassis"), wanted)) {
        return {static_cast<int>(wanted)};
    }
    const std::vector<int> types = chassis_types(root);
    return types.empty() ? std::vector<int>{0} : types;
}

void add_new(Candidates &all, Candidates more) {
    for (Candidate &each : more) {
        if (std::ranges::find(all, each.word, &Candidate::word) == all.end()) {
            all.push_back(std::move(each));
        }
    }
}

/// Which board this is, hardware tells: without it, all that its files can be.
Candidates of_boards(const Expected &expected, const Values &values) {
    static constexpr dfd::watch::Hooks kHooks = {.answer = refuse};
    const char *variable = std::getenv(kRootVariable);
    std::string root = expected.option("--root");
    if (root.empty() && variable != nullptr) {
        root = variable;
    }
    Candidates all;
    for (const BoardPlace &place : find_boards(root, expected.option("--board"))) {
        for (const int chassis : chassis_of(expected, place.root)) {
            const LoadRecord record = load_offline(
                {.root = place.root, .board_type = place.board_type, .chassis_type = chassis});
            const Watching watching(kHooks);
            add_new(all, values.find(expected, record));
        }
    }
    return all;
}

Candidates values_for(const Expected &expected, const std::string &argument) {
    // A word of the command line itself: on, off, all.
    if (!argument.empty() && std::islower(static_cast<unsigned char>(argument.front())) != 0) {
        return {{argument, ""}};
    }
    const Values *values = complete::values_of(argument, expected.command);
    if (values == nullptr) {
        return {};
    }
    return values->is_of_board ? of_boards(expected, *values) : values->find(expected, {});
}

}  // namespace

std::vector<Candidate> known_values(const Expected &expected) {
    Candidates all;
    for (const std::string &argument : expected.arguments) {
        std::istringstream alternatives(argument);
        for (std::string each; std::getline(alternatives, each, '|');) {
            try {
                add_new(all, values_for(expected, each));
            } catch (const std::exception &) {
                // No board, or one that cannot be loaded: there is nothing to offer.
            }
        }
    }
    return all;
}

}  // namespace dfdctl
