// SPDX-License-Identifier: MIT
#include "support/library_test.h"

namespace {

using dfd_test::Bytes;
using dfd_test::bytes_of;
using dfd_test::DirtyBuffer;
using dfd_test::e2prom_image;
using dfd_test::functions_logged_by;
using dfd_test::kBus;
using dfd_test::logged_by;
using dfd_test::operator+;
using testing::EndsWith;
using vchassis::Op;

constexpr int kLegacyAddr = 0x53;
constexpr int kNameAt = 0x20;
constexpr int kVersionAt = 0x40;

class LegacyTest : public dfd_test::LibraryTest {
  protected:
    LegacyTest() {
        add_e2prom(2, kLegacyAddr,
                   e2prom_image({{0, {0x2A}},
                                 {1, bytes_of("1234567890ABC")},
                                 {14, {0x01, 0x32}},
                                 {kNameAt, bytes_of("PSU-AC-1200 ")},
                                 {kVersionAt, bytes_of("205")}}));
    }
    Bytes stored(std::size_t at, std::size_t size) const {
        const Bytes image = chassis.slave(2, kLegacyAddr);
        const auto from = image.begin() + static_cast<std::ptrdiff_t>(at);
        return {from, from + static_cast<std::ptrdiff_t>(size)};
    }
    static std::pair<int, std::string> fan(std::uint32_t type) {
        char buf[16] = "ends in no NUL.";
        int len = 0;  // not looked at
        const int code = sdd_get_e2prom_legacy_info_by_type(kBus, type, kLegacyAddr, buf, &len);
        EXPECT_TRUE(type != 5 || buf[len] == '\0');
        return {code, std::string(buf, static_cast<std::size_t>(len))};
    }
    static std::pair<int, std::string> power(std::uint32_t type, int offset) {
        char buf[16] = "ends in no NUL.";
        int len = 0;
        const int code =
            sdd_get_e2prom_legacy_power_info_by_type(kBus, type, kLegacyAddr, offset, buf, &len);
        EXPECT_TRUE(type != 5 || buf[len] == '\0');
        return {code, std::string(buf, static_cast<std::size_t>(len))};
    }
};

using Found = std::pair<int, std::string>;

TEST_F(LegacyTest, FieldsByInformationType) {
    EXPECT_EQ(fan(3), Found(0, "1234567890ABC"));
    EXPECT_EQ(fan(5), Found(0, "V1.23"));
    std::uint32_t type = 0;
    int len = 0;
    EXPECT_EQ(sdd_get_e2prom_legacy_info_by_type(kBus, 6, kLegacyAddr, &type, &len), 0);
    EXPECT_EQ(type, 0x2AU);
    EXPECT_EQ(len, 4);
    EXPECT_EQ(fan(2), Found(-1, ""));
    EXPECT_EQ(power(2, kNameAt), Found(0, "PSU-AC-1200 "));
    EXPECT_EQ(power(5, kVersionAt), Found(0, "2.05"));
    chassis.clear_log();
    EXPECT_EQ(power(3, kVersionAt), Found(-1, ""));
    EXPECT_EQ(count(Op::transfer), 0U);
    EXPECT_EQ(sdd_get_e2prom_legacy_info_by_type(kBus, 3, kLegacyAddr, nullptr, &len), -22);
    EXPECT_EQ(sdd_get_e2prom_legacy_power_info_by_type(kBus, 2, kLegacyAddr, 0, &type, nullptr),
              -22);
}

TEST_F(LegacyTest, FailedReadsNameWhatTheyWereFor) {
    struct Row {
        std::function<int()> call;
        const char *message;
    };
    char buf[16];
    int len = 16;
    const Row kRows[] = {
        {[&] { return sdd_get_e2prom_legacy_info_by_type(kBus, 3, kLegacyAddr, buf, &len); },
         "Read fan eeprom error(dev: /dev/i2c-2, addr: 53).\n"},
        {[] { return dfd_set_fan_info_legacy(kBus, kLegacyAddr, nullptr, nullptr, "1.00"); },
         "Read fan eeprom error(dev: /dev/i2c-2, addr: 53).\n"},
        {[&] {
             return sdd_get_e2prom_legacy_power_info_by_type(kBus, 2, kLegacyAddr, 0x20, buf, &len);
         },
         "Read power eeprom name error(dev: /dev/i2c-2, addr: 53, offset:20).\n"},
        {[&] {
             return sdd_get_e2prom_legacy_power_info_by_type(kBus, 5, kLegacyAddr, 0x40, buf, &len);
         },
         "Read power eeprom hw error(dev: /dev/i2c-2, addr: 53, offset:40).\n"},
        {[] { return dfd_set_power_info_legacy(kBus, kLegacyAddr, 0x40, "1.00"); },
         "Read power eeprom error(dev: /dev/i2c-2, addr: 53, offset: 40).\n"},
    };
    chassis.fail({.addr = kLegacyAddr, .count = 0, .error = 0, .result = -9});
    for (const Row &row : kRows) {
        EXPECT_THAT(logged_by(DFD_DEBUG_ERR, [&] { EXPECT_EQ(row.call(), -9); }),
                    EndsWith("(ret -9)\r\n" + std::string(row.message)));
    }
}

TEST_F(LegacyTest, MessagesNameTheirFunctions) {
    char buf[16];
    int len = 16;
    struct Row {
        std::function<void()> call;
        const char *functions;
    };
    const auto expect_all = [](std::uint32_t gate, const std::vector<Row> &rows) {
        for (const Row &row : rows) {
            EXPECT_EQ(functions_logged_by(gate, row.call), row.functions);
        }
    };
    const auto fan_query = [&](void *to, int *capacity) {
        return [=] { sdd_get_e2prom_legacy_info_by_type(kBus, 3, kLegacyAddr, to, capacity); };
    };
    const auto power_query = [&](std::uint32_t type, void *to, int *capacity) {
        return [=] {
            sdd_get_e2prom_legacy_power_info_by_type(kBus, type, kLegacyAddr, 0, to, capacity);
        };
    };
    const auto set_fan = [&](const char *sn, const char *hw) {
        return [=, this] {
            dfd_set_fan_info_legacy(kBus, kLegacyAddr, nullptr, sn, hw);
            chassis.advance_us(100000);
        };
    };
    const auto set_power = [&](const char *hw) {
        return [=, this] {
            dfd_set_power_info_legacy(kBus, kLegacyAddr, kVersionAt, hw);
            chassis.advance_us(100000);
        };
    };
    constexpr char kSn[] = "1234567890ABC";
    expect_all(DFD_DEBUG_ERR,
               {{fan_query(nullptr, &len), "sdd_get_e2prom_legacy_info_by_type "},
                {fan_query(buf, nullptr), "sdd_get_e2prom_legacy_info_by_type "},
                {power_query(2, nullptr, &len), "sdd_get_e2prom_legacy_power_info_by_type "},
                {power_query(5, buf, nullptr), "sdd_get_e2prom_legacy_power_info_by_type "},
                {set_fan("12", nullptr), "dfd_set_fan_info_legacy "},
                {set_fan(kSn, "12.3"), "dfd_set_fan_info_legacy "},
                {set_power("12.3"), "dfd_set_power_info_legacy "}});
    expect_all(DFD_DEBUG_VBOSE,
               {{set_fan(nullptr, ""), "dfd_set_fan_info_legacy "},
                {set_fan(kSn, nullptr), "dfd_set_fan_info_legacy "},
                {set_fan("", "1.23"),
                 "dfd_set_fan_info_legacy dfd_set_fan_info_legacy dfd_set_fan_info_legacy "},
                {set_power(""), "dfd_set_power_info_legacy "},
                {set_power("1.23"), "dfd_set_power_info_legacy dfd_set_power_info_legacy "}});
    chassis.fail({.addr = kLegacyAddr, .offset = 0, .skip = 1, .count = 5});
    expect_all(DFD_DEBUG_ERR,
               {{set_fan(kSn, nullptr), "dfd_write_e2prom dfd_set_fan_info_legacy "}});
    chassis.clear_faults();
    chassis.fail({.addr = kLegacyAddr, .count = 0});
    expect_all(
        DFD_DEBUG_ERR,
        {{fan_query(buf, &len), "dfd_read_e2prom sdd_get_e2prom_legacy_info_by_type "},
         {power_query(2, buf, &len), "dfd_read_e2prom sdd_get_e2prom_legacy_power_info_by_type "},
         {power_query(5, buf, &len), "dfd_read_e2prom sdd_get_e2prom_legacy_power_info_by_type "},
         {set_fan(kSn, nullptr), "dfd_read_e2prom dfd_set_fan_info_legacy "},
         {set_power("1.23"), "dfd_read_e2prom dfd_set_power_info_legacy "}});
}

// Versions end in a terminator, names and serial numbers in what the buffer held.
TEST_F(LegacyTest, DirtyBuffersKeepWhatIsNotDelivered) {
    struct Row {
        bool is_power;
        std::uint32_t type;
        std::size_t size;
        int len;
        const char *bytes;
    };
    for (const Row &row :
         {Row{false, 3, 14, 13, "1234567890ABC~"}, Row{false, 3, 13, 13, "1234567890ABC"},
          Row{false, 5, 8, 5, "V1.23|~~"}, Row{true, 2, 13, 12, "PSU-AC-1200 ~"},
          Row{true, 5, 6, 4, "2.05|~"}, Row{true, 5, 5, 4, "2.05|"}}) {
        DirtyBuffer buf(row.size);
        int len = 0;
        EXPECT_EQ(row.is_power ? sdd_get_e2prom_legacy_power_info_by_type(
                                     kBus, row.type, kLegacyAddr,
                                     row.type == 2 ? kNameAt : kVersionAt, buf.data(), &len)
                               : sdd_get_e2prom_legacy_info_by_type(kBus, row.type, kLegacyAddr,
                                                                    buf.data(), &len),
                  0);
        EXPECT_EQ(len, row.len) << row.bytes;
        EXPECT_EQ(buf.shown(), row.bytes);
    }
    // The widest version: two digits before the point, two behind it.
    chassis.set_slave(2, kLegacyAddr, 14, Bytes{0xFF, 0xA5});
    DirtyBuffer buf(7);
    int len = 0;
    EXPECT_EQ(sdd_get_e2prom_legacy_info_by_type(kBus, 5, kLegacyAddr, buf.data(), &len), 0);
    EXPECT_EQ(buf.shown(), "Vff.5a|");
    EXPECT_EQ(len, 6);
    DirtyBuffer type(5);
    EXPECT_EQ(sdd_get_e2prom_legacy_info_by_type(kBus, 6, kLegacyAddr, type.data(), &len), 0);
    std::uint32_t value = 0;
    memcpy(&value, type.data(), sizeof value);
    EXPECT_EQ(value, 0x2AU);
    EXPECT_EQ(type.shown().back(), '~');
}

TEST_F(LegacyTest, TraceSaysWhatAnUpdateChanges) {
    EXPECT_EQ(logged_by(DFD_DEBUG_VBOSE,
                        [&] {
                            dfd_set_fan_info_legacy(kBus, kLegacyAddr, nullptr, nullptr, "1.23");
                            chassis.advance_us(100000);
                            dfd_set_fan_info_legacy(kBus, kLegacyAddr, nullptr, "1234567890ABC",
                                                    "");
                            dfd_set_fan_info_legacy(kBus, kLegacyAddr, nullptr, "", nullptr);
                            dfd_set_power_info_legacy(kBus, kLegacyAddr, kVersionAt, nullptr);
                        }),
              "Fan set sn:do nothing\nFan hw strtol:0x123Fan hw now:0x1 0x32\n"
              "Fan set hw:do nothing\nSet fan do nothing, both sn and hw are empty!\n"
              "Set power do nothing, hw are empty!\n");
}

TEST_F(LegacyTest, FanUpdateWritesTheWholeRecord) {
    struct Row {
        const char *sn;
        const char *hw;
        Bytes record;
        const char *version;
    };
    const std::uint32_t type = 0x155;
    for (const Row &row :
         {Row{"ABCDEFGHIJKLM", "", Bytes{0x55} + bytes_of("ABCDEFGHIJKLM") + Bytes{0x01, 0x32},
              "V1.23"},
          Row{nullptr, "1.2a", Bytes{0x55} + bytes_of("ABCDEFGHIJKLM") + Bytes{0x01, 0xA2},
              "V1.2a"},
          Row{"1234567890ABC", "9.07", Bytes{0x55} + bytes_of("1234567890ABC") + Bytes{0x09, 0x70},
              "V9.07"}}) {
        EXPECT_EQ(dfd_set_fan_info_legacy(kBus, kLegacyAddr, &type, row.sn, row.hw), 0);
        EXPECT_EQ(stored(0, 16), row.record);
        chassis.advance_us(100000);
        EXPECT_EQ(fan(5), Found(0, row.version));
    }
    EXPECT_EQ(dfd_set_fan_info_legacy(kBus, kLegacyAddr, nullptr, nullptr, "1.00"), 0);
    EXPECT_EQ(stored(0, 1), Bytes{0x55}) << "no type given";
}

TEST_F(LegacyTest, RefusedTextsWriteNothing) {
    const Bytes before = chassis.slave(2, kLegacyAddr);
    const std::uint32_t type = 9;
    struct Row {
        const char *sn;
        const char *hw;
        int code;
        std::size_t reads;
        const char *message;
    };
    for (const Row &row :
         {Row{"123456789012", "1.23", -1, 1, "Fan sn lenth error:12, needed lenth:13\n"},
          Row{"1234567890ABC", "12.3", -1, 1, "HW format must x.yz, now is:12.3"},
          Row{nullptr, "1.234", -1, 1, "HW format must x.yz, now is:1.234"},
          Row{nullptr, nullptr, 0, 0, ""}, Row{"", "", 0, 0, ""}}) {
        chassis.clear_log();
        EXPECT_EQ(logged_by(DFD_DEBUG_ERR,
                            [&] {
                                EXPECT_EQ(dfd_set_fan_info_legacy(kBus, kLegacyAddr, &type, row.sn,
                                                                  row.hw),
                                          row.code);
                            }),
                  row.message);
        EXPECT_EQ(count(Op::transfer), row.reads);
    }
    EXPECT_EQ(dfd_set_power_info_legacy(kBus, kLegacyAddr, kVersionAt, ""), 0);
    EXPECT_EQ(
        logged_by(
            DFD_DEBUG_ERR,
            [] { EXPECT_EQ(dfd_set_power_info_legacy(kBus, kLegacyAddr, kVersionAt, "123"), -1); }),
        "HW format must x.yz, now is:123");
    EXPECT_EQ(chassis.slave(2, kLegacyAddr), before);
}

TEST_F(LegacyTest, PowerVersionIsKeptAsCharacters) {
    EXPECT_EQ(
        logged_by(
            DFD_DEBUG_VBOSE,
            [] { EXPECT_EQ(dfd_set_power_info_legacy(kBus, kLegacyAddr, kVersionAt, "3.1f"), 0); }),
        "Power hw strtol:0x31fPower hw now:0x33 0x31 0x66\n");
    EXPECT_EQ(stored(kVersionAt, 3), bytes_of("31f"));
    chassis.advance_us(100000);
    EXPECT_EQ(power(5, kVersionAt), Found(0, "3.1f"));
    chassis.fail({.addr = kLegacyAddr,
                  .offset = kVersionAt,
                  .skip = 1,
                  .count = 0,
                  .error = 0,
                  .result = -9});
    EXPECT_THAT(logged_by(DFD_DEBUG_ERR,
                          [] {
                              EXPECT_EQ(
                                  dfd_set_power_info_legacy(kBus, kLegacyAddr, kVersionAt, "1.00"),
                                  -1);
                          }),
                EndsWith("Write e2prom error:-9\n"));
}

// The write-protect signals: register 0x30 + index of a CPLD.
class WriteProtectTest : public dfd_test::LibraryTest {
  protected:
    WriteProtectTest() { chassis.describe("[[registers]]\npath = \"/dev/cpld0\"\nsize = 256\n"); }
    static std::string signal(int index, const char *source = "localbus") {
        const std::string at = "_" + std::to_string(index) + "=";
        return "e2_write_protect.mode" + at + "config\ne2_write_protect.src" + at + source +
               "\ne2_write_protect.frmt" + at + "byte\ne2_write_protect.len" + at +
               "1\ne2_write_protect.fpath" + at + "/dev/cpld0\ne2_write_protect.reg_offset" + at +
               std::to_string(0x30 + index) + "\n";
    }
};

TEST_F(WriteProtectTest, GroupsSucceedWhenOneSignalCanBeWritten) {
    start(signal(0) + signal(1) + signal(4) + signal(7) + signal(8, "none") + signal(10));
    struct Row {
        int target;
        int code;
        std::vector<int> written;
    };
    for (const Row &row :
         {Row{DFD_WP_BOARD, 0, {0}}, Row{DFD_WP_FANS, 0, {1, 4}}, Row{DFD_WP_SUBCARDS, 0, {7}},
          Row{DFD_WP_BACKPLANE, 0, {10}}, Row{2, -6, {}}, Row{11, -6, {}}}) {
        for (const int enable : {7, 0}) {
            chassis.clear_log();
            EXPECT_EQ(dfd_ctl_e2_write_pro(row.target, enable), row.code) << row.target;
            EXPECT_EQ(count(Op::write), row.written.size()) << row.target;
            for (const int index : row.written) {
                EXPECT_EQ(chassis.reg("/dev/cpld0", static_cast<std::uint32_t>(0x30 + index)),
                          enable != 0 ? 255 : 0);
            }
        }
    }
    const std::string log =
        logged_by(DFD_DEBUG_ERR, [] { EXPECT_EQ(dfd_ctl_e2_write_pro(DFD_WP_SUBCARDS, 0), 0); });
    EXPECT_THAT(log, testing::HasSubstr("set subcard6 e2 write proctect fail, rv=-6\r\n"));
    EXPECT_THAT(log, testing::HasSubstr("set subcard8 e2 write proctect fail, rv=-7\r\n"));
    EXPECT_THAT(logged_by(DFD_DEBUG_ERR, [] { dfd_ctl_e2_write_pro(DFD_WP_FANS, 0); }),
                testing::Not(testing::HasSubstr("proctect")))
        << "failures of fans are silent";
}

TEST_F(WriteProtectTest, TheBoardReportsTheEngineCode) {
    start(signal(0, "none"));
    EXPECT_THAT(
        logged_by(DFD_DEBUG_ERR, [] { EXPECT_EQ(dfd_ctl_e2_write_pro(DFD_WP_BOARD, 1), -7); }),
        EndsWith("set board e2 write proctect fail, rv=-7\r\n"));
}

TEST_F(WriteProtectTest, NothingConfiguredIsNotSupported) {
    start("");
    for (const auto &[target, functions] :
         {std::pair{DFD_WP_BOARD, "dfd_info_set_int dfd_ctl_e2_write_pro "},
          {DFD_WP_BACKPLANE, "dfd_info_set_int dfd_ctl_e2_write_pro "},
          {DFD_WP_FANS, "dfd_info_set_int dfd_info_set_int dfd_info_set_int dfd_info_set_int "}}) {
        EXPECT_EQ(functions_logged_by(DFD_DEBUG_ERR,
                                      [target = target] { dfd_ctl_e2_write_pro(target, 1); }),
                  functions);
    }
    for (const int target : {DFD_WP_BOARD, DFD_WP_FANS, DFD_WP_SUBCARDS, DFD_WP_BACKPLANE}) {
        EXPECT_EQ(dfd_ctl_e2_write_pro(target, 1), -6) << target;
    }
    EXPECT_THAT(logged_by(DFD_DEBUG_ERR, [] { dfd_ctl_e2_write_pro(DFD_WP_BOARD, 1); }),
                EndsWith("set board e2 write proctect not support\r\n"));
    EXPECT_THAT(logged_by(DFD_DEBUG_ERR, [] { dfd_ctl_e2_write_pro(DFD_WP_BACKPLANE, 1); }),
                EndsWith("set backplane10 e2 write proctect fail, rv=-6\r\n"));
}

}  // namespace
