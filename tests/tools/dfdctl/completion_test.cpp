// SPDX-License-Identifier: MIT
// What the tools offer a shell to go on with.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "common/command_tree.hpp"
#include "dfdctl/complete/values.hpp"
#include "tools/programs.h"

namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using tools_test::Board;
using tools_test::Result;
using tools_test::run_tool;

using Words = std::vector<std::string>;

/// The candidates in the output of a completion, without what is said about each.
Words words_of(const Result &result) {
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    Words words;
    std::istringstream lines(result.out);
    for (std::string line; std::getline(lines, line);) {
        words.push_back(line.substr(0, line.find('\t')));
    }
    return words;
}

class Completion : public testing::Test {
  protected:
    /// The last word is the one to complete.
    Words behind(const std::string &words) const {
        return words_of(board_.dfdctl("__complete " + words));
    }

    Board board_{"demo"};
};

TEST_F(Completion, offers_commands_and_options) {
    EXPECT_THAT(behind("''"), IsSupersetOf({"check", "show", "lint", "write-protect"}));
    EXPECT_THAT(behind("sh"), ElementsAre("show"));
    EXPECT_THAT(behind("slot ''"), ElementsAre("reset", "power"));
    EXPECT_THAT(behind("nonsense ''"), Contains("check")) << "a mistyped word is passed over";
    // Options of the program stand behind each command, a mistyped one in front harms nothing.
    EXPECT_THAT(behind("check --nonsense --e"), ElementsAre("--expect"));
    EXPECT_THAT(behind("items --"), IsSupersetOf({"--type", "--values", "--json", "--wide"}));
    EXPECT_THAT(behind("lint -- --r"), ElementsAre(":files")) << "behind -- stands no option";
    EXPECT_THAT(behind("--json sh"), ElementsAre("show")) << "a flag has no value";
    EXPECT_THAT(behind("lint --strict --ro"), ElementsAre("--root"));
    // The value of an option is no command.
    EXPECT_THAT(behind("--width 80 slot p"), ElementsAre("power"));
    EXPECT_THAT(behind("--width slot p"), IsEmpty());
}

TEST_F(Completion, offers_what_the_board_has) {
    EXPECT_THAT(behind("get fan_real_speed_1"),
                ElementsAre("fan_real_speed_1_1", "fan_real_speed_1_2"));
    EXPECT_THAT(behind("set fan_real_speed ''"), ElementsAre("1", "2", "3", "4"));
    EXPECT_THAT(behind("get fan_real_speed 3 ''"), ElementsAre("1", "2"));
    EXPECT_THAT(behind("items --type irq_ctrl"),
                ElementsAre("irq_ctrl", "irq_ctrl_info", "irq_ctrl_num"));
    EXPECT_THAT(behind("items --type="), Contains("--type=fan_real_speed"));
    EXPECT_THAT(behind("show power ''"), ElementsAre("1", "2", "3", "4"));
    EXPECT_THAT(behind("watch power ''"), ElementsAre("1", "2", "3", "4"));
    EXPECT_THAT(behind("show leds st"), ElementsAre("status"));
    EXPECT_THAT(behind("fan speed ''"), ElementsAre("1", "2", "3", "4"));
    EXPECT_THAT(behind("fan speed 2 ''"), ElementsAre("1", "2"));
    EXPECT_THAT(behind("led set fan green ''"), Not(IsEmpty()));
    EXPECT_THAT(behind("led set alarm green ''"), IsEmpty()) << "it has no units";
    EXPECT_THAT(behind("slot reset ''"), IsSupersetOf({"all", "3"}));
    EXPECT_THAT(behind("explain drv_get_fan_speed ''"), ElementsAre("1", "2", "3", "4"));
    EXPECT_THAT(behind("explain drv_get_fan_speed 1 ''"), ElementsAre("1", "2"));
    EXPECT_THAT(behind("explain drv_get_fan_speed 1 1 ''"), IsEmpty());
    EXPECT_THAT(behind("explain slot_online 1"), ElementsAre("1", "10"));
    EXPECT_THAT(behind("coverage --answer fan_state_1"), Contains("fan_state_1="));
    EXPECT_THAT(behind("eeprom verify fan ''"), Contains("4"));
    EXPECT_THAT(behind("eeprom set fan ''"), ElementsAre("1", "2", "3", "4"));
    EXPECT_THAT(behind("eeprom diff fan 1 fan ''"), Contains("4"));
    EXPECT_THAT(behind("lint --board ''"), ElementsAre("62"));
}

TEST_F(Completion, offers_fields_that_a_unit_may_hold) {
    struct Case {
        const char *words;
        Words fields;
    };
    const Words tlv = {"product_name=", "serial_number=", "hw_version=", "device_type="};
    const Case cases[] = {
        {"fan 1 ''", tlv},
        {"fan 2 board.",
         {"board.manufacturer=", "board.product_name=", "board.serial_number=",
          "board.part_number=", "board.fru_file_id="}},
        {"power 1 product_", {"product_name=", "product_version="}},
        {"fan 3 ''", {"type=", "serial_number=", "hw_version="}},
        {"power 2 ''", {"name=", "hw_version="}},
        {"backplane 1 ''", {"chassis_type=", "hw_version=", "serial_number=", "mac="}},
        {"board sub", {"sub_type="}},
        {"board dev", {"device_type="}},
        {"subcard 1 s", {"serial_number="}},
        {"--layout backplane fan 1 m", {"mac="}},
        {"--bus 1 --addr 0x51 --layout fan_legacy t", {"type="}},
        {"--bus 1 --addr 0x51 type=1 --layout fan_legacy ''", {"serial_number=", "hw_version="}},
        {"--bus 1 --addr 0x51 product_", {"product_name=", "product_version="}},
        // What has its text already is not asked for again, nor is the text known.
        {"fan 1 hw_version=1 device_type=2 ''", {"product_name=", "serial_number="}},
        {"backplane 1 mac = 00 : 11 chas", {"chassis_type="}},
        {"fan 1 serial_number=", {}},
        {"fan 1 serial_number =", {}},
        {"fan 1 serial_number = h", {}},
        // Elsewhere nothing can be told.
        {"fan 9 ''", {}},
        {"nonsense ''", {}},
        {"--layout nonsense fan 1 ''", {}},
        {"--bus 1 ''", {}},
    };
    for (const Case &each : cases) {
        EXPECT_EQ(behind(std::string("eeprom set ") + each.words), each.fields) << each.words;
    }
}

TEST_F(Completion, offers_every_field_that_an_image_takes) {
    constexpr std::string_view kStart = "that can be set are ";
    for (const std::string unit :
         {"board", "fan 1", "fan 2", "fan 3", "power 1", "power 2", "subcard 1", "backplane 1"}) {
        const std::string refusal = board_.dfdctl("eeprom set " + unit + " nonsense=1 --yes").err;
        const std::size_t at = refusal.find(kStart);
        ASSERT_NE(at, std::string::npos) << refusal;
        const Words offered = behind("eeprom set " + unit + " ''");
        std::istringstream list(refusal.substr(at + kStart.size(), refusal.find(';', at) - at));
        for (std::string name; std::getline(list >> std::ws, name, ',');) {
            name = name.substr(0, name.find(';'));
            // Custom fields are those of one image: the configuration does not know them.
            if (!name.starts_with("custom ")) {
                EXPECT_THAT(offered, Contains(name + "=")) << unit;
            }
        }
    }
}

TEST_F(Completion, offers_words_of_the_tool) {
    EXPECT_THAT(behind("slot power 3 ''"), ElementsAre("on", "off"));
    EXPECT_THAT(behind("write-protect ''"), ElementsAre("board", "fans", "subcards", "backplane"));
    EXPECT_THAT(behind("irq mask poe"), ElementsAre("poe_power", "poe"));
    EXPECT_THAT(behind("set mb_status_led_ctrl sp"), ElementsAre("spark"));
    EXPECT_THAT(behind("set fan_num ''"), IsEmpty()) << "an item without indexes, no LED";
    EXPECT_THAT(behind("lint --allow address-"), Contains("address-base"));
    EXPECT_THAT(behind("coverage --require fans,te"), ElementsAre("fans,temps"));
    EXPECT_THAT(behind("explain drv_get_fan_sp"),
                ElementsAre("drv_get_fan_speed", "drv_get_fan_speed_level"));
    EXPECT_THAT(behind("watch che"), ElementsAre("check"));
    EXPECT_THAT(behind("eeprom decode ''"), IsSupersetOf({"board", "fan", ":files"}));
    EXPECT_THAT(behind("lint --root ''"), ElementsAre(":directories"));
    EXPECT_THAT(behind("lint --root = boa"), ElementsAre(":directories")) << "as bash splits it";
    EXPECT_THAT(behind("items --type = fan_re"), ElementsAre("fan_real_speed"));
}

TEST_F(Completion, touches_no_device) {
    for (const char *words :
         {"show fans ''", "show leds ''", "get ''", "explain drv_get_fan_speed ''",
          "eeprom set fan 2 ''", "eeprom set board ''", "eeprom set backplane 1 ''"}) {
        const Result traced = board_.vchassis(
            "run --trace", std::string("-- " BUILD_DIR "/dfdctl __complete ") + words);
        EXPECT_EQ(traced.status, 0);
        EXPECT_NE(traced.out, "");
        EXPECT_THAT(traced.err, AllOf(HasSubstr("/etc/cfg/dfd"), Not(HasSubstr("/dev/")))) << words;
    }
}

TEST_F(Completion, goes_by_files_elsewhere_than_on_this_system) {
    const std::string root = board_.file("").string();
    EXPECT_THAT(words_of(run_tool("dfdctl __complete explain --root " + root + " fan_num")),
                ElementsAre("fan_num"));
    EXPECT_THAT(words_of(tools_test::run("DFDCTL_COMPLETE_ROOT=" + root +
                                         " " BUILD_DIR "/dfdctl __complete get fan_num")),
                ElementsAre("fan_num"));
    EXPECT_THAT(words_of(run_tool("dfdctl __complete explain --root /nowhere slot_onl")),
                IsEmpty());
    EXPECT_THAT(words_of(run_tool("dfd-eeprom __complete unit.toml ''")), ElementsAre(":files"));
    EXPECT_THAT(words_of(run_tool("dfd-eeprom __complete unit.toml unit.bin ''")), IsEmpty());
    EXPECT_THAT(words_of(run_tool("dfd-eeprom __complete --debug ''")),
                ElementsAre("1", "2", "3", "4"));
    EXPECT_THAT(words_of(run_tool("vchassis __complete re")), ElementsAre("reset"));
    EXPECT_THAT(words_of(run_tool("vchassis __complete run --trace ''")),
                ElementsAre(":directories"));
    EXPECT_THAT(words_of(run_tool("vchassis __complete run " + root + " -- dfdctl ''")),
                ElementsAre(":command"));
}

/// From the description: no state is made for it.
TEST_F(Completion, knows_devices_and_registers_of_a_chassis) {
    const std::string root = board_.file("").string();
    struct Row {
        std::string words;
        std::vector<std::string> wanted;
    };
    const Row rows[] = {
        {"peek " + root + " /dev/cp", {"/dev/cpld0", "/dev/cpld1"}},
        {"poke --state none " + root + " /dev/i2c-1:0x2", {"/dev/i2c-1:0x2e"}},
        {"poke " + root + " /dev/i2c-0 : 0x5", {"0x57"}},
        {"peek " + root + " /dev/i2c-3 :", {"0x20", "0x50", "0x55", "0x56"}},
        {"peek " + root + " /dev/i2c-0:0x48 lim", {"limit"}},
        {"peek " + root + " /dev/cpld9 ''", {}},
        {"peek " + root + " /dev/cpld0 0 ''", {}},
        {"peek /nowhere ''", {}},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(words_of(run_tool("vchassis __complete " + row.words)), row.wanted) << row.words;
    }
    EXPECT_FALSE(std::filesystem::exists(board_.file("state")));
}

/// Whether something is known of an argument: its values, that it is a path, or that nobody can
/// know.
bool is_known(const std::string &argument, const std::string &command) {
    std::istringstream alternatives(argument);
    for (std::string each; std::getline(alternatives, each, '|');) {
        const bool is_literal =
            !each.empty() && std::islower(static_cast<unsigned char>(each.front())) != 0;
        if (!is_literal && !dfd_tools::is_path(each) &&
            dfdctl::complete::values_of(each, command) == nullptr) {
            return false;
        }
    }
    return true;
}

void check_arguments(const nlohmann::json &command, const std::string &path) {
    for (const auto &argument : command["arguments"]) {
        std::istringstream usage(argument["usage"].get<std::string>());
        for (std::string word; usage >> word;) {
            std::erase_if(word, [](char c) { return c == '[' || c == ']' || c == '.'; });
            EXPECT_TRUE(is_known(word, path)) << path << " " << word;
        }
    }
    for (const auto &option : command["options"]) {
        const std::string usage = option["usage"];
        const std::string names = option["name"];
        EXPECT_TRUE(usage.empty() || is_known(usage, path) ||
                    is_known(names.substr(names.rfind(',') + 1), path))
            << path << " " << names;
    }
    for (const auto &each : command["commands"]) {
        check_arguments(each, path.empty() ? each["name"].get<std::string>()
                                           : path + " " + each["name"].get<std::string>());
    }
}

TEST(CompletionTable, knows_every_argument) {
    const nlohmann::json tree = run_tool("dfdctl __tree").json();
    ASSERT_GT(tree["commands"].size(), 10U);
    check_arguments(tree, "");
}

}  // namespace
