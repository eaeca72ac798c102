// SPDX-License-Identifier: MIT
#include "support/board.h"

namespace {

using dfd_test::register_item;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using vchassis::Op;

constexpr char kMarker[] = "/tmp/.factory_disabale_cli_tty";

// Every LED at a register of its own, with values that tell state and LED apart.
struct LedRow {
    std::uint32_t type;
    const char *control;
    const char *table;  // null: shared with an earlier row
    const char *at;
    unsigned reg;
    unsigned base;  // register value of state 0; each state adds 1
    bool readable;
};

constexpr LedRow kLeds[] = {
    {DFD_LED_STATUS, "mb_status_led_ctrl", "mb_status_led_info", "", 0x10, 0x10, true},
    {DFD_LED_PRIMARY, "mb_primary_led_ctrl", "mb_primary_led_info", "", 0x11, 0x20, true},
    {DFD_LED_ALARM, "mb_alarm_led_ctrl", "mb_alarm_led_info", "", 0x12, 0x30, true},
    {DFD_LED_FABRIC, "mb_fe_led_ctrl", "mb_fe_led_info", "", 0x13, 0x40, true},
    {DFD_LED_FAN, "mb_fan_led_ctrl", "mb_fan_led_info", "_3", 0x14, 0x50, false},
    {DFD_LED_FAN_IN_FAN, "mb_fan_in_fan_led_ctrl", nullptr, "_3", 0x15, 0x50, false},
    {DFD_LED_POWER, "mb_pwr_led_ctrl", "mb_pwr_led_info", "_3", 0x16, 0x60, false},
    {DFD_LED_LINE_CARD, "lc_status_led_ctrl", "lc_status_led_info", "", 0x17, 0x70, true},
    {DFD_LED_FABRIC_OFFLINE, "fe_offline_led_ctrl", "fe_offline_led_info", "", 0x18, 0x80, true},
    {DFD_LED_LOCATION, "location_led_ctrl", "location_led_info", "", 0x19, 0x90, false},
};

class LedTest : public dfd_test::BoardTest {
  protected:
    // `fspark_close` is not supported.
    static std::string table(const char *key, unsigned base) {
        std::string lines;
        for (unsigned state = 0; state < 7; ++state) {
            lines += std::string(key) + led_info_mem_str[state] + "=" +
                     (state == 6 ? "" : std::to_string(base + state)) + "\n";
        }
        return lines;
    }
    static std::string all_leds() {
        std::string config = register_item("mb_fan_led_ctrl", 0x24, "_0") +
                             register_item("mb_pwr_led_ctrl", 0x26, "_0");
        for (const LedRow &row : kLeds) {
            config += register_item(row.control, row.reg, row.at);
            if (row.table != nullptr) {
                config += table(row.table, row.base);
            }
        }
        return config;
    }
};

TEST_F(LedTest, EveryTypeReachesItsRegisterWithItsValue) {
    start(all_leds());
    for (const LedRow &row : kLeds) {
        chassis.clear_log();
        EXPECT_EQ(sdd_set_led(row.type, LED_STATE_SPARK, 3), 0) << row.control;
        EXPECT_THAT(writes(), ElementsAre(Pair(row.reg, row.base + 4))) << row.control;
        std::uint32_t state = 99;
        const int expected = row.readable ? 0 : -1;
        if (row.type != DFD_LED_FAN && row.type != DFD_LED_POWER) {
            EXPECT_EQ(sdd_get_led(row.type, &state), expected) << row.control;
            EXPECT_EQ(state, row.readable ? 4U : 99U) << row.control;
        }
    }
    set_reg(0x24, 0x52);
    set_reg(0x26, 0x63);
    std::uint32_t state = 99;
    EXPECT_EQ(sdd_get_led(DFD_LED_FAN, &state), 0);
    EXPECT_EQ(state, 2U) << "unit 0";
    EXPECT_EQ(sdd_get_led(DFD_LED_POWER, &state), 0);
    EXPECT_EQ(state, 3U) << "unit 0";
    for (const std::uint32_t type : {9U, 10U, 11U, 13U}) {
        EXPECT_EQ(sdd_set_led(type, 1, 0), -1);
        EXPECT_EQ(sdd_get_led(type, &state), -1);
    }
}

TEST_F(LedTest, StatesThatAreNotSupportedWriteNothing) {
    start(all_leds());
    for (const LedRow &row : kLeds) {
        for (const std::uint32_t state : {6U, 7U}) {
            EXPECT_EQ(sdd_set_led(row.type, state, 3), row.type == DFD_LED_FAN ? 0 : -6)
                << row.control;
        }
    }
    EXPECT_THAT(writes(), IsEmpty());
    std::uint32_t state = 99;
    set_reg(0x10, 0xEE);
    EXPECT_EQ(sdd_get_mymb_status_led(&state), 0);
    EXPECT_EQ(state, 99U) << "a value of no state";
}

TEST_F(LedTest, MarkerFileStopsOnlyTheDispatcher) {
    start(all_leds());
    chassis.write_file(kMarker, "");
    EXPECT_EQ(sdd_set_led(DFD_LED_STATUS, LED_STATE_RED, 0), 0);
    EXPECT_EQ(sdd_set_led(10, LED_STATE_RED, 0), 0);
    EXPECT_THAT(writes(), IsEmpty());
    EXPECT_EQ(sdd_set_mymb_status_led(LED_STATE_RED), 0);
    EXPECT_THAT(writes(), ElementsAre(Pair(0x10U, 0x12U)));
    std::uint32_t state = 0;
    EXPECT_EQ(sdd_get_led(DFD_LED_STATUS, &state), 0);
    EXPECT_EQ(state, 2U);
}

TEST_F(LedTest, FanAndPowerAreHandedToSoftwareFirst) {
    start(all_leds() + register_item("soft_led_ctrl", 0x30, "_4_3") +
          register_item("soft_led_ctrl", 0x31, "_6_3"));
    EXPECT_EQ(sdd_set_mymb_fan_led(3, LED_STATE_GREEN), 0);
    EXPECT_EQ(sdd_set_mymb_pwr_led(3, LED_STATE_GREEN), 0);
    EXPECT_EQ(sdd_set_mymb_fan_led(3, 6), 0) << "best effort";
    EXPECT_EQ(sdd_set_mymb_pwr_led(3, 6), -6);
    EXPECT_EQ(sdd_set_mymb_fan_led(9, LED_STATE_GREEN), 0) << "no such unit";
    EXPECT_EQ(sdd_set_mymb_pwr_led(9, LED_STATE_GREEN), -6);
    EXPECT_THAT(writes(), ElementsAre(Pair(0x30U, 1U), Pair(0x14U, 0x51U), Pair(0x31U, 1U),
                                      Pair(0x16U, 0x61U), Pair(0x30U, 1U), Pair(0x31U, 1U)));
    EXPECT_EQ(dfd_set_en_soft_led(4, 3, 0), 0);
    EXPECT_EQ(reg(0x30), 0);
    EXPECT_EQ(dfd_set_en_soft_led(4, 4, 0), -6);
}

TEST_F(LedTest, WhatIsMissingDecidesTheCode) {
    start(register_item("mb_status_led_ctrl", 0x10) + table("mb_primary_led_info", 1));
    std::uint32_t state = 99;
    EXPECT_EQ(sdd_set_mymb_status_led(1), -6) << "no table";
    EXPECT_EQ(sdd_get_mymb_status_led(&state), -6);
    EXPECT_EQ(sdd_set_mymb_primary_led(1), -6) << "no control";
    EXPECT_EQ(sdd_get_mymb_primary_led(&state), -6);
    EXPECT_EQ(state, 99U);
}

}  // namespace
