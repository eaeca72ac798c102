// SPDX-License-Identifier: MIT
// Register spaces behind device files, through every way a program can reach them.
#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstring>
#include <fstream>
#include <functional>
#include <thread>
#include <vector>

#include "bus_client.h"
#include "store.h"
#include "vchassis/chassis.h"

extern "C" {
int __open_2(const char *path, int flags);
int __openat64_2(int dirfd, const char *path, int flags);
ssize_t __read_chk(int fd, void *buffer, size_t size, size_t room);
ssize_t __pread64_chk(int fd, void *buffer, size_t size, off64_t offset, size_t room);
}

namespace vchassis_test {

using vchassis::Chassis;
using vchassis::Op;

namespace {

class DeviceFile : public ::testing::Test {
  protected:
    DeviceFile() {
        chassis.describe(R"(
            [[registers]]
            path = "/dev/cpld0"
            size = 16
            init = { 0x04 = [0x44, 0x55], 0x0f = 0xff }
            [[registers.reg]]
            address = 8
            value = 0xf0
            read_only = 0xc0
            write_1_clear = 0x30
            write_0_clear = 0x0c)");
    }
    Chassis chassis;
};

std::uint8_t byte_at_4(int fd) {
    std::uint8_t byte = 0;
    return lseek(fd, 4, SEEK_SET) == 4 && read(fd, &byte, 1) == 1 ? byte : 0;
}

}  // namespace

TEST_F(DeviceFile, EveryOpenReachesTheDevice) {
    const std::function<int()> opens[] = {
        [] { return open(kCpld, O_RDWR); },
        [] { return open64(kCpld, O_RDWR); },
        [] { return openat(AT_FDCWD, kCpld, O_RDWR); },
        [] { return openat64(AT_FDCWD, kCpld, O_RDWR); },
        [] { return __open_2(kCpld, O_RDWR); },
        [] { return __openat64_2(AT_FDCWD, kCpld, O_RDWR); },
        [] { return open("/dev/../dev//cpld0", O_RDWR); },
        [] {
            const int dev = open("/dev", O_RDONLY | O_DIRECTORY);
            const int fd = openat(dev, "cpld0", O_RDWR);
            close(dev);
            return fd;
        },
    };
    for (std::size_t i = 0; i < std::size(opens); ++i) {
        SCOPED_TRACE(i);
        const int fd = opens[i]();
        ASSERT_GE(fd, 0);
        EXPECT_EQ(byte_at_4(fd), 0x44);
        EXPECT_EQ(close(fd), 0);
        EXPECT_EQ(error_of(close(fd)), EBADF);
    }
    EXPECT_EQ(chassis.log(Op::open).size(), std::size(opens));
    EXPECT_EQ(chassis.log(Op::close).size(), std::size(opens));
}

TEST_F(DeviceFile, EveryReadAndWriteMovesRegisters) {
    const File file(kCpld);
    std::array<std::uint8_t, 2> two{};
    EXPECT_EQ(pread(file.fd, two.data(), 2, 4), 2);
    EXPECT_EQ(two[1], 0x55);
    EXPECT_EQ(__pread64_chk(file.fd, two.data(), 1, 5, two.size()), 1);
    EXPECT_EQ(two[0], 0x55);
    EXPECT_EQ(pwrite(file.fd, "\x11\x22", 2, 1), 2);
    // None of these has moved the position.
    EXPECT_EQ(lseek(file.fd, 1, SEEK_CUR), 1);
    EXPECT_EQ(__read_chk(file.fd, two.data(), 2, two.size()), 2);
    EXPECT_EQ(two[0], 0x11);
    EXPECT_EQ(lseek(file.fd, 0, SEEK_CUR), 3);
    EXPECT_EQ(write(file.fd, "\x33", 1), 1);
    EXPECT_EQ(chassis.reg(kCpld, 3), 0x33);
}

TEST_F(DeviceFile, EndsWhereItsRegistersEnd) {
    const File file(kCpld);
    std::array<std::uint8_t, 4> four{};
    EXPECT_EQ(lseek(file.fd, -1, SEEK_END), 15);
    EXPECT_EQ(read(file.fd, four.data(), 4), 1);
    EXPECT_EQ(read(file.fd, four.data(), 4), 0);
    EXPECT_EQ(error_of(write(file.fd, "x", 1)), ENXIO);
    EXPECT_EQ(pwrite(file.fd, "xyz", 3, 14), 2);
    EXPECT_EQ(lseek(file.fd, 1000, SEEK_SET), 1000);
    EXPECT_EQ(read(file.fd, four.data(), 4), 0);
    EXPECT_EQ(error_of(lseek(file.fd, -1, SEEK_SET)), EINVAL);
    EXPECT_EQ(error_of(lseek(file.fd, INT64_MAX, SEEK_CUR)), EINVAL);
    EXPECT_EQ(lseek(file.fd, 0, SEEK_CUR), 1000);
}

TEST_F(DeviceFile, RefusesWhatADriverRefuses) {
    std::uint8_t byte = 0;
    EXPECT_EQ(error_of(write(File(kCpld, O_RDONLY).fd, &byte, 1)), EBADF);
    EXPECT_EQ(error_of(read(File(kCpld, O_WRONLY).fd, &byte, 1)), EBADF);
    EXPECT_EQ(error_of(ioctl(File(kCpld).fd, 0x0707, &byte)), ENOTTY);
    EXPECT_EQ(error_of(File(kCpld, O_RDWR | O_CREAT | O_EXCL).fd), EEXIST);
    EXPECT_EQ(error_of(File(kCpld, O_RDONLY | O_DIRECTORY).fd), ENOTDIR);
    EXPECT_EQ(access(kCpld, R_OK | W_OK), 0);
    EXPECT_EQ(error_of(access(kCpld, X_OK)), EACCES);
    EXPECT_EQ(error_of(access(kCpld, R_OK | 8)), EINVAL);
}

TEST_F(DeviceFile, AProgramWithoutDescriptorsLeftFailsAsOnHardware) {
    constexpr rlim_t kFew = 20;
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit few{kFew, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
    std::vector<int> fds;
    for (int fd = 0; (fd = open(kCpld, O_RDWR)) >= 0;) {
        fds.push_back(fd);
    }
    const int error = errno;
    const int byte = fds.empty() ? 0 : byte_at_4(fds[0]);
    for (const int fd : fds) {
        close(fd);
    }
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(error, EMFILE);
    EXPECT_EQ(byte, 0x44);
}

// A device of the host must be out of reach, whether it exists there or not.
TEST_F(DeviceFile, UndescribedDevicesAreMissing) {
    for (const char *path : {"/dev/cpld1", "/dev/fpga0", "/dev/i2c-0", "/dev/i2c/0"}) {
        SCOPED_TRACE(path);
        EXPECT_EQ(error_of(File(path).fd), ENOENT);
        EXPECT_EQ(error_of(File(path, O_RDWR | O_CREAT).fd), ENOENT);
        EXPECT_EQ(error_of(access(path, F_OK)), ENOENT);
    }
}

TEST_F(DeviceFile, WritesObeyTheBitsOfTheRegister) {
    struct Row {
        std::uint8_t before, written, after;
    };
    // Bits 7 and 6 are read-only, 5 and 4 cleared by writing 1, 3 and 2 by writing 0, the others
    // plain.
    for (const Row row : {Row{0xfc, 0x00, 0xf0}, Row{0xfc, 0xff, 0xcf}, Row{0xfc, 0x18, 0xe8},
                          Row{0x00, 0xff, 0x03}, Row{0x0a, 0xf5, 0x01}, Row{0x20, 0x20, 0x00}}) {
        SCOPED_TRACE(static_cast<int>(row.written));
        chassis.set_reg(kCpld, 8, row.before);
        ASSERT_EQ(pwrite(File(kCpld).fd, &row.written, 1, 8), 1);
        EXPECT_EQ(chassis.reg(kCpld, 8), row.after);
    }
}

TEST_F(DeviceFile, DuplicatesShareThePosition) {
    const int fd = open(kCpld, O_RDWR);
    const int copy = dup(fd);
    const int third = dup2(fd, copy + 1);
    EXPECT_EQ(lseek(fd, 4, SEEK_SET), 4);
    close(fd);
    std::uint8_t byte = 0;
    EXPECT_EQ(read(copy, &byte, 1), 1);
    EXPECT_EQ(byte, 0x44);
    EXPECT_EQ(read(third, &byte, 1), 1);
    EXPECT_EQ(byte, 0x55);
    close(copy);
    EXPECT_TRUE(chassis.log(Op::close).empty());
    close(third);
    EXPECT_EQ(chassis.log(Op::close).size(), 1U);
}

TEST_F(DeviceFile, StreamsOfBothLanguagesWork) {
    FILE *stream = fopen(kCpld, "r+b");
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(fseek(stream, 5, SEEK_SET), 0);
    EXPECT_EQ(fgetc(stream), 0x55);
    EXPECT_EQ(fseek(stream, 6, SEEK_SET), 0);
    EXPECT_EQ(fputc(0x66, stream), 0x66);
    EXPECT_EQ(fclose(stream), 0);
    std::ifstream in(kCpld, std::ios::binary);
    in.seekg(6);
    EXPECT_EQ(in.get(), 0x66);
    in.close();
    EXPECT_EQ(chassis.log(Op::open).size(), chassis.log(Op::close).size());
}

TEST_F(DeviceFile, ChildAndParentSeeTheSameRegisters) {
    const pid_t child = fork();
    if (child == 0) {
        const bool read_well = byte_at_4(File(kCpld).fd) == 0x44;
        _exit(read_well && pwrite(File(kCpld).fd, "\x99", 1, 0) == 1 ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(chassis.reg(kCpld, 0), 0x99);
    EXPECT_TRUE(std::filesystem::exists(chassis.dir()));
}

TEST(ChassisLife, NothingIsServedBeforeAndAfter) {
    for (int round = 0; round < 2; ++round) {
        EXPECT_LT(open("/dev/cpld7", O_RDWR), 0);
        std::filesystem::path dir;
        {
            Chassis chassis;
            chassis.describe("[[registers]]\npath = '/dev/cpld7'");
            dir = chassis.dir();
            EXPECT_GE(File("/dev/cpld7").fd, 0);
            EXPECT_EQ(chassis.reg("/dev/cpld7", 0), 0);
            chassis.set_reg("/dev/cpld7", 0, 1);
        }
        EXPECT_FALSE(std::filesystem::exists(dir));
    }
}

// Programs of one pipeline start together on a chassis that has no state yet.
TEST(ChassisLife, StatesMayBeBegunByTwo) {
    Chassis chassis;
    std::atomic<int> arrived{0};
    std::array<std::string, 2> refusals;
    const auto begin = [&](std::string &refusal, std::chrono::nanoseconds later) {
        for (int round = 0; round < 1000; ++round) {
            for (++arrived; arrived < 2 * (round + 1);) {
            }
            // Each round a little later, so that some round meets the step between two looks.
            const auto now = std::chrono::steady_clock::now;
            for (const auto until = now() + round * later; now() < until;) {
            }
            try {
                const vchassis::Store store(chassis.dir() / std::to_string(round));
                store.make();
                const vchassis::Store::Lock lock(store);
            } catch (const std::exception &error) {
                refusal = error.what();
            }
        }
    };
    std::thread other(begin, std::ref(refusals[1]), std::chrono::nanoseconds(50));
    begin(refusals[0], std::chrono::nanoseconds(0));
    other.join();
    EXPECT_EQ(refusals[0] + refusals[1], "");
}

TEST_F(DeviceFile, SleepsTakeNoTimeAndAreCounted) {
    const timespec tenth{0, 100'000'001};
    const timespec bad{0, -1};
    EXPECT_EQ(usleep(500'000), 0);
    EXPECT_EQ(sleep(3600), 0U);
    EXPECT_EQ(nanosleep(&tenth, nullptr), 0);
    EXPECT_EQ(clock_nanosleep(CLOCK_MONOTONIC, 0, &tenth, nullptr), 0);
    EXPECT_EQ(error_of(nanosleep(&bad, nullptr)), EINVAL);
    EXPECT_EQ(chassis.slept_us(), 500'000U + 3'600'000'000U + 2 * 100'001U);
    EXPECT_EQ(chassis.log(Op::sleep).size(), 4U);
    chassis.clear_log();
    EXPECT_EQ(chassis.slept_us(), 0U);
}

}  // namespace vchassis_test
