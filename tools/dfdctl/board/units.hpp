// SPDX-License-Identifier: MIT
// Which units the loaded board has: the one answer for pages, controls and observed calls.
#pragma once

#include <set>
#include <utility>

#include "dfdctl/board/load_record.hpp"

namespace dfdctl {

/// More units of a kind are a mistake in the configuration: so many are looked at.
inline constexpr std::uint32_t kMostUnits = 64;

using Numbers = std::set<std::uint32_t>;

enum class UnitKind { tray, supply, slot, card, sub_slot, port, backplane };

/// Units that a count of the configuration promises, and those that have items.
Numbers units_of(const LoadRecord &record, UnitKind kind);
/// Rotors of a tray as far as its items tell; nothing is read.
Numbers rotors_of(const LoadRecord &record, std::uint32_t tray);
/// Rotors that the library counts in a tray.
std::uint32_t rotor_count(std::uint32_t tray);
/// Voltage channels of a card but the reference, channel 0.
Numbers channels_of(const LoadRecord &record, std::uint32_t card);

/// "1-4, 9".
std::string ranges_text(const Numbers &numbers);
/// The number that a word gives; throws UsageError where the numbers do not contain it. Where there
/// are none at all the configuration tells more than a list could.
std::uint32_t unit_number(const std::string &word, std::string_view what, const Numbers &numbers,
                          std::string_view owner = "this board");

/// Configured items of a type, by index.
std::vector<Item> items_of(const LoadRecord &record, std::uint32_t type);
/// First indexes of the items of a type.
Numbers first_indexes(const LoadRecord &record, std::uint32_t type);
/// Second indexes of the items of a type that have this first one.
Numbers second_indexes(const LoadRecord &record, std::uint32_t type, std::uint32_t index1);
/// Items of the interrupt sources that a dispatch can find.
std::vector<Item> irq_sources(const LoadRecord &record);
/// The deepest status register that is configured for such a source, and its bit there.
std::pair<Item, std::uint32_t> irq_status(const Item &source);
/// Whether it is raised, as a dispatch would find it; clears nothing. The result of the engine.
int read_irq_pending(const Item &source, bool *is_pending);
/// Configured masks of such a source.
std::vector<Item> irq_masks(const Item &source);
/// Items of the masks that are written to mask all interrupts of a type.
std::vector<Item> irq_masks(const LoadRecord &record, std::uint32_t type);
/// Where an irq_info or irq_mask item stands: "0.1.3", the bits of the three levels.
std::string irq_position(const Item &item);

}  // namespace dfdctl
