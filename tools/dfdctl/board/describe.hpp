// SPDX-License-Identifier: MIT
// Configuration items in words and as JSON.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "dfdctl/board/keys.hpp"
#include "dfdctl/board/load_record.hpp"
#include "dfdctl/output.hpp"

struct info_ctrl;

namespace dfdctl {

/// What the configuration says of an item, in one line; empty when it is not configured.
std::string describe(const Item &item);
std::string describe(const struct info_ctrl &record);

/// Name of an LED state, "?" for a number that is none.
std::string_view led_state_name(std::uint32_t state);

/// Name of an interrupt type (enum irq_type), "unknown" for a number that is none.
std::string_view irq_type_word(std::uint32_t type);
/// Words of the enumerations; "?" for a number that is none.
std::string_view mode_word(int mode);
std::string_view source_word(int source);
std::string_view format_word(int format);
std::string_view polarity_word(int polarity);

/// "a hardware read or write failed" for a code of enum dfd_result; empty for other numbers.
std::string_view code_meaning(int code);

/// name, index1, index2 (null where the type takes none), type, kind, key.
Json item_json(const Item &item);
/// The members of an item's record; null when it is not configured.
Json record_json(const Item &item);
/// The lines that set the item: file, line; null when it is not configured.
Json origin_json(const Item &item, const LoadRecord &loaded);

}  // namespace dfdctl
