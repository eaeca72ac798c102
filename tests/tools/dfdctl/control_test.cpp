// SPDX-License-Identifier: MIT
// The commands of dfdctl that change something, down to the registers that they write.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <span>

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
        {"led set fan yellow 0",
         "LED fan 0: 1 (green) -> 3 (yellow)\n"
         "LED fan 0 under software control: 0 (no) -> 1 (yes)\n",
         "/dev/cpld0 0x24", "03"},
        {"led set fan green 0", "LED fan 0: 3 (yellow) -> 1 (green)\n", "/dev/cpld0 0x24", "01"},
        {"slot reset 3 --yes", "slot 3: 0 (released) -> reset -> 0 (released)\n", "/dev/cpld1 0x13",
         "ff"},
        {"slot power 3 off --yes", "power of slot 3: 1 (on) -> 0 (off)\n", "/dev/cpld1 0x12",
         nullptr},
        {"slot power 3 on", "power of slot 3: 0 (off) -> 1 (on)\n", "/dev/cpld1 0x12", nullptr},
        {"sfp tx 1 off --yes", "transmitter of port 1: 1 (on) -> 0 (off)\n", "/dev/cpld1 0x38",
         nullptr},
        {"sfp tx 1 on", "transmitter of port 1: 0 (off) -> 1 (on)\n", "/dev/cpld1 0x38", nullptr},
        {"sfp tx all off --yes",
         "transmitter of port 1: 1 (on) -> 0 (off)\ntransmitter of port 2: 1 (on) -> 0 (off)\n"
         "transmitter of port 3: 1 (on) -> 0 (off)\ntransmitter of port 4: 1 (on) -> 0 (off)\n",
         "/dev/cpld1 0x38", "00"},
        {"write-protect fans off",
         "write protection of fan tray 1: 255 (on) -> 0 (off)\n"
         "write protection of fan tray 2: 255 (on) -> 0 (off)\n"
         "write protection of fan tray 3: 255 (on) -> 0 (off)\n"
         "write protection of fan tray 4: 255 (on) -> 0 (off)\n",
         "/dev/cpld0 0x19 4", "00 00 00 00"},
        {"irq mask fan on", "interrupts of type fan, mask of 0.1.0: 0 (unmasked) -> 255 (masked)\n",
         "/dev/cpld0 0x49", "ff"},
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

// Bus 3 reports success and puts what the library writes at a wrong register.
TEST(Control, NothingIsWrittenOverAnAdapterThatIgnoresNoStart) {
    struct Case {
        const char *arguments;
        int status;
        const char *message;
    };
    const char *reason = "the adapter of /dev/i2c-3 does not know I2C_M_NOSTART";
    const Case cases[] = {
        {"sfp tx 1 off --yes", 2, reason},
        {"set port_sfp_tx 1 0", 2, reason},
        {"set bypass_state 1 1", 2, "--force"},
        {"fan speed 1 1 3 --yes", 2,
         reason},                      // found out at the write: fan_mode is not what it sets
        {"show voltages", 1, reason},  // a getter that writes: the lock of the ADC
    };
    const Board board("demo");
    board.append("chassis.toml", "[[bus]]\nnumber = 3\nnostart = false\n");
    std::string lines;
    for (const char *item : {"port_sfp_tx.%_1", "fan_mode.%", "card_vol_lock.%"}) {
        for (const char *member : {"mode=config", "src=i2c", "frmt=byte", "fpath=/dev/i2c-3",
                                   "addr=0x20", "reg_offset=1", "len=1"}) {
            const std::string text = member;
            const std::size_t at = text.find('=');
            std::string line = item;
            line.replace(line.find('%'), 1, text.substr(0, at));
            lines += line + text.substr(at) + "\n";
        }
    }
    board.append("etc/cfg/dfd/cfg_file/cm8_ports.cfg", "\n" + lines);
    for (const Case &each : cases) {
        const Result result = control(board, each.arguments);
        EXPECT_EQ(result.status, each.status) << each.arguments << result.err;
        EXPECT_THAT(result.err, HasSubstr(each.message)) << each.arguments;
        EXPECT_THAT(board.vchassis("peek", "/dev/i2c-3:0x20 0 4").out, HasSubstr("f2 00 00 00"))
            << each.arguments;
    }
    const Result forced = control(board, "set port_sfp_tx 1 2 --force");
    EXPECT_EQ(forced.status, 1) << "reported as a success, and not written";
    EXPECT_THAT(forced.err, HasSubstr("reads back as before"));

    EXPECT_THAT(control(board, "show board").out,
                testing::ContainsRegex("/dev/i2c-3 +bp_e2prom_dev_1 +no I2C_M_NOSTART"));
    const json buses = control(board, "--json show board").json()["written_buses"];
    ASSERT_EQ(buses.size(), 4U) << buses;
    EXPECT_EQ(buses[1], (json{{"device", "/dev/i2c-1"},
                              {"written_for", "fan_type_1"},
                              {"takes_writes", true},
                              {"error", nullptr}}));
    // That of the board's own EEPROM, which no item describes but its protection.
    EXPECT_EQ(buses[0]["device"], "/dev/i2c-0");
    EXPECT_EQ(buses[0]["written_for"], "e2_write_protect_0");
    EXPECT_EQ(buses[3]["takes_writes"], false);
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

/// Replaces the description of a register of the demo board.
void set_register(const Board &board, const char *from, const char *to) {
    board.replace("chassis.toml", from, to);
}

struct ControlFailure {
    const char *arguments;
    int status;
    const char *message;
};

void expect_faults(const Board &board, std::span<const ControlFailure> cases) {
    for (const ControlFailure &each : cases) {
        const Result result = control(board, std::string(each.arguments) + " --yes");
        EXPECT_EQ(result.status, each.status) << each.arguments << result.out << result.err;
        EXPECT_THAT(result.err, HasSubstr(each.message)) << each.arguments;
    }
}

TEST(Control, NothingIsWrittenWhereTheStateCannotBeRead) {
    const Board board("demo");
    std::string overrides;
    for (const char *item :
         {"reset_lc.fpath_3", "card_power_ctrl.fpath_3", "rst_master.fpath",
          "mb_status_led_ctrl.fpath", "port_sfp_tx.fpath_1", "irq_mask.fpath_0x0001_0",
          "e2_write_protect.fpath_0", "fan_cfg_speed.fpath_1_1", "get_fan_cfg_speed.fpath_1_1",
          "slot_online.fpath_6", "fan_state.fpath_2"}) {
        overrides += fmt::format("{}=/dev/cpld9\n", item);
    }
    board.append("etc/cfg/dfd/chassis/8.cfg", overrides);
    const ControlFailure cases[] = {
        {"slot reset 3", 4, "slot 3: nothing was done, its state cannot be read"},
        {"slot power 3 off", 4, "power of slot 3: nothing was done, its state cannot be read"},
        {"master reset", 4, "nothing was done, its state cannot be read"},
        {"led set status red", 4, "nothing was done, its state cannot be read"},
        {"sfp tx 1 off", 4, "nothing was done, its state cannot be read"},
        {"irq mask fan on", 4, "nothing was done, its state cannot be read"},
        {"write-protect board off", 4, "nothing was done, its state cannot be read"},
        {"fan speed 1 1 3", 4, "nothing was done, its state cannot be read"},
        {"slot reset 6", 4, "nothing was done, whether it is there cannot be read"},
        {"slot power 6 off", 4, "nothing was done, whether it is there cannot be read"},
        {"fan speed 2 3", 4, "nothing was done, whether it is there cannot be read"},
    };
    expect_faults(board, cases);
    for (const ControlFailure &each : cases) {
        EXPECT_THAT(control(board, std::string(each.arguments) + " --yes").err,
                    HasSubstr("; its driver is not loaded, or the items name the wrong node"))
            << each.arguments;
    }
    for (const char *range :
         {"/dev/cpld0 0x00 0x40", "/dev/cpld1 0x00 0x40", "/dev/fpga0 0x30 16"}) {
        EXPECT_EQ(board.vchassis("peek", range).out, Board("demo").vchassis("peek", range).out);
    }
    // Of several, the others are done.
    const Result all = control(board, "slot reset all --yes");
    EXPECT_EQ(all.status, 4);
    EXPECT_THAT(all.err, HasSubstr("slot 3: done, but it cannot be read back"));
    EXPECT_THAT(all.out, HasSubstr("slot 5: 0 (released) -> reset -> 0 (released)\n"));
}

// Their reset lines keep their level all the time; slots 1, 4 and 7 of the demo have no card.
TEST(Control, AResetOfAllLeavesOutEmptySlots) {
    const Board board("demo");
    const std::string trace = board.file("trace").string();
    const Result result =
        run_tool(fmt::format("vchassis run --trace={} {} -- {}/dfdctl slot reset all --yes", trace,
                             board.file("").string(), BUILD_DIR));
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, HasSubstr("slot 3: 0 (released) -> reset -> 0 (released)\n"));
    EXPECT_THAT(result.err, HasSubstr("dfdctl: slot 4: no card in slot 4\n"));
    EXPECT_THAT(result.out, testing::Not(HasSubstr("slot 4: ")));
    constexpr unsigned long kSlot3 = 1U << 2;
    constexpr unsigned long kSlot4 = 1U << 3;
    const std::string accesses = read_file(trace);
    const std::string write = "write /dev/cpld1 @0x0013 [";
    unsigned long low = 0;
    for (std::size_t at = accesses.find(write); at != std::string::npos;
         at = accesses.find(write, at + 1)) {
        low |= ~std::stoul(accesses.substr(at + write.size(), 2), nullptr, 16);
    }
    EXPECT_NE(low & kSlot3, 0U);
    EXPECT_EQ(low & kSlot4, 0U);
    const json document = control(board, "slot reset all --yes --json").json();
    int skipped = 0;
    for (const json &change : document["changes"]) {
        skipped += change["note"] == "no card in " + std::string(change["target"]) ? 1 : 0;
        EXPECT_EQ(change["error"], nullptr) << change;
    }
    EXPECT_GT(skipped, 0);
}

TEST(Control, ARegisterThatDoesNotTakeItIsNoSuccess) {
    const Board board("demo");
    const char *const kStuck[][2] = {
        {"name = \"card reset, active-low\", value = 0xff", "value = 0xfb, read_only = true"},
        {"name = \"card power switch\", value = 0x34", "value = 0x34, read_only = true"},
        {"name = \"peer reset: bit 0\", value = 0x00", "value = 0x01, read_only = true"},
        {"name = \"LED: board status\", value = 0x01", "value = 0x01, read_only = true"},
        {"name = \"LED: fans\", value = 0x01", "value = 0x01, read_only = true"},
        {"name = \"SFP transmitters\", value = 0x0f", "value = 0x0f, read_only = 0x01"},
        {"name = \"interrupt mask: fan trays\", value = 0x00", "value = 0x00, read_only = 0x01"},
        {"name = \"EEPROM write protection: fan tray 3\", value = 0xff",
         "value = 0xff, read_only = true"},
        {"{ address = 0x42, name = \"fan line failure\"",
         "{ address = 0x30, read_only = true },\n    { address = 0x42, name = \"fan line "
         "failure\""},
    };
    for (const auto &[from, to] : kStuck) {
        set_register(board, from, to);
    }
    const ControlFailure cases[] = {
        {"slot reset 3", 1, "slot 3: it is still held in reset"},
        {"slot reset all", 1, "slot 3: it is still held in reset"},
        {"slot power 3 off", 1, "power of slot 3: it does not read back as requested"},
        {"master reset", 1, "peer master board: it is still held in reset"},
        {"led set status red", 1, "LED status: it does not read back as requested"},
        {"led set fan red", 1, "LED fan 0: it does not read back as requested"},
        {"sfp tx all off", 1, "transmitter of port 1: it does not read back as requested"},
        {"irq mask fan on", 1, "mask of 0.1.0: it does not read back as requested"},
        {"write-protect fans off", 1, "protection of fan tray 3: it does not read back"},
        {"fan speed 1 3", 1, "fan 1 rotor 1: it does not read back as requested"},
    };
    expect_faults(board, cases);
    EXPECT_THAT(board.vchassis("peek", "/dev/cpld1 0x38").out, HasSubstr("01"))
        << "the transmitters that work are off";
}

TEST(Control, OthersOwnWhatItMustNotTouch) {
    const Board board("demo");
    board.vchassis("poke", "/dev/cpld0 0x08 0x00");
    const ControlFailure absent[] = {
        {"master reset", 1, "there is no peer master board"},
        {"slot reset 4", 1, "no card in slot 4"},
        {"slot power 4 off", 1, "no card in slot 4"},
        {"fan speed 4 3", 1, "the fan tray is not plugged"},
        {"led set fan-in-fan red 4", 1, "the fan tray is not plugged"},
    };
    expect_faults(board, absent);
    board.append("tmp/.factory_disabale_cli_tty", "");
    const ControlFailure factory[] = {
        {"led set status red", 1, "the factory console owns the LEDs"}};
    expect_faults(board, factory);
    EXPECT_THAT(board.vchassis("peek", "/dev/cpld0 0x20").out, HasSubstr("01"));
}

TEST(Control, BitsAroundAFieldAreWatched) {
    const Board board("demo");
    // The transmitter of port 1 beside the bypass switches, on I2C; that of port 2 has a status
    // bit.
    board.append("etc/cfg/dfd/chassis/8.cfg",
                 "port_sfp_tx.src_1=i2c\nport_sfp_tx.fpath_1=/dev/i2c-3\n"
                 "port_sfp_tx.addr_1=0x20\nport_sfp_tx.reg_offset_1=1\n");
    board.append("chassis.toml",
                 "\n[[wiring.line]]\nto = { device = \"/dev/cpld1\", register = 0x38, bit = 7 }\n"
                 "when = [{ device = \"/dev/cpld1\", register = 0x38, bit = 1, value = 0 }]\n");
    board.vchassis("poke", "/dev/i2c-3:0x20 1 0x0e");
    const Result asked = control(board, "sfp tx 1 on");
    EXPECT_EQ(asked.status, 2);
    EXPECT_THAT(asked.err, HasSubstr("bits of others change: 0x0e -> 0x01"));
    const Result forced = control(board, "sfp tx 1 on --yes");
    EXPECT_EQ(forced.status, 1);
    EXPECT_THAT(forced.err,
                HasSubstr("the write changed other bits of its register: 0x0e -> 0x01"));
    const Result again = control(board, "sfp tx 1 on");
    EXPECT_EQ(again.status, 0) << "no bit of others is left to change: " << again.err;
    const json merged = control(board, "sfp tx 2 off --yes --json").json();
    EXPECT_EQ(merged["changes"][0]["verified"], true);
    EXPECT_EQ(merged["changes"][0]["error"], nullptr);
    EXPECT_EQ(merged["changes"][0]["note"],
              "other bits of its register changed meanwhile: 0x0f -> 0x8d");
    EXPECT_EQ(merged["changes"][0]["register"]["bits"], "0x02");
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
    EXPECT_EQ(result.out, "peer master board: 0 (released) -> reset -> 0 (released)\n");
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
        {"fan speed 1 9", 2,
         "the board has no speed level 9: no fan_speedlvl_convert_9 is configured; it has 0-3"},
        {"fan speed 9 1", 2, "there is no fan tray 9; this board has 1-4"},
        {"fan speed 1 3 1", 2, "there is no rotor 3; fan tray 1 has 1-2"},
        {"fan speed one 1", 2, "'one' is no number of a fan tray; this board has 1-4"},
        {"fan speed 1", 2, "fan speed takes: FAN [ROTOR] LEVEL"},
        {"fan", 2, "the commands behind 'fan' are: speed"},
        {"fan sped 1 2", 2, "did you mean 'speed'"},
        {"led set alarm spark", 3,
         "the LED cannot show 'spark'; it shows dark, green, red, yellow"},
        {"led set stauts red", 2, "did you mean 'status'"},
        {"led set status rde", 2, "did you mean 'red'"},
        {"led set status blue", 2,
         "known are: dark, green, red, yellow, spark, fspark_open, fspark_close"},
        {"led set status red 1", 2, "one 'status' LED only"},
        {"led set fan red 9", 2, "there is no unit 9; the 'fan' LED has 0"},
        {"slot reset 2 --yes", 3, "not configured on this board"},
        {"slot reset 4 --yes", 1, "no card in slot 4"},
        {"slot reset 29 --yes", 2, "there is no slot 29; this board has 1-10, 30-31"},
        {"slot power 4 on", 1, "no card in slot 4"},
        {"slot power 0 on", 2, "there is no slot 0; this board has 1-10, 30-31"},
        {"sfp tx 7 off", 2, "there is no port 7; this board has 1-4"},
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

TEST(Control, ADispatchTellsWhatTheLibraryReadsCallsAndClears) {
    const Board board("demo");
    EXPECT_EQ(control(board, "irq dispatch").status, 2) << "reading may clear";
    EXPECT_EQ(control(board, "irq dispatch --yes").out,
              "status   1st_irq_status: 0x00\nno handler was called\n");
    board.vchassis("poke", "/dev/cpld0 0x10 0xf1");  // pulls supply 1
    const std::string expected =
        "status   1st_irq_status: 0x01\nstatus   2nd_irq_status_0: 0x01\n"
        "status   3rd_irq_status_0_0: 0x01\n"
        "handler  power, unit 1 (values 1 0 0), source 0.0.0\n"
        "cleared  3rd_irq_clear_0_0: 0x01\n";
    EXPECT_EQ(control(board, "irq dispatch --yes").out, expected);
    EXPECT_EQ(control(board, "irq dispatch --yes --json").json()["steps"].size(), 1U)
        << "the interrupt is cleared";
    board.vchassis("poke", "/dev/cpld0 0x10 0xf0");
    const json again = control(board, "irq dispatch --yes --json").json();
    const json &call = again["steps"][3];
    EXPECT_EQ(call["step"], "handler");
    EXPECT_EQ(call["type"], "power");
    EXPECT_EQ(call["values"], json({1, 0, 0}));
    EXPECT_EQ(call["position"], "0.0.0");

    EXPECT_EQ(again["still_pending"], json::array());

    // Cleared elsewhere, it stays.
    board.append("etc/cfg/dfd/chassis/8.cfg", "3rd_irq_clear.reg_offset_0_0=0x7f\n");
    board.vchassis("poke", "/dev/cpld0 0x10 0xf1");
    EXPECT_THAT(control(board, "irq dispatch --yes").out,
                HasSubstr("\npending  still: power, unit 1 (values 1 0 0), source 0.0.0\n"));
    EXPECT_EQ(control(board, "irq dispatch --yes --json").json()["still_pending"],
              json::array({{{"position", "0.0.0"}, {"type", "power"}, {"values", {1, 0, 0}}}}));

    board.append("etc/cfg/dfd/chassis/8.cfg", "1st_irq_status.fpath=/dev/cpld9\n");
    const Result broken = control(board, "irq dispatch --yes");
    EXPECT_EQ(broken.status, 4);
    EXPECT_THAT(broken.err, HasSubstr("the first level status cannot be read"));
    board.append("etc/cfg/dfd/chassis/8.cfg", "irq_ctrl_num=0\n");
    EXPECT_EQ(control(board, "irq dispatch --yes").status, 3);
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
