// SPDX-License-Identifier: MIT
#include "support/board.h"

namespace {

using dfd_test::register_item;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

std::vector<std::uint32_t> g_reported;  // val0 of each source, in order

int collect(const irq_info_t *source) {
    g_reported.push_back(source->val0);
    return -1;  // ignored
}

std::string control(int flag, int clear_flag, int clear_bit) {
    return "irq_ctrl_num=1\nirq_ctrl_info.irq_flag=" + std::to_string(flag) +
           "\nirq_ctrl_info.irq_clr_flag=" + std::to_string(clear_flag) +
           "\nirq_ctrl_info.irq_clr_bit=" + std::to_string(clear_bit) + "\n";
}

// A source at (i, j, k) whose val0 is ijk.
std::string source(unsigned i, unsigned j, unsigned k, const char *type = "fan") {
    const std::string at = "_" + std::to_string(i << 8 | j) + "_" + std::to_string(k);
    return "irq_info.type" + at + "=" + type + "\nirq_info.val0" + at + "=" +
           std::to_string(i * 100 + j * 10 + k) + "\n";
}

// Registers: first level 0x10/0x11, second level of bit i 0x20 + i, third level of (i, j) 0x80 + 8i
// + j; the clear registers 0x100 above.
std::string first_level() {
    return register_item("1st_irq_status", 0x10) + register_item("1st_irq_clear", 0x110);
}
std::string second_level(unsigned i) {
    const std::string at = "_" + std::to_string(i);
    return register_item("2nd_irq_status", 0x20 + i, at) +
           register_item("2nd_irq_clear", 0x120 + i, at);
}
std::string third_level(unsigned i, unsigned j) {
    const std::string at = "_" + std::to_string(i) + "_" + std::to_string(j);
    return register_item("3rd_irq_status", 0x80 + 8 * i + j, at) +
           register_item("3rd_irq_clear", 0x180 + 8 * i + j, at);
}

class IrqTest : public dfd_test::BoardTest {
  protected:
    void start_irq(const std::string &config) {
        start(config);
        g_reported.clear();
        ASSERT_EQ(drv_irq_cfg_init(), 1);
    }
};

TEST_F(IrqTest, WalksThreeLevelsAndClearsEach) {
    start_irq(control(1, 1, 1) + first_level() + second_level(1) + third_level(1, 2) +
              third_level(1, 3) + source(1, 2, 0) + source(1, 2, 2) + source(1, 3, 7) +
              source(4, 0, 0) + source(1, 6, 0));
    set_reg(0x10, 1 << 1 | 1 << 4);
    set_reg(0x21, 1 << 2 | 1 << 3 | 1 << 6);
    set_reg(0x8A, 0x07);  // bit 1 has no irq_info
    set_reg(0x8B, 0x80);
    chassis.clear_log();
    EXPECT_EQ(sdd_irq_dispatch(0, collect), 0);
    EXPECT_THAT(g_reported, ElementsAre(120U, 122U, 137U, 160U, 400U));
    EXPECT_THAT(writes(), ElementsAre(Pair(0x18AU, 0x07U), Pair(0x18BU, 0x80U), Pair(0x121U, 0x4CU),
                                      Pair(0x110U, 0x12U)));
    EXPECT_THAT(reads(), ElementsAre(0x10U, 0x21U, 0x8AU, 0x8BU));
    EXPECT_EQ(sdd_irq_dispatch(0, nullptr), 0) << "no handler: only the walk";
    EXPECT_EQ(sdd_irq_dispatch(1, collect), -1) << "there is one controller";
}

TEST_F(IrqTest, SecondLevelClearRepeatsForEveryPendingBit) {
    start_irq(control(1, 1, 0) + first_level() + second_level(0));
    set_reg(0x10, 1);
    set_reg(0x20, 0x81);
    chassis.clear_log();
    EXPECT_EQ(sdd_irq_dispatch(0, collect), 0);
    EXPECT_THAT(writes(), ElementsAre(Pair(0x120U, 0xFFU), Pair(0x120U, 0xFFU)));
}

TEST_F(IrqTest, PolaritiesOfStatusAndClear) {
    struct Row {
        int flag, clear_flag, clear_bit;
        std::uint8_t status;  // of the first level: bit 2 pending
        unsigned written;
    };
    for (const Row &row :
         {Row{1, 1, 1, 0x04, 0x04}, Row{1, 0, 1, 0x04, 0xFB}, Row{0, 1, 1, 0xFB, 0x04},
          Row{0, 0, 0, 0xFB, 0x00}, Row{7, 9, 0, 0x04, 0xFF}}) {
        dfd_test::in_own_process("polarity", [&] {
            start_irq(control(row.flag, row.clear_flag, row.clear_bit) + first_level() +
                      source(2, 0, 0));
            set_reg(0x10, row.status);
            chassis.clear_log();
            EXPECT_EQ(sdd_irq_dispatch(0, collect), 0);
            EXPECT_THAT(g_reported, ElementsAre(200U));
            EXPECT_THAT(writes(), ElementsAre(Pair(0x110U, row.written)));
        });
    }
}

TEST_F(IrqTest, FirstLevelMissingOrFailing) {
    for (const int flag : {0, 1}) {
        dfd_test::in_own_process("missing", [&] {
            start_irq(control(flag, 1, 1) + source(0, 0, 0) + source(7, 0, 0));
            EXPECT_EQ(sdd_irq_dispatch(0, collect), 0);
            EXPECT_THAT(g_reported, ElementsAre(0U, 700U)) << "all eight bits are walked";
        });
    }
    start_irq(control(1, 1, 1) + dfd_test::broken_item("1st_irq_status") + source(0, 0, 0));
    EXPECT_EQ(sdd_irq_dispatch(0, collect), -1);
    EXPECT_THAT(g_reported, IsEmpty());
}

TEST_F(IrqTest, ControllersMustBeSetUp) {
    EXPECT_EQ(drv_irq_cfg_init(), -6);
    EXPECT_EQ(sdd_irq_dispatch(0, collect), -1);
    start(control(1, 1, 1) + "irq_ctrl_num=6\n");
    EXPECT_EQ(sdd_get_irq_ctrl_num(), 6);
    EXPECT_EQ(drv_irq_cfg_init(), -1) << "more than the table holds";
    *static_cast<int *>(dfd_lib_cfg_get_item(DFD_MAKE_KEY(DFD_KEY_IRQ_CTRL_NUM, 0, 0))) = 5;
    EXPECT_EQ(drv_irq_cfg_init(), 5);
    EXPECT_EQ(sdd_irq_dispatch(4, collect), 0);
    EXPECT_EQ(sdd_irq_dispatch(5, collect), -1);
    dfd_test::in_own_process("no polarity", [&] {
        start("irq_ctrl_num=1\n");
        EXPECT_EQ(drv_irq_cfg_init(), -1);
    });
}

TEST_F(IrqTest, MasksByType) {
    std::string masks;
    const auto mask_items = [](unsigned i, unsigned j, unsigned k, unsigned reg) {
        std::string lines;
        for (unsigned m = 0; m < 16; ++m) {
            lines +=
                register_item("irq_mask", reg + m,
                              "_" + std::to_string(i << 8 | j) + "_" + std::to_string(k << 4 | m));
        }
        return lines;
    };
    // The parser takes index2 up to 8: only the first sub-entries of k = 0 can be configured by a
    // file.
    start(source(1, 2, 0) + source(1, 3, 0) + source(7, 7, 7, "sfp") + source(1, 2, 0, "sfp") +
          source(1, 3, 1, "poe") + mask_items(1, 2, 0, 0x200) + mask_items(1, 3, 0, 0x210) +
          mask_items(5, 5, 0, 0x220));
    chassis.clear_log();
    EXPECT_EQ(dfd_irq_set_cfg(IRQ_TYPE_FAN, 0), 0);
    EXPECT_EQ(writes().size(), 9U);
    EXPECT_EQ(reg(0x210), 0xFF);
    EXPECT_EQ(reg(0x218), 0xFF);
    EXPECT_EQ(reg(0x200), 0) << "a later line made it an SFP source";
    EXPECT_EQ(dfd_irq_set_cfg(IRQ_TYPE_FAN, 1), 0);
    EXPECT_EQ(reg(0x210), 0);
    EXPECT_EQ(dfd_irq_set_cfg(IRQ_TYPE_POE, 0), 0);
    EXPECT_EQ(reg(0x218), 0) << "the ninth sub-entry of k = 0, none of k = 1";
    EXPECT_EQ(dfd_irq_set_cfg(IRQ_TYPE_SFP, 2), 0) << "anything but 1 masks";
    EXPECT_EQ(reg(0x200), 0xFF);
    EXPECT_EQ(dfd_irq_set_cfg(IRQ_TYPE_CARD, 0), 0);
    EXPECT_EQ(reg(0x220), 0xFF) << "a position without a source counts as card";
}

// Only a line of `.type` sets it; a position is told by all three of its bits.
TEST_F(IrqTest, TypesComeFromTheirLineAlone) {
    start(
        "irq_info.type_0x201_3=fan\nirq_info.type_0x102_0=phy\nirq_info.type_0x103_0=sfp\n"
        "irq_info.type_0x103_0=poe\n" +
        register_item("irq_mask", 0x40, "_513_0") + register_item("irq_mask", 0x41, "_258_0") +
        register_item("irq_mask", 0x42, "_259_0"));
    chassis.clear_log();
    EXPECT_EQ(dfd_irq_set_cfg(IRQ_TYPE_FAN, 0), 0);
    EXPECT_THAT(writes(), IsEmpty()) << "the fan is at bit 3, the masks at bit 0";
    EXPECT_EQ(dfd_irq_set_cfg(IRQ_TYPE_CARD, 0), 0);
    EXPECT_THAT(writes(), ElementsAre(Pair(0x40U, 255U)));
    chassis.clear_log();
    EXPECT_EQ(dfd_irq_set_cfg(IRQ_TYPE_SFP, 0), 0);
    EXPECT_THAT(writes(), IsEmpty()) << "the later line counts";
    EXPECT_EQ(dfd_irq_set_cfg(IRQ_TYPE_PHY, 0), 0);
    EXPECT_EQ(dfd_irq_set_cfg(IRQ_TYPE_POE, 0), 0);
    EXPECT_THAT(writes(), ElementsAre(Pair(0x41U, 255U), Pair(0x42U, 255U)));
}

TEST_F(IrqTest, PositionsOutsideTheTableChangeNoType) {
    for (const auto &[index1, index2] :
         {std::pair{0x0800, 0}, {0x0008, 0}, {0, 8}, {0, -1}, {0xFFFF, 7}, {-1, 0x7FFFFFFF}}) {
        dfd_irq_set_type_distrib(IRQ_TYPE_PHY, index1, index2);
    }
    start(register_item("irq_mask", 0x40, "_0_0") + register_item("irq_mask", 0x41, "_1_0") +
          register_item("irq_mask", 0x42, "_256_0") + register_item("irq_mask", 0x43, "_2048_0") +
          register_item("irq_mask", 0x44, "_8_0") + register_item("irq_mask", 0x45, "_0_8"));
    chassis.clear_log();
    EXPECT_EQ(dfd_irq_set_cfg(IRQ_TYPE_PHY, 0), 0);
    EXPECT_THAT(writes(), IsEmpty());
}

}  // namespace
