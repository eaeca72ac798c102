// SPDX-License-Identifier: MIT
#include "dfdctl/pages/judge.hpp"

#include <dfd/card.h>
#include <dfd/chassis.h>
#include <dfd/driver.h>
#include <dfd/fan.h>
#include <dfd/power.h>
#include <dfd/temperature.h>
#include <array>
#include <cmath>

#include "dfdctl/board/units.hpp"
#include "dfdctl/pages/table_page.hpp"

#include <fmt/format.h>

namespace dfdctl {

namespace {

using Verdict = std::optional<Judgement>;

bool is_configured(const Item &item) {
    return record_of<char>(item) != nullptr;
}

/// Those of the items that the board has.
std::vector<Item> configured(std::initializer_list<Item> items) {
    std::vector<Item> found;
    std::copy_if(items.begin(), items.end(), std::back_inserter(found), is_configured);
    return found;
}

Verdict judgement(Severity severity, const char *word, std::string what,
                  std::initializer_list<Item> items) {
    return Judgement{severity, word, std::move(what), configured(items)};
}

Verdict beyond(Severity severity, const char *word, const char *what, Limit limit,
               std::initializer_list<Item> items) {
    return Judgement{severity, word, what, configured(items), limit};
}

// ---- Fans -------------------------------------------------------------------------------------

std::optional<int> speed_floor() {
    const int *floor = record_of<int>(item_of(DFD_KEY_FAN_SPEED_FLOOR));
    return floor != nullptr ? std::optional(*floor) : std::nullopt;
}

enum class Rotor { unknown, ok, slow, unreadable };

/// As the library judges rotors: one that is to stand still may, one at the floor is healthy.
Rotor rotor_by_floor(const Place &place) {
    const std::optional<int> floor = speed_floor();
    const auto rotor = static_cast<std::uint8_t>(place.index2);
    int speed = 0;
    const int code = floor ? drv_get_fan_speed(place.index1, rotor, &speed) : DFD_ERR_NOT_SUPPORTED;
    if (code == DFD_ERR_NOT_SUPPORTED) {
        return Rotor::unknown;
    }
    if (code != DFD_OK) {
        return Rotor::unreadable;
    }
    int level = 0;
    const bool is_slow = speed < *floor &&
                         drv_get_fan_speed_level(place.index1, rotor, &level) == DFD_OK &&
                         level > 0;
    return is_slow ? Rotor::slow : Rotor::ok;
}

bool any_rotor(std::uint32_t tray, Rotor state) {
    for (std::uint32_t rotor = 1; rotor <= rotor_count(tray); ++rotor) {
        if (rotor_by_floor({tray, rotor}) == state) {
            return true;
        }
    }
    return false;
}

Judgement failed_tray(std::uint32_t tray) {
    Judgement failed{Severity::alarm, "FAILED", "the tray reports a failure",
                     configured({item_of(DFD_KEY_FAN_FAIL_STATUS, tray)})};
    if (any_rotor(tray, Rotor::slow)) {
        failed.what = "a rotor turns too slowly";
        failed.items = configured({item_of(DFD_KEY_FAN_SPEED_FLOOR)});
        failed.follows_from_part = true;
    } else if (any_rotor(tray, Rotor::unreadable)) {
        failed.what = "a rotor's speed cannot be read, which counts as standing still";
        failed.items = configured({item_of(DFD_KEY_FAN_REAL_SPEED, tray, 1)});
        failed.follows_from_part = true;
    }
    return failed;
}

// ---- Temperatures -----------------------------------------------------------------------------

struct Threshold {
    int (*get)(int *);
    std::uint32_t item;
    const char *word;
    const char *what;
    const char *says;
};

/// The worse one first.
constexpr std::array kThresholds = {
    Threshold{sdd_get_sys_card_shutdown_temp, DFD_KEY_SYS_DANGER_TEMP, "SHUTDOWN",
              "so hot that the system shuts down", "shutdown above"},
    Threshold{sdd_get_sys_card_alarm_temp, DFD_KEY_SYS_ALARM_TEMP, "ALARM", "too hot",
              "alarm above"},
};

}  // namespace

std::string_view severity_name(Severity severity) {
    static constexpr std::array<std::string_view, 3> kNames = {"alarm", "warning", "note"};
    return kNames[static_cast<std::size_t>(severity)];
}

std::optional<std::int64_t> Judged::number(std::string_view key) const {
    const auto column = std::ranges::find(section.columns, key, &Column::key);
    const auto index = column - section.columns.begin();
    const Reading &cell = row.cells.at(static_cast<std::size_t>(index));
    const auto *value = std::get_if<std::int64_t>(&cell.value);
    return cell.ok() && value != nullptr ? std::optional(*value) : std::nullopt;
}

std::int64_t Judged::number() const {
    const auto *value = std::get_if<std::int64_t>(&reading.value);
    return value != nullptr ? *value : 0;
}

Verdict judge_tray(const Judged &cell) {
    const std::uint32_t tray = cell.place.index1;
    switch (cell.number()) {
        case FAN_STATUS_FAIL:
            return failed_tray(tray);
        case FAN_STATUS_LINE_FAIL:
            return judgement(Severity::alarm, "NO POWER", "the tray has no power",
                             {item_of(DFD_KEY_FAN_LINE_FAIL, tray)});
        default:
            return std::nullopt;
    }
}

/// A slow rotor is judged by its speed. Without a floor or a bitmap of failures nothing is known of
/// a single rotor: the library then calls the first one of a failed tray failed.
Verdict judge_rotor_state(const Judged &cell) {
    const Item bitmap = item_of(DFD_KEY_FAN_FAIL_BMP, cell.place.index1);
    if (cell.number() == 0) {
        return std::nullopt;
    }
    if (is_configured(bitmap)) {
        return judgement(Severity::alarm, "FAILED", "the tray reports the rotor as failed",
                         {bitmap});
    }
    if (rotor_by_floor(cell.place) == Rotor::unreadable) {
        return judgement(Severity::alarm, "FAILED",
                         "its speed cannot be read, which counts as standing still",
                         {item_of(DFD_KEY_FAN_REAL_SPEED, cell.place.index1, cell.place.index2)});
    }
    return std::nullopt;
}

Verdict judge_rotor_speed(const Judged &cell) {
    if (rotor_by_floor(cell.place) != Rotor::slow) {
        return std::nullopt;
    }
    const bool stands = cell.number() == 0;
    return beyond(Severity::alarm, stands ? "STOPPED" : "SLOW",
                  stands ? "stands still" : "turns too slowly",
                  {static_cast<double>(speed_floor().value_or(0)), "lowest"},
                  {item_of(DFD_KEY_FAN_REAL_SPEED, cell.place.index1, cell.place.index2),
                   item_of(DFD_KEY_FAN_SPEED_FLOOR)});
}

Verdict judge_supply(const Judged &cell) {
    const std::uint32_t supply = cell.place.index1;
    switch (cell.number()) {
        // Unless it is in mode func, the library asks power_state alone for the presence.
        case POWER_STATUS_ABSENT:
            return sdd_get_power_present(supply) <= 0
                       ? std::nullopt
                       : judgement(Severity::warning, "UNSURE",
                                   "power_present says that it is plugged, power_state that it "
                                   "is not",
                                   {item_of(DFD_KEY_POWER_STATE, supply),
                                    item_of(DFD_KEY_POWER_PRESENT, supply)});
        case POWER_STATUS_FAILED:
        case POWER_STATUS_FAILED_FLAGGED:
            return judgement(Severity::alarm, "FAILED", "the supply reports a failure",
                             {item_of(DFD_KEY_POWER_FAIL, supply)});
        case POWER_STATUS_LINE_FAILED:
            return judgement(Severity::alarm, "NO INPUT", "its input has no power",
                             {item_of(DFD_KEY_POWER_LINE_FAIL, supply)});
        default:
            return std::nullopt;
    }
}

Verdict judge_power_lack(const Judged &cell) {
    return cell.number() == 0 ? std::nullopt
                              : judgement(Severity::alarm, "LACKING", "the system lacks power",
                                          {item_of(DFD_KEY_SYSTEM_POWER_LACK)});
}

Verdict judge_temperature(const Judged &cell) {
    for (const Threshold &threshold : kThresholds) {
        int limit = 0;
        if (threshold.get(&limit) == DFD_OK && cell.number() > limit) {
            return beyond(Severity::alarm, threshold.word, threshold.what,
                          {static_cast<double>(limit), threshold.says},
                          {item_of(DFD_KEY_CARD_TEMP_CTRL, cell.place.index1, cell.place.index2),
                           item_of(threshold.item)});
        }
    }
    return std::nullopt;
}

Verdict judge_sensor_self_test(const Judged &cell) {
    return cell.number() == 0 ? std::nullopt
                              : judgement(Severity::alarm, "FAILED",
                                          "the self-test of the temperature sensors failed",
                                          {item_of(DFD_KEY_MB_TEMP_FAIL_STATUS)});
}

Verdict judge_voltage(const Judged &cell) {
    const auto *volt = std::get_if<double>(&cell.reading.value);
    const Item low = item_of(DFD_KEY_CARD_VOL_LOW, cell.place.index1, cell.place.index2);
    if (volt == nullptr) {
        return std::nullopt;
    }
    if (cell.place.index2 == 0) {
        return *volt > 0
                   ? std::nullopt
                   : judgement(Severity::warning, "ZERO",
                               "the reference reads 0, so every voltage of the card does", {low});
    }
    const Answer level = by_pointer<drv_get_card_vol_waterline>(
        {slot_of_card(cell.place.index1), cell.place.index2});
    const auto *millivolt = std::get_if<std::int64_t>(&level.value);
    if (millivolt == nullptr || std::lround(*volt * kThousandths) >= *millivolt) {
        return std::nullopt;
    }
    return beyond(Severity::warning, "LOW", "too low",
                  {static_cast<double>(*millivolt) / kThousandths, "warning level"},
                  {low, item_of(DFD_KEY_CARD_VOL_WATERLINE, cell.place.index1, cell.place.index2)});
}

Verdict judge_card_power(const Judged &cell) {
    const std::uint32_t slot = cell.place.index1;
    const auto card =
        static_cast<std::uint32_t>(sdd_get_virtual_slotid(static_cast<int>(cell.place.index1)));
    const Item power = item_of(DFD_KEY_CARD_POWER_STATUS, card);
    const Item sub_slot = item_of(DFD_KEY_SSLOT_STATE, slot);
    switch (cell.number()) {
        case DFD_CARD_POWER_OFF_FOR_LACK:
            return judgement(Severity::alarm, "NO POWER", "off, because the chassis lacks power",
                             {power, item_of(DFD_KEY_CARD_POWER_LACK, card)});
        case DFD_CARD_POWER_OFF:
            return cell.number("power_switch") == 0
                       ? judgement(Severity::warning, "OFF", "switched off",
                                   {power, item_of(DFD_KEY_CARD_POWER_CTRL, card)})
                       : judgement(Severity::alarm, "NO POWER", "the card has no power", {power});
        case DFD_CARD_POWER_NONE:
            return is_configured(sub_slot) && is_configured(power)
                       ? judgement(
                             Severity::note, "NO CARD",
                             "slot_online says that a card is there, sslot_state that none is",
                             {item_of(DFD_KEY_SLOT_ONLINE, slot), sub_slot})
                       : std::nullopt;
        default:
            return std::nullopt;
    }
}

Verdict judge_reset(const Judged &cell) {
    return cell.number() == 0 ? std::nullopt
                              : judgement(Severity::alarm, "RESET", "the card is held in reset",
                                          {item_of(DFD_KEY_RESET_LC, cell.place.index1)});
}

Verdict judge_peer(const Judged &cell) {
    const Item ready = item_of(DFD_KEY_MCPU_RDY_STATUS);
    const Item master = item_of(DFD_KEY_MCPU_MASTER_STATUS);
    const Item present = item_of(DFD_KEY_MCPU_PRESENT);
    switch (cell.number()) {
        case DFD_PEER_PRESENT:
            return judgement(Severity::warning, "NOT READY", "plugged, neither master nor ready",
                             {ready, master, present});
        case DFD_PEER_INCONSISTENT:
            return judgement(Severity::warning, "INCONSISTENT", "its lines contradict each other",
                             {ready, master, present});
        default:
            return std::nullopt;
    }
}

Verdict judge_eeprom_self_test(const Judged &cell) {
    return cell.number() == 0
               ? std::nullopt
               : judgement(Severity::alarm, "FAILED", "the board reports a failed EEPROM",
                           {item_of(DFD_KEY_EEPROM_FAIL_STATUS)});
}

std::string judgement_text(const Judgement &judgement, const Reading &reading) {
    if (!judgement.limit) {
        return judgement.what;
    }
    return fmt::format("{} {}, {} {:.6g} {}", value_text(reading), reading.unit,
                       judgement.limit->says, judgement.limit->value, reading.unit);
}

Json judgement_json(const std::optional<Judgement> &judgement) {
    if (!judgement) {
        return nullptr;
    }
    Json items = Json::array();
    for (const Item &item : judgement->items) {
        items.push_back(item.name());
    }
    return {{"severity", severity_name(judgement->severity)},
            {"word", judgement->word},
            {"what", judgement->what},
            {"limit", judgement->limit ? Json(judgement->limit->value) : Json()},
            {"items", std::move(items)}};
}

}  // namespace dfdctl
