// SPDX-License-Identifier: MIT
// Configuration library: what its files share.
#pragma once

#include <dfd/framework.h>

#include "framework/log.h"

static constexpr char kLogFile[] = "framework/dfd_lib_cfg.cpp";

// The store that dfd_lib_cfg_get_item reads and the parser fills.
extern btree_root g_item_root;

namespace dfd {

// Makes the store empty. The result is that of btree_init_root.
int init_items();

}  // namespace dfd

// The number rule: "0x" and at least one more character is base 16, anything else decimal; both
// stop at the first character that is no digit. Empty text gives 0xFFFFFFFF. Always 0.
int dfd_lib_cfg_get_value_from_char(const char *text, uint32_t *result, int line);

// Parses one file into the store. 0; -1 when it cannot be opened; the negative result of the first
// line that fails, where reading stops.
int dfd_lib_cfg_analyse_config_file(const char *path);

// Logs that reading a file ended with this errno, not at its end; 0 is no error. The lines before
// it stay, and loading goes on: boards start with what can be read.
void dfd_lib_cfg_report_broken_file(const char *func, const char *path, int error);

// Deletes carriage returns, line feeds and spaces anywhere in a line; tabs stay.
void dfd_lib_cfg_trim(char *line);
