// SPDX-License-Identifier: MIT
// The start-up, with a fault at every system call and at every allocation.
#include <dfd/framework.h>
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <vector>

#include "sweep/start.h"
#include "sweep/sweep.h"

namespace {

using namespace sweep_test;
using dfd_test::CallFault;
using Reach = CallFault::Reach;
using dfd_test::LibcCall;
using dfd_test::MadeCall;
using dfd_test::Positions;

constexpr char kBoardList[] = "/etc/cfg/dfd/file_name/";

bool holds_more(const Start &start, const Start &good) {
    return std::ranges::any_of(start.items,
                               [&](const auto &item) { return !good.items.contains(item.first); });
}

bool is_same_start(const Start &start, const Start &good) {
    return start.result == good.result && start.items == good.items &&
           start.conversions == good.conversions;
}

std::string judge(const Start &start, const Start &good) {
    std::string verdict;
    for (const std::string &line : start.wrong) {
        verdict += line + "; ";
    }
    if (dfd_test::kAllocationsCanFail && start.blocks_kept != start.blocks_in_use) {
        verdict +=
            fmt::format("{} blocks, {} of them in use; ", start.blocks_kept, start.blocks_in_use);
    }
    if (start.result != DFD_OK && start.result != DFD_ERR) {
        verdict += fmt::format("the result is {}; ", start.result);
    }
    if (holds_more(start, good)) {
        verdict += "items that no line sets; ";
    }
    const bool lacks_list = std::ranges::any_of(start.made, [](const MadeCall &call) {
        return call.failed && call.call == LibcCall::fopen && call.target.starts_with(kBoardList);
    });
    if (lacks_list && start.result != DFD_ERR) {
        verdict += "a good result without the list of the board; ";
    }
    // A source of the board's type that fails leaves the other one.
    const bool has_lost_nothing = std::ranges::none_of(start.made, [](const MadeCall &call) {
        return call.failed && call.call != LibcCall::close && call.call != LibcCall::fclose;
    });
    if (has_lost_nothing && !is_same_start(start, good)) {
        verdict += "a close that fails has consequences; ";
    }
    return verdict;
}

// Lines and blocks are many and alike: some of them, in turn with each error.
std::vector<CallFault> some_faults_at(std::size_t at, const MadeCall &call) {
    const std::vector<CallFault> all = faults_at(at, call);
    const bool is_line = call.call == LibcCall::fgets;
    if (is_whole() || (!is_line && call.call != LibcCall::allocation)) {
        return all;
    }
    // Instrumented code takes several times as long.
    constexpr std::size_t kSlow = dfd_test::kAllocationsCanFail ? 1 : 8;
    const std::size_t every = kSlow * (is_line ? 3 : 1);
    if (at % every != 0) {
        return {};
    }
    // The second half of them reaches on.
    const std::size_t half = all.size() / 2;
    return {all[(at / every % 8 == 0 ? half : 0) + at % half]};
}

class StartUp : public testing::TestWithParam<const char *> {
  protected:
    void sweep(Positions positions);
    void check(const CallFault &fault, Positions positions);

    StartingBoard board{GetParam()};
    Start good;
    int chassis_type = 0;
};

void StartUp::check(const CallFault &fault, Positions positions) {
    const Start start = board.start(positions, fault);
    std::string verdict = judge(start, good);
    const Start next = board.start_again();
    // The two types are kept, be they of another source.
    if (sdd_get_my_chassis_type() == chassis_type && !is_same_start(next, good)) {
        verdict +=
            fmt::format("the next start gives {} with {} items; ", next.result, next.items.size());
    }
    if (!verdict.empty()) {
        const MadeCall &failed = good.made.at(fault.at);
        ADD_FAILURE() << verdict << "position " << fault.at
                      << (fault.reach == Reach::and_on ? " and on " : " ")
                      << static_cast<int>(failed.call) << " " << failed.target;
    }
}

void StartUp::sweep(Positions positions) {
    good = board.start(positions);
    ASSERT_EQ(good.result, DFD_OK);
    ASSERT_EQ(judge(good, good), "");
    chassis_type = sdd_get_my_chassis_type();
    Counts counts{.functions = 1, .calls = 1};
    testing::internal::CaptureStdout();  // a line without memory fails its file, and is printed
    for (std::size_t at = 0; at < good.made.size() && !HasFailure(); ++at) {
        const std::vector<CallFault> faults = some_faults_at(at, good.made[at]);
        counts.positions += faults.empty() ? 0 : 1;
        counts.faults += faults.size();
        for (const CallFault &fault : faults) {
            check(fault, positions);
        }
    }
    const std::string printed = testing::internal::GetCapturedStdout();
    if (HasFailure()) {
        std::fputs(printed.c_str(), stdout);
    }
    print_counts(std::string("the start of ") + GetParam(), counts);
}

TEST_P(StartUp, SystemCallsFail) {
    sweep(Positions::system);
}

TEST_P(StartUp, AllocationsFail) {
    if (!dfd_test::kAllocationsCanFail) {
        GTEST_SKIP() << "SKIPPED: the sanitizer owns the allocator";
    }
    sweep(Positions::memory);
}

INSTANTIATE_TEST_SUITE_P(Boards, StartUp, testing::Values("demo", "demo-tlv", "demo-linecard"));

}  // namespace
