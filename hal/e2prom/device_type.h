// SPDX-License-Identifier: MIT
// The device type of an image as bytes, which units are looked up by like by a name.
#pragma once

#include <dfd/records.h>

namespace dfd {

// As the queries of mode tlv and mode fru deliver it, but the integer of a TLV image with its
// lowest byte first on every CPU. *len is the capacity, at least 4, and the bytes delivered.
int get_type_bytes(const info_ctrl_t &ctrl, uint8_t *bytes, int *len);

}  // namespace dfd
