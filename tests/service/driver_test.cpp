// SPDX-License-Identifier: MIT
#include <functional>

#include <sstream>

#include "support/board.h"

namespace {

using dfd_test::constant;
using dfd_test::logged_by;
using dfd_test::register_item;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

class DriverTest : public dfd_test::BoardTest {};

TEST_F(DriverTest, SecondNamesReachTheSameFunction) {
    start(constant("my_slotid", 4) + "my_cpuid=2\n" + constant("card_rate_power", 90, "_0") +
          constant("card_rate_power", 150, "_3") + register_item("card_power_ctrl", 0x10, "_3") +
          register_item("lc_status_led_ctrl", 0x11) + "lc_status_led_info.red=7\n" +
          "card_temp_info.temp_name_0_5=inlet\n");
    int value = 0;
    EXPECT_EQ(dfd_get_my_card_type(), 1);
    EXPECT_EQ(drv_get_my_card_type(), 1);
    EXPECT_EQ(drv_get_my_cpuid(), 2);
    EXPECT_EQ(drv_get_card_rate_power(3, &value), 0);
    EXPECT_EQ(value, 150);
    EXPECT_EQ(drv_get_my_rate_power(&value), 0);
    EXPECT_EQ(value, 90) << "that of the card in the own slot, virtual slot 0";
    EXPECT_EQ(drv_control_ca_card_power_on_off(3, 1), 0);
    EXPECT_EQ(drv_cpld_set_mylc_st_led(LED_STATE_RED), 0);
    EXPECT_THAT(writes(), ElementsAre(Pair(0x10U, 1U), Pair(0x11U, 7U)));
    char name[16] = "";
    EXPECT_EQ(drv_get_temp_name(5, name, sizeof name), 0);
    EXPECT_STREQ(name, "inlet");
    EXPECT_EQ(drv_set_e2_wr_pro(3, 1), -6);
    EXPECT_EQ(drv_irq_set_cfg(IRQ_TYPE_FAN, 1), 0);
    EXPECT_EQ(drv_get_mac_temp(0, &value, &value, &value), -6);
    EXPECT_EQ(dfd_get_mac_temp(0, &value, &value, &value), -6);
}

TEST_F(DriverTest, OwnRatedPowerNeedsTheSlot) {
    start(constant("card_rate_power", 90, "_0"));
    int value = 5;
    EXPECT_EQ(drv_get_my_rate_power(&value), -6);
    EXPECT_EQ(value, 5);
}

TEST_F(DriverTest, AdaptedResults) {
    start(constant("my_slotid", 4) + constant("fan_temp", 30, "_1") +
          register_item("fan_mode", 0x20) + register_item("fan_cfg_speed", 0x21, "_1_2") +
          constant("fan_real_speed", 5000, "_1_2") + constant("get_fan_cfg_speed", 3, "_1_2") +
          constant("power_temp", -5, "_1") + constant("sys_power_rsupply", 2000));
    EXPECT_EQ(drv_get_slot_online(4), 1);
    EXPECT_EQ(drv_get_slot_online(5), 0);
    EXPECT_EQ(drv_get_sslot_state(1), 0);
    EXPECT_EQ(drv_check_mycard_is_conflict(), 0);
    EXPECT_TRUE(reads().empty());
    int value = 0;
    EXPECT_EQ(dfd_get_card_vol(1, 1, nullptr), -1);
    EXPECT_EQ(dfd_get_card_vol(1, 1, &value), -6);
    EXPECT_EQ(value, -6) << "a negative code goes there too";
    EXPECT_EQ(drv_get_power_temp(1, 0), -5) << "the temperature itself";
    EXPECT_EQ(drv_get_power_temp(2, 0), -6);
    EXPECT_EQ(drv_get_sys_power_rsupply(nullptr), -1);
    EXPECT_EQ(drv_get_sys_power_rsupply(&value), 0);
    EXPECT_EQ(value, 2000);
    EXPECT_EQ(dfd_get_fan_temp(1, &value), 0);
    EXPECT_EQ(value, 30);
    EXPECT_EQ(dfd_get_fan_temp(2, &value), -6);
    EXPECT_EQ(value, 30);
    EXPECT_EQ(drv_get_fan_speed(1, 2, &value), 0);
    EXPECT_EQ(value, 5000);
    EXPECT_EQ(drv_get_fan_speed_level(1, 2, &value), 0);
    EXPECT_EQ(value, 3);
    EXPECT_EQ(drv_get_fan_speed(1, 2, nullptr), -1);
    EXPECT_EQ(drv_get_fan_speed_level(1, 2, nullptr), -1);
    EXPECT_EQ(drv_set_fan_speed_level(1, 2, 6), 0);
    EXPECT_THAT(writes(), ElementsAre(Pair(0x20U, 1U), Pair(0x21U, 6U))) << "mode 1 first";
}

TEST_F(DriverTest, AMissingItemOutranksANullPointer) {
    struct Row {
        const char *what;
        std::function<int()> call;
        std::string log = {};  // for the missing item
    };
    const Row kRows[] = {
        {"heartbeat", [] { return sdd_get_support_lc_hwhb(nullptr); }},
        {"CPLD date", [] { return sdd_get_cpld_ver_date(nullptr, nullptr); }},
        {"FPGA date", [] { return sdd_get_fpga_ver_date(nullptr, nullptr); }},
        {"eeprom", [] { return sdd_get_eeprom_fail_status(nullptr); }},
        {"sensor", [] { return sdd_get_mb_temp_fail_status(nullptr); }},
        {"SFP", [] { return dfd_port_get_sfp_present(7, nullptr); },
         "sfp lport[7] state not support\r\n"},
        {"fan", [] { return dfd_get_fan_temp(1, nullptr); }},
        {"rated power", [] { return sdd_get_card_power_consume(2, nullptr); }},
        {"warning level", [] { return sdd_get_card_vol_waterline(2, 1, nullptr); }},
        {"MAC", [] { return sdd_get_bp_mac(1, nullptr); },
         "get backplane[1] mac buf fail, rv=-6\r\n"},
        {"amount", [] { return sdd_get_bp_scale_mac(nullptr); },
         "get backplane scale mac config fail, key=0x19000000\r\n"},
        {"serial", [] { return sdd_get_bp_serial(1, 2, nullptr); },
         "get backplane[1] serial2 buf fail, rv=-6\r\n"},
    };
    start("card_vol_num=1\n");
    for (const Row &row : kRows) {
        EXPECT_EQ(logged_by(DFD_DEBUG_ERR, [&] { EXPECT_EQ(row.call(), -6); }), row.log)
            << row.what;
    }
    const auto bytes = [](const std::string &key, const std::string &at) {
        return register_item(key, 0x20, at) + key + ".frmt" + at + "=buf\n";
    };
    start("card_vol_num=1\nbackplane_scale_mac=1\n" + constant("support_lc_hwhb", 1) +
          bytes("cpld_ver_date", "") + bytes("fpga_ver_date", "") +
          constant("eeprom_fail_status", 1) + constant("mb_temp_fail_status", 1) +
          constant("port_sfp_state", 1, "_7") + constant("fan_temp", 30, "_1") +
          constant("card_rate_power", 90, "_2") + constant("card_vol_waterline", 1100, "_2_1") +
          bytes("backplane_mac", "_1") + constant("backplane_serial2", 1, "_1"));
    for (const Row &row : kRows) {
        EXPECT_EQ(row.call(), -8) << row.what;
    }
}

TEST_F(DriverTest, CapacitiesThatAreChecked) {
    start("");
    char text[32] = "untouched";
    int len = 20;
    EXPECT_EQ(drv_get_fan_sw_version(1, text, &len), -1);
    EXPECT_EQ(drv_get_fan_sw_version(1, nullptr, &len), -1);
    EXPECT_EQ(drv_get_fan_sw_version(1, text, nullptr), -1);
    EXPECT_EQ(drv_get_fan_hw_version(1, nullptr, &len), -1);
    EXPECT_EQ(drv_get_fan_hw_version(1, text, nullptr), -1);
    EXPECT_STREQ(text, "untouched");
    len = 21;
    EXPECT_EQ(drv_get_fan_sw_version(1, text, &len), -6) << "passed on";
    EXPECT_EQ(drv_get_fan_hw_version(1, text, &len), -6);
}

TEST_F(DriverTest, FixedAnswersTouchNothing) {
    start(register_item("fan_mode", 0x20));
    int value = 0;
    EXPECT_EQ(drv_set_fan_mode(1), -1);
    EXPECT_EQ(dfd_mb_is_compatible(1, 2), 1);
    EXPECT_EQ(drv_my_dev_type_is_fe(), 0);
    EXPECT_EQ(drv_get_card_vol_i2c(1, 1, &value), -1);
    EXPECT_EQ(drv_adj_poe_pwr_vol(1, 1), -1);
    EXPECT_EQ(drv_get_sys_poe_power_rsupply(&value), -1);
    EXPECT_EQ(drv_get_sys_poe_power_osupply(&value), -1);
    EXPECT_EQ(dfd_dev_remap_fanid(7), 7);
    EXPECT_TRUE(chassis.log().empty());
}

// ---- Names that pass everything through

// What one call did: its result, what it left behind its pointers, and every access.
class ForwardTest : public dfd_test::BoardTest {
  protected:
    ForwardTest() {
        chassis.describe("[[registers]]\npath = \"/dev/cpld1\"\nsize = 4096\n");
        dfd_test::Bytes image(256);
        for (std::size_t i = 0; i < image.size(); ++i) {
            image[i] = static_cast<std::uint8_t>('0' + i % 70);
        }
        for (const int bus : {1, 2, 3, 4}) {
            add_e2prom(bus, 0x50, image);
        }
    }

    // Every item of these names for units 1 to 4, each at a register of its own.
    std::string registers(const std::string &names, int indexes, const std::string &frmt = "byte") {
        std::string config;
        std::istringstream stream(names);
        for (std::string name; stream >> name;) {
            for (int unit = 0; unit < (indexes == 0 ? 1 : indexes == 1 ? 4 : 16); ++unit) {
                std::string at;
                at += indexes > 0 ? "_" + std::to_string(1 + unit % 4) : "";
                at += indexes > 1 ? "_" + std::to_string(1 + unit / 4) : "";
                at += "=";
                config += name + ".mode" + at + "config\n" + name + ".src" + at + "localbus\n" +
                          name + ".frmt" + at + frmt + "\n" + name + ".len" + at + "1\n" + name +
                          ".fpath" + at + "/dev/cpld1\n" + name + ".reg_offset" + at +
                          std::to_string(next_register_) + "\n";
                chassis.set_reg("/dev/cpld1", next_register_,
                                static_cast<std::uint8_t>(1 + next_register_ % 100));
                ++next_register_;
            }
        }
        return config;
    }
    // The EEPROM of unit N on bus N.
    static std::string e2proms(const std::string &names, const std::string &mode) {
        std::string config;
        std::istringstream stream(names);
        for (std::string name; stream >> name;) {
            for (const char *const unit : {"1", "2", "3", "4"}) {
                const std::string at = std::string("_") + unit + "=";
                config += name + ".mode" + at + mode + "\n" + name + ".fpath" + at + "/dev/i2c-" +
                          unit + "\n" + name + ".addr" + at + "0x50\n";
            }
        }
        return config;
    }

    std::string done_by(const std::function<int()> &call) {
        for (int &value : out) {
            value = 0x5A5A5A5A;
        }
        std::fill(std::begin(text), std::end(text), '~');
        len = 40;
        chassis.clear_log();
        chassis.advance_us(1000000);
        std::string done = std::to_string(call()) + " len " + std::to_string(len) + " out";
        for (const int value : out) {
            done += " " + std::to_string(value);
        }
        done += " text " + std::string(text, sizeof text);
        for (const vchassis::Event &event : chassis.log()) {
            done += event.op != vchassis::Op::open ? "\n" + vchassis::to_text(event) : "";
        }
        return done;
    }

    int out[3] = {};
    char text[44] = "";
    int len = 0;

  private:
    unsigned next_register_ = 0;
};

TEST_F(ForwardTest, CallsTheFunctionBelowWithTheSameArguments) {
    const std::string flags =
        registers(
            "my_slotid my_sslotid support_lc_hwhb eeprom_fail_status mb_temp_fail_status "
            "mcpu_rdy_status mcpu_master_status mcpu_present rst_master mcpu_master_config "
            "mcpu_rdy_config bp_ctrl sys_power_rsupply sys_power_osupply sys_power_ssupply "
            "sys_power_rdn_num sys_power_mix_state system_power_lack power_bypass_state "
            "power_env_temp sys_danger_temp sys_alarm_temp mb_status_led_ctrl "
            "mb_primary_led_ctrl mb_alarm_led_ctrl 1st_irq_status",
            0) +
        registers("cpld_ver_date fpga_ver_date", 0, "buf");
    const std::string units =
        registers(
            "slot_online reset_lc card_power_ctrl sslot_state card_rate_power "
            "card_power_status card_power_lack power_state power_fail power_line_fail "
            "power_present power_type bypass_state fan_state fan_fail_status fan_line_fail "
            "fan_fail_bmp fan_type fan_temp subfan_num port_sfp_state port_sfp_tx "
            "power_in_voltage power_in_current power_out_voltage power_out_current "
            "power_rate_supply power_temp 2nd_irq_status",
            1) +
        registers("power_sn power_sw_ver fan_sn fan_sw_ver fan_cpld_version", 1, "buf") +
        registers(
            "card_vol_waterline card_vol_low card_vol_high card_temp_ctrl fan_real_speed "
            "get_fan_cfg_speed fan_cfg_speed",
            2);
    std::string rest =
        "my_cpuid=3\nvsd_support_num=5\ncfg_dist_finish_time=7\nsslot_num=6\ncard_vol_num=4\n"
        "current_voltage=48\nis_module_power=1\nfan_num=9\nirq_ctrl_num=2\nmac_temp_file=x\n"
        "mgmt_min_mtu=64\nmgmt_max_mtu=1500\nmgmt_def_mtu=1400\nchip_family=3\nmy_rate_power_1=90\n"
        "irq_ctrl_info.irq_flag=1\nfan_attr_type_200=-R\nbp_e2prom_dev.bus_1=1\n"
        "bp_e2prom_dev.addr_1=0x50\nbp_e2prom_dev.bus_2=2\nbp_e2prom_dev.addr_2=0x50\n";
    for (const char *const led : {"mb_status", "mb_primary", "mb_alarm", "mb_fan", "mb_pwr"}) {
        rest += std::string(led) + "_led_info.red=3\n" + led + "_led_info.green=4\n";
    }
    for (const char *const at : {"_2_3", "_4_4"}) {
        rest += std::string("card_temp_info.type") + at + "=none\n";
    }
    start(flags + units + e2proms("sslot_e2prom", "tlv") +
          e2proms("fan_hw_ver power_hw_ver", "legacy") + rest);
    ASSERT_EQ(drv_irq_cfg_init(), 2);
    backplane_info_t record{};
    ASSERT_EQ(sdd_get_backplane_info(2, &record), 0) << "from here on the cache answers";
    std::uint32_t word = 0;
    const auto *const version = reinterpret_cast<const std::uint8_t *>("1.23");
    const std::uint32_t type = 0x21;
    constexpr char kSn[] = "1234567890ABC";
    const auto mode = [&] { return reinterpret_cast<std::uint32_t *>(out); };
    struct Row {
        const char *name;
        std::function<int()> above, below;
    };
#define SAME(name, ...)                                                                         \
    Row {                                                                                       \
#name, [&] { return drv_##name(__VA_ARGS__); }, [&] { return sdd_##name(__VA_ARGS__); } \
    }
#define SAME_DFD(name, ...)                                                                     \
    Row {                                                                                       \
#name, [&] { return dfd_##name(__VA_ARGS__); }, [&] { return sdd_##name(__VA_ARGS__); } \
    }
    const Row kRows[] = {
        SAME(get_my_card_type),
        SAME(get_my_chassis_type),
        SAME(get_my_slotid),
        SAME(get_my_sslotid),
        SAME(get_my_cpu_id),
        SAME(get_chassis_mb_info, out),
        SAME(get_peer_mb_state, out),
        SAME(reset_linecard, 2, 0),
        SAME(reset_linecard, 0, 3),
        SAME(reset_master),
        SAME(set_my_mb_status, 3),
        SAME(get_support_lc_hwhb, out),
        SAME(get_cpld_ver_date, text, &len),
        SAME(get_fpga_ver_date, text, &len),
        SAME(get_eeprom_fail_status, out),
        SAME(get_vsd_support_num, out),
        SAME(get_mgmt_mtu_range, 2, &out[0], &out[1], &out[2]),
        SAME(get_cfg_dist_finish_time),
        SAME(control_card_power_on_off, 2, 3),
        SAME_DFD(get_mb_temp_fail_status, out),
        SAME_DFD(get_vsd_support_num, out),
        SAME_DFD(get_eeprom_fail_status, out),
        SAME_DFD(check_mycard_is_conflict),
        SAME(get_sub_unintlg_lc_info, 2, 3, mode(), &word),
        SAME(get_sub_unintlg_sn, 2, text, &len),
        SAME(get_sub_unintlg_hw_ver, 2, text, &len),
        SAME(set_sub_unintlg_info, 2, "SN", "1.23"),
        SAME(get_card_power_consume, 2, out),
        SAME(get_card_power_status, 2, out),
        SAME(get_card_vol, 2, 3),
        SAME(get_card_vol_waterline, 2, 3, out),
        SAME_DFD(get_card_vol_waterline, 2, 3, out),
        SAME(get_current_voltage, out),
        SAME(get_card_vol_num),
        SAME(get_power_type, 2),
        SAME(get_power_name, 2, text, &len),
        SAME(get_power_sn, 2, text, &len),
        SAME(get_power_sw_version, 2, text, &len),
        SAME(get_power_hw_version, 2, text, &len),
        SAME(get_power_status, 2),
        SAME(get_power_present, 2),
        SAME(get_power_fail_status, 2, out),
        SAME(get_power_vol_in, 2, out),
        SAME(get_power_icur, 2, out),
        SAME(get_power_ovol, 2),
        SAME(get_power_ocur, 2),
        SAME(get_power_osupply, 2),
        SAME(get_power_rated_supply, 2),
        SAME(get_sys_power_osupply, out),
        SAME(get_sys_power_ssupply, out),
        SAME(get_sys_power_rdn_num, out),
        SAME(get_sys_power_mix_state, out),
        SAME(get_sys_power_lack_state, out),
        SAME(get_bypass_power_state, 2, out),
        SAME(get_system_bypass_state, out),
        SAME(get_is_module_power, reinterpret_cast<std::uint8_t *>(text)),
        SAME(get_env_temp),
        SAME(set_power_hw_version, 2, version),
        SAME(get_fan_status, 2),
        SAME(get_fan_type, 2),
        SAME(get_fan_temp, 2),
        SAME(get_fan_sn, 2, text, &len),
        SAME(get_fan_fail_bmp, 2, out),
        SAME(get_fan_attribute, 2, 3, out),
        SAME(get_fan_num, 2, out),
        SAME(get_fan_cpld_version, 2, text, &len),
        SAME(get_sys_fan_num),
        SAME(set_fan_info, 2, kSn, "1.23"),
        SAME(set_fan_info_with_type, 2, &type, kSn, "1.24"),
        SAME(get_card_temp, 2, 3, out),
        SAME_DFD(get_card_temp, 2, 3, out),
        SAME(get_sys_card_shutdown_temp, out),
        SAME(get_sys_card_alarm_temp, out),
        SAME(check_temp_valid, 2, 3),
        SAME(is_support_mac_temp),
        SAME_DFD(set_card_temp_cfg, 2, 3),
        SAME(set_mymb_status_led, 2),
        SAME(set_mymb_primary_led, 2),
        SAME(set_mymb_alarm_led, 2, 1),
        SAME(set_led, 0, 2, 1),
        SAME(get_irq_ctrl_num),
        SAME(irq_dispatch, 1, nullptr),
        SAME(get_backplane_info, 2, reinterpret_cast<backplane_info_t *>(text)),
        SAME(set_backplane_info, 2, &record),
        SAME(set_sys_chip_mode, 5),
        SAME(get_sys_chip_mode, mode()),
        SAME(install_card_chip_family, 4),
        SAME(install_card_chip_family, 2),
        SAME(set_ca_sys_fe_mode, 83),
        SAME(get_ca_sys_fe_mode, mode()),
        SAME(install_ca_fe, 83),
        SAME(install_ca_fe, 84),
    };
#undef SAME
#undef SAME_DFD
    for (const Row &row : kRows) {
        const dfd_test::Bytes image = chassis.slave(2, 0x50);
        const std::string below = done_by(row.below);
        chassis.set_slave(2, 0x50, 0, image);
        EXPECT_EQ(done_by(row.above), below) << row.name;
    }
}

TEST_F(DriverTest, MacOfTheSecondBackplane) {
    backplane_info_t record{};
    memcpy(record.mac, "\x01\x22\x33\x44\x55\x66", sizeof record.mac);
    const auto *const bytes = reinterpret_cast<const std::uint8_t *>(&record);
    add_e2prom(4, 0x56,
               dfd_test::e2prom_image({{0, dfd_test::Bytes(bytes, bytes + sizeof record)}}));
    start("bp_e2prom_dev.bus_2=4\nbp_e2prom_dev.addr_2=0x56\n");
    dfd_test::DirtyBuffer buf(8);
    EXPECT_EQ(drv_get_bp_mac(2, reinterpret_cast<std::uint8_t *>(buf.data()), 8), 0);
    EXPECT_EQ(buf.shown(), "\x01\x22\x33\x44\x55\x66~~");
    EXPECT_EQ(dfd_test::functions_logged_by(DFD_DEBUG_VBOSE,
                                            [] {
                                                std::uint8_t mac[6];
                                                drv_get_bp_mac(3, mac, 6);
                                            }),
              "drv_get_bp_mac ");
}

// What an access costs on a device: no system call more than it takes by hand.
TEST_F(DriverTest, AccessesMakeNoSystemCallMoreThanByHand) {
    add_e2prom(1, 0x50, dfd_test::e2prom_image({}));
    start(
        "slot_online.mode_1=config\nslot_online.src_1=i2c\nslot_online.frmt_1=num_bytes\n"
        "slot_online.len_1=2\nslot_online.fpath_1=/dev/i2c-1\nslot_online.addr_1=0x50\n" +
        register_item("slot_online", 0x10, "_2") + register_item("fan_state", 0x20, "_1") +
        register_item("fan_line_fail", 0x21, "_1") + constant("subfan_num", 2, "_1") +
        register_item("fan_real_speed", 0x22, "_1_1") +
        register_item("fan_real_speed", 0x23, "_1_2") + "fan_speed_floor=100\n");
    for (const unsigned present_or_fast : {0x20U, 0x22U, 0x23U}) {
        set_reg(present_or_fast, present_or_fast == 0x20 ? 1 : 200);
    }
    int value = 0;
    const std::string byte = "open seek read close ";
    struct Row {
        std::function<int()> access;
        int result;
        std::string calls;
    };
    const auto slot = [](unsigned number) { return DFD_MAKE_KEY(DFD_KEY_SLOT_ONLINE, number, 0); };
    for (const Row &row :
         {Row{[&] { return dfd_info_get_int(slot(1), &value, nullptr); }, 0,
              "open transfer close "},
          Row{[&] { return dfd_info_get_int(slot(2), &value, nullptr); }, 0, byte},
          Row{[&] { return dfd_info_set_int(slot(2), 7); }, 0, "open seek write close "},
          Row{[] { return drv_get_fan_status(1); }, FAN_STATUS_OK, byte + byte + byte + byte}}) {
        chassis.clear_log();
        EXPECT_EQ(row.access(), row.result);
        std::string calls;
        for (const vchassis::Event &event : chassis.log()) {
            const std::string text = vchassis::to_text(event);
            calls += text.substr(0, text.find(' ')) + " ";
        }
        EXPECT_EQ(calls, row.calls);
    }
}

}  // namespace
