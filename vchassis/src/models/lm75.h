// SPDX-License-Identifier: MIT
// A temperature sensor with 16-bit registers, most significant byte first: 0 temperature, 1
// configuration (one byte), 2 hysteresis, 3 limit. Contents: two bytes per register, in that order.
#pragma once

#include "../model.h"

namespace vchassis {

class Lm75 : public Slave {
  public:
    Lm75(std::string path, const Section &section);

    bool start(bool read) override;
    bool write(std::uint8_t byte) override;
    std::uint8_t read() override;

    std::string summary() const override;
    std::vector<Named> named() const override;

  private:
    void put(unsigned reg, double temp_c);
    std::uint16_t raw(unsigned reg) const;

    unsigned bits_;
    // Counts the bytes since the start; the first one written is the register pointer.
    unsigned index_ = 0;
    bool expect_pointer_ = false;
};

}  // namespace vchassis
