// SPDX-License-Identifier: MIT
#include "rotor.h"

#include <fmt/format.h>

#include <array>

namespace vchassis {

namespace {

constexpr Range kFullSpeeds_rpm{1, 0xffff};
constexpr std::uint32_t kFullSetting = 0xff;
constexpr std::uint32_t kSpeedBytes = 2;

Link link_of(const Section &section, const std::string &key, std::uint32_t width, unsigned index) {
    const Section &table = needed_table(section, key);
    Link link(table);
    table.refuse_unknown();
    link.width = width;
    link.reg += index * width;
    return link;
}

bool is_high_byte_first(const Section &section) {
    const std::string word = section.text_or("order", "little");
    if (word != "little" && word != "big") {
        section.fail_at("order", fmt::format("'{}' must be little or big", word));
    }
    return word == "big";
}

}  // namespace

Rotor::Rotor(const Section &section, unsigned index)
    : set_(link_of(section, "set", 1, index)),
      speed_(link_of(section, "speed", kSpeedBytes, index)),
      turns_when_(section, "turns_when"),
      full_rpm_(static_cast<std::uint32_t>(section.integer("full_rpm", kFullSpeeds_rpm))),
      high_byte_first_(is_high_byte_first(section)) {}

std::vector<Link *> Rotor::links() {
    std::vector<Link *> all{&set_, &speed_};
    turns_when_.add_to(all);
    return all;
}

std::uint16_t Rotor::rpm() const {
    const std::uint32_t product = turns_when_.hold() ? full_rpm_ * set_.value() : 0;
    return static_cast<std::uint16_t>((product + kFullSetting / 2) / kFullSetting);
}

bool Rotor::settle() {
    const std::uint16_t speed = rpm();
    const auto low = static_cast<std::uint8_t>(speed);
    const auto high = static_cast<std::uint8_t>(speed >> kByteBits);
    const std::array<std::uint8_t, kSpeedBytes> bytes{high_byte_first_ ? high : low,
                                                      high_byte_first_ ? low : high};
    bool changed = false;
    for (std::uint32_t i = 0; i < kSpeedBytes; ++i) {
        changed = speed_.put(i, bytes[i]) || changed;
    }
    return changed;
}

}  // namespace vchassis
