// SPDX-License-Identifier: MIT
// Blocks of labelled text, wrapped for a console.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "dfdctl/explain/explain.hpp"

namespace dfdctl::explain {

/// A label, and pieces behind it that are wrapped between each other, never within.
void print_pieces(std::FILE *out, std::string_view label, const std::vector<std::string> &pieces);

/// The same with a text, between its words.
void print_text(std::FILE *out, std::string_view label, const std::string &text);

/// Unit of a value that stands in the configuration. What is read gets its unit from the function
/// that reads it.
std::string_view unit_of(const Item &item);

/// What the configuration says of an item, and the lines that say it.
void print_description(std::FILE *out, const Item &item, const LoadRecord &loaded);

}  // namespace dfdctl::explain
