// SPDX-License-Identifier: MIT
// Power supplies, and what tells whether a unit is plugged.
#include <dfd/keys.h>
#include <dfd/records.h>
#include <set>
#include <utility>

#include "dfdctl/board/facts.hpp"
#include "dfdctl/lint/survey.hpp"
#include "dfdctl/lint/together.hpp"

#include <fmt/format.h>

namespace dfdctl::lint {

namespace {

/// The status of a supply is made of its presence and its failures.
bool is_composed(const Item &item) {
    return item.type->type == DFD_KEY_POWER_STATE &&
           record_of<info_ctrl_t>(item)->mode == INFO_CTRL_MODE_FUNC;
}

/// Trays and supplies of which something is known, but not whether they are there; once a unit.
void check_presence(Check &check) {
    std::set<std::pair<std::uint32_t, std::uint32_t>> said;
    for (const Item &item : configured(check, Kind::info_ctrl)) {
        const std::uint32_t presence = presence_type_of(item.type->type);
        if (is_composed(item)) {
            continue;
        }
        if (presence == 0 || has(presence, item.index1) ||
            !said.emplace(presence, item.index1).second) {
            continue;
        }
        check.at_item("unit-without-presence", item.key(),
                      fmt::format("{}, but no {}: whether the unit is plugged cannot be told (-6)",
                                  as_written(item), as_written(item_of(presence, item.index1))));
    }
}

void check_composed_state(Check &check) {
    for (const Item &item : configured(check, DFD_KEY_POWER_STATE)) {
        if (is_composed(item) && !has(DFD_KEY_POWER_PRESENT, item.index1)) {
            check.at_member("power-composed", item.key(), kMode,
                            fmt::format("{}: func composes the status from {}, which is not there: "
                                        "the status is not supported (-6)",
                                        as_written(item),
                                        as_written(item_of(DFD_KEY_POWER_PRESENT, item.index1))));
        }
    }
}

/// The register value of a card's power is looked up; a plain number format hands it on as it is.
void check_rated_power(Check &check) {
    for (const Item &item : configured(check, DFD_KEY_CARD_RATE_POWER)) {
        const auto &ctrl = *record_of<info_ctrl_t>(item);
        const bool is_looked_up = is_hardware_mode(ctrl.mode) &&
                                  (ctrl.frmt == INFO_FRMT_NUM_BUF || ctrl.frmt == INFO_FRMT_BIT);
        if (is_looked_up && !has_any(check, DFD_KEY_POWER_REGVAL_CONVERT)) {
            check.at_item(
                "rated-power-without-values", item.key(),
                fmt::format("{} reads a power class, but no power_regval_convert says how "
                            "many watts it stands for: the rated power fails (-6)",
                            as_written(item)));
            return;
        }
    }
}

}  // namespace

void check_power(Check &check) {
    check_presence(check);
    check_composed_state(check);
    check_rated_power(check);
}

}  // namespace dfdctl::lint
