// SPDX-License-Identifier: MIT
// Explanations as text for a console of 80 columns, and as JSON.
#pragma once

#include <cstdio>

#include "dfdctl/explain/explain.hpp"

namespace dfdctl::explain {

void print_call(std::FILE *out, const Explanation &explanation, const LoadRecord &loaded);
void print_call_json(std::FILE *out, const Explanation &explanation, const LoadRecord &loaded);

/// What is known of an item; `reading` is the call that has read it, or null.
struct ItemExplanation {
    Item item;
    std::vector<Consumer> consumers;
    const Explanation *reading;
};

void print_item(std::FILE *out, const ItemExplanation &explanation, const LoadRecord &loaded);
void print_item_json(std::FILE *out, const ItemExplanation &explanation, const LoadRecord &loaded);

/// What a call did with one item, and what came of it.
void print_reading(std::FILE *out, const Explanation &reading, const Item &item,
                   const LoadRecord &loaded);

}  // namespace dfdctl::explain
