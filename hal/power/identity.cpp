// SPDX-License-Identifier: MIT
// What a supply is: product name and type, serial number, versions.
#include <algorithm>
#include <cstring>

#include "framework/text.h"
#include "hal/e2prom/device_type.h"
#include "hal/facts.h"
#include "hal/power/module.h"

namespace {

using NameBytes = uint8_t[DFD_POWER_NAME_SIZE];

constexpr int kMaxShownName = 255;     // longer than any text of a power_name item
constexpr int kLegacyFieldBytes = 12;  // what a field of the legacy layout may need
constexpr char kNoVersion[] = "N/A";

// How many of the len bytes come before the first that is not graphic.
int graphic_length(const uint8_t *bytes, int len) {
    return static_cast<int>(std::find_if_not(bytes, bytes + len, dfd::is_graphic) - bytes);
}

int read_legacy(const info_ctrl_t &ctrl, uint32_t type, void *buf, int *len) {
    return sdd_get_e2prom_legacy_power_info_by_type(ctrl.fpath, type,
                                                    static_cast<uint16_t>(ctrl.addr),
                                                    static_cast<int>(ctrl.reg_offset), buf, len);
}

// A FRU image answers the device type with its product name. A TLV image answers with four bytes of
// an integer, which go for a name: boards rely on their power_name items matching those bytes.
int read_name(const info_ctrl_t &ctrl, NameBytes &name) {
    int len = sizeof name;
    switch (ctrl.mode) {
        case INFO_CTRL_MODE_TLV:
        case INFO_CTRL_MODE_FRU:
            return dfd::get_type_bytes(ctrl, name, &len);
        case INFO_CTRL_MODE_LEGACY:
            return read_legacy(ctrl, E2PROM_INFO_NAME, name, &len);
        default:
            return DFD_ERR;
    }
}

bool can_deliver(const char *buf, const int *len) {
    return buf != nullptr && len != nullptr && *len > 0;
}

// A short text into the caller's buffer, terminated where there is room for that.
int deliver_text(const char *text, int count, char *buf, int *len) {
    if (*len < count) {
        return DFD_ERR_ARG;
    }
    std::memcpy(buf, text, static_cast<size_t>(std::min(*len, count + 1)));
    *len = count;
    return DFD_OK;
}

// The query does not look at the capacity, so it gets a buffer of its own.
int get_legacy_version(const info_ctrl_t &ctrl, char *buf, int *len) {
    char text[kLegacyFieldBytes] = "";
    int count = 0;
    const int rv = read_legacy(ctrl, E2PROM_INFO_HW_VER, text, &count);
    return rv < 0 ? rv : deliver_text(text, count, buf, len);
}

struct TextItem {
    uint32_t key_type;
    bool has_legacy_version;
};
constexpr TextItem kSerialNumber = {DFD_KEY_POWER_SN, false};
constexpr TextItem kHardwareVersion = {DFD_KEY_POWER_HW_VER, true};

int get_text(const TextItem &item, uint32_t power_id, char *buf, int *len) {
    if (!can_deliver(buf, len)) {
        return DFD_ERR_ARG;
    }
    const uint32_t key = DFD_MAKE_KEY(item.key_type, power_id, 0);
    const info_ctrl_t *const ctrl = dfd::get_item<info_ctrl_t>(key);
    if (ctrl == nullptr) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    if (ctrl->mode == INFO_CTRL_MODE_TLV) {
        return dfd::power::read_tlv(*ctrl, buf, len);
    }
    if (ctrl->mode == INFO_CTRL_MODE_LEGACY && item.has_legacy_version) {
        return get_legacy_version(*ctrl, buf, len);
    }
    const int rv = dfd_info_get_buf(key, buf, static_cast<uint32_t>(*len), sdd_get_string_by_buf);
    if (rv < 0) {
        return rv;
    }
    *len = rv;
    return DFD_OK;
}

}  // namespace

int dfd_get_power_type_by_buf(uint8_t *buf, int len, int *type) {
    if (buf == nullptr || len < 1 || type == nullptr) {
        LOG_ERR("input arguments error, len=%d\r\n", len);
        return DFD_ERR_ARG;
    }
    const int count = graphic_length(buf, len);
    if (count < len) {
        buf[count] = '\0';
    }
    // A name that fills buf has no terminator there.
    char name[kMaxShownName + 1] = "";
    std::memcpy(name, buf, static_cast<size_t>(std::min(count, kMaxShownName)));
    uint32_t found = DFD_POWER_TYPE_UNKNOWN;
    if (dfd_lib_cfg_get_power_type_by_name(name, &found) != DFD_OK) {
        LOG_ERR("get power type by name[%s] fail\r\n", name);
        // An unknown supply is a success: users rely on its reserved type.
        found = DFD_POWER_TYPE_UNKNOWN;
    }
    *type = static_cast<int>(found);
    return DFD_OK;
}

int sdd_get_power_type(uint32_t power_id) {
    const uint32_t key = DFD_MAKE_KEY(DFD_KEY_POWER_TYPE, power_id, 0);
    const info_ctrl_t *const ctrl = dfd::get_item<info_ctrl_t>(key);
    if (ctrl == nullptr) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    int type = 0;
    int rv = DFD_OK;
    if (dfd::is_e2prom_mode(ctrl->mode)) {
        NameBytes name = {};
        rv = read_name(*ctrl, name);
        if (rv < 0) {
            return rv;
        }
        rv = dfd_get_power_type_by_buf(name, sizeof name, &type);
    } else {
        rv = dfd_info_get_int(key, &type, dfd_get_power_type_by_buf);
    }
    if (rv < 0) {
        LOG_ERR("get power[%d] type buf fail, rv=%d\r\n", power_id, rv);
        return rv;
    }
    return type;
}

int sdd_get_power_name(uint32_t power_id, char *buf, int *len) {
    const info_ctrl_t *const ctrl =
        dfd::get_item<info_ctrl_t>(DFD_MAKE_KEY(DFD_KEY_POWER_TYPE, power_id, 0));
    if (ctrl == nullptr) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    if (buf == nullptr || len == nullptr) {
        return DFD_ERR_ARG;
    }
    NameBytes name = {};
    if (const int rv = read_name(*ctrl, name); rv < 0) {
        return rv;
    }
    const int count = graphic_length(name, DFD_POWER_NAME_SIZE - 1);
    name[count] = '\0';
    std::memcpy(buf, name, static_cast<size_t>(count) + 1);
    *len = count;
    return DFD_OK;
}

int sdd_get_power_sn(uint32_t power_id, char *buf, int *len) {
    return get_text(kSerialNumber, power_id, buf, len);
}

int sdd_get_power_hw_version(uint32_t power_id, char *buf, int *len) {
    return get_text(kHardwareVersion, power_id, buf, len);
}

int sdd_get_power_sw_version(uint32_t power_id, char *buf, int *len) {
    if (!can_deliver(buf, len)) {
        return DFD_ERR_ARG;
    }
    const uint32_t key = DFD_MAKE_KEY(DFD_KEY_POWER_SW_VER, power_id, 0);
    const info_ctrl_t *const ctrl = dfd::get_item<info_ctrl_t>(key);
    if (ctrl == nullptr) {
        return deliver_text(kNoVersion, sizeof kNoVersion - 1, buf, len);
    }
    const int rv = dfd_info_get_buf(key, buf, static_cast<uint32_t>(*len), nullptr);
    if (rv < 0) {
        return rv;
    }
    if (rv == DFD_FROM_TLV) {
        // A version of three bytes gives this count too: boards rely on entry 0 being looked up
        // then.
        return dfd::power::read_tlv(*ctrl, buf, len);
    }
    // *len keeps the capacity: users rely on it.
    return DFD_OK;
}

int sdd_set_power_hw_version(uint32_t power_id, const uint8_t *data) {
    if (data == nullptr) {
        return DFD_ERR_ARG;
    }
    const info_ctrl_t *const ctrl =
        dfd::get_item<info_ctrl_t>(DFD_MAKE_KEY(DFD_KEY_POWER_HW_VER, power_id, 0));
    if (ctrl == nullptr || ctrl->mode != INFO_CTRL_MODE_LEGACY) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    // Supplies have no write-protect signal to lift.
    return dfd_set_power_info_legacy(ctrl->fpath, static_cast<uint16_t>(ctrl->addr),
                                     static_cast<int>(ctrl->reg_offset),
                                     reinterpret_cast<const char *>(data));
}
