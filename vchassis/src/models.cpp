// SPDX-License-Identifier: MIT
// The models a description can name: one row each.
#include <fmt/format.h>

#include <array>

#include "common/text.hpp"
#include "model.h"
#include "models/eeprom.h"
#include "models/lm75.h"
#include "models/pmbus.h"
#include "models/registers.h"
#include "models/tmp411.h"
#include "text.h"

namespace vchassis {

namespace {

struct Row {
    const char *name;
    std::unique_ptr<Slave> (*make)(std::string path, const Section &section);
};

template <class Model>
std::unique_ptr<Slave> make(std::string path, const Section &section) {
    return std::make_unique<Model>(std::move(path), section);
}

constexpr std::array kModels{
    Row{"registers", make<RegisterSlave>}, Row{"eeprom", make<Eeprom>}, Row{"lm75", make<Lm75>},
    Row{"tmp411", make<Tmp411>},           Row{"pmbus", make<Pmbus>},
};

}  // namespace

std::unique_ptr<Slave> make_slave(std::string path, const Section &section) {
    const std::string wanted = section.text("model");
    for (const Row &row : kModels) {
        if (wanted == row.name) {
            std::unique_ptr<Slave> slave = row.make(std::move(path), section);
            slave->set_model(row.name);
            return slave;
        }
    }
    std::set<std::string> names;
    for (const Row &row : kModels) {
        names.insert(row.name);
    }
    const std::string guess = nearest(wanted, names);
    section.fail_at("model", fmt::format("there is no model '{}'; {}", wanted,
                                         guess.empty() ? fmt::format("known are {}",
                                                                     dfd_tools::joined(names, ", "))
                                                       : fmt::format("did you mean '{}'?", guess)));
}

}  // namespace vchassis
