// SPDX-License-Identifier: MIT
// How to call the functions about power supplies, fan trays, temperatures, LEDs and interrupts.
#include <dfd/dfd.h>

#include "dfdctl/observe/call_row.hpp"

namespace dfdctl::observe {

namespace {

// clang-format off
constexpr Call kUnits[] = {
    DFD_CALL(power, get, sdd_get_power_present, "supply result essential polled"),
    DFD_CALL(power, get, sdd_get_power_status, "supply result essential polled"),
    DFD_CALL(power, get, sdd_func_get_power_status, "supply out"),
    DFD_CALL(power, get, sdd_get_power_fail_status, "supply out polled"),
    DFD_CALL(power, get, sdd_get_power_type, "supply result"),
    DFD_CALL(power, pure, dfd_get_power_type_by_buf, "scratch length out"),
    DFD_CALL(power, get, sdd_get_power_name, "supply buffer capacity"),
    DFD_CALL(power, get, sdd_get_power_sn, "supply buffer capacity"),
    DFD_CALL(power, get, sdd_get_power_hw_version, "supply buffer capacity"),
    DFD_CALL(power, get, sdd_get_power_sw_version, "supply buffer capacity"),
    DFD_CALL(power, set, sdd_set_power_hw_version, "supply hw"),
    DFD_CALL(power, get, sdd_get_power_vol_in, "supply out:V polled"),
    DFD_CALL(power, get, sdd_get_power_icur, "supply out:mA polled"),
    DFD_CALL(power, get, sdd_get_power_ovol, "supply result:mV polled"),
    DFD_CALL(power, get, sdd_get_power_ocur, "supply result:mA polled"),
    DFD_CALL(power, get, sdd_get_power_osupply, "supply result:mW polled"),
    DFD_CALL(power, get, sdd_get_power_rated_supply, "supply result:W"),
    DFD_CALL(power, get, sdd_get_power_temp, "supply ignored out:C"),
    DFD_CALL(power, get, drv_get_power_temp, "supply ignored result:C polled"),
    DFD_CALL(power, pure, dfd_get_power_temp_by_buf, "scratch length out:C"),
    DFD_CALL_BOTH(power, get, get_sys_power_rsupply, "out polled"),
    DFD_CALL(power, get, sdd_get_sys_power_osupply, "out polled"),
    DFD_CALL(power, get, sdd_get_sys_power_ssupply, "out polled"),
    DFD_CALL(power, get, sdd_get_sys_power_rdn_num, "out polled"),
    DFD_CALL(power, get, sdd_get_sys_power_mix_state, "out polled"),
    DFD_CALL(power, get, sdd_get_sys_power_lack_state, "out polled"),
    DFD_CALL(power, get, sdd_get_bypass_power_state, "supply out polled"),
    DFD_CALL(power, get, sdd_get_system_bypass_state, "out polled"),
    DFD_CALL(power, get, sdd_get_is_module_power, "out"),
    DFD_CALL(power, get, sdd_get_env_temp, "result:C polled"),
    DFD_CALL(power, pure, drv_adj_poe_pwr_vol, "ignored ignored"),
    DFD_CALL(power, pure, drv_get_sys_poe_power_rsupply, "out"),
    DFD_CALL(power, pure, drv_get_sys_poe_power_osupply, "out"),

    DFD_CALL(fans, get, sdd_get_fan_status, "fan result essential polled"),
    DFD_CALL(fans, get, sdd_get_fan_line_fail_status, "fan out"),
    DFD_CALL(fans, get, sdd_get_fan_fail_bmp, "fan out"),
    DFD_CALL(fans, get, sdd_get_fan_num, "fan out"),
    DFD_CALL(fans, get, sdd_get_sys_fan_num, "result essential"),
    DFD_CALL(fans, pure, dfd_dev_remap_fanid, "fan result"),
    DFD_CALL_BOTH(fans, get, get_fan_speed, "fan rotor out:rpm essential polled"),
    DFD_CALL_BOTH(fans, get, get_fan_speed_level, "fan rotor out polled"),
    DFD_CALL_BOTH(fans, set, set_fan_speed_level, "fan rotor level essential"),
    DFD_CALL(fans, set, sdd_set_fan_mode, "mode"),
    DFD_CALL(fans, pure, drv_set_fan_mode, "mode"),
    DFD_CALL(fans, get, sdd_get_fan_temp, "fan result:C polled"),
    DFD_CALL(fans, get, dfd_get_fan_temp, "fan out:C"),
    DFD_CALL(fans, get, sdd_get_fan_type, "fan result"),
    DFD_CALL(fans, pure, sdd_fan_name_remove_sp, "buffer text"),
    DFD_CALL(fans, get, sdd_get_fan_attribute, "fan ignored out"),
    DFD_CALL(fans, get, sdd_get_fan_sn, "fan buffer capacity"),
    DFD_CALL_BOTH(fans, get, get_fan_hw_version, "fan buffer capacity"),
    DFD_CALL_BOTH(fans, get, get_fan_sw_version, "fan buffer capacity"),
    DFD_CALL(fans, get, sdd_get_fan_cpld_version, "fan buffer capacity"),
    DFD_CALL(fans, set, sdd_set_fan_info, "fan sn hw"),
    DFD_CALL(fans, set, sdd_set_fan_info_with_type, "fan none sn hw"),

    DFD_CALL(temps, get, sdd_get_card_temp, "slot card_sensor out:C essential polled"),
    DFD_CALL(temps, get, sdd_get_temp_name, "card sensor buffer capacity essential"),
    DFD_CALL(temps, get, drv_get_temp_name, "sensor buffer capacity"),
    DFD_CALL(temps, get, sdd_check_temp_valid, "slot sensor result"),
    DFD_CALL(temps, set, sdd_set_card_temp_cfg, "card sensor"),
    DFD_CALL(temps, get, sdd_get_sys_card_shutdown_temp, "out:C essential"),
    DFD_CALL(temps, get, sdd_get_sys_card_alarm_temp, "out:C essential"),
    DFD_CALL(temps, get, sdd_is_support_mac_temp, "result"),
    DFD_CALL(temps, get, sdd_get_mac_temp_state, "mac out out out"),
    DFD_CALL(temps, get, drv_get_mac_temp, "mac out out out polled"),
    DFD_CALL(temps, get, dfd_get_mac_temp, "mac out out out"),
    DFD_CALL(temps, bus, sdd_get_mac_temp_from_file, "path buffer result:bytes"),

    DFD_CALL(leds, set, sdd_set_led, "led_type led_state led_unit"),
    DFD_CALL(leds, get, sdd_get_led, "led_type out"),
    DFD_CALL(leds, set, sdd_set_mymb_status_led, "led_state"),
    DFD_CALL(leds, set, sdd_set_mymb_primary_led, "led_state"),
    DFD_CALL(leds, set, sdd_set_mymb_alarm_led, "led_state ignored"),
    DFD_CALL(leds, set, sdd_set_mymb_fe_led, "led_state"),
    DFD_CALL(leds, set, sdd_set_mylc_st_led, "led_state ignored"),
    DFD_CALL(leds, set, drv_cpld_set_mylc_st_led, "led_state"),
    DFD_CALL(leds, set, sdd_set_fe_offline_led, "led_state"),
    DFD_CALL(leds, set, sdd_set_location_led, "led_state"),
    DFD_CALL(leds, set, sdd_set_mymb_fan_led, "fan_led led_state"),
    DFD_CALL(leds, set, dfd_set_fan_in_fan_led, "tray_led led_state"),
    DFD_CALL(leds, set, sdd_set_mymb_pwr_led, "supply_led led_state"),
    DFD_CALL(leds, set, dfd_set_en_soft_led, "led_type led_unit value"),
    DFD_CALL(leds, get, sdd_get_mymb_status_led, "out"),
    DFD_CALL(leds, get, sdd_get_mymb_primary_led, "out"),
    DFD_CALL(leds, get, sdd_get_mymb_alarm_led, "out"),
    DFD_CALL(leds, get, sdd_get_mymb_fe_led, "out"),
    DFD_CALL(leds, get, sdd_get_mymb_fan_led, "out"),
    DFD_CALL(leds, get, sdd_get_mymb_pwr_led, "out"),
    DFD_CALL(leds, get, sdd_get_mylc_st_led, "out"),
    DFD_CALL(leds, get, sdd_get_fe_offline_led, "out"),

    DFD_CALL(irq, get, sdd_get_irq_ctrl_num, "result essential"),
    DFD_CALL(irq, control, drv_irq_cfg_init, "result"),
    DFD_CALL(irq, control, sdd_irq_dispatch, "controller handler essential"),
    DFD_CALL(irq, control, dfd_irq_set_cfg, "irq_type value"),
    DFD_CALL(irq, control, drv_irq_set_cfg, "irq_type value"),
};
// clang-format on

}  // namespace

std::span<const Call> unit_calls() {
    return kUnits;
}

}  // namespace dfdctl::observe
