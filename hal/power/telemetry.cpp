// SPDX-License-Identifier: MIT
// Measurements of one supply: PMBus words to volts, amperes, watts and degrees.
#include "framework/dfd_info/bits.h"
#include "hal/power/linear.h"
#include "hal/power/module.h"

namespace {

constexpr int kWordBytes = 2;

constexpr int16_t join_word(const uint8_t *bytes) {
    return static_cast<int16_t>(bytes[0] | bytes[1] << 8);
}

template <int (*decode)(int16_t raw)>
int process_word(uint8_t *buf, int len, int *value) {
    if (buf == nullptr || len != kWordBytes || value == nullptr) {
        return DFD_ERR_ARG;
    }
    *value = decode(join_word(buf));
    return DFD_OK;
}

struct Measurement {
    uint32_t key_type;
    dfd_info_num_proc_t proc;
};
constexpr Measurement kInVoltage = {DFD_KEY_POWER_IN_VOLTAGE,
                                    process_word<dfd::power::linear11_whole>};
constexpr Measurement kInCurrent = {DFD_KEY_POWER_IN_CURRENT, process_word<dfd::power::linear11>};
constexpr Measurement kOutVoltage = {DFD_KEY_POWER_OUT_VOLTAGE, process_word<dfd::power::linear16>};
constexpr Measurement kOutCurrent = {DFD_KEY_POWER_OUT_CURRENT, process_word<dfd::power::linear11>};
constexpr Measurement kRatedPower = {DFD_KEY_POWER_RATE_SUPPLY,
                                     process_word<dfd::power::linear11_whole>};
constexpr Measurement kTemperature = {DFD_KEY_POWER_TEMP, dfd_get_power_temp_by_buf};

uint32_t key_of(const Measurement &what, uint32_t power_id) {
    return DFD_MAKE_KEY(what.key_type, power_id, 0);
}

// An item in mode tlv or fru is no failure, and *value is not written.
int measure(const Measurement &what, uint32_t power_id, int *value) {
    const int rv = dfd_info_get_int(key_of(what, power_id), value, what.proc);
    return rv < 0 ? rv : DFD_OK;
}

int value_of(const Measurement &what, uint32_t power_id) {
    int value = 0;
    const int rv = measure(what, power_id, &value);
    return rv < 0 ? rv : value;
}

// Users rely on 32 bits: the product wraps.
int multiply_wrapping(int a, int b) {
    return static_cast<int>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

}  // namespace

int dfd_get_power_temp_by_buf(uint8_t *buf, int len, int *temp) {
    if (buf == nullptr || len < 1 || temp == nullptr) {
        LOG_ERR("input arguments error, len=%d\r\n", len);
        return DFD_ERR_ARG;
    }
    if (len != kWordBytes) {
        LOG_ERR("len=%d, error.\n", len);
        return DFD_ERR_ARG;
    }
    *temp = dfd::power::linear11_whole(join_word(buf));
    return DFD_OK;
}

int sdd_get_power_vol_in(uint32_t power_id, int *volt) {
    return measure(kInVoltage, power_id, volt);
}

int sdd_get_power_icur(uint32_t power_id, int *milliamp) {
    return measure(kInCurrent, power_id, milliamp);
}

int sdd_get_power_ovol(uint32_t power_id) {
    return value_of(kOutVoltage, power_id);
}

int sdd_get_power_ocur(uint32_t power_id) {
    return value_of(kOutCurrent, power_id);
}

int sdd_get_power_osupply(uint32_t power_id) {
    const int current = sdd_get_power_ocur(power_id);
    const int voltage = sdd_get_power_ovol(power_id);
    if (current < 0 || voltage < 0) {
        return DFD_ERR;
    }
    return multiply_wrapping(current, voltage) / dfd::power::kThousandths;
}

int sdd_get_power_rated_supply(uint32_t power_id) {
    const uint32_t key = key_of(kRatedPower, power_id);
    const info_ctrl_t *const ctrl = dfd::get_item<info_ctrl_t>(key);
    if (ctrl == nullptr) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    int value = 0;
    int rv = dfd_info_get_int(key, &value, kRatedPower.proc);
    if (rv == DFD_FROM_TLV) {
        uint8_t bytes[sizeof value] = {};
        int len = sizeof bytes;
        rv = dfd::power::read_tlv(*ctrl, bytes, &len);
        value = static_cast<int>(dfd::join_bytes(bytes, true));
    }
    return rv < 0 ? rv : value;
}

int sdd_get_power_temp(uint32_t power_id, uint32_t /*sensor*/, int *temp) {
    const int rv = measure(kTemperature, power_id, temp);
    if (rv < 0) {
        // Log filters rely on the word "rsupply".
        LOG_ERR("get power[%d] rsupply buf fail, rv=%d\r\n", power_id, rv);
    }
    return rv;
}
