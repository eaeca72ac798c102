// SPDX-License-Identifier: MIT
// Findings and rules as text, JSON and SARIF.
#include "dfdctl/output.hpp"

#include <algorithm>

#include "dfdctl/lint/run.hpp"

#include <fmt/format.h>

namespace dfdctl::lint {

namespace {

constexpr std::size_t kIndent = 4;  // of the second line of a finding
constexpr std::array kSeverities = {Severity::error, Severity::warning, Severity::note};

std::string counted(int count, std::string_view noun) {
    return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

std::string page_of(const Rule &rule) {
    return fmt::format("docs/configuration/{}.md", rule.page);
}

std::string_view scope_word(Scope scope) {
    switch (scope) {
        case Scope::line:
            return "line";
        case Scope::item:
            return "item";
        case Scope::board:
            break;
    }
    return "board";
}

/// A path as a URI reference.
std::string uri_of(std::string_view path) {
    constexpr std::string_view kPlain =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";
    std::string uri = path.starts_with('/') ? "file://" : "";
    for (const char c : path) {
        if (kPlain.find(c) != std::string_view::npos) {
            uri += c;
        } else {
            uri += fmt::format("%{:02X}", static_cast<unsigned char>(c));
        }
    }
    return uri;
}

Json sarif_rules() {
    Json list = Json::array();
    for (const Rule &rule : rules()) {
        list.push_back({{"id", rule.id},
                        {"shortDescription", {{"text", rule.rationale}}},
                        {"help", {{"text", "See " + page_of(rule)}}},
                        {"defaultConfiguration", {{"level", severity_word(rule.severity)}}}});
    }
    return list;
}

Json sarif_result(const Finding &finding) {
    const Json region = {{"startLine", finding.line}, {"startColumn", finding.column}};
    const Json place = {{"artifactLocation", {{"uri", uri_of(finding.file)}}}, {"region", region}};
    return {{"ruleId", finding.rule->id},
            {"ruleIndex", finding.rule - rules().data()},
            {"level", severity_word(finding.rule->severity)},
            {"message", {{"text", finding.text}}},
            {"locations", Json::array({{{"physicalLocation", place}}})}};
}

}  // namespace

void print_text(std::FILE *out, const Report &report) {
    for (const Finding &finding : report.findings) {
        print_wrapped(out,
                      fmt::format("{}:{}:{}: {} [{}]: {}", printable(finding.file), finding.line,
                                  finding.column, severity_word(finding.rule->severity),
                                  finding.rule->id, finding.text),
                      kIndent);
    }
    std::string counts;
    for (const Severity severity : kSeverities) {
        if (const int count = report.count(severity); count > 0) {
            counts += (counts.empty() ? "" : ", ") + counted(count, severity_word(severity));
        }
    }
    fmt::print(out, "{} in {}\n", counts.empty() ? "clean: no findings" : counts,
               counted(static_cast<int>(report.files.size()), "file"));
}

void print_json(std::FILE *out, const Report &report) {
    Json list = Json::array();
    for (const Finding &finding : report.findings) {
        list.push_back({{"file", finding.file},
                        {"line", finding.line},
                        {"column", finding.column},
                        {"severity", severity_word(finding.rule->severity)},
                        {"rule", finding.rule->id},
                        {"text", finding.text},
                        {"page", page_of(*finding.rule)}});
    }
    dfdctl::print_json(out, {{"command", "lint"},
                             {"files", report.files.size()},
                             {"errors", report.count(Severity::error)},
                             {"warnings", report.count(Severity::warning)},
                             {"notes", report.count(Severity::note)},
                             {"findings", list}});
}

void print_sarif(std::FILE *out, const Report &report) {
    Json results = Json::array();
    std::ranges::transform(report.findings, std::back_inserter(results), sarif_result);
    const Json driver = {{"name", "dfdctl lint"}, {"rules", sarif_rules()}};
    dfdctl::print_json(
        out, {{"$schema", "https://json.schemastore.org/sarif-2.1.0.json"},
              {"version", "2.1.0"},
              {"runs", Json::array({{{"tool", {{"driver", driver}}}, {"results", results}}})}});
}

void print_rules(std::FILE *out, bool as_json) {
    if (!as_json) {
        Table table({{"RULE", Fit::whole}, "SEVERITY", "SCOPE", "PAGE", {"WHY", Fit::prose}});
        for (const Rule &rule : rules()) {
            table.add({std::string(rule.id), std::string(severity_word(rule.severity)),
                       std::string(scope_word(rule.scope)), std::string(rule.page),
                       std::string(rule.rationale)});
        }
        table.print(out);
        return;
    }
    Json list = Json::array();
    for (const Rule &rule : rules()) {
        list.push_back({{"rule", rule.id},
                        {"severity", severity_word(rule.severity)},
                        {"scope", scope_word(rule.scope)},
                        {"why", rule.rationale},
                        {"page", page_of(rule)}});
    }
    dfdctl::print_json(out, {{"command", "lint"}, {"rules", list}});
}

}  // namespace dfdctl::lint
