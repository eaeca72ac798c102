// SPDX-License-Identifier: MIT
// The EEPROM images that stand beside a board's configuration, for its virtual chassis.
#include <dfd/keys.h>
#include <dfd/records.h>
#include <toml++/toml.h>
#include <filesystem>
#include <fstream>
#include <optional>

#include "dfdctl/lint/survey.hpp"
#include "dfdctl/lint/together.hpp"
#include "hal/board_bus.h"
#include "hal/facts.h"

#include <fmt/format.h>

namespace dfdctl::lint {

namespace {

constexpr std::string_view kChassis = "/chassis.toml";
constexpr int kUncheckedVersion = 2;

/// An EEPROM of the virtual chassis and the file that it begins with.
struct Chip {
    std::string bus;
    std::int64_t addr;
    std::string image;
    int line;
};

/// Nothing where the file is missing or no TOML: that is for the virtual chassis to say.
std::optional<toml::table> read_toml(const std::string &path) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) {
        return std::nullopt;
    }
    try {
        return toml::parse_file(path);
    } catch (const toml::parse_error &) {
        return std::nullopt;
    }
}

std::vector<Chip> chips_of(const toml::table &chassis) {
    std::vector<Chip> chips;
    if (const toml::array *const slaves = chassis["i2c"].as_array()) {
        slaves->for_each([&](const toml::table &slave) {
            if (const auto image = slave["image"].value<std::string>()) {
                chips.push_back({fmt::format("{}{}", kI2cPrefix, slave["bus"].value_or(-1)),
                                 slave["addr"].value_or(std::int64_t{-1}), *image,
                                 static_cast<int>(slave.get("image")->source().begin.line)});
            }
        });
    }
    return chips;
}

/// Of the image as it is built, or of its description in a source tree.
bool is_unchecked_tlv(const std::string &image) {
    std::uint8_t head[2] = {};
    if (std::ifstream(image, std::ios::binary).read(reinterpret_cast<char *>(head), sizeof head)) {
        return head[0] == kUncheckedVersion && head[1] == dfd::tlv::kFlag;
    }
    const std::optional<toml::table> description = read_toml(image + ".toml");
    return description && (*description)["tlv"][0]["version"].value_or(0) == kUncheckedVersion;
}

/// A TLV image is looked for in an EEPROM of mode fru as well.
bool is_read_as_tlv(const Item &item) {
    const int mode = record_of<info_ctrl_t>(item)->mode;
    return mode == INFO_CTRL_MODE_TLV || mode == INFO_CTRL_MODE_FRU ||
           item.type->type == DFD_KEY_SSLOT_E2PROM;
}

/// The first item that is read from the chip.
std::optional<Item> item_on(const Check &check, const Chip &chip) {
    for (const Item &item : configured(check, Kind::info_ctrl)) {
        const auto &ctrl = *record_of<info_ctrl_t>(item);
        if (is_read_as_tlv(item) && ctrl.fpath == chip.bus && ctrl.addr == chip.addr) {
            return item;
        }
    }
    return std::nullopt;
}

}  // namespace

void check_images(Check &check) {
    const std::optional<toml::table> chassis = read_toml(check.root() + std::string(kChassis));
    if (!chassis) {
        return;
    }
    for (const Chip &chip : chips_of(*chassis)) {
        const std::optional<Item> item = item_on(check, chip);
        const bool is_of_board = chip.bus == dfd::kBoardBus && chip.addr == dfd::kBoardE2promAddr;
        if ((!item && !is_of_board) || !is_unchecked_tlv(check.root() + '/' + chip.image)) {
            continue;
        }
        const std::string text = fmt::format(
            "{} is a TLV image of version {}, which has no check: nobody notices when an update is "
            "cut in the middle; version 1 has a sum",
            chip.image, kUncheckedVersion);
        if (item) {
            check.at_item("image-unchecked", item->key(), text);
        } else {
            check.at_file("image-unchecked", kChassis, chip.line, text);
        }
    }
}

}  // namespace dfdctl::lint
