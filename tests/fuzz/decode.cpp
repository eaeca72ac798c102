// SPDX-License-Identifier: MIT
// `dfdctl eeprom decode`: every byte comes back from the description, and an edit changes its field
// only.
#include "eeprom/decode.hpp"

#include "fuzz/targets.h"

namespace dfd_fuzz {

namespace {

eeprom::Hint hint_of(Parameters &parameters) {
    const auto names = eeprom::layout_names();
    const std::size_t layout = parameters.byte() % (names.size() + 1);
    eeprom::Hint hint;
    hint.name_offset = parameters.byte();
    hint.version_offset = parameters.byte();
    if (layout < names.size()) {
        hint.layout = *eeprom::layout_named(names[layout]);
    }
    return hint;
}

void check_places(const eeprom::Decoded &decoded, std::size_t size) {
    for (const eeprom::Field &field : decoded.fields) {
        demand(field.offset <= size && field.size <= size - field.offset,
               "a field lies outside: " + field.name);
    }
    for (const eeprom::Fault &fault : decoded.faults) {
        demand(fault.offset <= size && !fault.text.empty(), "a fault lies outside");
    }
}

// Of a sound image, and a text that the field takes.
void check_edit(const eeprom::Bytes &image, const eeprom::Hint &hint, const eeprom::Decoded &before,
                const eeprom::Field &field, const std::string &text) {
    eeprom::Bytes changed;
    try {
        changed = eeprom::edited(image, before, hint, {{field.name, text}});
    } catch (const eeprom::Error &) {
        return;
    }
    const eeprom::Decoded after = eeprom::decode(changed, hint);
    demand(after.faults.empty(), "an edit leaves a fault: " + field.name);
    demand(after.layout == before.layout && after.fields.size() == before.fields.size(),
           "an edit changes the layout: " + field.name);
    for (std::size_t i = 0; i < before.fields.size(); ++i) {
        const bool is_edited = before.fields[i].name == field.name;
        // Only the fields of a FRU area may grow, into the rest of the area and of the memory.
        const bool has_place = before.layout == eeprom::Layout::fru ||
                               (after.fields[i].offset == before.fields[i].offset &&
                                after.fields[i].size == before.fields[i].size);
        demand(after.fields[i].name == before.fields[i].name && has_place, "an edit moves fields");
        demand(is_edited || after.fields[i].text == before.fields[i].text,
               "an edit of " + field.name + " changes " + before.fields[i].name);
    }
}

}  // namespace

// Parameters: layout that is known beforehand; places of a supply's name and version; field and
// text of an edit; image.
void decode(Input input) {
    Parameters parameters(input);
    const eeprom::Hint hint = hint_of(parameters);
    const std::size_t edited = parameters.byte();
    const std::string text = parameters.text();
    const Input rest = parameters.rest();
    const eeprom::Bytes image(rest.begin(), rest.end());
    const eeprom::Decoded decoded = eeprom::decode(image, hint);
    check_places(decoded, image.size());
    if (!image.empty()) {
        demand(eeprom::build_text(decoded.description) == image,
               "the description builds another image");
    }
    if (decoded.faults.empty() && !decoded.fields.empty()) {
        check_edit(image, hint, decoded, decoded.fields[edited % decoded.fields.size()], text);
    }
}

}  // namespace dfd_fuzz
