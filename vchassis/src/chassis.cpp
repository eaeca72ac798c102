// SPDX-License-Identifier: MIT
#include "vchassis/chassis.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>

#include "scope.h"

namespace vchassis {

namespace fs = std::filesystem;

namespace {

fs::path temporary_directory() {
    std::string name = (fs::temp_directory_path() / "vchassis-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error(
            fmt::format("cannot create the directory {}: {}", name, std::strerror(errno)));
    }
    // As the kernel names it, so that it is known again in the working directory.
    return fs::canonical(name);
}

void copy_chassis(const fs::path &from, const fs::path &to) {
    for (const fs::directory_entry &entry : fs::directory_iterator(from)) {
        if (entry.path().filename() != Machine::kStateDir) {
            fs::copy(entry.path(), to / entry.path().filename(), fs::copy_options::recursive);
        }
    }
}

// Removes the directory in the process that made it, not in its forked children.
struct TemporaryDirectory {
    fs::path path = temporary_directory();
    pid_t owner = getpid();

    ~TemporaryDirectory() {
        if (getpid() == owner) {
            std::error_code ignored;
            fs::remove_all(path, ignored);
        }
    }
};

}  // namespace

struct Chassis::Impl {
    TemporaryDirectory dir;
    Session session;
    Session *previous = nullptr;
    bool active = false;

    Impl() : session(std::make_unique<Machine>(dir.path, dir.path / Machine::kStateDir)) {
        session.journal().keep_log();
    }

    void settle() {
        const Store::Lock lock(session.machine().store());
        session.machine().settle();
    }

    Device &device(const std::string &name, std::uint64_t end) {
        Device *found = session.machine().find(name);
        if (found == nullptr) {
            throw std::runtime_error(fmt::format("the chassis has no device {}", name));
        }
        if (end > found->contents().size()) {
            throw std::runtime_error(fmt::format("{} has {} bytes, 0x{:x} are needed", name,
                                                 found->contents().size(), end));
        }
        return *found;
    }

    fs::path real_path(std::string_view absolute_path) const {
        return fs::path(dir.path.string() + std::string(absolute_path));
    }
};

namespace {

std::string slave_name(int bus, int addr) {
    return fmt::format("/dev/i2c-{}:0x{:02x}", bus, addr);
}

}  // namespace

Chassis::Chassis() {
    const Inside inside;
    impl_ = std::make_unique<Impl>();
    impl_->session.machine().load_text("", "an empty chassis");
    impl_->previous = exchange_session(&impl_->session);
}

Chassis::Chassis(const fs::path &dir) {
    const Inside inside;
    impl_ = std::make_unique<Impl>();
    copy_chassis(dir, impl_->dir.path);
    impl_->session.machine().load_directory();
    impl_->previous = exchange_session(&impl_->session);
}

Chassis::~Chassis() {
    const Inside inside;
    exchange_session(impl_->previous);
    impl_.reset();
}

void Chassis::describe(std::string_view toml) {
    const Inside inside;
    impl_->session.machine().load_text(toml, (impl_->dir.path / "description").string());
}

void Chassis::write_file(std::string_view absolute_path, std::string_view content) {
    const Inside inside;
    const fs::path path = impl_->real_path(absolute_path);
    fs::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    if (!out.write(content.data(), static_cast<std::streamsize>(content.size()))) {
        throw std::runtime_error(fmt::format("cannot write {}", path.string()));
    }
}

void Chassis::remove_file(std::string_view absolute_path) {
    const Inside inside;
    fs::remove_all(impl_->real_path(absolute_path));
}

std::uint8_t Chassis::reg(std::string_view device, std::uint32_t offset) const {
    const Inside inside;
    impl_->settle();
    return impl_->device(std::string(device), std::uint64_t{offset} + 1).contents()[offset];
}

void Chassis::set_reg(std::string_view device, std::uint32_t offset, std::uint8_t value) {
    const Inside inside;
    impl_->settle();
    impl_->device(std::string(device), std::uint64_t{offset} + 1).contents()[offset] = value;
    impl_->settle();
}

std::vector<std::uint8_t> Chassis::slave(int bus, int addr) const {
    const Inside inside;
    impl_->settle();
    const auto bytes = impl_->device(slave_name(bus, addr), 0).contents();
    return {bytes.begin(), bytes.end()};
}

void Chassis::set_slave(int bus, int addr, std::uint32_t offset,
                        std::span<const std::uint8_t> bytes) {
    const Inside inside;
    impl_->settle();
    Device &device = impl_->device(slave_name(bus, addr), std::uint64_t{offset} + bytes.size());
    std::copy(bytes.begin(), bytes.end(), device.contents().subspan(offset).begin());
    impl_->settle();
}

void Chassis::reset() {
    const Inside inside;
    impl_->session.machine().reset();
}

void Chassis::fail(const Fault &fault) {
    const Inside inside;
    impl_->session.faults().add(fault);
}

void Chassis::clear_faults() {
    const Inside inside;
    impl_->session.faults().clear();
}

std::vector<Event> Chassis::log() const {
    const Inside inside;
    return impl_->session.journal().log();
}

std::vector<Event> Chassis::log(Op op) const {
    std::vector<Event> events = log();
    std::erase_if(events, [op](const Event &event) { return event.op != op; });
    return events;
}

void Chassis::clear_log() {
    const Inside inside;
    impl_->session.clear_log();
}

std::uint64_t Chassis::slept_us() const {
    const Inside inside;
    return impl_->session.slept_us();
}

void Chassis::advance_us(std::uint64_t duration) {
    const Inside inside;
    impl_->session.machine().clock().advance(duration);
}

const fs::path &Chassis::dir() const {
    return impl_->dir.path;
}

}  // namespace vchassis
