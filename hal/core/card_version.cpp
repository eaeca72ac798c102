// SPDX-License-Identifier: MIT
// Hardware version text of the card, as the platform told it.
#include <cstring>

#include "framework/state.h"
#include "hal/core/module.h"

namespace {

constexpr int kTextSize = 24;
constexpr int kMaxLength = 21;

DFD_STATE char g_card_hw_ver[kTextSize] = "0.00";

}  // namespace

int dfd_cfg_card_hw_ver(const char *ver, int len) {
    if (ver == nullptr || len < 0 || len > kMaxLength) {
        LOG_VBOSE("ver == NULL || ver_len > DFD_MAX_VERSION_LEN\r\n");
        return DFD_ERR;
    }
    // The caller counts the terminator in.
    std::memcpy(g_card_hw_ver, ver, static_cast<size_t>(len));
    return DFD_OK;
}

int dfd_check_fwed_v100(void) {
    constexpr int kFwedTypes[] = {74, 75};
    const int type = sdd_get_my_card_type();
    const bool is_fwed = type == kFwedTypes[0] || type == kFwedTypes[1];
    return is_fwed && std::strncmp(g_card_hw_ver, "1.00", sizeof g_card_hw_ver) == 0 ? 1 : 0;
}
