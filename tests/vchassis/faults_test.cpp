// SPDX-License-Identifier: MIT
// Faults on demand, and the log that tells what happened.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "bus_client.h"
#include "vchassis/chassis.h"

namespace vchassis_test {

using vchassis::Chassis;
using vchassis::Event;
using vchassis::Fault;
using vchassis::Op;

namespace {

class Faults : public ::testing::Test {
  protected:
    Faults() {
        chassis.describe(R"(
            [[registers]]
            path = "/dev/cpld0"
            [[i2c]]
            bus = 0
            addr = 0x50
            model = "registers"
            init = { 0x10 = [0xa0, 0xa1, 0xa2] }
            [[i2c]]
            bus = 0
            addr = 0x51
            model = "registers")");
    }

    std::vector<std::string> lines() const {
        std::vector<std::string> out;
        for (const Event &event : chassis.log()) {
            out.push_back(to_text(event));
        }
        return out;
    }

    Chassis chassis;
};

// The errno of `tries` reads of register `reg`, one digit each: 0 good, 1 failed.
std::string outcomes(std::uint8_t reg, int tries, std::uint16_t addr = 0x50) {
    std::string out;
    for (int i = 0; i < tries; ++i) {
        out += transfer(kBus, addr, {put({reg}), get(1)}).error == 0 ? '0' : '1';
    }
    return out;
}

}  // namespace

TEST_F(Faults, ResetPutsTheDevicesBackAndKeepsFaultsAndLog) {
    chassis.set_reg(kCpld, 0x10, 5);
    chassis.set_slave(0, 0x50, 0x10, Bytes{1, 2});
    chassis.fail({.op = Op::transfer, .addr = 0x50});
    EXPECT_EQ(read_register(kCpld, 0x10), 5);
    const std::size_t noted = chassis.log().size();
    chassis.reset();
    EXPECT_EQ(chassis.reg(kCpld, 0x10), 0);
    EXPECT_EQ(chassis.slave(0, 0x50).at(0x11), 0xa1);
    EXPECT_EQ(chassis.log().size(), noted);
    EXPECT_EQ(outcomes(0x10, 2), "10");
}

TEST_F(Faults, HitTheAccessesTheyName) {
    struct Row {
        Fault fault;
        const char *reg_10, *reg_11, *other_slave;
    };
    const Row rows[] = {
        {{.op = Op::transfer}, "1000", "0000", "0000"},
        {{.op = Op::transfer, .skip = 1, .count = 2}, "0110", "0000", "0000"},
        {{.op = Op::transfer, .offset = 0x11, .count = 0}, "0000", "1111", "0000"},
        {{.op = Op::transfer, .addr = 0x51, .count = 3}, "0000", "0000", "1110"},
        {{.op = Op::transfer, .path = "/dev/i2c-1"}, "0000", "0000", "0000"},
        {{.op = Op::open, .path = kBus, .skip = 5}, "0000", "0100", "0000"},
        {{.op = Op::read}, "0000", "0000", "0000"},
    };
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        SCOPED_TRACE(i);
        chassis.fail(rows[i].fault);
        EXPECT_EQ(outcomes(0x10, 4), rows[i].reg_10);
        EXPECT_EQ(outcomes(0x11, 4), rows[i].reg_11);
        EXPECT_EQ(outcomes(0x10, 4, 0x51), rows[i].other_slave);
        chassis.clear_faults();
    }
}

TEST_F(Faults, GiveTheErrorOrResultAskedFor) {
    std::uint8_t bytes[4] = {1, 2, 3, 4};
    chassis.fail({.op = Op::open, .error = EMFILE});
    EXPECT_EQ(error_of(File(kCpld).fd), EMFILE);
    const File file(kCpld);
    chassis.fail({.op = Op::seek, .error = EIO});
    EXPECT_EQ(error_of(lseek(file.fd, 4, SEEK_SET)), EIO);
    chassis.fail({.op = Op::read, .offset = 0, .error = EINTR});
    EXPECT_EQ(error_of(read(file.fd, bytes, 4)), EINTR);
    chassis.fail({.op = Op::read, .error = 0, .result = 0});
    EXPECT_EQ(read(file.fd, bytes, 4), 0);
    chassis.fail({.op = Op::write, .error = 0, .result = 3});
    EXPECT_EQ(write(file.fd, "\x09\x08\x07\x06", 4), 3);
    EXPECT_EQ(chassis.reg(kCpld, 2), 7);
    EXPECT_EQ(chassis.reg(kCpld, 3), 0);
    chassis.fail({.op = Op::access, .path = "/etc/cfg/dfd/x", .error = EACCES});
    EXPECT_EQ(error_of(access("/etc/cfg/dfd/x", F_OK)), EACCES);
    const int fd = open(kCpld, O_RDWR);
    chassis.fail({.op = Op::close, .error = EIO});
    EXPECT_EQ(error_of(close(fd)), EIO);
    EXPECT_EQ(error_of(close(fd)), EBADF);
}

// A transfer cut short has carried out its first messages and left the buffers of the others alone.
TEST_F(Faults, CutTransfersShort) {
    chassis.fail({.op = Op::transfer, .error = 0, .result = 1});
    const Answer cut = transfer(kBus, 0x50, {put({0x11}), get(1)});
    EXPECT_EQ(cut.result, 1);
    EXPECT_EQ(cut.bytes, Bytes{0});
    EXPECT_EQ(transfer(kBus, 0x50, {get(1)}).bytes, Bytes{0xa1});
    chassis.fail({.op = Op::transfer, .error = 0, .result = 0});
    EXPECT_EQ(transfer(kBus, 0x50, {put({0x11}), get(1)}).result, 0);
}

TEST_F(Faults, TheLogTellsEachAccess) {
    chassis.write_file("/etc/cfg/dfd/long", std::string(20, 'A'));
    {
        const File file(kCpld, O_RDWR | O_SYNC);
        lseek(file.fd, 0x12, SEEK_SET);
        [[maybe_unused]] ssize_t n = write(file.fd, "\x3f\x40", 2);
        ioctl(file.fd, 1);
    }
    transfer(kBus, 0x50, {put({0x10}), put_on({1}), get(0)});
    transfer(kBus, 0x44, {put({0x10}), get(2)});
    usleep(10'000);
    access("/etc/cfg/dfd/long", R_OK | W_OK);
    {
        char text[32];
        const File file("/etc/cfg/dfd/long", O_RDONLY);
        [[maybe_unused]] ssize_t n = read(file.fd, text, sizeof text);
    }
    std::vector<std::string> got = lines();
    for (std::string &line : got) {
        // Descriptor numbers depend on the test program.
        line = line.starts_with("open ") ? line.substr(0, line.find(" = ")) : line;
    }
    const std::string cut = "41 41 41 41 41 41 41 41 41 41 41 41 41 41 41 41 ...";
    const std::vector<std::string> wanted = {
        "open /dev/cpld0 O_RDWR|O_SYNC",
        "seek /dev/cpld0 @0x0012 = 18",
        "write /dev/cpld0 @0x0012 [3f 40] = 2",
        "close /dev/cpld0 = 0",
        "open /dev/i2c-0 O_RDWR",
        "transfer /dev/i2c-0 {w 0x50 [10]} {w 0x50 nostart [01]} {r 0x50 []} = 3",
        "close /dev/i2c-0 = 0",
        "open /dev/i2c-0 O_RDWR",
        "transfer /dev/i2c-0 {w 0x44 [10]} {r 0x44 []} = -1 ENXIO",
        "close /dev/i2c-0 = 0",
        "sleep 10000 us = 0",
        "access /etc/cfg/dfd/long R_OK|W_OK = 0",
        "open /etc/cfg/dfd/long O_RDONLY",
        "read /etc/cfg/dfd/long @0x0000 [" + cut + "] = 20",
        "close /etc/cfg/dfd/long = 0",
    };
    EXPECT_EQ(got, wanted);
    chassis.clear_log();
    EXPECT_TRUE(chassis.log().empty());
}

TEST_F(Faults, TheHandleRefusesWhatIsNotThere) {
    const Bytes two{1, 2};
    EXPECT_THROW(chassis.reg("/dev/cpld1", 0), std::runtime_error);
    EXPECT_THROW(chassis.reg(kCpld, 256), std::runtime_error);
    EXPECT_THROW(chassis.set_reg("/dev/i2c-0:0x52", 0, 1), std::runtime_error);
    EXPECT_THROW(chassis.set_slave(0, 0x50, 255, two), std::runtime_error);
    EXPECT_EQ(chassis.reg("/dev/i2c-0:0x50", 0x12), 0xa2);
}

}  // namespace vchassis_test
