// SPDX-License-Identifier: MIT
// Type and airflow of a tray.
#include "framework/text.h"
#include "hal/e2prom/device_type.h"
#include "hal/fan/module.h"

namespace {

using dfd::get_item;
using dfd::fan::e2prom_addr;

constexpr int kNameBytes = 64;
constexpr int kTypeBytes = 4;

using Query = int (*)(const char *, uint32_t, uint16_t, void *, int *);

int type_from_e2prom(Query query, const info_ctrl_t &ctrl, int *type) {
    int len = kTypeBytes;
    return query(ctrl.fpath, E2PROM_INFO_DEV_TYPE, e2prom_addr(ctrl), type, &len);
}

int type_from_bytes(const char *bytes) {
    uint32_t type = 0;
    for (int i = kTypeBytes - 1; i >= 0; --i) {
        type = type << 8 | static_cast<uint8_t>(bytes[i]);
    }
    return static_cast<int>(type);
}

// Looks the product name up. The four bytes of a TLV image's type, or of a name of four characters
// that is not listed, are the type themselves.
int type_from_fru(const char *func, uint32_t fan_id, const info_ctrl_t &ctrl, int *type) {
    char name[kNameBytes + 1] = "";
    int len = kNameBytes;
    const int rv = dfd::get_type_bytes(ctrl, reinterpret_cast<uint8_t *>(name), &len);
    if (rv < 0) {
        return rv;
    }
    char new_name[sizeof name];
    sdd_fan_name_remove_sp(new_name, name);
    LOG_VBOSE_IN(func, "fan  name[%s] to new[%s]\r\n", name, new_name);
    uint32_t listed_type = 0;
    if (dfd_lib_cfg_get_fan_type_by_name(new_name, &listed_type) == DFD_OK) {
        *type = static_cast<int>(listed_type);
        return DFD_OK;
    }
    LOG_VBOSE_IN(func, "get fan type by name[%s] fail\r\n", name);
    if (len != kTypeBytes) {
        LOG_ERR_IN(func, "get fan[%d] type faile\r\n", fan_id);
        return DFD_ERR_UNUSABLE;
    }
    *type = type_from_bytes(name);
    return DFD_OK;
}

int type_from_item(const char *func, uint32_t key, int *type) {
    const int rv = dfd_info_get_int(key, type, nullptr);
    if (rv < 0) {
        // The brackets show the type so far, not the fan: log filters rely on it.
        LOG_ERR_IN(func, "get fan[%d] type fail, rv=%d\r\n", *type, rv);
    }
    return rv;
}

int read_type(const char *func, uint32_t fan_id, uint32_t key, const info_ctrl_t &ctrl, int *type) {
    switch (ctrl.mode) {
        case INFO_CTRL_MODE_TLV:
            return type_from_e2prom(sdd_get_e2prom_info_by_type, ctrl, type);
        case INFO_CTRL_MODE_FRU:
            return type_from_fru(func, fan_id, ctrl, type);
        case INFO_CTRL_MODE_LEGACY:
            return type_from_e2prom(sdd_get_e2prom_legacy_info_by_type, ctrl, type);
        default:
            return type_from_item(func, key, type);
    }
}

int attribute_of(const char *name) {
    if (dfd::starts_with(name, "-F")) {
        return FAN_ATTR_F;
    }
    return dfd::starts_with(name, "-R") ? FAN_ATTR_R : FAN_ATTR_OTHER;
}

}  // namespace

int sdd_get_fan_type(uint32_t fan_id) {
    const uint32_t key = DFD_MAKE_KEY(DFD_KEY_FAN_TYPE, fan_id, 0);
    const auto *const ctrl = get_item<info_ctrl_t>(key);
    if (ctrl == nullptr) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    int type = 0;
    const int rv = read_type(__func__, fan_id, key, *ctrl, &type);
    return rv < 0 ? rv : type;
}

int sdd_fan_name_remove_sp(char *dst, const char *src) {
    if (dst == nullptr || src == nullptr) {
        return DFD_ERR_ARG;
    }
    for (; *src != '\0'; ++src) {
        if (*src != ' ') {
            *dst++ = *src;
        }
    }
    *dst = '\0';
    return DFD_OK;
}

int sdd_get_fan_attribute(uint32_t fan_id, uint32_t /*ignored*/, int *attr) {
    if (attr == nullptr) {
        LOG_ERR("input arguments error\r\n");
        return DFD_ERR_UNUSABLE;
    }
    const int type = sdd_get_fan_type(fan_id);
    if (type < 0) {
        // The negative code is looked up too: a board may list an attribute for trays that cannot
        // be read.
        LOG_ERR("dfd_pub_get_fan_type fan_id %d failed ret %d.\n", fan_id, type);
    }
    const char *const name = get_item<char>(DFD_MAKE_KEY(DFD_KEY_FAN_ATTR_TYPE, type, 0));
    if (name == nullptr) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    LOG_VBOSE("fan_id %d fan_type 0x%x attr_name %s.\n", fan_id, type, name);
    *attr = attribute_of(name);
    LOG_VBOSE("fan_id %d fan_type 0x%x attr %d.\n", fan_id, type, *attr);
    return DFD_OK;
}
