// SPDX-License-Identifier: MIT
// An EEPROM of 256 bytes at kBus, kAddr as a chip shows it: its address wraps at the end.
// Everything else is silent, and no time passes.
#pragma once

#include <array>

#include "framework/watch.h"
#include "fuzz/targets.h"

namespace dfd_fuzz {

inline constexpr const char *kBus = "/dev/i2c-0";
inline constexpr std::uint16_t kAddr = 0x57;
inline constexpr std::size_t kMemorySize = 256;
using MemoryBytes = std::array<std::uint8_t, kMemorySize>;

// What the interface calls an EEPROM: its bytes, or 0xFF behind those that are given.
MemoryBytes memory_bytes(Input image);

class Memory {
  public:
    explicit Memory(const MemoryBytes &bytes);
    ~Memory();
    Memory(const Memory &) = delete;
    Memory &operator=(const Memory &) = delete;

    const MemoryBytes &bytes() const { return bytes_; }
    // A write went over a boundary of 4 bytes, where a chip may start its page again.
    bool crossed_page() const { return crossed_page_; }

  private:
    int transfer(const dfd::watch::Transfer &transfer);

    MemoryBytes bytes_;
    bool crossed_page_ = false;
    dfd::watch::Hooks hooks_;
    const dfd::watch::Hooks *outer_;
};

}  // namespace dfd_fuzz
