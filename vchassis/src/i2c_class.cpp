// SPDX-License-Identifier: MIT
#include "i2c_class.h"

#include <fmt/format.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace vchassis {

namespace fs = std::filesystem;

namespace {

void remove_gone(const Machine &machine, const fs::path &dir) {
    std::error_code ignored;
    for (const fs::directory_entry &entry : fs::directory_iterator(dir, ignored)) {
        if (machine.bus("/dev/" + entry.path().filename().string()) == nullptr) {
            fs::remove_all(entry.path(), ignored);
        }
    }
}

}  // namespace

void make_i2c_class(const Machine &machine) {
    const fs::path dir = machine.store().dir().string() + std::string(kI2cClass);
    const Store::Lock lock(machine.store());
    std::error_code ignored;
    fs::create_directories(dir, ignored);
    remove_gone(machine, dir);
    for (const auto &[path, bus] : machine.buses()) {
        const fs::path entry = dir / fs::path(path).filename();
        if (fs::create_directory(entry, ignored)) {
            std::ofstream(entry / "name") << "vchassis bus " << bus->number() << '\n';
            std::ofstream(entry / "dev") << "89:" << bus->number() << '\n';
        }
    }
}

}  // namespace vchassis
