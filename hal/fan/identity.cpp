// SPDX-License-Identifier: MIT
// Inventory texts of a tray, and their update.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "hal/fan/module.h"

namespace {

using dfd::get_item;
using dfd::fan::e2prom_addr;

constexpr int kTextSize = 21;  // terminator included
constexpr int kMaxTextLength = kTextSize - 1;
constexpr int kTlvSnCapacity = 256;

using Query = int (*)(const char *, uint32_t, uint16_t, void *, int *);

// How a text is read from an EEPROM of one layout.
struct E2promText {
    Query query;         // null: the layout is none of the text's, the item's bytes are read
    int capacity;        // of the caller's buffer; 0: what the caller says
    bool leaves_length;  // the caller's *len stays
};

using ItemReader = int (*)(uint32_t key, const info_ctrl_t &ctrl, char *buf, int *len);

// One inventory text: where it is in each layout.
struct Text {
    uint32_t item_type;
    uint32_t info_type;
    E2promText tlv;
    E2promText fru;
    E2promText legacy;
    ItemReader other;
};

const E2promText *layout_of(const Text &text, int mode) {
    switch (mode) {
        case INFO_CTRL_MODE_TLV:
            return &text.tlv;
        case INFO_CTRL_MODE_FRU:
            return &text.fru;
        case INFO_CTRL_MODE_LEGACY:
            return &text.legacy;
        default:
            return nullptr;
    }
}

int read_e2prom(const Text &text, const E2promText &layout, const info_ctrl_t &ctrl, char *buf,
                int *len) {
    if (len == nullptr) {
        return layout.query(ctrl.fpath, text.info_type, e2prom_addr(ctrl), buf, nullptr);
    }
    const int capacity = layout.capacity != 0 ? layout.capacity : *len;
    int length = capacity;
    const int rv = layout.query(ctrl.fpath, text.info_type, e2prom_addr(ctrl), buf, &length);
    if (rv < 0) {
        return rv;
    }
    if (length < capacity && std::memchr(buf, '\0', static_cast<std::size_t>(length)) == nullptr) {
        buf[length] = '\0';
    }
    if (!layout.leaves_length) {
        *len = length;
    }
    return rv;
}

int get_text(const Text &text, uint32_t fan_id, char *buf, int *len) {
    const uint32_t key = DFD_MAKE_KEY(text.item_type, fan_id, 0);
    const auto *const ctrl = get_item<info_ctrl_t>(key);
    if (ctrl == nullptr) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    const E2promText *const layout = layout_of(text, ctrl->mode);
    if (layout != nullptr && layout->query != nullptr) {
        return read_e2prom(text, *layout, *ctrl, buf, len);
    }
    if (buf == nullptr || len == nullptr) {
        return DFD_ERR_ARG;
    }
    return text.other(key, *ctrl, buf, len);
}

// The bytes of an item, terminated. The number of bytes read, or a negative code.
int read_bytes(uint32_t key, char (&bytes)[kTextSize]) {
    const int rv = dfd_info_get_buf(key, bytes, sizeof bytes, nullptr);
    bytes[kMaxTextLength] = '\0';
    return rv;
}

void deliver(const char *text, char *buf, int *len) {
    const std::size_t length = std::strlen(text);
    std::memcpy(buf, text, length + 1);
    *len = static_cast<int>(length);
}

int read_text(uint32_t key, const info_ctrl_t & /*ctrl*/, char *buf, int *len) {
    char text[kTextSize] = "";
    const int rv = read_bytes(key, text);
    if (rv < 0) {
        return rv;
    }
    deliver(text, buf, len);
    return DFD_OK;
}

// Low byte, then the nibbles of the next byte, the low one first.
int read_version_number(uint32_t key, const info_ctrl_t & /*ctrl*/, char *buf, int *len) {
    int version = 0;
    const int rv = dfd_info_get_int(key, &version, nullptr);
    if (rv < 0) {
        return rv;
    }
    const auto bits = static_cast<uint32_t>(version);
    char text[kTextSize];
    std::snprintf(text, sizeof text, "V%x.%x%x", bits & 0xFF, bits >> 8 & 0x0F, bits >> 12 & 0x0F);
    deliver(text, buf, len);
    return DFD_OK;
}

int read_software_version(uint32_t key, const info_ctrl_t &ctrl, char *buf, int *len) {
    constexpr int kE2promBytes = 256;
    char text[kE2promBytes + 1] = "";
    int rv = dfd_info_get_buf(key, text, kTextSize, nullptr);
    int limit = kMaxTextLength;
    // The result is a byte count, so an item of 3 or 4 bytes looks like one in mode tlv or fru.
    // Boards rely on it: their version is then read from the EEPROM at .fpath, .addr.
    if (rv == DFD_FROM_TLV || rv == DFD_FROM_FRU) {
        const Query query =
            rv == DFD_FROM_TLV ? sdd_get_e2prom_info_by_type : sdd_get_e2prom_info_by_type_fru;
        int length = std::min(*len, kE2promBytes);
        limit = std::max(limit, length - 1);
        rv = query(ctrl.fpath, ctrl.spare, e2prom_addr(ctrl), text, &length);
    }
    if (rv < 0) {
        return rv;
    }
    text[limit] = '\0';
    deliver(text, buf, len);
    return DFD_OK;
}

// The result is the count of bytes, and the text is delivered for exactly 0 only: callers rely on
// both.
int read_cpld_version(uint32_t key, const info_ctrl_t & /*ctrl*/, char *buf, int *len) {
    char text[kTextSize] = "";
    const int rv = read_bytes(key, text);
    if (rv == DFD_OK) {
        deliver(text, buf, len);
    }
    return rv;
}

constexpr Text kSerialNumber = {DFD_KEY_FAN_SN,
                                E2PROM_INFO_SN,
                                {sdd_get_e2prom_info_by_type, kTlvSnCapacity, false},
                                {sdd_get_e2prom_info_by_type_fru, 0, false},
                                {sdd_get_e2prom_legacy_info_by_type, 0, true},
                                read_text};
constexpr Text kHardwareVersion = {DFD_KEY_FAN_HW_VER,
                                   E2PROM_INFO_HW_VER,
                                   {sdd_get_e2prom_info_by_type, 0, false},
                                   {sdd_get_e2prom_info_by_type_fru_compatible, 0, false},
                                   {sdd_get_e2prom_legacy_info_by_type, 0, false},
                                   read_version_number};
constexpr Text kSoftwareVersion = {DFD_KEY_FAN_SW_VER, 0, {}, {}, {}, read_software_version};
constexpr Text kCpldVersion = {DFD_KEY_FAN_CPLD_VERSION, 0, {}, {}, {}, read_cpld_version};

// The write-protect register of boards that configure no write-protect items for fans.
constexpr char kProtectDevice[] = "/dev/cpld0";
constexpr int kProtectRegister = 0x39;
constexpr uint8_t kUnprotected = 0xF0;
constexpr uint8_t kProtected = 0xFF;

void protect_fans(bool enable) {
    if (dfd_ctl_e2_write_pro(DFD_WP_FANS, enable ? 1 : 0) == DFD_ERR_NOT_SUPPORTED) {
        const uint8_t value = enable ? kProtected : kUnprotected;
        sdd_device_write(kProtectDevice, kProtectRegister, &value, 1);
    }
}

constexpr int kNothingWritten = 3;

int write_info(const info_ctrl_t &ctrl, const uint32_t *type, const char *sn, const char *hw) {
    switch (ctrl.mode) {
        case INFO_CTRL_MODE_TLV:
            return dfd_set_fan_info_tlv(ctrl.fpath, e2prom_addr(ctrl), sn, hw);
        case INFO_CTRL_MODE_FRU:
            return dfd_set_fan_info_fru(ctrl.fpath, e2prom_addr(ctrl), sn, hw);
        case INFO_CTRL_MODE_LEGACY:
            return dfd_set_fan_info_legacy(ctrl.fpath, e2prom_addr(ctrl), type, sn, hw);
        default:
            return kNothingWritten;
    }
}

}  // namespace

int sdd_get_fan_sn(uint32_t fan_id, char *buf, int *len) {
    return get_text(kSerialNumber, fan_id, buf, len);
}

int sdd_get_fan_hw_version(uint32_t fan_id, char *buf, int *len) {
    return get_text(kHardwareVersion, fan_id, buf, len);
}

int sdd_get_fan_sw_version(uint32_t fan_id, char *buf, int *len) {
    return get_text(kSoftwareVersion, fan_id, buf, len);
}

int sdd_get_fan_cpld_version(uint32_t fan_id, char *buf, int *len) {
    return get_text(kCpldVersion, fan_id, buf, len);
}

int sdd_set_fan_info(uint32_t fan_id, const char *sn, const char *hw) {
    return sdd_set_fan_info_with_type(fan_id, nullptr, sn, hw);
}

int sdd_set_fan_info_with_type(uint32_t fan_id, const uint32_t *type, const char *sn,
                               const char *hw) {
    const auto *const ctrl = get_item<info_ctrl_t>(DFD_MAKE_KEY(DFD_KEY_FAN_HW_VER, fan_id, 0));
    if (ctrl == nullptr) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    protect_fans(false);
    const int rv = write_info(*ctrl, type, sn, hw);
    protect_fans(true);
    return rv;
}
