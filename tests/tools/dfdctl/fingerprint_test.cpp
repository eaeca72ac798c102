// SPDX-License-Identifier: MIT
// The fingerprint of the configuration: what changes it, and what does not.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "tools/dfdctl/board/fingerprint.hpp"
#include "tools/dfdctl/board/offline.hpp"
#include "tools/programs.h"

namespace tools_test {
namespace {

using testing::HasSubstr;

std::string fingerprint_of(const std::vector<std::string> &files) {
    const TempDir dir;
    std::vector<std::string> paths;
    for (const std::string &text : files) {
        paths.push_back(dir.path() / (std::to_string(paths.size()) + ".cfg"));
        write_file(paths.back(), text);
    }
    return dfdctl::fingerprint(dfdctl::load_files(paths));
}

constexpr const char *kBoard =
    "fan_num=4\n"
    "power_name_1=PS1200\n"
    "power_name_2=PS12\n"
    "fan_speedlvl_convert_1=0x20\n"
    "fan_speedlvl_convert_2=0x40\n"
    "fan_real_speed.mode_1_2=config\n"
    "fan_real_speed.fpath_1_2=/dev/fpga0\n"
    "mb_status_led_info.green=1\n"
    "bp_e2prom_dev.bus_1=3\n"
    "card_temp_info.temp_name_0_1=inlet\n"
    "irq_ctrl_info.irq_flag=0\n"
    "irq_info.type_0x0000_0=card\n";

std::string changed(const std::string &from, const std::string &to) {
    std::string text = kBoard;
    return text.replace(text.find(from), from.size(), to);
}

TEST(Fingerprint, EveryValueCounts) {
    struct Case {
        const char *from;
        const char *to;
    };
    const Case cases[] = {
        {"fan_num=4", "fan_num=5"},
        {"fan_num=4\n", ""},
        {"PS1200", "PS1201"},
        {"PS1200", "PS1200\xff"},
        {"PS1200", "PS1200\xfe"},
        {"power_name_1", "power_name_3"},
        {"=0x20", "=0x21"},
        {"convert_2=0x40", "convert_3=0x40"},
        {"mode_1_2=config", "mode_1_2=constant"},
        {"fpga0", "fpga1"},
        {".green=1", ".green=2"},
        {".green=1", ".red=1"},
        {"bus_1=3", "bus_1=4"},
        {"inlet", "outlet"},
        {"irq_flag=0", "irq_flag=1"},
        {"=card\n", "=fan\n"},
        {"0x0000_0", "0x0000_1"},
    };
    std::set<std::string> seen = {fingerprint_of({kBoard})};
    for (const Case &each : cases) {
        EXPECT_TRUE(seen.insert(fingerprint_of({changed(each.from, each.to)})).second)
            << each.from << " -> " << each.to;
    }
}

TEST(Fingerprint, OnlyWhatTheLibraryMakesOfTheFilesCounts) {
    const std::string board = fingerprint_of({kBoard});
    const std::string text = kBoard;
    const std::size_t half = text.find("fan_speedlvl_convert_2");
    const std::string lines[] = {text.substr(0, half), text.substr(half)};
    EXPECT_EQ(fingerprint_of({"# what fans there are\n\n" + text}), board) << "comments";
    EXPECT_EQ(fingerprint_of({lines[0], lines[1]}), board) << "two files";
    EXPECT_EQ(fingerprint_of({lines[1], lines[0]}), board) << "in another order";
    EXPECT_EQ(fingerprint_of({changed("=0x20", " = 32")}), board) << "another spelling";
    EXPECT_EQ(fingerprint_of({"fan_num=3\n" + text}), board) << "a value that is replaced";
    EXPECT_EQ(fingerprint_of({text + text}), board) << "entries that are hidden by the same";
}

// A name is looked up by its beginning, and the first line that fits answers.
TEST(Fingerprint, OrderCountsWhereALookUpFollowsIt) {
    EXPECT_NE(fingerprint_of({"power_name_1=PS1200\npower_name_2=PS12\n"}),
              fingerprint_of({"power_name_2=PS12\npower_name_1=PS1200\n"}));
    EXPECT_EQ(fingerprint_of({"power_name_1=PS12\npower_name_2=PS8\n"}),
              fingerprint_of({"power_name_2=PS8\npower_name_1=PS12\n"}));
    EXPECT_NE(fingerprint_of({"fan_speedlvl_convert_1=7\nfan_speedlvl_convert_2=7\n"}),
              fingerprint_of({"fan_speedlvl_convert_2=7\nfan_speedlvl_convert_1=7\n"}));
}

TEST(Fingerprint, IsPartOfThePageOfTheBoard) {
    const Board board("demo");
    const std::string first = board.dfdctl("show board --json").json()["fingerprint"];
    EXPECT_THAT(first, testing::MatchesRegex("[0-9a-f]{16}"));
    EXPECT_THAT(board.dfdctl("show board").out, HasSubstr("  Configuration  " + first + "\n"));
    board.append("etc/cfg/dfd/chassis/8.cfg", "# nothing\nfan_num=3\n");
    EXPECT_NE(board.dfdctl("show board --json").json()["fingerprint"], first);
    std::filesystem::remove(board.file("etc/cfg/dfd/file_name/0x3e"));
    EXPECT_EQ(board.dfdctl("show board --json").json()["fingerprint"], nullptr);
}

}  // namespace
}  // namespace tools_test
