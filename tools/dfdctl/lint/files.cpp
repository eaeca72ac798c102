// SPDX-License-Identifier: MIT
// The board's list, the files that it names, the chassis file.
#include <dfd/framework.h>
#include <dfd/keys.h>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <unordered_map>

#include "common/nearest.hpp"
#include "dfdctl/board/find_boards.hpp"
#include "dfdctl/board/offline.hpp"
#include "dfdctl/lint/lines.hpp"
#include "dfdctl/lint/lint.hpp"
#include "dfdctl/lint/survey.hpp"
#include "hal/board_bus.h"

#include <fmt/format.h>

namespace dfdctl::lint {

namespace {

namespace fs = std::filesystem;

using dfd::watch::Step;

constexpr std::string_view kListDirectory = "/etc/cfg/dfd/file_name/";
constexpr std::string_view kFileDirectory = "/etc/cfg/dfd/cfg_file/";
constexpr std::string_view kChassisDirectory = "/etc/cfg/dfd/chassis/";
constexpr std::string_view kSuffix = ".cfg";
constexpr std::string_view kPidFile = "card_pid.cfg";
constexpr int kNameBytes = 30;  // its line end and the terminator fill the library's buffer

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

/// The name that a line of the list stands for.
std::string name_of(const ListLine &line) {
    return line.path.substr(kFileDirectory.size(),
                            line.path.size() - kFileDirectory.size() - kSuffix.size());
}

/// What a name may mean that no file has; `there` are the names of those that exist.
std::string hint_of_name(const ListLine &line, const std::vector<std::string> &there) {
    constexpr std::string_view kEndBlanks = " \r\n";
    const std::string name = name_of(line);
    if (name.find('#') != std::string::npos) {
        return "; a list takes no comments";
    }
    if (name.find('\t') != std::string::npos) {
        return "; a tab is part of the name, delete it";
    }
    const std::size_t begin = line.raw.find_first_not_of(kEndBlanks);
    if (const std::size_t blank = line.raw.find(' ', begin);
        line.raw.find_first_not_of(kEndBlanks, blank) != std::string::npos) {
        return "; the space is deleted: write one name a line";
    }
    if (name.find(',') != std::string::npos) {
        return "; write one name a line";
    }
    if (name.find('/') != std::string::npos) {
        return "; write the name without its directory";
    }
    if (name.ends_with(kSuffix)) {
        return "; write the name without '.cfg'";
    }
    return dfd_tools::did_you_mean(name, std::vector<std::string_view>(there.begin(), there.end()));
}

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
    if (!is_said && file.role == FileRole::listed) {
        check.at_file("file-empty", file.path, 1,
                      fmt::format("the file sets nothing: it {}; take it off the list, if that is "
                                  "meant",
                                  file.lines == 0 ? "is empty" : "has only comments"));
    }
}

/// A list while it is walked: lines as an editor counts them.
class ListWalk {
  public:
    explicit ListWalk(Check &check) : check_(check) {
        for (const ConfigFile &file : check.log().files) {
            files_.emplace(file.path, &file);
        }
        for (const std::string &name : files_in(check.root() + std::string(kFileDirectory))) {
            if (name.ends_with(kSuffix)) {
                there_.push_back(name.substr(0, name.size() - kSuffix.size()));
            }
        }
        std::sort(there_.begin(), there_.end());
    }

    void walk() {
        const std::vector<ListLine> &list = check_.log().list;
        const std::string_view foreign = list.empty() ? "" : foreign_encoding(list.front().raw);
        if (!foreign.empty()) {
            number_ = 1;
            at("byte-order-mark", fmt::format("the list {}", foreign));
            return;
        }
        for (std::size_t i = 0; i < list.size(); ++i) {
            ++number_;
            const bool is_split = !list[i].raw.ends_with('\n') && i + 1 < list.size();
            if (!is_split) {
                judge(list[i]);
                continue;
            }
            at("list-name-long",
               fmt::format("a name of over {} characters is read as two, here as '{}' and '{}': "
                           "loading stops there, files behind it are lost",
                           kNameBytes, name_of(list[i]), name_of(list[i + 1])));
            while (i + 1 < list.size() && !list[i].raw.ends_with('\n')) {
                ++i;
            }
        }
    }

  private:
    void judge(const ListLine &line) {
        const std::string name = name_of(line);
        if (name.empty()) {
            at("list-line-empty",
               "an empty line stands for the file '.cfg': loading stops here; delete the line");
            return;
        }
        const auto [earlier, is_new] = seen_.emplace(line.path, number_);
        if (!is_new) {
            at("list-duplicate",
               fmt::format("'{}' is listed in line {} already: the second time its lines replace "
                           "what files between them have set",
                           name, earlier->second));
        }
        const auto found = files_.find(line.path);
        if (is_new && found != files_.end() && !found->second->opened) {
            at("file-missing",
               fmt::format(
                   "{} cannot be opened ({}): loading stops here, files behind it are lost{}",
                   line.path, found->second->error, hint(line, *found->second)));
        }
    }

    /// What may be wrong with a name that leads to no file.
    std::string hint(const ListLine &line, const ConfigFile &file) const {
        const std::string path = check_.root() + line.path;
        std::error_code error;
        if (fs::is_symlink(path, error)) {
            return fmt::format("; it is a link to '{}'", fs::read_symlink(path, error).string());
        }
        return file.error == std::strerror(ENOENT) ? hint_of_name(line, there_) : "";
    }

    void at(std::string_view rule, std::string text) {
        check_.at_file(rule, check_.log().list_path, number_, std::move(text));
    }

    Check &check_;
    std::unordered_map<std::string_view, const ConfigFile *> files_;
    std::vector<std::string> there_;
    std::map<std::string, int> seen_;
    int number_ = 0;
};

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
    const std::vector<int> known = board_types(check.root());
    const PidLines pids = pid_lines(check);
    std::vector<int> lonely = known;
    std::erase_if(lonely,
                  [&](int list) { return pids.contains(static_cast<std::uint32_t>(list)); });
    PidLines unknown = pids;
    std::erase_if(unknown, [&](const auto &pid) {
        return std::ranges::binary_search(known, static_cast<int>(pid.first));
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
};

/// A board that its EEPROM alone tells has neither this file nor a product identifier.
bool is_pid_file_missed(const std::string &root, const std::string &path) {
    std::error_code error;
    return fs::exists(root + dfd::kProductIdFile, error) ||
           fs::exists(fs::symlink_status(root + path, error));
}

/// "; it belongs in chassis/" for a file whose name is right in another directory than its own.
std::string other_home(std::string_view own, const std::string &name) {
    // A digit begins the name of a list or of a chassis file.
    const bool is_of_board = own == kListDirectory && name.ends_with(kSuffix) &&
                             (name.front() < '0' || name.front() > '9');
    if (is_of_board || (own != kFileDirectory && name == kPidFile)) {
        return "; it belongs in cfg_file/";
    }
    for (const NameRule &rule : kNameRules) {
        if (rule.directory != own && rule.is_right(name)) {
            const fs::path home = fs::path(rule.directory).parent_path().filename();
            return fmt::format("; it belongs in {}/", home.string());
        }
    }
    return "";
}

/// False when the lists of the boards cannot be seen.
bool check_readable(Check &check, const std::string &root) {
    bool is_readable = true;
    for (const std::string_view directory : {kChassisDirectory, kFileDirectory, kListDirectory}) {
        std::error_code error;
        fs::directory_iterator(root + std::string(directory), error);
        is_readable = !error || error == std::errc::no_such_file_or_directory;
        if (!is_readable) {
            check.at_file("directory-unreadable", directory.substr(0, directory.size() - 1), 1,
                          fmt::format("{}: no file in it is ever loaded", error.message()));
        }
    }
    return is_readable;
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

bool is_chassis_unclear(const Check &check) {
    return check.has_error(DFD_KEY_E2_SETMAC);
}

void check_files(Check &check) {
    const LoadRecord &log = check.log();
    if (log.list_path.empty()) {
        return;
    }
    if (log.list.empty()) {
        check.at_file("list-empty", log.list_path, 1,
                      log.list_error.empty() ? "the list names no file: nothing is configured"
                                             : "the list cannot be read: " + log.list_error);
    }
    ListWalk(check).walk();
    for (const ConfigFile &file : log.files) {
        if (file.opened) {
            check_content(check, file);
        }
        if (!file.opened && file.role == FileRole::card_pid &&
            is_pid_file_missed(check.root(), file.path)) {
            check.at_file("pid-file-missing", file.path, 1,
                          fmt::format("{}: no product identifier tells a board type, only the "
                                      "board EEPROM can",
                                      file.error));
        }
        if (!file.opened && file.role == FileRole::chassis && !is_chassis_unclear(check)) {
            check.at_file("chassis-file-missing", file.path, 1,
                          fmt::format("{}: in this chassis the board has the values of its own "
                                      "files only",
                                      file.error));
        }
    }
    check_types(check);
}

void check_directory(Check &check, const Boards &boards) {
    const std::string &root = check.root();
    if (check_readable(check, root) && board_types(root).empty()) {
        check.at_file("list-empty", kListDirectory.substr(0, kListDirectory.size() - 1), 1,
                      "no list of files here: the library starts on no board");
    }
    for (const NameRule &rule : kNameRules) {
        const std::string directory(rule.directory);
        for (const std::string &name : files_in(root + directory)) {
            if (!rule.is_right(name)) {
                const std::string home = other_home(directory, name);
                check.at_file("file-name-odd", directory + name, 1,
                              home.empty() ? fmt::format("never read: {}", rule.form)
                                           : fmt::format("never read here{}", home));
            }
        }
    }
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
                    const std::set<std::uint32_t> &configured) {
    std::vector<std::uint32_t> alone;
    for (const auto &[key, origins] : check.log().origins) {
        if (!configured.contains(key)) {
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
