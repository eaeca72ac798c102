// SPDX-License-Identifier: MIT
// Byte registers with read-only and write-1-to-clear bits, as a CPLD or FPGA behind a device file
// and as a slave on a bus.
#pragma once

#include <optional>

#include "../model.h"

namespace vchassis {

// How the bits of each register take a write.
class WriteRules {
  public:
    explicit WriteRules(std::size_t size) : rules_(size) {}

    void set(std::size_t reg, std::uint8_t read_only, std::uint8_t write_1_clear);
    std::uint8_t apply(std::size_t reg, std::uint8_t old_value, std::uint8_t written) const;

  private:
    struct Rule {
        std::uint8_t read_only = 0;
        std::uint8_t write_1_clear = 0;
    };
    std::vector<Rule> rules_;
};

// Registers, their names and rules, read from `size`, `fill`, `image`, `init` and `[[...reg]]`.
struct RegisterTable {
    RegisterTable(const Section &section, Range sizes);

    std::vector<std::uint8_t> initial;
    WriteRules rules;
    std::vector<Device::Named> names;
};

// A device file: the file position is the register.
class RegisterSpace : public Device {
  public:
    explicit RegisterSpace(const Section &section);

    // So many bytes were moved; 0 at or past the end.
    std::size_t read(std::uint64_t offset, std::span<std::uint8_t> out) const;
    std::size_t write(std::uint64_t offset, std::span<const std::uint8_t> bytes);

    std::string summary() const override;
    std::vector<Named> named() const override { return names_; }

  private:
    std::vector<Named> names_;
    WriteRules rules_;
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

  private:
    std::uint32_t next();

    RegisterTable table_;
    bool expect_pointer_ = false;
};

}  // namespace vchassis
