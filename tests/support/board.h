// SPDX-License-Identifier: MIT
// A board whose items are registers of one CPLD or constants, for tests of the functions on top.
#pragma once

#include "support/library_test.h"

namespace dfd_test {

// Lines of an info_ctrl item; `at` is its index part, such as "_3" or "_0_2".
std::string constant(const std::string &key, int value, const std::string &at = "");
// A whole register of /dev/cpld0.
std::string register_item(const std::string &key, unsigned reg, const std::string &at = "");
// Bit 0 of a register that does not exist: every access fails.
std::string broken_item(const std::string &key, const std::string &at = "");

class BoardTest : public LibraryTest {
  protected:
    BoardTest();
    std::uint8_t reg(unsigned offset) const { return chassis.reg("/dev/cpld0", offset); }
    void set_reg(unsigned offset, std::uint8_t value) {
        chassis.set_reg("/dev/cpld0", offset, value);
    }
    // Register and value of every CPLD write, in order, since the log was last cleared.
    std::vector<std::pair<unsigned, unsigned>> writes() const;
    // Registers read, in order.
    std::vector<unsigned> reads() const;
};

}  // namespace dfd_test
