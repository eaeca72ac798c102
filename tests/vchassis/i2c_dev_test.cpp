// SPDX-License-Identifier: MIT
// The requests of the I2C character device.
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <numeric>
#include <string>

#include "bus_client.h"
#include "vchassis/chassis.h"

namespace vchassis_test {

using vchassis::Chassis;
using vchassis::Op;

namespace {

constexpr const char *kBus = "/dev/i2c-0";
constexpr std::uint16_t kEeprom = 0x57;

class DescribedBus : public ::testing::Test {
  protected:
    DescribedBus() {
        chassis.describe(R"(
            [[i2c]]
            bus = 0
            addr = 0x57
            model = "eeprom"
            driver_bound = true
            [[i2c]]
            bus = 0
            addr = 0x20
            model = "registers"
            size = 64
            [[bus]]
            number = 1
            absent_error = "ETIMEDOUT")");
        Bytes image(256);
        std::iota(image.begin(), image.end(), std::uint8_t{0});
        chassis.set_slave(0, kEeprom, 0, image);
    }

    Chassis chassis;
};

class I2cDev : public DescribedBus {
  protected:
    int smbus(std::uint8_t direction, std::uint8_t command, std::uint32_t size,
              i2c_smbus_data *data) {
        i2c_smbus_ioctl_data request{direction, command, size, data};
        return ioctl(file.fd, I2C_SMBUS, &request);
    }

    const File file{kBus};
};

i2c_msg message(std::uint16_t flags, std::uint16_t length, std::uint8_t *buffer) {
    return {kEeprom, flags, length, buffer};
}

int rdwr(int fd, i2c_msg *messages, std::uint32_t count) {
    i2c_rdwr_ioctl_data request{messages, count};
    return ioctl(fd, I2C_RDWR, &request);
}

}  // namespace

TEST_F(I2cDev, RdwrKeepsTheLimitsOfTheKernel) {
    std::vector<std::uint8_t> buffer(9000);
    std::vector<i2c_msg> many(43, message(I2C_M_RD, 1, buffer.data()));
    EXPECT_EQ(rdwr(file.fd, many.data(), 42), 42);
    EXPECT_EQ(error_of(rdwr(file.fd, many.data(), 43)), EINVAL);
    EXPECT_EQ(error_of(rdwr(file.fd, many.data(), 0)), EINVAL);
    EXPECT_EQ(error_of(rdwr(file.fd, nullptr, 1)), EINVAL);
    EXPECT_EQ(error_of(ioctl(file.fd, I2C_RDWR, nullptr)), EFAULT);

    i2c_msg longest = message(I2C_M_RD, 8192, buffer.data());
    EXPECT_EQ(rdwr(file.fd, &longest, 1), 1);
    EXPECT_EQ(buffer[8191], buffer[8191 - 256]);
    longest.len = 8193;
    EXPECT_EQ(error_of(rdwr(file.fd, &longest, 1)), EINVAL);
    i2c_msg none = message(I2C_M_RD, 0, nullptr);
    EXPECT_EQ(rdwr(file.fd, &none, 1), 1);
    none.len = 1;
    EXPECT_EQ(error_of(rdwr(file.fd, &none, 1)), EFAULT);
}

TEST_F(I2cDev, AbsentAddressesAnswerAsTheirAdapterDoes) {
    EXPECT_EQ(transfer(kBus, 0x56, {put({0}), get(1)}).error, ENXIO);
    EXPECT_EQ(transfer("/dev/i2c-1", 0x56, {get(1)}).error, ETIMEDOUT);
    // A ten-bit 0x57 is another address.
    EXPECT_EQ(transfer(kBus, kEeprom, {{I2C_M_TEN, {0}}}).error, ENXIO);
    EXPECT_EQ(chassis.log(Op::transfer).back().error, ENXIO);
}

// Data without a start of its own belongs to the write before it: this is how one byte of offset
// and the data are sent from two buffers.
TEST_F(I2cDev, NoStartContinuesTheMessageBefore) {
    EXPECT_EQ(transfer(kBus, 0x20, {put({0x10}), put_on({0xa1, 0xa2})}).result, 2);
    EXPECT_EQ(read_from(kBus, 0x20, 0x10, 2), (Bytes{0xa1, 0xa2}));
    // With a start in between, the data is another register pointer.
    EXPECT_EQ(transfer(kBus, 0x20, {put({0x10}), put({0x11, 0xb1})}).result, 2);
    EXPECT_EQ(read_from(kBus, 0x20, 0x10, 2), (Bytes{0xa1, 0xb1}));
}

// Such an adapter reports success all the same, and reads are right.
TEST_F(I2cDev, AnAdapterWithoutNoStartPutsDataAtTheWrongRegister) {
    chassis.describe(R"(
        [[bus]]
        number = 2
        nostart = false
        [[i2c]]
        bus = 2
        addr = 0x57
        model = "eeprom")");
    const char *bus = "/dev/i2c-2";
    EXPECT_EQ(transfer(bus, kEeprom, {put({0x04}), put_on({0x11, 0xb1, 0xb2, 0xb3})}).result, 2);
    chassis.advance_us(10000);
    EXPECT_EQ(read_from(bus, kEeprom, 0x04, 1), (Bytes{0xff}));
    EXPECT_EQ(read_from(bus, kEeprom, 0x11, 3), (Bytes{0xb1, 0xb2, 0xb3}));
    EXPECT_EQ(transfer(bus, kEeprom, {put({0x04, 0x11, 0x22})}).result, 1);
    chassis.advance_us(10000);
    EXPECT_EQ(read_from(bus, kEeprom, 0x04, 2), (Bytes{0x11, 0x22}));
    const File other{bus};
    unsigned long functions = 0;
    EXPECT_EQ(ioctl(other.fd, I2C_FUNCS, &functions), 0);
    EXPECT_EQ(functions & (I2C_FUNC_NOSTART | I2C_FUNC_I2C), I2C_FUNC_I2C);
}

TEST_F(I2cDev, AnswersItsSmallRequests) {
    unsigned long functions = 0;
    EXPECT_EQ(ioctl(file.fd, I2C_FUNCS, &functions), 0);
    const unsigned long needed = I2C_FUNC_I2C | I2C_FUNC_NOSTART | I2C_FUNC_SMBUS_BYTE_DATA |
                                 I2C_FUNC_SMBUS_WORD_DATA | I2C_FUNC_SMBUS_READ_BLOCK_DATA |
                                 I2C_FUNC_SMBUS_READ_I2C_BLOCK;
    EXPECT_EQ(functions & needed, needed);
    struct Row {
        unsigned long request, argument;
        int error;
    };
    for (const Row row :
         {Row{I2C_SLAVE, 0x20, 0}, Row{I2C_SLAVE, 0x80, EINVAL}, Row{I2C_SLAVE, kEeprom, EBUSY},
          Row{I2C_SLAVE_FORCE, kEeprom, 0}, Row{I2C_SLAVE, 0x77, 0}, Row{I2C_TENBIT, 1, 0},
          Row{I2C_SLAVE, 0x3ff, 0}, Row{I2C_SLAVE, 0x400, EINVAL}, Row{I2C_TENBIT, 0, 0},
          Row{I2C_PEC, 0, 0}, Row{I2C_TIMEOUT, 10, 0}, Row{I2C_RETRIES, 3, 0},
          Row{0x5401, 0, ENOTTY}, Row{0x070f, 0, ENOTTY}}) {
        SCOPED_TRACE(row.request);
        EXPECT_EQ(error_of(ioctl(file.fd, row.request, row.argument)), row.error);
    }
    EXPECT_EQ(error_of(lseek(file.fd, 0, SEEK_SET)), ESPIPE);
}

TEST_F(I2cDev, SmbusReadsAreTheSameBytes) {
    ASSERT_EQ(ioctl(file.fd, I2C_SLAVE_FORCE, kEeprom), 0);
    i2c_smbus_data data{};
    EXPECT_EQ(smbus(I2C_SMBUS_READ, 0x42, I2C_SMBUS_BYTE_DATA, &data), 0);
    EXPECT_EQ(data.byte, 0x42);
    EXPECT_EQ(smbus(I2C_SMBUS_READ, 0, I2C_SMBUS_BYTE, &data), 0);
    EXPECT_EQ(data.byte, 0x43);
    EXPECT_EQ(smbus(I2C_SMBUS_READ, 0x10, I2C_SMBUS_WORD_DATA, &data), 0);
    EXPECT_EQ(data.word, 0x1110);
    data.block[0] = 5;
    EXPECT_EQ(smbus(I2C_SMBUS_READ, 0x30, I2C_SMBUS_I2C_BLOCK_DATA, &data), 0);
    EXPECT_EQ(data.block[0], 5);
    EXPECT_EQ(data.block[5], 0x34);
    // The byte at 0x08 is taken for the length of the block.
    EXPECT_EQ(smbus(I2C_SMBUS_READ, 0x08, I2C_SMBUS_BLOCK_DATA, &data), 0);
    EXPECT_EQ(data.block[0], 8);
    EXPECT_EQ(data.block[8], 0x10);
    EXPECT_EQ(error_of(smbus(I2C_SMBUS_READ, 0x21, I2C_SMBUS_BLOCK_DATA, &data)), EPROTO);
    EXPECT_EQ(smbus(I2C_SMBUS_READ, 0, I2C_SMBUS_QUICK, nullptr), 0);
}

TEST_F(I2cDev, SmbusWritesArrive) {
    ASSERT_EQ(ioctl(file.fd, I2C_SLAVE, 0x20), 0);
    i2c_smbus_data data{};
    data.byte = 0x77;
    EXPECT_EQ(smbus(I2C_SMBUS_WRITE, 1, I2C_SMBUS_BYTE_DATA, &data), 0);
    data.word = 0x8899;
    EXPECT_EQ(smbus(I2C_SMBUS_WRITE, 2, I2C_SMBUS_WORD_DATA, &data), 0);
    data = {};
    data.block[0] = 2;
    data.block[1] = 0xaa;
    data.block[2] = 0xbb;
    EXPECT_EQ(smbus(I2C_SMBUS_WRITE, 4, I2C_SMBUS_I2C_BLOCK_DATA, &data), 0);
    EXPECT_EQ(smbus(I2C_SMBUS_WRITE, 6, I2C_SMBUS_BLOCK_DATA, &data), 0);
    EXPECT_EQ(read_from(kBus, 0x20, 1, 8), (Bytes{0x77, 0x99, 0x88, 0xaa, 0xbb, 2, 0xaa, 0xbb}));
    EXPECT_EQ(smbus(I2C_SMBUS_WRITE, 2, I2C_SMBUS_BYTE, nullptr), 0);
    EXPECT_EQ(smbus(I2C_SMBUS_READ, 0, I2C_SMBUS_BYTE, &data), 0);
    EXPECT_EQ(data.byte, 0x99);
}

TEST_F(I2cDev, SmbusRefusesBadRequests) {
    ASSERT_EQ(ioctl(file.fd, I2C_SLAVE, 0x20), 0);
    i2c_smbus_data data{};
    data.block[0] = 33;
    EXPECT_EQ(error_of(smbus(I2C_SMBUS_WRITE, 0, I2C_SMBUS_BLOCK_DATA, &data)), EINVAL);
    EXPECT_EQ(error_of(smbus(I2C_SMBUS_READ, 0, I2C_SMBUS_I2C_BLOCK_DATA, &data)), EINVAL);
    EXPECT_EQ(error_of(smbus(I2C_SMBUS_READ, 0, 9, &data)), EINVAL);
    EXPECT_EQ(error_of(smbus(2, 0, I2C_SMBUS_BYTE, &data)), EINVAL);
    EXPECT_EQ(error_of(smbus(I2C_SMBUS_READ, 0, I2C_SMBUS_BYTE, nullptr)), EINVAL);
    ASSERT_EQ(ioctl(file.fd, I2C_SLAVE, 0x21), 0);
    EXPECT_EQ(error_of(smbus(I2C_SMBUS_READ, 0, I2C_SMBUS_WORD_DATA, &data)), ENXIO);
}

TEST_F(I2cDev, PlainReadAndWriteGoToTheSlave) {
    ASSERT_EQ(ioctl(file.fd, I2C_SLAVE, 0x20), 0);
    EXPECT_EQ(write(file.fd, "\x05\x61\x62", 3), 3);
    EXPECT_EQ(write(file.fd, "\x05", 1), 1);
    std::array<char, 2> two{};
    EXPECT_EQ(read(file.fd, two.data(), two.size()), 2);
    EXPECT_EQ(two[1], 'b');
    ASSERT_EQ(ioctl(file.fd, I2C_SLAVE, 0x21), 0);
    EXPECT_EQ(error_of(write(file.fd, "x", 1)), ENXIO);
}

}  // namespace vchassis_test
