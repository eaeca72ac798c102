// SPDX-License-Identifier: MIT
// The lock of the voltage ADC, and lock hooks that platforms call and that lock nothing.
#include "hal/core/module.h"

void dfd_card_vol_lock(int on) {
    const int rv =
        dfd_info_set_int(DFD_MAKE_KEY(DFD_KEY_CARD_VOL_LOCK, 0, 0), static_cast<uint32_t>(on));
    if (rv != DFD_OK && dfd::is_logged(DFD_DEBUG_VOL_LOCK)) {
        // A bare line, without the header of other messages.
        std::printf("VOL LOCK ERR(err = %d)\r\n", rv);
    }
}

void dfd_flock_down(int /*arg*/) {}
void dfd_flock_up(int /*arg*/) {}
