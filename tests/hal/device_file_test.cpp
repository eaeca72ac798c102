// SPDX-License-Identifier: MIT
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
