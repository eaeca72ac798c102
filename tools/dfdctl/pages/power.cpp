// SPDX-License-Identifier: MIT
// Power supplies, and the figures of the whole system.
#include <dfd/driver.h>
#include <dfd/power.h>

#include "dfdctl/pages/table_page.hpp"

namespace dfdctl {

namespace {

Answer supply_type(const Place &place) {
    Answer type = by_result<drv_get_power_type>(place);
    if (type.value == decltype(type.value)(std::int64_t{DFD_POWER_TYPE_UNKNOWN})) {
        type.meaning = kUnknownSupply;
    }
    return type;
}

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

constexpr Column kPowerSystem[] = {
    {"rated", "rated power", DFD_KEY_SYS_POWER_RSUPPLY, by_pointer<drv_get_sys_power_rsupply>},
    {"output", "output power", DFD_KEY_SYS_POWER_OSUPPLY, by_pointer<drv_get_sys_power_osupply>},
    {"spare", "spare power", DFD_KEY_SYS_POWER_SSUPPLY, by_pointer<drv_get_sys_power_ssupply>},
    {"redundant", "redundant supplies", DFD_KEY_SYS_POWER_RDN_NUM,
     by_pointer<drv_get_sys_power_rdn_num>},
    {"mixed", "mixed supplies", DFD_KEY_SYS_POWER_MIX_STATE,
     by_pointer<drv_get_sys_power_mix_state>},
    {.key = "lacking",
     .heading = "power is lacking",
     .item = DFD_KEY_SYSTEM_POWER_LACK,
     .read = by_pointer<drv_get_sys_power_lack_state>,
     .words = kNoYes,
     .judge = judge_power_lack},
    {"bypass", "system bypass", DFD_KEY_POWER_BYPASS_STATE,
     by_pointer<drv_get_system_bypass_state>},
    {"modules", "supplies are modules", DFD_KEY_IS_MODULE_POWER,
     by_pointer<drv_get_is_module_power, std::uint8_t>, kNoYes},
};

constexpr LabelColumn kSupplyLabel[] = {{"supply", "supply", first_index}};

constexpr Column kState{.key = "state",
                        .heading = "state",
                        .item = DFD_KEY_POWER_STATE,
                        .read = by_result<drv_get_power_status>,
                        .words = kSupplyStates,
                        .is_presence = true,
                        .judge = judge_supply};

constexpr Column kSupplies[] = {
    kState,
    {"name", "name", DFD_KEY_POWER_TYPE, by_text<drv_get_power_name>},
    identity("type", "type", DFD_KEY_POWER_TYPE, supply_type),
    {"current", "current", DFD_KEY_POWER_TYPE, current_kind},
    serial_number(DFD_KEY_POWER_SN, by_text<drv_get_power_sn>),
    hw_version(DFD_KEY_POWER_HW_VER, by_text<drv_get_power_hw_version>),
    {"sw_version", "sw version", DFD_KEY_POWER_SW_VER, by_text<drv_get_power_sw_version>},
    {"bypass", "bypass", DFD_KEY_BYPASS_STATE, by_pointer<drv_get_bypass_power_state>},
};

constexpr Column without_metric(Column column) {
    column.metric = "";
    return column;
}

constexpr Column kTelemetry[] = {
    without_metric(kState),
    {"input_voltage", "input", DFD_KEY_POWER_IN_VOLTAGE},
    {"input_current", "input current", DFD_KEY_POWER_IN_CURRENT},
    {"output_voltage", "output", DFD_KEY_POWER_OUT_VOLTAGE},
    {"output_current", "output current", DFD_KEY_POWER_OUT_CURRENT},
    {.key = "output_power",
     .heading = "output power",
     .item = DFD_KEY_POWER_OUT_CURRENT,
     .read = by_result<drv_get_power_osupply>,
     .unit = "W",
     .scale = kThousandths},
    {.key = "rated_power", .heading = "rated power", .item = DFD_KEY_POWER_RATE_SUPPLY, .rank = 1},
    {"temperature", "temperature", DFD_KEY_POWER_TEMP},
};

constexpr Section kPowerSections[] = {
    {.key = "system", .title = "Power of the system", .columns = kPowerSystem, .subject = "power"},
    {.key = "supplies",
     .title = "Power supplies",
     .rows = rows_of<UnitKind::supply>,
     .labels = kSupplyLabel,
     .columns = kSupplies,
     .unit = numbered<UnitKind::supply>,
     .subject = "power_supply"},
    {.key = "telemetry",
     .title = "Measurements",
     .rows = rows_of<UnitKind::supply>,
     .labels = kSupplyLabel,
     .columns = kTelemetry,
     .unit = numbered<UnitKind::supply>,
     .subject = "power_supply"},
};

}  // namespace

std::span<const Section> power_sections() {
    return kPowerSections;
}

}  // namespace dfdctl
