// SPDX-License-Identifier: MIT
#include <functional>
#include <memory>
#include <random>
#include <type_traits>

#include "hal/e2prom/fru_board.h"
#include "support/libc_calls.h"

namespace {

using namespace dfd_test::fru;

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
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
using vchassis::Op;

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
    Bytes header(8);
    EXPECT_EQ(logged_by(DFD_DEBUG_ERR,
                        [&] { EXPECT_EQ(dfd_get_frue2prom_info(kBus, kAddr, header.data()), -1); }),
              header_log);
    EXPECT_EQ(header, Bytes(broken.begin(), broken.begin() + 8)) << "delivered all the same";
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

// The device type of a TLV image is an integer, also where it is copied like a text, which ends at
// its first zero byte.
TEST_F(FruTest, DeviceTypeOfATlvImageIsAnIntegerInBothQueries) {
    struct Row {
        Bytes entry;
        std::uint32_t type, compatible_type;
    };
    for (const Row &row :
         {Row{{0, 0, 1, 0x2C}, 300, 300}, Row{{1, 2, 3, 4}, 0x01020304, 0x01020304},
          Row{{1, 0, 3, 4}, 0x01000304, 0x0304}, Row{{1, 2, 3, 0}, 0x01020300, 0}}) {
        chassis.set_slave(2, kAddr, 0, tlv_image(1, 0x12, 0xF1, tlv_entry(6, row.entry)));
        for (const auto &[function, type] :
             {std::pair<Query, std::uint32_t>{sdd_get_e2prom_info_by_type_fru, row.type},
              {sdd_get_e2prom_info_by_type_fru_compatible, row.compatible_type}}) {
            std::uint32_t value = 9;
            int len = sizeof value;
            EXPECT_EQ(function(kBus, 6, kAddr, &value, &len), 0);
            EXPECT_EQ(value, type);
            EXPECT_EQ(len, 4);
        }
    }
}

// The bus would cut such an offset, and read what lies at the chip's start.
TEST_F(FruTest, AreasBehindTheEndOfTheChipAreRefused) {
    const Bytes area = product_area(kFields, 8);
    for (const auto &[blocks, code] :
         {std::pair{24, 0}, {31, -1}, {32, -22}, {33, -22}, {255, -22}}) {
        Bytes image(256, 0);
        for (std::size_t i = 0; i < area.size(); ++i) {
            image[(static_cast<std::size_t>(blocks) * 8 + i) % 256] = area[i];
        }
        const Bytes header = common_header(static_cast<std::uint8_t>(blocks));
        std::copy(header.begin(), header.end(), image.begin());
        chassis.set_slave(2, kAddr, 0, image);
        chassis.clear_log();
        const std::string log = logged_by(DFD_DEBUG_ERR, [&, expected = code] {
            EXPECT_EQ(query(fru_data, 3).first, expected);
            EXPECT_EQ(dfd_set_fan_info_fru(kBus, kAddr, "SN0009", nullptr), expected);
        });
        const std::string message =
            "read eeprom info product_offset(dev: /dev/i2c-2, addr: 52, "
            "product offset:" +
            std::to_string(blocks) + ").\n";
        EXPECT_EQ(log, code == -22 ? message + message : log) << blocks;
        EXPECT_EQ(count(Op::transfer) == 2, code == -22) << "the header is all that is read";
        chassis.advance_us(100000);
    }
}

// A look-up takes all bits of the area's length. Behind byte 255 the chip goes on at its start,
// where the header adds up to 0, as does the whole image.
TEST_F(FruTest, AnAreaPastTheEndOfTheChipIsReadOnFromItsStart) {
    constexpr std::size_t kHeaderSize = 8;
    Bytes image(256, 0);
    const Bytes header = common_header(25);
    std::copy(header.begin(), header.end(), image.begin());
    for (const std::uint8_t blocks : {std::uint8_t{7}, std::uint8_t{8}, std::uint8_t{0x27}}) {
        Bytes area = product_area(kFields, blocks);
        area.resize(7 * kHeaderSize);
        put_checksum(area);
        std::copy(area.begin(), area.end(), image.begin() + 200);
        chassis.set_slave(2, kAddr, 0, image);
        EXPECT_EQ(query(fru_data, 3), Found(0, "SN0001")) << int{blocks};
    }
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

TEST_F(FruTest, WithoutMemoryNothingIsReadOrWritten) {
    if (!dfd_test::kAllocationsCanFail) {
        GTEST_SKIP() << "the sanitizer owns the allocator";
    }
    put(product_area(kFields, 8));
    const Bytes before = chassis.slave(2, kAddr);
    chassis.clear_log();
    for (const auto &each : {std::pair{false, "Allocate buffer(len:64) error!\n"},
                             {true, "Allocate buffer(len:248) error!\n"}}) {
        const auto [update, message] = each;
        const dfd_test::FailingCalls failing(dfd_test::LibcCall::allocation);
        EXPECT_EQ(logged_by(DFD_DEBUG_ERR,
                            [&, update = update] {
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
