// SPDX-License-Identifier: MIT
// Dispatching and masking of interrupts.
#include <dfd/access.h>
#include <dfd/framework.h>
#include <dfd/irq.h>

#include "framework/item.h"
#include "framework/state.h"
#include "hal/irq_distrib.h"

namespace {

constexpr uint8_t kAllBits = 0xFF;
constexpr uint32_t kUnmasked = 0;
constexpr uint32_t kMasked = 0xFF;

DFD_STATE const irq_ctrl_t *g_controllers[DFD_IRQ_CONTROLLERS_MAX];

constexpr uint32_t position_index(uint32_t i, uint32_t j) {
    return i << 8 | j;
}

uint8_t normalised(const irq_ctrl_t &ctrl, int status) {
    return static_cast<uint8_t>(ctrl.irq_flag != 0 ? status : ~status);
}

uint8_t clear_value(const irq_ctrl_t &ctrl, uint8_t status) {
    const uint8_t bits = ctrl.irq_clr_bit != 0 ? status : kAllBits;
    return static_cast<uint8_t>(ctrl.irq_clr_flag != 0 ? bits : ~bits);
}

bool is_pending(uint8_t status, uint32_t bit) {
    return (status >> bit & 1) != 0;
}

// A dispatch in progress.
struct Dispatch {
    const irq_ctrl_t &ctrl;
    dfd_irq_handler_t handler;

    void report(uint32_t i, uint32_t j, uint32_t k) const {
        const uint32_t key = DFD_MAKE_KEY(DFD_KEY_IRQ_INFO, position_index(i, j), k);
        const auto *const source = dfd::get_item<irq_info_t>(key);
        if (source != nullptr && handler != nullptr) {
            handler(source);
        }
    }

    // The pending bits of a status register; the negative code when it cannot be read.
    int read_status(uint32_t key, uint8_t *status) const {
        int value = 0;
        const int rv = dfd_info_get_int(key, &value, nullptr);
        if (rv >= 0) {
            *status = normalised(ctrl, value);
        }
        return rv;
    }

    void clear(uint32_t key, uint8_t status) const {
        dfd_info_set_int(key, clear_value(ctrl, status));
    }

    // The sources under second-level bit j.
    void third_level(uint32_t i, uint32_t j, uint8_t second) const {
        uint8_t third = 0;
        if (read_status(DFD_MAKE_KEY(DFD_KEY_3RD_IRQ_STATUS, i, j), &third) < 0) {
            report(i, j, 0);
            clear(DFD_MAKE_KEY(DFD_KEY_2ND_IRQ_CLEAR, i, 0), second);
            return;
        }
        for (uint32_t k = 0; k < dfd::kIrqBits; ++k) {
            if (is_pending(third, k)) {
                report(i, j, k);
            }
        }
        clear(DFD_MAKE_KEY(DFD_KEY_3RD_IRQ_CLEAR, i, j), third);
    }

    // The sources under first-level bit i.
    void second_level(uint32_t i, uint8_t first) const {
        uint8_t second = 0;
        if (read_status(DFD_MAKE_KEY(DFD_KEY_2ND_IRQ_STATUS, i, 0), &second) < 0) {
            report(i, 0, 0);
            clear(DFD_MAKE_KEY(DFD_KEY_1ST_IRQ_CLEAR, 0, 0), first);
            return;
        }
        for (uint32_t j = 0; j < dfd::kIrqBits; ++j) {
            if (is_pending(second, j)) {
                third_level(i, j, second);
            }
        }
    }
};

void set_masks(uint32_t i, uint32_t j, uint32_t k, uint32_t value) {
    for (uint32_t m = 0; m < dfd::kIrqMaskEntries; ++m) {
        dfd_info_set_int(DFD_MAKE_KEY(DFD_KEY_IRQ_MASK, position_index(i, j), k << 4 | m), value);
    }
}

}  // namespace

int sdd_get_irq_ctrl_num(void) {
    return dfd::int_item_or(DFD_KEY_IRQ_CTRL_NUM, DFD_ERR_NOT_SUPPORTED);
}

int drv_irq_cfg_init(void) {
    const int count = sdd_get_irq_ctrl_num();
    if (count > DFD_IRQ_CONTROLLERS_MAX) {
        return DFD_ERR;
    }
    for (int c = 0; c < count; ++c) {
        // The configuration has one record for all controllers.
        g_controllers[c] = dfd::get_item<irq_ctrl_t>(DFD_MAKE_KEY(DFD_KEY_IRQ_CTRL_INFO, 0, 0));
        if (g_controllers[c] == nullptr) {
            return DFD_ERR;
        }
    }
    return count;
}

int sdd_irq_dispatch(uint32_t controller, dfd_irq_handler_t handler) {
    if (controller >= DFD_IRQ_CONTROLLERS_MAX || g_controllers[controller] == nullptr) {
        return DFD_ERR;
    }
    const Dispatch dispatch = {*g_controllers[controller], handler};
    uint8_t first = 0;
    const int rv = dispatch.read_status(DFD_MAKE_KEY(DFD_KEY_1ST_IRQ_STATUS, 0, 0), &first);
    if (rv == DFD_ERR_NOT_SUPPORTED) {
        first = kAllBits;
    } else if (rv < 0) {
        return DFD_ERR;
    }
    for (uint32_t i = 0; i < dfd::kIrqBits; ++i) {
        if (is_pending(first, i)) {
            dispatch.second_level(i, first);
        }
    }
    return DFD_OK;
}

int dfd_irq_set_cfg(int type, int enable) {
    const uint32_t value = enable == 1 ? kUnmasked : kMasked;
    constexpr uint32_t kPositions = dfd::kIrqBits * dfd::kIrqBits * dfd::kIrqBits;
    for (uint32_t position = 0; position < kPositions; ++position) {
        const uint32_t i = position / (dfd::kIrqBits * dfd::kIrqBits);
        const uint32_t j = position / dfd::kIrqBits % dfd::kIrqBits;
        const uint32_t k = position % dfd::kIrqBits;
        if (dfd::g_irq_type_distrib[i][j][k] == type) {
            set_masks(i, j, k, value);
        }
    }
    return DFD_OK;
}
