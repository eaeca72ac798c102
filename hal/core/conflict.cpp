// SPDX-License-Identifier: MIT
// Whether the board is of the type that the setmac file says it is.
#include <atomic>

#include "framework/state.h"
#include "framework/text.h"
#include "hal/core/module.h"

namespace {

constexpr int kSetmacBytes = 10;
constexpr int kSetmacTypeBase = 47;
constexpr int kBase16 = 16;

DFD_STATE std::atomic<int> g_setmac_type;  // 0: not yet known

}  // namespace

int sdd_get_my_type_from_setmac(void) {
    const char *const path = dfd::get_item<char>(DFD_MAKE_KEY(DFD_KEY_SETMAC_E2TYPE_FILE, 0, 0));
    if (path == nullptr) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    if (const int known = g_setmac_type; known != 0) {
        LOG_VBOSE("already get, setmac_e2type 0x%x.\n", static_cast<unsigned>(known));
        return known;
    }
    char text[kSetmacBytes + 1] = "";
    const int rv = sdd_device_read(path, 0, reinterpret_cast<uint8_t *>(text), kSetmacBytes);
    if (rv < 0) {
        LOG_ERR("dfd_read_file_info failed ret %d.\n", rv);
        return DFD_ERR;
    }
    return g_setmac_type = dfd::add_wrapping(dfd::number_in_base(text, kBase16), kSetmacTypeBase);
}

int sdd_check_mycard_is_conflict(void) {
    const int board_type = sdd_get_my_card_type();
    if (board_type <= 0) {
        LOG_ERR("drv_get_my_dev_type failed ret %d.\n", board_type);
        return 0;
    }
    const int setmac_type = sdd_get_my_type_from_setmac();
    if (setmac_type <= 0) {
        LOG_ERR("drv_get_my_type_from_setmac failed ret %d.\n", setmac_type);
        return 0;
    }
    LOG_VBOSE("e2_card_type 0x%x setmac_card_type 0x%x.\n", static_cast<unsigned>(board_type),
              static_cast<unsigned>(setmac_type));
    return board_type != setmac_type ? 1 : 0;
}
