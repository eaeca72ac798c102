// SPDX-License-Identifier: MIT
// Start-up. The one place where configuration depends on the layer above: on board and chassis
// type.
#include <cerrno>
#include <cstring>

#include "framework/dfd_lib_cfg/module.h"
#include "framework/platform.h"
#include "framework/watch.h"

namespace {

constexpr char kPidFile[] = "/etc/cfg/dfd/cfg_file/card_pid.cfg";
constexpr char kListDirectory[] = "/etc/cfg/dfd/file_name/";
constexpr char kFileDirectory[] = "/etc/cfg/dfd/cfg_file/";
constexpr char kChassisDirectory[] = "/etc/cfg/dfd/chassis/";

constexpr int kPathSize = 128;
// A listed name has at most 30 characters: its line end and the terminator fill the buffer.
constexpr int kListLineSize = 32;

// The files that the board's list names, up to the first that fails. -1 when there is no list.
int load_listed_files(int board_type) {
    char list_path[kPathSize];
    std::snprintf(list_path, sizeof list_path, "%s0x%x", kListDirectory,
                  static_cast<unsigned>(board_type));
    dfd::LineReader list(list_path);
    DFD_WATCH(list_opened, list_path, list.is_open() ? 0 : errno);
    if (!list.is_open()) {
        LOG_ERR_IN("dfd_lib_cfg_init", "open config file[%s] fail, error=%s\n", list_path,
                   std::strerror(errno));
        return DFD_ERR;
    }
    char name[kListLineSize] = "";
    char path[kPathSize];
    for (int line = 1; list.next(name, sizeof name); ++line) {
        DFD_WATCH_BEGIN_LINE(list_path, line, name);
        dfd_lib_cfg_trim(name);
        std::snprintf(path, sizeof path, "%s%s.cfg", kFileDirectory, name);
        LOG_VBOSE_IN("dfd_lib_cfg_init", "start parsing config file[%s]\r\n", path);
        DFD_WATCH(listed, line, dfd::watch::current_line.raw, path);
        if (dfd_lib_cfg_analyse_config_file(path) < 0 && !DFD_WATCH_FLAG(goes_on)) {
            break;
        }
    }
    dfd_lib_cfg_report_broken_file("dfd_lib_cfg_init", list_path, list.error());
    return DFD_OK;
}

}  // namespace

int dfd_lib_cfg_init_pre(void) {
    LOG_VBOSE("start parsing card pid file[%s]\r\n", kPidFile);
    const int rv = dfd_lib_cfg_analyse_config_file(kPidFile);
    if (rv < 0) {
        LOG_ERR("analyse card pid file fail, rv=%d\n", rv);
        return DFD_ERR;
    }
    return DFD_OK;
}

void dfd_lib_cfg_chassic_init(void) {
    const int chassis_type = sdd_get_my_chassis_type();
    if (chassis_type <= 0) {
        return;
    }
    char path[kPathSize];
    std::snprintf(path, sizeof path, "%s%d.cfg", kChassisDirectory, chassis_type);
    dfd_lib_cfg_analyse_config_file(path);
}

int dfd_lib_cfg_init(void) {
    const int rv = dfd::init_items();
    if (rv != DFD_OK) {
        LOG_ERR("init btree root fail, rv=%d\r\n", rv);
        return DFD_ERR;
    }
    // The result is ignored: a board without PID table can be identified by its EEPROM.
    dfd_lib_cfg_init_pre();
    const int board_type = drv_get_my_dev_type();
    if (board_type < 0) {
        LOG_ERR("get my dev type fail, rv=%d\r\n", board_type);
        return DFD_ERR;
    }
    if (load_listed_files(board_type) != DFD_OK) {
        return DFD_ERR;
    }
    dfd_lib_cfg_chassic_init();
    return DFD_OK;
}

int dev_drv_init(void) {
    return dfd_lib_cfg_init();
}
