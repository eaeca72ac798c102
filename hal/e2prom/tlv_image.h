// SPDX-License-Identifier: MIT
// Shape of a TLV image; free of I/O and logging.
#pragma once

#include <dfd/inventory.h>

#include <cstring>

#include "hal/e2prom/cursor.h"
#include "hal/e2prom/module.h"
#include "hal/facts.h"

namespace dfd::tlv {

inline constexpr uint8_t kVersion1 = 1;
inline constexpr uint8_t kVersion2 = 2;
inline constexpr int kMinLength = 3;  // of the data area, inclusive
inline constexpr int kMaxLength = 244;
inline constexpr int kChecksumSize = 2;
inline constexpr int kEntryHeaderSize = 2;

// The header buffer, whose length field is in host order once it has been read.
struct Header {
    uint8_t bytes[DFD_TLV_HEADER_SIZE];

    static Header from(const uint8_t *hdr) {
        Header header;
        std::memcpy(header.bytes, hdr, sizeof header.bytes);
        return header;
    }

    uint8_t version() const { return bytes[0]; }
    uint8_t flag() const { return bytes[1]; }
    uint8_t hardware_version() const { return bytes[2]; }
    uint8_t device_type() const { return bytes[3]; }
    // Any version but 1 has the long header.
    int size() const { return version() == kVersion1 ? 6 : 10; }
    std::size_t length_at() const { return version() == kVersion1 ? 4 : 8; }

    int length() const {
        uint16_t host_order = 0;
        std::memcpy(&host_order, bytes + length_at(), sizeof host_order);
        return host_order;
    }
    void length_to_host_order() {
        const auto host_order =
            static_cast<uint16_t>(big_endian(std::span(bytes).subspan(length_at(), 2)));
        std::memcpy(bytes + length_at(), &host_order, sizeof host_order);
    }

    // Whether data area and checksum end inside the EEPROM.
    bool fits_e2prom() const { return size() + length() + kChecksumSize <= kE2promSize; }
};

constexpr uint32_t sum_of(std::span<const uint8_t> bytes) {
    uint32_t sum = 0;
    for (const uint8_t byte : bytes) {
        sum += byte;
    }
    return sum;
}

struct Entry {
    std::size_t at;  // offset in the data area
    uint8_t type;
    std::span<const uint8_t> value;
};

// The next entry of a data area; false at its end, or where an entry runs past it.
inline bool next_entry(ByteCursor &cursor, Entry *entry) {
    if (cursor.at_end()) {
        return false;
    }
    entry->at = cursor.offset();
    entry->type = cursor.take_u8();
    entry->value = cursor.take(cursor.take_u8());
    return cursor.is_valid();
}

}  // namespace dfd::tlv
