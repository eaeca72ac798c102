// SPDX-License-Identifier: MIT
#include "tmp411.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace vchassis {

namespace {

enum Register : std::uint8_t {
    kLocalHigh = 0x00,
    kRemoteHigh = 0x01,
    kStatus = 0x02,
    kConfiguration = 0x03,
    kConversionRate = 0x04,
    kLocalHighLimit = 0x05,
    kLocalLowLimit = 0x06,
    kRemoteHighLimit = 0x07,
    kRemoteLowLimit = 0x08,
    kWriteConfiguration = 0x09,
    kWriteOffset = 0x06,  // a register read at n is written at n + 6
    kWriteLast = 0x0e,
    kOneShot = 0x0f,
    kRemoteLow = 0x10,
    kFirstDirect = 0x13,
    kLocalLow = 0x15,
    kNFactor = 0x18,
    kRemoteTherm = 0x19,
    kResolution = 0x1a,
    kLocalTherm = 0x20,
    kThermHysteresis = 0x21,
    kLastDirect = 0x22,
    kSoftwareReset = 0xfc,
    kManufacturer = 0xfe,
    kDeviceId = 0xff,
};

struct ResetValue {
    std::uint8_t reg;
    std::uint8_t value;
};
constexpr ResetValue kResetValues[] = {
    {kConfiguration, 0x00},   {kConversionRate, 0x08},  {kLocalHighLimit, 0x55},
    {kLocalLowLimit, 0x00},   {kRemoteHighLimit, 0x55}, {kRemoteLowLimit, 0x00},
    {kRemoteTherm, 0x6c},     {kResolution, 0x1c},      {kLocalTherm, 0x55},
    {kThermHysteresis, 0x0a}, {kManufacturer, 0x55},    {kDeviceId, 0x12},
};

constexpr std::size_t kSize = 256;
constexpr std::uint8_t kExtendedBit = 0x04;
constexpr int kExtendedOffset = 64;
constexpr int kByteMax = 0xff;
constexpr double kStepsPerCelsius = 256;
// Twelve bits are wired: 1/16 degree.
constexpr unsigned kUnwired = 0x0f;
struct TemperatureRange {
    const char *name;
    double lowest_c;
    double highest_c;
};
constexpr TemperatureRange kStandardRange{"standard", 0, 127.9375};
constexpr TemperatureRange kExtendedRange{"extended", -55, 150};
constexpr double kDefaultLocalC = 30;
constexpr double kDefaultRemoteC = 40;

bool is_extended(std::span<const std::uint8_t> bytes) {
    return (bytes[kConfiguration] & kExtendedBit) != 0;
}

double degrees(std::span<const std::uint8_t> bytes, unsigned high, unsigned low) {
    const double shown = (bytes[high] << kByteBits | bytes[low]) / kStepsPerCelsius;
    return is_extended(bytes) ? shown - kExtendedOffset : shown;
}

}  // namespace

Tmp411::Tmp411(std::string path, const Section &section) : Slave(std::move(path), section) {
    initial_.resize(kSize);
    for (const ResetValue &each : kResetValues) {
        initial_[each.reg] = each.value;
    }
    initial_[kConfiguration] = section.flag_or("extended_range", false) ? kExtendedBit : 0;
    set_temperature(section, "local_c", kLocalHigh, kLocalLow, kDefaultLocalC);
    set_temperature(section, "remote_c", kRemoteHigh, kRemoteLow, kDefaultRemoteC);
}

void Tmp411::set_temperature(const Section &section, std::string_view key, unsigned high,
                             unsigned low, double otherwise) {
    const int offset = is_extended(initial_) ? kExtendedOffset : 0;
    const double temp_c = section.number(key).value_or(otherwise);
    const TemperatureRange &range = offset == 0 ? kStandardRange : kExtendedRange;
    if (!(temp_c >= range.lowest_c && temp_c <= range.highest_c)) {
        section.fail_at(key, fmt::format("'{}' must be from {} to {} degrees in the {} range", key,
                                         range.lowest_c, range.highest_c, range.name));
    }
    const double shown = temp_c + offset;
    const auto steps = static_cast<unsigned>(std::lround(shown * kStepsPerCelsius)) & ~kUnwired;
    initial_[high] = static_cast<std::uint8_t>(steps >> kByteBits);
    initial_[low] = static_cast<std::uint8_t>(steps);
}

bool Tmp411::start(bool read) {
    index_ = 0;
    expect_pointer_ = !read;
    return true;
}

bool Tmp411::write(std::uint8_t byte) {
    if (expect_pointer_) {
        expect_pointer_ = false;
        scratch.set_pointer(byte);
        return true;
    }
    const std::uint32_t reg = scratch.pointer();
    if (reg == kWriteConfiguration) {
        configure(byte);
    } else if (reg > kWriteConfiguration && reg <= kWriteLast) {
        contents()[reg - kWriteOffset] = byte;
    } else if (reg >= kFirstDirect && reg <= kLastDirect && reg != kLocalLow) {
        contents()[reg] = byte;
    } else if (reg == kSoftwareReset) {
        reset_chip();
    }
    // Whatever else is read-only: acknowledged and not taken.
    return true;
}

// Measurements follow the range at once; limits are the program's and stay as they are.
void Tmp411::configure(std::uint8_t value) {
    const int before = is_extended(contents()) ? kExtendedOffset : 0;
    contents()[kConfiguration] = value;
    const int after = is_extended(contents()) ? kExtendedOffset : 0;
    for (const unsigned reg : {kLocalHigh, kRemoteHigh}) {
        contents()[reg] =
            static_cast<std::uint8_t>(std::clamp(contents()[reg] + after - before, 0, kByteMax));
    }
}

void Tmp411::reset_chip() {
    configure(0);
    for (const ResetValue &each : kResetValues) {
        contents()[each.reg] = each.value;
    }
}

// The second byte of a temperature is its low byte; other registers repeat themselves.
std::uint8_t Tmp411::read() {
    const bool low = index_++ % 2 == 1;
    const auto reg = static_cast<std::uint8_t>(scratch.pointer());
    if (low && reg == kLocalHigh) {
        return contents()[kLocalLow];
    }
    if (low && reg == kRemoteHigh) {
        return contents()[kRemoteLow];
    }
    return contents()[reg];
}

std::string Tmp411::summary() const {
    return is_extended(contents()) ? "extended range" : "standard range";
}

std::vector<Device::Named> Tmp411::named() const {
    const auto text = [this](unsigned high, unsigned low) {
        return fmt::format("{:.4f} degrees C", degrees(contents(), high, low));
    };
    return {{kLocalHigh, "local_temperature", text(kLocalHigh, kLocalLow)},
            {kRemoteHigh, "remote_temperature", text(kRemoteHigh, kRemoteLow)},
            {kStatus, "status", {}},
            {kConfiguration, "configuration", {}}};
}

}  // namespace vchassis
