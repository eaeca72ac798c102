// SPDX-License-Identifier: MIT
#include <functional>
#include <memory>
#include <numeric>
#include <random>
#include <type_traits>

#include "support/libc_calls.h"
#include "support/library_test.h"

namespace {

using dfd_test::Bytes;
using dfd_test::bytes_of;
using dfd_test::DirtyBuffer;
using dfd_test::e2prom_image;
using dfd_test::functions_logged_by;
using dfd_test::logged_by;
using dfd_test::tlv_entry;
using dfd_test::tlv_image;
using dfd_test::operator+;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr char kBus[] = "/dev/i2c-2";
constexpr int kAddr = 0x52;

void put_checksum(Bytes &bytes) {
    bytes.back() = 0;
    bytes.back() = static_cast<std::uint8_t>(-std::accumulate(bytes.begin(), bytes.end(), 0));
}

Bytes common_header(std::uint8_t product_blocks) {
    Bytes header = {1, 0, 0, 0, product_blocks, 0, 0, 0};
    put_checksum(header);
    return header;
}

// A product info area with these fields as 8-bit text, padded to `blocks` blocks.
Bytes product_area(const std::vector<std::string> &fields, std::uint8_t blocks) {
    Bytes area = {1, blocks, 25};
    for (const std::string &field : fields) {
        area.push_back(static_cast<std::uint8_t>(0xC0 | field.size()));
        area.insert(area.end(), field.begin(), field.end());
    }
    area.push_back(0xC1);
    area.resize(blocks * 8U);
    put_checksum(area);
    return area;
}

const std::vector<std::string> kFields = {"MAKER", "PSU-650", "P/N", "123", "SN0001", "", "FID"};

class FruTest : public dfd_test::LibraryTest {
  protected:
    FruTest() { add_e2prom(2, kAddr, Bytes(256, 0xFF)); }
    void put(const Bytes &area) {
        // What stands behind the area can be told apart.
        Bytes image(256);
        std::iota(image.begin(), image.end(), std::uint8_t{0});
        chassis.set_slave(2, kAddr, 0, image);
        chassis.set_slave(2, kAddr, 0, common_header(1) + area);
        chassis.advance_us(100000);
    }
    Bytes area(std::size_t size) const {
        const Bytes image = chassis.slave(2, kAddr);
        return {image.begin() + 8, image.begin() + 8 + static_cast<std::ptrdiff_t>(size)};
    }
    using Query = int (*)(const char *, std::uint32_t, std::uint16_t, void *, int *);
    static std::pair<int, std::string> query(Query function, std::uint32_t type,
                                             int capacity = 64) {
        char buf[300] = "untouched";
        int len = capacity;
        const int code = function(kBus, type, kAddr, buf, &len);
        EXPECT_TRUE(code == 0 || (len == capacity && std::string(buf) == "untouched"));
        return {code, code == 0 ? std::string(buf, static_cast<std::size_t>(len)) : ""};
    }
    static int fru_data(const char *dev, std::uint32_t type, std::uint16_t addr, void *buf,
                        int *len) {
        return dfd_get_fru_data(dev, addr, type, buf, len);
    }
};

using Found = std::pair<int, std::string>;

TEST_F(FruTest, FieldsByInformationType) {
    put(product_area(kFields, 8));
    EXPECT_EQ(query(fru_data, 2), Found(0, "PSU-650"));
    EXPECT_EQ(query(fru_data, 6), Found(0, "PSU-650"));
    EXPECT_EQ(query(fru_data, 3), Found(0, "SN0001"));
    EXPECT_EQ(query(fru_data, 5), Found(0, "123"));
    EXPECT_EQ(query(fru_data, 2, 4), Found(0, "PSU-")) << "a small buffer cuts";
    EXPECT_THAT(logged_by(DFD_DEBUG_ERR, [] { EXPECT_EQ(query(fru_data, 4).first, -1); }),
                EndsWith("Not support to get info: 4.\n"));
    chassis.set_slave(2, kAddr, 7, Bytes{0});
    EXPECT_THAT(logged_by(DFD_DEBUG_ERR, [] { EXPECT_EQ(query(fru_data, 2).first, -1); }),
                HasSubstr("Failed to validate common header\n"
                          "Read eeprom info head error(dev: /dev/i2c-2, addr: 52, buf: 0x"));
    // An end mark in front, or a field that runs past the area, ends the list: a success.
    put(product_area({}, 2));
    EXPECT_EQ(query(fru_data, 2), Found(0, ""));
    Bytes overrun = product_area(kFields, 8);
    overrun[9] = 0xFF;  // the product name: 63 bytes
    put_checksum(overrun);
    put(overrun);
    EXPECT_EQ(query(fru_data, 2), Found(0, ""));
    EXPECT_EQ(query(fru_data, 3), Found(0, ""));
}

TEST_F(FruTest, ParserFillsWhatIsAskedFor) {
    std::vector<std::string> fields = kFields;
    fields.insert(fields.end(), {"custom one", "two", "three"});
    const Bytes area = product_area(fields, 10);
    std::vector<fru_field_t> all(7);
    std::vector<fru_field_t> custom(2);
    std::uint8_t language = 0;
    fru_product_info_t info = {&language, &all[0], &all[1], &all[2],       &all[3],
                               &all[4],   &all[5], &all[6], custom.data(), 2};
    fru_field_offsets offsets{};
    ASSERT_EQ(ipmi_fru_product_info_area(area.data(), 80, &info, offsets), 0);
    EXPECT_EQ(language, 25);
    for (std::size_t i = 0; i < all.size(); ++i) {
        EXPECT_EQ(std::string(reinterpret_cast<char *>(all[i].data)), fields[i]);
        EXPECT_EQ(all[i].len, fields[i].size());
        EXPECT_EQ(offsets[2 * i + 1], fields[i].size());
        EXPECT_EQ(area[offsets[2 * i]], 0xC0 | fields[i].size());
    }
    EXPECT_STREQ(reinterpret_cast<char *>(custom[0].data), "custom one");
    EXPECT_STREQ(reinterpret_cast<char *>(custom[1].data), "two");
    const Bytes empty = product_area({}, 2);
    EXPECT_EQ(ipmi_fru_product_info_area(empty.data(), 16, &info, offsets), 0);
    EXPECT_EQ(all[6].len + custom[1].len + all[6].data[0] + custom[1].data[0], 0U)
        << "fields that are not there are cleared";
    fru_product_info_t nothing{};
    EXPECT_EQ(ipmi_fru_product_info_area(area.data(), 80, &nothing, offsets), 0);
    EXPECT_EQ(ipmi_fru_product_info_area(nullptr, 80, &nothing, offsets), -1);
    EXPECT_EQ(ipmi_fru_product_info_area(area.data(), 0, &nothing, offsets), -1);
    EXPECT_EQ(ipmi_fru_product_info_area(area.data(), 80, nullptr, offsets), -1);
    EXPECT_EQ(ipmi_fru_product_info_area(area.data(), 80, &nothing, nullptr), -1);
}

TEST_F(FruTest, ChecksAndTheirMessages) {
    Bytes header = common_header(1);
    header.push_back(0x5A);
    EXPECT_EQ(logged_by(DFD_DEBUG_VBOSE,
                        [&] { EXPECT_EQ(ipmi_validate_common_hdr(header.data(), 8), 0); }),
              "SUCCESS: Validated [0x1] in entry_1 of fru_data\n"
              "SUCCESS: Checksum matches:[0xFE]\n");
    header[7] ^= 1;
    EXPECT_EQ(logged_by(DFD_DEBUG_ERR,
                        [&] { EXPECT_EQ(ipmi_validate_common_hdr(header.data(), 7), -1); }),
              "Incomplete fru data file. Size:[7]\n");
    header[0] = 2;
    EXPECT_EQ(logged_by(DFD_DEBUG_ERR, [&] { EXPECT_EQ(verify_fru_data(header.data(), 8), -1); }),
              "Invalid entry:[2] in byte-0\n");
    EXPECT_EQ(verify_fru_data(header.data(), 0), -1);
    const Bytes three = {1, 2, 3};
    EXPECT_EQ(calculate_crc(three.data(), 3), 0xFA);
    EXPECT_EQ(calculate_crc(three.data(), 0), 0);
    static_assert(std::is_same_v<decltype(calculate_crc(nullptr, 0)), int>);
}

TEST_F(FruTest, WrongChecksumsShowTheByteBehindTheArea) {
    const std::string mismatch = "Checksum mismatch. Calculated:[0xFE], Embedded:[0x5A]\n";
    const std::string bad_header = mismatch + "Failed to validate common header\n";
    const std::string bad_area = mismatch + "Failed to validate fru product info data\n";
    const Bytes broken = {1, 0, 0, 0, 1, 0, 0, 0xFF, 0x5A};
    chassis.set_slave(2, kAddr, 0, broken);
    fru_product_info_t info{};
    fru_field_offsets offsets{};
    struct Row {
        const char *what;
        std::function<int(Bytes &)> check;
        std::string log;
    };
    const Row kRows[] = {
        {"bytes", [](Bytes &area) { return verify_fru_data(area.data(), 8); }, mismatch},
        {"header", [](Bytes &area) { return ipmi_validate_common_hdr(area.data(), 8); },
         bad_header},
        {"header read",
         [](Bytes &area) { return dfd_get_frue2prom_info(kBus, kAddr, area.data()); }, bad_header},
        {"area",
         [&](Bytes &area) { return ipmi_fru_product_info_area(area.data(), 8, &info, offsets); },
         bad_area},
        {"update of a full area",
         [&](Bytes &area) {
             return ipmi_fru_sn_hw_updata(area.data(), 8, 8, "SN", nullptr, offsets);
         },
         bad_area}};
    for (const Row &row : kRows) {
        Bytes area = broken;
        EXPECT_EQ(logged_by(DFD_DEBUG_ERR, [&] { EXPECT_EQ(row.check(area), -1); }), row.log)
            << row.what;
    }
    // In buffers of the library's own a zero stands behind a header or an area.
    const std::string header_log =
        "Checksum mismatch. Calculated:[0xFE], Embedded:[0x0]\nFailed to validate common header\n";
    const auto update = [] { return dfd_set_fan_info_fru(kBus, kAddr, "SN0002", nullptr); };
    const auto look_up = [] { return query(fru_data, 2).first; };
    EXPECT_THAT(logged_by(DFD_DEBUG_ERR, [&] { EXPECT_EQ(look_up(), -1); }),
                StartsWith(header_log));
    EXPECT_EQ(logged_by(DFD_DEBUG_ERR, [&] { EXPECT_EQ(update(), -1); }), header_log);
    Bytes area = product_area(kFields, 8);
    area.back() ^= 0xFF;
    put(area);
    EXPECT_THAT(logged_by(DFD_DEBUG_ERR, [&] { EXPECT_EQ(look_up(), -1); }),
                HasSubstr("Embedded:[0x0]\n"));
    // An update reads to the end of the chip: the byte behind the area is the chip's.
    EXPECT_THAT(logged_by(DFD_DEBUG_ERR, [&] { EXPECT_EQ(update(), -1); }),
                HasSubstr("Embedded:[0x48]\n"));
}

// A field that runs past the area ends the walk: its pair and those behind it stay as they were.
TEST_F(FruTest, OffsetsOfRefusedFieldsAreLeft) {
    struct Row {
        std::size_t at;  // of the type/length byte that is changed
        std::uint8_t byte;
        std::vector<std::uint8_t> pairs;
    };
    // MAKER at 3, PSU-650 at 9, P/N at 17, ...
    for (const Row &row : {Row{3, 0xFE, {}}, Row{9, 0xF7, {3, 5}}, Row{9, 0xC1, {3, 5}},
                           Row{17, 0xEF, {3, 5, 9, 7}}, Row{9, 0xF6, {3, 5, 9, 54}}}) {
        Bytes area_bytes = product_area(kFields, 8);
        area_bytes[row.at] = row.byte;
        put_checksum(area_bytes);
        fru_field_offsets offsets;
        memset(offsets, 0xA5, sizeof offsets);
        std::vector<fru_field_t> fields(7);
        for (fru_field_t &field : fields) {
            memset(&field, 0xA5, sizeof field);
        }
        fru_product_info_t info = {nullptr,    &fields[0], &fields[1], &fields[2], &fields[3],
                                   &fields[4], &fields[5], &fields[6], nullptr,    0};
        EXPECT_EQ(ipmi_fru_product_info_area(area_bytes.data(), 64, &info, offsets), 0);
        Bytes expected(row.pairs);
        expected.resize(sizeof offsets, 0xA5);
        EXPECT_EQ(Bytes(offsets, offsets + sizeof offsets), expected) << row.at;
        for (std::size_t i = row.pairs.size() / 2; i < fields.size(); ++i) {
            const auto *const bytes = reinterpret_cast<const std::uint8_t *>(&fields[i]);
            EXPECT_EQ(std::count(bytes, bytes + sizeof fields[i], 0),
                      static_cast<std::ptrdiff_t>(sizeof fields[i]))
                << i;
        }
    }
}

TEST_F(FruTest, BadParametersAndSilentChips) {
    const Bytes valid = common_header(1) + Bytes{0};
    EXPECT_EQ(verify_fru_data(valid.data(), 8), 0);
    EXPECT_EQ(verify_fru_data(valid.data(), 0), -1);
    EXPECT_EQ(verify_fru_data(nullptr, 8), -1);
    EXPECT_EQ(ipmi_validate_common_hdr(nullptr, 8), -1);
    char one = 0;
    int size = 1;
    EXPECT_EQ(logged_by(DFD_DEBUG_ERR,
                        [&] { EXPECT_EQ(dfd_get_fru_data(nullptr, kAddr, 2, &one, &size), -22); }),
              "Invalid parameter!\n");

    std::uint8_t buf[8];
    int len = 8;
    int none = 0;
    fru_field_t field{};
    fru_product_info_t info{};
    EXPECT_EQ(dfd_get_frue2prom_info(nullptr, kAddr, buf), -22);
    EXPECT_EQ(dfd_get_frue2prom_info(kBus, kAddr, nullptr), -22);
    EXPECT_EQ(dfd_get_fru_data(nullptr, kAddr, 2, buf, &len), -22);
    EXPECT_EQ(dfd_get_fru_data(kBus, kAddr, 2, buf, &none), -22);
    EXPECT_EQ(dfd_set_fru_product_info(nullptr, &field, 2), -22);
    EXPECT_EQ(dfd_set_fru_product_info(&info, nullptr, 2), -22);
    EXPECT_EQ(dfd_set_fru_product_info(&info, &field, 4), -1);
    info.manufacturer = &field;
    EXPECT_EQ(dfd_set_fru_product_info(&info, &field, 3), 0);
    EXPECT_TRUE(info.manufacturer == nullptr && info.serial_number == &field);
    struct Refusal {
        Query function;
        const char *message;
    };
    for (const Refusal &row :
         {Refusal{fru_data, "Invalid parameter!\n"},
          Refusal{sdd_get_e2prom_info_by_type, "Invalid parameter info by type form e2prom!\n"},
          Refusal{sdd_get_e2prom_info_by_type_fru, "Invalid parameter info by type form e2prom!\n"},
          Refusal{sdd_get_e2prom_info_by_type_fru_compatible,
                  "Invalid fru parameter info by type form e2prom!\n"}}) {
        EXPECT_EQ(
            logged_by(DFD_DEBUG_ERR, [&] { EXPECT_EQ(query(row.function, 2, 0).first, -22); }),
            row.message);
    }
    put(product_area(kFields, 8));
    struct Row {
        int offset;  // of the transfer that fails
        int code;
        const char *message;
    };
    for (const Row &row :
         {Row{9, -22,
              "read eeprom info product_offset(dev: /dev/i2c-2, addr: 52, product offset:1).\n"},
          Row{8, -9, "Get FRU data error.\n"},
          Row{0, -9, "Read eeprom head info error(dev: /dev/i2c-2, addr: 52).\n"}}) {
        for (const bool update : {false, true}) {
            chassis.fail(
                {.addr = kAddr, .offset = row.offset, .count = 5, .error = 0, .result = -9});
            const std::string log = logged_by(DFD_DEBUG_ERR, [&] {
                EXPECT_EQ(update ? dfd_set_fan_info_fru(kBus, kAddr, "SN0002", nullptr)
                                 : query(fru_data, 2).first,
                          row.code);
            });
            EXPECT_THAT(log, HasSubstr(row.message));
        }
    }
    chassis.fail({.addr = kAddr, .offset = 12, .count = 5, .error = 0, .result = -9});
    EXPECT_EQ(dfd_set_fan_info_fru(kBus, kAddr, "SN0002", nullptr), -1) << "the write";
}

TEST_F(FruTest, AnswersFromATlvImageWhenThereIsNoFru) {
    chassis.set_slave(2, kAddr, 0, tlv_image(1, 0x12, 0x23, tlv_entry(3, bytes_of("TLVSN"))));
    EXPECT_EQ(query(sdd_get_e2prom_info_by_type_fru, 3), Found(0, "TLVSN"));
    EXPECT_EQ(query(sdd_get_e2prom_info_by_type_fru_compatible, 5), Found(0, "1.20"));
    EXPECT_EQ(query(sdd_get_e2prom_info_by_type_fru, 2), Found(-1, ""));
}

TEST_F(FruTest, CompatibleVersionIsSpread) {
    struct Row {
        std::string stored;
        int capacity;
        Found found;
    };
    for (const Row &row :
         {Row{"123", 64, {0, "1.23"}}, Row{"1234", 64, {0, "1234"}}, Row{"1.2", 64, {0, "1..2"}},
          Row{"123", 4, {0, "1.23"}}, Row{"12345", 4, {0, "1234"}}, Row{"123", 3, {-22, ""}},
          Row{"", 64, {-22, ""}}, Row{std::string("a\0b", 3), 64, {0, std::string("a\0\0", 3)}}}) {
        std::vector<std::string> fields = kFields;
        fields[3] = row.stored;
        put(product_area(fields, 8));
        EXPECT_EQ(query(sdd_get_e2prom_info_by_type_fru_compatible, 5, row.capacity), row.found)
            << row.stored;
    }
    std::vector<std::string> fields = kFields;
    fields[4] = "ABC";
    fields[3] = "";
    put(product_area(fields, 8));
    EXPECT_EQ(query(sdd_get_e2prom_info_by_type_fru_compatible, 3), Found(0, "ABC"));
    EXPECT_EQ(query(sdd_get_e2prom_info_by_type_fru_compatible, 4), Found(-1, ""));
    EXPECT_EQ(
        logged_by(DFD_DEBUG_ERR, [] { query(sdd_get_e2prom_info_by_type_fru_compatible, 5); }),
        "Return invalid fru info form e2prom!\n");
    EXPECT_THAT(logged_by(DFD_DEBUG_VBOSE, [] { query(sdd_get_e2prom_info_by_type_fru, 3); }),
                HasSubstr("Read eeprom fru success(dev: /dev/i2c-2, addr: 52, buf: 0x"));
}

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
          Row{"claims a block more than the chip has", 25, 8, -1, 0},
          Row{"at its end", 32, 8, -1, 0}}) {
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

TEST_F(FruTest, WithoutMemoryNothingIsReadOrWritten) {
    if (!dfd_test::kAllocationsCanFail) {
        GTEST_SKIP() << "the sanitizer owns the allocator";
    }
    put(product_area(kFields, 8));
    const Bytes before = chassis.slave(2, kAddr);
    chassis.clear_log();
    for (const auto &[update, message] : {std::pair{false, "Allocate buffer(len:64) error!\n"},
                                          {true, "Allocate buffer(len:248) error!\n"}}) {
        const dfd_test::FailingCalls failing(dfd_test::LibcCall::allocation);
        EXPECT_EQ(logged_by(DFD_DEBUG_ERR,
                            [&] {
                                EXPECT_EQ(update ? dfd_set_fan_info_fru(kBus, kAddr, "X", nullptr)
                                                 : query(fru_data, 3).first,
                                          -12);
                            }),
                  message);
        EXPECT_TRUE(failing.all_happened());
    }
    EXPECT_TRUE(i2c_writes().empty());
    EXPECT_EQ(chassis.slave(2, kAddr), before);
}

// Fields go out as they are stored; only the version that is repaired has zeros behind a text.
TEST_F(FruTest, DirtyBuffersKeepWhatIsNotDelivered) {
    std::vector<std::string> fields = kFields;
    fields[1] = std::string("P\0Q", 3);
    put(product_area(fields, 8));
    struct Row {
        Query function;
        std::uint32_t type;
        int capacity, code, len;
        const char *bytes;
    };
    constexpr Query kPlain = sdd_get_e2prom_info_by_type_fru;
    constexpr Query kCompatible = sdd_get_e2prom_info_by_type_fru_compatible;
    for (const Row &row :
         {Row{fru_data, 3, 8, 0, 6, "SN0001~~"}, Row{fru_data, 3, 4, 0, 4, "SN00"},
          Row{kPlain, 5, 8, 0, 3, "123~~~~~"}, Row{kPlain, 2, 8, 0, 3, "P|Q~~~~~"},
          Row{kCompatible, 5, 8, 0, 4, "1.23~~~~"}, Row{kCompatible, 5, 4, 0, 4, "1.23"},
          Row{kCompatible, 5, 3, -22, 3, "~~~"}, Row{kCompatible, 5, 2, 0, 2, "12"},
          Row{kCompatible, 2, 8, 0, 3, "P||~~~~~"}, Row{kCompatible, 3, 3, 0, 3, "SN0"},
          Row{kCompatible, 4, 8, -1, 8, "~~~~~~~~"}}) {
        DirtyBuffer buf(static_cast<std::size_t>(row.capacity));
        int len = row.capacity;
        EXPECT_EQ(row.function(kBus, row.type, kAddr, buf.data(), &len), row.code) << row.bytes;
        EXPECT_EQ(len, row.len) << row.bytes;
        EXPECT_EQ(buf.shown(), row.bytes);
    }
}

TEST_F(FruTest, MessagesNameTheirFunctions) {
    const Bytes good = product_area(kFields, 8);
    Bytes bad = good;
    bad.back() ^= 1;
    const auto fail_at = [&](int offset) {
        chassis.fail({.addr = kAddr, .offset = offset, .count = 5, .error = EIO});
    };
    struct Row {
        const char *what;
        std::function<void()> prepare;
        const char *of_look_up, *of_update;
    };
    const Row kRows[] = {
        {"header", [&] { fail_at(0); }, "dfd_read_e2prom dfd_get_frue2prom_info dfd_get_fru_data ",
         "dfd_read_e2prom dfd_get_frue2prom_info "},
        {"length", [&] { fail_at(9); }, "dfd_read_e2prom dfd_get_fru_data ",
         "dfd_read_e2prom dfd_set_fan_info_fru "},
        {"area", [&] { fail_at(8); }, "dfd_read_e2prom dfd_get_fru_data ",
         "dfd_read_e2prom dfd_set_fan_info_fru "},
        {"checksum", [&] { put(bad); },
         "verify_fru_data ipmi_fru_product_info_area dfd_get_fru_data ",
         "verify_fru_data ipmi_fru_product_info_area dfd_set_fan_info_fru "},
        {"header's checksum",
         [&] {
             chassis.set_slave(2, kAddr, 0, Bytes{1, 1});
         },
         "verify_fru_data ipmi_validate_common_hdr dfd_get_fru_data ",
         "verify_fru_data ipmi_validate_common_hdr "},
        {"header's version", [&] { chassis.set_slave(2, kAddr, 0, Bytes{2}); },
         "verify_fru_data ipmi_validate_common_hdr dfd_get_fru_data ",
         "verify_fru_data ipmi_validate_common_hdr "},
    };
    for (const Row &row : kRows) {
        for (const bool update : {false, true}) {
            put(good);
            row.prepare();
            EXPECT_EQ(functions_logged_by(DFD_DEBUG_ERR,
                                          [&] {
                                              update ? dfd_set_fan_info_fru(kBus, kAddr, "SN", "")
                                                     : query(fru_data, 3).first;
                                          }),
                      update ? row.of_update : row.of_look_up)
                << row.what;
            chassis.clear_faults();
            chassis.advance_us(100000);
        }
    }
    put(good);
    EXPECT_EQ(functions_logged_by(DFD_DEBUG_ERR, [] { query(fru_data, 4); }), "dfd_get_fru_data ");
    EXPECT_EQ(functions_logged_by(DFD_DEBUG_VBOSE,
                                  [] { query(sdd_get_e2prom_info_by_type_fru_compatible, 5); }),
              "dfd_get_fru_data verify_fru_data verify_fru_data dfd_get_fru_data verify_fru_data "
              "verify_fru_data sdd_get_e2prom_info_by_type_fru "
              "sdd_get_e2prom_info_by_type_fru_compatible ");
    Bytes area_bytes = good;
    fru_product_info_t info{};
    fru_field_offsets offsets{};
    ASSERT_EQ(ipmi_fru_product_info_area(area_bytes.data(), 64, &info, offsets), 0);
    int len = 64;
    const Bytes header = common_header(1);
    struct Call {
        std::function<void()> call;
        const char *functions;
    };
    std::uint8_t *const bytes = area_bytes.data();
    for (const Call &row :
         {Call{[&] { ipmi_validate_common_hdr(header.data(), 7); }, "ipmi_validate_common_hdr "},
          Call{[&] { ipmi_fru_product_info_area(bytes, 64, nullptr, offsets); },
               "ipmi_fru_product_info_area "},
          Call{[&] { ipmi_fru_sn_hw_updata(bytes, 64, 64, "x", "y", nullptr); },
               "ipmi_fru_sn_hw_updata "},
          Call{[&] { ipmi_fru_sn_hw_updata(bytes, 64, 64, "SN00011", nullptr, offsets); },
               "ipmi_fru_sn_hw_updata "},
          Call{[&] { ipmi_fru_sn_hw_updata(bytes, 64, 64, nullptr, "1.234", offsets); },
               "ipmi_fru_sn_hw_updata "},
          Call{[&] { ipmi_fru_sn_hw_updata(bytes, 64, 63, "SN0001", nullptr, offsets); },
               "verify_fru_data ipmi_fru_sn_hw_updata "},
          Call{[&] { insert_fru_str(bytes, 64, &len, "x", 5, 0); }, "insert_fru_str "},
          Call{[&] { insert_fru_str(bytes, 64, &len, "SN00011", offsets[8], 9); },
               "insert_fru_str "},
          Call{[&] { dfd_get_frue2prom_info(kBus, kAddr, nullptr); }, "dfd_get_frue2prom_info "},
          Call{[&] { dfd_get_fru_data(kBus, kAddr, 3, nullptr, &len); }, "dfd_get_fru_data "},
          Call{[] { query(sdd_get_e2prom_info_by_type_fru, 3, 0); },
               "sdd_get_e2prom_info_by_type_fru "},
          Call{[] { query(sdd_get_e2prom_info_by_type_fru_compatible, 3, 0); },
               "sdd_get_e2prom_info_by_type_fru_compatible "}}) {
        EXPECT_EQ(functions_logged_by(DFD_DEBUG_ERR, row.call), row.functions);
    }
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

// Any 256 bytes give a result code. Mutations of valid images reach deeper than noise; the
// sanitizers watch for overruns.
TEST_F(FruTest, AnyImageGivesACode) {
    std::mt19937 random(20240601);
    const Bytes seeds[] = {
        e2prom_image({{0, common_header(1)}, {8, product_area(kFields, 8)}}),
        tlv_image(1, 0x12, 0xF1, tlv_entry(3, bytes_of("SERIAL"))),
        tlv_image(2, 0x12, 0xF1, tlv_entry(6, {0, 0, 0, 9})),
    };
    for (int round = 0; round < 300; ++round) {
        Bytes image = seeds[static_cast<std::size_t>(round % 3)];
        for (int i = 0; i < 1 + round % 4; ++i) {
            image[random() % 32] = static_cast<std::uint8_t>(random());
        }
        if (round % 3 == 0) {
            // Right checksums let the damage through to the parser.
            Bytes header(image.begin(), image.begin() + 8);
            header[0] = 1;
            put_checksum(header);
            std::copy(header.begin(), header.end(), image.begin());
            Bytes area_bytes(image.begin() + 8, image.begin() + 72);
            put_checksum(area_bytes);
            std::copy(area_bytes.begin(), area_bytes.end(), image.begin() + 8);
        }
        chassis.set_slave(2, kAddr, 0, image);
        for (const std::uint32_t type : {0U, 2U, 3U, 5U, 6U}) {
            for (const Query function :
                 {sdd_get_e2prom_info_by_type_fru_compatible, sdd_get_e2prom_legacy_info_by_type}) {
                // On the heap and exactly as large as said.
                const int capacity =
                    function == sdd_get_e2prom_legacy_info_by_type ? 13 : 1 + round % 40;
                const auto buf = std::make_unique<char[]>(static_cast<std::size_t>(capacity));
                int len = capacity;
                if (function(kBus, type, kAddr, buf.get(), &len) == 0) {
                    EXPECT_LE(len, capacity);
                }
            }
        }
        dfd_set_fan_info_fru(kBus, kAddr, "SERIAL-NUMBER", "1.23");
        dfd_set_fan_info_tlv(kBus, kAddr, "SERIAL", "1.2");
        chassis.clear_log();
    }
}

}  // namespace
