// SPDX-License-Identifier: MIT
// Readings that failed: one finding for each device, with what it cost.
#include <dfd/records.h>
#include <algorithm>

#include "dfdctl/check/report.hpp"
#include "hal/facts.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace dfdctl::check {

namespace {

void add_lost_cells(Report &report) {
    each_cell(report.pages, [&](const Section &section, const Row &row, std::size_t i) {
        if (row.cells[i].failed()) {
            const Column &column = section.columns[i];
            const std::string unit = section.unit != nullptr ? section.unit(row.place) + " " : "";
            report.lost.push_back(
                {unit + column.heading, row.cells[i], item_behind(column, row.place)});
        }
    });
}

using Group = std::vector<const Lost *>;

/// "24 readings: tray 1 rotor 1 speed, tray 1 rotor 2 speed, ..."
std::string cost_of(const Group &group) {
    constexpr std::size_t kNamed = 2;
    std::vector<std::string> names;
    for (const Lost *lost : group) {
        names.push_back(lost->what);
    }
    const bool has_more = names.size() > kNamed;
    names.resize(std::min(names.size(), kNamed));
    return group.size() == 1 ? names.front()
                             : fmt::format("{} readings: {}{}", group.size(),
                                           fmt::join(names, ", "), has_more ? ", ..." : "");
}

/// An EEPROM that is no good is told already: only what it costs is news.
bool add_to_eeprom(const std::string &source, const Group &group, Report &report) {
    const auto told = std::ranges::find(report.findings, source, &Finding::device);
    if (told == report.findings.end() || !told->is_of_device) {
        return false;
    }
    told->what += fmt::format(" ({})", cost_of(group));
    return true;
}

void add_group(const std::string &source, const Group &group, Report &report) {
    if (add_to_eeprom(source, group, report)) {
        return;
    }
    const Reading &reading = group.front()->reading;
    const bool is_silent = reading.status == Status::io_error;
    Finding finding{
        .severity = is_silent ? Severity::alarm : Severity::warning,
        .word = is_silent ? "NO ANSWER" : "NO VALUE",
        .unit = source,
        .what = fmt::format("{} ({})", reading.cause ? cause_text(*reading.cause) : reading.error,
                            cost_of(group)),
        .value = reading,
        .device = source};
    finding.error = reading.cause ? errno_name(reading.cause->error) : std::string();
    for (const Lost *lost : group) {
        const std::string item = lost->item ? lost->item->name() : std::string();
        if (!item.empty() && std::ranges::find(finding.items, item) == finding.items.end()) {
            finding.items.push_back(item);
        }
    }
    report.findings.push_back(std::move(finding));
}

void note_alive(Report &report) {
    each_cell(report.pages, [&](const Section &section, const Row &row, std::size_t i) {
        const auto item = item_behind(section.columns[i], row.place);
        if (item && row.cells[i].ok()) {
            report.alive.insert(node_of(*item));
        }
    });
}

bool is_hardware(const std::string &path) {
    return path.starts_with("/dev/");
}

}  // namespace

std::string node_of(const Item &item) {
    const auto *record = record_of<info_ctrl_t>(item);
    return record != nullptr ? record->fpath : std::string();
}

std::string place_of(const Item &item) {
    const auto *record = record_of<info_ctrl_t>(item);
    if (record == nullptr || record->fpath[0] == '\0' || record->mode == INFO_CTRL_MODE_CONSTANT) {
        return {};
    }
    const bool is_eeprom = dfd::is_e2prom_mode(record->mode);
    if (is_eeprom || record->src == INFO_SRC_I2C) {
        return fmt::format("{} 0x{:02x}", record->fpath, record->addr);
    }
    return record->fpath;
}

bool is_of_node(const FailedTransfer &cause) {
    return !cause.address || fault_of(cause).reach == Reach::node;
}

std::string Lost::source() const {
    if (const auto &cause = reading.cause) {
        return is_of_node(*cause) ? cause->path : cause->device();
    }
    const std::string place = item ? place_of(*item) : std::string();
    return !place.empty() ? place : what;
}

std::string Lost::node() const {
    return reading.cause ? reading.cause->path : item ? node_of(*item) : std::string();
}

std::string cause_text(const FailedTransfer &cause) {
    const std::string advice = advice_of(cause);
    return advice.empty() ? words_of(cause) : fmt::format("{}; {}", words_of(cause), advice);
}

void look_at_devices(Report &report) {
    add_lost_cells(report);
    note_alive(report);
    std::vector<std::pair<std::string, Status>> sources;
    for (const Lost &each : report.lost) {
        const std::pair source(each.source(), each.reading.status);
        if (std::ranges::find(sources, source) == sources.end()) {
            sources.push_back(source);
        }
        report.is_unreachable |= source.second == Status::io_error && is_hardware(each.node()) &&
                                 !report.alive.contains(each.node());
    }
    for (const auto &[source, status] : sources) {
        Group group;
        for (const Lost &each : report.lost) {
            if (each.source() == source && each.reading.status == status) {
                group.push_back(&each);
            }
        }
        add_group(source, group, report);
    }
}

}  // namespace dfdctl::check
