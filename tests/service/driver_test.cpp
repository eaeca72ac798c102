// SPDX-License-Identifier: MIT
#include <functional>

#include "support/board.h"

namespace {

using dfd_test::constant;
using dfd_test::logged_by;
using dfd_test::register_item;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

class DriverTest : public dfd_test::BoardTest {};

TEST_F(DriverTest, SecondNamesReachTheSameFunction) {
    start(constant("my_slotid", 4) + "my_cpuid=2\n" + constant("card_rate_power", 90, "_0") +
          constant("card_rate_power", 150, "_3") + register_item("card_power_ctrl", 0x10, "_3") +
          register_item("lc_status_led_ctrl", 0x11) + "lc_status_led_info.red=7\n" +
          "card_temp_info.temp_name_0_5=inlet\n");
    int value = 0;
    EXPECT_EQ(dfd_get_my_card_type(), 1);
    EXPECT_EQ(drv_get_my_card_type(), 1);
    EXPECT_EQ(drv_get_my_cpuid(), 2);
    EXPECT_EQ(drv_get_card_rate_power(3, &value), 0);
    EXPECT_EQ(value, 150);
    EXPECT_EQ(drv_get_my_rate_power(&value), 0);
    EXPECT_EQ(value, 90) << "that of the card in the own slot, virtual slot 0";
    EXPECT_EQ(drv_control_ca_card_power_on_off(3, 1), 0);
    EXPECT_EQ(drv_cpld_set_mylc_st_led(LED_STATE_RED), 0);
    EXPECT_THAT(writes(), ElementsAre(Pair(0x10U, 1U), Pair(0x11U, 7U)));
    char name[16] = "";
    EXPECT_EQ(drv_get_temp_name(5, name, sizeof name), 0);
    EXPECT_STREQ(name, "inlet");
    EXPECT_EQ(drv_set_e2_wr_pro(3, 1), -6);
    EXPECT_EQ(drv_irq_set_cfg(IRQ_TYPE_FAN, 1), 0);
    EXPECT_EQ(drv_get_mac_temp(0, &value, &value, &value), -6);
    EXPECT_EQ(dfd_get_mac_temp(0, &value, &value, &value), -6);
}

TEST_F(DriverTest, OwnRatedPowerNeedsTheSlot) {
    start(constant("card_rate_power", 90, "_0"));
    int value = 5;
    EXPECT_EQ(drv_get_my_rate_power(&value), -6);
    EXPECT_EQ(value, 5);
}

TEST_F(DriverTest, AdaptedResults) {
    start(constant("my_slotid", 4) + constant("fan_temp", 30, "_1") +
          register_item("fan_mode", 0x20) + register_item("fan_cfg_speed", 0x21, "_1_2") +
          constant("fan_real_speed", 5000, "_1_2") + constant("get_fan_cfg_speed", 3, "_1_2") +
          constant("power_temp", -5, "_1") + constant("sys_power_rsupply", 2000));
    EXPECT_EQ(drv_get_slot_online(4), 1);
    EXPECT_EQ(drv_get_slot_online(5), 0);
    EXPECT_EQ(drv_get_sslot_state(1), 0);
    EXPECT_EQ(drv_check_mycard_is_conflict(), 0);
    EXPECT_TRUE(reads().empty());
    int value = 0;
    EXPECT_EQ(dfd_get_card_vol(1, 1, nullptr), -1);
    EXPECT_EQ(dfd_get_card_vol(1, 1, &value), -6);
    EXPECT_EQ(value, -6) << "a negative code goes there too";
    EXPECT_EQ(drv_get_power_temp(1, 0), -5) << "the temperature itself";
    EXPECT_EQ(drv_get_power_temp(2, 0), -6);
    EXPECT_EQ(drv_get_sys_power_rsupply(nullptr), -1);
    EXPECT_EQ(drv_get_sys_power_rsupply(&value), 0);
    EXPECT_EQ(value, 2000);
    EXPECT_EQ(dfd_get_fan_temp(1, &value), 0);
    EXPECT_EQ(value, 30);
    EXPECT_EQ(dfd_get_fan_temp(2, &value), -6);
    EXPECT_EQ(value, 30);
    EXPECT_EQ(drv_get_fan_speed(1, 2, &value), 0);
    EXPECT_EQ(value, 5000);
    EXPECT_EQ(drv_get_fan_speed_level(1, 2, &value), 0);
    EXPECT_EQ(value, 3);
    EXPECT_EQ(drv_get_fan_speed(1, 2, nullptr), -1);
    EXPECT_EQ(drv_get_fan_speed_level(1, 2, nullptr), -1);
    EXPECT_EQ(drv_set_fan_speed_level(1, 2, 6), 0);
    EXPECT_THAT(writes(), ElementsAre(Pair(0x20U, 1U), Pair(0x21U, 6U))) << "mode 1 first";
}

TEST_F(DriverTest, AMissingItemOutranksANullPointer) {
    struct Row {
        const char *what;
        std::function<int()> call;
        std::string log = {};  // for the missing item
    };
    const Row kRows[] = {
        {"heartbeat", [] { return sdd_get_support_lc_hwhb(nullptr); }},
        {"CPLD date", [] { return sdd_get_cpld_ver_date(nullptr, nullptr); }},
        {"FPGA date", [] { return sdd_get_fpga_ver_date(nullptr, nullptr); }},
        {"eeprom", [] { return sdd_get_eeprom_fail_status(nullptr); }},
        {"sensor", [] { return sdd_get_mb_temp_fail_status(nullptr); }},
        {"SFP", [] { return dfd_port_get_sfp_present(7, nullptr); },
         "sfp lport[7] state not support\r\n"},
        {"fan", [] { return dfd_get_fan_temp(1, nullptr); }},
        {"rated power", [] { return sdd_get_card_power_consume(2, nullptr); }},
        {"warning level", [] { return sdd_get_card_vol_waterline(2, 1, nullptr); }},
        {"MAC", [] { return sdd_get_bp_mac(1, nullptr); },
         "get backplane[1] mac buf fail, rv=-6\r\n"},
        {"amount", [] { return sdd_get_bp_scale_mac(nullptr); },
         "get backplane scale mac config fail, key=0x19000000\r\n"},
        {"serial", [] { return sdd_get_bp_serial(1, 2, nullptr); },
         "get backplane[1] serial2 buf fail, rv=-6\r\n"},
    };
    start("card_vol_num=1\n");
    for (const Row &row : kRows) {
        EXPECT_EQ(logged_by(DFD_DEBUG_ERR, [&] { EXPECT_EQ(row.call(), -6); }), row.log)
            << row.what;
    }
    const auto bytes = [](const std::string &key, const std::string &at) {
        return register_item(key, 0x20, at) + key + ".frmt" + at + "=buf\n";
    };
    start("card_vol_num=1\nbackplane_scale_mac=1\n" + constant("support_lc_hwhb", 1) +
          bytes("cpld_ver_date", "") + bytes("fpga_ver_date", "") +
          constant("eeprom_fail_status", 1) + constant("mb_temp_fail_status", 1) +
          constant("port_sfp_state", 1, "_7") + constant("fan_temp", 30, "_1") +
          constant("card_rate_power", 90, "_2") + constant("card_vol_waterline", 1100, "_2_1") +
          bytes("backplane_mac", "_1") + constant("backplane_serial2", 1, "_1"));
    for (const Row &row : kRows) {
        EXPECT_EQ(row.call(), -8) << row.what;
    }
}

TEST_F(DriverTest, CapacitiesThatAreChecked) {
    start("");
    char text[32] = "untouched";
    int len = 20;
    EXPECT_EQ(drv_get_fan_sw_version(1, text, &len), -1);
    EXPECT_EQ(drv_get_fan_sw_version(1, nullptr, &len), -1);
    EXPECT_EQ(drv_get_fan_sw_version(1, text, nullptr), -1);
    EXPECT_EQ(drv_get_fan_hw_version(1, nullptr, &len), -1);
    EXPECT_EQ(drv_get_fan_hw_version(1, text, nullptr), -1);
    EXPECT_STREQ(text, "untouched");
    len = 21;
    EXPECT_EQ(drv_get_fan_sw_version(1, text, &len), -6) << "passed on";
    EXPECT_EQ(drv_get_fan_hw_version(1, text, &len), -6);
}

TEST_F(DriverTest, FixedAnswersTouchNothing) {
    start(register_item("fan_mode", 0x20));
    int value = 0;
    EXPECT_EQ(drv_set_fan_mode(1), -1);
    EXPECT_EQ(dfd_mb_is_compatible(1, 2), 1);
    EXPECT_EQ(drv_my_dev_type_is_fe(), 0);
    EXPECT_EQ(drv_get_card_vol_i2c(1, 1, &value), -1);
    EXPECT_EQ(drv_adj_poe_pwr_vol(1, 1), -1);
    EXPECT_EQ(drv_get_sys_poe_power_rsupply(&value), -1);
    EXPECT_EQ(drv_get_sys_poe_power_osupply(&value), -1);
    EXPECT_EQ(dfd_dev_remap_fanid(7), 7);
    EXPECT_TRUE(chassis.log().empty());
}

}  // namespace
