// SPDX-License-Identifier: MIT
// dfdctl metrics: the format to the letter, the values against those of the pages.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "tools/programs.h"

namespace tools_test {
namespace {

using nlohmann::json;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// Samples by name and labels, as they are written.
using Samples = std::map<std::string, double>;

/// Reads the format more strictly than it must be: each family is a HELP, a TYPE and its samples,
/// in this order and in one place; every number is one.
class Parser {
  public:
    explicit Parser(const std::string &text) {
        EXPECT_TRUE(text.ends_with('\n'));
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            read(line);
        }
    }
    Samples samples;

  private:
    void read(const std::string &line) {
        static const std::regex kHelp("# HELP ([a-z0-9_]+) \\S.*");
        static const std::regex kType("# TYPE ([a-z0-9_]+) gauge");
        static const std::regex kSample(
            R"re(([a-z0-9_]+)(\{[a-z_][a-z0-9_]*="(?:[^"\\]|\\[\\"n])*")re"
            R"re((?:,[a-z_][a-z0-9_]*="(?:[^"\\]|\\[\\"n])*")*\})? (-?[0-9]+(?:\.[0-9]+)?))re");
        std::smatch match;
        if (std::regex_match(line, match, kHelp)) {
            EXPECT_TRUE(families_.insert(match[1]).second) << "again: " << line;
            EXPECT_TRUE(is_good_name(match[1])) << line;
            EXPECT_TRUE(family_.empty() || has_samples_) << family_ << " is empty";
            family_ = match[1];
            has_type_ = has_samples_ = false;
        } else if (std::regex_match(line, match, kType)) {
            EXPECT_TRUE(match[1] == family_ && !has_type_ && !has_samples_) << line;
            has_type_ = true;
        } else if (std::regex_match(line, match, kSample)) {
            EXPECT_TRUE(match[1] == family_ && has_type_) << line;
            EXPECT_TRUE(
                samples.emplace(match[1].str() + match[2].str(), std::stod(match[3])).second)
                << "again: " << line;
            has_samples_ = true;
        } else {
            ADD_FAILURE() << "no line of the format: " << line;
        }
    }

    /// A unit is a base unit in the plural, and nothing is called a counter.
    static bool is_good_name(const std::string &name) {
        static const std::regex kBad(
            ".*_(total|count|sum|bucket|c|v|a|w|ms|mv|ma|degrees|millivolts|volt|watt|ampere)");
        return name.starts_with("dfd_") && !std::regex_match(name, kBad);
    }

    std::set<std::string> families_;
    std::string family_;
    bool has_type_ = false;
    bool has_samples_ = false;
};

Samples metrics_of(const Board &board, int status = 0) {
    const Result result = board.dfdctl("metrics");
    EXPECT_EQ(result.status, status) << result.err;
    return Parser(result.out).samples;
}

/// Names of samples with this text in them, with their values.
std::vector<std::string> with(const Samples &samples, const std::string &text) {
    std::vector<std::string> found;
    for (const auto &[name, value] : samples) {
        if (name.find(text) != std::string::npos) {
            found.push_back(fmt::format("{} {}", name, value));
        }
    }
    return found;
}

TEST(Metrics, EveryBoardKeepsToTheFormat) {
    for (const char *name : {"demo", "demo-tlv", "demo-linecard"}) {
        const Board board(name);
        EXPECT_EQ(metrics_of(board)["dfd_up"], 1) << name;
    }
}

TEST(Metrics, ValuesAreThoseOfThePages) {
    struct Case {
        const char *sample;
        const char *cell;  ///< JSON pointer into `show all`
    };
    const Case cases[] = {
        {"dfd_fan_rotor_speed_rpm{tray=\"1\",rotor=\"2\"}", "/fans/rotors/1/speed"},
        {"dfd_fan_speed_limit_rpm", "/fans/system/lowest_speed"},
        {"dfd_fan_tray_temperature_celsius{tray=\"3\"}", "/fans/trays/2/temperature"},
        {"dfd_power_supply_input_voltage_volts{supply=\"1\"}", "/power/telemetry/0/input_voltage"},
        {"dfd_power_supply_output_voltage_volts{supply=\"3\"}",
         "/power/telemetry/2/output_voltage"},
        {"dfd_power_supply_output_current_amperes{supply=\"2\"}",
         "/power/telemetry/1/output_current"},
        {"dfd_power_supply_output_power_watts{supply=\"1\"}", "/power/telemetry/0/output_power"},
        {"dfd_power_rated", "/power/system/rated"},
        {"dfd_temperature_alarm_limit_celsius", "/temps/thresholds/alarm"},
        {"dfd_sensor_temperature_celsius{card=\"31\",sensor=\"1\",name=\"fabric\",kind=\"lm75\"}",
         "/temps/sensors/5/temperature"},
        {"dfd_switch_chip_figure2{card=\"0\",sensor=\"41\",name=\"switch-chip\",kind=\"mac\"}",
         "/temps/switch_chips/0/figure2"},
        {"dfd_voltage_nominal_volts", "/voltages/system/nominal"},
        {"dfd_card_voltage_volts{card=\"0\",channel=\"1\"}", "/voltages/channels/1/voltage"},
        {"dfd_card_voltage_limit_volts{card=\"0\",channel=\"1\"}",
         "/voltages/channels/1/warning_level"},
        {"dfd_slot_rated_power_watts{slot=\"6\"}", "/slots/slots/5/rated_power"},
        {"dfd_slot_power_switch{slot=\"3\"}", "/slots/slots/2/power_switch"},
        {"dfd_sfp_port_module_present{port=\"2\"}", "/sfp/ports/1/module"},
        {"dfd_irq_source_pending{position=\"1.0.0\",type=\"card\",values=\"3 0 0\"}",
         "/irq/sources/9/pending"},
    };
    const Board board("demo");
    ASSERT_EQ(board.vchassis("poke", "/dev/cpld0 0x42 0x01").status, 0);
    const json pages = board.dfdctl("show all --json").json();
    const Samples samples = metrics_of(board);
    for (const Case &each : cases) {
        const json &value = pages.at(json::json_pointer(each.cell))["value"];
        ASSERT_TRUE(value.is_number()) << each.cell;
        ASSERT_TRUE(samples.contains(each.sample)) << each.sample;
        EXPECT_EQ(samples.at(each.sample), value.get<double>()) << each.sample;
    }
    const json &board_page = pages["board"];
    EXPECT_TRUE(samples.contains(fmt::format("dfd_configuration_info{{fingerprint=\"{}\"}}",
                                             board_page["fingerprint"].get<std::string>())));
    EXPECT_TRUE(samples.contains(
        "dfd_board_inventory_info{type=\"62\",chassis_type=\"8\",product=\"CM8 master board\","
        "serial=\"CM8A0240617001\",revision=\"1.20\"}"));
    EXPECT_THAT(with(samples, "dfd_power_supply_info{supply=\"1\""),
                ElementsAre("dfd_power_supply_info{supply=\"1\",name=\"PS1200-AC\",type=\"1\","
                            "current=\"AC\",serial=\"PS12AC0024061701\",revision=\"2.10\","
                            "sw_version=\"V3.4\"} 1"));
    EXPECT_GT(samples.at("dfd_pass_duration_seconds"), 0);
}

TEST(Metrics, OneSeriesForEachStateAndNoneForAnAbsentUnit) {
    const Board board("demo");
    EXPECT_THAT(with(metrics_of(board), "dfd_power_supply_state{supply=\"4\""),
                ElementsAre("dfd_power_supply_state{supply=\"4\",state=\"failed\"} 0",
                            "dfd_power_supply_state{supply=\"4\",state=\"line failed\"} 1",
                            "dfd_power_supply_state{supply=\"4\",state=\"present\"} 0"));
    const std::string led = "dfd_led_state{led=\"status\",state=";
    EXPECT_EQ(metrics_of(board)[led + "\"green\"}"], 1);
    ASSERT_EQ(board.vchassis("poke", "/dev/cpld0 0x20 0x02").status, 0);
    ASSERT_EQ(board.vchassis("poke", "/dev/cpld0 0x10 0xf2").status, 0);
    const Samples samples = metrics_of(board);
    EXPECT_EQ(samples.at(led + "\"green\"}"), 0);
    EXPECT_EQ(samples.at(led + "\"red\"}"), 1);
    EXPECT_THAT(with(samples, "supply=\"2\""),
                ElementsAre("dfd_power_supply_present{supply=\"2\"} 0"));
    EXPECT_THAT(with(samples, "dfd_fan_rotor"), testing::Contains(HasSubstr("tray=\"3\"")));
    EXPECT_THAT(with(samples, "tray=\"4\""),
                ElementsAre("dfd_fan_rotor_present{tray=\"4\",rotor=\"1\"} 0",
                            "dfd_fan_rotor_present{tray=\"4\",rotor=\"2\"} 0",
                            "dfd_fan_tray_present{tray=\"4\"} 0"));
}

TEST(Metrics, WhatFailsIsLeftOutAndCounted) {
    const Board board("demo");
    board.append("etc/cfg/dfd/cfg_file/cm8_temps.cfg", "card_temp_ctrl.addr_0_1=0x77\n");
    const Samples samples = metrics_of(board, 1);
    EXPECT_THAT(with(samples, "name=\"inlet\""), IsEmpty());
    EXPECT_THAT(with(samples, "name=\"outlet\""), testing::SizeIs(1));
    EXPECT_EQ(samples.at("dfd_failed_readings{page=\"temps\"}"), 1);
    EXPECT_GT(samples.at("dfd_device_failures{device=\"/dev/i2c-0 0x77\"}"), 0);
    EXPECT_EQ(samples.at("dfd_device_failures{device=\"/dev/fpga0\"}"), 0);
    EXPECT_EQ(samples.at("dfd_failed_readings{page=\"fans\"}"), 0);
    EXPECT_EQ(samples.at("dfd_up"), 1);
}

TEST(Metrics, ADeadBusAndWhatIsNotAskedAnyMoreFailToo) {
    const Board board("demo");
    ASSERT_EQ(
        run(fmt::format("sed -i 's/bus = 2$/bus = 7/' {}", board.file("chassis.toml").string()))
            .status,
        0);
    board.append("chassis.toml", "[[bus]]\nnumber = 2\nabsent_error = 'ETIMEDOUT'\n");
    Samples samples = metrics_of(board, 1);
    for (const char *device :
         {"/dev/i2c-2", "/dev/i2c-2 0x50", "/dev/i2c-2 0x51", "/dev/i2c-2 0x52", "/dev/i2c-2 0x53",
          "/dev/i2c-2 0x58", "/dev/i2c-2 0x59", "/dev/i2c-2 0x5a", "/dev/i2c-2 0x5b"}) {
        EXPECT_GT(samples[fmt::format("dfd_device_failures{{device=\"{}\"}}", device)], 0)
            << device;
    }
    EXPECT_TRUE(samples.contains("dfd_device_failures{device=\"/dev/i2c-1\"}"));
    EXPECT_EQ(samples["dfd_device_failures{device=\"/dev/i2c-1\"}"], 0);
}

TEST(Metrics, JudgedReadingsAreCountedOnce) {
    const Board board("demo");
    EXPECT_EQ(metrics_of(board)["dfd_judgements{severity=\"alarm\"}"], 1);  // supply 4
    ASSERT_EQ(board.vchassis("poke", "/dev/cpld0 0x14 0x00").status, 0);
    ASSERT_EQ(board.vchassis("poke", "/dev/cpld0 0x11 0x0f").status, 0);
    EXPECT_EQ(metrics_of(board)["dfd_judgements{severity=\"alarm\"}"], 0);
}

TEST(Metrics, TextsOfAnyBytesStayLabels) {
    const Board board("demo");
    board.append("etc/cfg/dfd/cfg_file/cm8_temps.cfg",
                 "card_temp_info.temp_name_0_1=a\"b\\c\xff\xc3\xa4\n");
    EXPECT_THAT(with(metrics_of(board), "sensor=\"1\",name=\"a"),
                ElementsAre("dfd_sensor_temperature_celsius{card=\"0\",sensor=\"1\","
                            "name=\"a\\\"b\\\\c\xef\xbf\xbd\xc3\xa4\",kind=\"lm75\"} 27"));
}

// One line that is no sample, and the node exporter takes nothing of the file.
TEST(Metrics, NumbersThatAreConfiguredAsTextsAreLabels) {
    const Board board("demo");
    board.append("etc/cfg/dfd/chassis/8.cfg", "port_sfp_tx.frmt_1=buf\nport_sfp_tx.len_1=2\n");
    const Result result = board.dfdctl("metrics");
    const Samples samples = Parser(result.out).samples;
    EXPECT_THAT(with(samples, "dfd_sfp_port_info"), testing::SizeIs(1));
    EXPECT_THAT(with(samples, "dfd_sfp_port_transmitter{port=\"1\"}"), IsEmpty());
    EXPECT_THAT(with(samples, "dfd_sfp_port_transmitter{port=\"2\"}"), testing::SizeIs(1));
}

TEST(Metrics, ALibraryThatDoesNotStartIsToldToo) {
    const Board board("demo");
    const std::filesystem::path file = board.file("dfd.prom");
    std::filesystem::remove(board.file("etc/cfg/dfd/file_name/0x3e"));
    const Result result = board.dfdctl("metrics --textfile " + file.string());
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, HasSubstr("/etc/cfg/dfd/file_name/0x3e cannot be opened"));
    const Samples samples = Parser(read_file(file)).samples;
    EXPECT_EQ(samples.at("dfd_up"), 0);
    EXPECT_THAT(with(samples, "dfd_configuration"), IsEmpty());
}

TEST(Metrics, AFileThatCannotBeLoadedIsTold) {
    const Board board("demo");
    std::filesystem::remove(board.file("etc/cfg/dfd/cfg_file/cm8_ports.cfg"));
    EXPECT_EQ(metrics_of(board, 2)["dfd_configuration_complete"], 0);
}

std::set<std::string> names_in(const std::filesystem::path &directory) {
    std::set<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(directory)) {
        names.insert(entry.path().filename());
    }
    return names;
}

TEST(Metrics, ATextFileIsReplacedInOneStep) {
    const Board board("demo");
    const TempDir dir;
    const std::filesystem::path file = dir.path() / "dfd.prom";
    write_file(file, "old\n");
    struct stat before {};
    ASSERT_EQ(stat(file.c_str(), &before), 0);
    const Result result = board.dfdctl("metrics --textfile " + file.string());
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, "");
    struct stat after {};
    ASSERT_EQ(stat(file.c_str(), &after), 0);
    EXPECT_NE(before.st_ino, after.st_ino);
    EXPECT_EQ(after.st_mode & 0777, 0644U);
    EXPECT_EQ(Parser(read_file(file)).samples.at("dfd_up"), 1);
    EXPECT_THAT(names_in(dir.path()), ElementsAre("dfd.prom"));
}

TEST(Metrics, ATextFileThatCannotBeReplacedStays) {
    const Board board("demo");
    const TempDir dir;
    const std::string tool = fmt::format("{0}/vchassis run {1} -- {0}/dfdctl metrics --textfile ",
                                         BUILD_DIR, board.file("").string());
    struct Case {
        const char *what;
        std::string command;
        const char *message;
    };
    // The limit on the size of files lies between those of the chassis and that of the metrics.
    const Case cases[] = {
        {"no directory", tool + (dir.path() / "none/dfd.prom").string(), "No such file"},
        {"a directory", tool + (dir.path() / "taken").string(), "Is a directory"},
        {"no room", "trap '' XFSZ; ulimit -f 40; " + tool + (dir.path() / "dfd.prom").string(),
         "File too large"},
    };
    std::filesystem::create_directory(dir.path() / "taken");
    write_file(dir.path() / "dfd.prom", "old\n");
    for (const Case &each : cases) {
        const Result result = run(each.command);
        EXPECT_EQ(result.status, 4) << each.what;
        EXPECT_EQ(result.out, "") << each.what;
        EXPECT_THAT(result.err, ContainsRegex(fmt::format("cannot be replaced and is as it was: {}",
                                                          each.message)));
        EXPECT_THAT(names_in(dir.path()), ElementsAre("dfd.prom", "taken")) << each.what;
    }
    EXPECT_EQ(read_file(dir.path() / "dfd.prom"), "old\n");
    EXPECT_EQ(board.dfdctl("metrics --json").status, 2);
}

TEST(Metrics, AFullDiskLeavesTheOldTextFile) {
    const Board board("demo");
    const TempDir dir;
    const std::string small =
        fmt::format("mount -t tmpfs -o size=16k none {}", dir.path().string());
    if (run(fmt::format("unshare -rm {}", small)).status != 0) {
        GTEST_SKIP() << "no file system can be mounted here";
    }
    const Result result = run(fmt::format(
        "unshare -rm sh -c '{0} && cd {1} && echo old > dfd.prom && {2}/vchassis run {3} -- "
        "{2}/dfdctl metrics --textfile dfd.prom; echo $?; ls -A; cat dfd.prom'",
        small, dir.path().string(), BUILD_DIR, board.file("").string()));
    EXPECT_EQ(result.out, "4\ndfd.prom\nold\n");
    EXPECT_THAT(result.err, HasSubstr("No space left on device"));
}

}  // namespace
}  // namespace tools_test
