// SPDX-License-Identifier: MIT
// What an observed call is told in the place of hardware.
#pragma once

#include <dfd/records.h>
#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "dfdctl/board/load_record.hpp"
#include "framework/watch.h"

namespace dfdctl::observe {

/// What one item reads.
struct ItemAnswer {
    std::uint32_t key;
    std::uint32_t number = 0;
    std::optional<std::string> text = {};  ///< in the place of the number: of buffers and EEPROMs

    bool operator==(const ItemAnswer &) const = default;
};

struct Answers {
    enum class From : std::uint8_t {
        nothing,  ///< every transfer fails
        values,  ///< every item reads `value`, EEPROMs hold what their items expect, writes succeed
        hardware  ///< transfers are really made
    };
    From from = From::nothing;
    std::uint32_t value = 0;
    std::vector<ItemAnswer> items = {};  ///< that read otherwise, whatever `from` says

    static Answers nothing() { return {}; }
    static Answers all(std::uint32_t value) { return {.from = From::values, .value = value}; }
    static Answers hardware() { return {.from = From::hardware}; }
    /// The same with one item reading otherwise.
    Answers with(ItemAnswer item) const;
    const ItemAnswer *find(std::uint32_t key) const;
};

/// From "fan_state_1=0" and the like, of one item the last; throws UsageError for items that
/// nothing is read of.
std::vector<ItemAnswer> parse_answers(const std::vector<std::string> &texts);

/// Bytes of a source.
struct RawBytes {
    static constexpr std::size_t kSize = 256;
    std::array<std::uint8_t, kSize> bytes = {};
    std::size_t count = 0;

    void put(std::span<const std::uint8_t> more);
    void put(std::string_view text);
    void put(std::uint8_t byte);
};

/// What has to be read for the engine to make `value` of an integer item. Of a num_buf item, whose
/// bytes the caller converts, the least significant byte comes first: a small number is then right
/// for levels, register values and the number formats of telemetry.
RawBytes raw_bytes(const info_ctrl_t &record, std::uint32_t value);

/// Names and numbers of this board with which look-ups behind a reading succeed.
struct Plausible {
    std::uint32_t board_type = 0;
    std::uint32_t fan_type = 1;
    std::string fan_name = "FAN";
    std::string supply_name = "PSU";
    std::uint32_t power_class = 1;  ///< register value that power_regval_convert knows
    std::uint32_t speed_class = 1;  ///< register value that fan_speedlvl_convert knows

    Plausible() = default;
    /// From the loaded items.
    explicit Plausible(const LoadRecord &log);
};

/// What an EEPROM holds.
struct Inventory {
    std::uint32_t type;
    std::string name;
    std::string sn;
    std::string hw;
    std::string entry0;  ///< of a TLV image
};

RawBytes tlv_image(const Inventory &inventory);
RawBytes fru_image(const Inventory &inventory);
RawBytes fan_legacy_image(const Inventory &inventory);

/// Answers the transfers of one call.
class Answerer {
  public:
    Answerer(const Answers &answers, const Plausible &plausible)
        : answers_(answers), plausible_(plausible) {}

    void looked_up(std::uint32_t key, const void *record);
    void engine_begin(const dfd::watch::EngineCall &call);
    void engine_end() { in_engine_ = false; }
    /// False: the hardware is to answer.
    bool answer(const dfd::watch::Transfer &transfer, int *result) const;

  private:
    bool is_answered() const;
    int read(const dfd::watch::Transfer &transfer) const;
    RawBytes item_bytes() const;
    RawBytes buffer_bytes() const;
    std::uint32_t standard_value() const;
    RawBytes eeprom(const dfd::watch::Transfer &transfer) const;
    Inventory inventory(std::uint32_t key) const;

    const Answers &answers_;
    const Plausible &plausible_;
    /// An item that was looked up.
    struct LookedUp {
        std::uint32_t key = 0;
        const void *record = nullptr;
    };
    /// The item that says what is in an EEPROM; without a record where none does.
    LookedUp item_of_eeprom(const dfd::watch::Transfer &transfer) const;

    LookedUp last_;
    LookedUp last_eeprom_;  ///< in a mode that names the layout of an EEPROM
    dfd::watch::EngineCall call_ = {};
    bool in_engine_ = false;
};

}  // namespace dfdctl::observe
