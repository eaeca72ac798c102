// SPDX-License-Identifier: MIT
#include <optional>

#include "support/libc_calls.h"
#include "support/library_test.h"

namespace {

using dfd_test::LibcCall;
using dfd_test::logged_by;
using dfd_test::printed_by;
using testing::HasSubstr;
using testing::Not;

class ParserTest : public dfd_test::LibraryTest {
  protected:
    template <typename Record>
    static const Record *item(std::uint32_t key) {
        return static_cast<const Record *>(dfd_lib_cfg_get_item(key));
    }
    static std::optional<int> number(std::uint32_t key) {
        const int *const record = item<int>(key);
        return record != nullptr ? std::optional(*record) : std::nullopt;
    }
    // What loading `config` logs below the file level.
    std::string log_of(std::uint32_t gate, std::string_view config) {
        return logged_by(gate, [&] { start(config); });
    }
};

TEST_F(ParserTest, IntegersByTheNumberRule) {
    struct Row {
        const char *text;
        int value;
    };
    constexpr Row kRows[] = {
        {"010", 10},   {"0", 0},           {"0x1", 1},         {"1x1", 1}, {"4", 4},
        {"08", 8},     {"-3", -3},         {"abc", 0},         {"0x", 0},  {"0X1f", 31},
        {"0x1g", 1},   {"0xffffffff", -1}, {"12abc", 12},      {"", -1},   {"4294967295", -1},
        {" 1 2 ", 12}, {"\t7\t8", 7},      {"0x100000001", 1}, {"=5", 0}};
    std::string config;
    int slot = 0;
    for (const Row &row : kRows) {
        config += "my_rate_power_" + std::to_string(slot++) + "=" + row.text + "\n";
    }
    start(config);
    slot = 0;
    for (const Row &row : kRows) {
        EXPECT_EQ(number(DFD_MAKE_KEY(DFD_KEY_MY_RATE_POWER, slot++, 0)), row.value)
            << '"' << row.text << '"';
    }
}

// Which key a name lands on; none: the line is skipped.
TEST_F(ParserTest, NamesAndIndexesToKeys) {
    struct Row {
        const char *line;
        std::optional<std::uint32_t> key;
    };
    const Row kRows[] = {
        {"fan_num=1", 0x23000000},
        {" mgmt _def_mtu = 1\r", 0x13000000},
        {"chip_family_7=1", 0x24000000},
        {"fan_speedlvl_convert_3=1", 0x0E000300},
        {"fan_speed_level_support=1", 0x10000000},
        {"sslot_fpga_out_port_3_8=1", 0x1C000308},
        {"sslot_fpga_out_port_4_5_6=1", 0x1C000405},
        {"fan_e2prom_i2c_id_16_9=1", 0x08001000},
        {"power_regval_convert_0x10=1", 0x0D001000},
        {"fan_e2prom_i2c_id_17=1", std::nullopt},
        {"power_rov_i2c_id_-1=1", std::nullopt},
        {"power_rov_i2c_id_=1", std::nullopt},
        {"power_eeprom_i2c_id=1", std::nullopt},
        {"sslot_fpga_out_port_3=1", std::nullopt},
        {"sslot_fpga_out_port_3_9=1", std::nullopt},
        {"sslot_fpga_out_port_3_-1=1", std::nullopt},
        {"none=1", std::nullopt},
        {"end_int=1", std::nullopt},
        {"fan_nu=1", std::nullopt},
        {"\tslot_base=1", std::nullopt},
    };
    std::string config;
    for (const Row &row : kRows) {
        config += std::string(row.line) + "\n";
    }
    config += "slot_base=9\n";
    start(config);
    std::size_t stored = 0;
    for (const Row &row : kRows) {
        if (row.key) {
            EXPECT_EQ(number(*row.key), 1) << row.line;
            ++stored;
        }
    }
    EXPECT_EQ(stored, 9U);
    EXPECT_EQ(number(DFD_MAKE_KEY(DFD_KEY_FAN_E2PROM_I2C_ID, 17, 0)), std::nullopt);
    EXPECT_EQ(number(DFD_MAKE_KEY(DFD_KEY_SSLOT_FPGA_OUT_PORT, 3, 9)), std::nullopt);
    EXPECT_EQ(number(DFD_MAKE_KEY(DFD_KEY_SSLOT_FPGA_OUT_PORT, 3, -1)), std::nullopt);
    EXPECT_EQ(number(DFD_MAKE_KEY(DFD_KEY_SLOT_BASE, 0, 0)), 9);
}

TEST_F(ParserTest, KeysCutIndexesButListsKeepThem) {
    start("card_pid_str_0x123456_300=ABC\ncard_pid_str_0x13456_44=XYZ\n");
    EXPECT_STREQ(item<char>(0x2834562C), "XYZ");
    std::uint32_t type = 0;
    EXPECT_EQ(dfd_lib_cfg_get_card_type_by_pid_str("ABC-1", &type), 0);
    EXPECT_EQ(type, 0x123456U);
}

TEST_F(ParserTest, MembersOfEveryRecordKind) {
    const std::string long_path(200, 'p');
    start(
        "slot_online.mode_5=configX\nslot_online.src_5=i2c-bus\nslot_online.frmt_5=bytes\n"
        "slot_online.pola_5=negative\nslot_online.addr_5=0x50\nslot_online.reg_offset_5=0x1c\n"
        "slot_online.len_5=2\nslot_online.bit_offset_5=3\nslot_online.int_cons_5=-7\n"
        "slot_online.fpath_5=" +
        long_path +
        "\n"
        "slot_online.mode_32=legacy\nslot_online.src_32=xyz\nslot_online.frmt_32=num_buf\n"
        "cpld_i2c_dev.bus_16=2\ncpld_i2c_dev.addr_16=0x40\n"
        "mb_fan_led_info.dark=1\nmb_fan_led_info.fspark_close=7\nmb_fan_led_info.spark=\n"
        "card_temp_info.temp_name_2_7=inlet\ncard_temp_info.type_2_7=lm75\n"
        "irq_ctrl_info.irq_flag=1\nirq_ctrl_info.irq_clr_flag=2\nirq_ctrl_info.irq_clr_bit=3\n"
        "irq_info.type_0x102_3=poe_power_ac\nirq_info.val2_0x102_3=9\n"
        "irq_info.type_0x0_8=unheard_of\nirq_info.val1_0x102_3=8\nirq_info.val0_0x102_3=7\n"
        "mb_fan_led_info.green=2\nmb_fan_led_info.red=3\nmb_fan_led_info.yellow=4\n"
        "mb_fan_led_info.fspark_open=6\nirq_info.type_0_0=fe_offline\n"
        "card_temp_info.type_3_0=tmp411\ncard_temp_info.type_4_0=mac\n"
        "temp_name_1=\ta#b\tc\n");
    const auto *ctrl = item<info_ctrl_t>(0x39000500);
    ASSERT_NE(ctrl, nullptr);
    EXPECT_EQ(ctrl->mode, INFO_CTRL_MODE_CONFIG);
    EXPECT_EQ(ctrl->int_cons, -7);
    EXPECT_EQ(ctrl->src, INFO_SRC_I2C);
    EXPECT_EQ(ctrl->frmt, INFO_FRMT_BYTE);
    EXPECT_EQ(ctrl->pola, INFO_POLA_NEGATIVE);
    EXPECT_EQ(std::string(ctrl->fpath), std::string(127, 'p'));
    EXPECT_EQ(ctrl->addr, 0x50U);
    EXPECT_EQ(ctrl->reg_offset, 0x1CU);
    EXPECT_EQ(ctrl->len, 2U);
    EXPECT_EQ(ctrl->bit_offset, 3U);
    EXPECT_EQ(ctrl->spare, 0U);
    const auto *last = item<info_ctrl_t>(0x39002000);
    ASSERT_NE(last, nullptr);
    EXPECT_EQ(last->mode, INFO_CTRL_MODE_LEGACY);
    EXPECT_EQ(last->src, INFO_SRC_NONE) << "an unknown word is 0";
    EXPECT_EQ(last->frmt, INFO_FRMT_NUM_BUF);
    const auto *dev = item<i2c_dev_t>(DFD_MAKE_KEY(DFD_KEY_CPLD_I2C_DEV, 16, 0));
    ASSERT_NE(dev, nullptr);
    EXPECT_EQ(dev->bus, 2U);
    EXPECT_EQ(dev->addr, 0x40U);
    const auto *led = item<led_info_t>(DFD_MAKE_KEY(DFD_KEY_MB_FAN_LED_INFO, 0, 0));
    ASSERT_NE(led, nullptr);
    EXPECT_EQ((std::vector{led->dark, led->green, led->red, led->yellow, led->spark,
                           led->fspark_open, led->fspark_close}),
              (std::vector{1U, 2U, 3U, 4U, LED_REGVAL_UNSET, 6U, 7U}));
    const auto *temp = item<temp_info_t>(0xBB000207);
    ASSERT_NE(temp, nullptr);
    EXPECT_STREQ(temp->temp_name, "inlet");
    EXPECT_EQ(temp->type, TEMP_INFO_LM75);
    EXPECT_EQ(item<temp_info_t>(0xBB000300)->type, TEMP_INFO_TMP411);
    EXPECT_EQ(item<temp_info_t>(0xBB000400)->type, TEMP_INFO_MAC);
    EXPECT_STREQ(item<temp_info_t>(0xBB000400)->temp_name, "") << "a member that no line mentions";
    EXPECT_STREQ(item<char>(0x27000100), "a#b") << "the first word; no comment inside a line";
    const auto *irq_ctrl = item<irq_ctrl_t>(DFD_MAKE_KEY(DFD_KEY_IRQ_CTRL_INFO, 0, 0));
    ASSERT_NE(irq_ctrl, nullptr);
    EXPECT_EQ(irq_ctrl->irq_flag * 100 + irq_ctrl->irq_clr_flag * 10 + irq_ctrl->irq_clr_bit, 123U);
    const auto *irq = item<irq_info_t>(DFD_MAKE_KEY(DFD_KEY_IRQ_INFO, 0x102, 3));
    ASSERT_NE(irq, nullptr);
    EXPECT_EQ(irq->type, IRQ_TYPE_POE_POWER);
    EXPECT_EQ(irq->val0 * 100 + irq->val1 * 10 + irq->val2, 789U);
    EXPECT_EQ(item<irq_info_t>(DFD_MAKE_KEY(DFD_KEY_IRQ_INFO, 0, 0))->type, IRQ_TYPE_FE_OFFLINE);
    EXPECT_EQ(item<irq_info_t>(DFD_MAKE_KEY(DFD_KEY_IRQ_INFO, 0, 8))->type, IRQ_TYPE_UNKNOWN);
}

// Words and members as configuration files write them; the position is the number that is stored.
TEST(Words, StandAtTheirNumbers) {
    const auto joined = [](auto &words) {
        std::string text;
        for (const char *const word : words) {
            text += std::string(word) + " ";
        }
        return text;
    };
    EXPECT_EQ(joined(info_ctrl_mode_str), "none config constant tlv fru func legacy ");
    EXPECT_EQ(joined(info_src_str), "none localbus i2c file ");
    EXPECT_EQ(joined(info_frmt_str), "none bit byte num_bytes num_str num_buf buf ");
    EXPECT_EQ(joined(info_pola_str), "none positive negative ");
    EXPECT_EQ(joined(temp_info_type_str), "none lm75 tmp411 mac ");
    EXPECT_EQ(joined(dfd_i2c_dev_mem_str), ".bus .addr ");
    EXPECT_EQ(joined(info_ctrl_mem_str),
              ".mode .int_cons .src .frmt .pola .fpath .addr .reg_offset .len .bit_offset ");
    EXPECT_EQ(joined(led_info_mem_str),
              ".dark .green .red .yellow .spark .fspark_open .fspark_close ");
    EXPECT_EQ(joined(temp_info_mem_str), ".temp_name .type ");
    EXPECT_EQ(joined(irq_ctrl_mem_str), ".irq_flag .irq_clr_flag .irq_clr_bit ");
    EXPECT_EQ(joined(irq_info_mem_str), ".type .val0 .val1 .val2 ");
    std::string irq_types;
    for (const irq_type_name_t &row : g_irq_type_name) {
        irq_types += std::to_string(row.type) + " " + row.name + " ";
    }
    EXPECT_EQ(irq_types,
              "0 card 1 power 2 fan 3 poe_power 4 poe 5 sfp 6 heartbeat 7 phy 8 system_power "
              "9 fe_offline 10 reset_button ");
}

TEST_F(ParserTest, LaterLinesReplaceMemberByMember) {
    EXPECT_EQ(
        log_of(DFD_DEBUG_WARN,
               "fan_num=4\nfan_num=6\ntemp_name_1=abcdef\ntemp_name_1=xy\n"
               "slot_online.len_5=2\nslot_online.mode_5=fru\nslot_online.len_5=3\nsslot_num=\n"),
        "line2: replace int item[4->6], key=0x23000000\r\n"
        "line4: replace string item[abcdef->xy], key=0x27000100\r\n"
        "line8: value str is empty\r\n");
    EXPECT_EQ(number(0x23000000), 6);
    EXPECT_STREQ(item<char>(0x27000100), "xy");
    EXPECT_EQ(item<char>(0x27000100)[3], '\0') << "no rest of the longer text";
    EXPECT_EQ(item<info_ctrl_t>(0x39000500)->mode, INFO_CTRL_MODE_FRU);
    EXPECT_EQ(item<info_ctrl_t>(0x39000500)->len, 3U);
}

TEST_F(ParserTest, LinesThatCannotBeStoredAreLoggedAndSkipped) {
    const std::string too_long(64, 's');
    EXPECT_EQ(
        log_of(DFD_DEBUG_ERR,
               "slot_online.mode=config\nslot_online.mode_33=config\n"
               "sslot_fpga_out_port_3=1\nsslot_fpga_out_port_3_9=1\n"
               "slot_online.size_1=1\nslot_online_1=1\ncpld_i2c_dev.buz_0=1\n"
               "mb_fan_led_info.pink=1\ncard_temp_info.x=1\nirq_info.y=1\n"
               "irq_ctrl_info.z=1\ntemp_name_0=" +
                   too_long + "\ntemp_name_1=" + too_long.substr(1) + "\nend_led_info=1\n"),
        "line1: no '-' between name and index1\r\n"
        "line2: index1[33] invalid, max=32\r\n"
        "line3: no '-' between index1 and index2\r\n"
        "line4: index2[9] invalid, max=8\r\n"
        "line5: info ctrl member[.size_1] invalid\r\n"
        "line6: info ctrl member[_1] invalid\r\n"
        "line7: i2c dev member[.buz_0] invalid\r\n"
        "line12: string item[" +
            too_long +
            "] is too long \r\n"
            "open config file[/etc/cfg/dfd/chassis/1.cfg] fail, error=No such file or directory\n");
    EXPECT_EQ(dfd_lib_cfg_get_item(0x27000000), nullptr);
    EXPECT_STREQ(item<char>(0x27000100), too_long.substr(1).c_str());
}

// The line behind the one that finds no memory is stored.
TEST_F(ParserTest, WithoutMemoryALineIsLoggedAndSkipped) {
    struct Row {
        const char *line;
        LibcCall call;
        unsigned skip;
        std::uint32_t key;
        const char *message;
    };
    constexpr LibcCall kMemory = LibcCall::allocation;
    constexpr LibcCall kTree = LibcCall::tsearch;
    const Row kRows[] = {
        {"fan_num=4", kMemory, 0, 0x23000000, "malloc int fail\r\n"},
        {"fan_num=4", kMemory, 1, 0x23000000, "add int item[4] fail, key=0x23000000 rv=-1 \r\n"},
        {"fan_num=0x11", kTree, 0, 0x23000000, "add int item[17] fail, key=0x23000000 rv=-1 \r\n"},
        {"temp_name_1=abc", kMemory, 0, 0x27000100, "malloc str[3] fail\r\n"},
        {"temp_name_1=abc", kTree, 0, 0x27000100,
         "add string item[abc] fail, key=0x27000100 rv=-1 \r\n"},
        {"cpld_i2c_dev.bus_3=2", kMemory, 0, 0x32000300, "malloc i2c_dev fail\r\n"},
        {"cpld_i2c_dev.bus_3=0x20", kTree, 0, 0x32000300,
         "add i2c_dev item[.bus=32] fail, key=0x32000300 rv=-1\r\n"},
        {"slot_online.len_5=2", kMemory, 0, 0x39000500, "malloc info_ctrl fail\r\n"},
        {"slot_online.len_5=2", kTree, 0, 0x39000500,
         "add info_ctrl item[.len=2] fail, key=0x39000500 rv=-1\r\n"},
        // The other kinds go by the same words.
        {"irq_ctrl_info.irq_flag=1", kMemory, 0, 0xAD000000, "malloc info_ctrl fail\r\n"},
        {"irq_ctrl_info.irq_clr_bit=1", kTree, 0, 0xAD000000,
         "add info_ctrl item[.src=1] fail, key=0xad000000 rv=-1\r\n"},
        {"irq_info.type_1_2=fan", kMemory, 0, 0xAF000102, "malloc info_ctrl fail\r\n"},
        {"irq_info.val2_1_2=fan", kTree, 0, 0xAF000102,
         "add info_ctrl item[.frmt=fan] fail, key=0xaf000102 rv=-1\r\n"},
        {"mb_fan_led_info.red=3", kMemory, 0, 0xB6000000, "malloc info_ctrl fail\r\n"},
        {"mb_fan_led_info.red=3", kTree, 0, 0xB6000000,
         "add info_ctrl item[.red=3] fail, key=0xb6000000 rv=-1\r\n"},
        {"card_temp_info.type_2_7=mac", kMemory, 0, 0xBB000207, "malloc info_ctrl fail\r\n"},
        {"card_temp_info.type_2_7=mac", kTree, 0, 0xBB000207,
         "add info_ctrl item[.type=mac] fail, key=0xbb000207 rv=-1\r\n"},
    };
    for (const Row &row : kRows) {
        if (row.call == kMemory && !dfd_test::kAllocationsCanFail) {
            continue;
        }
        dfd_test::in_own_process(row.line, [&] {
            start("");
            write_config("card_pid", std::string(row.line) + "\nsslot_num=7\n");
            const dfd_test::FailingCalls failing(row.call, row.skip);
            EXPECT_EQ(logged_by(DFD_DEBUG_ERR, [] { EXPECT_EQ(dfd_lib_cfg_init_pre(), 0); }),
                      std::string("line1: ") + row.message);
            EXPECT_TRUE(failing.all_happened());
            EXPECT_EQ(dfd_lib_cfg_get_item(row.key), nullptr);
            EXPECT_EQ(number(DFD_MAKE_KEY(DFD_KEY_SSLOT_NUM, 0, 0)), 7);
        });
    }
}

TEST_F(ParserTest, AnItemWithoutMemoryForItsListEntryIsStored) {
    if (!dfd_test::kAllocationsCanFail) {
        GTEST_SKIP() << "the sanitizer owns the allocator";
    }
    start("");
    write_config("card_pid", "power_name_1=ABC\npower_name_2=ABC\n");
    {
        const dfd_test::FailingCalls failing(LibcCall::allocation, 2);
        EXPECT_EQ(logged_by(DFD_DEBUG_ERR, [] { EXPECT_EQ(dfd_lib_cfg_init_pre(), 0); }),
                  "malloc val_convert_node_t fail\r\n");
    }
    EXPECT_STREQ(item<char>(DFD_MAKE_KEY(DFD_KEY_POWER_NAME, 1, 0)), "ABC");
    std::uint32_t type = 0;
    EXPECT_EQ(dfd_lib_cfg_get_power_type_by_name("ABC", &type), 0);
    EXPECT_EQ(type, 2U) << "the first entry is missing";
}

TEST_F(ParserTest, VerboseTraceSaysWhatEachLineBecame) {
    const std::string text = log_of(DFD_DEBUG_VBOSE,
                                    "  \r\n#x=1\nfan_num = 4\ncpld_i2c_dev.addr_0=0x40\n"
                                    "cpld_i2c_dev.addr_0=0x41\nmb_fan_led_info.red=3\n"
                                    "irq_info.val0_1_2=9\nirq_info.val0_1_2=8\ntemp_name_1=a\n"
                                    "irq_ctrl_info.irq_flag=1\ncpld_i2c_dev.bus_0=\n");
    for (const char *line : {"line1: space line\r\n", "line2: comment line\r\n",
                             "line3: config_line[fan_num=4] name[fan_num] value[4]\r\n"
                             "line3: add int item[4] success, key=0x23000000\r\n",
                             "line4: add i2c_dev item[.addr=64] success, key=0x32000000\r\n",
                             "line5: replace i2c_dev item[.addr=65], key=0x32000000\r\n",
                             "line6: add info_ctrl item[.red=3] success, key=0xb6000000\r\n",
                             // The interrupt kinds go by the info_ctrl names.
                             "line7: add info_ctrl item[.int_cons=9] success, key=0xaf000102\r\n",
                             "line8: replace info_ctrl item[.int_cons=8], key=0xaf000102\r\n",
                             "line9: add string item[a] success, key=0x27000100\r\n",
                             "line10: add info_ctrl item[.mode=1] success, key=0xad000000\r\n",
                             "line11: replace i2c_dev item[.bus=-1], key=0x32000000\r\n"}) {
        EXPECT_THAT(text, HasSubstr(line));
    }
}

TEST_F(ParserTest, MessagesNameTheirFunctions) {
    struct Row {
        const char *config;
        std::uint32_t gate;
        const char *functions;  // of the lines; the chassis file's message follows
    };
    for (const Row &row :
         {Row{"fan_num\n", DFD_DEBUG_ERR, "dfd_lib_cfg_analyse_config_line "},
          Row{"=4\n", DFD_DEBUG_ERR, "dfd_lib_cfg_analyse_config_line "},
          Row{"power_name=A\n", DFD_DEBUG_ERR, "dfd_lib_cfg_analyse_index "},
          Row{"sslot_fpga_out_port_1=1\n", DFD_DEBUG_ERR, "dfd_lib_cfg_analyse_index "},
          Row{"slot_online.len_33=1\n", DFD_DEBUG_ERR, "dfd_lib_cfg_check_array_index "},
          Row{"sslot_fpga_out_port_1_9=1\n", DFD_DEBUG_ERR, "dfd_lib_cfg_check_array_index "},
          Row{"slot_online.x_1=1\n", DFD_DEBUG_ERR, "dfd_lib_cfg_get_info_ctrl_member "},
          Row{"cpld_i2c_dev.x_1=1\n", DFD_DEBUG_ERR, "dfd_lib_cfg_get_i2c_dev_member "},
          Row{"mb_status_led_info.blue=1\n", DFD_DEBUG_ERR, ""},
          Row{"card_temp_info.name_2_7=x\n", DFD_DEBUG_ERR, ""},
          Row{"irq_ctrl_info.flag=1\n", DFD_DEBUG_ERR, ""},
          Row{"irq_info.val3_1_2=1\n", DFD_DEBUG_ERR, ""},
          Row{"fan_num=\n", DFD_DEBUG_WARN, "dfd_lib_cfg_get_value_from_char "},
          Row{"fan_num=1\nfan_num=2\n", DFD_DEBUG_WARN, "dfd_lib_cfg_add_int_item "},
          Row{"temp_name_1=a\ntemp_name_1=b\n", DFD_DEBUG_WARN, "dfd_lib_cfg_add_str_item "},
          Row{"\n#\n", DFD_DEBUG_VBOSE,
              "dfd_lib_cfg_analyse_config_line dfd_lib_cfg_analyse_config_line "},
          Row{"fan_num=1\n", DFD_DEBUG_VBOSE,
              "dfd_lib_cfg_analyse_config_line dfd_lib_cfg_add_int_item "},
          Row{"temp_name_1=a\n", DFD_DEBUG_VBOSE,
              "dfd_lib_cfg_analyse_config_line dfd_lib_cfg_add_str_item "},
          Row{"cpld_i2c_dev.bus_1=1\n", DFD_DEBUG_VBOSE,
              "dfd_lib_cfg_analyse_config_line dfd_lib_cfg_add_i2c_dev_item "},
          Row{"slot_online.len_1=1\nslot_online.len_1=2\n", DFD_DEBUG_VBOSE,
              "dfd_lib_cfg_analyse_config_line dfd_lib_cfg_add_info_ctrl_item "
              "dfd_lib_cfg_analyse_config_line dfd_lib_cfg_add_info_ctrl_item "},
          Row{"mb_fan_led_info.red=1\n", DFD_DEBUG_VBOSE,
              "dfd_lib_cfg_analyse_config_line dfd_lib_cfg_add_led_info_item "},
          Row{"card_temp_info.type_1_1=mac\n", DFD_DEBUG_VBOSE,
              "dfd_lib_cfg_analyse_config_line dfd_lib_cfg_add_temp_info_item "},
          Row{"irq_ctrl_info.irq_flag=1\n", DFD_DEBUG_VBOSE,
              "dfd_lib_cfg_analyse_config_line dfd_lib_cfg_add_irq_ctrl_item "},
          Row{"irq_info.val1_1_1=1\n", DFD_DEBUG_VBOSE,
              "dfd_lib_cfg_analyse_config_line dfd_lib_cfg_add_irq_info_item "}}) {
        dfd_test::in_own_process(row.config, [&] {
            start("");
            write_config("card_pid", row.config);
            std::string functions = row.functions;
            if (row.gate == DFD_DEBUG_VBOSE) {
                functions = "dfd_lib_cfg_init_pre " + functions;
            } else if (std::string_view(row.functions) == "dfd_lib_cfg_analyse_config_line ") {
                functions += "dfd_lib_cfg_init_pre ";
            }
            EXPECT_EQ(dfd_test::functions_logged_by(row.gate, [] { dfd_lib_cfg_init_pre(); }),
                      functions);
        });
    }
    dfd_test::in_own_process("start-up", [&] {
        chassis.remove_file("/tmp/bspinfo/ProductID");
        chassis.remove_file("/etc/cfg/dfd/cfg_file/card_pid.cfg");
        EXPECT_EQ(dfd_test::functions_logged_by(DFD_DEBUG_ERR, [] { dev_drv_init(); }),
                  "dfd_lib_cfg_analyse_config_file dfd_lib_cfg_init_pre dfd_lib_cfg_init ");
        write_board("ABC", "card_pid_str_42_0=ABC\n");
        EXPECT_EQ(dfd_test::functions_logged_by(DFD_DEBUG_ERR, [] { dev_drv_init(); }),
                  "dfd_lib_cfg_init ")
            << "no list";
        write_list(42, "one\n");
        EXPECT_EQ(dfd_test::functions_logged_by(DFD_DEBUG_ERR, [] { dev_drv_init(); }),
                  "dfd_lib_cfg_analyse_config_file dfd_lib_cfg_analyse_config_file ")
            << "the listed file and that of the chassis";
        EXPECT_EQ(
            dfd_test::functions_logged_by(DFD_DEBUG_ERR,
                                          [] {
                                              std::uint32_t type = 0;
                                              int level = 0;
                                              dfd_lib_cfg_get_card_type_by_pid_str("X", &type);
                                              dfd_lib_cfg_get_power_type_by_name("X", &type);
                                              dfd_lib_cfg_get_fan_type_by_name("X", nullptr);
                                              dfd_lib_cfg_get_fan_speedlvl_by_regval(1, &level);
                                          }),
            "dfd_lib_cfg_get_card_type_by_pid_str dfd_lib_cfg_get_power_type_by_name "
            "dfd_lib_cfg_get_fan_type_by_name dfd_lib_cfg_get_fan_speedlvl_by_regval ");
    });
}

TEST_F(ParserTest, OnlyLinesWithoutEqualsOrNameFailAFile) {
    struct Row {
        const char *line;
        const char *reason;
    };
    for (const Row &row : {Row{"fan _num", "line2: [fan_num]no '=' between name and value\r\n"},
                           Row{"=4", "line2: [=4]sscanf arg to memory error\r\n"}}) {
        dfd_test::in_own_process(row.line, [&] {
            const std::string config = std::string("slot_base=1\n") + row.line + "\nsslot_base=2\n";
            std::string trimmed = row.line;
            std::erase(trimmed, ' ');
            const std::string verdict = "!!!!file[/etc/cfg/dfd/cfg_file/board.cfg] config line[2 " +
                                        trimmed + "] analyse fail\r\n";
            EXPECT_EQ(printed_by([&] { start(config); }), verdict) << "whatever the gate";
            EXPECT_EQ(number(DFD_MAKE_KEY(DFD_KEY_SLOT_BASE, 0, 0)), 1);
            EXPECT_EQ(number(DFD_MAKE_KEY(DFD_KEY_SSLOT_BASE, 0, 0)), std::nullopt);
            EXPECT_THAT(log_of(DFD_DEBUG_ERR, config), HasSubstr(row.reason + verdict));
        });
    }
}

TEST_F(ParserTest, LongLinesAreSeveralLines) {
    // 255 characters fill the buffer; what follows is line 2.
    std::string line = "slot_base=";
    line.resize(254, ' ');
    start(line + "1sslot_base=2\n");
    EXPECT_EQ(number(DFD_MAKE_KEY(DFD_KEY_SLOT_BASE, 0, 0)), 1);
    EXPECT_EQ(number(DFD_MAKE_KEY(DFD_KEY_SSLOT_BASE, 0, 0)), 2);
}

TEST_F(ParserTest, DumpsWhateverTheGate) {
    start(
        "fan_num=4\ntemp_name_1=inlet\ncpld_i2c_dev.addr_0=0x41\nmb_fan_led_info.red=3\n"
        "slot_online.mode_5=config\nslot_online.src_5=localbus\nslot_online.frmt_5=bit\n"
        "slot_online.pola_5=negative\nslot_online.fpath_5=/dev/cpld0\nslot_online.len_5=1\n"
        "slot_online.reg_offset_5=3\nslot_online.bit_offset_5=2\nslot_online.addr_5=0x10\n"
        "fan_speedlvl_convert_2=0x30\nfan_name_0x1234_300=FAN\n");
    const std::string stars = std::string(26, '*') + "\r\n";
    struct Row {
        std::uint32_t key;
        std::string text;
    };
    for (const Row &row :
         {Row{0x01000000, "item[0x01000000] not exist\r\n"},
          Row{0x23000000, stars + "key=0x23000000\r\nint=4\r\n"},
          Row{0x27000100, stars + "key=0x27000100\r\nstring=inlet\r\n"},
          Row{0x32000000, stars + "key=0x32000000\r\n.bus=0x00\r\n.addr=0x41\r\n"},
          Row{0xB6000000, stars + "key=0xb6000000\r\nitem[182] error!\r\n"},
          Row{0x39000500, stars + "key=0x39000500\r\n.mode=config\r\n.int_cons=0\r\n"
                                  ".src=localbus\r\n.frmt=bit\r\n.pola=negative\r\n"
                                  ".fpath=/dev/cpld0\r\n.addr=0x10\r\n.len=1\r\n"
                                  ".bit_offset=2\r\n"}}) {
        EXPECT_EQ(printed_by([&] { dfd_lib_cfg_show_item(row.key); }), row.text);
    }
    EXPECT_EQ(printed_by([] { dfd_lib_cfg_print_item(0x23000000, nullptr); }), "");
    EXPECT_EQ(printed_by([] { dfd_lib_cfg_show_convert_lst(1); }),
              "card pid string convert list:\r\n"
              "index1=0x0001 index2=0x00 int_val=0 str_val=TEST\r\n");
    EXPECT_EQ(printed_by([] { dfd_lib_cfg_show_convert_lst(2); }), "power name convert list:\r\n");
    EXPECT_EQ(printed_by([] { dfd_lib_cfg_show_convert_lst(0); }),
              "fan speed level convert list:\r\nindex1=0x0002 index2=0x00 int_val=48 str_val=\r\n");
    EXPECT_EQ(printed_by([] { dfd_lib_cfg_show_convert_lst(3); }),
              "fan name convert list:\r\nindex1=0x1234 index2=0x12c int_val=0 str_val=FAN\r\n");
    EXPECT_EQ(printed_by([] { dfd_lib_cfg_show_convert_lst(4); }), "");
}

}  // namespace
