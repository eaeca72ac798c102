// SPDX-License-Identifier: MIT
// The bounded reader that all EEPROM contents are decoded through.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace dfd {

// Takes bytes from the front of an area. A take beyond its end makes the cursor invalid for good,
// and from then on it delivers zeros and empty spans: one verdict at the end is enough.
class ByteCursor {
  public:
    explicit constexpr ByteCursor(std::span<const uint8_t> area) : area_(area) {}

    constexpr bool is_valid() const { return is_valid_; }
    constexpr bool at_end() const { return offset_ == area_.size(); }
    constexpr std::size_t offset() const { return offset_; }
    // The next byte, which stays; not at the end.
    constexpr uint8_t peek() const { return area_[offset_]; }

    constexpr std::span<const uint8_t> take(std::size_t count) {
        if (!is_valid_ || count > area_.size() - offset_) {
            is_valid_ = false;
            offset_ = area_.size();
            return {};
        }
        const auto taken = area_.subspan(offset_, count);
        offset_ += count;
        return taken;
    }

    constexpr uint8_t take_u8() {
        const auto byte = take(1);
        return byte.empty() ? uint8_t{0} : byte[0];
    }

  private:
    std::span<const uint8_t> area_;
    std::size_t offset_ = 0;
    bool is_valid_ = true;
};

// Big-endian number of at most four bytes.
constexpr uint32_t big_endian(std::span<const uint8_t> bytes) {
    uint32_t value = 0;
    for (const uint8_t byte : bytes) {
        value = value << 8 | byte;
    }
    return value;
}

}  // namespace dfd
