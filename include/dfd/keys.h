/* SPDX-License-Identifier: MIT */
/*
 * Configuration keys: which items a board's configuration may hold, and how a key is put together.
 *
 *   key = type << 24 | (index1 << 8 & 0xFFFF00) | (index2 & 0xFF)
 *
 * The type is the position of the item's name in the table below; the block it lies in decides
 * the kind of record that is stored under the key (see records.h).
 */
#ifndef DFD_KEYS_H
#define DFD_KEYS_H

/* Composes the key of an item. Only 16 bits of index1 and 8 bits of index2 enter the key; an
 * item that takes no index has 0 there. */
#define DFD_MAKE_KEY(type, index1, index2)                                           \
    (((uint32_t)(type) << 24) | (((uint32_t)(index1) << 8) & UINT32_C(0x00FFFF00)) | \
     ((uint32_t)(index2)&UINT32_C(0x000000FF)))
#define DFD_KEY_TYPE(key) ((uint32_t)(key) >> 24)

/*
 * X(type, identifier, name, largest index1, largest index2); -1: the item takes no such index.
 * Indexes start at 0. Entry 0 and the "end_" entries close a block of one record kind and name no
 * item. Order matters: a configuration line belongs to the first entry whose name begins its own,
 * so no name may be a prefix of a later one. "card_volotage" is spelt so in configuration files.
 */
/* clang-format off */
#define DFD_KEY_TABLE(X) \
    X(0, NONE, "none", -1, -1)                                        \
    X(1, LED_DARK_REGVAL, "led_dark_regval", -1, -1)                  \
    X(2, LED_GREEN_REGVAL, "led_green_regval", -1, -1)                \
    X(3, LED_RED_REGVAL, "led_red_regval", -1, -1)                    \
    X(4, LED_YELLOW_REGVAL, "led_yellow_regval", -1, -1)              \
    X(5, LED_SPARK_REGVAL, "led_spark_regval", -1, -1)                \
    X(6, IS_FE_CARD, "is_fe_card", -1, -1)                            \
    X(7, IS_MODULE_POWER, "is_module_power", -1, -1)                  \
    X(8, FAN_E2PROM_I2C_ID, "fan_e2prom_i2c_id", 16, -1)              \
    X(9, POWER_EEPROM_I2C_ID, "power_eeprom_i2c_id", 16, -1)          \
    X(10, POWER_E2PROM_I2C_ID, "power_e2prom_i2c_id", 16, -1)         \
    X(11, POWER_ROV_I2C_ID, "power_rov_i2c_id", 4, -1)                \
    X(12, MY_RATE_POWER, "my_rate_power", 65535, -1)                  \
    X(13, POWER_REGVAL_CONVERT, "power_regval_convert", 65535, -1)    \
    X(14, FAN_SPEEDLVL_CONVERT, "fan_speedlvl_convert", 65535, -1)    \
    X(15, FAN_SPEED_FLOOR, "fan_speed_floor", -1, -1)                 \
    X(16, FAN_SPEED_LEVEL_SUPPORT, "fan_speed_level_support", -1, -1) \
    X(17, LED_FSPARK_OPEN_REGVAL, "led_fspark_open_regval", -1, -1)   \
    X(18, LED_FSPARK_CLOSE_REGVAL, "led_fspark_close_regval", -1, -1) \
    X(19, MGMT_DEF_MTU, "mgmt_def_mtu", -1, -1)                       \
    X(20, MGMT_MIN_MTU, "mgmt_min_mtu", -1, -1)                       \
    X(21, MGMT_MAX_MTU, "mgmt_max_mtu", -1, -1)                       \
    X(22, SLOT_BASE, "slot_base", -1, -1)                             \
    X(23, SSLOT_BASE, "sslot_base", -1, -1)                           \
    X(24, MY_CPUID, "my_cpuid", -1, -1)                               \
    X(25, BACKPLANE_SCALE_MAC, "backplane_scale_mac", -1, -1)         \
    X(26, IS_TCA_REPLACE_CPLD, "is_tca_replace_cpld", -1, -1)         \
    X(27, IS_NEED_EN_TCA_IRQ, "is_need_en_tca_irq", -1, -1)           \
    X(28, SSLOT_FPGA_OUT_PORT, "sslot_fpga_out_port", 8, 8)           \
    X(29, SSLOT_FPGA_NUM, "sslot_fpga_num", 65535, -1)                \
    X(30, IRQ_CTRL_NUM, "irq_ctrl_num", -1, -1)                       \
    X(31, CFG_DIST_FINISH_TIME, "cfg_dist_finish_time", -1, -1)       \
    X(32, VSD_SUPPORT_NUM, "vsd_support_num", -1, -1)                 \
    X(33, CARD_VOL_NUM, "card_vol_num", -1, -1)                       \
    X(34, SSLOT_NUM, "sslot_num", -1, -1)                             \
    X(35, FAN_NUM, "fan_num", -1, -1)                                 \
    X(36, CHIP_FAMILY, "chip_family", -1, -1)                         \
    X(37, CURRENT_VOLTAGE, "current_voltage", -1, -1)                 \
    X(38, END_INT, "end_int", -1, -1)                                 \
    X(39, TEMP_NAME, "temp_name", 63, -1)                             \
    X(40, CARD_PID_STR, "card_pid_str", 2147483647, 65535)            \
    X(41, POWER_NAME, "power_name", 65535, -1)                        \
    X(42, FAN_NAME, "fan_name", 65535, 65535)                         \
    X(43, FAN_ATTR_TYPE, "fan_attr_type", 65535, -1)                  \
    X(44, POWER_ATTR_TYPE, "power_attr_type", 65535, -1)              \
    X(45, POWER_DC_AC, "power_dc_ac", 65535, -1)                      \
    X(46, MAC_TEMP_FILE, "mac_temp_file", -1, -1)                     \
    X(47, SETMAC_E2TYPE_FILE, "setmac_e2type_file", -1, -1)           \
    X(48, RESET_BUTTON_TP_STR, "reset_button_tp_str", 65535, -1)      \
    X(49, END_STRING, "end_string", -1, -1)                           \
    X(50, CPLD_I2C_DEV, "cpld_i2c_dev", 16, -1)                       \
    X(51, BP_E2PROM_DEV, "bp_e2prom_dev", 2, -1)                      \
    X(52, OTHER_I2C_DEV, "other_i2c_dev", 64, -1)                     \
    X(53, END_I2C_DEV, "end_i2c_dev", -1, -1)                         \
    X(54, MY_CHASSIS_TYPE, "my_chassis_type", -1, -1)                 \
    X(55, MY_SLOTID, "my_slotid", -1, -1)                             \
    X(56, MY_SSLOTID, "my_sslotid", -1, -1)                           \
    X(57, SLOT_ONLINE, "slot_online", 32, -1)                         \
    X(58, RESET_LC, "reset_lc", 32, -1)                               \
    X(59, RST_MASTER, "rst_master", -1, -1)                           \
    X(60, MCPU_MASTER_CONFIG, "mcpu_master_config", -1, -1)           \
    X(61, MCPU_RDY_CONFIG, "mcpu_rdy_config", -1, -1)                 \
    X(62, BP_CTRL, "bp_ctrl", -1, -1)                                 \
    X(63, MCPU_MASTER_STATUS, "mcpu_master_status", -1, -1)           \
    X(64, MCPU_PRESENT, "mcpu_present", -1, -1)                       \
    X(65, MCPU_RDY_STATUS, "mcpu_rdy_status", -1, -1)                 \
    X(66, MY_MB_CPLD_STATUS, "my_mb_cpld_status", -1, -1)             \
    X(67, PEER_MB_CPLD_STATUS, "peer_mb_cpld_status", -1, -1)         \
    X(68, MB_STATUS_LED_CTRL, "mb_status_led_ctrl", -1, -1)           \
    X(69, LC_STATUS_LED_CTRL, "lc_status_led_ctrl", -1, -1)           \
    X(70, MB_ALARM_LED_CTRL, "mb_alarm_led_ctrl", -1, -1)             \
    X(71, MB_FAN_LED_CTRL, "mb_fan_led_ctrl", 16, -1)                 \
    X(72, MB_FAN_IN_FAN_LED_CTRL, "mb_fan_in_fan_led_ctrl", 16, -1)   \
    X(73, MB_POWER_LED_CTRL, "mb_power_led_ctrl", 16, -1)             \
    X(74, MODU_STATUS_LED_CTRL, "modu_status_led_ctrl", 8, -1)        \
    X(75, FAN_STATUS_LED_CTRL, "fan_status_led_ctrl", 16, -1)         \
    X(76, LOCATION_LED_CTRL, "location_led_ctrl", -1, -1)             \
    X(77, SSLOT_STATE, "sslot_state", 8, -1)                          \
    X(78, SLOT_STATE, "slot_state", 32, -1)                           \
    X(79, SLOT_RESET, "slot_reset", 32, -1)                           \
    X(80, SLOT_POWER_ONOFF, "slot_power_onoff", 32, -1)               \
    X(81, SLOT_POWER_STATUS, "slot_power_status", 32, -1)             \
    X(82, POWER_TYPE, "power_type", 16, -1)                           \
    X(83, POWER_STATE, "power_state", 16, -1)                         \
    X(84, POWER_FAIL, "power_fail", 16, -1)                           \
    X(85, POWER_LINE_FAIL, "power_line_fail", 16, -1)                 \
    X(86, POWER_RATE_SUPPLY, "power_rate_supply", 16, -1)             \
    X(87, POWER_OUT_CURRENT, "power_out_current", 16, -1)             \
    X(88, POWER_OUT_VOLTAGE, "power_out_voltage", 16, -1)             \
    X(89, POWER_IN_CURRENT, "power_in_current", 16, -1)               \
    X(90, POWER_IN_VOLTAGE, "power_in_voltage", 16, -1)               \
    X(91, POWER_TEMP, "power_temp", 16, -1)                           \
    X(92, POWER_SN, "power_sn", 16, -1)                               \
    X(93, POWER_HW_VER, "power_hw_ver", 16, -1)                       \
    X(94, POWER_FAC_HW_VER, "power_fac_hw_ver", 16, -1)               \
    X(95, POWER_AC_HW_VER, "power_ac_hw_ver", 16, -1)                 \
    X(96, POWER_DC_HW_VER, "power_dc_hw_ver", 16, -1)                 \
    X(97, POWER_SW_VER, "power_sw_ver", 16, -1)                       \
    X(98, POWER_POE_RSUPPLY, "power_poe_rsupply", 16, -1)             \
    X(99, FAN_TYPE, "fan_type", 16, -1)                               \
    X(100, FAN_SN, "fan_sn", 16, -1)                                  \
    X(101, FAN_HW_VER, "fan_hw_ver", 16, -1)                          \
    X(102, FAN_SW_VER, "fan_sw_ver", 16, -1)                          \
    X(103, FAN_STATE, "fan_state", 16, -1)                            \
    X(104, FAN_FAIL_STATUS, "fan_fail_status", 16, -1)                \
    X(105, FAN_LINE_FAIL, "fan_line_fail", 16, -1)                    \
    X(106, FAN_CFG_SPEED, "fan_cfg_speed", 16, 16)                    \
    X(107, FAN_SPEED_LEVEL, "fan_speed_level", 16, -1)                \
    X(108, GET_FAN_CFG_SPEED, "get_fan_cfg_speed", 16, 16)            \
    X(109, FAN_REAL_SPEED, "fan_real_speed", 16, 16)                  \
    X(110, SUBFAN_NUM, "subfan_num", 16, -1)                          \
    X(111, FAN_FAIL_BMP, "fan_fail_bmp", 16, -1)                      \
    X(112, FAN_TEMP, "fan_temp", 16, -1)                              \
    X(113, FAN_MODE, "fan_mode", -1, -1)                              \
    X(114, E2_SETMAC, "e2_setmac", 2, -1)                             \
    X(115, BACKPLANE_HW_VER, "backplane_hw_ver", 2, -1)               \
    X(116, BACKPLANE_SN, "backplane_sn", 2, -1)                       \
    X(117, BACKPLANE_MAC, "backplane_mac", 2, -1)                     \
    X(118, BACKPLANE_PID, "backplane_pid", 2, -1)                     \
    X(119, BACKPLANE_SERIAL0, "backplane_serial0", 2, -1)             \
    X(120, BACKPLANE_SERIAL1, "backplane_serial1", 2, -1)             \
    X(121, BACKPLANE_SERIAL2, "backplane_serial2", 2, -1)             \
    X(122, BACKPLANE_SERIAL3, "backplane_serial3", 2, -1)             \
    X(123, CARD_TEMP_CTRL, "card_temp_ctrl", 32, 82)                  \
    X(124, CFG_CARD_TEMP, "cfg_card_temp", 32, 82)                    \
    X(125, CFG_TMP411_TIMEOUT, "cfg_tmp411_timeout", 32, 82)          \
    X(126, CARD_RATE_POWER, "card_rate_power", 32, -1)                \
    X(127, CARD_POWER_LACK, "card_power_lack", 32, -1)                \
    X(128, SYSTEM_POWER_LACK, "system_power_lack", -1, -1)            \
    X(129, SYS_POWER_RSUPPLY, "sys_power_rsupply", -1, -1)            \
    X(130, SYS_POWER_OSUPPLY, "sys_power_osupply", -1, -1)            \
    X(131, SYS_POWER_SSUPPLY, "sys_power_ssupply", -1, -1)            \
    X(132, SYS_POWER_RDN_NUM, "sys_power_rdn_num", -1, -1)            \
    X(133, SYS_POWER_MIX_STATE, "sys_power_mix_state", -1, -1)        \
    X(134, POWER_ENV_TEMP, "power_env_temp", -1, -1)                  \
    X(135, CPLD_VERSION, "cpld_version", 32, 16)                      \
    X(136, POWER_BYPASS_STATE, "power_bypass_state", -1, -1)          \
    X(137, BYPASS_STATE, "bypass_state", 4, -1)                       \
    X(138, PORT_SFP_STATE, "port_sfp_state", 65535, -1)               \
    X(139, PORT_SFP_TX, "port_sfp_tx", 65535, -1)                     \
    X(140, 1ST_IRQ_STATUS, "1st_irq_status", -1, -1)                  \
    X(141, 2ND_IRQ_STATUS, "2nd_irq_status", 8, -1)                   \
    X(142, 3RD_IRQ_STATUS, "3rd_irq_status", 8, 8)                    \
    X(143, 1ST_IRQ_CLEAR, "1st_irq_clear", -1, -1)                    \
    X(144, 2ND_IRQ_CLEAR, "2nd_irq_clear", 8, -1)                     \
    X(145, 3RD_IRQ_CLEAR, "3rd_irq_clear", 8, 8)                      \
    X(146, IRQ_MASK, "irq_mask", 65535, 8)                            \
    X(147, RESET_BUTTON_TYPE, "reset_button_type", -1, -1)            \
    X(148, FAN_CPLD_VERSION, "fan_cpld_version", 65535, -1)           \
    X(149, CPLD_VER_DATE, "cpld_ver_date", -1, -1)                    \
    X(150, FPGA_VER_DATE, "fpga_ver_date", -1, -1)                    \
    X(151, CARD_POWER_CONSUME, "card_power_consume", 65535, -1)       \
    X(152, CARD_POWER_STATUS, "card_power_status", 65535, -1)         \
    X(153, CARD_VOLOTAGE, "card_volotage", 65535, 65535)              \
    X(154, CARD_VOL_LOW, "card_vol_low", 65535, 65535)                \
    X(155, CARD_VOL_HIGH, "card_vol_high", 65535, 65535)              \
    X(156, CARD_VOL_WATERLINE, "card_vol_waterline", 65535, 65535)    \
    X(157, MB_PRIMARY_LED_CTRL, "mb_primary_led_ctrl", -1, -1)        \
    X(158, MB_FE_LED_CTRL, "mb_fe_led_ctrl", -1, -1)                  \
    X(159, MB_PWR_LED_CTRL, "mb_pwr_led_ctrl", 65535, -1)             \
    X(160, FE_OFFLINE_LED_CTRL, "fe_offline_led_ctrl", -1, -1)        \
    X(161, SOFT_LED_CTRL, "soft_led_ctrl", 65535, 65535)              \
    X(162, SYS_DANGER_TEMP, "sys_danger_temp", -1, -1)                \
    X(163, SYS_ALARM_TEMP, "sys_alarm_temp", -1, -1)                  \
    X(164, MB_TEMP_FAIL_STATUS, "mb_temp_fail_status", -1, -1)        \
    X(165, EEPROM_FAIL_STATUS, "eeprom_fail_status", -1, -1)          \
    X(166, CARD_POWER_CTRL, "card_power_ctrl", 32, -1)                \
    X(167, SUPPORT_LC_HWHB, "support_lc_hwhb", -1, -1)                \
    X(168, SSLOT_E2PROM, "sslot_e2prom", 8, -1)                       \
    X(169, CARD_VOL_LOCK, "card_vol_lock", -1, -1)                    \
    X(170, E2_WRITE_PROTECT, "e2_write_protect", 16, -1)              \
    X(171, POWER_PRESENT, "power_present", 16, -1)                    \
    X(172, END_INFO_CTRL, "end_info_ctrl", -1, -1)                    \
    X(173, IRQ_CTRL_INFO, "irq_ctrl_info", -1, -1)                    \
    X(174, END_IRQ_CTRL, "end_irq_ctrl", -1, -1)                      \
    X(175, IRQ_INFO, "irq_info", 65535, 8)                            \
    X(176, END_IRQ_INFO, "end_irq_info", -1, -1)                      \
    X(177, MB_STATUS_LED_INFO, "mb_status_led_info", -1, -1)          \
    X(178, MB_PRIMARY_LED_INFO, "mb_primary_led_info", -1, -1)        \
    X(179, MB_ALARM_LED_INFO, "mb_alarm_led_info", -1, -1)            \
    X(180, LC_STATUS_LED_INFO, "lc_status_led_info", -1, -1)          \
    X(181, MB_FE_LED_INFO, "mb_fe_led_info", -1, -1)                  \
    X(182, MB_FAN_LED_INFO, "mb_fan_led_info", -1, -1)                \
    X(183, MB_PWR_LED_INFO, "mb_pwr_led_info", -1, -1)                \
    X(184, FE_OFFLINE_LED_INFO, "fe_offline_led_info", -1, -1)        \
    X(185, LOCATION_LED_INFO, "location_led_info", -1, -1)            \
    X(186, END_LED_INFO, "end_led_info", -1, -1)                      \
    X(187, CARD_TEMP_INFO, "card_temp_info", 32, 82)                  \
    X(188, END_TEMP_INFO, "end_temp_info", -1, -1)
/* clang-format on */

#include <stdint.h>

/* DFD_KEY_FAN_NUM and so on: the item types, which are the values of a key's top byte. */
enum dfd_key_type {
#define DFD_KEY_ENUM_(number, identifier, name, max1, max2) DFD_KEY_##identifier = (number),
    DFD_KEY_TABLE(DFD_KEY_ENUM_)
#undef DFD_KEY_ENUM_
        DFD_KEY_COUNT = 189
};

#endif
