// SPDX-License-Identifier: MIT
#include "support/board.h"
#include "support/libc_calls.h"

namespace {

using dfd_test::Bytes;
using dfd_test::bytes_of;
using dfd_test::constant;
using dfd_test::e2prom_image;
using dfd_test::in_own_process;
using dfd_test::logged_by;
using testing::EndsWith;
using vchassis::Op;

constexpr char kE2prom[] = "bp_e2prom_dev.bus_1=4\nbp_e2prom_dev.addr_1=0x56\n";

// A file of fields for backplane 1: where each text stands and how long it is.
constexpr char kFieldFile[] = "V1.0 abBP-SN-0001      00:11:22:33:44:FF 7";

std::string text_field(const std::string &key, int offset, int len, const char *frmt = "buf") {
    const auto line = [&](const char *member, const std::string &value) {
        return key + member + "_1=" + value + "\n";
    };
    return line(".mode", "config") + line(".src", "file") + line(".frmt", frmt) +
           line(".fpath", "/tmp/bspinfo/bp") + line(".reg_offset", std::to_string(offset)) +
           line(".len", std::to_string(len));
}

// The same items of backplane 2, with a file of their own.
std::string of_backplane2(std::string config) {
    for (const auto &[one, two] : {std::pair{"_1=", "_2="}, {"bspinfo/bp", "bspinfo/b2"}}) {
        const std::string_view from = one;
        for (std::size_t at = 0; (at = config.find(from, at)) != std::string::npos; ++at) {
            config.replace(at, from.size(), two);
        }
    }
    return config;
}

std::string fields() {
    return text_field("backplane_hw_ver", 0, 7) + text_field("backplane_sn", 7, 16) +
           text_field("backplane_mac", 23, 17) + text_field("backplane_serial0", 41, 1, "num_str") +
           constant("backplane_serial1", 0x1F2, "_1") + constant("backplane_serial2", 3, "_1") +
           constant("backplane_serial3", 4, "_1");
}

class BackplaneTest : public dfd_test::LibraryTest {
  protected:
    static backplane_info_t sample() {
        backplane_info_t record{};
        record.chassis_type = 5;
        memcpy(record.sn, "BP-SN", 5);
        memcpy(record.mac, "\x00\x11\x22\x33\x44\x55", 6);
        record.serial[0] = 8;
        record.serial[3] = 9;
        record.reserved[5] = 0xAB;
        return record;
    }
    void add_sample_e2prom() {
        const backplane_info_t record = sample();
        const auto *bytes = reinterpret_cast<const std::uint8_t *>(&record);
        add_e2prom(4, 0x56, e2prom_image({{0, Bytes(bytes, bytes + sizeof record)}}));
    }
};

TEST_F(BackplaneTest, RecordFromTheE2promInSevenTransfersOnce) {
    add_sample_e2prom();
    start(kE2prom);
    backplane_info_t record{};
    EXPECT_EQ(sdd_get_backplane_info(1, &record), 0);
    const backplane_info_t expected = sample();
    EXPECT_EQ(memcmp(&record, &expected, sizeof record), 0);
    const auto transfers = chassis.log(Op::transfer);
    ASSERT_EQ(transfers.size(), 7U);
    for (std::size_t i = 0; i < transfers.size(); ++i) {
        EXPECT_EQ(transfers[i].messages[0].bytes, Bytes{static_cast<std::uint8_t>(8 * i)});
        EXPECT_EQ(transfers[i].messages[1].bytes.size(), 8U);
    }
    record = {};
    EXPECT_EQ(sdd_get_backplane_info(1, &record), 0);
    EXPECT_EQ(record.chassis_type, 5);
    EXPECT_EQ(count(Op::transfer), 7U) << "the second answer is the cache's";
    std::uint8_t mac[8] = {};
    EXPECT_EQ(drv_get_bp_mac(1, mac, 6), 0);
    EXPECT_EQ(drv_get_bp_mac(1, mac, 8), 0);
    EXPECT_EQ(Bytes(mac + 4, mac + 8), (Bytes{0x44, 0x55, 0, 0})) << "six bytes, not more";
}

TEST_F(BackplaneTest, FailedReadsAreCachedAndNotReported) {
    add_sample_e2prom();
    start(kE2prom);
    chassis.fail({.addr = 0x56, .offset = 16, .count = 5});
    backplane_info_t record{};
    record.chassis_type = 0x77;
    EXPECT_EQ(sdd_get_backplane_info(1, &record), 0);
    EXPECT_EQ(record.chassis_type, 0x77) << "nothing of a half-read record";
    EXPECT_EQ(record.sn[0], 0);
    record = {};
    EXPECT_EQ(sdd_get_backplane_info(1, &record), 0);
    EXPECT_EQ(record.chassis_type, 0x77);
}

// Two first readers at a time, one while the other waits for its chip: a record that is kept is
// whole, and never written again.
TEST_F(BackplaneTest, TheRecordThatIsWholeFirstStays) {
    add_sample_e2prom();
    start(kE2prom);
    chassis.fail({.addr = 0x56, .offset = 8});
    backplane_info_t slow{};
    backplane_info_t fast{};
    {
        const dfd_test::DuringPauses waiting([&] {
            chassis.set_slave(4, 0x56, 0, Bytes{6});
            EXPECT_EQ(sdd_get_backplane_info(1, &fast), 0);
            chassis.set_slave(4, 0x56, 9, bytes_of("again"));
        });
        EXPECT_EQ(sdd_get_backplane_info(1, &slow), 0);
    }
    EXPECT_EQ(fast.chassis_type, 6);
    EXPECT_EQ(slow.chassis_type, 5) << "each has what it read";
    EXPECT_STREQ(reinterpret_cast<char *>(slow.sn), "again");
    backplane_info_t later{};
    EXPECT_EQ(sdd_get_backplane_info(1, &later), 0);
    EXPECT_EQ(memcmp(&later, &fast, sizeof later), 0);
}

TEST_F(BackplaneTest, RecordFieldByField) {
    chassis.write_file("/tmp/bspinfo/bp", kFieldFile);
    start(fields() + "backplane_scale_mac=1\n");
    backplane_info_t record{};
    record.chassis_type = 0x42;
    EXPECT_EQ(sdd_get_backplane_info(1, &record), 0);
    EXPECT_EQ(record.chassis_type, 0x42) << "no field of this way";
    EXPECT_EQ(Bytes(record.hw_ver, record.hw_ver + 8), bytes_of(std::string("V1.0\0\0\0\0", 8)));
    EXPECT_STREQ(reinterpret_cast<char *>(record.sn), "BP-SN-0001") << "up to the blank";
    EXPECT_EQ(Bytes(record.mac, record.mac + 6), (Bytes{0, 0x11, 0x22, 0x33, 0x45, 0}));
    EXPECT_EQ(Bytes(record.serial, record.serial + 4), (Bytes{7, 0xF2, 3, 4}));
}

TEST_F(BackplaneTest, EachBackplaneHasItsOwnRecord) {
    chassis.write_file("/tmp/bspinfo/bp", kFieldFile);
    chassis.write_file("/tmp/bspinfo/b2", "V2.0 abBP-SN-0002      00:11:22:33:44:EE 8");
    start(fields() + of_backplane2(fields()));
    backplane_info_t first{};
    backplane_info_t second{};
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(sdd_get_backplane_info(1, &first), 0);
        EXPECT_EQ(sdd_get_backplane_info(2, &second), 0);
        EXPECT_STREQ(reinterpret_cast<char *>(first.hw_ver), "V1.0");
        EXPECT_STREQ(reinterpret_cast<char *>(second.hw_ver), "V2.0");
        EXPECT_STREQ(reinterpret_cast<char *>(second.sn), "BP-SN-0002");
        EXPECT_EQ(second.mac[5], 0xEE);
        EXPECT_EQ(second.serial[0], 8);
        EXPECT_EQ(first.serial[0], 7);
    }
}

TEST_F(BackplaneTest, FieldsEndAtTheFirstFailure) {
    chassis.write_file("/tmp/bspinfo/bp", kFieldFile);
    start(text_field("backplane_hw_ver", 0, 7) + text_field("backplane_sn", 7, 19) +
          constant("backplane_serial1", 1, "_1"));
    backplane_info_t record{};
    EXPECT_EQ(logged_by(DFD_DEBUG_ERR, [&] { EXPECT_EQ(sdd_get_backplane_info(1, &record), 0); }),
              "info ctrl[key=0x74000100] buf process fail, rv=-5\r\n"
              "get backplane[1] sn buf fail, rv=-6\r\n");
    EXPECT_STREQ(reinterpret_cast<char *>(record.hw_ver), "V1.0");
    EXPECT_EQ(record.serial[1], 0);
}

TEST_F(BackplaneTest, MacTakesAnAmountWithCarry) {
    struct Row {
        const char *text;
        const char *amount;
        Bytes mac;
    };
    for (const Row &row : {Row{"00:11:22:33:44:FF", "1", {0, 0x11, 0x22, 0x33, 0x45, 0}},
                           Row{"FF:FF:FF:FF:FF:FF", "1", {0, 0, 0, 0, 0, 0}},
                           Row{"00:11:22:33:FF:80", "255", {0, 0x11, 0x22, 0x34, 0, 0x7F}},
                           Row{"00:11:22:33:44:80", "700", {0, 0x11, 0x22, 0x33, 0x45, 0x3C}},
                           Row{"00:11:22:33:44:05", "-6", {0, 0x11, 0x22, 0x33, 0x44, 0xFF}},
                           Row{"00:11:2:33:44:55..", "", {0, 0x11, 2, 0, 0, 0}},
                           Row{"no MAC at all....", "", {0, 0, 0, 0, 0, 0}}}) {
        in_own_process(row.text, [&] {
            chassis.write_file("/tmp/bspinfo/bp", row.text);
            const std::string amount =
                *row.amount != '\0' ? std::string("backplane_scale_mac=") + row.amount : "";
            start(text_field("backplane_mac", 0, 32) + amount);
            std::uint8_t mac[6] = {9, 9, 9, 9, 9, 9};
            EXPECT_EQ(sdd_get_bp_mac(1, mac), 0);
            EXPECT_EQ(Bytes(mac, mac + 6), row.mac) << row.text;
        });
    }
}

TEST_F(BackplaneTest, WriteLiftsProtectionAndLeavesTheCache) {
    add_sample_e2prom();
    chassis.describe("[[registers]]\npath = \"/dev/cpld0\"\nsize = 256\n");
    start(std::string(kE2prom) +
          "e2_write_protect.mode_10=config\ne2_write_protect.src_10=localbus\n"
          "e2_write_protect.frmt_10=byte\ne2_write_protect.len_10=1\n"
          "e2_write_protect.fpath_10=/dev/cpld0\ne2_write_protect.reg_offset_10=7\n");
    backplane_info_t record{};
    ASSERT_EQ(sdd_get_backplane_info(1, &record), 0);
    record.chassis_type = 6;
    chassis.clear_log();
    EXPECT_EQ(sdd_set_backplane_info(1, &record), 0);
    EXPECT_EQ(i2c_writes().size(), 11U);
    EXPECT_EQ(chassis.slept_us(), 110000U);
    EXPECT_EQ(chassis.slave(4, 0x56)[0], 6);
    const auto log = chassis.log();
    std::vector<Bytes> signal;
    for (const auto &event : log) {
        if (event.op == Op::write) {
            signal.push_back(event.bytes);
        }
    }
    EXPECT_EQ(signal, (std::vector<Bytes>{{0}, {255}}));
    EXPECT_EQ(log[2].op, Op::write) << "protection goes first";
    EXPECT_EQ(log[log.size() - 2].op, Op::write) << "and comes back last";
    ASSERT_EQ(sdd_get_backplane_info(1, &record), 0);
    EXPECT_EQ(record.chassis_type, 5) << "the cached record";
    chassis.fail({.addr = 0x56, .count = 0});
    EXPECT_EQ(sdd_set_backplane_info(1, &record), 0) << "a failed write is not reported";
}

TEST_F(BackplaneTest, Refusals) {
    start(kE2prom);
    backplane_info_t record{};
    std::uint8_t byte = 9;
    std::uint8_t mac[6];
    for (const std::uint32_t id : {0U, 3U}) {
        EXPECT_EQ(sdd_get_backplane_info(id, &record), -5);
        EXPECT_EQ(sdd_set_backplane_info(id, &record), -5);
        EXPECT_EQ(drv_get_bp_mac(id, mac, 6), -5);
    }
    EXPECT_EQ(sdd_get_backplane_info(1, nullptr), -5);
    EXPECT_EQ(sdd_set_backplane_info(1, nullptr), -5);
    EXPECT_EQ(sdd_set_backplane_info(2, &record), -17);
    EXPECT_EQ(drv_get_bp_mac(1, nullptr, 6), -5);
    EXPECT_EQ(logged_by(DFD_DEBUG_VBOSE, [&] { EXPECT_EQ(drv_get_bp_mac(1, mac, 5), -5); }),
              "fail buf == NULL OR buf_len = 5 OR id = 1\r\n");
    EXPECT_EQ(sdd_get_bp_serial(1, 4, &byte), -6);
    EXPECT_EQ(logged_by(DFD_DEBUG_ERR, [&] { EXPECT_EQ(sdd_get_bp_serial(1, 2, &byte), -6); }),
              "get backplane[1] serial2 buf fail, rv=-6\r\n");
    EXPECT_EQ(byte, 9);
    EXPECT_EQ(get_backplane_info_from_e2(1, &record), -6);
    int amount = 0;
    EXPECT_EQ(logged_by(DFD_DEBUG_ERR, [&] { EXPECT_EQ(sdd_get_bp_scale_mac(&amount), -6); }),
              "get backplane scale mac config fail, key=0x19000000\r\n");
    EXPECT_EQ(logged_by(DFD_DEBUG_ERR, [&] { EXPECT_EQ(sdd_get_bp_mac(1, mac), -6); }),
              "get backplane[1] mac buf fail, rv=-6\r\n");
    char text[8];
    EXPECT_EQ(logged_by(DFD_DEBUG_ERR, [&] { EXPECT_EQ(sdd_get_bp_hw_ver(1, text, 8), -6); }),
              "get backplane[1] hw version buf fail, rv=-6\r\n");
}

TEST_F(BackplaneTest, ChassisRecordTakesThirtyEightBytes) {
    chassis.write_file("/tmp/bspinfo/bp", std::string("\x05", 1) + std::string(43, 'x'));
    start(text_field("e2_setmac", 0, 44));
    backplane_info_t record{};
    EXPECT_EQ(get_backplane_info_from_e2(1, &record), 0);
    EXPECT_EQ(record.chassis_type, 5);
    EXPECT_EQ(record.serial[3], 'x');
    EXPECT_EQ(record.reserved[0], 0);
    chassis.remove_file("/tmp/bspinfo/bp");
    EXPECT_THAT(
        logged_by(DFD_DEBUG_ERR, [&] { EXPECT_EQ(get_backplane_info_from_e2(1, &record), -7); }),
        EndsWith("get_backplane_info_from_e2 95 -7\n"));
}

TEST(TextFilter, EndsAtTheFirstCharacterThatIsNotGraphic) {
    struct Row {
        const char *src;
        int src_len, capacity, code;
        const char *text;
        int count;
    };
    for (const Row &row : {Row{"AB CD", 5, 8, 0, "AB", 2}, Row{"ABCDEFGH", 8, 8, -5, "", 8},
                           Row{"ABCDEFGH", 8, 9, 0, "ABCDEFGH", 8}, Row{"\x80x", 2, 8, 0, "", 0},
                           Row{"", 0, 1, 0, "", 0}, Row{"x", -1, 8, -8, "", 8}}) {
        char dst[16] = "";
        int len = row.capacity;
        EXPECT_EQ(sdd_get_string_by_buf(reinterpret_cast<const std::uint8_t *>(row.src),
                                        row.src_len, dst, &len),
                  row.code);
        EXPECT_STREQ(dst, row.text);
        EXPECT_EQ(len, row.code == 0 ? row.count : row.capacity);
    }
}

TEST_F(BackplaneTest, CardTypeAndVersionDecideTheFwedCheck) {
    struct Row {
        int type;
        int is_fwed;
    };
    for (const Row &row : {Row{73, 0}, Row{74, 1}, Row{75, 1}, Row{76, 0}}) {
        dfd_test::in_own_process(std::to_string(row.type), [&] {
            write_board("TEST", "card_pid_str_" + std::to_string(row.type) + "_0=TEST\n");
            write_list(static_cast<unsigned>(row.type), "");
            ASSERT_EQ(dev_drv_init(), 0);
            EXPECT_EQ(dfd_check_fwed_v100(), 0);
            EXPECT_EQ(dfd_cfg_card_hw_ver("1.00", 22), -1);
            EXPECT_EQ(dfd_cfg_card_hw_ver(nullptr, 5), -1);
            EXPECT_EQ(dfd_check_fwed_v100(), 0);
            EXPECT_EQ(dfd_cfg_card_hw_ver("1.00", 5), 0);
            EXPECT_EQ(dfd_check_fwed_v100(), row.is_fwed);
            EXPECT_EQ(dfd_cfg_card_hw_ver("1.01", 5), 0);
            EXPECT_EQ(dfd_check_fwed_v100(), 0);
        });
    }
}

}  // namespace
