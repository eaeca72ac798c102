// SPDX-License-Identifier: MIT
// What is wrong with a reading: by the library's own verdict, or by a limit that the board
// configures. Where it configures none, nothing is judged.
#pragma once

#include <optional>

#include "dfdctl/board/library_calls.hpp"

namespace dfdctl {

struct Row;
struct Section;

/// The worst first. A note is no problem.
enum class Severity { alarm, warning, note };

std::string_view severity_name(Severity severity);

struct Limit {
    double value;      ///< in the unit of the reading
    const char *says;  ///< what stands before it: "alarm above"
};

struct Judgement {
    Severity severity;
    const char *word;              ///< in a table: "SLOW"
    std::string what;              ///< "turns too slowly"
    std::vector<Item> items = {};  ///< behind it: of the reading, then what else decided
    std::optional<Limit> limit = {};
    bool follows_from_part = false;  ///< a part of the unit is judged for the same reason
};

/// A cell in its row, when all of the row was read.
struct Judged {
    const Section &section;
    const Place &place;
    const Row &row;
    const Reading &reading;

    /// The number of another column; nothing where there is none.
    std::optional<std::int64_t> number(std::string_view key) const;
    /// The number of the cell itself, 0 where it is none.
    std::int64_t number() const;
};

/// How the cells of a column are judged; asked for readings that worked.
using Judge = std::optional<Judgement> (*)(const Judged &);

std::optional<Judgement> judge_tray(const Judged &cell);
std::optional<Judgement> judge_rotor_state(const Judged &cell);
std::optional<Judgement> judge_rotor_speed(const Judged &cell);
std::optional<Judgement> judge_supply(const Judged &cell);
std::optional<Judgement> judge_power_lack(const Judged &cell);
std::optional<Judgement> judge_temperature(const Judged &cell);
std::optional<Judgement> judge_sensor_self_test(const Judged &cell);
std::optional<Judgement> judge_voltage(const Judged &cell);
std::optional<Judgement> judge_card_power(const Judged &cell);
std::optional<Judgement> judge_reset(const Judged &cell);
std::optional<Judgement> judge_peer(const Judged &cell);
std::optional<Judgement> judge_eeprom_self_test(const Judged &cell);

/// "812 rpm, lowest 1200 rpm"; without a limit what is wrong.
std::string judgement_text(const Judgement &judgement, const Reading &reading);
/// Null where nothing is wrong, or nobody judges.
Json judgement_json(const std::optional<Judgement> &judgement);

}  // namespace dfdctl
