// SPDX-License-Identifier: MIT
#include "hal/temperature_codes.h"
#include "support/library_test.h"

namespace {

using dfd_test::Bytes;
using dfd_test::in_own_process;
using testing::ElementsAre;
using vchassis::Op;

constexpr int kSensorBus = 1;
constexpr int kSensorAddr = 0x48;
constexpr int kOwnSlot = 5;
constexpr char kMacFile[] = "/tmp/bspinfo/mac_temp";

// Lines of a sensor that is read from register 0 of the slave; at is "_SLOT_INDEX".
std::string sensor(const std::string &at, const std::string &type, const std::string &frmt,
                   const std::string &src = "i2c") {
    const std::string ctrl = "card_temp_ctrl.";
    return "card_temp_info.temp_name" + at + "=inlet\ncard_temp_info.type" + at + "=" + type +
           "\n" + ctrl + "mode" + at + "=config\n" + ctrl + "src" + at + "=" + src + "\n" + ctrl +
           "frmt" + at + "=" + frmt + "\n" + ctrl + "len" + at + "=2\n" + ctrl + "fpath" + at +
           "=/dev/i2c-1\n" + ctrl + "addr" + at + "=0x48\n";
}

class TemperatureTest : public dfd_test::LibraryTest {
  protected:
    TemperatureTest() {
        chassis.describe(
            "[[registers]]\npath = \"/dev/cpld0\"\nsize = 256\n"
            "[[i2c]]\nbus = 1\naddr = 0x48\nmodel = \"registers\"\nsize = 256\n");
    }
    void start_in_slot_5(const std::string &config) {
        start("my_slotid.mode=constant\nmy_slotid.int_cons=5\n" + config);
    }
};

TEST_F(TemperatureTest, SensorsAreConvertedByTheirType) {
    struct Row {
        const char *type;
        const char *frmt;
        std::uint8_t high, low;
        int degrees;
    };
    for (const Row &row :
         {Row{"lm75", "num_buf", 0x19, 0x00, 25}, Row{"lm75", "num_buf", 0x19, 0x80, 25},
          Row{"lm75", "num_buf", 0xFF, 0x80, 0}, Row{"lm75", "num_buf", 0xE7, 0x00, -25},
          Row{"lm75", "num_buf", 0x80, 0x00, -128}, Row{"lm75", "num_buf", 0xFF, 0x01, 0},
          Row{"lm75", "bit", 0xFF, 0xFF, 3}, Row{"tmp411", "num_buf", 0x00, 0x80, -64},
          Row{"tmp411", "num_buf", 0x59, 0x80, 25}, Row{"none", "num_bytes", 0x01, 0x02, 0x102}}) {
        in_own_process(row.type, [&] {
            // 0 is the own card, 31 stands for slots 30 and 31.
            start_in_slot_5(sensor("_0_2", row.type, row.frmt) +
                            sensor("_31_2", row.type, row.frmt));
            chassis.set_slave(kSensorBus, kSensorAddr, 0, Bytes{row.high, row.low});
            for (const int slot : {kOwnSlot, 30, 31}) {
                int temp = 999;
                EXPECT_EQ(sdd_get_card_temp(slot, 2, &temp), 0);
                EXPECT_EQ(temp, row.degrees) << slot;
            }
        });
    }
    EXPECT_EQ(dfd::lm75_degrees(0x7F, 0xFF), 127);
}

TEST_F(TemperatureTest, SensorsThatGiveNoTemperature) {
    start_in_slot_5(sensor("_0_2", "mac", "num_buf") + "card_temp_info.type_0_3=lm75\n" +
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
    EXPECT_EQ(sdd_check_temp_valid(kOwnSlot, 3), 1) << "the control item is not asked for";
    EXPECT_EQ(sdd_check_temp_valid(kOwnSlot, 9), 0);
    EXPECT_EQ(sdd_check_temp_valid(0, 2), 0) << "slot 0 is not the own card";
}

TEST_F(TemperatureTest, NamesFitWithTheirTerminator) {
    start_in_slot_5(sensor("_0_2", "lm75", "num_buf"));
    struct Row {
        int slot;
        int size;
        int code;
        std::string_view bytes;
    };
    using namespace std::literals;
    for (const Row &row :
         {Row{0, 6, 0, "inlet\0"sv}, Row{0, 9, 0, "inlet\0\0\0\0"sv}, Row{0, 5, -5, "~~~~~"sv},
          Row{0, -1, -5, "~"sv}, Row{kOwnSlot, 9, -6, "~~~~~~~~~"sv}}) {
        std::vector<char> exact(row.bytes.size(), '~');
        EXPECT_EQ(sdd_get_temp_name(row.slot, 2, exact.data(), row.size), row.code) << row.size;
        EXPECT_EQ(std::string_view(exact.data(), exact.size()), row.bytes);
    }
    EXPECT_EQ(sdd_get_temp_name(0, 2, nullptr, 9), -8);
}

TEST_F(TemperatureTest, SetUpPutsTmp411IntoExtendedRange) {
    // The kind stands under the slot, the control item under the virtual slot.
    start_in_slot_5("card_temp_info.type_5_2=tmp411\ncard_temp_info.type_7_2=tmp411\n" +
                    sensor("_5_3", "lm75", "num_buf") + sensor("_0_2", "none", "num_buf") +
                    sensor("_6_2", "tmp411", "num_buf", "localbus"));
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
    chassis.fail({.addr = kSensorAddr, .offset = 9, .count = 0});
    EXPECT_EQ(sdd_set_card_temp_cfg(kOwnSlot, 2), -1);
    EXPECT_EQ(count(Op::transfer), 5U) << "the second register is left";
}

TEST_F(TemperatureTest, ThresholdsHaveFractionBitsInRegistersOnly) {
    const std::string reg =
        "src=localbus\n%.fpath=/dev/cpld0\n%.frmt=num_bytes\n%.mode=config\n%.len=";
    chassis.set_reg("/dev/cpld0", 0, 0x02);
    chassis.set_reg("/dev/cpld0", 1, 0xA8);
    chassis.set_reg("/dev/cpld0", 16, 0xFF);
    struct Row {
        std::string members;
        int code;
        int temp;
    };
    for (const Row &row : {Row{"mode=constant\n%.int_cons=85", 0, 85}, Row{reg + "2", 0, 85},
                           Row{reg + "0", -5, 999}, Row{reg + "1\n%.reg_offset=16", 0, 31},
                           Row{"mode=fru", 4, 999}, Row{"", -6, 999}}) {
        in_own_process(row.members, [&] {
            std::string alarm = row.members.empty() ? "" : "%." + row.members + "\n";
            for (std::size_t at = 0; (at = alarm.find('%', at)) != std::string::npos;) {
                alarm.replace(at, 1, "sys_alarm_temp");
            }
            start("sys_danger_temp.mode=constant\nsys_danger_temp.int_cons=-8\n" + alarm);
            int temp = 999;
            EXPECT_EQ(sdd_get_sys_card_alarm_temp(&temp), row.code);
            EXPECT_EQ(temp, row.temp);
            EXPECT_EQ(sdd_get_sys_card_shutdown_temp(&temp), 0);
            EXPECT_EQ(temp, -8);
        });
    }
}

TEST_F(TemperatureTest, MacFiguresComeFromTheirFile) {
    const auto ctrl = [](int index, const std::string &path) {
        return "card_temp_ctrl.fpath_0_" + std::to_string(index) + "=" + path + "\n";
    };
    start(ctrl(41, kMacFile) + ctrl(0, kMacFile) + ctrl(42, "/tmp/bspinfo/nothing") +
          "mac_temp_file=\n");
    struct Row {
        int n;
        std::vector<std::int32_t> file;  // from byte 88 on
        std::vector<int> figures;
    };
    for (const Row &row : {Row{0, {41, -2, 43}, {41, -2, 43}}, Row{215, {1, 2, 3, 4}, {1, 2, 3}},
                           Row{0, {7}, {7, 0, 0}}}) {
        chassis.write_file(
            kMacFile,
            std::string(88, '.') + std::string(reinterpret_cast<const char *>(row.file.data()),
                                               row.file.size() * sizeof(std::int32_t)));
        std::vector<int> figures(3, 9);
        EXPECT_EQ(sdd_get_mac_temp_state(row.n, &figures[0], &figures[1], &figures[2]), 0);
        EXPECT_EQ(figures, row.figures) << row.n;
    }
    int a = 9;
    EXPECT_EQ(sdd_get_mac_temp_state(1, &a, &a, &a), -10) << "no file";
    EXPECT_EQ(sdd_get_mac_temp_state(2, &a, &a, &a), -6);
    EXPECT_EQ(sdd_get_mac_temp_state(0, &a, &a, nullptr), -8);
    EXPECT_EQ(sdd_get_mac_temp_state(0, &a, nullptr, &a), -8);
    EXPECT_EQ(sdd_get_mac_temp_state(0, nullptr, &a, &a), -8);
    EXPECT_EQ(sdd_get_mac_temp_from_file(nullptr, &a), -8);
    EXPECT_EQ(sdd_get_mac_temp_from_file(kMacFile, nullptr), -8);
    EXPECT_EQ(a, 9);
    std::vector<char> exact(DFD_MAC_TEMP_FILE_SIZE);
    chassis.write_file(kMacFile, std::string(300, 'x'));
    EXPECT_EQ(sdd_get_mac_temp_from_file(kMacFile, exact.data()), 100);
    EXPECT_EQ(sdd_get_mac_temp_from_file("/tmp/bspinfo/nothing", exact.data()), -6);
    EXPECT_EQ(sdd_get_mac_temp_from_file("/tmp/bspinfo", exact.data()), -1) << "a directory";
    EXPECT_EQ(sdd_is_support_mac_temp(), 1);
}

TEST_F(TemperatureTest, TheModuleLogsNothing) {
    start_in_slot_5("card_temp_info.type_0_2=mac\n");
    dfd_debug = DFD_DEBUG_ERR | DFD_DEBUG_VBOSE;
    int temp = 0;
    EXPECT_EQ(dfd_test::printed_by([&] {
                  EXPECT_EQ(sdd_is_support_mac_temp(), 0);
                  EXPECT_EQ(sdd_get_card_temp(kOwnSlot, 2, &temp), -1);
                  EXPECT_EQ(sdd_get_mac_temp_state(0, &temp, &temp, &temp), -6);
                  EXPECT_EQ(sdd_set_card_temp_cfg(kOwnSlot, 2), -6);
              }),
              "");
}

}  // namespace
