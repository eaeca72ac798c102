// SPDX-License-Identifier: MIT
// Values by key on a board of 10,000 items, beside the same accesses made by hand.
#include <benchmark/benchmark.h>
#include <dfd/dfd.h>
#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/ioctl.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <string>

#include "bench/board_files.hpp"
#include "bench/sandbox.hpp"
#include "bench/store.hpp"
#include "framework/dfd_lib_cfg/module.h"

namespace {

using benchmark::State;

constexpr int kLines = 100000;
constexpr uint16_t kChip = 0x48;
constexpr uint32_t kRegister = DFD_MAKE_KEY(DFD_KEY_CARD_POWER_CTRL, 1, 0);
constexpr uint32_t kWord = DFD_MAKE_KEY(DFD_KEY_CARD_POWER_CONSUME, 1, 0);

/// The lines of an item that is read from the device.
std::string item(const std::string &name, const std::string &index, const std::string &source,
                 const std::string &format, int len, int offset) {
    const auto line = [&](const std::string &member, const std::string &value) {
        return name + member + index + "=" + value + "\n";
    };
    return line(".mode", "config") + line(".src", source) + line(".frmt", format) +
           line(".pola", "positive") + line(".fpath", bench::device_file()) +
           line(".addr", std::to_string(kChip)) + line(".reg_offset", std::to_string(offset)) +
           line(".len", std::to_string(len)) + line(".bit_offset", "0");
}

/// Loads the board, unless it is still there.
void load_board() {
    if (dfd_lib_cfg_get_item(DFD_MAKE_KEY(DFD_KEY_FAN_SPEED_FLOOR, 0, 0)) != nullptr) {
        return;
    }
    bench::forget_everything();
    bench::set_i2c_memory(std::string(256, '\x20'));
    const std::string path = bench::scratch_directory() / "access.cfg";
    bench::write_items(path, kLines);
    std::ofstream(path, std::ios::app)
        << item("card_power_ctrl", "_1", "localbus", "byte", 1, 0)
        << item("card_power_consume", "_1", "i2c", "num_bytes", 2, 0)
        << item("fan_state", "_1", "localbus", "bit", 1, 0)
        << item("fan_line_fail", "_1", "localbus", "bit", 1, 1)
        << item("fan_real_speed", "_1_1", "i2c", "num_bytes", 2, 0)
        << item("fan_real_speed", "_1_2", "i2c", "num_bytes", 2, 2)
        << "subfan_num.mode_1=constant\nsubfan_num.int_cons_1=2\nfan_speed_floor=1000\n";
    dfd_lib_cfg_analyse_config_file(path.c_str());
}

/// A figure of nothing is worth nothing.
void demand(bool holds, const char *what) {
    if (!holds) {
        std::fprintf(stderr, "bench: %s\n", what);
        std::exit(1);
    }
}

uint8_t raw_read(int offset) {
    uint8_t byte = 0;
    const int fd = open(bench::device_file().c_str(), O_RDWR, 0600);
    lseek(fd, offset, SEEK_SET);
    demand(read(fd, &byte, 1) == 1, "the device cannot be read");
    close(fd);
    return byte;
}

void raw_write(int offset, uint8_t byte) {
    const int fd = open(bench::device_file().c_str(), O_RDWR, 0600);
    lseek(fd, offset, SEEK_SET);
    demand(write(fd, &byte, 1) == 1, "the device cannot be written");
    close(fd);
}

int raw_i2c_word(uint8_t offset) {
    uint8_t bytes[2] = {};
    i2c_msg messages[] = {{kChip, 0, 1, &offset}, {kChip, I2C_M_RD, sizeof bytes, bytes}};
    i2c_rdwr_ioctl_data request = {messages, 2};
    const int fd = open(bench::device_file().c_str(), O_RDWR | O_SYNC);
    demand(ioctl(fd, I2C_RDWR, &request) == 2, "no transfer");
    close(fd);
    return bytes[0] << 8 | bytes[1];
}

/// What the status of a healthy tray with two rotors rests on.
int raw_fan_status() {
    const bool is_fast = raw_i2c_word(0) >= 1000 && raw_i2c_word(2) >= 1000;
    return raw_read(0) != 0 && is_fast && raw_read(1) == 0 ? 1 : 0;
}

int read_key(uint32_t key) {
    int value = -1;
    demand(dfd_info_get_int(key, &value, nullptr) >= 0, "an item cannot be read");
    return value;
}

template <typename Work>
void measure(State &state, Work work) {
    load_board();
    for (auto _ : state) {
        benchmark::DoNotOptimize(work());
    }
    state.SetItemsProcessed(state.iterations());
}

/// Stops of a traced process at system calls: two for each, one for that which ends it.
template <typename Work>
int stops_of(Work work) {
    const pid_t child = fork();
    demand(child >= 0, "no process can be made");
    if (child == 0) {
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) {
            _exit(1);
        }
        raise(SIGSTOP);
        work();
        _exit(0);
    }
    int status = 0;
    int stops = -1;  // that of raise() itself
    while (waitpid(child, &status, 0) == child && WIFSTOPPED(status)) {
        ++stops;
        ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
    }
    demand(WIFEXITED(status) && WEXITSTATUS(status) == 0, "an access cannot be traced");
    return stops;
}

/// Not a time: the system calls of one access, whatever they are.
template <typename Work>
void count_calls(State &state, Work work) {
    load_board();
    demand(work() >= 0, "an access fails");
    for (auto _ : state) {
        const int of_nothing = stops_of([] {});
        state.counters["calls"] = (stops_of(work) - of_nothing) / 2;
    }
}

template <typename Raw, typename Ours>
void compare(const std::string &group, Raw raw, Ours ours) {
    benchmark::RegisterBenchmark((group + ":raw").c_str(), [=](State &state) {
        load_board();
        demand(raw() == ours(), "two ways, two values");
        measure(state, raw);
    });
    benchmark::RegisterBenchmark((group + ":libdfd").c_str(),
                                 [=](State &state) { measure(state, ours); });
    const auto count = [&](const char *whose, auto work) {
        benchmark::RegisterBenchmark(("calls/" + group + whose).c_str(), [=](State &state) {
            count_calls(state, work);
        })->Iterations(1);
    };
    count(":raw", raw);
    count(":libdfd", ours);
}

const bool g_registered = [] {
    compare(
        "local bus read", [] { return int{raw_read(0)}; }, [] { return read_key(kRegister); });
    compare(
        "local bus write", [] { return raw_write(0, 1), 0; },
        [] { return dfd_info_set_int(kRegister, 1); });
    compare(
        "I2C read", [] { return raw_i2c_word(0); }, [] { return read_key(kWord); });
    compare("fan status", raw_fan_status, [] { return drv_get_fan_status(1); });
    return true;
}();

}  // namespace
