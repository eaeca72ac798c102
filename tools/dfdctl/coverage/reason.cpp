// SPDX-License-Identifier: MIT
#include "dfdctl/coverage/reason.hpp"

#include <dfd/records.h>
#include <dfd/types.h>
#include <string_view>

#include "dfdctl/board/describe.hpp"
#include "dfdctl/board/keys.hpp"

#include <fmt/format.h>

namespace dfdctl::coverage {

std::string code_word(int code) {
    switch (code) {
        case DFD_ERR_UNUSABLE:
            return "does not fit the operation";
        case DFD_ERR_NOT_SUPPORTED:
            return "not supported";
        case DFD_ERR_IO:
            return "reading or writing failed";
        case DFD_ERR_ARG:
        case DFD_ERR_PARAM:
            return "bad arguments";
        case DFD_ERR_MAC_FILE:
            return "bad temperature file";
        default:
            return "failed";
    }
}

std::string no_eeprom_reason(std::uint32_t key) {
    const auto *record = record_of<info_ctrl_t>(item_of_key(key));
    return fmt::format(".mode is {}, but the function reads no EEPROM for it",
                       record != nullptr ? mode_word(record->mode) : "?");
}

std::string function_reason(std::uint32_t key, int code) {
    return fmt::format("the function does not take it as it is described ({}): {}",
                       describe(item_of_key(key)), code_word(code));
}

}  // namespace dfdctl::coverage
