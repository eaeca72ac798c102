// SPDX-License-Identifier: MIT
// The board's list of files.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <unordered_map>

#include "common/nearest.hpp"
#include "dfdctl/lint/files.hpp"
#include "dfdctl/lint/lines.hpp"
#include "dfdctl/lint/lint.hpp"

#include <fmt/format.h>

namespace dfdctl::lint {

namespace {

namespace fs = std::filesystem;

constexpr int kNameBytes = 30;  // its line end and the terminator fill the library's buffer

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

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// Names on a line of a list, however it is written.
std::vector<std::string> names_on(std::string_view line) {
    constexpr std::string_view kBetween = " \t\r\n,";
    line = line.substr(0, line.find('#'));
    line.remove_prefix(line.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0);
    std::vector<std::string> names;
    for (std::size_t at = line.find_first_not_of(kBetween); at < line.size();
         at = line.find_first_not_of(kBetween, at)) {
        const std::size_t end = std::min(line.find_first_of(kBetween, at), line.size());
        std::string name = fs::path(line.substr(at, end - at)).filename();
        name.erase(name.ends_with(kSuffix) ? name.size() - kSuffix.size() : name.size());
        names.push_back(std::move(name));
        at = end;
    }
    return names;
}

/// The files that a name may mean: the one of that name, or else those that it is like.
void add_meant(std::set<std::string> &named, const std::string &name,
               const std::vector<std::string> &there) {
    constexpr std::size_t kMost = 3;
    std::vector<std::string> meant{name};
    if (!std::ranges::binary_search(there, name)) {
        meant = dfd_tools::nearest_names(
            name, std::vector<std::string_view>(there.begin(), there.end()), kMost);
    }
    for (const std::string &each : meant) {
        named.insert(fmt::format("{}{}{}", kFileDirectory, each, kSuffix));
    }
}

/// Names of the files that a list may name, sorted.
std::vector<std::string> listable(const std::string &root) {
    std::vector<std::string> names;
    for (const std::string &name : files_in(root + std::string(kFileDirectory))) {
        if (name.ends_with(kSuffix)) {
            names.push_back(name.substr(0, name.size() - kSuffix.size()));
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

/// A list while it is walked: lines as an editor counts them.
class ListWalk {
  public:
    explicit ListWalk(Check &check, bool has_files)
        : check_(check), there_(listable(check.root())), has_files_(has_files) {
        for (const ConfigFile &file : check.log().files) {
            files_.emplace(file.path, &file);
        }
    }

    void walk() {
        const std::vector<ListLine> &list = check_.log().list;
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
        if (has_files_ && is_new && found != files_.end() && !found->second->opened) {
            at("file-missing",
               fmt::format(
                   "{} cannot be opened ({}): loading stops here, files behind it are lost{}",
                   line.path, found->second->error, hint(line, *found->second)));
        }
    }

    /// What may be wrong with a name that leads to no file.
    std::string hint(const ListLine &line, const ConfigFile &file) const {
        if (std::string link = hint_of_link(check_.root() + line.path); !link.empty()) {
            return link;
        }
        if (file.error != std::strerror(ENOENT)) {
            return "";
        }
        const std::string_view elsewhere =
            misplaced_in(check_.root(), kFileDirectory, name_of(line) + std::string(kSuffix));
        return elsewhere.empty() ? hint_of_name(line, there_)
                                 : fmt::format("; it is in {}, where nobody reads it", elsewhere);
    }

    void at(std::string_view rule, std::string text) {
        check_.at_file(rule, check_.log().list_path, number_, std::move(text));
    }

    Check &check_;
    std::unordered_map<std::string_view, const ConfigFile *> files_;
    std::vector<std::string> there_;
    bool has_files_;  ///< else another finding tells that none can be opened
    std::map<std::string, int> seen_;
    int number_ = 0;
};

}  // namespace

std::string hint_of_link(const std::string &path) {
    std::error_code error;
    return fs::is_symlink(path, error)
               ? fmt::format("; it is a link to '{}'", fs::read_symlink(path, error).string())
               : "";
}

void check_list(Check &check) {
    const LoadRecord &log = check.log();
    const std::string path = check.root() + log.list_path;
    if (!log.list_error.empty()) {
        check.at_file(
            "list-empty", log.list_path, 1,
            fmt::format("the list cannot be read: {}{}", log.list_error, hint_of_link(path)));
        return;
    }
    const Encoding encoding = encoding_of_file(path);
    if (encoding != Encoding::plain) {
        check.at_file("byte-order-mark", log.list_path, 1,
                      fmt::format("the list {}", flaw_of(encoding)));
    } else if (log.list.empty()) {
        check.at_file("list-empty", log.list_path, 1,
                      "the list names no file: nothing is configured");
    } else {
        ListWalk(check, check_open(check, kFileDirectory, true)).walk();
    }
}

void Boards::add_list(const LoadRecord &log, const std::string &root) {
    const std::string path = root + log.list_path;
    std::error_code error;
    has_unread_list |= !log.list_error.empty() || fs::is_directory(path, error) ||
                       encoding_of_file(path) == Encoding::utf16;
    has_unclear_chassis |= std::ranges::any_of(log.files, [](const ConfigFile &file) {
        return file.role == FileRole::listed && !file.opened;
    });
    const std::vector<std::string> there = listable(root);
    std::string whole;  // the reader cuts lines that are long
    for (const ListLine &line : log.list) {
        named.insert(line.path);
        whole += line.raw;
        if (whole.ends_with('\n') || &line == &log.list.back()) {
            for (const std::string &name : names_on(whole)) {
                add_meant(named, name, there);
            }
            whole.clear();
        }
    }
}

void Boards::add_misnamed_lists(const std::string &root) {
    const std::vector<std::string> there = listable(root);
    for (const std::string &list : misnamed_lists(root)) {
        std::ifstream file(root + std::string(kListDirectory) + list);
        for (std::string line; std::getline(file, line);) {
            for (const std::string &name : names_on(line)) {
                add_meant(named, name, there);
            }
        }
        for (const int type : types_meant(list)) {
            named.insert(fmt::format("{}{}{}", kChassisDirectory, type, kSuffix));
        }
    }
}

}  // namespace dfdctl::lint
