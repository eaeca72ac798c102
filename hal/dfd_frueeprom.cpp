// SPDX-License-Identifier: MIT
// IPMI FRU data: checks, the product info area, replacing its serial number and version.
#include <algorithm>
#include <array>
#include <cstring>
#include <span>

#include <dfd/inventory.h>

#include "framework/log.h"
#include "hal/e2prom/cursor.h"

static constexpr char kLogFile[] = "hal/dfd_frueeprom.cpp";

namespace {

constexpr uint8_t kFormatVersion = 1;
constexpr uint8_t kEndOfFields = 0xC1;  // type code 3 with length 1
constexpr uint8_t kLengthMask = 0x3F;
constexpr uint8_t kTypeMask = 0xC0;
constexpr uint8_t kTypeText = 0xC0;  // 8-bit ASCII + Latin 1
constexpr int kMaxFieldLength = 63;
constexpr int kLanguageAt = 2;
constexpr int kFieldsAt = 3;
constexpr int kBlockBytes = 8;
constexpr int kMaxBlocks = 255;
constexpr int kAreaLengthAt = 1;

uint8_t sum_of(std::span<const uint8_t> bytes) {
    uint8_t sum = 0;
    for (const uint8_t byte : bytes) {
        sum = static_cast<uint8_t>(sum + byte);
    }
    return sum;
}

int length_at(const uint8_t *area, int offset) {
    return area[offset] & kLengthMask;
}

// ---- Parsing

void clear(fru_field_t *field) {
    if (field != nullptr) {
        *field = {};
    }
}

// The field at the cursor into dest, if there is one; its data length, or -1 when it is refused.
int read_field(dfd::ByteCursor &cursor, fru_field_t *dest) {
    const uint8_t type_length = cursor.take_u8();
    if (type_length == kEndOfFields) {
        return DFD_ERR;
    }
    const auto data = cursor.take(type_length & kLengthMask);
    if (!cursor.is_valid()) {
        return DFD_ERR;
    }
    if (dest != nullptr) {
        clear(dest);
        std::copy(data.begin(), data.end(), dest->data);
        dest->len = static_cast<uint32_t>(data.size());
    }
    return static_cast<int>(data.size());
}

bool at_end_of_fields(const dfd::ByteCursor &cursor) {
    return cursor.at_end() || *cursor.position() == kEndOfFields;
}

void read_custom_fields(dfd::ByteCursor &cursor, const fru_product_info_t &info) {
    for (uint32_t i = 0; !at_end_of_fields(cursor); ++i) {
        if (info.custom != nullptr && i >= info.custom_count) {
            return;
        }
        if (read_field(cursor, info.custom != nullptr ? info.custom + i : nullptr) < 0) {
            return;
        }
    }
}

void clear_destinations(std::span<fru_field_t *const> fixed, const fru_product_info_t &info) {
    for (fru_field_t *field : fixed) {
        clear(field);
    }
    for (uint32_t i = 0; info.custom != nullptr && i < info.custom_count; ++i) {
        clear(info.custom + i);
    }
}

// Stops at the first field that is refused: those behind it stay empty, and that is a success.
void read_fields(std::span<const uint8_t> area, std::span<fru_field_t *const> fixed,
                 const fru_product_info_t &info, uint8_t *offsets) {
    dfd::ByteCursor cursor(area);
    cursor.take(kFieldsAt);
    for (fru_field_t *dest : fixed) {
        if (at_end_of_fields(cursor)) {
            return;
        }
        const auto offset = cursor.position() - area.data();
        const int length = read_field(cursor, dest);
        if (length < 0) {
            return;
        }
        *offsets++ = static_cast<uint8_t>(offset);
        *offsets++ = static_cast<uint8_t>(length);
    }
    read_custom_fields(cursor, info);
}

// ---- Replacing a field

// A replacement with every bound settled before a byte is changed.
struct Replacement {
    int data_at;
    int old_len;
    int new_len;
    int used;        // bytes of the area afterwards
    uint8_t blocks;  // area length byte afterwards
};

// A grown area gets one block more than it needs when it fills its last one: readers of these
// boards expect that size.
bool plan(const uint8_t *area, int capacity, int area_len, int new_len, int field_offset,
          int growth, Replacement *to_do) {
    const int old_len = length_at(area, field_offset);
    const int data_at = field_offset + 1;
    int used = area_len + growth;
    int blocks = area[kAreaLengthAt];
    if (growth > 0) {
        blocks = used / kBlockBytes + 1;
        used = blocks * kBlockBytes;
    }
    if (new_len > kMaxFieldLength || growth != new_len - old_len || blocks > kMaxBlocks ||
        used < 1 || used > capacity || data_at + std::max(old_len, new_len) > capacity) {
        return false;
    }
    *to_do = {data_at, old_len, new_len, used, static_cast<uint8_t>(blocks)};
    return true;
}

void replace(uint8_t *area, int capacity, const char *str, const Replacement &to_do) {
    constexpr int kMaxTail = 256;  // bytes behind a growing field that move
    uint8_t *const data = area + to_do.data_at;
    // Behind a longer field, bytes that the move pushes beyond the capacity are lost.
    int tail = capacity - to_do.data_at - std::max(to_do.old_len, to_do.new_len);
    if (to_do.new_len > to_do.old_len) {
        tail = std::min(tail, kMaxTail);
    }
    std::memmove(data + to_do.new_len, data + to_do.old_len, static_cast<std::size_t>(tail));
    data[-1] = static_cast<uint8_t>((data[-1] & kTypeMask) | to_do.new_len);
    std::memcpy(data, str, static_cast<std::size_t>(to_do.new_len));
    area[kAreaLengthAt] = to_do.blocks;
}

// Replaces the field of one pair of the offsets table, where a text is given.
int replace_at(const char *func, uint8_t *area, int capacity, int *area_len, const char *text,
               const uint8_t *pair) {
    if (text == nullptr) {
        return DFD_OK;
    }
    const int growth = static_cast<int>(std::strlen(text)) - pair[1];
    if (growth > 0 && static_cast<uint32_t>(capacity - *area_len) < static_cast<uint32_t>(growth)) {
        // One wording for both fields.
        LOG_ERR_IN(func, "The serial number is too long to insert!\n");
        return DFD_ERR;
    }
    return insert_fru_str(area, capacity, area_len, text, pair[0], growth);
}

int verify_product_info(const char *func, const uint8_t *area, int area_len) {
    const int rv = verify_fru_data(area, area_len);
    if (rv != DFD_OK) {
        LOG_ERR_IN(func, "Failed to validate fru product info data\n");
    }
    return rv;
}

}  // namespace

uint8_t calculate_crc(const uint8_t *data, int len) {
    if (data == nullptr || len <= 0) {
        return 0;
    }
    return static_cast<uint8_t>(0 - sum_of({data, static_cast<std::size_t>(len)}));
}

int verify_fru_data(const uint8_t *data, int len) {
    if (data == nullptr || len < 1) {
        return DFD_ERR;
    }
    if (data[0] != kFormatVersion) {
        LOG_ERR("Invalid entry:[%d] in byte-0\n", data[0]);
        return DFD_ERR;
    }
    LOG_VBOSE("SUCCESS: Validated [0x%X] in entry_1 of fru_data\n", data[0]);
    const uint8_t checksum = calculate_crc(data, len - 1);
    if (checksum == data[len - 1]) {
        LOG_VBOSE("SUCCESS: Checksum matches:[0x%X]\n", checksum);
        return DFD_OK;
    }
    // The second value is the byte behind the checksum: that is what this message has always shown.
    LOG_ERR("Checksum mismatch. Calculated:[0x%X], Embedded:[0x%X]\n", checksum, data[len]);
    return DFD_ERR;
}

int ipmi_validate_common_hdr(const uint8_t *buf, int size) {
    if (buf == nullptr || size < DFD_FRU_HEADER_SIZE) {
        LOG_ERR("Incomplete fru data file. Size:[%zd]\n", static_cast<ssize_t>(size));
        return DFD_ERR;
    }
    // One byte more than the header, which a mismatch message prints.
    std::array<uint8_t, DFD_FRU_HEADER_SIZE + 1> header{};
    const int known = std::min(size, static_cast<int>(header.size()));
    std::copy(buf, buf + known, header.begin());
    const int rv = verify_fru_data(header.data(), DFD_FRU_HEADER_SIZE);
    if (rv != DFD_OK) {
        LOG_ERR("Failed to validate common header\n");
    }
    return rv;
}

int ipmi_fru_product_info_area(const uint8_t *area, int area_len, fru_product_info_t *info,
                               uint8_t *offsets) {
    if (area == nullptr || area_len <= 0 || info == nullptr || offsets == nullptr) {
        LOG_ERR("Invalid Parameter.\n");
        return DFD_ERR;
    }
    if (const int rv = verify_product_info(__func__, area, area_len); rv != DFD_OK) {
        return rv;
    }
    // In the order of the fields in the area.
    const std::array<fru_field_t *, FRU_OFFSET_COUNT / 2> fixed = {
        info->manufacturer,  info->product_name, info->part_number, info->product_version,
        info->serial_number, info->asset_tag,    info->fru_file_id};
    clear_destinations(fixed, *info);
    if (info->language != nullptr) {
        *info->language = area_len > kLanguageAt ? area[kLanguageAt] : uint8_t{0};
    }
    read_fields({area, static_cast<std::size_t>(area_len)}, fixed, *info, offsets);
    return DFD_OK;
}

int insert_fru_str(uint8_t *area, int capacity, int *area_len, const char *str, int field_offset,
                   int growth) {
    if (area == nullptr || area_len == nullptr || str == nullptr || field_offset < 0 ||
        field_offset >= capacity || capacity <= kAreaLengthAt) {
        return DFD_ERR;
    }
    if ((area[field_offset] & kTypeMask) != kTypeText) {
        LOG_ERR("FRU str type error.\n");
        return DFD_ERR;
    }
    const auto new_len = static_cast<int>(strnlen(str, kMaxFieldLength + 1));
    Replacement to_do{};
    if (!plan(area, capacity, *area_len, new_len, field_offset, growth, &to_do)) {
        return DFD_ERR;
    }
    replace(area, capacity, str, to_do);
    *area_len = to_do.used;
    area[to_do.used - 1] = calculate_crc(area, to_do.used - 1);
    return DFD_OK;
}

int ipmi_fru_sn_hw_updata(uint8_t *area, int capacity, int *area_len, const char *sn,
                          const char *hw, const uint8_t *offsets) {
    if (area == nullptr || area_len == nullptr || *area_len <= 0 || offsets == nullptr) {
        LOG_ERR("Invalid Parameter.\n");
        return DFD_ERR;
    }
    if (sn == nullptr && hw == nullptr) {
        return DFD_OK;
    }
    if (const int rv = verify_product_info(__func__, area, *area_len); rv != DFD_OK) {
        return rv;
    }
    // The version lies before the serial number, so its place holds after the first replacement.
    if (const int rv = replace_at(__func__, area, capacity, area_len, sn, offsets + FRU_OFFSET_SN);
        rv != DFD_OK) {
        return rv;
    }
    if (const int rv =
            replace_at(__func__, area, capacity, area_len, hw, offsets + FRU_OFFSET_VERSION);
        rv != DFD_OK) {
        return rv;
    }
    return verify_product_info(__func__, area, *area_len);
}
