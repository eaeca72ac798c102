// SPDX-License-Identifier: MIT
// The requests of the I2C character device.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
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
            [[registers]]
            path = "/dev/cpld0"
            [[bus]]
            number = 1
            absent_error = "ETIMEDOUT"
            [[bus]]
            number = 3
            ten_bit = false
            [[i2c]]
            bus = 3
            addr = 0x50
            model = "registers"
            fill = 0x66)");
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

    i2c_msg longest = message(I2C_M_RD, 8192, buffer.data());
    EXPECT_EQ(rdwr(file.fd, &longest, 1), 1);
    EXPECT_EQ(buffer[8191], buffer[8191 - 256]);
    longest.len = 8193;
    EXPECT_EQ(error_of(rdwr(file.fd, &longest, 1)), EINVAL);
    i2c_msg none = message(I2C_M_RD, 0, nullptr);
    EXPECT_EQ(rdwr(file.fd, &none, 1), 1);
}

// The caller's mistakes fail the request, as long as the kernel is asked.
TEST_F(I2cDev, PointersThatLeadNowhereFailTheRequest) {
    ASSERT_EQ(ioctl(file.fd, I2C_SLAVE, 0x20), 0);
    void *const page = mmap(nullptr, 1, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(page, MAP_FAILED);
    auto *const read_only = static_cast<std::uint8_t *>(page);
    auto *const nowhere = reinterpret_cast<std::uint8_t *>(16);
    std::uint8_t byte = 0;
    const auto smbus_to = [this](std::uint8_t direction, std::uint32_t size, void *data) {
        return smbus(direction, 0, size, static_cast<i2c_smbus_data *>(data));
    };
    const auto one = [this](std::uint16_t flags, std::uint8_t *buffer) {
        i2c_msg message{0x20, flags, 1, buffer};
        return rdwr(file.fd, &message, 1);
    };
    const File registers("/dev/cpld0");
    struct Row {
        const char *name;
        std::function<long()> request;
        int error;
    };
    const std::vector<Row> rows{
        {"rdwr, null", [&] { return ioctl(file.fd, I2C_RDWR, nullptr); }, EFAULT},
        {"rdwr", [&] { return ioctl(file.fd, I2C_RDWR, nowhere); }, EFAULT},
        {"messages", [&] { return rdwr(file.fd, reinterpret_cast<i2c_msg *>(nowhere), 1); },
         EFAULT},
        {"bytes to write", [&] { return one(0, nullptr); }, EFAULT},
        {"bytes to write, read-only", [&] { return one(0, read_only); }, 0},
        {"room for a read", [&] { return one(I2C_M_RD, nowhere); }, EFAULT},
        {"room for a read, read-only", [&] { return one(I2C_M_RD, read_only); }, EFAULT},
        {"smbus", [&] { return ioctl(file.fd, I2C_SMBUS, nowhere); }, EFAULT},
        {"smbus data", [&] { return smbus_to(I2C_SMBUS_WRITE, I2C_SMBUS_BYTE_DATA, nowhere); },
         EFAULT},
        {"smbus answer", [&] { return smbus_to(I2C_SMBUS_READ, I2C_SMBUS_WORD_DATA, read_only); },
         EFAULT},
        {"functions", [&] { return ioctl(file.fd, I2C_FUNCS, nowhere); }, EFAULT},
        {"write()", [&] { return write(file.fd, nowhere, 2); }, EFAULT},
        {"read()", [&] { return read(file.fd, read_only, 2); }, EFAULT},
        {"write() of a register", [&] { return pwrite(registers.fd, nowhere, 1, 0); }, EFAULT},
        {"read() of a register", [&] { return pread(registers.fd, nowhere, 1, 0); }, EFAULT},
        {"read() of no register", [&] { return pread(registers.fd, nowhere, 1, 999); }, 0},
        {"good", [&] { return one(I2C_M_RD, &byte); }, 0},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(error_of(row.request()), row.error);
    }
    munmap(page, 1);
}

TEST_F(I2cDev, ReadAndWriteTakeADescriptorOpenedForThem) {
    const File reader(kBus, O_RDONLY), writer(kBus, O_WRONLY);
    std::uint8_t bytes[] = {1, 2};
    for (const int fd : {reader.fd, writer.fd}) {
        ASSERT_EQ(ioctl(fd, I2C_SLAVE, 0x20), 0);
        i2c_msg write_one{0x20, 0, 1, bytes};
        EXPECT_EQ(rdwr(fd, &write_one, 1), 1);
    }
    EXPECT_EQ(error_of(write(reader.fd, bytes, 2)), EBADF);
    EXPECT_EQ(error_of(read(writer.fd, bytes, 2)), EBADF);
    EXPECT_EQ(read(reader.fd, bytes, 2), 2);
    EXPECT_EQ(write(writer.fd, bytes, 2), 2);
}

TEST_F(I2cDev, AbsentAddressesAnswerAsTheirAdapterDoes) {
    EXPECT_EQ(transfer(kBus, 0x56, {put({0}), get(1)}).error, ENXIO);
    EXPECT_EQ(transfer("/dev/i2c-1", 0x56, {get(1)}).error, ETIMEDOUT);
    // A ten-bit 0x57 is another address.
    EXPECT_EQ(transfer(kBus, kEeprom, {{I2C_M_TEN, {0}}}).error, ENXIO);
    EXPECT_EQ(chassis.log(Op::transfer).back().error, ENXIO);
    // Seven bits go over the wire.
    EXPECT_EQ(read_from(kBus, 0x100 | kEeprom, 4, 2), (Bytes{4, 5}));
    EXPECT_EQ(transfer(kBus, 0x80, {put({0})}).error, ENXIO);
    EXPECT_EQ(transfer("/dev/i2c-3", 0x50, {{I2C_M_TEN | I2C_M_RD, {0}}}).bytes, (Bytes{0x66}));
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
    const unsigned long all = I2C_FUNC_I2C | I2C_FUNC_NOSTART | I2C_FUNC_10BIT_ADDR |
                              I2C_FUNC_SMBUS_EMUL | I2C_FUNC_SMBUS_READ_BLOCK_DATA |
                              I2C_FUNC_SMBUS_BLOCK_PROC_CALL;
    EXPECT_EQ(functions, all);
    EXPECT_EQ(ioctl(File("/dev/i2c-3").fd, I2C_FUNCS, &functions), 0);
    EXPECT_EQ(functions, all & ~static_cast<unsigned long>(I2C_FUNC_10BIT_ADDR));
    struct Row {
        unsigned long request, argument;
        int error;
    };
    for (const Row row :
         {Row{I2C_SLAVE, 0x20, 0}, Row{I2C_SLAVE, 0x80, EINVAL}, Row{I2C_SLAVE, kEeprom, EBUSY},
          Row{I2C_SLAVE_FORCE, kEeprom, 0}, Row{I2C_SLAVE, 0x77, 0}, Row{I2C_TENBIT, 1, 0},
          Row{I2C_SLAVE, 0x3ff, 0}, Row{I2C_SLAVE, kEeprom, EBUSY}, Row{I2C_SLAVE, 0x400, EINVAL},
          Row{I2C_TENBIT, 0, 0}, Row{I2C_PEC, 0, 0}, Row{I2C_TIMEOUT, 10, 0},
          Row{I2C_RETRIES, 3, 0}, Row{I2C_TIMEOUT, 0x0ccccccc, 0},
          Row{I2C_TIMEOUT, 0x0ccccccd, EINVAL}, Row{I2C_RETRIES, 0x7fffffff, 0},
          Row{I2C_RETRIES, ~0UL, EINVAL}, Row{0x5401, 0, ENOTTY}, Row{0x070f, 0, ENOTTY}}) {
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
    EXPECT_EQ(error_of(smbus(I2C_SMBUS_WRITE, 0, I2C_SMBUS_BLOCK_PROC_CALL, &data)), EINVAL);
    EXPECT_EQ(error_of(smbus(I2C_SMBUS_READ, 0, 9, &data)), EINVAL);
    EXPECT_EQ(error_of(smbus(2, 0, I2C_SMBUS_BYTE, &data)), EINVAL);
    EXPECT_EQ(error_of(smbus(I2C_SMBUS_READ, 0, I2C_SMBUS_BYTE, nullptr)), EINVAL);
    ASSERT_EQ(ioctl(file.fd, I2C_SLAVE, 0x21), 0);
    EXPECT_EQ(error_of(smbus(I2C_SMBUS_READ, 0, I2C_SMBUS_WORD_DATA, &data)), ENXIO);
}

// Bytes 0x30 and on of the device: 2, 0xaa, 0xbb. What is left of the caller's data behind an
// answer is zeroed where the request brings all of it, and kept where it was sent.
TEST_F(I2cDev, SmbusBlocksComeInTheirLength) {
    ASSERT_EQ(ioctl(file.fd, I2C_SLAVE, 0x20), 0);
    constexpr std::uint8_t kept = 0xee, zeroed = 0;
    struct Row {
        const char *name;
        std::uint8_t direction, command;
        std::uint32_t size;
        Bytes sent, answer;
        std::uint8_t rest;
    };
    const std::vector<Row> rows{
        {"block", I2C_SMBUS_READ, 0x30, I2C_SMBUS_BLOCK_DATA, {9}, {2, 0xaa, 0xbb}, zeroed},
        {"I2C block", I2C_SMBUS_READ, 0x31, I2C_SMBUS_I2C_BLOCK_DATA, {2}, {2, 0xaa, 0xbb}, kept},
        {"I2C block of 0", I2C_SMBUS_READ, 0x31, I2C_SMBUS_I2C_BLOCK_DATA, {0}, {0}, kept},
        {"call",
         I2C_SMBUS_WRITE,
         0x2d,
         I2C_SMBUS_BLOCK_PROC_CALL,
         {2, 7, 8},
         {2, 0xaa, 0xbb},
         kept},
        {"call of 0", I2C_SMBUS_WRITE, 0x2f, I2C_SMBUS_BLOCK_PROC_CALL, {0}, {2, 0xaa, 0xbb}, kept},
        {"block of 0 written", I2C_SMBUS_WRITE, 0x10, I2C_SMBUS_BLOCK_DATA, {0}, {0}, kept},
        {"I2C block of 0 written", I2C_SMBUS_WRITE, 0x10, I2C_SMBUS_I2C_BLOCK_DATA, {0}, {0}, kept},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        chassis.set_slave(0, 0x20, 0x10, Bytes{0x55});
        chassis.set_slave(0, 0x20, 0x30, Bytes{2, 0xaa, 0xbb});
        i2c_smbus_data data{};
        std::fill(std::begin(data.block), std::end(data.block), kept);
        std::copy(row.sent.begin(), row.sent.end(), data.block);
        EXPECT_EQ(smbus(row.direction, row.command, row.size, &data), 0);
        const Bytes block(std::begin(data.block), std::begin(data.block) + 32);
        const auto rest = block.begin() + static_cast<std::ptrdiff_t>(row.answer.size());
        EXPECT_EQ(Bytes(block.begin(), rest), row.answer);
        EXPECT_EQ(Bytes(rest, block.end()),
                  Bytes(static_cast<std::size_t>(block.end() - rest), row.rest));
    }
    // An SMBus block of nothing sends its length all the same.
    EXPECT_EQ(read_from(kBus, 0x20, 0x10, 1), (Bytes{0x55}));
}

// One byte more follows, a CRC-8 over addresses and bytes. A chip that does not know it sends the
// next register, or takes the byte for data.
TEST_F(I2cDev, PacketErrorCheckingAddsAByte) {
    ASSERT_EQ(ioctl(file.fd, I2C_SLAVE, 0x20), 0);
    ASSERT_EQ(ioctl(file.fd, I2C_PEC, 1), 0);
    chassis.set_slave(0, 0x20, 0x01, Bytes{0x77, 0xfc, 0x77, 0xfc});
    chassis.set_slave(0, 0x20, 0x30, Bytes{2, 0xaa, 0xbb, 0xc9});
    i2c_smbus_data data{};
    EXPECT_EQ(smbus(I2C_SMBUS_READ, 1, I2C_SMBUS_BYTE_DATA, &data), 0);
    EXPECT_EQ(data.byte, 0x77);
    data.byte = 0x12;
    EXPECT_EQ(error_of(smbus(I2C_SMBUS_READ, 3, I2C_SMBUS_BYTE_DATA, &data)), EBADMSG);
    EXPECT_EQ(data.byte, 0x12);
    EXPECT_EQ(smbus(I2C_SMBUS_READ, 0x30, I2C_SMBUS_BLOCK_DATA, &data), 0);
    EXPECT_EQ(Bytes(data.block, data.block + 4), (Bytes{2, 0xaa, 0xbb, 0}));
    data.byte = 0x55;
    EXPECT_EQ(smbus(I2C_SMBUS_WRITE, 3, I2C_SMBUS_BYTE_DATA, &data), 0);
    EXPECT_EQ(read_from(kBus, 0x20, 3, 2), (Bytes{0x55, 0x15}));
    data.block[0] = 2;
    EXPECT_EQ(smbus(I2C_SMBUS_READ, 3, I2C_SMBUS_I2C_BLOCK_DATA, &data), 0);
    EXPECT_EQ(smbus(I2C_SMBUS_WRITE, 0, I2C_SMBUS_QUICK, nullptr), 0);
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
