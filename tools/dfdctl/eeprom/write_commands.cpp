// SPDX-License-Identifier: MIT
// dfdctl eeprom set, restore.
#include <memory>
#include <sstream>

#include "common/signals_held.hpp"
#include "dfdctl/eeprom/backup.hpp"
#include "dfdctl/eeprom/commands.hpp"
#include "dfdctl/eeprom/update.hpp"
#include "dfdctl/output.hpp"

#include <fmt/format.h>

namespace dfdctl {

namespace {

struct WriteRequest {
    std::vector<std::string> words;
    PlaceOptions place;
    WriteOptions write;
};

/// Takes the words FIELD=TEXT out.
std::vector<eeprom::Edit> take_edits(std::vector<std::string> &words) {
    std::vector<eeprom::Edit> edits;
    for (const std::string &word : words) {
        if (const std::size_t at = word.find('='); at != std::string::npos) {
            edits.push_back({word.substr(0, at), word.substr(at + 1)});
        }
    }
    std::erase_if(words,
                  [](const std::string &word) { return word.find('=') != std::string::npos; });
    return edits;
}

void print_json_outcome(const Options &options, const char *command, const ImagePlace &place,
                        const std::vector<eeprom::Difference> &changes,
                        const WriteOutcome &outcome) {
    print_json(options.out, {{"command", command},
                             {"unit", place.name},
                             {"device", place.device},
                             {"address", place.address},
                             {"changes", differences_json(changes)},
                             {"backup", text_or_null(outcome.backup)},
                             {"verified", outcome.wrong.empty() && outcome.error.empty()},
                             {"wrong", differences_json(outcome.wrong)},
                             {"error", text_or_null(outcome.error)}});
}

std::string text_of(const eeprom::Decoded &decoded, const std::string &name) {
    const eeprom::Field *field = decoded.field(name);
    return field != nullptr ? field->text : "-";
}

std::string shown(const std::string &text) {
    return text.empty() ? "(empty)" : text;
}

int set(const Options &options, WriteRequest request) {
    const std::vector<eeprom::Edit> edits = take_edits(request.words);
    if (edits.empty()) {
        throw UsageError("nothing to set: FIELD=TEXT is missing, such as serial_number=AB123");
    }
    const ImagePlace place = place_of(request.words, request.place, options);
    if (place.is_file) {
        throw UsageError(
            fmt::format("'{}' is no unit; change a file with decode and encode", place.name));
    }
    request.write.force = options.force;
    const Update update = change_fields(place, edits, request.write);
    if (options.json) {
        print_json_outcome(options, "eeprom set", place, update.changes, update.outcome);
        return update.outcome.status;
    }
    for (const eeprom::Field &field : update.after.fields) {
        const std::string before = text_of(update.before, field.name);
        if (before != field.text && update.outcome.error.empty()) {
            print_wrapped(options.out,
                          fmt::format("{} {}: {} -> {}", place.name, field.name, shown(before),
                                      shown(field.text)),
                          2);
        }
    }
    if (update.changes.empty()) {
        fmt::print(options.out, "{}: nothing to change\n", place.name);
    }
    return update.outcome.status;
}

/// The image is right already, the change ended before the protection was put back.
void put_back_alone(const Backup &backup, WriteOutcome &outcome) {
    const dfd_tools::SignalsHeld held;
    if (const std::string failed = put_back(backup.protection); !failed.empty()) {
        outcome.error = "the write protection cannot be put back: " + failed;
        outcome.status = kExitReadingFailed;
        complain(fmt::format("{}: {}", backup.place.name, outcome.error));
    }
}

int restore(const Options &options, WriteRequest request) {
    const Backup backup = load_backup(request.words.front());
    const ImagePlace place = place_now(backup, options);
    const eeprom::Bytes now = read_image(place);
    if (progress_of(backup, now) == Progress::neither && !options.force) {
        throw EepromFailure(
            kExitReadingFailed,
            fmt::format("{}: it holds {}: another unit may be plugged; --force writes all the same",
                        place.name, progress_text(backup, now)));
    }
    const auto changes = eeprom::differences(now, backup.before);
    const std::string lifted = changed_protection(backup.protection);
    request.write.force = options.force;
    WriteOutcome outcome = write_image(
        place, now, backup.before,
        backup.protection.empty() ? protection_of(place) : backup.protection, request.write);
    if (changes.empty() && !lifted.empty()) {
        put_back_alone(backup, outcome);
    }
    if (options.json) {
        print_json_outcome(options, "eeprom restore", place, changes, outcome);
    } else if (outcome.error.empty()) {
        print_wrapped(options.out,
                      fmt::format("{}: {}{}", place.name,
                                  changes.empty() ? "is as the backup has it" : "restored",
                                  lifted.empty() ? "" : "; write protection put back: " + lifted),
                      2);
    }
    return outcome.status;
}

}  // namespace

ImagePlace place_now(const Backup &backup, const Options &options) {
    std::vector<std::string> words;
    std::istringstream stream(backup.place.name);
    for (std::string word; stream >> word;) {
        words.push_back(word);
    }
    if (words.empty() || words.front().starts_with("/dev/")) {
        return backup.place;
    }
    ImagePlace place = place_of(words, {}, options);
    if (place.device != backup.place.device || place.address != backup.place.address) {
        throw EepromFailure(
            kExitUsage,
            fmt::format("{} is on {} at 0x{:02x} now, it was saved from {} at 0x{:02x}", place.name,
                        place.device, place.address, backup.place.device, backup.place.address));
    }
    place.size = backup.place.size;
    return place;
}

int reporting(const std::function<int()> &run) {
    try {
        return run();
    } catch (const EepromFailure &failure) {
        complain(failure.what());
        return failure.status;
    } catch (const eeprom::Error &error) {
        complain(error.what());
        return kExitReadingFailed;
    }
}

void add_write_commands(Command &group, const Options &options) {
    auto wanted = std::make_shared<WriteRequest>();
    Command set_command = group.subcommand("set", "Change fields of a unit; the old image is kept",
                                           "dfdctl eeprom set fan 2 serial_number=AB123 --yes "
                                           "--backup fan2.backup");
    set_command.words(kWhat, wanted->words,
                      "board, fan N, power N, subcard N, backplane N, or --bus N --addr A, and the "
                      "fields: serial_number=AB123",
                      "UNIT FIELD=TEXT...", 1, 64);
    add_write_options(set_command, wanted->write);
    add_serial_option(set_command, wanted->write);
    add_place_options(set_command, wanted->place);
    set_command.runs(
        [&options, wanted] { return reporting([&] { return set(options, *wanted); }); });

    auto saved = std::make_shared<WriteRequest>();
    Command restore_command = group.subcommand("restore", "Put the old image back",
                                               "dfdctl eeprom restore fan2.backup --yes");
    restore_command.words(kWhat, saved->words, "File that 'set' has written", "FILE", 1, 1);
    add_write_options(restore_command, saved->write);
    restore_command.runs(
        [&options, saved] { return reporting([&] { return restore(options, *saved); }); });
}

void add_eeprom(Command &top, const Options &options) {
    Command group = top.subcommand("eeprom", "Read, check and change inventory EEPROMs",
                                   "dfdctl eeprom verify fan 2");
    group.needs_subcommand();
    add_read_commands(group, options);
    add_write_commands(group, options);
}

}  // namespace dfdctl
