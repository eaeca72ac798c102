// SPDX-License-Identifier: MIT
#include "dfdctl/startup_log.hpp"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <optional>

#include "common/nearest.hpp"
#include "dfdctl/keys.hpp"

#include <fmt/format.h>

namespace dfdctl {

namespace {

constexpr std::string_view kListDirectory = "/etc/cfg/dfd/file_name/";
constexpr std::string_view kHeader = "[DFD-";
constexpr std::string_view kErrorHeader = "[DFD-err]";

/// What stands between two texts, the second one searched from the end.
std::optional<std::string_view> between(std::string_view text, std::string_view before,
                                        std::string_view after) {
    if (!text.starts_with(before)) {
        return std::nullopt;
    }
    const std::size_t end = text.rfind(after);
    if (end == std::string_view::npos || end < before.size()) {
        return std::nullopt;
    }
    return text.substr(before.size(), end - before.size());
}

std::string_view trim_end(std::string_view text) {
    while (!text.empty() && (text.back() == '\r' || text.back() == '\n' || text.back() == ' ')) {
        text.remove_suffix(1);
    }
    return text;
}

class Parser {
  public:
    explicit Parser(const std::function<bool(const std::string &)> &is_empty)
        : is_empty_(is_empty) {}

    void output_line(std::string_view line) {
        line = trim_end(line);
        if (line.starts_with(kHeader)) {
            is_error_ = line.starts_with(kErrorHeader);
            return;
        }
        if (!file_event(line)) {
            line_event(line);
        }
        is_error_ = false;
    }

    StartupLog take() {
        finish_line();
        return std::move(log_);
    }

  private:
    bool file_event(std::string_view line) {
        if (const auto path = between(line, "start parsing card pid file[", "]")) {
            begin_file(std::string(*path), FileRole::card_pid);
        } else if (const auto listed = between(line, "start parsing config file[", "]")) {
            begin_file(std::string(*listed), FileRole::listed);
        } else if (const auto failed = between(line, "open config file[", "] fail, error=")) {
            const std::size_t reason = line.rfind("] fail, error=") + 14;
            open_failed(std::string(*failed), std::string(line.substr(reason)));
        } else if (line.starts_with("!!!!file[")) {
            loading_stopped(line);
        } else {
            return false;
        }
        return true;
    }

    void begin_file(std::string path, FileRole role) {
        finish_line();
        log_.files.push_back({.path = std::move(path), .role = role, .error = {}, .problems = {}});
    }

    void open_failed(std::string path, std::string reason) {
        if (path.starts_with(kListDirectory)) {
            log_.list_path = std::move(path);
            log_.list_error = std::move(reason);
            return;
        }
        if (log_.files.empty() || log_.files.back().path != path) {
            begin_file(std::move(path), FileRole::chassis);
        }
        log_.files.back().opened = false;
        log_.files.back().error = std::move(reason);
    }

    /// "!!!!file[PATH] config line[LINE TEXT] analyse fail"
    void loading_stopped(std::string_view line) {
        if (log_.files.empty()) {
            return;
        }
        ConfigFile &file = log_.files.back();
        file.failed_line = file.lines;
        if (!file.problems.empty() && file.problems.back().line == file.lines) {
            file.error = file.problems.back().message;
            file.problems.pop_back();
        } else {
            file.error = std::string(line);
        }
        pending_name_.reset();
    }

    /// "line12: ..."
    void line_event(std::string_view text) {
        int number = 0;
        if (!text.starts_with("line")) {
            return;
        }
        const auto result = std::from_chars(text.data() + 4, text.data() + text.size(), number);
        const auto rest = text.substr(static_cast<std::size_t>(result.ptr - text.data()));
        if (result.ec != std::errc() || !rest.starts_with(": ")) {
            return;
        }
        what_happened(number, rest.substr(2));
    }

    void what_happened(int line, std::string_view text) {
        const bool is_item_line = text.starts_with("config_line[");
        if (is_item_line || text == "space line" || text == "comment line" ||
            text.find("]no '=' between") != std::string_view::npos ||
            text.find("]sscanf arg") != std::string_view::npos) {
            begin_line(line);
        }
        if (log_.files.empty()) {
            return;
        }
        if (is_item_line) {
            pending_name_ = name_of(text);
        } else if (text.starts_with("add ") || text.starts_with("replace ")) {
            item_set(line, text);
        } else if (is_error_) {
            problem(line, std::string(text));
        } else if (text == "value str is empty") {
            empty_value(line);
        }
    }

    void begin_line(int line) {
        finish_line();
        if (line == 1 && is_chassis_file()) {
            begin_file({}, FileRole::chassis);
        }
        if (!log_.files.empty()) {
            log_.files.back().lines = line;
        }
        line_ = line;
    }

    /// Line 1 of a file whose beginning was not announced.
    bool is_chassis_file() const {
        if (log_.files.empty()) {
            return false;
        }
        const ConfigFile &file = log_.files.back();
        return file.lines > 0 || file.failed() || is_empty_(file.path);
    }

    /// "config_line[LINE] name[NAME] value[VALUE]"
    static std::string name_of(std::string_view text) {
        const std::size_t begin = text.find("] name[");
        const std::size_t end = text.find("] value[", begin);
        if (begin == std::string_view::npos || end == std::string_view::npos) {
            return {};
        }
        constexpr std::size_t kMarkSize = 7;
        return std::string(text.substr(begin + kMarkSize, end - begin - kMarkSize));
    }

    /// "... key=0x23000000" and possibly " rv=..."
    void item_set(int line, std::string_view text) {
        constexpr int kHex = 16;
        const std::size_t mark = text.rfind("key=0x");
        std::uint32_t key = 0;
        if (mark == std::string_view::npos ||
            std::from_chars(text.data() + mark + 6, text.data() + text.size(), key, kHex).ec !=
                std::errc()) {
            return;
        }
        if (is_error_) {
            problem(line, std::string(text));
            return;
        }
        auto &origins = log_.origins[key];
        log_.files.back().items += origins.empty() ? 1 : 0;
        origins.push_back({log_.files.size() - 1, line});
        pending_name_.reset();
    }

    void problem(int line, std::string message) {
        // Configuration files may hold anything, also tabs and control characters.
        std::replace_if(
            message.begin(), message.end(),
            [](char c) { return std::iscntrl(static_cast<unsigned char>(c)) != 0; }, '?');
        log_.files.back().problems.push_back({line, std::move(message)});
        pending_name_.reset();
    }

    /// For an LED table an empty value has a meaning: a state that the LED cannot show.
    void empty_value(int line) {
        if (pending_name_ && pending_name_->find("_led_info.") == std::string::npos) {
            log_.files.back().problems.push_back({line, "no value behind '=': stored as -1"});
        }
    }

    /// A line that led to nothing is one that the library ignored without a word.
    void finish_line() {
        if (pending_name_ && !log_.files.empty()) {
            const std::string bare = pending_name_->substr(0, pending_name_->find('.'));
            problem(line_, fmt::format("ignored: '{}' is no item or member{}", *pending_name_,
                                       dfd_tools::did_you_mean(bare, key_names())));
        }
        pending_name_.reset();
    }

    const std::function<bool(const std::string &)> &is_empty_;
    StartupLog log_;
    bool is_error_ = false;
    int line_ = 0;
    std::optional<std::string> pending_name_;  ///< of a line whose effect is not yet known
};

}  // namespace

std::string StartupLog::origin_of(std::uint32_t key) const {
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

StartupLog parse_startup_log(std::string_view text,
                             const std::function<bool(const std::string &)> &is_empty) {
    Parser parser(is_empty);
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        parser.output_line(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return parser.take();
}

}  // namespace dfdctl
