// SPDX-License-Identifier: MIT
#include "dfdctl/eeprom/chip.hpp"

#include <linux/i2c.h>
#include <unistd.h>
#include <algorithm>

#include <fmt/format.h>

namespace dfdctl {

namespace {

using dfd::watch::SystemCall;

constexpr std::size_t kReadBytes = 32;
/// Pages have 4 bytes or more, and a write wraps inside its page.
constexpr std::size_t kPage = 4;
/// A write takes up to 10 ms, during which the chip does not answer. An adapter tells that as it
/// likes, so every error is tried again, as the library does.
constexpr int kAttempts = 5;
constexpr unsigned kPause_us = 10000;
constexpr std::size_t kOneByteOffsets = 256;

/// 0 or the last errno.
template <typename Attempt>
int with_patience(Attempt attempt) {
    int error = 0;
    for (int i = 0; i < kAttempts; ++i) {
        error = attempt();
        if (error == 0) {
            break;
        }
        usleep(kPause_us);
    }
    return error;
}

}  // namespace

Chip::Chip(const ImagePlace &place) : place_(place), bus_(place.device) {
    if (bus_.error() != 0) {
        fail("opened", {place.device, {}, SystemCall::open, bus_.error()});
    }
    if ((bus_.functions() & I2C_FUNC_I2C) == 0) {
        throw EepromFailure(
            kExitIo, fmt::format("{}: the adapter takes no plain I2C messages", place.text()));
    }
}

std::vector<std::uint8_t> Chip::offset_bytes(std::size_t offset) const {
    constexpr unsigned kByteBits = 8;
    const auto low = static_cast<std::uint8_t>(offset);
    if (place_.size <= kOneByteOffsets) {
        return {low};
    }
    return {static_cast<std::uint8_t>(offset >> kByteBits), low};
}

void Chip::fail(const std::string &what, const FailedTransfer &failed) const {
    const std::string advice = advice_of(failed);
    throw EepromFailure(kExitIo, fmt::format("{}: cannot be {}: {}{}{}", place_.text(), what,
                                             words_of(failed), advice.empty() ? "" : "; ", advice));
}

void Chip::fail(const char *what, std::size_t offset, int error) const {
    fail(fmt::format("{} at byte 0x{:02x}", what, offset),
         {place_.device, place_.address, SystemCall::ioctl, error});
}

eeprom::Bytes Chip::read() const {
    eeprom::Bytes bytes(place_.size);
    for (std::size_t at = 0; at < bytes.size(); at += kReadBytes) {
        const auto part = std::span(bytes).subspan(at, std::min(kReadBytes, bytes.size() - at));
        const int error =
            with_patience([&] { return bus_.read(place_.address, offset_bytes(at), part); });
        if (error != 0) {
            fail("read", at, error);
        }
    }
    return bytes;
}

void Chip::write(std::size_t offset, std::span<const std::uint8_t> bytes) const {
    std::vector<std::uint8_t> message = offset_bytes(offset);
    message.insert(message.end(), bytes.begin(), bytes.end());
    const int error = with_patience([&] { return bus_.write(place_.address, message); });
    if (error != 0) {
        fail("written", offset, error);
    }
    usleep(kPause_us);
}

eeprom::Bytes Chip::change(const eeprom::Bytes &before, const eeprom::Bytes &after) const {
    for (std::size_t page = 0; page < after.size(); page += kPage) {
        std::size_t first = page;
        std::size_t end = std::min(page + kPage, after.size());
        while (first < end && before[first] == after[first]) {
            ++first;
        }
        while (end > first && before[end - 1] == after[end - 1]) {
            --end;
        }
        if (first < end) {
            write(first, std::span(after).subspan(first, end - first));
        }
    }
    return read();
}

}  // namespace dfdctl
