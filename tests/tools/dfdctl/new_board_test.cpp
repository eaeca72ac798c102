// SPDX-License-Identifier: MIT
// dfdctl new-board: what it writes is a board that is checked clean and runs.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tools/programs.h"

namespace {

using namespace tools_test;
namespace fs = std::filesystem;
using testing::HasSubstr;

constexpr int kUsage = 2;
constexpr int kIo = 4;

Result new_board(const TempDir &dir, const std::string &arguments) {
    return run_tool(fmt::format("dfdctl new-board --dir {} {}", dir.path().string(), arguments));
}

std::vector<std::string> entries(const TempDir &dir) {
    std::vector<std::string> names;
    for (const fs::directory_entry &entry : fs::directory_iterator(dir.path())) {
        names.push_back(entry.path().filename());
    }
    return names;
}

struct Made {
    const char *options;
    int type;
    int chassis;
    std::size_t fans;
    std::size_t supplies;
    std::size_t slots;
};

class NewBoard : public testing::TestWithParam<Made> {
  protected:
    nlohmann::json board(const std::string &page) {
        const Result shown = run_tool(
            fmt::format("vchassis run {0} -- {1}/dfdctl --json show {2}", path(), BUILD_DIR, page));
        EXPECT_EQ(shown.status, 0) << shown.err;
        return shown.json();
    }
    std::string path() const { return (dir_.path() / "new").string(); }

    TempDir dir_;
};

TEST_P(NewBoard, IsCleanAndRuns) {
    const Made &made = GetParam();
    const Result result = new_board(dir_, fmt::format("new {}", made.options));
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr(fmt::format("vchassis run {} -- dfdctl show all", path())));

    const Result lint = run_tool(fmt::format("dfdctl lint --strict --root {}", path()));
    EXPECT_EQ(lint.status, 0) << lint.out << lint.err;
    const Result coverage =
        run_tool(fmt::format("dfdctl coverage --root {} --require temps,leds,slots{}{}", path(),
                             made.fans > 0 ? ",fans" : "", made.supplies > 0 ? ",power" : ""));
    EXPECT_EQ(coverage.status, 0) << coverage.out << coverage.err;

    // All readings of all pages succeed, or the status is 1.
    const nlohmann::json all = board("all");
    EXPECT_EQ(all["board"]["board"]["type"], made.type);
    EXPECT_EQ(all["board"]["chassis"]["type"], made.chassis);
    EXPECT_EQ(all["board"]["files"].back()["loaded"], true) << "the file of the chassis";
    EXPECT_EQ(all["fans"]["rotors"].size(), 2 * made.fans);
    EXPECT_EQ(all["power"]["telemetry"].size(), made.supplies);
    EXPECT_EQ(all["slots"]["slots"].size(), std::max<std::size_t>(made.slots, 1)) << "the own one";
    EXPECT_EQ(all["temps"]["sensors"].size(), 2U);
    for (const nlohmann::json &rotor : all["fans"]["rotors"]) {
        EXPECT_EQ(rotor["state"]["meaning"], "ok") << rotor;
    }
}

INSTANTIATE_TEST_SUITE_P(
    All, NewBoard,
    testing::Values(Made{"", 100, 100, 2, 2, 4},
                    Made{"--type 1 --chassis 1 --fans 0 --supplies 0 --slots 0", 1, 1, 0, 0, 0},
                    Made{"--type 0xffff --chassis 255 --fans 16 --supplies 16 --slots 32", 65535,
                         255, 16, 16, 32}));

TEST(NewBoardTest, UnitsAnswerEachOnItsOwnBit) {
    const TempDir dir;
    ASSERT_EQ(new_board(dir, "new --fans 9 --supplies 9").status, 0);
    const std::string path = (dir.path() / "new").string();
    // The ninth of each has the first bit of the second register.
    for (const char *reg : {"0x09", "0x0d"}) {
        run_tool(fmt::format("vchassis poke {} /dev/cpld0 {} 1", path, reg));
    }
    for (const char *item : {"fan_state", "power_present"}) {
        for (const int unit : {8, 9}) {
            const Result got = run_tool(fmt::format("vchassis run {} -- {}/dfdctl --json get {} {}",
                                                    path, BUILD_DIR, item, unit));
            EXPECT_EQ(got.json()["reading"]["value"], unit == 8 ? 1 : 0) << item << ' ' << unit;
        }
    }
}

TEST(NewBoardTest, RefusesWithoutATrace) {
    struct Case {
        const char *arguments;
        const char *message;
    };
    const TempDir dir;
    for (const auto &[arguments, message] : std::initializer_list<Case>{
             {"a/b", "--dir"},
             {"1st", "begin with a letter"},
             {"a.b", "only letters"},
             {"abcdefghijklmnopqrstu", "at most 20"},
             {"new --type 0", "--type: '0' is no number from 1 to 65535"},
             {"new --chassis 256", "1 to 255"},
             {"new --fans 17", "0 to 16"},
             {"new --supplies 2x", "'2x' is no number"},
             {"new --slots 33", "0 to 32"},
         }) {
        const Result refused = new_board(dir, arguments);
        EXPECT_EQ(refused.status, kUsage) << arguments;
        EXPECT_THAT(refused.err, HasSubstr(message)) << arguments;
    }
    EXPECT_THAT(entries(dir), testing::IsEmpty());
}

TEST(NewBoardTest, LeavesWhatExistsAlone) {
    const TempDir dir;
    write_file(dir.path() / "new" / "mine", "text");
    const Result refused = new_board(dir, "new");
    EXPECT_EQ(refused.status, kUsage);
    EXPECT_THAT(refused.err, HasSubstr("exists already"));
    EXPECT_EQ(read_file(dir.path() / "new" / "mine"), "text");
    EXPECT_THAT(entries(dir), testing::ElementsAre("new"));
}

TEST(NewBoardTest, LeavesNothingWhenTheDiskIsFull) {
    const TempDir dir;
    const Result failed = run(
        fmt::format("sh -c \"trap '' XFSZ; ulimit -f 1; exec {}/dfdctl new-board new --dir {}\"",
                    BUILD_DIR, dir.path().string()));
    EXPECT_EQ(failed.status, kIo);
    EXPECT_THAT(failed.err, HasSubstr("cannot be written"));
    EXPECT_THAT(entries(dir), testing::IsEmpty());
}

}  // namespace
