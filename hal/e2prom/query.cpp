// SPDX-License-Identifier: MIT
// Inventory by information type from TLV and FRU images.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "hal/e2prom/device_type.h"
#include "hal/e2prom/tlv_image.h"

namespace {

bool can_deliver(const void *buf, const int *len) {
    return buf != nullptr && len != nullptr && *len > 0;
}

int deliver_device_type(uint32_t type, void *buf, int *len) {
    if (*len < static_cast<int>(sizeof type)) {
        return DFD_ERR;
    }
    std::memcpy(buf, &type, sizeof type);
    *len = sizeof type;
    return DFD_OK;
}

// The version of an image without entry 5: the header's two nibbles, each in decimal, and a 0.
bool deliver_header_version(uint8_t version, void *buf, int *len) {
    char text[8];
    const int count = std::snprintf(text, sizeof text, "%d.%d0", version >> 4, version & 0x0F);
    if (*len < count) {
        return false;
    }
    std::memcpy(buf, text, static_cast<std::size_t>(count));
    *len = count;
    return true;
}

// A device type of a TLV image arrives as an integer. Where it goes for a text, its bytes are the
// same on every CPU, the lowest first. From host order to these bytes and back is one exchange.
void exchange_order(void *integer) {
    uint32_t value = 0;
    std::memcpy(&value, integer, sizeof value);
    for (std::size_t i = 0; i < sizeof value; ++i) {
        static_cast<uint8_t *>(integer)[i] = static_cast<uint8_t>(value >> 8 * i);
    }
}

// The FRU query, and whether it delivered such an integer.
int query_fru(const char *dev, uint32_t type, uint16_t addr, void *buf, int *len,
              bool *is_integer) {
    *is_integer = false;
    if (dfd_get_fru_data(dev, addr, type, buf, len) == DFD_OK) {
        LOG_VBOSE_IN("sdd_get_e2prom_info_by_type_fru",
                     "Read eeprom fru success(dev: %s, addr: %02x, buf: %p, len: %d).\n", dev, addr,
                     buf, *len);
        return DFD_OK;
    }
    const int rv = sdd_get_e2prom_info_by_type(dev, type, addr, buf, len);
    *is_integer = rv == DFD_OK && type == E2PROM_INFO_DEV_TYPE;
    return rv;
}

constexpr int kScratchSize = 256;
constexpr int kPlainVersionLength = 3;   // "123"
constexpr int kSpreadVersionLength = 4;  // "1.23"

// "123" to "1.23". Only the length is looked at, so "1.2" becomes "1..2".
void spread_version(char *text) {
    text[3] = text[2];
    text[2] = text[1];
    text[1] = '.';
}

}  // namespace

int sdd_get_e2prom_info_by_type(const char *dev, uint32_t type, uint16_t addr, void *buf,
                                int *len) {
    if (!can_deliver(buf, len)) {
        LOG_ERR("Invalid parameter info by type form e2prom!\n");
        return DFD_ERR_PARAM;
    }
    dfd::tlv::Header header{};
    if (const int rv = dfd_get_e2prom_info(dev, addr, header.bytes); rv != DFD_OK) {
        return rv;
    }
    if (type == E2PROM_INFO_DEV_TYPE && header.device_type() != dfd::tlv::kTypeInEntry) {
        return deliver_device_type(header.device_type(), buf, len);
    }
    const int rv = dfd_get_tlv_data(dev, addr, type, header.bytes, buf, len);
    if (rv != DFD_OK && type == E2PROM_INFO_HW_VER &&
        deliver_header_version(header.hardware_version(), buf, len)) {
        return DFD_OK;
    }
    return rv;
}

int sdd_get_e2prom_info_by_type_fru(const char *dev, uint32_t type, uint16_t addr, void *buf,
                                    int *len) {
    if (!can_deliver(buf, len)) {
        LOG_ERR("Invalid parameter info by type form e2prom!\n");
        return DFD_ERR_PARAM;
    }
    bool is_integer = false;
    return query_fru(dev, type, addr, buf, len, &is_integer);
}

int sdd_get_e2prom_info_by_type_fru_compatible(const char *dev, uint32_t type, uint16_t addr,
                                               void *buf, int *len) {
    if (!can_deliver(buf, len)) {
        LOG_ERR("Invalid fru parameter info by type form e2prom!\n");
        return DFD_ERR_PARAM;
    }
    char scratch[kScratchSize] = "";
    int delivered = std::min(*len, kScratchSize);
    bool is_integer = false;
    const int rv = query_fru(dev, type, addr, scratch, &delivered, &is_integer);
    if (rv != DFD_OK) {
        return rv;
    }
    if (is_integer) {
        exchange_order(scratch);
    }
    if (type == E2PROM_INFO_HW_VER && delivered == kPlainVersionLength &&
        strnlen(scratch, sizeof scratch) == kPlainVersionLength) {
        spread_version(scratch);
        delivered = kSpreadVersionLength;
        LOG_VBOSE(
            "Fix eeprom compatible fru success(dev: %s, addr: %02x, type: %d, buf: %p, len: "
            "%d).\n",
            dev, addr, type, buf, delivered);
    }
    // The spread version can need one byte more than the caller has.
    if (delivered == 0 || delivered > *len) {
        LOG_ERR("Return invalid fru info form e2prom!\n");
        return DFD_ERR_PARAM;
    }
    const std::size_t text_len = strnlen(scratch, static_cast<std::size_t>(delivered));
    std::memset(buf, 0, static_cast<std::size_t>(delivered));
    std::memcpy(buf, scratch, text_len);
    if (is_integer) {
        exchange_order(buf);
    }
    *len = delivered;
    return DFD_OK;
}

int dfd::get_type_bytes(const info_ctrl_t &ctrl, uint8_t *bytes, int *len) {
    const auto addr = static_cast<uint16_t>(ctrl.addr);
    bool is_integer = true;
    const int rv =
        ctrl.mode == INFO_CTRL_MODE_FRU
            ? query_fru(ctrl.fpath, E2PROM_INFO_DEV_TYPE, addr, bytes, len, &is_integer)
            : sdd_get_e2prom_info_by_type(ctrl.fpath, E2PROM_INFO_DEV_TYPE, addr, bytes, len);
    if (rv == DFD_OK && is_integer) {
        exchange_order(bytes);
    }
    return rv;
}
