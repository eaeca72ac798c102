// SPDX-License-Identifier: MIT
// dfdctl explain as a program: offline, with given values, and on the virtual chassis.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/programs.h"

namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using tools_test::Board;
using tools_test::Result;
using tools_test::run_tool;

Result explain(const std::string &arguments) {
    const bool has_root = arguments.find("--root") != std::string::npos;
    return run_tool(std::string("dfdctl explain ") +
                    (has_root ? "" : "--root " BUILD_DIR "/boards/demo ") + arguments);
}

TEST(Explain, OfflineAFunctionOrAnItem) {
    struct Case {
        const char *arguments;
        int status;
        std::vector<const char *> parts;
    };
    const Case cases[] = {
        {"drv_get_fan_status 2",
         0,
         {"1. fan_state_2\n", "localbus /dev/fpga0 register 0x41, bit 1 width 1, inverted",
          "mode=config cm8_fans.cfg:", ", src=localbus :", "10. fan_line_fail_2\n",
          "fan_state_2 = 1", "Nothing was read or written."}},
        {"drv_get_card_temp", 0, {"drv_get_card_temp(11, 1)", "card_temp_ctrl_0_1"}},
        {"drv_fpga_self_test", 0, {"Asks for no item and no device.\n"}},
        // A constant is no assumption.
        {"drv_get_fan_num 1", 0, {"1. subfan_num_1\n", "    value    2\n", "value 2\nNothing"}},
        {"drv_get_card_vol 3", 0, {"drv_get_card_vol(3, 1)", "my_slotid = 2"}},
        {"drv_get_card_vol --answer my_slotid=4", 0, {"drv_get_card_vol(5, 1)"}},
        // Minus six degrees, not "not configured".
        {"drv_get_power_temp 1 --answer 'power_temp 1=2042'", 0, {"Result then: -6 C\n"}},
        // The later answer counts; only one temperature says that the reading failed.
        {"sdd_get_fan_temp 1 --answer 'fan_temp 1=45' --answer 'fan_temp 1=46'",
         0,
         {"Result then: 46 C\n"}},
        {"dfd_set_card_temp_cfg 0 3",
         3,
         {"card_temp_ctrl (there is no such slot): not configured"}},
        {"drv_get_fan_status 9", 3, {"fan_state_9: not configured", "Result then: -6"}},
        // -1, not -6
        {"drv_get_power_osupply 9", 3, {"Because power_out_voltage_9 is not configured."}},
        {"drv_get_fan_type 2", 0, {"looks up \"FT2-F\" in the items fan_name: 17"}},
        {"drv_get_card_temp 1 1", 0, {"my_slotid = 0", "card_temp_ctrl_0_1", "value 1 C"}},
        {"drv_set_fan_speed_level 1 1 2",
         0,
         {"1. fan_mode\n", "fan_speedlvl_convert_2", "low byte: 0x80",
          "writes   /dev/fpga0 at 0x30, 1 byte: 80"}},
        {"sdd_reset_lc_all", 0, {"reset_lc_1 to reset_lc_2: not configured", "waits    200 ms"}},
        {"drv_reset_master --answer mcpu_present=1 --answer mcpu_rdy_status=1",
         0,
         {"repeats", "800 times in all", "Result then: -1"}},
        {"fan_num",
         0,
         {"value    4", "8.cfg:3 (replaces 2 of cm8_fans.cfg:7)",
          "looks at: ", "drv_get_sys_fan_num()"}},
        {"power_dc_ac 1", 0, {"used by  no function of the library"}},
        {"power_name 2", 0, {"value    \"PS800-DC\""}},
        {"fan_state 9", 3, {"not configured", "reads items of this type: drv_get_fan_status,"}},
        {"fan_state 2 --answer 'fan_state 2=0'",
         0,
         {"reads    /dev/fpga0 at 0x41: ff", "inverted (pola negative): 0x00",
          "shifted right by 1, masked with 0x01: 0"}},
        {"drv_get_fan_status 2 --answer 'fan_state 2=0'", 0, {"Result then: 0 (absent)"}},
        {"drv_get_power_vol_in 1 --answer 'power_in_voltage 1=0xf9cd'",
         0,
         {"0x58 at 0x88, 2 bytes: cd f9", "Result then: 0, value 230 V"}},
    };
    for (const Case &each : cases) {
        const Result result = explain(each.arguments);
        EXPECT_EQ(result.status, each.status) << each.arguments << result.err;
        for (const char *part : each.parts) {
            EXPECT_THAT(result.out, HasSubstr(part)) << each.arguments;
        }
    }
}

TEST(Explain, MistakesOnTheCommandLine) {
    struct Case {
        const char *arguments;
        const char *message;
    };
    const Case cases[] = {
        {"drv_get_fan_statu 1", "did you mean 'drv_get_fan_status'"},
        {"fan_stat 1", "did you mean 'fan_state'"},
        {"drv_get_fan_speed 1 2 3", "drv_get_fan_speed takes FAN ROTOR"},
        {"drv_get_fan_speed one", "'one' is no number: drv_get_fan_speed takes FAN ROTOR"},
        {"drv_get_my_slotid 1", "takes no arguments"},
        {"dfd_i2c_read 0 0x50 5000", "at most 256"},
        {"sdd_fan_name_remove_sp $(printf %300s | tr ' ' x)", "at most 256"},
        {"fan_state", "fan_state takes one index"},
        {"dev_drv_init", "dev_drv_init is not explained"},
        {"fan_state 1 --read", "without --root"},
        {"fan_state_1 --answer fan_state", "such as 'fan_state_1=0'"},
        {"fan_state_1 --answer =1", "such as 'fan_state_1=0'"},
        {"fan_state 1 --answer 'fan_state 1=up'", "reads a number"},
        {"fan_state 1 --answer 'fan_num=3'", "not configured as something that is read"},
        {"fan_state 1 --board 61", "no list of files for board type 0x3d"},
        {"fan_state 1 --root " BUILD_DIR "/boards", "several boards there"},
        {"fan_state 1 --chassis 300", "a backplane EEPROM tells 0 to 255"},
    };
    for (const Case &each : cases) {
        const Result result = explain(each.arguments);
        EXPECT_EQ(result.status, 2) << each.arguments;
        EXPECT_THAT(result.err, HasSubstr(each.message)) << each.arguments;
        EXPECT_THAT(result.out, IsEmpty()) << each.arguments;
    }
}

TEST(Explain, FitsAConsole) {
    for (const char *arguments :
         {"drv_get_fan_status 1", "drv_irq_dispatch", "drv_get_card_vol 3"}) {
        const std::string out = explain(arguments).out;
        for (std::size_t at = 0; at < out.size();) {
            const std::size_t end = out.find('\n', at);
            EXPECT_LE(end - at, 80U) << out.substr(at, end - at);
            at = end + 1;
        }
    }
}

TEST(Explain, ReadsTheHardwareOnDemand) {
    const Board board("demo");
    const Result speed = board.dfdctl("explain drv_get_fan_speed 2 1 --read");
    EXPECT_EQ(speed.status, 0) << speed.err;
    EXPECT_THAT(speed.out, AllOf(HasSubstr("reads    /dev/fpga0 at 0x14: e8 17"),
                                 HasSubstr("joined, least significant byte first: 6120"),
                                 HasSubstr("Result: 0, value 6120 rpm"), Not(HasSubstr("ssumed"))));
    struct Case {
        const char *arguments;
        std::vector<const char *> parts;
    };
    const Case cases[] = {
        {"power_out_voltage 1",
         {"As drv_get_power_ovol(1) reads it", "converted by the function", "Result: 12062 mV"}},
        {"fan_state 1", {"As dfd_info_get_int reads it"}},
        {"power_state 1", {"As dfd_info_get_int reads it"}},  // mode func
        {"my_slotid", {"As drv_get_my_slotid() reads it"}},
        {"card_temp_ctrl 0 1", {"As drv_get_card_temp(1, 1) reads it", "value 27 C"}},
        {"drv_get_card_vol", {"drv_get_card_vol(1, 1)", "Result: 3298 mV"}},
        {"sdd_get_led 0", {"value 1 (green)"}},
        {"sdd_get_bp_hw_ver 2", {"Result: 4, value \"1.10\""}},
        // The result is a length, and keeps the function from delivering the text.
        {"drv_get_fan_cpld_version 1", {"31 2e 30 35", "Result: 4, value \"\""}},
        {"dfd_get_e2prom_info /dev/i2c-1 0x50", {"Result: 0, value 01 7e 10 10 28 00 02 06"}},
        {"sdd_get_mac_temp_from_file /tmp/bspinfo/mac_temp.bin", {"Result: 100, value 00"}},
    };
    for (const Case &each : cases) {
        const Result result = board.dfdctl(fmt::format("explain {} --read", each.arguments));
        EXPECT_EQ(result.status, 0) << each.arguments << result.err;
        for (const char *part : each.parts) {
            EXPECT_THAT(result.out, HasSubstr(part)) << each.arguments;
        }
    }
    const Result setter = board.dfdctl("explain drv_reset_master --read");
    EXPECT_EQ(setter.status, 2);
    EXPECT_THAT(setter.err, HasSubstr("does more than read"));
}

TEST(Explain, SaysWhatAFailureComesFrom) {
    const Board board("demo");
    board.replace("etc/cfg/dfd/cfg_file/cm8_fans.cfg", "fan_state.fpath_2=/dev/fpga0",
                  "fan_state.fpath_2=/dev/fpga7");
    const Result result = board.dfdctl("explain drv_get_fan_status 2 --read");
    EXPECT_EQ(result.status, 4);
    EXPECT_THAT(result.out,
                AllOf(HasSubstr("reads    /dev/fpga7 at 0x41, 1 byte: fails (-1, ENOENT"),
                      HasSubstr("Result: -7: a hardware read or write failed"),
                      HasSubstr("Because fan_state_2 cannot be read.")));
    board.replace("etc/cfg/dfd/cfg_file/cm8_fans.cfg", "fan_temp.fpath_2=/dev/",
                  "fan_temp.fpath_2=/dev/no-");
    const Result temperature = board.dfdctl("explain dfd_get_fan_temp 2 --read");
    EXPECT_EQ(temperature.status, 4);
    EXPECT_THAT(temperature.out, AllOf(HasSubstr("value 65535 C (the reading failed)"),
                                       HasSubstr("Because fan_temp_2 cannot be read.")));
    // Tray 4 is pulled out.
    EXPECT_THAT(board.dfdctl("explain drv_get_fan_sn 4 --read").out,
                AllOf(HasSubstr("repeats  from the transfer on, 5 times in all"),
                      HasSubstr("/dev/i2c-1 address 0x53 does not answer; fan_state_4 tells")));
}

TEST(Explain, TouchesNoHardwareUnlessAsked) {
    const Board board("demo");
    const auto trace_of = [&](const std::string &arguments) {
        const std::string trace = board.file("trace").string();
        board.vchassis("run --trace=" + trace, "-- " BUILD_DIR "/dfdctl " + arguments);
        // Without the number of the process.
        return tools_test::run("sed 's/^[^ ]* //' " + trace).out;
    };
    const std::string startup = trace_of("explain fan_num");
    EXPECT_THAT(startup, HasSubstr("transfer /dev/i2c-3"));
    for (const char *call : {"drv_reset_linecard 3 0", "drv_get_fan_status 1", "fan_sn 1",
                             "drv_set_led 4 1 1", "drv_set_fan_info 1", "drv_irq_dispatch"}) {
        EXPECT_EQ(trace_of(fmt::format("explain {}", call)), startup) << call;
    }
}

TEST(Explain, AsJson) {
    const Board board("demo");
    const json call = board.dfdctl("--json explain drv_get_fan_speed 2 1 --read").json();
    EXPECT_EQ(call["call"], "drv_get_fan_speed(2, 1)");
    EXPECT_EQ(call["reading"], "hardware");
    const json &stage = call["stages"].at(0);
    EXPECT_EQ(stage["item"]["name"], "fan_real_speed");
    EXPECT_EQ(stage["set_by"].at(0)["value"], "config");
    const json &engine = stage["events"].at(1);
    EXPECT_EQ(engine["value"], 6120);
    EXPECT_EQ(engine["steps"].back()["value"], "6120");
    EXPECT_EQ(stage["events"].at(2)["bytes"], "e8");
    EXPECT_EQ(call["outputs"].at(0), (json{{"value", 6120}, {"unit", "rpm"}}));

    const json item = board.dfdctl("--json explain fan_num").json();
    EXPECT_EQ(item["set_by"].at(0)["replaces"].at(0), "2 of cm8_fans.cfg:7");
    EXPECT_EQ(item["used_by"].at(0)["function"], "drv_get_sys_fan_num");
}

}  // namespace
