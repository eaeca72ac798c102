// SPDX-License-Identifier: MIT
#include "model.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <fstream>
#include <iterator>

#include "text.h"

namespace vchassis {

namespace {

constexpr Range kAddress{0, 0xffffff};
constexpr Range kBit{0, 7};
constexpr Range kMask{1, 0xff};
constexpr Range kBitValue{0, 1};
constexpr std::size_t kPointerAt = 0;
constexpr std::size_t kPointerSize = 4;
constexpr std::size_t kUntilAt = 8;
constexpr std::size_t kTimeSize = 8;

// State files hold numbers with the least significant byte first, whatever CPU writes them.
std::uint64_t load(std::span<const std::uint8_t> bytes) {
    std::uint64_t value = 0;
    for (std::size_t i = bytes.size(); i-- > 0;) {
        value = value << kByteBits | bytes[i];
    }
    return value;
}

void store(std::span<std::uint8_t> bytes, std::uint64_t value) {
    for (std::uint8_t &byte : bytes) {
        byte = static_cast<std::uint8_t>(value);
        value >>= kByteBits;
    }
}

void load_image(const Section &section, std::vector<std::uint8_t> &bytes) {
    const std::string image = section.beside(section.text("image"));
    std::ifstream in(image, std::ios::binary);
    const std::string data = read_all(in);
    if (!in) {
        section.fail_at("image", fmt::format("cannot read the image {}", image));
    }
    if (data.size() > bytes.size()) {
        section.fail_at("image", fmt::format("the image {} has {} bytes, the device only {}", image,
                                             data.size(), bytes.size()));
    }
    std::copy(data.begin(), data.end(), bytes.begin());
}

void load_init(const Section &init, std::vector<std::uint8_t> &bytes) {
    for (const Section::Entry &entry : init.entries()) {
        const auto address = parse_number(entry.key);
        const std::vector<std::uint8_t> values = init.byte_list(*entry.value);
        if (!address || *address + values.size() > bytes.size()) {
            init.fail(entry.value->mark, fmt::format("'{}' is no address in a device of {} bytes",
                                                     entry.key, bytes.size()));
        }
        std::copy(values.begin(), values.end(), bytes.begin() + *address);
    }
}

}  // namespace

std::uint64_t Clock::now_us() const {
    return load(bytes_);
}
void Clock::advance(std::uint64_t us) {
    store(bytes_, now_us() + us);
}

std::uint32_t Scratch::pointer() const {
    return static_cast<std::uint32_t>(load(bytes_.subspan(kPointerAt, kPointerSize)));
}
void Scratch::set_pointer(std::uint32_t value) {
    store(bytes_.subspan(kPointerAt, kPointerSize), value);
}
std::uint64_t Scratch::until_us() const {
    return load(bytes_.subspan(kUntilAt, kTimeSize));
}
void Scratch::set_until_us(std::uint64_t value) {
    store(bytes_.subspan(kUntilAt, kTimeSize), value);
}

Device::Device(std::string path, const Section &section)
    : path_(std::move(path)), label_(section.text_or("name", "")) {}

void Device::reset() {
    std::copy(initial_.begin(), initial_.end(), contents_.begin());
}

Link::Link(const Section &section)
    : device(section.text("device")),
      reg(static_cast<std::uint32_t>(section.integer("register", kAddress))),
      where(section.where()) {}

std::uint8_t Link::value() const {
    return target->contents()[reg];
}

bool Link::put(std::uint32_t index, std::uint8_t byte) const {
    std::uint8_t &place = target->contents()[reg + index];
    const bool changes = place != byte;
    place = byte;
    return changes;
}

Condition::Condition(const Section &section, unsigned shift, bool needs_bits)
    : Link(section), wanted(section.integer_or("value", kBitValue, 1) == 1) {
    const bool has_mask = section.has("mask");
    const bool has_bit = section.has("bit");
    if (has_mask && has_bit) {
        section.fail_at("mask", "a condition has either 'bit' or 'mask'");
    }
    if (has_mask) {
        mask = static_cast<std::uint8_t>(section.integer("mask", kMask));
    } else if (has_bit || needs_bits) {
        const std::int64_t bit = section.integer("bit", {kBit.low, kBit.high - shift}) + shift;
        mask = static_cast<std::uint8_t>(1U << bit);
    } else if (section.has("value")) {
        section.fail_at("value", "'value' is that of a bit: give 'bit' or 'mask' too");
    }
    section.refuse_unknown();
}

bool Condition::holds_in(std::uint8_t byte) const {
    const unsigned bits = wanted ? byte : ~unsigned{byte};
    return mask == 0 || (bits & mask) != 0;
}

bool Condition::is_one_bit() const {
    return std::has_single_bit(mask);
}

void Condition::put(bool hold) const {
    const unsigned others = value() & ~unsigned{mask};
    Link::put(0, static_cast<std::uint8_t>(hold == wanted ? others | mask : others));
}

Slave::Slave(std::string path, const Section &section)
    : Device(std::move(path), section), driver_bound_(section.flag_or("driver_bound", false)) {
    if (const Section *condition = section.table("present_when")) {
        present_when_.emplace(*condition);
    }
}

std::vector<Link *> Slave::links() {
    return present_when_ ? std::vector<Link *>{&*present_when_} : std::vector<Link *>{};
}

void Slave::attach_scratch(std::span<std::uint8_t> bytes, Clock &clock) {
    scratch.attach(bytes);
    clock_ = &clock;
}

void Slave::reset_scratch() {
    scratch.set_pointer(0);
    scratch.set_until_us(0);
}

std::vector<std::uint8_t> initial_bytes(const Section &section, std::size_t size,
                                        std::uint8_t default_fill) {
    const auto fill = section.integer_or("fill", kByte, default_fill);
    std::vector<std::uint8_t> bytes(size, static_cast<std::uint8_t>(fill));
    if (section.has("image")) {
        load_image(section, bytes);
    }
    if (const Section *init = section.table("init")) {
        load_init(*init, bytes);
    }
    return bytes;
}

}  // namespace vchassis
