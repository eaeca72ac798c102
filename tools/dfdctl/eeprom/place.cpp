// SPDX-License-Identifier: MIT
#include "dfdctl/eeprom/place.hpp"

#include <dfd/inventory.h>
#include <dfd/records.h>
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "common/nearest.hpp"
#include "common/text.hpp"
#include "dfdctl/board/inventory.hpp"
#include "dfdctl/board/item_value.hpp"
#include "dfdctl/board/start.hpp"
#include "dfdctl/board/units.hpp"
#include "dfdctl/eeprom/backup.hpp"
#include "dfdctl/eeprom/chip.hpp"
#include "hal/board_bus.h"
#include "hal/facts.h"

#include <fmt/format.h>

namespace dfdctl {

namespace {

using eeprom::Layout;

constexpr std::uint32_t kMostBytes = 65536;
constexpr std::uint32_t kLastAddress = 0x7F;
constexpr std::uint32_t kLastBus = 255;

/// A kind of unit, and the items that describe its EEPROM.
struct UnitRow {
    std::string_view name;
    std::array<std::uint32_t, 3> types;
    std::optional<int> protection;
};

constexpr std::array kUnits = {
    UnitRow{"board", {}, DFD_WP_BOARD},
    UnitRow{"fan", {DFD_KEY_FAN_TYPE, DFD_KEY_FAN_SN, DFD_KEY_FAN_HW_VER}, DFD_WP_FANS},
    UnitRow{"power", {DFD_KEY_POWER_TYPE, DFD_KEY_POWER_HW_VER, DFD_KEY_POWER_SN}, {}},
    UnitRow{"subcard", {DFD_KEY_SSLOT_E2PROM}, DFD_WP_SUBCARDS},
    UnitRow{"backplane", {DFD_KEY_BP_E2PROM_DEV}, DFD_WP_BACKPLANE},
};

std::uint32_t number_of(const std::string &text, const char *what, std::uint32_t last) {
    std::uint32_t number = 0;
    if (!parse_number(text, number) || number > last) {
        throw UsageError(fmt::format("{} '{}' is no number from 0 to {}", what, text, last));
    }
    return number;
}

/// The item's record where it describes an EEPROM, else null.
const info_ctrl_t *e2prom_record(const Item &item) {
    const auto *record =
        item.type->kind == Kind::info_ctrl ? record_of<info_ctrl_t>(item) : nullptr;
    return record != nullptr && dfd::is_e2prom_mode(record->mode) ? record : nullptr;
}

bool describes(const Item &item) {
    return e2prom_record(item) != nullptr ||
           (item.type->kind == Kind::i2c_dev && record_of<i2c_dev_t>(item) != nullptr);
}

Layout layout_of(const Eeprom &chip) {
    switch (chip.mode) {
        case INFO_CTRL_MODE_TLV:
            return Layout::tlv;
        case INFO_CTRL_MODE_FRU:
            return Layout::fru;
        default:
            return chip.legacy == Legacy::power ? Layout::power_legacy : Layout::fan_legacy;
    }
}

/// Each field of the legacy layout of supplies stands where an item of its own says.
void find_offsets(ImagePlace &place, const UnitRow &row, std::uint32_t index) {
    for (const std::uint32_t type : row.types) {
        const Item item = item_of(type, index);
        const auto *record = e2prom_record(item);
        if (record == nullptr || record->mode != INFO_CTRL_MODE_LEGACY ||
            place.device != record->fpath || place.address != record->addr) {
            continue;
        }
        const auto offset = static_cast<std::size_t>(record->reg_offset);
        const bool is_version = facts_of(type).info == E2PROM_INFO_HW_VER;
        (is_version ? place.hint.version_offset : place.hint.name_offset) = offset;
    }
}

const UnitRow &row_of(std::uint32_t type) {
    return *std::ranges::find_if(kUnits, [type](const UnitRow &row) {
        return std::ranges::find(row.types, type) != row.types.end();
    });
}

ImagePlace board_place() {
    return {.name = "board",
            .device = dfd::kBoardBus,
            .address = dfd::kBoardE2promAddr,
            .hint = {.layout = Layout::board_legacy},  // unless a TLV image stands there
            .protection = DFD_WP_BOARD};
}

ImagePlace backplane_place(const Item &item) {
    const auto &record = *record_of<i2c_dev_t>(item);
    return {.name = fmt::format("backplane {}", item.index1),
            .device = dfd::BusPath(static_cast<std::uint32_t>(record.bus)).text,
            .address = static_cast<std::uint16_t>(record.addr),
            .hint = {.layout = Layout::backplane},
            .protection = DFD_WP_BACKPLANE,
            .item = item};
}

std::string units_text(const UnitRow &row, const LoadRecord &loaded) {
    Numbers found;
    for (const std::uint32_t type : row.types) {
        for (const Item &item : type != 0 ? items_of(loaded, type) : std::vector<Item>()) {
            if (describes(item)) {
                found.insert(item.index1);
            }
        }
    }
    return found.empty() ? fmt::format("no {} has an EEPROM on this board", row.name)
                         : fmt::format("those with an EEPROM are {} {}", row.name,
                                       dfd_tools::joined(found, ", "));
}

ImagePlace numbered_place(const UnitRow &row, const std::string &number, const LoadRecord &loaded) {
    std::uint32_t index = 0;
    const bool is_number = parse_number(number, index);
    for (const std::uint32_t type : row.types) {
        if (type == 0 || !is_number ||
            index > static_cast<std::uint32_t>(item_of(type).type->max1)) {
            continue;
        }
        const Item item = item_of(type, index);
        if (const auto *record = e2prom_record(item)) {
            return place_of_item(item, *record);
        }
        if (describes(item)) {
            return backplane_place(item);
        }
    }
    throw UsageError(
        fmt::format("there is no {} {}; {}", row.name, number, units_text(row, loaded)));
}

bool is_board(const UnitRow &row) {
    return row.name == kUnits.front().name;
}

/// The unit that the words begin with.
ImagePlace unit_place(const UnitRow &row, std::span<const std::string> words,
                      const LoadRecord &loaded) {
    if (is_board(row)) {
        return board_place();
    }
    if (words.size() == 1) {
        throw UsageError(
            fmt::format("{}: a number is missing; {}", row.name, units_text(row, loaded)));
    }
    return numbered_place(row, words[1], loaded);
}

ImagePlace bus_place(const PlaceOptions &given) {
    if (given.bus.empty() || given.address.empty()) {
        throw UsageError("--bus and --addr stand together");
    }
    const std::uint32_t bus = number_of(given.bus, "bus", kLastBus);
    const std::uint32_t address = number_of(given.address, "address", kLastAddress);
    ImagePlace place{.name = {}, .device = dfd::BusPath(bus).text};
    place.address = static_cast<std::uint16_t>(address);
    place.name = fmt::format("{} 0x{:02x}", place.device, address);
    return place;
}

void apply(const PlaceOptions &given, ImagePlace &place) {
    if (!given.size.empty()) {
        place.size = number_of(given.size, "size", kMostBytes);
        if (place.size == 0) {
            throw UsageError("size 0: no EEPROM is so small");
        }
    }
    if (!given.layout.empty()) {
        const auto layout = eeprom::layout_named(given.layout);
        if (!layout) {
            const auto names = eeprom::layout_names();
            throw UsageError(fmt::format("unknown layout '{}'{}; known are: {}", given.layout,
                                         dfd_tools::did_you_mean(given.layout, names),
                                         dfd_tools::joined(names, ", ")));
        }
        place.hint.layout = *layout;
    }
    if (!given.name_offset.empty()) {
        place.hint.name_offset = number_of(given.name_offset, "offset", kMostBytes);
    }
    if (!given.version_offset.empty()) {
        place.hint.version_offset = number_of(given.version_offset, "offset", kMostBytes);
    }
}

ImagePlace file_place(const std::string &path) {
    ImagePlace place{.name = path, .is_file = true};
    if (is_backup(path)) {
        const Backup backup = load_backup(path);
        place.hint = backup.place.hint;
        place.backup_of = backup.place.name;
    }
    return place;
}

eeprom::Bytes read_file(const std::string &path) {
    std::error_code ignored;
    if (std::filesystem::is_directory(path, ignored)) {
        throw EepromFailure(
            kExitUsage,
            fmt::format("{}: it is a directory; the file of an image is expected", path));
    }
    if (const std::string refusal = refusal_of(path); !refusal.empty()) {
        throw EepromFailure(kExitUsage, fmt::format("{}: {}", path, refusal));
    }
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw EepromFailure(kExitUsage, fmt::format("{}: {}", path, std::strerror(errno)));
    }
    eeprom::Bytes bytes{std::istreambuf_iterator<char>(file), {}};
    if (bytes.size() > kMostBytes) {
        throw EepromFailure(kExitUsage,
                            fmt::format("{}: no EEPROM is larger than {} bytes", path, kMostBytes));
    }
    return bytes;
}

}  // namespace

std::string ImagePlace::text() const {
    if (is_file) {
        return backup_of.empty() ? name : fmt::format("{} (backup of {})", name, backup_of);
    }
    const std::string where = fmt::format("{} 0x{:02x}", device, address);
    return name == where ? name : fmt::format("{} ({})", name, where);
}

void add_place_options(Command &command, PlaceOptions &options) {
    command.option("--bus", options.bus, "In place of a unit: N of /dev/i2c-N", "N");
    command.option("--addr", options.address, "and the address of the EEPROM on it", "ADDRESS");
    command.option("--size", options.size, "Bytes of the EEPROM (default 256)", "BYTES");
    command.option("--layout", options.layout,
                   "tlv, fru, fan_legacy, power_legacy, board_legacy or backplane; TLV and FRU "
                   "images are found out",
                   "LAYOUT");
    command.option("--name-offset", options.name_offset, "Of the name in power_legacy", "BYTE");
    command.option("--version-offset", options.version_offset, "Of the version in power_legacy",
                   "BYTE");
}

std::vector<ImagePlace> places_of(std::span<const std::string> words, const PlaceOptions &given,
                                  const Options &options) {
    std::vector<ImagePlace> places;
    if (!given.bus.empty() || !given.address.empty()) {
        places.push_back(bus_place(given));
    }
    std::optional<Library> library;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const auto *row = std::ranges::find(kUnits, words[i], &UnitRow::name);
        if (row == kUnits.end()) {
            places.push_back(file_place(words[i]));
            continue;
        }
        if (!library) {
            library = require_library(options);
        }
        places.push_back(unit_place(*row, words.subspan(i), library->loaded));
        i += is_board(*row) ? 0 : 1;
    }
    for (ImagePlace &place : places) {
        apply(given, place);
    }
    return places;
}

ImagePlace place_of(std::span<const std::string> words, const PlaceOptions &given,
                    const Options &options) {
    std::vector<ImagePlace> places = places_of(words, given, options);
    if (places.size() != 1) {
        throw UsageError(
            places.empty()
                ? "what? A file, board, fan N, power N, subcard N, backplane N, or --bus "
                  "N --addr A"
                : fmt::format("one image at a time, not {} and {}", places[0].name,
                              places[1].name));
    }
    return places.front();
}

std::vector<std::string> fields_to_set(std::span<const std::string> words,
                                       const PlaceOptions &given, const LoadRecord &loaded) {
    const bool is_address = !given.bus.empty() || !given.address.empty();
    const auto *row = is_address || words.empty()
                          ? kUnits.end()
                          : std::ranges::find(kUnits, words.front(), &UnitRow::name);
    if (!is_address && row == kUnits.end()) {
        throw UsageError("no unit is named");
    }
    ImagePlace place = is_address ? bus_place(given) : unit_place(*row, words, loaded);
    apply(given, place);
    return eeprom::fields_to_set(place.hint.layout);
}

ImagePlace place_of_item(const Item &item, const info_ctrl_t &record) {
    const UnitRow &row = row_of(item.type->type);
    const Eeprom chip = eeprom_of(item, record);
    ImagePlace place{.name = fmt::format("{} {}", row.name, item.index1),
                     .device = chip.device,
                     .address = chip.address,
                     .hint = {.layout = layout_of(chip)},
                     .protection = row.protection,
                     .item = item};
    find_offsets(place, row, item.index1);
    return place;
}

eeprom::Bytes read_image(const ImagePlace &place) {
    if (place.is_file) {
        return place.backup_of.empty() ? read_file(place.name) : load_backup(place.name).before;
    }
    const Chip chip(place);
    try {
        return chip.read();
    } catch (const EepromFailure &) {
        // Asked only now, for the reason: an EEPROM may answer where its unit is said to be absent.
        if (place.item && read_item(*place.item).status == Status::absent) {
            throw EepromFailure(kExitReadingFailed,
                                fmt::format("{}: the unit is not plugged", place.name));
        }
        throw;
    }
}

}  // namespace dfdctl
