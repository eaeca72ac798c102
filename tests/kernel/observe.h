// SPDX-License-Identifier: MIT
// What hardware answers, one line for each question. The same program runs on real kernels and on
// the virtual chassis, and its lines are compared.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace observe {

using Bytes = std::vector<std::uint8_t>;

inline constexpr char kBus[] = "/dev/i2c-0";
// EEPROMs of 256 bytes, which acknowledge at any time.
inline constexpr std::uint16_t kScratch = 0x51;
inline constexpr std::uint16_t kInventory = 0x52;
inline constexpr std::uint16_t kBoard = 0x57;
// One that belongs to a driver, and an address of nobody.
inline constexpr std::uint16_t kBound = 0x56;
inline constexpr std::uint16_t kAbsent = 0x31;
inline constexpr std::uint16_t kSensor = 0x48;

// "NAME = RESULT ERRNO [bytes]"; the errno, as the last call left it, where the result is negative.
void tell(const std::string &name, long result, const Bytes &bytes = {});
// The same of a function of the library, whose negative results are codes of its own.
void tell_code(const std::string &name, long code, const Bytes &bytes = {});

// Offset and data in one message, and the other way round; without the library.
void fill(std::uint16_t addr, std::uint8_t offset, const Bytes &bytes);
Bytes contents(std::uint16_t addr, std::uint8_t offset, std::size_t count);

void observe_bus();
void observe_library();
void observe_images();
void observe_main_images();

}  // namespace observe
