// SPDX-License-Identifier: MIT
// dfdctl get, set and items on the demo board.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/programs.h"

namespace tools_test {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;

std::vector<std::string> keys(const json &object) {
    std::vector<std::string> names;
    for (const auto &[name, value] : object.items()) {
        names.push_back(name);
    }
    return names;
}

TEST(Get, ValuesWithUnitAndName) {
    struct Case {
        const char *item;
        const char *expected;
    };
    const Case cases[] = {
        {"fan_num", "4"},
        {"mgmt_max_mtu", "9216 bytes"},
        {"power_name 2", "PS800-DC"},
        {"bp_e2prom_dev 1", "/dev/i2c-3 address 0x56"},
        {"irq_ctrl_num", "1"},
        {"card_temp_info 0 3", "cpu (tmp411)"},
        // As the configuration writes it, and as "items" prints it.
        {"card_temp_info_0_3", "cpu (tmp411)"},
        {"irq_info_0x0000_0", "power, values 1 0 0"},
        {"irq_info 0x0 0", "power, values 1 0 0"},
        {"mb_status_led_ctrl", "1 (green)"},
        {"mb_alarm_led_info",
         "dark 0, green 1, red 2, yellow 3, spark -, fspark_open -, fspark_close -"},
        {"slot_online 3", "1"},
        {"slot_online 4", "0"},
        {"fan_real_speed 2 1", "6120"},
        {"get_fan_cfg_speed 1 1", "2"},
        {"card_rate_power 5", "90 W"},
        {"card_rate_power 0", "55 W"},
        {"card_temp_ctrl 0 1", "27 C"},
        {"card_temp_ctrl 0 2", "42 C"},
        {"card_temp_ctrl 0 3", "58 C"},
        {"power_in_voltage 1", "230 V"},
        {"power_in_current 2", "11.5 A"},
        {"power_out_voltage 1", "12.062 V"},
        {"power_env_temp", "34 C"},
        {"sys_danger_temp", "85 C"},
        {"sys_alarm_temp", "75 C"},
        {"sys_power_rsupply", "2000"},
        {"fan_sn 2", "FT2F00240202"},
        {"fan_type 3", "33 (-F)"},
        {"power_type 1", "PS1200-AC"},
        {"cpld_ver_date", "not text: 20 24 06 18"},
        {"reset_button_type", "2 (long)"},
    };
    const Board board("demo");
    for (const Case &each : cases) {
        const Result result = board.dfdctl(fmt::format("get {}", each.item));
        EXPECT_EQ(result.out, fmt::format("{}\n", each.expected)) << each.item;
        EXPECT_EQ(result.status, 0) << each.item;
        EXPECT_EQ(result.err, "") << each.item;
    }
}

TEST(Get, FailuresHaveAnExitStatusAndTheReason) {
    struct Case {
        const char *arguments;
        int status;
        const char *message;
    };
    const Case cases[] = {
        {"get fan_nun", 2, "did you mean 'fan_num'"},
        {"get end_int", 2, "unknown item 'end_int'"},
        {"get slot_online", 2, "slot_online takes one index, 0 to 32"},
        {"get slot_online 33", 2, "0 to 32"},
        {"get slot_online_33", 2, "0 to 32"},
        {"get slot_online_", 2, "unknown item 'slot_online_', did you mean 'slot_online'"},
        {"get slot_online_1_2", 2, "slot_online takes one index"},
        {"get slot_onlin_1", 2, "unknown item 'slot_onlin_1', did you mean 'slot_online'"},
        {"get fan_num 1", 2, "fan_num takes no index"},
        {"get fan_real_speed 1", 2, "two indexes, the first 0 to 16, the second 0 to 16"},
        {"get fan_real_speed 1 x", 2, "index 'x' is out of range"},
        {"get slot_online 29", 3, "not configured on this board"},
        {"get sslot_e2prom 1 --jsn", 2, "--jsn"},
        {"get fan_sn 4", 1, "the unit is not plugged"},
        {"get qqqq", 2, "unknown item 'qqqq'; 'dfdctl items' lists those of this board"},
        {"gte fan_num", 2, "did you mean 'get'"},
        {"bogus", 2, "unknown command 'bogus'; the commands are: check, show, watch, get"},
        {"show bored", 2, "did you mean 'board'"},
        {"items --type fanname", 2, "did you mean 'fan_name'"},
        {"items --type port_sfp_statee", 2, "did you mean 'port_sfp_state'"},
        {"items --type led_inf", 2, "'led_info'"},
        {"items --typ fan_num", 2, "unexpected '--typ', did you mean '--type'"},
        {"items --hlp", 2, "unexpected '--hlp', did you mean '--help'?"},
        {"items --type vsd_support", 2, "did you mean 'vsd_support_num'"},
        {"items --type sslot_fpga_num", 3, "no 'sslot_fpga_num' is configured"},
        {"items --type", 2, "'--type' takes NAME: Only items of this name"},
        {"--width", 2, "'--width' takes N: Columns of text"},
        {"get fan_num --width=", 2, "'--width' takes N: Columns of text"},
        {"--json --width 80 gte fan_num", 2, "unknown command 'gte', did you mean 'get'"},
        {"--debug 9 get fan_num", 2, "0 to 4"},
        {"", 2, "a command is missing; the commands are: check, show, watch, get"},
        {"show", 2, "a command is missing; the commands behind 'show' are: board, slots"},
    };
    const Board board("demo");
    for (const Case &each : cases) {
        const Result result = board.dfdctl(each.arguments);
        EXPECT_EQ(result.status, each.status) << each.arguments;
        EXPECT_THAT(result.err, HasSubstr(each.message)) << each.arguments;
    }
}

TEST(Get, JsonHasTheSameKeysWhetherTheReadingWorksOrNot) {
    const Board board("demo");
    const json good = board.dfdctl("get fan_sn 1 --json").json();
    EXPECT_EQ(good["item"]["name"], "fan_sn");
    EXPECT_EQ(good["item"]["index1"], 1);
    EXPECT_EQ(good["item"]["index2"], nullptr);
    EXPECT_EQ(good["item"]["key"], "0x64000100");
    EXPECT_EQ(good["record"]["mode"], "tlv");
    EXPECT_EQ(good["reading"]["value"], "FT1F00240101");
    // "get" remembers the lines of its item only.
    const json listed = board.dfdctl("items --type fan_sn --json").json();
    EXPECT_EQ(listed["items"][0]["item"], good["item"]);
    EXPECT_EQ(good["set_by"], listed["items"][0]["set_by"]);
    for (const char *arguments :
         {"get fan_sn 4 --json", "get slot_online 11 --json", "get mb_status_led_ctrl --json"}) {
        const json other = board.dfdctl(arguments).json();
        EXPECT_EQ(keys(other), keys(good)) << arguments;
        EXPECT_EQ(keys(other["item"]), keys(good["item"])) << arguments;
        EXPECT_EQ(keys(other["reading"]), keys(good["reading"])) << arguments;
    }
    const json missing = board.dfdctl("--json get slot_online 11").json();
    EXPECT_EQ(missing["reading"]["status"], "not_configured");
    EXPECT_EQ(missing["reading"]["value"], nullptr);
    EXPECT_EQ(missing["record"], nullptr);
    const json led = board.dfdctl("get mb_status_led_ctrl --json").json();
    EXPECT_EQ(led["reading"]["value"], 1);
    EXPECT_EQ(led["reading"]["meaning"], "green");
    const json voltage = board.dfdctl("get power_in_voltage 1 --json").json();
    EXPECT_EQ(voltage["reading"]["value"], 230);
    EXPECT_EQ(voltage["reading"]["unit"], "V");
    // Looked up by the product name, whose bytes are not those of the number.
    const json type = board.dfdctl("get fan_type 2 --json").json();
    EXPECT_EQ(type["reading"]["value"], 17);
    EXPECT_EQ(type["reading"]["bytes"], nullptr);
}

TEST(Get, OutputCarriesDataOnlyAlsoWithTheLogOpen) {
    const Board board("demo");
    const Result result = board.dfdctl("--debug 1 get fan_sn 1");
    EXPECT_EQ(result.out, "FT1F00240101\n");
    EXPECT_THAT(result.err, testing::Not(HasSubstr("start parsing config file")));
    EXPECT_THAT(result.err, HasSubstr("TLV Len:2"));
    const Result all = board.dfdctl("--debug 1 --debug-startup get fan_sn 1");
    EXPECT_EQ(all.out, "FT1F00240101\n");
    EXPECT_THAT(all.err, HasSubstr("start parsing config file"));
    EXPECT_THAT(all.err, HasSubstr("TLV Len:2"));
    EXPECT_EQ(run(fmt::format("sh -c '{}/dfdctl --version >/dev/full'", BUILD_DIR)).status, 4);
    EXPECT_EQ(run(fmt::format("sh -c '{}/dfdctl show nothing 2>/dev/full'", BUILD_DIR)).status, 2)
        << "messages that nobody can read end nothing";
}

TEST(Set, WritesReadsBackAndStays) {
    struct Case {
        const char *item;
        const char *value;
        const char *before;
        const char *after;
    };
    const Case cases[] = {
        {"mb_status_led_ctrl", "red", "1 (green)", "2 (red)"},
        {"mb_status_led_ctrl", "7", "2 (red)", "7"},
        {"port_sfp_tx_2", "0", "1", "0"},
        {"reset_lc_3", "1", "0", "1"},
        {"fan_cfg_speed_1_2", "0x40", "128", "64"},
        {"get_fan_cfg_speed_1_2", "255", "1", "3"},
        {"bypass_state_1", "1", "0", "1"},
        {"fan_sn_1", "NEW1", "FT1F00240101", "NEW1"},
        {"fan_hw_ver_1", "2.00", "1.10", "2.00"},
        {"fan_sn_2", "FT2F00249999", "FT2F00240202", "FT2F00249999"},
        {"fan_sn_3", "FT0F999999999", "FT0F002403003", "FT0F999999999"},
        {"fan_hw_ver_3", "2.5a", "V1.23", "V2.5a"},
        {"power_hw_ver_2", "3.21", "2.05", "3.21"},
    };
    const Board board("demo");
    for (const Case &each : cases) {
        const TempDir dir;
        const Result result = board.dfdctl(fmt::format("set {} {} --yes --backup {}", each.item,
                                                       each.value, (dir.path() / "old").string()));
        EXPECT_EQ(result.out, fmt::format("{}: {} -> {}\n", each.item, each.before, each.after));
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(board.dfdctl(fmt::format("get {}", each.item)).out,
                  fmt::format("{}\n", each.after));
    }
    EXPECT_THAT(board.vchassis("peek", "/dev/cpld0 0x19").out, HasSubstr("ff"))
        << "write protection is back";
}

TEST(Set, PutsTheWriteProtectionBackAsItFoundIt) {
    const Board board("demo");
    board.replace("etc/cfg/dfd/cfg_file/cm8_cpld.cfg", "e2_write_protect.frmt_3=byte",
                  "e2_write_protect.frmt_3=bit\ne2_write_protect.pola_3=negative");
    struct Case {
        const char *found;  ///< of trays 1 to 4
        const char *left;
    };
    const Case cases[] = {
        {"0xff 0xff 0xa0 0xff", "ff ff a0 ff"},
        {"0xff 0x00 0xa0 0xff", "ff 00 a0 ff"},
        {"0x00 0x0f 0xa1 0x00", "00 0f a1 00"},
    };
    for (const Case &each : cases) {
        board.vchassis("poke", std::string("/dev/cpld0 0x19 ") + each.found);
        const TempDir dir;
        const Result result = board.dfdctl(fmt::format(
            "set fan_sn 1 SN{} --yes --backup {}", &each - cases, (dir.path() / "old").string()));
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_THAT(board.vchassis("peek", "/dev/cpld0 0x19 4").out, HasSubstr(each.left));
    }
}

TEST(Set, RefusesWhatCannotBeWrittenWithTheReason) {
    struct Case {
        const char *arguments;
        int status;
        const char *message;
    };
    const Case cases[] = {
        {"fan_num 7", 2, "setting of the configuration (8.cfg:3)"},
        {"power_name 1 X", 2, "setting of the configuration"},
        {"subfan_num 1 3", 2, "mode constant"},
        {"power_state 1 1", 2, "mode func"},
        {"my_sslotid 1", 2, "files are only read"},
        {"backplane_sn 2 X", 2, "format buf is only read"},
        {"sys_power_osupply 1", 2, "has 2 bytes"},
        {"mb_status_led_ctrl 8", 2, "8 is out of range, 0 to 7"},
        {"fan_cfg_speed 1 1 256", 2, "0 to 255"},
        {"mb_alarm_led_ctrl spark", 2, "cannot show 'spark'"},
        {"mb_status_led_ctrl grene", 2, "did you mean 'green'"},
        {"power_type 1 X", 2, "can be set"},
        {"slot_online 11 1", 3, "not configured"},
        {"slot_online 1", 2, "slot_online takes one index"},
        {"fan_sn 3 short", 2, "exactly 13 characters"},
        {"fan_sn 1 much-too-long-for-this-entry", 2, "the entry has room for 19"},
        {"fan_sn 1 NEW </dev/null", 2, "confirm with --yes"},
        {"fan_sn 1 ''", 2, "an empty text"},
        {"fan_sn 4 X", 1, "not plugged"},
    };
    const Board board("demo");
    for (const Case &each : cases) {
        const Result result = board.dfdctl(fmt::format("set {}", each.arguments));
        EXPECT_EQ(result.status, each.status) << each.arguments;
        EXPECT_THAT(result.err, HasSubstr(each.message)) << each.arguments;
    }
    const json document = board.dfdctl("--json set fan_sn 4 X").json();
    EXPECT_EQ(document["verified"], false);
    EXPECT_EQ(document["before"]["value"], document["after"]["value"]);
    const Result missing = board.dfdctl("--json set slot_online 11 1");
    EXPECT_EQ(missing.status, 3);
    EXPECT_EQ(keys(missing.json()), keys(document));
    EXPECT_EQ(missing.json()["before"]["status"], "not_configured");
}

TEST(Items, AllOfAKindWithDescriptionAndOrigin) {
    const Board board("demo");
    const Result result = board.dfdctl("items --type fan_num");
    EXPECT_THAT(result.out, testing::MatchesRegex(".*ITEM +SET BY +DESCRIPTION\n +fan_num +8.cfg:3 "
                                                  "+4\n"));
    const json document = board.dfdctl("items --json").json();
    EXPECT_GT(document["items"].size(), 200U);
    for (const json &item : document["items"]) {
        EXPECT_EQ(item["reading"], nullptr);
        EXPECT_NE(item["record"], nullptr) << item;
        EXPECT_THAT(item["set_by"], testing::Not(IsEmpty())) << item;
    }
    const json i2c = board.dfdctl("items --type i2c_dev --json").json();
    ASSERT_EQ(i2c["items"].size(), 1U);
    EXPECT_EQ(i2c["items"][0]["record"], (json{{"bus", 3}, {"addr", 0x56}}));
    const json origin = i2c["items"][0]["set_by"];
    ASSERT_EQ(origin.size(), 2U);
    EXPECT_EQ(origin[0]["file"], "/etc/cfg/dfd/cfg_file/cm8_backplane.cfg");
}

TEST(Items, ValuesOfTheWholeBoard) {
    const Board board("demo");
    const Result result = board.dfdctl("items --values --json");
    EXPECT_EQ(result.status, 0) << "an absent unit is no failure";
    int absent = 0;
    const json document = result.json();
    for (const json &item : document["items"]) {
        const std::string status = item["reading"]["status"];
        absent += status == "absent" ? 1 : 0;
        EXPECT_TRUE(status == "ok" || status == "absent") << item;
    }
    EXPECT_EQ(absent, 3) << "type, serial number and version of fan tray 4";
}

}  // namespace
}  // namespace tools_test
