// SPDX-License-Identifier: MIT
// Devices that fail: what readings say of it, and how often such a device is asked.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <sstream>

#include "tools/programs.h"

namespace tools_test {
namespace {

using nlohmann::json;
using testing::HasSubstr;

constexpr const char *kFans = "etc/cfg/dfd/cfg_file/cm8_fans.cfg";
constexpr const char *kTemps = "etc/cfg/dfd/cfg_file/cm8_temps.cfg";

void replace_all(const Board &board, const std::string &relative, const std::string &from,
                 const std::string &to) {
    const std::string text = read_file(board.file(relative));
    ASSERT_NE(text.find(from), std::string::npos) << from;
    write_file(board.file(relative), std::regex_replace(text, std::regex(from), to));
}

/// All that stands on bus 2 of the demo board moves away; asking for it fails like this.
void empty_bus(const Board &board, const std::string &error) {
    replace_all(board, "chassis.toml", "bus = 2\n", "bus = 9\n");
    board.append("chassis.toml",
                 fmt::format("\n[[bus]]\nnumber = 2\nabsent_error = \"{}\"\n", error));
}

void no_fpga(const Board &board) {
    replace_all(board, "chassis.toml", "/dev/fpga0", "/dev/fpga7");
}

/// Accesses to devices as the trace has them, without the process.
std::vector<std::string> accesses(const Board &board, const std::string &arguments) {
    const std::string trace = board.file("trace").string();
    board.vchassis("run --trace=" + trace, fmt::format("-- {}/dfdctl {}", BUILD_DIR, arguments));
    std::vector<std::string> found;
    std::istringstream lines(read_file(trace));
    const std::regex wanted("^vchassis.[0-9]+. ((open|read|write|transfer) /dev/.*)$");
    std::smatch match;
    for (std::string line; std::getline(lines, line);) {
        if (std::regex_match(line, match, wanted)) {
            found.push_back(match[1]);
        }
    }
    return found;
}

std::size_t count_of(const std::vector<std::string> &lines, const std::string &part) {
    return static_cast<std::size_t>(std::ranges::count_if(
        lines, [&](const std::string &line) { return line.find(part) != std::string::npos; }));
}

struct FaultCase {
    const char *what;
    void (*spoil)(const Board &);
    const char *item;
    const char *device;
    const char *error;  ///< null: none
    const char *words;
};

void PrintTo(const FaultCase &each, std::ostream *out) {
    *out << each.what;
}

class Faults : public testing::TestWithParam<FaultCase> {};

TEST_P(Faults, AreNamedByTheReading) {
    const FaultCase &each = GetParam();
    const Board board("demo");
    each.spoil(board);
    const Result text = board.dfdctl(fmt::format("get {}", each.item));
    EXPECT_EQ(text.status, 4);
    EXPECT_EQ(text.out, "");
    EXPECT_THAT(text.err, HasSubstr(fmt::format("{}: {}", each.device, each.words)));
    const json reading = board.dfdctl(fmt::format("get {} --json", each.item)).json()["reading"];
    EXPECT_EQ(reading["status"], "io_error");
    EXPECT_EQ(reading["device"], each.device);
    EXPECT_EQ(reading["errno"], each.error != nullptr ? json(each.error) : json());
    EXPECT_EQ(reading["value"], json());
}

INSTANTIATE_TEST_SUITE_P(
    All, Faults,
    testing::Values(
        FaultCase{"missing node", no_fpga, "fan_mode", "/dev/fpga0", "ENOENT",
                  "No such file or directory"},
        FaultCase{"no acknowledgement", [](const Board &board) { empty_bus(board, "ENXIO"); },
                  "power_in_voltage 1", "/dev/i2c-2 0x58", "ENXIO",
                  "no acknowledgement at this address"},
        FaultCase{"the same by other drivers",
                  [](const Board &board) { empty_bus(board, "EREMOTEIO"); }, "power_in_voltage 1",
                  "/dev/i2c-2 0x58", "EREMOTEIO", "no acknowledgement at this address"},
        FaultCase{"no acknowledgement of an EEPROM",
                  [](const Board &board) { empty_bus(board, "EIO"); }, "power_type 3",
                  "/dev/i2c-2 0x52", "EIO", "no acknowledgement at this address"},
        FaultCase{"time-out", [](const Board &board) { empty_bus(board, "ETIMEDOUT"); },
                  "power_sn 1", "/dev/i2c-2 0x50", "ETIMEDOUT", "time-out"},
        FaultCase{"adapter without such transfers",
                  [](const Board &board) { empty_bus(board, "EOPNOTSUPP"); }, "power_temp 1",
                  "/dev/i2c-2 0x58", "EOPNOTSUPP", "the adapter refuses the transfer"},
        FaultCase{"short read",
                  [](const Board &board) { board.append(kFans, "fan_mode.reg_offset=0x100\n"); },
                  "fan_mode", "/dev/fpga0", nullptr, "short read"},
        FaultCase{"file that nobody has written",
                  [](const Board &board) {
                      board.append(kTemps, "card_temp_ctrl.fpath_0_4=/tmp/bspinfo/none\n");
                  },
                  "card_temp_ctrl 0 4", "/tmp/bspinfo/none", "ENOENT",
                  "No such file or directory"}));

// What was read is known: only what a write or a pause of the library makes uncertain is read
// again.
TEST(ReadPass, MakesEachReadOnce) {
    const Board board("demo");
    const std::vector<std::string> made = accesses(board, "show all");
    std::map<std::string, int> times;
    std::map<std::string, int> writes;
    for (const std::string &access : made) {
        const std::string path = access.substr(0, access.find(' ', access.find(' ') + 1));
        if (path.starts_with("write ")) {
            ++writes["read " + path.substr(path.find('/'))];
        } else if (access.find("= -1") == std::string::npos && !path.starts_with("open ")) {
            ++times[access];
        }
    }
    EXPECT_GT(times.size(), 150U);
    for (const auto &[access, count] : times) {
        const std::string path = access.substr(0, access.find(" @"));
        // The peer's state is sampled twice by the library.
        const bool is_sampled = access.starts_with("read /dev/cpld0 @0x0008");
        EXPECT_LE(count, 1 + (is_sampled ? 1 : writes.contains(path) ? writes[path] : 0)) << access;
    }
    EXPECT_EQ(count_of(made, "read /dev/cpld1 @0x0040"), 3U)
        << "the ADC, each time behind its lock";
}

TEST(ReadPass, AsksADeadDeviceOneRoundAndATimeOutOnce) {
    struct Case {
        const char *error;
        std::size_t first;  ///< transfers to the first dead address
        std::size_t all;    ///< to the bus
    };
    constexpr std::size_t kDevices = 8;
    constexpr std::size_t kRound = 5;
    const Case cases[] = {{"ENXIO", kRound, kDevices * kRound}, {"ETIMEDOUT", 1, 2}};
    for (const Case &each : cases) {
        const Board board("demo");
        empty_bus(board, each.error);
        const std::vector<std::string> made = accesses(board, "show all");
        EXPECT_EQ(count_of(made, "transfer /dev/i2c-2 {w 0x50"), each.first) << each.error;
        EXPECT_EQ(count_of(made, "transfer /dev/i2c-2 "), each.all) << each.error;
    }
    const Board board("demo");
    no_fpga(board);
    EXPECT_EQ(count_of(accesses(board, "show all"), "open /dev/fpga0"), 1U);
}

// A chip that refuses one of its registers is not taken for one that is not there.
TEST(ReadPass, GoesOnAskingAChipThatHasAnswered) {
    const Board board("demo");
    board.append("etc/cfg/dfd/cfg_file/cm8_power.cfg", "power_out_voltage.reg_offset_1=0xd0\n");
    const json supply = board.dfdctl("show power --json").json()["telemetry"][0];
    EXPECT_EQ(supply["output_voltage"]["errno"], "EIO");
    EXPECT_EQ(supply["input_voltage"]["status"], "ok");
    EXPECT_EQ(supply["temperature"]["status"], "ok");
    board.append("etc/cfg/dfd/cfg_file/cm8_power.cfg", "power_in_voltage.reg_offset_1=0xd0\n");
    const json second = board.dfdctl("show power --json").json()["telemetry"][0];
    EXPECT_EQ(second["input_voltage"]["errno"], "EIO");
    EXPECT_EQ(second["temperature"]["status"], "ok");
}

// No page gives another reason than the transfer's, nor a value that was not read.
TEST(ReadPass, EveryReadingBehindADeadDeviceNamesIt) {
    const Board board("demo");
    no_fpga(board);
    const json page = board.dfdctl("show all --json").json();
    int behind = 0;
    const std::function<void(const json &)> look = [&](const json &part) {
        if (part.is_object() && part.contains("status") && part.contains("errno")) {
            const bool is_behind = part["device"] == "/dev/fpga0";
            behind += is_behind ? 1 : 0;
            EXPECT_EQ(part["status"] == "io_error", part["device"] != json()) << part;
            EXPECT_NE(part["status"], "bad_data") << part;
            EXPECT_NE(part["status"], "unusable") << part;
        }
        if (part.is_structured()) {
            std::ranges::for_each(part, look);
        }
    };
    look(page);
    EXPECT_GT(behind, 24);
    for (const json &rotor : page["fans"]["rotors"]) {
        EXPECT_EQ(rotor["speed"]["device"], "/dev/fpga0");
        EXPECT_EQ(rotor["state"]["device"], "/dev/fpga0");
    }
}

}  // namespace
}  // namespace tools_test
