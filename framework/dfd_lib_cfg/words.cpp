// SPDX-License-Identifier: MIT
// Member names and words of the configuration format.
#include <dfd/records.h>

const char *const dfd_i2c_dev_mem_str[2] = {".bus", ".addr"};
const char *const info_ctrl_mem_str[10] = {".mode", ".int_cons",  ".src",  ".frmt",
                                           ".pola", ".fpath",     ".addr", ".reg_offset",
                                           ".len",  ".bit_offset"};
const char *const led_info_mem_str[7] = {".dark",  ".green",       ".red",         ".yellow",
                                         ".spark", ".fspark_open", ".fspark_close"};
const char *const temp_info_mem_str[2] = {".temp_name", ".type"};
const char *const irq_ctrl_mem_str[3] = {".irq_flag", ".irq_clr_flag", ".irq_clr_bit"};
const char *const irq_info_mem_str[4] = {".type", ".val0", ".val1", ".val2"};

const char *const info_ctrl_mode_str[7] = {"none", "config", "constant", "tlv",
                                           "fru",  "func",   "legacy"};
const char *const info_src_str[4] = {"none", "localbus", "i2c", "file"};
const char *const info_frmt_str[7] = {"none",    "bit",     "byte", "num_bytes",
                                      "num_str", "num_buf", "buf"};
const char *const info_pola_str[3] = {"none", "positive", "negative"};
const char *const temp_info_type_str[4] = {"none", "lm75", "tmp411", "mac"};

const irq_type_name_t g_irq_type_name[11] = {
    {IRQ_TYPE_CARD, "card"},
    {IRQ_TYPE_POWER, "power"},
    {IRQ_TYPE_FAN, "fan"},
    {IRQ_TYPE_POE_POWER, "poe_power"},
    {IRQ_TYPE_POE, "poe"},
    {IRQ_TYPE_SFP, "sfp"},
    {IRQ_TYPE_HEARTBEAT, "heartbeat"},
    {IRQ_TYPE_PHY, "phy"},
    {IRQ_TYPE_SYSTEM_POWER, "system_power"},
    {IRQ_TYPE_FE_OFFLINE, "fe_offline"},
    {IRQ_TYPE_RESET_BUTTON, "reset_button"},
};
