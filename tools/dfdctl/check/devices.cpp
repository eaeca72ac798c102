// SPDX-License-Identifier: MIT
// Readings that failed: one finding for each device, with what it cost.
#include <dfd/records.h>
#include <algorithm>
#include <set>

#include "common/text.hpp"
#include "dfdctl/check/report.hpp"
#include "hal/facts.h"

#include <fmt/format.h>

namespace dfdctl::check {

namespace {

void add_lost_cells(Report &report) {
    each_cell(report.pages, [&](const Section &section, const Row &row, std::size_t i) {
        if (row.cells[i].failed()) {
            const Column &column = section.columns[i];
            const std::string unit = section.unit != nullptr ? section.unit(row.place) + " " : "";
            const Reading *presence = presence_of(section, row);
            report.lost.push_back({.what = unit + column.heading,
                                   .reading = row.cells[i],
                                   .item = item_behind(column, row.place),
                                   .is_unsure = presence != nullptr && presence->failed() &&
                                                presence != &row.cells[i]});
        }
    });
}

using Group = std::vector<const Lost *>;

/// " (24 readings: tray 1 rotor 1 speed, tray 1 rotor 2 speed, ...)"
std::string cost_of(const Group &group) {
    constexpr std::size_t kNamed = 2;
    std::vector<std::string> names;
    for (const Lost *lost : group) {
        names.push_back(lost->what);
    }
    const std::string count =
        group.size() > 1 ? fmt::format("{} readings: ", group.size()) : std::string();
    const bool has_more = names.size() > kNamed;
    names.resize(std::min(names.size(), kNamed));
    return names.empty() ? std::string()
                         : fmt::format(" ({}{}{})", count, dfd_tools::joined(names, ", "),
                                       has_more ? ", ..." : "");
}

/// An EEPROM that is no good is told already: only what it costs is news.
bool add_to_eeprom(const std::string &source, const Group &group, Report &report) {
    const auto told = std::ranges::find(report.findings, source, &Finding::device);
    if (told == report.findings.end() || !told->is_of_device) {
        return false;
    }
    told->what += cost_of(group);
    return true;
}

std::vector<std::string> items_of_group(const Group &group) {
    std::vector<std::string> items;
    for (const Lost *lost : group) {
        const std::string item = lost->item ? lost->item->name() : std::string();
        if (!item.empty() && std::ranges::find(items, item) == items.end()) {
            items.push_back(item);
        }
    }
    return items;
}

std::string cause_text(const Reading &reading) {
    if (!reading.cause) {
        return reading.error;
    }
    const std::string advice = advice_of(*reading.cause);
    return words_of(*reading.cause) + (advice.empty() ? "" : "; " + advice);
}

/// A device that holds nothing but an EEPROM is that.
Finding device_finding(const std::string &source, Group group) {
    const Reading &reading = group.front()->reading;
    const bool is_silent = reading.status == Status::io_error;
    Finding finding{.severity = is_silent ? Severity::alarm : Severity::warning,
                    .word = is_silent ? "NO ANSWER" : "NO VALUE",
                    .unit = source,
                    .what = cause_text(reading),
                    .value = reading,
                    .items = items_of_group(group),
                    .device = source};
    finding.error = reading.cause ? errno_name(reading.cause->error) : std::string();
    const auto eeprom = std::ranges::find_if(group, &Lost::is_eeprom);
    if (eeprom != group.end() && group.front()->node() != source) {
        finding.word = "SILENT";
        finding.unit = (*eeprom)->what;
        group.erase(eeprom);
    }
    finding.what += cost_of(group);
    return finding;
}

void add_group(const std::string &source, const Group &group, Report &report) {
    if (add_to_eeprom(source, group, report)) {
        return;
    }
    Finding finding = device_finding(source, group);
    if (std::ranges::all_of(group, &Lost::is_optional)) {
        finding.severity = Severity::note;
        finding.what += ", and the board type does not need it";
    } else if (std::ranges::all_of(group, &Lost::is_unsure)) {
        finding.severity = Severity::note;
        finding.what += "; the unit may be absent, its presence cannot be read";
    }
    report.findings.push_back(std::move(finding));
}

/// What no file says cannot be told of a value: the file is missing, not the value.
bool add_to_unloaded(Report &report) {
    const auto file = std::ranges::find(report.findings, kNotLoaded, &Finding::word);
    Group group;
    for (const Lost &lost : report.lost) {
        if (lost.is_untold()) {
            group.push_back(&lost);
        }
    }
    if (file == report.findings.end() || group.empty()) {
        return false;
    }
    file->what += "; that may be why values cannot be told" + cost_of(group);
    return true;
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

std::string Lost::source() const {
    if (const auto &cause = reading.cause) {
        return !cause->address || fault_of(*cause).reach == Reach::node ? cause->path
                                                                        : cause->device();
    }
    const std::string place = !reading.device.empty() ? reading.device
                              : item                  ? place_of(*item)
                                                      : std::string();
    return !place.empty() ? place : what;
}

bool Lost::is_untold() const {
    return !reading.cause && reading.device.empty() && reading.status == Status::bad_data;
}

std::string Lost::node() const {
    return reading.cause ? reading.cause->path : item ? node_of(*item) : std::string();
}

void look_at_devices(Report &report) {
    add_lost_cells(report);
    note_alive(report);
    // Where a whole bus has died, the devices that showed it first belong to that.
    std::set<std::string> dead;
    for (const Lost &each : report.lost) {
        if (each.reading.cause && each.source() == each.node()) {
            dead.insert(each.node());
        }
    }
    std::vector<std::pair<std::pair<std::string, Status>, Group>> groups;
    const bool is_unloaded = add_to_unloaded(report);
    for (const Lost &each : report.lost) {
        if (is_unloaded && each.is_untold()) {
            continue;
        }
        const std::string source = dead.contains(each.node()) ? each.node() : each.source();
        const std::pair key(source, each.reading.status);
        auto group = std::ranges::find(groups, key, &decltype(groups)::value_type::first);
        if (group == groups.end()) {
            group = groups.insert(groups.end(), {key, {}});
        }
        group->second.push_back(&each);
        report.is_unreachable |= key.second == Status::io_error && !each.is_optional &&
                                 is_hardware(each.node()) && !report.alive.contains(each.node());
    }
    for (const auto &[key, group] : groups) {
        add_group(key.first, group, report);
    }
}

}  // namespace dfdctl::check
