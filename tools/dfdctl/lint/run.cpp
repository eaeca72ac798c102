// SPDX-License-Identifier: MIT
#include "dfdctl/lint/run.hpp"

#include <algorithm>
#include <filesystem>
#include <functional>

#include "dfdctl/board/find_boards.hpp"
#include "dfdctl/board/offline.hpp"
#include "dfdctl/command.hpp"

#include <fmt/format.h>

namespace dfdctl::lint {

namespace {

namespace fs = std::filesystem;

class Run {
  public:
    Run(const Request &request, std::set<std::string> skipped)
        : request_(request), skipped_(std::move(skipped)) {}

    void board(const std::string &root, int board_type) {
        // Which of the chassis files is loaded, a backplane EEPROM may tell; else the board type
        // does, and the other ones change nothing.
        std::vector<int> chassis = chassis_types(root);
        // No EEPROM tells another one: 0 stands for no chassis file.
        std::erase_if(chassis, [](int type) { return type == 0 || type > kLastToldChassis; });
        const int first = chassis.empty() ? 0 : chassis.front();
        bool is_told_by_eeprom = load(root, board_type, first);
        for (std::size_t i = 1; i < chassis.size() && is_told_by_eeprom; ++i) {
            is_told_by_eeprom = load(root, board_type, chassis[i]);
        }
    }

    void files(const std::vector<std::string> &paths) { check(load_files(paths), ""); }

    /// Once all its boards are loaded.
    void directory(const std::string &root) {
        boards_.has_list = !board_types(root).empty();
        boards_.has_unread_list |= !boards_.has_list;
        boards_.add_misnamed_lists(root);
        const LoadRecord nothing;
        Check check(nothing, root, skipped_);
        check_directory(check, boards_);
        keep(check.take());
        if (!boards_.has_unread_list) {
            std::ranges::sort(boards_.configured);
            for (const std::string &path : unlisted_files(root, boards_.named)) {
                unlisted(root + path);
            }
        }
        boards_ = {};
    }

    Report take() {
        add_unused_allowances();
        auto &findings = report_.findings;
        std::sort(findings.begin(), findings.end());
        findings.erase(std::unique(findings.begin(), findings.end()), findings.end());
        return std::move(report_);
    }

  private:
    /// Whether the chassis type was asked for.
    bool load(const std::string &root, int board_type, int chassis_type) {
        const LoadRecord log = load_offline({.root = root,
                                             .board_type = board_type,
                                             .chassis_type = chassis_type,
                                             .reads_everything = true});
        check(log, root);
        report_.files.insert(root + log.list_path);
        boards_.add_list(log, root);
        for (const ConfigFile &file : log.files) {
            if (file.role == FileRole::chassis) {
                boards_.named.insert(file.path);
            }
        }
        for (const auto &[key, origins] : log.origins) {
            boards_.configured.push_back(key);
        }
        return !log.files.empty() &&
               log.files.back().path.ends_with(fmt::format("/{}.cfg", chassis_type));
    }

    void check(const LoadRecord &log, const std::string &root) {
        Check check(log, root, skipped_);
        if (request_.visit) {
            request_.visit(check);
        }
        check_all(check);
        boards_.has_unclear_chassis |= is_chassis_unclear(check);
        keep(check.take());
        for (const auto &[place, allowance] : check.allowances()) {
            allowances_.try_emplace(place, allowance).first->second.is_used |= allowance.is_used;
        }
        for (const ConfigFile &file : log.files) {
            if (file.opened) {
                report_.files.insert(root + file.path);
            }
        }
    }

    void unlisted(const std::string &path) {
        std::error_code error;
        const bool is_file = fs::is_regular_file(path, error);
        const LoadRecord log = is_file ? load_files({path}) : LoadRecord();
        Check check(log, "", skipped_);
        check_unlisted(check, path, boards_.configured);
        keep(check.take());
    }

    void keep(std::vector<Finding> findings) {
        std::ranges::move(findings, std::back_inserter(report_.findings));
    }

    /// Where all boards were checked; a rule that was switched off finds nothing that could be
    /// allowed.
    void add_unused_allowances() {
        const Rule *const unused = find_rule("allow-unused");
        if (request_.board_type.has_value() || skipped_.contains(std::string(unused->id))) {
            return;
        }
        for (const auto &[place, allowance] : allowances_) {
            const auto &[file, rule] = place;
            const bool is_judged = rule != unused && !skipped_.contains(std::string(rule->id)) &&
                                   !allowances_.contains({file, unused});
            if (is_judged && !allowance.is_used) {
                report_.findings.push_back(
                    {file, allowance.line, allowance.column, unused,
                     fmt::format("nothing in this file is reported by {}: delete it, or it hides "
                                 "the next mistake",
                                 rule->id)});
            }
        }
    }

    const Request &request_;
    std::set<std::string> skipped_;
    Boards boards_;  ///< of the directory in work
    Allowances allowances_;
    Report report_;
};

void refuse_unreadable(const std::string &path) {
    std::error_code error;
    if (fs::is_directory(path, error)) {
        throw UsageError(
            fmt::format("'{}' is a directory; --root checks the boards below one", path));
    }
    if (const std::string refusal = refusal_of(path); !refusal.empty()) {
        throw UsageError(fmt::format("cannot check '{}': {}", path, refusal));
    }
    std::FILE *const file = std::fopen(path.c_str(), "r");
    if (file == nullptr) {
        throw UsageError(fmt::format("cannot read '{}': {}", path, std::strerror(errno)));
    }
    std::fclose(file);
}

Report run_files(const Request &request) {
    std::for_each(request.files.begin(), request.files.end(), refuse_unreadable);
    std::set<std::string> skipped = request.switched_off;
    for (const Rule &rule : rules()) {
        if (rule.scope == Scope::board) {
            skipped.emplace(rule.id);
        }
    }
    Run run(request, std::move(skipped));
    run.files(request.files);
    return run.take();
}

Report run_boards(const Request &request) {
    Run run(request, request.switched_off);
    std::set<int> known;
    bool is_found = !request.board_type.has_value();
    for (const std::string &root : board_roots(request.root.value_or("/"))) {
        for (const int type : board_types(root)) {
            known.insert(type);
            if (type == request.board_type.value_or(type)) {
                run.board(root, type);
                is_found = true;
            }
        }
        if (!request.board_type.has_value()) {
            run.directory(root);
        }
    }
    if (!is_found) {
        refuse_board_type(*request.board_type, known);
    }
    return run.take();
}

}  // namespace

int Report::count(Severity severity) const {
    return static_cast<int>(std::ranges::count(
        findings, severity, [](const Finding &finding) { return finding.rule->severity; }));
}

Report run(const Request &request) {
    return request.files.empty() ? run_boards(request) : run_files(request);
}

std::string_view severity_word(Severity severity) {
    switch (severity) {
        case Severity::error:
            return "error";
        case Severity::warning:
            return "warning";
        case Severity::note:
            break;
    }
    return "note";
}

}  // namespace dfdctl::lint
