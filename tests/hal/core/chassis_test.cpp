// SPDX-License-Identifier: MIT
#include "support/board.h"
#include "support/libc_calls.h"

namespace {

using dfd_test::broken_item;
using dfd_test::Bytes;
using dfd_test::constant;
using dfd_test::in_own_process;
using dfd_test::logged_by;
using dfd_test::register_item;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using vchassis::Op;

class ChassisTest : public dfd_test::BoardTest {};

TEST_F(ChassisTest, OwnPlaceAndVirtualSlots) {
    start(constant("my_slotid", 25) + "slot_base=5\nmy_cpuid=3\n" + "my_sslotid.mode=fru\n");
    EXPECT_EQ(sdd_get_my_slotid(), 30);
    EXPECT_EQ(sdd_get_my_sslotid(), 4) << "what the read returned";
    EXPECT_EQ(sdd_get_my_cpu_id(), 3);
    for (const auto &[slot, mapped] : {std::pair{0, -1}, {30, 0}, {31, 31}, {1, 1}, {29, 29}}) {
        EXPECT_EQ(sdd_get_virtual_slotid(slot), mapped);
    }
    in_own_process("other boards", [&] {
        start(constant("my_slotid", 5) + "sslot_base=1\n");
        EXPECT_EQ(sdd_get_virtual_slotid(30), 31);
    });
}

TEST_F(ChassisTest, PresenceOfSlotsAndSubSlots) {
    start(constant("my_slotid", 2) + register_item("slot_online", 0x20, "_2") +
          register_item("slot_online", 0x21, "_3") + register_item("sslot_state", 0x22, "_1"));
    set_reg(0x21, 0x40);
    set_reg(0x22, 0x02);
    EXPECT_EQ(sdd_get_slot_online(2), 1);
    EXPECT_THAT(reads(), IsEmpty()) << "the own slot is not read";
    for (const auto &[slot, online] : {std::pair{3, 1}, {5, 0}}) {
        EXPECT_EQ(sdd_get_slot_online(slot), online);
    }
    set_reg(0x21, 0);
    EXPECT_EQ(sdd_get_slot_online(3), 0);
    for (const auto &[sslot, state] : {std::pair{1U, 1}, {3U, 0}}) {
        EXPECT_EQ(sdd_get_sslot_state(sslot), state);
    }
}

TEST_F(ChassisTest, LineCardResets) {
    start(register_item("reset_lc", 0x41, "_1") + register_item("reset_lc", 0x5C, "_28") +
          register_item("reset_lc", 0x5D, "_29") + broken_item("reset_lc", "_2"));
    EXPECT_EQ(sdd_reset_linecard(28, 0), 0);
    EXPECT_THAT(writes(), ElementsAre(Pair(0x5CU, 1U), Pair(0x5CU, 0U)));
    EXPECT_EQ(chassis.slept_us(), 0U);
    chassis.clear_log();
    EXPECT_EQ(sdd_reset_linecard(2, 0), 0) << "results are not reported";
    EXPECT_EQ(count(Op::open), 1U) << "no release after a failed assertion";
    chassis.clear_log();
    EXPECT_EQ(sdd_reset_linecard(0, 1), 0);
    EXPECT_THAT(writes(),
                ElementsAre(Pair(0x41U, 1U), Pair(0x5CU, 1U), Pair(0x41U, 0U), Pair(0x5CU, 0U)));
    EXPECT_EQ(chassis.slept_us(), 200000U);
}

// The peer's three lines, at registers 0x30 to 0x32.
std::string peer_lines() {
    return register_item("mcpu_rdy_status", 0x30) + register_item("mcpu_master_status", 0x31) +
           register_item("mcpu_present", 0x32);
}

TEST_F(ChassisTest, PeerStateFromThreeLines) {
    start(peer_lines());
    constexpr int kStates[] = {0, 1, 4, 4, 4, 3, 4, 2};
    for (unsigned lines = 0; lines < 8; ++lines) {
        set_reg(0x30, lines >> 2 & 1);
        set_reg(0x31, lines >> 1 & 1);
        set_reg(0x32, lines & 1);
        int state = 99;
        chassis.clear_log();
        EXPECT_EQ(sdd_get_peer_mb_state(&state), 0);
        EXPECT_EQ(state, kStates[lines]) << lines;
        EXPECT_THAT(reads(), ElementsAre(0x30U, 0x31U, 0x32U, 0x30U, 0x31U, 0x32U));
        EXPECT_EQ(chassis.slept_us(), 5000U);
    }
    set_reg(0x30, 2);
    int state = 99;
    EXPECT_EQ(sdd_get_chassis_mb_info(&state), -1) << "no state";
    EXPECT_EQ(state, 99);
    EXPECT_EQ(sdd_get_chassis_mb_info(nullptr), -22);
}

TEST_F(ChassisTest, PeerLinesMissingOrFailing) {
    struct Row {
        const char *what;
        std::string config;
        int code;
        int state;
    };
    const Row kRows[] = {
        {"no ready line", register_item("mcpu_present", 0x32), 0, 0},
        {"no master line", register_item("mcpu_rdy_status", 0x30), 0, 0},
        {"no present line",
         register_item("mcpu_rdy_status", 0x30) + register_item("mcpu_master_status", 0x31), -5,
         99},
        {"ready line fails", broken_item("mcpu_rdy_status"), -5, 99},
    };
    for (const Row &row : kRows) {
        in_own_process(row.what, [&] {
            start(row.config);
            int state = 99;
            EXPECT_EQ(sdd_get_chassis_mb_info(&state), row.code);
            EXPECT_EQ(state, row.state);
        });
    }
    start(peer_lines());
    chassis.fail({.op = Op::read, .path = "/dev/cpld0", .offset = 0x31, .skip = 1});
    int state = 99;
    EXPECT_THAT(logged_by(DFD_DEBUG_ERR, [&] { EXPECT_EQ(sdd_get_chassis_mb_info(&state), -5); }),
                HasSubstr("retry_cnt 0, get rmp1 failed.\n"));
}

TEST_F(ChassisTest, SamplesThatDisagreeAreTakenAgain) {
    // The present line is the second byte of a file. A short read once leaves it at 0: the first
    // two samples differ.
    chassis.write_file("/tmp/bspinfo/present", std::string("\0\1", 2));
    start(peer_lines() +
          "mcpu_present.src=file\nmcpu_present.fpath=/tmp/bspinfo/present\n"
          "mcpu_present.reg_offset=0\nmcpu_present.frmt=num_bytes\nmcpu_present.len=2\n");
    chassis.fail({.op = Op::read, .path = "/tmp/bspinfo/present", .error = 0, .result = 1});
    int state = 99;
    EXPECT_EQ(
        logged_by(DFD_DEBUG_ERR, [&] { sdd_get_chassis_mb_info(&state); }).find("get rmp failed"),
        std::string::npos);
    EXPECT_EQ(state, 1);
    EXPECT_GE(reads().size(), 12U);
}

TEST_F(ChassisTest, MasterResetWaitsUntilThePeerIsDown) {
    start(peer_lines() + register_item("rst_master", 0x38));
    set_reg(0x32, 1);
    EXPECT_EQ(sdd_reset_master(), 0);
    EXPECT_THAT(writes(), ElementsAre(Pair(0x38U, 1U), Pair(0x38U, 0U)));
    EXPECT_EQ(chassis.slept_us(), 5000U) << "one reading, no pause";
    set_reg(0x30, 1);
    chassis.clear_log();
    EXPECT_EQ(sdd_reset_master(), -1);
    EXPECT_THAT(writes(), ElementsAre(Pair(0x38U, 1U), Pair(0x38U, 0U)));
    EXPECT_EQ(chassis.slept_us(), 800U * 15000U);
    // Readings that fail are not "down"; the release's result is the answer.
    chassis.clear_log();
    set_reg(0x30, 0);
    chassis.fail({.op = Op::read, .path = "/dev/cpld0", .offset = 0x30, .count = 3});
    chassis.fail({.op = Op::write, .path = "/dev/cpld0", .offset = 0x38, .skip = 1});
    EXPECT_EQ(sdd_reset_master(), -7);
    EXPECT_EQ(chassis.slept_us(), 3U * 10000U + 5000U);
}

TEST_F(ChassisTest, OwnMasterStatus) {
    start(register_item("mcpu_master_config", 0x50) + register_item("mcpu_rdy_config", 0x51) +
          register_item("bp_ctrl", 0x52));
    constexpr unsigned kLines[][3] = {{0, 0, 0}, {0, 0, 0}, {1, 1, 1}, {0, 1, 0}, {0, 0, 0}};
    for (std::uint32_t status = 0; status < 5; ++status) {
        chassis.clear_log();
        EXPECT_EQ(sdd_set_my_mb_status(status), 0);
        EXPECT_THAT(writes(),
                    ElementsAre(Pair(0x50U, kLines[status][0]), Pair(0x51U, kLines[status][1]),
                                Pair(0x52U, kLines[status][2])));
    }
    chassis.clear_log();
    EXPECT_EQ(sdd_set_my_mb_status(5), -22);
    EXPECT_THAT(writes(), IsEmpty());
}

TEST_F(ChassisTest, ChipFamilyAndFabricMode) {
    start("chip_family=3\n");
    std::uint32_t mode = 99;
    EXPECT_EQ(sdd_get_sys_chip_mode(nullptr), -1);
    EXPECT_EQ(sdd_install_card_chip_family(0x10), 0) << "the first is not compared";
    EXPECT_EQ(sdd_install_card_chip_family(4), -4);
    EXPECT_EQ(sdd_install_card_chip_family(1), 0);
    EXPECT_EQ(sdd_get_sys_chip_mode(&mode), 0);
    EXPECT_EQ(mode, 3U) << "one word under two names";
    EXPECT_EQ(sdd_set_sys_chip_mode(8), -8);
    EXPECT_EQ(sdd_set_sys_chip_mode(4), 0);
    EXPECT_EQ(sdd_install_card_chip_family(4), 0);
    struct Row {
        int (*call)(std::uint32_t);
        std::uint32_t mode;
        int code;
        std::uint32_t kept;
    };
    for (const Row &row :
         {Row{sdd_install_ca_fe, 90, -8, 0}, Row{sdd_install_ca_fe, 0, -8, 0},
          Row{sdd_install_ca_fe, 82, 0, 82}, Row{sdd_install_ca_fe, 82, 0, 82},
          Row{sdd_install_ca_fe, 83, -4, 82}, Row{sdd_set_ca_sys_fe_mode, 80, -8, 82},
          Row{sdd_set_ca_sys_fe_mode, 102, 0, 102}, Row{sdd_set_ca_sys_fe_mode, 0, 0, 0},
          Row{sdd_install_ca_fe, 88, 0, 88}}) {
        EXPECT_EQ(row.call(row.mode), row.code) << row.mode;
        EXPECT_EQ(sdd_get_ca_sys_fe_mode(&mode), 0);
        EXPECT_EQ(mode, row.kept) << row.mode;
    }
    EXPECT_EQ(sdd_get_ca_sys_fe_mode(nullptr), -1);
}

TEST_F(ChassisTest, ConstantsAndTheirDefaults) {
    start("");
    int count = 0;
    int min = -1;
    int max = -1;
    int def = -1;
    EXPECT_EQ(sdd_get_my_cpu_id(), 0);
    EXPECT_EQ(sdd_get_sslot_num(), 0);
    EXPECT_EQ(sdd_get_cfg_dist_finish_time(), 480);
    EXPECT_EQ(sdd_get_vsd_support_num(&count), 0);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(sdd_install_card_chip_family(1), -6);
    for (int (*get)(int *) :
         {sdd_get_support_lc_hwhb, sdd_get_eeprom_fail_status, sdd_get_mb_temp_fail_status}) {
        EXPECT_EQ(get(&count), -6);
    }
    EXPECT_EQ(sdd_get_mgmt_mtu_range(1, &min, &max, nullptr), -1);
    start("mgmt_min_mtu=64\nvsd_support_num=4\ncfg_dist_finish_time=90\nsslot_num=8\n" +
          constant("support_lc_hwhb", 1) + constant("eeprom_fail_status", 5));
    EXPECT_EQ(sdd_get_mgmt_mtu_range(1, &min, &max, &def), -6);
    EXPECT_EQ(min * 100 + max * 10 + def, 6400 - 11) << "only the minimum is configured";
    EXPECT_EQ(sdd_get_vsd_support_num(&count) + count, 4);
    EXPECT_EQ(sdd_get_cfg_dist_finish_time(), 90);
    EXPECT_EQ(sdd_get_sslot_num(), 8);
    int flag = 9;
    EXPECT_EQ(sdd_get_support_lc_hwhb(&flag), 0);
    EXPECT_EQ(flag, 0) << "the sense is inverted";
    EXPECT_EQ(sdd_get_eeprom_fail_status(&flag), 0);
    EXPECT_EQ(flag, 5);
    EXPECT_EQ(sdd_mb_is_compatible(3, 3) * 10 + sdd_mb_is_compatible(3, 4), 10);
}

TEST_F(ChassisTest, VersionDatesAreBcdDigits) {
    const auto date_item = [](const char *key, const char *len) {
        return std::string(key) + ".mode=config\n" + key + ".src=localbus\n" + key + ".frmt=buf\n" +
               key + ".fpath=/dev/cpld0\n" + key + ".reg_offset=0x60\n" + key + ".len=" + len +
               "\n";
    };
    start(date_item("cpld_ver_date", "4") + date_item("fpga_ver_date", "22"));
    set_reg(0x60, 0x20);
    set_reg(0x61, 0x24);
    set_reg(0x62, 0x1F);
    char text[44] = "................";
    int len = 1;  // plays no part
    EXPECT_EQ(sdd_get_cpld_ver_date(text, &len), 0);
    EXPECT_EQ(len, 8);
    EXPECT_EQ(std::string(text, 9), "20241?00.") << "no terminator";
    EXPECT_EQ(sdd_get_fpga_ver_date(text, &len), -5) << "more than the date has room for";
    EXPECT_EQ(sdd_get_cpld_ver_date(nullptr, &len), -8);
}

TEST_F(ChassisTest, SetmacTypeAndConflict) {
    struct Row {
        const char *what;
        const char *file;  // null: not there
        int type;
        int conflict;
    };
    for (const Row &row : {Row{"hex", "1a\n", 0x1A + 47, 1}, Row{"same", "-2e", 1, 0},
                           Row{"missing", nullptr, -1, 0}, Row{"empty", "", 47, 1},
                           Row{"no number", "x", 47, 1}, Row{"not positive", "-30", -1, 0}}) {
        in_own_process(row.what, [&] {
            chassis.remove_file("/tmp/bspinfo/setmac");
            if (row.file != nullptr) {
                chassis.write_file("/tmp/bspinfo/setmac", row.file);
            }
            start("setmac_e2type_file=/tmp/bspinfo/setmac\n");
            EXPECT_EQ(sdd_get_my_type_from_setmac(), row.type);
            EXPECT_EQ(sdd_check_mycard_is_conflict(), row.conflict);
        });
    }
    start("");
    EXPECT_EQ(logged_by(DFD_DEBUG_ERR, [] { EXPECT_EQ(sdd_check_mycard_is_conflict(), 0); }),
              "drv_get_my_type_from_setmac failed ret -6.\n");
    chassis.write_file("/tmp/bspinfo/setmac", "10");
    start("setmac_e2type_file=/tmp/bspinfo/setmac\n");
    EXPECT_EQ(sdd_get_my_type_from_setmac(), 16 + 47);
    chassis.write_file("/tmp/bspinfo/setmac", "20");
    EXPECT_EQ(logged_by(DFD_DEBUG_VBOSE, [] { EXPECT_EQ(sdd_get_my_type_from_setmac(), 63); }),
              "already get, setmac_e2type 0x3f.\n");
}

TEST_F(ChassisTest, SfpPortsAndTheirMessages) {
    start(register_item("port_sfp_state", 0x70, "_7") + register_item("port_sfp_tx", 0x71, "_7") +
          broken_item("port_sfp_state", "_8") + broken_item("port_sfp_tx", "_8"));
    set_reg(0x70, 0x30);
    std::uint8_t present = 9;
    EXPECT_EQ(dfd_port_get_sfp_present(7, &present), 0);
    EXPECT_EQ(present, 1);
    EXPECT_EQ(dfd_port_set_sfp_tx(7, 5), 0);
    EXPECT_EQ(reg(0x71), 1);
    EXPECT_EQ(dfd_port_set_sfp_tx(7, 0), 0);
    EXPECT_EQ(reg(0x71), 0);
    present = 9;
    const std::string log = logged_by(DFD_DEBUG_ERR, [&] {
        EXPECT_EQ(dfd_port_get_sfp_present(8, &present), -7);
        EXPECT_EQ(dfd_port_get_sfp_present(9, &present), -6);
        EXPECT_EQ(dfd_port_set_sfp_tx(8, 1), -7);
        EXPECT_EQ(dfd_port_set_sfp_tx(9, 1), -6);
    });
    EXPECT_EQ(present, 9);
    for (const char *line :
         {"get sfp lport[8] state fail, rv=-7\r\n", "sfp lport[9] state not support\r\n",
          "set lport sfp tx[lport=8 reg_val=1] fail, rv=-7\r\n",
          "set lport sfp tx[9] not support\r\n"}) {
        EXPECT_THAT(log, HasSubstr(line));
    }
}

TEST_F(ChassisTest, ResetButtonByType) {
    start(
        register_item("reset_button_type", 0x78) +
        "reset_button_tp_str_1=long\nreset_button_tp_str_2=shortest\nreset_button_tp_str_3=lon\n");
    for (const auto &[type, button] : {std::pair{1, 2}, {2, 1}, {3, 0}, {4, 0}}) {
        set_reg(0x78, static_cast<std::uint8_t>(type));
        EXPECT_EQ(drv_get_reset_button_type(), button) << type;
    }
    EXPECT_EQ(logged_by(DFD_DEBUG_ERR, [] { drv_get_reset_button_type(); }),
              "get type[4] info ctrl fail, key=0x30000400\r\n");
    in_own_process("not configured", [&] {
        start("");
        EXPECT_EQ(logged_by(DFD_DEBUG_ERR, [] { EXPECT_EQ(drv_get_reset_button_type(), 0); }),
                  "get type buf fail, rv=-6\r\n");
    });
}

TEST_F(ChassisTest, SamplesThatNeverAgreeEndWithTheLast) {
    start(peer_lines());
    set_reg(0x31, 1);
    bool is_present = false;
    const dfd_test::DuringPauses flips(
        [&] { set_reg(0x32, static_cast<std::uint8_t>(is_present = !is_present)); });
    int state = 99;
    std::istringstream trace(
        logged_by(DFD_DEBUG_VBOSE, [&] { EXPECT_EQ(sdd_get_chassis_mb_info(&state), 0); }));
    std::vector<std::string> retries;
    for (std::string line; std::getline(trace, line);) {
        if (line.starts_with("retry_cnt")) {
            retries.push_back(line);
        }
    }
    ASSERT_EQ(retries.size(), 18U);
    retries.resize(6);
    EXPECT_THAT(retries, ElementsAre("retry_cnt 0.", "retry_cnt 0, rmp0 0x2, rmp1 0x3.",
                                     "retry_cnt 0, rmp0 0x2 not equal to rmp1 0x3, retry.",
                                     "retry_cnt 1.", "retry_cnt 1, rmp0 0x3, rmp1 0x2.",
                                     "retry_cnt 1, rmp0 0x3 not equal to rmp1 0x2, retry."));
    EXPECT_EQ(state, 4);
    EXPECT_EQ(reads().size(), 36U);
    EXPECT_EQ(chassis.slept_us(), 30000U);
    set_reg(0x31, 0);
    EXPECT_EQ(logged_by(DFD_DEBUG_ERR, [&] { EXPECT_EQ(sdd_get_peer_mb_state(&state), 0); }),
              "retry_cnt 6, get rmp failed, rmp0 0x1, rmp1 0x0.\n");
    EXPECT_EQ(state, 0) << "the last sample counts";
    EXPECT_EQ(dfd_test::functions_logged_by(DFD_DEBUG_ERR,
                                            [&] { EXPECT_EQ(sdd_get_peer_mb_state(&state), 0); }),
              "sdd_get_chassis_mb_info ");
    // Lines that settle end the attempts.
    int pauses = 0;
    const dfd_test::DuringPauses settles([&] { set_reg(0x32, ++pauses > 1 ? 1 : 0); });
    set_reg(0x32, 1);
    EXPECT_EQ(sdd_get_chassis_mb_info(&state), 0);
    EXPECT_EQ(state, 1);
    EXPECT_EQ(pauses, 3);
}

// Nothing is read of an item in mode tlv or fru: the code is no failure, and the value stays.
TEST_F(ChassisTest, ItemsOfAnEepromWhereAnIntegerIsAskedFor) {
    struct Row {
        const char *name;
        std::string items;  // '%' stands for the mode
        std::function<int(int *)> call;
        bool gives_mode;  // otherwise the result stands in `result`
        int result, value;
    };
    const auto rest_of_peer =
        register_item("mcpu_master_status", 0x31) + register_item("mcpu_present", 0x32);
    const std::string present = register_item("sslot_state", 0x20, "_3");
    const Row kRows[] = {
        {"slot", "my_slotid.mode=%\nslot_base=5\n", [](int *) { return sdd_get_my_slotid(); }, true,
         0, 99},
        {"sub-slot", "my_sslotid.mode=%\nsslot_base=5\n",
         [](int *) { return sdd_get_my_sslotid(); }, true, 0, 99},
        {"other slot", "slot_online.mode_3=%\n", [](int *) { return sdd_get_slot_online(3); },
         false, 0, 99},
        {"sub-card", "sslot_state.mode_3=%\n", [](int *) { return sdd_get_sslot_state(3); }, false,
         0, 99},
        {"peer", "mcpu_rdy_status.mode=%\n" + rest_of_peer, sdd_get_chassis_mb_info, false, 0, 4},
        {"present", "mcpu_present.mode=%\n", sdd_rd_mcpu_present, false, 0, 99},
        {"heartbeat", "support_lc_hwhb.mode=%\n", sdd_get_support_lc_hwhb, true, 0, 1},
        {"EEPROM", "eeprom_fail_status.mode=%\n", sdd_get_eeprom_fail_status, true, 0, 99},
        {"temperature", "mb_temp_fail_status.mode=%\n", sdd_get_mb_temp_fail_status, true, 0, 99},
        {"SFP", "port_sfp_state.mode_3=%\n",
         [](int *out) {
             std::uint8_t byte = 9;
             const int code = dfd_port_get_sfp_present(3, &byte);
             *out = byte;
             return code;
         },
         false, 0, 0},
        {"button", "reset_button_type.mode=%\nreset_button_tp_str_0=short\n",
         [](int *) { return drv_get_reset_button_type(); }, false, 1, 99},
        {"rated power", "card_rate_power.mode_3=%\n",
         [](int *out) { return sdd_get_card_power_consume(3, out); }, true, 0, 99},
        {"powered",
         "card_power_status.mode_3=%\n" + present + register_item("card_power_lack", 0x31, "_3"),
         [](int *out) { return sdd_get_card_power_status(3, out); }, false, 0, 1},
        {"lack",
         "card_power_lack.mode_3=%\n" + present + register_item("card_power_status", 0x30, "_3"),
         [](int *out) { return sdd_get_card_power_status(3, out); }, false, 0, 2},
        {"level", "card_vol_num=2\ncard_vol_waterline.mode_3_1=%\n",
         [](int *out) { return sdd_get_card_vol_waterline(3, 1, out); }, true, 0, 99},
        {"voltage", "card_vol_num=2\ncard_vol_low.mode_3_0=%\n",
         [](int *) { return sdd_get_card_vol(3, 1); }, true, 0, 99},
        {"serial", "backplane_serial2.mode_1=%\n",
         [](int *out) {
             std::uint8_t byte = 99;
             const int code = sdd_get_bp_serial(1, 2, &byte);
             *out = byte;
             return code;
         },
         true, 0, 99},
    };
    for (const Row &row : kRows) {
        for (const auto &[word, code] : {std::pair{"tlv", 3}, {"fru", 4}}) {
            in_own_process(std::string(row.name) + " " + word, [&, mode = word, rv = code] {
                std::string config = row.items;
                config.replace(config.find('%'), 1, mode);
                start(config);
                set_reg(0x20, 1);
                set_reg(0x31, 1);
                set_reg(0x32, 1);
                int value = 99;
                EXPECT_EQ(row.call(&value), row.gives_mode ? rv : row.result);
                EXPECT_EQ(value, row.value);
            });
        }
    }
}

TEST_F(ChassisTest, FlagsThatCannotBeRead) {
    start(broken_item("support_lc_hwhb") + broken_item("eeprom_fail_status") +
          broken_item("mcpu_present") + "mgmt_min_mtu=64\nmgmt_max_mtu=9000\nmgmt_def_mtu=1500\n");
    int value = 99;
    EXPECT_EQ(sdd_get_support_lc_hwhb(&value), -7);
    EXPECT_EQ(value, 1) << "whatever is not 1 reads as supported";
    EXPECT_EQ(sdd_get_support_lc_hwhb(nullptr), -8);
    EXPECT_EQ(sdd_get_eeprom_fail_status(nullptr), -8);
    EXPECT_EQ(sdd_rd_mcpu_present(nullptr), -8);
    int min = 0;
    int max = 0;
    int def = 0;
    EXPECT_EQ(sdd_get_mgmt_mtu_range(7, &min, &max, &def), 0);
    EXPECT_EQ((std::vector{min, max, def}), (std::vector{64, 9000, 1500}));
    EXPECT_EQ(sdd_get_mgmt_mtu_range(7, nullptr, &max, &def), -1);
    EXPECT_EQ(sdd_get_mgmt_mtu_range(7, &min, nullptr, &def), -1);
    for (const char *missing : {"min", "max", "def"}) {
        in_own_process(missing, [&] {
            std::string config;
            for (const char *each : {"min", "max", "def"}) {
                config += each != std::string_view(missing)
                              ? std::string("mgmt_") + each + "_mtu=7\n"
                              : "";
            }
            start(config);
            min = max = def = 5;
            EXPECT_EQ(sdd_get_mgmt_mtu_range(7, &min, &max, &def), -6);
            EXPECT_EQ(min + max + def, 19) << "the other two are filled in";
        });
    }
    EXPECT_EQ(sdd_get_vsd_support_num(nullptr), 0);
    EXPECT_EQ(sdd_get_current_voltage(nullptr), 0);
    start(register_item("port_sfp_state", 0x70, "_7") + "setmac_e2type_file=x\n" +
          "e2_setmac.mode_2=config\n");
    EXPECT_EQ(dfd_port_get_sfp_present(7, nullptr), -8);
    EXPECT_EQ(get_backplane_info_from_e2(2, nullptr), -8);
    EXPECT_EQ(get_backplane_info_from_e2(1, nullptr), -6);
}

TEST_F(ChassisTest, MessagesNameTheirFunctions) {
    start(broken_item("port_sfp_state", "_8") + broken_item("port_sfp_tx", "_8") +
          broken_item("mcpu_rdy_status") + broken_item("card_power_lack", "_3") +
          register_item("card_power_status", 0x30, "_3") +
          register_item("sslot_state", 0x20, "_3") +
          "power_regval_convert_4=300\nsetmac_e2type_file=/tmp/bspinfo/nothing\n"
          "card_rate_power.mode_2=config\ncard_rate_power.src_2=localbus\n"
          "card_rate_power.frmt_2=num_buf\ncard_rate_power.len_2=1\n"
          "card_rate_power.fpath_2=/dev/cpld0\n");
    set_reg(0x20, 1);
    int value = 0;
    std::uint8_t byte = 0;
    char text[4];
    struct Row {
        std::function<void()> call;
        const char *functions;
    };
    for (const Row &row :
         {Row{[&] { dfd_port_get_sfp_present(9, &byte); }, "dfd_port_get_sfp_present "},
          Row{[] { dfd_port_set_sfp_tx(9, 1); }, "dfd_info_set_int dfd_port_set_sfp_tx "},
          Row{[&] { sdd_get_chassis_mb_info(&value); },
              "sdd_read_info_localbus dfd_info_get_int sdd_get_chassis_mb_info "},
          Row{[] { drv_get_reset_button_type(); }, "drv_get_reset_button_type "},
          Row{[] { sdd_get_my_type_from_setmac(); }, "sdd_get_my_type_from_setmac "},
          Row{[] { sdd_check_mycard_is_conflict(); },
              "sdd_get_my_type_from_setmac sdd_check_mycard_is_conflict "},
          Row{[&] { sdd_get_card_power_consume(2, &value); },
              "sdd_get_card_rate_power dfd_info_get_int "},
          Row{[&] { sdd_get_card_power_status(3, &value); },
              "sdd_read_info_localbus dfd_info_get_int sdd_get_card_power_lack "},
          Row{[] { sdd_get_card_power_status(3, nullptr); }, "sdd_get_card_power_status "},
          Row{[] { sdd_get_my_rate_power(nullptr); }, "sdd_get_my_rate_power "},
          Row{[&] { sdd_get_my_rate_power(&value); }, "sdd_get_my_rate_power "},
          Row{[&] { sdd_get_bp_scale_mac(&value); }, "sdd_get_bp_scale_mac "},
          Row{[&] { sdd_get_bp_mac(1, &byte); }, "sdd_get_bp_mac "},
          Row{[&] { sdd_get_bp_hw_ver(1, text, 4); }, "sdd_get_bp_hw_ver "},
          Row{[&] { sdd_get_bp_sn(1, text, 4); }, "sdd_get_bp_sn "},
          Row{[&] { sdd_get_bp_serial(1, 0, &byte); }, "sdd_get_bp_serial "}}) {
        EXPECT_EQ(dfd_test::functions_logged_by(DFD_DEBUG_ERR, row.call), row.functions);
    }
    EXPECT_EQ(dfd_test::functions_logged_by(DFD_DEBUG_VBOSE, [] { dfd_cfg_card_hw_ver("x", 22); }),
              "dfd_cfg_card_hw_ver ");
}

}  // namespace
