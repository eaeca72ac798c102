/* SPDX-License-Identifier: MIT */
/* A C11 program links the library and uses functions and data of it. */
#include <dfd/dfd.h>
#include <stdio.h>
#include <string.h>

static int processed(uint8_t *bytes, int len, int *value) {
    *value = bytes[0] + len;
    return 0;
}

int main(void) {
    dfd_info_num_proc_t proc = processed;
    int value = 0;
    uint32_t type = 0;
    struct btree_root *root = NULL;
    const int wrong = (dfd_info_get_int(DFD_MAKE_KEY(DFD_KEY_SLOT_ONLINE, 5, 0), &value, proc) !=
                       DFD_ERR_NOT_SUPPORTED) +
                      (DFD_MAKE_KEY(DFD_KEY_CARD_TEMP_INFO, 2, 7) != UINT32_C(0xBB000207)) +
                      (strcmp(g_irq_type_name[10].name, "reset_button") != 0) +
                      (strcmp(info_frmt_str[INFO_FRMT_NUM_BUF], "num_buf") != 0) +
                      (dfd_lib_cfg_pid_str_conv_lst.next != &dfd_lib_cfg_pid_str_conv_lst) +
                      (dfd_lib_cfg_get_card_type_by_pid_str("x", &type) != DFD_ERR) +
                      (btree_init_root(root) != DFD_ERR) +
                      (sizeof(backplane_info_t) != DFD_BACKPLANE_INFO_SIZE);
    printf("%d wrong answers\n", wrong);
    return wrong;
}
