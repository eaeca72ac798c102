// SPDX-License-Identifier: MIT
#include "machine.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>

#include "text.h"

namespace vchassis {

namespace fs = std::filesystem;

namespace {

constexpr Range kBusNumbers{0, 255};
constexpr Range kAbsentMs{0, 60000};
// Addresses below 0x03 and from 0x78 on are reserved, but nothing stops a chip from using them.
constexpr Range kSlaveAddresses{0x00, 0x7f};
constexpr std::size_t kMaxScratches = 1024;
constexpr const char *kScratchArea = "clock-and-pointers";
constexpr const char *kDefaultOwned[] = {"/etc/cfg/dfd", "/tmp/bspinfo",
                                         "/tmp/.factory_disabale_cli_tty"};
constexpr std::string_view kAlwaysKept = "/tmp";
constexpr std::string_view kNeverKept = "/etc";

// Answers of real adapters to an absent address.
constexpr struct {
    const char *name;
    int error;
} kAbsentErrors[] = {
    {"ENXIO", ENXIO},   {"ETIMEDOUT", ETIMEDOUT}, {"EREMOTEIO", EREMOTEIO},  {"EIO", EIO},
    {"EAGAIN", EAGAIN}, {"EBUSY", EBUSY},         {"EOPNOTSUPP", EOPNOTSUPP}};

std::string read_text(const fs::path &path) {
    std::ifstream in(path, std::ios::binary);
    if (fs::is_directory(path)) {
        throw DescriptionError(fmt::format("{} is a directory, not a description", path.string()));
    }
    if (!in) {
        throw DescriptionError(fmt::format("cannot read {}: {}; a chassis directory contains {}",
                                           path.string(), std::strerror(errno),
                                           Machine::kDescription));
    }
    return read_all(in);
}

// Of the description and the initial contents of all devices.
class Fingerprint {
  public:
    void add(std::string_view bytes) {
        hash_ = hash_ * kPrime + std::hash<std::string_view>{}(bytes);
    }
    std::string text() const { return fmt::format("{:016x}\n", hash_); }

  private:
    static constexpr std::uint64_t kPrime = 0x100000001b3;
    std::uint64_t hash_ = 0;
};

// Not by name: what leads out of a directory by a link is outside.
bool is_inside(const fs::path &path, const fs::path &dir) {
    return *fs::canonical(path).lexically_relative(fs::canonical(dir)).begin() != "..";
}

// Of a directory and of what only looks like a file: nothing.
std::string content(const fs::path &path) {
    std::ifstream in;
    if (fs::is_regular_file(path)) {
        in.open(path, std::ios::binary);
    }
    return read_all(in);
}

[[noreturn]] void fail_to_copy(const fs::path &from, const std::error_code &error) {
    throw std::runtime_error(
        fmt::format("cannot copy {} into the state: {}", from.string(), error.message()));
}

// All that is in a directory, and in those that links lead to; not a link that leads nowhere.
std::vector<fs::path> contents(const fs::path &dir) {
    std::vector<fs::path> all;
    try {
        for (const auto &entry : fs::recursive_directory_iterator(
                 dir, fs::directory_options::follow_directory_symlink)) {
            if (entry.exists()) {
                all.push_back(entry.path());
            }
        }
    } catch (const fs::filesystem_error &error) {
        fail_to_copy(all.empty() ? dir : all.back(), error.code());
    }
    return all;
}

// To be written by whoever runs programs, also where he may only read the original.
void copy_for_writing(const fs::path &from, const fs::path &to) {
    std::error_code error;
    fs::create_directories(fs::is_directory(from) ? to : to.parent_path(), error);
    if (!error && fs::is_regular_file(from)) {
        fs::copy_file(from, to, error);
    }
    if (!error && fs::exists(to)) {
        fs::permissions(to, fs::perms::owner_read | fs::perms::owner_write, fs::perm_options::add,
                        error);
    }
    if (error) {
        fail_to_copy(from, error);
    }
}

// "/dev/cpld0" is stored as "dev-cpld0.bin", "/dev/i2c-0:0x57" as "dev-i2c-0-0x57.bin".
std::string area_name(const std::string &path) {
    std::string name = path.substr(path.find_first_not_of('/'));
    std::replace_if(
        name.begin(), name.end(), [](char c) { return c == '/' || c == ':'; }, '-');
    return name;
}

// What a program can open, what "/dev/i2c-0:0x57" is not taken for, and whose area is a file.
bool is_device_file(const std::string &path) {
    constexpr std::size_t kMaxLength = 200;
    return path.starts_with("/dev/") && !path.starts_with("/dev/i2c") &&
           path.size() <= kMaxLength && std::all_of(path.begin(), path.end(), [](unsigned char c) {
               return c >= ' ' && c != ':' && c != 0x7f;
           });
}

std::string bus_path(int number) {
    return fmt::format("/dev/i2c-{}", number);
}

}  // namespace

Machine::Machine(fs::path dir, const fs::path &state)
    : dir_(std::move(dir)),
      store_(state),
      owned_(std::begin(kDefaultOwned), std::end(kDefaultOwned)) {}

void Machine::load_directory() {
    const fs::path file = dir_ / kDescription;
    const std::string text = read_text(file);
    const Built built = build(parse_description(text, file.string()));
    store_.make();
    apart_ = !is_inside(store_.dir(), dir_);
    Fingerprint fingerprint;
    fingerprint.add(text);
    for (Device *device : built) {
        const std::vector<std::uint8_t> &initial = device->initial();
        fingerprint.add({reinterpret_cast<const char *>(initial.data()), initial.size()});
    }
    for (const std::string &path : originals()) {
        fingerprint.add(path);
        fingerprint.add(content(dir_.string() + path));
    }
    fingerprint_ = fingerprint.text();
    const Store::Lock lock(store_);
    const bool is_known = store_.prepare(fingerprint_);
    attach(built);
    if (!is_known) {
        copy_originals();
        store_.commit(fingerprint_);
    }
}

void Machine::load_initial() {
    const fs::path file = dir_ / kDescription;
    for (Device *device : build(parse_description(read_text(file), file.string()))) {
        device->attach(device->initial());
    }
}

void Machine::load_text(std::string_view toml, const std::string &file) {
    const Built built = build(parse_description(toml, file));
    store_.make();
    const Store::Lock lock(store_);
    attach(built);
    for (Device *device : built) {
        device->reset();
    }
}

Machine::Built Machine::build(std::shared_ptr<Section> root) {
    descriptions_.push_back(std::move(root));
    try {
        return build_all(*descriptions_.back());
    } catch (...) {
        discard_unattached();
        throw;
    }
}

// What a refused description had already added.
void Machine::discard_unattached() {
    const auto unattached = [](const auto &entry) { return entry.second->contents().empty(); };
    std::erase_if(spaces_, unattached);
    for (auto &[path, bus] : buses_) {
        bus->remove_if(unattached);
    }
    wiring_.resize(wiring_attached_);
}

Machine::Built Machine::build_all(const Section &root) {
    Built built;
    name_ = root.text_or("name", name_);
    build_files(root);
    build_buses(root);
    for (const Section *section : root.tables("registers")) {
        build_registers(*section, built);
    }
    for (const Section *section : root.tables("i2c")) {
        build_slave(*section, built);
    }
    if (const Section *wiring = root.table("wiring")) {
        for (std::unique_ptr<Wiring> &each : make_wiring(*wiring)) {
            wiring_.push_back(std::move(each));
        }
    }
    root.refuse_unknown();
    resolve(built);
    return built;
}

void Machine::build_files(const Section &root) {
    const Section *files = root.table("files");
    if (files == nullptr) {
        return;
    }
    std::vector<std::string> owned = files->has("owned") ? files->texts("owned") : owned_;
    for (std::string &path : files->texts("also_owned")) {
        owned.push_back(std::move(path));
    }
    for (const std::string &path : owned) {
        if (!path.starts_with('/') || path.ends_with('/') ||
            fs::path(path).lexically_normal() != path) {
            files->fail_at("owned", fmt::format("'{}' must be an absolute path without a slash "
                                                "at its end, without . and ..",
                                                path));
        }
    }
    files->refuse_unknown();
    owned_ = std::move(owned);
}

void Machine::build_buses(const Section &root) {
    std::set<std::int64_t> described;
    for (const Section *section : root.tables("bus")) {
        const std::int64_t number = section->integer("number", kBusNumbers);
        if (!described.insert(number).second) {
            section->fail_at("number", fmt::format("bus {} is already described", number));
        }
        Bus &bus = bus_numbered(static_cast<int>(number));
        const std::string wanted = section->text_or("absent_error", "ENXIO");
        const auto *row = std::find_if(std::begin(kAbsentErrors), std::end(kAbsentErrors),
                                       [&wanted](const auto &each) { return wanted == each.name; });
        if (row == std::end(kAbsentErrors)) {
            section->fail_at("absent_error", fmt::format("'{}' is no error of an I2C adapter; "
                                                         "the usual ones are ENXIO, ETIMEDOUT and "
                                                         "EREMOTEIO",
                                                         wanted));
        }
        bus.set_absent_error(row->error);
        const std::int64_t absent_ms = section->integer_or("absent_ms", kAbsentMs, 0);
        bus.set_absent_us(static_cast<std::uint64_t>(absent_ms) * kUsPerMs);
        bus.set_nostart(section->flag_or("nostart", true));
        bus.set_ten_bit(section->flag_or("ten_bit", true));
        section->refuse_unknown();
    }
}

void Machine::build_registers(const Section &section, Built &built) {
    auto space = std::make_unique<RegisterSpace>(section);
    const std::string path = space->path();
    if (!is_device_file(path)) {
        section.fail_at("path", fmt::format("'{}' must be a device file such as /dev/cpld0", path));
    }
    section.refuse_unknown();
    const auto [place, added] = spaces_.emplace(path, std::move(space));
    if (!added) {
        section.fail_at("path", fmt::format("{} is already described", path));
    }
    for (const auto &[other, unused] : spaces_) {
        if (other != path && area_name(other) == area_name(path)) {
            section.fail_at("path",
                            fmt::format("{} and {} have one name in the state directory, {}", path,
                                        other, area_name(path)));
        }
    }
    built.push_back(place->second.get());
}

void Machine::build_slave(const Section &section, Built &built) {
    Bus &bus = bus_numbered(static_cast<int>(section.integer("bus", kBusNumbers)));
    const int addr = static_cast<int>(section.integer("addr", kSlaveAddresses));
    std::string path = fmt::format("{}:0x{:02x}", bus_path(bus.number()), addr);
    auto made = make_slave(path, section);
    section.refuse_unknown();
    Slave *slave = bus.add(addr, std::move(made));
    if (slave == nullptr) {
        section.fail_at("addr", fmt::format("{} is already described", path));
    }
    built.push_back(slave);
}

Bus &Machine::bus_numbered(int number) {
    std::unique_ptr<Bus> &bus = buses_[bus_path(number)];
    if (!bus) {
        bus = std::make_unique<Bus>(number);
    }
    return *bus;
}

void Machine::resolve(const Built &built) {
    for (Device *device : built) {
        resolve(device->links());
    }
    for (std::size_t i = wiring_attached_; i < wiring_.size(); ++i) {
        resolve(wiring_[i]->links());
    }
}

void Machine::resolve(const std::vector<Link *> &links) {
    for (Link *link : links) {
        Device *target = find(link->device);
        if (target == nullptr) {
            throw DescriptionError(
                fmt::format("{}: there is no device '{}' (devices are named "
                            "like /dev/cpld0 or /dev/i2c-0:0x57)",
                            link->where.text(), link->device));
        }
        const std::size_t last = std::size_t{link->reg} + link->width - 1;
        if (last >= target->initial().size()) {
            throw DescriptionError(fmt::format("{}: {} has no register 0x{:x}", link->where.text(),
                                               link->device, last));
        }
        if (link->watches && target->register_table() == nullptr) {
            throw DescriptionError(fmt::format(
                "{}: {} is of the model {}; what programs write is seen of [[registers]] "
                "and the model registers",
                link->where.text(), link->device, target->model()));
        }
        link->target = target;
    }
}

void Machine::attach(const Built &built) {
    if (scratch_.empty()) {
        const std::vector<std::uint8_t> zero(Clock::kSize + kMaxScratches * Scratch::kSize);
        scratch_ = store_.area(kScratchArea, zero);
        clock_.attach(scratch_.first(Clock::kSize));
    }
    for (Device *device : built) {
        device->attach(store_.area(area_name(device->path()), device->initial()));
        if (auto *slave = dynamic_cast<Slave *>(device)) {
            slave->attach_scratch(next_scratch(), clock_);
        }
    }
    attach_wiring();
}

void Machine::attach_wiring() {
    for (; wiring_attached_ < wiring_.size(); ++wiring_attached_) {
        wiring_[wiring_attached_]->attach(next_scratch(), clock_);
    }
}

std::span<std::uint8_t> Machine::next_scratch() {
    if (scratch_used_ == kMaxScratches) {
        throw DescriptionError(
            fmt::format("more than {} devices on buses and pieces of wiring", kMaxScratches));
    }
    const std::size_t at = Clock::kSize + scratch_used_++ * Scratch::kSize;
    return scratch_.subspan(at, Scratch::kSize);
}

bool Machine::keeps(std::string_view path) const {
    return apart_ && !is_under(path, kNeverKept);
}

// The places of what a state that is apart keeps.
std::vector<std::string> Machine::kept() const {
    std::vector<std::string> paths = owned_;
    paths.emplace_back(kAlwaysKept);
    std::erase_if(paths, [this](const std::string &path) { return !keeps(path); });
    return paths;
}

// What the chassis directory has there, as programs name it, a directory before what is in it.
// Links are followed: what they lead to is copied, too.
std::set<std::string> Machine::originals() const {
    std::set<std::string> all;
    for (const std::string &path : kept()) {
        const fs::path top = dir_.string() + path;
        if (fs::exists(top)) {
            all.insert(path);
        }
        if (fs::is_directory(top)) {
            for (const fs::path &original : contents(top)) {
                all.insert(original.native().substr(dir_.native().size()));
            }
        }
    }
    return all;
}

void Machine::copy_originals() const {
    for (const std::string &path : kept()) {
        fs::remove_all(store_.dir().string() + path);
    }
    for (const std::string &path : originals()) {
        copy_for_writing(dir_.string() + path, store_.dir().string() + path);
    }
}

// One wiring may drive what another looks at, in any order; those that go in circles are left as
// they are after so many rounds.
void Machine::settle() {
    bool changed = true;
    for (std::size_t round = 0; changed && round <= wiring_.size(); ++round) {
        changed = false;
        for (const std::unique_ptr<Wiring> &wiring : wiring_) {
            changed = wiring->settle() || changed;
        }
    }
}

RegisterSpace *Machine::registers(const std::string &path) const {
    const auto found = spaces_.find(path);
    return found == spaces_.end() ? nullptr : found->second.get();
}

Bus *Machine::bus(const std::string &path) const {
    const auto found = buses_.find(path);
    return found == buses_.end() ? nullptr : found->second.get();
}

Slave *Machine::slave(int number, int addr) const {
    const Bus *found = bus(bus_path(number));
    return found == nullptr ? nullptr : found->at(addr);
}

Device *Machine::find(const std::string &name) const {
    const std::size_t colon = name.find(':');
    if (colon == std::string::npos) {
        return registers(name);
    }
    const Bus *found = bus(name.substr(0, colon));
    const auto addr = parse_number(std::string_view(name).substr(colon + 1));
    return found == nullptr || !addr ? nullptr : found->at(static_cast<int>(*addr));
}

std::vector<Device *> Machine::devices() const {
    std::vector<Device *> all;
    for (const auto &[path, space] : spaces_) {
        all.push_back(space.get());
    }
    for (const auto &[path, bus] : buses_) {
        for (const auto &[addr, slave] : bus->slaves()) {
            all.push_back(slave.get());
        }
    }
    return all;
}

void Machine::reset() {
    const Store::Lock lock(store_);
    for (Device *device : devices()) {
        device->reset();
    }
    if (apart_) {
        store_.revoke();
        copy_originals();
        store_.commit(fingerprint_);
    }
    std::fill(scratch_.begin(), scratch_.end(), std::uint8_t{0});
}

}  // namespace vchassis
