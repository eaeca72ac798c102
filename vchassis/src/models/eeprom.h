// SPDX-License-Identifier: MIT
// A small serial EEPROM: the first byte written (two for large parts) is the offset, which goes on
// across reads and wraps at the end. A write wraps inside its page, takes effect at the stop, and
// keeps the chip busy: it does not acknowledge its address until the write time is over.
#pragma once

#include <optional>

#include "../model.h"

namespace vchassis {

class Eeprom : public Slave {
  public:
    Eeprom(std::string path, const Section &section);

    bool start(bool read) override;
    bool write(std::uint8_t byte) override;
    std::uint8_t read() override;
    void stop() override;

    std::string summary() const override;
    std::vector<Link *> links() override;

  private:
    std::uint32_t offset() const;
    void latch(std::uint8_t byte);

    std::uint32_t page_;
    std::uint64_t write_us_;
    unsigned offset_bytes_;
    // While it holds, data is acknowledged and forgotten, as with the protect pin at its level.
    std::optional<Condition> write_protect_;

    struct Pending {
        std::uint32_t offset;
        std::uint8_t byte;
    };
    std::vector<Pending> pending_;
    unsigned offset_bytes_left_ = 0;
};

}  // namespace vchassis
