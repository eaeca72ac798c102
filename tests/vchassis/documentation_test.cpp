// SPDX-License-Identifier: MIT
// The examples of the documentation do what is said there.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

#include "bus_client.h"
#include "vchassis/chassis.h"

namespace vchassis_test {

using vchassis::Chassis;

namespace {

// The blocks ```toml of the page.
std::vector<std::string> examples() {
    std::vector<std::string> blocks;
    std::ifstream page(DOCUMENTATION);
    bool inside = false;
    for (std::string line; std::getline(page, line);) {
        if (line == "```toml") {
            blocks.emplace_back();
        } else if (inside && line != "```") {
            blocks.back() += line + "\n";
        }
        inside = line == "```toml" || (inside && line != "```");
    }
    return blocks;
}

// Examples that describe none of the devices themselves stand on these two.
void describe_example(Chassis &chassis, const std::string &example) {
    chassis.write_file("/images/board.bin", "board");
    for (const std::string device : {"/dev/cpld0", "/dev/fpga0"}) {
        if (example.find("path = \"" + device) == std::string::npos) {
            chassis.describe("[[registers]]\npath = '" + device + "'\n");
        }
    }
    chassis.describe(example);
}

// The one example in which `word` stands.
std::string example_of(const std::string &word) {
    std::vector<std::string> all = examples();
    std::erase_if(
        all, [&word](const std::string &text) { return text.find(word) == std::string::npos; });
    EXPECT_EQ(all.size(), 1U) << word;
    return all.empty() ? "" : all.front();
}

constexpr const char *kSlotCpld = "/dev/cpld1";

}  // namespace

TEST(Documentation, ExamplesAreTaken) {
    EXPECT_GE(examples().size(), 5U);
    for (const std::string &example : examples()) {
        SCOPED_TRACE(example);
        Chassis chassis;
        EXPECT_NO_THROW(describe_example(chassis, example));
    }
}

TEST(Documentation, InterruptsAreEnabledAndAcknowledged) {
    Chassis chassis;
    describe_example(chassis, example_of("name = \"acknowledge\""));
    struct Row {
        const char *what;
        std::uint32_t reg;
        std::uint8_t byte;     // written there by the program, or set by the hardware in 0x10
        std::uint8_t pending;  // 0x60 afterwards
        std::uint8_t latch;    // 0x62
        std::uint8_t groups;   // 0x40
    };
    for (const Row &row : {
             Row{"units 0 and 2 come, none is enabled", 0x10, 0xfa, 0xff, 0x05, 0xff},
             Row{"unit 2 is enabled", 0x61, 0x04, 0xfb, 0x05, 0xf7},
             Row{"both are", 0x61, 0x05, 0xfa, 0x05, 0xf7},
             Row{"the status takes no write", 0x60, 0xff, 0xfa, 0x05, 0xf7},
             Row{"unit 0 is acknowledged", 0x63, 0x01, 0xfb, 0x04, 0xf7},
             Row{"zeros acknowledge nothing", 0x63, 0x00, 0xfb, 0x04, 0xf7},
             Row{"all others too", 0x63, 0xfe, 0xff, 0x00, 0xff},
             Row{"unit 0 goes", 0x10, 0xfb, 0xfe, 0x01, 0xf7},
             Row{"it is disabled", 0x61, 0x04, 0xff, 0x01, 0xff},
         }) {
        SCOPED_TRACE(row.what);
        if (row.reg == 0x10) {
            chassis.set_reg(kSlotCpld, row.reg, row.byte);
        } else {
            write_register(kSlotCpld, row.reg, row.byte);
        }
        EXPECT_EQ(read_register(kSlotCpld, 0x60), row.pending);
        EXPECT_EQ(read_register(kSlotCpld, 0x62), row.latch);
        EXPECT_EQ(read_register(kSlotCpld, 0x40), row.groups);
        EXPECT_EQ(read_register(kSlotCpld, 0x63), 0) << "nothing is kept of it";
    }
}

TEST(Documentation, FaultsAreSetAnewWhileTheyLast) {
    Chassis chassis;
    describe_example(chassis, example_of("write_0_clear"));
    chassis.set_reg(kSlotCpld, 0x14, 0x03);
    EXPECT_EQ(read_register(kSlotCpld, 0x70), 0x03);
    chassis.set_reg(kSlotCpld, 0x14, 0x02);
    EXPECT_EQ(read_register(kSlotCpld, 0x70), 0x03) << "the first one is over, not forgotten";
    write_register(kSlotCpld, 0x70, 0xff);
    EXPECT_EQ(read_register(kSlotCpld, 0x70), 0xf3);
    write_register(kSlotCpld, 0x70, 0x00);
    EXPECT_EQ(read_register(kSlotCpld, 0x70), 0x02);
    chassis.set_reg(kSlotCpld, 0x62, 0xa5);
    write_register(kSlotCpld, 0x71, 0x00);
    EXPECT_EQ(read_register(kSlotCpld, 0x62), 0x00);
    write_register(kSlotCpld, 0x72, 0x85);
    EXPECT_EQ(read_register(kSlotCpld, 0x72), 0x05);
}

TEST(Documentation, RotorsTurnInTheirUnits) {
    constexpr const char *kControllerBus = "/dev/i2c-3";
    Chassis chassis;
    describe_example(chassis, example_of("full = 142"));
    write_register("/dev/fpga0", 0x31, 0xff);
    EXPECT_EQ(read_register("/dev/fpga0", 0x12), 12000 % 256);
    EXPECT_EQ(read_register("/dev/fpga0", 0x13), 12000 / 256);
    EXPECT_EQ(transfer(kControllerBus, 0x2e, {put({0x70, 50})}).result, 1);
    EXPECT_EQ(read_from(kControllerBus, 0x2e, 0x72, 2), (Bytes{0, 71}));
    write_register("/dev/cpld0", 0x34, 0xe4);
    EXPECT_EQ(read_register("/dev/cpld0", 0x36), 0x20);
    EXPECT_EQ(read_register("/dev/cpld0", 0x37), 0x95);
}

}  // namespace vchassis_test
