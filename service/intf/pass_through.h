// SPDX-License-Identifier: MIT
// Names that pass everything through: X(NAME, TO, PARAMETERS, ARGUMENTS). They are defined in
// forward.cpp; the tools that call each function take from here that NAME is called as TO is.
#pragma once

// clang-format off
#define DFD_PASS_THROUGH(X) \
    /* Board and chassis type */ \
    X(drv_get_my_card_type, sdd_get_my_card_type, (void), ()) \
    X(drv_get_my_chassis_type, sdd_get_my_chassis_type, (void), ()) \
    /* Slots, master boards, board settings */ \
    X(drv_get_my_slotid, sdd_get_my_slotid, (void), ()) \
    X(drv_get_my_sslotid, sdd_get_my_sslotid, (void), ()) \
    X(drv_get_my_cpu_id, sdd_get_my_cpu_id, (void), ()) \
    X(drv_get_chassis_mb_info, sdd_get_chassis_mb_info, (int *state), (state)) \
    X(drv_get_peer_mb_state, sdd_get_peer_mb_state, (int *state), (state)) \
    X(drv_reset_linecard, sdd_reset_linecard, (int slot, int all), (slot, all)) \
    X(drv_reset_master, sdd_reset_master, (void), ()) \
    X(drv_set_my_mb_status, sdd_set_my_mb_status, (uint32_t status), (status)) \
    X(drv_get_support_lc_hwhb, sdd_get_support_lc_hwhb, (int *flag), (flag)) \
    X(drv_get_cpld_ver_date, sdd_get_cpld_ver_date, (char *text, int *len), (text, len)) \
    X(drv_get_fpga_ver_date, sdd_get_fpga_ver_date, (char *text, int *len), (text, len)) \
    X(drv_get_eeprom_fail_status, sdd_get_eeprom_fail_status, (int *value), (value)) \
    X(drv_get_vsd_support_num, sdd_get_vsd_support_num, (int *count), (count)) \
    X(drv_get_mgmt_mtu_range, sdd_get_mgmt_mtu_range, (int slot, int *min, int *max, int *def), (slot, min, max, def)) \
    X(drv_get_cfg_dist_finish_time, sdd_get_cfg_dist_finish_time, (void), ()) \
    X(drv_install_card_chip_family, sdd_install_card_chip_family, (uint32_t mask), (mask)) \
    X(drv_get_sys_chip_mode, sdd_get_sys_chip_mode, (uint32_t *mode), (mode)) \
    X(drv_set_sys_chip_mode, sdd_set_sys_chip_mode, (uint32_t mode), (mode)) \
    X(drv_install_ca_fe, sdd_install_ca_fe, (uint32_t mode), (mode)) \
    X(drv_get_ca_sys_fe_mode, sdd_get_ca_sys_fe_mode, (uint32_t *mode), (mode)) \
    X(drv_set_ca_sys_fe_mode, sdd_set_ca_sys_fe_mode, (uint32_t mode), (mode)) \
    X(drv_control_card_power_on_off, sdd_control_card_power_on_off, (int slot, uint32_t value), (slot, value)) \
    X(dfd_get_mb_temp_fail_status, sdd_get_mb_temp_fail_status, (int *value), (value)) \
    X(dfd_get_vsd_support_num, sdd_get_vsd_support_num, (int *count), (count)) \
    X(dfd_get_eeprom_fail_status, sdd_get_eeprom_fail_status, (int *value), (value)) \
    X(dfd_check_mycard_is_conflict, sdd_check_mycard_is_conflict, (void), ()) \
    /* Cards */ \
    X(drv_get_sub_unintlg_lc_info, sdd_get_sub_unintlg_lc_info, (uint32_t slot, uint32_t sslot, uint32_t *type, void *aux), (slot, sslot, type, aux)) \
    X(drv_get_sub_unintlg_sn, sdd_get_sub_unintlg_sn, (uint32_t sslot, char *buf, int *len), (sslot, buf, len)) \
    X(drv_get_sub_unintlg_hw_ver, sdd_get_sub_unintlg_hw_ver, (uint32_t sslot, char *buf, int *len), (sslot, buf, len)) \
    X(drv_set_sub_unintlg_info, sdd_set_sub_unintlg_info, (uint32_t sslot, const char *sn, const char *hw), (sslot, sn, hw)) \
    X(drv_get_card_power_consume, sdd_get_card_power_consume, (int slot, int *power), (slot, power)) \
    X(drv_get_card_power_status, sdd_get_card_power_status, (int slot, int *status), (slot, status)) \
    X(drv_get_card_vol, sdd_get_card_vol, (int slot, int channel), (slot, channel)) \
    X(drv_get_card_vol_waterline, sdd_get_card_vol_waterline, (int slot, int channel, int *level), (slot, channel, level)) \
    X(drv_get_current_voltage, sdd_get_current_voltage, (int *volt), (volt)) \
    X(drv_get_card_vol_num, sdd_get_card_vol_num, (void), ()) \
    X(dfd_get_card_vol_waterline, sdd_get_card_vol_waterline, (int slot, int channel, int *level), (slot, channel, level)) \
    /* Power supplies */ \
    X(drv_get_power_type, sdd_get_power_type, (uint32_t power_id), (power_id)) \
    X(drv_get_power_name, sdd_get_power_name, (uint32_t power_id, char *buf, int *len), (power_id, buf, len)) \
    X(drv_get_power_sn, sdd_get_power_sn, (uint32_t power_id, char *buf, int *len), (power_id, buf, len)) \
    X(drv_get_power_sw_version, sdd_get_power_sw_version, (uint32_t power_id, char *buf, int *len), (power_id, buf, len)) \
    X(drv_get_power_hw_version, sdd_get_power_hw_version, (uint32_t power_id, char *buf, int *len), (power_id, buf, len)) \
    X(drv_get_power_status, sdd_get_power_status, (uint32_t power_id), (power_id)) \
    X(drv_get_power_present, sdd_get_power_present, (uint32_t power_id), (power_id)) \
    X(drv_get_power_fail_status, sdd_get_power_fail_status, (uint32_t power_id, int *fail), (power_id, fail)) \
    X(drv_get_power_vol_in, sdd_get_power_vol_in, (uint32_t power_id, int *volt), (power_id, volt)) \
    X(drv_get_power_icur, sdd_get_power_icur, (uint32_t power_id, int *milliamp), (power_id, milliamp)) \
    X(drv_get_power_ovol, sdd_get_power_ovol, (uint32_t power_id), (power_id)) \
    X(drv_get_power_ocur, sdd_get_power_ocur, (uint32_t power_id), (power_id)) \
    X(drv_get_power_osupply, sdd_get_power_osupply, (uint32_t power_id), (power_id)) \
    X(drv_get_power_rated_supply, sdd_get_power_rated_supply, (uint32_t power_id), (power_id)) \
    X(drv_get_sys_power_osupply, sdd_get_sys_power_osupply, (int *out), (out)) \
    X(drv_get_sys_power_ssupply, sdd_get_sys_power_ssupply, (int *out), (out)) \
    X(drv_get_sys_power_rdn_num, sdd_get_sys_power_rdn_num, (int *out), (out)) \
    X(drv_get_sys_power_mix_state, sdd_get_sys_power_mix_state, (int *out), (out)) \
    X(drv_get_sys_power_lack_state, sdd_get_sys_power_lack_state, (int *out), (out)) \
    X(drv_get_bypass_power_state, sdd_get_bypass_power_state, (uint32_t power_id, int *out), (power_id, out)) \
    X(drv_get_system_bypass_state, sdd_get_system_bypass_state, (int *out), (out)) \
    X(drv_get_is_module_power, sdd_get_is_module_power, (uint8_t *out), (out)) \
    X(drv_get_env_temp, sdd_get_env_temp, (void), ()) \
    X(drv_set_power_hw_version, sdd_set_power_hw_version, (uint32_t power_id, const uint8_t *data), (power_id, data)) \
    /* Fans */ \
    X(drv_get_fan_status, sdd_get_fan_status, (uint32_t fan_id), (fan_id)) \
    X(drv_get_fan_type, sdd_get_fan_type, (uint32_t fan_id), (fan_id)) \
    X(drv_get_fan_temp, sdd_get_fan_temp, (uint32_t fan_id), (fan_id)) \
    X(drv_get_fan_sn, sdd_get_fan_sn, (uint32_t fan_id, char *buf, int *len), (fan_id, buf, len)) \
    X(drv_get_fan_fail_bmp, sdd_get_fan_fail_bmp, (uint32_t fan_id, int *bitmap), (fan_id, bitmap)) \
    X(drv_get_fan_attribute, sdd_get_fan_attribute, (uint32_t fan_id, uint32_t ignored, int *attr), (fan_id, ignored, attr)) \
    X(drv_get_fan_num, sdd_get_fan_num, (uint32_t fan_id, int *num), (fan_id, num)) \
    X(drv_get_fan_cpld_version, sdd_get_fan_cpld_version, (uint32_t fan_id, char *buf, int *len), (fan_id, buf, len)) \
    X(drv_get_sys_fan_num, sdd_get_sys_fan_num, (void), ()) \
    X(drv_set_fan_info, sdd_set_fan_info, (uint32_t fan_id, const char *sn, const char *hw), (fan_id, sn, hw)) \
    X(drv_set_fan_info_with_type, sdd_set_fan_info_with_type, (uint32_t fan_id, const uint32_t *type, const char *sn, const char *hw), (fan_id, type, sn, hw)) \
    /* Temperatures */ \
    X(drv_get_card_temp, sdd_get_card_temp, (int slot, uint8_t index, int *temp), (slot, index, temp)) \
    X(drv_get_sys_card_shutdown_temp, sdd_get_sys_card_shutdown_temp, (int *temp), (temp)) \
    X(drv_get_sys_card_alarm_temp, sdd_get_sys_card_alarm_temp, (int *temp), (temp)) \
    X(drv_check_temp_valid, sdd_check_temp_valid, (int slot, uint8_t index), (slot, index)) \
    X(drv_is_support_mac_temp, sdd_is_support_mac_temp, (void), ()) \
    X(dfd_get_card_temp, sdd_get_card_temp, (int slot, uint8_t index, int *temp), (slot, index, temp)) \
    X(dfd_set_card_temp_cfg, sdd_set_card_temp_cfg, (int slot, uint8_t index), (slot, index)) \
    /* LEDs */ \
    X(drv_set_mymb_status_led, sdd_set_mymb_status_led, (uint32_t state), (state)) \
    X(drv_set_mymb_primary_led, sdd_set_mymb_primary_led, (uint32_t state), (state)) \
    X(drv_set_mymb_alarm_led, sdd_set_mymb_alarm_led, (uint32_t state, uint32_t unused), (state, unused)) \
    X(drv_set_led, sdd_set_led, (uint32_t type, uint32_t state, uint32_t unit), (type, state, unit)) \
    /* Interrupts */ \
    X(drv_get_irq_ctrl_num, sdd_get_irq_ctrl_num, (void), ()) \
    X(drv_irq_dispatch, sdd_irq_dispatch, (uint32_t controller, dfd_irq_handler_t handler), (controller, handler)) \
    /* Backplane */ \
    X(drv_get_backplane_info, sdd_get_backplane_info, (uint32_t id, backplane_info_t *rec), (id, rec)) \
    X(drv_set_backplane_info, sdd_set_backplane_info, (uint32_t id, const backplane_info_t *rec), (id, rec))
// clang-format on
