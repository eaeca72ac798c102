// SPDX-License-Identifier: MIT
#include "support/library_test.h"

namespace {

using dfd_test::Bytes;
using dfd_test::bytes_of;
using dfd_test::e2prom_image;
using dfd_test::logged_by;
using dfd_test::tlv_entry;
using dfd_test::tlv_image;
using dfd_test::operator+;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using vchassis::Op;

constexpr char kBus[] = "/dev/i2c-2";
constexpr int kAddr = 0x51;

class TlvTest : public dfd_test::LibraryTest {
  protected:
    TlvTest() { add_e2prom(2, kAddr, Bytes(256, 0xFF)); }
    void put(const Bytes &image) { chassis.set_slave(2, kAddr, 0, image); }
    // A query by type: the code and the bytes delivered.
    struct Answer {
        int code;
        Bytes bytes;
        bool operator==(const Answer &) const = default;
    };
    static Answer query(std::uint32_t type, int capacity = 64) {
        Bytes buf(256, 0xEE);
        int len = capacity;
        const int code = sdd_get_e2prom_info_by_type(kBus, type, kAddr, buf.data(), &len);
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
                      [&] { EXPECT_EQ(dfd_get_e2prom_info(kBus, kAddr, header), row.code); }),
            testing::StartsWith(row.message))
            << row.what;
        EXPECT_EQ(count(Op::transfer), row.transfers) << row.what;
    }
    put(tlv_image(1, 0, 0, tlv_entry(1, longest)));
    std::uint8_t header[10];
    EXPECT_EQ(dfd_get_e2prom_info(kBus, kAddr, header), 0) << "length 244";
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
    EXPECT_EQ(dfd_get_e2prom_info(nullptr, kAddr, header), -22);
    EXPECT_EQ(dfd_get_e2prom_info(kBus, kAddr, nullptr), -22);
    EXPECT_EQ(sdd_get_e2prom_info_by_type(kBus, 3, kAddr, nullptr, &len), -22);
    EXPECT_EQ(sdd_get_e2prom_info_by_type(kBus, 3, kAddr, buf, nullptr), -22);
    EXPECT_EQ(sdd_get_e2prom_info_by_type(kBus, 3, kAddr, buf, &none), -22);
    EXPECT_EQ(dfd_get_tlv_data(kBus, kAddr, 3, header, buf, &none), -22);
    EXPECT_EQ(
        logged_by(DFD_DEBUG_ERR,
                  [&] { EXPECT_EQ(dfd_get_tlv_data(kBus, kAddr, 3, header, buf, &len), -22); }),
        "No TVL data.\n");
    EXPECT_TRUE(chassis.log().empty());
    EXPECT_EQ(
        logged_by(DFD_DEBUG_ERR, [&] { EXPECT_EQ(dfd_get_e2prom_info(kBus, 0x52, header), -1); }),
        "Failed to get e2prom info: dev /dev/i2c-2 0x52, offset: 0(ret -1)\r\n"
        "Read eeprom error(dev: /dev/i2c-2, addr: 52).\n");
    // The header's read succeeds; the check's, then the data area's fails.
    put(tlv_image(1, 0x12, 0, tlv_entry(3, {'x'})));
    chassis.fail({.addr = kAddr, .skip = 1, .count = 5, .error = 0, .result = -9});
    EXPECT_THAT(logged_by(DFD_DEBUG_ERR, [] { EXPECT_EQ(query(3).code, -1); }),
                EndsWith("Read eeprom error(dev name:/dev/i2c-2, addr: 0x51).\n"));
    const auto fail_data_area = [&] {
        chassis.fail({.addr = kAddr, .skip = 2, .count = 5, .error = 0, .result = -9});
    };
    fail_data_area();
    EXPECT_THAT(logged_by(DFD_DEBUG_ERR, [] { EXPECT_EQ(query(3).code, -9); }),
                EndsWith("Get TLV data error.\n"));
    fail_data_area();
    EXPECT_EQ(dfd_set_fan_info_tlv(kBus, kAddr, "X", nullptr), -9);
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
        EXPECT_EQ(dfd_set_fan_info_tlv(kBus, kAddr, "X", nullptr), -1);
        EXPECT_EQ(chassis.slave(2, kAddr), image) << "writing it back would wrap over the header";
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
        EXPECT_EQ(dfd_set_fan_info_tlv(kBus, kAddr, row.sn, row.hw), 0) << row.what;
        EXPECT_EQ(chassis.slave(2, kAddr), tlv_image(row.version, 0x12, 0x23, row.after))
            << row.what;
        chassis.advance_us(100000);
    }
    put(Bytes(256, 0));
    EXPECT_EQ(dfd_set_card_info_tlv(kBus, kAddr, "X", "Y"), -1);
}

TEST_F(TlvTest, WritesGoInAlignedChunksWithPauses) {
    const Bytes data = {1, 2, 3, 4, 5, 6, 7};
    EXPECT_EQ(dfd_write_e2prom(kBus, kAddr, 2, data.data(), 7), 0);
    EXPECT_THAT(i2c_writes(), ElementsAre(Bytes{2, 1, 2}, Bytes{4, 3, 4, 5, 6}, Bytes{8, 7}));
    EXPECT_EQ(chassis.slept_us(), 30000U);
    EXPECT_EQ(dfd_write_e2prom(kBus, kAddr, 0, data.data(), 0), 0);
    EXPECT_EQ(i2c_writes().size(), 3U);
    // The third chunk fails: the message names its offset, the first two stay written.
    chassis.fail({.addr = kAddr, .offset = 0x18, .count = 0});
    EXPECT_EQ(
        logged_by(DFD_DEBUG_ERR,
                  [&] { EXPECT_EQ(dfd_write_e2prom(kBus, kAddr, 0x12, data.data(), 7), -1); }),
        "Failed to get e2prom info: dev /dev/i2c-2 0x51, offset: 24(ret -1)\r\n");
    EXPECT_EQ(chassis.slave(2, kAddr)[0x17], 6);
    EXPECT_EQ(chassis.slave(2, kAddr)[0x18], 0xFF);
}

TEST_F(TlvTest, UpdateReportsWhereItFailed) {
    put(tlv_image(1, 0, 0, tlv_entry(3, bytes_of("ABCDEFGH"))));
    chassis.fail({.addr = kAddr, .offset = 6, .skip = 1, .count = 0, .error = EIO});
    EXPECT_EQ(dfd_set_fan_info_tlv(kBus, kAddr, "X", nullptr), -1) << "data area";
    chassis.clear_faults();
    chassis.fail({.addr = kAddr, .offset = 16, .count = 0, .error = 0, .result = -9});
    EXPECT_EQ(dfd_set_fan_info_tlv(kBus, kAddr, "X", nullptr), -9) << "checksum: the I2C code";
}

}  // namespace
