// SPDX-License-Identifier: MIT
// The directories of a configuration: files that are never read, or not there.
#include <dfd/keys.h>
#include <algorithm>
#include <charconv>
#include <filesystem>
#include <iterator>

#include "common/text.hpp"
#include "dfdctl/board/find_boards.hpp"
#include "dfdctl/board/offline.hpp"
#include "dfdctl/lint/files.hpp"
#include "dfdctl/lint/lint.hpp"
#include "dfdctl/lint/survey.hpp"

#include <fmt/format.h>

namespace dfdctl::lint {

namespace {

namespace fs = std::filesystem;

bool is_decimal_name(const std::string &name) {
    const std::string_view stem =
        std::string_view(name).substr(0, name.size() - std::min(name.size(), kSuffix.size()));
    return name.ends_with(kSuffix) && !stem.empty() && stem.front() != '0' &&
           std::ranges::all_of(stem, [](char c) { return c >= '0' && c <= '9'; });
}

bool is_hex_name(const std::string &name) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    return name == "0x0" || (name.size() > 2 && name.starts_with("0x") && name[2] != '0' &&
                             name.find_first_not_of(kDigits, 2) == std::string::npos);
}

struct NameRule {
    std::string_view directory;
    bool (*is_right)(const std::string &name);
    std::string_view form;
};

constexpr NameRule kNameRules[] = {
    {kListDirectory, is_hex_name, "the library takes the board type in hexadecimal, as in '0x3e'"},
    {kChassisDirectory, is_decimal_name,
     "the library takes the chassis type in decimal, as in '8.cfg'"},
    {kBoardDirectory, [](const std::string & /*name*/) { return false; }, ""},
};

/// "62", "0x3E": a number is a name of a list or of a chassis file, however it is written.
bool is_number_name(std::string_view stem) {
    const bool is_hex = stem.starts_with("0x") || stem.starts_with("0X");
    return !stem.empty() && stem.find_first_not_of(is_hex ? "0123456789abcdefABCDEF" : "0123456789",
                                                   is_hex ? 2 : 0) == std::string_view::npos;
}

std::string_view stem_of(std::string_view name) {
    return name.substr(0, name.size() - (name.ends_with(kSuffix) ? kSuffix.size() : 0));
}

/// The directory that a file belongs in whose name is right there, if that is not its own; empty
/// for any other name.
std::string_view home_of(std::string_view own, const std::string &name) {
    if (own != kFileDirectory && name.ends_with(kSuffix) && !is_number_name(stem_of(name))) {
        return kFileDirectory;
    }
    const auto *const rule = std::ranges::find_if(kNameRules, [&](const NameRule &each) {
        return each.directory != own && each.is_right(name);
    });
    return rule != std::end(kNameRules) ? rule->directory : "";
}

/// "chassis/"
std::string_view last_part(std::string_view directory) {
    return directory.substr(directory.rfind('/', directory.size() - 2) + 1);
}

/// "; it belongs in chassis/" for a file whose name is right in another directory than its own.
std::string other_home(std::string_view own, const std::string &name) {
    const std::string_view home = home_of(own, name);
    return home.empty() ? "" : fmt::format("; it belongs in {}", last_part(home));
}

/// Chassis files that no board loads.
void check_unloaded(Check &check, const Boards &boards) {
    const bool has_backplane = std::ranges::any_of(boards.configured, [](std::uint32_t key) {
        return DFD_KEY_TYPE(key) == DFD_KEY_E2_SETMAC;
    });
    for (const int type : chassis_types(check.root())) {
        const std::string path = fmt::format("{}{}{}", kChassisDirectory, type, kSuffix);
        const bool is_told = type != 0 && type <= kLastToldChassis;
        if (!boards.named.contains(path) && !(is_told && boards.has_unclear_chassis)) {
            check.at_file(
                "chassis-file-unloaded", path, 1,
                fmt::format("never loaded: no board here is of type {}, and {}", type,
                            !is_told        ? "a backplane EEPROM tells types 1 to 255"
                            : has_backplane ? "what e2_setmac reads tells no board this chassis"
                                            : "none has an e2_setmac, which tells its chassis"));
        }
    }
}

}  // namespace

std::vector<std::string> files_in(const std::string &directory) {
    std::vector<std::string> names;
    std::error_code error;
    for (const fs::directory_entry &entry : fs::directory_iterator(directory, error)) {
        std::string name = entry.path().filename();
        if (!name.starts_with('.') && !entry.is_directory(error)) {
            names.push_back(std::move(name));
        }
    }
    return names;
}

bool check_open(Check &check, std::string_view directory, bool is_needed) {
    const std::string path = check.root() + std::string(directory);
    std::error_code error;
    // Whether files in it can be looked for, then whether it is a directory that can be read.
    if (fs::status(path + ".", error).type() != fs::file_type::none) {
        error.clear();
        fs::directory_iterator(path, error);
    }
    if (!error || (error == std::errc::no_such_file_or_directory && !is_needed)) {
        return true;
    }
    check.at_file("directory-unreadable", directory.substr(0, directory.size() - 1), 1,
                  fmt::format("{}: no file in it is ever loaded", error.message()));
    return false;
}

std::string_view misplaced_in(const std::string &root, std::string_view own,
                              const std::string &name) {
    const bool is_plain = name.find('/') == std::string::npos;
    for (const std::string_view directory :
         {kBoardDirectory, kListDirectory, kFileDirectory, kChassisDirectory}) {
        std::error_code error;
        if (directory != own && is_plain && home_of(directory, name) == own &&
            fs::is_regular_file(root + std::string(directory) + name, error)) {
            return directory;
        }
    }
    return "";
}

std::vector<std::string> misplaced_chassis(const std::string &root) {
    std::vector<std::string> paths;
    for (const std::string_view view : {kBoardDirectory, kListDirectory, kFileDirectory}) {
        const std::string directory(view);
        for (const std::string &name : files_in(root + directory)) {
            if (home_of(view, name) == kChassisDirectory) {
                paths.push_back(directory + name);
            }
        }
    }
    return paths;
}

void add_misplaced(Check &check, std::string_view directory, const std::string &name) {
    // A file that no list names has a finding of its own there.
    if (directory != kFileDirectory) {
        check.at_file("file-name-odd", std::string(directory) + name, 1,
                      fmt::format("never read here{}", other_home(directory, name)));
    }
}

std::vector<std::string> misnamed_lists(const std::string &root) {
    const std::string directory(kListDirectory);
    std::vector<std::string> names = files_in(root + directory);
    std::erase_if(names, [&](const std::string &name) {
        std::error_code error;
        return is_hex_name(name) || !home_of(kListDirectory, name).empty() ||
               !fs::is_regular_file(root + directory + name, error) ||
               !refusal_of(root + directory + name).empty();
    });
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<int> types_meant(std::string_view name) {
    constexpr int kHex = 16;
    constexpr int kDecimal = 10;
    name = stem_of(name);
    const bool is_hex = name.starts_with("0x") || name.starts_with("0X");
    name.remove_prefix(is_hex ? 2 : 0);
    std::vector<int> types;
    for (const int base : {kHex, kDecimal}) {
        int type = 0;
        const auto [end, error] =
            std::from_chars(name.data(), name.data() + name.size(), type, base);
        if (error == std::errc() && end == name.data() + name.size() && (base == kHex || !is_hex)) {
            types.push_back(type);
        }
    }
    return types;
}

/// Files whose names are right in none of the directories, or in another one.
void check_names_in(Check &check, const NameRule &rule, const Boards &boards) {
    const std::string directory(rule.directory);
    // What the missing list is named instead is told with it.
    const bool is_list_missing = rule.directory == kListDirectory && !boards.has_list;
    for (const std::string &name : files_in(check.root() + directory)) {
        const std::string_view home = home_of(directory, name);
        const std::string there = std::string(kFileDirectory) + name;
        std::error_code error;
        // A list that names it is told where it is.
        const bool is_told = home == kFileDirectory && boards.named.contains(there) &&
                             !fs::exists(check.root() + there, error);
        if (rule.is_right(name) || is_told) {
            continue;
        }
        if (!home.empty()) {
            add_misplaced(check, directory, name);
        } else if (!rule.form.empty() && !is_list_missing) {
            check.at_file("file-name-odd", directory + name, 1,
                          fmt::format("never read: {}", rule.form));
        }
    }
}

/// Directories with the name of a list, however that is written.
void check_closed_lists(Check &check) {
    std::error_code error;
    for (const fs::directory_entry &entry :
         fs::directory_iterator(check.root() + std::string(kListDirectory), error)) {
        const std::string name = entry.path().filename();
        if (is_number_name(name) && !is_hex_name(name) && entry.is_directory(error)) {
            check.at_file("file-name-odd", std::string(kListDirectory) + name, 1,
                          fmt::format("a directory, and never read: {}", kNameRules[0].form));
        }
    }
}

void check_directory(Check &check, const Boards &boards) {
    const std::string &root = check.root();
    check_open(check, kChassisDirectory, false);
    check_open(check, kFileDirectory, false);
    if (check_open(check, kListDirectory, false) && !boards.has_list) {
        const std::vector<std::string> misnamed = misnamed_lists(root);
        check.at_file(
            "list-empty", kListDirectory.substr(0, kListDirectory.size() - 1), 1,
            fmt::format("no list of files here: the library starts on no board{}",
                        misnamed.empty() ? ""
                                         : fmt::format("; '{}' never read: {}",
                                                       dfd_tools::joined(misnamed, "', '"),
                                                       kNameRules[0].form)));
    }
    for (const NameRule &rule : kNameRules) {
        check_names_in(check, rule, boards);
    }
    check_closed_lists(check);
    if (!boards.has_unread_list) {
        check_unloaded(check, boards);
    }
}

std::vector<std::string> unlisted_files(const std::string &root,
                                        const std::set<std::string> &listed) {
    std::vector<std::string> files;
    for (const std::string &name : files_in(root + std::string(kFileDirectory))) {
        std::string path = std::string(kFileDirectory) + name;
        if (name != kPidFile && !listed.contains(path)) {
            files.push_back(std::move(path));
        }
    }
    return files;
}

void check_unlisted(Check &check, const std::string &path,
                    std::span<const std::uint32_t> configured) {
    std::vector<std::uint32_t> alone;
    for (const auto &[key, origins] : check.log().origins) {
        if (!std::ranges::binary_search(configured, key)) {
            alone.push_back(key);
        }
    }
    if (alone.empty() || configured.empty()) {
        check.at_file("file-unlisted", path, 1,
                      fmt::format("no list names this file: it is never loaded{}",
                                  other_home(kFileDirectory, fs::path(path).filename())));
        return;
    }
    check.at_file("file-forgotten", path, 1,
                  fmt::format("no list names this file, though it alone sets {}{}: it is never "
                              "loaded{}",
                              as_written(item_of_key(alone[0])),
                              alone.size() > 1 ? fmt::format(" and {} more", alone.size() - 1) : "",
                              other_home(kFileDirectory, fs::path(path).filename())));
}

}  // namespace dfdctl::lint
