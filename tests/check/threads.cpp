// SPDX-License-Identifier: MIT
// threads BOARD CALLS: getters of a board from four threads at once, on its virtual chassis. For a
// build under the ThreadSanitizer. In each round the library has to find out anew what it
// remembers, and two threads at a time ask the same in the same order, so that they meet where it
// does.
#include <dfd/irq.h>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <thread>

#include "check/board.h"
#include "sweep/state.h"

namespace {

using dfd_check::Asked;

constexpr std::size_t kThreads = 4;
constexpr std::size_t kOrders = 2;
constexpr std::size_t kRounds = 200;

// The calls of a round; how many fail.
std::size_t run_round(const std::vector<Asked> &calls, std::size_t round, std::size_t count) {
    sweep_test::forget_answers();
    drv_irq_cfg_init();
    std::atomic<std::size_t> failed = 0;
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            std::mt19937_64 random(kOrders * round + thread % kOrders);
            for (std::size_t i = 0; i < count; ++i) {
                failed += calls[random() % calls.size()].run() < 0 ? 1 : 0;
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    return failed;
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: threads BOARD CALLS\n");
        return 2;
    }
    dfd_check::Board board(argv[1]);
    const std::vector<Asked> calls = board.calls(true);
    const std::size_t count = std::strtoul(argv[2], nullptr, 10) / kThreads / kRounds;
    std::size_t failed = 0;
    for (std::size_t round = 0; round < kRounds; ++round) {
        failed += run_round(calls, round, count);
    }
    std::printf("%s: %zu threads, %zu calls of %zu kinds, %zu failed\n",
                std::filesystem::path(argv[1]).filename().c_str(), kThreads,
                count * kThreads * kRounds, calls.size(), failed);
}
