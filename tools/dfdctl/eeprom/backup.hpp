// SPDX-License-Identifier: MIT
// The file that holds an image from before a change: which unit, where, what was there, what was to
// be written, and how it was protected.
#pragma once

#include "dfdctl/board/write_protection.hpp"
#include "dfdctl/eeprom/place.hpp"

namespace dfdctl {

struct Backup {
    ImagePlace place;  ///< name, device, address, size and layout
    eeprom::Bytes before;
    eeprom::Bytes after;
    std::vector<FoundSignal> protection = {};
};

/// Writes the file and waits until it is on the disk; `path` empty: a name of its own in the
/// current directory. Returns its path. Throws EepromFailure, with no file left.
std::string save_backup(const Backup &backup, const std::string &path);
/// Whether a file begins as one that save_backup has written.
bool is_backup(const std::string &path);
/// Throws EepromFailure.
Backup load_backup(const std::string &path);

/// How far a change has come that a backup tells of.
enum class Progress { before, between, after, neither };
Progress progress_of(const Backup &backup, const eeprom::Bytes &now);
/// "as before the change", "between: 3 of 9 bytes are changed".
std::string progress_text(const Backup &backup, const eeprom::Bytes &now);

}  // namespace dfdctl
