// SPDX-License-Identifier: MIT
#include "dfdctl/complete/values.hpp"

#include <dfd/framework.h>
#include <dfd/records.h>
#include <algorithm>

#include "dfdctl/board/describe.hpp"
#include "dfdctl/board/facts.hpp"
#include "dfdctl/board/leds.hpp"
#include "dfdctl/board/offline.hpp"
#include "dfdctl/board/units.hpp"
#include "dfdctl/board/write_protection.hpp"
#include "dfdctl/coverage/require.hpp"
#include "dfdctl/eeprom/place.hpp"
#include "dfdctl/lint/lint.hpp"
#include "dfdctl/observe/calls.hpp"
#include "dfdctl/observe/units.hpp"
#include "dfdctl/pages/table_page.hpp"
#include "dfdctl/show/text.hpp"
#include "tools/eeprom/decode.hpp"

#include <fmt/format.h>

namespace dfdctl::complete {

namespace {

template <typename Names>
Candidates named(const Names &names, const std::string &text = {}) {
    Candidates found;
    for (const auto &name : names) {
        found.push_back({std::string(name), text});
    }
    return found;
}

Candidates numbered(const Numbers &numbers, const std::string &text) {
    Candidates found;
    for (const std::uint32_t number : numbers) {
        found.push_back({std::to_string(number), text});
    }
    return found;
}

/// An argument in front, or "" where there are less.
std::string before(const Expected &expected, std::size_t place) {
    return place < expected.before.size() ? expected.before[place] : std::string();
}

std::uint32_t number_before(const Expected &expected, std::size_t place) {
    std::uint32_t number = 0;
    parse_number(before(expected, place), number);
    return number;
}

// ---- Items and functions ------------------------------------------------------------------------

Candidates item_names(const Expected & /*expected*/, const LoadRecord &record) {
    Candidates found;
    for (const auto &[key, origins] : record.origins) {
        const Item item = item_of_key(key);
        found.push_back({item.name(), describe(item)});
    }
    return found;
}

/// Behind the bare name of a type.
Candidates item_indexes(const Expected &expected, const LoadRecord &record) {
    const KeyType *type = find_key_type(before(expected, 0));
    if (type == nullptr) {
        return {};
    }
    const bool is_second = expected.before.size() == 2;
    if ((is_second ? type->max2 : type->max1) < 0) {
        return {};
    }
    return numbered(is_second ? second_indexes(record, type->type, number_before(expected, 1))
                              : first_indexes(record, type->type),
                    std::string(type->name));
}

Candidates names_to_explain(const Expected &expected, const LoadRecord &record) {
    Candidates found = item_names(expected, record);
    for (const observe::Call &call : observe::calls()) {
        found.push_back({std::string(call.name), call.usage()});
    }
    return found;
}

Candidates arguments_to_explain(const Expected &expected, const LoadRecord &record) {
    const observe::Call *call = observe::find_call(before(expected, 0));
    if (call == nullptr) {
        return item_indexes(expected, record);
    }
    const auto inputs = call->inputs();
    const std::size_t place = expected.before.size() - 1;
    if (place >= inputs.size()) {
        return {};
    }
    observe::Args given;
    for (std::size_t i = 1; i < expected.before.size(); ++i) {
        given.numbers.push_back(number_before(expected, i));
    }
    Numbers numbers;
    for (const observe::Args &args : observe::Units(record).all_args(*call)) {
        if (place < args.numbers.size() &&
            std::equal(given.numbers.begin(), given.numbers.end(), args.numbers.begin())) {
            numbers.insert(args.numbers[place]);
        }
    }
    return numbered(numbers, std::string(observe::facts_of(inputs[place]->role).word));
}

Candidates item_types(const Expected & /*expected*/, const LoadRecord &record) {
    Candidates found;
    std::set<std::string_view> names;
    for (const auto &[key, origins] : record.origins) {
        const KeyType &type = *item_of_key(key).type;
        names.insert({type.name, kind_name(type.kind)});
    }
    return named(names);
}

Candidates item_answers(const Expected &expected, const LoadRecord &record) {
    Candidates found = item_names(expected, record);
    for (Candidate &each : found) {
        each.word += "=";
    }
    return found;
}

Candidates function_names(const Expected & /*expected*/, const LoadRecord & /*record*/) {
    return named(observe::call_names());
}

Candidates led_states() {
    Candidates found;
    for (std::uint32_t state = LED_STATE_DARK; state <= LED_STATE_FSPARK_CLOSE; ++state) {
        found.push_back({std::string(led_state_name(state)), "state of an LED"});
    }
    return found;
}

Candidates values_to_set(const Expected &expected, const LoadRecord & /*record*/) {
    const std::string name = before(expected, 0);
    const KeyType *type = find_key_type(name);
    if (type == nullptr && is_item_name(name)) {
        type = parse_item(name, {}).type;
    }
    return type != nullptr && facts_of(type->type).led_table != 0 ? led_states() : Candidates();
}

// ---- Units --------------------------------------------------------------------------------------

template <UnitKind Kind>
Candidates units(const Expected & /*expected*/, const LoadRecord &record) {
    return numbered(units_of(record, Kind), word_of(Kind));
}

Candidates rotors(const Expected &expected, const LoadRecord &record) {
    return numbered(rotors_of(record, number_before(expected, 0)), "rotor");
}

Candidates led_names(const Expected & /*expected*/, const LoadRecord &record) {
    Candidates found;
    for (const Led &led : leds()) {
        if (!items_of(record, led.control).empty()) {
            found.push_back({led.name, "LED"});
        }
    }
    return found;
}

Candidates states(const Expected & /*expected*/, const LoadRecord & /*record*/) {
    return led_states();
}

Candidates units_of_led(const Expected &expected, const LoadRecord &record) {
    const auto led = std::ranges::find(leds(), before(expected, 0), &Led::name);
    return led != leds().end() && led->has_units
               ? numbered(first_indexes(record, led->control), "unit")
               : Candidates();
}

/// What the first column of the tables of a page names.
Candidates units_of_page(const std::string &name, const LoadRecord &record) {
    const auto page = std::ranges::find(pages(), name, &Page::name);
    Candidates found;
    for (const Section &section :
         page != pages().end() ? page->sections : std::span<const Section>()) {
        for (const Place &place :
             section.rows != nullptr ? section.rows(record) : std::vector<Place>()) {
            Candidate unit{value_text(section.labels.front().label(place)), page->unit};
            if (std::ranges::find(found, unit.word, &Candidate::word) == found.end()) {
                found.push_back(std::move(unit));
            }
        }
    }
    return found;
}

Candidates units_to_show(const Expected &expected, const LoadRecord &record) {
    return units_of_page(expected.command.substr(expected.command.find(' ') + 1), record);
}

Candidates units_to_watch(const Expected &expected, const LoadRecord &record) {
    return units_of_page(before(expected, 0), record);
}

Candidates pages_to_watch(const Expected & /*expected*/, const LoadRecord & /*record*/) {
    Candidates found = named(page_names(), "page of show");
    found.push_back({"check", "what is wrong"});
    return found;
}

struct EepromUnit {
    const char *name;
    UnitKind kind;
};

constexpr EepromUnit kEepromUnits[] = {{"fan", UnitKind::tray},
                                       {"power", UnitKind::supply},
                                       {"subcard", UnitKind::sub_slot},
                                       {"backplane", UnitKind::backplane}};

Candidates eeproms(const Expected &expected, const LoadRecord &record) {
    const std::string last = expected.before.empty() ? "" : expected.before.back();
    const auto unit = std::ranges::find(kEepromUnits, last, &EepromUnit::name);
    if (unit != std::end(kEepromUnits)) {
        return numbered(units_of(record, unit->kind), word_of(unit->kind));
    }
    Candidates found{{"board", "EEPROM of the board"}};
    for (const EepromUnit &each : kEepromUnits) {
        found.push_back({each.name, "EEPROM of a unit, by its number"});
    }
    return found;
}

bool is_field(const std::string &word) {
    return word.find('=') != std::string::npos;
}

/// Fields of the unit that the words in front name, but those that have their text already.
Candidates eeprom_fields(const Expected &expected, const LoadRecord &record) {
    const PlaceOptions given{.bus = expected.option("--bus"),
                             .address = expected.option("--addr"),
                             .layout = expected.option("--layout")};
    std::vector<std::string> unit = expected.before;
    std::erase_if(unit, is_field);
    Candidates found;
    for (const std::string &name : fields_to_set(unit, given, record)) {
        const bool is_given = std::ranges::any_of(
            expected.before, [&](const std::string &word) { return word.starts_with(name + "="); });
        if (!is_given) {
            found.push_back({name + "=", "field"});
        }
    }
    return found;
}

/// An address may stand in place of the unit.
Candidates eeprom_units(const Expected &expected, const LoadRecord &record) {
    return expected.option("--bus").empty() ? eeproms(expected, record)
                                            : eeprom_fields(expected, record);
}

/// The number of the unit, or a field.
Candidates eeprom_number(const Expected &expected, const LoadRecord &record) {
    const bool is_number = std::ranges::any_of(kEepromUnits, [&](const EepromUnit &unit) {
        return expected.before.size() == 1 && unit.name == expected.before[0];
    });
    return is_number ? eeproms(expected, record) : eeprom_fields(expected, record);
}

// ---- Boards -------------------------------------------------------------------------------------

Candidates types(const std::vector<int> &numbers, const std::string &text) {
    Candidates found;
    for (const int number : numbers) {
        found.push_back({std::to_string(number), text});
    }
    return found;
}

Candidates known_board_types(const Expected &expected, const LoadRecord & /*record*/) {
    return types(board_types(expected.option("--root")), "board type");
}

Candidates known_chassis_types(const Expected &expected, const LoadRecord & /*record*/) {
    return types(chassis_types(expected.option("--root")), "chassis type");
}

// ---- Words of the tool --------------------------------------------------------------------------

Candidates rules(const Expected & /*expected*/, const LoadRecord & /*record*/) {
    Candidates found;
    for (const lint::Rule &rule : lint::rules()) {
        found.push_back({std::string(rule.id), std::string(rule.rationale)});
    }
    return found;
}

/// Behind "fans," one more.
Candidates groups(const Expected &expected, const LoadRecord & /*record*/) {
    const std::string front = expected.typed.substr(0, expected.typed.rfind(',') + 1);
    Candidates found;
    for (const observe::Subsystem group : coverage::groups()) {
        found.push_back({front + std::string(observe::subsystem_name(group)), "group"});
    }
    return found;
}

Candidates layouts(const Expected & /*expected*/, const LoadRecord & /*record*/) {
    return named(eeprom::layout_names());
}

Candidates irq_types(const Expected & /*expected*/, const LoadRecord & /*record*/) {
    Candidates found;
    for (const irq_type_name_t &row : g_irq_type_name) {
        found.push_back({row.name, "interrupt type"});
    }
    return found;
}

Candidates protection_targets(const Expected & /*expected*/, const LoadRecord & /*record*/) {
    Candidates found;
    for (const ProtectionGroup &group : protection_groups()) {
        found.push_back({std::string(group.name), "write protection"});
    }
    return found;
}

Candidates levels(const Expected & /*expected*/, const LoadRecord & /*record*/) {
    return {{"1", "errors, warnings, trace"},
            {"2", "nothing more"},
            {"3", "all"},
            {"4", "failures of the voltage lock"}};
}

Candidates type_sources(const Expected & /*expected*/, const LoadRecord & /*record*/) {
    return {{"product-id", "left by the boot loader"}, {"eeprom", "of the board"}};
}

Candidates anything(const Expected & /*expected*/, const LoadRecord & /*record*/) {
    return {};
}

constexpr bool kByBoard = true;
constexpr bool kByTool = false;

// The first row that fits counts; an empty command is any, an empty argument any that is no option.
constexpr Values kValues[] = {
    {"--type", "items", kByBoard, item_types},
    {"--answer", "", kByBoard, item_answers},
    {"--allow", "lint", kByTool, rules},
    {"--allow", "coverage", kByTool, function_names},
    {"--require", "coverage", kByTool, groups},
    {"--board", "", kByTool, known_board_types},
    {"--chassis", "explain", kByTool, known_chassis_types},
    {"--chassis", "coverage", kByTool, known_chassis_types},
    {"--own-slot", "coverage", kByBoard, units<UnitKind::slot>},
    {"--layout", "eeprom", kByTool, layouts},
    {"--type-from", "new-board", kByTool, type_sources},
    {"--debug", "", kByTool, levels},
    // Numbers, addresses and names that only the user knows.
    {"NAME", "new-board", kByTool, anything},
    {"LEVEL", "fan", kByTool, anything},
    {"N", "", kByTool, anything},
    {"SECONDS", "", kByTool, anything},
    {"ADDRESS", "", kByTool, anything},
    {"BYTES", "", kByTool, anything},
    {"BYTE", "", kByTool, anything},
    {"SN", "", kByTool, anything},
    // The others.
    {"NAME", "get", kByBoard, item_names},
    {"NAME", "set", kByBoard, item_names},
    {"INDEX", "", kByBoard, item_indexes},
    {"VALUE", "set", kByTool, values_to_set},
    {"NAME", "explain", kByBoard, names_to_explain},
    {"ARGUMENT", "explain", kByBoard, arguments_to_explain},
    {"", "show", kByBoard, units_to_show},
    {"PAGE", "watch", kByTool, pages_to_watch},
    {"UNIT", "watch", kByBoard, units_to_watch},
    {"FAN", "fan", kByBoard, units<UnitKind::tray>},
    {"ROTOR", "fan", kByBoard, rotors},
    {"LED", "led", kByBoard, led_names},
    {"STATE", "led", kByTool, states},
    {"UNIT", "led", kByBoard, units_of_led},
    {"SLOT", "slot", kByBoard, units<UnitKind::slot>},
    {"PORT", "sfp", kByBoard, units<UnitKind::port>},
    {"TYPE", "irq", kByTool, irq_types},
    {"TARGET", "write-protect", kByTool, protection_targets},
    {"IMAGE", "eeprom", kByBoard, eeproms},
    {"UNIT", "eeprom", kByTool, eeprom_units},
    {"FIELD=TEXT", "eeprom", kByBoard, eeprom_number},
};

bool fits(const Values &values, const std::string &argument, const std::string &command) {
    const bool is_any = *values.argument == '\0' && !argument.starts_with('-');
    return (is_any || values.argument == argument) &&
           (*values.command == '\0' || values.command == command);
}

}  // namespace

const Values *values_of(const std::string &argument, const std::string &command) {
    const std::string first = command.substr(0, command.find(' '));
    const auto row = std::ranges::find_if(
        kValues, [&](const Values &each) { return fits(each, argument, first); });
    return row != std::end(kValues) ? row : nullptr;
}

}  // namespace dfdctl::complete
