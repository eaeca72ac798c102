// SPDX-License-Identifier: MIT
// Devices that fail: what readings say of it, and how often such a device is asked.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
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

/// Text that was broken into lines to fit the terminal.
std::string unwrapped(const std::string &text) {
    return std::regex_replace(text, std::regex("\\s+"), " ");
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
    EXPECT_THAT(text.err, HasSubstr(fmt::format("{}: {}; ", each.device, each.words)))
        << "and what to do";
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
    constexpr std::size_t kChips = 8;
    constexpr std::size_t kRound = 5;
    const Case cases[] = {{"ENXIO", kRound, kChips * kRound}, {"ETIMEDOUT", 1, 2}};
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

/// Readings of a document that died of a device.
int readings_lost(const json &part, const std::string &device) {
    int lost = part.is_object() && part.contains("errno") && part["device"] == device ? 1 : 0;
    if (part.is_structured()) {
        for (const json &each : part) {
            lost += readings_lost(each, device);
        }
    }
    return lost;
}

TEST(Losses, NameADeviceOnceWithWhatItCost) {
    const Board board("demo");
    no_fpga(board);
    const Result page = board.dfdctl("show fans");
    EXPECT_EQ(page.status, 1);
    const int lost = readings_lost(board.dfdctl("show fans --json").json(), "/dev/fpga0");
    EXPECT_GT(lost, 24);
    const std::string text = unwrapped(page.out);
    EXPECT_THAT(text, HasSubstr(fmt::format("/dev/fpga0: No such file or directory ({} readings: "
                                            "control mode, state of trays 1-4, rotor",
                                            lost)));
    EXPECT_THAT(text, HasSubstr("its driver is not loaded"));
    EXPECT_EQ(text.find("/dev/fpga0"), text.rfind("/dev/fpga0"));
    const Result all = board.dfdctl("show all");
    const std::string report = "/dev/fpga0: No such file or directory (";
    EXPECT_NE(all.out.find(report), std::string::npos);
    EXPECT_EQ(all.out.find(report), all.out.rfind(report)) << "once below all pages";
}

TEST(Losses, NameUnitsInThePlural) {
    const Board board("demo");
    replace_all(board, "chassis.toml", "bus = 2\n", "bus = 9\n");
    EXPECT_THAT(unwrapped(board.dfdctl("show power").out), HasSubstr("name of supplies 1-4, "));
}

TEST(Losses, OneReading) {
    const Board board("demo");
    board.append(kTemps, "card_temp_ctrl.addr_31_1=0x77\n");
    const Result page = board.dfdctl("show temps");
    EXPECT_THAT(unwrapped(page.out),
                HasSubstr("0x77: no acknowledgement at this address (1 reading: sensor"));
}

// A page of a bus that hangs takes two time-outs, not one for each attempt at each register.
TEST(Losses, AHangingBusTakesTwoTimeOuts) {
    constexpr double kLeast_s = 0.4;
    constexpr double kMost_s = 4;
    const Board board("demo");
    empty_bus(board, "ETIMEDOUT");
    board.append("chassis.toml", "absent_ms = 200\n");
    const auto begin = std::chrono::steady_clock::now();
    const Result page =
        board.vchassis("run --real-time", fmt::format("-- {}/dfdctl show all", BUILD_DIR));
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
    EXPECT_EQ(page.status, 1);
    EXPECT_GE(taken.count(), kLeast_s);
    EXPECT_LT(taken.count(), kMost_s);
    EXPECT_THAT(page.out, HasSubstr("/dev/i2c-2: time-out ("));
}

TEST(Losses, WrongRightsNameTheGroup) {
    const std::string nobody = "setpriv --reuid 65534 --regid 65534 --clear-groups ";
    const Board board("demo");
    const std::string directory = board.file("").string();
    const std::string file = board.file("node").string();
    const std::string prepare = fmt::format(
        "chmod 0777 {0} && echo 1 >{1} && chmod 0660 {1} && chown 0:12345 {1} && {2} true",
        directory, file, nobody);
    if (run(prepare).status != 0) {
        GTEST_SKIP() << "needs a user that may become another one";
    }
    board.append(kFans, fmt::format("fan_mode.fpath={}\n", file));
    const std::string dfdctl =
        fmt::format("{}{}/vchassis run {} -- {}/dfdctl ", nobody, BUILD_DIR, directory, BUILD_DIR);
    const Result page = run(dfdctl + "show fans");
    EXPECT_THAT(unwrapped(page.out),
                HasSubstr("node: Permission denied (1 reading: control mode)"));
    EXPECT_THAT(unwrapped(page.out), HasSubstr("run as root or join group 12345"));
    const Result get = run(dfdctl + "get fan_mode --json");
    EXPECT_EQ(get.status, 4);
    EXPECT_EQ(get.json()["reading"]["errno"], "EACCES");
}

TEST(BoardEeprom, IsARowAlsoWhenItTellsNothing) {
    struct Case {
        const char *from;
        const char *to;
        const char *status;
        const char *error;
    };
    const Case cases[] = {
        {"addr = 0x57", "addr = 0x5f", "io_error", "no acknowledgement at this address"},
        {"image = \"images/board.bin\"\n", "", "bad_data", "is blank: 0xff"},
        {"image = \"images/board.bin\"\n", "fill = 0x00\n", "bad_data", "is blank: 0x00"},
        {"image = \"images/board.bin\"\n", "fill = 0x41\n", "bad_data",
         "holds no board type (byte 0 = 0x41, byte 1 = 0x41)"},
    };
    for (const Case &each : cases) {
        const Board board("demo");
        board.replace("chassis.toml", each.from, each.to);
        EXPECT_EQ(board.dfdctl("show board").status, 1) << each.error;
        const json row = board.dfdctl("show board --json").json()["inventory"][0];
        EXPECT_EQ(row["unit"], "board");
        EXPECT_EQ(row["type"]["status"], each.status);
        EXPECT_THAT(std::string(row["type"]["error"]), HasSubstr(each.error));
    }
}

TEST(Files, ThatCannotBeReadAreNamed) {
    struct Case {
        const char *command;  ///< in the board's etc/cfg/dfd
        const char *page;
        int status;
        const char *message;
    };
    const Case cases[] = {
        {": > file_name/0x3e", "show fans", 2,
         "file_name/0x3e: no file is loaded: the list is empty"},
        {"rm file_name/0x3e && mkdir file_name/0x3e", "show fans", 2,
         "file_name/0x3e: no file is loaded: Is a directory"},
        {"rm cfg_file/cm8_leds.cfg && mkdir cfg_file/cm8_leds.cfg", "show leds", 2,
         "cfg_file/cm8_leds.cfg: cannot be read: Is a directory"},
        {"rm chassis/8.cfg && mkdir chassis/8.cfg", "show fans", 2,
         "chassis/8.cfg: cannot be read: Is a directory"},
        {"rm chassis/8.cfg", "show fans", 0,
         "chassis/8.cfg: No such file or directory: what it would set for this chassis is missing"},
    };
    for (const Case &each : cases) {
        const Board board("demo");
        run(fmt::format("cd {}/etc/cfg/dfd && {}", board.file("").string(), each.command));
        const Result result = board.dfdctl(each.page);
        EXPECT_EQ(result.status, each.status) << each.message;
        EXPECT_THAT(result.err, HasSubstr(each.message));
    }
}

TEST(Installed, AnotherBuildOfTheLibraryIsNamed) {
    const TempDir directory;
    std::string library = read_file(fmt::format("{}/libdfd.so.0", BUILD_DIR));
    const std::string note("\3\0\0\0GNU\0", 8);  // of the build ID
    const std::size_t at = library.find(note);
    ASSERT_NE(at, std::string::npos);
    const std::string path = (directory.path() / "libdfd.so.0").string();
    const auto version = [&](const std::string &in) {
        return run(fmt::format("LD_LIBRARY_PATH={} {}/dfdctl --version", in, BUILD_DIR)).out;
    };
    write_file(path, library);
    EXPECT_THAT(version(directory.path().string()), testing::Not(HasSubstr("another build")));
    EXPECT_THAT(version("/nowhere"), testing::Not(HasSubstr("another build")));
    library[at + note.size()] = static_cast<char>(library[at + note.size()] ^ 1);
    write_file(path, library);
    EXPECT_THAT(version(directory.path().string()), HasSubstr(path + " is another build"));
    const Board board("demo");
    const Result page =
        run(fmt::format("{0}/vchassis run {1} -- env LD_LIBRARY_PATH={2} {0}/dfdctl show board "
                        "--json",
                        BUILD_DIR, board.file("").string(), directory.path().string()));
    EXPECT_EQ(page.json()["other_library"], path);
}

}  // namespace
}  // namespace tools_test
