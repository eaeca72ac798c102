// SPDX-License-Identifier: MIT
// Changing the EEPROM of a unit: everything is checked, and the old image is safe in a file, before
// the first byte is written.
#pragma once

#include "dfdctl/board/write_protection.hpp"
#include "dfdctl/eeprom/place.hpp"

namespace dfdctl {

struct WriteOptions {
    bool yes = false;
    bool force = false;
    std::string backup = {};  ///< file for the old image; empty: one in the current directory
    std::string serial = {};  ///< that the unit must have; empty: any
};
/// --yes, --backup.
void add_write_options(Command &command, WriteOptions &options);
/// --expect-sn.
void add_serial_option(Command &command, WriteOptions &options);

struct WriteOutcome {
    std::string backup = {};  ///< empty: nothing had to be written
    /// Bytes that are not as they should be: what stands there, and what should.
    std::vector<eeprom::Difference> wrong = {};
    std::string error = {};
    int status = kExitOk;
};

/// What protects the EEPROM, as it is now.
std::vector<FoundSignal> protection_of(const ImagePlace &place);

/// Shows the difference on standard error, asks, saves `before`, lifts the protection, writes what
/// differs, reads everything back, leaves the protection as `protection` has it, says what went
/// wrong. Signals wait meanwhile. Throws EepromFailure or UsageError while nothing is written.
WriteOutcome write_image(const ImagePlace &place, const eeprom::Bytes &before,
                         const eeprom::Bytes &after, const std::vector<FoundSignal> &protection,
                         const WriteOptions &options);

struct Update {
    eeprom::Decoded before;
    eeprom::Decoded after;
    std::vector<eeprom::Difference> changes;
    WriteOutcome outcome;
};
/// Gives fields other texts.
Update change_fields(const ImagePlace &place, const std::vector<eeprom::Edit> &edits,
                     const WriteOptions &options);

/// "  0x003a  46 54 -> 4e 45" for each run of bytes; a line has eight, or as many as fit.
std::string differences_text(const std::vector<eeprom::Difference> &differences, std::size_t width);

}  // namespace dfdctl
