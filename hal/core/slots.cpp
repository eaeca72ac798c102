// SPDX-License-Identifier: MIT
// Places in the chassis: the board's own slot, and which others hold a card.
#include "hal/core/module.h"

namespace {

// A slot or sub-slot number: the item's value plus the base, where one is configured.
int own_number(uint32_t item_type, uint32_t base_type) {
    const uint32_t key = DFD_MAKE_KEY(item_type, 0, 0);
    if (!dfd::is_configured(key)) {
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

int sdd_get_my_cpu_id(void) {
    return dfd::int_item_or(DFD_KEY_MY_CPUID, 0);
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

int sdd_get_slot_online(int slot) {
    if (slot == sdd_get_my_slotid()) {
        return 1;
    }
    // A reading that fails leaves the value at 0, absent.
    int value = 0;
    dfd_info_get_int(DFD_MAKE_KEY(DFD_KEY_SLOT_ONLINE, slot, 0), &value, nullptr);
    return value != 0 ? 1 : 0;
}

int sdd_get_sslot_num(void) {
    return dfd::int_item_or(DFD_KEY_SSLOT_NUM, 0);
}

int sdd_get_sslot_state(uint32_t sslot) {
    int value = 0;
    const int rv = dfd_info_get_int(DFD_MAKE_KEY(DFD_KEY_SSLOT_STATE, sslot, 0), &value, nullptr);
    return rv >= 0 && value != 0 ? 1 : 0;
}

int sdd_control_card_power_on_off(int slot, uint32_t value) {
    return dfd_info_set_int(DFD_MAKE_KEY(DFD_KEY_CARD_POWER_CTRL, sdd_get_virtual_slotid(slot), 0),
                            value);
}

int sdd_reset_linecard(int slot, int all) {
    if (all != 0) {
        sdd_reset_lc_all();
    } else {
        sdd_reset_lc(slot);
    }
    return DFD_OK;
}
