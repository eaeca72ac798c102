// SPDX-License-Identifier: MIT
// The files that a board loads, and the board types that lead to it.
#include <dfd/framework.h>
#include <dfd/keys.h>
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>

#include "dfdctl/board/find_boards.hpp"
#include "dfdctl/board/offline.hpp"
#include "dfdctl/lint/files.hpp"
#include "dfdctl/lint/lines.hpp"
#include "dfdctl/lint/lint.hpp"
#include "dfdctl/lint/survey.hpp"
#include "hal/board_bus.h"

#include <fmt/format.h>

namespace dfdctl::lint {

namespace {

namespace fs = std::filesystem;

using dfd::watch::Step;

/// A file that the library reads without complaint, though nothing comes of it.
void check_content(Check &check, const ConfigFile &file) {
    const LoadRecord &log = check.log();
    std::error_code error;
    if (fs::is_directory(check.root() + file.path, error)) {
        check.at_file("file-empty", file.path, 1,
                      "this is a directory: it is opened, but there is nothing to read in it");
        return;
    }
    const auto index = static_cast<std::size_t>(&file - log.files.data());
    const bool is_said = std::ranges::any_of(log.lines, [&](const SourceLine &line) {
        return line.file == index && line.step != Step::blank && line.step != Step::comment;
    });
    if (!is_said && file.role == FileRole::listed &&
        encoding_of_file(check.root() + file.path) != Encoding::utf16) {
        check.at_file("file-empty", file.path, 1,
                      fmt::format("the file sets nothing: it {}; take it off the list, if that is "
                                  "meant",
                                  file.lines == 0 ? "is empty" : "has only comments"));
    }
}

/// "board types 0x3, 0x4 and 12 more"
std::string some_types(const std::set<std::uint32_t> &types) {
    constexpr std::size_t kShown = 4;
    std::string text = types.size() == 1 ? "board type" : "board types";
    std::size_t shown = 0;
    for (const std::uint32_t type : types) {
        if (shown == kShown) {
            return text + fmt::format(" and {} more", types.size() - shown);
        }
        text += fmt::format("{} 0x{:x}", shown == 0 ? "" : ",", type);
        ++shown;
    }
    return text;
}

/// Board types and the first line of each.
using PidLines = std::map<std::uint32_t, const SourceLine *>;

PidLines pid_lines(const Check &check) {
    PidLines lines;
    for (const SourceLine &line : check.log().lines) {
        if (line.step == Step::stored && line.row->type == DFD_KEY_CARD_PID_STR) {
            lines.try_emplace(line.index1, &line);
        }
    }
    return lines;
}

/// The list that a board type was meant to have, if it has none: the only one that nothing leads
/// to, or the one whose digits are the same.
std::optional<int> list_meant(std::uint32_t type, const std::vector<int> &lonely, bool is_only) {
    const auto same_digits = std::ranges::find_if(
        lonely, [type](int list) { return fmt::format("{}", type) == fmt::format("{:x}", list); });
    if (same_digits != lonely.end()) {
        return *same_digits;
    }
    return is_only && lonely.size() == 1 ? std::optional(lonely[0]) : std::nullopt;
}

/// The text that the platform leaves for the board in this directory.
std::optional<std::string> product_id(const std::string &root) {
    const std::string path = root + dfd::kProductIdFile;
    std::error_code error;
    if (!fs::is_regular_file(path, error)) {
        return std::nullopt;
    }
    std::string text(dfd::kProductIdLength, '\0');
    std::ifstream(path).read(text.data(), dfd::kProductIdLength);
    text.erase(std::min(text.find_first_of(std::string_view("\r\n\0", 3)), text.size()));
    return text;
}

/// The board type that the library takes a product identifier for; negative for none.
int type_of_product_id(std::string text) {
    dfd::watch::Hooks hooks;
    hooks.context = &text;
    hooks.answer = [](void *context, const dfd::watch::Transfer &transfer, int *result) {
        const std::string &content = *static_cast<std::string *>(context);
        const std::size_t count = std::min<std::size_t>(transfer.len, content.size());
        std::copy_n(content.begin(), count, transfer.data);
        *result = static_cast<int>(count);
        return true;
    };
    const Watching watching(hooks);
    return dfd_dev_type_from_product_id();
}

/// `unknown` are types without a list that no other finding is about.
void check_product_id(Check &check, PidLines &unknown) {
    const std::optional<std::string> text = product_id(check.root());
    const bool has_pids = std::ranges::any_of(check.log().files, [](const ConfigFile &file) {
        return file.role == FileRole::card_pid && file.opened;
    });
    if (!text || !has_pids) {
        return;
    }
    const int type = type_of_product_id(*text);
    if (type < 0) {
        check.at_file("product-id-unknown", dfd::kProductIdFile, 1,
                      fmt::format("no card_pid_str begins '{}': only the board EEPROM can tell the "
                                  "board type",
                                  *text));
    } else if (unknown.erase(static_cast<std::uint32_t>(type)) != 0) {
        check.at_file("product-id-unknown", dfd::kProductIdFile, 1,
                      fmt::format("'{}' leads to board type 0x{:x}, which has no list of files: "
                                  "the library does not start",
                                  *text, type));
    }
}

/// Board types that product identifiers lead to and that have no list.
void check_types(Check &check) {
    std::vector<int> known = board_types(check.root());
    const PidLines pids = pid_lines(check);
    std::vector<int> lonely = known;
    std::erase_if(lonely,
                  [&](int list) { return pids.contains(static_cast<std::uint32_t>(list)); });
    PidLines unknown = pids;
    for (const std::string &list : misnamed_lists(check.root())) {
        const std::vector<int> meant = types_meant(list);
        known.insert(known.end(), meant.begin(), meant.end());
    }
    std::erase_if(unknown, [&](const auto &pid) {
        return std::ranges::find(known, static_cast<int>(pid.first)) != known.end();
    });
    const bool is_only = unknown.size() == 1;
    for (const auto &[type, line] : PidLines(unknown)) {
        if (const std::optional<int> list = list_meant(type, lonely, is_only)) {
            check.at_index("list-without-pid", *line,
                           fmt::format("no list of files for board type 0x{0:x} ({0}), and no "
                                       "product identifier leads to the list 0x{1:x} ({1}): are "
                                       "they one board?",
                                       type, *list));
            unknown.erase(type);
        }
    }
    check_product_id(check, unknown);
    if (!unknown.empty()) {
        const auto first =
            std::ranges::min_element(unknown, {}, [](const auto &pid) { return pid.second; });
        std::set<std::uint32_t> types;
        for (const auto &[type, line] : unknown) {
            types.insert(type);
        }
        check.at_index("list-unknown-type", *first->second,
                       fmt::format("no list of files for {}: the library does not start there",
                                   some_types(types)));
    }
}

/// A board that its EEPROM alone tells has neither this file nor a product identifier.
bool is_pid_file_missed(const std::string &root, const std::string &path) {
    std::error_code error;
    return fs::exists(root + dfd::kProductIdFile, error) ||
           fs::exists(fs::symlink_status(root + path, error));
}

void check_missing_pids(Check &check, const ConfigFile &file) {
    const std::string name(kPidFile);
    if (const std::string_view at = misplaced_in(check.root(), kFileDirectory, name); !at.empty()) {
        add_misplaced(check, at, name);
    } else if (is_pid_file_missed(check.root(), file.path) &&
               check_open(check, kFileDirectory, true)) {
        check.at_file("pid-file-missing", file.path, 1,
                      fmt::format("{}{}: no product identifier tells a board type, only the board "
                                  "EEPROM can",
                                  file.error, hint_of_link(check.root() + file.path)));
    }
}

bool is_listed(const LoadRecord &log, std::string_view path) {
    return std::ranges::find(log.list, path, &ListLine::path) != log.list.end();
}

/// Counts that a chassis file would raise are no mistake where it is not found for another one.
void excuse_counts(Check &check) {
    check.withdraw("fan-beyond");
    check.withdraw("fan-count-missing");
}

void check_missing_chassis(Check &check, const ConfigFile &file) {
    const std::string name = fs::path(file.path).filename();
    const std::string_view at = misplaced_in(check.root(), kChassisDirectory, name);
    const bool is_misplaced =
        !at.empty() && !is_listed(check.log(), std::string(kFileDirectory) + name);
    if (is_misplaced) {
        add_misplaced(check, at, name);
    }
    const std::string link = hint_of_link(check.root() + file.path);
    const bool is_open = check_open(check, kChassisDirectory, false);
    if (is_misplaced || !is_open || !link.empty()) {
        excuse_counts(check);
    }
    if (!is_misplaced && is_open && !is_chassis_unclear(check)) {
        check.at_file("chassis-file-missing", file.path, 1,
                      fmt::format("{}{}: in this chassis the board has the values of its own files "
                                  "only",
                                  file.error, link));
    }
}

}  // namespace

bool has_all_files(const LoadRecord &log) {
    return std::ranges::none_of(log.files, [](const ConfigFile &file) {
        return file.role == FileRole::listed && !file.opened;
    });
}

bool is_chassis_unclear(const Check &check) {
    return check.has_error(DFD_KEY_E2_SETMAC);
}

void check_files(Check &check) {
    const LoadRecord &log = check.log();
    if (log.list_path.empty()) {
        return;
    }
    check_list(check);
    for (const ConfigFile &file : log.files) {
        if (file.opened) {
            check_content(check, file);
        } else if (file.role == FileRole::card_pid) {
            check_missing_pids(check, file);
        } else if (file.role == FileRole::chassis) {
            check_missing_chassis(check, file);
        }
    }
    const auto is_misplaced = [&](const std::string &path) { return !is_listed(log, path); };
    if (std::ranges::find(log.files, FileRole::chassis, &ConfigFile::role) == log.files.end() &&
        std::ranges::any_of(misplaced_chassis(check.root()), is_misplaced)) {
        excuse_counts(check);
    }
    check_types(check);
}

}  // namespace dfdctl::lint
