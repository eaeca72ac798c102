// SPDX-License-Identifier: MIT
#include "support/libc_calls.h"
#include "support/library_test.h"

namespace {

using dfd_test::Bytes;
using testing::ElementsAre;
using testing::HasSubstr;
using vchassis::Op;

class DeviceFileTest : public dfd_test::LibraryTest {
  protected:
    DeviceFileTest() {
        chassis.describe(
            "[[registers]]\npath = \"/dev/cpld1\"\nsize = 0x10000\n"
            "[[registers]]\npath = \"/dev/fpga0\"\nsize = 0x20000\n");
    }
};

TEST_F(DeviceFileTest, EveryAccessOpensSeeksTransfersAndCloses) {
    chassis.set_reg("/dev/cpld1", 0x1234, 0xA5);
    std::uint8_t byte = 0;
    EXPECT_EQ(dfd_cpld_read(0x01001234, &byte), 0);
    EXPECT_EQ(byte, 0xA5);
    EXPECT_THAT(accesses(Op::open), ElementsAre(testing::StartsWith("open /dev/cpld1 O_RDWR = ")));
    EXPECT_THAT(accesses(Op::read), ElementsAre("read /dev/cpld1 @0x1234 [a5] = 1"));
    EXPECT_EQ(count(Op::close), 1U);
    EXPECT_EQ(dfd_cpld_write(0x01FF9234, 0x5A), 0) << "bits 23 to 16 do not count";
    EXPECT_EQ(chassis.reg("/dev/cpld1", 0x9234), 0x5A);
    EXPECT_EQ(sdd_device_write("/dev/cpld1", 0, &byte, 1), 0) << "no count";
    EXPECT_EQ(dfd_fpga_write(0x10001, 7), 0);
    EXPECT_EQ(dfd_fpga_read(0x10001, &byte), 0);
    EXPECT_EQ(byte, 7);
    EXPECT_EQ(count(Op::open), count(Op::close));
}

// The lines of an item of a byte that is read from this device.
std::string item(const std::string &name, const std::string &index, const std::string &source,
                 const std::string &path) {
    std::string lines;
    for (const auto &[member, value] :
         std::vector<std::pair<std::string, std::string>>{{".mode", "config"},
                                                          {".src", source},
                                                          {".frmt", "byte"},
                                                          {".fpath", path},
                                                          {".addr", "0x48"},
                                                          {".len", "1"},
                                                          {".reg_offset", "0x10"}}) {
        lines += name + member + index + "=" + value + "\n";
    }
    return lines;
}

TEST_F(DeviceFileTest, AccessesByKeyTakeTheSystemCallsOfThoseByHand) {
    using Calls = std::vector<dfd_test::LibcCall>;
    using enum dfd_test::LibcCall;
    const Calls read_calls = {open, seek, read, close};
    const Calls write_calls = {open, seek, write, close};
    const Calls transfer_calls = {open, ioctl, close};
    Calls tray_calls = read_calls;  // present, two rotors, its line
    for (const Calls &more : {transfer_calls, transfer_calls, read_calls}) {
        tray_calls.insert(tray_calls.end(), more.begin(), more.end());
    }
    add_e2prom(1, 0x48, Bytes(256, 0x20));
    chassis.set_reg("/dev/cpld1", 0x10, 1);
    start(item("fan_state", "_1", "localbus", "/dev/cpld1") +
          item("fan_real_speed", "_1_1", "i2c", "/dev/i2c-1") +
          item("fan_real_speed", "_1_2", "i2c", "/dev/i2c-1") +
          item("fan_line_fail", "_1", "localbus", "/dev/fpga0") +
          item("card_power_ctrl", "_1", "localbus", "/dev/cpld1") +
          "subfan_num.mode_1=constant\nsubfan_num.int_cons_1=2\nfan_speed_floor=10\n");
    constexpr std::uint32_t kRegister = DFD_MAKE_KEY(DFD_KEY_CARD_POWER_CTRL, 1, 0);
    constexpr std::uint32_t kSpeed = DFD_MAKE_KEY(DFD_KEY_FAN_REAL_SPEED, 1, 2);
    int value = 0;
    struct Row {
        const char *what;
        std::function<int()> access;
        int result;
        Calls calls;
    };
    const std::vector<Row> rows = {
        {"read", [&] { return dfd_info_get_int(kRegister, &value, nullptr); }, 0, read_calls},
        {"write", [&] { return dfd_info_set_int(kRegister, 1); }, 0, write_calls},
        {"I2C read", [&] { return dfd_info_get_int(kSpeed, &value, nullptr); }, 0, transfer_calls},
        {"healthy tray", [&] { return drv_get_fan_status(1); }, FAN_STATUS_OK, tray_calls},
    };
    for (const Row &row : rows) {
        // The second one finds what the library remembers.
        for (int i = 0; i < 2; ++i) {
            SCOPED_TRACE(row.what);
            dfd_test::WatchedCalls watched(dfd_test::Positions::system);
            const int result = row.access();
            watched.end();
            EXPECT_EQ(result, row.result);
            Calls calls;
            for (const dfd_test::MadeCall &made : watched.made()) {
                calls.push_back(made.call);
            }
            EXPECT_EQ(calls, row.calls);
        }
    }
}

TEST_F(DeviceFileTest, FailuresOfReadsAndWritesDiffer) {
    std::uint8_t byte = 0x77;
    EXPECT_EQ(sdd_device_read(nullptr, 0, &byte, 1), -1);
    EXPECT_EQ(sdd_device_read("/dev/cpld1", 0, nullptr, 1), -1);
    EXPECT_EQ(sdd_device_write("/dev/cpld1", 0, nullptr, 1), -1);
    EXPECT_EQ(sdd_device_write(nullptr, 0, &byte, 1), -1);
    EXPECT_EQ(dfd_cpld_read(0x05000000, &byte), -1);
    EXPECT_EQ(dfd_cpld_write(0x05000000, 1), 0) << "a missing device swallows writes";
    EXPECT_EQ(sdd_device_read("/dev/cpld1", -1, &byte, 1), -1) << "seek";
    EXPECT_EQ(sdd_device_write("/dev/cpld1", -1, &byte, 1), -1) << "seek";
    EXPECT_EQ(sdd_device_read("/dev/cpld1", 0, &byte, -1), -1);
    EXPECT_EQ(sdd_device_write("/dev/cpld1", 0, &byte, -1), -1);
    EXPECT_EQ(byte, 0x77);
    EXPECT_EQ(count(Op::open) - 2, count(Op::close)) << "two opens failed, all others were closed";
}

TEST_F(DeviceFileTest, PlainFilesGiveWhatTheyHold) {
    chassis.write_file("/tmp/bspinfo/value", "12345");
    Bytes buf(8, 0);
    EXPECT_EQ(sdd_device_read("/tmp/bspinfo/value", 3, buf.data(), 8), 2);
    EXPECT_EQ(buf[0], '4');
    EXPECT_EQ(sdd_device_read("/tmp/bspinfo/value", 9, buf.data(), 8), 0);
    EXPECT_EQ(sdd_device_read("/tmp/bspinfo/value", 0, buf.data(), 0), 0);
}

TEST_F(DeviceFileTest, FixedAnswersTouchNothing) {
    EXPECT_EQ(dev_drv_check_cpld_status(3), 0);
    EXPECT_EQ(dev_drv_check_fpga_status(1), 0);
    EXPECT_EQ(drv_check_cpld(0), -1);
    EXPECT_EQ(drv_check_ucd9081(0, 0, 0), -1);
    EXPECT_EQ(drv_fpga_self_test(), -1);
    EXPECT_EQ(dfd_drv_get_fd(0, nullptr), -1);
    EXPECT_TRUE(chassis.log().empty());
}

}  // namespace
