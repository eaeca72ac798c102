// SPDX-License-Identifier: MIT
// TLV and FRU images, decoded once more from docs/eeprom-layouts.md and the headers: what the
// library is held against. It shares no code with the library or the tools.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "fuzz/memory.h"

namespace dfd_fuzz {

using Bytes = std::vector<std::uint8_t>;

struct TlvEntry {
    std::size_t at;  // of its value in the memory
    std::uint8_t type;
    Bytes value;
};

struct TlvImage {
    bool is_accepted = false;
    std::size_t entries_at = 0;
    std::size_t length = 0;  // of all entries
    std::vector<TlvEntry> entries = {};

    std::size_t end() const { return entries_at + length; }
};

TlvImage read_tlv(const MemoryBytes &memory);

// A result code and what was delivered with it.
struct Answer {
    int result;
    Bytes bytes = {};

    bool operator==(const Answer &) const = default;
};

// What sdd_get_e2prom_info_by_type delivers.
Answer tlv_answer(const MemoryBytes &memory, std::uint32_t type, std::size_t capacity);
// The memory after dfd_set_fan_info_tlv; nothing where the image is refused.
std::optional<MemoryBytes> tlv_updated(const MemoryBytes &memory, const std::string &sn,
                                       const std::string &hw);
// Gives an image of any bytes the flag, a length and the sum of a valid one.
void make_tlv_valid(MemoryBytes &memory);

struct FruField {
    std::uint8_t code;  // bits 7 and 6 of its type/length byte
    Bytes data;

    bool operator==(const FruField &) const = default;
};

inline constexpr std::size_t kFruFixedFields = 7;
inline constexpr std::size_t kFruName = 1;
inline constexpr std::size_t kFruVersion = 3;
inline constexpr std::size_t kFruSerial = 4;

// The product info area of a FRU image.
struct FruArea {
    bool is_accepted = false;
    std::size_t at = 0;
    std::size_t size = 0;
    std::vector<FruField> fields = {};  // the fixed ones, then custom ones
    bool has_end = false;               // the end mark was found
};

// The product area as a look-up reads it: a chip goes on at its beginning behind the last byte.
Bytes fru_area_bytes(const MemoryBytes &memory, std::size_t at);
FruArea read_fru(const MemoryBytes &memory);
// The fields of an area, whatever its sum says.
void read_fru_fields(Input area, FruArea *out);
// What dfd_get_fru_data delivers.
Answer fru_answer(const FruArea &area, std::uint32_t type, std::size_t capacity);
// Gives an image right sums; that of its area where this ends in the memory.
void repair_fru_sums(MemoryBytes &memory);
// Gives it the versions of a valid one, too.
void make_fru_valid(MemoryBytes &memory);

// What the targets of images that can be updated take: whether the image is made valid, the
// capacity of the buffer, serial number, version, image.
struct UpdateCase {
    UpdateCase(Input input, void (*make_valid)(MemoryBytes &));

    std::size_t capacity;
    std::string sn;
    std::string hw;
    MemoryBytes image;
};

}  // namespace dfd_fuzz
