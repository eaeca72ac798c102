// SPDX-License-Identifier: MIT
// TLV images: header, checksum, look-up of an entry, rewriting of two of them.
#include "framework/text.h"
#include "hal/e2prom/heap_bytes.h"
#include "hal/e2prom/tlv_image.h"

namespace {

using dfd::ByteCursor;
using dfd::E2prom;
using dfd::HeapBytes;
using dfd::tlv::Entry;
using dfd::tlv::Header;

int read_data_area(const E2prom &e2prom, const Header &header, std::span<uint8_t> data) {
    const int rv = e2prom.load(header.size(), data);
    if (rv != DFD_OK) {
        LOG_ERR_IN(e2prom.func, "Get TLV data error.\n");
    }
    return rv;
}

// A device type is a 32-bit integer: an entry of another length holds none.
bool is_wanted(const Entry &entry, uint32_t type, int capacity) {
    constexpr std::size_t kDevTypeSize = 4;
    if (entry.type != type || entry.value.size() > static_cast<std::size_t>(capacity)) {
        return false;
    }
    return type != E2PROM_INFO_DEV_TYPE || entry.value.size() == kDevTypeSize;
}

void deliver(const Entry &entry, void *buf, int *len) {
    if (entry.type == E2PROM_INFO_DEV_TYPE) {
        const uint32_t host_order = dfd::big_endian(entry.value);
        std::memcpy(buf, &host_order, sizeof host_order);
    } else if (!entry.value.empty()) {
        std::memcpy(buf, entry.value.data(), entry.value.size());
    }
    *len = static_cast<int>(entry.value.size());
}

// Writes text with its terminator over the start of a value that is longer; else leaves it.
void replace_value(std::span<uint8_t> value, const char *text) {
    if (!dfd::is_empty(text) && std::strlen(text) < value.size()) {
        std::memcpy(value.data(), text, std::strlen(text) + 1);
    }
}

void replace_entries(std::span<uint8_t> data, const char *sn, const char *hw) {
    ByteCursor cursor(data);
    for (Entry entry{}; dfd::tlv::next_entry(cursor, &entry);) {
        const auto value = data.subspan(entry.at + dfd::tlv::kEntryHeaderSize, entry.value.size());
        if (entry.type == E2PROM_INFO_SN) {
            replace_value(value, sn);
        } else if (entry.type == E2PROM_INFO_HW_VER) {
            replace_value(value, hw);
        }
    }
}

// The header's sum does not depend on the byte order of its length field.
int write_checksum(const E2prom &e2prom, const Header &header, std::span<const uint8_t> data) {
    const auto header_bytes =
        std::span(header.bytes).first(static_cast<std::size_t>(header.size()));
    const uint32_t sum = dfd::tlv::sum_of(header_bytes) + dfd::tlv::sum_of(data);
    const uint8_t checksum[dfd::tlv::kChecksumSize] = {static_cast<uint8_t>(sum >> 8),
                                                       static_cast<uint8_t>(sum)};
    return e2prom.store(header.size() + header.length(), checksum);
}

}  // namespace

int dfd_check_e2prom_info(const char *dev, uint16_t addr, const uint8_t *hdr) {
    if (hdr == nullptr) {
        return 0;
    }
    const Header header = Header::from(hdr);
    if (header.flag() != dfd::tlv::kFlag) {
        LOG_ERR("E2prom flag ERROR, flag:%x.\n", header.flag());
        return 0;
    }
    const int length = header.length();
    if (length < dfd::tlv::kMinLength || length > dfd::tlv::kMaxLength) {
        LOG_ERR("E2prom TLV LEN error, LEN:%d.\n", length);
        return 0;
    }
    uint8_t image[dfd::kE2promSize] = {};
    if (dfd_read_e2prom(dev, addr, 0, image, sizeof image) != DFD_OK) {
        LOG_ERR("Read eeprom error(dev name:%s, addr: 0x%02x).\n", dfd::shown(dev), addr);
        return 0;
    }
    const auto end = static_cast<std::size_t>(header.size()) + static_cast<std::size_t>(length);
    const uint32_t stored = dfd::big_endian(std::span(image).subspan(end, 2));
    const uint32_t computed = dfd::tlv::sum_of(std::span(image).first(end));
    // The message calls the high-order byte low: tools match its text.
    LOG_VBOSE("Len:%d, chechsum_low:0x%x, high:0x%x, checksum:0x%x.\n", static_cast<int>(end),
              image[end], image[end + 1], stored);
    if (stored != computed) {
        LOG_ERR("ERROR:old checksum:%d, new checksum:%d.\n", stored, computed);
        return 0;
    }
    return 1;
}

int dfd_get_e2prom_info(const char *dev, uint16_t addr, uint8_t *hdr) {
    if (dev == nullptr || hdr == nullptr) {
        LOG_ERR("Invalid parameter!\n");
        return DFD_ERR_PARAM;
    }
    const int rv = dfd_read_e2prom(dev, addr, 0, hdr, DFD_TLV_HEADER_SIZE);
    if (rv != DFD_OK) {
        LOG_ERR("Read eeprom error(dev: %s, addr: %02x).\n", dev, addr);
        return rv;
    }
    Header header = Header::from(hdr);
    header.length_to_host_order();
    std::memcpy(hdr, header.bytes, sizeof header.bytes);
    if (header.version() == dfd::tlv::kVersion2) {
        // Accepted without flag, length or checksum check: such images are in the field.
        return DFD_OK;
    }
    return dfd_check_e2prom_info(dev, addr, hdr) == 1 ? DFD_OK : DFD_ERR;
}

int dfd_get_tlv_data(const char *dev, uint16_t addr, uint32_t type, const uint8_t *hdr, void *buf,
                     int *len) {
    if (dev == nullptr || hdr == nullptr || buf == nullptr || len == nullptr || *len <= 0) {
        LOG_ERR("Invalid parameter!\n");
        return DFD_ERR_PARAM;
    }
    const Header header = Header::from(hdr);
    if (header.length() == 0) {
        LOG_ERR("No TVL data.\n");
        return DFD_ERR_PARAM;
    }
    // A version 2 header may give any length. The buffer is that long, and the bus refuses a length
    // that it cannot transfer.
    HeapBytes data(static_cast<std::size_t>(header.length()));
    if (!data) {
        LOG_ERR("Allocate buffer(len:%d) error!\n", header.length());
        return DFD_ERR_NO_MEMORY;
    }
    if (const int rv = read_data_area({__func__, dev, addr}, header, data.span()); rv != DFD_OK) {
        return rv;
    }
    LOG_VBOSE("TLV Len:%d\n", dfd::tlv::kEntryHeaderSize);
    ByteCursor cursor(data.span());
    for (Entry entry{}; dfd::tlv::next_entry(cursor, &entry);) {
        LOG_VBOSE("tlv: %p, tlv->type: 0x%x, tlv->len: 0x%x *tlv_len: 0x%x\n",
                  static_cast<const void *>(data.data() + entry.at), entry.type,
                  static_cast<unsigned>(entry.value.size()), header.length());
        if (is_wanted(entry, type, *len)) {
            deliver(entry, buf, len);
            return DFD_OK;
        }
    }
    LOG_VBOSE("Not support to get info: %d.\n", type);
    return DFD_ERR;
}

int dfd_set_fan_info_tlv(const char *dev, uint16_t addr, const char *sn, const char *hw) {
    const E2prom e2prom = {__func__, dev, addr};
    Header header{};
    if (const int rv = dfd_get_e2prom_info(dev, addr, header.bytes); rv != DFD_OK) {
        return rv;
    }
    if (!header.fits_e2prom()) {
        // Only an unchecked version 2 header gets here; writing it back would wrap over itself.
        LOG_ERR("E2prom TLV LEN error, LEN:%d.\n", header.length());
        return DFD_ERR;
    }
    HeapBytes data(static_cast<std::size_t>(header.length()));
    if (!data) {
        return DFD_ERR_NO_MEMORY;
    }
    if (const int rv = read_data_area(e2prom, header, data.span()); rv != DFD_OK) {
        return rv;
    }
    replace_entries(data.span(), sn, hw);
    if (e2prom.store(header.size(), data.span()) != DFD_OK) {
        return DFD_ERR;
    }
    return write_checksum(e2prom, header, data.span());
}

int dfd_set_card_info_tlv(const char *dev, uint16_t addr, const char *sn, const char *hw) {
    return dfd_set_fan_info_tlv(dev, addr, sn, hw);
}
