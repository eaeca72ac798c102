// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

#include "dfdctl/command.hpp"
#include "dfdctl/eeprom/backup.hpp"
#include "dfdctl/output.hpp"
#include "eeprom/decode.hpp"

namespace dfdctl {

/// Name and help of the words that name an image.
inline constexpr const char *kWhat = "WORDS";
inline constexpr const char *kWhatHelp =
    "A file, board, fan N, power N, subcard N or backplane N; or --bus N --addr A";

/// Runs a command and says on standard error why it ended early.
int reporting(const std::function<int()> &run);

/// The unit of a backup as this board has it now. An address alone is taken as it is. Throws
/// EepromFailure where the unit is elsewhere now.
ImagePlace place_now(const Backup &backup, const Options &options);

Json differences_json(const std::vector<eeprom::Difference> &differences);
/// Layout, fields and faults.
Json image_json(const eeprom::Bytes &image, const eeprom::Decoded &decoded);

void add_read_commands(Command &group, const Options &options);
void add_write_commands(Command &group, const Options &options);

}  // namespace dfdctl
