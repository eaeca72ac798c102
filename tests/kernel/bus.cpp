// SPDX-License-Identifier: MIT
// The requests of the I2C character device.
#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <functional>

#include "observe.h"

namespace observe {

namespace {

constexpr unsigned kMajorOfI2c = 89;
// Where writes go: at first each byte is its own offset.
constexpr std::uint8_t kWindow = 0x10;
constexpr std::size_t kWindowBytes = 48;
// Of longer reads the result is enough.
constexpr std::size_t kShown = 64;

class File {
  public:
    explicit File(int flags = O_RDWR) : fd(open(kBus, flags)) {}
    ~File() { close(fd); }
    File(const File &) = delete;
    File &operator=(const File &) = delete;

    const int fd;
};

void *bad_pointer() {
    return reinterpret_cast<void *>(16);
}

void *read_only_page() {
    return mmap(nullptr, 1, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
}

void restore_window() {
    Bytes bytes(kWindowBytes);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<std::uint8_t>(kWindow + i);
    }
    fill(kScratch, kWindow, bytes);
}

// What a request left in the window, where it did anything.
void tell_window(const std::string &name) {
    const Bytes now = contents(kScratch, kWindow, kWindowBytes);
    for (std::size_t i = 0; i < now.size(); ++i) {
        if (now[i] != kWindow + i) {
            tell("  " + name + ": window", 0, now);
            restore_window();
            return;
        }
    }
}

struct Step {
    std::uint16_t addr, flags;
    Bytes bytes;
};

void rdwr(const std::string &name, std::vector<Step> steps) {
    std::vector<i2c_msg> messages;
    for (Step &step : steps) {
        messages.push_back({step.addr, step.flags, static_cast<std::uint16_t>(step.bytes.size()),
                            step.bytes.data()});
    }
    const File file;
    i2c_rdwr_ioctl_data request{messages.data(), static_cast<std::uint32_t>(messages.size())};
    const int result = ioctl(file.fd, I2C_RDWR, &request);
    Bytes read;
    for (const Step &step : steps) {
        if ((step.flags & I2C_M_RD) != 0) {
            read.insert(read.end(), step.bytes.begin(), step.bytes.end());
        }
    }
    tell("rdwr " + name, result, read.size() <= kShown ? read : Bytes{});
    tell_window(name);
}

void rdwr_messages() {
    constexpr std::uint16_t kRead = I2C_M_RD;
    const std::vector<Step> many(42, Step{kScratch, kRead, Bytes(1)});
    std::vector<Step> too_many = many;
    too_many.push_back(many[0]);
    Bytes block(40);
    block[0] = 1;
    Bytes short_block(32);
    short_block[0] = 1;
    const std::vector<std::pair<const char *, std::vector<Step>>> rows{
        {"offset, read", {{kScratch, 0, {0x20}}, {kScratch, kRead, Bytes(4)}}},
        {"read goes on", {{kScratch, kRead, Bytes(4)}}},
        {"42 messages", many},
        {"43 messages", too_many},
        {"8192 bytes", {{kAbsent, kRead, Bytes(8192)}}},
        {"8193 bytes", {{kAbsent, kRead, Bytes(8193)}}},
        {"read of 0", {{kScratch, kRead, {}}}},
        {"write of 0", {{kScratch, 0, {}}}},
        {"one message", {{kScratch, 0, {0x14, 0xa1, 0xa2, 0xa3}}}},
        {"two messages", {{kScratch, 0, {0x14}}, {kScratch, 0, {0x18, 0xa1}}}},
        {"nostart", {{kScratch, 0, {0x14}}, {kScratch, I2C_M_NOSTART, {0x21, 0xb1, 0xb2, 0xb3}}}},
        {"nostart, one byte", {{kScratch, 0, {0x14}}, {kScratch, I2C_M_NOSTART, {0x21}}}},
        {"nostart, then a read",
         {{kScratch, 0, {0x14}},
          {kScratch, I2C_M_NOSTART, {0x21, 0xb1}},
          {kScratch, kRead, Bytes(2)}}},
        {"absent", {{kAbsent, 0, {0}}, {kAbsent, kRead, Bytes(1)}}},
        {"absent at the end",
         {{kScratch, 0, {0x20}}, {kScratch, kRead, Bytes(1)}, {kAbsent, 0, {0}}}},
        {"two devices", {{kScratch, 0, {0x20}}, {kSensor, 0, {0}}, {kSensor, kRead, Bytes(2)}}},
        {"over seven bits", {{0x100 | kScratch, 0, {0x20}}, {0x100 | kScratch, kRead, Bytes(2)}}},
        {"bit seven", {{0x80 | kScratch, 0, {0x20}}, {0x80 | kScratch, kRead, Bytes(2)}}},
        {"general call", {{0x80, 0, {0}}}},
        {"ten bits", {{kScratch, I2C_M_TEN, {0x20}}, {kScratch, kRead, Bytes(2)}}},
        {"block of 5", {{kScratch, 0, {5}}, {kScratch, kRead | I2C_M_RECV_LEN, block}}},
        {"block of 32", {{kScratch, 0, {32}}, {kScratch, kRead | I2C_M_RECV_LEN, block}}},
        {"block of 33", {{kScratch, 0, {33}}, {kScratch, kRead | I2C_M_RECV_LEN, block}}},
        {"block of 0", {{kScratch, 0, {0}}, {kScratch, kRead | I2C_M_RECV_LEN, block}}},
        {"block without room", {{kScratch, kRead | I2C_M_RECV_LEN, short_block}}},
        {"block without count", {{kScratch, kRead | I2C_M_RECV_LEN, Bytes(40)}}},
        {"block written", {{kScratch, I2C_M_RECV_LEN, block}}},
    };
    for (const auto &[name, steps] : rows) {
        rdwr(name, steps);
    }
}

struct Request {
    const char *name;
    std::function<long()> make;
};

void tell_all(const std::vector<Request> &requests) {
    for (const Request &request : requests) {
        tell(request.name, request.make());
    }
}

void pointers() {
    const File file;
    ioctl(file.fd, I2C_SLAVE, kScratch);
    auto *const nowhere = static_cast<std::uint8_t *>(bad_pointer());
    auto *const read_only = static_cast<std::uint8_t *>(read_only_page());
    const auto one = [&](std::uint16_t flags, std::uint8_t *buffer) {
        i2c_msg message{kScratch, flags, 1, buffer};
        i2c_rdwr_ioctl_data request{&message, 1};
        return ioctl(file.fd, I2C_RDWR, &request);
    };
    const auto messages = [&](void *at, std::uint32_t count) {
        i2c_rdwr_ioctl_data request{static_cast<i2c_msg *>(at), count};
        return ioctl(file.fd, I2C_RDWR, &request);
    };
    const auto smbus = [&](std::uint8_t direction, std::uint32_t size, void *data) {
        i2c_smbus_ioctl_data request{direction, 0x20, size, static_cast<i2c_smbus_data *>(data)};
        return ioctl(file.fd, I2C_SMBUS, &request);
    };
    tell_all({
        {"rdwr, null", [&] { return ioctl(file.fd, I2C_RDWR, nullptr); }},
        {"rdwr, nowhere", [&] { return ioctl(file.fd, I2C_RDWR, nowhere); }},
        {"messages, null", [&] { return messages(nullptr, 1); }},
        {"messages, none", [&] { return messages(nowhere, 0); }},
        {"messages, nowhere", [&] { return messages(nowhere, 1); }},
        {"message written, null", [&] { return one(0, nullptr); }},
        {"message written, nowhere", [&] { return one(0, nowhere); }},
        {"message written, read-only", [&] { return one(0, read_only); }},
        {"message read, nowhere", [&] { return one(I2C_M_RD, nowhere); }},
        {"message read, read-only", [&] { return one(I2C_M_RD, read_only); }},
        {"smbus, null", [&] { return ioctl(file.fd, I2C_SMBUS, nullptr); }},
        {"smbus, nowhere", [&] { return ioctl(file.fd, I2C_SMBUS, nowhere); }},
        {"smbus byte, null", [&] { return smbus(I2C_SMBUS_READ, I2C_SMBUS_BYTE_DATA, nullptr); }},
        {"smbus byte, nowhere",
         [&] { return smbus(I2C_SMBUS_WRITE, I2C_SMBUS_BYTE_DATA, nowhere); }},
        {"smbus word, read-only",
         [&] { return smbus(I2C_SMBUS_READ, I2C_SMBUS_WORD_DATA, read_only); }},
        {"smbus command, nowhere", [&] { return smbus(I2C_SMBUS_WRITE, I2C_SMBUS_BYTE, nowhere); }},
        {"smbus quick, nowhere", [&] { return smbus(I2C_SMBUS_WRITE, I2C_SMBUS_QUICK, nowhere); }},
        {"functions, null", [&] { return ioctl(file.fd, I2C_FUNCS, nullptr); }},
        {"functions, nowhere", [&] { return ioctl(file.fd, I2C_FUNCS, nowhere); }},
        {"write(), nowhere", [&] { return write(file.fd, nowhere, 2); }},
        {"read(), nowhere", [&] { return read(file.fd, nowhere, 2); }},
        {"read(), read-only", [&] { return read(file.fd, read_only, 2); }},
    });
    tell_window("pointers");
}

void opened_for() {
    Bytes bytes{0x20, 0x21};
    for (const auto &[name, flags] : {std::pair{"reader", O_RDONLY}, {"writer", O_WRONLY}}) {
        const File file(flags);
        const std::string who = name;
        tell(who + ": slave", ioctl(file.fd, I2C_SLAVE, kScratch));
        tell(who + ": write()", write(file.fd, bytes.data(), 1));
        tell(who + ": read()", read(file.fd, bytes.data(), 1));
        i2c_msg message{kScratch, 0, 1, bytes.data()};
        i2c_rdwr_ioctl_data request{&message, 1};
        tell(who + ": rdwr", ioctl(file.fd, I2C_RDWR, &request));
    }
}

void small_requests() {
    const File file;
    struct Row {
        const char *name;
        unsigned long request, argument;
    };
    constexpr unsigned long kTimeout = 100;  // a second, as adapters begin
    constexpr unsigned long kRetries = 3;
    for (const Row &row : {Row{"slave 0x7f", I2C_SLAVE, 0x7f},
                           {"slave 0x80", I2C_SLAVE, 0x80},
                           {"slave with a driver", I2C_SLAVE, kBound},
                           {"slave with a driver, forced", I2C_SLAVE_FORCE, kBound},
                           {"slave 0x80, forced", I2C_SLAVE_FORCE, 0x80},
                           {"ten bits on", I2C_TENBIT, 1},
                           {"slave 0x3ff", I2C_SLAVE, 0x3ff},
                           {"slave 0x400", I2C_SLAVE, 0x400},
                           {"slave with a driver, ten bits", I2C_SLAVE, kBound},
                           {"ten bits off", I2C_TENBIT, 0},
                           {"pec on", I2C_PEC, 1},
                           {"pec off", I2C_PEC, 0},
                           {"timeout, too long", I2C_TIMEOUT, 0x0ccccccd},
                           {"timeout, longest", I2C_TIMEOUT, 0x0ccccccc},
                           {"timeout", I2C_TIMEOUT, kTimeout},
                           {"retries, too many", I2C_RETRIES, 0x80000000},
                           {"retries, most", I2C_RETRIES, 0x7fffffff},
                           {"retries", I2C_RETRIES, kRetries},
                           {"0x0700", 0x0700, 0},
                           {"0x0709", 0x0709, 0},
                           {"terminal size", 0x5413, 0}}) {
        tell(row.name, ioctl(file.fd, row.request, row.argument));
    }
    tell("lseek", lseek(file.fd, 0, SEEK_SET));
}

void functions_and_node() {
    constexpr struct {
        const char *name;
        unsigned long bit;
    } kBits[] = {{"i2c", I2C_FUNC_I2C},
                 {"ten bits", I2C_FUNC_10BIT_ADDR},
                 {"mangling", I2C_FUNC_PROTOCOL_MANGLING},
                 {"pec", I2C_FUNC_SMBUS_PEC},
                 {"nostart", I2C_FUNC_NOSTART},
                 {"block process call", I2C_FUNC_SMBUS_BLOCK_PROC_CALL},
                 {"quick", I2C_FUNC_SMBUS_QUICK},
                 {"byte", I2C_FUNC_SMBUS_BYTE},
                 {"byte data", I2C_FUNC_SMBUS_BYTE_DATA},
                 {"word data", I2C_FUNC_SMBUS_WORD_DATA},
                 {"process call", I2C_FUNC_SMBUS_PROC_CALL},
                 {"block read", I2C_FUNC_SMBUS_READ_BLOCK_DATA},
                 {"block write", I2C_FUNC_SMBUS_WRITE_BLOCK_DATA},
                 {"I2C block", I2C_FUNC_SMBUS_I2C_BLOCK}};
    const File file;
    unsigned long all = 0;
    tell("functions", ioctl(file.fd, I2C_FUNCS, &all));
    for (const auto &[name, bit] : kBits) {
        tell(std::string("function ") + name, (all & bit) == bit);
    }
    struct stat status {};
    tell("stat", stat(kBus, &status));
    tell("character device", S_ISCHR(status.st_mode));
    tell("of I2C", major(status.st_rdev) == kMajorOfI2c);
    tell("minor", minor(status.st_rdev));
}

constexpr const char *kSizes[] = {"quick",        "byte",  "byte data",     "word data",
                                  "process call", "block", "old I2C block", "block process call",
                                  "I2C block",    "none"};

// All of the caller's data is shown, also what a request is to leave alone.
void smbus(const File &file, const std::string &name, std::uint8_t direction, std::uint32_t size,
           std::uint8_t command, std::uint8_t count) {
    i2c_smbus_data data;
    std::fill(std::begin(data.block), std::end(data.block), std::uint8_t{0xee});
    data.block[0] = count;
    i2c_smbus_ioctl_data request{direction, command, size, &data};
    const int result = ioctl(file.fd, I2C_SMBUS, &request);
    const std::string which = name + (direction == I2C_SMBUS_READ ? " read " : " write ") +
                              (size < std::size(kSizes) ? kSizes[size] : "?") + " " +
                              std::to_string(command) + " " + std::to_string(count);
    tell(which, result, {std::begin(data.block), std::end(data.block)});
    tell_window(which);
}

bool is_call(std::uint32_t size) {
    return size == I2C_SMBUS_PROC_CALL || size == I2C_SMBUS_BLOCK_PROC_CALL;
}

void smbus_transactions(const std::string &name, std::uint16_t addr, bool pec) {
    const File file;
    ioctl(file.fd, I2C_SLAVE, static_cast<unsigned long>(addr));
    ioctl(file.fd, I2C_PEC, pec ? 1UL : 0UL);
    for (const std::uint8_t direction :
         {std::uint8_t{I2C_SMBUS_READ}, std::uint8_t{I2C_SMBUS_WRITE}}) {
        for (std::uint32_t size = 0; size < std::size(kSizes); ++size) {
            const bool block = size >= I2C_SMBUS_BLOCK_DATA;
            for (const std::uint8_t count : block ? Bytes{0, 5, 32, 33} : Bytes{2}) {
                // What a chip makes of the data of a call is seen once: emulated ones take it.
                const bool again =
                    is_call(size) && count != 33 && (pec || direction == I2C_SMBUS_WRITE);
                if (!again) {
                    smbus(file, name, direction, size, kWindow, count);
                }
            }
        }
    }
    // The byte at the command is the length of a block: 0, too much.
    smbus(file, name, I2C_SMBUS_READ, I2C_SMBUS_BLOCK_DATA, 0, 0);
    smbus(file, name, I2C_SMBUS_READ, I2C_SMBUS_BLOCK_DATA, 33, 0);
    smbus(file, name, 2, I2C_SMBUS_BYTE_DATA, 0, 0);
}

void plain_read_and_write() {
    const File file;
    ioctl(file.fd, I2C_SLAVE, kScratch);
    Bytes bytes{0x14, 0xc1, 0xc2};
    tell("write() of 3", write(file.fd, bytes.data(), bytes.size()));
    tell_window("write() of 3");
    tell("write() of 1", write(file.fd, "\x20", 1));
    tell("read() of 3", read(file.fd, bytes.data(), bytes.size()), bytes);
    tell("read() goes on", read(file.fd, bytes.data(), bytes.size()), bytes);
    tell("pread() at 1000", pread(file.fd, bytes.data(), bytes.size(), 1000), bytes);
    tell("pwrite() at 1000", pwrite(file.fd, "\x20", 1, 1000));
    tell("read() of 0", read(file.fd, bytes.data(), 0));
    tell("write() of 0", write(file.fd, bytes.data(), 0));
    const int copy = dup(file.fd);
    ioctl(copy, I2C_SLAVE, kAbsent);
    tell("copy's address, write()", write(file.fd, "\x20", 1));
    tell("copy's address, read()", read(file.fd, bytes.data(), 1));
    close(copy);
}

void sensor() {
    rdwr("sensor", {{kSensor, 0, {0}}, {kSensor, I2C_M_RD, Bytes(2)}});
    rdwr("sensor's limit", {{kSensor, 0, {3}}, {kSensor, I2C_M_RD, Bytes(2)}});
    rdwr("sensor's register stays", {{kSensor, I2C_M_RD, Bytes(2)}});
    rdwr("sensor's limit written", {{kSensor, 0, {3, 0x3c, 0x80}}});
    rdwr("sensor's new limit", {{kSensor, 0, {3}}, {kSensor, I2C_M_RD, Bytes(2)}});
    rdwr("sensor's limit back", {{kSensor, 0, {3, 0x50, 0x00}}});
}

}  // namespace

void observe_bus() {
    Bytes all(64);
    for (std::size_t i = 0; i < all.size(); ++i) {
        all[i] = static_cast<std::uint8_t>(i);
    }
    fill(kScratch, 0, all);
    functions_and_node();
    small_requests();
    opened_for();
    pointers();
    rdwr_messages();
    plain_read_and_write();
    sensor();
    smbus_transactions("smbus", kScratch, false);
    smbus_transactions("pec", kScratch, true);
    smbus_transactions("absent", kAbsent, false);
}

}  // namespace observe
