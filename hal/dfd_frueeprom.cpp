// SPDX-License-Identifier: MIT
// IPMI FRU data: checks, the product info area, replacing its serial number and version.
#include <algorithm>
#include <array>
#include <cstring>
#include <span>

#include <dfd/inventory.h>

#include "framework/log.h"
#include "hal/e2prom/cursor.h"
#include "hal/e2prom/fru_image.h"

static constexpr char kLogFile[] = "hal/dfd_frueeprom.cpp";

namespace {

using dfd::fru::kAreaLengthAt;
using dfd::fru::kBlockBytes;

constexpr uint8_t kFormatVersion = 1;
constexpr uint8_t kEndOfFields = 0xC1;  // type code 3 with length 1
constexpr uint8_t kLengthMask = 0x3F;
constexpr uint8_t kTypeMask = 0xC0;
constexpr uint8_t kTypeText = 0xC0;  // 8-bit ASCII + Latin 1
constexpr int kMaxFieldLength = 63;
constexpr int kLanguageAt = 2;
constexpr int kFieldsAt = 3;
constexpr int kMaxBlocks = 255;

uint8_t sum_of(std::span<const uint8_t> bytes) {
    uint8_t sum = 0;
    for (const uint8_t byte : bytes) {
        sum = static_cast<uint8_t>(sum + byte);
    }
    return sum;
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
    return cursor.at_end() || cursor.peek() == kEndOfFields;
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

// Stops at the first field that is refused. The fields behind it stay empty, and the parse
// succeeds.
void read_fields(std::span<const uint8_t> area, std::span<fru_field_t *const> fixed,
                 const fru_product_info_t &info, uint8_t *offsets) {
    dfd::ByteCursor cursor(area);
    cursor.take(kFieldsAt);
    for (fru_field_t *dest : fixed) {
        if (at_end_of_fields(cursor)) {
            return;
        }
        const std::size_t offset = cursor.offset();
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

// A field of the area in work: where its data lies, how long it is and will be.
struct Field {
    int data_at;
    int old_len;
    int new_len;
};

// Whether growth is the difference of the lengths; a text that only zeroes the rest of its field
// needs no growth.
bool growth_fits(const Field &field, int growth) {
    return growth == field.new_len - field.old_len ||
           (growth == 0 && field.new_len <= field.old_len);
}

// Bytes of the area after the replacement. A grown area gets one block more than it needs when it
// fills its last one: readers of these boards expect that size.
int used_after(int area_len, int growth) {
    const int used = area_len + growth;
    return growth > 0 ? (used / kBlockBytes + 1) * kBlockBytes : used;
}

// Every bound, before a byte is changed.
bool can_replace(const Field &field, int capacity, int area_len, int growth) {
    if (field.new_len > kMaxFieldLength || !growth_fits(field, growth) || area_len < 1 ||
        area_len > capacity) {
        return false;
    }
    const int used = used_after(area_len, growth);
    return used >= 1 && used <= capacity && used <= kMaxBlocks * kBlockBytes &&
           field.data_at + std::max(field.old_len, field.new_len) <= capacity;
}

void put_text(uint8_t *data, int size, const char *str, int length) {
    std::memset(data, 0, static_cast<std::size_t>(size));
    std::memcpy(data, str, static_cast<std::size_t>(length));
}

// Text and tail of a field that becomes longer; bytes pushed beyond the capacity are lost.
void grow(uint8_t *area, int capacity, const Field &field, const char *str) {
    constexpr int kMaxTail = 256;  // bytes behind the field that move
    uint8_t *const data = area + field.data_at;
    const int tail = std::min(capacity - field.data_at - field.new_len, kMaxTail);
    std::memmove(data + field.new_len, data + field.old_len, static_cast<std::size_t>(tail));
    put_text(data, field.new_len, str, field.new_len);
}

// Text and tail of a field that becomes shorter.
void shrink(uint8_t *area, int capacity, const Field &field, const char *str) {
    uint8_t *const data = area + field.data_at;
    const int tail = capacity - field.data_at - field.old_len;
    put_text(data, field.old_len, str, field.new_len);
    std::memmove(data + field.new_len, data + field.old_len, static_cast<std::size_t>(tail));
}

// Replaces the field that a pair of the offsets table describes; a null text changes nothing.
int replace_at(const char *func, uint8_t *area, int capacity, int *area_len, const char *text,
               const uint8_t *pair) {
    if (text == nullptr) {
        return DFD_OK;
    }
    const int growth = static_cast<int>(strnlen(text, kMaxFieldLength + 1)) - pair[1];
    if (growth > capacity - *area_len) {
        // The message is the same for both fields.
        LOG_ERR_IN(func, "The serial number is too long to insert!\n");
        return DFD_ERR;
    }
    return insert_fru_str(area, capacity, area_len, text, pair[0], growth);
}

// Version and checksum of `len` bytes. A mismatch message shows data[len], the byte behind the
// checksum, not the checksum: readers of the log know it so, and every buffer has that byte.
int verify(const char *func, const uint8_t *data, int len) {
    if (data == nullptr || len < 1) {
        return DFD_ERR;
    }
    if (data[0] != kFormatVersion) {
        LOG_ERR_IN(func, "Invalid entry:[%d] in byte-0\n", data[0]);
        return DFD_ERR;
    }
    LOG_VBOSE_IN(func, "SUCCESS: Validated [0x%X] in entry_1 of fru_data\n", data[0]);
    const int checksum = calculate_crc(data, len - 1);
    if (checksum == data[len - 1]) {
        LOG_VBOSE_IN(func, "SUCCESS: Checksum matches:[0x%X]\n", checksum);
        return DFD_OK;
    }
    LOG_ERR_IN(func, "Checksum mismatch. Calculated:[0x%X], Embedded:[0x%X]\n", checksum,
               data[len]);
    return DFD_ERR;
}

constexpr char kVerifyName[] = "verify_fru_data";

int verify_product_info(const char *func, const uint8_t *area, int area_len) {
    const int rv = verify(kVerifyName, area, area_len);
    if (rv != DFD_OK) {
        LOG_ERR_IN(func, "Failed to validate fru product info data\n");
    }
    return rv;
}

}  // namespace

int calculate_crc(const uint8_t *data, int len) {
    if (data == nullptr || len <= 0) {
        return 0;
    }
    return -sum_of({data, static_cast<std::size_t>(len)}) & 0xFF;
}

int verify_fru_data(const uint8_t *data, int len) {
    return verify(__func__, data, len);
}

int ipmi_validate_common_hdr(const uint8_t *buf, int size) {
    if (buf == nullptr || size < DFD_FRU_HEADER_SIZE) {
        LOG_ERR("Incomplete fru data file. Size:[%zd]\n", static_cast<ssize_t>(size));
        return DFD_ERR;
    }
    const int rv = verify(kVerifyName, buf, DFD_FRU_HEADER_SIZE);
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
    uint8_t &type_length = area[field_offset];
    if ((type_length & kTypeMask) != kTypeText) {
        LOG_ERR("FRU str type error.\n");
        return DFD_ERR;
    }
    const Field field = {field_offset + 1, type_length & kLengthMask,
                         static_cast<int>(strnlen(str, kMaxFieldLength + 1))};
    if (!can_replace(field, capacity, *area_len, growth)) {
        LOG_ERR("The serial number is too long to insert!\n");
        return DFD_ERR;
    }
    *area_len = used_after(*area_len, growth);
    if (growth > 0) {
        grow(area, capacity, field, str);
        area[kAreaLengthAt] = static_cast<uint8_t>(*area_len / kBlockBytes);
    } else if (growth < 0) {
        // The area length byte keeps the old size: boards rely on it.
        shrink(area, capacity, field, str);
    } else {
        put_text(area + field.data_at, field.old_len, str, field.new_len);
    }
    if (growth != 0) {
        type_length = static_cast<uint8_t>(kTypeText | field.new_len);
    }
    area[*area_len - 1] = static_cast<uint8_t>(calculate_crc(area, *area_len - 1));
    return DFD_OK;
}

int ipmi_fru_sn_hw_updata(uint8_t *area, int capacity, int area_len, const char *sn, const char *hw,
                          const uint8_t *offsets) {
    if (area == nullptr || area_len <= 0 || area_len > capacity || offsets == nullptr) {
        LOG_ERR("Invalid Parameter.\n");
        return DFD_ERR;
    }
    if (sn == nullptr && hw == nullptr) {
        return DFD_OK;
    }
    if (const int rv = verify_product_info(__func__, area, area_len); rv != DFD_OK) {
        return rv;
    }
    // The version lies before the serial number, so its place holds after the first replacement.
    if (const int rv = replace_at(__func__, area, capacity, &area_len, sn, offsets + FRU_OFFSET_SN);
        rv != DFD_OK) {
        return rv;
    }
    if (const int rv =
            replace_at(__func__, area, capacity, &area_len, hw, offsets + FRU_OFFSET_VERSION);
        rv != DFD_OK) {
        return rv;
    }
    return verify_product_info(__func__, area, area_len);
}
