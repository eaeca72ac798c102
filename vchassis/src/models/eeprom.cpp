// SPDX-License-Identifier: MIT
#include "eeprom.h"

#include <fmt/format.h>

namespace vchassis {

namespace {

constexpr std::int64_t kDefaultSize = 256;
constexpr std::int64_t kDefaultPage = 16;
constexpr std::int64_t kDefaultWriteMs = 5;
constexpr Range kSizes{1, 0x10000};
constexpr Range kWriteMs{0, 10000};
constexpr Range kOffsetBytes{1, 2};
constexpr std::uint8_t kErased = 0xff;

}  // namespace

Eeprom::Eeprom(std::string path, const Section &section) : Slave(std::move(path), section) {
    const auto size = section.integer_or("size", kSizes, kDefaultSize);
    page_ = static_cast<std::uint32_t>(section.integer_or("page", {1, size}, kDefaultPage));
    if (size % page_ != 0) {
        section.fail_at("page", fmt::format("pages of {} do not divide {} bytes", page_, size));
    }
    write_us_ =
        static_cast<std::uint64_t>(section.integer_or("write_ms", kWriteMs, kDefaultWriteMs)) *
        kUsPerMs;
    const std::int64_t natural = size > kDefaultSize ? 2 : 1;
    offset_bytes_ =
        static_cast<unsigned>(section.integer_or("offset_bytes", kOffsetBytes, natural));
    if (const Section *protect = section.table("write_protect")) {
        write_protect_.emplace(*protect);
    }
    initial_ = initial_bytes(section, static_cast<std::size_t>(size), kErased);
}

std::vector<Link *> Eeprom::links() {
    std::vector<Link *> all = Slave::links();
    if (write_protect_) {
        all.push_back(&*write_protect_);
    }
    return all;
}

// A repeated start instead of the stop abandons what was latched.
bool Eeprom::start(bool read) {
    pending_.clear();
    offset_bytes_left_ = read ? 0 : offset_bytes_;
    return clock().now_us() >= scratch.until_us();
}

bool Eeprom::write(std::uint8_t byte) {
    if (offset_bytes_left_ == 0) {
        latch(byte);
        return true;
    }
    const std::uint32_t high = offset_bytes_left_ == offset_bytes_ ? 0 : scratch.pointer();
    scratch.set_pointer(high << kByteBits | byte);
    --offset_bytes_left_;
    return true;
}

// Address bits above the size are not wired.
std::uint32_t Eeprom::offset() const {
    return scratch.pointer() % static_cast<std::uint32_t>(contents().size());
}

void Eeprom::latch(std::uint8_t byte) {
    const std::uint32_t at = offset();
    pending_.push_back({at, byte});
    scratch.set_pointer(at / page_ * page_ + (at + 1) % page_);
}

std::uint8_t Eeprom::read() {
    const std::uint32_t at = offset();
    scratch.set_pointer(at + 1);
    return contents()[at];
}

void Eeprom::stop() {
    if (pending_.empty()) {
        return;
    }
    const bool protect = write_protect_ && write_protect_->holds();
    for (const Pending &cell : pending_) {
        if (!protect) {
            contents()[cell.offset] = cell.byte;
        }
    }
    if (!protect) {
        scratch.set_until_us(clock().now_us() + write_us_);
    }
    pending_.clear();
}

std::string Eeprom::summary() const {
    return fmt::format("{} bytes, page {}, write {} ms{}", contents().size(), page_,
                       write_us_ / kUsPerMs,
                       write_protect_ && write_protect_->holds() ? ", write-protected" : "");
}

}  // namespace vchassis
