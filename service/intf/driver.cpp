// SPDX-License-Identifier: MIT
// Names of the driver interface that adapt arguments or results, or that always answer the same.
#include <dfd/dfd.h>

#include <cstring>

#include "hal/facts.h"
#include "service/intf/module.h"

namespace {

constexpr int kLowByte = 0xFF;
constexpr int kVersionSize = 21;  // bytes that a fan's software version needs
constexpr int kAnySlot = 0;       // sensors are named alike in all slots

}  // namespace

int drv_get_my_dev_type(void) {
    return sdd_get_my_card_type();
}
int dfd_get_my_card_type(void) {
    return drv_get_my_dev_type();
}
int drv_get_my_cpuid(void) {
    return drv_get_my_cpu_id();
}

int drv_get_slot_online(int slot) {
    return sdd_get_slot_online(slot) & kLowByte;
}
int drv_get_sslot_state(uint32_t sslot) {
    return sdd_get_sslot_state(sslot) & kLowByte;
}
int drv_check_mycard_is_conflict(void) {
    return sdd_check_mycard_is_conflict() & kLowByte;
}

int drv_control_ca_card_power_on_off(int slot, uint32_t value) {
    return drv_control_card_power_on_off(slot, value);
}

int drv_get_card_rate_power(int slot, int *power) {
    return sdd_get_card_power_consume(slot, power);
}

int drv_get_my_rate_power(int *power) {
    const int slot = drv_get_my_slotid();
    return slot < 0 ? slot : drv_get_card_power_consume(slot, power);
}

int dfd_get_card_vol(int slot, int channel, int *voltage) {
    if (voltage == nullptr) {
        return DFD_ERR;
    }
    // A negative code is stored too: some callers check the result, some the value.
    *voltage = sdd_get_card_vol(slot, channel);
    return *voltage;
}

int drv_get_power_temp(uint32_t power_id, uint32_t sensor) {
    int temp = 0;
    const int rv = sdd_get_power_temp(power_id, sensor, &temp);
    return rv < 0 ? rv : temp;
}

int drv_get_sys_power_rsupply(int *out) {
    return out == nullptr ? int{DFD_ERR} : sdd_get_sys_power_rsupply(out);
}

int drv_get_temp_name(uint8_t index, char *text, int len) {
    return sdd_get_temp_name(kAnySlot, index, text, len);
}

int drv_get_mac_temp(int slot, int *a, int *b, int *c) {
    return sdd_get_mac_temp_state(slot, a, b, c);
}

int dfd_get_mac_temp(int slot, int *a, int *b, int *c) {
    return drv_get_mac_temp(slot, a, b, c);
}

int dfd_get_fan_temp(uint32_t fan_id, int *temp) {
    const int value = sdd_get_fan_temp(fan_id);
    if (value < 0) {
        return value;
    }
    if (temp == nullptr) {
        return DFD_ERR_ARG;
    }
    *temp = value;
    return DFD_OK;
}

int drv_get_fan_sw_version(uint32_t fan_id, char *buf, int *len) {
    if (buf == nullptr || len == nullptr || *len < kVersionSize) {
        return DFD_ERR;
    }
    return sdd_get_fan_sw_version(fan_id, buf, len);
}

int drv_get_fan_hw_version(uint32_t fan_id, char *buf, int *len) {
    return buf == nullptr || len == nullptr ? int{DFD_ERR}
                                            : sdd_get_fan_hw_version(fan_id, buf, len);
}

int drv_get_fan_speed_level(uint32_t fan_id, uint32_t sub_id, int *level) {
    return level == nullptr ? int{DFD_ERR} : sdd_get_fan_speed_level(fan_id, sub_id, level);
}

int drv_get_fan_speed(uint32_t fan_id, uint8_t sub_id, int *speed) {
    return speed == nullptr ? int{DFD_ERR} : sdd_get_fan_speed(fan_id, sub_id, speed);
}

int drv_set_fan_speed_level(uint32_t fan_id, uint8_t sub_id, uint32_t level) {
    sdd_set_fan_mode(dfd::kManualFanMode);
    return sdd_set_fan_speed_level(fan_id, sub_id, level);
}

int drv_set_e2_wr_pro(int target, int protect) {
    return dfd_ctl_e2_write_pro(target, protect);
}
int drv_irq_set_cfg(int type, int enable) {
    return dfd_irq_set_cfg(type, enable);
}
int drv_cpld_set_mylc_st_led(uint32_t state) {
    return sdd_set_mylc_st_led(state, 0);
}

int drv_get_bp_mac(uint32_t id, uint8_t *buf, int len) {
    constexpr uint32_t kBackplanes = 2;
    backplane_info_t record{};
    if (buf == nullptr || len < static_cast<int>(sizeof record.mac) || id < 1 || id > kBackplanes) {
        LOG_VBOSE("fail buf == NULL OR buf_len = %d OR id = %d\r\n", len, id);
        return DFD_ERR_UNUSABLE;
    }
    if (drv_get_backplane_info(id, &record) != DFD_OK) {
        LOG_VBOSE("drv_get_backplane_info id = %d, fail\r\n", id);
        return DFD_ERR_IO;
    }
    std::memcpy(buf, record.mac, sizeof record.mac);
    return DFD_OK;
}

int drv_set_fan_mode(uint32_t /*mode*/) {
    return DFD_ERR;
}
int dfd_mb_is_compatible(int /*a*/, int /*b*/) {
    return 1;
}
int drv_my_dev_type_is_fe(void) {
    return 0;
}
int drv_get_card_vol_i2c(int /*slot*/, int /*channel*/, int * /*voltage*/) {
    return DFD_ERR;
}
int drv_adj_poe_pwr_vol(uint32_t /*power_id*/, int /*voltage*/) {
    return DFD_ERR;
}
int drv_get_sys_poe_power_rsupply(int * /*out*/) {
    return DFD_ERR;
}
int drv_get_sys_poe_power_osupply(int * /*out*/) {
    return DFD_ERR;
}
