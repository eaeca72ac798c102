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

constexpr const char *kFpga = "/dev/fpga0";
constexpr std::uint64_t kMs = 1000;

void describe_wiring(Chassis &chassis, const std::string &wiring) {
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
        describe_wiring(chassis, line(row.when));
        chassis.set_reg(kCpld, 1, 0xf0);
        write_register(kFpga, 0, row.source);
        EXPECT_EQ(read_register(kCpld, 1), 0xf0 | row.driven) << "the other bits stay";
        write_register(kCpld, 1, 0xff);
        EXPECT_EQ(read_register(kCpld, 1), 0xfe | row.driven) << "writing does not stop it";
    }
}

TEST(Line, DelaysCountFromTheLastChange) {
    Chassis chassis;
    describe_wiring(chassis, line(std::string(kWhenBit0) + "on_ms = 100\noff_ms = 10\n"));
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
        describe_wiring(chassis, line(kWhenBit0 + ("mode = '" + std::string(row.mode) + "'\n")));
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
    describe_wiring(
        chassis,
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
        describe_wiring(
            chassis,
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

TEST(Rotor, FieldsStandForSpeeds) {
    struct Row {
        const char *keys;
        Bytes written;  // to the registers from 8 on
        Bytes shown;    // in those from 0x10 on, where 0x0f stood before
    };
    // `set` and `speed` follow the opening of their tables.
    const Row rows[] = {
        // Three bits of the setting: 3 of 7.
        {"set = { S, bit = 4, bits = 3 }\nspeed = { R }\nfull_rpm = 7000", {0xb5}, {0xb8, 0x0b}},
        {"set = { S, bits = 16 }\nspeed = { R }\nfull_rpm = 65535\norder = 'big'",
         {0x7f, 0xfe},
         {0x7f, 0xfe}},
        {"set = { S, bit = 6, bits = 9 }\nspeed = { R }\nfull_rpm = 511", {0x40, 0x3c}, {0xf1, 0}},
        // Codes; one that is not listed stands still.
        {"set = { S, bits = 2, codes = { 0 = 0, 1 = 4000, 0x3 = 9000 } }\nspeed = { R }",
         {0xfd},
         {0xa0, 0x0f}},
        {"set = { S, bits = 2, codes = { 0 = 0, 1 = 4000, 0x3 = 9000 } }\nspeed = { R }",
         {0x02},
         {0, 0}},
        // Percent, and more than it.
        {"set = { S, full = 100 }\nspeed = { R }\nfull_rpm = 10000", {25}, {0xc4, 0x09}},
        {"set = { S, full = 100 }\nspeed = { R }\nfull_rpm = 10000", {200}, {0x10, 0x27}},
        // Less of it is faster: 51 of 255 steps.
        {"set = { S, still = 255, full = 0 }\nspeed = { R }\nfull_rpm = 12000",
         {204},
         {0x60, 0x09}},
        // 50 of 200 steps from 20 on, and the range before the first.
        {"set = { S, still = 20, full = 220 }\nspeed = { R }\nfull_rpm = 8000", {70}, {0xd0, 0x07}},
        {"set = { S, still = 20, full = 220 }\nspeed = { R }\nfull_rpm = 8000", {19}, {0, 0}},
        // Hundreds of revolutions: 60.24 of 120.
        {"set = { S }\nspeed = { R, bits = 8, full = 120 }\nfull_rpm = 12000", {128}, {60, 0x0f}},
        {"set = { S }\nspeed = { R, bits = 8, still = 255, full = 55 }\nfull_rpm = 10000",
         {51},
         {215, 0x0f}},
        // 16 + 3000 in the upper 12 bits.
        {"set = { S }\nspeed = { R, bit = 4, bits = 12, still = 16 }\nfull_rpm = 3000\norder = "
         "'big'",
         {255},
         {0xbc, 0x8f}},
        // The code of the highest speed reached, 4518 here; the lowest one's while it stands still.
        {"set = { S }\nspeed = { R, bit = 6, bits = 2, codes = { 0 = 9000, 1 = 4600, 2 = 4500, 3 = "
         "0 } }\n"
         "full_rpm = 9000",
         {128},
         {0x8f, 0x0f}},
        {"set = { S }\nspeed = { R, bit = 6, bits = 2, codes = { 0 = 9000, 1 = 3000, 2 = 4000 } }\n"
         "full_rpm = 9000",
         {0},
         {0x4f, 0x0f}},
        // Four bits a setting, one register each four a speed.
        {"count = 3\nset = { S, bits = 4, step = 4 }\nfull_rpm = 1500\n"
         "speed = { R, bits = 8, step = 32, full = 15 }",
         {0x21, 0x03},
         {1, 0x0f, 0x0f, 0x0f, 2, 0x0f, 0x0f, 0x0f, 3}},
        // One setting for two rotors, whose speeds share a register.
        {"count = 2\nset = { S, step = 0 }\nspeed = { R, bits = 12, step = 12 }\nfull_rpm = 2748",
         {255},
         {0xbc, 0xca, 0xab}},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.keys);
        std::string keys = row.keys;
        keys.replace(keys.find("{ S") + 2, 1, "device = '/dev/cpld0', register = 8");
        keys.replace(keys.find("{ R") + 2, 1, "device = '/dev/fpga0', register = 0x10");
        Chassis chassis;
        chassis.describe(
            "[[registers]]\npath = '/dev/cpld0'\n"
            "[[registers]]\npath = '/dev/fpga0'\nfill = 0x0f\n"
            "[[wiring.rotor]]\n" +
            keys);
        const File file(kCpld);
        ASSERT_EQ(pwrite(file.fd, row.written.data(), row.written.size(), 8), row.written.size());
        for (std::uint32_t i = 0; i < row.shown.size(); ++i) {
            EXPECT_EQ(chassis.reg(kFpga, 0x10 + i), row.shown[i]) << i;
        }
    }
}

TEST(Rotor, TurnsOnABusToo) {
    Chassis chassis;
    chassis.describe(
        "[[i2c]]\nbus = 3\naddr = 0x2e\nmodel = 'registers'\n"
        "[[wiring.rotor]]\nfull_rpm = 100\n"
        "set = { device = '/dev/i2c-3:0x2e', register = 0xfe }\n"
        "speed = { device = '/dev/i2c-3:0x2e', register = 0xff, bits = 7 }\n");
    ASSERT_EQ(transfer("/dev/i2c-3", 0x2e, {put({0xfe, 0xff})}).result, 1);
    EXPECT_EQ(read_from("/dev/i2c-3", 0x2e, 0xff, 1), Bytes{100});
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
    const std::string speed = "speed = { device = '/dev/fpga0', register = 8 }\n";
    const auto rotor_with = [&speed](const std::string &keys) {
        return "[[wiring.rotor]]\nset = { device = '/dev/cpld0', register = 0, " + keys + " }\n" +
               speed + "full_rpm = 300\n";
    };
    const auto rotor_showing = [&rotor](const std::string &keys) {
        return rotor + "speed = { device = '/dev/fpga0', register = 8, " + keys +
               " }\nfull_rpm = 300\n";
    };
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
             Row{rotor + speed, "5:1: [[rotor]] lacks the key 'full_rpm'"},
             Row{rotor + speed + "full_rpm = 0\n", "8:1: 'full_rpm' must be an integer from 1 to"},
             Row{rotor + speed + "full_rpm = 9\norder = 'middle'\n",
                 "9:1: 'middle' must be little or big"},
             Row{rotor_with("bit = 8"), "6:46: 'bit' must be an integer from 0 to 7"},
             Row{rotor_with("bits = 17"), "6:46: 'bits' must be an integer from 1 to 16"},
             Row{rotor_with("bits = 4, full = 16"), "6:56: 'full' must be an integer from 0 to 15"},
             Row{rotor_with("still = 255"), "6:46: 255 is already the value of a rotor"},
             Row{rotor_with("codes = { 256 = 1 }"),
                 "6:56: '256' is no value of 8 bits: 0 to 255 are"},
             Row{rotor_with("codes = { fast = 1 }"), "'fast' is no value of 8 bits"},
             Row{rotor_with("codes = { 1 = 65536 }"), "'1' must be an integer from 0 to 65535"},
             Row{rotor_with("codes = { 1 = 5, 0x1 = 6 }"), "code 1 is given twice"},
             Row{rotor_with("codes = { 0 = 0 }"), "6:46: no code stands for a speed above 0"},
             Row{rotor_with("codes = { 1 = 5 }, full = 9"),
                 "6:65: 'codes' lists all speeds: leave"},
             Row{rotor_with("codes = { 1 = 5 }"), "8:1: the highest of 'codes' in 'set' is full"},
             Row{rotor_with("ful = 9"), "6:46: 'set' knows no key 'ful'; did you mean 'full'?"},
             Row{rotor_showing("bits = 8"), "7:48: 8 bits cannot show 300: give 'full'"},
             Row{rotor_showing("bits = 9, still = 212"), "9 bits cannot show 512"},
             Row{rotor_showing("step = 15"), "7:48: 'step' must be an integer from 16 to 4096"},
             Row{"[[wiring.rotor]]\norder = 'big'\n" +
                     rotor_showing("bits = 12, step = 12").substr(17),
                 "8:59: with the high byte first, rotors lie whole registers apart"},
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
            describe_wiring(chassis, row.wiring);
            ADD_FAILURE() << "it was taken";
        } catch (const std::exception &error) {
            EXPECT_THAT(error.what(), testing::HasSubstr(row.message));
        }
        // Nothing of it is left, so a better one fits.
        describe_wiring(chassis, line(kWhenBit0));
        write_register(kFpga, 0, 1);
        EXPECT_EQ(read_register(kCpld, 1), 1);
    }
}

}  // namespace vchassis_test
