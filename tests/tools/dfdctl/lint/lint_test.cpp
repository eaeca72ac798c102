// SPDX-License-Identifier: MIT
// dfdctl lint as a program: good boards, forms of its output, exit status, the table of rules.
#include "dfdctl/lint/lint.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "tools/programs.h"

namespace {

namespace fs = std::filesystem;

using nlohmann::json;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
using tools_test::Result;
using tools_test::run;

const std::string kBadBoards = BAD_BOARDS;

/// In the directory of the bad boards.
Result lint(const std::string &arguments) {
    return run("cd " + kBadBoards + " && " BUILD_DIR "/dfdctl --wide lint " + arguments);
}

std::vector<std::string> lines_of(const std::string &text) {
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = text.find('\n', at);
        lines.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return lines;
}

std::string text_line(const json &finding) {
    return finding["file"].get<std::string>() + ":" + finding["line"].dump() + ":" +
           finding["column"].dump() + ": " + finding["severity"].get<std::string>() + " [" +
           finding["rule"].get<std::string>() + "]: ";
}

/// The same as the other forms tell of a finding.
json from_sarif(const json &result) {
    const json &place = result["locations"][0]["physicalLocation"];
    return {{"file", place["artifactLocation"]["uri"]},
            {"line", place["region"]["startLine"]},
            {"column", place["region"]["startColumn"]},
            {"severity", result["level"]},
            {"rule", result["ruleId"]}};
}

TEST(Lint, GoodBoardsAreClean) {
    const Result result = run(BUILD_DIR "/dfdctl lint --strict --root " BUILD_DIR "/boards");
    EXPECT_EQ(result.status, 0) << result.out;
    EXPECT_EQ(result.err, "");
}

TEST(Lint, OneCauseIsOneFinding) {
    const tools_test::Board whole("demo");
    const fs::path directory = "etc/cfg/dfd/cfg_file";
    int files = 0;
    for (const fs::directory_entry &entry : fs::directory_iterator(whole.file(directory))) {
        const std::string name = entry.path().filename();
        if (name == "card_pid.cfg") {
            continue;
        }
        const tools_test::Board board("demo");
        fs::remove(board.file(directory / name));
        const json document =
            run(BUILD_DIR "/dfdctl --json lint --root " + board.file("").string()).json();
        for (const json &finding : document["findings"]) {
            const bool is_cause = finding["rule"] == "file-missing";
            EXPECT_EQ(finding["severity"] == "note", !is_cause) << name << finding;
        }
        ++files;
    }
    EXPECT_GT(files, 10);
    fs::create_directory(whole.file("etc/cfg/dfd/file_name/0x3F"));
    EXPECT_THAT(run(BUILD_DIR "/dfdctl --wide lint --root " + whole.file("").string()).out,
                HasSubstr("file_name/0x3F:1:1: warning [file-name-odd]: a directory, and never "));
}

/// The corpus compares the text; here the other forms are compared with it.
TEST(Lint, FormsAgree) {
    for (const char *const arguments : {"lines/*.cfg", "--root files"}) {
        const std::vector<std::string> text = lines_of(lint(arguments).out);
        const json document = lint(std::string("--json ") + arguments).json();
        const json sarif = lint(std::string("--sarif ") + arguments).json();
        const json &driver = sarif["runs"][0]["tool"]["driver"];
        const json &results = sarif["runs"][0]["results"];
        const json &findings = document["findings"];
        ASSERT_EQ(findings.size() + 1, text.size());
        ASSERT_EQ(results.size(), findings.size());
        for (std::size_t i = 0; i < findings.size(); ++i) {
            EXPECT_THAT(text[i], testing::StartsWith(text_line(findings[i])));
            EXPECT_EQ(text_line(from_sarif(results[i])), text_line(findings[i]));
            EXPECT_EQ(results[i]["message"]["text"], findings[i]["text"]);
            const json &rule = driver["rules"][results[i]["ruleIndex"].get<std::size_t>()];
            EXPECT_EQ(rule["id"], findings[i]["rule"]);
            EXPECT_EQ(rule["help"]["text"], "See " + findings[i]["page"].get<std::string>());
        }
        EXPECT_EQ(document["errors"].get<std::size_t>() + document["warnings"].get<std::size_t>() +
                      document["notes"].get<std::size_t>(),
                  findings.size());
        EXPECT_EQ(sarif["version"], "2.1.0");
    }
}

TEST(Lint, ExitStatusTellsFindingsFromFaults) {
    const tools_test::TempDir directory;
    const std::string file = directory.path() / "a.cfg";
    const struct {
        const char *content;
        const char *arguments;
        int status;
    } kCases[] = {
        {"slot_base=1\n", "", 0},
        {"slot_base=1\nslot_base=1\n", "--strict", 0},
        {"slot_base=1\nslot_base=2\n", "", 0},
        {"slot_base=1\nslot_base=2\n", "--strict", 1},
        {"slot_base=1\nslot_base=2\n", "--strict --allow replace", 0},
        {"# lint: allow replace\nslot_base=1\nslot_base=2\n", "--strict", 0},
        {"# lint: allow replace\nslot_base=1\n", "--strict", 1},
        {"# lint: allow replace\nslot_base=1\n", "--strict --allow replace", 0},
        {"# lint: allow replace allow-unused\nslot_base=1\n", "--strict", 0},
        // Of a rule that needs a whole board.
        {"# lint: allow base-without-slot\nslot_base=1\n", "--strict", 0},
        {"slot_base=x\n", "", 1},
        {"slot_base=x\n", "--json", 1},
        {"slot_base=x\n", "--allow number-rubbish --allow replace", 0},
    };
    for (const auto &row : kCases) {
        tools_test::write_file(file, row.content);
        const Result result = lint(file + " " + row.arguments);
        EXPECT_EQ(result.status, row.status) << row.content << row.arguments << "\n" << result.out;
        EXPECT_EQ(result.err, "");
    }
}

TEST(Lint, FaultsLeaveStandardOutputEmpty) {
    const struct {
        const char *arguments;
        const char *message;
    } kCases[] = {
        {"--root no-such-directory", "'no-such-directory' is no directory"},
        {"--root lines", "no board in or below 'lines'"},
        {"--root files --board 0x999", "no list of files for board type 0x999; there are 0x1"},
        {"--board 0x3x", "'0x3x' is no board type"},
        {"no-such.cfg", "cannot read 'no-such.cfg': No such file or directory"},
        {"lines", "'lines' is a directory"},
        {"/dev/zero", "cannot check '/dev/zero': it is a device"},
        {"lines/names.cfg --root files", "without --root and --board"},
        {"--allow tabs lines/names.cfg", "'tabs' is no rule, did you mean 'tab'?"},
        {"--json --sarif lines/names.cfg", "choose one"},
    };
    for (const auto &row : kCases) {
        const Result result = lint(row.arguments);
        EXPECT_EQ(result.status, 2) << row.arguments;
        EXPECT_EQ(result.out, "") << row.arguments;
        EXPECT_THAT(result.err, HasSubstr(row.message));
    }
}

/// In the place of a file of a board.
TEST(Lint, RefusesWhatHasNoEnd) {
    const struct {
        const char *create;
        const char *file;
        const char *message;
    } kCases[] = {
        {"mkfifo", "cfg_file/a.cfg", "a.cfg cannot be opened (it is a named pipe)"},
        {"mkfifo", "file_name/0x1", "the list cannot be read: it is a named pipe"},
        {"mkfifo", "cfg_file/card_pid.cfg", "[pid-file-missing]: it is a named pipe"},
        {"mkfifo", "chassis/1.cfg", "[chassis-file-missing]: it is a named pipe"},
        {"ln -sf /dev/zero", "cfg_file/a.cfg", "a.cfg cannot be opened (it is a device)"},
        {"truncate -s 17M", "cfg_file/a.cfg", "it has 17 MiB: no configuration has over 16"},
    };
    for (const auto &row : kCases) {
        const tools_test::TempDir directory;
        const std::string root = directory.path();
        const std::string etc = root + "/etc/cfg/dfd/";
        for (const char *const each : {"file_name", "cfg_file", "chassis"}) {
            fs::create_directories(etc + each);
        }
        tools_test::write_file(etc + "file_name/0x1", "a\n");
        tools_test::write_file(etc + "cfg_file/a.cfg", "my_cpuid=1\n");
        const Result result =
            run("rm -f " + etc + row.file + " && " + row.create + " " + etc + row.file +
                " && timeout 20 " BUILD_DIR "/dfdctl --wide lint --root " + root);
        EXPECT_THAT(result.out, HasSubstr(row.message)) << row.create << " " << row.file;
    }
}

/// Ids between "[" and "]:" of all expected findings.
std::set<std::string> ids_of_corpus() {
    std::set<std::string> ids;
    for (const fs::directory_entry &entry : fs::directory_iterator(kBadBoards)) {
        const std::string text = tools_test::read_file(entry.path() / "expected");
        for (std::size_t end = text.find("]: "); end != std::string::npos;
             end = text.find("]: ", end + 1)) {
            const std::size_t begin = text.rfind('[', end) + 1;
            ids.insert(text.substr(begin, end - begin));
        }
    }
    return ids;
}

/// Both forms list every rule, and the page that a rule names is there.
TEST(Lint, ListsItsRules) {
    const std::vector<std::string> text = lines_of(lint("--rules").out);
    const json document = lint("--rules --json").json();
    const json &list = document["rules"];
    const auto &rules = dfdctl::lint::rules();
    ASSERT_EQ(list.size(), rules.size());
    ASSERT_EQ(text.size(), rules.size() + 1);
    for (std::size_t i = 0; i < list.size(); ++i) {
        EXPECT_EQ(list[i]["rule"], rules[i].id);
        EXPECT_THAT(text[i + 1], AllOf(StartsWith("  " + list[i]["rule"].get<std::string>() + " "),
                                       HasSubstr(" " + list[i]["severity"].get<std::string>()),
                                       HasSubstr(" " + list[i]["scope"].get<std::string>()),
                                       EndsWith(" " + list[i]["why"].get<std::string>())));
        EXPECT_TRUE(fs::exists(BOARD_SOURCES "/../" + list[i]["page"].get<std::string>()))
            << list[i]["page"];
    }
}

TEST(Lint, EveryRuleFindsSomethingInTheCorpus) {
    const std::set<std::string> found = ids_of_corpus();
    for (const dfdctl::lint::Rule &rule : dfdctl::lint::rules()) {
        EXPECT_TRUE(found.contains(std::string(rule.id))) << rule.id << " in no \"expected\"";
    }
}

}  // namespace
