// SPDX-License-Identifier: MIT
// Other texts in an image: its description is changed and built again, so that all checks of a
// build count here as well.
#include <algorithm>
#include <cctype>
#include <charconv>

#include "common/nearest.hpp"
#include "eeprom/decode.hpp"
#include "eeprom/fru_shape.hpp"
#include "eeprom/image.hpp"
#include "eeprom/parts.hpp"
#include "eeprom/tlv_shape.hpp"

#include <fmt/format.h>

namespace eeprom {

namespace {

/// Names under which a field is known elsewhere.
struct Alias {
    Layout layout;
    std::string_view alias;
    std::string_view name;
};

constexpr Alias kAliases[] = {{Layout::fru, "hw_version", "product_version"},
                              {Layout::power_legacy, "product_name", "name"}};

std::string own_name(Layout layout, const std::string &name) {
    for (const Alias &row : kAliases) {
        if (row.layout == layout && row.alias == name) {
            return std::string(row.name);
        }
    }
    return name;
}

[[noreturn]] void refuse(const std::string &field, const std::string &reason) {
    throw Error(fmt::format("{}: {}", field, reason));
}

/// Of a field that is none, or that holds no text or number to give it.
[[noreturn]] void refuse_name(const std::string &field, const Decoded &decoded) {
    std::vector<std::string_view> names;
    for (const Field &each : decoded.fields) {
        if (each.can_set) {
            names.push_back(each.name);
        }
    }
    const bool is_there = decoded.field(field) != nullptr;
    refuse(field, fmt::format("{}{}; those of this image that can be set are {}",
                              is_there ? "this field cannot be set" : "no such field",
                              is_there ? "" : dfd_tools::did_you_mean(field, names),
                              dfd_tools::joined(names, ", ")));
}

void check_characters(const Edit &edit) {
    if (!std::ranges::all_of(edit.text, [](char c) { return c >= ' ' && c <= '~'; })) {
        refuse(edit.field, "a text has printable ASCII characters only");
    }
}

std::int64_t number_of(const Edit &edit) {
    const bool is_number =
        !edit.text.empty() && edit.text.size() < 10 &&
        std::ranges::all_of(edit.text, [](unsigned char c) { return std::isdigit(c) != 0; });
    if (!is_number) {
        refuse(edit.field, fmt::format("'{}' is no number", edit.text));
    }
    return std::stoll(edit.text);
}

toml::table &first_section(toml::table &root, Layout layout) {
    return *root[layout_name(layout)].as_array()->get(0)->as_table();
}

// ---- TLV ----------------------------------------------------------------------------------------

void set_entry(toml::table &entry, const Field &stored, const Edit &edit) {
    // One byte for the NUL, which only a text of the old length may do without.
    if (edit.text.size() >= stored.size && edit.text.size() != stored.text.size()) {
        refuse(edit.field,
               fmt::format("'{}' has {} characters, the entry has room for {}", edit.text,
                           edit.text.size(), stored.size == 0 ? 0 : stored.size - 1));
    }
    entry.erase("bytes");
    entry.insert_or_assign("text", edit.text);
    entry.insert_or_assign("size", static_cast<std::int64_t>(stored.size));
}

void edit_tlv(toml::table &section, const Decoded &decoded, const Edit &edit) {
    const Field *stored = decoded.field(edit.field);
    if (stored == nullptr || !stored->can_set) {
        refuse_name(edit.field, decoded);
    }
    toml::array *entries = section["entry"].as_array();
    bool is_entry = false;
    for (std::size_t i = 0; entries != nullptr && i < entries->size(); ++i) {
        toml::table &entry = *entries->get(i)->as_table();
        if (entry["type"].value_or(std::string()) != edit.field) {
            continue;
        }
        is_entry = true;
        if (entry.contains("number")) {
            entry.insert_or_assign("number", number_of(edit));
        } else {
            set_entry(entry, *stored, edit);
        }
    }
    if (!is_entry) {
        section.insert_or_assign("device_type", number_of(edit));
    }
}

// ---- FRU ----------------------------------------------------------------------------------------

/// From 1, as decode counts them; 0 for a field that has a name of its own.
std::size_t custom_number(std::string_view key) {
    constexpr std::string_view kCustom = "custom ";
    std::size_t number = 0;
    if (key.starts_with(kCustom)) {
        std::from_chars(key.data() + kCustom.size(), key.data() + key.size(), number);
    }
    return number;
}

/// "board.serial_number" is a key of [fru.board], one without a point of [[fru]].
struct FruKey {
    const fru::Area *shape;
    toml::table *table;
    std::string key;
};

std::optional<FruKey> find_key(toml::table &section, const std::string &field) {
    const std::size_t point = field.find('.');
    const std::string prefix = point == std::string::npos ? "" : field.substr(0, point);
    const std::string key = point == std::string::npos ? field : field.substr(point + 1);
    for (const fru::Area &shape : fru::kAreas) {
        toml::table *table = shape.key.empty() ? &section : section[shape.key].as_table();
        const bool is_known = std::ranges::find(shape.fields, key) != shape.fields.end();
        if (shape.key == prefix && table != nullptr && table->contains("area_size") &&
            (is_known || custom_number(key) != 0)) {
            return FruKey{&shape, table, key};
        }
    }
    return std::nullopt;
}

void edit_fru(toml::table &section, const Decoded &decoded, const Edit &edit) {
    const auto found = find_key(section, edit.field);
    const std::size_t custom = found ? custom_number(found->key) : 0;
    if (!found || (custom != 0 && decoded.field(edit.field) == nullptr)) {
        refuse_name(edit.field, decoded);
    }
    if (edit.text.size() == 1) {
        refuse(edit.field, "a FRU field of one character reads as the end of all fields");
    }
    if (custom != 0) {
        toml::array &fields = *(*found->table)["custom"].as_array();
        fields.replace(fields.cbegin() + static_cast<std::ptrdiff_t>(custom - 1), edit.text);
        return;
    }
    found->table->insert_or_assign(found->key, edit.text);
    const auto place = std::ranges::find(found->shape->fields, found->key);
    const auto count = static_cast<std::int64_t>(place - found->shape->fields.begin()) + 1;
    if ((*found->table)["field_count"].value_or(count) < count) {
        found->table->insert_or_assign("field_count", count);
    }
}

/// Areas may grow where the memory behind them is free.
void let_areas_grow(toml::table &section) {
    section.erase("area_size");
    for (const fru::Area &shape : fru::kAreas) {
        if (toml::table *table = section[shape.key].as_table(); table != nullptr) {
            table->erase("area_size");
        }
    }
}

// ---- Records ------------------------------------------------------------------------------------

void edit_record(toml::table &section, const Decoded &decoded, const Edit &edit) {
    const Field *stored = decoded.field(edit.field);
    if (stored == nullptr || !stored->can_set) {
        refuse_name(edit.field, decoded);
    }
    if (section.get(edit.field)->is_integer()) {
        section.insert_or_assign(edit.field, number_of(edit));
    } else {
        section.insert_or_assign(edit.field, edit.text);
    }
}

// ---- Names of fields ----------------------------------------------------------------------------

std::vector<std::string> fields_of_tlv() {
    std::vector<std::string> names;
    for (const tlv::EntryType &row : tlv::kEntryTypes) {
        names.emplace_back(row.name);
    }
    return names;
}

std::vector<std::string> fields_of_fru() {
    std::vector<std::string> names;
    for (const fru::Area &area : fru::kAreas) {
        for (std::size_t i = 0; i < area.fields.size(); ++i) {
            names.push_back(fru::field_name(area, i));
        }
    }
    return names;
}

/// The decoder knows them; those of a board depend on the first byte, 1 or 2.
std::vector<std::string> fields_of_record(Layout layout) {
    std::vector<std::string> names;
    for (const std::uint8_t kind : {std::uint8_t{1}, std::uint8_t{2}}) {
        const Hint hint{.layout = layout, .version_offset = 0};
        for (const Field &field : decode(Bytes(kEepromSize, kind), hint).fields) {
            if (field.can_set) {
                names.push_back(field.name);
            }
        }
    }
    return names;
}

std::vector<std::string> fields_of(Layout layout) {
    switch (layout) {
        case Layout::tlv:
            return fields_of_tlv();
        case Layout::fru:
            return fields_of_fru();
        default:
            return fields_of_record(layout);
    }
}

void apply(toml::table &root, const Decoded &decoded, const Edit &edit) {
    toml::table &section = first_section(root, decoded.layout);
    check_characters(edit);
    switch (decoded.layout) {
        case Layout::tlv:
            return edit_tlv(section, decoded, edit);
        case Layout::fru:
            return edit_fru(section, decoded, edit);
        default:
            return edit_record(section, decoded, edit);
    }
}

Bytes built(toml::table &root, const Decoded &decoded) {
    try {
        return build_table(root).bytes();
    } catch (const Error &) {
        if (decoded.layout != Layout::fru) {
            throw;
        }
    }
    let_areas_grow(first_section(root, decoded.layout));
    return build_table(root).bytes();
}

bool reads_as(const Decoded &decoded, const Edit &edit) {
    const Field *field = decoded.field(edit.field);
    return field != nullptr &&
           std::ranges::equal(field->text, edit.text, [](unsigned char a, unsigned char b) {
               return std::tolower(a) == std::tolower(b);  // digits of versions
           });
}

}  // namespace

std::vector<std::string> fields_to_set(Layout expected) {
    std::vector<std::string> names;
    for (const Layout layout : layouts_behind(expected)) {
        for (std::string &name : fields_of(layout)) {
            if (std::ranges::find(names, name) == names.end()) {
                names.push_back(std::move(name));
            }
        }
    }
    return names;
}

Bytes edited(const Bytes &image, const Decoded &decoded, const Hint &hint,
             const std::vector<Edit> &edits) {
    toml::table root = toml::parse(decoded.description);
    if (!root.contains(layout_name(decoded.layout))) {
        throw Error("the image is too damaged to change a field of it");
    }
    // Faults and odd padding, which building anew puts right.
    root.erase("overlay");
    std::vector<Edit> own;
    for (const Edit &edit : edits) {
        Edit next{own_name(decoded.layout, edit.field), edit.text};
        if (std::ranges::find(own, next.field, &Edit::field) != own.end()) {
            refuse(next.field, "given twice");
        }
        apply(root, decoded, next);
        own.push_back(std::move(next));
    }
    Bytes result;
    try {
        result = built(root, decoded);
    } catch (const Error &error) {
        throw Error(error.reason);
    }
    const Decoded check = decode(result, hint);
    const bool holds = result.size() == image.size() && check.faults.empty() &&
                       std::ranges::all_of(own, [&](const Edit &e) { return reads_as(check, e); });
    if (!holds) {
        throw Error("the image cannot be changed in this way");
    }
    return result;
}

}  // namespace eeprom
