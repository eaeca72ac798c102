// SPDX-License-Identifier: MIT
// Items that belong together: pairs, one of which does nothing without the other.
#include "dfdctl/lint/together.hpp"

#include <dfd/keys.h>
#include <array>
#include <span>

#include "dfdctl/lint/survey.hpp"

#include <fmt/format.h>

namespace dfdctl::lint {

namespace {

/// Which item is needed beside one of index1 and index2.
enum class Where {
    same,   ///< the one of the same indexes
    first,  ///< the one of the same index1
    only,   ///< the only one of its type; said once
    any     ///< any of its type; said once
};

struct Need {
    std::string_view rule;
    std::uint32_t type;
    Where where;
    std::uint32_t needed;
    std::string_view consequence;
};

constexpr std::array kNeeds = {
    Need{"sensor-without-control", DFD_KEY_CARD_TEMP_INFO, Where::same, DFD_KEY_CARD_TEMP_CTRL,
         "the sensor has a name, but its temperature cannot be read (-6)"},
    Need{"sensor-without-info", DFD_KEY_CARD_TEMP_CTRL, Where::same, DFD_KEY_CARD_TEMP_INFO,
         "name and kind of the sensor stand there; without them it is not supported (-6)"},
    Need{"voltage-half", DFD_KEY_CARD_VOL_LOW, Where::same, DFD_KEY_CARD_VOL_HIGH,
         "the channel cannot be read (-6), and the lock of the ADC stays taken"},
    Need{"voltage-half", DFD_KEY_CARD_VOL_HIGH, Where::same, DFD_KEY_CARD_VOL_LOW,
         "the channel cannot be read (-6), and the lock of the ADC stays taken"},
    Need{"voltage-without-level", DFD_KEY_CARD_VOL_WATERLINE, Where::same, DFD_KEY_CARD_VOL_LOW,
         "there is a warning level, but nothing to compare with it"},
    Need{"voltage-without-number", DFD_KEY_CARD_VOL_LOW, Where::only, DFD_KEY_CARD_VOL_NUM,
         "the card has no channels, no voltage is supported (-6)"},
    Need{"voltage-without-lock", DFD_KEY_CARD_VOL_LOW, Where::only, DFD_KEY_CARD_VOL_LOCK,
         "the bytes of a channel may be of two conversions, unless the ADC holds them by itself"},
    Need{"power-without-state", DFD_KEY_POWER_PRESENT, Where::same, DFD_KEY_POWER_STATE,
         "the status of the supply is not supported (-6)"},
    Need{"power-half", DFD_KEY_POWER_OUT_CURRENT, Where::same, DFD_KEY_POWER_OUT_VOLTAGE,
         "output power is current times voltage, and cannot be told (-1)"},
    Need{"power-half", DFD_KEY_POWER_OUT_VOLTAGE, Where::same, DFD_KEY_POWER_OUT_CURRENT,
         "output power is current times voltage, and cannot be told (-1)"},
    Need{"name-without-attribute", DFD_KEY_FAN_NAME, Where::first, DFD_KEY_FAN_ATTR_TYPE,
         "the airflow of trays of this type is not supported (-6)"},
    Need{"attribute-without-name", DFD_KEY_POWER_ATTR_TYPE, Where::first, DFD_KEY_POWER_NAME,
         "the type of a supply is found by its name only: none ever has this type"},
    Need{"attribute-without-name", DFD_KEY_POWER_DC_AC, Where::first, DFD_KEY_POWER_NAME,
         "the type of a supply is found by its name only: none ever has this type"},
    Need{"types-without-names", DFD_KEY_POWER_TYPE, Where::any, DFD_KEY_POWER_NAME,
         "every supply is of the unknown type (65534)"},
    Need{"levels-without-values", DFD_KEY_FAN_SPEED_LEVEL_SUPPORT, Where::any,
         DFD_KEY_FAN_SPEEDLVL_CONVERT,
         "speed levels are looked up there; without them no level can be read (-6)"},
    Need{"levels-one-way", DFD_KEY_FAN_SPEEDLVL_CONVERT, Where::only,
         DFD_KEY_FAN_SPEED_LEVEL_SUPPORT,
         "a level is converted when it is set, but read back as the value of the register"},
    Need{"speed-one-way", DFD_KEY_FAN_CFG_SPEED, Where::same, DFD_KEY_GET_FAN_CFG_SPEED,
         "the speed level can be set, but not read back (-6)"},
    Need{"floor-without-speed", DFD_KEY_FAN_SPEED_FLOOR, Where::any, DFD_KEY_FAN_REAL_SPEED,
         "no rotor has a speed that could be compared with the floor: none ever fails"},
    Need{"fan-count-missing", DFD_KEY_FAN_STATE, Where::only, DFD_KEY_FAN_NUM,
         "platform software is told that there are 0 fan trays"},
    Need{"button-without-text", DFD_KEY_RESET_BUTTON_TYPE, Where::any, DFD_KEY_RESET_BUTTON_TP_STR,
         "the type of the reset button is always 0"},
    Need{"button-without-type", DFD_KEY_RESET_BUTTON_TP_STR, Where::only, DFD_KEY_RESET_BUTTON_TYPE,
         "nothing says which of the texts counts: the type of the reset button is always 0"},
    Need{"base-without-slot", DFD_KEY_SLOT_BASE, Where::only, DFD_KEY_MY_SLOTID,
         "the base is added to it; the own slot is not supported (-6)"},
    Need{"base-without-slot", DFD_KEY_SSLOT_BASE, Where::only, DFD_KEY_MY_SSLOTID,
         "the base is added to it; the own sub-slot is not supported (-6)"},
    Need{"peer-half", DFD_KEY_MCPU_PRESENT, Where::only, DFD_KEY_MCPU_RDY_STATUS,
         "the peer master board is always reported as absent"},
    Need{"peer-half", DFD_KEY_MCPU_MASTER_STATUS, Where::only, DFD_KEY_MCPU_RDY_STATUS,
         "the peer master board is always reported as absent"},
    Need{"peer-half", DFD_KEY_MCPU_RDY_STATUS, Where::only, DFD_KEY_MCPU_MASTER_STATUS,
         "the peer master board is always reported as absent"},
    Need{"peer-half", DFD_KEY_MCPU_RDY_STATUS, Where::only, DFD_KEY_MCPU_PRESENT,
         "with the other two lines read, the state of the peer master board fails (-5)"},
    Need{"peer-half", DFD_KEY_MCPU_MASTER_CONFIG, Where::only, DFD_KEY_MCPU_RDY_CONFIG,
         "the peer never sees this board as ready"},
    Need{"peer-half", DFD_KEY_MCPU_RDY_CONFIG, Where::only, DFD_KEY_MCPU_MASTER_CONFIG,
         "the peer never sees this board as master"},
    Need{"peer-reset-blind", DFD_KEY_RST_MASTER, Where::only, DFD_KEY_MCPU_RDY_STATUS,
         "the peer counts as down at once: its reset is released without waiting"},
    Need{"mtu-part", DFD_KEY_MGMT_DEF_MTU, Where::only, DFD_KEY_MGMT_MIN_MTU,
         "the range is told as a whole: it is not supported (-6)"},
    Need{"mtu-part", DFD_KEY_MGMT_MIN_MTU, Where::only, DFD_KEY_MGMT_MAX_MTU,
         "the range is told as a whole: it is not supported (-6)"},
    Need{"mtu-part", DFD_KEY_MGMT_MAX_MTU, Where::only, DFD_KEY_MGMT_DEF_MTU,
         "the range is told as a whole: it is not supported (-6)"},
    Need{"irq-without-controller", DFD_KEY_IRQ_CTRL_NUM, Where::only, DFD_KEY_IRQ_CTRL_INFO,
         "drv_irq_cfg_init fails (-1): no interrupt is dispatched"},
    Need{"irq-without-controller", DFD_KEY_IRQ_CTRL_INFO, Where::only, DFD_KEY_IRQ_CTRL_NUM,
         "there is no controller (-6): no interrupt is dispatched"},
    Need{"irq-without-controller", DFD_KEY_IRQ_INFO, Where::only, DFD_KEY_IRQ_CTRL_INFO,
         "there is no controller: no interrupt is dispatched"},
    Need{"subcard-without-state", DFD_KEY_SSLOT_E2PROM, Where::first, DFD_KEY_SSLOT_STATE,
         "the sub-card is always reported as absent"},
    Need{"subcard-without-number", DFD_KEY_SSLOT_E2PROM, Where::only, DFD_KEY_SSLOT_NUM,
         "platform software is told that there are 0 sub-slots"},
    Need{"port-half", DFD_KEY_PORT_SFP_TX, Where::same, DFD_KEY_PORT_SFP_STATE,
         "whether a module is plugged is not supported (-6)"},
    Need{"lack-without-status", DFD_KEY_CARD_POWER_LACK, Where::first, DFD_KEY_CARD_POWER_STATUS,
         "it is asked for only when that one reads 0, and is never read"},
    Need{"scale-without-mac", DFD_KEY_BACKPLANE_SCALE_MAC, Where::any, DFD_KEY_BACKPLANE_MAC,
         "it is added to that address only, not to one of a backplane EEPROM"},
};

Item needed_by(const Item &item, const Need &need) {
    const bool same = need.where == Where::same;
    const bool first = same || need.where == Where::first;
    return item_of(need.needed, first ? item.index1 : 0, same ? item.index2 : 0);
}

bool is_met(const Check &check, const Item &needed, Where where) {
    return where == Where::any ? has_any(check, needed.type->type)
                               : has(needed.type->type, needed.index1, needed.index2);
}

std::string needed_name(const Item &needed, Where where) {
    return where == Where::any ? fmt::format("no {}", needed.type->name)
                               : fmt::format("no {}", as_written(needed));
}

void check_need(Check &check, const Need &need) {
    for (const Item &item : configured(check, need.type)) {
        const Item needed = needed_by(item, need);
        if (is_place_only(item) && need.type == DFD_KEY_CARD_TEMP_CTRL) {
            continue;
        }
        if (!is_met(check, needed, need.where)) {
            check.at_item(need.rule, item.key(),
                          fmt::format("{}, but {}: {}", as_written(item),
                                      needed_name(needed, need.where), need.consequence));
        }
        if (need.where == Where::only || need.where == Where::any) {
            return;
        }
    }
}

}  // namespace

void check_needs(Check &check) {
    for (const Need &need : kNeeds) {
        check_need(check, need);
    }
}

void check_together(Check &check) {
    for (const auto part :
         {check_needs, check_leds, check_sensors, check_fans, check_power, check_cards,
          check_inventory, check_images, check_irq_sources, check_irq_masks, check_numbers}) {
        part(check);
    }
}

}  // namespace dfdctl::lint
