// SPDX-License-Identifier: MIT
#include <array>

#include "framework/dfd_info/bits.h"
#include "support/library_test.h"

namespace {

using dfd_test::Bytes;
using dfd_test::in_own_process;
using dfd_test::logged_by;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;
using vchassis::Op;

constexpr std::uint32_t slot_online(unsigned slot) {
    return DFD_MAKE_KEY(DFD_KEY_SLOT_ONLINE, slot, 0);
}

// Lines of one slot_online item: members in the order mode, src, frmt, pola, then numbers.
struct Item {
    const char *mode = "config";
    const char *src = "localbus";
    const char *frmt = "byte";
    const char *pola = "none";
    unsigned len = 1;
    unsigned bit = 0;
    unsigned reg = 0x10;
    std::string path = "/dev/cpld0";
};

std::string lines(unsigned slot, const Item &item) {
    const std::string at = "_" + std::to_string(slot) + "=";
    const auto line = [&](const char *member, const std::string &value) {
        return "slot_online" + std::string(member) + at + value + "\n";
    };
    return line(".mode", item.mode) + line(".src", item.src) + line(".frmt", item.frmt) +
           line(".pola", item.pola) + line(".len", std::to_string(item.len)) +
           line(".bit_offset", std::to_string(item.bit)) +
           line(".reg_offset", std::to_string(item.reg)) + line(".fpath", item.path) +
           line(".addr", "0x48") + line(".int_cons", "7");
}

int sum_processor(std::uint8_t *bytes, int len, int *value) {
    *value = 1000 * len;
    for (int i = 0; i < len; ++i) {
        *value += bytes[i];
    }
    return 0;
}

int failing_processor(std::uint8_t * /*bytes*/, int /*len*/, int * /*value*/) {
    return -42;
}

class EngineTest : public dfd_test::LibraryTest {
  protected:
    EngineTest() {
        chassis.describe(
            "[[registers]]\npath = \"/dev/cpld0\"\nsize = 256\n"
            "[[i2c]]\nbus = 1\naddr = 0x48\nmodel = \"registers\"\nsize = 256\n");
        chassis.write_file("/tmp/bspinfo/count", " 42 apples");
    }
    static std::uint8_t byte_at(const char *path, unsigned offset) {
        std::uint8_t byte = 0;
        EXPECT_EQ(sdd_device_read(path, static_cast<int>(offset), &byte, 1), 1);
        return byte;
    }
    // Starts with these items as slot_online 0, 1, ...
    void start_items(const std::vector<Item> &items) {
        std::string config;
        for (unsigned slot = 0; slot < items.size(); ++slot) {
            config += lines(slot, items[slot]);
        }
        start(config);
        const Bytes bytes = {0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC};
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            chassis.set_reg("/dev/cpld0", static_cast<std::uint32_t>(0x10 + i), bytes[i]);
        }
        chassis.set_slave(1, 0x48, 0x10, bytes);
        chassis.set_reg("/dev/cpld0", 0x20, 0xB8);
        chassis.clear_log();
    }
};

TEST_F(EngineTest, IntegersInEveryFormat) {
    struct Row {
        Item item;
        int value;
        dfd_info_num_proc_t proc = nullptr;
    };
    const std::vector<Row> rows = {
        {{.mode = "constant", .src = "none", .frmt = "none", .path = ""}, 7},
        {{.frmt = "bit", .len = 2, .bit = 3, .reg = 0x20}, 3},
        {{.frmt = "bit", .pola = "negative", .len = 2, .bit = 3, .reg = 0x20}, 0},
        {{.frmt = "bit", .len = 0, .reg = 0x20}, 0},
        {{.frmt = "bit", .len = 8, .bit = 4, .reg = 0x20}, 0xB},
        {{.frmt = "bit", .len = 1, .bit = 7, .reg = 0x20}, 1},
        {{.frmt = "bit", .pola = "negative", .len = 40, .bit = 4, .reg = 0x20}, 0x4},
        {{.frmt = "bit", .len = 4, .bit = 3, .reg = 0x20}, 1007, sum_processor},
        {{.frmt = "byte"}, 0x12},
        {{.frmt = "byte", .len = 2}, 0x1234},
        {{.frmt = "num_bytes", .pola = "positive", .len = 2}, 0x1234},
        {{.frmt = "num_bytes", .pola = "negative", .len = 2}, 0x3412},
        {{.mode = "none", .frmt = "num_bytes", .pola = "negative", .len = 4}, 0x78563412},
        {{.mode = "func", .frmt = "num_bytes", .len = 5}, 0x3456789A},
        {{.mode = "legacy", .src = "i2c", .frmt = "num_bytes", .len = 3, .path = "/dev/i2c-1"},
         0x123456},
        {{.src = "file", .frmt = "num_str", .len = 4, .reg = 0, .path = "/tmp/bspinfo/count"}, 42},
        {{.src = "file", .frmt = "num_str", .len = 31, .reg = 4, .path = "/tmp/bspinfo/count"}, 0},
        {{.src = "file", .frmt = "byte", .len = 3, .reg = 8, .path = "/tmp/bspinfo/count"},
         'e' << 16 | 's' << 8},
        {{.frmt = "num_buf", .len = 2}, 2000 + 0x12 + 0x34, sum_processor},
        // The file ends after two of the bytes; the processor gets what the item asks for.
        {{.src = "file", .frmt = "num_buf", .len = 3, .reg = 8, .path = "/tmp/bspinfo/count"},
         3000 + 'e' + 's',
         sum_processor},
        // Without a bit field or a num_buf the processor has no say.
        {{.frmt = "byte"}, 0x12, failing_processor},
    };
    std::vector<Item> items;
    for (const Row &row : rows) {
        items.push_back(row.item);
    }
    start_items(items);
    for (unsigned slot = 0; slot < rows.size(); ++slot) {
        int value = -1;
        EXPECT_EQ(dfd_info_get_int(slot_online(slot), &value, rows[slot].proc), 0)
            << "row " << slot;
        EXPECT_EQ(value, rows[slot].value) << "row " << slot;
    }
    EXPECT_EQ(count(Op::open), count(Op::close));
}

TEST_F(EngineTest, IntegerRefusalsReadNothing) {
    start_items({{.mode = "tlv"},
                 {.mode = "fru"},
                 {.frmt = "bit", .bit = 8},
                 {.frmt = "byte", .len = 32},
                 {.frmt = "num_str", .len = 0},
                 {.frmt = "none"},
                 {.frmt = "buf"},
                 {.mode = "constant"}});
    struct Row {
        std::uint32_t key;
        int result;
        const char *message;
    };
    const Row kRows[] = {
        {slot_online(0), 3, ""},
        {slot_online(1), 4, ""},
        {slot_online(2), -5, "info ctrl[key=0x39000200] bit_offsest[8] invalid\r\n"},
        {slot_online(3), -5, "info ctrl[key=0x39000300] len[32] invalid\r\n"},
        {slot_online(4), -5, "info ctrl[key=0x39000400] len[0] invalid\r\n"},
        {slot_online(5), -5, "info ctrl[key=0x39000500]  format[0] error\r\n"},
        {slot_online(6), -5, "info ctrl[key=0x39000600]  format[6] error\r\n"},
        {slot_online(9), -6, "get info ctrl fail, key=0x39000900\r\n"},
        {0xAD000000, -8, "input arguments error, key=0xad000000\r\n"},
        {0x35000000, -8, "input arguments error, key=0x35000000\r\n"},
        {0xAC000000, -8, "input arguments error, key=0xac000000\r\n"},
    };
    for (const Row &row : kRows) {
        int value = -1;
        EXPECT_EQ(
            logged_by(DFD_DEBUG_ERR | DFD_DEBUG_WARN,
                      [&] { EXPECT_EQ(dfd_info_get_int(row.key, &value, nullptr), row.result); }),
            row.message);
        EXPECT_EQ(value, -1) << row.message;
    }
    EXPECT_EQ(dfd_info_get_int(slot_online(7), nullptr, nullptr), -8);
    EXPECT_EQ(logged_by(DFD_DEBUG_ERR, [] { dfd_info_get_int(slot_online(9), nullptr, nullptr); }),
              "input arguments error, key=0x39000900\r\n");
    EXPECT_EQ(logged_by(DFD_DEBUG_ERR,
                        [] {
                            int value = 0;
                            dfd_info_get_int(slot_online(9), &value, nullptr);
                        }),
              "")
        << "a missing item is a warning to a reader";
    EXPECT_TRUE(chassis.log().empty());
}

TEST_F(EngineTest, ProcessorsAndTransfersThatFail) {
    start_items({{.frmt = "num_buf", .len = 2},
                 {.frmt = "bit"},
                 {.src = "none"},
                 {.path = "/dev/cpld7"},
                 {.src = "i2c", .path = "/dev/i2c-1"},
                 {.src = "file", .reg = 99, .path = "/tmp/bspinfo/count"}});
    struct Row {
        unsigned slot;
        dfd_info_num_proc_t proc;
        int result;
        const char *message;
    };
    chassis.fail({.addr = 0x48, .count = 0});
    const Row kRows[] = {
        {0, nullptr, -8, "info ctrl[key=0x39000000] number buf process function is null\r\n"},
        {0, failing_processor, -42,
         "info ctrl[key=0x39000000] number buf process fail, rv=-42\r\n"},
        {1, failing_processor, -42, "info ctrl[key=0x39000100] bit process fail, rv=-42\r\n"},
        {2, nullptr, -7,
         "info src[0] error\r\nread int info[key=0x39000200 src=none frmt=byte fpath=/dev/cpld0 "
         "addr=0x48 read_bytes=1] fail, rv=-1\r\n"},
        {3, nullptr, -7,
         "read info[addr=0x10 read_bytes=1] from cpld fail, reading_byte=0 rv=-1\r\nread int "
         "info[key=0x39000300 src=localbus frmt=byte fpath=/dev/cpld7 addr=0x48 read_bytes=1] "
         "fail, rv=-1\r\n"},
        {4, nullptr, -7,
         "read int info[key=0x39000400 src=i2c frmt=byte fpath=/dev/i2c-1 addr=0x48 read_bytes=1] "
         "fail, rv=-1\r\n"},
        {5, nullptr, -7,
         "read int info[key=0x39000500 src=file frmt=byte fpath=/tmp/bspinfo/count addr=0x48 "
         "read_bytes=1] fail, rv=0\r\n"},
    };
    for (const Row &row : kRows) {
        int value = -1;
        EXPECT_EQ(logged_by(DFD_DEBUG_ERR,
                            [&] {
                                EXPECT_EQ(dfd_info_get_int(slot_online(row.slot), &value, row.proc),
                                          row.result);
                            }),
                  row.message);
        EXPECT_EQ(value, -1);
    }
    EXPECT_EQ(chassis.slept_us(), 50000U) << "the I2C retries";
}

TEST_F(EngineTest, LocalbusBytesAreSeparateAccesses) {
    start_items({{.frmt = "num_bytes", .len = 3},
                 {.frmt = "num_bytes", .len = 2, .reg = 0x0A},
                 {.frmt = "bit", .len = 2, .bit = 3}});
    int value = 0;
    EXPECT_EQ(dfd_info_get_int(slot_online(0), &value, nullptr), 0);
    EXPECT_THAT(accesses(Op::read),
                ElementsAre("read /dev/cpld0 @0x0010 [12] = 1", "read /dev/cpld0 @0x0011 [34] = 1",
                            "read /dev/cpld0 @0x0012 [56] = 1"));
    EXPECT_EQ(count(Op::open), 3U);
    EXPECT_EQ(dfd_info_get_int_by_index(slot_online(1), 3, &value, nullptr), 0);
    EXPECT_EQ(value, 0x1234) << "register 0x0a + 2 x 3";
    EXPECT_EQ(dfd_info_get_int_by_index(slot_online(2), 2, &value, nullptr), 0);
    EXPECT_EQ(value, 0x9A >> 3 & 3) << "the width of a bit field counts as bytes here";
    // The second byte fails: the register is still named as the item has it.
    chassis.fail({.op = Op::read, .path = "/dev/cpld0", .offset = 0x11, .count = 0});
    EXPECT_THAT(
        logged_by(DFD_DEBUG_ERR,
                  [&] { EXPECT_EQ(dfd_info_get_int(slot_online(0), &value, nullptr), -7); }),
        StartsWith("read info[addr=0x10 read_bytes=3] from cpld fail, reading_byte=1 "
                   "rv=-1\r\n"));
    EXPECT_EQ(value, 0x9A >> 3 & 3);
}

// A file may be short, a register may not: behind the end of its device there is none.
TEST_F(EngineTest, ARegisterThatDeliversNoByteFails) {
    start_items({{.frmt = "num_bytes", .len = 3}, {.frmt = "byte"}});
    chassis.fail({.op = Op::read, .offset = 0x11, .count = 0, .error = 0, .result = 0});
    Bytes bytes(3, 0x77);
    int value = 9;
    EXPECT_EQ(dfd_read_info(INFO_SRC_LOCALBUS, "/dev/cpld0", 0, 0x10, 3, bytes.data()), 0);
    EXPECT_EQ(bytes, (Bytes{0x12, 0x77, 0x77}));
    EXPECT_THAT(
        logged_by(DFD_DEBUG_ERR,
                  [&] { EXPECT_EQ(dfd_info_get_int(slot_online(0), &value, nullptr), -7); }),
        AllOf(StartsWith("read info[addr=0x10 read_bytes=3] from cpld fail, reading_byte=1 "
                         "rv=0\r\n"),
              HasSubstr("read_bytes=3] fail, rv=0\r\n")));
    EXPECT_EQ(value, 9);
    chassis.fail({.op = Op::read, .count = 0, .error = 0, .result = 0});
    EXPECT_EQ(dfd_info_set_int(slot_online(1), 1), 0) << "a whole byte needs no reading";
}

// One register too far: no neighbour changes, whatever is asked for.
TEST_F(EngineTest, TheRegisterBehindTheLastOneFails) {
    chassis.write_file("/tmp/bspinfo/registers", std::string(16, '5'));
    for (const char *path : {"/dev/cpld0", "/tmp/bspinfo/registers"}) {
        const unsigned end = path[1] == 'd' ? 256 : 16;
        in_own_process(path, [&] {
            start_items({{.frmt = "byte", .reg = end, .path = path},
                         {.frmt = "bit", .bit = 5, .reg = end, .path = path},
                         {.frmt = "num_str", .len = 2, .reg = end - 1, .path = path},
                         {.frmt = "num_buf", .len = 2, .reg = end - 1, .path = path},
                         {.frmt = "buf", .len = 2, .reg = end - 1, .path = path},
                         {.frmt = "bit", .bit = 5, .reg = end - 1, .path = path}});
            const std::uint8_t last = byte_at(path, end - 1);
            for (const unsigned slot : {0U, 1U, 2U, 3U}) {
                int value = 9;
                EXPECT_EQ(dfd_info_get_int(slot_online(slot), &value, sum_processor), -7) << slot;
                EXPECT_EQ(value, 9) << slot;
            }
            int value = 9;
            EXPECT_EQ(dfd_info_get_int_by_index(slot_online(5), 1, &value, nullptr), -7);
            Bytes bytes(2, 0x77);
            EXPECT_EQ(dfd_info_get_buf(slot_online(4), bytes.data(), 2, nullptr), -7);
            EXPECT_EQ(bytes, Bytes(2, 0x77));
            chassis.clear_log();
            EXPECT_EQ(dfd_info_set_int(slot_online(1), 1), -7);
            EXPECT_EQ(count(Op::write), 0U);
            EXPECT_EQ(dfd_info_set_int(slot_online(5), 1), 0) << "the last register is one";
            EXPECT_EQ(byte_at(path, end - 1), last | 1 << 5);
        });
    }
}

TEST_F(EngineTest, SuccessIsTraced) {
    start_items({{.frmt = "bit", .pola = "negative", .len = 2, .bit = 3, .reg = 0x20}});
    EXPECT_EQ(logged_by(DFD_DEBUG_VBOSE,
                        [] {
                            int value = 0;
                            dfd_info_get_int(slot_online(0), &value, nullptr);
                            dfd_info_set_int(slot_online(0), 1);
                        }),
              "read int info[key=0x39000000 src=localbus frmt=bit pola=negative fpath=/dev/cpld0 "
              "addr=0x48 len=2 bit_offset=3] success, ret=0\r\n"
              "write int info[key=0x39000000 src=localbus frmt=bit pola=negative fpath=/dev/cpld0 "
              "addr=0x48 len=2 bit_offset=3 val=1] success\r\n");
}

TEST_F(EngineTest, MessagesNameTheFunctionThatWasCalled) {
    start_items({{.frmt = "bit", .bit = 8},
                 {.frmt = "byte", .len = 0},
                 {.frmt = "none"},
                 {.src = "none"},
                 {.frmt = "num_buf"},
                 {.frmt = "bit"},
                 {.path = "/dev/cpld7"},
                 {.src = "file", .path = "/tmp/bspinfo/count"},
                 {.frmt = "num_str"},
                 {.mode = "constant"},
                 {.frmt = "buf"},
                 {.src = "i2c", .path = "/dev/i2c-1"}});
    const auto get = [](unsigned slot, dfd_info_num_proc_t proc = nullptr) {
        int value = 0;
        dfd_info_get_int(slot_online(slot), &value, proc);
    };
    const auto by_index = [](unsigned slot, dfd_info_num_proc_t proc = nullptr) {
        int value = 0;
        dfd_info_get_int_by_index(slot_online(slot), 0, &value, proc);
    };
    const auto buf = [](unsigned slot, dfd_info_buf_proc_t proc = nullptr) {
        char text[4];
        dfd_info_get_buf(slot_online(slot), text, 1, proc);
    };
    const auto set = [](unsigned slot) { dfd_info_set_int(slot_online(slot), 1); };
    struct Row {
        std::uint32_t gate;
        std::function<void()> call;
        std::string functions;
    };
    constexpr std::uint32_t kErr = DFD_DEBUG_ERR;
    std::vector<Row> rows;
    for (const bool is_indexed : {false, true}) {
        const auto read = [=](unsigned slot, dfd_info_num_proc_t proc = nullptr) {
            return [=] { is_indexed ? by_index(slot, proc) : get(slot, proc); };
        };
        const std::string own = is_indexed ? "dfd_info_get_int_by_index " : "dfd_info_get_int ";
        rows.insert(rows.end(), {{DFD_DEBUG_WARN, read(20), own},
                                 {kErr, read(0), own},
                                 {kErr, read(1), own},
                                 {kErr, read(2), own},
                                 {kErr, read(3), "dfd_read_info " + own},
                                 {kErr, read(4), own},
                                 {kErr, read(4, failing_processor), own},
                                 {kErr, read(5, failing_processor), own},
                                 {kErr, read(6), "sdd_read_info_localbus " + own},
                                 {kErr, read(5, sum_processor), ""},
                                 {kErr, read(4, sum_processor), ""},
                                 {DFD_DEBUG_VBOSE, read(5), own}});
    }
    int value = 0;
    const std::uint32_t led = DFD_MAKE_KEY(DFD_KEY_MB_FE_LED_INFO, 0, 0);
    std::uint32_t word = 0;
    const std::string set_int = "dfd_info_set_int ";
    rows.insert(rows.end(),
                {{kErr, [&] { dfd_info_get_int(0, &value, nullptr); }, "dfd_info_get_int "},
                 {kErr, [&] { dfd_info_get_int_by_index(0, 0, &value, nullptr); },
                  "dfd_info_get_int_by_index "},
                 {kErr, [&] { dfd_info_get_buf(0, &value, 4, nullptr); }, "dfd_info_get_buf "},
                 {kErr, [&] { dfd_info_set_int(0, 1); }, set_int},
                 {DFD_DEBUG_WARN, [=] { buf(20); }, "dfd_info_get_buf "},
                 {kErr, [=] { buf(9); }, "dfd_info_get_buf "},
                 {kErr, [=] { buf(5); }, "dfd_info_get_buf "},
                 {kErr, [=] { buf(10, sdd_get_string_by_buf); }, "dfd_info_get_buf "},
                 {kErr, [=] { set(20); }, set_int},
                 {kErr, [=] { set(9); }, set_int},
                 {kErr, [=] { set(0); }, set_int},
                 {kErr, [=] { set(1); }, set_int},
                 {kErr, [=] { set(8); }, set_int},
                 {kErr, [=] { set(10); }, set_int},
                 {kErr, [=] { set(3); }, "dfd_write_info " + set_int},
                 {kErr, [=] { set(7); }, "dfd_write_info " + set_int},
                 {kErr, [=] { set(11); }, "dfd_write_info "},
                 {DFD_DEBUG_VBOSE, [=] { set(5); }, set_int},
                 {DFD_DEBUG_WARN, [&] { dfd_get_led_info_regval(led, 0, &word); },
                  "dfd_get_led_info_regval "},
                 {DFD_DEBUG_WARN, [&] { dfd_get_led_info_state(led, 0, &word); },
                  "dfd_get_led_info_state "}});
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(dfd_test::functions_logged_by(rows[i].gate, rows[i].call), rows[i].functions)
            << "row " << i;
    }
}

TEST_F(EngineTest, BuffersRawAndThroughAProcessor) {
    start_items({{.frmt = "buf", .len = 4},
                 {.src = "i2c", .frmt = "buf", .len = 6, .path = "/dev/i2c-1"},
                 {.src = "file", .frmt = "buf", .len = 255, .reg = 1, .path = "/tmp/bspinfo/count"},
                 {.frmt = "buf", .len = 256},
                 {.frmt = "buf", .len = 0},
                 {.frmt = "byte"},
                 {.mode = "tlv", .frmt = "buf"},
                 {.mode = "none", .frmt = "buf"},
                 {.frmt = "buf", .path = "/dev/cpld7"},
                 {.src = "file", .frmt = "buf", .reg = 99, .path = "/tmp/bspinfo/count"}});
    std::array<char, 256> buf{};
    EXPECT_EQ(dfd_info_get_buf(slot_online(0), buf.data(), 4, nullptr), 4);
    EXPECT_EQ(std::string_view(buf.data(), 5), std::string_view("\x12\x34\x56\x78\0", 5));
    EXPECT_EQ(dfd_info_get_buf(slot_online(1), buf.data(), 256, nullptr), 6);
    EXPECT_EQ(dfd_info_get_buf(slot_online(2), buf.data(), 256, nullptr), 9) << "what the file has";
    EXPECT_EQ(dfd_info_get_buf(slot_online(2), buf.data(), 255, sdd_get_string_by_buf), 2);
    EXPECT_STREQ(buf.data(), "42");
    struct Row {
        unsigned slot;
        std::uint32_t capacity;
        int result;
        const char *message;
    };
    chassis.clear_log();
    const Row kRows[] = {
        {0, 3, -5, "info ctrl[key=0x39000000] format=6 or len=4 invlaid, buf_len=3\r\n"},
        {3, 256, -5, "info ctrl[key=0x39000300] format=6 or len=256 invlaid, buf_len=256\r\n"},
        {4, 256, -5, "info ctrl[key=0x39000400] format=6 or len=0 invlaid, buf_len=256\r\n"},
        {5, 256, -5, "info ctrl[key=0x39000500] format=2 or len=1 invlaid, buf_len=256\r\n"},
        {6, 256, -5, "info ctrl[key=0x39000600] mode[3] invalid\r\n"},
        {7, 256, -5, "info ctrl[key=0x39000700] mode[0] invalid\r\n"},
        {12, 256, -6, "get info ctrl fail, key=0x39000c00\r\n"},
    };
    for (const Row &row : kRows) {
        EXPECT_EQ(logged_by(DFD_DEBUG_ERR | DFD_DEBUG_WARN,
                            [&] {
                                EXPECT_EQ(dfd_info_get_buf(slot_online(row.slot), buf.data(),
                                                           row.capacity, nullptr),
                                          row.result);
                            }),
                  row.message);
    }
    EXPECT_EQ(dfd_info_get_buf(slot_online(0), nullptr, 4, nullptr), -8);
    EXPECT_TRUE(chassis.log().empty()) << "refusals read nothing";
    EXPECT_THAT(
        logged_by(DFD_DEBUG_ERR,
                  [&] { EXPECT_EQ(dfd_info_get_buf(slot_online(8), buf.data(), 9, nullptr), -7); }),
        HasSubstr("read buf info[key=0x39000800 src=localbus frmt=buf fpath=/dev/cpld7 "
                  "addr=0x48 len=1] fail, rv=-1\r\n"));
    EXPECT_EQ(dfd_info_get_buf(slot_online(9), buf.data(), 9, nullptr), -7) << "nothing there";
    EXPECT_EQ(logged_by(DFD_DEBUG_ERR,
                        [] {
                            char byte = 0;
                            dfd_info_get_buf(slot_online(12), &byte, 1, nullptr);
                        }),
              "")
        << "a missing item is a warning to a reader";
    EXPECT_EQ(logged_by(DFD_DEBUG_ERR,
                        [&] {
                            EXPECT_EQ(dfd_info_get_buf(slot_online(0), buf.data(), 4,
                                                       sdd_get_string_by_buf),
                                      -6);
                        }),
              "info ctrl[key=0x39000000] buf process fail, rv=-5\r\n");
}

TEST_F(EngineTest, WritesOneByteUnderTheMask) {
    struct Row {
        Item item;
        std::uint32_t value;
        std::uint8_t before, after;
        std::size_t reads;
    };
    const std::vector<Row> rows = {
        {{.frmt = "bit", .len = 1, .bit = 5}, 1, 0x0F, 0x2F, 1},
        {{.frmt = "bit", .len = 2, .bit = 3}, 0xFF, 0x00, 0x18, 1},
        {{.frmt = "bit", .pola = "negative", .len = 2, .bit = 3}, 1, 0xFF, 0xF7, 1},
        {{.frmt = "bit", .len = 0, .bit = 3}, 1, 0x5A, 0x5A, 1},
        {{.frmt = "bit", .len = 8, .bit = 0}, 0x3C, 0xFF, 0x3C, 0},
        {{.frmt = "bit", .len = 9, .bit = 4}, 0x3C, 0x0A, 0xCA, 1},
        {{.frmt = "byte", .pola = "negative"}, 0x1FE, 0x00, 0xFE, 0},
        {{.frmt = "num_bytes", .len = 4}, 0x12345678, 0x00, 0x78, 0},
        {{.frmt = "num_buf", .len = 31}, 9, 0x00, 0x09, 0},
    };
    std::vector<Item> items;
    for (const Row &row : rows) {
        items.push_back(row.item);
    }
    start_items(items);
    for (unsigned slot = 0; slot < rows.size(); ++slot) {
        const Row &row = rows[slot];
        chassis.set_reg("/dev/cpld0", 0x10, row.before);
        chassis.clear_log();
        EXPECT_EQ(dfd_info_set_int(slot_online(slot), row.value), 0);
        EXPECT_EQ(chassis.reg("/dev/cpld0", 0x10), row.after) << "row " << slot;
        EXPECT_EQ(chassis.reg("/dev/cpld0", 0x11), 0x34) << "row " << slot;
        EXPECT_EQ(count(Op::read), row.reads) << "row " << slot;
        EXPECT_EQ(count(Op::write), 1U) << "row " << slot;
    }
}

TEST_F(EngineTest, I2cWritesTheWholePreparedByte) {
    start_items({{.src = "i2c", .frmt = "bit", .len = 1, .bit = 5, .path = "/dev/i2c-1"},
                 {.src = "i2c", .frmt = "bit", .pola = "negative", .bit = 5, .path = "/dev/i2c-1"},
                 {.src = "i2c", .frmt = "num_bytes", .len = 4, .path = "/dev/i2c-1"}});
    EXPECT_EQ(logged_by(DFD_DEBUG_ERR, [] { EXPECT_EQ(dfd_info_set_int(slot_online(0), 1), 0); }),
              "warning i2c write addr 0x48 write_bytes 1 val 0x20\r\n");
    EXPECT_EQ(dfd_info_set_int(slot_online(1), 1), 0);
    EXPECT_EQ(dfd_info_set_int(slot_online(2), 0x1234), 0);
    EXPECT_THAT(accesses(Op::transfer),
                ElementsAre("transfer /dev/i2c-1 {w 0x48 [10]} {w 0x48 nostart [20]} = 2",
                            "transfer /dev/i2c-1 {w 0x48 [10]} {w 0x48 nostart [df]} = 2",
                            "transfer /dev/i2c-1 {w 0x48 [10]} {w 0x48 nostart [34]} = 2"));
}

TEST_F(EngineTest, SourcesAnswerInTheirOwnWay) {
    std::uint8_t byte = 1;
    EXPECT_EQ(dfd_write_info(INFO_SRC_I2C, "/dev/i2c-1", 0x48, 0, 1, &byte, 0xFF), 2) << "raw";
    EXPECT_EQ(dfd_read_info(INFO_SRC_I2C, "/dev/i2c-1", 0x48, 0, 1, &byte), 1) << "the length";
    chassis.fail({.addr = 0x48, .error = 0, .result = 0});
    EXPECT_EQ(dfd_read_info(INFO_SRC_I2C, "/dev/i2c-1", 0x48, 0, 1, &byte), 1) << "of 0 as well";
    chassis.fail({.addr = 0x48, .count = 5, .error = 0, .result = -9});
    EXPECT_EQ(dfd_read_info(INFO_SRC_I2C, "/dev/i2c-1", 0x48, 0, 1, &byte), -9);
    chassis.fail({.op = Op::read, .error = 0, .result = -9});
    EXPECT_EQ(sdd_read_info_localbus("/dev/cpld0", 0, 1, &byte), -9);
    chassis.fail({.op = Op::write, .error = 0, .result = -9});
    EXPECT_EQ(sdd_write_info_localbus("/dev/cpld0", 0, 1, &byte, 0xFF), -1);
    chassis.fail({.op = Op::read, .error = 0, .result = -9});
    EXPECT_EQ(sdd_write_info_localbus("/dev/cpld0", 0, 1, &byte, 0x0F), -1);
    EXPECT_EQ(logged_by(DFD_DEBUG_ERR,
                        [&] {
                            EXPECT_EQ(
                                dfd_write_info(INFO_SRC_I2C, "/dev/i2c-1", 0x48, 0, 2, &byte, 0xFF),
                                -1);
                        }),
              "not support write info to other i2c more than 1 byte\r\n");
    EXPECT_EQ(dfd_write_info(9, "/dev/cpld0", 0, 0, 1, &byte, 0xFF), -1);
}

TEST_F(EngineTest, WriteRefusalsAndFailures) {
    start_items({{.mode = "constant"},
                 {.frmt = "bit", .bit = 9},
                 {.frmt = "byte", .len = 0},
                 {.frmt = "num_str"},
                 {.frmt = "buf"},
                 {.src = "file", .path = "/tmp/bspinfo/count"},
                 {.src = "none"},
                 {.frmt = "bit", .path = "/dev/cpld7"},
                 {.path = "/dev/cpld7"},
                 {.mode = "none"}});
    const auto fail_text = [](unsigned slot, const char *src, const char *frmt, const char *path) {
        return "write int info[key=0x39000" + std::to_string(slot) + "00 src=" + src +
               " frmt=" + frmt + " fpath=" + path + " addr=0x48 len=1 val=1] fail, rv=-1\r\n";
    };
    struct Row {
        std::uint32_t key;
        int result;
        std::string message;
    };
    const Row kRows[] = {
        {slot_online(0), -5, "info ctrl[key=0x39000000] ctrl mode[2] warnning\r\n"},
        {slot_online(1), -5, "info ctrl[key=0x39000100] bit_offsest[9] invalid\r\n"},
        {slot_online(2), -5, "info ctrl[key=0x39000200] len[0] invalid\r\n"},
        {slot_online(3), -1, "not support str int set\r\n"},
        {slot_online(4), -5, "info ctrl[key=0x39000400] format[6] error\r\n"},
        {slot_online(5), -7,
         "not support write info to file\r\n" + fail_text(5, "file", "byte", "/tmp/bspinfo/count")},
        {slot_online(6), -7, "info src[0] error\r\n" + fail_text(6, "none", "byte", "/dev/cpld0")},
        {slot_online(9), -5, "info ctrl[key=0x39000900] ctrl mode[0] warnning\r\n"},
        {slot_online(12), -6, "get info ctrl fail, key=0x39000c00\r\n"},
        {0x24000000, -8, "input arguments error, key=0x24000000\r\n"},
        {slot_online(7), -7, fail_text(7, "localbus", "bit", "/dev/cpld7")},
        // A missing device swallows a whole byte without a word.
        {slot_online(8), 0, ""},
    };
    for (const Row &row : kRows) {
        EXPECT_EQ(
            logged_by(DFD_DEBUG_ERR, [&] { EXPECT_EQ(dfd_info_set_int(row.key, 1), row.result); }),
            row.message);
    }
    EXPECT_EQ(count(Op::write), 0U);
}

TEST_F(EngineTest, LedTablesBothWays) {
    start(
        "location_led_info.dark=0\nlocation_led_info.green=2\nlocation_led_info.red=2\n"
        "location_led_info.yellow=5\nlocation_led_info.spark=\n");
    constexpr std::uint32_t kKey = DFD_MAKE_KEY(DFD_KEY_LOCATION_LED_INFO, 0, 0);
    constexpr std::uint32_t kMissing = DFD_MAKE_KEY(DFD_KEY_MB_FE_LED_INFO, 0, 0);
    struct Row {
        std::uint32_t state;
        int result;
        std::uint32_t regval;
    };
    for (const Row &row :
         {Row{LED_STATE_DARK, 0, 0}, Row{LED_STATE_RED, 0, 2}, Row{LED_STATE_SPARK, -6, 99},
          Row{LED_STATE_FSPARK_CLOSE, 0, 0}, Row{7, -6, 99}, Row{0xFFFFFFFF, -6, 99}}) {
        std::uint32_t regval = 99;
        EXPECT_EQ(dfd_get_led_info_regval(kKey, row.state, &regval), row.result) << row.state;
        EXPECT_EQ(regval, row.regval) << row.state;
    }
    for (const auto &[regval, expected] : {std::pair{2U, 1U}, {5U, 3U}, {0U, 0U}, {9U, 99U}}) {
        std::uint32_t state = 99;
        EXPECT_EQ(dfd_get_led_info_state(kKey, regval, &state), 0);
        EXPECT_EQ(state, expected) << regval;
    }
    std::uint32_t out = 99;
    EXPECT_EQ(dfd_get_led_info_regval(kMissing, 0, &out), -6);
    EXPECT_EQ(dfd_get_led_info_state(kMissing, 0, &out), -6);
    EXPECT_EQ(logged_by(DFD_DEBUG_WARN, [&] { dfd_get_led_info_state(kMissing, 0, &out); }),
              "get info ctrl fail, key=0xb5000000\r\n");
    EXPECT_EQ(dfd_get_led_info_state(kKey, 0, nullptr), -8);
    EXPECT_EQ(dfd_get_led_info_regval(0xB0000000, 0, &out), -8);
    EXPECT_EQ(dfd_get_led_info_state(0xBA000000, 0, &out), -8);
    EXPECT_EQ(dfd_get_led_info_regval(kKey, 0, nullptr), -8);
    EXPECT_EQ(out, 99U);
}

TEST(Bits, FieldsAndNumbersAtTheirLimits) {
    EXPECT_EQ(dfd::low_bits(0), 0);
    EXPECT_EQ(dfd::low_bits(7), 0x7F);
    EXPECT_EQ(dfd::low_bits(0xFFFFFFFF), 0xFF);
    EXPECT_EQ(dfd::field_mask(5, 3), 0xE0);
    EXPECT_EQ(dfd::field_mask(6, 8), 0xC0);
    const std::array<std::uint8_t, 6> bytes = {1, 2, 3, 4, 5, 6};
    EXPECT_EQ(dfd::join_bytes(bytes, false), 0x03040506U);
    EXPECT_EQ(dfd::join_bytes(bytes, true), 0x04030201U);
}

}  // namespace
