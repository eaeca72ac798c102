// SPDX-License-Identifier: MIT
// The commands that look at the devices of a chassis and change them.
#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <set>
#include <stdexcept>

#include "commands.h"
#include "common/command_line.hpp"
#include "common/text.hpp"
#include "open_machine.h"
#include "report.h"
#include "text.h"

namespace vchassis {

using dfd_tools::UsageError;

namespace fs = std::filesystem;

namespace {

constexpr int kExitFailure = 1;
constexpr std::uint32_t kBytesPerLine = 16;
constexpr double kUsPerSecond = 1e6;
constexpr std::uint32_t kByteMax = 0xff;
constexpr std::size_t kNameWidth = 24;

template <class Error = std::runtime_error, class... Arguments>
[[noreturn]] void fail(fmt::format_string<Arguments...> format, Arguments &&...arguments) {
    throw Error(fmt::format(format, std::forward<Arguments>(arguments)...));
}

Device &find_device(const Machine &machine, const std::string &name) {
    if (Device *device = machine.find(name)) {
        return *device;
    }
    std::set<std::string> paths;
    for (const Device *device : machine.devices()) {
        paths.insert(device->path());
    }
    const std::string guess = nearest(name, paths);
    fail<UsageError>("the chassis has no device {}{}; `vchassis show` lists them", name,
                     guess.empty() ? "" : fmt::format(", did you mean {}?", guess));
}

// The address of `count` bytes from a number or a register's name.
std::uint32_t find_bytes(const Device &device, const std::string &reg, std::size_t count) {
    std::optional<std::uint32_t> address = parse_number(reg);
    std::set<std::string> names;
    for (const Device::Named &named : device.named()) {
        address = named.name == reg ? named.address : address;
        names.insert(named.name);
    }
    if (!address) {
        const std::string guess = nearest(reg, names);
        fail<UsageError>("{} has no register {}{}", device.path(), reg,
                         guess.empty() ? "" : fmt::format(", did you mean {}?", guess));
    }
    if (*address >= device.contents().size() || count > device.contents().size() - *address) {
        fail<UsageError>("{} has {} bytes, 0x00 to 0x{:02x}", device.path(),
                         device.contents().size(), device.contents().size() - 1);
    }
    return *address;
}

std::string status(const Device &device) {
    const auto *slave = dynamic_cast<const Slave *>(&device);
    return slave != nullptr && !slave->present() ? "absent now, " + device.summary()
                                                 : device.summary();
}

void show_device(const Device &device) {
    fmt::print("{:<20} {:<10} {:<24} {}\n", device.path(), device.model(), device.label(),
               status(device));
    std::size_t width = kNameWidth;
    for (const Device::Named &named : device.named()) {
        width = std::max(width, named.name.size());
    }
    for (const Device::Named &named : device.named()) {
        const std::string value = named.value.empty()
                                      ? fmt::format("0x{:02x}", device.contents()[named.address])
                                      : named.value;
        fmt::print("  0x{:02x}  {:<{}} {}\n", named.address, named.name, width, value);
    }
}

void print_bytes(std::span<const std::uint8_t> bytes, std::uint32_t address) {
    for (std::size_t at = 0; at < bytes.size(); at += kBytesPerLine) {
        const std::size_t count = std::min<std::size_t>(kBytesPerLine, bytes.size() - at);
        fmt::print("0x{:04x}: {}\n", address + at, dfd_tools::hex_text(bytes.subspan(at, count)));
    }
}

std::vector<std::uint8_t> parse_bytes(const std::vector<std::string> &texts) {
    std::vector<std::uint8_t> bytes;
    for (const std::string &text : texts) {
        const auto value = parse_number(text);
        if (!value || *value > kByteMax) {
            fail<UsageError>("'{}' is no byte; give 0 to 255, or 0x00 to 0xff", text);
        }
        bytes.push_back(static_cast<std::uint8_t>(*value));
    }
    return bytes;
}

// Whether `dir`, an absolute path without links, was installed with this program.
bool is_installed(const fs::path &dir) {
    const fs::path program = fs::read_symlink("/proc/self/exe");
    const fs::path data = fs::weakly_canonical(program.parent_path() / ".." / VCHASSIS_DATADIR);
    const fs::path inside = dir.lexically_relative(data);
    return !inside.empty() && *inside.begin() != "..";
}

// Where a user's programs keep their state: absolute paths only, as the rule for the variables is.
fs::path user_state() {
    const auto variable = [](const char *name) {
        const char *value = std::getenv(name);
        return fs::path(value == nullptr ? "" : value);
    };
    if (const fs::path state = variable("XDG_STATE_HOME"); state.is_absolute()) {
        return state;
    }
    const fs::path home = variable("HOME");
    if (!home.is_absolute()) {
        fail("HOME names no directory for the state of an installed chassis; --state names one");
    }
    return home / ".local/state";
}

}  // namespace

fs::path state_directory(const Place &place) {
    if (!place.state.empty()) {
        return place.state;
    }
    std::error_code error;
    const fs::path dir = fs::canonical(place.dir, error);
    if (error || !is_installed(dir)) {
        return fs::path(place.dir) / Machine::kStateDir;
    }
    // What is installed belongs to all users and to a package: nothing is written into it.
    std::string name = dir.relative_path();
    std::ranges::replace(name, '/', '-');
    return user_state() / "vchassis" / name;
}

std::unique_ptr<Machine> open_machine(const Place &place) {
    if (!fs::is_directory(place.dir)) {
        fail("{} is no directory", place.dir);
    }
    auto machine = std::make_unique<Machine>(place.dir, state_directory(place));
    machine->load_directory();
    const Store::Lock lock(machine->store());
    machine->settle();
    return machine;
}

int show_devices(const Place &place) {
    return report_failures(kExitFailure, [&place] {
        const auto machine = open_machine(place);
        fmt::print("{}: {} devices, virtual time {:.3f} s\n\n",
                   machine->name().empty() ? place.dir : machine->name(), machine->devices().size(),
                   static_cast<double>(machine->clock().now_us()) / kUsPerSecond);
        for (const Device *device : machine->devices()) {
            show_device(*device);
        }
    });
}

int peek_bytes(const Access &access) {
    return report_failures(kExitFailure, [&access] {
        const auto machine = open_machine(access.place);
        const Device &device = find_device(*machine, access.device);
        const std::uint32_t at = find_bytes(device, access.reg, access.count);
        print_bytes(device.contents().subspan(at, access.count), at);
    });
}

int poke_bytes(const Access &access) {
    return report_failures(kExitFailure, [&access] {
        const auto machine = open_machine(access.place);
        const Device &device = find_device(*machine, access.device);
        const std::vector<std::uint8_t> bytes = parse_bytes(access.values);
        const std::uint32_t at = find_bytes(device, access.reg, bytes.size());
        const Store::Lock lock(machine->store());
        std::copy(bytes.begin(), bytes.end(), device.contents().subspan(at).begin());
        machine->settle();
    });
}

int reset_devices(const Place &place) {
    return report_failures(kExitFailure, [&place] { open_machine(place)->reset(); });
}

std::vector<dfd_tools::Candidate> known_names(const dfd_tools::Expected &expected) {
    const std::string argument = expected.arguments.empty() ? "" : expected.arguments.front();
    std::vector<dfd_tools::Candidate> found;
    if (argument != kDevice && argument != kRegister) {
        return found;
    }
    try {
        Machine machine(expected.before.at(0), {});
        machine.load_initial();
        if (argument == kDevice) {
            for (const Device *device : machine.devices()) {
                found.push_back({device->path(), device->label()});
            }
            return found;
        }
        for (const Device::Named &named : find_device(machine, expected.before.at(1)).named()) {
            found.push_back({named.name, fmt::format("0x{:02x}", named.address)});
        }
    } catch (const std::exception &) {
        // What is no chassis, or no device, has no names to offer.
    }
    return found;
}

}  // namespace vchassis
