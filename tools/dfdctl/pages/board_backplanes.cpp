// SPDX-License-Identifier: MIT
// The backplanes' records, from their EEPROM or item by item.
#include <dfd/inventory.h>
#include <dfd/records.h>
#include <array>

#include "common/text.hpp"
#include "dfdctl/board/describe.hpp"
#include "dfdctl/board/item_value.hpp"
#include "dfdctl/board/read_pass.hpp"
#include "dfdctl/pages/board_page.hpp"
#include "hal/board_bus.h"
#include "hal/facts.h"

#include <fmt/format.h>

namespace dfdctl {

namespace {

constexpr std::size_t kMacSize = 6;

Reading mac_reading(std::span<const std::uint8_t> mac) {
    return {.value = dfd_tools::hex_text(mac, ':'),
            .bytes = {mac.begin(), mac.end()},
            .contents = is_blank(mac) ? Contents::blank : Contents::text};
}

/// The library hides a failed read of the record: it hands out zeros.
Backplane record_backplane(std::uint32_t id, const i2c_dev_t &dev) {
    Backplane backplane{.id = id,
                        .source = BackplaneSource::record,
                        .place = fmt::format("EEPROM /dev/i2c-{} 0x{:02x}", dev.bus, dev.addr)};
    const ReadingScope scope;
    backplane_info_t record = {};
    sdd_get_backplane_info(id, &record);
    if (scope.failed() != nullptr) {
        backplane.fill(scope.explained(failure(Status::io_error, DFD_ERR_IO, "")));
        return backplane;
    }
    const std::span bytes(reinterpret_cast<const std::uint8_t *>(&record), sizeof record);
    if (const std::string blank = blankness(bytes); !blank.empty()) {
        backplane.fill(bad_eeprom(dfd::BusPath(static_cast<std::uint32_t>(dev.bus)).text,
                                  static_cast<std::uint16_t>(dev.addr), DFD_OK, "is " + blank));
        return backplane;
    }
    backplane.type = {.value = std::int64_t{record.chassis_type}};
    backplane.version = buffer_reading(record.hw_ver);
    backplane.serial = buffer_reading(record.sn);
    backplane.mac = mac_reading(record.mac);
    for (const std::uint8_t serial : record.serial) {
        backplane.serials.push_back({.value = std::int64_t{serial}});
    }
    return backplane;
}

Reading optional_item(std::uint32_t type, std::uint32_t id) {
    const Item item = item_of(type, id);
    return record_of<info_ctrl_t>(item) != nullptr ? read_item(item) : no_information();
}

/// The address of the item plus the board's own offset.
Reading mac_item(std::uint32_t id) {
    if (record_of<info_ctrl_t>(item_of(DFD_KEY_BACKPLANE_MAC, id)) == nullptr) {
        return no_information();
    }
    std::array<std::uint8_t, kMacSize> mac = {};
    return sdd_get_bp_mac(id, mac.data()) == DFD_OK ? mac_reading(mac)
                                                    : optional_item(DFD_KEY_BACKPLANE_MAC, id);
}

Backplane item_backplane(std::uint32_t id) {
    Backplane backplane{.id = id,
                        .source = BackplaneSource::items,
                        .place = "items backplane_*",
                        .version = optional_item(DFD_KEY_BACKPLANE_HW_VER, id),
                        .serial = optional_item(DFD_KEY_BACKPLANE_SN, id),
                        .mac = mac_item(id)};
    for (std::uint32_t which = 0; which < Backplane::kSerials; ++which) {
        backplane.serials.push_back(optional_item(DFD_KEY_BACKPLANE_SERIAL0 + which, id));
    }
    return backplane;
}

bool has_items(std::uint32_t id) {
    for (std::uint32_t type = DFD_KEY_BACKPLANE_HW_VER; type <= DFD_KEY_BACKPLANE_SERIAL3; ++type) {
        if (record_of<info_ctrl_t>(item_of(type, id)) != nullptr) {
            return true;
        }
    }
    return false;
}

}  // namespace

void Backplane::fill(const Reading &reading) {
    type = version = serial = mac = reading;
    serials.assign(kSerials, reading);
}

std::vector<Backplane> find_backplanes() {
    std::vector<Backplane> backplanes;
    for (std::uint32_t id = dfd::kFirstBackplane; id <= dfd::kLastBackplane; ++id) {
        if (const auto *dev = record_of<i2c_dev_t>(item_of(DFD_KEY_BP_E2PROM_DEV, id))) {
            backplanes.push_back(record_backplane(id, *dev));
        } else if (has_items(id)) {
            backplanes.push_back(item_backplane(id));
        }
    }
    return backplanes;
}

}  // namespace dfdctl
