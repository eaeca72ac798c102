// SPDX-License-Identifier: MIT
// From the bytes of a memory to what they say: fields, faults, and the description that builds the
// same bytes again. Nothing of an image is believed: each length is checked before it is used.
#pragma once

#include <optional>

#include "eeprom/build.hpp"

namespace eeprom {

enum class Layout { unknown, tlv, fru, fan_legacy, power_legacy, board_legacy, backplane };

/// As the sections of a description are called; "unknown" where there is none.
std::string_view layout_name(Layout layout);
/// Nothing for a word that names none.
std::optional<Layout> layout_named(std::string_view name);
/// Names of all layouts but unknown.
std::vector<std::string_view> layout_names();

/// What is known of an image beforehand.
struct Hint {
    Layout layout = Layout::unknown;  ///< unknown: found out, which works for TLV and FRU
    std::optional<std::size_t> name_offset = {};  ///< of the legacy layout of supplies
    std::optional<std::size_t> version_offset = {};
};

struct Fault {
    std::size_t offset;
    std::string text;
};

struct Field {
    std::string name;  ///< "serial_number", "board.serial_number", "entry 0x42"
    std::size_t offset;
    std::size_t size;
    std::string code;  ///< of a FRU field: binary, bcd_plus, six_bit, text; empty elsewhere
    std::string text;  ///< UTF-8; hexadecimal where it is no text
    bool is_text = true;
    bool can_set = true;  ///< by an Edit
};

struct Decoded {
    Layout layout = Layout::unknown;
    bool is_blank = false;  ///< erased, or all zero
    std::vector<Field> fields = {};
    std::vector<Fault> faults = {};
    /// build_text gives the image back, faults, unknown parts and padding included.
    std::string description = {};

    const Field *field(std::string_view name) const;
};

Decoded decode(const Bytes &image, const Hint &hint = {});

/// A field and the text that it is to have.
struct Edit {
    std::string field;
    std::string text;
};

/// Fields that an Edit may name where an image of this layout is expected. An image may have fewer,
/// as FRU areas may be missing, or more: custom fields.
std::vector<std::string> fields_to_set(Layout expected);

/// The image with other texts. Throws Error where a field is none of the image's or a text does not
/// fit, by its length, its characters or the room in the memory. Faults are left behind.
Bytes edited(const Bytes &image, const Decoded &decoded, const Hint &hint,
             const std::vector<Edit> &edits);

/// Bytes side by side that differ.
struct Difference {
    std::size_t offset;
    Bytes before;
    Bytes after;
};
/// Runs of bytes that differ; images of different sizes differ in what one has more.
std::vector<Difference> differences(const Bytes &before, const Bytes &after);

}  // namespace eeprom
