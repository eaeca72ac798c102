// SPDX-License-Identifier: MIT
// Every system call, and every allocation, of every function fails once: alone, and with all that
// follow.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "sweep/expected.h"
#include "sweep/sweep.h"

namespace {

using namespace sweep_test;
using dfd_test::Positions;

constexpr const char *kBoards[] = {"demo", "demo-tlv", "demo-linecard"};

class Functions : public testing::TestWithParam<const char *> {
  protected:
    Counts swept(Positions positions) const {
        std::set<std::string> of_first;
        if (std::string_view(GetParam()) != kBoards[0]) {
            Board first(kBoards[0]);
            of_first = shapes_of(first, positions);
        }
        Board board(GetParam());
        return sweep(board, positions, std::move(of_first));
    }
};

TEST_P(Functions, SystemCallsFail) {
    print_counts(GetParam(), swept(Positions::system));
}

TEST_P(Functions, AllocationsFail) {
    if (!dfd_test::kAllocationsCanFail) {
        GTEST_SKIP() << "SKIPPED: the sanitizer owns the allocator";
    }
    print_counts(std::string("allocations on ") + GetParam(), swept(Positions::memory));
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
