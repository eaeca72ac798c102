// SPDX-License-Identifier: MIT
// In-process handle to the virtual chassis, for tests.
//
// Link the target `vchassis_preload`; from then on the system calls of the executable pass through
// the chassis. While a Chassis lives, devices and configuration files come from it; otherwise every
// call goes straight to libc. At most one Chassis lives at a time.
//
// Conventions
//  - Mistakes in a description, unknown devices and offsets out of range throw std::runtime_error.
//  - After fork() the child sees the same registers and EEPROMs; the log and the faults are its
//  own.
//  - All functions may be called from any thread.
#pragma once

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#define VCHASSIS_EXPORT __attribute__((visibility("default")))

namespace vchassis {

enum class Op { open, close, seek, read, write, transfer, sleep, access };

// One message of an I2C transfer: the bytes written, or the bytes read. A read message that was not
// reached because an earlier one failed has no bytes.
struct Message {
    std::uint16_t addr = 0;
    std::uint16_t flags = 0;  // I2C_M_RD, I2C_M_NOSTART, ... as passed in
    std::vector<std::uint8_t> bytes = {};
};

// One access as the program made it. Fields that mean nothing for `op` are zero or empty.
struct Event {
    Op op = Op::open;
    std::string path = {};                 // as the program sees it, absolute
    int flags = 0;                         // open: the open flags; access: the mode
    std::int64_t offset = 0;               // seek: the target; read, write: the position
    std::vector<std::uint8_t> bytes = {};  // read, write
    std::vector<Message> messages = {};    // transfer
    std::int64_t result = 0;               // what the call returned; open: the descriptor
    int error = 0;                         // errno when result < 0
    std::uint64_t sleep_us = 0;            // sleep
};

// Makes matching accesses fail. The first fault that matches and has accesses left decides.
struct Fault {
    Op op = Op::transfer;
    std::string path = {};     // empty: any path
    int addr = -1;             // I2C address of the first message; -1: any
    std::int64_t offset = -1;  // register, or first byte written by a transfer; -1: any
    unsigned skip = 0;         // matching accesses that pass first
    unsigned count = 1;        // then so many fail; 0: all
    int error = EIO;           // errno; 0: `result` is returned instead
    // With `error` 0. Read and write move so many bytes, a transfer carries out so many messages.
    std::int64_t result = -1;
};

class VCHASSIS_EXPORT Chassis {
  public:
    // Without devices and files, in a fresh temporary directory that is removed at the end.
    Chassis();
    // A private copy of a chassis directory with its initial contents; the original stays
    // untouched.
    explicit Chassis(const std::filesystem::path &dir);
    ~Chassis();
    Chassis(const Chassis &) = delete;
    Chassis &operator=(const Chassis &) = delete;

    // Adds devices, in the syntax of chassis.toml. Image paths are relative to dir().
    void describe(std::string_view toml);

    // Files at the absolute path that the program uses. They need no description.
    void write_file(std::string_view absolute_path, std::string_view content);
    void remove_file(std::string_view absolute_path);

    // Registers of "/dev/cpld0" or of a slave, "/dev/i2c-0:0x57", past all write rules.
    std::uint8_t reg(std::string_view device, std::uint32_t offset) const;
    void set_reg(std::string_view device, std::uint32_t offset, std::uint8_t value);
    std::vector<std::uint8_t> slave(int bus, int addr) const;
    void set_slave(int bus, int addr, std::uint32_t offset, std::span<const std::uint8_t> bytes);

    // Initial contents of all devices, nothing busy, time zero; files, faults and the log stay.
    void reset();

    void fail(const Fault &fault);
    void clear_faults();

    std::vector<Event> log() const;
    std::vector<Event> log(Op op) const;
    void clear_log();

    // What was slept since the beginning or the last clear_log(), in microseconds.
    std::uint64_t slept_us() const;
    // Lets virtual time pass without a sleep.
    void advance_us(std::uint64_t duration);

    const std::filesystem::path &dir() const;

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

// The line of the trace for one access, without its prefix and without a line end.
VCHASSIS_EXPORT std::string to_text(const Event &event);

}  // namespace vchassis
