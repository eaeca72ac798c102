// SPDX-License-Identifier: MIT
// The commands of dfdctl that change something, down to the registers that they write.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/programs.h"

namespace tools_test {
namespace {

using nlohmann::json;
using testing::HasSubstr;

/// Without a terminal, as a script runs it.
Result control(const Board &board, const std::string &arguments) {
    return board.dfdctl(arguments + " </dev/null");
}

TEST(Control, WritesTheHardwareAndReadsItBack) {
    struct Case {
        const char *arguments;
        const char *output;
        const char *reg;  ///< that shows it
        const char *content;
    };
    const Case cases[] = {
        {"fan speed 1 3", "fan 1 rotor 1: 2 -> 3\nfan 1 rotor 2: 2 -> 3\n", "/dev/fpga0 0x30 3",
         "ff ff 80"},
        {"fan speed 1 2 1 --yes", "fan 1 rotor 2: 3 -> 1\n", "/dev/fpga0 0x30 3", "ff 40 80"},
        {"led set status red", "LED status: 1 (green) -> 2 (red)\n", "/dev/cpld0 0x20", "02"},
        {"led set fan yellow 0", "LED fan 0: 1 (green) -> 3 (yellow)\n", "/dev/cpld0 0x24", "03"},
        {"slot reset 3 --yes", "slot 3: reset\n", "/dev/cpld1 0x13", "ff"},
        {"slot reset all --yes", "all line cards: reset\n", "/dev/cpld1 0x13", "ff"},
        {"slot power 3 off --yes", "power of slot 3: 1 (on) -> 0 (off)\n", "/dev/cpld1 0x12",
         nullptr},
        {"slot power 3 on", "power of slot 3: 0 (off) -> 1 (on)\n", "/dev/cpld1 0x12", nullptr},
        {"sfp tx 1 off --yes", "transmitter of port 1: 1 (on) -> 0 (off)\n", "/dev/cpld1 0x38",
         nullptr},
        {"sfp tx 1 on", "transmitter of port 1: 0 (off) -> 1 (on)\n", "/dev/cpld1 0x38", nullptr},
        {"write-protect board off", "write protection of board: 255 (on) -> 0 (off)\n",
         "/dev/cpld0 0x18", "00"},
        {"write-protect board on", "write protection of board: 0 (off) -> 255 (on)\n",
         "/dev/cpld0 0x18", "ff"},
    };
    const Board board("demo");
    for (const Case &each : cases) {
        const Result result = control(board, each.arguments);
        EXPECT_EQ(result.status, 0) << each.arguments << result.err;
        EXPECT_EQ(result.out, each.output);
        if (each.content != nullptr) {
            EXPECT_THAT(board.vchassis("peek", each.reg).out, HasSubstr(each.content))
                << each.arguments;
        }
    }
}

TEST(Control, InterruptsAreMaskedByType) {
    const Board board("demo");
    const auto masked = [&](const std::string &type) {
        std::string all;
        const json page = board.dfdctl("show irq --json").json();
        for (const json &source : page["sources"]) {
            if (source["type"] == type && source["masked"]["status"] == "ok") {
                all += std::string(source["masked"]["meaning"]) + " ";
            }
        }
        return all;
    };
    EXPECT_EQ(control(board, "irq mask fan on").status, 0);
    EXPECT_THAT(masked("fan"), HasSubstr("yes"));
    EXPECT_EQ(control(board, "irq mask fan off").status, 0);
    EXPECT_THAT(masked("fan"), testing::Not(HasSubstr("yes")));
}

TEST(Control, AProtectionOfBitsReadsBackAsItsFieldDoes) {
    struct Case {
        const char *description;
        const char *on;
        const char *off;
    };
    const Case cases[] = {
        {"e2_write_protect.pola_0=negative\n", "write protection of board: 0 (off) -> 1 (on)\n",
         "write protection of board: 1 (on) -> 0 (off)\n"},
        {"e2_write_protect.bit_offset_0=5\ne2_write_protect.len_0=8\n",
         "write protection of board: 0 (off) -> 7 (on)\n",
         "write protection of board: 7 (on) -> 0 (off)\n"},
    };
    for (const Case &each : cases) {
        SCOPED_TRACE(each.description);
        const Board board("demo");
        board.append("etc/cfg/dfd/chassis/8.cfg",
                     std::string("e2_write_protect.frmt_0=bit\n") + each.description);
        EXPECT_EQ(control(board, "write-protect board off").status, 0);
        const Result on = control(board, "write-protect board on");
        EXPECT_EQ(on.status, 0) << on.err;
        EXPECT_EQ(on.out, each.on);
        EXPECT_EQ(control(board, "write-protect board off").out, each.off);
    }
}

TEST(Control, WhatDisturbsTrafficNeedsAYes) {
    const Board board("demo");
    const std::string before = board.vchassis("peek", "/dev/cpld1 0x00 0x40").out;
    for (const char *arguments : {"slot reset 3", "slot reset all", "slot power 3 off",
                                  "sfp tx 1 off", "master reset", "fan speed 1 1"}) {
        const Result result = control(board, arguments);
        EXPECT_EQ(result.status, 2) << arguments;
        EXPECT_THAT(result.err, HasSubstr("confirm with --yes")) << arguments;
        EXPECT_EQ(result.out, "");
    }
    EXPECT_EQ(board.vchassis("peek", "/dev/cpld1 0x00 0x40").out, before);
    EXPECT_THAT(board.vchassis("peek", "/dev/fpga0 0x30 2").out, HasSubstr("80 80"));
    EXPECT_EQ(control(board, "fan speed 1 2").status, 0) << "the speed that it has already";
}

TEST(Control, AsksAtATerminal) {
    const Board board("demo");
    const auto answer = [&board](const char *word) {
        return run(
            fmt::format("printf '{}\\n' | script -qec '{}/vchassis run {} -- {}/dfdctl slot "
                        "power 3 off' /dev/null",
                        word, BUILD_DIR, board.file("").string(), BUILD_DIR));
    };
    const Result no = answer("n");
    EXPECT_EQ(no.status, 2);
    EXPECT_THAT(no.out, HasSubstr("slot 3 will go down"));
    EXPECT_THAT(no.out, HasSubstr("nothing was done"));
    const Result yes = answer("y");
    EXPECT_EQ(yes.status, 0);
    EXPECT_THAT(yes.out, HasSubstr("power of slot 3: 1 (on) -> 0 (off)"));
}

TEST(Control, ResetsThePeerAndWaitsForIt) {
    const Board board("demo");
    const std::string trace = board.file("trace").string();
    const Result result =
        run_tool(fmt::format("vchassis run --trace={} {} -- {}/dfdctl master reset --yes", trace,
                             board.file("").string(), BUILD_DIR));
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, "peer master board: reset\n");
    const std::string accesses = read_file(trace);
    const std::size_t pulled = accesses.find("write /dev/cpld0 @0x000a [01]");
    const std::size_t released = accesses.find("write /dev/cpld0 @0x000a [00]", pulled);
    ASSERT_NE(released, std::string::npos) << accesses;
    EXPECT_THAT(accesses.substr(pulled, released - pulled), HasSubstr("read /dev/cpld0 @0x0008"))
        << "the state of the peer is watched while its reset is pulled";
}

TEST(Control, WhatCannotBeDoneSaysWhy) {
    struct Case {
        const char *arguments;
        int status;
        const char *message;
    };
    const Case cases[] = {
        {"fan speed 4 3", 1, "the fan tray is not plugged"},
        {"fan speed 1 9", 2, "the board has no speed level 9"},
        {"fan speed 1", 2, "fan speed takes: FAN [ROTOR] LEVEL"},
        {"fan", 2, "the commands behind 'fan' are: speed"},
        {"fan sped 1 2", 2, "did you mean 'speed'"},
        {"led set alarm spark", 3, "the LED cannot show 'spark'"},
        {"led set stauts red", 2, "did you mean 'status'"},
        {"led set status rde", 2, "did you mean 'red'"},
        {"led set status red 1", 2, "one 'status' LED only"},
        {"slot reset 29 --yes", 3, "reset_lc_29 is not configured"},
        {"slot reset 99 --yes", 2, "is no number from 0 to 32"},
        {"slot power 3 of", 2, "'of' is neither on nor off"},
        {"irq mask poe on", 3, "no source of type poe"},
        {"write-protect bord on", 2, "did you mean 'board'"},
    };
    const Board board("demo");
    for (const Case &each : cases) {
        const Result result = control(board, each.arguments);
        EXPECT_EQ(result.status, each.status) << each.arguments;
        EXPECT_THAT(result.err, HasSubstr(each.message)) << each.arguments;
        EXPECT_EQ(result.out, "") << each.arguments;
    }
}

TEST(Control, OneDocumentWithTheSameKeys) {
    const Board board("demo");
    const json done = control(board, "led set status red --json").json();
    const json refused = control(board, "led set alarm spark --json").json();
    EXPECT_EQ(done["command"], "led set");
    EXPECT_EQ(done["changes"][0]["verified"], true);
    EXPECT_EQ(done["changes"][0]["after"]["value"], 2);
    EXPECT_EQ(refused["changes"][0]["verified"], nullptr);
    EXPECT_NE(refused["changes"][0]["error"], nullptr);
    for (const auto &[key, value] : done["changes"][0].items()) {
        EXPECT_TRUE(refused["changes"][0].contains(key)) << key;
    }
}

}  // namespace
}  // namespace tools_test
