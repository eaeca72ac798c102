/* SPDX-License-Identifier: MIT */
/*
 * The driver interface: what platform software calls, after dev_drv_init. Most functions pass their
 * arguments and results through to the function named beside them, where they are documented; those
 * that adapt something come last. drv_get_my_dev_type stands in framework.h, drv_irq_cfg_init in
 * irq.h, drv_get_reset_button_type in chassis.h, drv_get_bp_mac in inventory.h, the bus functions
 * and fixed answers for CPLD and FPGA in access.h.
 */
#ifndef DFD_DRIVER_H
#define DFD_DRIVER_H

#include <dfd/inventory.h>
#include <dfd/irq.h>
#include <dfd/types.h>

DFD_BEGIN_DECLS

/* ---- Board and chassis type: framework.h ---- */

/* sdd_get_my_card_type. */
DFD_API int drv_get_my_card_type(void);
/* sdd_get_my_chassis_type. */
DFD_API int drv_get_my_chassis_type(void);

/* ---- Slots, master boards, board settings: chassis.h ---- */

/* sdd_get_my_slotid. */
DFD_API int drv_get_my_slotid(void);
/* sdd_get_my_sslotid. */
DFD_API int drv_get_my_sslotid(void);
/* sdd_get_my_cpu_id. */
DFD_API int drv_get_my_cpu_id(void);
/* sdd_get_chassis_mb_info. */
DFD_API int drv_get_chassis_mb_info(int *state);
/* sdd_get_peer_mb_state. */
DFD_API int drv_get_peer_mb_state(int *state);
/* sdd_reset_linecard; with `all` not 0 it sleeps 200 ms. */
DFD_API int drv_reset_linecard(int slot, int all);
/* sdd_reset_master. */
DFD_API int drv_reset_master(void);
/* sdd_set_my_mb_status. */
DFD_API int drv_set_my_mb_status(uint32_t status);
/* sdd_get_support_lc_hwhb. */
DFD_API int drv_get_support_lc_hwhb(int *flag);
/* sdd_get_cpld_ver_date. text holds 42 bytes, *len is only set. */
DFD_API int drv_get_cpld_ver_date(char *text, int *len);
/* sdd_get_fpga_ver_date. text holds 42 bytes, *len is only set. */
DFD_API int drv_get_fpga_ver_date(char *text, int *len);
/* sdd_get_eeprom_fail_status. */
DFD_API int drv_get_eeprom_fail_status(int *value);
/* sdd_get_vsd_support_num. */
DFD_API int drv_get_vsd_support_num(int *count);
/* sdd_get_mgmt_mtu_range. */
DFD_API int drv_get_mgmt_mtu_range(int slot, int *min, int *max, int *def);
/* sdd_get_cfg_dist_finish_time. */
DFD_API int drv_get_cfg_dist_finish_time(void);
/* sdd_install_card_chip_family. */
DFD_API int drv_install_card_chip_family(uint32_t mask);
/* sdd_get_sys_chip_mode. */
DFD_API int drv_get_sys_chip_mode(uint32_t *mode);
/* sdd_set_sys_chip_mode. */
DFD_API int drv_set_sys_chip_mode(uint32_t mode);
/* sdd_install_ca_fe. */
DFD_API int drv_install_ca_fe(uint32_t mode);
/* sdd_get_ca_sys_fe_mode. */
DFD_API int drv_get_ca_sys_fe_mode(uint32_t *mode);
/* sdd_set_ca_sys_fe_mode. */
DFD_API int drv_set_ca_sys_fe_mode(uint32_t mode);
/* sdd_control_card_power_on_off. */
DFD_API int drv_control_card_power_on_off(int slot, uint32_t value);
/* sdd_get_mb_temp_fail_status. */
DFD_API int dfd_get_mb_temp_fail_status(int *value);
/* sdd_get_vsd_support_num. */
DFD_API int dfd_get_vsd_support_num(int *count);
/* sdd_get_eeprom_fail_status. */
DFD_API int dfd_get_eeprom_fail_status(int *value);
/* sdd_check_mycard_is_conflict. */
DFD_API int dfd_check_mycard_is_conflict(void);

/* ---- Cards: card.h ---- */

/* sdd_get_sub_unintlg_lc_info. */
DFD_API int drv_get_sub_unintlg_lc_info(uint32_t slot, uint32_t sslot, uint32_t *type, void *aux);
/* sdd_get_sub_unintlg_sn. buf holds *len bytes. */
DFD_API int drv_get_sub_unintlg_sn(uint32_t sslot, char *buf, int *len);
/* sdd_get_sub_unintlg_hw_ver. buf holds *len bytes. */
DFD_API int drv_get_sub_unintlg_hw_ver(uint32_t sslot, char *buf, int *len);
/* sdd_set_sub_unintlg_info. */
DFD_API int drv_set_sub_unintlg_info(uint32_t sslot, const char *sn, const char *hw);
/* sdd_get_card_power_consume. */
DFD_API int drv_get_card_power_consume(int slot, int *power);
/* sdd_get_card_power_status. */
DFD_API int drv_get_card_power_status(int slot, int *status);
/* sdd_get_card_vol, which writes the lock of the ADC: serialise it. */
DFD_API int drv_get_card_vol(int slot, int channel);
/* sdd_get_card_vol_waterline. */
DFD_API int drv_get_card_vol_waterline(int slot, int channel, int *level);
/* sdd_get_current_voltage. */
DFD_API int drv_get_current_voltage(int *volt);
/* sdd_get_card_vol_num. */
DFD_API int drv_get_card_vol_num(void);
/* sdd_get_card_vol_waterline. */
DFD_API int dfd_get_card_vol_waterline(int slot, int channel, int *level);

/* ---- Power supplies: power.h ---- */

/* sdd_get_power_type. */
DFD_API int drv_get_power_type(uint32_t power_id);
/* sdd_get_power_name. buf holds DFD_POWER_NAME_SIZE (32) bytes, whatever *len. */
DFD_API int drv_get_power_name(uint32_t power_id, char *buf, int *len);
/* sdd_get_power_sn. buf holds *len bytes, more than the .len of the item. */
DFD_API int drv_get_power_sn(uint32_t power_id, char *buf, int *len);
/* sdd_get_power_sw_version. buf holds *len bytes; DFD_POWER_VERSION_SIZE (21) do. */
DFD_API int drv_get_power_sw_version(uint32_t power_id, char *buf, int *len);
/* sdd_get_power_hw_version. buf holds *len bytes; DFD_POWER_VERSION_SIZE (21) do. */
DFD_API int drv_get_power_hw_version(uint32_t power_id, char *buf, int *len);
/* sdd_get_power_status. */
DFD_API int drv_get_power_status(uint32_t power_id);
/* sdd_get_power_present. */
DFD_API int drv_get_power_present(uint32_t power_id);
/* sdd_get_power_fail_status. */
DFD_API int drv_get_power_fail_status(uint32_t power_id, int *fail);
/* sdd_get_power_vol_in. */
DFD_API int drv_get_power_vol_in(uint32_t power_id, int *volt);
/* sdd_get_power_icur. */
DFD_API int drv_get_power_icur(uint32_t power_id, int *milliamp);
/* sdd_get_power_ovol. */
DFD_API int drv_get_power_ovol(uint32_t power_id);
/* sdd_get_power_ocur. */
DFD_API int drv_get_power_ocur(uint32_t power_id);
/* sdd_get_power_osupply. */
DFD_API int drv_get_power_osupply(uint32_t power_id);
/* sdd_get_power_rated_supply. */
DFD_API int drv_get_power_rated_supply(uint32_t power_id);
/* sdd_get_sys_power_osupply. */
DFD_API int drv_get_sys_power_osupply(int *out);
/* sdd_get_sys_power_ssupply. */
DFD_API int drv_get_sys_power_ssupply(int *out);
/* sdd_get_sys_power_rdn_num. */
DFD_API int drv_get_sys_power_rdn_num(int *out);
/* sdd_get_sys_power_mix_state. */
DFD_API int drv_get_sys_power_mix_state(int *out);
/* sdd_get_sys_power_lack_state. */
DFD_API int drv_get_sys_power_lack_state(int *out);
/* sdd_get_bypass_power_state. */
DFD_API int drv_get_bypass_power_state(uint32_t power_id, int *out);
/* sdd_get_system_bypass_state. */
DFD_API int drv_get_system_bypass_state(int *out);
/* sdd_get_is_module_power. */
DFD_API int drv_get_is_module_power(uint8_t *out);
/* sdd_get_env_temp. */
DFD_API int drv_get_env_temp(void);
/* sdd_set_power_hw_version. */
DFD_API int drv_set_power_hw_version(uint32_t power_id, const uint8_t *data);

/* ---- Fans: fan.h ---- */

/* sdd_get_fan_status. */
DFD_API int drv_get_fan_status(uint32_t fan_id);
/* sdd_get_fan_type. */
DFD_API int drv_get_fan_type(uint32_t fan_id);
/* sdd_get_fan_temp. */
DFD_API int drv_get_fan_temp(uint32_t fan_id);
/* sdd_get_fan_sn. buf holds *len bytes and, whatever *len, 256 where the serial number is in a TLV
 * EEPROM, else 21. */
DFD_API int drv_get_fan_sn(uint32_t fan_id, char *buf, int *len);
/* sdd_get_fan_fail_bmp. */
DFD_API int drv_get_fan_fail_bmp(uint32_t fan_id, int *bitmap);
/* sdd_get_fan_attribute. */
DFD_API int drv_get_fan_attribute(uint32_t fan_id, uint32_t ignored, int *attr);
/* sdd_get_fan_num. */
DFD_API int drv_get_fan_num(uint32_t fan_id, int *num);
/* sdd_get_fan_cpld_version. buf holds 21 bytes, whatever *len. */
DFD_API int drv_get_fan_cpld_version(uint32_t fan_id, char *buf, int *len);
/* sdd_get_sys_fan_num. */
DFD_API int drv_get_sys_fan_num(void);
/* sdd_set_fan_info. */
DFD_API int drv_set_fan_info(uint32_t fan_id, const char *sn, const char *hw);
/* sdd_set_fan_info_with_type. */
DFD_API int drv_set_fan_info_with_type(uint32_t fan_id, const uint32_t *type, const char *sn,
                                       const char *hw);

/* ---- Temperatures: temperature.h ---- */

/* sdd_get_card_temp. */
DFD_API int drv_get_card_temp(int slot, uint8_t index, int *temp);
/* sdd_get_sys_card_shutdown_temp. */
DFD_API int drv_get_sys_card_shutdown_temp(int *temp);
/* sdd_get_sys_card_alarm_temp. */
DFD_API int drv_get_sys_card_alarm_temp(int *temp);
/* sdd_check_temp_valid. */
DFD_API int drv_check_temp_valid(int slot, uint8_t index);
/* sdd_is_support_mac_temp. */
DFD_API int drv_is_support_mac_temp(void);
/* sdd_get_card_temp. */
DFD_API int dfd_get_card_temp(int slot, uint8_t index, int *temp);
/* sdd_set_card_temp_cfg. */
DFD_API int dfd_set_card_temp_cfg(int slot, uint8_t index);

/* ---- LEDs: led.h ---- */

/* sdd_set_mymb_status_led. */
DFD_API int drv_set_mymb_status_led(uint32_t state);
/* sdd_set_mymb_primary_led. */
DFD_API int drv_set_mymb_primary_led(uint32_t state);
/* sdd_set_mymb_alarm_led. */
DFD_API int drv_set_mymb_alarm_led(uint32_t state, uint32_t unused);
/* sdd_set_led. */
DFD_API int drv_set_led(uint32_t type, uint32_t state, uint32_t unit);

/* ---- Interrupts: irq.h ---- */

/* sdd_get_irq_ctrl_num. */
DFD_API int drv_get_irq_ctrl_num(void);
/* sdd_irq_dispatch. */
DFD_API int drv_irq_dispatch(uint32_t controller, dfd_irq_handler_t handler);

/* ---- Backplane: inventory.h ---- */

/* sdd_get_backplane_info. */
DFD_API int drv_get_backplane_info(uint32_t id, backplane_info_t *rec);
/* sdd_set_backplane_info. */
DFD_API int drv_set_backplane_info(uint32_t id, const backplane_info_t *rec);

/* ---- Second names ---- */

/* drv_get_my_dev_type (framework.h). */
DFD_API int dfd_get_my_card_type(void);
/* drv_get_my_cpu_id. */
DFD_API int drv_get_my_cpuid(void);
/* drv_control_card_power_on_off. */
DFD_API int drv_control_ca_card_power_on_off(int slot, uint32_t value);
/* sdd_get_card_power_consume (card.h). */
DFD_API int drv_get_card_rate_power(int slot, int *power);
/* sdd_get_mac_temp_state (temperature.h), both: mac is the number of a MAC, not a slot. */
DFD_API int drv_get_mac_temp(int mac, int *a, int *b, int *c);
DFD_API int dfd_get_mac_temp(int mac, int *a, int *b, int *c);
/* dfd_ctl_e2_write_pro (inventory.h). */
DFD_API int drv_set_e2_wr_pro(int target, int protect);
/* dfd_irq_set_cfg (irq.h). */
DFD_API int drv_irq_set_cfg(int type, int enable);
/* sdd_set_mylc_st_led (led.h). */
DFD_API int drv_cpld_set_mylc_st_led(uint32_t state);
/* sdd_get_temp_name (temperature.h) of slot 0, the own card. text holds len bytes; DFD_PATH_SIZE
 * (128) hold every name. */
DFD_API int drv_get_temp_name(uint8_t index, char *text, int len);

/* ---- Adapted ---- */

/* The low byte of the result of sdd_get_slot_online, sdd_get_sslot_state and
 * sdd_check_mycard_is_conflict (chassis.h). */
DFD_API int drv_get_slot_online(int slot);
DFD_API int drv_get_sslot_state(uint32_t sslot);
DFD_API int drv_check_mycard_is_conflict(void);

/* Rated power of the card in the own slot: drv_get_card_power_consume. Returns its result, or the
 * negative code of drv_get_my_slotid. sdd_get_my_rate_power (card.h) goes by the board type
 * instead. */
DFD_API int drv_get_my_rate_power(int *power);

/* sdd_get_card_vol (card.h), whose result, a negative code too, also goes to *voltage, in
 * millivolts. It writes the lock of the ADC: serialise it. -1: null voltage. */
DFD_API int dfd_get_card_vol(int slot, int channel, int *voltage);

/* Temperature of a supply in whole degrees Celsius (sdd_get_power_temp, power.h): the value itself
 * or a negative code, which look alike below zero. sensor is not used. */
DFD_API int drv_get_power_temp(uint32_t power_id, uint32_t sensor);

/* sdd_get_sys_power_rsupply (power.h). -1: null out. */
DFD_API int drv_get_sys_power_rsupply(int *out);

/* Temperature of a fan tray (sdd_get_fan_temp, fan.h). Returns 0 and *temp (65535: the reading
 * failed); a negative code, or a temperature below zero, without setting it; -8: null temp where
 * there is a temperature. */
DFD_API int dfd_get_fan_temp(uint32_t fan_id, int *temp);

/* sdd_get_fan_sw_version (fan.h). buf holds *len bytes. -1: null buf or len, or *len below 21. */
DFD_API int drv_get_fan_sw_version(uint32_t fan_id, char *buf, int *len);

/* sdd_get_fan_hw_version (fan.h). buf holds *len bytes, at least 21. -1: null buf or len. */
DFD_API int drv_get_fan_hw_version(uint32_t fan_id, char *buf, int *len);

/* sdd_get_fan_speed_level and sdd_get_fan_speed (fan.h). -1: null pointer. */
DFD_API int drv_get_fan_speed_level(uint32_t fan_id, uint32_t sub_id, int *level);
DFD_API int drv_get_fan_speed(uint32_t fan_id, uint8_t sub_id, int *speed);

/* Puts the fans into mode 1, whatever comes of it, then sdd_set_fan_speed_level (fan.h). */
DFD_API int drv_set_fan_speed_level(uint32_t fan_id, uint8_t sub_id, uint32_t level);

/* ---- Fixed answers, without hardware access ---- */

/* -1: the mode is the speed setter's. */
DFD_API int drv_set_fan_mode(uint32_t mode);
/* 1, whatever the arguments; sdd_mb_is_compatible compares them. */
DFD_API int dfd_mb_is_compatible(int a, int b);
/* 0. */
DFD_API int drv_my_dev_type_is_fe(void);
/* -1: voltages are not read over I2C. */
DFD_API int drv_get_card_vol_i2c(int slot, int channel, int *voltage);
/* -1: there is no PoE supply. */
DFD_API int drv_adj_poe_pwr_vol(uint32_t power_id, int voltage);
DFD_API int drv_get_sys_poe_power_rsupply(int *out);
DFD_API int drv_get_sys_poe_power_osupply(int *out);

DFD_END_DECLS

#endif
