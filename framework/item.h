// SPDX-License-Identifier: MIT
// Records of the item store by their kind.
#pragma once

#include <dfd/access.h>
#include <dfd/framework.h>

namespace dfd {

// The record of a key as the struct of its item type; null when the item is not configured.
template <typename Record>
const Record *get_item(uint32_t key) {
    return static_cast<const Record *>(dfd_lib_cfg_get_item(key));
}

inline bool is_configured(uint32_t key) {
    return dfd_lib_cfg_get_item(key) != nullptr;
}

// The value of an int item without indexes, or a default.
inline int int_item_or(uint32_t type, int otherwise) {
    const int *const item = get_item<int>(DFD_MAKE_KEY(type, 0, 0));
    return item != nullptr ? *item : otherwise;
}

// The engine's integer through a caller's pointer, where a missing item outranks a null pointer.
inline int read_item(uint32_t key, int *value) {
    int ignored = 0;
    if (value == nullptr && is_configured(key)) {
        return DFD_ERR_ARG;
    }
    return dfd_info_get_int(key, value != nullptr ? value : &ignored, nullptr);
}

}  // namespace dfd
