// SPDX-License-Identifier: MIT
// Power supplies, and the figures of the whole system.
#include <dfd/driver.h>
#include <dfd/power.h>

#include "dfdctl/show/table_page.hpp"

namespace dfdctl {

namespace {

constexpr int kThousandths = 1000;

/// The type's current kind, AC or DC.
Answer current_kind(const Place &place) {
    const int type = drv_get_power_type(place.index1);
    if (type < 0) {
        return {.code = type};
    }
    const char *kind =
        record_of<char>(item_of(DFD_KEY_POWER_DC_AC, static_cast<std::uint32_t>(type)));
    return kind != nullptr ? Answer{.value = std::string(kind)}
                           : Answer{.value = std::string("unknown")};
}

constexpr Column kSystem[] = {
    {.key = "rated",
     .heading = "rated power",
     .item = DFD_KEY_SYS_POWER_RSUPPLY,
     .read = by_pointer<drv_get_sys_power_rsupply>},
    {.key = "output",
     .heading = "output power",
     .item = DFD_KEY_SYS_POWER_OSUPPLY,
     .read = by_pointer<drv_get_sys_power_osupply>},
    {.key = "spare",
     .heading = "spare power",
     .item = DFD_KEY_SYS_POWER_SSUPPLY,
     .read = by_pointer<drv_get_sys_power_ssupply>},
    {.key = "redundant",
     .heading = "redundant supplies",
     .item = DFD_KEY_SYS_POWER_RDN_NUM,
     .read = by_pointer<drv_get_sys_power_rdn_num>},
    {.key = "mixed",
     .heading = "mixed supplies",
     .item = DFD_KEY_SYS_POWER_MIX_STATE,
     .read = by_pointer<drv_get_sys_power_mix_state>},
    {.key = "lacking",
     .heading = "power is lacking",
     .item = DFD_KEY_SYSTEM_POWER_LACK,
     .read = by_pointer<drv_get_sys_power_lack_state>,
     .words = kNoYes},
    {.key = "bypass",
     .heading = "system bypass",
     .item = DFD_KEY_POWER_BYPASS_STATE,
     .read = by_pointer<drv_get_system_bypass_state>},
    {.key = "modules",
     .heading = "supplies are modules",
     .item = DFD_KEY_IS_MODULE_POWER,
     .read = by_pointer<drv_get_is_module_power, std::uint8_t>,
     .words = kNoYes},
};

constexpr LabelColumn kSupplyLabel[] = {{"supply", "supply", first_index}};

constexpr Column kState{.key = "state",
                        .heading = "state",
                        .item = DFD_KEY_POWER_STATE,
                        .read = by_result<drv_get_power_status>,
                        .words = kSupplyStates,
                        .is_presence = true};

constexpr Column kSupplies[] = {
    kState,
    {.key = "name",
     .heading = "name",
     .item = DFD_KEY_POWER_TYPE,
     .read = by_text<drv_get_power_name>},
    {.key = "type",
     .heading = "type",
     .item = DFD_KEY_POWER_TYPE,
     .read = by_result<drv_get_power_type>},
    {.key = "current", .heading = "current", .item = DFD_KEY_POWER_TYPE, .read = current_kind},
    {.key = "serial_number",
     .heading = "serial number",
     .item = DFD_KEY_POWER_SN,
     .read = by_text<drv_get_power_sn>},
    {.key = "hw_version",
     .heading = "hw version",
     .item = DFD_KEY_POWER_HW_VER,
     .read = by_text<drv_get_power_hw_version>},
    {.key = "sw_version",
     .heading = "sw version",
     .item = DFD_KEY_POWER_SW_VER,
     .read = by_text<drv_get_power_sw_version>},
    {.key = "bypass",
     .heading = "bypass",
     .item = DFD_KEY_BYPASS_STATE,
     .read = by_pointer<drv_get_bypass_power_state>},
};

constexpr Column kTelemetry[] = {
    kState,
    {.key = "input_voltage", .heading = "input", .item = DFD_KEY_POWER_IN_VOLTAGE},
    {.key = "input_current", .heading = "input current", .item = DFD_KEY_POWER_IN_CURRENT},
    {.key = "output_voltage", .heading = "output", .item = DFD_KEY_POWER_OUT_VOLTAGE},
    {.key = "output_current", .heading = "output current", .item = DFD_KEY_POWER_OUT_CURRENT},
    {.key = "output_power",
     .heading = "output power",
     .item = DFD_KEY_POWER_OUT_CURRENT,
     .read = by_result<drv_get_power_osupply>,
     .unit = "W",
     .scale = kThousandths},
    {.key = "rated_power", .heading = "rated power", .item = DFD_KEY_POWER_RATE_SUPPLY},
    {.key = "temperature", .heading = "temperature", .item = DFD_KEY_POWER_TEMP},
};

constexpr Section kSections[] = {
    {.key = "system", .title = "Power of the system", .columns = kSystem},
    {.key = "supplies",
     .title = "Power supplies",
     .rows = rows_of<UnitKind::supply>,
     .labels = kSupplyLabel,
     .columns = kSupplies},
    {.key = "telemetry",
     .title = "Measurements",
     .rows = rows_of<UnitKind::supply>,
     .labels = kSupplyLabel,
     .columns = kTelemetry},
};

}  // namespace

std::span<const Section> power_sections() {
    return kSections;
}

}  // namespace dfdctl
