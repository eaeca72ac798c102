// SPDX-License-Identifier: MIT
// The devices of one chassis, made from its description and backed by its state directory.
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "bus.h"
#include "models/registers.h"
#include "section.h"
#include "store.h"
#include "wiring.h"

namespace vchassis {

class Machine {
  public:
    // `dir` is the chassis directory, `state` usually its subdirectory kStateDir.
    Machine(std::filesystem::path dir, const std::filesystem::path &state);

    static constexpr const char *kStateDir = "state";
    static constexpr const char *kDescription = "chassis.toml";

    // Reads DIR/chassis.toml; the state of earlier processes is kept when neither the text nor an
    // image has changed.
    void load_directory();
    // The same without a state: all hold their initial contents, and nobody else sees them.
    void load_initial();
    // Adds the devices of a further description, with their initial contents.
    void load_text(std::string_view toml, const std::string &file);

    RegisterSpace *registers(const std::string &path) const;
    Bus *bus(const std::string &path) const;
    // "/dev/cpld0" or "/dev/i2c-0:0x57"; null when there is none.
    Device *find(const std::string &name) const;
    Slave *slave(int bus, int addr) const;
    std::vector<Device *> devices() const;
    const std::map<std::string, std::unique_ptr<Bus>> &buses() const { return buses_; }
    const std::map<std::string, std::unique_ptr<RegisterSpace>> &spaces() const { return spaces_; }

    const std::string &name() const { return name_; }
    const std::filesystem::path &dir() const { return dir_; }
    // Absolute paths whose files are always the chassis's.
    const std::vector<std::string> &owned() const { return owned_; }
    // Whether the state lies outside of the chassis directory: programs then change nothing there.
    bool is_apart() const { return apart_; }
    // Whether what programs find at `path` lies with the state: of one that is apart a copy of the
    // chassis directory's, of all but the configuration.
    bool keeps(std::string_view path) const;
    const Store &store() const { return store_; }
    Clock &clock() { return clock_; }

    // Initial contents everywhere, files that the state keeps included; nothing busy, time zero.
    void reset();
    // Brings what wiring drives up to date. The caller holds the lock of the store.
    void settle();

  private:
    using Built = std::vector<Device *>;

    Built build(std::shared_ptr<Section> root);
    Built build_all(const Section &root);
    void discard_unattached();
    void build_files(const Section &root);
    void build_buses(const Section &root);
    void build_registers(const Section &section, Built &built);
    void build_slave(const Section &section, Built &built);
    Bus &bus_numbered(int number);
    void attach(const Built &built);
    void attach_wiring();
    std::span<std::uint8_t> next_scratch();
    std::vector<std::string> kept() const;
    std::set<std::string> originals() const;
    void copy_originals() const;
    void resolve(const Built &built);
    void resolve(const std::vector<Link *> &links);

    std::filesystem::path dir_;
    Store store_;
    std::string fingerprint_;  // of the directory
    bool apart_ = false;
    // Kept: taking one apart costs each program on the chassis a fifth of what reading it does.
    std::vector<std::shared_ptr<Section>> descriptions_;
    std::string name_;
    std::vector<std::string> owned_;
    std::map<std::string, std::unique_ptr<RegisterSpace>> spaces_;
    std::map<std::string, std::unique_ptr<Bus>> buses_;
    std::span<std::uint8_t> scratch_;
    std::size_t scratch_used_ = 0;
    std::vector<std::unique_ptr<Wiring>> wiring_;
    std::size_t wiring_attached_ = 0;
    Clock clock_;
};

}  // namespace vchassis
