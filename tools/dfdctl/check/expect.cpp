// SPDX-License-Identifier: MIT
// What a chassis should have, and what it has.
#include "dfdctl/check/expect.hpp"
#include "common/text.hpp"

#include <dfd/chassis.h>
#include <dfd/framework.h>
#include <algorithm>
#include <array>

#include <fmt/format.h>

namespace dfdctl::check {

namespace {

/// Units that can be expected, as rows of a section of a page.
struct KindRow {
    std::string_view name;      ///< in the file
    const char *one;            ///< "supply"
    std::string_view section;   ///< its key in JSON
    std::string_view presence;  ///< column that tells whether a unit is there
    std::string_view identity;  ///< column that tells which one it is; empty: none does
    std::string_view prefix;    ///< of the unit's name, left out in the file
};

constexpr std::array kKinds = {
    KindRow{"supplies", "supply", "supplies", "state", "name", "supply "},
    KindRow{"trays", "tray", "trays", "state", "type", "tray "},
    KindRow{"cards", "card in slot", "slots", "card", {}, "slot "},
    KindRow{"sub_cards", "sub-card", "sub_cards", "state", "type", "sub-slot "},
    KindRow{"sensors", "sensor", "sensors", "temperature", {}, "sensor "},
};

/// A unit of the chassis.
struct SeenUnit {
    std::string name;  ///< as in the file
    const Row *row;
    const Column *column;  ///< of the presence
    const Reading *presence;
    const Reading *identity;  ///< may be null

    bool is_there() const;
};

bool SeenUnit::is_there() const {
    const auto *number = std::get_if<std::int64_t>(&presence->value);
    // A temperature of 0 is one.
    return presence->ok() && (!column->is_presence || number == nullptr || *number != 0);
}

std::string without(std::string_view prefix, std::string name) {
    const std::size_t at = name.find(prefix);
    return at == std::string::npos ? name : name.erase(at, prefix.size());
}

const Reading *cell_of(const Section &section, const Row &row, std::string_view key) {
    for (std::size_t i = 0; i < row.cells.size(); ++i) {
        if (section.columns[i].key == key) {
            return &row.cells[i];
        }
    }
    return nullptr;
}

/// The own card is there wherever it stands.
bool is_own(const Section &section, const Row &row) {
    const Reading *own = cell_of(section, row, "own");
    return own != nullptr && own->value == decltype(own->value)(std::int64_t{1});
}

std::vector<SeenUnit> seen_units(const KindRow &kind, const Report &report) {
    std::vector<SeenUnit> units;
    each_cell(report.pages, [&](const Section &section, const Row &row, std::size_t i) {
        const Column &column = section.columns[i];
        if (section.key == kind.section && column.key == kind.presence && !is_own(section, row)) {
            units.push_back({without(kind.prefix, section.unit(row.place)), &row, &column,
                             &row.cells[i], cell_of(section, row, kind.identity)});
        }
    });
    return units;
}

std::string identity_of(const SeenUnit &unit) {
    return unit.identity != nullptr && unit.identity->ok() ? value_text(*unit.identity)
                                                           : std::string();
}

std::optional<bool> peer_is_there(const Report &report) {
    std::optional<bool> found;
    each_cell(report.pages, [&](const Section &section, const Row &row, std::size_t i) {
        if (section.columns[i].key == std::string_view("peer_master") && row.cells[i].ok()) {
            found = row.cells[i].value != decltype(Reading::value)(std::int64_t{DFD_PEER_ABSENT});
        }
    });
    return found;
}

// ---- Comparing --------------------------------------------------------------------------------

class Comparison {
  public:
    Comparison(const Expectations &expected, Report &report)
        : expected_(expected), report_(report) {}

    void run();

  private:
    void add(Severity severity, const char *word, std::string unit, std::string what,
             const SeenUnit *seen = nullptr);
    void type(std::string_view key, std::optional<std::int64_t> wanted, int found);
    void peer();
    void unit(const KindRow &row, const ExpectedUnit &wanted, const std::vector<SeenUnit> &seen);
    void kind(const ExpectedKind &wanted);

    const Expectations &expected_;
    Report &report_;
};

void Comparison::add(Severity severity, const char *word, std::string unit, std::string what,
                     const SeenUnit *seen) {
    Finding finding{severity, word, std::move(unit), std::move(what)};
    if (seen != nullptr) {
        finding.value = *seen->presence;
        if (const auto item = item_behind(*seen->column, seen->row->place)) {
            finding.items.push_back(item->name());
            finding.device = place_of(*item);
        }
    }
    report_.findings.push_back(std::move(finding));
}

void Comparison::type(std::string_view key, std::optional<std::int64_t> wanted, int found) {
    if (wanted && *wanted != found) {
        std::string name(key);
        std::ranges::replace(name, '_', ' ');
        add(Severity::warning, "CHANGED", name,
            fmt::format("{}, expected {} ({})", found, *wanted, expected_.path));
    }
}

void Comparison::peer() {
    const std::optional<bool> found = peer_is_there(report_);
    if (!expected_.peer || !found || *found == *expected_.peer) {
        return;
    }
    if (*found) {
        add(Severity::note, "NEW", "peer master board", "plugged, but not expected");
    } else {
        add(Severity::alarm, "ABSENT", "peer master board",
            fmt::format("expected by {}", expected_.path));
    }
}

void Comparison::unit(const KindRow &row, const ExpectedUnit &wanted,
                      const std::vector<SeenUnit> &seen) {
    const std::string name = fmt::format("{} {}", row.one, wanted.name);
    const std::string place = fmt::format("{}:{}", expected_.path, wanted.line);
    const auto found = std::ranges::find(seen, wanted.name, &SeenUnit::name);
    if (found == seen.end()) {
        add(Severity::alarm, "ABSENT", name,
            fmt::format("expected by {}, but the board configures none such", place));
    } else if (found->presence->status == Status::none) {
        add(Severity::warning, "UNSURE", name,
            fmt::format("expected by {}, but the board configures no item that tells whether it is "
                        "there",
                        place));
    } else if (!found->is_there()) {
        // A presence that cannot be read is told by its device.
        if (!found->presence->failed()) {
            add(Severity::alarm, "ABSENT", name, fmt::format("expected by {}", place), &*found);
        }
    } else if (const std::string is = identity_of(*found);
               !wanted.identity.empty() && !is.empty() && is != wanted.identity) {
        add(Severity::warning, "CHANGED", name,
            fmt::format("{}, expected {} ({})", is, wanted.identity, place), &*found);
    }
}

void Comparison::kind(const ExpectedKind &wanted) {
    const KindRow &row = *std::ranges::find(kKinds, wanted.kind, &KindRow::name);
    const std::vector<SeenUnit> seen = seen_units(row, report_);
    for (const ExpectedUnit &each : wanted.units) {
        unit(row, each, seen);
    }
    for (const SeenUnit &each : seen) {
        const bool is_expected =
            std::ranges::find(wanted.units, each.name, &ExpectedUnit::name) != wanted.units.end();
        if (each.is_there() && !is_expected) {
            add(Severity::note, "NEW", fmt::format("{} {}", row.one, each.name),
                "there, but not expected", &each);
        }
    }
}

void Comparison::run() {
    type(kBoardType, expected_.board_type, sdd_get_my_card_type());
    type(kChassisType, expected_.chassis_type, sdd_get_my_chassis_type());
    peer();
    for (const ExpectedKind &each : expected_.kinds) {
        kind(each);
    }
}

// ---- Learning ---------------------------------------------------------------------------------

/// As TOML takes it.
std::string in_quotes(std::string_view text) {
    std::string out = "\"";
    for (const char c : text) {
        out += c == '"' || c == '\\' ? std::string("\\") + c : std::string(1, c);
    }
    return out + "\"";
}

bool is_number(std::string_view name) {
    return std::ranges::all_of(name, [](char c) { return c >= '0' && c <= '9'; });
}

std::string list_of(const std::vector<SeenUnit> &units) {
    std::vector<std::string> names;
    for (const SeenUnit &unit : units) {
        names.push_back(is_number(unit.name) ? unit.name : in_quotes(unit.name));
    }
    return dfd_tools::joined(names, ", ");
}

std::string table_of(const KindRow &kind, const std::vector<SeenUnit> &units) {
    std::string text = fmt::format("\n[{}]\n", kind.name);
    for (const SeenUnit &unit : units) {
        text += fmt::format("{} = {}\n", unit.name, in_quotes(identity_of(unit)));
    }
    return text;
}

constexpr const char *kHeader =
    "# What this chassis should have; 'dfdctl check --expect FILE' compares it.\n"
    "# Learned by 'dfdctl check --learn FILE'. Change it as you like: what is left out is not "
    "compared,\n"
    "# a unit is expected by its number, and in quotes stands what it says it is, \"\" for "
    "anything.\n";

}  // namespace

std::vector<std::string_view> kind_names() {
    std::vector<std::string_view> names;
    for (const KindRow &kind : kKinds) {
        names.push_back(kind.name);
    }
    return names;
}

void compare(const Expectations &expected, Report &report) {
    Comparison(expected, report).run();
    sort_findings(report.findings);
}

std::string learned_text(const Report &report) {
    std::string text = kHeader;
    text += fmt::format("{} = {}\n{} = {}\n", kBoardType, sdd_get_my_card_type(), kChassisType,
                        sdd_get_my_chassis_type());
    if (const auto peer = peer_is_there(report)) {
        text += fmt::format("{} = {}\n", kPeer, *peer);
    }
    // Keys without a table stand before the first one.
    std::string tables;
    for (const KindRow &kind : kKinds) {
        std::vector<SeenUnit> units = seen_units(kind, report);
        if (units.empty()) {
            continue;
        }
        std::erase_if(units, [](const SeenUnit &unit) { return !unit.is_there(); });
        if (kind.identity.empty()) {
            text += fmt::format("{} = [{}]\n", kind.name, list_of(units));
        } else {
            tables += table_of(kind, units);
        }
    }
    return text + tables;
}

}  // namespace dfdctl::check
