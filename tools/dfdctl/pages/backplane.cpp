// SPDX-License-Identifier: MIT
// The backplanes' records.
#include <dfd/inventory.h>
#include <algorithm>

#include "dfdctl/pages/board_page.hpp"
#include "dfdctl/pages/table_page.hpp"

namespace dfdctl {

namespace {

/// One look at the hardware for all columns: the library keeps the record anyway.
const std::vector<Backplane> &backplanes() {
    static const std::vector<Backplane> found = find_backplanes();
    return found;
}

const Backplane &backplane_at(const Place &place) {
    return *std::find_if(backplanes().begin(), backplanes().end(),
                         [&](const Backplane &found) { return found.id == place.index1; });
}

std::vector<Place> places(const LoadRecord & /*record*/) {
    std::vector<Place> list;
    for (const Backplane &backplane : backplanes()) {
        list.push_back({backplane.id, 0});
    }
    return list;
}

Reading place_label(const Place &place) {
    return {.value = backplane_at(place).place};
}

template <Reading Backplane::*Member>
Reading member(const Place &place) {
    return backplane_at(place).*Member;
}

template <std::size_t Which>
Reading serial(const Place &place) {
    return backplane_at(place).serials[Which];
}

constexpr LabelColumn kLabels[] = {{"number", "number", first_index},
                                   {"place", "place", place_label}};

constexpr Column kColumns[] = {
    {.key = "chassis_type",
     .heading = "chassis type",
     .ready = member<&Backplane::type>,
     .is_identity = true},
    {.key = "hw_version",
     .heading = "hw version",
     .ready = member<&Backplane::version>,
     .metric = "revision"},
    {.key = "serial_number",
     .heading = "serial number",
     .ready = member<&Backplane::serial>,
     .metric = "serial"},
    {.key = "mac", .heading = "mac", .ready = member<&Backplane::mac>},
    {.key = "serial0", .heading = "serial 0", .ready = serial<0>, .is_identity = true},
    {.key = "serial1", .heading = "serial 1", .ready = serial<1>, .is_identity = true},
    {.key = "serial2", .heading = "serial 2", .ready = serial<2>, .is_identity = true},
    {.key = "serial3", .heading = "serial 3", .ready = serial<3>, .is_identity = true},
};

constexpr Column kSystem[] = {
    {"mac_offset", "offset of the mac", DFD_KEY_BACKPLANE_SCALE_MAC,
     by_pointer<sdd_get_bp_scale_mac>},
};

constexpr Section kSections[] = {
    {.key = "system", .title = "MAC address", .columns = kSystem, .subject = "backplane"},
    {.key = "backplanes",
     .title = "Backplanes",
     .rows = places,
     .labels = kLabels,
     .columns = kColumns,
     .unit = numbered<UnitKind::backplane>,
     .subject = "backplane"},
};

}  // namespace

std::span<const Section> backplane_sections() {
    return kSections;
}

}  // namespace dfdctl
