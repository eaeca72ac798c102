// SPDX-License-Identifier: MIT
// Every system call, and every allocation, of every function fails once: alone, and with all that
// follow.
#include <gtest/gtest.h>

#include <set>

#include "sweep/expected.h"
#include "sweep/sweep.h"

namespace {

using namespace sweep_test;
using dfd_test::Positions;

constexpr const char *kBoards[] = {"demo", "demo-tlv", "demo-linecard"};

class Functions : public testing::TestWithParam<const char *> {};

TEST_P(Functions, SystemCallsFail) {
    Board board(GetParam());
    print_counts(board.name(), sweep(board, Positions::system));
}

TEST_P(Functions, AllocationsFail) {
    if (!dfd_test::kAllocationsCanFail) {
        GTEST_SKIP() << "SKIPPED: the sanitizer owns the allocator";
    }
    Board board(GetParam());
    print_counts("allocations on " + board.name(), sweep(board, Positions::memory));
}

INSTANTIATE_TEST_SUITE_P(Boards, Functions, testing::ValuesIn(kBoards));

// What would be swept without a fault would pass for swept.
TEST(Positions, AreFoundInAllFunctionsButThoseOfAList) {
    std::set<std::string> with;
    std::set<std::string> all;
    for (const char *name : kBoards) {
        Board board(name);
        for (const Asked &asked : board.asked()) {
            board.restore();
            const bool has_positions = !board.call(asked, Positions::system).made.empty();
            if (asked.call->does != dfdctl::observe::Does::pure) {
                all.insert(asked.base);
            }
            if (has_positions) {
                with.insert(asked.base);
            }
        }
    }
    for (const std::string &function : all) {
        EXPECT_NE(with.contains(function), may_have_no_positions(function)) << function;
    }
}

}  // namespace
