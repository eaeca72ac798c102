// SPDX-License-Identifier: MIT
// Descriptions of a virtual chassis: refused with the place of the mistake, or a machine whose
// devices can be read.
#include <stdlib.h>

#include <filesystem>

#include "fuzz/targets.h"
#include "machine.h"

namespace dfd_fuzz {

namespace {

namespace fs = std::filesystem;

// Of the process. It is emptied now and then: each path of a device is a file.
class Directory {
  public:
    Directory() : path_((fs::temp_directory_path() / "dfd-fuzz-XXXXXX").string()) {
        demand(mkdtemp(path_.data()) != nullptr, "no temporary directory");
    }
    ~Directory() { clear(); }
    Directory(const Directory &) = delete;
    Directory &operator=(const Directory &) = delete;

    fs::path path() {
        constexpr unsigned kUses = 100;
        if (++uses_ % kUses == 0) {
            clear();
            fs::create_directory(path_);
        }
        return path_;
    }

  private:
    void clear() const {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }

    std::string path_;
    unsigned uses_ = 0;
};

// "file:line:column: what is wrong".
void check_message(const std::string &message, const std::string &file) {
    std::size_t at = file.size();
    demand(message.starts_with(file), "a message without the file: " + message);
    for (int number = 0; number < 2; ++number) {
        const std::size_t end = message.find_first_not_of("0123456789", at + 1);
        demand(message[at] == ':' && end != std::string::npos && end > at + 1,
               "a message without a place: " + message);
        at = end;
    }
    demand(message.size() > at + 2, "a place without a message: " + message);
}

// No two devices share a byte.
void check_contents(const vchassis::Machine &machine) {
    std::uint8_t mark = 0;
    for (const vchassis::Device *device : machine.devices()) {
        device->contents()[0] = ++mark;
    }
    mark = 0;
    for (const vchassis::Device *device : machine.devices()) {
        demand(device->contents()[0] == ++mark, "two devices are one: " + device->path());
    }
}

// Each device byte by byte, as a program would, with the wiring settled before and behind it.
void read_devices(vchassis::Machine &machine) {
    const vchassis::Store::Lock lock(machine.store());
    machine.settle();
    for (vchassis::Device *device : machine.devices()) {
        demand(!device->contents().empty(), "a device without contents");
        demand(machine.find(device->path()) == device, "a device is not found: " + device->path());
        demand(device->contents().size() == device->initial().size(), "a device of another size");
        device->summary();
        device->named();
        if (auto *slave = dynamic_cast<vchassis::Slave *>(device)) {
            for (const bool is_read : {false, true}) {
                slave->start(is_read);
                is_read ? void(slave->read()) : void(slave->write(0));
                slave->stop();
            }
        }
    }
    machine.settle();
}

}  // namespace

void chassis(Input input) {
    static Directory directory;
    const fs::path path = directory.path();
    const std::string file = (path / vchassis::Machine::kDescription).string();
    const std::string toml(input.begin(), input.end());
    vchassis::Machine machine(path, path / vchassis::Machine::kStateDir);
    try {
        machine.load_text(toml, file);
    } catch (const vchassis::DescriptionError &error) {
        check_message(error.what(), file);
        return;
    }
    read_devices(machine);
    check_contents(machine);
}

}  // namespace dfd_fuzz
