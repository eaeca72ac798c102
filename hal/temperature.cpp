// SPDX-License-Identifier: MIT
// Temperature sensors of cards, thresholds, MAC temperatures. Nothing is logged here.
#include "hal/temperature_codes.h"

#include <dfd/dfd.h>

#include <cstring>

#include "framework/item.h"
#include "framework/platform.h"
#include "hal/facts.h"

namespace {

const temp_info_t *find_sensor(int slot, uint8_t index) {
    return dfd::get_item<temp_info_t>(DFD_MAKE_KEY(DFD_KEY_CARD_TEMP_INFO, slot, index));
}

int lm75_processor(uint8_t *bytes, int len, int *value) {
    if (bytes == nullptr || len < 0 || value == nullptr) {
        return DFD_ERR_ARG;
    }
    // A field of bits is a single byte.
    *value = dfd::lm75_degrees(bytes[0], len > 1 ? bytes[1] : uint8_t{0});
    return DFD_OK;
}

int tmp411_processor(uint8_t *bytes, int /*len*/, int *value) {
    *value = dfd::tmp411_degrees(bytes[0]);
    return DFD_OK;
}

dfd_info_num_proc_t processor_of(int type) {
    switch (type) {
        case TEMP_INFO_LM75:
            return lm75_processor;
        case TEMP_INFO_TMP411:
            return tmp411_processor;
        default:
            return nullptr;
    }
}

// Registers that are written one after the other, until a write fails.
struct RegisterByte {
    uint16_t offset;
    uint8_t value;
};
constexpr RegisterByte kTmp411ExtendedRange[] = {
    {0x09, 4},  // configuration: extended range
    {0x22, 0},
};

int get_threshold(uint32_t item_type, int *temp) {
    constexpr int kFractionBits = 3;
    const uint32_t key = DFD_MAKE_KEY(item_type, 0, 0);
    const info_ctrl_t *const source = dfd::get_item<info_ctrl_t>(key);
    if (source == nullptr) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    const int rv = dfd_info_get_int(key, temp, nullptr);
    if (rv == DFD_OK && source->mode != INFO_CTRL_MODE_CONSTANT) {
        *temp >>= kFractionBits;
    }
    return rv;
}

// Of the three figures in a MAC temperature file.
constexpr int kMacFigures = 3;
constexpr int kMacFiguresAt = 88;

}  // namespace

int sdd_get_card_temp(int slot, uint8_t index, int *temp) {
    const int virtual_slot = sdd_get_virtual_slotid(slot);
    const temp_info_t *const sensor = find_sensor(virtual_slot, index);
    if (sensor == nullptr) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    if (sensor->type == TEMP_INFO_MAC) {
        return DFD_ERR;
    }
    return dfd_info_get_int(DFD_MAKE_KEY(DFD_KEY_CARD_TEMP_CTRL, virtual_slot, index), temp,
                            processor_of(sensor->type));
}

int sdd_get_temp_name(int slot, uint8_t index, char *dst, int dst_len) {
    const temp_info_t *const sensor = find_sensor(slot, index);
    if (sensor == nullptr) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    const std::size_t length = std::strlen(sensor->temp_name);
    if (static_cast<int>(length) >= dst_len) {
        return DFD_ERR_UNUSABLE;
    }
    if (dst == nullptr) {
        return DFD_ERR_ARG;
    }
    std::memset(dst, 0, static_cast<std::size_t>(dst_len));
    std::memcpy(dst, sensor->temp_name, length);
    return DFD_OK;
}

int sdd_check_temp_valid(int slot, uint8_t index) {
    return find_sensor(sdd_get_virtual_slotid(slot), index) != nullptr ? 1 : 0;
}

int sdd_set_card_temp_cfg(int slot, uint8_t index) {
    const temp_info_t *const sensor = find_sensor(slot, index);
    if (sensor == nullptr) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    if (sensor->type != TEMP_INFO_TMP411) {
        return DFD_OK;
    }
    const info_ctrl_t *const source = dfd::get_item<info_ctrl_t>(
        DFD_MAKE_KEY(DFD_KEY_CARD_TEMP_CTRL, sdd_get_virtual_slotid(slot), index));
    if (source == nullptr || source->src != INFO_SRC_I2C) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    int rv = DFD_OK;
    for (const RegisterByte &reg : kTmp411ExtendedRange) {
        rv = sdd_write_i2c(source->fpath, static_cast<uint16_t>(source->addr), reg.offset,
                           &reg.value, 1);
        if (rv < 0) {
            break;
        }
    }
    return rv;
}

int sdd_get_sys_card_shutdown_temp(int *temp) {
    return get_threshold(DFD_KEY_SYS_DANGER_TEMP, temp);
}

int sdd_get_sys_card_alarm_temp(int *temp) {
    return get_threshold(DFD_KEY_SYS_ALARM_TEMP, temp);
}

int sdd_is_support_mac_temp(void) {
    return dfd::is_configured(DFD_MAKE_KEY(DFD_KEY_MAC_TEMP_FILE, 0, 0)) ? 1 : 0;
}

int sdd_get_mac_temp_state(int n, int *a, int *b, int *c) {
    const uint32_t index = static_cast<uint32_t>(n) + dfd::kFirstMacIndex;
    const info_ctrl_t *const source =
        dfd::get_item<info_ctrl_t>(DFD_MAKE_KEY(DFD_KEY_CARD_TEMP_CTRL, 0, index));
    if (source == nullptr) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    if (a == nullptr || b == nullptr || c == nullptr) {
        return DFD_ERR_ARG;
    }
    uint8_t file[DFD_MAC_TEMP_FILE_SIZE] = {};
    if (sdd_get_mac_temp_from_file(source->fpath, file) < 0) {
        return DFD_ERR_MAC_FILE;
    }
    int figures[kMacFigures];
    std::memcpy(figures, file + kMacFiguresAt, sizeof figures);
    *a = figures[0];
    *b = figures[1];
    *c = figures[2];
    return DFD_OK;
}

int sdd_get_mac_temp_from_file(const char *path, void *buf) {
    if (path == nullptr || buf == nullptr) {
        return DFD_ERR_ARG;
    }
    const int count = dfd::read_file(path, buf, DFD_MAC_TEMP_FILE_SIZE);
    return count == dfd::kCannotOpen ? DFD_ERR_NOT_SUPPORTED : count;
}
