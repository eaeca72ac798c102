// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "dfdctl/command.hpp"
#include "dfdctl/new_board/board_files.hpp"
#include "eeprom/build.hpp"

namespace dfdctl::new_board {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kImageDescription = ".bin.toml";
constexpr std::string_view kToml = ".toml";
constexpr fs::perms kDirectoryMode = fs::perms::owner_all | fs::perms::group_read |
                                     fs::perms::group_exec | fs::perms::others_read |
                                     fs::perms::others_exec;

[[noreturn]] void fail(const fs::path &path, const std::string &why) {
    throw std::runtime_error(fmt::format("{}: {}", path.string(), why));
}

/// A directory beside the one that is to be, which is removed again unless it was moved there.
class Draft {
  public:
    explicit Draft(const fs::path &target) : target_(target) {
        std::string path = (target.parent_path() / ("." + target.filename().string() + "-XXXXXX"));
        if (mkdtemp(path.data()) == nullptr) {
            fail(target, std::strerror(errno));
        }
        path_ = path;
        fs::permissions(path_, kDirectoryMode);
    }
    ~Draft() {
        std::error_code ignored;
        if (!path_.empty()) {
            fs::remove_all(path_, ignored);
        }
    }
    Draft(const Draft &) = delete;
    Draft &operator=(const Draft &) = delete;

    const fs::path &path() const { return path_; }

    void publish() {
        if (renameat2(AT_FDCWD, path_.c_str(), AT_FDCWD, target_.c_str(), RENAME_NOREPLACE) != 0) {
            fail(target_, std::strerror(errno));
        }
        path_.clear();
    }

  private:
    fs::path target_;
    fs::path path_;
};

void write_file(const fs::path &path, std::string_view content) {
    fs::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
    file.close();
    if (!file) {
        fail(path, "cannot be written");
    }
}

void write_image(const fs::path &path, const fs::path &description) {
    const eeprom::Bytes bytes = eeprom::build_image(description.string());
    write_file(path, {reinterpret_cast<const char *>(bytes.data()), bytes.size()});
}

}  // namespace

std::vector<std::string> write_board(const std::string &parent, const std::string &name,
                                     std::span<const File> files) {
    const fs::path target = fs::path(parent) / name;
    if (!fs::is_directory(parent)) {
        throw UsageError(fmt::format("--dir {}: there is no such directory", parent));
    }
    if (fs::exists(fs::symlink_status(target))) {
        throw UsageError(fmt::format("{} exists already and is left as it is; choose another name",
                                     target.lexically_normal().string()));
    }
    Draft draft(target);
    std::vector<std::string> written;
    for (const File &file : files) {
        write_file(draft.path() / file.path, file.content);
        written.push_back(file.path);
        if (file.path.ends_with(kImageDescription)) {
            const std::string image = file.path.substr(0, file.path.size() - kToml.size());
            write_image(draft.path() / image, draft.path() / file.path);
            written.push_back(image);
        }
    }
    draft.publish();
    std::ranges::sort(written);
    return written;
}

}  // namespace dfdctl::new_board
