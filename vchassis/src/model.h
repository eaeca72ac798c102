// SPDX-License-Identifier: MIT
// What every device model is made of. A new model derives from Slave, says in its constructor which
// keys of the description it takes, and gets one row in models.cpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "section.h"

namespace vchassis {

// Virtual time in microseconds, shared by all processes on the chassis; sleeping advances it.
class Clock {
  public:
    static constexpr std::size_t kSize = 8;

    void attach(std::span<std::uint8_t> bytes) { bytes_ = bytes; }
    std::uint64_t now_us() const;
    void advance(std::uint64_t us);

  private:
    std::span<std::uint8_t> bytes_;
};

// What a model remembers between two transfers besides its contents: the register pointer and one
// point in time. Kept outside the process, for the next command goes on where this one stopped.
class Scratch {
  public:
    static constexpr std::size_t kSize = 16;

    void attach(std::span<std::uint8_t> bytes) { bytes_ = bytes; }
    std::uint32_t pointer() const;
    void set_pointer(std::uint32_t value);
    std::uint64_t until_us() const;
    void set_until_us(std::uint64_t value);

  private:
    std::span<std::uint8_t> bytes_;
};

class Device;
class RegisterTable;

// A register of another device, which a model reads whenever it needs it; so what it shows follows,
// whoever writes there. The machine finds the target once all devices are known.
struct Link {
    explicit Link(const Section &section);

    std::uint8_t value() const;
    // Sets byte `index` from the register on; whether it was another one.
    bool put(std::uint32_t index, std::uint8_t byte) const;

    std::string device;
    std::uint32_t reg = 0;
    std::uint32_t width = 1;  // registers from there on
    // Whether the target must tell what programs write to the register.
    bool watches = false;
    Device *target = nullptr;
    Where where;
};

// "Bit b of register r of device d has value v", or one of several bits has it.
struct Condition : Link {
    // `shift` moves a single bit so many places up. Without bits, where it may be, it always holds.
    explicit Condition(const Section &section, unsigned shift = 0, bool needs_bits = true);

    bool holds() const { return holds_in(value()); }
    // The same if `byte` stood in the register.
    bool holds_in(std::uint8_t byte) const;
    bool is_one_bit() const;
    // Makes it hold, or not.
    void put(bool hold) const;

    std::uint8_t mask = 0;
    bool wanted = true;
};

class Device {
  public:
    Device(std::string path, const Section &section);
    virtual ~Device() = default;
    Device(const Device &) = delete;
    Device &operator=(const Device &) = delete;

    struct Named {
        std::uint32_t address;
        std::string name;
        std::string value;  // empty: the byte at the address
    };

    // What `show` prints behind the name: the parameters of the model.
    virtual std::string summary() const { return {}; }
    // Readings and registers with a name.
    virtual std::vector<Named> named() const { return {}; }
    // What this device depends on.
    virtual std::vector<Link *> links() { return {}; }
    // How it takes writes, of devices that are registers and nothing else.
    virtual RegisterTable *register_table() { return nullptr; }

    const std::string &path() const { return path_; }
    const std::string &label() const { return label_; }
    const std::string &model() const { return model_; }
    void set_model(std::string name) { model_ = std::move(name); }
    std::vector<std::uint8_t> &initial() { return initial_; }
    std::span<std::uint8_t> contents() const { return contents_; }
    void attach(std::span<std::uint8_t> contents) { contents_ = contents; }
    void reset();

  protected:
    std::vector<std::uint8_t> initial_;

  private:
    std::string path_;
    std::string label_;
    std::string model_;
    std::span<std::uint8_t> contents_;
};

// A device on an I2C bus, byte by byte as the wires see it. `true` is an acknowledge.
class Slave : public Device {
  public:
    Slave(std::string path, const Section &section);

    // A start or repeated start with this device's address.
    virtual bool start(bool read) = 0;
    virtual bool write(std::uint8_t byte) = 0;
    virtual std::uint8_t read() = 0;
    virtual void stop() {}

    std::vector<Link *> links() override;
    bool present() const { return !present_when_ || present_when_->holds(); }
    // A kernel driver owns the address: I2C_SLAVE answers EBUSY.
    bool driver_bound() const { return driver_bound_; }

    void attach_scratch(std::span<std::uint8_t> bytes, Clock &clock);
    void reset_scratch();

  protected:
    Scratch scratch;
    const Clock &clock() const { return *clock_; }

  private:
    std::optional<Condition> present_when_;
    bool driver_bound_ = false;
    Clock *clock_ = nullptr;
};

// Reads the keys `fill`, `image` and `init`, which several models share.
std::vector<std::uint8_t> initial_bytes(const Section &section, std::size_t size,
                                        std::uint8_t default_fill);

// An unknown `model` throws with the nearest name.
std::unique_ptr<Slave> make_slave(std::string path, const Section &section);

}  // namespace vchassis
