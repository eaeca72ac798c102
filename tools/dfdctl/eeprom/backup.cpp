// SPDX-License-Identifier: MIT
#include "dfdctl/eeprom/backup.hpp"
#include "common/text.hpp"

#include <fcntl.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>

#include <fmt/chrono.h>
#include <fmt/format.h>

namespace dfdctl {

namespace {

namespace fs = std::filesystem;
using eeprom::Bytes;

constexpr const char *kFirstLine = "dfdctl eeprom backup 1";
constexpr mode_t kMode = 0644;
constexpr const char *kNameOffset = "name_offset";
constexpr const char *kVersionOffset = "version_offset";
constexpr const char *kUnreadable = "unreadable";

std::string own_name(const ImagePlace &place) {
    std::string unit = place.name;
    for (char &c : unit) {
        c = std::isalnum(static_cast<unsigned char>(c)) != 0 ? c : '-';
    }
    const std::time_t now = std::time(nullptr);
    return fmt::format("eeprom-{}-{:%Y%m%d-%H%M%S}-{}.backup",
                       unit.substr(unit.find_first_not_of('-')), fmt::localtime(now), getpid());
}

std::string rows(const char *key, const Bytes &bytes) {
    constexpr std::size_t kRow = 16;
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); at += kRow) {
        const auto row = std::span(bytes).subspan(at, std::min(kRow, bytes.size() - at));
        text += fmt::format("{} {:04x} {}\n", key, at, dfd_tools::hex_text(row));
    }
    return text;
}

/// "protection 2 0xff": index of the signal, and the byte of its register.
std::string protection_lines(const Backup &backup) {
    std::string lines;
    for (const FoundSignal &each : backup.protection) {
        const auto *byte = std::get_if<std::int64_t>(&each.byte.value);
        lines += fmt::format("protection {} {}\n", each.signal.index1,
                             byte != nullptr ? fmt::format("0x{:02x}", *byte) : kUnreadable);
    }
    return lines;
}

std::string hint_lines(const eeprom::Hint &hint) {
    std::string lines = fmt::format("layout {}\n", layout_name(hint.layout));
    for (const auto &[key, offset] : {std::pair(kNameOffset, hint.name_offset),
                                      std::pair(kVersionOffset, hint.version_offset)}) {
        lines += offset ? fmt::format("{} {}\n", key, *offset) : "";
    }
    return lines;
}

std::string text_of(const Backup &backup) {
    const ImagePlace &place = backup.place;
    return fmt::format("{}\nunit {}\ndevice {}\naddress 0x{:02x}\nsize {}\n{}{}{}{}end\n",
                       kFirstLine, place.name, place.device, place.address, place.size,
                       hint_lines(place.hint), protection_lines(backup),
                       rows("before", backup.before), rows("after", backup.after));
}

/// 0 or errno.
int write_all(int fd, std::string_view text) {
    while (!text.empty()) {
        const ssize_t done = write(fd, text.data(), text.size());
        if (done < 0 && errno != EINTR) {
            return errno;
        }
        text.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(done, 0)));
    }
    return fsync(fd) == 0 ? 0 : errno;
}

/// The name of a new file is on the disk only with its directory.
int sync_directory(const fs::path &file) {
    const fs::path directory = file.parent_path().empty() ? "." : file.parent_path();
    const int fd = open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) {
        return errno;
    }
    const int error = fsync(fd) == 0 ? 0 : errno;
    close(fd);
    return error;
}

int write_file(const std::string &path, const std::string &text) {
    // A file that exists may be the backup of an earlier change.
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kMode);
    if (fd < 0) {
        return errno;
    }
    int error = write_all(fd, text);
    error = close(fd) == 0 || error != 0 ? error : errno;
    error = error == 0 ? sync_directory(path) : error;
    if (error != 0) {
        unlink(path.c_str());
    }
    return error;
}

[[noreturn]] void refuse(const std::string &path, const std::string &reason) {
    throw EepromFailure(kExitUsage, fmt::format("{}: {}", path, reason));
}

/// "0010 41 42": the bytes from there on; false where they are none, or not the next ones.
bool add_row(Bytes &bytes, const std::string &row) {
    std::istringstream words(row);
    std::string word;
    words >> word;
    if (word != fmt::format("{:04x}", bytes.size())) {
        return false;
    }
    while (words >> word) {
        std::uint32_t byte = 0;
        if (word.size() != 2 || !parse_number("0x" + word, byte)) {
            return false;
        }
        bytes.push_back(static_cast<std::uint8_t>(byte));
    }
    return true;
}

bool add_signal(std::vector<FoundSignal> &protection, const std::string &row) {
    const std::size_t blank = std::min(row.find(' '), row.size());
    std::uint32_t index = 0;
    std::uint32_t byte = 0;
    if (!parse_number(row.substr(0, blank), index)) {
        return false;
    }
    const bool is_known = parse_number(row.substr(std::min(blank + 1, row.size())), byte);
    Reading reading = failure(Status::io_error, 0, kUnreadable);
    if (is_known) {
        reading = {.value = std::int64_t{byte}};
    }
    protection.push_back(found_before(index, reading));
    return is_known || row.ends_with(kUnreadable);
}

std::optional<std::size_t> offset_in(const std::string &text) {
    std::uint32_t offset = 0;
    return parse_number(text, offset) ? std::optional<std::size_t>(offset) : std::nullopt;
}

}  // namespace

std::string save_backup(const Backup &backup, const std::string &path) {
    const std::string file = path.empty() ? own_name(backup.place) : path;
    if (const int error = write_file(file, text_of(backup)); error != 0) {
        throw EepromFailure(
            kExitIo, fmt::format("the old image cannot be saved in {}: {}; nothing was written "
                                 "(--backup FILE names another place)",
                                 file, std::strerror(error)));
    }
    return file;
}

bool is_backup(const std::string &path) {
    std::ifstream file(path);
    std::string line;
    return refusal_of(path).empty() && std::getline(file, line) && line == kFirstLine;
}

Backup load_backup(const std::string &path) {
    if (const std::string refusal = refusal_of(path); !refusal.empty()) {
        refuse(path, refusal);
    }
    std::ifstream file(path);
    std::string line;
    if (!std::getline(file, line) || line != kFirstLine) {
        refuse(path, file.is_open() ? "this is no backup of dfdctl" : std::strerror(errno));
    }
    std::map<std::string, std::string> values;
    Backup backup{.place = {.name = {}}, .before = {}, .after = {}};
    bool is_whole = true;
    while (is_whole && std::getline(file, line) && line != "end") {
        const std::size_t blank = line.find(' ');
        const std::string key = line.substr(0, blank);
        const std::string value = blank == std::string::npos ? "" : line.substr(blank + 1);
        values[key] = value;
        is_whole = key == "before"       ? add_row(backup.before, value)
                   : key == "after"      ? add_row(backup.after, value)
                   : key == "protection" ? add_signal(backup.protection, value)
                                         : true;
    }
    std::uint32_t address = 0;
    std::uint32_t size = 0;
    is_whole = is_whole && line == "end" && parse_number(values["address"], address) &&
               parse_number(values["size"], size) && backup.before.size() == size &&
               backup.after.size() == size && !values["device"].empty();
    if (!is_whole) {
        refuse(path, "the backup is not whole");
    }
    backup.place.name = values["unit"];
    backup.place.device = values["device"];
    backup.place.address = static_cast<std::uint16_t>(address);
    backup.place.size = size;
    backup.place.hint = {
        .layout = eeprom::layout_named(values["layout"]).value_or(eeprom::Layout::unknown),
        .name_offset = offset_in(values[kNameOffset]),
        .version_offset = offset_in(values[kVersionOffset])};
    return backup;
}

Progress progress_of(const Backup &backup, const Bytes &now) {
    if (now == backup.before) {
        return Progress::before;
    }
    if (now == backup.after) {
        return Progress::after;
    }
    bool is_between = now.size() == backup.before.size();
    for (std::size_t i = 0; is_between && i < now.size(); ++i) {
        is_between = now[i] == backup.before[i] || now[i] == backup.after[i];
    }
    return is_between ? Progress::between : Progress::neither;
}

std::string progress_text(const Backup &backup, const Bytes &now) {
    std::size_t all = 0;
    std::size_t done = 0;
    for (std::size_t i = 0; i < backup.before.size() && i < now.size(); ++i) {
        const bool changes = backup.before[i] != backup.after[i];
        all += changes ? 1 : 0;
        done += changes && now[i] == backup.after[i] ? 1 : 0;
    }
    switch (progress_of(backup, now)) {
        case Progress::before:
            return "as before the change";
        case Progress::after:
            return "as after the change";
        case Progress::between:
            return fmt::format("between: {} of {} bytes are changed", done, all);
        default:
            return "neither as before the change nor as after it";
    }
}

}  // namespace dfdctl
