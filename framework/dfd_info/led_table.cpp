// SPDX-License-Identifier: MIT
// LED states and the register values that a led_info item gives them.
#include <array>

#include "framework/dfd_info/module.h"
#include "framework/dfd_lib_cfg/key_table.h"
#include "framework/item.h"
#include "framework/watch.h"

namespace {

// In the order of enum led_state.
constexpr std::array<uint32_t led_info_t::*, 7> kStates = {
    &led_info_t::dark,  &led_info_t::green,       &led_info_t::red,         &led_info_t::yellow,
    &led_info_t::spark, &led_info_t::fspark_open, &led_info_t::fspark_close};

using dfd::watch::Op;

bool is_led_info_key(uint32_t key) {
    return dfd::kind_of_key(key) == dfd::Kind::led_info;
}

const led_info_t *find_led_info(const char *func, uint32_t key) {
    const auto *const info = dfd::get_item<led_info_t>(key);
    if (info == nullptr) {
        LOG_WARN_IN(func, "get info ctrl fail, key=0x%08x\r\n", key);
    }
    return info;
}

int regval_of(const led_info_t &info, uint32_t state, uint32_t *regval) {
    if (state >= kStates.size() || info.*kStates[state] == LED_REGVAL_UNSET) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    *regval = info.*kStates[state];
    return DFD_OK;
}

// A register value that no state has leaves the caller's state as it is: still a success.
int state_of(const led_info_t &info, uint32_t regval, uint32_t *state) {
    for (std::size_t i = 0; i < kStates.size(); ++i) {
        if (info.*kStates[i] == regval) {
            *state = static_cast<uint32_t>(i);
            break;
        }
    }
    return DFD_OK;
}

}  // namespace

int dfd_get_led_info_regval(uint32_t key, uint32_t state, uint32_t *regval) {
    if (!is_led_info_key(key) || regval == nullptr) {
        return DFD_ERR_ARG;
    }
    const led_info_t *const info = find_led_info(__func__, key);
    if (info == nullptr) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    return dfd::watch::engine(
        {Op::led_regval, key, state, false}, [=] { return regval_of(*info, state, regval); },
        [=] { return *regval; });
}

int dfd_get_led_info_state(uint32_t key, uint32_t regval, uint32_t *state) {
    if (!is_led_info_key(key) || state == nullptr) {
        return DFD_ERR_ARG;
    }
    const led_info_t *const info = find_led_info(__func__, key);
    if (info == nullptr) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    return dfd::watch::engine(
        {Op::led_state, key, regval, false}, [=] { return state_of(*info, regval, state); },
        [=] { return *state; });
}
