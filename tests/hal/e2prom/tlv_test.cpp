// SPDX-License-Identifier: MIT
#include "support/libc_calls.h"
#include "support/library_test.h"

namespace {

using dfd_test::Bytes;
using dfd_test::bytes_of;
using dfd_test::DirtyBuffer;
using dfd_test::e2prom_image;
using dfd_test::functions_logged_by;
using dfd_test::kBus;
using dfd_test::logged_by;
using dfd_test::tlv_entry;
using dfd_test::tlv_image;
using dfd_test::operator+;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using vchassis::Op;

constexpr int kTlvAddr = 0x51;

class TlvTest : public dfd_test::LibraryTest {
  protected:
    TlvTest() { add_e2prom(2, kTlvAddr, Bytes(256, 0xFF)); }
    void put(const Bytes &image) { chassis.set_slave(2, kTlvAddr, 0, image); }
    // A query by type: the code and the bytes delivered.
    struct Answer {
        int code;
        Bytes bytes;
        bool operator==(const Answer &) const = default;
    };
    static Answer query(std::uint32_t type, int capacity = 64) {
        Bytes buf(256, 0xEE);
        int len = capacity;
        const int code = sdd_get_e2prom_info_by_type(kBus, type, kTlvAddr, buf.data(), &len);
        const bool untouched = len == capacity && buf == Bytes(256, 0xEE);
        buf.resize(code == 0 || !untouched ? static_cast<std::size_t>(len) : 0);
        return {code, buf};
    }
    static Bytes integer(std::uint32_t value) {
        Bytes bytes(sizeof value);
        memcpy(bytes.data(), &value, sizeof value);
        return bytes;
    }
};

TEST_F(TlvTest, QueriesByType) {
    const Bytes entries = tlv_entry(9, {1, 2, 3}) + tlv_entry(2, bytes_of("LINE-CARD")) +
                          tlv_entry(3, bytes_of("SN0123456789ABCD")) +
                          tlv_entry(5, bytes_of("1.23")) + tlv_entry(6, {0, 0, 1, 0x2C});
    const Bytes long_then_short =
        tlv_entry(3, bytes_of("0123456789ABCDEF")) + tlv_entry(3, bytes_of("SHORT"));
    struct Row {
        const char *what;
        Bytes image;
        std::uint32_t type;
        int capacity;
        Answer answer;
    };
    const Row kRows[] = {
        {"name", tlv_image(1, 0, 0xF1, entries), 2, 64, {0, bytes_of("LINE-CARD")}},
        {"serial, long header",
         tlv_image(3, 0, 0, entries),
         3,
         16,
         {0, bytes_of("SN0123456789ABCD")}},
        {"version from the entry", tlv_image(1, 0x47, 0, entries), 5, 64, {0, bytes_of("1.23")}},
        {"type from the entry", tlv_image(1, 0, 0xF1, entries), 6, 64, {0, integer(300)}},
        {"type from the header", tlv_image(1, 0, 0xF2, entries), 6, 4, {0, integer(0xF2)}},
        {"type, no room", tlv_image(1, 0, 0x23, entries), 6, 3, {-1, {}}},
        {"type, no entry", tlv_image(1, 0, 0xF1, tlv_entry(2, {1})), 6, 64, {-1, {}}},
        {"type of two bytes", tlv_image(1, 0, 0xF1, tlv_entry(6, {1, 2})), 6, 64, {-1, {}}},
        {"type of five bytes",
         tlv_image(1, 0, 0xF1, tlv_entry(6, {1, 2, 3, 4, 5})),
         6,
         64,
         {-1, {}}},
        {"serial too long", tlv_image(1, 0, 0, entries), 3, 10, {-1, {}}},
        {"a later one fits", tlv_image(1, 0, 0, long_then_short), 3, 10, {0, bytes_of("SHORT")}},
        {"unknown type", tlv_image(1, 0, 0, entries), 0, 64, {-1, {}}},
        {"version from the header",
         tlv_image(1, 0x12, 0, tlv_entry(2, {1})),
         5,
         4,
         {0, bytes_of("1.20")}},
        {"nibble over nine",
         tlv_image(1, 0x1A, 0, tlv_entry(2, {1})),
         5,
         5,
         {0, bytes_of("1.100")}},
        {"version, no room", tlv_image(1, 0x12, 0, tlv_entry(2, {1})), 5, 3, {-1, {}}},
        {"an entry past the area", tlv_image(1, 0, 0, {9, 1, 0, 3, 200, 'x'}), 3, 255, {-1, {}}},
        {"half an entry at the end", tlv_image(1, 0, 0, {9, 1, 0, 3}), 3, 64, {-1, {}}},
        {"an empty entry", tlv_image(1, 0, 0, {9, 0, 3, 0}), 3, 64, {0, {}}},
    };
    for (const Row &row : kRows) {
        put(row.image);
        EXPECT_EQ(query(row.type, row.capacity), row.answer) << row.what;
    }
}

TEST_F(TlvTest, ValidationAndItsReads) {
    Bytes version1 = tlv_image(1, 0, 0x23, tlv_entry(3, {'x'}));
    ASSERT_EQ(version1[5], 3) << "the shortest data area";
    Bytes longest(242, 0);
    struct Row {
        const char *what;
        std::size_t at;
        std::uint8_t byte;
        int code;
        std::size_t transfers;
        const char *message;
    };
    const Row kRows[] = {
        {"valid", 0, 1, 0, 2, ""},
        {"flag", 1, 0x7D, -1, 1, "E2prom flag ERROR, flag:7d.\n"},
        {"length 2", 5, 2, -1, 1, "E2prom TLV LEN error, LEN:2.\n"},
        {"length 245", 5, 245, -1, 1, "E2prom TLV LEN error, LEN:245.\n"},
        {"length 65283", 4, 255, -1, 1, "E2prom TLV LEN error, LEN:65283.\n"},
        {"checksum", 10, 0x42, -1, 2, "ERROR:old checksum:322, new checksum:289.\n"},
        {"version 2 passes unchecked", 0, 2, 0, 1, ""},
    };
    for (const Row &row : kRows) {
        Bytes image = version1;
        image[row.at] = row.byte;
        put(image);
        chassis.clear_log();
        std::uint8_t header[10];
        EXPECT_THAT(
            logged_by(DFD_DEBUG_ERR,
                      [&] { EXPECT_EQ(dfd_get_e2prom_info(kBus, kTlvAddr, header), row.code); }),
            testing::StartsWith(row.message))
            << row.what;
        EXPECT_EQ(count(Op::transfer), row.transfers) << row.what;
    }
    put(tlv_image(1, 0, 0, tlv_entry(1, longest)));
    std::uint8_t header[10];
    EXPECT_EQ(dfd_get_e2prom_info(kBus, kTlvAddr, header), 0) << "length 244";
    std::uint16_t length = 0;
    memcpy(&length, header + 4, sizeof length);
    EXPECT_EQ(length, 244) << "in host order";
    put(Bytes(256, 0xFF));
    EXPECT_EQ(logged_by(DFD_DEBUG_ERR, [] { EXPECT_EQ(query(3).code, -1); }),
              "E2prom flag ERROR, flag:ff.\n");
}

TEST_F(TlvTest, BadParametersAndSilentChips) {
    std::uint8_t header[10] = {};
    std::uint8_t buf[8];
    int len = 8;
    int none = 0;
    EXPECT_EQ(dfd_get_e2prom_info(nullptr, kTlvAddr, header), -22);
    EXPECT_EQ(dfd_get_e2prom_info(kBus, kTlvAddr, nullptr), -22);
    EXPECT_EQ(sdd_get_e2prom_info_by_type(kBus, 3, kTlvAddr, nullptr, &len), -22);
    EXPECT_EQ(sdd_get_e2prom_info_by_type(kBus, 3, kTlvAddr, buf, nullptr), -22);
    EXPECT_EQ(sdd_get_e2prom_info_by_type(kBus, 3, kTlvAddr, buf, &none), -22);
    EXPECT_EQ(
        logged_by(DFD_DEBUG_ERR,
                  [&] { EXPECT_EQ(dfd_get_tlv_data(kBus, kTlvAddr, 3, header, buf, &none), -22); }),
        "Invalid parameter!\n")
        << "no capacity comes before no data";
    EXPECT_EQ(
        logged_by(DFD_DEBUG_ERR,
                  [&] { EXPECT_EQ(dfd_get_tlv_data(kBus, kTlvAddr, 3, header, buf, &len), -22); }),
        "No TVL data.\n");
    EXPECT_TRUE(chassis.log().empty());
    EXPECT_EQ(
        logged_by(DFD_DEBUG_ERR, [&] { EXPECT_EQ(dfd_get_e2prom_info(kBus, 0x52, header), -1); }),
        "Failed to get e2prom info: dev /dev/i2c-2 0x52, offset: 0(ret -1)\r\n"
        "Read eeprom error(dev: /dev/i2c-2, addr: 52).\n");
    // The header's read succeeds; the check's, then the data area's fails.
    put(tlv_image(1, 0x12, 0, tlv_entry(3, {'x'})));
    chassis.fail({.addr = kTlvAddr, .skip = 1, .count = 5, .error = 0, .result = -9});
    EXPECT_THAT(logged_by(DFD_DEBUG_ERR, [] { EXPECT_EQ(query(3).code, -1); }),
                EndsWith("Read eeprom error(dev name:/dev/i2c-2, addr: 0x51).\n"));
    const auto fail_data_area = [&] {
        chassis.fail({.addr = kTlvAddr, .skip = 2, .count = 5, .error = 0, .result = -9});
    };
    fail_data_area();
    EXPECT_THAT(logged_by(DFD_DEBUG_ERR, [] { EXPECT_EQ(query(3).code, -9); }),
                EndsWith("Get TLV data error.\n"));
    fail_data_area();
    EXPECT_EQ(dfd_set_fan_info_tlv(kBus, kTlvAddr, "X", nullptr), -9);
    fail_data_area();
    EXPECT_EQ(query(5), (Answer{0, bytes_of("1.20")})) << "any failure leads to the header";
}

TEST_F(TlvTest, TraceShowsTheWalk) {
    put(tlv_image(1, 0, 0x23, tlv_entry(3, {'x'})));
    EXPECT_THAT(logged_by(DFD_DEBUG_VBOSE, [] { EXPECT_EQ(query(2).code, -1); }),
                testing::MatchesRegex(
                    "Len:9, chechsum_low:0x1, high:0x21, checksum:0x121\\.\nTLV Len:2\ntlv: 0x.*, "
                    "tlv->type: 0x3, tlv->len: 0x1 \\*tlv_len: 0x3\nNot support to get info: "
                    "2\\.\n"));
}

TEST_F(TlvTest, VersionTwoClaimsAreReadAsFarAsTheBusGoes) {
    Bytes image = tlv_image(2, 0, 0xF1, tlv_entry(3, bytes_of("SN")));
    for (const auto &[length, code] : {std::pair{0x1000, 0}, {0xFFFF, -1}}) {
        image[8] = static_cast<std::uint8_t>(length >> 8);
        image[9] = static_cast<std::uint8_t>(length);
        put(image);
        EXPECT_EQ(query(3).code, code) << length;
        EXPECT_EQ(dfd_set_fan_info_tlv(kBus, kTlvAddr, "X", nullptr), -1);
        EXPECT_EQ(chassis.slave(2, kTlvAddr), image)
            << "writing it back would wrap over the header";
    }
}

TEST_F(TlvTest, UpdateRewritesEntriesInPlaceWithTheChecksum) {
    const Bytes entries = tlv_entry(3, bytes_of("ABCDEFGH")) + tlv_entry(5, bytes_of("1.23\0")) +
                          tlv_entry(5, bytes_of("v")) + tlv_entry(3, bytes_of("12345678"));
    struct Row {
        const char *what;
        std::uint8_t version;
        const char *sn;
        const char *hw;
        Bytes after;
    };
    const Bytes shorter = tlv_entry(3, Bytes{'X', 'Y', 'Z', 0, 'E', 'F', 'G', 'H'}) +
                          tlv_entry(5, bytes_of("1.23\0")) + tlv_entry(5, bytes_of("v")) +
                          tlv_entry(3, Bytes{'X', 'Y', 'Z', 0, '5', '6', '7', '8'});
    const Bytes version = tlv_entry(3, bytes_of("ABCDEFGH")) +
                          tlv_entry(5, Bytes{'9', '.', 0, '3'}) + tlv_entry(5, bytes_of("v")) +
                          tlv_entry(3, bytes_of("12345678"));
    for (const Row &row : {Row{"every matching entry", 1, "XYZ", nullptr, shorter},
                           Row{"version 2", 2, "XYZ", "", shorter},
                           Row{"nothing given: a fresh checksum", 2, nullptr, "", entries},
                           Row{"version text", 1, "", "9.", version},
                           Row{"too long by the terminator", 1, "12345678", "1.24", entries}}) {
        Bytes before = tlv_image(row.version, 0x12, 0x23, entries);
        if (row.version == 2) {
            before[10 + entries.size()] ^= 0xFF;  // unchecked, and renewed
        }
        put(before);
        EXPECT_EQ(dfd_set_fan_info_tlv(kBus, kTlvAddr, row.sn, row.hw), 0) << row.what;
        EXPECT_EQ(chassis.slave(2, kTlvAddr), tlv_image(row.version, 0x12, 0x23, row.after))
            << row.what;
        chassis.advance_us(100000);
    }
    put(Bytes(256, 0));
    EXPECT_EQ(dfd_set_card_info_tlv(kBus, kTlvAddr, "X", "Y"), -1);
}

TEST_F(TlvTest, WritesGoInAlignedChunksWithPauses) {
    const Bytes data = {1, 2, 3, 4, 5, 6, 7};
    EXPECT_EQ(dfd_write_e2prom(kBus, kTlvAddr, 2, data.data(), 7), 0);
    EXPECT_THAT(i2c_writes(), ElementsAre(Bytes{2, 1, 2}, Bytes{4, 3, 4, 5, 6}, Bytes{8, 7}));
    EXPECT_EQ(chassis.slept_us(), 30000U);
    EXPECT_EQ(dfd_write_e2prom(kBus, kTlvAddr, 0, data.data(), 0), 0);
    EXPECT_EQ(i2c_writes().size(), 3U);
    // The third chunk fails: the message names its offset, the first two stay written.
    chassis.fail({.addr = kTlvAddr, .offset = 0x18, .count = 0});
    EXPECT_EQ(
        logged_by(DFD_DEBUG_ERR,
                  [&] { EXPECT_EQ(dfd_write_e2prom(kBus, kTlvAddr, 0x12, data.data(), 7), -1); }),
        "Failed to get e2prom info: dev /dev/i2c-2 0x51, offset: 24(ret -1)\r\n");
    EXPECT_EQ(chassis.slave(2, kTlvAddr)[0x17], 6);
    EXPECT_EQ(chassis.slave(2, kTlvAddr)[0x18], 0xFF);
}

// Why the tools ask the bus first: all transfers succeed.
TEST_F(TlvTest, AnAdapterThatIgnoresNoStartDestroysTheImageUnnoticed) {
    chassis.describe("[[bus]]\nnumber = 2\nnostart = false\n");
    put(tlv_image(1, 0x10, 7, tlv_entry(3, bytes_of("SN0123456789"))));
    ASSERT_EQ(query(3).code, 0);
    EXPECT_EQ(dfd_set_fan_info_tlv(kBus, kTlvAddr, "NEW", nullptr), 0);
    EXPECT_EQ(query(3).code, -1);
}

TEST_F(TlvTest, UpdateReportsWhereItFailed) {
    put(tlv_image(1, 0, 0, tlv_entry(3, bytes_of("ABCDEFGH"))));
    chassis.fail({.addr = kTlvAddr, .offset = 6, .skip = 1, .count = 0, .error = EIO});
    EXPECT_EQ(dfd_set_fan_info_tlv(kBus, kTlvAddr, "X", nullptr), -1) << "data area";
    chassis.clear_faults();
    chassis.fail({.addr = kTlvAddr, .offset = 16, .count = 0, .error = 0, .result = -9});
    EXPECT_EQ(dfd_set_fan_info_tlv(kBus, kTlvAddr, "X", nullptr), -9) << "checksum: the I2C code";
}

TEST_F(TlvTest, WithoutMemoryNothingIsReadOrWritten) {
    if (!dfd_test::kAllocationsCanFail) {
        GTEST_SKIP() << "the sanitizer owns the allocator";
    }
    const Bytes image = tlv_image(1, 0x12, 0xF1, tlv_entry(3, bytes_of("ABCDEFGH")));
    put(image);
    struct Row {
        const char *what;
        std::function<int()> call;
        int code;
        const char *message;
    };
    for (const Row &row :
         {Row{"serial", [] { return query(3).code; }, -12, "Allocate buffer(len:10) error!\n"},
          Row{"type", [] { return query(6).code; }, -12, "Allocate buffer(len:10) error!\n"},
          Row{"version: from the header", [] { return query(5).code; }, 0,
              "Allocate buffer(len:10) error!\n"},
          Row{"update", [] { return dfd_set_fan_info_tlv(kBus, kTlvAddr, "X", "Y"); }, -12, ""}}) {
        const dfd_test::FailingCalls failing(dfd_test::LibcCall::allocation);
        EXPECT_EQ(logged_by(DFD_DEBUG_ERR, [&] { EXPECT_EQ(row.call(), row.code) << row.what; }),
                  row.message)
            << row.what;
        EXPECT_TRUE(failing.all_happened());
    }
    EXPECT_TRUE(i2c_writes().empty());
    EXPECT_EQ(chassis.slave(2, kTlvAddr), image);
}

// Values go out as they are stored, without a terminator; what is behind them stays.
TEST_F(TlvTest, DirtyBuffersKeepWhatIsNotDelivered) {
    const Bytes entries = tlv_entry(2, bytes_of("NAME")) + tlv_entry(3, {}) +
                          tlv_entry(6, {0, 0, 0, 9}) + tlv_entry(6, {0, 0, 0, 8}) +
                          tlv_entry(5, bytes_of(std::string("1.0\0", 4)));
    const Bytes no_version = tlv_entry(2, bytes_of("NAME"));
    struct Row {
        std::uint8_t version;
        Bytes entries;
        std::uint32_t type;
        int capacity, code, len;
        const char *bytes;
    };
    for (const Row &row :
         {Row{1, entries, 2, 8, 0, 4, "NAME~~~~"}, Row{1, entries, 2, 4, 0, 4, "NAME"},
          Row{1, entries, 2, 3, -1, 3, "~~~"}, Row{2, entries, 2, 8, 0, 4, "NAME~~~~"},
          Row{1, entries, 3, 8, 0, 0, "~~~~~~~~"}, Row{1, entries, 5, 8, 0, 4, "1.0|~~~~"},
          Row{1, no_version, 5, 8, 0, 4, "9.90~~~~"}, Row{1, no_version, 5, 4, 0, 4, "9.90"},
          Row{1, no_version, 5, 3, -1, 3, "~~~"}, Row{2, no_version, 5, 8, 0, 4, "9.90~~~~"},
          Row{2, no_version, 6, 8, -1, 8, "~~~~~~~~"},
          Row{1, no_version, 3, 8, -1, 8, "~~~~~~~~"}}) {
        put(tlv_image(row.version, 0x99, 0xF1, row.entries));
        DirtyBuffer buf(static_cast<std::size_t>(row.capacity));
        int len = row.capacity;
        EXPECT_EQ(sdd_get_e2prom_info_by_type(kBus, row.type, kTlvAddr, buf.data(), &len),
                  row.code);
        EXPECT_EQ(len, row.len);
        EXPECT_EQ(buf.shown(), row.bytes) << row.type;
    }
    put(tlv_image(1, 0, 0xF1, entries));
    EXPECT_EQ(query(6, 4), (Answer{0, integer(9)})) << "the first entry that holds a type";
}

TEST_F(TlvTest, MessagesNameTheirFunctions) {
    const Bytes good = tlv_image(1, 0x12, 0xF1, tlv_entry(3, bytes_of("SERIAL")));
    std::uint8_t header[10] = {1, 0x7E, 0, 0, 0, 0};
    char buf[8];
    int len = 8;
    const auto fail_from = [&](unsigned skip) {
        chassis.fail({.addr = kTlvAddr, .skip = skip, .count = 5, .error = EIO});
    };
    struct Row {
        const char *what;
        std::function<void()> prepare;
        std::function<void()> call;
        const char *functions;
    };
    const std::function<void()> nothing = [] {};
    const Row kRows[] = {
        {"read", [&] { fail_from(0); }, [] { query(3); }, "dfd_read_e2prom dfd_get_e2prom_info "},
        {"check", [&] { fail_from(1); }, [] { query(3); },
         "dfd_read_e2prom dfd_check_e2prom_info "},
        {"data", [&] { fail_from(2); }, [] { query(3); }, "dfd_read_e2prom dfd_get_tlv_data "},
        {"data of an update", [&] { fail_from(2); },
         [] { dfd_set_fan_info_tlv(kBus, kTlvAddr, "X", ""); },
         "dfd_read_e2prom dfd_set_fan_info_tlv "},
        {"write", [&] { fail_from(3); }, [] { dfd_set_fan_info_tlv(kBus, kTlvAddr, "X", ""); },
         "dfd_write_e2prom "},
        {"parameters of a query", nothing,
         [&] { sdd_get_e2prom_info_by_type(kBus, 3, kTlvAddr, nullptr, &len); },
         "sdd_get_e2prom_info_by_type "},
        {"parameters of a look-up", nothing,
         [&] { dfd_get_tlv_data(kBus, kTlvAddr, 3, nullptr, buf, &len); }, "dfd_get_tlv_data "},
        {"no data", nothing, [&] { dfd_get_tlv_data(kBus, kTlvAddr, 3, header, buf, &len); },
         "dfd_get_tlv_data "},
        {"parameters of the header", nothing, [&] { dfd_get_e2prom_info(kBus, kTlvAddr, nullptr); },
         "dfd_get_e2prom_info "},
        {"flag", [&] { put(Bytes(256, 0xFF)); }, [] { query(3); }, "dfd_check_e2prom_info "},
    };
    for (const Row &row : kRows) {
        put(good);
        row.prepare();
        EXPECT_EQ(functions_logged_by(DFD_DEBUG_ERR, row.call), row.functions) << row.what;
        chassis.clear_faults();
        chassis.advance_us(100000);
    }
    put(good);
    EXPECT_EQ(functions_logged_by(DFD_DEBUG_VBOSE, [] { query(2); }),
              "dfd_check_e2prom_info dfd_get_tlv_data dfd_get_tlv_data dfd_get_tlv_data ");
}

TEST_F(TlvTest, HeadersAndAreasAtTheirLimits) {
    // A short header is read with the first bytes of its data.
    put(tlv_image(1, 0x12, 0x23, tlv_entry(3, bytes_of("AB"))));
    DirtyBuffer header(12);
    auto *const bytes = reinterpret_cast<std::uint8_t *>(header.data());
    EXPECT_EQ(dfd_get_e2prom_info(kBus, kTlvAddr, bytes), 0);
    EXPECT_EQ(Bytes(bytes, bytes + 4), (Bytes{1, 0x7E, 0x12, 0x23}));
    EXPECT_EQ(header.shown().substr(6),
              "\x03\x02"
              "AB~~");
    // The longest data area that a long header can have in the chip, and one byte more.
    for (const auto &[size, code] : {std::pair{242U, 0}, {243U, -1}}) {
        Bytes image = tlv_image(2, 0, 0, tlv_entry(9, Bytes(240, 'x')));
        image[8] = 0;
        image[9] = static_cast<std::uint8_t>(size + 2);
        put(image);
        chassis.clear_log();
        EXPECT_EQ(logged_by(DFD_DEBUG_ERR,
                            [&, expected = code] {
                                EXPECT_EQ(dfd_set_fan_info_tlv(kBus, kTlvAddr, "X", "Y"), expected);
                            }),
                  code == 0 ? "" : "E2prom TLV LEN error, LEN:245.\n");
        EXPECT_EQ(i2c_writes().empty(), code != 0);
        chassis.advance_us(100000);
    }
}

// Headers of an EEPROM decide by themselves, whatever the caller's buffer held.
TEST_F(TlvTest, ChecksOfAHeaderInMemory) {
    const Bytes image = tlv_image(1, 0x12, 0x23, tlv_entry(3, bytes_of("SERIAL")));
    put(image);
    EXPECT_EQ(dfd_check_e2prom_info(kBus, kTlvAddr, nullptr), 0);
    struct Row {
        std::uint8_t version, flag;
        std::uint16_t length;
        int valid;
        std::size_t transfers;
    };
    for (const Row &row : {Row{1, 0x7E, 8, 1, 1}, Row{1, 0x7E, 9, 0, 1}, Row{2, 0x7E, 8, 0, 1},
                           Row{1, 0x7F, 8, 0, 0}, Row{1, 0x7E, 2, 0, 0}, Row{1, 0x7E, 3, 0, 1},
                           Row{1, 0x7E, 244, 0, 1}, Row{1, 0x7E, 245, 0, 0}}) {
        std::uint8_t header[10];
        memset(header, 0xA5, sizeof header);
        header[0] = row.version;
        header[1] = row.flag;
        memcpy(header + (row.version == 1 ? 4 : 8), &row.length, sizeof row.length);
        chassis.clear_log();
        EXPECT_EQ(dfd_check_e2prom_info(kBus, kTlvAddr, header), row.valid) << row.length;
        EXPECT_EQ(count(Op::transfer), row.transfers) << row.length;
    }
    // A long header of version 3 is checked like one of version 1.
    Bytes version3 = tlv_image(3, 0x12, 0x23, tlv_entry(3, bytes_of("SERIAL")));
    put(version3);
    EXPECT_EQ(query(3), (Answer{0, bytes_of("SERIAL")}));
    version3[12] ^= 1;
    put(version3);
    EXPECT_EQ(query(3).code, -1);
}

}  // namespace
