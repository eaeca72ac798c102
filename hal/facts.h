// SPDX-License-Identifier: MIT
// Facts that several modules and the tools need, each in this one place.
#pragma once

#include <dfd/records.h>

namespace dfd {

// Numbers of the backplanes.
inline constexpr uint32_t kFirstBackplane = 1;
inline constexpr uint32_t kLastBackplane = 2;

// Where the control items of MAC temperatures begin: the files of switch chips.
inline constexpr uint32_t kFirstMacIndex = 41;

// Slots that the reset of all line cards reaches.
inline constexpr int kFirstLineCard = 1;
inline constexpr int kLastLineCard = 28;

// The fan mode in which speed levels hold.
inline constexpr uint32_t kManualFanMode = 1;

// While this file exists, sdd_set_led changes nothing: the factory console owns the LEDs.
inline constexpr char kFactoryMarker[] = "/tmp/.factory_disabale_cli_tty";

// An item in these modes stands for the contents of an EEPROM.
constexpr bool is_e2prom_mode(int mode) {
    return mode == INFO_CTRL_MODE_TLV || mode == INFO_CTRL_MODE_FRU ||
           mode == INFO_CTRL_MODE_LEGACY;
}

namespace tlv {

inline constexpr uint8_t kFlag = 0x7E;
inline constexpr uint8_t kTypeInEntry = 0xF1;  // device type byte: see entry 6

}  // namespace tlv

}  // namespace dfd
