// SPDX-License-Identifier: MIT
// The kinds of wiring that a description can name: one row each.
#include "wiring.h"

#include <fmt/format.h>

#include <algorithm>

#include "models/line.h"
#include "models/rotor.h"
#include "models/strobe.h"

namespace vchassis {

namespace {

struct KindRow {
    const char *key;
    std::unique_ptr<Wiring> (*make)(const Section &section, unsigned index);
};

template <class Kind>
std::unique_ptr<Wiring> make_kind(const Section &section, unsigned index) {
    return std::make_unique<Kind>(section, index);
}

constexpr KindRow kKinds[] = {
    {"line", make_kind<Line>}, {"rotor", make_kind<Rotor>}, {"strobe", make_kind<Strobe>}};
constexpr Range kCounts{1, 8};

}  // namespace

Conditions::Conditions(const Section &section, std::string_view key, unsigned shift) {
    for (const Section *condition : section.tables(key)) {
        all_.push_back(std::make_unique<Condition>(*condition, shift));
    }
}

bool Conditions::hold() const {
    return std::all_of(all_.begin(), all_.end(), [](const auto &each) { return each->holds(); });
}

void Conditions::add_to(std::vector<Link *> &links) {
    for (const auto &condition : all_) {
        links.push_back(condition.get());
    }
}

const Section &needed_table(const Section &section, std::string_view key) {
    const Section *table = section.table(key);
    if (table == nullptr) {
        section.fail_at(key, fmt::format("the table '{}' is missing", key));
    }
    return *table;
}

std::vector<std::unique_ptr<Wiring>> make_wiring(const Section &section) {
    std::vector<std::unique_ptr<Wiring>> all;
    for (const KindRow &row : kKinds) {
        for (const Section *each : section.tables(row.key)) {
            const std::int64_t count = each->integer_or("count", kCounts, 1);
            each->text_or("name", "");
            for (unsigned index = 0; index < count; ++index) {
                all.push_back(row.make(*each, index));
            }
            each->refuse_unknown();
        }
    }
    section.refuse_unknown();
    return all;
}

}  // namespace vchassis
