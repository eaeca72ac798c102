// SPDX-License-Identifier: MIT
#include "support/library_test.h"

namespace {

using dfd_test::logged_by;

class ConversionTest : public dfd_test::LibraryTest {};

TEST_F(ConversionTest, FirstMatchInLoadingOrderWins) {
    start(
        "fan_speedlvl_convert_1=0x10\nfan_speedlvl_convert_2=0x10\nfan_speedlvl_convert_3=0x30\n"
        "fan_speedlvl_convert_3=0x31\n"
        "power_name_1=ABC\npower_name_1=XYZ\npower_name_2=AB\n"
        "fan_name_7_0=FAN\nfan_name_8_0=FAN-R\n");
    struct Level {
        std::uint32_t regval;
        int level;
    };
    for (const Level &row : {Level{0x10, 1}, Level{0x30, 3}, Level{0x31, 3}}) {
        int level = -1;
        EXPECT_EQ(dfd_lib_cfg_get_fan_speedlvl_by_regval(row.regval, &level), 0);
        EXPECT_EQ(level, row.level) << row.regval;
    }
    struct Name {
        int (*look_up)(const char *, std::uint32_t *);
        const char *name;
        std::uint32_t type;
    };
    for (const Name &row : {Name{dfd_lib_cfg_get_power_type_by_name, "ABCD", 1},
                            Name{dfd_lib_cfg_get_power_type_by_name, "XYZ", 1},
                            Name{dfd_lib_cfg_get_power_type_by_name, "ABD", 2},
                            Name{dfd_lib_cfg_get_fan_type_by_name, "FAN-R", 7},
                            Name{dfd_lib_cfg_get_card_type_by_pid_str, "TESTER\n", 1}}) {
        std::uint32_t type = 0;
        EXPECT_EQ(row.look_up(row.name, &type), 0) << row.name;
        EXPECT_EQ(type, row.type) << row.name;
    }
}

TEST_F(ConversionTest, NoMatchAndNullAreLoggedAndLeaveTheResult) {
    // A name that is too long is no item, and no entry either.
    start("power_name_1=ABC\nfan_name_7_0=FAN\nfan_speedlvl_convert_1=0x10\nfan_name_8_0=" +
          std::string(64, 'x') + "\n");
    std::uint32_t type = 99;
    int level = 99;
    EXPECT_EQ(logged_by(DFD_DEBUG_ERR,
                        [&] {
                            EXPECT_EQ(dfd_lib_cfg_get_fan_speedlvl_by_regval(0x110, &level), -1);
                            EXPECT_EQ(dfd_lib_cfg_get_card_type_by_pid_str("TES", &type), -1);
                            EXPECT_EQ(dfd_lib_cfg_get_power_type_by_name("AB", &type), -1);
                            EXPECT_EQ(dfd_lib_cfg_get_fan_type_by_name("fan", &type), -1);
                        }),
              "get fan speed level by regval[0x110] fail\r\n"
              "get card type by pid str[TES] fail\r\n"
              "get power type by name[AB] fail\r\n"
              "get fan type by name[fan] fail\r\n");
    EXPECT_EQ(logged_by(DFD_DEBUG_ERR,
                        [&] {
                            EXPECT_EQ(dfd_lib_cfg_get_fan_speedlvl_by_regval(1, nullptr), -1);
                            EXPECT_EQ(dfd_lib_cfg_get_power_type_by_name(nullptr, &type), -1);
                            EXPECT_EQ(dfd_lib_cfg_get_fan_type_by_name("FAN", nullptr), -1);
                        }),
              "input arguments error\r\ninput arguments error\r\ninput arguments error\r\n");
    EXPECT_EQ(type, 99U);
    EXPECT_EQ(level, 99);
}

TEST_F(ConversionTest, EmptyNameMatchesEverythingThatReachesIt) {
    start("power_name_1=ABC\npower_name_5=\npower_name_6=XYZ\n");
    for (const auto &[name, expected] : {std::pair{"ABC", 1U}, {"XYZ", 5U}, {"", 5U}}) {
        std::uint32_t type = 0;
        EXPECT_EQ(dfd_lib_cfg_get_power_type_by_name(name, &type), 0);
        EXPECT_EQ(type, expected) << name;
    }
}

TEST(ConversionList, KeepsSixtyThreeCharactersAndOrder) {
    const dfd_test::NeverFreed never_freed;
    dfd_list_head_t list = {&list, &list};
    dfd_lib_cfg_regval_conv_lst_add(&list, 5, std::string(80, 'x').c_str(), 1, 2);
    dfd_lib_cfg_regval_conv_lst_add(&list, 6, nullptr, 3, 4);
    dfd_lib_cfg_regval_conv_lst_add(nullptr, 7, nullptr, 5, 6);
    const auto *first = reinterpret_cast<const val_convert_node_t *>(list.next);
    const auto *second = reinterpret_cast<const val_convert_node_t *>(list.next->next);
    EXPECT_EQ(std::string(first->str_val), std::string(63, 'x'));
    EXPECT_EQ(first->int_val * 100 + first->index1 * 10 + first->index2, 512);
    EXPECT_STREQ(second->str_val, "");
    EXPECT_EQ(second->lst.next, &list);
    EXPECT_EQ(list.prev, &second->lst);
    EXPECT_EQ(second->lst.prev, &first->lst);
}

}  // namespace
