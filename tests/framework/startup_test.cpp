// SPDX-License-Identifier: MIT
#include "support/libc_calls.h"
#include "support/library_test.h"

namespace {

using dfd_test::Bytes;
using dfd_test::e2prom_image;
using dfd_test::in_own_process;
using dfd_test::logged_by;
using dfd_test::tlv_entry;
using dfd_test::tlv_image;
using testing::HasSubstr;
using testing::Not;
using vchassis::Op;

constexpr std::uint32_t kSlotBase = DFD_MAKE_KEY(DFD_KEY_SLOT_BASE, 0, 0);
constexpr std::uint32_t kSslotBase = DFD_MAKE_KEY(DFD_KEY_SSLOT_BASE, 0, 0);
constexpr std::uint32_t kFanNum = DFD_MAKE_KEY(DFD_KEY_FAN_NUM, 0, 0);

class StartupTest : public dfd_test::LibraryTest {
  protected:
    static int number(std::uint32_t key) {
        const auto *const record = static_cast<const int *>(dfd_lib_cfg_get_item(key));
        return record != nullptr ? *record : -999;
    }
    // Bytes of a legacy board EEPROM.
    static Bytes legacy(std::uint8_t layout, std::uint8_t raw, std::uint8_t extra,
                        std::uint8_t sub) {
        return e2prom_image({{0, {layout, 0}}, {3, {raw}}, {7, {extra}}, {64, {sub}}});
    }
};

TEST_F(StartupTest, ProductIdDecidesFirst) {
    add_e2prom(0, 0x57, legacy(2, 10, 5, 0));
    write_board("ABC-1234567890\n",
                "card_pid_str_44_0=ABC-123456\ncard_pid_str_42_0=ABC-12345\n"
                "card_pid_str_43_0=ABC\n");
    write_list(42, "one\ntwo\r\n");
    write_config("one", "slot_base=1\nfan_num=1\n");
    write_config("two", "slot_base=2\n");
    chassis.write_file("/etc/cfg/dfd/chassis/42.cfg", "fan_num=9\n");
    const std::string trace = logged_by(DFD_DEBUG_VBOSE, [] { EXPECT_EQ(dev_drv_init(), 0); });
    EXPECT_THAT(trace, HasSubstr("start parsing card pid file[/etc/cfg/dfd/cfg_file/card_pid.cfg]"
                                 "\r\nline1: "));
    EXPECT_THAT(trace, HasSubstr("start parsing config file[/etc/cfg/dfd/cfg_file/two.cfg]\r\n"));
    EXPECT_EQ(drv_get_my_dev_type(), 42) << "the first nine characters are looked at";
    EXPECT_EQ(sdd_get_my_chassis_type(), 42) << "no backplane item: the board type";
    EXPECT_EQ(number(kSlotBase), 2);
    EXPECT_EQ(number(kFanNum), 9) << "the chassis file comes last";
    EXPECT_EQ(count(Op::transfer), 0U) << "the EEPROM is not asked";
    EXPECT_EQ(count(Op::open), count(Op::close));
}

TEST_F(StartupTest, BoardTypeFromTheBoardE2prom) {
    struct Row {
        const char *what;
        Bytes image;
        int type;
    };
    const Bytes entry6 = tlv_entry(6, {0, 0, 1, 0x2C});
    const Bytes other = tlv_entry(3, {'S', 'N', 0});
    Bytes bad_checksum = tlv_image(1, 0, 0x23, other);
    bad_checksum[6] ^= 1;
    const Row kRows[] = {
        {"layout 1, 0x9c, 0x11", legacy(1, 0x9C, 0, 0x11), 14},
        {"layout 1, 0x9c, 1", legacy(1, 0x9C, 0, 1), 15},
        {"layout 1, 0x9c, other", legacy(1, 0x9C, 0, 2), 41},
        {"layout 1, 0x9e", legacy(1, 0x9E, 0, 2), 42},
        {"layout 1, sub 1", legacy(1, 130, 0, 1), 30},
        {"layout 1, other sub", legacy(1, 130, 0, 0), 50},
        {"layout 2", legacy(2, 10, 5, 0), 62},
        {"layout 3", legacy(3, 10, 5, 0), -1},
        {"TLV 1, header", tlv_image(1, 0, 0x23, other), 0x23},
        {"TLV 1, entry", tlv_image(1, 0, 0xF1, entry6), 300},
        {"TLV 1, no entry", tlv_image(1, 0, 0xF1, other), -1},
        {"TLV 1, bad checksum", bad_checksum, -1},
        {"TLV 2, header", tlv_image(2, 0, 0x24, other), 0x24},
        {"TLV 2, no entry: the failure is not reported", tlv_image(2, 0, 0xF1, other), 0},
    };
    add_e2prom(0, 0x57, kRows[0].image);
    for (const Row &row : kRows) {
        in_own_process(row.what, [&] {
            chassis.set_slave(0, 0x57, 0, row.image);
            EXPECT_EQ(dfd_get_dev_type(), row.type);
            EXPECT_EQ(chassis.log(Op::transfer).front().messages[1].bytes.size(), 128U);
            EXPECT_EQ(drv_get_my_dev_type(), row.type);
            write_list(static_cast<unsigned>(row.type), "board\n");
            write_config("board", "fan_num=3\n");
            EXPECT_EQ(dev_drv_init(), row.type < 0 ? -1 : 0);
            EXPECT_EQ(number(kFanNum), row.type < 0 ? -999 : 3);
        });
    }
}

TEST_F(StartupTest, LegacyTypeAloneIgnoresTheTlvFlag) {
    Bytes image = legacy(1, 130, 0, 1);
    image[1] = 0x7E;
    add_e2prom(0, 0x57, image);
    EXPECT_EQ(dfd_my_type_from_e2(), 30);
    image[0] = 2;
    chassis.set_slave(0, 0x57, 0, image);
    EXPECT_EQ(logged_by(DFD_DEBUG_VBOSE, [] { EXPECT_EQ(dfd_my_type_from_e2(), 130 + 47); }),
              "CA type is177\r\n");
    EXPECT_EQ(dfd_test::functions_logged_by(DFD_DEBUG_VBOSE, [] { dfd_my_type_from_e2(); }),
              "dfd_my_type_from_e2 ");
    chassis.fail({.addr = 0x57, .count = 0, .error = 0, .result = -9});
    EXPECT_EQ(dfd_my_type_from_e2(), -9);
}

TEST_F(StartupTest, ATypeOfZeroLeavesTheDecisionToTheE2prom) {
    write_board("ABC", "card_pid_str_0_0=ABC\n");
    ASSERT_EQ(dfd_lib_cfg_init_pre(), 0);
    EXPECT_EQ(dfd_get_dev_type(), 0) << "no EEPROM answers: the identifier's word counts after all";
    add_e2prom(0, 0x57, legacy(2, 10, 5, 0));
    EXPECT_EQ(dfd_get_dev_type(), 62);
}

TEST_F(StartupTest, WithoutProductIdAndE2promThereIsNoBoardTypeYet) {
    write_config("card_pid", "card_pid_str_42_0=ABC\n");
    write_list(42, "");
    const std::string log = logged_by(DFD_DEBUG_ERR, [] { EXPECT_EQ(dev_drv_init(), -1); });
    EXPECT_THAT(log, HasSubstr("get my dev type fail, rv=-1\r\n"));
    EXPECT_EQ(sdd_get_my_chassis_type(), -1);
    chassis.write_file("/tmp/bspinfo/ProductID", "ABC");
    EXPECT_EQ(drv_get_my_dev_type(), 42) << "-1 is not kept";
    EXPECT_EQ(sdd_get_my_chassis_type(), -1) << "as a chassis type it is";
    chassis.remove_file("/tmp/bspinfo/ProductID");
    EXPECT_EQ(drv_get_my_dev_type(), 42) << "a type is";
    EXPECT_EQ(dfd_get_dev_type(), -1);
}

TEST_F(StartupTest, WithoutAStoreNothingIsRead) {
    write_board("ABC", "card_pid_str_42_0=ABC\n");
    write_list(42, "");
    const dfd_test::FailingCalls failing(dfd_test::LibcCall::rwlock_init);
    EXPECT_EQ(logged_by(DFD_DEBUG_ERR, [] { EXPECT_EQ(dev_drv_init(), -1); }),
              "init btree root fail, rv=-1\r\n");
    EXPECT_TRUE(chassis.log().empty());
}

// An EEPROM can make up any number: 0 starts the board but stays unknown, less does not start it.
TEST_F(StartupTest, BoardTypesOfZeroAndBelow) {
    struct Row {
        std::uint8_t raw;
        int type, start, fans, rated_code;
        const char *start_log, *rated_log, *conflict_log;
    };
    for (const Row &row :
         {Row{81, 1, 0, 3, 0, "", "", "drv_get_my_type_from_setmac failed ret -6.\n"},
          Row{80, 0, 0, 2, 0, "", "", "drv_get_my_dev_type failed ret 0.\n"},
          Row{79, -1, -1, -999, -7, "get my dev type fail, rv=-1\r\n",
              "get my card type fail, rv=0xffffffff\r\n", "drv_get_my_dev_type failed ret -1.\n"},
          Row{10, -70, -1, -999, -7, "get my dev type fail, rv=-70\r\n",
              "get my card type fail, rv=0xffffffba\r\n",
              "drv_get_my_dev_type failed ret -70.\n"}}) {
        in_own_process(std::to_string(row.type), [&] {
            add_e2prom(0, 0x57, legacy(1, row.raw, 0, 0));
            write_config("card_pid", "");
            write_list(0, "zero\n");
            write_list(1, "one\n");
            write_config("zero", "fan_num=2\nmy_rate_power_0=90\n");
            write_config("one", "fan_num=3\nmy_rate_power_1=91\n");
            for (const char *const chassis_type : {"0", "-1", "-70"}) {
                chassis.write_file(std::string("/etc/cfg/dfd/chassis/") + chassis_type + ".cfg",
                                   "fan_num=99\n");
            }
            chassis.write_file("/etc/cfg/dfd/chassis/1.cfg", "");
            EXPECT_EQ(logged_by(DFD_DEBUG_ERR, [&] { EXPECT_EQ(dev_drv_init(), row.start); }),
                      row.start_log);
            EXPECT_EQ(number(kFanNum), row.fans);
            EXPECT_EQ(sdd_get_my_chassis_type(), row.type);
            int power = 0;
            EXPECT_EQ(logged_by(DFD_DEBUG_ERR,
                                [&] { EXPECT_EQ(sdd_get_my_rate_power(&power), row.rated_code); }),
                      row.rated_log);
            EXPECT_EQ(power, row.rated_code == 0 ? 90 + row.type : 0);
            EXPECT_EQ(
                logged_by(DFD_DEBUG_ERR, [] { EXPECT_EQ(sdd_check_mycard_is_conflict(), 0); }),
                row.conflict_log);
            chassis.clear_log();
            EXPECT_EQ(drv_get_my_dev_type(), row.type);
            const bool is_kept = row.type != 0 && row.type != -1;
            EXPECT_EQ(count(Op::transfer), is_kept ? 0U : 1U);
        });
    }
}

TEST_F(StartupTest, AnEmptyProductIdIsAText) {
    write_board("", "card_pid_str_42_0=A\ncard_pid_str_43_0=\n");
    ASSERT_EQ(dfd_lib_cfg_init_pre(), 0);
    EXPECT_EQ(dfd_dev_type_from_product_id(), 43);
}

TEST_F(StartupTest, OtherNegativeTypesAreKept) {
    // The image reads fine, the query's transfers do not: its code is the answer from then on.
    const Bytes image = tlv_image(1, 0, 0xF1, tlv_entry(3, {'S', 'N', 0}));
    add_e2prom(0, 0x57, image);
    chassis.fail({.addr = 0x57, .skip = 1, .count = 5, .error = 0, .result = -7});
    EXPECT_EQ(drv_get_my_dev_type(), -7);
    EXPECT_EQ(drv_get_my_dev_type(), -7);
    EXPECT_EQ(dfd_get_dev_type(), -1) << "the chip answers again";
}

TEST_F(StartupTest, AFailingFileEndsTheListNotTheStart) {
    struct Row {
        const char *list;
        const char *reason;
    };
    write_board("ABC", "card_pid_str_42_0=ABC\n");
    write_config("one", "slot_base=1\n");
    write_config("broken", "fan_num=5\nno value\n");
    write_config("two", "sslot_base=2\n");
    const std::string long_name(31, 'n');
    write_config(long_name, "fan_num=1\n");
    for (const Row &row :
         {Row{"one\nmissing\ntwo\n",
              "open config file[/etc/cfg/dfd/cfg_file/missing.cfg] fail, error=No such file or "
              "directory\n"},
          Row{"one\n\ntwo\n", "open config file[/etc/cfg/dfd/cfg_file/.cfg] fail, "},
          Row{"one\nbroken\ntwo\n", "config line[2 novalue] analyse fail\r\n"},
          // 31 characters fill the name buffer, the rest of the line is a name of its own.
          Row{"one\nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnx\ntwo\n", "cfg_file/x.cfg] fail"}}) {
        in_own_process(row.list, [&] {
            write_list(42, row.list);
            EXPECT_THAT(logged_by(DFD_DEBUG_ERR, [] { EXPECT_EQ(dev_drv_init(), 0); }),
                        HasSubstr(row.reason));
            EXPECT_EQ(number(kSlotBase), 1);
            EXPECT_EQ(number(kSslotBase), -999);
        });
    }
}

// Reading that fails is not the end of a file: it is logged, and loading goes on with what was
// read.
TEST_F(StartupTest, ReadingThatFailsInTheMiddleIsLogged) {
    struct Row {
        const char *what;
        unsigned good_reads;
        const char *message;
        int slot_base, fan_num, sslot_base;
    };
    write_board("ABC", "card_pid_str_42_0=ABC\n");
    write_list(42, "one\ntwo\n");
    write_config("one", "slot_base=1\nfan_num=1\n");
    write_config("two", "sslot_base=1\n");
    chassis.write_file("/etc/cfg/dfd/chassis/42.cfg", "");
    constexpr char kOne[] =
        "read config file[/etc/cfg/dfd/cfg_file/one.cfg] fail, error=Input/output error\n";
    constexpr char kList[] =
        "read config file[/etc/cfg/dfd/file_name/0x2a] fail, error=Input/output error\n";
    // Before the first file of the list: two reads of the PID table, one of the list.
    for (const Row &row :
         {Row{"first line of a file", 3, kOne, -999, -999, 1},
          Row{"second line of a file", 4, kOne, 1, -999, 1}, Row{"end of a file", 5, kOne, 1, 1, 1},
          Row{"second line of the list", 6, kList, 1, 1, -999}, Row{"nothing", 99, "", 1, 1, 1}}) {
        in_own_process(row.what, [&] {
            const dfd_test::FailingCalls failing(dfd_test::LibcCall::fgets, row.good_reads);
            EXPECT_EQ(logged_by(DFD_DEBUG_ERR, [] { EXPECT_EQ(dev_drv_init(), 0); }), row.message);
            EXPECT_EQ(number(kSlotBase), row.slot_base);
            EXPECT_EQ(number(kFanNum), row.fan_num);
            EXPECT_EQ(number(kSslotBase), row.sslot_base);
            EXPECT_EQ(count(Op::open), count(Op::close));
        });
    }
    chassis.remove_file("/etc/cfg/dfd/cfg_file/two.cfg");
    chassis.write_file("/etc/cfg/dfd/cfg_file/two.cfg/file", "");
    EXPECT_EQ(logged_by(DFD_DEBUG_ERR, [] { EXPECT_EQ(dev_drv_init(), 0); }),
              "read config file[/etc/cfg/dfd/cfg_file/two.cfg] fail, error=Is a directory\n");
}

TEST_F(StartupTest, WithoutListFileStartFails) {
    write_board("ABC", "card_pid_str_0x2A_0=ABC\n");
    EXPECT_EQ(logged_by(DFD_DEBUG_ERR, [] { EXPECT_EQ(dev_drv_init(), -1); }),
              "open config file[/etc/cfg/dfd/file_name/0x2a] fail, error=No such file or "
              "directory\n");
}

TEST_F(StartupTest, WithoutPidTableTheE2promDecides) {
    add_e2prom(0, 0x57, legacy(2, 10, 5, 0));
    chassis.write_file("/tmp/bspinfo/ProductID", "ABC");
    write_list(62, "");
    const std::string log = logged_by(DFD_DEBUG_ERR, [] { EXPECT_EQ(dev_drv_init(), 0); });
    EXPECT_THAT(log, HasSubstr("analyse card pid file fail, rv=-1\n"));
    EXPECT_EQ(drv_get_my_dev_type(), 62);
}

TEST_F(StartupTest, ChassisTypeFromTheBackplane) {
    const std::string source1 =
        "e2_setmac.mode_1=config\ne2_setmac.src_1=file\ne2_setmac.frmt_1=buf\n"
        "e2_setmac.fpath_1=/tmp/bp1\ne2_setmac.len_1=44\n";
    std::string source2 = source1;
    for (std::size_t at = 0; (at = source2.find("_1", at)) != std::string::npos;) {
        source2.replace(at, 2, "_2");
    }
    source2.replace(source2.find("/tmp/bp1"), 8, "/tmp/bp2");
    struct Row {
        const char *what;
        std::string config;
        std::string bp1;  // empty: unreadable
        std::string bp2;
        int type;
    };
    const Row kRows[] = {
        {"source 1", source1 + source2, "\x05...", "\x06...", 5},
        {"source 1 fails", source1 + source2, "", "\x06...", 6},
        {"source 1 fails, 2 not configured", source1, "", "", 1},
        {"source 1 not configured", source2, "", "\x06...", 1},
        {"both fail", source1 + source2, "", "", -1},
        {"type 0 names no file", source1, std::string(4, '\0'), "", 0},
    };
    for (const Row &row : kRows) {
        in_own_process(row.what, [&] {
            for (const auto &[path, text] :
                 {std::pair{"/tmp/bp1", row.bp1}, {"/tmp/bp2", row.bp2}}) {
                chassis.remove_file(path);
                if (!text.empty()) {
                    chassis.write_file(path, text);
                }
            }
            chassis.write_file("/etc/cfg/dfd/chassis/0.cfg", "fan_num=99\n");
            chassis.write_file("/etc/cfg/dfd/chassis/5.cfg", "fan_num=50\n");
            chassis.write_file("/etc/cfg/dfd/chassis/6.cfg", "fan_num=60\n");
            chassis.write_file("/etc/cfg/dfd/chassis/1.cfg", "fan_num=10\n");
            start(row.config);
            chassis.remove_file("/tmp/bp1");
            chassis.remove_file("/tmp/bp2");
            EXPECT_EQ(sdd_get_my_chassis_type(), row.type != 0 ? row.type : 1)
                << "a type is kept, 0 is asked again";
            EXPECT_EQ(number(kFanNum), row.type > 0 ? row.type * 10 : -999);
        });
    }
}

// Look-ups remember more than one item, but not all that a board can have.
TEST_F(StartupTest, EachItemIsFoundAmongManyAndNoneOfAnEarlierStart) {
    constexpr int kItems = 3000;
    const auto key = [](int index) {
        return DFD_MAKE_KEY(DFD_KEY_PORT_SFP_STATE, static_cast<std::uint32_t>(index), 0);
    };
    std::string config;
    for (int i = 1; i <= kItems; ++i) {
        const std::string index = "_" + std::to_string(i) + "=";
        config += "port_sfp_state.int_cons" + index + std::to_string(i) + "\n";
    }
    start(config);
    for (int i = 1; i <= kItems; ++i) {
        for (const int asked : {i, i / 2 + 1, kItems + i, i}) {
            const auto *const record =
                static_cast<const info_ctrl_t *>(dfd_lib_cfg_get_item(key(asked)));
            EXPECT_EQ(record != nullptr ? record->int_cons : -1, asked <= kItems ? asked : -1);
        }
    }
    start("port_sfp_state.int_cons_1=7\n");
    for (int i = 1; i <= kItems; ++i) {
        EXPECT_EQ(dfd_lib_cfg_get_item(key(i)) != nullptr, i == 1) << i;
    }
}

}  // namespace
