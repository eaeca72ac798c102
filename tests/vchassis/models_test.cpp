// SPDX-License-Identifier: MIT
// What the device models answer on their bus.
#include <gtest/gtest.h>

#include <string>

#include "bus_client.h"
#include "vchassis/chassis.h"

namespace vchassis_test {

using vchassis::Chassis;

namespace {

constexpr std::uint16_t kAddr = 0x50;

void describe_chip(Chassis &chassis, const std::string &keys) {
    chassis.describe("[[registers]]\npath = '/dev/cpld0'\n[[i2c]]\nbus = 0\naddr = 0x50\n" + keys);
}

// Writes and waits for the chip, as a driver does.
void write_and_wait(std::uint8_t offset, Bytes data) {
    data.insert(data.begin(), offset);
    ASSERT_EQ(transfer(kBus, kAddr, {put(data)}).result, 1);
    usleep(10'000);
}

}  // namespace

TEST(EepromModel, WritesWrapInsideTheirPage) {
    struct Row {
        int page;
        std::uint8_t offset;
        Bytes data;
        std::uint8_t shown_from;
        Bytes shown;
    };
    const Row rows[] = {
        {8, 0x00, {1, 2, 3}, 0x00, {1, 2, 3, 0xff}},
        {8, 0x06, {1, 2, 3, 4}, 0x00, {3, 4, 0xff, 0xff, 0xff, 0xff, 1, 2, 0xff}},
        {4, 0x06, {1, 2, 3, 4}, 0x04, {3, 4, 1, 2, 0xff}},
        {16, 0xff, {1, 2}, 0xf0, {2, 0xff}},
        // More than a page: the last of each cell stays.
        {4, 0x08, {1, 2, 3, 4, 5, 6}, 0x08, {5, 6, 3, 4, 0xff}},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.page * 256 + row.offset);
        Chassis chassis;
        describe_chip(chassis, "model = 'eeprom'\npage = " + std::to_string(row.page));
        write_and_wait(row.offset, row.data);
        EXPECT_EQ(read_from(kBus, kAddr, row.shown_from, row.shown.size()), row.shown);
    }
}

TEST(EepromModel, ThePointerGoesOnAcrossReadsAndWraps) {
    Chassis chassis;
    describe_chip(chassis, "model = 'eeprom'\ninit = { 0 = [0xa0, 0xa1], 0xfe = [0xee, 0xef] }");
    EXPECT_EQ(read_from(kBus, kAddr, 0xfe, 1), Bytes{0xee});
    EXPECT_EQ(transfer(kBus, kAddr, {get(2)}).bytes, (Bytes{0xef, 0xa0}));
    EXPECT_EQ(transfer(kBus, kAddr, {get(1)}).bytes, Bytes{0xa1});
}

TEST(EepromModel, DoesNotAnswerWhileItWrites) {
    Chassis chassis;
    describe_chip(chassis, "model = 'eeprom'\nwrite_ms = 5");
    EXPECT_EQ(transfer(kBus, kAddr, {put({0, 1})}).result, 1);
    EXPECT_EQ(transfer(kBus, kAddr, {put({0}), get(1)}).error, ENXIO);
    usleep(4'999);
    EXPECT_EQ(transfer(kBus, kAddr, {get(1)}).error, ENXIO);
    chassis.advance_us(1);
    EXPECT_EQ(transfer(kBus, kAddr, {put({0}), get(1)}).bytes, Bytes{1});
    // Setting the pointer alone writes nothing and costs nothing.
    EXPECT_EQ(transfer(kBus, kAddr, {put({0})}).result, 1);
    EXPECT_EQ(transfer(kBus, kAddr, {get(1)}).result, 1);
}

// The write cycle begins with the stop: a start in its place abandons the data.
TEST(EepromModel, ARepeatedStartAbandonsTheData) {
    Chassis chassis;
    describe_chip(chassis, "model = 'eeprom'");
    EXPECT_EQ(transfer(kBus, kAddr, {put({0, 0x11}), get(1)}).result, 2);
    EXPECT_EQ(chassis.slave(0, kAddr)[0], 0xff);
    EXPECT_EQ(transfer(kBus, kAddr, {put({0}), put_on({0x11, 0x12})}).result, 2);
    EXPECT_EQ(chassis.slave(0, kAddr)[1], 0x12);
}

TEST(EepromModel, WriteProtectionSwallowsData) {
    Chassis chassis;
    describe_chip(chassis,
                  "model = 'eeprom'\n"
                  "write_protect = { device = '/dev/cpld0', register = 3, bit = 1 }");
    chassis.set_reg("/dev/cpld0", 3, 0x02);
    EXPECT_EQ(transfer(kBus, kAddr, {put({0, 0x11})}).result, 1);
    EXPECT_EQ(read_from(kBus, kAddr, 0, 1), Bytes{0xff});
    chassis.set_reg("/dev/cpld0", 3, 0xfd);
    EXPECT_EQ(transfer(kBus, kAddr, {put({0, 0x11})}).result, 1);
    EXPECT_EQ(chassis.slave(0, kAddr)[0], 0x11);
}

TEST(EepromModel, LargePartsTakeTwoBytesOfOffset) {
    Chassis chassis;
    describe_chip(chassis, "model = 'eeprom'\nsize = 4096\npage = 32\ninit = { 0x0123 = 0x42 }");
    EXPECT_EQ(transfer(kBus, kAddr, {put({0x01, 0x23}), get(1)}).bytes, Bytes{0x42});
    EXPECT_EQ(transfer(kBus, kAddr, {put({0x11, 0x23}), get(1)}).bytes, Bytes{0x42});
}

TEST(AnyModel, ComesAndGoesWithItsPresenceBit) {
    Chassis chassis;
    describe_chip(chassis,
                  "model = 'registers'\n"
                  "present_when = { device = '/dev/cpld0', register = 1, bit = 7, value = 0 }");
    EXPECT_EQ(transfer(kBus, kAddr, {get(1)}).result, 1);
    chassis.set_reg("/dev/cpld0", 1, 0x80);
    EXPECT_EQ(transfer(kBus, kAddr, {get(1)}).error, ENXIO);
}

TEST(RegisterModel, PointerIncrementsAndRulesHold) {
    Chassis chassis;
    describe_chip(chassis,
                  "model = 'registers'\nsize = 8\n"
                  "reg = [{ address = 2, value = 0x5a, read_only = true }]");
    EXPECT_EQ(transfer(kBus, kAddr, {put({1, 0x11, 0x22, 0x33})}).result, 1);
    EXPECT_EQ(read_from(kBus, kAddr, 1, 3), (Bytes{0x11, 0x5a, 0x33}));
    EXPECT_EQ(read_from(kBus, kAddr, 7, 3), (Bytes{0, 0, 0x11}));
    // A register it does not have is not acknowledged.
    EXPECT_EQ(transfer(kBus, kAddr, {put({8})}).error, EIO);
}

TEST(Lm75Model, ShowsDegreesMostSignificantByteFirst) {
    struct Row {
        const char *keys;
        Bytes bytes;
    };
    for (const Row &row :
         {Row{"temp_c = 42.5", {0x2a, 0x80}}, Row{"temp_c = 0", {0x00, 0x00}},
          Row{"temp_c = -0.5", {0xff, 0x80}}, Row{"temp_c = -25", {0xe7, 0x00}},
          Row{"temp_c = 25.125", {0x19, 0x20}}, Row{"temp_c = 25.125\nbits = 9", {0x19, 0x00}},
          Row{"temp_c = 127.9375\nbits = 12", {0x7f, 0xf0}}}) {
        SCOPED_TRACE(row.keys);
        Chassis chassis;
        describe_chip(chassis, std::string("model = 'lm75'\n") + row.keys);
        EXPECT_EQ(read_from(kBus, kAddr, 0, 2), row.bytes);
    }
}

TEST(Lm75Model, KeepsItsPointerAndItsTemperature) {
    Chassis chassis;
    describe_chip(chassis, "model = 'lm75'\ntemp_c = 30");
    EXPECT_EQ(transfer(kBus, kAddr, {put({3, 0x55, 0x80, 0x99})}).result, 1);
    EXPECT_EQ(transfer(kBus, kAddr, {get(4)}).bytes, (Bytes{0x55, 0x80, 0x55, 0x80}));
    EXPECT_EQ(transfer(kBus, kAddr, {put({0, 0x11, 0x11})}).result, 1);
    EXPECT_EQ(transfer(kBus, kAddr, {get(2)}).bytes, (Bytes{30, 0}));
    EXPECT_EQ(transfer(kBus, kAddr, {put({1, 0x60})}).result, 1);
    EXPECT_EQ(read_from(kBus, kAddr, 1, 2), (Bytes{0x60, 0x60}));
}

TEST(Tmp411Model, WritesAtOtherAddressesThanItReads) {
    Chassis chassis;
    describe_chip(chassis, "model = 'tmp411'\nlocal_c = 38\nremote_c = 61.25");
    EXPECT_EQ(read_from(kBus, kAddr, 0x00, 2), (Bytes{38, 0}));
    EXPECT_EQ(read_from(kBus, kAddr, 0x01, 2), (Bytes{61, 0x40}));
    EXPECT_EQ(read_from(kBus, kAddr, 0xfe, 1), Bytes{0x55});
    EXPECT_EQ(transfer(kBus, kAddr, {put({0x0c, 0x0a})}).result, 1);
    EXPECT_EQ(read_from(kBus, kAddr, 0x06, 1), Bytes{0x0a});
    // The address a value is read at takes no value.
    EXPECT_EQ(transfer(kBus, kAddr, {put({0x06, 0x77})}).result, 1);
    EXPECT_EQ(read_from(kBus, kAddr, 0x06, 1), Bytes{0x0a});
    EXPECT_EQ(transfer(kBus, kAddr, {put({0x09, 0x04})}).result, 1);
    EXPECT_EQ(read_from(kBus, kAddr, 0x03, 1), Bytes{0x04});
    EXPECT_EQ(read_from(kBus, kAddr, 0x01, 2), (Bytes{61 + 64, 0x40}));
    EXPECT_EQ(transfer(kBus, kAddr, {put({0xfc, 0})}).result, 1);
    EXPECT_EQ(read_from(kBus, kAddr, 0x01, 2), (Bytes{61, 0x40}));
    EXPECT_EQ(read_from(kBus, kAddr, 0x06, 1), Bytes{0});
}

TEST(PmbusModel, WordsComeLeastSignificantByteFirst) {
    struct Row {
        const char *keys;
        std::uint8_t command;
        Bytes bytes;
    };
    for (const Row &row : {
             Row{"linear11 = { read_vin = 230.5 }", 0x88, {0x9a, 0xf3}},         // 922 * 2^-2
             Row{"linear11 = { 0x8d = -5 }", 0x8d, {0x80, 0xcd}},                // -640 * 2^-7
             Row{"linear11 = { read_fan_speed_1 = 8400 }", 0x90, {0x0d, 0x22}},  // 525 * 2^4
             Row{"linear11 = { read_iin = 0 }", 0x89, {0x00, 0x00}},
             Row{"linear16 = { read_vout = 12.0 }", 0x8b, {0x00, 0x18}},  // 6144 * 2^-9
             Row{"linear16 = { read_vout = 12.0 }", 0x20, {0x17}},        // exponent -9
             Row{"linear16 = { read_vout = 3 }\nvout_exponent = -12", 0x8b, {0x00, 0x30}},
             Row{"word = { status_word = 0x0802 }", 0x79, {0x02, 0x08}},
             Row{"text = { mfr_model = 'PSU' }", 0x9a, {3, 'P', 'S', 'U', 0xff}},
         }) {
        SCOPED_TRACE(row.keys);
        Chassis chassis;
        describe_chip(chassis, std::string("model = 'pmbus'\n") + row.keys);
        EXPECT_EQ(read_from(kBus, kAddr, row.command, row.bytes.size()), row.bytes);
    }
}

TEST(PmbusModel, AcknowledgesOnlyWhatItHas) {
    Chassis chassis;
    describe_chip(chassis,
                  "model = 'pmbus'\nword = { status_word = 0x0802, vout_command = 0x1800 }\n"
                  "byte = { operation = 0x80 }");
    EXPECT_EQ(transfer(kBus, kAddr, {put({0x88}), get(2)}).error, EIO);
    EXPECT_EQ(transfer(kBus, kAddr, {put({0x79, 0, 0})}).error, EIO);
    EXPECT_EQ(transfer(kBus, kAddr, {put({0x01, 0x00, 0x00})}).error, EIO);
    EXPECT_EQ(transfer(kBus, kAddr, {put({0x01, 0x40})}).result, 1);
    EXPECT_EQ(read_from(kBus, kAddr, 0x01, 1), Bytes{0x40});
    // Half a word is no command.
    EXPECT_EQ(transfer(kBus, kAddr, {put({0x21, 0x99})}).result, 1);
    EXPECT_EQ(read_from(kBus, kAddr, 0x21, 2), (Bytes{0x00, 0x18}));
    EXPECT_EQ(transfer(kBus, kAddr, {put({0x03})}).result, 1);
    EXPECT_EQ(read_from(kBus, kAddr, 0x79, 2), (Bytes{0, 0}));
    EXPECT_EQ(read_from(kBus, kAddr, 0x21, 2), (Bytes{0x00, 0x18}));
}

}  // namespace vchassis_test
