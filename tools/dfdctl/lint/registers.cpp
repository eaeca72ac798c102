// SPDX-License-Identifier: MIT
#include "dfdctl/lint/registers.hpp"

#include <dfd/keys.h>
#include <dfd/records.h>
#include <algorithm>
#include <tuple>

#include "dfdctl/board/describe.hpp"
#include "dfdctl/lint/survey.hpp"
#include "framework/dfd_info/bits.h"

#include <fmt/format.h>

namespace dfdctl::lint {

namespace {

/// Items whose description cannot be executed claim nothing.
bool is_claim(const Item &item, const info_ctrl_t &ctrl) {
    const bool is_source = ctrl.src != INFO_SRC_NONE && ctrl.fpath[0] != '\0';
    const bool is_length = ctrl.len > 0 && ctrl.len <= kMaxBytes && ctrl.frmt != INFO_FRMT_NONE;
    return is_hardware_mode(ctrl.mode) && !is_place_only(item) && is_source && is_length;
}

Claim claim_of(const Item &item, const info_ctrl_t &ctrl) {
    const bool is_field = ctrl.frmt == INFO_FRMT_BIT;
    const std::uint32_t bit = std::min(ctrl.bit_offset, dfd::kBitsPerByte);
    return {.item = item,
            .ctrl = &ctrl,
            .first = ctrl.reg_offset,
            .bytes = is_field ? 1 : ctrl.len,
            .mask = is_field ? dfd::field_mask(bit, ctrl.len) : dfd::kWholeByte,
            .is_field = is_field};
}

}  // namespace

std::map<Device, std::vector<Image>> images_of(const Check &check) {
    std::map<Device, std::vector<Image>> devices;
    for (const Item &item : configured(check, DFD_KEY_BP_E2PROM_DEV)) {
        const auto &device = *record_of<i2c_dev_t>(item);
        devices[{INFO_SRC_I2C, fmt::format("/dev/i2c-{}", device.bus), device.addr}].push_back(
            {item, "record"});
    }
    for (const Item &item : configured(check, Kind::info_ctrl)) {
        const auto &ctrl = *record_of<info_ctrl_t>(item);
        const bool is_sub_card = item.type->type == DFD_KEY_SSLOT_E2PROM;
        if (is_eeprom_mode(ctrl.mode) || is_sub_card) {
            devices[{INFO_SRC_I2C, ctrl.fpath, ctrl.addr}].push_back(
                {item, is_sub_card ? "tlv" : mode_word(ctrl.mode)});
        }
    }
    return devices;
}

std::map<Device, std::vector<Claim>> claims_of(const Check &check) {
    std::map<Device, std::vector<Claim>> devices;
    for (const Item &item : configured(check, Kind::info_ctrl)) {
        const auto &ctrl = *record_of<info_ctrl_t>(item);
        if (is_claim(item, ctrl)) {
            const std::uint32_t addr = ctrl.src == INFO_SRC_I2C ? ctrl.addr : 0;
            devices[{ctrl.src, ctrl.fpath, addr}].push_back(claim_of(item, ctrl));
        }
    }
    for (auto &[device, claims] : devices) {
        std::stable_sort(claims.begin(), claims.end(), [](const Claim &a, const Claim &b) {
            const auto order = [](const Claim &c) {
                return std::tuple(c.first, !c.is_field, c.ctrl->bit_offset, c.bytes);
            };
            return order(a) < order(b);
        });
    }
    return devices;
}

}  // namespace dfdctl::lint
