// SPDX-License-Identifier: MIT
#include "lm75.h"

#include <fmt/format.h>

#include <cmath>

namespace vchassis {

namespace {

enum Word : unsigned { kTemperature, kSettings, kHysteresis, kLimit, kRegisters };

constexpr const char *kNames[kRegisters] = {"temperature", "configuration", "hysteresis", "limit"};
constexpr unsigned kRegisterBytes = 2;
constexpr unsigned kPointerMask = kRegisters - 1;
constexpr unsigned kWordBits = 16;
constexpr double kStepsPerDegree = 256;
constexpr double kLowestC = -128;
constexpr double kHighestC = 127.9375;
constexpr double kDefaultTempC = 25;
constexpr double kDefaultHysteresisC = 75;
constexpr double kDefaultLimitC = 80;
constexpr Range kBits{9, 12};
constexpr std::int64_t kDefaultBits = 11;

double degrees(const Section &section, std::string_view key, double otherwise) {
    const double value = section.number(key).value_or(otherwise);
    if (!(value >= kLowestC && value <= kHighestC)) {
        section.fail_at(
            key, fmt::format("'{}' must be from {} to {} degrees", key, kLowestC, kHighestC));
    }
    return value;
}

}  // namespace

Lm75::Lm75(std::string path, const Section &section)
    : Slave(std::move(path), section),
      bits_(static_cast<unsigned>(section.integer_or("bits", kBits, kDefaultBits))) {
    initial_.resize(kRegisters * kRegisterBytes);
    put(kTemperature, degrees(section, "temp_c", kDefaultTempC));
    put(kHysteresis, degrees(section, "hyst_c", kDefaultHysteresisC));
    put(kLimit, degrees(section, "limit_c", kDefaultLimitC));
}

void Lm75::put(unsigned reg, double temp_c) {
    const auto steps = static_cast<int>(std::lround(temp_c * kStepsPerDegree));
    const auto word = static_cast<std::uint16_t>(steps);
    initial_[reg * kRegisterBytes] = static_cast<std::uint8_t>(word >> kByteBits);
    initial_[reg * kRegisterBytes + 1] = static_cast<std::uint8_t>(word);
}

bool Lm75::start(bool read) {
    index_ = 0;
    expect_pointer_ = !read;
    return true;
}

// The temperature itself is acknowledged and not taken.
bool Lm75::write(std::uint8_t byte) {
    if (expect_pointer_) {
        expect_pointer_ = false;
        scratch.set_pointer(byte & kPointerMask);
        return true;
    }
    const unsigned reg = scratch.pointer() & kPointerMask;
    const unsigned width = reg == kSettings ? 1 : kRegisterBytes;
    if (reg != kTemperature && index_ < width) {
        contents()[reg * kRegisterBytes + index_] = byte;
    }
    ++index_;
    return true;
}

// The bits below the resolution are not wired and read as zero.
std::uint16_t Lm75::raw(unsigned reg) const {
    const auto word = static_cast<unsigned>(contents()[reg * kRegisterBytes] << kByteBits |
                                            contents()[reg * kRegisterBytes + 1]);
    return static_cast<std::uint16_t>(word >> (kWordBits - bits_) << (kWordBits - bits_));
}

std::uint8_t Lm75::read() {
    const unsigned reg = scratch.pointer() & kPointerMask;
    const bool high = index_++ % kRegisterBytes == 0;
    if (reg == kSettings) {
        return contents()[reg * kRegisterBytes];
    }
    return static_cast<std::uint8_t>(high ? raw(reg) >> kByteBits : raw(reg));
}

std::string Lm75::summary() const {
    return fmt::format("{} bits", bits_);
}

std::vector<Device::Named> Lm75::named() const {
    const auto row = [this](unsigned reg) {
        const double temp_c = static_cast<std::int16_t>(raw(reg)) / kStepsPerDegree;
        return Named{reg * kRegisterBytes, kNames[reg], fmt::format("{:.4f} degrees C", temp_c)};
    };
    return {row(kTemperature),
            {kSettings * kRegisterBytes, kNames[kSettings], {}},
            row(kHysteresis),
            row(kLimit)};
}

}  // namespace vchassis
