// SPDX-License-Identifier: MIT
// dfdctl check on sick chassis: what is no mark of a page, and its exit status.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <functional>
#include <sstream>

#include "tools/programs.h"

namespace tools_test {
namespace {

using nlohmann::json;
using testing::ContainsRegex;
using testing::HasSubstr;

constexpr char kList[] = "etc/cfg/dfd/file_name/0x3e";
constexpr char kDescription[] = "chassis.toml";

/// Supply 4 of the demo has no input.
void plug_all_in(const Board &board) {
    board.replace(kDescription, "power input failure\", value = 0x08",
                  "power input failure\", value = 0x00");
    board.replace(kDescription, "power good\", value = 0x07", "power good\", value = 0x0f");
}

void remove(const Board &board, const char *file) {
    std::filesystem::remove(board.file(file));
}

/// The device behind a name is at another place than the board says.
void move_device(const Board &board, const std::string &from, const std::string &to) {
    ASSERT_EQ(run(fmt::format("sed -i 's#{}#{}#' {}", from, to, board.file(kDescription).string()))
                  .status,
              0);
}

void fill(const Board &board, const char *image, char byte) {
    constexpr std::size_t kSize = 256;
    write_file(board.file(image), std::string(kSize, byte));
}

/// Another character in the middle of a text: the checksum does not fit any more.
void damage(const Board &board, const char *image, const char *text) {
    board.replace(image, text, "?" + std::string(text + 1));
}

/// The lines of an item that begin with this are gone.
void unset(const Board &board, const char *item) {
    run(fmt::format("sed -i '/^{}/d' {}", item,
                    board.file("etc/cfg/dfd/cfg_file/cm8_fans.cfg").string()));
}

struct Ailment {
    const char *name;
    std::function<void(const Board &)> edit;
    int status;
    const char *severity;
    const char *word;
    const char *unit;
    const char *what;    ///< a part of it
    const char *device;  ///< null: none
};

void PrintTo(const Ailment &each, std::ostream *out) {
    *out << each.name;
}

const Ailment kCases[] = {
    {"file_not_loaded",
     [](const Board &board) { remove(board, "etc/cfg/dfd/cfg_file/cm8_irq.cfg"); }, 1, "alarm",
     "NOT LOADED", "/etc/cfg/dfd/cfg_file/cm8_irq.cfg", "No such file", nullptr},
    {"loading_stopped",
     [](const Board &board) { board.append("etc/cfg/dfd/cfg_file/cm8_ports.cfg", "no sign\n"); }, 1,
     "alarm", "NOT LOADED", "/etc/cfg/dfd/cfg_file/cm8_ports.cfg", "loading stopped in line 7",
     nullptr},
    {"chassis_file_missing", [](const Board &board) { remove(board, kChassisFile); }, 1, "alarm",
     "NOT FOUND", "/etc/cfg/dfd/chassis/8.cfg", "No such file", nullptr},
    {"list_missing", [](const Board &board) { remove(board, "etc/cfg/dfd/file_name/0x3e"); }, 1,
     "alarm", "NOT FOUND", "/etc/cfg/dfd/file_name/0x3e", "No such file", nullptr},
    {"board_type_unknown",
     [](const Board &board) {
         remove(board, "tmp/bspinfo/ProductID");
         move_device(board, "bus = 0", "bus = 5");
     },
     4, "alarm", "UNKNOWN", "board type", "does not answer", nullptr},
    {"line_without_effect", [](const Board &board) { board.append(kChassisFile, "fan_nmu=4\n"); },
     0, "note", "NO EFFECT", "/etc/cfg/dfd/chassis/8.cfg:60", "fan_num", nullptr},
    {"bus_spoils_writes",
     [](const Board &board) {
         board.append("chassis.toml", "\n[[bus]]\nnumber = 3\nnostart = false\n");
     },
     0, "note", "NO WRITES", "/dev/i2c-3", "lands at a wrong register", "/dev/i2c-3"},
    {"device_file_missing",
     [](const Board &board) { move_device(board, "/dev/fpga0", "/dev/fpga7"); }, 4, "alarm",
     "NO ANSWER", "/dev/fpga0", "readings: ", "/dev/fpga0"},
    {"bus_missing", [](const Board &board) { move_device(board, "bus = 2", "bus = 7"); }, 4,
     "alarm", "NO ANSWER", "/dev/i2c-2", "supply 1 EEPROM, ", "/dev/i2c-2"},
    // The bus works, so the hardware can be reached.
    {"sensor_silent",
     [](const Board &board) { board.append(kChassisFile, "card_temp_ctrl.addr_0_1=0x77\n"); }, 1,
     "alarm", "NO ANSWER", "/dev/i2c-0 0x77", "sensor inlet temperature", "/dev/i2c-0 0x77"},
    {"item_unusable",
     [](const Board &board) { board.append(kChassisFile, "card_temp_ctrl.len_0_5=0\n"); }, 1,
     "warning", "NO VALUE", "", "sensor fan-area temperature", ""},
    {"eeprom_silent",
     [](const Board &board) {
         board.replace(kDescription, "addr = 0x51\nname = \"fan tray 2",
                       "addr = 0x61\nname = \"fan tray 2");
     },
     1, "alarm", "SILENT", "tray 2 EEPROM", "tray 2 type", "/dev/i2c-1 0x51"},
    {"bus_times_out",
     [](const Board &board) {
         move_device(board, "bus = 2", "bus = 7");
         board.append(kDescription, "[[bus]]\nnumber = 2\nabsent_error = 'ETIMEDOUT'\n");
     },
     4, "alarm", "NO ANSWER", "/dev/i2c-2", "time-out", "/dev/i2c-2"},
    {"eeprom_erased", [](const Board &board) { fill(board, "images/fan2.bin", '\xff'); }, 1,
     "warning", "BLANK", "tray 2 EEPROM", "0xff", "/dev/i2c-1 0x51"},
    {"eeprom_zero", [](const Board &board) { fill(board, "images/power2.bin", '\0'); }, 1,
     "warning", "BLANK", "supply 2 EEPROM", "0x00", "/dev/i2c-2 0x51"},
    {"backplane_erased", [](const Board &board) { fill(board, "images/backplane.bin", '\xff'); }, 1,
     "alarm", "BLANK", "backplane 1 EEPROM", "tells a chassis without /etc/cfg/dfd/chassis/255.cfg",
     "/dev/i2c-3 0x56"},
    {"tlv_damaged", [](const Board &board) { damage(board, "images/fan1.bin", "FT1F00240101"); }, 1,
     "warning", "DAMAGED", "tray 1 EEPROM", "0x2e: the checksum is", "/dev/i2c-1 0x50"},
    {"fru_damaged", [](const Board &board) { damage(board, "images/power1.bin", "PS1200"); }, 1,
     "warning", "DAMAGED", "supply 1 EEPROM", "0x67: the checksum of the FRU product info area is",
     "/dev/i2c-2 0x50"},
    {"board_eeprom_damaged", [](const Board &board) { damage(board, "images/board.bin", "CM8A"); },
     1, "warning", "DAMAGED", "board EEPROM", "0x39: the checksum is", "/dev/i2c-0 0x57"},
    {"fru_damaged_twice",
     [](const Board &board) {
         damage(board, "images/power1.bin", "PS1200");
         damage(board, "images/power1.bin", "\xfe");
     },
     1, "warning", "DAMAGED", "supply 1 EEPROM",
     "0x07: the checksum of the header is wrong; 0x67: the checksum of", "/dev/i2c-2 0x50"},
    {"protection_lifted",
     [](const Board &board) {
         board.replace(kDescription, "fan tray 2\", value = 0xff", "fan tray 2\", value = 0x00");
     },
     0, "note", "WRITABLE", "fan tray 2 EEPROM", "'dfdctl write-protect fans on'", "/dev/cpld0"},
    // The product identifier tells the board type.
    {"board_eeprom_not_fitted",
     [](const Board &board) {
         board.replace(kDescription, "addr = 0x57\nname = \"board EEPROM",
                       "addr = 0x58\nname = \"board EEPROM");
     },
     0, "note", "SILENT", "board EEPROM", "does not need it", "/dev/i2c-0 0x57"},
    {"absent_and_answering",
     [](const Board &board) {
         board.replace(kDescription,
                       "present_when = { device = \"/dev/fpga0\", register = 0x41, bit = 3, "
                       "value = 0 }\n",
                       "");
     },
     1, "warning", "UNSURE", "tray 4 EEPROM", "presence", "/dev/i2c-1 0x53"},
    // Tray 3 falls out 25 ms after the bit, which is set 20 ms before the command.
    {"pulled_meanwhile",
     [](const Board &board) {
         board.append(kDescription,
                      "[[wiring.line]]\n"
                      "to = { device = '/dev/fpga0', register = 0x41, bit = 2 }\n"
                      "when = [{ device = '/dev/fpga0', register = 0xf0, bit = 0 }]\n"
                      "on_ms = 45\nmode = 'set'\n");
         board.append(kChassisFile, "card_temp_ctrl.addr_0_1=0x77\n");
         ASSERT_EQ(board.vchassis("poke", "/dev/fpga0 0xf0 0x01").status, 0);
     },
     1, "alarm", "UNSTEADY", "tray 3", "present at first, absent now", "/dev/fpga0"},
};

class Check : public testing::TestWithParam<Ailment> {};

TEST_P(Check, FindsIt) {
    const Ailment &each = GetParam();
    const Board board("demo");
    plug_all_in(board);
    each.edit(board);
    const Result result = board.dfdctl("check --json");
    const json report = result.json();
    EXPECT_EQ(result.status, each.status) << report.dump(1);
    EXPECT_EQ(report["healthy"], each.status == 0);
    EXPECT_EQ(report["reachable"], each.status != 4);
    const auto is_it = [&](const json &finding) {
        const bool has_unit = *each.unit == '\0' || finding["unit"] == each.unit;
        const bool has_device = each.device == nullptr
                                    ? finding["device"].is_null()
                                    : *each.device == '\0' || finding["device"] == each.device;
        return finding["word"] == each.word && finding["severity"] == each.severity && has_unit &&
               has_device &&
               finding["what"].get<std::string>().find(each.what) != std::string::npos;
    };
    EXPECT_EQ(std::ranges::count_if(report["findings"], is_it), 1) << report["findings"].dump(1);
}

INSTANTIATE_TEST_SUITE_P(Ailment, Check, testing::ValuesIn(kCases),
                         [](const auto &each) { return std::string(each.param.name); });

// What follows from something else is told with it, or as a note.
TEST(Check, NamesTheCauseOnce) {
    struct Case {
        const char *name;
        std::function<void(const Board &)> edit;
        std::vector<std::string> findings;  ///< all of them
        const char *text;
    };
    const std::string list = "/etc/cfg/dfd/file_name/0x3e NOT LOADED";
    const Case cases[] = {
        {"empty list",
         [](const Board &board) { write_file(board.file(kList), ""); },
         {list},
         "the list is empty"},
        {"directory as list",
         [](const Board &board) {
             remove(board, kList);
             std::filesystem::create_directory(board.file(kList));
         },
         {list},
         "Is a directory"},
        {"file with the meaning of values",
         [](const Board &board) { remove(board, "etc/cfg/dfd/cfg_file/cm8_fans.cfg"); },
         {"/etc/cfg/dfd/cfg_file/cm8_fans.cfg NOT LOADED"},
         "why values cannot be told (4 readings: "},
        {"file that tells the chassis",
         [](const Board &board) { remove(board, "etc/cfg/dfd/cfg_file/cm8_cpld.cfg"); },
         {"/etc/cfg/dfd/cfg_file/cm8_cpld.cfg NOT LOADED", "/etc/cfg/dfd/chassis/62.cfg NOT FOUND"},
         "note     /etc/cfg/dfd/chassis/62.cfg"},
        {"blank backplane",
         [](const Board &board) { fill(board, "images/backplane.bin", '\xff'); },
         {"backplane 1 EEPROM BLANK"},
         "(8 readings: "},
        {"presence unreadable",
         [](const Board &board) { move_device(board, "/dev/fpga0", "/dev/fpga7"); },
         {"/dev/fpga0 NO ANSWER", "/dev/i2c-1 0x53 NO ANSWER"},
         "4 trays (presence unreadable), "},
        {"presence not configured",
         [](const Board &board) { remove(board, "etc/cfg/dfd/cfg_file/cm8_fans.cfg"); },
         {"/etc/cfg/dfd/cfg_file/cm8_fans.cfg NOT LOADED"},
         " 4 trays (presence not configured), 4 rotors (presence not configured), "},
        {"presence of one not configured",
         [](const Board &board) { unset(board, "fan_state.[a-z_]*_2="); },
         {},
         " 2 of 4 trays (presence of 1 not configured), "},
        {"presence not configured or unreadable",
         [](const Board &board) {
             unset(board, "fan_state.[a-z_]*_2=");
             move_device(board, "/dev/fpga0", "/dev/fpga7");
         },
         {"/dev/fpga0 NO ANSWER", "/dev/i2c-1 0x53 NO ANSWER"},
         " 4 trays (presence of 3 unreadable, of 1 not configured), "},
        {"EEPROMs of units whose presence is unreadable",
         [](const Board &board) { move_device(board, "/dev/fpga0", "/dev/fpga7"); },
         {"/dev/fpga0 NO ANSWER", "/dev/i2c-1 0x53 NO ANSWER"},
         "note     /dev/i2c-1 0x53: "},
        {"silent EEPROMs",
         [](const Board &board) { move_device(board, "bus = 2", "bus = 7"); },
         {"/dev/i2c-2 NO ANSWER"},
         " 6 of 11 EEPROMs."},
    };
    for (const Case &each : cases) {
        const Board board("demo");
        plug_all_in(board);
        each.edit(board);
        std::vector<std::string> found;
        const json report = board.dfdctl("check --json").json();
        for (const json &finding : report["findings"]) {
            found.push_back(fmt::format("{} {}", finding["unit"].get<std::string>(),
                                        finding["word"].get<std::string>()));
        }
        EXPECT_EQ(found, each.findings) << each.name;
        EXPECT_THAT(board.dfdctl("check --wide").out, HasSubstr(each.text)) << each.name;
    }
}

/// A chassis with all supplies and what was learned of it, to be compared.
struct Site {
    Site() { plug_all_in(board); }

    std::string file() const { return board.file(kName).string(); }
    Result learn(const std::string &options = {}) const {
        return board.dfdctl(fmt::format("check --learn {} {}", file(), options));
    }
    Result compare(const char *options = "") const {
        return board.dfdctl(fmt::format("check --expect {} {}", file(), options));
    }

    static constexpr char kName[] = "site.toml";
    const Board board{"demo"};
};

TEST(Expect, LearnsAGoodChassisAndFindsNothingMissing) {
    const Site site;
    EXPECT_EQ(site.learn().status, 0);
    const std::string text = read_file(site.file());
    EXPECT_THAT(text, testing::StartsWith("# "));
    for (const char *line :
         {"board_type = 62\n", "chassis_type = 8\n", "peer = true\n",
          "cards = [2, 3, 5, 6, 9, 30, 31]\n", "[trays]\n1 = \"16\"\n2 = \"17\"\n3 = \"33\"\n\n",
          "[supplies]\n1 = \"PS1200-AC\"\n2 = \"PS800-DC\"\n3 = \"PS60\"\n4 = \"PS1200-AC\"\n"}) {
        EXPECT_THAT(text, HasSubstr(line));
    }
    const Result result = site.compare();
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, testing::StartsWith("Healthy\n"));
}

TEST(Expect, LearnsNothingOfASickChassisUnlessForced) {
    const Site site;
    ASSERT_EQ(site.board.vchassis("poke", "/dev/fpga0 0x50 0x04").status, 0);
    write_file(site.file(), "trays = [1]\n");
    const Result refused = site.learn();
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.err, HasSubstr("--force"));
    EXPECT_EQ(read_file(site.file()), "trays = [1]\n");
    EXPECT_EQ(site.learn("--force").status, 0);
    EXPECT_THAT(read_file(site.file()), HasSubstr("[supplies]\n"));
}

TEST(Expect, WritesTheFileWholeOrNotAtAll) {
    const Site site;
    const Result result = site.board.dfdctl("check --learn /dev/full/site.toml");
    EXPECT_EQ(result.status, 4);
    EXPECT_THAT(result.err, HasSubstr("/dev/full/site.toml"));
    const std::string pipe = site.board.file("pipe").string();
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(site.board.dfdctl("check --learn " + pipe).status, 4);
    EXPECT_TRUE(std::filesystem::is_fifo(pipe));
    EXPECT_EQ(site.learn().status, 0);
    for (const auto &entry : std::filesystem::directory_iterator(site.board.file("."))) {
        EXPECT_THAT(entry.path().filename().string(), testing::Not(HasSubstr("site.toml.")));
    }
}

TEST(Expect, TellsWhatIsMissingChangedOrNew) {
    struct Case {
        const char *text;
        const char *poke;
        int status;
        const char *severity;
        const char *word;
        const char *unit;
        const char *what;
        const char *unset = nullptr;
    };
    const Case cases[] = {
        {"trays = [1, 2, 3]", "", 1, "warning", "UNSURE", "tray 2",
         "expected by FILE:1, but the board configures no item that tells", "fan_state.[a-z_]*_2="},
        {"supplies = [1, 2, 3, 4]", "/dev/cpld0 0x10 0xf2", 1, "alarm", "ABSENT", "supply 2",
         "expected by FILE:1"},
        {"# two\n[trays]\n1 = ''\n2 = ''\n3 = ''\n4 = ''", "", 1, "alarm", "ABSENT", "tray 4",
         "expected by FILE:6"},
        {"cards = [2, 3, 4, 5, 6, 9, 30, 31]", "", 1, "alarm", "ABSENT", "card in slot 4",
         "expected by FILE:1"},
        {"supplies = [1, 2, 3, 4, 5]", "", 1, "alarm", "ABSENT", "supply 5", "configures none"},
        {"sensors = ['inlet', 'outlet', 'cpu', 'peer-inlet', 'fan-area', 'slot 31 fabric', 'phy']",
         "", 1, "alarm", "ABSENT", "sensor phy", "configures none"},
        {"peer = true", "/dev/cpld0 0x08 0x00", 1, "alarm", "ABSENT", "peer master board",
         "expected by FILE"},
        {"[supplies]\n1 = 'PS1200-AC'\n2 = 'PS60'\n3 = ''\n4 = ''", "", 1, "warning", "CHANGED",
         "supply 2", "PS800-DC, expected PS60 (FILE:3)"},
        {"board_type = 63", "", 1, "warning", "CHANGED", "board type", "62, expected 63"},
        {"chassis_type = 9", "", 1, "warning", "CHANGED", "chassis type", "8, expected 9"},
        {"trays = [1, 2]", "", 0, "note", "NEW", "tray 3", "not expected"},
        {"peer = false", "", 0, "note", "NEW", "peer master board", "not expected"},
    };
    for (const Case &each : cases) {
        const Site site;
        write_file(site.file(), each.text);
        if (*each.poke != '\0') {
            ASSERT_EQ(site.board.vchassis("poke", each.poke).status, 0);
        }
        if (each.unset != nullptr) {
            unset(site.board, each.unset);
        }
        const Result result = site.compare("--json");
        EXPECT_EQ(result.status, each.status) << each.text;
        std::string what = each.what;
        if (const std::size_t at = what.find("FILE"); at != std::string::npos) {
            what.replace(at, 4, site.file());
        }
        const json findings = result.json()["findings"];
        EXPECT_EQ(std::ranges::count_if(findings,
                                        [&](const json &finding) {
                                            return finding["severity"] == each.severity &&
                                                   finding["word"] == each.word &&
                                                   finding["unit"] == each.unit &&
                                                   finding["what"].get<std::string>().find(what) !=
                                                       std::string::npos;
                                        }),
                  1)
            << each.text << findings.dump(1);
    }
}

TEST(Expect, MistakesInTheFileAreNamedWithTheirLine) {
    const Site site;
    struct Case {
        const char *text;
        const char *message;  ///< behind the name of the file
    };
    const Case cases[] = {
        {"\ntrays = 4\n", ":2:9: 'trays' takes a list, trays = [1, 2]"},
        {"trais = [1]\n", ":1:1: nothing can be expected of 'trais', did you mean 'trays'?"},
        {"trays = [1.5]\n", ":1:10: 'trays' takes numbers"},
        {"board_type = 'x'\n", ":1:14: 'board_type' takes a number: board_type = 62"},
        {"[supplies]\n1 = 5\n", ":2:5: what unit 1 is stands in quotes"},
        {"[supplies]\n1 = PS60\n", ":2:5: "},
        {"peer = 1\n", ":1:8: 'peer' is true or false"},
    };
    for (const Case &each : cases) {
        write_file(site.file(), each.text);
        const Result result = site.compare();
        EXPECT_EQ(result.status, 2) << each.text;
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(result.err, HasSubstr(site.file() + each.message));
    }
    std::filesystem::remove(site.file());
    EXPECT_THAT(site.compare().err, HasSubstr("--learn"));
    EXPECT_EQ(site.board.dfdctl("check --expect /tmp").status, 2);
    EXPECT_EQ(site.board.dfdctl("check --force").status, 2);
    EXPECT_EQ(site.learn("--expect " + site.file()).status, 2);
}

TEST(Check, AHealthyChassisSaysWhatWasLookedAt) {
    for (const char *name : {"demo", "demo-tlv", "demo-linecard"}) {
        const Board board(name);
        if (std::string_view(name) != "demo-linecard") {
            plug_all_in(board);
        }
        const Result result = board.dfdctl("check");
        EXPECT_EQ(result.status, 0) << result.out;
        EXPECT_EQ(result.err, "");
        EXPECT_THAT(result.out, testing::StartsWith("Healthy\nLooked at ")) << name;
        EXPECT_LT(std::ranges::count(result.out, '\n'), 6) << name;
        const json report = board.dfdctl("check --json").json();
        EXPECT_EQ(report["findings"], json::array()) << name;
        EXPECT_EQ(board.dfdctl("show all --json").out.find("\"severity\""), std::string::npos);
    }
}

TEST(Check, ANewBoardIsHealthy) {
    const TempDir dir;
    for (const char *options : {"",
                                " --slots 6 --cards --peer --interrupts --ports 4 --chassis 9 "
                                "--type-from eeprom"}) {
        const std::filesystem::path board = dir.path() / "new";
        ASSERT_EQ(
            run_tool(fmt::format("dfdctl new-board new --dir {}{}", dir.path().string(), options))
                .status,
            0);
        const Result result =
            run_tool(fmt::format("vchassis run {} -- {}/dfdctl check", board.string(), BUILD_DIR));
        EXPECT_EQ(result.status, 0) << options << result.out;
        std::filesystem::remove_all(board);
    }
}

TEST(Check, CountsWhatIsThere) {
    const Board board("demo");
    const json looked = board.dfdctl("check --json").json()["looked_at"];
    const auto seen = [](int present, int total) {
        return json{{"present", present},
                    {"total", total},
                    {"presence_unreadable", 0},
                    {"presence_not_configured", 0}};
    };
    EXPECT_EQ(looked["trays"], seen(3, 4));
    EXPECT_EQ(looked["rotors"], seen(6, 8));
    EXPECT_EQ(looked["supplies"], seen(4, 4));
    // The board, four trays and supplies, a sub-card, a backplane.
    EXPECT_EQ(looked["eeproms"], seen(10, 11));
    unset(board, "fan_state");
    const json untold = board.dfdctl("check --json").json()["looked_at"]["trays"];
    EXPECT_EQ(untold["presence_not_configured"], 4);
    EXPECT_EQ(untold["present"], 0);
}

TEST(Check, WorstFirstInEightyColumns) {
    const Board board("demo");
    board.append(kChassisFile, "fan_nmu=4\ncard_vol_waterline.int_cons_0_1=3299\n");
    ASSERT_EQ(board.vchassis("poke", "/dev/fpga0 0x50 0x04").status, 0);
    const Result result = board.dfdctl("check");
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.out, ContainsRegex("^2 alarms, 1 warning, 1 note\nalarm .*\nalarm "
                                          "(.*\n)*warning .*\n(.*\n)*note "));
    std::istringstream lines(result.out);
    for (std::string line; std::getline(lines, line);) {
        EXPECT_LE(line.size(), 80U) << line;
    }
    EXPECT_THAT(result.out, HasSubstr("tray 2 rotor 1: STOPPED: 0 rpm, lowest 1200 rpm"));
    EXPECT_THAT(result.out, testing::Not(HasSubstr("tray 2: FAILED")))
        << "the rotor tells it already";
}

TEST(Check, TheSameOfManyUnitsTakesOneLine) {
    constexpr int kScreen = 24;
    const Board board("demo");
    ASSERT_EQ(board.vchassis("poke", "/dev/fpga0 0x50 0x05").status, 0);
    ASSERT_EQ(board.vchassis("poke", "/dev/cpld0 0x50 0x0f 0x0f 0xff 0x0f 0x0f").status, 0);
    const Result result = board.dfdctl("check");
    EXPECT_THAT(result.out, HasSubstr("alarm    tray 1 rotor 1, tray 2 rotor 1: STOPPED: "));
    EXPECT_THAT(result.out, ContainsRegex("and 16\\s+more: PENDING"));
    EXPECT_LT(std::ranges::count(result.out, '\n'), kScreen);
    EXPECT_EQ(board.dfdctl("check --json").json()["warnings"], 24);
}

/// On a real terminal of that many lines.
std::string on_terminal(const Board &board, const char *environment, int lines,
                        const std::string &command) {
    const Result result = run(fmt::format(
        "env -u NO_COLOR {} script -qec 'stty rows {} cols 80; {}/vchassis run {} -- {}/dfdctl {}' "
        "/dev/null </dev/null",
        environment, lines, BUILD_DIR, board.file(".").string(), BUILD_DIR, command));
    std::string text = result.out;
    std::erase(text, '\r');
    return text;
}

std::string without_colour(std::string text) {
    for (const std::string_view colour : {"\x1b[31m", "\x1b[0m"}) {
        for (std::size_t at = 0; (at = text.find(colour)) != std::string::npos;) {
            text.erase(at, colour.size());
        }
    }
    return text;
}

TEST(Check, WhatIsWrongIsRedOnATerminalThatTakesColour) {
    constexpr int kLines = 50;
    const Board board("demo");
    for (const char *command : {"check", "show power"}) {
        const std::string plain = board.dfdctl(command).out;
        EXPECT_EQ(plain.find('\x1b'), std::string::npos) << "a pipe";
        const std::string red = on_terminal(board, "TERM=xterm", kLines, command);
        EXPECT_THAT(red, HasSubstr("\x1b[31m")) << command;
        EXPECT_EQ(without_colour(red), plain) << "a colour takes no column";
        for (const char *environment : {"TERM=xterm NO_COLOR=1", "TERM=dumb"}) {
            EXPECT_EQ(on_terminal(board, environment, kLines, command), plain) << environment;
        }
    }
    EXPECT_THAT(on_terminal(board, "TERM=xterm", kLines, "show power"),
                HasSubstr("\x1b[31mNO INPUT\x1b[0m"));
}

TEST(Check, TakesOneScreenOfATerminal) {
    constexpr int kLines = 12;
    const Board board("demo");
    board.append(kChassisFile, "sys_alarm_temp.int_cons=30\n");
    ASSERT_EQ(board.vchassis("poke", "/dev/fpga0 0x50 0x05").status, 0);
    ASSERT_EQ(board.vchassis("poke", "/dev/cpld0 0x50 0x01").status, 0);
    const std::string cut = on_terminal(board, "TERM=dumb", kLines, "check");
    EXPECT_LT(std::ranges::count(cut, '\n'), kLines);
    EXPECT_THAT(cut, HasSubstr(" more: 'dfdctl check --all' shows them\nLooked at "));
    EXPECT_THAT(cut, testing::Not(HasSubstr("PENDING"))) << "the last";
    const std::string all = on_terminal(board, "TERM=dumb", kLines, "check --all");
    EXPECT_THAT(all, HasSubstr("PENDING"));
    EXPECT_EQ(all, board.dfdctl("check").out);
}

TEST(Check, SaysWhatHasNoLimit) {
    const Board board("demo");
    run(fmt::format("sed -i '/^sys_alarm_temp/d;/^sys_danger_temp/d' {}",
                    board.file("etc/cfg/dfd/cfg_file/cm8_temps.cfg").string()));
    EXPECT_THAT(board.dfdctl("check").out,
                HasSubstr("The board configures no limit for: sensors.\n"));
}

}  // namespace
}  // namespace tools_test
