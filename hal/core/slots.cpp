// SPDX-License-Identifier: MIT
// The board's own place in the chassis.
#include "hal/core/module.h"

namespace {

// A slot or sub-slot number: the item's value plus the base, where one is configured.
int own_number(uint32_t item_type, uint32_t base_type) {
    const uint32_t key = DFD_MAKE_KEY(item_type, 0, 0);
    if (dfd_lib_cfg_get_item(key) == nullptr) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    int number = 0;
    const int rv = dfd_info_get_int(key, &number, nullptr);
    if (rv != DFD_OK) {
        return rv;
    }
    const int *const base = dfd::get_item<int>(DFD_MAKE_KEY(base_type, 0, 0));
    return base != nullptr ? dfd::add_wrapping(number, *base) : number;
}

}  // namespace

int sdd_get_my_slotid(void) {
    return own_number(DFD_KEY_MY_SLOTID, DFD_KEY_SLOT_BASE);
}

int sdd_get_my_sslotid(void) {
    return own_number(DFD_KEY_MY_SSLOTID, DFD_KEY_SSLOT_BASE);
}

int sdd_get_virtual_slotid(int slot) {
    // The two fabric slots share one set of items.
    constexpr int kFabricSlots[] = {30, 31};
    constexpr int kFabricVirtualSlot = 31;
    if (slot == 0) {
        return DFD_ERR;
    }
    if (slot == sdd_get_my_slotid()) {
        return 0;
    }
    return slot == kFabricSlots[0] || slot == kFabricSlots[1] ? kFabricVirtualSlot : slot;
}
