// SPDX-License-Identifier: MIT
// Inventory EEPROMs: silent, blank or damaged.
#include <dfd/inventory.h>
#include <dfd/records.h>
#include <algorithm>
#include <array>

#include "dfdctl/board/read_pass.hpp"
#include "dfdctl/check/report.hpp"
#include "hal/board_bus.h"
#include "hal/e2prom/fru_image.h"
#include "hal/facts.h"

#include <fmt/format.h>

namespace dfdctl::check {

namespace {

constexpr std::size_t kImageSize = 256;
constexpr std::uint8_t kErased = 0xFF;

/// The library, when it logs, looks at the byte behind a broken area.
using Image = std::array<std::uint8_t, kImageSize + 1>;

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

bool is_blank(const Image &image) {
    const std::uint8_t first = image.front();
    return (first == 0 || first == kErased) &&
           std::all_of(image.begin(), image.begin() + kImageSize,
                       [first](std::uint8_t byte) { return byte == first; });
}

/// By the library's own verdict, which takes a TLV image of version 2 as it is.
bool is_tlv(const Memory &memory) {
    std::array<std::uint8_t, DFD_TLV_HEADER_SIZE> header = {};
    return dfd_get_e2prom_info(memory.device.c_str(), memory.address, header.data()) == DFD_OK;
}

/// Header and product area, the one that the library reads.
bool is_fru(const Image &image) {
    namespace fru = dfd::fru;
    if (ipmi_validate_common_hdr(image.data(), DFD_FRU_HEADER_SIZE) != DFD_OK) {
        return false;
    }
    const std::size_t at = image[fru::kProductOffsetAt] * std::size_t{fru::kBlockBytes};
    if (at == 0 || at + fru::kAreaLengthAt >= kImageSize) {
        return false;
    }
    const std::size_t size = image[at + fru::kAreaLengthAt] * std::size_t{fru::kBlockBytes};
    return size != 0 && at + size <= kImageSize &&
           verify_fru_data(&image[at], static_cast<int>(size)) == DFD_OK;
}

/// Why an image is none of its layout; empty when it is one, or has no check. Where a FRU image is
/// damaged the library looks for a TLV image.
std::string damage_of(const Memory &memory, const Image &image) {
    switch (memory.mode) {
        case INFO_CTRL_MODE_TLV:
            return is_tlv(memory) ? "" : "no valid TLV image: flag, length or checksum is wrong";
        case INFO_CTRL_MODE_FRU:
            return is_fru(image) || is_tlv(memory)
                       ? ""
                       : "no valid FRU image: header or product area is damaged";
        default:
            return {};
    }
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
    Image image = {};
    const ReadingScope scope;
    if (dfd_read_e2prom(memory.device.c_str(), memory.address, 0, image.data(), kImageSize) !=
        DFD_OK) {
        report.lost.push_back(silent(memory, scope));
        return false;
    }
    report.alive.insert(memory.device);
    if (is_blank(image)) {
        report.findings.push_back(eeprom_finding(
            Severity::warning, "BLANK", memory,
            fmt::format("all bytes are 0x{:02x}: it was never written, or erased", image[0])));
    } else if (const std::string damage = damage_of(memory, image); !damage.empty()) {
        report.findings.push_back(eeprom_finding(Severity::warning, "DAMAGED", memory, damage));
    }
    return true;
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
}

}  // namespace dfdctl::check
