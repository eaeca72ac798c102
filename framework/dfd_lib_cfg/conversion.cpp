// SPDX-License-Identifier: MIT
// Value conversion lists: look-ups from a register value or a text back to an index.
#include <cstdlib>
#include <cstring>

#include "framework/dfd_lib_cfg/module.h"
#include "framework/state.h"
#include "framework/watch.h"

DFD_STATE dfd_list_head_t dfd_lib_cfg_fan_splvl_conv_lst = {&dfd_lib_cfg_fan_splvl_conv_lst,
                                                            &dfd_lib_cfg_fan_splvl_conv_lst};
DFD_STATE dfd_list_head_t dfd_lib_cfg_pid_str_conv_lst = {&dfd_lib_cfg_pid_str_conv_lst,
                                                          &dfd_lib_cfg_pid_str_conv_lst};
DFD_STATE dfd_list_head_t dfd_lib_cfg_power_name_conv_lst = {&dfd_lib_cfg_power_name_conv_lst,
                                                             &dfd_lib_cfg_power_name_conv_lst};
DFD_STATE dfd_list_head_t dfd_lib_cfg_fan_name_conv_lst = {&dfd_lib_cfg_fan_name_conv_lst,
                                                           &dfd_lib_cfg_fan_name_conv_lst};

namespace {

// The first node for which match(node) holds, or null.
template <typename Match>
const val_convert_node_t *find_node(const dfd_list_head_t &list, Match match) {
    for (const dfd_list_head_t *link = list.next; link != &list; link = link->next) {
        // The link is the node's first member.
        const auto *node = reinterpret_cast<const val_convert_node_t *>(link);
        if (match(*node)) {
            return node;
        }
    }
    return nullptr;
}

// A node whose text begins the name; an empty text therefore matches every name.
bool find_type_by_text(const dfd_list_head_t &list, const char *text, uint32_t *type) {
    const auto *node = find_node(list, [text](const val_convert_node_t &candidate) {
        return std::strncmp(text, candidate.str_val, std::strlen(candidate.str_val)) == 0;
    });
    DFD_WATCH(converted, list, text, 0, node);
    if (node == nullptr) {
        return false;
    }
    *type = static_cast<uint32_t>(node->index1);
    return true;
}

// Shared by the three look-ups of a type by a text. `what` completes "get %s[%s] fail".
int get_type_by_text(const char *func, const dfd_list_head_t &list, const char *what,
                     const char *text, uint32_t *type) {
    if (text == nullptr || type == nullptr) {
        LOG_ERR_IN(func, "input arguments error\r\n");
        return DFD_ERR;
    }
    if (!find_type_by_text(list, text, type)) {
        LOG_ERR_IN(func, "get %s[%s] fail\r\n", what, text);
        return DFD_ERR;
    }
    return DFD_OK;
}

}  // namespace

void dfd_lib_cfg_regval_conv_lst_add(dfd_list_head_t *list, uint32_t int_val, const char *str_val,
                                     uint32_t index1, uint32_t index2) {
    if (list == nullptr) {
        return;
    }
    auto *const node =
        static_cast<val_convert_node_t *>(std::calloc(1, sizeof(val_convert_node_t)));
    if (node == nullptr) {
        LOG_ERR("malloc val_convert_node_t fail\r\n");
        return;
    }
    node->int_val = static_cast<int>(int_val);
    node->index1 = static_cast<int>(index1);
    node->index2 = static_cast<int>(index2);
    if (str_val != nullptr) {
        std::memcpy(node->str_val, str_val, strnlen(str_val, DFD_STRING_SIZE - 1));
    }
    node->lst = {list, list->prev};
    list->prev->next = &node->lst;
    list->prev = &node->lst;
}

int dfd_lib_cfg_get_fan_speedlvl_by_regval(uint32_t regval, int *level) {
    if (level == nullptr) {
        LOG_ERR("input arguments error\r\n");
        return DFD_ERR;
    }
    const auto *node =
        find_node(dfd_lib_cfg_fan_splvl_conv_lst, [regval](const val_convert_node_t &candidate) {
            return candidate.int_val == static_cast<int>(regval);
        });
    DFD_WATCH(converted, dfd_lib_cfg_fan_splvl_conv_lst, nullptr, regval, node);
    if (node == nullptr) {
        LOG_ERR("get fan speed level by regval[0x%x] fail\r\n", regval);
        return DFD_ERR;
    }
    *level = node->index1;
    return DFD_OK;
}

int dfd_lib_cfg_get_card_type_by_pid_str(const char *pid_str, uint32_t *card_type) {
    return get_type_by_text(__func__, dfd_lib_cfg_pid_str_conv_lst, "card type by pid str", pid_str,
                            card_type);
}

int dfd_lib_cfg_get_power_type_by_name(const char *name, uint32_t *power_type) {
    return get_type_by_text(__func__, dfd_lib_cfg_power_name_conv_lst, "power type by name", name,
                            power_type);
}

int dfd_lib_cfg_get_fan_type_by_name(const char *name, uint32_t *fan_type) {
    return get_type_by_text(__func__, dfd_lib_cfg_fan_name_conv_lst, "fan type by name", name,
                            fan_type);
}
