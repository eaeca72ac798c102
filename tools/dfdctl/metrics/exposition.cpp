// SPDX-License-Identifier: MIT
#include "dfdctl/metrics/exposition.hpp"

#include <algorithm>

#include "common/json.hpp"

#include <fmt/format.h>

namespace dfdctl {

namespace {

/// EEPROM and configuration texts need not be UTF-8, the format is. It knows these three escapes
/// and no others.
std::string escaped(const std::string &text) {
    std::string result;
    for (const char c : dfd_tools::utf8(text)) {
        result += c == '\\' ? "\\\\" : c == '"' ? "\\\"" : c == '\n' ? "\\n" : std::string(1, c);
    }
    return result;
}

std::string label_text(const Labels &labels) {
    std::string text;
    for (const auto &[name, value] : labels) {
        if (!value.empty()) {
            text += fmt::format("{}{}=\"{}\"", text.empty() ? "" : ",", name, escaped(value));
        }
    }
    return text.empty() ? text : "{" + text + "}";
}

}  // namespace

void Exposition::add(const std::string &name, std::string_view help, const Labels &labels,
                     std::string_view value) {
    auto family = std::ranges::find(families_, name, &Family::name);
    if (family == families_.end()) {
        family = families_.insert(family, {name, std::string(help), {}});
    }
    family->samples += fmt::format("{}{} {}\n", name, label_text(labels), value);
}

std::string Exposition::text() const {
    std::string text;
    for (const Family &family : families_) {
        text += fmt::format("# HELP {0} {1}\n# TYPE {0} gauge\n{2}", family.name, family.help,
                            family.samples);
    }
    return text;
}

}  // namespace dfdctl
