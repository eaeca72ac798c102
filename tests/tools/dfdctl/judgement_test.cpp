// SPDX-License-Identifier: MIT
// What dfdctl judges, one sick chassis a case: the mark on the page, and in its JSON.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/programs.h"

namespace tools_test {
namespace {

using nlohmann::json;

/// A chassis, and where a word is expected.
struct Sick {
    const char *name;
    std::vector<const char *> pokes;  ///< registers that fall ill
    const char *config;               ///< lines behind the configuration
    const char *page;
    const char *cell;  ///< JSON pointer
    const char *severity;
    const char *word;
    json limit;
    const char *item;  ///< the first one behind it
    const char *text;  ///< of the table
};

void PrintTo(const Sick &sick, std::ostream *out) {
    *out << sick.name;
}

const Sick kSick[] = {
    // A slow rotor whose speed register belongs to no level: the floor does not count.
    {"tray_fails",
     {"/dev/fpga0 0x50 0x01", "/dev/fpga0 0x30 0x11"},
     "fan_fail_status.mode_1=constant\nfan_fail_status.int_cons_1=1\n",
     "fans",
     "/trays/0/state",
     "alarm",
     "FAILED",
     nullptr,
     "fan_fail_status_1",
     "\n  1  *FAILED  *16"},
    {"tray_without_power",
     {"/dev/fpga0 0x42 0x01"},
     "",
     "fans",
     "/trays/0/state",
     "alarm",
     "NO POWER",
     nullptr,
     "fan_line_fail_1",
     "\n  1  *NO POWER  *16"},
    {"tray_of_a_stopped_rotor",
     {"/dev/fpga0 0x50 0x04"},
     "",
     "fans",
     "/trays/1/state",
     "alarm",
     "FAILED",
     nullptr,
     "fan_speed_floor",
     "\n  2  *FAILED  *17"},
    {"rotor_stopped",
     {"/dev/fpga0 0x50 0x04"},
     "",
     "fans",
     "/rotors/2/speed",
     "alarm",
     "STOPPED",
     1200.0,
     "fan_real_speed_2_1",
     "\n  2  *1  *present .* 0 rpm STOPPED  *2"},
    {"rotor_slow",
     {},
     "fan_speed_floor=5881\n",
     "fans",
     "/rotors/4/speed",
     "alarm",
     "SLOW",
     5881.0,
     "fan_real_speed_3_1",
     "\n  3  *1  *present .* 5880 rpm SLOW  *2"},
    {"rotor_reported",
     {},
     "fan_fail_bmp.mode_1=constant\nfan_fail_bmp.int_cons_1=2\n",
     "fans",
     "/rotors/1/state",
     "alarm",
     "FAILED",
     nullptr,
     "fan_fail_bmp_1",
     "\n  1  *2  *present  *FAILED  *5900 rpm  "},
    {"supply_fails",
     {"/dev/cpld0 0x12 0x02"},
     "",
     "power",
     "/supplies/1/state",
     "alarm",
     "FAILED",
     nullptr,
     "power_fail_2",
     "\n  2  *FAILED  *PS800-DC"},
    {"supply_without_input",
     {},
     "",
     "power",
     "/supplies/3/state",
     "alarm",
     "NO INPUT",
     nullptr,
     "power_line_fail_4",
     "\n  4  *NO INPUT  *PS1200-AC"},
    {"supply_contradicts_itself",
     {},
     "power_state.mode_2=constant\npower_state.int_cons_2=0\n",
     "power",
     "/supplies/1/state",
     "warning",
     "UNSURE",
     nullptr,
     "power_state_2",
     "\n  2  *UNSURE  *-"},
    {"power_lacks",
     {"/dev/cpld0 0x13 0x03"},
     "",
     "power",
     "/system/lacking",
     "alarm",
     "LACKING",
     nullptr,
     "system_power_lack",
     "power is lacking  *LACKING\n"},
    {"too_hot",
     {},
     "sys_alarm_temp.int_cons=41\n",
     "temps",
     "/sensors/1/temperature",
     "alarm",
     "ALARM",
     41.0,
     "card_temp_ctrl_0_2",
     "outlet  *lm75  *42 C ALARM"},
    // 45 degrees in a register with three fraction bits.
    {"so_hot_that_it_shuts_down",
     {"/dev/cpld0 0x62 0x01", "/dev/cpld0 0x63 0x68"},
     "",
     "temps",
     "/sensors/5/temperature",
     "alarm",
     "SHUTDOWN",
     45.0,
     "card_temp_ctrl_31_1",
     "fabric  *lm75  *46 C SHUTDOWN"},
    {"sensors_fail",
     {},
     "mb_temp_fail_status.mode=constant\nmb_temp_fail_status.int_cons=1\n",
     "temps",
     "/thresholds/sensors_failed",
     "alarm",
     "FAILED",
     nullptr,
     "mb_temp_fail_status",
     "sensor self-test failed  *FAILED\n"},
    {"voltage_low",
     {},
     "card_vol_waterline.int_cons_0_1=3299\n",
     "voltages",
     "/channels/1/voltage",
     "warning",
     "LOW",
     3.299,
     "card_vol_low_0_1",
     "\n  0  *1  *3.298 V LOW  *3.299 V"},
    {"no_reference",
     {"/dev/cpld1 0x40 0x00", "/dev/cpld1 0x41 0x00"},
     "",
     "voltages",
     "/channels/0/voltage",
     "warning",
     "ZERO",
     nullptr,
     "card_vol_low_0_0",
     "\n  0  *0  *0 V ZERO"},
    {"card_without_power",
     {},
     "card_power_status.mode_3=constant\ncard_power_status.int_cons_3=0\n",
     "slots",
     "/slots/2/power",
     "alarm",
     "NO POWER",
     nullptr,
     "card_power_status_3",
     "\n  3  *no  *present  *NO POWER  *on  *released"},
    {"chassis_lacks_power_for_a_card",
     {"/dev/cpld1 0x18 0x04"},
     "",
     "slots",
     "/slots/2/power",
     "alarm",
     "NO POWER",
     nullptr,
     "card_power_status_3",
     "\n  3  *no  *present  *NO POWER"},
    {"card_switched_off",
     {"/dev/cpld1 0x12 0x30"},
     "",
     "slots",
     "/slots/2/power",
     "warning",
     "OFF",
     nullptr,
     "card_power_status_3",
     "\n  3  *no  *present  *OFF  *off  *released"},
    {"card_in_reset",
     {"/dev/cpld1 0x13 0xef"},
     "",
     "slots",
     "/slots/4/reset",
     "alarm",
     "RESET",
     nullptr,
     "reset_lc_5",
     "\n  5  *no  *present  *on  *on  *RESET  "},
    {"peer_does_not_come_up",
     {"/dev/cpld0 0x0a 0x01"},
     "",
     "slots",
     "/board/peer_master",
     "warning",
     "NOT READY",
     nullptr,
     "mcpu_rdy_status",
     "peer master board  *NOT READY\n"},
    // Master without being ready.
    {"peer_contradicts_itself",
     {},
     "mcpu_rdy_status.mode=constant\nmcpu_rdy_status.int_cons=0\n"
     "mcpu_master_status.mode=constant\nmcpu_master_status.int_cons=1\n",
     "slots",
     "/board/peer_master",
     "warning",
     "INCONSISTENT",
     nullptr,
     "mcpu_rdy_status",
     "peer master board  *INCONSISTENT\n"},
    {"eeprom_fails",
     {},
     "eeprom_fail_status.mode=constant\neeprom_fail_status.int_cons=1\n",
     "slots",
     "/board/eeprom_failed",
     "alarm",
     "FAILED",
     nullptr,
     "eeprom_fail_status",
     "EEPROM self-test failed  *FAILED\n"},
    {"interrupt_pending",
     {"/dev/cpld0 0x50 0x02"},
     "",
     "irq",
     "/sources/1/pending",
     "warning",
     "PENDING",
     nullptr,
     "3rd_irq_status_0_0",
     "\n  0.0.1  *power  *2 0 0  *PENDING"},
    // One register masks all sources of a third level; it stands with the first of them.
    {"interrupt_masked_with_its_group",
     {"/dev/cpld0 0x50 0x02", "/dev/cpld0 0x48 0x01"},
     "",
     "irq",
     "/sources/1/pending",
     "note",
     "PENDING",
     nullptr,
     "3rd_irq_status_0_0",
     "\n  0.0.1  *power  *2 0 0  *PENDING  *yes"},
    {"interrupt_masked",
     {"/dev/cpld0 0x50 0x01", "/dev/cpld0 0x48 0x01"},
     "",
     "irq",
     "/sources/0/pending",
     "note",
     "PENDING",
     nullptr,
     "3rd_irq_status_0_0",
     "\n  0.0.0  *power  *1 0 0  *PENDING  *yes"},
};

void make_sick(const Board &board, const Sick &sick) {
    board.append(kChassisFile, sick.config);
    for (const char *poke : sick.pokes) {
        ASSERT_EQ(board.vchassis("poke", poke).status, 0) << poke;
    }
}

class Judgement : public testing::TestWithParam<Sick> {};

TEST_P(Judgement, MarksThePage) {
    const Sick &sick = GetParam();
    const Board board("demo");
    make_sick(board, sick);
    const json page = board.dfdctl(fmt::format("show {} --json", sick.page)).json();
    const json found = page.at(json::json_pointer(sick.cell))["judgement"];
    EXPECT_EQ(found["severity"], sick.severity);
    EXPECT_EQ(found["word"], sick.word);
    EXPECT_EQ(found["limit"], sick.limit);
    EXPECT_EQ(found["items"].at(0), sick.item);
    EXPECT_THAT(board.dfdctl(fmt::format("show {}", sick.page)).out,
                testing::ContainsRegex(sick.text));
}

INSTANTIATE_TEST_SUITE_P(Sick, Judgement, testing::ValuesIn(kSick),
                         [](const auto &sick) { return std::string(sick.param.name); });

/// All judgements of a document that are not null.
void collect(const json &node, std::vector<json> &found) {
    if (node.is_object() && node.contains("judgement") && !node["judgement"].is_null()) {
        found.push_back(node["judgement"]);
    }
    for (const json &each : node) {
        if (each.is_structured()) {
            collect(each, found);
        }
    }
}

bool is_told(const json &mark, const json &findings) {
    return std::ranges::any_of(findings, [&](const json &finding) {
        // A tray that failed because of a rotor is told by the rotor.
        const bool is_rotor = mark["items"] == json{"fan_speed_floor"} &&
                              finding["items"].size() == 2 &&
                              finding["items"][1] == "fan_speed_floor";
        return is_rotor ||
               (finding["word"] == mark["word"] && finding["items"] == mark["items"] &&
                finding["limit"] == mark["limit"] && finding["severity"] == mark["severity"]);
    });
}

TEST_P(Judgement, IsALineOfCheck) {
    const Sick &sick = GetParam();
    const Board board("demo");
    make_sick(board, sick);
    const Result result = board.dfdctl("check --json");
    // Supply 4 has no input in any case.
    EXPECT_EQ(result.status, 1);
    const json findings = result.json()["findings"];
    std::vector<json> marks;
    collect(board.dfdctl("show all --json").json(), marks);
    EXPECT_FALSE(marks.empty());
    for (const json &mark : marks) {
        EXPECT_TRUE(is_told(mark, findings)) << mark << findings.dump(1);
    }
    for (const json &finding : findings) {
        const bool is_no_mark = finding["word"] == "NO VALUE" ||
                                finding["unit"].get<std::string>().ends_with(" EEPROM");
        EXPECT_TRUE(is_no_mark || std::ranges::any_of(marks,
                                                      [&](const json &mark) {
                                                          return mark["word"] == finding["word"] &&
                                                                 mark["items"] == finding["items"];
                                                      }))
            << finding;
    }
}

TEST(Judgement, NothingWithoutALimitOrAtIt) {
    struct Case {
        const char *name;
        const char *removed;  ///< its lines
        const char *file;
        const char *config;
        const char *poke;
        const char *page;
    };
    const Case cases[] = {
        {"speed at the floor", "", "", "fan_speed_floor=5880\n", "", "fans"},
        {"no floor", "fan_speed_floor", "cm8_fans", "", "/dev/fpga0 0x50 0x04", "fans"},
        {"told to stand still", "", "", "fan_speedlvl_convert_0=0\n", "/dev/fpga0 0x30 0x00",
         "fans"},
        {"temperature at the limit", "", "", "sys_alarm_temp.int_cons=58\n", "", "temps"},
        {"no alarm temperature", "sys_alarm_temp", "cm8_temps", "", "", "temps"},
        {"voltage at the level", "", "", "card_vol_waterline.int_cons_0_1=3298\n", "", "voltages"},
        {"no warning level", "card_vol_waterline", "cm8_temps", "", "/dev/cpld1 0x42 0x01",
         "voltages"},
        {"no peer", "", "", "", "/dev/cpld0 0x08 0x00", "slots"},
    };
    for (const Case &each : cases) {
        const Board board("demo");
        board.append(kChassisFile, each.config);
        if (*each.removed != '\0') {
            run(fmt::format(
                "sed -i '/^{}/d' {}", each.removed,
                board.file(fmt::format("etc/cfg/dfd/cfg_file/{}.cfg", each.file)).string()));
        }
        if (*each.poke != '\0') {
            ASSERT_EQ(board.vchassis("poke", each.poke).status, 0);
        }
        std::vector<json> found;
        collect(board.dfdctl(fmt::format("show {} --json", each.page)).json(), found);
        EXPECT_THAT(found, testing::IsEmpty()) << each.name;
    }
}

}  // namespace
}  // namespace tools_test
