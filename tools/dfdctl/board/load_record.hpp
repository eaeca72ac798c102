// SPDX-License-Identifier: MIT
// What the library did while it loaded its configuration, as watched: which files, which lines,
// what became of each, and which line set each item.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <memory_resource>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dfdctl/board/keys.hpp"
#include "framework/watch.h"

namespace dfdctl {

/// Members of info_ctrl, in the order of info_ctrl_mem_str.
enum CtrlMember {
    kMode,
    kIntCons,
    kSrc,
    kFrmt,
    kPola,
    kFpath,
    kAddr,
    kRegOffset,
    kLen,
    kBitOffset,
    kCtrlMembers
};

enum class FileRole { card_pid, listed, chassis };

struct ConfigFile {
    std::string path;  ///< as the library names it
    FileRole role;
    bool opened = true;
    bool is_passed_over = false;  ///< nothing could be read of it, and loading went on
    std::string error;            ///< why it could not be opened, or why loading stopped
    int failed_line = 0;          ///< where loading stopped; 0: it did not
    int lines = 0;
    int items = 0;                      ///< items that got their first line here
    std::vector<std::size_t> problems;  ///< lines without effect, in LoadRecord::lines

    bool failed() const { return !opened || failed_line != 0; }
};

/// A line that set an item or a member of it.
struct Origin {
    std::size_t file;    ///< index in LoadRecord::files
    int line;            ///< as an editor counts
    int member;          ///< dfd::watch::kNoMember for items without members
    std::size_t source;  ///< index in LoadRecord::lines
};

/// What the parser's reader takes of a line at a time.
constexpr std::size_t kReaderBytes = 255;

/// Texts that stay where they are until all go: one allocation for hundreds.
class Texts {
  public:
    /// A copy, with a NUL behind it.
    std::string_view keep(std::string_view text);

  private:
    std::vector<std::unique_ptr<char[]>> blocks_;
    char *end_ = nullptr;   ///< of the last block
    std::size_t left_ = 0;  ///< bytes before it
};

/// A line as the parser saw it; a line that is longer than its reader takes is several. The texts
/// are those of the LoadRecord.
struct SourceLine {
    std::size_t file;
    int line;                ///< as an editor counts
    int number;              ///< as the library counts
    std::size_t begin;       ///< bytes of the line before this part: not 0 where it was split
    std::string_view raw;    ///< line end included
    std::string_view name;   ///< empty where there is none
    std::string_view value;  ///< with a NUL behind it
    const dfd::KeyRow *row;
    int member;
    std::uint32_t index1;
    std::uint32_t index2;
    std::uint32_t key;
    dfd::watch::Step step;

    bool is_rest() const { return begin != 0; }
};

/// A line of the board's list of files.
struct ListLine {
    int line;
    std::string raw;   ///< line end included
    std::string path;  ///< the file that it stands for
};

/// The lines that set an item, in the order of loading.
using Setting = std::pmr::vector<Origin>;

struct LoadRecord {
    LoadRecord() = default;
    LoadRecord(LoadRecord &&) = default;
    /// As a whole: what the memory of one holds cannot go over to that of the other.
    LoadRecord &operator=(LoadRecord &&other) noexcept {
        if (this != &other) {
            std::destroy_at(this);
            std::construct_at(this, std::move(other));
        }
        return *this;
    }
    ~LoadRecord() = default;

    Texts texts;
    std::vector<ConfigFile> files;
    std::vector<SourceLine> lines;
    /// Of the origins: thousands of small pieces, which go all together.
    std::unique_ptr<std::pmr::monotonic_buffer_resource> memory =
        std::make_unique<std::pmr::monotonic_buffer_resource>();
    std::pmr::map<std::uint32_t, Setting> origins{memory.get()};  ///< by key
    std::string list_path;                                        ///< the board's list of files
    std::string list_error;                                       ///< why it could not be opened
    std::vector<ListLine> list;

    /// Where an item was set: "cm8_fans.cfg:41-47"; the last file that set it counts.
    std::string origin_of(std::uint32_t key) const;
    /// The line that set a member last, or null; dfd::watch::kNoMember of items without members.
    const SourceLine *line_of(std::uint32_t key, int member) const;
    /// The same of the lines of an item.
    const SourceLine *line_of(const Setting &setting, int member) const;
};

/// Configuration files, and their names, may hold anything; what a terminal gets is text.
std::string printable(std::string text);
/// Whether a line did nothing, though it was meant to.
bool has_problem(const SourceLine &line);
/// What became of such a line; empty for any other. The nearest names are looked for: for what is
/// shown only.
std::string problem_of(const SourceLine &line);

/// Why a file is never opened at a desk, where nobody feeds a pipe and a device has no end: "it is
/// a named pipe". Empty for one that may be.
std::string refusal_of(const std::string &path);

/// Installs hooks for as long as it lives.
class Watching {
  public:
    explicit Watching(const dfd::watch::Hooks &hooks) : outer_(dfd::watch::hooks) {
        dfd::watch::hooks = &hooks;
    }
    ~Watching() { dfd::watch::hooks = outer_; }
    Watching(const Watching &) = delete;
    Watching &operator=(const Watching &) = delete;

  private:
    const dfd::watch::Hooks *outer_;
};

/// Fills a log: hooks() is to be installed while the library loads.
class LoadWatcher {
  public:
    LoadWatcher();
    LoadWatcher(const LoadWatcher &) = delete;
    LoadWatcher &operator=(const LoadWatcher &) = delete;

    /// Of the lines, those of one item are kept, and those that have a problem; of the items of a
    /// file, only that one is counted.
    void keep_only(std::uint32_t key) { only_ = key; }
    /// Configuration files are read below this directory.
    void set_root(std::string root);
    /// Goes on behind lines and files that fail, as the library does not, and prints nothing.
    void read_everything();
    /// Answers all that the library asks of the outside while it loads, with the result of
    /// `answer`; it does not sleep.
    void set_answers(std::function<void(const dfd::watch::EngineCall &)> engine_begin,
                     std::function<int(const dfd::watch::Transfer &)> answer);

    dfd::watch::Hooks &hooks() { return hooks_; }
    LoadRecord take() { return std::move(log_); }

  private:
    const char *map(const char *path);
    /// Why the file that was mapped last could not be opened; empty when it was.
    std::string why(int error) const;
    int unreadable(const std::string &path) const;
    void file_opened(std::string_view path, int error);
    void line(const dfd::watch::Line &line);
    void keep(SourceLine line);
    Setting &origins_of(std::uint32_t key);

    dfd::watch::Hooks hooks_;
    LoadRecord log_;
    std::string root_;
    std::string mapped_path_;
    std::string refusal_;         ///< of the file that is opened next
    std::size_t begin_ = 0;       ///< of the next part of a line
    Setting *origins_ = nullptr;  ///< of the item that was set last
    std::uint32_t key_ = 0;       ///< of that
    std::optional<std::uint32_t> only_;
    std::function<void(const dfd::watch::EngineCall &)> engine_begin_;
    std::function<int(const dfd::watch::Transfer &)> answer_;
};

}  // namespace dfdctl
