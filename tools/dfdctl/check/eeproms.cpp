// SPDX-License-Identifier: MIT
// Inventory EEPROMs: silent, blank or damaged.
#include <dfd/inventory.h>
#include <dfd/records.h>
#include <algorithm>
#include <array>

#include "dfdctl/board/read_pass.hpp"
#include "dfdctl/board/write_protection.hpp"
#include "dfdctl/check/report.hpp"
#include "eeprom/decode.hpp"
#include "hal/board_bus.h"
#include "hal/facts.h"

#include <fmt/format.h>

namespace dfdctl::check {

namespace {

constexpr std::size_t kImageSize = 256;

enum class Presence { plugged, absent, unknown };

/// An EEPROM that the board describes.
struct Memory {
    std::string unit;          ///< "tray 2"
    std::optional<Item> item;  ///< that describes it; the board's own has none
    int mode;                  ///< enum info_ctrl_mode; none: no layout that could be checked
    std::string device;
    std::uint16_t address;
    Presence presence = Presence::plugged;
    bool is_optional = false;  ///< the board may do without

    std::string place() const { return fmt::format("{} 0x{:02x}", device, address); }
};

struct Family {
    UnitKind kind;
    std::uint32_t item;
    const char *section;  ///< that tells whether the unit is plugged
};

constexpr std::array kFamilies = {
    Family{UnitKind::tray, DFD_KEY_FAN_TYPE, "trays"},
    Family{UnitKind::supply, DFD_KEY_POWER_TYPE, "supplies"},
    Family{UnitKind::sub_slot, DFD_KEY_SSLOT_E2PROM, "sub_cards"},
};

/// What a page says of a unit; one whose presence nothing tells counts as plugged.
Presence noted_presence(const Report &report, std::string_view section_key, std::uint32_t number) {
    Presence presence = Presence::plugged;
    each_cell(report.pages, [&](const Section &section, const Row &row, std::size_t i) {
        if (section.key != section_key || row.place.index1 != number) {
            return;
        }
        if (row.cells[i].status == Status::absent) {
            presence = Presence::absent;
        } else if (section.columns[i].is_presence && row.cells[i].failed()) {
            presence = Presence::unknown;
        }
    });
    return presence;
}

/// Sub-cards are read as TLV images whatever their items say.
int layout_of(const Family &family, const info_ctrl_t &record) {
    return family.kind == UnitKind::sub_slot ? int{INFO_CTRL_MODE_TLV} : int{record.mode};
}

void add_family(const Family &family, const LoadRecord &record, const Report &report,
                std::vector<Memory> &memories) {
    for (const Item &item : items_of(record, family.item)) {
        const auto &described = *record_of<info_ctrl_t>(item);
        const int mode = layout_of(family, described);
        if (!dfd::is_e2prom_mode(mode) || described.fpath[0] == '\0') {
            continue;
        }
        memories.push_back({fmt::format("{} {}", word_of(family.kind), item.index1), item, mode,
                            described.fpath, static_cast<std::uint16_t>(described.addr),
                            noted_presence(report, family.section, item.index1)});
    }
}

std::vector<Memory> memories_of(const LoadRecord &record, const Report &report) {
    std::vector<Memory> memories = {{.unit = "board",
                                     .item = {},
                                     .mode = INFO_CTRL_MODE_TLV,
                                     .device = dfd::kBoardBus,
                                     .address = dfd::kBoardE2promAddr,
                                     .is_optional = dfd_dev_type_from_product_id() > 0}};
    for (const Family &family : kFamilies) {
        add_family(family, record, report, memories);
    }
    for (std::uint32_t id = dfd::kFirstBackplane; id <= dfd::kLastBackplane; ++id) {
        const Item item = item_of(DFD_KEY_BP_E2PROM_DEV, id);
        if (const auto *dev = record_of<i2c_dev_t>(item)) {
            memories.push_back({fmt::format("backplane {}", id), item, INFO_CTRL_MODE_NONE,
                                dfd::BusPath(dev->bus).text,
                                static_cast<std::uint16_t>(dev->addr)});
        }
    }
    return memories;
}

/// The faults of an image in its layout, each with its offset; empty where there are none, or the
/// layout has no check.
std::string damage_of(int mode, const eeprom::Decoded &decoded) {
    constexpr std::size_t kMost = 3;
    if (mode != INFO_CTRL_MODE_TLV && mode != INFO_CTRL_MODE_FRU) {
        return {};
    }
    std::string text;
    for (std::size_t i = 0; i < std::min(decoded.faults.size(), kMost); ++i) {
        text += fmt::format("{}0x{:02x}: {}", i == 0 ? "" : "; ", decoded.faults[i].offset,
                            decoded.faults[i].text);
    }
    const std::size_t more = decoded.faults.size() - std::min(decoded.faults.size(), kMost);
    return more == 0 ? text
                     : fmt::format("{}; {} more, 'dfdctl eeprom verify' lists them", text, more);
}

eeprom::Hint hint_of(const Memory &memory) {
    using eeprom::Layout;
    return {.layout = memory.mode == INFO_CTRL_MODE_TLV   ? Layout::tlv
                      : memory.mode == INFO_CTRL_MODE_FRU ? Layout::fru
                                                          : Layout::unknown};
}

Finding eeprom_finding(Severity severity, const char *word, const Memory &memory,
                       std::string what) {
    Finding finding{severity, word, memory.unit + " EEPROM", std::move(what)};
    finding.device = memory.place();
    finding.is_of_device = true;
    if (memory.item) {
        finding.items.push_back(memory.item->name());
    }
    return finding;
}

void look_at_absent(const Memory &memory, Report &report) {
    std::uint8_t byte = 0;
    if (dfd_read_e2prom(memory.device.c_str(), memory.address, 0, &byte, 1) == DFD_OK) {
        report.findings.push_back(eeprom_finding(
            Severity::warning, "UNSURE", memory,
            "it answers, though the presence of the unit reads absent: a bad contact?"));
    }
}

/// What its device costs beside it is told in one line with it.
Lost silent(const Memory &memory, const ReadingScope &scope) {
    return {.what = memory.unit + " EEPROM",
            .reading = scope.explained(
                failure(Status::io_error, DFD_ERR_IO, "the EEPROM does not answer")),
            .item = memory.item,
            .is_eeprom = true,
            .is_optional = memory.is_optional};
}

/// Whether it answers.
bool look_at_plugged(const Memory &memory, Report &report) {
    eeprom::Bytes image(kImageSize);
    const ReadingScope scope;
    if (dfd_read_e2prom(memory.device.c_str(), memory.address, 0, image.data(), kImageSize) !=
        DFD_OK) {
        report.lost.push_back(silent(memory, scope));
        return false;
    }
    report.alive.insert(memory.device);
    const eeprom::Decoded decoded = eeprom::decode(image, hint_of(memory));
    if (decoded.is_blank) {
        report.findings.push_back(eeprom_finding(
            Severity::warning, "BLANK", memory,
            fmt::format("all bytes are 0x{:02x}: it was never written, or erased", image[0])));
    } else if (const std::string damage = damage_of(memory.mode, decoded); !damage.empty()) {
        report.findings.push_back(eeprom_finding(Severity::warning, "DAMAGED", memory, damage));
    }
    return true;
}

/// As a change that did not come to its end leaves it.
void look_at_protection(Report &report) {
    for (const ProtectionGroup &group : protection_groups()) {
        for (const Item &signal : group.signals()) {
            if (is_lifted(signal) != true) {
                continue;
            }
            Finding finding{Severity::note, "WRITABLE", group.unit_of(signal) + " EEPROM",
                            fmt::format("its write protection is lifted: 'dfdctl write-protect {} "
                                        "on' protects it",
                                        group.name)};
            finding.device = place_of(signal);
            finding.items = {signal.name()};
            report.findings.push_back(std::move(finding));
        }
    }
}

}  // namespace

void look_at_eeproms(const LoadRecord &record, Report &report) {
    Looked looked{"EEPROM", "EEPROMs"};
    for (const Memory &memory : memories_of(record, report)) {
        ++looked.total;
        looked.unsure += memory.presence == Presence::unknown ? 1 : 0;
        if (memory.presence == Presence::plugged) {
            looked.present += look_at_plugged(memory, report) ? 1 : 0;
        } else if (memory.presence == Presence::absent) {
            look_at_absent(memory, report);
        }
    }
    report.looked.push_back(looked);
    look_at_protection(report);
}

}  // namespace dfdctl::check
