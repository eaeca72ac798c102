// SPDX-License-Identifier: MIT
// Every help keeps the width and shows an example, which works as it stands.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <sstream>

#include "tools/programs.h"

namespace tools_test {
namespace {

struct Help {
    std::string command;  ///< "slot power"; empty: that of the program
    std::vector<std::string> lines;

    /// What stands below a heading, up to the next empty line.
    std::vector<std::string> below(const std::string &heading) const {
        std::vector<std::string> found;
        const auto begin = std::find(lines.begin(), lines.end(), heading);
        for (auto line = begin; line != lines.end() && ++line != lines.end() && *line != "";) {
            found.push_back(*line);
        }
        return found;
    }
};

Help help_of(const std::string &command, const std::string &options = "") {
    Help help{command, {}};
    const Result result = run_tool(fmt::format("dfdctl {} {} --help", options, command));
    EXPECT_EQ(result.status, 0) << command << result.err;
    std::istringstream stream(result.out);
    for (std::string line; std::getline(stream, line);) {
        help.lines.push_back(line);
    }
    return help;
}

/// That of the program and those of all its commands.
const std::vector<Help> &helps() {
    static const std::vector<Help> all = [] {
        std::vector<Help> found;
        const std::function<void(const std::string &)> walk = [&](const std::string &command) {
            const Help help = help_of(command);
            found.push_back(help);
            for (const std::string &line : help.below("Subcommands:")) {
                std::istringstream words(line);
                std::string name;
                words >> name;
                if (line.find(name) == 2) {
                    walk(command + (command.empty() ? "" : " ") + name);
                }
            }
        };
        walk("");
        return found;
    }();
    return all;
}

TEST(Help, KeepsTheWidth) {
    constexpr std::size_t kUsual = 80;
    constexpr std::size_t kNarrow = 50;
    constexpr std::size_t kFewestCommands = 25;
    EXPECT_GT(helps().size(), kFewestCommands);
    for (const Help &help : helps()) {
        for (const std::string &line : help.lines) {
            EXPECT_LE(line.size(), kUsual) << help.command;
        }
        for (const std::string &line : help_of(help.command, "--width 50").lines) {
            EXPECT_LE(line.size(), kNarrow) << help.command;
        }
    }
}

TEST(Help, ASentenceIsOne) {
    for (const Help &help : helps()) {
        for (const std::string &line : help.lines) {
            EXPECT_THAT(line, testing::Not(testing::ContainsRegex("; [A-Z][a-z]"))) << help.command;
        }
    }
    for (const std::string &line : help_of("", "--wide").below("Exit status:")) {
        EXPECT_THAT(line, testing::ContainsRegex("^  [0-4]  |^Without hardware: "));
    }
    EXPECT_EQ(help_of("irq", "--wide").lines.front(),
              "Mask or unmask all interrupt sources of a type; run the library's dispatcher once: "
              "what is pending, which handler calls");
    EXPECT_EQ(helps().front().below("Example:"), std::vector<std::string>{"  dfdctl check"});
}

TEST(Help, MistakesNameTheirOwn) {
    struct Case {
        const char *arguments, *hint;
    };
    for (const Case &each :
         {Case{"get", "get "}, Case{"lint --sarf", "lint "}, Case{"", ""},
          Case{"--width 3 show", "show "}, Case{"nothing", ""},
          Case{"eeprom sett fan 1", "eeprom "}, Case{"fan speed --yess", "fan speed "}}) {
        const Result result = run_tool(fmt::format("dfdctl {}", each.arguments));
        EXPECT_EQ(result.status, 2) << each.arguments;
        EXPECT_THAT(result.err,
                    testing::EndsWith(fmt::format("\nTry 'dfdctl {}--help'.\n", each.hint)));
    }
}

TEST(Help, ExamplesWork) {
    const std::string kProgram = "dfdctl ";
    const Board board("demo");
    const TempDir here;
    std::vector<std::string> examples;
    for (const Help &help : helps()) {
        const std::vector<std::string> lines = help.below("Example:");
        ASSERT_EQ(lines.size(), 1U) << help.command;
        const std::string example = lines.front().substr(2);
        ASSERT_TRUE(example.starts_with(kProgram + help.command)) << example;
        // Others look at the board that this one makes.
        const bool makes = example.find("new-board") != std::string::npos;
        examples.insert(makes ? examples.begin() : examples.end(), example.substr(kProgram.size()));
    }
    const auto dfdctl = [&](const std::string &arguments) {
        return run(fmt::format("cd {} && {}/vchassis run {} -- {}/dfdctl {}", here.path().string(),
                               BUILD_DIR, board.file("").string(), BUILD_DIR, arguments));
    };
    write_file(here.path() / "unit.toml", dfdctl("eeprom decode fan 2").out);
    // A supply of the demo has no input; two units are not the same.
    const std::set<std::string> fails = {"check", "eeprom diff fan 1 fan 2"};
    for (const std::string &example : examples) {
        const Result result = dfdctl(example);
        EXPECT_EQ(result.status, fails.contains(example) ? 1 : 0) << example << "\n"
                                                                  << result.out << result.err;
    }
}

}  // namespace
}  // namespace tools_test
