// SPDX-License-Identifier: MIT
// Storing one value of one configuration line. All return 0, or -1 when memory runs out, the store
// refuses, or a string is too long.
#pragma once

#include <cstdint>

int dfd_lib_cfg_add_int_item(uint32_t key, const char *value, int line);
int dfd_lib_cfg_add_str_item(uint32_t key, const char *value, int line);
int dfd_lib_cfg_add_i2c_dev_item(uint32_t key, int member, const char *value, int line);
int dfd_lib_cfg_add_info_ctrl_item(uint32_t key, int member, const char *value, int line);
int dfd_lib_cfg_add_led_info_item(uint32_t key, int member, const char *value, int line);
int dfd_lib_cfg_add_temp_info_item(uint32_t key, int member, const char *value, int line);
int dfd_lib_cfg_add_irq_ctrl_item(uint32_t key, int member, const char *value, int line);
int dfd_lib_cfg_add_irq_info_item(uint32_t key, int member, const char *value, int line);

// Member number of the text right behind the key name. 0, or -1 when it names no member.
int dfd_lib_cfg_get_i2c_dev_member(const char *text, int *member, int line);
int dfd_lib_cfg_get_info_ctrl_member(const char *text, int *member, int line);
int dfd_lib_cfg_get_led_info_member(const char *text, int *member, int line);
int dfd_lib_cfg_get_temp_info_member(const char *text, int *member, int line);
int dfd_lib_cfg_get_irq_ctrl_member(const char *text, int *member, int line);
int dfd_lib_cfg_get_irq_info_member(const char *text, int *member, int line);
