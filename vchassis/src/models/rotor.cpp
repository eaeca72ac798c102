// SPDX-License-Identifier: MIT
#include "rotor.h"

#include <fmt/format.h>

#include <algorithm>

#include "text.h"

namespace vchassis {

namespace {

constexpr Range kRpm{0, 0xffff};
constexpr Range kFullSpeeds_rpm{1, kRpm.high};
constexpr Range kFirstBits{0, 7};
constexpr Range kFieldBits{1, 16};
constexpr std::int64_t kMaxStep = 4096;

// Several rotors may share what sets them, but not what they show.
constexpr SpeedField::Form kSet{"set", 8, 0};
constexpr SpeedField::Form kSpeed{"speed", 16, 1};

bool is_high_byte_first(const Section &rotor) {
    static constexpr std::string_view kOrders[] = {"little", "big"};
    return rotor.choice("order", kOrders) == 1;
}

std::int64_t divide_rounded(std::int64_t dividend, std::int64_t divisor) {
    return (dividend + divisor / 2) / divisor;
}

std::int64_t full_speed(const Section &rotor, const SpeedField &set) {
    const std::optional<std::int64_t> rpm = set.highest_code_rpm();
    if (rpm && rotor.has("full_rpm")) {
        rotor.fail_at("full_rpm", "the highest of 'codes' in 'set' is full speed: leave this out");
    }
    return rpm ? *rpm : rotor.integer("full_rpm", kFullSpeeds_rpm);
}

}  // namespace

SpeedField::SpeedField(const Section &rotor, const Form &form, unsigned index,
                       std::optional<std::int64_t> full_rpm)
    : Link(needed_table(rotor, form.key)), high_byte_first_(is_high_byte_first(rotor)) {
    const Section &table = needed_table(rotor, form.key);
    read_place(table, form, index);
    if (const Section *codes = table.table("codes")) {
        read_codes(table, *codes);
    } else {
        read_ends(table, full_rpm);
    }
    table.refuse_unknown();
}

void SpeedField::read_place(const Section &table, const Form &form, unsigned index) {
    const std::int64_t first = table.integer_or("bit", kFirstBits, 0);
    bits_ = static_cast<unsigned>(table.integer_or("bits", kFieldBits, form.bits));
    const std::int64_t whole_registers = (first + bits_ + kByteBits - 1) / kByteBits * kByteBits;
    const std::int64_t step =
        table.integer_or("step", {form.least_step * bits_, kMaxStep}, whole_registers);
    const auto place = static_cast<std::uint32_t>(first + step * index);
    reg += place / kByteBits;
    bit_ = place % kByteBits;
    width = (bit_ + bits_ + kByteBits - 1) / kByteBits;
    if (high_byte_first_ && width > 1 && step % kByteBits != 0) {
        table.fail_at("step",
                      "with the high byte first, rotors lie whole registers apart: give a "
                      "multiple of 8");
    }
}

void SpeedField::read_codes(const Section &table, const Section &codes) {
    for (const char *key : {"still", "full"}) {
        if (table.has(key)) {
            table.fail_at(key, fmt::format("'codes' lists all speeds: leave '{}' out", key));
        }
    }
    for (const Section::Entry &entry : codes.entries()) {
        const auto code = parse_number(entry.key);
        if (!code || *code > max()) {
            codes.fail(entry.value->mark, fmt::format("'{}' is no value of {} bits: 0 to {} are",
                                                      entry.key, bits_, max()));
        }
        if (!codes_.emplace(*code, codes.integer_of(entry.key, *entry.value, kRpm)).second) {
            codes.fail(entry.value->mark, fmt::format("code {} is given twice", *code));
        }
    }
    if (highest_code_rpm().value_or(0) == 0) {
        table.fail_at("codes", "no code stands for a speed above 0: list them as code = rpm");
    }
}

void SpeedField::read_ends(const Section &table, std::optional<std::int64_t> full_rpm) {
    const Range values{0, max()};
    still_ = table.integer_or("still", values, 0);
    const std::int64_t usual = full_rpm ? still_ + *full_rpm : max();
    if (!table.has("full") && usual > max()) {
        table.fail_at("bits",
                      fmt::format("{} bits cannot show {}: give 'full', the value at full speed",
                                  bits_, usual));
    }
    full_ = table.integer_or("full", values, usual);
    if (full_ == still_) {
        table.fail_at(table.has("full") ? "full" : "still",
                      fmt::format("{} is already the value of a rotor that stands still; "
                                  "give 'still' and 'full' two values",
                                  full_));
    }
}

std::optional<std::int64_t> SpeedField::highest_code_rpm() const {
    std::optional<std::int64_t> highest;
    for (const auto &[code, rpm] : codes_) {
        highest = std::max(highest.value_or(0), rpm);
    }
    return highest;
}

unsigned SpeedField::place_of(std::uint32_t byte) const {
    return kByteBits * (high_byte_first_ ? width - 1 - byte : byte);
}

std::uint32_t SpeedField::number() const {
    std::uint32_t all = 0;
    for (std::uint32_t i = 0; i < width; ++i) {
        all |= std::uint32_t{target->contents()[reg + i]} << place_of(i);
    }
    return all;
}

// A code that is not listed stands still; a value beyond an end is as good as that end.
std::int64_t SpeedField::rpm(std::int64_t full_rpm) const {
    const std::int64_t value = number() >> bit_ & static_cast<std::uint32_t>(max());
    if (!codes_.empty()) {
        const auto found = codes_.find(value);
        return found == codes_.end() ? 0 : found->second;
    }
    const std::int64_t way = full_ > still_ ? value - still_ : still_ - value;
    const std::int64_t whole_way = std::abs(full_ - still_);
    return divide_rounded(full_rpm * std::clamp<std::int64_t>(way, 0, whole_way), whole_way);
}

// Of the codes that of the highest speed reached; the slowest when none is.
std::int64_t SpeedField::value_of(std::int64_t rpm, std::int64_t full_rpm) const {
    if (codes_.empty()) {
        const std::int64_t way = divide_rounded(rpm * std::abs(full_ - still_), full_rpm);
        return full_ > still_ ? still_ + way : still_ - way;
    }
    auto best = std::min_element(codes_.begin(), codes_.end(),
                                 [](const auto &a, const auto &b) { return a.second < b.second; });
    for (auto each = codes_.begin(); each != codes_.end(); ++each) {
        best = each->second <= rpm && each->second > best->second ? each : best;
    }
    return best->first;
}

bool SpeedField::show(std::int64_t rpm, std::int64_t full_rpm) const {
    const auto mask = static_cast<std::uint32_t>(max()) << bit_;
    const auto value = static_cast<std::uint32_t>(value_of(rpm, full_rpm)) << bit_;
    const std::uint32_t all = (number() & ~mask) | value;
    bool changed = false;
    for (std::uint32_t i = 0; i < width; ++i) {
        changed = put(i, static_cast<std::uint8_t>(all >> place_of(i))) || changed;
    }
    return changed;
}

Rotor::Rotor(const Section &section, unsigned index)
    : set_(section, kSet, index),
      full_rpm_(full_speed(section, set_)),
      speed_(section, kSpeed, index, full_rpm_),
      turns_when_(section, "turns_when") {}

std::vector<Link *> Rotor::links() {
    std::vector<Link *> all{&set_, &speed_};
    turns_when_.add_to(all);
    return all;
}

bool Rotor::settle() {
    return speed_.show(turns_when_.hold() ? set_.rpm(full_rpm_) : 0, full_rpm_);
}

}  // namespace vchassis
