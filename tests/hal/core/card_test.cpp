// SPDX-License-Identifier: MIT
#include "support/board.h"

namespace {

using dfd_test::broken_item;
using dfd_test::bytes_of;
using dfd_test::constant;
using dfd_test::in_own_process;
using dfd_test::logged_by;
using dfd_test::operator+;
using dfd_test::register_item;
using dfd_test::tlv_entry;
using dfd_test::tlv_image;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using vchassis::Op;

class CardTest : public dfd_test::BoardTest {};

TEST_F(CardTest, RatedPowerConstantOrTranslated) {
    int power = -1;
    in_own_process("no board type", [&] {
        EXPECT_THAT(logged_by(DFD_DEBUG_ERR, [&] { EXPECT_EQ(sdd_get_my_rate_power(&power), -7); }),
                    HasSubstr("get my card type fail, rv=0xffffffff\r\n"));
    });
    const std::string rated =
        "card_rate_power.mode_2=config\ncard_rate_power.src_2=localbus\n"
        "card_rate_power.frmt_2=num_buf\ncard_rate_power.len_2=2\n"
        "card_rate_power.fpath_2=/dev/cpld0\ncard_rate_power.reg_offset_2=0x10\n";
    start(constant("my_slotid", 9) + constant("card_rate_power", 150, "_0") + rated +
          "power_regval_convert_4=300\nmy_rate_power_1=220\n");
    set_reg(0x10, 4);
    EXPECT_EQ(sdd_get_card_power_consume(9, &power), 0) << "the own slot is virtual slot 0";
    EXPECT_EQ(power, 150);
    EXPECT_EQ(sdd_get_card_power_consume(2, &power), 0);
    EXPECT_EQ(power, 300);
    set_reg(0x10, 5);
    EXPECT_THAT(
        logged_by(DFD_DEBUG_ERR, [&] { EXPECT_EQ(sdd_get_card_power_consume(2, &power), -6); }),
        HasSubstr("get power regval convert info ctrl fail, key=0x0d000500\r\n"));
    EXPECT_EQ(sdd_get_card_power_consume(3, &power), -6);
    EXPECT_EQ(power, 300);
    EXPECT_EQ(sdd_get_my_rate_power(&power), 0);
    EXPECT_EQ(power, 220);
    EXPECT_EQ(logged_by(DFD_DEBUG_ERR, [] { EXPECT_EQ(sdd_get_my_rate_power(nullptr), -8); }),
              "input argument error\r\n");
    in_own_process("not configured", [&] {
        start("");
        EXPECT_EQ(logged_by(DFD_DEBUG_ERR, [&] { EXPECT_EQ(sdd_get_my_rate_power(&power), -6); }),
                  "get my power info ctrl fail, key=0x0c000100\r\n");
    });
}

TEST_F(CardTest, PowerStatus) {
    struct Row {
        const char *what;
        int slot;
        std::uint8_t present, powered, lack;
        std::string config;
        int code, status;
    };
    const std::string status = register_item("card_power_status", 0x21, "_3");
    const std::string lack = register_item("card_power_lack", 0x22, "_3");
    const Row kRows[] = {
        {"own slot", 1, 0, 0, 0, "", 0, DFD_CARD_POWER_ON},
        {"no card", 3, 0, 1, 0, status + lack, 0, DFD_CARD_POWER_NONE},
        {"not configured", 3, 1, 1, 0, lack, 0, DFD_CARD_POWER_NONE},
        {"on", 3, 1, 8, 1, status + lack, 0, DFD_CARD_POWER_ON},
        {"off for lack", 3, 1, 0, 1, status + lack, 0, DFD_CARD_POWER_OFF_FOR_LACK},
        {"off", 3, 1, 0, 0, status + lack, 0, DFD_CARD_POWER_OFF},
        {"lack unreadable", 3, 1, 0, 1, status + broken_item("card_power_lack", "_3"), 0,
         DFD_CARD_POWER_OFF},
        {"status unreadable", 3, 1, 0, 0, broken_item("card_power_status", "_3"), -7, 99},
    };
    for (const Row &row : kRows) {
        in_own_process(row.what, [&] {
            start(constant("my_slotid", 1) + register_item("sslot_state", 0x20, "_3") + row.config);
            set_reg(0x20, row.present);
            set_reg(0x21, row.powered);
            set_reg(0x22, row.lack);
            int value = 99;
            EXPECT_EQ(sdd_get_card_power_status(row.slot, &value), row.code);
            EXPECT_EQ(value, row.status);
        });
    }
    EXPECT_EQ(sdd_get_card_power_status(1, nullptr), -8);
}

std::string channel(unsigned number, unsigned reg) {
    const std::string at = "_0_" + std::to_string(number);
    return register_item("card_vol_low", reg, at) + register_item("card_vol_high", reg + 1, at);
}

class VoltageTest : public dfd_test::BoardTest {
  protected:
    void start_adc() {
        start(constant("my_slotid", 1) + "card_vol_num=2\n" + channel(0, 0x10) + channel(1, 0x12) +
              channel(2, 0x14) + register_item("card_vol_lock", 0x1F) +
              constant("card_vol_waterline", 1100, "_0_1"));
    }
    void set_channel(unsigned reg, std::uint8_t low, std::uint8_t high) {
        set_reg(reg, low);
        set_reg(reg + 1, high);
    }
};

TEST_F(VoltageTest, MillivoltsAgainstTheReferenceUnderTheLock) {
    start_adc();
    set_channel(0x10, 0x00, 0x04);
    set_channel(0x14, 0x00, 0x24);
    EXPECT_EQ(sdd_get_card_vol(1, 2), 2480);
    EXPECT_THAT(reads(), ElementsAre(0x10U, 0x11U, 0x14U, 0x15U));
    EXPECT_THAT(writes(), ElementsAre(Pair(0x1FU, 1U), Pair(0x1FU, 0U)));
    set_channel(0x14, 0xFF, 0xFF);
    EXPECT_EQ(sdd_get_card_vol(1, 2), 15 * 4095 * 1240 / 1024);
    set_channel(0x10, 0x00, 0xF0);
    EXPECT_EQ(sdd_get_card_vol(1, 2), 0) << "a reference of 0; the factor is no part of it";
    EXPECT_EQ(sdd_get_card_vol(1, 0), 0);
}

TEST_F(VoltageTest, ChannelsAndWarningLevels) {
    start_adc();
    int level = 9;
    EXPECT_EQ(sdd_get_card_vol(1, 3), -1);
    EXPECT_EQ(sdd_get_card_vol_waterline(1, 3, &level), -1);
    EXPECT_THAT(writes(), IsEmpty()) << "no lock is taken";
    EXPECT_EQ(sdd_get_card_vol_waterline(1, 2, &level), -6);
    EXPECT_EQ(level, 9);
    EXPECT_EQ(sdd_get_card_vol_waterline(1, 1, &level), 0);
    EXPECT_EQ(level, 1100);
    EXPECT_EQ(sdd_get_current_voltage(&level), 0);
    EXPECT_EQ(level, 12);
    in_own_process("none", [&] {
        start("current_voltage=48\n");
        EXPECT_EQ(sdd_get_card_vol(1, 0), -6);
        EXPECT_EQ(sdd_get_card_vol_waterline(1, 0, &level), -6);
        EXPECT_EQ(sdd_get_current_voltage(&level), 0);
        EXPECT_EQ(level, 48);
    });
}

TEST_F(VoltageTest, AFailedReadingKeepsTheLock) {
    start_adc();
    for (const unsigned reg : {0x10U, 0x11U, 0x12U, 0x13U}) {
        chassis.clear_log();
        chassis.fail({.op = Op::read, .path = "/dev/cpld0", .offset = reg});
        EXPECT_EQ(sdd_get_card_vol(1, 1), -7) << reg;
        EXPECT_EQ(reads().back(), reg);
        EXPECT_THAT(writes(), ElementsAre(Pair(0x1FU, 1U)));
    }
    EXPECT_EQ(reg(0x1F), 1);
    EXPECT_EQ(dfd_test::printed_by([] {
                  dfd_debug = DFD_DEBUG_VOL_LOCK;
                  dfd_card_vol_lock(0);
                  dfd_debug = 0;
                  dfd_card_vol_lock(1);
              }),
              "")
        << "a lock that can be written is no message";
    start("card_vol_num=1\n");
    EXPECT_EQ(dfd_test::printed_by([] {
                  dfd_debug = DFD_DEBUG_VOL_LOCK;
                  dfd_card_vol_lock(1);
                  dfd_debug = 0;
                  dfd_card_vol_lock(1);
              }),
              "VOL LOCK ERR(err = -6)\r\n");
}

// A sub-card in sub-slot 3, and its write-protect signal at register 7.
class SubCardTest : public dfd_test::BoardTest {
  protected:
    void start_subcard(const char *mode) {
        add_e2prom(
            1, 0x50,
            tlv_image(1, 0x12, 0x41,
                      tlv_entry(3, bytes_of("SUB-SN-1")) + tlv_entry(5, bytes_of("1.23\0\0"))));
        start(std::string("sslot_e2prom.mode_3=") + mode +
              "\nsslot_e2prom.fpath_3=/dev/i2c-1\nsslot_e2prom.addr_3=0x50\n" +
              register_item("e2_write_protect", 7, "_7"));
    }
    int aux = 0;
};

TEST_F(SubCardTest, TypeIsReadTwiceAndTheSecondCounts) {
    start_subcard("fru");  // read as a TLV image all the same
    std::uint32_t type = 9;
    EXPECT_EQ(sdd_get_sub_unintlg_lc_info(1, 3, &type, &aux), 0);
    EXPECT_EQ(type, 0x41U);
    EXPECT_EQ(count(Op::transfer), 4U) << "header and checksum, twice";
    type = 9;
    chassis.clear_log();
    chassis.fail({.addr = 0x50, .count = 5});
    EXPECT_THAT(logged_by(DFD_DEBUG_ERR,
                          [&] { EXPECT_EQ(sdd_get_sub_unintlg_lc_info(1, 3, &type, &aux), 0); }),
                HasSubstr("i 0 get sub slot[3] type failed, retry again\r\n"));
    EXPECT_EQ(type, 0x41U);
    EXPECT_EQ(chassis.slept_us(), 150000U);
    type = 9;
    chassis.fail({.addr = 0x50, .skip = 2, .count = 5});
    EXPECT_THAT(logged_by(DFD_DEBUG_ERR,
                          [&] { EXPECT_EQ(sdd_get_sub_unintlg_lc_info(1, 3, &type, &aux), -5); }),
                HasSubstr("i 1 get sub slot[3] type failed, retry again\r\n"));
    EXPECT_EQ(type, 9U);
}

TEST_F(SubCardTest, TextsAndRefusals) {
    start_subcard("tlv");
    char text[16] = "";
    int len = sizeof text;
    EXPECT_EQ(sdd_get_sub_unintlg_sn(3, text, &len), 0);
    EXPECT_EQ(std::string(text, static_cast<std::size_t>(len)), "SUB-SN-1");
    len = 7;
    EXPECT_THAT(
        logged_by(DFD_DEBUG_ERR, [&] { EXPECT_EQ(sdd_get_sub_unintlg_sn(3, text, &len), -5); }),
        HasSubstr("get sub slot[3] sn faile\r\n"));
    len = sizeof text;
    EXPECT_EQ(sdd_get_sub_unintlg_hw_ver(3, text, &len), 0);
    EXPECT_EQ(std::string(text, 4), "1.23");
    std::uint32_t type = 0;
    for (const std::uint32_t sslot : {0U, 9U}) {
        const std::string at = std::to_string(sslot) + "\r\n";
        EXPECT_EQ(logged_by(DFD_DEBUG_ERR,
                            [&] {
                                EXPECT_EQ(sdd_get_sub_unintlg_lc_info(1, sslot, &type, &aux), -8);
                                EXPECT_EQ(sdd_get_sub_unintlg_sn(sslot, text, &len), -8);
                                EXPECT_EQ(sdd_get_sub_unintlg_hw_ver(sslot, text, &len), -8);
                            }),
                  "input argument error, sslot=" + at + "input arguments error, sslot=" + at +
                      "input arguments error, sslot=" + at);
    }
    EXPECT_EQ(sdd_get_sub_unintlg_lc_info(1, 3, &type, nullptr), -8);
    EXPECT_EQ(sdd_get_sub_unintlg_lc_info(1, 8, &type, &aux), -6);
    EXPECT_EQ(sdd_get_sub_unintlg_sn(8, text, &len), -6);
    EXPECT_EQ(sdd_set_sub_unintlg_info(8, "X", "Y"), -6);
    EXPECT_EQ(sdd_get_sub_unintlg_sn(1, text, &len), -6) << "the first sub-slot";
    EXPECT_EQ(dfd_test::functions_logged_by(DFD_DEBUG_ERR,
                                            [&] {
                                                sdd_get_sub_unintlg_lc_info(1, 9, &type, &aux);
                                                sdd_get_sub_unintlg_sn(9, text, &len);
                                                sdd_get_sub_unintlg_hw_ver(9, text, &len);
                                                len = 2;
                                                sdd_get_sub_unintlg_sn(3, text, &len);
                                                sdd_get_sub_unintlg_hw_ver(3, text, &len);
                                            }),
              "sdd_get_sub_unintlg_lc_info sdd_get_sub_unintlg_sn sdd_get_sub_unintlg_hw_ver "
              "sdd_get_sub_unintlg_sn sdd_get_sub_unintlg_hw_ver ");
}

TEST_F(SubCardTest, WritesByModeWithProtectionLifted) {
    start_subcard("tlv");
    EXPECT_EQ(sdd_set_sub_unintlg_info(3, "NEW", nullptr), 0);
    EXPECT_THAT(writes(), ElementsAre(Pair(7U, 0U), Pair(7U, 255U)));
    chassis.advance_us(100000);
    char text[16] = "";
    int len = sizeof text;
    EXPECT_EQ(sdd_get_sub_unintlg_sn(3, text, &len), 0);
    EXPECT_STREQ(text, "NEW");
    static_cast<info_ctrl_t *>(dfd_lib_cfg_get_item(DFD_MAKE_KEY(DFD_KEY_SSLOT_E2PROM, 3, 0)))
        ->mode = INFO_CTRL_MODE_LEGACY;
    chassis.clear_log();
    EXPECT_EQ(sdd_set_sub_unintlg_info(3, "OLD", nullptr), -6);
    EXPECT_THAT(writes(), ElementsAre(Pair(7U, 0U), Pair(7U, 255U)));
    EXPECT_EQ(count(Op::transfer), 0U);
}

}  // namespace
