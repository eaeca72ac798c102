// SPDX-License-Identifier: MIT
// The small language of the files in templates/:
//
//   {{EXPRESSION}}         its value: a text, or a number with + - * / % ( ), written in
//                          hexadecimal where the expression begins with 0x
//   %each NAME FROM TO     the lines up to %end once for each number FROM to TO
//   %each TABLE            the lines up to %end once for each row of the table, with its variables
//   %file PATH             what the file is to be called
//   %if EXPRESSION         the lines up to %end when it is not 0
//
// A line that begins with % is one of these and is not part of the result.
#pragma once

#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace dfdctl::new_board {

using Value = std::variant<long, std::string>;
using Variables = std::map<std::string, Value, std::less<>>;
using Rows = std::vector<Variables>;
using Tables = std::map<std::string, Rows, std::less<>>;

/// A template that is wrong; the text begins with the number of the line.
struct TemplateError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Expanded {
    std::string file;  ///< what %file names; empty where the template does not apply
    std::string content;
};

/// The template with everything filled in. Throws TemplateError.
Expanded expand(std::string_view text, const Variables &variables, const Tables &tables);

}  // namespace dfdctl::new_board
