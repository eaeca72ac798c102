// SPDX-License-Identifier: MIT
#include "dfdctl/board/load_record.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "common/nearest.hpp"
#include "dfdctl/board/keys.hpp"

#include <fmt/format.h>

namespace dfdctl {

namespace {

using dfd::watch::Step;

constexpr std::string_view kPidFile = "/etc/cfg/dfd/cfg_file/card_pid.cfg";

LoadWatcher &self(void *context) {
    return *static_cast<LoadWatcher *>(context);
}

std::string unknown_key(const SourceLine &line) {
    const std::string bare(line.name.substr(0, line.name.find('.')));
    return fmt::format("ignored: '{}' is no item or member{}", line.name,
                       dfd_tools::did_you_mean(bare, key_names()));
}

/// For an LED table an empty value has a meaning: a state that the LED cannot show.
bool is_number_missing(const SourceLine &line) {
    if (!line.value.empty()) {
        return false;
    }
    const Kind kind = key_types()[line.row->type].kind;
    return kind != Kind::text && kind != Kind::led_info;
}

}  // namespace

std::string_view Texts::keep(std::string_view text) {
    constexpr std::size_t kBlock = 16384;
    const std::size_t size = text.size() + 1;
    if (left_ < size) {
        left_ = std::max(kBlock, size);
        blocks_.push_back(std::make_unique_for_overwrite<char[]>(left_));
        end_ = blocks_.back().get() + left_;
    }
    char *const kept = end_ - left_;
    left_ -= size;
    *std::copy(text.begin(), text.end(), kept) = '\0';
    return {kept, text.size()};
}

std::string printable(std::string text) {
    constexpr char kDelete = '\x7F';
    std::ranges::replace_if(
        text, [](char c) { return static_cast<unsigned char>(c) < ' ' || c == kDelete; }, '?');
    return text;
}

bool has_problem(const SourceLine &line) {
    return line.step == Step::stored ? is_number_missing(line)
                                     : line.step != Step::blank && line.step != Step::comment;
}

std::string problem_of(const SourceLine &line) {
    switch (line.step) {
        case Step::blank:
        case Step::comment:
            return {};
        case Step::no_equals:
            return "no '=' between name and value";
        case Step::no_name:
            return "no name before '='";
        case Step::unknown_key:
        case Step::refused_type:
        case Step::unknown_member:
            return printable(unknown_key(line));
        case Step::no_index1:
            return "no '_' and number behind the name";
        case Step::no_index2:
            return "no '_' and second number behind the first";
        case Step::index1_range:
            return fmt::format("index1[{}] invalid, max={}", static_cast<int>(line.index1),
                               line.row->max_index1);
        case Step::index2_range:
            return fmt::format("index2[{}] invalid, max={}", static_cast<int>(line.index2),
                               line.row->max_index2);
        case Step::not_stored:
            return printable(fmt::format("the text '{}' is too long", line.value));
        case Step::stored:
            break;
    }
    return is_number_missing(line) ? "no value behind '='" : "";
}

const SourceLine *LoadRecord::line_of(std::uint32_t key, int member) const {
    const auto found = origins.find(key);
    return found != origins.end() ? line_of(found->second, member) : nullptr;
}

const SourceLine *LoadRecord::line_of(const Setting &setting, int member) const {
    const auto last =
        std::find_if(setting.rbegin(), setting.rend(),
                     [member](const Origin &origin) { return origin.member == member; });
    return last != setting.rend() ? &lines[last->source] : nullptr;
}

std::string refusal_of(const std::string &path) {
    namespace fs = std::filesystem;
    constexpr std::uintmax_t kMostBytes = 16U << 20;
    std::error_code error;
    switch (fs::status(path, error).type()) {
        case fs::file_type::fifo:
            return "it is a named pipe";
        case fs::file_type::socket:
            return "it is a socket";
        case fs::file_type::character:
        case fs::file_type::block:
            return "it is a device";
        case fs::file_type::regular:
            break;
        default:
            return "";
    }
    const std::uintmax_t bytes = fs::file_size(path, error);
    return !error && bytes > kMostBytes ? fmt::format("it has {} MiB: no configuration has over {}",
                                                      bytes >> 20, kMostBytes >> 20)
                                        : "";
}

std::string LoadRecord::origin_of(std::uint32_t key) const {
    const auto found = origins.find(key);
    if (found == origins.end()) {
        return "-";
    }
    const Origin &last = found->second.back();
    int first_line = last.line;
    for (const Origin &origin : found->second) {
        if (origin.file == last.file) {
            first_line = std::min(first_line, origin.line);
        }
    }
    const std::string &path = files[last.file].path;
    const std::string file = path.substr(path.rfind('/') + 1);
    return first_line == last.line ? fmt::format("{}:{}", file, last.line)
                                   : fmt::format("{}:{}-{}", file, first_line, last.line);
}

LoadWatcher::LoadWatcher() {
    // Most boards have fewer; memory that no line is written to costs nothing, moving lines does.
    constexpr std::size_t kUsualLines = 4096;
    log_.lines.reserve(kUsualLines);
    hooks_.context = this;
    hooks_.list_opened = [](void *context, const char *path, int error) {
        LoadRecord &log = self(context).log_;
        log.list_path = path;
        log.list_error = self(context).why(error == 0 ? self(context).unreadable(path) : error);
    };
    hooks_.listed = [](void *context, int line, const char *raw, const char *path) {
        self(context).log_.list.push_back({line, raw, path});
    };
    hooks_.file_opened = [](void *context, const char *path, int error) {
        self(context).file_opened(path, error);
    };
    hooks_.line = [](void *context, const dfd::watch::Line &line) { self(context).line(line); };
}

void LoadWatcher::set_root(std::string root) {
    root_ = std::move(root);
    hooks_.map_path = [](void *context, const char *path) { return self(context).map(path); };
}

const char *LoadWatcher::map(const char *path) {
    mapped_path_ = root_ + path;
    refusal_ = refusal_of(mapped_path_);
    if (!refusal_.empty()) {
        mapped_path_.clear();  // no file has this name
    }
    return mapped_path_.c_str();
}

std::string LoadWatcher::why(int error) const {
    if (error == 0) {
        return "";
    }
    return refusal_.empty() ? std::strerror(error) : refusal_;
}

void LoadWatcher::read_everything() {
    hooks_.goes_on = true;
    hooks_.is_silent = true;
}

void LoadWatcher::set_answers(std::function<void(const dfd::watch::EngineCall &)> engine_begin,
                              std::function<int(const dfd::watch::Transfer &)> answer) {
    engine_begin_ = std::move(engine_begin);
    answer_ = std::move(answer);
    hooks_.engine_begin = [](void *context, const dfd::watch::EngineCall &call) {
        self(context).engine_begin_(call);
    };
    hooks_.answer = [](void *context, const dfd::watch::Transfer &transfer, int *result) {
        *result = self(context).answer_(transfer);
        return true;
    };
    hooks_.pause = [](void * /*context*/, unsigned /*us*/) { return true; };
}

/// A directory can be opened, and then delivers nothing: the library goes on behind it.
int LoadWatcher::unreadable(const std::string &path) const {
    std::error_code error;
    const bool is_of_chassis = hooks_.map_path == nullptr;
    return is_of_chassis && std::filesystem::is_directory(path, error) ? EISDIR : 0;
}

void LoadWatcher::file_opened(std::string_view path, int error) {
    const bool is_directory = error == 0 && unreadable(std::string(path)) != 0;
    error = is_directory ? EISDIR : error;
    const bool is_listed = !log_.list.empty() && log_.list.back().path == path;
    const FileRole role = is_listed          ? FileRole::listed
                          : path == kPidFile ? FileRole::card_pid
                                             : FileRole::chassis;
    log_.files.push_back({.path = std::string(path),
                          .role = role,
                          .opened = error == 0,
                          .is_passed_over = is_directory,
                          .error = why(error),
                          .problems = {}});
    begin_ = 0;
}

Setting &LoadWatcher::origins_of(std::uint32_t key) {
    constexpr std::size_t kUsualMembers = 8;
    if (origins_ == nullptr || key_ != key) {
        origins_ = &log_.origins[key];
        origins_->reserve(kUsualMembers);
        key_ = key;
    }
    return *origins_;
}

void LoadWatcher::line(const dfd::watch::Line &line) {
    ConfigFile &file = log_.files.back();
    file.lines += begin_ == 0 ? 1 : 0;
    const SourceLine seen{.file = log_.files.size() - 1,
                          .line = file.lines,
                          .number = line.number,
                          .begin = begin_,
                          .raw = line.raw,
                          .name = line.name != nullptr ? line.name : "",
                          .value = line.value != nullptr ? line.value : "",
                          .row = line.row,
                          .member = line.member,
                          .index1 = line.index1,
                          .index2 = line.index2,
                          .key = line.key,
                          .step = line.step};
    // A shorter one without line end is the last, or is cut by a zero byte.
    const bool is_split = !seen.raw.ends_with('\n') && seen.raw.size() >= kReaderBytes;
    begin_ = is_split ? begin_ + seen.raw.size() : 0;
    const bool fails = line.step == Step::no_equals || line.step == Step::no_name;
    const bool is_problem = !fails && has_problem(seen);
    if (!only_ || *only_ == line.key || fails || is_problem) {
        keep(seen);
    }
    if (fails) {
        file.failed_line = seen.line;
        file.error = problem_of(seen);
    } else if (is_problem) {
        file.problems.push_back(log_.lines.size() - 1);
    }
}

void LoadWatcher::keep(SourceLine line) {
    const std::string_view raw = log_.texts.keep(line.raw);
    // Most lines have no spaces that the parser deletes.
    line.name =
        raw.starts_with(line.name) ? raw.substr(0, line.name.size()) : log_.texts.keep(line.name);
    line.value = log_.texts.keep(line.value);
    line.raw = raw;
    log_.lines.push_back(line);
    if (line.step == Step::stored) {
        Setting &origins = origins_of(line.key);
        log_.files.back().items += origins.empty() ? 1 : 0;
        origins.push_back({line.file, line.line, line.member, log_.lines.size() - 1});
    }
}

}  // namespace dfdctl
