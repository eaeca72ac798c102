// SPDX-License-Identifier: MIT
#include <cstring>
#include <memory>

#include "hal/temperature_codes.h"
#include "support/library_test.h"

namespace {

using dfd_test::Bytes;
using dfd_test::printed_by;
using testing::ElementsAre;
using vchassis::Op;

constexpr int kBus = 1;
constexpr int kAddr = 0x48;
constexpr int kOwnSlot = 5;
constexpr std::uint8_t kIndex = 2;
constexpr char kMacFile[] = "/tmp/bspinfo/mac_temp";

// Lines of a sensor, read in the item's format from register 0 of the slave.
std::string sensor(const std::string &at, const std::string &type, const std::string &frmt,
                   const std::string &src = "i2c") {
    return "card_temp_info.temp_name" + at + "=inlet\ncard_temp_info.type" + at + "=" + type +
           "\ncard_temp_ctrl.mode" + at + "=config\ncard_temp_ctrl.src" + at + "=" + src +
           "\ncard_temp_ctrl.frmt" + at + "=" + frmt + "\ncard_temp_ctrl.len" + at +
           "=2\ncard_temp_ctrl.fpath" + at + "=/dev/i2c-1\ncard_temp_ctrl.addr" + at + "=0x48\n";
}

class TemperatureTest : public dfd_test::LibraryTest {
  protected:
    TemperatureTest() {
        chassis.describe(
            "[[registers]]\npath = \"/dev/cpld0\"\nsize = 256\n"
            "[[i2c]]\nbus = 1\naddr = 0x48\nmodel = \"registers\"\nsize = 256\n");
    }
    // On a board in slot 5.
    void start_card(const std::string &config) {
        start("my_slotid.mode=constant\nmy_slotid.int_cons=5\n" + config);
    }
};

TEST_F(TemperatureTest, SensorsAreConvertedByTheirType) {
    struct Row {
        const char *type;
        const char *frmt;
        Bytes bytes;
        int degrees;
    };
    const Row kRows[] = {
        {"lm75", "num_buf", {0x19, 0x00}, 25},
        {"lm75", "num_buf", {0x19, 0x80}, 25},
        {"lm75", "num_buf", {0xFF, 0x80}, 0},
        {"lm75", "num_buf", {0xE7, 0x00}, -25},
        {"lm75", "num_buf", {0x00, 0xFF}, 0},
        {"lm75", "num_buf", {0x80, 0x00}, -128},
        {"lm75", "bit", {0xFF, 0xFF}, 3},
        {"tmp411", "num_buf", {0x00, 0x80}, -64},
        {"tmp411", "num_buf", {0x59, 0x80}, 25},
        {"none", "num_bytes", {0x01, 0x02}, 0x102},
        {"lm75", "num_bytes", {0x19, 0x00}, 0x1900},
    };
    for (const Row &row : kRows) {
        dfd_test::in_own_process(row.type, [&] {
            // 0 is the own card, 31 stands for slots 30 and 31.
            start_card(sensor("_0_2", row.type, row.frmt) + sensor("_31_2", row.type, row.frmt));
            chassis.set_slave(kBus, kAddr, 0, row.bytes);
            for (const int slot : {kOwnSlot, 30, 31}) {
                int temp = 999;
                EXPECT_EQ(sdd_get_card_temp(slot, kIndex, &temp), 0);
                EXPECT_EQ(temp, row.degrees) << slot;
            }
        });
    }
    EXPECT_EQ(dfd::lm75_degrees(0x7F, 0xFF), 127);
}

TEST_F(TemperatureTest, SensorsThatGiveNoTemperature) {
    start_card(sensor("_0_2", "mac", "num_buf") + "card_temp_info.type_0_3=lm75\n" +
               sensor("_0_4", "none", "num_buf") + sensor("_0_5", "lm75", "num_buf", "none") +
               "card_temp_info.type_0_6=lm75\ncard_temp_ctrl.mode_0_6=fru\n");
    struct Row {
        int slot;
        std::uint8_t index;
        int code;
    };
    const Row kRows[] = {{kOwnSlot, 2, -1}, {kOwnSlot, 3, -6}, {kOwnSlot, 4, -8}, {kOwnSlot, 5, -7},
                         {kOwnSlot, 6, 4},  {kOwnSlot, 9, -6}, {0, 2, -6},        {6, 2, -6}};
    for (const Row &row : kRows) {
        int temp = 999;
        EXPECT_EQ(sdd_get_card_temp(row.slot, row.index, &temp), row.code) << int{row.index};
        EXPECT_EQ(temp, 999);
    }
    EXPECT_EQ(sdd_get_card_temp(kOwnSlot, 5, nullptr), -8);
    EXPECT_EQ(sdd_check_temp_valid(kOwnSlot, 3), 1) << "the control item is not asked for";
    EXPECT_EQ(sdd_check_temp_valid(kOwnSlot, 9), 0);
    EXPECT_EQ(sdd_check_temp_valid(0, 2), 0) << "slot 0 is not the own card";
}

TEST_F(TemperatureTest, NamesFitWithTheirTerminator) {
    const std::string longest(127, 'n');
    start_card(sensor("_0_2", "lm75", "num_buf") + "card_temp_info.temp_name_7_1=" + longest +
               "x\n");
    const auto name = [](int slot, std::uint8_t index, int size) {
        std::string dst(static_cast<std::size_t>(std::max(size, 1)), '~');
        const auto exact = std::make_unique<char[]>(dst.size());
        std::memcpy(exact.get(), dst.data(), dst.size());
        const int code = sdd_get_temp_name(slot, index, exact.get(), size);
        return std::pair(code, std::string(exact.get(), dst.size()));
    };
    using Found = std::pair<int, std::string>;
    EXPECT_EQ(name(0, 2, 6), Found(0, std::string("inlet\0", 6)));
    EXPECT_EQ(name(0, 2, 9), Found(0, std::string("inlet\0\0\0\0", 9)));
    EXPECT_EQ(name(0, 2, 5), Found(-5, "~~~~~"));
    EXPECT_EQ(name(0, 2, -1), Found(-5, "~"));
    EXPECT_EQ(name(kOwnSlot, 2, 9).first, -6) << "the slot as it is";
    EXPECT_EQ(name(7, 1, 128), Found(0, longest + '\0'));
    EXPECT_EQ(sdd_get_temp_name(0, 2, nullptr, 9), -8);
}

TEST_F(TemperatureTest, SetUpPutsTmp411IntoExtendedRange) {
    // The kind stands under the slot, the control item under the virtual slot.
    start_card("card_temp_info.type_5_2=tmp411\ncard_temp_info.type_6_2=tmp411\n" +
               sensor("_5_3", "lm75", "num_buf") + sensor("_0_2", "none", "num_buf") +
               sensor("_6_2", "tmp411", "num_buf", "localbus") +
               "card_temp_info.type_7_2=tmp411\n");
    EXPECT_EQ(sdd_set_card_temp_cfg(kOwnSlot, 3), 0) << "not a tmp411";
    EXPECT_EQ(sdd_set_card_temp_cfg(kOwnSlot, 9), -6) << "no sensor";
    EXPECT_EQ(sdd_set_card_temp_cfg(6, 2), -6) << "not on I2C";
    EXPECT_EQ(sdd_set_card_temp_cfg(7, 2), -6) << "no control item";
    EXPECT_TRUE(chassis.log().empty());
    EXPECT_EQ(sdd_set_card_temp_cfg(kOwnSlot, 2), 2);
    EXPECT_THAT(accesses(Op::transfer),
                ElementsAre("transfer /dev/i2c-1 {w 0x48 [09]} {w 0x48 nostart [04]} = 2",
                            "transfer /dev/i2c-1 {w 0x48 [22]} {w 0x48 nostart [00]} = 2"));
    chassis.clear_log();
    chassis.fail({.addr = kAddr, .offset = 9, .count = 0});
    EXPECT_EQ(sdd_set_card_temp_cfg(kOwnSlot, 2), -1);
    EXPECT_EQ(count(Op::transfer), 5U) << "the second register is left";
}

TEST_F(TemperatureTest, ThresholdsHaveFractionBitsInRegistersOnly) {
    const std::string alarm = "sys_alarm_temp.mode=";
    const std::string from_register =
        "config\nsys_alarm_temp.src=localbus\nsys_alarm_temp.frmt=num_bytes\n"
        "sys_alarm_temp.fpath=/dev/cpld0\nsys_alarm_temp.len=";
    chassis.set_reg("/dev/cpld0", 0, 0x02);
    chassis.set_reg("/dev/cpld0", 1, 0xA8);
    struct Row {
        std::string config;
        int code;
        int temp;
    };
    const Row kRows[] = {
        {alarm + "constant\nsys_alarm_temp.int_cons=85\n", 0, 85},
        {alarm + from_register + "2\n", 0, 85},
        {alarm + from_register + "0\n", -5, 999},
        {alarm + "fru\n", 4, 999},
        {"", -6, 999},
    };
    for (const Row &row : kRows) {
        dfd_test::in_own_process(row.config, [&] {
            start(row.config);
            int temp = 999;
            EXPECT_EQ(sdd_get_sys_card_alarm_temp(&temp), row.code);
            EXPECT_EQ(temp, row.temp);
            EXPECT_EQ(sdd_get_sys_card_shutdown_temp(&temp), -6);
        });
    }
    start(
        "sys_danger_temp.mode=config\nsys_danger_temp.src=localbus\n"
        "sys_danger_temp.frmt=num_bytes\nsys_danger_temp.len=4\n"
        "sys_danger_temp.fpath=/dev/cpld0\nsys_danger_temp.reg_offset=16\n");
    for (std::uint32_t at = 16; at < 20; ++at) {
        chassis.set_reg("/dev/cpld0", at, 0xFF);
    }
    int temp = 999;
    EXPECT_EQ(sdd_get_sys_card_shutdown_temp(&temp), 0);
    EXPECT_EQ(temp, -1) << "the sign is kept";
    EXPECT_EQ(sdd_get_sys_card_shutdown_temp(nullptr), -8);
}

std::string mac_file(std::initializer_list<std::int32_t> figures, std::size_t size = 88) {
    std::string text(size, '.');
    for (const std::int32_t figure : figures) {
        text.append(reinterpret_cast<const char *>(&figure), sizeof figure);
    }
    return text;
}

TEST_F(TemperatureTest, MacFiguresComeFromTheirFile) {
    const auto ctrl = [](int index, const std::string &path) {
        return "card_temp_ctrl.fpath_0_" + std::to_string(index) + "=" + path + "\n";
    };
    start(ctrl(41, kMacFile) + ctrl(0, kMacFile) + ctrl(42, "/tmp/bspinfo/nothing") +
          ctrl(43, "/tmp/bspinfo"));
    EXPECT_EQ(sdd_is_support_mac_temp(), 0);
    struct Row {
        int n;
        std::string file;
        std::vector<int> figures;
    };
    for (const Row &row :
         {Row{0, mac_file({41, -2, 43}), {41, -2, 43}}, Row{215, mac_file({1, 2, 3, 4}), {1, 2, 3}},
          Row{0, mac_file({7}), {7, 0, 0}}, Row{-41, "", {0, 0, 0}}}) {
        chassis.write_file(kMacFile, row.file);
        int a = 9;
        int b = 9;
        int c = 9;
        EXPECT_EQ(sdd_get_mac_temp_state(row.n, &a, &b, &c), 0);
        EXPECT_THAT((std::vector{a, b, c}), row.figures) << row.n;
    }
    int a = 9;
    EXPECT_EQ(sdd_get_mac_temp_state(1, &a, &a, &a), -10) << "no file";
    EXPECT_EQ(sdd_get_mac_temp_state(2, &a, &a, &a), -10) << "a directory";
    EXPECT_EQ(sdd_get_mac_temp_state(3, &a, &a, &a), -6);
    EXPECT_EQ(sdd_get_mac_temp_state(0, &a, &a, nullptr), -8);
    EXPECT_EQ(a, 9);
    const auto exact = std::make_unique<char[]>(DFD_MAC_TEMP_FILE_SIZE);
    chassis.write_file(kMacFile, std::string(300, 'x'));
    EXPECT_EQ(sdd_get_mac_temp_from_file(kMacFile, exact.get()), 100);
    EXPECT_EQ(sdd_get_mac_temp_from_file("/tmp/bspinfo/nothing", exact.get()), -6);
    EXPECT_EQ(sdd_get_mac_temp_from_file("/tmp/bspinfo", exact.get()), -1);
    EXPECT_EQ(sdd_get_mac_temp_from_file(nullptr, exact.get()), -8);
    EXPECT_EQ(count(Op::open), count(Op::close) + 2) << "the two that failed";
}

TEST_F(TemperatureTest, MacSupportIsAnItemAndNothingOfTheModuleIsLogged) {
    start_card("mac_temp_file=\ncard_temp_info.type_0_2=mac\n");
    dfd_debug = DFD_DEBUG_ERR | DFD_DEBUG_VBOSE;
    EXPECT_EQ(printed_by([] {
                  int temp = 0;
                  EXPECT_EQ(sdd_is_support_mac_temp(), 1);
                  EXPECT_EQ(sdd_get_card_temp(kOwnSlot, 2, &temp), -1);
                  EXPECT_EQ(sdd_get_card_temp(kOwnSlot, 3, &temp), -6);
                  EXPECT_EQ(sdd_get_mac_temp_state(0, &temp, &temp, &temp), -6);
                  EXPECT_EQ(sdd_set_card_temp_cfg(kOwnSlot, 2), -6);
              }),
              "");
}

}  // namespace
