// SPDX-License-Identifier: MIT
#include "support/library_test.h"

namespace {

using dfd_test::printed_by;

TEST(DebugGate, LevelsAddBitsAndOtherLevelsClearThem) {
    struct Row {
        std::uint32_t before, level, after;
    };
    for (const Row &row : {Row{0, 1, 7}, Row{0, 2, 8}, Row{0, 3, 31}, Row{0, 4, 16}, Row{16, 1, 23},
                           Row{0x55, 0, 0x40}, Row{31, 5, 0}, Row{7, 2, 15}}) {
        dfd_debug = row.before;
        dfd_open_debug(row.level);
        EXPECT_EQ(dfd_debug, row.after) << "level " << row.level;
    }
    dfd_debug = 0;
    dfd_debug_switch(0);
    dfd_open_debug(1);
    EXPECT_EQ(dfd_debug, 0U) << "the master switch is off";
}

TEST(DebugGate, TypesSetAndClearOneBit) {
    EXPECT_EQ(dfd_debug, 0U);
    EXPECT_EQ(dfd_debug_set(4, 2), 0);
    EXPECT_EQ(dfd_debug_set(1, 1), 0);
    EXPECT_EQ(dfd_debug_set(4, 0), 0);
    EXPECT_EQ(dfd_debug, 2U);
    for (const int type : {5, -1}) {
        EXPECT_EQ(printed_by([type] { EXPECT_EQ(dfd_debug_set(type, 1), -5); }), "");
    }
    EXPECT_EQ(dfd_debug, 2U);
}

TEST(DebugGate, MessageHasHeaderWithModuleFunctionAndLine) {
    dfd_debug = DFD_DEBUG_ERR;
    const std::string text = printed_by([] { dfd_debug_set(5, 1); });
    int line = 0;
    EXPECT_EQ(
        std::sscanf(text.c_str(),
                    "[DFD-err]:<File:framework/dfd_debug.cpp, Func:dfd_debug_set, Line:%d>", &line),
        1)
        << text;
    EXPECT_GT(line, 0);
    EXPECT_THAT(text, testing::EndsWith(">\nunknow dfd debug type=5\n"));
}

TEST(Store, FindsInsertsAndDeletesByKey) {
    const dfd_test::NeverFreed never_freed;
    btree_root root{};
    ASSERT_EQ(btree_init_root(&root), 0);
    EXPECT_EQ(btree_find_node(&root, 1), nullptr);
    int first = 1;
    int second = 2;
    EXPECT_EQ(btree_insert_node(&root, 0xBB000207, &first), 0);
    EXPECT_EQ(btree_insert_node(&root, 0xBB000207, &second), 1);
    EXPECT_EQ(btree_insert_node(&root, 0x23000000, &second), 0);
    EXPECT_EQ(btree_find_node(&root, 0xBB000207), &first);
    EXPECT_EQ(btree_find_node(&root, 0x23000000), &second);
    EXPECT_EQ(btree_delete_node(&root, 0xBB000207), 0);
    EXPECT_EQ(btree_delete_node(&root, 0xBB000207), 0);
    EXPECT_EQ(btree_find_node(&root, 0xBB000207), nullptr);
    EXPECT_EQ(btree_find_node(&root, 0x23000000), &second);
}

TEST(Store, RefusesNullPointers) {
    btree_root root{};
    ASSERT_EQ(btree_init_root(&root), 0);
    int record = 0;
    EXPECT_EQ(btree_init_root(nullptr), -1);
    EXPECT_EQ(btree_insert_node(nullptr, 1, &record), -1);
    EXPECT_EQ(btree_insert_node(&root, 1, nullptr), -1);
    EXPECT_EQ(btree_find_node(nullptr, 1), nullptr);
    EXPECT_EQ(btree_delete_node(nullptr, 1), -1);
}

TEST(Store, OrdersKeysAsSignedNumbers) {
    const btree_entry low = {0x80000000U, nullptr};
    const btree_entry high = {0x7FFFFFFFU, nullptr};
    EXPECT_EQ(compare_node(&low, &high), -1);
    EXPECT_EQ(compare_node(&high, &low), 1);
    EXPECT_EQ(compare_node(&low, &low), 0);
}

}  // namespace
