// SPDX-License-Identifier: MIT
// Bytes on the heap for the length of a call.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <span>

namespace dfd {

// Zeroed; freed at the end of its life. Null when memory ran out, never for a length of 0.
class HeapBytes {
  public:
    explicit HeapBytes(std::size_t size)
        : data_(static_cast<uint8_t *>(std::calloc(size + 1, 1))), size_(size) {}
    ~HeapBytes() { std::free(data_); }
    HeapBytes(const HeapBytes &) = delete;
    HeapBytes &operator=(const HeapBytes &) = delete;

    explicit operator bool() const { return data_ != nullptr; }
    // One zero byte stands behind the last: the check of a broken FRU area prints it.
    uint8_t *data() { return data_; }
    std::span<uint8_t> span() { return {data_, size_}; }

  private:
    uint8_t *data_;
    std::size_t size_;
};

}  // namespace dfd
