// SPDX-License-Identifier: MIT
// Temperature sensors, the files of the switch chip, and voltage channels.
#include <dfd/keys.h>
#include <dfd/records.h>
#include <array>
#include <bitset>
#include <map>
#include <set>
#include <string_view>

#include "dfdctl/lint/survey.hpp"
#include "dfdctl/lint/together.hpp"

#include <fmt/format.h>

namespace dfdctl::lint {

namespace {

constexpr int kTempName = 0;
constexpr int kTempType = 1;

void check_sensor(Check &check, const Item &item, const temp_info_t &sensor) {
    if (!is_set(check, item, kTempName)) {
        check.at_item("sensor-without-name", item.key(),
                      fmt::format("{} has no .temp_name, by which it is shown", as_written(item)));
    }
    if (!is_set(check, item, kTempType)) {
        check.at_item(
            "sensor-without-type", item.key(),
            fmt::format("{} has no .type: the plain number of its control item counts as "
                        "degrees; write .type=none when it does, else lm75, tmp411 or mac",
                        as_written(item)));
    }
    const Item control = item_of(DFD_KEY_CARD_TEMP_CTRL, item.index1, item.index2);
    if (sensor.type == TEMP_INFO_MAC && !is_place_only(control)) {
        check.at_member(
            "mac-sensor-place", item.key(), kTempType,
            fmt::format("{}: a switch chip's temperature is read from the file that "
                        "card_temp_ctrl_0_41 and on name, never from these indexes (-1)",
                        as_written(item)));
    }
}

/// The bytes of a sensor chip are converted by its kind, in one format.
void check_format(Check &check, const Item &item, const temp_info_t &sensor) {
    const Item control = item_of(DFD_KEY_CARD_TEMP_CTRL, item.index1, item.index2);
    const auto *ctrl = record_of<info_ctrl_t>(control);
    const bool is_chip = sensor.type == TEMP_INFO_LM75 || sensor.type == TEMP_INFO_TMP411;
    const bool is_plain = ctrl != nullptr && is_hardware_mode(ctrl->mode) &&
                          (ctrl->frmt == INFO_FRMT_BYTE || ctrl->frmt == INFO_FRMT_NUM_BYTES ||
                           ctrl->frmt == INFO_FRMT_NUM_STR);
    if (is_chip && is_plain) {
        check.at_member("sensor-unconverted", control.key(), kFrmt,
                        fmt::format("{}: the bytes of a {} become degrees with .frmt=num_buf; in "
                                    "this format the number counts as degrees",
                                    as_written(control), temp_info_type_str[sensor.type]));
    }
}

/// A name is all that tells the sensors of a card apart.
void check_names(Check &check) {
    std::map<std::pair<std::uint32_t, std::string_view>, Item> seen;
    for (const Item &item : configured(check, DFD_KEY_CARD_TEMP_INFO)) {
        const std::string_view name = record_of<temp_info_t>(item)->temp_name;
        if (name.empty()) {
            continue;
        }
        const auto [first, is_new] = seen.try_emplace({item.index1, name}, item);
        if (!is_new) {
            check.at_member("sensor-name-twice", item.key(), kTempName,
                            fmt::format("{} and {} have the same name, by which nobody can tell "
                                        "them apart",
                                        as_written(item), as_written(first->second)));
        }
    }
}

/// A file of the switch chip and the item that says that there is one.
void check_mac_files(Check &check) {
    const Item flag = item_of(DFD_KEY_MAC_TEMP_FILE);
    const bool has_flag = has(DFD_KEY_MAC_TEMP_FILE);
    bool has_file = false;
    for (const Item &item : configured(check, DFD_KEY_CARD_TEMP_CTRL)) {
        if (!is_place_only(item)) {
            continue;
        }
        if (!has_file && !has_flag) {
            check.at_item("mac-file-half", item.key(),
                          fmt::format("{} is a file of the switch chip, but no mac_temp_file: "
                                      "platform software is told that there is none",
                                      as_written(item)));
        }
        has_file = true;
    }
    if (has_flag && !has_file) {
        check.at_item("mac-file-half", flag.key(),
                      "mac_temp_file, but no card_temp_ctrl_0_41: no file is read (-6); its path "
                      "is .fpath there");
    }
}

constexpr std::size_t kChannels = 256;

/// What is known of the channels of a card.
struct Card {
    Item first;
    std::bitset<kChannels> has;
};

void check_card_channels(Check &check, const Card &card, std::uint32_t channels) {
    std::vector<std::uint32_t> missing;
    for (std::uint32_t channel = 0; channel <= channels; ++channel) {
        if (!card.has[channel]) {
            missing.push_back(channel);
        }
    }
    if (!missing.empty()) {
        check.at_item(
            "voltage-missing", card.first.key(),
            fmt::format("card {} has no card_vol_low and card_vol_high of channel {}: "
                        "there {} (card_vol_num) and the reference, channel 0, which every reading "
                        "needs; a missing one fails (-6) and leaves the lock taken",
                        card.first.index1, ranges(missing), is_or_are(channels, "channel")));
    }
}

void check_voltages(Check &check) {
    constexpr int kMaxChannels = kChannels - 1;
    const int number = int_value(DFD_KEY_CARD_VOL_NUM, -1);
    if (number < 0) {
        return;
    }
    std::map<std::uint32_t, Card> cards;
    for (const std::uint32_t type : {DFD_KEY_CARD_VOL_LOW, DFD_KEY_CARD_VOL_HIGH}) {
        for (const Item &item : configured(check, type)) {
            cards.try_emplace(item.index1, Card{item, {}}).first->second.has.set(item.index2);
        }
    }
    for (const auto &[index, card] : cards) {
        check_card_channels(check, card,
                            static_cast<std::uint32_t>(std::min(number, kMaxChannels)));
    }
}

/// Bytes of a reading come from registers of their own.
void check_channel_bytes(Check &check) {
    for (const Item &low : configured(check, DFD_KEY_CARD_VOL_LOW)) {
        const Item high = item_of(DFD_KEY_CARD_VOL_HIGH, low.index1, low.index2);
        const auto &a = *record_of<info_ctrl_t>(low);
        const auto *b = record_of<info_ctrl_t>(high);
        const bool is_same = b != nullptr && is_hardware_mode(a.mode) && a.src == b->src &&
                             is_hardware_mode(b->mode) && std::string_view(a.fpath) == b->fpath &&
                             a.addr == b->addr && a.reg_offset == b->reg_offset &&
                             a.frmt == b->frmt && a.bit_offset == b->bit_offset;
        if (is_same) {
            check.at_member("voltage-same-byte", high.key(), kRegOffset,
                            fmt::format("{} is the register of {}: a reading is a low byte and a "
                                        "high byte",
                                        as_written(high), as_written(low)));
        }
    }
}

}  // namespace

void check_sensors(Check &check) {
    for (const Item &item : configured(check, DFD_KEY_CARD_TEMP_INFO)) {
        check_sensor(check, item, *record_of<temp_info_t>(item));
        check_format(check, item, *record_of<temp_info_t>(item));
    }
    check_names(check);
    check_mac_files(check);
    check_voltages(check);
    check_channel_bytes(check);
}

}  // namespace dfdctl::lint
