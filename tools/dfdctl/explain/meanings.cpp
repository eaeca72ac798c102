// SPDX-License-Identifier: MIT
// What values mean.
#include <dfd/fan.h>
#include <dfd/power.h>
#include <dfd/types.h>
#include <algorithm>
#include <array>

#include "dfdctl/board/describe.hpp"
#include "dfdctl/board/value_words.hpp"
#include "dfdctl/explain/explain.hpp"
#include "dfdctl/explain/interpret.hpp"

#include <fmt/format.h>

namespace dfdctl::explain {

namespace {

constexpr const char *kButtons[] = {"none", "short press", "long press"};
constexpr const char *kConfigured[] = {"not configured", "configured"};
constexpr const char *kConflict[] = {"no conflict", "conflict"};
constexpr const char *kSupported[] = {"not supported", "supported"};

/// Names of the values of functions, without their prefix.
struct ValueNames {
    std::string_view function;
    std::span<const char *const> names;
};
constexpr ValueNames kValues[] = {
    {"get_fan_status", kTrayStates},
    {"get_fan_attribute", kAirflows},
    {"get_power_status", kSupplyStates},
    {"get_power_present", kAbsentPresent},
    {"get_slot_online", kAbsentPresent},
    {"get_sslot_state", kAbsentPresent},
    {"get_chassis_mb_info", kMasterStates},
    {"get_peer_mb_state", kMasterStates},
    {"get_card_power_status", kCardPowerStates},
    {"get_reset_button_type", kButtons},
    {"check_temp_valid", kConfigured},
    {"check_mycard_is_conflict", kConflict},
    {"is_support_mac_temp", kSupported},
    {"port_get_sfp_present", kAbsentPresent},
};

/// Values that stand for something else.
struct SpecialValue {
    std::string_view function;
    int value;
    std::string_view name;
    bool is_failure;
};
constexpr std::array kSpecialValues = {
    SpecialValue{"get_fan_temp", FAN_TEMP_UNREADABLE, "the reading failed", true},
    SpecialValue{"get_power_type", DFD_POWER_TYPE_UNKNOWN, kUnknownSupply, false},
};

std::string_view bare_name(const observe::Call &call) {
    return call.name.substr(call.name.find('_') + 1);
}

const SpecialValue *special_value(const observe::Call &call, std::int64_t value) {
    const auto *found = std::ranges::find_if(kSpecialValues, [&](const SpecialValue &row) {
        return row.function == bare_name(call) && row.value == value;
    });
    return found != kSpecialValues.end() ? found : nullptr;
}

std::string text_or_bytes(const std::string &bytes) {
    const bool is_text =
        std::all_of(bytes.begin(), bytes.end(), [](char c) { return c >= ' ' && c <= '~'; });
    return is_text ? fmt::format("\"{}\"", bytes)
                   : bytes_text(std::span(reinterpret_cast<const std::uint8_t *>(bytes.data()),
                                          bytes.size()));
}

}  // namespace

std::string_view value_name(const observe::Call &call, int value) {
    if (const SpecialValue *special = special_value(call, value)) {
        return special->name;
    }
    const std::string_view bare = bare_name(call);
    const auto *found = std::ranges::find(kValues, bare, &ValueNames::function);
    if (call.subsystem == observe::Subsystem::leds && call.does == observe::Does::get) {
        return led_state_name(static_cast<std::uint32_t>(value));
    }
    const auto at = static_cast<std::size_t>(value);
    return found != std::end(kValues) && at < found->names.size() ? found->names[at]
                                                                  : std::string_view();
}

bool tells_failure(const Explanation &explanation) {
    const observe::Observation &seen = explanation.seen;
    const std::int64_t value = seen.outputs.empty() ? seen.result : seen.outputs.front().number;
    const SpecialValue *special = special_value(*explanation.call, value);
    return special != nullptr && special->is_failure;
}

std::string value_text(const Explanation &explanation) {
    if (explanation.failed()) {
        return {};
    }
    const auto number_text = [&](std::int64_t number, std::string_view unit) {
        const std::string_view name = value_name(*explanation.call, static_cast<int>(number));
        return fmt::format("{}{}{}{}", number, unit.empty() ? "" : " ", unit,
                           name.empty() ? "" : fmt::format(" ({})", name));
    };
    std::string text;
    for (const observe::Output &output : explanation.seen.outputs) {
        const bool is_number = output.param->role == observe::Role::out;
        if (!is_number && explanation.reading == Reading::assumed) {
            continue;  // made up
        }
        text += text.empty() ? "" : ", ";
        text += is_number ? number_text(output.number, output.param->unit)
                          : text_or_bytes(output.bytes);
    }
    if (text.empty() && explanation.call->returns_value) {
        text = number_text(explanation.seen.result, explanation.call->unit);
    }
    return text;
}

}  // namespace dfdctl::explain
