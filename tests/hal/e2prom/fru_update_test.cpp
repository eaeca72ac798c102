// SPDX-License-Identifier: MIT
#include <algorithm>
#include <climits>
#include <numeric>

#include "hal/e2prom/fru_board.h"

namespace {

using namespace dfd_test::fru;

using dfd_test::Bytes;
using dfd_test::kBus;
using dfd_test::logged_by;
using dfd_test::operator+;
using testing::EndsWith;
using testing::HasSubstr;

TEST_F(FruTest, UpdateRenewsLengthAndChecksum) {
    struct Row {
        const char *what;
        std::string sn;
        const char *hw;
        std::string stored_sn, stored_hw;
        std::uint8_t blocks;
    };
    for (const Row &row :
         {Row{"same length", "SN0002", nullptr, "SN0002", "123", 8},
          Row{"longer: one block more", "SN000203", "", "SN000203", "123", 9},
          Row{"a whole block: one more yet", "SN000100000008", "", "SN000100000008", "123", 10},
          Row{"both", "SN00020", "1.23", "SN00020", "1.23", 10},
          Row{"too long for six bits", std::string(64, 's'), nullptr, "SN0001", "123", 8}}) {
        put(product_area(kFields, 8));
        EXPECT_EQ(dfd_set_card_info_fru(kBus, kAddr, row.sn.c_str(), row.hw), 0) << row.what;
        chassis.advance_us(100000);
        EXPECT_EQ(area(2)[1], row.blocks) << row.what;
        EXPECT_EQ(query(fru_data, 3), Found(0, row.stored_sn)) << row.what;
        EXPECT_EQ(query(fru_data, 5), Found(0, row.stored_hw)) << row.what;
        EXPECT_EQ(query(fru_data, 2), Found(0, "PSU-650")) << row.what;
        const auto growth = row.stored_sn.size() + row.stored_hw.size() - strlen("SN0001123");
        EXPECT_EQ(chassis.slave(2, kAddr)[255], 255 - growth) << row.what << ": the chip's end";
    }
}

TEST_F(FruTest, ShorterFieldKeepsTheLengthByteAndMovesTheChecksum) {
    put(product_area(kFields, 8));
    EXPECT_EQ(dfd_set_fan_info_fru(kBus, kAddr, "S1", nullptr), 0);
    const Bytes after = area(64);
    EXPECT_EQ(after[1], 8);
    EXPECT_EQ(Bytes(after.begin() + 25, after.begin() + 29), (Bytes{0xC2, 'S', '1', 0xC0}));
    EXPECT_EQ(chassis.slave(2, kAddr)[251], 255) << "all that follows moves up";
    EXPECT_EQ(std::accumulate(after.begin(), after.begin() + 60, 0) % 256, 0) << "the new end";
    chassis.advance_us(100000);
    EXPECT_EQ(query(fru_data, 3).first, -1) << "over the stored length the sum does not hold";
}

// The stored length stays, so the sum is made over bytes from behind the area as well.
TEST_F(FruTest, AnAreaWithAShorterFieldIsReadWhereZerosFollowIt) {
    const Bytes area_bytes = product_area(kFields, 8);
    for (const int behind : {0, 0xFF}) {
        for (std::size_t length = 2; length < 6; ++length) {
            put(area_bytes);
            chassis.set_slave(2, kAddr, 72, Bytes(184, static_cast<std::uint8_t>(behind)));
            const std::string sn(length, 'S');
            EXPECT_EQ(dfd_set_fan_info_fru(kBus, kAddr, sn.c_str(), nullptr), 0);
            chassis.advance_us(100000);
            EXPECT_EQ(query(fru_data, 3), behind == 0 ? Found(0, sn) : Found(-1, "")) << length;
            EXPECT_EQ(dfd_set_fan_info_fru(kBus, kAddr, sn.c_str(), nullptr), behind == 0 ? 0 : -1)
                << "what cannot be read is not updated";
            chassis.advance_us(100000);
        }
    }
}

TEST_F(FruTest, UpdateThatDoesNotFitWritesBackWhatItRead) {
    Bytes area_bytes = product_area(kFields, 8);
    for (const int type_code : {0, 1, 2}) {
        area_bytes[25] = static_cast<std::uint8_t>(type_code << 6 | 6);  // the serial number
        put_checksum(area_bytes);
        put(area_bytes);
        const Bytes before = chassis.slave(2, kAddr);
        chassis.clear_log();
        EXPECT_THAT(
            logged_by(DFD_DEBUG_ERR,
                      [] { EXPECT_EQ(dfd_set_fan_info_fru(kBus, kAddr, "SN0002", nullptr), 0); }),
            HasSubstr("FRU str type error.\n"));
        EXPECT_EQ(chassis.slave(2, kAddr), before);
        EXPECT_EQ(i2c_writes().size(), 248U / 4) << "from the area to the end of the chip";
        chassis.advance_us(100000);
    }
    area_bytes[0] = 2;
    put(area_bytes);
    EXPECT_THAT(
        logged_by(DFD_DEBUG_ERR,
                  [] { EXPECT_EQ(dfd_set_fan_info_fru(kBus, kAddr, "SN0002", nullptr), -1); }),
        EndsWith("Failed to validate fru product info data\nanalysis FRU product info error.\n"));
}

// Where the header puts the area, and what an update makes of one that does not end in the chip.
TEST_F(FruTest, AreasAtTheEndOfTheChip) {
    struct Row {
        const char *what;
        std::uint8_t at_blocks, blocks;
        int update;
        std::size_t written;  // bytes
    };
    for (const Row &row :
         {Row{"ends with the chip", 24, 8, 0, 64}, Row{"one block before", 23, 8, 0, 72},
          Row{"claims a block more than the chip has", 25, 8, -1, 0}}) {
        // A read goes on at the chip's start, so that such an area would be whole but for its end.
        Bytes image(256, 0);
        const Bytes area_bytes = product_area(kFields, row.blocks);
        for (std::size_t i = 0; i < area_bytes.size(); ++i) {
            image[(row.at_blocks * 8U + i) % 256] = area_bytes[i];
        }
        const Bytes header = common_header(row.at_blocks);
        std::copy(header.begin(), header.end(), image.begin());
        chassis.set_slave(2, kAddr, 0, image);
        chassis.clear_log();
        const std::string log = logged_by(DFD_DEBUG_ERR, [&] {
            EXPECT_EQ(dfd_set_fan_info_fru(kBus, kAddr, "SN0009", nullptr), row.update) << row.what;
        });
        EXPECT_EQ(log.find("analysis FRU product info error.\n") != std::string::npos,
                  row.update != 0)
            << row.what;
        std::size_t written = 0;
        for (const Bytes &write : i2c_writes()) {
            written += write.size() - 1;
        }
        EXPECT_EQ(written, row.written) << row.what;
        chassis.advance_us(100000);
    }
}

TEST_F(FruTest, UpdateTakesFiveBitsOfTheAreaLengthLookUpAllEight) {
    Bytes area_bytes = product_area(kFields, 8);
    area_bytes[1] = 0x28;
    put_checksum(area_bytes);
    put(area_bytes);
    EXPECT_EQ(query(fru_data, 3).first, -1) << "320 bytes, over which no checksum holds";
    EXPECT_EQ(dfd_set_fan_info_fru(kBus, kAddr, "SN0002", nullptr), 0);
    const Bytes after = area(64);
    EXPECT_EQ(std::string(after.begin() + 26, after.begin() + 32), "SN0002");
    EXPECT_EQ(std::accumulate(after.begin(), after.end(), 0) % 256, 0);
}

TEST_F(FruTest, ReplacementsThatWouldLeaveTheAreaAreRefusedUntouched) {
    Bytes area_bytes = product_area(kFields, 8);
    fru_product_info_t info{};
    fru_field_offsets offsets{};
    ASSERT_EQ(ipmi_fru_product_info_area(area_bytes.data(), 64, &info, offsets), 0);
    const Bytes before = area_bytes;
    struct Row {
        const char *what;
        int capacity;
        std::string sn;
        const char *message;
    };
    for (const Row &row :
         {Row{"no room", 64, "SN00011", "The serial number is too long to insert!\n"},
          Row{"room for the text, not for the block", 70, "SN00011",
              "The serial number is too long to insert!\n"},
          Row{"six bits", 200, std::string(70, 'x'),
              "The serial number is too long to insert!\n"}}) {
        Bytes copy = before;
        copy.resize(static_cast<std::size_t>(row.capacity));
        const Bytes unchanged = copy;
        EXPECT_EQ(logged_by(DFD_DEBUG_ERR,
                            [&] {
                                EXPECT_EQ(ipmi_fru_sn_hw_updata(copy.data(), row.capacity, 64,
                                                                row.sn.c_str(), nullptr, offsets),
                                          -1);
                            }),
                  row.message)
            << row.what;
        EXPECT_EQ(copy, unchanged) << row.what;
    }
    int len = 64;
    EXPECT_EQ(ipmi_fru_sn_hw_updata(area_bytes.data(), 64, 63, nullptr, nullptr, offsets), 0)
        << "nothing to replace, nothing checked";
    EXPECT_EQ(ipmi_fru_sn_hw_updata(area_bytes.data(), 64, 63, "SN0002", nullptr, offsets), -1)
        << "no checksum at this end";
    EXPECT_EQ(insert_fru_str(area_bytes.data(), 64, &len, "SN00011", offsets[8], 0), -1)
        << "growth and text disagree";
    EXPECT_EQ(insert_fru_str(area_bytes.data(), 64, &len, "x", 200, 0), -1);
    EXPECT_EQ(insert_fru_str(area_bytes.data(), 64, &len, "x", offsets[8], INT_MAX), -1);
    len = 65;
    EXPECT_EQ(insert_fru_str(area_bytes.data(), 64, &len, "SN0002", offsets[8], 0), -1);
    EXPECT_EQ(ipmi_fru_sn_hw_updata(area_bytes.data(), 63, 64, "SN0002", nullptr, offsets), -1);
    EXPECT_EQ(area_bytes, before);
    len = 64;
    EXPECT_EQ(insert_fru_str(area_bytes.data(), 64, &len, "SN", offsets[8], 0), 0);
    EXPECT_EQ(std::string(area_bytes.begin() + 25, area_bytes.begin() + 32),
              std::string("\xC6SN\0\0\0\0", 7))
        << "without growth the rest of the field is zeroed";
}

// Replacing a field in memory: where the text, its length, the tail and the checksum end up.
TEST_F(FruTest, FieldsAreReplacedUpToTheEndOfTheBuffer) {
    struct Row {
        const char *what;
        int area_len, capacity, at;
        std::uint8_t type_length;
        std::string text;
        int growth, code, new_len;
    };
    for (const Row &row :
         {Row{"ends with the buffer", 16, 64, 60, 0xC3, "abc", 0, 0, 16},
          Row{"runs past it", 16, 64, 60, 0xC4, "abcd", 0, -1, 16},
          Row{"its old bytes run past it", 16, 64, 60, 0xC4, "a", 0, -1, 16},
          Row{"the first byte", 16, 64, 0, 0xC2, "ab", 0, 0, 16},
          Row{"before the first byte", 16, 64, -1, 0xC2, "ab", 0, -1, 16},
          Row{"behind the last", 16, 64, 64, 0xC2, "ab", 0, -1, 16},
          Row{"type 0", 16, 64, 3, 0x02, "ab", 0, -1, 16},
          Row{"type 1", 16, 64, 3, 0x42, "ab", 0, -1, 16},
          Row{"type 2", 16, 64, 3, 0x82, "ab", 0, -1, 16},
          Row{"longer", 16, 64, 3, 0xC2, "abc", 1, 0, 24},
          Row{"longer by a block", 16, 64, 3, 0xC2, "abcdefghij", 8, 0, 32},
          Row{"no room for the block", 56, 63, 3, 0xC2, "abc", 1, -1, 56},
          Row{"room for the block", 56, 64, 3, 0xC2, "abc", 1, 0, 64},
          Row{"shorter", 16, 64, 3, 0xC4, "ab", -2, 0, 14},
          Row{"down to nothing", 16, 64, 3, 0xC4, "", -4, 0, 12},
          Row{"the most blocks", 2032, 4000, 3, 0xC2, "abc", 1, 0, 2040},
          Row{"more blocks than a byte names", 2040, 4000, 3, 0xC2, "abc", 1, -1, 2040},
          Row{"another growth than the text's", 16, 64, 3, 0xC2, "abc", 2, -1, 16},
          Row{"63 characters", 16, 128, 3, 0xC2, std::string(63, 'm'), 61, 0, 80},
          Row{"64 characters", 16, 128, 3, 0xC2, std::string(64, 'm'), 62, -1, 16}}) {
        const auto capacity = static_cast<std::size_t>(row.capacity);
        Bytes before(capacity + 8);
        std::iota(before.begin(), before.end(), std::uint8_t{1});
        if (row.at >= 0) {
            before[static_cast<std::size_t>(row.at)] = row.type_length;
        }
        Bytes after = before;
        int len = row.area_len;
        EXPECT_EQ(
            insert_fru_str(after.data(), row.capacity, &len, row.text.c_str(), row.at, row.growth),
            row.code)
            << row.what;
        EXPECT_EQ(len, row.new_len) << row.what;
        Bytes expected = before;
        if (row.code == 0) {
            const auto data = expected.begin() + row.at + 1;
            Bytes tail(data + (row.type_length & 0x3F), expected.begin() + row.capacity);
            std::copy(row.text.begin(), row.text.end(), data);
            if (row.growth != 0) {
                expected[static_cast<std::size_t>(row.at)] =
                    static_cast<std::uint8_t>(0xC0 | row.text.size());
                const auto room = capacity - static_cast<std::size_t>(row.at) - 1 - row.text.size();
                tail.resize(std::min({tail.size(), room, std::size_t{256}}));
                std::copy(tail.begin(), tail.end(),
                          data + static_cast<std::ptrdiff_t>(row.text.size()));
            }
            if (row.growth > 0) {
                expected[1] = static_cast<std::uint8_t>(row.new_len / 8);
            }
            Bytes area_bytes(expected.begin(), expected.begin() + row.new_len);
            put_checksum(area_bytes);
            expected[static_cast<std::size_t>(row.new_len) - 1] = area_bytes.back();
        }
        EXPECT_EQ(after, expected) << row.what;
    }
}

TEST_F(FruTest, VersionAloneIsReplaced) {
    put(product_area(kFields, 8));
    EXPECT_EQ(dfd_set_fan_info_fru(kBus, kAddr, nullptr, "456"), 0);
    chassis.advance_us(100000);
    EXPECT_EQ(query(fru_data, 5), Found(0, "456"));
    EXPECT_EQ(query(fru_data, 3), Found(0, "SN0001"));
}

}  // namespace
