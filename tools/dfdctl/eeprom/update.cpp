// SPDX-License-Identifier: MIT
#include "dfdctl/eeprom/update.hpp"

#include <unistd.h>
#include <algorithm>
#include <bit>
#include <cstdio>
#include <numeric>

#include "common/signals_held.hpp"
#include "dfdctl/eeprom/backup.hpp"
#include "dfdctl/eeprom/chip.hpp"
#include "dfdctl/output.hpp"

#include <fmt/format.h>

namespace dfdctl {

namespace {

using eeprom::Bytes;
using eeprom::Difference;

std::size_t byte_count(const std::vector<Difference> &differences) {
    return std::accumulate(differences.begin(), differences.end(), std::size_t{0},
                           [](std::size_t sum, const Difference &each) {
                               return sum + std::max(each.before.size(), each.after.size());
                           });
}

/// Differences under a heading, as a message.
void tell(const std::string &heading, const std::vector<Difference> &differences) {
    constexpr std::size_t kMessageIndent = 4;
    fmt::print(stderr, "{}\n{}", fmt::join(wrapped(heading, message_width(), kMessageIndent), "\n"),
               differences_text(differences, message_width()));
}

/// Asks at a terminal; elsewhere --yes is the only answer.
void confirm(const ImagePlace &place, const std::vector<Difference> &changes, bool yes) {
    const std::size_t count = byte_count(changes);
    tell(fmt::format("{} {} of {} change:", count, count == 1 ? "byte" : "bytes", place.text()),
         changes);
    if (yes) {
        return;
    }
    if (isatty(STDIN_FILENO) == 0) {
        throw UsageError("nothing was written; confirm with --yes");
    }
    fmt::print(stderr, "Write? [y/N] ");
    std::fflush(stderr);
    const int answer = std::getchar();
    if (answer != 'y' && answer != 'Y') {
        throw UsageError("nothing was written");
    }
}

/// What the chip holds after the attempt. A chip that failed half-way is still asked what it has.
Bytes attempt(const Chip &chip, const Bytes &before, const Bytes &after, WriteOutcome &outcome) {
    try {
        return chip.change(before, after);
    } catch (const EepromFailure &failure) {
        outcome.error = failure.what();
        outcome.status = failure.status;
    }
    try {
        return chip.read();
    } catch (const EepromFailure &) {
        outcome.error += "; what it holds now is not known";
        return after;
    }
}

void judge(const Bytes &now, const Bytes &after, WriteOutcome &outcome) {
    outcome.wrong = eeprom::differences(now, after);
    if (!outcome.wrong.empty() && outcome.error.empty()) {
        outcome.error = "it does not read back as written";
        outcome.status = kExitReadingFailed;
    }
}

/// Does nothing where the protection cannot be lifted, unless that is forced.
void write_unprotected(const Backup &change, bool force, WriteOutcome &outcome) {
    const Chip chip(change.place);
    ProtectionLifted lifted(change.protection);
    const std::string obstacle = lifted.obstacle();
    const bool is_refused = !obstacle.empty() && !force;
    if (is_refused) {
        outcome.error = fmt::format(
            "the write protection cannot be lifted: {}; nothing was written (--force tries it)",
            obstacle);
        outcome.status = kExitReadingFailed;
    } else {
        judge(attempt(chip, change.before, change.after, outcome), change.after, outcome);
    }
    if (const std::string failed = lifted.put_back(); !failed.empty() && !is_refused) {
        outcome.error += fmt::format("{}the write protection cannot be put back: {}",
                                     outcome.error.empty() ? "written, but " : "; ", failed);
        outcome.status = kExitReadingFailed;
    }
}

/// Says on standard error what went wrong and what to do.
void report(const ImagePlace &place, const WriteOutcome &outcome) {
    if (!outcome.error.empty()) {
        complain(fmt::format("{}: {}", place.name, outcome.error));
    }
    if (!outcome.wrong.empty()) {
        tell("Bytes as they are -> as they should be:", outcome.wrong);
    }
    if (!outcome.backup.empty()) {
        // In one piece, since one copies the command.
        fmt::print(
            stderr, "{}dfdctl eeprom restore {}\n",
            outcome.error.empty() ? "To undo it: " : "To put the old image back: ", outcome.backup);
    }
}

/// The serial number that a unit is known by.
std::string serial_of(const eeprom::Decoded &decoded) {
    for (const char *name : {"serial_number", "board.serial_number", "chassis.serial_number"}) {
        if (const eeprom::Field *field = decoded.field(name); field != nullptr) {
            return field->text;
        }
    }
    return "";
}

void check_unit(const ImagePlace &place, const eeprom::Decoded &decoded,
                const WriteOptions &options) {
    if (!options.serial.empty() && serial_of(decoded) != options.serial) {
        throw EepromFailure(kExitReadingFailed,
                            fmt::format("{}: the serial number is '{}', not '{}'; nothing was "
                                        "written",
                                        place.name, serial_of(decoded), options.serial));
    }
    if (!decoded.faults.empty() && !options.force) {
        const eeprom::Fault &first = decoded.faults.front();
        throw EepromFailure(
            kExitReadingFailed,
            fmt::format("{}: the image is damaged, at 0x{:02x}: {}; 'dfdctl eeprom verify' lists "
                        "all, --force writes a sound image; nothing was written",
                        place.name, first.offset, first.text));
    }
}

}  // namespace

void add_write_options(Command &command, WriteOptions &options) {
    command.flag("--yes", options.yes, "Do not ask");
    command.option("--backup", options.backup,
                   "For the old image; by default a file of the current directory", "FILE");
}

void add_serial_option(Command &command, WriteOptions &options) {
    command.option("--expect-sn", options.serial, "Write only if this is the unit's serial number",
                   "SN");
}

std::string differences_text(const std::vector<Difference> &differences, std::size_t width) {
    constexpr std::size_t kLongestRow = 8;
    constexpr std::size_t kBeside = 12;  // offset, blanks and arrow
    constexpr std::size_t kByte = 6;     // two digits and a blank, before and after
    const std::size_t room = (width - std::min(width, kBeside)) / kByte;
    const std::size_t row = std::bit_floor(std::clamp(room, std::size_t{1}, kLongestRow));
    std::string text;
    for (const Difference &each : differences) {
        const std::size_t size = std::max(each.before.size(), each.after.size());
        for (std::size_t at = 0; at < size; at += row) {
            const auto part = [=](const Bytes &bytes) {
                const std::size_t from = std::min(at, bytes.size());
                return std::span(bytes).subspan(from, std::min(row, bytes.size() - from));
            };
            text += fmt::format("  0x{:04x}  {} -> {}\n", each.offset + at,
                                hex_text(part(each.before)), hex_text(part(each.after)));
        }
    }
    return text;
}

std::vector<FoundSignal> protection_of(const ImagePlace &place) {
    const std::uint32_t unit = place.item ? place.item->index1 : 1;
    return place.protection ? find_protection(*place.protection, unit) : std::vector<FoundSignal>();
}

WriteOutcome write_image(const ImagePlace &place, const Bytes &before, const Bytes &after,
                         const std::vector<FoundSignal> &protection, const WriteOptions &options) {
    const auto changes = eeprom::differences(before, after);
    WriteOutcome outcome;
    if (changes.empty()) {
        return outcome;
    }
    confirm(place, changes, options.yes);
    const Backup change{.place = place, .before = before, .after = after, .protection = protection};
    outcome.backup = save_backup(change, options.backup);
    const dfd_tools::SignalsHeld held;
    write_unprotected(change, options.force, outcome);
    if (const std::string waiting = held.waiting(); !waiting.empty()) {
        complain(fmt::format(
            "signal {} waited until the EEPROM was written and its protection put back", waiting));
    }
    report(place, outcome);
    return outcome;
}

Update change_fields(const ImagePlace &place, const std::vector<eeprom::Edit> &edits,
                     const WriteOptions &options) {
    const Bytes image = read_image(place);
    Update update{
        .before = eeprom::decode(image, place.hint), .after = {}, .changes = {}, .outcome = {}};
    check_unit(place, update.before, options);
    Bytes wanted;
    try {
        wanted = eeprom::edited(image, update.before, place.hint, edits);
    } catch (const eeprom::Error &error) {
        throw UsageError(fmt::format("{}: {}; nothing was written", place.name, error.reason));
    }
    update.after = eeprom::decode(wanted, place.hint);
    update.changes = eeprom::differences(image, wanted);
    update.outcome = write_image(place, image, wanted, protection_of(place), options);
    return update;
}

}  // namespace dfdctl
