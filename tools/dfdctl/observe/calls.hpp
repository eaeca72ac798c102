// SPDX-License-Identifier: MIT
// How to call every exported function: one table, whose rows are checked against the functions'
// own signatures when it is compiled.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace dfdctl::observe {

/// Part of the system that a function is about.
enum class Subsystem : std::uint8_t {
    board,
    slots,
    cards,
    voltages,
    power,
    fans,
    temps,
    leds,
    ports,
    irq,
    inventory,
    backplane,
    bus,
    framework
};

enum class Does : std::uint8_t {
    get,      ///< answers from the configuration and, mostly, hardware
    set,      ///< writes a value to hardware
    control,  ///< resets, power switching, interrupt masks and dispatch, write protection
    pure,     ///< computes, looks something up, or keeps it in the process
    bus,      ///< raw access to a device, an EEPROM or an item that the caller names
    startup,  ///< loads configuration
    internal  ///< works on the library's own tables, log gate or dumps
};

std::string_view subsystem_name(Subsystem subsystem);
std::string_view does_name(Does does);

/// What a parameter stands for. Numbers that select a unit come first.
enum class Role : std::uint8_t {
    fan,
    rotor,
    supply,
    slot,
    card,  ///< a slot as the keys of its items have it: 0 is the own card
    sub_slot,
    sensor,
    card_sensor,  ///< a sensor other than those of switch chips, behind a slot
    channel,
    port,
    mac,
    backplane,
    serial,
    led_type,
    fan_led,
    tray_led,  ///< in a fan tray
    supply_led,
    led_unit,
    led_state,
    controller,
    irq_type,
    group,  ///< of write-protect signals
    all,
    // Other numbers.
    value,
    level,
    mode,
    key,
    index,
    length,
    bus,
    address,
    offset,
    wide,
    source,
    mask,
    info,
    ignored,
    // Texts and bytes that go in.
    sn,
    hw,
    device,
    path,
    text,
    data,
    // What comes out, and what the function merely needs.
    out,
    buffer,
    capacity,
    bytes6,
    bytes8,
    bytes10,
    record,
    scratch,
    handler,
    none
};

enum class RoleKind : std::uint8_t { index, number, text, output, support };

struct RoleFacts {
    Role role;
    std::string_view word;  ///< in the rows of the table, and of the usage
    RoleKind kind;
    std::uint32_t standard;  ///< number that does no harm, where the caller gives none
    std::string_view text;   ///< the same of texts
};

const RoleFacts &facts_of(Role role);

struct Param {
    Role role = Role::none;
    bool is_pointer = false;
    bool is_signed = false;
    std::uint8_t size = 0;       ///< bytes of the number, or of what the pointer points to
    std::string_view unit = {};  ///< of an output
};

inline constexpr std::size_t kMaxParams = 8;
/// Bytes that a buffer of an observed call holds, and characters of a text that is given to one.
inline constexpr std::uint32_t kMaxLength = 256;

/// Numbers and pointers alike.
using Word = std::uintptr_t;

/// A row of the table.
struct Call {
    Subsystem subsystem;
    Does does;
    std::string_view name;
    std::array<Param, kMaxParams> slots = {};
    std::size_t count = 0;
    bool returns_value = false;  ///< a result that is not negative is the value
    bool returns_nothing = false;
    bool is_essential = false;  ///< a board that has the unit wants it: `dfdctl coverage --require`
    bool is_polled = false;     ///< part of a pass of monitoring software
    std::string_view unit = {};  ///< of such a result
    std::int64_t (*run)(const Word *words) = nullptr;
    std::string_view passes_to = {};  ///< the function that this one passes everything through to

    std::span<const Param> params() const { return std::span(slots).first(count); }
    /// Whether a run leaves nothing behind that putting the library's state back does not undo.
    bool can_be_observed() const { return does != Does::startup && does != Does::internal; }
    /// Getters, computations, and raw access that delivers something.
    bool only_reads() const;
    /// "FAN ROTOR", what the command line gives.
    std::string usage() const;
    /// Parameters that the caller may give: numbers and texts, in order.
    std::vector<const Param *> inputs() const;
    /// Of those, what the numbers stand for.
    std::vector<Role> number_roles() const;
};

/// Arguments, by kind in the order of the parameters; what is missing gets its standard.
struct Args {
    std::vector<std::uint32_t> numbers = {};
    std::vector<std::string> texts = {};

    bool operator==(const Args &) const = default;
};

/// "drv_get_fan_speed(1, 2)": the inputs as they are given.
std::string text_of(const Call &call, const Args &args);

/// All rows, by name.
std::span<const Call> calls();
/// Null when no function has that name.
const Call *find_call(std::string_view name);
/// Names of all rows, for messages about a mistyped one.
std::span<const std::string_view> call_names();

}  // namespace dfdctl::observe
