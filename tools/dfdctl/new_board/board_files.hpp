// SPDX-License-Identifier: MIT
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace dfdctl::new_board {

/// What the skeleton of a board is to have.
struct Choice {
    std::string name;
    long type;
    long chassis;
    bool has_backplane;   ///< whose EEPROM tells the chassis type; else that is the board type
    bool has_product_id;  ///< which tells the board type; else the EEPROM of the board does
    long fans;
    long supplies;
    long slots;
    long ports;
    bool has_cards;  ///< in the slots beside that of the board
    bool has_peer;
    bool has_interrupts;
};

struct File {
    std::string path;  ///< below the directory of the board
    std::string content;
};

struct Template {
    std::string_view name;  ///< of the file in templates/
    std::string_view text;
};

/// All files of templates/.
std::span<const Template> templates();

/// The files of a board. Throws TemplateError.
std::vector<File> board_files(const Choice &choice);

/// Writes the files, and beside each image description the image, into the new directory
/// parent/name: all of them or none. Throws UsageError, std::runtime_error. Returns the paths below
/// it, sorted.
std::vector<std::string> write_board(const std::string &parent, const std::string &name,
                                     std::span<const File> files);

}  // namespace dfdctl::new_board
