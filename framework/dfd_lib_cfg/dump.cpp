// SPDX-License-Identifier: MIT
// Dumps of items and conversion lists to standard output, for diagnosis at the board.
#include <cstdio>

#include "framework/dfd_lib_cfg/key_table.h"
#include "framework/dfd_lib_cfg/lookup.h"
#include "framework/dfd_lib_cfg/module.h"

namespace {

using dfd::word_of;

void print_i2c_dev(const i2c_dev_t &device) {
    std::printf(".bus=0x%02x\r\n", device.bus);
    std::printf(".addr=0x%02x\r\n", device.addr);
}

// .reg_offset is not part of this dump; scripts compare its lines.
void print_info_ctrl(const info_ctrl_t &ctrl) {
    std::printf(".mode=%s\r\n", word_of(info_ctrl_mode_str, ctrl.mode));
    std::printf(".int_cons=%d\r\n", ctrl.int_cons);
    std::printf(".src=%s\r\n", word_of(info_src_str, ctrl.src));
    std::printf(".frmt=%s\r\n", word_of(info_frmt_str, ctrl.frmt));
    std::printf(".pola=%s\r\n", word_of(info_pola_str, ctrl.pola));
    std::printf(".fpath=%s\r\n", ctrl.fpath);
    std::printf(".addr=0x%02x\r\n", ctrl.addr);
    std::printf(".len=%d\r\n", ctrl.len);
    std::printf(".bit_offset=%d\r\n", ctrl.bit_offset);
}

struct ListRow {
    const char *title;
    const dfd_list_head_t *list;
};

constexpr ListRow kLists[] = {
    {"fan speed level convert list:\r", &dfd_lib_cfg_fan_splvl_conv_lst},
    {"card pid string convert list:\r", &dfd_lib_cfg_pid_str_conv_lst},
    {"power name convert list:\r", &dfd_lib_cfg_power_name_conv_lst},
    {"fan name convert list:\r", &dfd_lib_cfg_fan_name_conv_lst},
};

}  // namespace

void dfd_lib_cfg_show_item(uint32_t key) {
    const void *const record = dfd_lib_cfg_get_item(key);
    if (record == nullptr) {
        std::printf("item[0x%08x] not exist\r\n", key);
        return;
    }
    dfd_lib_cfg_print_item(key, record);
}

void dfd_lib_cfg_print_item(uint32_t key, const void *record) {
    if (record == nullptr) {
        LOG_ERR("input arguments error\r\n");
        return;
    }
    std::puts("**************************\r");
    std::printf("key=0x%08x\r\n", key);
    switch (dfd::kind_of_key(key)) {
        case dfd::Kind::integer:
            std::printf("int=%d\r\n", *static_cast<const int *>(record));
            break;
        case dfd::Kind::string:
            std::printf("string=%s\r\n", static_cast<const char *>(record));
            break;
        case dfd::Kind::i2c_dev:
            print_i2c_dev(*static_cast<const i2c_dev_t *>(record));
            break;
        case dfd::Kind::info_ctrl:
            print_info_ctrl(*static_cast<const info_ctrl_t *>(record));
            break;
        default:
            std::printf("item[%d] error!\r\n", DFD_KEY_TYPE(key));
            break;
    }
}

void dfd_lib_cfg_show_convert_lst(uint32_t list) {
    if (list >= sizeof kLists / sizeof kLists[0]) {
        return;
    }
    const ListRow &row = kLists[list];
    std::puts(row.title);
    for (const dfd_list_head_t *link = row.list->next; link != row.list; link = link->next) {
        const auto *node = reinterpret_cast<const val_convert_node_t *>(link);
        std::printf("index1=0x%04x index2=0x%02x int_val=%d str_val=%s\r\n", node->index1,
                    node->index2, node->int_val, node->str_val);
    }
}
