// SPDX-License-Identifier: MIT
// The FRU image of an EEPROM: its product info area is read whole, and written back whole.
#include <algorithm>
#include <cstring>

#include "framework/text.h"
#include "hal/e2prom/fru_image.h"
#include "hal/e2prom/heap_bytes.h"
#include "hal/e2prom/module.h"

namespace {

using dfd::E2prom;
using dfd::HeapBytes;

using dfd::fru::kAreaLengthAt;
using dfd::fru::kBlockBytes;
using dfd::fru::kProductOffsetAt;

// A common header. The check of a broken one prints the byte behind it.
using HeaderBytes = uint8_t[DFD_FRU_HEADER_SIZE + 1];

// The area length byte of the product info area. An offset behind the EEPROM's end is refused: the
// bus would cut it to eight bits, and something else would be read.
int read_area_length(const E2prom &e2prom, const uint8_t *hdr, uint8_t *blocks) {
    const int length_at = hdr[kProductOffsetAt] * kBlockBytes + kAreaLengthAt;
    if (length_at >= dfd::kE2promSize || e2prom.load(length_at, {blocks, 1}) != DFD_OK) {
        LOG_ERR_IN(e2prom.func,
                   "read eeprom info product_offset(dev: %s, addr: %02x, product offset:%d).\n",
                   e2prom.dev, e2prom.addr, hdr[kProductOffsetAt]);
        return DFD_ERR_PARAM;
    }
    return DFD_OK;
}

int read_area(const E2prom &e2prom, int area_at, HeapBytes &area) {
    if (!area) {
        LOG_ERR_IN(e2prom.func, "Allocate buffer(len:%d) error!\n",
                   static_cast<int>(area.span().size()));
        return DFD_ERR_NO_MEMORY;
    }
    const int rv = e2prom.load(area_at, area.span());
    if (rv != DFD_OK) {
        LOG_ERR_IN(e2prom.func, "Get FRU data error.\n");
    }
    return rv;
}

int parse_area(const E2prom &e2prom, HeapBytes &area, int area_len, fru_product_info_t *info,
               uint8_t *offsets) {
    int rv = DFD_ERR;
    // An area that claims more than was read cannot be valid.
    if (static_cast<std::size_t>(area_len) <= area.span().size()) {
        rv = ipmi_fru_product_info_area(area.data(), area_len, info, offsets);
    }
    if (rv != DFD_OK) {
        LOG_ERR_IN(e2prom.func, "analysis FRU product info error.\n");
    }
    return rv;
}

int get_field(const E2prom &e2prom, const uint8_t *hdr, uint32_t type, fru_field_t *field) {
    uint8_t blocks = 0;
    if (const int rv = read_area_length(e2prom, hdr, &blocks); rv != DFD_OK) {
        return rv;
    }
    const int area_at = hdr[kProductOffsetAt] * kBlockBytes;
    LOG_VBOSE_IN(
        e2prom.func,
        "read eeprom info product_offset(dev: %s, addr: %02x, product offset:%d, fru len:%d).\n",
        e2prom.dev, e2prom.addr, area_at + kAreaLengthAt, blocks);
    const int area_len = blocks * kBlockBytes;
    HeapBytes area(static_cast<std::size_t>(area_len));
    if (const int rv = read_area(e2prom, area_at, area); rv != DFD_OK) {
        return rv;
    }
    fru_product_info_t info{};
    if (dfd_set_fru_product_info(&info, field, type) != DFD_OK) {
        LOG_ERR_IN(e2prom.func, "Not support to get info: %d.\n", type);
        return DFD_ERR;
    }
    fru_field_offsets offsets{};
    return parse_area(e2prom, area, area_len, &info, offsets);
}

// An empty text keeps its field as it is, like a null one.
const char *given(const char *text) {
    return dfd::is_empty(text) ? nullptr : text;
}

}  // namespace

int dfd_get_frue2prom_info(const char *dev, uint16_t addr, uint8_t *hdr) {
    if (dev == nullptr || hdr == nullptr) {
        LOG_ERR("Invalid parameter!\n");
        return DFD_ERR_PARAM;
    }
    // A wrong checksum shows the byte behind the header, which the caller's buffer need not have.
    HeaderBytes bytes = {};
    const int rv = dfd_read_e2prom(dev, addr, 0, bytes, DFD_FRU_HEADER_SIZE);
    if (rv != DFD_OK) {
        LOG_ERR("Read eeprom head info error(dev: %s, addr: %02x).\n", dev, addr);
        return rv;
    }
    std::memcpy(hdr, bytes, DFD_FRU_HEADER_SIZE);
    return ipmi_validate_common_hdr(bytes, DFD_FRU_HEADER_SIZE);
}

int dfd_set_fru_product_info(fru_product_info_t *info, fru_field_t *dest, uint32_t type) {
    if (info == nullptr || dest == nullptr) {
        return DFD_ERR_PARAM;
    }
    *info = {};
    switch (type) {
        case E2PROM_INFO_NAME:
        case E2PROM_INFO_DEV_TYPE:
            info->product_name = dest;
            return DFD_OK;
        case E2PROM_INFO_SN:
            info->serial_number = dest;
            return DFD_OK;
        case E2PROM_INFO_HW_VER:
            info->product_version = dest;
            return DFD_OK;
        default:
            return DFD_ERR;
    }
}

int dfd_get_fru_data(const char *dev, uint16_t addr, uint32_t type, void *buf, int *len) {
    if (dev == nullptr || buf == nullptr || len == nullptr || *len <= 0) {
        LOG_ERR("Invalid parameter!\n");
        return DFD_ERR_PARAM;
    }
    LOG_VBOSE("Read fru eeprom (dev: %s, addr: %02x, type:%d, buf: %p, len: %d).\n", dev, addr,
              type, buf, *len);
    HeaderBytes hdr = {};
    if (const int rv = dfd_get_frue2prom_info(dev, addr, hdr); rv != DFD_OK) {
        LOG_ERR("Read eeprom info head error(dev: %s, addr: %02x, buf: %p, len: %d).\n", dev, addr,
                buf, *len);
        return rv;
    }
    fru_field_t field{};
    if (const int rv = get_field({__func__, dev, addr}, hdr, type, &field); rv != DFD_OK) {
        return rv;
    }
    *len = std::min(static_cast<int>(field.len), *len);
    std::memcpy(buf, field.data, static_cast<std::size_t>(*len));
    return DFD_OK;
}

int dfd_set_fan_info_fru(const char *dev, uint16_t addr, const char *sn, const char *hw) {
    const E2prom e2prom = {__func__, dev, addr};
    HeaderBytes hdr = {};
    if (const int rv = dfd_get_frue2prom_info(dev, addr, hdr); rv != DFD_OK) {
        return rv;
    }
    uint8_t blocks = 0;
    if (const int rv = read_area_length(e2prom, hdr, &blocks); rv != DFD_OK) {
        return rv;
    }
    // An update uses 5 bits of the length byte, a look-up all 8: boards rely on both.
    constexpr int kUpdateLengthMask = 0x1F;
    const int area_at = hdr[kProductOffsetAt] * kBlockBytes;
    const int area_len = (blocks & kUpdateLengthMask) * kBlockBytes;
    const int capacity = (dfd::kE2promSize - area_at) & 0xFF;
    HeapBytes area(static_cast<std::size_t>(capacity));
    if (const int rv = read_area(e2prom, area_at, area); rv != DFD_OK) {
        return rv;
    }
    fru_product_info_t info{};
    fru_field_offsets offsets{};
    if (const int rv = parse_area(e2prom, area, area_len, &info, offsets); rv != DFD_OK) {
        return rv;
    }
    // Changed or not, the area is written back: a text that does not fit is not reported.
    ipmi_fru_sn_hw_updata(area.data(), capacity, area_len, given(sn), given(hw), offsets);
    return e2prom.store(area_at, area.span()) == DFD_OK ? DFD_OK : DFD_ERR;
}

int dfd_set_card_info_fru(const char *dev, uint16_t addr, const char *sn, const char *hw) {
    return dfd_set_fan_info_fru(dev, addr, sn, hw);
}
