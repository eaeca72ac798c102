// SPDX-License-Identifier: MIT
#include "registers.h"

#include <fmt/format.h>

#include <algorithm>

namespace vchassis {

namespace {

constexpr std::int64_t kDefaultRegisters = 256;
constexpr Range kSpaceSizes{1, 0x100000};
constexpr Range kSlaveSizes{1, 256};
constexpr std::uint8_t kAllBits = 0xff;

// A mask, or `true` for all bits.
std::uint8_t mask(const Section &reg, std::string_view key) {
    if (reg.is_flag(key)) {
        return reg.flag_or(key, false) ? kAllBits : 0;
    }
    return static_cast<std::uint8_t>(reg.integer_or(key, kByte, 0));
}

}  // namespace

RegisterTable::Rule RegisterTable::rule_of(const Section &reg) {
    const Rule rule{mask(reg, "read_only"), mask(reg, "write_1_clear"), mask(reg, "write_0_clear")};
    if ((rule.read_only & rule.write_1_clear) != 0) {
        reg.fail_at("write_1_clear", "a bit is either read-only or cleared by writing 1");
    }
    if (((rule.read_only | rule.write_1_clear) & rule.write_0_clear) != 0) {
        reg.fail_at("write_0_clear",
                    "a bit is either read-only, cleared by writing 1 or cleared by writing 0");
    }
    return rule;
}

// What a bit that writing clears becomes: 0 for the clearing value, else what it was.
void RegisterTable::write(std::size_t reg, std::uint8_t &place, std::uint8_t byte) const {
    const auto found = rules_.find(reg);
    const Rule rule = found == rules_.end() ? Rule{} : found->second;
    const unsigned kept =
        rule.read_only | (rule.write_1_clear & ~byte) | (rule.write_0_clear & byte);
    const unsigned taken = byte & ~(rule.read_only | rule.write_1_clear | rule.write_0_clear);
    place = static_cast<std::uint8_t>((place & kept) | taken);
    const auto [first, last] = watchers_.equal_range(reg);
    std::for_each(first, last, [byte](const auto &each) { each.second(byte); });
}

RegisterTable::RegisterTable(const Section &section, Range sizes)
    : initial(initial_bytes(
          section, static_cast<std::size_t>(section.integer_or("size", sizes, kDefaultRegisters)),
          0)) {
    const Range addresses{0, static_cast<std::int64_t>(initial.size()) - 1};
    for (const Section *reg : section.tables("reg")) {
        const auto address = static_cast<std::uint32_t>(reg->integer("address", addresses));
        initial[address] =
            static_cast<std::uint8_t>(reg->integer_or("value", kByte, initial[address]));
        rules_[address] = rule_of(*reg);
        names.push_back({address, reg->text_or("name", ""), {}});
        reg->refuse_unknown();
    }
}

RegisterSpace::RegisterSpace(const Section &section)
    : Device(section.text("path"), section), table_(section, kSpaceSizes) {
    set_model("registers");
    initial_ = table_.initial;
}

std::size_t RegisterSpace::read(std::uint64_t offset, std::span<std::uint8_t> out) const {
    if (offset >= contents().size()) {
        return 0;
    }
    const auto from = contents().subspan(static_cast<std::size_t>(offset));
    const std::size_t count = std::min(from.size(), out.size());
    std::copy_n(from.begin(), count, out.begin());
    return count;
}

std::size_t RegisterSpace::write(std::uint64_t offset, std::span<const std::uint8_t> bytes) {
    if (offset >= contents().size()) {
        return 0;
    }
    std::size_t count = 0;
    for (auto reg = static_cast<std::size_t>(offset);
         reg < contents().size() && count < bytes.size(); ++reg) {
        table_.write(reg, contents()[reg], bytes[count++]);
    }
    return count;
}

std::string RegisterSpace::summary() const {
    return fmt::format("{} registers", contents().size());
}

RegisterSlave::RegisterSlave(std::string path, const Section &section)
    : Slave(std::move(path), section), table_(section, kSlaveSizes) {
    initial_ = table_.initial;
}

bool RegisterSlave::start(bool read) {
    expect_pointer_ = !read;
    return true;
}

std::uint32_t RegisterSlave::next() {
    const auto size = static_cast<std::uint32_t>(contents().size());
    const std::uint32_t reg = scratch.pointer() % size;
    scratch.set_pointer((reg + 1) % size);
    return reg;
}

bool RegisterSlave::write(std::uint8_t byte) {
    if (expect_pointer_) {
        expect_pointer_ = false;
        if (byte >= contents().size()) {
            return false;
        }
        scratch.set_pointer(byte);
        return true;
    }
    const std::uint32_t reg = next();
    table_.write(reg, contents()[reg], byte);
    return true;
}

std::uint8_t RegisterSlave::read() {
    return contents()[next()];
}

std::string RegisterSlave::summary() const {
    return fmt::format("{} registers", contents().size());
}

}  // namespace vchassis
