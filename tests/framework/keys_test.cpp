// SPDX-License-Identifier: MIT
#include <algorithm>
#include <sstream>

#include "support/library_test.h"

namespace {

constexpr int kNone = -1;

// Names of consecutive item types with the same largest indexes.
struct Types {
    unsigned first;
    int max_index1, max_index2;
    const char *names;
};

constexpr Types kTypes[] = {
    {1, kNone, kNone,
     "led_dark_regval led_green_regval led_red_regval led_yellow_regval led_spark_regval "
     "is_fe_card is_module_power"},
    {8, 16, kNone, "fan_e2prom_i2c_id power_eeprom_i2c_id power_e2prom_i2c_id"},
    {11, 4, kNone, "power_rov_i2c_id"},
    {12, 65535, kNone, "my_rate_power power_regval_convert fan_speedlvl_convert"},
    {15, kNone, kNone,
     "fan_speed_floor fan_speed_level_support led_fspark_open_regval led_fspark_close_regval "
     "mgmt_def_mtu mgmt_min_mtu mgmt_max_mtu slot_base sslot_base my_cpuid backplane_scale_mac "
     "is_tca_replace_cpld is_need_en_tca_irq"},
    {28, 8, 8, "sslot_fpga_out_port"},
    {29, 65535, kNone, "sslot_fpga_num"},
    {30, kNone, kNone,
     "irq_ctrl_num cfg_dist_finish_time vsd_support_num card_vol_num sslot_num fan_num chip_family "
     "current_voltage"},
    {39, 63, kNone, "temp_name"},
    {40, 2147483647, 65535, "card_pid_str"},
    {41, 65535, kNone, "power_name"},
    {42, 65535, 65535, "fan_name"},
    {43, 65535, kNone, "fan_attr_type power_attr_type power_dc_ac"},
    {46, kNone, kNone, "mac_temp_file setmac_e2type_file"},
    {48, 65535, kNone, "reset_button_tp_str"},
    {50, 16, kNone, "cpld_i2c_dev"},
    {51, 2, kNone, "bp_e2prom_dev"},
    {52, 64, kNone, "other_i2c_dev"},
    {54, kNone, kNone, "my_chassis_type my_slotid my_sslotid"},
    {57, 32, kNone, "slot_online reset_lc"},
    {59, kNone, kNone,
     "rst_master mcpu_master_config mcpu_rdy_config bp_ctrl mcpu_master_status mcpu_present "
     "mcpu_rdy_status my_mb_cpld_status peer_mb_cpld_status mb_status_led_ctrl lc_status_led_ctrl "
     "mb_alarm_led_ctrl"},
    {71, 16, kNone, "mb_fan_led_ctrl mb_fan_in_fan_led_ctrl mb_power_led_ctrl"},
    {74, 8, kNone, "modu_status_led_ctrl"},
    {75, 16, kNone, "fan_status_led_ctrl"},
    {76, kNone, kNone, "location_led_ctrl"},
    {77, 8, kNone, "sslot_state"},
    {78, 32, kNone, "slot_state slot_reset slot_power_onoff slot_power_status"},
    {82, 16, kNone,
     "power_type power_state power_fail power_line_fail power_rate_supply power_out_current "
     "power_out_voltage power_in_current power_in_voltage power_temp power_sn power_hw_ver "
     "power_fac_hw_ver power_ac_hw_ver power_dc_hw_ver power_sw_ver power_poe_rsupply fan_type "
     "fan_sn fan_hw_ver fan_sw_ver fan_state fan_fail_status fan_line_fail"},
    {106, 16, 16, "fan_cfg_speed"},
    {107, 16, kNone, "fan_speed_level"},
    {108, 16, 16, "get_fan_cfg_speed fan_real_speed"},
    {110, 16, kNone, "subfan_num fan_fail_bmp fan_temp"},
    {113, kNone, kNone, "fan_mode"},
    {114, 2, kNone,
     "e2_setmac backplane_hw_ver backplane_sn backplane_mac backplane_pid backplane_serial0 "
     "backplane_serial1 backplane_serial2 backplane_serial3"},
    {123, 32, 82, "card_temp_ctrl cfg_card_temp cfg_tmp411_timeout"},
    {126, 32, kNone, "card_rate_power card_power_lack"},
    {128, kNone, kNone,
     "system_power_lack sys_power_rsupply sys_power_osupply sys_power_ssupply sys_power_rdn_num "
     "sys_power_mix_state power_env_temp"},
    {135, 32, 16, "cpld_version"},
    {136, kNone, kNone, "power_bypass_state"},
    {137, 4, kNone, "bypass_state"},
    {138, 65535, kNone, "port_sfp_state port_sfp_tx"},
    {140, kNone, kNone, "1st_irq_status"},
    {141, 8, kNone, "2nd_irq_status"},
    {142, 8, 8, "3rd_irq_status"},
    {143, kNone, kNone, "1st_irq_clear"},
    {144, 8, kNone, "2nd_irq_clear"},
    {145, 8, 8, "3rd_irq_clear"},
    {146, 65535, 8, "irq_mask"},
    {147, kNone, kNone, "reset_button_type"},
    {148, 65535, kNone, "fan_cpld_version"},
    {149, kNone, kNone, "cpld_ver_date fpga_ver_date"},
    {151, 65535, kNone, "card_power_consume card_power_status"},
    {153, 65535, 65535, "card_volotage card_vol_low card_vol_high card_vol_waterline"},
    {157, kNone, kNone, "mb_primary_led_ctrl mb_fe_led_ctrl"},
    {159, 65535, kNone, "mb_pwr_led_ctrl"},
    {160, kNone, kNone, "fe_offline_led_ctrl"},
    {161, 65535, 65535, "soft_led_ctrl"},
    {162, kNone, kNone, "sys_danger_temp sys_alarm_temp mb_temp_fail_status eeprom_fail_status"},
    {166, 32, kNone, "card_power_ctrl"},
    {167, kNone, kNone, "support_lc_hwhb"},
    {168, 8, kNone, "sslot_e2prom"},
    {169, kNone, kNone, "card_vol_lock"},
    {170, 16, kNone, "e2_write_protect power_present"},
    {173, kNone, kNone, "irq_ctrl_info"},
    {175, 65535, 8, "irq_info"},
    {177, kNone, kNone,
     "mb_status_led_info mb_primary_led_info mb_alarm_led_info lc_status_led_info mb_fe_led_info "
     "mb_fan_led_info mb_pwr_led_info fe_offline_led_info location_led_info"},
    {187, 32, 82, "card_temp_info"},
};

// What closes a block, and the entry before the first: never loaded.
constexpr std::pair<unsigned, const char *> kSentinels[] = {
    {0, "none"},           {38, "end_int"},        {49, "end_string"},
    {53, "end_i2c_dev"},   {172, "end_info_ctrl"}, {174, "end_irq_ctrl"},
    {176, "end_irq_info"}, {186, "end_led_info"},  {188, "end_temp_info"}};

// A member that items of the type have; empty for plain values.
std::string member_of(unsigned type) {
    constexpr std::pair<unsigned, const char *> kMembers[] = {
        {50, ""},       {53, ".addr"},          {172, ".bit_offset"}, {174, ".irq_clr_bit"},
        {176, ".val2"}, {186, ".fspark_close"}, {188, ".temp_name"}};
    return std::find_if(std::begin(kMembers), std::end(kMembers),
                        [type](const auto &row) { return type < row.first; })
        ->second;
}

std::string index_part(int index) {
    return index == kNone ? "" : "_" + std::to_string(index);
}

class KeysTest : public dfd_test::LibraryTest {
  protected:
    template <typename Check>
    static void for_each_name(Check check) {
        for (const Types &types : kTypes) {
            std::istringstream names(types.names);
            unsigned type = types.first;
            for (std::string name; names >> name; ++type) {
                check(type, name + member_of(type), types);
            }
        }
    }
};

TEST_F(KeysTest, EveryNameHasItsNumberKindAndLargestIndexes) {
    std::string config;
    for_each_name([&](unsigned, const std::string &name, const Types &types) {
        config += name + index_part(types.max_index1) + index_part(types.max_index2) + "=1\n";
    });
    start(config);
    unsigned names = 0;
    for_each_name([&](unsigned type, const std::string &name, const Types &types) {
        const auto key =
            DFD_MAKE_KEY(type, std::max(types.max_index1, 0), std::max(types.max_index2, 0));
        const void *const record = dfd_lib_cfg_get_item(key);
        ASSERT_NE(record, nullptr) << name;
        if (type < 38) {
            EXPECT_EQ(*static_cast<const int *>(record), 1) << name;
        } else if (type < 49) {
            EXPECT_STREQ(static_cast<const char *>(record), "1") << name;
        }
        ++names;
    });
    EXPECT_EQ(names + std::size(kSentinels), std::size_t{DFD_KEY_COUNT});
}

TEST_F(KeysTest, OneMoreIsRefused) {
    std::string config;
    for_each_name([&](unsigned, const std::string &name, const Types &types) {
        const auto more = [](int index) {
            return "_" + std::to_string(1U + static_cast<unsigned>(index));
        };
        if (types.max_index1 != kNone) {
            config += name + more(types.max_index1) + index_part(types.max_index2) + "=1\n" + name +
                      "=1\n";
        }
        if (types.max_index2 != kNone) {
            config += name + "_0" + more(types.max_index2) + "=1\n" + name + "_0=1\n";
        }
    });
    for (const auto &[type, name] : kSentinels) {
        config += std::string(name) + "=1\n";
        for (const char *member : {".bus", ".mode", ".irq_flag", ".type", ".dark"}) {
            config += std::string(name) + member + "=1\n";
        }
    }
    write_board("TEST", "card_pid_str_0x10001_0x101=TEST\n");
    write_list(0x10001, "board\n");
    write_config("board", config);
    const dfd_test::NeverFreed never_freed;
    EXPECT_EQ(dev_drv_init(), 0);
    EXPECT_STREQ(static_cast<const char *>(dfd_lib_cfg_get_item(DFD_MAKE_KEY(40, 1, 1))), "TEST");
    for_each_name([&](unsigned type, const std::string &name, const Types &types) {
        if (types.max_index1 != kNone) {
            const auto next = static_cast<unsigned>(types.max_index1) + 1;
            const auto next2 = static_cast<unsigned>(types.max_index2) + 1;
            for (const std::uint32_t key :
                 {DFD_MAKE_KEY(type, next, 0), DFD_MAKE_KEY(type, next, types.max_index2),
                  DFD_MAKE_KEY(type, 0, next2), DFD_MAKE_KEY(type, 0, 0)}) {
                EXPECT_EQ(dfd_lib_cfg_get_item(key), nullptr) << name;
            }
        }
    });
    for (const auto &[type, name] : kSentinels) {
        EXPECT_EQ(dfd_lib_cfg_get_item(DFD_MAKE_KEY(type, 0, 0)), nullptr) << name;
    }
}

}  // namespace
