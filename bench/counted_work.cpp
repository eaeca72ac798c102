// SPDX-License-Identifier: MIT
// Work whose instructions tests/instructions counts: only what happens within counted().
#include <dfd/dfd.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "bench/board_files.hpp"
#include "bench/sandbox.hpp"
#include "framework/dfd_lib_cfg/module.h"

namespace {

constexpr int kLines = 10000;
constexpr uint32_t kRegister = DFD_MAKE_KEY(DFD_KEY_CARD_POWER_CTRL, 1, 0);
constexpr uint32_t kChip = DFD_MAKE_KEY(DFD_KEY_CARD_POWER_CONSUME, 1, 0);
constexpr uint32_t kFirstSlot = DFD_MAKE_KEY(DFD_KEY_SLOT_ONLINE, 0, 0);
constexpr int kSlots = 33;

std::string board_file() {
    return bench::scratch_directory() / "board.cfg";
}

int load() {
    return dfd_lib_cfg_analyse_config_file(board_file().c_str());
}

int look_up() {
    int found = 0;
    for (uint32_t slot = 0; slot < kSlots; ++slot) {
        found += dfd_lib_cfg_get_item(kFirstSlot + (slot << 8)) != nullptr;
    }
    // The board has some of them: functions also ask for what is not configured.
    return found > 0 && found < kSlots ? 0 : -1;
}

int read_register() {
    int value = 0;
    return dfd_info_get_int(kRegister, &value, nullptr);
}

int write_register() {
    return dfd_info_set_int(kRegister, 1);
}

int read_chip() {
    int value = 0;
    return dfd_info_get_int(kChip, &value, nullptr);
}

int read_fan() {
    return drv_get_fan_status(1) == FAN_STATUS_OK ? 0 : -1;
}

struct Work {
    const char *name;
    const char *unit;
    int units;
    int (*run)();
};
constexpr Work kWork[] = {{"load", "line", kLines, load},
                          {"look-up", "look-up", kSlots, look_up},
                          {"local bus read", "read", 1, read_register},
                          {"local bus write", "write", 1, write_register},
                          {"I2C read", "read", 1, read_chip},
                          {"fan status", "status", 1, read_fan}};

/// Lines of an item that is one register of the device.
std::string register_item(const std::string &name, const std::string &index, int offset,
                          const std::string &source = "localbus") {
    return name + ".mode" + index + "=config\n" + name + ".src" + index + "=" + source + "\n" +
           name + ".frmt" + index + "=byte\n" + name + ".len" + index + "=1\n" + name + ".fpath" +
           index + "=" + bench::device_file() + "\n" + name + ".reg_offset" + index + "=" +
           std::to_string(offset) + "\n";
}

void load_board() {
    std::ofstream(board_file(), std::ios::app)
        << register_item("card_power_ctrl", "_1", 0)
        << register_item("card_power_consume", "_1", 0, "i2c")
        << register_item("fan_state", "_1", 0) << register_item("fan_line_fail", "_1", 1)
        << register_item("fan_real_speed", "_1_1", 0) << register_item("fan_real_speed", "_1_2", 0)
        << "subfan_num.mode_1=constant\nsubfan_num.int_cons_1=2\nfan_speed_floor=1\n";
    load();
}

}  // namespace

extern "C" int counted(const Work *work);

[[gnu::noinline]] int counted(const Work *work) {
    return work->run();
}

int main(int argc, char **argv) {
    if (argc != 2) {
        for (const Work &work : kWork) {
            std::printf("%s\t%s\t%d\n", work.name, work.unit, work.units);
        }
        return 0;
    }
    bench::write_items(board_file(), kLines);
    for (const Work &work : kWork) {
        if (std::strcmp(argv[1], work.name) == 0) {
            if (work.run != load) {
                load_board();
                // Names of functions are looked up at their first call.
                work.run();
            }
            return counted(&work) >= 0 ? 0 : 1;
        }
    }
    return 2;
}
