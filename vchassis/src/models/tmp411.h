// SPDX-License-Identifier: MIT
// A sensor of one local and one remote temperature. Contents: the byte registers at the addresses
// they are read at. Configuration, conversion rate and limits are written at other addresses than
// they are read at; in the extended range all temperatures stand 64 degrees higher.
#pragma once

#include "../model.h"

namespace vchassis {

class Tmp411 : public Slave {
  public:
    Tmp411(std::string path, const Section &section);

    bool start(bool read) override;
    bool write(std::uint8_t byte) override;
    std::uint8_t read() override;

    std::string summary() const override;
    std::vector<Named> named() const override;

  private:
    void set_temperature(const Section &section, std::string_view key, unsigned high, unsigned low,
                         double otherwise);
    void configure(std::uint8_t value);
    void reset_chip();

    unsigned index_ = 0;
    bool expect_pointer_ = false;
};

}  // namespace vchassis
