// SPDX-License-Identifier: MIT
// The pages, and what their judgements say.
#include <algorithm>
#include <array>
#include <set>

#include "dfdctl/board/read_pass.hpp"
#include "dfdctl/board/start.hpp"
#include "dfdctl/check/report.hpp"

namespace dfdctl::check {

namespace {

Finding finding_of(const Judgement &judgement, const Reading &reading, std::string unit) {
    Finding finding{.severity = judgement.severity,
                    .word = judgement.word,
                    .unit = std::move(unit),
                    .what = judgement_text(judgement, reading),
                    .value = reading};
    if (judgement.limit) {
        finding.limit = judgement.limit->value;
    }
    for (const Item &item : judgement.items) {
        finding.items.push_back(item.name());
    }
    if (!judgement.items.empty()) {
        finding.device = place_of(judgement.items.front());
    }
    return finding;
}

/// Values of the whole system speak for themselves.
std::string unit_name(const Section &section, const Row &row, const Column &column) {
    return section.unit != nullptr ? section.unit(row.place) : column.heading;
}

struct Verdict {
    Finding finding;
    bool follows_from_part;
};

std::vector<Verdict> verdicts_of(const std::vector<PageData> &pages) {
    std::vector<Verdict> verdicts;
    each_cell(pages, [&](const Section &section, const Row &row, std::size_t i) {
        if (const auto &judgement = row.judgements[i]) {
            const std::string unit = unit_name(section, row, section.columns[i]);
            verdicts.push_back(
                {finding_of(*judgement, row.cells[i], unit), judgement->follows_from_part});
        }
    });
    return verdicts;
}

bool is_part_of(const std::string &part, const std::string &unit) {
    return part.starts_with(unit + " ");
}

/// A state that stands in two tables is one finding, and a tray that failed because of a rotor is
/// told by the rotor.
void add_verdicts(Report &report) {
    const std::vector<Verdict> verdicts = verdicts_of(report.pages);
    for (const Verdict &verdict : verdicts) {
        const Finding &finding = verdict.finding;
        const auto is_same = [&](const Finding &other) {
            return other.unit == finding.unit && other.word == finding.word &&
                   other.items == finding.items;
        };
        const auto has_part = [&](const Verdict &other) {
            return is_part_of(other.finding.unit, finding.unit);
        };
        const bool is_told = verdict.follows_from_part && std::ranges::any_of(verdicts, has_part);
        if (!is_told && std::ranges::none_of(report.findings, is_same)) {
            report.findings.push_back(finding);
        }
    }
}

// ---- Presence ---------------------------------------------------------------------------------

bool is_plugged(const Reading &presence) {
    const auto *number = std::get_if<std::int64_t>(&presence.value);
    return presence.ok() && (number == nullptr || *number != 0);
}

/// Looks once more at the presence of a unit, now that all else has been read: what was read of one
/// that came or went meanwhile is worth nothing.
void look_again(const Section &section, const Row &row, Report &report) {
    const Reading *before = presence_of(section, row);
    if (before == nullptr || !before->ok()) {
        return;
    }
    const Column &column = *std::ranges::find_if(section.columns, &Column::is_presence);
    const Reading after = read_cell(column, row.place);
    if (!after.ok() || is_plugged(*before) == is_plugged(after)) {
        return;
    }
    const auto item = item_behind(column, row.place);
    report.findings.push_back(
        {.severity = Severity::alarm,
         .word = "UNSTEADY",
         .unit = section.unit(row.place),
         .what = is_plugged(after) ? "absent at first, present now: just plugged, or a bad contact"
                                   : "present at first, absent now: just pulled, or a bad contact",
         .value = after,
         .items = item ? std::vector{item->name()} : std::vector<std::string>(),
         .device = item ? place_of(*item) : std::string()});
}

// ---- What was looked at -----------------------------------------------------------------------

struct Counted {
    std::string_view section;  ///< its key in JSON
    const char *one;
    const char *many;
};

constexpr std::array kCounted = {
    Counted{"slots", "card", "cards"},
    Counted{"trays", "tray", "trays"},
    Counted{"rotors", "rotor", "rotors"},
    Counted{"supplies", "supply", "supplies"},
    Counted{"sensors", "sensor", "sensors"},
    Counted{"channels", "voltage", "voltages"},
    Counted{"ports", "SFP port", "SFP ports"},
    Counted{"sub_cards", "sub-card", "sub-cards"},
    Counted{"sources", "interrupt", "interrupts"},
};

void count_units(const SectionData &data, Report &report) {
    const auto counted =
        std::ranges::find(kCounted, std::string_view(data.section->key), &Counted::section);
    if (counted != kCounted.end() && data.section->rows != nullptr && !data.rows.empty()) {
        Looked looked{counted->one, counted->many, 0, data.rows.size()};
        for (const Row &row : data.rows) {
            const Reading *presence = presence_of(*data.section, row);
            looked.present += presence == nullptr || is_plugged(*presence) ? 1 : 0;
            looked.unsure += presence != nullptr && presence->failed() ? 1 : 0;
            looked.untold += presence != nullptr && presence->status == Status::none ? 1 : 0;
        }
        report.looked.push_back(looked);
    }
}

/// A limit that makes a column of a section judgeable.
struct LimitRow {
    std::string_view units;
    std::array<std::uint32_t, 2> items;  ///< key types, one is enough
};

constexpr std::array kLimits = {
    LimitRow{"rotors", {DFD_KEY_FAN_SPEED_FLOOR, DFD_KEY_FAN_FAIL_BMP}},
    LimitRow{"sensors", {DFD_KEY_SYS_ALARM_TEMP, DFD_KEY_SYS_DANGER_TEMP}},
    LimitRow{"voltages", {DFD_KEY_CARD_VOL_WATERLINE, DFD_KEY_CARD_VOL_WATERLINE}},
};

void note_missing_limits(const LoadRecord &record, Report &report) {
    for (const LimitRow &limit : kLimits) {
        const bool is_limited = std::ranges::any_of(
            limit.items, [&](std::uint32_t type) { return !items_of(record, type).empty(); });
        const bool has_units = std::ranges::any_of(
            report.looked, [&](const Looked &looked) { return looked.many == limit.units; });
        if (has_units && !is_limited) {
            report.unjudged.emplace_back(limit.units);
        }
    }
}

void look_at_pages(const LoadRecord &record, Report &report) {
    for (const Page &page : pages()) {
        report.pages.push_back(read_page(page, record));
        for (const SectionData &data : report.pages.back().sections) {
            count_units(data, report);
        }
    }
    note_missing_limits(record, report);
}

/// Each unit once, in whichever table its presence stands first.
void look_at_presence(Report &report) {
    const ReadPass anew;
    std::set<std::string> seen;
    for (const PageData &page : report.pages) {
        for (const SectionData &data : page.sections) {
            for (const Row &row : data.rows) {
                const bool has_unit = data.section->unit != nullptr;
                if (has_unit && seen.insert(data.section->unit(row.place)).second) {
                    look_again(*data.section, row, report);
                }
            }
        }
    }
}

}  // namespace

const Reading *presence_of(const Section &section, const Row &row) {
    const auto column = std::ranges::find_if(section.columns, &Column::is_presence);
    return column != section.columns.end()
               ? &row.cells[static_cast<std::size_t>(column - section.columns.begin())]
               : nullptr;
}

std::size_t Report::count(Severity severity) const {
    return static_cast<std::size_t>(std::ranges::count(findings, severity, &Finding::severity));
}

bool Report::is_healthy() const {
    return count(Severity::alarm) + count(Severity::warning) == 0;
}

int Report::exit_status() const {
    if (is_unreachable) {
        return kExitIo;
    }
    return is_healthy() ? kExitOk : kExitReadingFailed;
}

void sort_findings(std::vector<Finding> &findings) {
    std::ranges::stable_sort(findings, std::less(), &Finding::severity);
}

Report inspect(const Library &library) {
    Report report;
    look_at_start(library, report);
    if (library.usable()) {
        look_at_pages(library.loaded, report);
        look_at_eeproms(library.loaded, report);
        look_at_devices(report);
        add_verdicts(report);
        look_at_presence(report);
        fold_missing_chassis(library, report);
    }
    sort_findings(report.findings);
    return report;
}

}  // namespace dfdctl::check
