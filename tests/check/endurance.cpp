// SPDX-License-Identifier: MIT
// endurance BOARD CALLS: mixed calls of a board on its virtual chassis, with faults at one of a
// hundred. What the library keeps on the heap, and the descriptors of the process, may not grow.
#include <malloc.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>

#include "check/board.h"

namespace {

namespace fs = std::filesystem;

using dfd_check::Asked;
using dfd_check::Board;

constexpr std::uint64_t kSeed = 4711;
constexpr std::size_t kWarmUp = 20;  // the last of so many parts of the calls
constexpr std::size_t kLogged = 1000;

long g_blocks = 0;  // of the library: the linker leads its calls of the allocator here

struct Kept {
    long blocks;
    std::size_t heap;
    std::ptrdiff_t descriptors;
};

Kept kept(Board &board) {
    board.chassis.clear_log();
    const fs::directory_iterator open("/proc/self/fd");
    return {g_blocks, mallinfo2().uordblks, std::distance(fs::begin(open), fs::end(open))};
}

vchassis::Fault any_fault(std::mt19937_64 &random) {
    using vchassis::Op;
    constexpr Op kOps[] = {Op::open, Op::seek, Op::read, Op::write, Op::transfer, Op::access};
    constexpr int kErrors[] = {EIO, ENXIO, EINTR, ENOMEM, EACCES, ETIMEDOUT, 0};
    const auto below = [&](std::size_t end) { return static_cast<std::size_t>(random() % end); };
    vchassis::Fault fault{.op = kOps[below(std::size(kOps))],
                          .skip = static_cast<unsigned>(below(4)),
                          .count = static_cast<unsigned>(below(3)),
                          .error = kErrors[below(std::size(kErrors))]};
    // Nothing is moved, or one message of two.
    fault.result = fault.op == Op::transfer ? 1 : 0;
    const bool moves = fault.op == Op::read || fault.op == Op::write || fault.op == Op::transfer;
    fault.error = moves || fault.error != 0 ? fault.error : EIO;
    return fault;
}

struct Counts {
    std::size_t calls = 0;
    std::size_t faults = 0;
    std::size_t failed = 0;
};

void run(Board &board, const std::vector<Asked> &calls, std::size_t count, std::mt19937_64 &random,
         Counts &counts) {
    for (std::size_t i = 0; i < count; ++i) {
        const bool has_fault = random() % 100 == 0;
        if (has_fault) {
            board.chassis.fail(any_fault(random));
            ++counts.faults;
        }
        const Asked &asked = calls[random() % calls.size()];
        counts.failed += asked.run() < 0 && !asked.call->returns_nothing ? 1 : 0;
        if (has_fault) {
            board.chassis.clear_faults();
        }
        if (i % kLogged == 0) {
            board.chassis.clear_log();
        }
    }
    counts.calls += count;
}

}  // namespace

extern "C" {

void *__real_malloc(std::size_t size);
void *__real_calloc(std::size_t count, std::size_t size);
void __real_free(void *block);

void *__wrap_malloc(std::size_t size) {
    void *const block = __real_malloc(size);
    g_blocks += block != nullptr ? 1 : 0;
    return block;
}

void *__wrap_calloc(std::size_t count, std::size_t size) {
    void *const block = __real_calloc(count, size);
    g_blocks += block != nullptr ? 1 : 0;
    return block;
}

void __wrap_free(void *block) {
    g_blocks -= block != nullptr ? 1 : 0;
    __real_free(block);
}

}  // extern "C"

int main(int argc, char **argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: endurance BOARD CALLS\n");
        return 2;
    }
    const std::size_t count = std::strtoul(argv[2], nullptr, 10);
    Board board(argv[1]);
    const std::vector<Asked> calls = board.calls(false);
    std::mt19937_64 random(kSeed);
    Counts counts;
    run(board, calls, count / kWarmUp, random, counts);
    const Kept before = kept(board);
    run(board, calls, count - count / kWarmUp, random, counts);
    const Kept after = kept(board);
    const long blocks = after.blocks - before.blocks;
    const auto heap = static_cast<long>(after.heap) - static_cast<long>(before.heap);
    const auto descriptors = static_cast<long>(after.descriptors - before.descriptors);
    std::printf(
        "%s: %zu calls of %zu kinds, %zu with a fault, %zu failed; growth: %ld blocks of the "
        "library, %ld bytes of the process, %ld descriptors\n",
        fs::path(argv[1]).filename().c_str(), counts.calls, calls.size(), counts.faults,
        counts.failed, blocks, heap, descriptors);
    return blocks == 0 && descriptors == 0 ? 0 : 1;
}
