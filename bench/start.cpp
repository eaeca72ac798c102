// SPDX-License-Identifier: MIT
// dev_drv_init, beside reading and splitting the same files and making the same accesses.
#include <benchmark/benchmark.h>
#include <dfd/dfd.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "bench/board_files.hpp"
#include "bench/sandbox.hpp"
#include "bench/store.hpp"

namespace {

namespace fs = std::filesystem;
using benchmark::State;

struct Board {
    std::string root;
    std::vector<std::string> files;  ///< as the library opens them
};

void write_file(const fs::path &path, const std::string &text) {
    fs::create_directories(path.parent_path());
    std::ofstream(path) << text;
}

Board board_of_lines(int lines) {
    constexpr int kFiles = 4;
    const fs::path root = bench::scratch_directory() / "board";
    write_file(root / "tmp/bspinfo/ProductID", "BENCH\n");
    write_file(root / "etc/cfg/dfd/cfg_file/card_pid.cfg", "card_pid_str_100_0=BENCH\n");
    Board board{root, {"/etc/cfg/dfd/cfg_file/card_pid.cfg", "/etc/cfg/dfd/file_name/0x64"}};
    std::string list;
    for (int i = 0; i < kFiles; ++i) {
        const std::string name = "part" + std::to_string(i);
        list += name + "\n";
        board.files.push_back("/etc/cfg/dfd/cfg_file/" + name + ".cfg");
        bench::write_items(root / board.files.back().substr(1), lines / kFiles);
    }
    write_file(root / "etc/cfg/dfd/file_name/0x64", list);
    return board;
}

std::string text_of(const fs::path &path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

Board demo_board() {
    Board board{BENCH_DEMO_BOARD, {}};
    for (const char *directory : {"cfg_file", "file_name", "chassis"}) {
        for (const auto &file : fs::directory_iterator(board.root + "/etc/cfg/dfd/" + directory)) {
            board.files.push_back(file.path().string().substr(board.root.size()));
        }
    }
    bench::set_i2c_memory(text_of(board.root + "/images/backplane.bin"));
    return board;
}

void read_files(const Board &board) {
    char text[256];
    const int fd = open("/tmp/bspinfo/ProductID", O_RDONLY);
    benchmark::DoNotOptimize(read(fd, text, sizeof text));
    close(fd);
    for (const std::string &path : board.files) {
        std::FILE *const file = std::fopen(path.c_str(), "r");
        while (std::fgets(text, sizeof text, file) != nullptr) {
            benchmark::DoNotOptimize(std::strchr(text, '='));
        }
        std::fclose(file);
    }
}

void measure_floor(State &state, Board (*make_board)()) {
    const Board board = make_board();
    bench::set_board_root(board.root);
    for (auto _ : state) {
        read_files(board);
    }
    bench::set_board_root("");
    state.SetItemsProcessed(state.iterations());
}

void measure_libdfd(State &state, Board (*make_board)()) {
    bench::forget_everything();
    bench::set_board_root(make_board().root);
    for (auto _ : state) {
        const int rv = dev_drv_init();
        state.PauseTiming();
        if (rv != 0) {
            state.SkipWithError("the board does not start");
            break;
        }
        bench::forget_everything();
        state.ResumeTiming();
    }
    bench::set_board_root("");
    state.SetItemsProcessed(state.iterations());
}

const bool g_registered = [] {
    constexpr auto kBigBoard = [] { return board_of_lines(10000); };
    benchmark::RegisterBenchmark("start-up/demo:floor", measure_floor, demo_board);
    benchmark::RegisterBenchmark("start-up/demo:libdfd", measure_libdfd, demo_board);
    benchmark::RegisterBenchmark("start-up/10000 lines:floor", measure_floor, +kBigBoard);
    benchmark::RegisterBenchmark("start-up/10000 lines:libdfd", measure_libdfd, +kBigBoard);
    return true;
}();

}  // namespace
