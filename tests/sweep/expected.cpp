// SPDX-License-Identifier: MIT
#include "sweep/expected.h"

#include <dfd/fan.h>
#include <dfd/power.h>
#include <dfd/types.h>
#include <algorithm>

namespace sweep_test {

namespace {

constexpr int kIo = DFD_ERR_IO;
constexpr int kErr = DFD_ERR;
constexpr int kNone = DFD_ERR_NOT_SUPPORTED;
constexpr int kSetmacBase = 47;
constexpr std::string_view kHeaderVersion = "a version whose entry cannot be read is the header's";

bool contains(std::string_view names, std::string_view name) {
    while (!names.empty()) {
        const std::size_t end = std::min(names.find(' '), names.size());
        if (names.substr(0, end) == name) {
            return true;
        }
        names.remove_prefix(std::min(end + 1, names.size()));
    }
    return false;
}

// clang-format off
const Expected kExpected[] = {
    // ---- Items that are read and written by their description ----
    {.names = "sdd_get_my_slotid sdd_get_my_sslotid sdd_rd_mcpu_present sdd_get_cpld_ver_date "
              "sdd_get_fpga_ver_date sdd_get_eeprom_fail_status sdd_get_mb_temp_fail_status "
              "dfd_port_get_sfp_present sdd_get_power_present sdd_get_power_fail_status "
              "sdd_get_power_vol_in sdd_get_power_icur sdd_get_power_ovol sdd_get_power_ocur "
              "sdd_get_power_temp drv_get_power_temp sdd_get_sys_power_rsupply "
              "drv_get_sys_power_rsupply sdd_get_sys_power_osupply sdd_get_sys_power_ssupply "
              "sdd_get_sys_power_rdn_num sdd_get_sys_power_mix_state sdd_get_sys_power_lack_state "
              "sdd_get_bypass_power_state sdd_get_system_bypass_state sdd_get_env_temp "
              "sdd_get_fan_num sdd_get_fan_speed drv_get_fan_speed sdd_get_fan_speed_level "
              "drv_get_fan_speed_level sdd_get_fan_cpld_version sdd_get_sys_card_shutdown_temp "
              "sdd_get_sys_card_alarm_temp sdd_get_mymb_status_led sdd_get_mymb_primary_led "
              "sdd_get_mymb_alarm_led sdd_get_mymb_fe_led sdd_get_mymb_fan_led "
              "sdd_get_mymb_pwr_led sdd_get_mylc_st_led sdd_get_fe_offline_led sdd_get_led "
              "sdd_get_bp_hw_ver sdd_get_bp_sn sdd_get_bp_mac sdd_get_bp_serial "
              "get_backplane_info_from_e2 dfd_info_get_int dfd_info_get_int_by_index "
              "dfd_info_get_buf", .codes = {kIo}},
    {.names = "dfd_port_set_sfp_tx sdd_set_fan_speed_level sdd_set_fan_mode sdd_set_mymb_status_led "
              "sdd_set_mymb_primary_led sdd_set_mymb_alarm_led sdd_set_mymb_fe_led "
              "sdd_set_mylc_st_led drv_cpld_set_mylc_st_led sdd_set_fe_offline_led sdd_set_location_led "
              "dfd_set_fan_in_fan_led dfd_set_en_soft_led dfd_info_set_int", .codes = {kIo}},
    {.names = "sdd_get_support_lc_hwhb", .codes = {kIo}, .fills = true,
     .why = "a reading that fails gives flag 1 besides its code"},
    {.names = "sdd_func_get_power_status", .codes = {kIo}, .fills = true,
     .why = "when the second reading fails, status holds the first value"},
    {.names = "dfd_ctl_e2_write_pro drv_set_e2_wr_pro", .codes = {kNone, kIo}, .hides_writes = true,
     .why = "of fans and sub-cards some signals are enough"},
    {.names = "drv_set_fan_speed_level", .codes = {kIo}, .hides_writes = true,
     .why = "mode 1 is set whatever comes of it"},
    {.names = "sdd_set_mymb_pwr_led", .codes = {kIo}, .hides_writes = true,
     .why = "the LED is handed to software first, whether that succeeds or not"},
    {.names = "sdd_set_led", .codes = {kIo}, .hides_writes = true,
     .why = "that of a fan always succeeds, power as its own function"},
    {.names = "sdd_set_mymb_fan_led dfd_irq_set_cfg drv_irq_set_cfg dfd_card_vol_lock",
     .codes = {}, .hides_writes = true, .why = "failed writes are not reported"},
    {.names = "sdd_set_my_mb_status sdd_reset_linecard sdd_reset_lc sdd_reset_lc_all",
     .codes = {}, .hides_writes = true, .writes_otherwise = true,
     .why = "failed writes are not reported, and others write other bits of the same register"},
    {.names = "sdd_reset_master", .codes = {kIo, kErr}, .hides_writes = true,
     .why = "the result is that of the releasing write alone"},

    // ---- Functions that look for the own slot: one that cannot be read is another slot ----
    {.names = "sdd_get_virtual_slotid", .codes = {}, .instead = {1, 5}, .hides_outputs = true,
     .why = "0 only for what sdd_get_my_slotid returns: all slots of the boards as they are"},
    {.names = "sdd_check_temp_valid", .codes = {}, .instead = {0, 1},
     .why = "of another slot"},
    {.names = "sdd_get_slot_online sdd_get_sslot_state drv_get_slot_online drv_get_sslot_state",
     .codes = {}, .instead = {0}, .why = "0 when it cannot be read"},
    {.names = "sdd_get_card_power_consume drv_get_card_rate_power drv_get_my_rate_power "
              "sdd_get_my_rate_power sdd_get_card_temp sdd_get_card_vol_waterline "
              "sdd_control_card_power_on_off drv_control_ca_card_power_on_off",
     .codes = {kIo, kNone}},
    {.names = "sdd_get_card_vol", .codes = {kIo, kNone}, .hides_writes = true,
     .why = "a lock that cannot be taken or released is only printed"},
    {.names = "dfd_get_card_vol", .codes = {kIo, kNone}, .hides_writes = true, .fills = true,
     .why = "the lock, and a negative code, too, also goes to voltage"},
    {.names = "sdd_get_card_power_status", .codes = {kIo}, .hides_outputs = true,
     .why = "no card where its presence cannot be read"},

    // ---- Boards, their types and their peers ----
    {.names = "dfd_get_dev_type dfd_dev_type_from_product_id dfd_my_type_from_e2 "
              "drv_get_my_dev_type sdd_get_my_card_type dfd_get_my_card_type", .codes = {kErr}},
    {.names = "sdd_get_my_type_from_setmac", .codes = {kErr}, .instead = {kSetmacBase},
     .why = "an empty file is the number 0"},
    {.names = "sdd_get_my_chassis_type", .codes = {kErr}, .is_any_value = true,
     .why = "the first of two sources that answers, or the board type"},
    {.names = "sdd_get_chassis_mb_info sdd_get_peer_mb_state", .codes = {DFD_ERR_UNUSABLE}},
    {.names = "dfd_check_fwed_v100 drv_get_reset_button_type", .codes = {}, .instead = {0},
     .why = "0 also when something cannot be read"},
    {.names = "sdd_check_mycard_is_conflict drv_check_mycard_is_conflict", .codes = {},
     .instead = {0, 1}, .why = "0 also when something cannot be read, an empty file is a type"},

    // ---- Power supplies and fan trays ----
    {.names = "sdd_get_power_status", .codes = {kIo, kErr},
     .instead = {POWER_STATUS_ABSENT, POWER_STATUS_NORMAL, POWER_STATUS_LINE_FAILED},
     .why = "on I2C a silent supply is a failed line"},
    {.names = "sdd_get_power_type", .codes = {kErr, kIo}},
    {.names = "sdd_get_power_name sdd_get_power_sn sdd_get_power_hw_version "
              "sdd_get_power_sw_version sdd_get_power_rated_supply sdd_get_fan_type "
              "sdd_get_fan_sn sdd_get_fan_sw_version drv_get_fan_sw_version",
     .codes = {kErr, kIo}},
    {.names = "sdd_get_fan_hw_version drv_get_fan_hw_version", .codes = {kErr, kIo},
     .hides_outputs = true, .why = kHeaderVersion},
    {.names = "sdd_set_power_hw_version", .codes = {kErr}},
    {.names = "sdd_get_power_osupply", .codes = {kErr}},
    {.names = "sdd_get_fan_status", .codes = {kIo},
     .instead = {FAN_STATUS_OK, FAN_STATUS_FAIL, FAN_STATUS_LINE_FAIL},
     .why = "a speed that cannot be read counts as standing still, a silent tray has no power"},
    {.names = "sdd_get_fan_line_fail_status", .codes = {kIo}, .hides_outputs = true,
     .why = "on I2C a silent tray has no power"},
    {.names = "sdd_get_fan_fail_bmp", .codes = {kIo, kErr}, .hides_outputs = true, .fills = true,
     .why = "a speed that cannot be read counts as standing still, bitmap is 0 on failure"},
    {.names = "sdd_get_fan_temp", .codes = {}, .instead = {FAN_TEMP_UNREADABLE},
     .why = "FAN_TEMP_UNREADABLE, not a code"},
    {.names = "dfd_get_fan_temp", .codes = {}, .hides_outputs = true,
     .why = "65535 when the reading failed"},
    {.names = "sdd_get_fan_attribute", .codes = {kNone}},
    {.names = "sdd_set_fan_info sdd_set_fan_info_with_type sdd_set_sub_unintlg_info",
     .codes = {kErr, DFD_ERR_PARAM}, .hides_writes = true, .writes_otherwise = true,
     .why = "write protection is not reported, and has a second place"},
    {.names = "sdd_get_sub_unintlg_lc_info sdd_get_sub_unintlg_sn", .codes = {DFD_ERR_UNUSABLE}},
    {.names = "sdd_get_sub_unintlg_hw_ver", .codes = {DFD_ERR_UNUSABLE}, .hides_outputs = true,
     .why = kHeaderVersion},

    // ---- Temperatures of switch chips, interrupts ----
    {.names = "sdd_set_card_temp_cfg", .codes = {kErr}},
    {.names = "sdd_get_mac_temp_state drv_get_mac_temp dfd_get_mac_temp",
     .codes = {DFD_ERR_MAC_FILE}, .hides_outputs = true,
     .why = "figures that a short file does not reach are 0"},
    {.names = "sdd_get_mac_temp_from_file", .codes = {kErr, kNone}, .instead = {0},
     .hides_outputs = true, .why = "the number of bytes, 0 of an empty file"},
    {.names = "sdd_irq_dispatch", .codes = {kErr}, .hides_writes = true, .writes_otherwise = true,
     .why = "a level that cannot be read ends the walk there: its parent is the source"},

    // ---- Backplane ----
    {.names = "sdd_get_backplane_info drv_get_bp_mac", .codes = {}, .hides_outputs = true,
     .why = "a failed read is not reported"},
    {.names = "sdd_set_backplane_info", .codes = {}, .hides_writes = true,
     .why = "the result of the write is not reported"},

    // ---- EEPROMs ----
    {.names = "sdd_get_e2prom_info_by_type sdd_get_e2prom_info_by_type_fru", .codes = {kErr},
     .hides_version = true, .why = kHeaderVersion},
    {.names = "sdd_get_e2prom_legacy_info_by_type sdd_get_e2prom_legacy_power_info_by_type "
              "dfd_set_fan_info_tlv dfd_set_card_info_tlv dfd_set_fan_info_legacy "
              "dfd_set_power_info_legacy dfd_read_e2prom dfd_write_e2prom "
              "dfd_get_tlv_data", .codes = {kErr}},
    {.names = "sdd_get_e2prom_info_by_type_fru_compatible", .codes = {kErr, DFD_ERR_PARAM},
     .hides_version = true, .why = kHeaderVersion},
    {.names = "dfd_set_fan_info_fru "
              "dfd_set_card_info_fru dfd_get_fru_data", .codes = {kErr, DFD_ERR_PARAM}},
    {.names = "dfd_get_e2prom_info dfd_get_frue2prom_info", .codes = {kErr}, .fills = true,
     .why = "of an invalid image hdr is filled all the same"},
    {.names = "dfd_check_e2prom_info", .codes = {}, .instead = {0}, .why = "0 for a failed read"},

    // ---- Devices ----
    {.names = "sdd_device_read", .codes = {kErr}, .instead = {0}, .hides_outputs = true,
     .why = "0 at the end of the file"},
    {.names = "sdd_device_write dfd_cpld_write dfd_fpga_write", .codes = {kErr}},
    {.names = "dfd_cpld_read dfd_fpga_read", .codes = {kErr}, .hides_outputs = true,
     .why = "a read past the end of the device returns 0 and leaves buf"},
    {.names = "sdd_read_info_localbus dfd_read_info", .codes = {kErr}, .instead = {0}, .hides_outputs = true,
     .fills = true, .why = "0 when the device delivers no byte"},
    {.names = "sdd_write_info_localbus dfd_write_info", .codes = {kErr}},
    {.names = "sdd_read_i2c_one_time sdd_write_i2c_one_time sdd_read_i2c sdd_write_i2c "
              "dfd_read_port_i2c dfd_write_port_i2c ssa_i2c_read ssa_i2c_write "
              "dfd_i2c_read_offset dfd_i2c_read dfd_i2c_write dfd_dev_check_db_a1_flag "
              "drv_check_db_a1_flag", .codes = {kErr}},
};
// clang-format on

// Documented caches that keep what a failure made of the answer.
struct Remembered {
    std::string_view names;
    std::string_view why;
    After after = After::any;
};
const Remembered kRemembered[] = {
    {.names = "sdd_get_backplane_info drv_get_bp_mac",
     .why = "the record is kept at the first call, failed reads too"},
    {.names = "sdd_get_my_chassis_type",
     .why = "the other source's answer and a negative board type are kept"},
    {.names = "sdd_get_my_type_from_setmac sdd_check_mycard_is_conflict "
              "drv_check_mycard_is_conflict dfd_check_mycard_is_conflict",
     .why = "the type of an empty or cut file is kept",
     .after = After::few_bytes},
    {.names = "drv_get_my_dev_type sdd_get_my_card_type dfd_get_my_card_type "
              "sdd_get_my_rate_power dfd_check_fwed_v100 sdd_check_mycard_is_conflict "
              "drv_check_mycard_is_conflict",
     .why = "the code of the EEPROM query, no memory, is kept like a board type",
     .after = After::no_memory},
};

struct WithoutPositions {
    std::string_view names;
    std::string_view why;
};
const WithoutPositions kWithoutPositions[] = {
    {.names = "sdd_get_my_cpu_id drv_get_my_cpuid sdd_get_sslot_num sdd_get_card_vol_num "
              "sdd_get_current_voltage sdd_get_cfg_dist_finish_time sdd_get_mgmt_mtu_range "
              "sdd_get_is_module_power sdd_get_sys_fan_num sdd_get_irq_ctrl_num drv_irq_cfg_init "
              "sdd_get_bp_scale_mac sdd_get_temp_name drv_get_temp_name sdd_is_support_mac_temp "
              "sdd_get_vsd_support_num dfd_get_led_info_regval dfd_get_led_info_state "
              "sdd_install_card_chip_family",
     .why = "answer from the configuration alone"},
    {.names = "sdd_get_fan_num sdd_get_sys_power_rdn_num", .why = "constants on the boards"},
    {.names = "sdd_get_fan_sw_version drv_get_fan_sw_version",
     .why = "not configured on the boards"},
    {.names = "sdd_set_card_temp_cfg",
     .why = "the boards have a TMP411 on the own card only, which is out of reach"},
};

}  // namespace

const Expected *expected_of(std::string_view function) {
    const auto *const row = std::ranges::find_if(
        kExpected, [=](const Expected &each) { return contains(each.names, function); });
    return row == std::end(kExpected) ? nullptr : row;
}

bool may_remember(std::string_view function, After failure) {
    return std::ranges::any_of(kRemembered, [=](const Remembered &each) {
        return contains(each.names, function) &&
               (each.after == After::any || each.after == failure);
    });
}

bool may_have_no_positions(std::string_view function) {
    return std::ranges::any_of(kWithoutPositions, [=](const WithoutPositions &each) {
        return contains(each.names, function);
    });
}

}  // namespace sweep_test
