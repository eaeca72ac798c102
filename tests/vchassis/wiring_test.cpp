// SPDX-License-Identifier: MIT
// Registers that follow registers of other devices, or writes to them: lines, rotors, strobes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "bus_client.h"
#include "vchassis/chassis.h"

namespace vchassis_test {

using vchassis::Chassis;

namespace {

constexpr const char *kCpld = "/dev/cpld0";
constexpr const char *kFpga = "/dev/fpga0";
constexpr std::uint64_t kMs = 1000;

void describe(Chassis &chassis, const std::string &wiring) {
    chassis.describe("[[registers]]\npath = '/dev/cpld0'\n[[registers]]\npath = '/dev/fpga0'\n" +
                     wiring);
}

std::string line(const std::string &keys) {
    return "[[wiring.line]]\nto = { device = '/dev/cpld0', register = 1, bit = 0 }\n" + keys;
}

constexpr const char *kWhenBit0 = "when = [{ device = '/dev/fpga0', register = 0, bit = 0 }]\n";

}  // namespace

TEST(Line, FollowsAllOfItsConditions) {
    struct Row {
        const char *when;
        std::uint8_t source;
        std::uint8_t driven;
    };
    const char *const both =
        "when = [{ device = '/dev/fpga0', register = 0, bit = 0 },\n"
        "        { device = '/dev/fpga0', register = 0, bit = 1, value = 0 }]\n";
    const char *const any_set = "when = [{ device = '/dev/fpga0', register = 0, mask = 0x30 }]\n";
    const char *const any_clear =
        "when = [{ device = '/dev/fpga0', register = 0, mask = 0x30, value = 0 }]\n";
    for (const Row &row : {Row{both, 0x01, 1}, Row{both, 0x03, 0}, Row{both, 0x00, 0},
                           Row{any_set, 0x10, 1}, Row{any_set, 0x30, 1}, Row{any_set, 0xcf, 0},
                           Row{any_clear, 0x20, 1}, Row{any_clear, 0x30, 0}}) {
        SCOPED_TRACE(testing::Message() << row.when << " of " << int{row.source});
        Chassis chassis;
        describe(chassis, line(row.when));
        chassis.set_reg(kCpld, 1, 0xf0);
        write_register(kFpga, 0, row.source);
        EXPECT_EQ(read_register(kCpld, 1), 0xf0 | row.driven) << "the other bits stay";
        write_register(kCpld, 1, 0xff);
        EXPECT_EQ(read_register(kCpld, 1), 0xfe | row.driven) << "writing does not stop it";
    }
}

TEST(Line, DelaysCountFromTheLastChange) {
    Chassis chassis;
    describe(chassis, line(std::string(kWhenBit0) + "on_ms = 100\noff_ms = 10\n"));
    chassis.set_reg(kFpga, 0, 1);
    chassis.advance_us(99 * kMs);
    EXPECT_EQ(chassis.reg(kCpld, 1), 0);
    chassis.advance_us(1 * kMs);
    EXPECT_EQ(chassis.reg(kCpld, 1), 1);
    chassis.set_reg(kFpga, 0, 0);
    chassis.advance_us(9 * kMs);
    EXPECT_EQ(chassis.reg(kCpld, 1), 1);
    // A dip shorter than the delay is not seen, and does not shorten the next one.
    chassis.set_reg(kFpga, 0, 1);
    chassis.set_reg(kFpga, 0, 0);
    chassis.advance_us(9 * kMs);
    EXPECT_EQ(chassis.reg(kCpld, 1), 1);
    chassis.advance_us(1 * kMs);
    EXPECT_EQ(chassis.reg(kCpld, 1), 0);
}

TEST(Line, ModesDifferInWhatTheyLeaveAlone) {
    struct Row {
        const char *mode;
        std::uint8_t after_on;           // written 0, then the condition holds
        std::uint8_t set_while_on;       // written 1 while it holds
        std::uint8_t cleared_while_on;   // written 0 while it holds
        std::uint8_t after_off;          // then it holds no more
        std::uint8_t set_while_off;      // written 1 while it does not
        std::uint8_t cleared_while_off;  // written 0 while it does not
    };
    for (const Row &row : {Row{"follow", 1, 1, 1, 0, 0, 0}, Row{"set", 1, 1, 1, 1, 1, 0},
                           Row{"clear", 0, 1, 0, 0, 0, 0}, Row{"event", 1, 1, 0, 1, 1, 0}}) {
        SCOPED_TRACE(row.mode);
        Chassis chassis;
        describe(chassis, line(kWhenBit0 + ("mode = '" + std::string(row.mode) + "'\n")));
        EXPECT_EQ(read_register(kCpld, 1), 0) << "the beginning is no event";
        write_register(kFpga, 0, 1);
        EXPECT_EQ(read_register(kCpld, 1), row.after_on);
        write_register(kCpld, 1, 1);
        EXPECT_EQ(read_register(kCpld, 1), row.set_while_on);
        write_register(kCpld, 1, 0);
        EXPECT_EQ(read_register(kCpld, 1), row.cleared_while_on);
        write_register(kFpga, 0, 0);
        EXPECT_EQ(read_register(kCpld, 1), row.after_off);
        write_register(kCpld, 1, 1);
        EXPECT_EQ(read_register(kCpld, 1), row.set_while_off);
        write_register(kCpld, 1, 0);
        EXPECT_EQ(read_register(kCpld, 1), row.cleared_while_off);
    }
}

// An interrupt cascade as a board has it: described from the top, settled from the bottom.
TEST(Line, ChainsSettleInAnyOrder) {
    Chassis chassis;
    describe(chassis,
             "[[wiring.line]]\nto = { device = '/dev/cpld0', register = 0, bit = 5, value = 0 }\n"
             "when = [{ device = '/dev/cpld0', register = 1, mask = 0xff }]\n" +
                 line("mode = 'event'\ncount = 3\n" + std::string(kWhenBit0)));
    EXPECT_EQ(read_register(kCpld, 0), 0x20) << "active-low";
    write_register(kFpga, 0, 0x04);
    EXPECT_EQ(read_register(kCpld, 1), 0x04) << "the third of three lines";
    EXPECT_EQ(read_register(kCpld, 0), 0x00);
    write_register(kCpld, 1, 0x00);
    EXPECT_EQ(read_register(kCpld, 0), 0x20);
}

TEST(Rotor, TurnsAsItsSpeedRegisterSays) {
    struct Row {
        const char *order;
        std::uint8_t setting;
        std::uint8_t held;
        Bytes bytes;
    };
    for (const Row &row : {Row{"little", 0xff, 0, {0xe0, 0x2e}},  // 12000
                           Row{"big", 0xff, 0, {0x2e, 0xe0}},
                           Row{"little", 0x80, 0, {0x88, 0x17}},  // 6023.5, rounded up
                           Row{"little", 0x00, 0, {0, 0}}, Row{"little", 0xff, 1, {0, 0}}}) {
        SCOPED_TRACE(testing::Message() << row.order << " " << int{row.setting});
        Chassis chassis;
        describe(chassis,
                 "[[wiring.rotor]]\ncount = 2\nset = { device = '/dev/cpld0', register = 8 }\n"
                 "speed = { device = '/dev/fpga0', register = 0x10 }\nfull_rpm = 12000\n"
                 "turns_when = [{ device = '/dev/fpga0', register = 0, bit = 0, value = 0 }]\n"
                 "order = '" +
                     std::string(row.order) + "'\n");
        write_register(kFpga, 0, row.held);
        write_register(kCpld, 9, row.setting);
        EXPECT_EQ(chassis.reg(kFpga, 0x10), 0) << "the first one stands still";
        EXPECT_EQ(chassis.reg(kFpga, 0x12), row.bytes[0]);
        EXPECT_EQ(chassis.reg(kFpga, 0x13), row.bytes[1]);
    }
}

TEST(Strobe, ActsOnTheByteThatIsWritten) {
    struct Row {
        const char *on;  // behind the register
        const char *to;
        const char *keys;
        std::uint8_t written;
        std::uint8_t latch;  // where 0x5a stood
    };
    const Row rows[] = {
        {"bit = 0", "bit = 0, value = 0", "count = 8", 0x1b, 0x40},
        {"bit = 0, value = 0", "bit = 0, value = 0", "count = 8", 0x1b, 0x1a},
        {"bit = 0", "bit = 0", "count = 8", 0x81, 0xdb},  // active-low
        {"bit = 0", "bit = 0, value = 0", "count = 4", 0xff, 0x50},
        {"bit = 0", "bit = 6, value = 0", "", 0x01, 0x1a},
        {"bit = 0", "bit = 6, value = 0", "", 0xfe, 0x5a},
        {"mask = 0x06", "mask = 0xf0, value = 0", "", 0x04, 0x0a},
        {"mask = 0x06", "mask = 0xf0, value = 0", "", 0xf9, 0x5a},
        {"", "mask = 0x0f", "", 0x00, 0x5f},
        {"", "mask = 0xff, value = 0", "when = [{ device = '/dev/fpga0', register = 3, bit = 1 }]",
         0x00, 0x5a},
        {"", "mask = 0xff, value = 0",
         "when = [{ device = '/dev/fpga0', register = 3, bit = 1, value = 0 }]", 0x00, 0x00},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(testing::Message() << row.on << " -> " << row.to << " " << row.keys);
        const std::string on = row.on;
        Chassis chassis;
        // The register that acts keeps nothing of what is written.
        chassis.describe(
            "[[registers]]\npath = '/dev/cpld0'\n"
            "reg = [{ address = 2, value = 0x77, read_only = true }]\n"
            "[[registers]]\npath = '/dev/fpga0'\ninit = { 1 = 0x5a }\n"
            "[[wiring.strobe]]\non = { device = '/dev/cpld0', register = 2" +
            (on.empty() ? on : ", " + on) + " }\nto = { device = '/dev/fpga0', register = 1, " +
            row.to + " }\n" + row.keys);
        write_register(kCpld, 1, row.written);
        chassis.set_reg(kCpld, 2, row.written);
        EXPECT_EQ(chassis.reg(kFpga, 1), 0x5a) << "neither another register nor the hardware acts";
        write_register(kCpld, 2, row.written);
        EXPECT_EQ(chassis.reg(kFpga, 1), row.latch);
        chassis.set_reg(kFpga, 1, 0xff);
        EXPECT_EQ(chassis.reg(kFpga, 1), 0xff) << "it acts once";
    }
}

TEST(Strobe, ActsInTheOrderOfTheBytesAlsoOnABus) {
    Chassis chassis;
    // Register 1 sets bits that register 2 clears again; bit 7 of register 3 clears itself.
    chassis.describe(
        "[[i2c]]\nbus = 1\naddr = 0x30\nmodel = 'registers'\n"
        "[[registers]]\npath = '/dev/fpga0'\n"
        "[[wiring.strobe]]\ncount = 8\n"
        "on = { device = '/dev/i2c-1:0x30', register = 1, bit = 0 }\n"
        "to = { device = '/dev/fpga0', register = 0, bit = 0 }\n"
        "[[wiring.strobe]]\ncount = 8\n"
        "on = { device = '/dev/i2c-1:0x30', register = 2, bit = 0 }\n"
        "to = { device = '/dev/fpga0', register = 0, bit = 0, value = 0 }\n"
        "[[wiring.strobe]]\n"
        "on = { device = '/dev/i2c-1:0x30', register = 3, bit = 7 }\n"
        "to = { device = '/dev/i2c-1:0x30', register = 3, bit = 7, value = 0 }\n");
    ASSERT_EQ(transfer("/dev/i2c-1", 0x30, {put({1, 0xff, 0x3c, 0xc5})}).result, 1);
    EXPECT_EQ(chassis.reg(kFpga, 0), 0xc3);
    EXPECT_EQ(read_from("/dev/i2c-1", 0x30, 1, 3), (Bytes{0xff, 0x3c, 0x45}));
}

TEST(Wiring, MistakesAreRefusedWithTheReason) {
    struct Row {
        std::string wiring;
        const char *message;
    };
    const std::string to = "[[wiring.line]]\nto = { device = '/dev/cpld0', register = 1, ";
    const std::string rotor = "[[wiring.rotor]]\nset = { device = '/dev/cpld0', register = 0 }\n";
    const auto strobe_on = [](const std::string &device, const std::string &keys) {
        return "[[i2c]]\nbus = 0\naddr = 0x50\nmodel = 'eeprom'\n[[wiring.strobe]]\non = { device "
               "= '" +
               device + "', register = 0" + keys +
               " }\nto = { device = '/dev/cpld0', register = 1, mask = 0xf1 }\n";
    };
    for (const Row &row : {
             Row{to + "bit = 0 }\n", "lacks the key 'when'"},
             Row{to + "mask = 3 }\n" + kWhenBit0, "a line drives one bit"},
             Row{to + "mask = 3, bit = 1 }\n" + kWhenBit0, "either 'bit' or 'mask'"},
             Row{to + "bit = 6 }\ncount = 3\n" + kWhenBit0, "from 0 to 5"},
             Row{line("mode = 'folow'\n" + std::string(kWhenBit0)),
                 "7:1: 'folow' must be follow, set, clear or event"},
             Row{line("wen = []\n" + std::string(kWhenBit0)), "did you mean 'when'"},
             Row{std::string("[[wiring.lin]]\n"), "did you mean 'line'"},
             Row{rotor + "full_rpm = 9\n", "'speed' is missing"},
             Row{rotor + "full_rpm = 9\nspeed = { device = '/dev/cpld0', register = 0xff }\n",
                 "no register 0x100"},
             Row{strobe_on("/dev/cpld9", ""), "10:6: there is no device '/dev/cpld9'"},
             Row{strobe_on("/dev/i2c-0:0x50", ""),
                 "10:6: /dev/i2c-0:0x50 is of the model eeprom; "},
             Row{strobe_on("/dev/fpga0", ", value = 0"), "'value' is that of a bit: give 'bit' or"},
             Row{strobe_on("/dev/fpga0", ", bit = 8"), "'bit' must be an integer from 0 to 7"},
             Row{strobe_on("/dev/fpga0", "") + "mode = 'event'\n",
                 "[[strobe]] knows no key 'mode'"},
             // What stood before the mistake does not act either.
             Row{strobe_on("/dev/fpga0", ", mask = 0xff") + "[[wiring.strobe]]\n" +
                     "on = { device = '/dev/fpga0', register = 0 }\n" +
                     "to = { device = '/dev/cpld9', register = 0, bit = 0 }\n",
                 "14:6: there is no device '/dev/cpld9'"},
             Row{std::string("[[wiring.strobe]]\n"), "5:1: the table 'on' is missing"},
         }) {
        SCOPED_TRACE(row.wiring);
        Chassis chassis;
        try {
            describe(chassis, row.wiring);
            ADD_FAILURE() << "it was taken";
        } catch (const std::exception &error) {
            EXPECT_THAT(error.what(), testing::HasSubstr(row.message));
        }
        // Nothing of it is left, so a better one fits.
        describe(chassis, line(kWhenBit0));
        write_register(kFpga, 0, 1);
        EXPECT_EQ(read_register(kCpld, 1), 1);
    }
}

}  // namespace vchassis_test
