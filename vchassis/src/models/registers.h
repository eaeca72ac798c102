// SPDX-License-Identifier: MIT
// Byte registers with read-only bits and bits that writing clears, as a CPLD or FPGA behind a
// device file and as a slave on a bus.
#pragma once

#include <functional>
#include <map>

#include "../model.h"

namespace vchassis {

// Registers, their names and how they take a write, read from `size`, `fill`, `image`, `init` and
// `[[...reg]]`.
class RegisterTable {
  public:
    // Is told each byte that a program writes to a register, once it stands there.
    using Watcher = std::function<void(std::uint8_t written)>;

    RegisterTable(const Section &section, Range sizes);

    // A program writes `byte` to a register whose byte is `place`.
    void write(std::size_t reg, std::uint8_t &place, std::uint8_t byte) const;
    void watch(std::size_t reg, Watcher watcher) { watchers_.emplace(reg, std::move(watcher)); }

    std::vector<std::uint8_t> initial;
    std::vector<Device::Named> names;

  private:
    struct Rule {
        std::uint8_t read_only = 0;
        std::uint8_t write_1_clear = 0;
        std::uint8_t write_0_clear = 0;
    };
    static Rule rule_of(const Section &reg);

    std::map<std::size_t, Rule> rules_;
    std::multimap<std::size_t, Watcher> watchers_;
};

// A device file: the file position is the register.
class RegisterSpace : public Device {
  public:
    explicit RegisterSpace(const Section &section);

    // So many bytes were moved; 0 at or past the end.
    std::size_t read(std::uint64_t offset, std::span<std::uint8_t> out) const;
    std::size_t write(std::uint64_t offset, std::span<const std::uint8_t> bytes);

    std::string summary() const override;
    std::vector<Named> named() const override { return table_.names; }
    RegisterTable *register_table() override { return &table_; }

  private:
    RegisterTable table_;
};

// The first byte written sets the register pointer; it goes on by one with each byte after that.
class RegisterSlave : public Slave {
  public:
    RegisterSlave(std::string path, const Section &section);

    bool start(bool read) override;
    bool write(std::uint8_t byte) override;
    std::uint8_t read() override;

    std::string summary() const override;
    std::vector<Named> named() const override { return table_.names; }
    RegisterTable *register_table() override { return &table_; }

  private:
    std::uint32_t next();

    RegisterTable table_;
    bool expect_pointer_ = false;
};

}  // namespace vchassis
