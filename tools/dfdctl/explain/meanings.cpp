// SPDX-License-Identifier: MIT
// What codes and values mean.
#include <dfd/types.h>
#include <algorithm>
#include <array>

#include "dfdctl/describe.hpp"
#include "dfdctl/explain/explain.hpp"
#include "dfdctl/explain/interpret.hpp"

#include <fmt/format.h>

namespace dfdctl::explain {

namespace {

struct CodeMeaning {
    int code;
    std::string_view text;
};
constexpr std::array kCodes = {
    CodeMeaning{DFD_ERR, "not found, cannot be opened or parsed, or not possible"},
    CodeMeaning{DFD_ERR_CONFLICT, "something else is already installed"},
    CodeMeaning{DFD_ERR_UNUSABLE, "the item is there but does not fit the operation"},
    CodeMeaning{DFD_ERR_NOT_SUPPORTED, "not configured: the board lacks the feature"},
    CodeMeaning{DFD_ERR_IO, "a hardware read or write failed"},
    CodeMeaning{DFD_ERR_ARG, "an argument, or a length that the function cannot use"},
    CodeMeaning{DFD_ERR_MAC_FILE, "the MAC temperature file cannot be read"},
    CodeMeaning{DFD_ERR_NO_MEMORY, "out of memory"},
    CodeMeaning{DFD_ERR_NO_BACKPLANE, "no backplane EEPROM is configured"},
    CodeMeaning{DFD_ERR_PARAM, "bad parameters of an EEPROM or master-board function"},
};

/// Names of the values of functions, without their prefix.
struct ValueNames {
    std::string_view function;
    std::array<std::string_view, 6> names;
};
constexpr std::array kValues = {
    ValueNames{"get_fan_status", {"absent", "ok", "failed", "line failed"}},
    ValueNames{"get_fan_attribute", {"other", "-F", "-R"}},
    ValueNames{"get_power_status",
               {"absent", "normal", "", "failed", "line failed", "failed, flagged"}},
    ValueNames{"get_power_present", {"absent", "present"}},
    ValueNames{"get_slot_online", {"absent", "present"}},
    ValueNames{"get_sslot_state", {"absent", "present"}},
    ValueNames{"get_chassis_mb_info",
               {"absent", "present", "master", "ready", "inconsistent lines"}},
    ValueNames{"get_peer_mb_state", {"absent", "present", "master", "ready", "inconsistent lines"}},
    ValueNames{"get_card_power_status", {"no card", "off for lack of power", "off", "on"}},
    ValueNames{"get_reset_button_type", {"none", "short press", "long press"}},
};

std::string text_or_bytes(const std::string &bytes) {
    const bool is_text =
        std::all_of(bytes.begin(), bytes.end(), [](char c) { return c >= ' ' && c <= '~'; });
    return is_text ? fmt::format("\"{}\"", bytes)
                   : bytes_text(std::span(reinterpret_cast<const std::uint8_t *>(bytes.data()),
                                          bytes.size()));
}

}  // namespace

std::string_view code_meaning(int code) {
    const auto *found = std::find_if(kCodes.begin(), kCodes.end(),
                                     [code](const CodeMeaning &row) { return row.code == code; });
    return found != kCodes.end() ? found->text : std::string_view();
}

std::string_view value_name(const observe::Call &call, int value) {
    const std::string_view bare = call.name.substr(call.name.find('_') + 1);
    const auto *found = std::find_if(kValues.begin(), kValues.end(),
                                     [&](const ValueNames &row) { return row.function == bare; });
    if (call.subsystem == observe::Subsystem::leds && call.does == observe::Does::get) {
        return led_state_name(static_cast<std::uint32_t>(value));
    }
    const auto at = static_cast<std::size_t>(value);
    return found != kValues.end() && at < found->names.size() ? found->names[at]
                                                              : std::string_view();
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
