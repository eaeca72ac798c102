// SPDX-License-Identifier: MIT
// The names of the key table in alphabetical order: the row of a line is found without comparing
// the line with all names.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

#include "framework/dfd_lib_cfg/key_table.h"
#include "framework/text.h"

namespace dfd {

inline constexpr int kNoName = -1;

struct IndexedName {
    const KeyRow *row;
    int shorter;      // the longest other name that begins this one, or kNoName
    bool has_longer;  // it begins another name
};

using KeyIndex = std::array<IndexedName, kKeyTable.size()>;

constexpr KeyIndex make_key_index() {
    KeyIndex index{};
    for (std::size_t i = 0; i < index.size(); ++i) {
        index[i] = {&kKeyTable[i], kNoName, false};
    }
    std::sort(index.begin(), index.end(),
              [](const IndexedName &a, const IndexedName &b) { return a.row->name < b.row->name; });
    for (std::size_t i = 0; i < index.size(); ++i) {
        // What begins a name stands before it, the longest last.
        for (std::size_t j = 0; j < i; ++j) {
            if (starts_with(index[i].row->name, index[j].row->name)) {
                index[i].shorter = static_cast<int>(j);
                index[j].has_longer = true;
            }
        }
    }
    return index;
}

inline constexpr KeyIndex kKeyIndex = make_key_index();

// A line means the first row whose name begins its own: a name that begins a later one would hide
// it.
constexpr bool every_name_can_be_reached() {
    return std::all_of(kKeyIndex.begin(), kKeyIndex.end(), [](const IndexedName &name) {
        return name.shorter == kNoName ||
               kKeyIndex[static_cast<std::size_t>(name.shorter)].row > name.row;
    });
}
static_assert(every_name_can_be_reached());

// Whether a text stands before a name and does not begin with it.
inline bool is_before(const char *text, const char *name) {
    while (*name != '\0' && *text == *name) {
        ++text;
        ++name;
    }
    return static_cast<uint8_t>(*text) < static_cast<uint8_t>(*name);
}

inline bool starts_with(const char *text, const IndexedName &name) {
    return std::strncmp(text, name.row->name.data(), name.row->name.size()) == 0;
}

// The place in the index of the last name that is not behind the text; -1 when all are.
inline int last_name_before(const char *text) {
    std::size_t first = 0;
    for (std::size_t end = kKeyIndex.size(); first < end;) {
        const std::size_t middle = (first + end) / 2;
        if (is_before(text, kKeyIndex[middle].row->name.data())) {
            end = middle;
        } else {
            first = middle + 1;
        }
    }
    return static_cast<int>(first) - 1;
}

// The first row whose name begins the text, or null. No name begins a later one, so of the
// names that begin a text the first row has the longest. `guess` may be null: the name of
// the line before is the right one for most lines.
inline const IndexedName *find_name(const char *text, const IndexedName *guess) {
    if (guess != nullptr && !guess->has_longer && starts_with(text, *guess)) {
        return guess;
    }
    // Whatever else begins the text begins that name as well.
    for (int at = last_name_before(text); at != kNoName;) {
        const IndexedName &name = kKeyIndex[static_cast<std::size_t>(at)];
        if (starts_with(text, name)) {
            return &name;
        }
        at = name.shorter;
    }
    return nullptr;
}

}  // namespace dfd
