// SPDX-License-Identifier: MIT
// A decode in progress: what each layout adds to.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "common/text.hpp"
#include "eeprom/decode.hpp"

namespace eeprom {

using dfd_tools::hex_text;
using View = std::span<const std::uint8_t>;

struct Parts {
    View image;
    Decoded &out;
    std::string sections = {};  ///< of the description
    /// A part cannot be told in a section: the bytes are then described as they are.
    bool is_raw = false;

    void fault(std::size_t offset, std::string text) {
        out.faults.push_back({offset, std::move(text)});
    }
    /// A fault of the structure.
    void broken(std::size_t offset, std::string text) {
        fault(offset, std::move(text));
        is_raw = true;
    }
    void line(const std::string &text) { sections += text + "\n"; }
};

/// Layouts that an image may turn out to have where this one is expected.
std::vector<Layout> layouts_behind(Layout expected);

/// The bytes as text where all are printable ASCII.
std::optional<std::string> ascii_text(View bytes);
/// A text in a field of fixed size, the rest NUL; nothing where it is none.
std::optional<std::string> padded_text(View bytes);
/// A UTF-8 text as TOML writes it, in ASCII.
std::string toml_text(std::string_view text);

void decode_tlv(Parts &parts);
void decode_fru(Parts &parts);
void decode_fan_legacy(Parts &parts);
void decode_power_legacy(Parts &parts, const Hint &hint);
void decode_board_legacy(Parts &parts);
void decode_backplane(Parts &parts);

/// The whole description: the sections where they can be built, then what they do not tell.
std::string describe(const Parts &parts);

}  // namespace eeprom
