// SPDX-License-Identifier: MIT
// dfdctl lint on a board of 10,000 lines, beside the library's own parsing of the same files; and
// what a finding costs where there are many.
#include <benchmark/benchmark.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "dfdctl/board/offline.hpp"
#include "dfdctl/lint/run.hpp"
#include "framework/dfd_lib_cfg/module.h"

#include <fmt/format.h>

namespace {

namespace fs = std::filesystem;

constexpr int kBoardType = 0x64;

/// A configuration file under work.
class File {
  public:
    File(const fs::path &directory, const std::string &name) : out_(directory / (name + ".cfg")) {}

    template <typename... Arguments>
    void line(fmt::format_string<Arguments...> format, Arguments &&...arguments) {
        out_ << fmt::format(format, std::forward<Arguments>(arguments)...) << '\n';
        ++lines_;
    }
    /// A bit of a CPLD register.
    void bit(const std::string &name, const std::string &index, int number) {
        constexpr int kBits = 8;
        line("{}.mode_{}=config", name, index);
        line("{}.src_{}=localbus", name, index);
        line("{}.frmt_{}=bit", name, index);
        line("{}.pola_{}=negative", name, index);
        line("{}.fpath_{}=/dev/cpld{}", name, index, number / 1024);
        line("{}.reg_offset_{}=0x{:x}", name, index, number % 1024 / kBits);
        line("{}.bit_offset_{}={}", name, index, number % kBits);
        line("{}.len_{}=1", name, index);
        line("");
    }
    /// Two bytes of a chip on I2C.
    void word(const std::string &name, const std::string &index, int chip, int offset,
              const char *format = "num_bytes") {
        constexpr int kFirstAddress = 0x20;
        constexpr int kChipsOfBus = 64;
        line("{}.mode_{}=config", name, index);
        line("{}.src_{}=i2c", name, index);
        line("{}.frmt_{}={}", name, index, format);
        line("{}.pola_{}=positive", name, index);
        line("{}.fpath_{}=/dev/i2c-{}", name, index, 1 + chip / kChipsOfBus);
        line("{}.addr_{}=0x{:x}", name, index, kFirstAddress + chip % kChipsOfBus);
        line("{}.reg_offset_{}=0x{:x}", name, index, offset);
        line("{}.len_{}=2", name, index);
        line("");
    }
    int lines() const { return lines_; }

  private:
    std::ofstream out_;
    int lines_ = 0;
};

int write_ports(const fs::path &directory) {
    constexpr int kPorts = 288;
    File file(directory, "ports");
    for (int port = 1; port <= kPorts; ++port) {
        file.bit("port_sfp_state", fmt::format("{}", port), 2 * port);
        file.bit("port_sfp_tx", fmt::format("{}", port), 2 * port + 1);
    }
    return file.lines();
}

int write_cards(const fs::path &directory) {
    constexpr int kCards = 16;
    constexpr int kChannels = 7;
    constexpr int kSensors = 4;
    File file(directory, "cards");
    file.line("card_vol_num={}", kChannels);
    for (int card = 1; card <= kCards; ++card) {
        for (int channel = 0; channel <= kChannels; ++channel) {
            const std::string index = fmt::format("{}_{}", card, channel);
            const int chip = (card - 1) * (kChannels + 1) + channel;
            file.word("card_volotage", index, chip, 0);
            file.word("card_vol_low", index, chip, 2);
            file.word("card_vol_high", index, chip, 4);
        }
        for (int sensor = 0; sensor < kSensors; ++sensor) {
            file.line("card_temp_info.temp_name_{}_{}=card{}_{}", card, sensor, card, sensor);
            file.line("card_temp_info.type_{}_{}=lm75", card, sensor);
            file.word("card_temp_ctrl", fmt::format("{}_{}", card, sensor),
                      kCards * (kChannels + 1) + card, 2 * sensor, "num_buf");
        }
    }
    return file.lines();
}

int write_types(const fs::path &directory) {
    constexpr int kTypes = 120;
    constexpr int kFirstType = 100;
    File file(directory, "card_pid");
    for (int type = 0; type < kTypes; ++type) {
        file.line("card_pid_str_{}_0=B{:03}-X", kFirstType + type, type);
    }
    File names(directory, "names");
    for (int type = 1; type <= kTypes; ++type) {
        names.line("power_name_{}=PS{:03}-AC", type, type);
        names.line("power_attr_type_{}=PS{:03}-AC", type, type);
        names.line("power_dc_ac_{}=AC", type);
        names.line("fan_name_{}_1=FAN{:03}-F", type, type);
        names.line("fan_attr_type_{}=-F", type);
    }
    return file.lines() + names.lines();
}

/// Number of lines.
int write_board(const fs::path &root) {
    const fs::path etc = root / "etc/cfg/dfd";
    fs::create_directories(etc / "cfg_file");
    fs::create_directories(etc / "file_name");
    std::ofstream(etc / fmt::format("file_name/0x{:x}", kBoardType)) << "names\nports\ncards\n";
    const fs::path files = etc / "cfg_file";
    return write_types(files) + write_ports(files) + write_cards(files);
}

/// Boards of this process, removed at its end.
class Boards {
  public:
    Boards() { lines = write_board(board); }
    ~Boards() { fs::remove_all(top_); }

    /// A file of this many lines that nothing takes.
    fs::path with_findings(int count) const {
        fs::create_directories(top_);
        const fs::path path = top_ / fmt::format("{}.cfg", count);
        std::ofstream out(path);
        for (int i = 0; i < count; ++i) {
            out << fmt::format("slot_onlin.mode_{}=config\n", i);
        }
        return path;
    }

  private:
    fs::path top_ = fs::temp_directory_path() / fmt::format("dfd-bench-lint-{}", getpid());

  public:
    const fs::path board = top_ / "board";
    int lines = 0;
};

const Boards &boards() {
    static const Boards made;
    return made;
}

void parse(benchmark::State &state) {
    const std::string files = boards().board / "etc/cfg/dfd/cfg_file/";
    for (auto _ : state) {
        for (const char *const name : {"card_pid", "names", "ports", "cards"}) {
            dfd_lib_cfg_analyse_config_file((files + name + ".cfg").c_str());
        }
        state.PauseTiming();
        dfdctl::forget_board();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * boards().lines);
}

void lint_board(benchmark::State &state) {
    const dfdctl::lint::Request request{
        .root = boards().board, .board_type = {}, .files = {}, .switched_off = {}};
    for (auto _ : state) {
        benchmark::DoNotOptimize(dfdctl::lint::run(request).findings.size());
    }
    state.SetItemsProcessed(state.iterations() * boards().lines);
}

void lint_findings(benchmark::State &state, int count) {
    const dfdctl::lint::Request request{
        .root = {}, .board_type = {}, .files = {boards().with_findings(count)}, .switched_off = {}};
    for (auto _ : state) {
        if (dfdctl::lint::run(request).findings.size() < static_cast<std::size_t>(count)) {
            state.SkipWithError("findings are missing");
            break;
        }
    }
    state.SetItemsProcessed(state.iterations() * count);
}

const bool g_registered = [] {
    benchmark::RegisterBenchmark("lint/10000 lines:parser", parse);
    benchmark::RegisterBenchmark("lint/10000 lines:lint", lint_board);
    for (const int count : {10000, 100000}) {
        benchmark::RegisterBenchmark(fmt::format("findings/{}:lint", count).c_str(), lint_findings,
                                     count);
    }
    return true;
}();

}  // namespace
