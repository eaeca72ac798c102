// SPDX-License-Identifier: MIT
// Interrupts: sources, the status registers on the way to them, masks.
//
// A source is bit i of level 1, bit j of level 2 and bit k of level 3: index1 i * 256 + j, index2
// k. Where a level has no status register the way ends, and its bit is reported with 0 below it.
#include <dfd/keys.h>
#include <dfd/records.h>
#include <algorithm>
#include <array>
#include <set>

#include "dfdctl/board/describe.hpp"
#include "dfdctl/lint/lines.hpp"
#include "dfdctl/lint/survey.hpp"
#include "dfdctl/lint/together.hpp"

#include <fmt/format.h>

namespace dfdctl::lint {

namespace {

constexpr std::uint32_t kBits = 8;
constexpr std::uint32_t kByteBits = 8;
constexpr std::uint32_t kByte = 0xFF;
constexpr int kIrqType = 0;
constexpr int kIrqUnit = 1;
constexpr int kControllerMembers = 3;
constexpr int kMaxControllers = 5;

struct Source {
    std::uint32_t i;
    std::uint32_t j;
    std::uint32_t k;

    bool is_in_table() const { return i < kBits && j < kBits && k < kBits; }
};

Source source_of(const Item &item) {
    return {item.index1 >> kByteBits, item.index1 & kByte, item.index2};
}

bool has_status(std::uint32_t i) {
    return has(DFD_KEY_2ND_IRQ_STATUS, i);
}
bool has_status(std::uint32_t i, std::uint32_t j) {
    return has(DFD_KEY_3RD_IRQ_STATUS, i, j);
}

/// The status register that is missing on the way to a source, or empty.
std::string missing_status(const Source &source) {
    if (!has_status(source.i)) {
        return source.j != 0 || source.k != 0 ? fmt::format("2nd_irq_status_{}", source.i) : "";
    }
    return source.k != 0 && !has_status(source.i, source.j)
               ? fmt::format("3rd_irq_status_{}_{}", source.i, source.j)
               : "";
}

/// The register that is cleared when a source was reported.
Item clear_of(const Source &source) {
    if (!has_status(source.i)) {
        return item_of(DFD_KEY_1ST_IRQ_CLEAR);
    }
    return has_status(source.i, source.j) ? item_of(DFD_KEY_3RD_IRQ_CLEAR, source.i, source.j)
                                          : item_of(DFD_KEY_2ND_IRQ_CLEAR, source.i);
}

void check_source(Check &check, const Item &item, std::set<std::uint32_t> &said_clear) {
    const Source source = source_of(item);
    if (!is_set(check, item, kIrqType)) {
        check.at_item("irq-without-type", item.key(),
                      fmt::format("{} has no .type: it is reported as card, and masked as card",
                                  as_written(item)));
    }
    if (!source.is_in_table()) {
        check.at_item("irq-outside", item.key(),
                      fmt::format("{} is bit {} of level 1, {} of level 2 and {} of level 3: a "
                                  "register has bits 0 to 7, so it is never reported; index1 is "
                                  "level 1 * 0x100 + level 2",
                                  as_written(item), source.i, source.j, source.k));
        return;
    }
    if (const std::string status = missing_status(source); !status.empty()) {
        check.at_item("irq-without-status", item.key(),
                      fmt::format("{} is never reported: without {} the level above is reported "
                                  "with bit 0 below it",
                                  as_written(item), status));
        return;
    }
    const Item clear = clear_of(source);
    if (!has(clear.type->type, clear.index1, clear.index2) &&
        said_clear.insert(clear.key()).second) {
        check.at_item("irq-without-clear", item.key(),
                      fmt::format("{}, but no {}: the interrupt is reported and stays pending, "
                                  "unless reading its status clears it",
                                  as_written(item), as_written(clear)));
    }
}

/// Registers below level 1.
struct Level {
    std::uint32_t type;
    bool is_third;
    bool is_clear;
};
constexpr std::array kLevels = {
    Level{DFD_KEY_2ND_IRQ_STATUS, false, false}, Level{DFD_KEY_2ND_IRQ_CLEAR, false, true},
    Level{DFD_KEY_3RD_IRQ_STATUS, true, false}, Level{DFD_KEY_3RD_IRQ_CLEAR, true, true}};

/// Why the library never comes to a register; empty when it does.
std::string unreached(const Level &level, const Item &item) {
    if (item.index1 >= kBits || item.index2 >= kBits) {
        return "a register has bits 0 to 7";
    }
    if (level.is_third && !has_status(item.index1)) {
        return fmt::format("there is no 2nd_irq_status_{} above it", item.index1);
    }
    const bool has_own =
        level.is_third ? has_status(item.index1, item.index2) : has_status(item.index1);
    return level.is_clear && !has_own ? "there is no status register in its place" : "";
}

void check_levels(Check &check) {
    for (const Level &level : kLevels) {
        for (const Item &item : configured(check, level.type)) {
            if (const std::string why = unreached(level, item); !why.empty()) {
                check.at_item("irq-register-unreached", item.key(),
                              fmt::format("{} is never used: {}", as_written(item), why));
            }
        }
    }
}

/// The bit of a status register that leads to a source; 0 where it leads elsewhere.
std::uint32_t bit_towards(const Item &status, const Source &source) {
    switch (status.type->type) {
        case DFD_KEY_1ST_IRQ_STATUS:
            return source.i;
        case DFD_KEY_2ND_IRQ_STATUS:
            return source.i == status.index1 ? source.j : 0;
        default:
            return source.i == status.index1 && source.j == status.index2 ? source.k : 0;
    }
}

void check_status_field(Check &check, const Item &status, std::uint32_t bits) {
    const std::span<const Item> all_unseen = configured(check, DFD_KEY_IRQ_INFO);
    std::vector<Item> unseen(all_unseen.begin(), all_unseen.end());
    std::erase_if(unseen, [&](const Item &item) {
        const Source source = source_of(item);
        return !source.is_in_table() || bit_towards(status, source) < bits;
    });
    if (unseen.empty()) {
        return;
    }
    check.at_member("irq-status-field", status.key(), kFrmt,
                    fmt::format("{} is a field of {} bit{}: {}, bit {}, is never reported; write "
                                ".frmt=byte",
                                as_written(status), bits, bits == 1 ? "" : "s",
                                as_written(unseen[0]), bit_towards(status, source_of(unseen[0]))));
    // Nothing behind the bits is asked for either.
    for (const std::uint32_t type :
         {DFD_KEY_1ST_IRQ_CLEAR, DFD_KEY_2ND_IRQ_STATUS, DFD_KEY_2ND_IRQ_CLEAR,
          DFD_KEY_3RD_IRQ_STATUS, DFD_KEY_3RD_IRQ_CLEAR, DFD_KEY_IRQ_INFO}) {
        for (const Item &item : configured(check, type)) {
            check.explain(item.key());
        }
    }
}

/// Of a status register that is read as a field only the bits of the field are seen.
void check_status_fields(Check &check) {
    for (const std::uint32_t type :
         {DFD_KEY_1ST_IRQ_STATUS, DFD_KEY_2ND_IRQ_STATUS, DFD_KEY_3RD_IRQ_STATUS}) {
        for (const Item &status : configured(check, type)) {
            const auto &ctrl = *record_of<info_ctrl_t>(status);
            if (ctrl.frmt == INFO_FRMT_BIT && is_hardware_mode(ctrl.mode)) {
                check_status_field(check, status, ctrl.len);
            }
        }
    }
}

const irq_info_t *info_at(const Source &source) {
    return record_of<irq_info_t>(
        item_of(DFD_KEY_IRQ_INFO, source.i << kByteBits | source.j, source.k));
}

void check_mask(Check &check, const Item &item) {
    const Source source{item.index1 >> kByteBits, item.index1 & kByte, 0};
    if (!source.is_in_table()) {
        check.at_item("irq-outside", item.key(),
                      fmt::format("{} is never written: bits are 0 to 7, index1 is level 1 * 0x100 "
                                  "+ level 2",
                                  as_written(item)));
    } else if (info_at(source) == nullptr) {
        check.at_item(
            "irq-mask-alone", item.key(),
            fmt::format("{} belongs to source {}, which is not configured: it is switched "
                        "together with the sources of type card",
                        as_written(item), as_written(item_of(DFD_KEY_IRQ_INFO, item.index1))));
    }
}

/// index2 of a mask is k * 16 + entry, but no file can give more than 8: k is 0.
void check_unmaskable(Check &check, const Item &item) {
    const Source source = source_of(item);
    const Source first{source.i, source.j, 0};
    const irq_info_t *own = info_at(source);
    const irq_info_t *masked = info_at(first);
    if (source.k == 0 || !source.is_in_table() || !has(DFD_KEY_IRQ_MASK, item.index1) ||
        (masked != nullptr && masked->type == own->type)) {
        return;
    }
    check.at_item(
        "irq-mask-shared", item.key(),
        fmt::format("{} ({}) has no mask of its own: a file can give one to level 3 bit 0 "
                    "only, here {}, and that is switched with type {}",
                    as_written(item), irq_type_word(own->type),
                    as_written(item_of(DFD_KEY_IRQ_MASK, item.index1)),
                    irq_type_word(masked != nullptr ? masked->type : 0)));
}

/// Sources of units, whose number the handler gets as .val0, and the items that units have.
struct UnitSource {
    std::uint32_t type;
    std::uint32_t presence;
    std::uint32_t first;
};
constexpr std::array kUnitSources = {UnitSource{IRQ_TYPE_CARD, DFD_KEY_SLOT_ONLINE, 0},
                                     UnitSource{IRQ_TYPE_POWER, DFD_KEY_POWER_PRESENT, 1},
                                     UnitSource{IRQ_TYPE_FAN, DFD_KEY_FAN_STATE, 1},
                                     UnitSource{IRQ_TYPE_SFP, DFD_KEY_PORT_SFP_STATE, 0}};

/// Another number than is written is spoken of where the line is.
bool is_plain_number(const Check &check, const Item &item) {
    return judge_number(check.line_of(item.key(), kIrqUnit)->value).flaw == NumberText::Flaw::none;
}

void check_unit_number(Check &check, const Item &item, const UnitSource &of, bool is_usual) {
    const irq_info_t &info = *record_of<irq_info_t>(item);
    const std::span<const Item> units = configured(check, of.presence);
    if (!is_set(check, item, kIrqUnit)) {
        if (is_usual) {
            check.at_item("irq-without-unit", item.key(),
                          fmt::format("{} has no .val0, as others of type {} have: their handler "
                                      "takes it for unit 0",
                                      as_written(item), irq_type_word(info.type)));
        }
    } else if (!units.empty() && info.val0 > units.back().index1 && is_plain_number(check, item)) {
        check.at_member("irq-unit-beyond", item.key(), kIrqUnit,
                        fmt::format("{} is of {} {}, but the last one is {}", as_written(item),
                                    irq_type_word(info.type), info.val0, as_written(units.back())));
    } else if (!units.empty() && info.val0 < of.first && is_plain_number(check, item)) {
        check.at_member("irq-unit-beyond", item.key(), kIrqUnit,
                        fmt::format("{} is of {} {}, but units are numbered from {}: the first one "
                                    "is {}",
                                    as_written(item), irq_type_word(info.type), info.val0, of.first,
                                    as_written(units.front())));
    }
}

void check_unit_numbers(Check &check) {
    // Such a line may have been meant for any source.
    const std::set<Check::Place> misread = check.misread_lines();
    const bool is_misread = std::ranges::any_of(check.log().lines, [&](const SourceLine &line) {
        return line.row != nullptr && line.row->type == DFD_KEY_IRQ_INFO &&
               misread.contains(check.place_of(line));
    });
    for (const UnitSource &of : kUnitSources) {
        const std::span<const Item> all_sources = configured(check, DFD_KEY_IRQ_INFO);
        std::vector<Item> sources(all_sources.begin(), all_sources.end());
        std::erase_if(sources, [&](const Item &item) {
            return record_of<irq_info_t>(item)->type != of.type || !is_set(check, item, kIrqType);
        });
        const bool is_usual = !is_misread && std::ranges::any_of(sources, [&](const Item &item) {
            return is_set(check, item, kIrqUnit);
        });
        for (const Item &item : sources) {
            check_unit_number(check, item, of, is_usual);
        }
    }
}

void check_controllers(Check &check) {
    const int controllers = int_value(DFD_KEY_IRQ_CTRL_NUM, 1);
    if (controllers < 1 || controllers > kMaxControllers) {
        check.at_member("irq-controllers", item_of(DFD_KEY_IRQ_CTRL_NUM).key(),
                        dfd::watch::kNoMember,
                        fmt::format("{} controllers: there can be 1 to 5, else no interrupt is "
                                    "dispatched",
                                    controllers));
    }
    if (has_any(check, DFD_KEY_IRQ_INFO) && !has(DFD_KEY_1ST_IRQ_STATUS)) {
        check.at_item("irq-first-missing", configured(check, DFD_KEY_IRQ_INFO).front().key(),
                      "no 1st_irq_status: at each interrupt all eight bits of level 1 count as "
                      "pending");
    }
}

/// The flags say how status bits look and how they are cleared: 0 has a meaning.
void check_flags(Check &check) {
    for (const Item &item : configured(check, DFD_KEY_IRQ_CTRL_INFO)) {
        std::string missing;
        for (int member = 0; member < kControllerMembers; ++member) {
            if (!is_set(check, item, member)) {
                missing +=
                    fmt::format("{}{}", missing.empty() ? "" : ", ", irq_ctrl_mem_str[member]);
            }
        }
        if (!missing.empty()) {
            check.at_item("irq-member-missing", item.key(),
                          fmt::format("{} has no {}: such a flag is 0; write it, also when that is "
                                      "meant",
                                      as_written(item), missing));
        }
    }
}

}  // namespace

void check_irq_sources(Check &check) {
    std::set<std::uint32_t> said_clear;
    for (const Item &item : configured(check, DFD_KEY_IRQ_INFO)) {
        check_source(check, item, said_clear);
    }
    check_levels(check);
    check_status_fields(check);
    check_unit_numbers(check);
    check_controllers(check);
    check_flags(check);
}

void check_irq_masks(Check &check) {
    for (const Item &item : configured(check, DFD_KEY_IRQ_MASK)) {
        check_mask(check, item);
    }
    for (const Item &item : configured(check, DFD_KEY_IRQ_INFO)) {
        check_unmaskable(check, item);
    }
}

}  // namespace dfdctl::lint
