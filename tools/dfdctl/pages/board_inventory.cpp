// SPDX-License-Identifier: MIT
// Inventory of the board and of what is plugged into it.
#include <dfd/access.h>
#include <dfd/driver.h>
#include <dfd/framework.h>
#include <dfd/inventory.h>
#include <dfd/power.h>
#include <dfd/records.h>
#include <algorithm>
#include <array>

#include "dfdctl/board/describe.hpp"
#include "dfdctl/board/item_value.hpp"
#include "dfdctl/board/read_pass.hpp"
#include "dfdctl/board/units.hpp"
#include "dfdctl/board/value_words.hpp"
#include "dfdctl/pages/board_page.hpp"
#include "hal/board_bus.h"
#include "hal/facts.h"

#include <fmt/format.h>

namespace dfdctl {

namespace {

constexpr std::size_t kTypeByte = 3;
constexpr std::size_t kAddendByte = 7;
constexpr std::size_t kSubTypeByte = 64;

/// A family of units and the items that describe their EEPROMs; 0: there is none.
struct Family {
    const char *name;
    std::uint32_t type;
    std::uint32_t serial;
    std::uint32_t version;
    Legacy legacy;
};

constexpr std::array kFamilies = {
    Family{"fan", DFD_KEY_FAN_TYPE, DFD_KEY_FAN_SN, DFD_KEY_FAN_HW_VER, Legacy::fan},
    Family{"power", DFD_KEY_POWER_TYPE, DFD_KEY_POWER_SN, DFD_KEY_POWER_HW_VER, Legacy::power},
    Family{"sub-card", DFD_KEY_SSLOT_E2PROM, 0, 0, Legacy::none},
};

/// An item's value; where the family has no such item, what the unit's EEPROM says.
Reading detail(std::uint32_t type, std::uint32_t index, const std::optional<Eeprom> &eeprom,
               std::uint32_t info) {
    const Item item = item_of(type, index);
    if (type != 0 && record_of<info_ctrl_t>(item) != nullptr) {
        return read_item(item);
    }
    const bool has_it = eeprom && eeprom->mode != INFO_CTRL_MODE_LEGACY;
    return has_it ? read_inventory(*eeprom, info) : no_information();
}

/// The legacy layout of fans has no product name.
Reading product(const Eeprom &eeprom) {
    return eeprom.mode == INFO_CTRL_MODE_LEGACY ? no_information()
                                                : read_inventory(eeprom, E2PROM_INFO_NAME);
}

/// A supply's item holds its name; its type follows from that.
Reading power_type(const Item &item, const Reading &name) {
    const int type = name.ok() ? drv_get_power_type(item.index1) : DFD_ERR;
    if (type < 0) {
        return name;
    }
    if (type == DFD_POWER_TYPE_UNKNOWN) {
        return {.value = std::int64_t{type}, .meaning = kUnknownSupply};
    }
    const char *kind =
        record_of<char>(item_of(DFD_KEY_POWER_DC_AC, static_cast<std::uint32_t>(type)));
    return {.value = std::int64_t{type}, .meaning = kind != nullptr ? kind : ""};
}

Unit family_unit(const Family &family, std::uint32_t index, const info_ctrl_t &record) {
    Unit unit{.name = family.name, .index = index, .device = {}};
    const Item type_item = item_of(family.type, index);
    const bool is_supply = family.legacy == Legacy::power;
    const Reading value = read_item(type_item);
    unit.type = is_supply ? power_type(type_item, value) : value;
    std::optional<Eeprom> eeprom;
    if (dfd::is_e2prom_mode(record.mode)) {
        eeprom = eeprom_of(type_item, record);
        unit.layout = record.mode;
        unit.device = record.fpath;
        unit.address = eeprom->address;
    }
    if (unit.absent()) {
        return unit;
    }
    if (is_supply) {
        unit.product = value;
    } else if (eeprom) {
        unit.product = product(*eeprom);
    }
    unit.serial = detail(family.serial, index, eeprom, E2PROM_INFO_SN);
    unit.version = detail(family.version, index, eeprom, E2PROM_INFO_HW_VER);
    return unit;
}

std::string contents_of(const BoardHeader &header) {
    const std::array bytes = {header.layout, header.flag, header.type_byte, header.addend_byte,
                              header.sub_type_byte};
    if (const std::string blank = blankness(bytes); !blank.empty()) {
        return "the board's EEPROM is " + blank;
    }
    return fmt::format(
        "the board's EEPROM holds no board type (byte 0 = 0x{:02x}, byte 1 = "
        "0x{:02x})",
        header.layout, header.flag);
}

}  // namespace

Unit find_board_unit() {
    Unit unit{
        .name = "board", .index = {}, .device = dfd::kBoardBus, .address = dfd::kBoardE2promAddr};
    const ReadingScope scope;
    const auto header = read_board_header();
    if (!header) {
        unit.type = scope.explained(failure(Status::io_error, DFD_ERR_IO, "it does not answer"));
        unit.product = unit.serial = unit.version = unit.type;
    } else if (header->is_tlv()) {
        const Eeprom eeprom{INFO_CTRL_MODE_TLV, dfd::kBoardBus, dfd::kBoardE2promAddr};
        unit.layout = INFO_CTRL_MODE_TLV;
        unit.product = read_inventory(eeprom, E2PROM_INFO_NAME);
        unit.serial = read_inventory(eeprom, E2PROM_INFO_SN);
        unit.version = read_inventory(eeprom, E2PROM_INFO_HW_VER);
        unit.type = read_inventory(eeprom, E2PROM_INFO_DEV_TYPE);
    } else if (const int type = dfd_my_type_from_e2(); type > 0) {
        unit.layout = INFO_CTRL_MODE_LEGACY;
        unit.type = {.value = std::int64_t{type}};
    } else {
        unit.type = scope.explained(failure(Status::bad_data, type, contents_of(*header)));
    }
    return unit;
}

bool BoardHeader::is_tlv() const {
    return (layout == 1 || layout == 2) && flag == dfd::tlv::kFlag;
}

std::optional<BoardHeader> read_board_header() {
    std::array<std::uint8_t, kSubTypeByte + 1> bytes = {};
    if (dfd_read_e2prom(dfd::kBoardBus, dfd::kBoardE2promAddr, 0, bytes.data(), bytes.size()) !=
        DFD_OK) {
        return std::nullopt;
    }
    return BoardHeader{bytes[0], bytes[1], bytes[kTypeByte], bytes[kAddendByte],
                       bytes[kSubTypeByte]};
}

std::vector<Unit> find_units(const LoadRecord &record) {
    std::vector<Unit> units;
    units.push_back(find_board_unit());
    for (const Family &family : kFamilies) {
        for (const Item &item : items_of(record, family.type)) {
            units.push_back(family_unit(family, item.index1, *record_of<info_ctrl_t>(item)));
        }
    }
    return units;
}

}  // namespace dfdctl
