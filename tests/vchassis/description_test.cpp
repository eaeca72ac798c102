// SPDX-License-Identifier: MIT
// Mistakes in a description: where they are and what would be right.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "vchassis/chassis.h"

namespace vchassis_test {

using vchassis::Chassis;

namespace {

struct Row {
    const char *text;
    const char *message;  // after the path, from the line number on
};

constexpr Row kRows[] = {
    {"[[registers]\n", "1:13: "},
    {"name = 'x'\n[[register]]\n",
     "2:3: the description knows no key 'register'; did you mean "
     "'registers'?"},
    {"[[registers]]\nsize = 4\n", "1:1: [[registers]] lacks the key 'path'"},
    {"[[registers]]\npath = '/dev/i2c-0'\n", "2:1: '/dev/i2c-0' must be a device file"},
    {"[[registers]]\npath = '/dev/fpga:'\n", "2:1: '/dev/fpga:' must be a device file"},
    {"[[registers]]\npath = \"/dev/a\\tb\"\n", "2:1: '/dev/a\tb' must be a device file"},
    {"[[registers]]\npath = '/dev/a/b'\n[[registers]]\npath = '/dev/a-b'\n",
     "4:1: /dev/a-b and /dev/a/b have one name in the state directory, dev-a-b"},
    {"[[registers]]\npath = '/dev/cpld0'\nsize = 0\n",
     "3:1: 'size' must be an integer from 1 to 1048576"},
    {"[[registers]]\npath = '/dev/cpld0'\nsize = 'all'\n", "3:1: 'size' must be an integer"},
    {"[[registers]]\npath = '/dev/cpld0'\n[[registers]]\npath = '/dev/cpld0'\n",
     "4:1: /dev/cpld0 is already described"},
    {"[[registers]]\npath = '/dev/cpld0'\nsize = 4\ninit = { 0x03 = [1, 2] }\n",
     "4:10: '0x03' is no address in a device of 4 bytes"},
    {"[[registers]]\npath = '/dev/cpld0'\ninit = { 0x03 = 256 }\n",
     "3:10: 'byte' must be an integer from 0 to 255"},
    {"[[registers]]\npath = '/dev/cpld0'\nreg = [{ address = 1, readonly = true }]\n",
     "3:23: [[reg]] knows no key 'readonly'; did you mean 'read_only'?"},
    {"[[registers]]\npath = '/dev/cpld0'\n"
     "reg = [{ address = 1, read_only = 3, write_1_clear = 2 }]\n",
     "3:38: a bit is either read-only or cleared by writing 1"},
    {"[[registers]]\npath = '/dev/cpld0'\n"
     "reg = [{ address = 1, write_0_clear = 6, read_only = 4 }]\n",
     "3:23: a bit is either read-only, cleared by writing 1 or cleared by writing 0"},
    {"[[registers]]\npath = '/dev/cpld0'\n"
     "reg = [{ address = 1, write_1_clear = 1, write_0_clear = true }]\n",
     "3:42: a bit is either read-only, cleared by writing 1 or cleared by writing 0"},
    {"[[registers]]\npath = '/dev/cpld0'\n"
     "reg = [{ address = 1, write_0_clear = 256 }]\n",
     "3:23: 'write_0_clear' must be an integer from 0 to 255"},
    {"[[i2c]]\nbus = 0\naddr = 0x80\nmodel = 'eeprom'\n",
     "3:1: 'addr' must be an integer from 0 to 127"},
    {"[[i2c]]\nbus = 0\naddr = 0x50\nmodel = 'eprom'\n",
     "4:1: there is no model 'eprom'; did you mean 'eeprom'?"},
    {"[[i2c]]\nbus = 0\naddr = 0x50\nmodel = 'thermometer'\n",
     "4:1: there is no model 'thermometer'; known are eeprom, lm75, pmbus, registers, tmp411"},
    {"[[i2c]]\nbus = 0\naddr = 0x50\nmodel = 'eeprom'\npgae = 8\n",
     "5:1: [[i2c]] knows no key 'pgae'; did you mean 'page'?"},
    {"[[i2c]]\nbus = 0\naddr = 0x50\nmodel = 'eeprom'\npage = 7\n",
     "5:1: pages of 7 do not divide 256 bytes"},
    {"[[i2c]]\nbus = 0\naddr = 0x50\nmodel = 'eeprom'\nimage = 'no.bin'\n",
     "5:1: cannot read the image "},
    {"[[i2c]]\nbus = 0\naddr = 0x50\nmodel = 'registers'\nimage = 'big.bin'\n", "5:1: the image "},
    {"[[i2c]]\nbus = 0\naddr = 0x50\nmodel = 'lm75'\ntemp_c = 130\n",
     "5:1: 'temp_c' must be from -128 to 127.9375 degrees"},
    {"[[i2c]]\nbus = 0\naddr = 0x50\nmodel = 'tmp411'\nlocal_c = -5\n",
     "5:1: 'local_c' must be from 0 to 127.9375 degrees in the standard range"},
    {"[[i2c]]\nbus = 0\naddr = 0x50\nmodel = 'pmbus'\nlinear11 = { read_vinn = 1 }\n",
     "5:14: 'read_vinn' is no PMBus command; did you mean 'read_vin'?"},
    {"[[i2c]]\nbus = 0\naddr = 0x50\nmodel = 'pmbus'\nlinear11 = { read_vin = 1e9 }\n",
     "5:14: the value of 'read_vin' does not fit"},
    {"[[i2c]]\nbus = 0\naddr = 0x50\nmodel = 'pmbus'\nbyte = { 0x88 = 1 }\n"
     "word = { read_vin = 1 }\n",
     "6:10: command 0x88 is given twice"},
    {"[[i2c]]\nbus = 0\naddr = 0x50\nmodel = 'eeprom'\n"
     "present_when = { device = '/dev/cpld9', register = 0, bit = 0 }\n",
     "5:16: there is no device '/dev/cpld9'"},
    {"[[i2c]]\nbus = 0\naddr = 0x50\nmodel = 'eeprom'\n"
     "present_when = { device = '/dev/i2c-0:0x50', register = 256, bit = 0 }\n",
     "5:16: /dev/i2c-0:0x50 has no register 0x100"},
    {"[[bus]]\nnumber = 0\nabsent_error = 'ENOENT'\n", "3:1: 'ENOENT' is no error of an I2C"},
    {"[[bus]]\nnumber = 0\n[[bus]]\nnumber = 0\n", "4:1: bus 0 is already described"},
    {"[files]\nowned = ['relative']\n", "2:1: 'relative' must be an absolute path"},
    {"[files]\nowned = ['/srv/../tmp']\n", "2:1: '/srv/../tmp' must be an absolute path"},
};

std::string complaint(Chassis &chassis, const char *text) {
    try {
        chassis.describe(text);
    } catch (const std::runtime_error &error) {
        return error.what();
    }
    return "no complaint";
}

}  // namespace

TEST(Description, MistakesAreRefusedWithTheirPlace) {
    Chassis chassis;
    chassis.write_file("/big.bin", std::string(257, 'x'));
    for (const Row &row : kRows) {
        const std::string message = complaint(chassis, row.text);
        const std::string prefix = (chassis.dir() / "description").string() + ":" + row.message;
        EXPECT_EQ(message.substr(0, prefix.size()), prefix) << row.text << "says " << message;
    }
    // Nothing of a refused description stays.
    EXPECT_THROW(chassis.reg("/dev/cpld0", 0), std::runtime_error);
    EXPECT_EQ(complaint(chassis, "[[registers]]\npath = '/dev/cpld0'\n"), "no complaint");
    EXPECT_EQ(chassis.reg("/dev/cpld0", 0), 0);
}

TEST(Description, InitialContentsComeInOrder) {
    Chassis chassis;
    chassis.write_file("/part.bin", "\x01\x02\x03\x04");
    chassis.describe(R"(
        [[registers]]
        path = "/dev/cpld0"
        size = 6
        fill = 0xee
        image = "part.bin"
        init = { 2 = 0x13, 0x03 = [0x14, 0x15] }
        reg = [{ address = 3, value = 0x24 }])");
    const std::uint8_t wanted[] = {0x01, 0x02, 0x13, 0x24, 0x15, 0xee};
    for (std::uint32_t i = 0; i < std::size(wanted); ++i) {
        EXPECT_EQ(chassis.reg("/dev/cpld0", i), wanted[i]) << i;
    }
}

}  // namespace vchassis_test
