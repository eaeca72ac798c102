// SPDX-License-Identifier: MIT
// The report as text and as JSON.
#include <algorithm>
#include <cctype>

#include "common/text.hpp"
#include "dfdctl/check/report.hpp"

#include <fmt/format.h>

namespace dfdctl::check {

namespace {

std::string counted(std::size_t count, std::string_view what) {
    return count == 0 ? std::string() : fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

std::string headline(const Report &report) {
    std::vector<std::string> parts;
    for (const Severity severity : {Severity::alarm, Severity::warning, Severity::note}) {
        if (std::string part = counted(report.count(severity), severity_name(severity));
            !part.empty()) {
            parts.push_back(std::move(part));
        }
    }
    const std::string counts = dfd_tools::joined(parts, ", ");
    if (!report.is_healthy()) {
        return counts;
    }
    return counts.empty() ? "Healthy" : "Healthy, " + counts;
}

/// "fan_real_speed 2 1, fan_speed_floor: /dev/fpga0".
std::string source_text(const Finding &finding) {
    constexpr std::size_t kNamed = 2;
    std::vector<std::string> items = finding.items;
    const bool has_more = items.size() > kNamed;
    items.resize(std::min(items.size(), kNamed));
    std::string text = fmt::format("{}{}", dfd_tools::joined(items, ", "), has_more ? ", ..." : "");
    if (!finding.device.empty() && finding.device != finding.unit) {
        text += (text.empty() ? "" : ": ") + finding.device;
    }
    if (!finding.error.empty()) {
        text += (text.empty() ? "" : " ") + finding.error;
    }
    return text;
}

/// The same of several units.
struct FindingGroup {
    Finding finding;  ///< of the first, with the items of all
    std::vector<std::string> units;

    bool takes(const Finding &other) const {
        return other.severity == finding.severity && other.word == finding.word &&
               other.what == finding.what && other.device == finding.device;
    }
    void add(const Finding &other);
    std::string units_text() const;
};

void FindingGroup::add(const Finding &other) {
    units.push_back(other.unit);
    for (const std::string &item : other.items) {
        if (std::ranges::find(finding.items, item) == finding.items.end()) {
            finding.items.push_back(item);
        }
    }
}

/// JSON and the pages tell all of very many.
std::string FindingGroup::units_text() const {
    constexpr std::size_t kNamed = 8;
    const std::vector<std::string> named(
        units.begin(), units.begin() + static_cast<std::ptrdiff_t>(std::min(units.size(), kNamed)));
    const std::string text = dfd_tools::joined(named, ", ");
    return units.size() <= kNamed ? text
                                  : fmt::format("{} and {} more", text, units.size() - kNamed);
}

std::vector<FindingGroup> grouped(const std::vector<Finding> &findings) {
    std::vector<FindingGroup> groups;
    for (const Finding &finding : findings) {
        const auto group = std::ranges::find_if(
            groups, [&](const FindingGroup &other) { return other.takes(finding); });
        if (group != groups.end()) {
            group->add(finding);
        } else {
            groups.push_back({finding, {finding.unit}});
        }
    }
    return groups;
}

using Lines = std::vector<std::string>;

std::string severity_text(Severity severity) {
    const std::string name(severity_name(severity));
    return severity == Severity::note ? name : in_red(name);
}

/// Severity, units, word and what; then, in the same line where it fits, what is behind it.
Lines lines_of(const FindingGroup &group) {
    constexpr std::size_t kMargin = 9;
    const Finding &finding = group.finding;
    const std::string severity = severity_text(finding.severity);
    const std::string head =
        fmt::format("{}{}{}: {}: {}", severity, std::string(kMargin - columns_of(severity), ' '),
                    group.units_text(), finding.word, finding.what);
    const std::string source = source_text(finding);
    const std::string whole = source.empty() ? head : fmt::format("{} ({})", head, source);
    if (source.empty() || columns_of(whole) <= text_width()) {
        return wrapped(whole, text_width(), kMargin);
    }
    Lines lines = wrapped(head, text_width(), kMargin);
    const Lines below = wrapped(std::string(kMargin, ' ') + source, text_width(), kMargin);
    lines.insert(lines.end(), below.begin(), below.end());
    return lines;
}

/// " (presence of 2 unreadable, of 1 not configured)".
std::string unknown_text(const Looked &looked) {
    std::vector<std::string> parts;
    for (const auto &[count, why] :
         {std::pair(looked.unsure, "unreadable"), std::pair(looked.untold, "not configured")}) {
        if (count > 0) {
            parts.push_back(count == looked.total ? why : fmt::format("of {} {}", count, why));
        }
    }
    return parts.empty() ? std::string() : fmt::format(" (presence {})", fmt::join(parts, ", "));
}

std::string looked_text(const Report &report) {
    std::vector<std::string> parts;
    for (const Looked &looked : report.looked) {
        const bool is_all =
            looked.present == looked.total || looked.unsure + looked.untold == looked.total;
        parts.push_back(fmt::format(
            "{}{} {}{}", is_all ? "" : fmt::format("{} of ", looked.present), looked.total,
            looked.total == 1 ? looked.one : looked.many, unknown_text(looked)));
    }
    return fmt::format("Looked at {}.", dfd_tools::joined(parts, ", "));
}

/// "sub_cards" for "sub-cards".
std::string json_key(std::string_view words) {
    std::string key(words);
    std::ranges::transform(key, key.begin(), [](unsigned char c) {
        return std::isalpha(c) != 0 ? static_cast<char>(std::tolower(c)) : '_';
    });
    return key;
}

}  // namespace

void print_report(std::FILE *out, const Report &report, bool all) {
    Lines last = wrapped(looked_text(report), text_width(), 0);
    if (!report.unjudged.empty()) {
        const Lines more = wrapped(fmt::format("The board configures no limit for: {}.",
                                               dfd_tools::joined(report.unjudged, ", ")),
                                   text_width(), 0);
        last.insert(last.end(), more.begin(), more.end());
    }
    // Beside these stand the first line, the one that tells how much more there is, and the prompt.
    const std::size_t taken = last.size() + 3;
    const std::size_t screen = all ? SIZE_MAX : screen_height(out).value_or(SIZE_MAX);
    std::size_t room = screen - std::min(screen, taken);
    const std::vector<FindingGroup> groups = grouped(report.findings);
    fmt::print(out, "{}\n", headline(report));
    for (std::size_t i = 0; i < groups.size(); ++i) {
        const Lines lines = lines_of(groups[i]);
        if (i > 0 && lines.size() > room) {
            fmt::print(out, "{} more: 'dfdctl check --all' shows them\n", groups.size() - i);
            break;
        }
        fmt::print(out, "{}\n", dfd_tools::joined(lines, "\n"));
        room -= std::min(room, lines.size());
    }
    fmt::print(out, "{}\n", dfd_tools::joined(last, "\n"));
}

Json report_json(const Report &report) {
    Json findings = Json::array();
    for (const Finding &finding : report.findings) {
        findings.push_back({{"severity", severity_name(finding.severity)},
                            {"word", finding.word},
                            {"unit", finding.unit},
                            {"what", finding.what},
                            {"reading", to_json(finding.value)},
                            {"limit", finding.limit ? Json(*finding.limit) : Json()},
                            {"items", finding.items},
                            {"device", text_or_null(finding.device)},
                            {"errno", text_or_null(finding.error)}});
    }
    Json looked = Json::object();
    for (const Looked &units : report.looked) {
        looked[json_key(units.many)] = {{"present", units.present},
                                        {"total", units.total},
                                        {"presence_unreadable", units.unsure},
                                        {"presence_not_configured", units.untold}};
    }
    return {
        {"healthy", report.is_healthy()},          {"reachable", !report.is_unreachable},
        {"alarms", report.count(Severity::alarm)}, {"warnings", report.count(Severity::warning)},
        {"notes", report.count(Severity::note)},   {"findings", std::move(findings)},
        {"looked_at", std::move(looked)},          {"without_limit", report.unjudged}};
}

}  // namespace dfdctl::check
