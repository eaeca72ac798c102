// SPDX-License-Identifier: MIT
// dfdctl eeprom on the virtual chassis: what units hold, and that a change ruins none of them,
// whatever comes between.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/programs.h"

namespace tools_test {
namespace {

using nlohmann::json;
using testing::AnyOf;
using testing::HasSubstr;
using testing::Not;

/// A board, and a directory for what its field engineer keeps.
struct Field {
    Board board{"demo"};
    TempDir dir;

    std::string path(const std::string &name) const { return (dir.path() / name).string(); }
    Result eeprom(const std::string &arguments) const {
        return board.dfdctl(fmt::format("eeprom {} </dev/null", arguments));
    }
    /// The bytes of a chip, as the virtual chassis keeps them.
    std::string chip(const std::string &name) const {
        return read_file(board.file("state/dev-i2c-" + name + ".bin"));
    }
    /// The registers that protect the fan trays.
    std::string protection() const {
        const std::string text = board.vchassis("peek", "/dev/cpld0 0x19 4").out;
        return text.substr(text.find(": ") + 2, 11);
    }
    /// `eeprom set` that is sent a signal before its Nth access to a device.
    Result interrupted(int access, const std::string &signal, const std::string &arguments) const {
        return run_tool(
            fmt::format("vchassis run --signal-at {}:{} {} -- {}/dfdctl eeprom {} "
                        "</dev/null",
                        access, signal, board.file(".").string(), BUILD_DIR, arguments));
    }
};

constexpr const char *kFan2 = "1-0x51";
constexpr const char *kProtected = "ff ff ff ff";  // the four fan trays

TEST(EepromUnits, DecodeTellsWhatTheImagesWereBuiltFrom) {
    struct Case {
        const char *unit;
        const char *layout;
        const char *field;
        const char *text;
    };
    const Case cases[] = {
        {"board", "tlv", "serial_number", "CM8A0240617001"},
        {"fan 1", "tlv", "hw_version", "1.10"},
        {"fan 2", "fru", "asset_tag", "RACK 7"},
        {"fan 3", "fan_legacy", "serial_number", "FT0F002403003"},
        {"power 1", "fru", "part_number", "PN-301"},
        {"power 2", "power_legacy", "hw_version", "2.05"},
        {"power 3", "tlv", "entry 0x00", "PS60240617303"},
        {"subcard 1", "tlv", "serial_number", "SC2A0024051509"},
        {"backplane 1", "backplane", "mac", "02:44:46:10:20:00"},
        {"--bus 1 --addr 0x50", "tlv", "product_name", "FT1-F"},
    };
    const Field field;
    for (const Case &each : cases) {
        SCOPED_TRACE(each.unit);
        const Result result = field.eeprom(fmt::format("decode {} --json", each.unit));
        EXPECT_EQ(result.status, 0) << result.err;
        const json document = result.json();
        EXPECT_EQ(document["layout"], each.layout);
        EXPECT_TRUE(document["faults"].empty()) << document["faults"];
        bool is_found = false;
        for (const json &row : document["fields"]) {
            is_found |= row["name"] == each.field && row["value"] == each.text;
        }
        EXPECT_TRUE(is_found) << document["fields"];
        EXPECT_THAT(field.eeprom(fmt::format("verify {}", each.unit)).out, HasSubstr("no faults"));
    }
}

// The text of a live unit, through an editor's hands or not, is the image again.
TEST(EepromUnits, DecodedTextsEncodeToTheSameBytes) {
    const Field field;
    for (const auto &[unit, chip] :
         {std::pair("fan 2", kFan2), std::pair("power 1", "2-0x50"), std::pair("power 2", "2-0x51"),
          std::pair("backplane 1", "3-0x56")}) {
        const std::string text = field.path("unit.toml");
        const std::string image = field.path("unit.bin");
        write_file(text, field.eeprom(fmt::format("decode {}", unit)).out);
        ASSERT_EQ(run_tool(fmt::format("dfdctl eeprom encode {} {}", text, image)).status, 0);
        EXPECT_EQ(read_file(image), field.chip(chip)) << unit;
        const Result same = field.eeprom(fmt::format("diff {} {}", unit, image));
        EXPECT_EQ(same.status, 0) << same.out;
        EXPECT_EQ(same.out, "");
    }
}

TEST(EepromUnits, NothingElseOnTheBusIsAsked) {
    const Field field;
    const std::string trace = field.path("trace");
    ASSERT_EQ(run_tool(fmt::format("vchassis run --trace={} {} -- {}/dfdctl eeprom verify "
                                   "--bus 1 --addr 0x51",
                                   trace, field.board.file(".").string(), BUILD_DIR))
                  .status,
              0);
    std::istringstream lines(read_file(trace));
    for (std::string line; std::getline(lines, line);) {
        if (line.find("transfer") != std::string::npos) {
            EXPECT_THAT(line, HasSubstr("/dev/i2c-1 {w 0x51 "));
        }
    }
}

TEST(EepromUnits, WrongWordsNameTheRightOnes) {
    struct Case {
        const char *arguments;
        int status;
        const char *message;
    };
    const Case cases[] = {
        {"decode fan 9", 2, "there is no fan 9; those with an EEPROM are fan 1, 2, 3, 4"},
        {"decode power", 2, "a number is missing; those with an EEPROM are power 1, 2, 3, 4"},
        {"verify backplane 2", 2, "there is no backplane 2; those with an EEPROM are backplane 1"},
        {"verify subcard x", 2, "those with an EEPROM are subcard 1"},
        {"verify no-such-file", 2, "no-such-file: No such file"},
        {"verify /dev/zero", 2, "/dev/zero: "},
        {"verify", 2, "fan N, power N"},
        {"verify --bus 1", 2, "--bus and --addr stand together"},
        {"verify --bus 1 --addr 0x80", 2, "0 to 127"},
        {"verify /tmp", 2, "/tmp: it is a directory; the file of an image is expected"},
        {"verify --bus 1 --addr 0x33", 4,
         "dfdctl: /dev/i2c-1 0x33: cannot be read at byte 0x00: no acknowledgement at this "
         "address"},
        {"verify --bus 7 --addr 0x33", 4,
         "dfdctl: /dev/i2c-7 0x33: cannot be opened: No such file"},
        {"decode fan 1 --layout fur", 2, "did you mean 'fru'?"},
        {"verify fan 4", 1, "fan 4: the unit is not plugged"},
        {"diff fan 1", 2, "diff takes two images"},
        {"set fan 1", 2, "FIELD=TEXT is missing"},
        {"set fan 1 serial_numbr=X --yes", 2, "did you mean 'serial_number'"},
        {"set fan 3 serial_number=short --yes", 2, "exactly 13 characters; nothing was written"},
        {"set fan 1 serial_number=NEW", 2, "confirm with --yes"},
        {"set fan 1 serial_number=ONE serial_number=TWO --yes", 2, "serial_number: given twice"},
        {"set fan 2 product_version=1.1 hw_version=1.2 --yes", 2, "product_version: given twice"},
        {"set fan 2 serial_number=S --yes", 2,
         "serial_number: a FRU field of one character reads as the end of all fields; nothing was "
         "written"},
        {"set fan 1 serial_number=NEW --yes --expect-sn OTHER", 1,
         "the serial number is 'FT1F00240101', not 'OTHER'"},
        {"set fan 1 serial_number=NEW --yes --backup /no/where/file", 4,
         "cannot be saved in /no/where/file: No such file or directory; nothing was written"},
        {"restore /etc/passwd", 2, "this is no backup of dfdctl"},
        {"encode a b c", 2, "'eeprom encode' takes DESCRIPTION IMAGE: A text file"},
        {"encode a", 2, "'eeprom encode' takes DESCRIPTION IMAGE: A text file"},
        {"restore", 2, "'eeprom restore' takes FILE: File that 'set' has written"},
        {"verify fan 1 fan 2", 2, "'eeprom verify' takes [IMAGE]: A file, board, fan N"},
        {"encode /tmp unit.bin", 1, "/tmp: it is a directory; the file of a description is"},
        {"encode /dev/null unit.bin", 1, "/dev/null: it describes nothing: a section such as"},
    };
    const Field field;
    const std::string before = field.eeprom("decode fan 1").out;
    for (const Case &each : cases) {
        const Result result = field.eeprom(each.arguments);
        EXPECT_EQ(result.status, each.status) << each.arguments << "\n" << result.err;
        EXPECT_THAT(result.err, HasSubstr(each.message)) << each.arguments;
    }
    EXPECT_EQ(field.eeprom("decode fan 1").out, before);
    EXPECT_THAT(field.board.vchassis("peek", "/dev/cpld0 0x19").out, HasSubstr("ff"));
}

TEST(EepromSet, WritesASoundImageSavesTheOldOneAndPutsProtectionBack) {
    struct Case {
        const char *unit;
        const char *edit;
        const char *line;  ///< of the output
    };
    const Case cases[] = {
        {"board", "serial_number=CM8B", "board serial_number: CM8A0240617001 -> CM8B\n"},
        {"fan 1", "hw_version=2.00", "fan 1 hw_version: 1.10 -> 2.00\n"},
        // Shorter than the stored one, which the library stores without its checksum.
        {"fan 2", "serial_number=S7", "fan 2 serial_number: FT2F00240202 -> S7\n"},
        {"fan 2", "serial_number=", "fan 2 serial_number: FT2F00240202 -> (empty)\n"},
        {"fan 2", "custom 1=back to front", "fan 2 custom 1: front to back -> back to front\n"},
        {"fan 3", "hw_version=2.5a", "fan 3 hw_version: 1.23 -> 2.5a\n"},
        {"power 1", "serial_number=PS-1200-240617-LONGER",
         "power 1 serial_number: PS1200240617 -> "
         "PS-1200-240617-LONGER\n"},
        {"power 2", "product_name=PS900", "power 2 name: PS800-DC -> PS900\n"},
        {"subcard 1", "serial_number=SC9", "subcard 1 serial_number: SC2A0024051509 -> SC9\n"},
        {"backplane 1", "serial_number=CH9",
         "backplane 1 serial_number: CH8-BP-0024033001 -> CH9\n"},
    };
    const Field field;
    for (const Case &each : cases) {
        SCOPED_TRACE(each.unit);
        const std::string before = field.eeprom(fmt::format("decode {}", each.unit)).out;
        const std::string backup = field.path("backup");
        const Result result = field.eeprom(
            fmt::format("set {} '{}' --yes --backup {}", each.unit, each.edit, backup));
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(result.out, each.line);
        EXPECT_THAT(result.err, HasSubstr("To undo it: dfdctl eeprom restore " + backup));
        EXPECT_EQ(field.eeprom(fmt::format("verify {} --backup {}", each.unit, backup)).status, 0);
        const Result taken = field.eeprom(
            fmt::format("set {} '{}' --yes --backup {}", each.unit, "serial_number=X1", backup));
        EXPECT_NE(taken.status, 0) << "a backup is never written over";

        EXPECT_EQ(field.eeprom(fmt::format("restore {} --yes --backup {}2", backup, backup)).out,
                  fmt::format("{}: restored\n", each.unit));
        EXPECT_EQ(field.eeprom(fmt::format("decode {}", each.unit)).out, before);
        std::filesystem::remove(backup);
        std::filesystem::remove(backup + "2");
    }
    for (const char *signal : {"0x18 5", "0x1d", "0x1f"}) {
        EXPECT_THAT(field.board.vchassis("peek", std::string("/dev/cpld0 ") + signal).out,
                    Not(HasSubstr(" 00")));
    }
    EXPECT_THAT(field.board.dfdctl("get fan_sn 2").out, HasSubstr("FT2F00240202"));
}

TEST(EepromSet, OnlyWhatChangesIsWrittenInMessagesThatEveryAdapterTakes) {
    const Field field;
    field.board.append("chassis.toml", "[[bus]]\nnumber = 1\nnostart = false\n");
    const std::string trace = field.path("trace");
    const Result result = run_tool(
        fmt::format("vchassis run --trace={} {} -- {}/dfdctl set fan_sn 1 FT1F00240999 --yes "
                    "--backup {} </dev/null",
                    trace, field.board.file(".").string(), BUILD_DIR, field.path("backup")));
    EXPECT_EQ(result.out, "fan_sn_1: FT1F00240101 -> FT1F00240999\n") << result.err;
    // The text, and the checksum: two writes, of one message each.
    std::vector<std::string> writes;
    std::istringstream lines(read_file(trace));
    for (std::string line; std::getline(lines, line);) {
        const std::size_t at = line.find("transfer");
        if (at != std::string::npos && line.find("{r ") == std::string::npos) {
            writes.push_back(line.substr(at));
        }
    }
    ASSERT_EQ(writes.size(), 2U) << testing::PrintToString(writes);
    EXPECT_THAT(writes[0], HasSubstr("39 39 39]} = 1"));
    EXPECT_THAT(writes[0], Not(HasSubstr("nostart")));
}

TEST(EepromSet, AtATerminalItShowsTheDifferenceAndAsks) {
    const Field field;
    for (const auto &[answer, version] : {std::pair("n", "1.10"), std::pair("y", "2.00")}) {
        const Result result = run(fmt::format(
            "printf '{}\\n' | script -qec '{}/vchassis run {} -- {}/dfdctl eeprom set fan 1 "
            "hw_version=2.00 --backup {}' /dev/null",
            answer, BUILD_DIR, field.board.file(".").string(), BUILD_DIR, field.path("backup")));
        EXPECT_THAT(result.out, HasSubstr("2 bytes of fan 1 (/dev/i2c-1 0x50) change:"));
        EXPECT_THAT(result.out, HasSubstr("Write? [y/N] "));
        EXPECT_EQ(field.board.dfdctl("get fan_hw_ver 1").out, fmt::format("{}\n", version));
        EXPECT_EQ(std::filesystem::exists(field.path("backup")), version == std::string("2.00"));
    }
}

TEST(EepromSet, AFullDiskStopsBeforeTheFirstWrite) {
    const Field field;
    const std::string before = field.eeprom("decode fan 2").out;
    const std::string chip = field.chip(kFan2);
    // Files of more than 1024 bytes are refused, as on a disk with so much room.
    const Result result = run(
        fmt::format("(trap '' XFSZ; ulimit -f 2; {}/vchassis run {} -- {}/dfdctl eeprom set fan 2 "
                    "serial_number=S7 --yes --backup {} 2>&1 </dev/null; echo status $?) | cat",
                    BUILD_DIR, field.board.file(".").string(), BUILD_DIR, field.path("backup")));
    EXPECT_THAT(result.out, HasSubstr("File too large; nothing was written"));
    EXPECT_THAT(result.out, HasSubstr("status 4"));
    EXPECT_EQ(field.chip(kFan2), chip);
    EXPECT_FALSE(std::filesystem::exists(field.path("backup"))) << "half a backup is none";
    EXPECT_EQ(field.eeprom("decode fan 2").out, before);
}

TEST(EepromSet, ADamagedImageIsChangedOnlyOnRequestAndIsSoundThen) {
    const Field field;
    ASSERT_EQ(field.board.vchassis("poke", "/dev/i2c-1:0x50 0x0a 0x58").status, 0);
    const Result verify = field.eeprom("verify fan 1");
    EXPECT_EQ(verify.status, 1);
    EXPECT_THAT(verify.out, testing::ContainsRegex("fan 1 .*: 1 fault\n  0x00.. +the checksum is"));
    EXPECT_EQ(field.eeprom("decode fan 1").out, "");
    EXPECT_THAT(field.eeprom("decode fan 1 --lenient").out, HasSubstr("FT1F00240101"));
    const std::string set = "set fan 1 serial_number=NEW --yes --backup " + field.path("backup");
    const Result refused = field.eeprom(set);
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.err, HasSubstr("the image is damaged, at 0x"));
    EXPECT_EQ(field.eeprom(set + " --force").status, 0);
    EXPECT_EQ(field.eeprom("verify fan 1").status, 0);
}

TEST(EepromSet, AnEepromThatStaysProtectedIsToldByteByByte) {
    const Field field;
    field.board.replace("chassis.toml",
                        "write_protect = { device = \"/dev/cpld0\", register = 0x19, bit = 0 }",
                        "write_protect = { device = \"/dev/cpld0\", register = 0x00, bit = 1 }");
    const Result result =
        field.eeprom("set fan 1 hw_version=2.10 --yes --json --backup " + field.path("backup"));
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("it does not read back as written"));
    const json document = result.json();
    EXPECT_EQ(document["verified"], false);
    ASSERT_EQ(document["wrong"].size(), 2U) << "the digit and the checksum";
    EXPECT_EQ(document["wrong"][0]["before"], json({0x31}));
    EXPECT_EQ(document["wrong"][0]["after"], json({0x32}));
}

// A protection that does not let go is noticed before the first write; what a user has lifted
// stays.
TEST(EepromSet, TheLiftOfTheProtectionIsReadBack) {
    struct Case {
        const char *unit;
        const char *from;  ///< in the description of the registers
        const char *to;
        const char *message;  ///< empty: it is written
    };
    const Case cases[] = {
        {"fan 2", "fan tray 2\", value = 0xff", "fan tray 2\", value = 0xff, read_only = true",
         "cannot be lifted: fan tray 2 (/dev/cpld0 register 0x1a is 0xff, not 0x00); nothing was "
         "written"},
        {"board", "board\", value = 0xff", "board\", value = 0xff, read_only = 0x80",
         "cannot be lifted: board (/dev/cpld0 register 0x18 is 0x80, not 0x00); nothing was"},
        // That of another tray is of no concern.
        {"fan 1", "fan tray 2\", value = 0xff", "fan tray 2\", value = 0xff, read_only = true", ""},
        {"fan 2", "fan tray 2\", value = 0xff", "fan tray 2\", value = 0x00", ""},
    };
    for (const Case &each : cases) {
        SCOPED_TRACE(each.to);
        const Field field;
        field.board.replace("chassis.toml", each.from, each.to);
        const std::string before = field.eeprom(fmt::format("decode {}", each.unit)).out;
        const std::string signals = field.protection();
        const std::string set = fmt::format("set {} serial_number=NEW --yes --backup {}", each.unit,
                                            field.path("backup"));
        const Result result = field.eeprom(set);
        EXPECT_EQ(result.status, *each.message != '\0' ? 1 : 0);
        EXPECT_THAT(result.err, HasSubstr(each.message));
        EXPECT_EQ(field.eeprom(fmt::format("decode {}", each.unit)).out == before,
                  *each.message != '\0');
        EXPECT_EQ(field.protection(), signals);
        if (*each.message != '\0') {
            EXPECT_THAT(field.eeprom(set + "2 --force").err, Not(HasSubstr("nothing was written")));
        }
    }
}

// Each at any step of the change: the image is whole afterwards, old or new, and the protection is
// back; one that comes while it is lifted waits, and the message says what was finished.
TEST(EepromSet, SignalsWaitUntilTheImageIsWhole) {
    for (const char *signal : {"HUP", "INT", "TERM"}) {
        const Field field;
        const std::string said = fmt::format(
            "signal {} waited until the EEPROM was written and its protection put back", signal);
        bool is_over = false;
        int finished = 0;
        for (int access = 1; !is_over; access += 3) {
            SCOPED_TRACE(fmt::format("{} {}", signal, access));
            const std::string serial = fmt::format("SN-{}", access);
            const Result result =
                field.interrupted(access, signal,
                                  fmt::format("set fan 1 serial_number={} --yes --backup {}{}",
                                              serial, field.path("backup"), access));
            is_over = result.status == 0;
            const bool has_waited = result.err.find(said) != std::string::npos;
            finished += has_waited ? 1 : 0;
            const Result decoded = field.eeprom("decode fan 1");
            EXPECT_EQ(decoded.status, 0) << decoded.err;
            EXPECT_EQ(decoded.out.find(serial) != std::string::npos, has_waited || is_over);
            EXPECT_EQ(field.protection(), kProtected);
        }
        EXPECT_GT(finished, 3);
    }
}

// A memory of more than 256 bytes takes two bytes of offset, and writes stay in its pages.
TEST(EepromSet, LargeMemoriesAreWrittenAcrossTheirOffsets) {
    const Field field;
    field.board.append("chassis.toml",
                       "[[i2c]]\nbus = 1\naddr = 0x58\nname = \"large\"\nmodel = \"eeprom\"\n"
                       "size = 1024\npage = 4\nimage = \"images/large.bin\"\n");
    write_file(field.board.file("images/large.bin"), "");
    field.board.image("images/large.bin",
                      "size = 1024\n[[fru]]\nproduct_offset = 248\nserial_number = 'OLD'\n");
    const std::string unit = "--bus 1 --addr 0x58 --size 1024";
    const Result set = field.eeprom(fmt::format(
        "set {} serial_number=ACROSS-THE-PAGES --yes --backup {}", unit, field.path("backup")));
    EXPECT_EQ(set.status, 0) << set.err;
    EXPECT_THAT(set.out, HasSubstr("OLD -> ACROSS-THE-PAGES"));
    EXPECT_THAT(set.err, HasSubstr("  0x00f9  02 -> 04\n  0x00ff  c3 4f 4c 44"));
    const Result verify = field.eeprom(fmt::format("verify {}", unit));
    EXPECT_THAT(verify.out, HasSubstr("layout fru, 1024 bytes: no faults"));
    const Result restored =
        field.eeprom(fmt::format("restore {0} --yes --backup {0}2", field.path("backup")));
    EXPECT_EQ(restored.status, 0) << restored.err;
    EXPECT_EQ(field.chip("1-0x58"), read_file(field.board.file("images/large.bin")));
}

// The file that a change has saved is an image wherever one is asked for.
TEST(EepromUnits, BackupsAreImages) {
    for (const auto &[unit, edit] : {std::pair("fan 2", "serial_number=NEW"),
                                     std::pair("fan 3", "serial_number=1234567890123"),
                                     std::pair("power 2", "product_name=PS900")}) {
        SCOPED_TRACE(unit);
        const Field field;
        const std::string before = field.eeprom(fmt::format("decode {}", unit)).out;
        const std::string backup = field.path("unit.backup");
        ASSERT_EQ(
            field.eeprom(fmt::format("set {} {} --yes --backup {}", unit, edit, backup)).status, 0);
        const Result decoded = field.eeprom("decode " + backup);
        EXPECT_THAT(decoded.out,
                    testing::StartsWith(fmt::format("# {} (backup of {}): layout ", backup, unit)));
        EXPECT_EQ(decoded.out.substr(decoded.out.find('\n')), before.substr(before.find('\n')));
        const std::string text = edit;
        EXPECT_THAT(field.eeprom(fmt::format("diff {} {}", backup, unit)).out,
                    HasSubstr(" -> " + text.substr(text.find('=') + 1) + "\n"));
        EXPECT_THAT(field.eeprom("verify --backup " + backup).out,
                    testing::AllOf(HasSubstr(unit), HasSubstr("as after the change")));
    }
}

TEST(EepromUnits, TextKeepsTheWidth) {
    const Field field;
    field.board.vchassis("poke", "/dev/i2c-1:0x50 0x0a 0x58");
    const std::string name = field.path(std::string(60, 'n'));
    write_file(name, field.chip(kFan2));
    const std::string all[] = {"verify fan 1", "verify " + name, "diff fan 2 fan 3",
                               "diff fan 1 " + name};
    for (const std::string &arguments : all) {
        std::istringstream lines(field.eeprom(arguments).out);
        for (std::string line; std::getline(lines, line);) {
            EXPECT_LE(line.size(), 80U) << arguments;
        }
    }
}

// Killed at every access of a set: verify names the state, and restore recovers it.
TEST(EepromSet, RestoreRecoversFromAKillAtEveryTransfer) {
    for (const auto &[unit, chip, edit] :
         {std::tuple("fan 2", kFan2, "serial_number=KILLED"),
          std::tuple("fan 3", "1-0x52", "serial_number=KILLED-KILLED")}) {
        const Field field;
        field.eeprom(fmt::format("verify {}", unit));
        const std::string before = field.chip(chip);
        const std::string backup = field.path("backup");
        int between = 0;
        int unprotected = 0;
        bool is_over = false;
        for (int access = 1; !is_over; ++access) {
            SCOPED_TRACE(fmt::format("{}, access {}", unit, access));
            std::filesystem::remove(backup);
            const Result killed = field.interrupted(
                access, "KILL", fmt::format("set {} {} --yes --backup {}", unit, edit, backup));
            is_over = killed.status == 0;
            if (!std::filesystem::exists(backup)) {
                EXPECT_EQ(field.chip(chip), before) << "nothing is written without a backup";
                continue;
            }
            const std::string now = field.chip(chip);
            const Result verify = field.eeprom(fmt::format("verify {} --backup {}", unit, backup));
            // Of the four signals the unit's own one alone is ever lifted.
            const std::string signals = field.protection();
            const bool is_lifted = signals != kProtected;
            EXPECT_THAT(signals, AnyOf(kProtected, chip == kFan2 ? "ff 00 ff ff" : "ff ff 00 ff"));
            EXPECT_EQ(verify.out.find("Write protection is not as before") != std::string::npos,
                      is_lifted)
                << verify.out;
            EXPECT_TRUE(!is_lifted || verify.status == 1);
            EXPECT_EQ(field.board.dfdctl("check --json").out.find("WRITABLE") != std::string::npos,
                      is_lifted);
            unprotected += is_lifted ? 1 : 0;
            const bool is_whole = now == before || is_over;
            if (now == before) {
                EXPECT_THAT(verify.out, HasSubstr("as before the change"));
            } else if (verify.out.find("as after the change") == std::string::npos) {
                EXPECT_FALSE(is_whole);
                EXPECT_THAT(verify.out, HasSubstr("between: "));
                ++between;
            }
            const Result restored = field.eeprom(
                fmt::format("restore {} --yes --backup {}", backup, field.path("second")));
            EXPECT_EQ(restored.status, 0) << restored.err;
            std::filesystem::remove(field.path("second"));
            EXPECT_EQ(restored.out.find("write protection put back: fan tray") != std::string::npos,
                      is_lifted)
                << restored.out;
            EXPECT_EQ(field.chip(chip), before);
            EXPECT_EQ(field.protection(), kProtected);
        }
        EXPECT_GT(between, 2) << unit;
        EXPECT_GT(unprotected, between) << unit;
        RecordProperty("between", between);
    }
}

TEST(EepromSet, ABackupOfAnotherUnitIsRefused) {
    const Field field;
    const std::string backup = field.path("backup");
    ASSERT_EQ(field.eeprom("set fan 1 serial_number=ONE --yes --backup " + backup).status, 0);
    ASSERT_EQ(field.board.vchassis("poke", "/dev/i2c-1:0x50 0x0a 0x58").status, 0);
    const Result other = field.eeprom("restore --yes " + backup);
    EXPECT_EQ(other.status, 1);
    EXPECT_THAT(other.err, HasSubstr("another unit may be plugged"));
    const Result refused = field.eeprom("verify fan 1 --backup " + backup);
    EXPECT_THAT(refused.out, HasSubstr("neither as before the change nor as after it"));
    std::string text = read_file(backup);
    write_file(backup, text.substr(0, text.size() - 10));
    EXPECT_THAT(field.eeprom("restore --yes " + backup).err, HasSubstr("the backup is not whole"));
    text.replace(text.find("0x50"), 4, "0x51");
    write_file(backup, text);
    EXPECT_THAT(field.eeprom("restore --yes " + backup).err, HasSubstr("it was saved from"));
}

}  // namespace
}  // namespace tools_test
