// SPDX-License-Identifier: MIT
#include "support/libc_calls.h"
#include "support/library_test.h"

namespace {

using dfd_test::Bytes;
using dfd_test::functions_logged_by;
using dfd_test::logged_by;
using testing::Each;
using testing::ElementsAre;
using testing::StartsWith;
using vchassis::Op;

class I2cTest : public dfd_test::LibraryTest {
  protected:
    I2cTest() {
        Bytes image(256);
        for (std::size_t i = 0; i < image.size(); ++i) {
            image[i] = static_cast<std::uint8_t>(i);
        }
        add_e2prom(3, 0x50, image);
    }
};

TEST_F(I2cTest, ReadsAreOffsetThenDataInOneRequest) {
    Bytes buf(4, 0);
    EXPECT_EQ(dfd_i2c_read(3, 0x50, buf.data(), 2), 0);
    EXPECT_EQ(sdd_read_i2c("/dev/i2c-3", 0x50, 0x1234, buf.data(), 2), 2);
    EXPECT_EQ(dfd_i2c_read_offset(3, 0x50, 0x10, buf.data(), 4), 0);
    EXPECT_THAT(accesses(Op::transfer),
                ElementsAre("transfer /dev/i2c-3 {w 0x50 [00]} {r 0x50 [00 01]} = 2",
                            "transfer /dev/i2c-3 {w 0x50 [34]} {r 0x50 [34 35]} = 2",
                            "transfer /dev/i2c-3 {w 0x50 [10]} {r 0x50 [10 11 12 13]} = 2"));
    EXPECT_THAT(accesses(Op::open), Each(StartsWith("open /dev/i2c-3 O_RDWR|O_SYNC = ")));
    EXPECT_EQ(count(Op::close), 3U);
    EXPECT_EQ(chassis.slept_us(), 0U);
}

TEST_F(I2cTest, WritesContinueBehindTheOffset) {
    const Bytes data = {0xAA, 0xBB};
    EXPECT_EQ(dfd_i2c_write(3, 0x50, 0x20, data.data(), 2), 0);
    EXPECT_THAT(accesses(Op::transfer),
                ElementsAre("transfer /dev/i2c-3 {w 0x50 [20]} {w 0x50 nostart [aa bb]} = 2"));
    EXPECT_EQ(chassis.slave(3, 0x50)[0x21], 0xBB);
    // The chip is busy; the retries wait for it.
    EXPECT_EQ(ssa_i2c_write("/dev/i2c-3", 0x50, 0x20, data.data(), 1), 0);
    EXPECT_EQ(chassis.slept_us(), 10000U);
    chassis.advance_us(100000);
    EXPECT_EQ(sdd_write_i2c("/dev/i2c-3", 0x50, 0x20, data.data(), 1), 2) << "the raw count";
    chassis.advance_us(100000);
    EXPECT_EQ(dfd_write_port_i2c("/dev/i2c-3", 0x50, 0x20, data.data(), 1), 2);
    chassis.advance_us(100000);
    const Bytes longest(256, 0x5A);
    EXPECT_EQ(sdd_write_i2c_one_time("/dev/i2c-3", 0x50, 0, longest.data(), 256, 0), 2);
    chassis.advance_us(100000);
    Bytes back(1);
    EXPECT_EQ(dfd_read_port_i2c("/dev/i2c-3", 0x50, 0x20, back.data(), 1), 2);
}

TEST_F(I2cTest, WideOffsetsAreTwoBytes) {
    Bytes buf(1);
    sdd_read_i2c_one_time("/dev/i2c-3", 0x50, 0x1234, buf.data(), 1, 1);
    sdd_write_i2c_one_time("/dev/i2c-3", 0x50, 0x5678, buf.data(), 1, 1);
    const auto log = chassis.log(Op::transfer);
    ASSERT_EQ(log.size(), 2U);
    EXPECT_EQ(log[0].messages[0].flags, 0x0010);
    EXPECT_EQ(log[0].messages[0].bytes, (Bytes{0x12, 0x34}));
    EXPECT_EQ(log[1].messages[0].flags, 0) << "only reads are flagged";
    EXPECT_EQ(log[1].messages[0].bytes, (Bytes{0x56, 0x78}));
    EXPECT_EQ(log[1].messages[1].flags, 0x4000);
}

TEST_F(I2cTest, FiveAttemptsAndASleepAfterEach) {
    Bytes buf(1);
    struct Row {
        const char *what;
        std::function<int()> call;
        unsigned failures;
        int result;
    };
    const Row kRows[] = {
        {"absent read", [&] { return sdd_read_i2c("/dev/i2c-3", 0x51, 0, buf.data(), 1); }, 5, -1},
        {"absent write", [&] { return sdd_write_i2c("/dev/i2c-3", 0x51, 0, buf.data(), 1); }, 5,
         -1},
        {"missing bus", [&] { return ssa_i2c_read("/dev/i2c-9", 0x51, 0, buf.data(), 1); }, 5, -1},
        {"two failures", [&] { return dfd_i2c_read(3, 0x50, buf.data(), 1); }, 2, 0},
        {"null buffer", [&] { return dfd_i2c_read(3, 0x50, nullptr, 1); }, 5, -1},
        {"null path", [&] { return sdd_read_i2c(nullptr, 0x50, 0, buf.data(), 1); }, 5, -1},
        {"too long", [&] { return sdd_write_i2c("/dev/i2c-3", 0x50, 0, buf.data(), 257); }, 5, -1},
    };
    for (const Row &row : kRows) {
        chassis.clear_log();
        chassis.fail({.addr = 0x50, .count = 2, .error = EAGAIN});
        EXPECT_EQ(row.call(), row.result) << row.what;
        EXPECT_EQ(count(Op::sleep), row.failures) << row.what;
        EXPECT_EQ(chassis.slept_us(), row.failures * 10000U) << row.what;
        EXPECT_EQ(count(Op::close), count(Op::transfer)) << row.what;
        chassis.clear_faults();
    }
}

TEST_F(I2cTest, SingleAttemptsRefuseBeforeOpening) {
    Bytes buf(1);
    EXPECT_EQ(sdd_write_i2c_one_time("/dev/i2c-3", 0x50, 0, buf.data(), 0, 0), 0);
    EXPECT_EQ(sdd_write_i2c_one_time("/dev/i2c-3", 0x50, 0, nullptr, 0, 0), -1);
    EXPECT_EQ(sdd_write_i2c_one_time(nullptr, 0x50, 0, buf.data(), 1, 0), -1);
    EXPECT_EQ(sdd_read_i2c_one_time("/dev/i2c-3", 0x50, 0, buf.data(), 65537, 0), -1);
    EXPECT_TRUE(chassis.log().empty());
    EXPECT_EQ(logged_by(DFD_DEBUG_VBOSE,
                        [] {
                            EXPECT_EQ(dfd_i2c_write(3, 0x50, 0, nullptr, 1), -1);
                            const std::uint8_t byte = 0;
                            EXPECT_EQ(dfd_i2c_write(3, 0x51, 0, &byte, 1), -1);
                        }),
              "buf == null\r\nssa_i2c_write: dev = /dev/i2c-3, rv = -1\r\n");
}

TEST_F(I2cTest, DbA1FlagTakesOnlyAResultOfZero) {
    Bytes image(256, 0);
    image[6] = 0x80;
    add_e2prom(0, 0x57, image);
    std::uint32_t flag = 9;
    EXPECT_EQ(logged_by(DFD_DEBUG_ERR, [&] { EXPECT_EQ(drv_check_db_a1_flag(&flag), -1); }),
              "/dev/i2c-0 dev_addr = 0x57, offset = 0x6 fail\r\n");
    EXPECT_EQ(flag, 9U) << "a good transfer counts 2 messages";
    chassis.fail({.addr = 0x57, .error = 0, .result = 0});
    EXPECT_EQ(logged_by(DFD_DEBUG_VBOSE, [&] { EXPECT_EQ(dfd_dev_check_db_a1_flag(&flag), 0); }),
              "DB_A1 FLAG = 0x0\r\n");
    EXPECT_EQ(flag, 0U);
    // A driver that answers 0 for a transfer that it carried out.
    for (const auto &[byte, expected] : {std::pair{0x80, 1U}, {0x01, 1U}, {0, 0U}}) {
        chassis.set_slave(0, 0x57, 6, Bytes{static_cast<std::uint8_t>(byte)});
        const dfd_test::FailingCalls answering(dfd_test::LibcCall::ioctl, 0, 1, 0);
        flag = 9;
        char trace[32];
        std::snprintf(trace, sizeof trace, "DB_A1 FLAG = 0x%x\r\n", byte);
        EXPECT_EQ(
            logged_by(DFD_DEBUG_VBOSE, [&] { EXPECT_EQ(dfd_dev_check_db_a1_flag(&flag), 0); }),
            trace);
        EXPECT_EQ(flag, expected) << byte;
        const dfd_test::FailingCalls again(dfd_test::LibcCall::ioctl, 0, 1, 0);
        EXPECT_EQ(dfd_dev_check_db_a1_flag(nullptr), -1);
    }
    for (const int result : {1, 3, -1, -9}) {
        const dfd_test::FailingCalls answering(dfd_test::LibcCall::ioctl, 0, 5, result);
        flag = 9;
        EXPECT_EQ(drv_check_db_a1_flag(&flag), -1) << result;
        EXPECT_EQ(flag, 9U) << result;
    }
    EXPECT_EQ(functions_logged_by(DFD_DEBUG_ERR, [&] { drv_check_db_a1_flag(&flag); }),
              "dfd_dev_check_db_a1_flag ");
}

// What each name makes of the kernel's answer: raw counts and codes, or 0 for whatever went well.
TEST_F(I2cTest, AnswersOfTheBusByName) {
    std::uint8_t byte = 0x33;
    constexpr char kChipBus[] = "/dev/i2c-3";
    struct Name {
        const char *name;
        std::function<int()> call;
        bool is_raw;
        unsigned attempts;
        const char *trace = "";
    };
    const Name kNames[] = {
        {"read once", [&] { return sdd_read_i2c_one_time(kChipBus, 0x50, 0, &byte, 1, 0); }, true,
         1},
        {"write once", [&] { return sdd_write_i2c_one_time(kChipBus, 0x50, 0, &byte, 1, 0); }, true,
         1},
        {"sdd read", [&] { return sdd_read_i2c(kChipBus, 0x50, 0, &byte, 1); }, true, 5},
        {"sdd write", [&] { return sdd_write_i2c(kChipBus, 0x50, 0, &byte, 1); }, true, 5},
        {"port read", [&] { return dfd_read_port_i2c(kChipBus, 0x50, 0, &byte, 1); }, true, 5},
        {"port write", [&] { return dfd_write_port_i2c(kChipBus, 0x50, 0, &byte, 1); }, true, 5},
        {"ssa read", [&] { return ssa_i2c_read(kChipBus, 0x50, 0, &byte, 1); }, true, 5},
        {"ssa write", [&] { return ssa_i2c_write(kChipBus, 0x50, 0, &byte, 1); }, false, 5},
        {"read", [&] { return dfd_i2c_read(3, 0x50, &byte, 1); }, false, 5},
        {"read offset", [&] { return dfd_i2c_read_offset(3, 0x50, 7, &byte, 1); }, false, 5},
        {"write", [&] { return dfd_i2c_write(3, 0x50, 0, &byte, 1); }, false, 5,
         "ssa_i2c_write: dev = /dev/i2c-3, rv = -9\r\n"},
    };
    for (const Name &name : kNames) {
        for (const int answer : {0, 1, 3, -9}) {
            chassis.clear_log();
            const dfd_test::FailingCalls answering(dfd_test::LibcCall::ioctl, 0, 5, answer);
            int result = 99;
            EXPECT_EQ(logged_by(DFD_DEBUG_VBOSE, [&] { result = name.call(); }),
                      answer < 0 ? name.trace : "")
                << name.name;
            EXPECT_EQ(result, answer < 0 || name.is_raw ? answer : 0) << name.name;
            EXPECT_EQ(count(Op::transfer), answer < 0 ? name.attempts : 1U) << name.name;
        }
        // The code of the last attempt counts, and the first attempt that goes well ends them.
        chassis.clear_log();
        chassis.fail({.addr = 0x50, .count = 2, .error = 0, .result = -7});
        const int result = name.call();
        EXPECT_EQ(result, name.attempts == 1 ? -7 : name.is_raw ? 2 : 0) << name.name;
        EXPECT_EQ(chassis.slept_us(), name.attempts == 1 ? 0U : 20000U) << name.name;
        chassis.clear_faults();
        chassis.advance_us(100000);
    }
    EXPECT_EQ(functions_logged_by(DFD_DEBUG_VBOSE,
                                  [&] {
                                      dfd_i2c_write(9, 0x50, 0, &byte, 1);
                                      dfd_i2c_write(3, 0x50, 0, nullptr, 1);
                                  }),
              "dfd_i2c_write dfd_i2c_write ");
}

// The longest transfers, and one byte more.
TEST_F(I2cTest, LengthsAtTheirLimits) {
    Bytes data(65536, 0x5A);
    std::uint8_t *const bytes = data.data();
    struct Row {
        std::function<int()> call;
        int result;
        std::size_t moved;  // bytes of the second message; 0: nothing goes over the bus
    };
    const Row kRows[] = {
        {[&] { return sdd_write_i2c_one_time("/dev/i2c-3", 0x50, 0, bytes, 255, 0); }, 2, 255},
        {[&] { return sdd_write_i2c_one_time("/dev/i2c-3", 0x50, 0, bytes, 256, 0); }, 2, 256},
        {[&] { return sdd_write_i2c_one_time("/dev/i2c-3", 0x50, 0, bytes, 257, 0); }, -1, 0},
        {[&] { return sdd_read_i2c_one_time("/dev/i2c-3", 0x50, 0, bytes, 256, 0); }, 2, 256},
        {[&] { return sdd_read_i2c_one_time("/dev/i2c-3", 0x50, 0, bytes, 65536, 0); }, -1, 0},
    };
    for (const Row &row : kRows) {
        chassis.clear_log();
        EXPECT_EQ(row.call(), row.result);
        const auto log = chassis.log(Op::transfer);
        EXPECT_EQ(log.empty() ? 0 : log[0].messages[1].bytes.size(), row.moved);
        chassis.advance_us(100000);
    }
}

}  // namespace
