// SPDX-License-Identifier: MIT
// Text of dfdctl keeps the width that it is given; JSON does not know one.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <regex>
#include <sstream>

#include "dfdctl/output.hpp"
#include "tools/programs.h"

namespace tools_test {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr std::size_t kUsual = 80;
constexpr std::size_t kNarrow = 60;
constexpr std::size_t kNarrowest = 20;

const char *const kBoards[] = {"demo", "demo-tlv", "demo-linecard"};

std::vector<std::string> lines_of(const std::string &text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

void expect_fits(const Result &result, std::size_t width, const std::string &what) {
    EXPECT_NE(result.out, "") << what << result.err;
    for (const std::string &line : lines_of(result.out)) {
        EXPECT_LE(line.size(), width) << what << ":\n" << line;
    }
}

/// Of a board, as far as the command does not start the library.
std::string root_of(const Board &board) {
    return "--root " + board.file("").string();
}

TEST(Width, EveryPageFits) {
    for (const char *name : kBoards) {
        const Board board(name);
        for (const std::size_t width : {kUsual, kNarrow, kNarrowest}) {
            // 80 columns are the width where no terminal tells another one.
            const std::string asked = width == kUsual ? "" : fmt::format("--width {}", width);
            for (const char *command :
                 {"check", "show all", "items", "items --values",
                  "explain drv_get_slot_online --read", "explain my_slotid --read"}) {
                expect_fits(board.dfdctl(fmt::format("{} {}", command, asked)), width,
                            fmt::format("{}: {} {}", name, command, asked));
            }
            for (const char *command : {"lint", "lint --bitmap", "coverage --all",
                                        "coverage --strict --require fans,slots,leds"}) {
                expect_fits(
                    run_tool(fmt::format("dfdctl {} {} {}", command, asked, root_of(board))), width,
                    fmt::format("{}: {} {}", name, command, asked));
            }
        }
    }
    for (const std::size_t width : {kUsual, kNarrow}) {
        expect_fits(run_tool(fmt::format("dfdctl lint --rules --width {}", width)), width, "rules");
    }
}

/// What a command of the shell prints on a terminal of this width as messages.
std::string messages_on_terminal(const std::string &command, unsigned short columns) {
    const winsize size = {24, columns, 0, 0};
    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, nullptr, &size);
    if (child == 0) {
        execl("/bin/sh", "sh", "-c", (command + " >/dev/null </dev/tty").c_str(), nullptr);
        _exit(127);
    }
    termios modes = {};
    tcgetattr(terminal, &modes);
    modes.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    tcsetattr(terminal, TCSANOW, &modes);
    std::string text;
    char bytes[4096];
    EXPECT_EQ(write(terminal, "n\n", 2), 2);
    for (ssize_t count = 0; (count = read(terminal, bytes, sizeof bytes)) > 0;) {
        text.append(bytes, static_cast<std::size_t>(count));
    }
    close(terminal);
    waitpid(child, nullptr, 0);
    std::erase(text, '\r');
    // The answer was written before the question.
    return std::regex_replace(text, std::regex("\\[y/N\\] "), "[y/N]\n");
}

// Each is one line in a file, where one searches for it, and keeps the width of a terminal.
TEST(Width, MessagesKeepThatOfTheirTerminal) {
    const Board board("demo");
    // A getter locks the ADC over an adapter that does not write; the last line is none.
    board.append("chassis.toml", "[[bus]]\nnumber = 3\nnostart = false\n");
    board.append("etc/cfg/dfd/cfg_file/cm8_ports.cfg",
                 "\ncard_vol_lock.mode=config\ncard_vol_lock.src=i2c\ncard_vol_lock.frmt=byte\n"
                 "card_vol_lock.len=1\ncard_vol_lock.fpath=/dev/i2c-3\nthis is no line\n");
    const std::string on_board =
        fmt::format("{0}/vchassis run {1} -- {0}/dfdctl ", BUILD_DIR, board.file("").string());
    for (const char *arguments :
         {"get slot_online_99", "show power 1 2", "show nothing", "fan speed 9 9", "slot reset all",
          "led set alarm purple", "set fan_mode 7", "items --type mac", "explain my_slot_id",
          "check --expect /nowhere/at/all/there/is/no/such/file", "--debug 7 check",
          "show voltages", "eeprom set fan 1 serial_number=ABCDEFGHIJKLM"}) {
        const std::string narrow = messages_on_terminal(on_board + arguments, 40);
        EXPECT_THAT(narrow, HasSubstr("dfdctl:")) << arguments;
        for (const std::string &line : lines_of(narrow)) {
            EXPECT_LE(line.size(), 40U) << arguments << ":\n" << narrow;
        }
    }
    const std::string root = board.file("").string();
    for (const std::string &mistake :
         {"run " + root, "peek " + root + " /dev/cpld9 0", "show --stat " + root,
          "run --signal-at x " + root + " -- true",
          "run " + root + " -- /nowhere/at/all/there/is"}) {
        const std::string narrow = messages_on_terminal(BUILD_DIR "/vchassis " + mistake, 40);
        EXPECT_THAT(narrow, HasSubstr("vchassis:")) << mistake;
        EXPECT_THAT(lines_of(narrow), testing::Each(testing::SizeIs(testing::Le(40U)))) << narrow;
        EXPECT_THAT(lines_of(run_tool("vchassis " + mistake).err).front(),
                    testing::SizeIs(testing::Gt(40U)));
    }
    EXPECT_THAT(lines_of(messages_on_terminal(on_board + "--width 20 get my_slotid", 100)),
                testing::Each(testing::SizeIs(testing::Le(kNarrowest))));
    EXPECT_THAT(lines_of(messages_on_terminal(on_board + "--wide get my_slotid", 40)),
                testing::SizeIs(1));
    EXPECT_THAT(lines_of(board.dfdctl("--width 20 get my_slotid").err), testing::SizeIs(1));
}

TEST(Width, FailuresFit) {
    const Board board("demo");
    board.append("etc/cfg/dfd/chassis/8.cfg",
                 "fan_real_speed.fpath_1_1=/dev/a_device_of_a_name_that_has_more_than_its_share\n"
                 "power_in_voltage.addr_2=0x21\nport_sfp_state.addr_1=0x21\nslot_online_5=1\n");
    board.replace("etc/cfg/dfd/cfg_file/cm8_cpld.cfg", "cpld_ver_date.len=4",
                  "cpld_ver_date.len=200");
    for (const std::size_t width : {kUsual, kNarrow, kNarrowest}) {
        for (const char *command :
             {"check", "show all", "items", "items --values", "eeprom diff fan 1 fan 2"}) {
            expect_fits(board.dfdctl(fmt::format("{} --width {}", command, width)), width, command);
        }
    }
}

TEST(Width, WideLeavesNothingOut) {
    const Board board("demo");
    const std::string wide = board.dfdctl("show all --wide").out;
    for (const char *text :
         {"/etc/cfg/dfd/cfg_file/cm8_power.cfg", "/dev/i2c-2 0x50", "POLARITY", "CPLD VERSION",
          "SW VERSION", "dark green red yellow spark fspark_open fspark_close\n", "SERIAL 3\n"}) {
        EXPECT_THAT(wide, HasSubstr(text));
    }
    EXPECT_THAT(wide, Not(HasSubstr("...")));
    EXPECT_THAT(wide, Not(HasSubstr("lack of width")));
    const std::string page = board.dfdctl("show leds").out;
    EXPECT_THAT(page, HasSubstr("  dark green red yellow...\n"));
    EXPECT_THAT(page, Not(HasSubstr("fspark")));
    EXPECT_THAT(board.dfdctl("show power").out,
                HasSubstr("  Not shown for lack of width: sw version; --wide shows it\n"));
}

TEST(Width, JsonIsTheSame) {
    const Board board("demo");
    const std::vector<std::string> commands = {"show all", "items --values", "lint --rules",
                                               "lint " + root_of(board),
                                               "coverage " + root_of(board)};
    for (const std::string &command : commands) {
        const std::string usual = board.dfdctl("--json " + command).out;
        EXPECT_NE(usual, "");
        for (const char *width : {"--width 40", "--width 200", "--wide"}) {
            EXPECT_EQ(board.dfdctl(fmt::format("--json {} {}", command, width)).out, usual)
                << command << width;
        }
    }
}

TEST(Width, WrongWidthsAreRefused) {
    for (const char *words : {"--width 19", "--width 1001", "--width wide", "--width 80 --wide"}) {
        const Result result = run_tool(fmt::format("dfdctl {} lint --rules", words));
        EXPECT_EQ(result.status, 2) << words;
        EXPECT_EQ(result.out, "") << words;
        EXPECT_THAT(result.err, HasSubstr("--wid")) << words;
    }
}

/// What is printed at a width; 0: without a limit.
template <typename Print>
std::string printed(unsigned width, Print print) {
    char *text = nullptr;
    std::size_t size = 0;
    std::FILE *out = open_memstream(&text, &size);
    dfdctl::set_width(out, width, width == 0);
    print(out);
    std::fclose(out);
    std::string result(text, size);
    std::free(text);
    return result;
}

TEST(Width, WrapsBetweenWordsAndBehindSigns) {
    struct Case {
        unsigned width;
        const char *text;
        const char *expected;
    };
    const Case cases[] = {
        {20, "  one two three four", "  one two three four\n"},
        {19, "  one two three four", "  one two three\n      four\n"},
        {20, "name  12345 6789 1234", "name  12345 6789\n      1234\n"},
        {20, "/a/directory/and/a/file:1: error", "/a/directory/and/a/\n      file:1: error\n"},
        {20, "abcdefghijklmnopqrstuvwxyz", "abcdefghijklmnopqrst\n      uvwxyz\n"},
        {20, "drei\u00dfig \u00e4pfel und \u00f6l", "drei\u00dfig \u00e4pfel und \u00f6l\n"},
        {0, "/a/directory/and/a/file:1: error", "/a/directory/and/a/file:1: error\n"},
    };
    for (const Case &each : cases) {
        EXPECT_EQ(
            printed(each.width, [&](std::FILE *out) { dfdctl::print_wrapped(out, each.text, 6); }),
            each.expected);
    }
}

std::string table(unsigned width, std::vector<dfdctl::Heading> headings,
                  const std::vector<std::vector<std::string>> &rows) {
    return printed(width, [&](std::FILE *out) {
        dfdctl::Table made(std::move(headings));
        for (const auto &row : rows) {
            made.add(row);
        }
        made.print(out);
    });
}

TEST(Width, TablesLeaveOutWhatMattersLeast) {
    using dfdctl::Fit;
    const std::vector<dfdctl::Heading> headings = {
        "UNIT", {"LEAST", Fit::cut, 2}, {"LESS", Fit::cut, 1}, {"LONG NAME", Fit::number}};
    const std::vector<std::string> row = {"one", "first", "second", "3"};
    EXPECT_EQ(table(35, headings, {row, row, row}).substr(0, 35),
              "  UNIT  LEAST  LESS    LONG NAME\n  ");
    EXPECT_EQ(table(28, headings, {row, row, row}),
              "                       LONG\n"
              "  UNIT  LEAST  LESS    NAME\n"
              "  one   first  second     3\n"
              "  one   first  second     3\n"
              "  one   first  second     3\n");
    EXPECT_EQ(table(26, headings, {row, row, row}),
              "  UNIT  LESS    LONG NAME\n"
              "  one   second          3\n"
              "  one   second          3\n"
              "  one   second          3\n"
              "  Not shown for lack of\n"
              "    width: least; --wide\n"
              "    shows it\n");
    // Of few rows nothing is lost.
    EXPECT_EQ(table(20, headings, {row, row}),
              "                LONG\n"
              "  UNIT  LESS    NAME\n"
              "  one   second     3\n"
              "      least: first\n"
              "  one   second     3\n"
              "      least: first\n");
}

TEST(Width, CellsHave24Characters) {
    using dfdctl::Fit;
    const std::vector<dfdctl::Heading> headings = {
        {"NAME", Fit::whole}, "VALUE", {"PATH", Fit::cut_front}};
    const std::vector<std::string> full = {"an_item_of_24_characters_2", "123456789.123456789.1234",
                                           "/dev/123456789.123456789"};
    const std::vector<std::string> cut = {"x", "123456789.123456789.12345",
                                          "/etc/cfg/dfd/cfg_file/fans.cfg"};
    EXPECT_EQ(table(100, headings, {full, cut, cut}),
              "  NAME                        VALUE                     PATH\n"
              "  an_item_of_24_characters_2  123456789.123456789.1234  /dev/123456789.123456789\n"
              "  x                           123456789.123456789.1...  .../fans.cfg\n"
              "  x                           123456789.123456789.1...  .../fans.cfg\n");
}

TEST(Width, ProseStandsBesideOrBelow) {
    using dfdctl::Fit;
    const std::vector<dfdctl::Heading> headings = {"A", {"TEXT", Fit::prose}};
    const std::vector<std::vector<std::string>> rows = {
        {"1", "short"}, {"2", "some words that need a second line"}, {"3", "short"}};
    EXPECT_EQ(table(30, headings, rows),
              "  A  TEXT\n  1  short\n  2\n      some words that need a\n      second line\n"
              "  3  short\n");
    const std::vector<std::vector<std::string>> wide = {
        {"1", "short"}, {"2", "some words that need a second line also in fifty columns"}};
    EXPECT_EQ(table(50, headings, wide),
              "  A  TEXT\n  1  short\n"
              "  2  some words that need a second line also in\n     fifty columns\n");
}

// Erased memory, zeros and blanks are blank; bytes that are no text are said to be none.
TEST(Width, SaysWhatBuffersHold) {
    const Board board("demo");
    const std::string file = "/tmp/bspinfo/post.bin";
    board.append("etc/cfg/dfd/chassis/8.cfg",
                 "cpld_ver_date.src=file\ncpld_ver_date.fpath=" + file +
                     "\ncpld_ver_date.reg_offset=0\ncpld_ver_date.len=6\n");
    struct Case {
        std::string content;
        const char *text;
        const char *json;
    };
    const Case cases[] = {
        {std::string(6, '\xff'), "blank", "ff ff ff ff ff ff"},
        {std::string(6, '\0'), "blank", "00 00 00 00 00 00"},
        {std::string(6, ' '), "blank", "20 20 20 20 20 20"},
        {std::string("A1 \xff\xff\xff"), "A1", "A1"},
        {std::string("\0A1234", 6), "not text: 00 41 31 32 33 34", "00 41 31 32 33 34"},
        {std::string("A1\x07"
                     "123"),
         "not text: 41 31 07 31 32 33", "41 31 07 31 32 33"}};
    for (const Case &each : cases) {
        write_file(board.file("tmp/bspinfo/post.bin"), each.content);
        EXPECT_EQ(board.dfdctl("get cpld_ver_date").out, std::string(each.text) + "\n");
        const std::string cell = std::string(each.text).substr(0, 21);
        EXPECT_THAT(board.dfdctl("items --values --type cpld_ver_date").out,
                    HasSubstr("  " + cell));
        EXPECT_EQ(board.dfdctl("get cpld_ver_date --json").json()["reading"]["value"], each.json);
    }
}

}  // namespace
}  // namespace tools_test
