// SPDX-License-Identifier: MIT
#include <regex>

#include "support/libc_calls.h"
#include "support/library_test.h"

namespace {

using dfd_test::FailingCalls;
using dfd_test::LibcCall;
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
    EXPECT_EQ(dfd_debug_set(3, 0), 0) << "clear already";
    EXPECT_EQ(dfd_debug, 2U);
    for (const int type : {5, -1}) {
        EXPECT_EQ(printed_by([type] { EXPECT_EQ(dfd_debug_set(type, 1), -5); }), "");
    }
    EXPECT_EQ(dfd_debug, 2U);
}

TEST(DebugGate, MessageHasHeaderWithLevelModuleFunctionAndLine) {
    struct Row {
        std::function<void()> call;
        std::uint32_t gate;
        const char *text;
    };
    int out = 0;
    const Row kRows[] = {
        {[] { dfd_debug_set(5, 1); }, DFD_DEBUG_ERR,
         "[DFD-err]:<File:framework/dfd_debug.cpp, Func:dfd_debug_set, Line:#>\n"
         "unknow dfd debug type=5\n"},
        {[] { dfd_lib_cfg_print_item(0, nullptr); }, DFD_DEBUG_ERR,
         "[DFD-err]:<File:framework/dfd_lib_cfg.cpp, Func:dfd_lib_cfg_print_item, Line:#>\n"
         "input arguments error\r\n"},
        {[&] { dfd_info_get_int_by_index(0x39000000, 1, &out, nullptr); }, DFD_DEBUG_WARN,
         "[DFD-warn]:<File:framework/dfd_info.cpp, Func:dfd_info_get_int_by_index, Line:#>\n"
         "get info ctrl fail, key=0x39000000\r\n"},
        {[] { dfd_i2c_write(0, 0, 0, nullptr, 0); }, DFD_DEBUG_VBOSE,
         "[DFD-vbose]:<File:service/intf.cpp, Func:dfd_i2c_write, Line:#>\nbuf == null\r\n"},
        {[&] { sdd_get_bp_scale_mac(&out); }, DFD_DEBUG_ERR,
         "[DFD-err]:<File:hal/core.cpp, Func:sdd_get_bp_scale_mac, Line:#>\n"
         "get backplane scale mac config fail, key=0x19000000\r\n"},
        {[] { dfd_get_e2prom_info(nullptr, 0, nullptr); }, DFD_DEBUG_ERR,
         "[DFD-err]:<File:hal/e2prom.cpp, Func:dfd_get_e2prom_info, Line:#>\n"
         "Invalid parameter!\n"},
        {[] { ipmi_fru_product_info_area(nullptr, 0, nullptr, nullptr); }, DFD_DEBUG_ERR,
         "[DFD-err]:<File:hal/dfd_frueeprom.cpp, Func:ipmi_fru_product_info_area, Line:#>\n"
         "Invalid Parameter.\n"},
    };
    for (const Row &row : kRows) {
        dfd_debug = ~row.gate;
        EXPECT_EQ(printed_by(row.call), "") << "its own bit is the gate";
        dfd_debug = row.gate;
        const std::string text = printed_by(row.call);
        EXPECT_EQ(std::regex_replace(text, std::regex("Line:[1-9][0-9]*>"), "Line:#>"), row.text);
    }
}

TEST(Store, FindsInsertsAndDeletesByKey) {
    int first = 1;
    int second = 2;
    btree_root root{};
    root.tree = &first;
    ASSERT_EQ(btree_init_root(&root), 0);
    EXPECT_EQ(btree_find_node(&root, 1), nullptr);
    {
        const dfd_test::NeverFreed never_freed;
        EXPECT_EQ(btree_insert_node(&root, 0xBB000207, &first), 0);
        EXPECT_EQ(btree_insert_node(&root, 0x23000000, &second), 0);
    }
    EXPECT_EQ(btree_insert_node(&root, 0xBB000207, &second), 1) << "its entry is freed";
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

TEST(Store, FailingCallsLeaveTheTreeAsItWas) {
    btree_root root{};
    int record = 0;
    root.tree = &record;
    {
        const FailingCalls failing(LibcCall::rwlock_init);
        EXPECT_EQ(btree_init_root(&root), -1);
        EXPECT_TRUE(failing.all_happened());
    }
    EXPECT_EQ(root.tree, nullptr) << "empty all the same";
    for (const LibcCall call : {LibcCall::tsearch, LibcCall::allocation}) {
        if (call == LibcCall::allocation && !dfd_test::kAllocationsCanFail) {
            continue;
        }
        const FailingCalls failing(call);
        EXPECT_EQ(btree_insert_node(&root, 7, &record), -1);
        EXPECT_TRUE(failing.all_happened());
        EXPECT_EQ(btree_find_node(&root, 7), nullptr);
    }
    const dfd_test::NeverFreed never_freed;
    EXPECT_EQ(btree_insert_node(&root, 7, &record), 0);
}

TEST(Store, OrdersKeysAsSignedNumbers) {
    const btree_entry low = {0x80000000U, nullptr};
    const btree_entry high = {0x7FFFFFFFU, nullptr};
    EXPECT_EQ(compare_node(&low, &high), -1);
    EXPECT_EQ(compare_node(&high, &low), 1);
    EXPECT_EQ(compare_node(&low, &low), 0);
}

}  // namespace
