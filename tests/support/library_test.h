// SPDX-License-Identifier: MIT
// The library on an in-process virtual chassis.
#pragma once

#include <dfd/dfd.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "vchassis/chassis.h"

#ifdef DFD_SANITIZED
#include <sanitizer/lsan_interface.h>
#endif

namespace dfd_test {

using Bytes = std::vector<std::uint8_t>;

// Where tests put their registers and the EEPROM whose images they check.
inline constexpr char kCpld[] = "/dev/cpld0";
inline constexpr char kBus[] = "/dev/i2c-2";

// While it lives, allocations are not watched for leaks: trees and lists are never taken down.
#ifdef DFD_SANITIZED
using NeverFreed = __lsan::ScopedDisabler;
#else
struct NeverFreed {
    NeverFreed() {}
};
#endif

// What `action` printed to standard output.
std::string printed_by(const std::function<void()> &action);

// The messages that `action` logged with the gate bits `gate` open, without their headers.
std::string logged_by(std::uint32_t gate, const std::function<void()> &action);

// The functions that the messages of `action` name in their headers, in order, each before a blank.
std::string functions_logged_by(std::uint32_t gate, const std::function<void()> &action);

// Runs `body` with the library as it is now in a process of its own; its failures fail the test.
// For rows that each need fresh caches.
void in_own_process(std::string_view row, const std::function<void()> &body);

// A buffer of a getter: `size` bytes of dirt, and more of it behind them that must stay.
class DirtyBuffer {
  public:
    explicit DirtyBuffer(std::size_t size);
    ~DirtyBuffer();
    char *data() { return bytes_.data(); }
    // All of it, with '~' for dirt and '|' for a terminator.
    std::string shown() const;

  private:
    std::size_t size_;
    std::vector<char> bytes_;
};

Bytes bytes_of(std::string_view text);
Bytes operator+(Bytes a, const Bytes &b);

// A 256-byte EEPROM image with the parts at their offsets and 0xFF elsewhere.
struct Part {
    std::size_t offset;
    Bytes bytes;
};
Bytes e2prom_image(std::initializer_list<Part> parts);

// A valid TLV image of version 1 (header of 6 bytes) or 2 (10 bytes): entries are type, length and
// value, back to back.
Bytes tlv_image(std::uint8_t version, std::uint8_t hw, std::uint8_t dev_type, const Bytes &entries);
Bytes tlv_entry(std::uint8_t type, const Bytes &value);

class LibraryTest : public ::testing::Test {
  protected:
    LibraryTest();

    // Starts the library on a board of type 1 whose one configuration file is `config`.
    void start(std::string_view config);

    // What the start-up is made of, for tests that choose it themselves.
    void write_board(std::string_view product_id, std::string_view pid_table);
    void write_list(unsigned board_type, std::string_view names);
    void write_config(std::string_view name, std::string_view text);

    // A 256-byte EEPROM on a bus.
    void add_e2prom(int bus, int addr, const Bytes &image);

    // Device accesses of the kind, one line each, since the log was last cleared.
    std::vector<std::string> accesses(vchassis::Op op) const;
    // The bytes of every write to an EEPROM: offset first, then data.
    std::vector<Bytes> i2c_writes() const;
    std::size_t count(vchassis::Op op) const;

    vchassis::Chassis chassis;
};

}  // namespace dfd_test
