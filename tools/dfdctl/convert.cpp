// SPDX-License-Identifier: MIT
#include "dfdctl/convert.hpp"

#include <dfd/framework.h>
#include <dfd/records.h>
#include <dfd/types.h>
#include <cctype>
#include <cstring>

namespace dfdctl {

namespace {

constexpr int kThousandths = 1000;
constexpr int kWordSize = 2;
constexpr int kByteBits = 8;

int plain(uint8_t *bytes, int len, int *value) {
    unsigned number = 0;
    for (int i = 0; i < len; ++i) {
        number = number << kByteBits | bytes[i];
    }
    *value = static_cast<int>(number);
    return DFD_OK;
}

/// A word of a PMBus device: least significant byte first.
std::int16_t pmbus_word(const uint8_t *bytes) {
    return static_cast<std::int16_t>(bytes[0] | bytes[1] << kByteBits);
}

int linear11(uint8_t *bytes, int len, int *value) {
    constexpr unsigned kMantissaBits = 11;
    constexpr int kMantissaMask = 0x7FF;
    constexpr int kMantissaSign = 0x400;
    if (len != kWordSize) {
        return DFD_ERR_ARG;
    }
    const std::int16_t raw = pmbus_word(bytes);
    const int exponent = raw >> kMantissaBits;
    const int mantissa = ((raw & kMantissaMask) ^ kMantissaSign) - kMantissaSign;
    const std::int64_t scaled = std::int64_t{mantissa} * kThousandths;
    *value = static_cast<int>(exponent >= 0 ? scaled * (std::int64_t{1} << exponent)
                                            : scaled >> -exponent);
    return DFD_OK;
}

int linear16(uint8_t *bytes, int len, int *value) {
    constexpr unsigned kFractionBits = 9;
    if (len != kWordSize) {
        return DFD_ERR_ARG;
    }
    *value = (pmbus_word(bytes) * kThousandths) >> kFractionBits;
    return DFD_OK;
}

/// Most significant byte first, half degrees from bit 7 up.
int lm75(uint8_t *bytes, int len, int *value) {
    constexpr int kBelowHalfDegree = 128;
    constexpr int kHalfDegree = 500;
    if (len < kWordSize) {
        return DFD_ERR_ARG;
    }
    const auto raw = static_cast<std::int16_t>(bytes[0] << kByteBits | bytes[1]);
    *value = raw / kBelowHalfDegree * kHalfDegree;
    return DFD_OK;
}

/// Whole degrees of the extended range.
int tmp411(uint8_t *bytes, int /*len*/, int *value) {
    constexpr int kExtendedRangeOffset = 64;
    *value = (bytes[0] - kExtendedRangeOffset) * kThousandths;
    return DFD_OK;
}

int power_type(uint8_t *bytes, int len, int *value) {
    constexpr int kMaxName = 32;
    char name[kMaxName + 1] = {};
    for (int i = 0; i < len && i < kMaxName && std::isgraph(bytes[i]) != 0; ++i) {
        name[i] = static_cast<char>(bytes[i]);
    }
    std::uint32_t type = 0;
    const int result = dfd_lib_cfg_get_power_type_by_name(name, &type);
    *value = static_cast<int>(type);
    return result;
}

int speed_level(uint8_t *bytes, int len, int *value) {
    if (dfd_lib_cfg_get_item(DFD_MAKE_KEY(DFD_KEY_FAN_SPEED_LEVEL_SUPPORT, 0, 0)) == nullptr) {
        return first_byte(bytes, len, value);
    }
    return dfd_lib_cfg_get_fan_speedlvl_by_regval(bytes[0], value);
}

int power_class(uint8_t *bytes, int /*len*/, int *value) {
    const auto *power = static_cast<const int *>(
        dfd_lib_cfg_get_item(DFD_MAKE_KEY(DFD_KEY_POWER_REGVAL_CONVERT, bytes[0], 0)));
    if (power == nullptr) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    *value = *power;
    return DFD_OK;
}

Conversion sensor_conversion(const Item &item) {
    const auto *sensor =
        record_of<temp_info_t>(item_of(DFD_KEY_CARD_TEMP_INFO, item.index1, item.index2));
    switch (sensor != nullptr ? sensor->type : TEMP_INFO_NONE) {
        case TEMP_INFO_LM75:
            return {lm75, kThousandths};
        case TEMP_INFO_TMP411:
            return {tmp411, kThousandths};
        default:
            return {plain, 1};
    }
}

}  // namespace

int first_byte(uint8_t *bytes, int /*len*/, int *value) {
    *value = bytes[0];
    return DFD_OK;
}

Conversion conversion_of(const Item &item, Convert convert) {
    switch (convert) {
        case Convert::plain:
            return {plain, 1};
        case Convert::linear11:
            return {linear11, kThousandths};
        case Convert::linear16:
            return {linear16, kThousandths};
        case Convert::sensor:
            return sensor_conversion(item);
        case Convert::power_type:
            return {power_type, 1};
        case Convert::speed_level:
            return {speed_level, 1};
        case Convert::power_class:
            return {power_class, 1};
    }
    return {plain, 1};
}

}  // namespace dfdctl
