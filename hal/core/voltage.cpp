// SPDX-License-Identifier: MIT
// Supply voltages of a card, from an ADC that is read under a lock of the hardware.
#include "hal/core/module.h"

namespace {

constexpr uint32_t kReferenceChannel = 0;
constexpr int kReference_mV = 1240;
constexpr int kDefaultVoltage = 12;
constexpr int kLocked = 1;
constexpr int kUnlocked = 0;

// The high byte carries the top four bits of a reading and, above them, the channel's divider
// factor.
constexpr uint32_t kHighBits = 0xF00;
constexpr int kFactorShift = 4;

struct AdcBytes {
    int low;
    int high;

    uint32_t reading() const {
        return (static_cast<uint32_t>(high) << 8 & kHighBits) | static_cast<uint32_t>(low);
    }
    uint32_t factor() const { return static_cast<uint32_t>(high >> kFactorShift); }
};

// -6 without channels, -1 beyond them.
int check_channel(int channel) {
    const int channels = sdd_get_card_vol_num();
    if (channels < 1) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    return channel > channels ? DFD_ERR : DFD_OK;
}

// Low byte, then high byte; the first result that is not 0.
int read_channel(int vslot, uint32_t channel, AdcBytes *bytes) {
    const int rv =
        dfd_info_get_int(DFD_MAKE_KEY(DFD_KEY_CARD_VOL_LOW, vslot, channel), &bytes->low, nullptr);
    if (rv != DFD_OK) {
        return rv;
    }
    return dfd_info_get_int(DFD_MAKE_KEY(DFD_KEY_CARD_VOL_HIGH, vslot, channel), &bytes->high,
                            nullptr);
}

// Millivolts. The product is cut to 32 bits: users rely on it.
int voltage_mV(const AdcBytes &reference, const AdcBytes &measured) {
    const auto divisor = static_cast<int>(reference.reading());
    if (divisor == 0) {
        return 0;
    }
    const auto product =
        static_cast<int>(measured.factor() * measured.reading() * uint32_t{kReference_mV});
    return static_cast<int>(int64_t{product} / divisor);
}

}  // namespace

int sdd_get_card_vol_num(void) {
    return dfd::int_item_or(DFD_KEY_CARD_VOL_NUM, 0);
}

int sdd_get_card_vol(int slot, int channel) {
    if (const int rv = check_channel(channel); rv != DFD_OK) {
        return rv;
    }
    const int vslot = sdd_get_virtual_slotid(slot);
    dfd_card_vol_lock(kLocked);
    AdcBytes reference{};
    AdcBytes measured{};
    int rv = read_channel(vslot, kReferenceChannel, &reference);
    if (rv == DFD_OK) {
        rv = read_channel(vslot, static_cast<uint32_t>(channel), &measured);
    }
    if (rv != DFD_OK) {
        // The lock stays taken until the next reading that succeeds: boards rely on the lock to
        // show that a reading failed.
        return rv;
    }
    const int voltage = voltage_mV(reference, measured);
    dfd_card_vol_lock(kUnlocked);
    return voltage;
}

int sdd_get_card_vol_waterline(int slot, int channel, int *level) {
    if (const int rv = check_channel(channel); rv != DFD_OK) {
        return rv;
    }
    return dfd::read_item(
        DFD_MAKE_KEY(DFD_KEY_CARD_VOL_WATERLINE, sdd_get_virtual_slotid(slot), channel), level);
}

int sdd_get_current_voltage(int *volt) {
    if (volt != nullptr) {
        *volt = dfd::int_item_or(DFD_KEY_CURRENT_VOLTAGE, kDefaultVoltage);
    }
    return DFD_OK;
}
