// SPDX-License-Identifier: MIT
// What each function may answer when hardware, files or memory fail it: from the headers.
#pragma once

#include <string_view>
#include <vector>

namespace sweep_test {

struct Expected {
    std::string_view names;         // functions, separated by blanks
    std::vector<int> codes;         // that a failure gives
    std::vector<int> instead = {};  // results that are no code and stand for a failure all the same
    bool is_any_value = false;      // any result from 0 on is one
    bool hides_outputs = false;     // a good result all the same, with other outputs or none
    bool hides_version = false;     // the same where a hardware version is asked for
    bool hides_writes = false;      // a good result though a write was not made
    bool fills = false;             // changes its outputs although it fails
    bool writes_otherwise = false;  // writes what the undisturbed call does not
    std::string_view why = {};      // for all but the codes
};

// Null for a function without a row.
const Expected *expected_of(std::string_view function);

// Whether something is kept of such a failure that answers later calls.
enum class After { any, few_bytes, no_memory };
bool may_remember(std::string_view function, After failure);

// Functions that have no positions on any of the boards although they are not only computed.
bool may_have_no_positions(std::string_view function);

}  // namespace sweep_test
