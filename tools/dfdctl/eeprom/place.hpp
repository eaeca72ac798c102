// SPDX-License-Identifier: MIT
// Where an image lies: in a file, or in the EEPROM of a unit.
#pragma once

#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "dfdctl/board/load_record.hpp"
#include "dfdctl/command.hpp"
#include "eeprom/decode.hpp"

struct info_ctrl;

namespace dfdctl {

/// Why a command about an EEPROM ends, with the exit status of the program.
struct EepromFailure : std::runtime_error {
    EepromFailure(int exit_status, const std::string &reason)
        : std::runtime_error(reason), status(exit_status) {}
    int status;
};

struct ImagePlace {
    std::string name;  ///< "fan 2", "/dev/i2c-1 0x51", or the path of a file
    bool is_file = false;
    std::string device = {};
    std::uint16_t address = 0;
    std::size_t size = 256;
    eeprom::Hint hint = {};
    std::optional<int> protection = {};  ///< enum dfd_write_protect_target
    std::optional<Item> item = {};       ///< that describes it
    std::string backup_of = {};          ///< of a file that 'set' has written: the unit

    /// "fan 2 (/dev/i2c-1 0x51)", "/dev/i2c-1 0x51", "fan2.backup (backup of fan 2)".
    std::string text() const;
};

/// What the command line says of a place beside its words.
struct PlaceOptions {
    std::string bus = {};
    std::string address = {};
    std::string size = {};
    std::string layout = {};
    std::string name_offset = {};
    std::string version_offset = {};
};
void add_place_options(Command &command, PlaceOptions &options);

/// The places that words name, in their order: "fan 2", "board", "backplane 1", a path. The library
/// is started where a unit is named. Throws UsageError, which tells the units that there are.
std::vector<ImagePlace> places_of(std::span<const std::string> words, const PlaceOptions &given,
                                  const Options &options);
/// The same of exactly one.
ImagePlace place_of(std::span<const std::string> words, const PlaceOptions &given,
                    const Options &options);
/// Fields that can be set in the EEPROM that words and options name, by its configured layout;
/// the board is loaded, nothing is read. Throws UsageError.
std::vector<std::string> fields_to_set(std::span<const std::string> words,
                                       const PlaceOptions &given, const LoadRecord &loaded);
/// The EEPROM that an item of mode tlv, fru or legacy describes.
ImagePlace place_of_item(const Item &item, const struct info_ctrl &record);

/// All bytes, read with nothing but this address asked. Throws EepromFailure.
eeprom::Bytes read_image(const ImagePlace &place);

}  // namespace dfdctl
