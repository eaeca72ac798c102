// SPDX-License-Identifier: MIT
// The facts of `show board`, one structure a section.
#pragma once

#include <dfd/records.h>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "dfdctl/board/bus_writes.hpp"
#include "dfdctl/board/inventory.hpp"
#include "dfdctl/board/start.hpp"

namespace dfdctl {

enum class TypeSource { product_id, eeprom_tlv, eeprom_legacy, backplane, board_type, none };

/// A type number and what it was concluded from.
struct TypeFound {
    int type;  ///< negative: not found
    TypeSource source;
    std::string how;
};

/// The bytes that tell its layout and, in the legacy layouts, the board type.
struct BoardHeader {
    std::uint8_t layout;
    std::uint8_t flag;
    std::uint8_t type_byte;
    std::uint8_t addend_byte;
    std::uint8_t sub_type_byte;

    bool is_tlv() const;
};

/// Nothing when the EEPROM does not answer.
std::optional<BoardHeader> read_board_header();

TypeFound find_board_type();
TypeFound find_chassis_type();

/// In the place of what a layout or a configuration does not have.
inline Reading no_information() {
    return {.status = Status::none};
}

/// A unit with an inventory EEPROM.
struct Unit {
    std::string name;  ///< board, fan, power, sub-card
    std::optional<std::uint32_t> index;
    int layout = INFO_CTRL_MODE_NONE;  ///< enum info_ctrl_mode; none: no EEPROM is described
    std::string device;
    std::uint16_t address = 0;
    Reading product = no_information();
    Reading serial = no_information();
    Reading version = no_information();
    Reading type = no_information();

    bool absent() const { return type.status == Status::absent; }
};

/// The board's own EEPROM, whatever it holds.
Unit find_board_unit();
/// The board's own EEPROM, then all fans, supplies and sub-cards that the configuration describes.
std::vector<Unit> find_units(const LoadRecord &record);

enum class BackplaneSource { record, items };

struct Backplane {
    std::uint32_t id;
    BackplaneSource source;
    std::string place;
    Reading type = no_information();
    Reading version = no_information();
    Reading serial = no_information();
    Reading mac = no_information();
    std::vector<Reading> serials = {};

    static constexpr std::uint32_t kSerials = 4;
    /// All that there is to know of it is the same: why nothing is.
    void fill(const Reading &reading);
};

std::vector<Backplane> find_backplanes();

struct Sample {
    Item item;
    Reading reading;
};

struct BoardPage {
    Library library;
    TypeFound board = {};
    TypeFound chassis = {};
    std::optional<int> slot = {};
    std::optional<int> sub_slot = {};
    std::vector<Unit> units = {};
    std::vector<Backplane> backplanes = {};
    std::vector<WrittenBus> buses = {};
    std::vector<Sample> samples = {};
    std::string other_library = {};  ///< installed, where it is another build
};

BoardPage read_board_page(const Options &options);
Json board_json(const BoardPage &page);
int exit_of_page(const BoardPage &page);
/// Says on standard error why the library did not start, where it did not.
void report_start(const BoardPage &page);

}  // namespace dfdctl
