// SPDX-License-Identifier: MIT
// threads BOARD CALLS: getters of a board from four threads at once, on its virtual chassis. For a
// build under the ThreadSanitizer.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <thread>

#include "check/board.h"

namespace {

using dfd_check::Asked;

constexpr std::size_t kThreads = 4;

}  // namespace

int main(int argc, char **argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: threads BOARD CALLS\n");
        return 2;
    }
    dfd_check::Board board(argv[1]);
    const std::vector<Asked> calls = board.calls(true);
    const std::size_t count = std::strtoul(argv[2], nullptr, 10) / kThreads;
    std::atomic<std::size_t> failed = 0;
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            std::mt19937_64 random(thread);
            for (std::size_t i = 0; i < count; ++i) {
                failed += calls[random() % calls.size()].run() < 0 ? 1 : 0;
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    std::printf("%s: %zu threads, %zu calls of %zu kinds, %zu failed\n",
                std::filesystem::path(argv[1]).filename().c_str(), kThreads, count * kThreads,
                calls.size(), failed.load());
}
