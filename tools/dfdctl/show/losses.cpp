// SPDX-License-Identifier: MIT
// What failed transfers cost a page, once for each device.
#include <algorithm>

#include "dfdctl/output.hpp"
#include "dfdctl/show/text.hpp"

#include <fmt/format.h>

namespace dfdctl {

namespace {

constexpr std::size_t kMargin = 6;  // of the second line of a sentence
constexpr std::size_t kShown = 3;   ///< things that a device cost, of which there may be many

/// "1-4, 7"; units with names one by one.
std::string units_text(const std::vector<std::string> &units) {
    std::vector<std::string> parts = ranges_of(units);
    if (parts.size() > kShown) {
        parts.resize(kShown);
        parts.emplace_back("...");
    }
    return joined(parts, ", ");
}

/// "tray": "trays", "supply": "supplies".
std::string plural(const std::string &kind) {
    return kind.ends_with("ly") ? kind.substr(0, kind.size() - 1) + "ies" : kind + "s";
}

bool is_number(const Reading &label) {
    return std::holds_alternative<std::int64_t>(label.value);
}

}  // namespace

std::string Losses::text_of(const Lost &lost) {
    if (lost.units.empty()) {
        return lost.what;
    }
    if (lost.kind.empty()) {
        return fmt::format("{} of {}", lost.what, units_text(lost.units));
    }
    const std::string kind = lost.units.size() > 1 ? plural(lost.kind) : lost.kind;
    return fmt::format("{} of {} {}", lost.what, kind, units_text(lost.units));
}

void Losses::add(const Reading &reading, const std::string &what, const std::string &kind,
                 const std::string &unit) {
    if (!reading.failed() || !reading.cause) {
        return;
    }
    auto loss = std::ranges::find_if(losses_, [&](const Loss &each) {
        return each.cause.device() == reading.cause->device() &&
               each.cause.error == reading.cause->error;
    });
    if (loss == losses_.end()) {
        loss = losses_.insert(losses_.end(), Loss{*reading.cause});
    }
    ++loss->readings;
    auto lost = std::ranges::find_if(
        loss->lost, [&](const Lost &each) { return each.what == what && each.kind == kind; });
    if (lost == loss->lost.end()) {
        lost = loss->lost.insert(loss->lost.end(), Lost{what, kind, {}});
    }
    if (!unit.empty() && std::ranges::find(lost->units, unit) == lost->units.end()) {
        lost->units.push_back(unit);
    }
}

void Losses::add(const PageData &page) {
    for (const SectionData &data : page.sections) {
        const Section &section = *data.section;
        const bool has_unit = !section.labels.empty();
        for (const Row &row : data.rows) {
            // A rotor of a tray, and the like.
            const bool has_part =
                row.labels.size() > 1 && is_number(row.labels[0]) && is_number(row.labels[1]);
            for (std::size_t i = 0; i < row.cells.size(); ++i) {
                const std::string part =
                    has_part ? fmt::format("{} ", section.labels[1].heading) : std::string();
                add(row.cells[i], part + section.columns[i].heading,
                    has_unit ? section.labels[0].heading : "",
                    has_unit ? value_text(row.labels[0]) : "");
            }
        }
    }
}

void Losses::add(const BoardPage &page) {
    for (const Unit &unit : page.units) {
        const std::string name =
            unit.index ? fmt::format("{} {}", unit.name, *unit.index) : unit.name;
        for (const Reading *reading : {&unit.product, &unit.serial, &unit.version, &unit.type}) {
            add(*reading, "inventory", "", name);
        }
    }
    for (const Backplane &backplane : page.backplanes) {
        const std::string number = fmt::format("{}", backplane.id);
        for (const Reading *reading :
             {&backplane.type, &backplane.version, &backplane.serial, &backplane.mac}) {
            add(*reading, "record", "backplane", number);
        }
        for (const Reading &serial : backplane.serials) {
            add(serial, "record", "backplane", number);
        }
    }
    for (const Sample &sample : page.samples) {
        add(sample.reading, sample.item.name(), "", "");
    }
}

void Losses::print(std::FILE *out) const {
    if (losses_.empty()) {
        return;
    }
    print_heading(out, "Failed transfers");
    for (const Loss &loss : losses_) {
        std::vector<std::string> lost;
        for (const Lost &each : loss.lost) {
            lost.push_back(text_of(each));
        }
        if (lost.size() > kShown) {
            lost.resize(kShown);
            lost.emplace_back("...");
        }
        print_wrapped(
            out,
            fmt::format("  {}: {} ({} reading{}: {})", loss.cause.device(), words_of(loss.cause),
                        loss.readings, loss.readings == 1 ? "" : "s", joined(lost, ", ")),
            kMargin);
        if (const std::string advice = advice_of(loss.cause); !advice.empty()) {
            print_wrapped(out, "      " + advice, kMargin);
        }
    }
}

}  // namespace dfdctl
