// SPDX-License-Identifier: MIT
// The pages of dfdctl show, against the chassis that they describe.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/programs.h"

namespace tools_test {
namespace {

using nlohmann::json;
using testing::ContainsRegex;
using testing::HasSubstr;

/// The row of a list whose label has this value.
json row(const json &list, const std::string &label, const json &value) {
    for (const json &each : list) {
        if (each.contains(label) && each[label] == value) {
            return each;
        }
    }
    ADD_FAILURE() << "no row with " << label << " " << value;
    return {};
}

json rotor(const json &page, int tray, int number) {
    for (const json &each : page["rotors"]) {
        if (each["tray"] == tray && each["rotor"] == number) {
            return each;
        }
    }
    return {};
}

void poke(const Board &board, const std::string &what) {
    ASSERT_EQ(board.vchassis("poke", what).status, 0) << what;
}

TEST(Pages, CountsFarBeyondAnyChassisEnd) {
    constexpr std::size_t kMostUnits = 64;
    const Board board("demo");
    board.append("etc/cfg/dfd/chassis/8.cfg",
                 "fan_num=2147483647\nsslot_num=2147483647\ncard_vol_num=2147483647\n"
                 "subfan_num.mode_1=constant\nsubfan_num.int_cons_1=2147483647\n");
    const json fans = board.dfdctl("show fans --json").json();
    EXPECT_EQ(fans["trays"].size(), kMostUnits);
    EXPECT_EQ(rotor(fans, 1, kMostUnits)["tray"], 1);
    EXPECT_EQ(rotor(fans, 1, kMostUnits + 1), json());
    EXPECT_EQ(board.dfdctl("show subcards --json").json()["sub_cards"].size(), kMostUnits);
    const json voltages = board.dfdctl("show voltages --json").json();
    EXPECT_LT(voltages["channels"].size(), kMostUnits);
    const json speed = board.dfdctl("fan speed 1 3 --yes --json").json();
    EXPECT_EQ(speed["changes"].size(), kMostUnits);
    const Result platform = board.vchassis("run", "-- " BUILD_DIR "/platform");
    EXPECT_EQ(platform.status, 0);
    EXPECT_THAT(platform.out,
                testing::AllOf(HasSubstr("fan 16: "), testing::Not(HasSubstr("fan 17: "))));
}

TEST(Pages, WordsAndUnits) {
    struct Case {
        const char *page;
        std::vector<const char *> lines;  ///< regular expressions
    };
    const Case cases[] = {
        {"slots",
         {"own slot  *1", "\n  3  *no  *present  *on  *on  *released  *45 W",
          "\n  4  *no  *absent  *-"}},
        {"fans",
         {"\n  1  *present  *16  *-F  *FT1F00240101  *1.10  *1.05  *36 C", "\n  4  *absent",
          "\n  1  *2  *present  *ok  *5900 rpm  *2", "Not supported: .*sw version"}},
        {"power",
         {"supplies are modules  *yes", "\n  1  *present  *PS1200-AC  *1  *AC",
          "\n  2  *present  *48 V  *11.5 A  *12 V  *44.25 A  *531 W  *800 W  *38 C"}},
        {"temps",
         {"alarm above  *75 C", "\n  0  *1  *inlet  *lm75  *27 C",
          "\n  0  *41  *switch-chip  *mac  *61"}},
        {"voltages", {"\n  0  *1  *3.298 V  *3.135 V"}},
        {"leds",
         {"\n  status  *-  *green", "\n  alarm  *-  *dark  *.*dark green red yellow\n",
          "\n  fan  *0  *green  *hardware"}},
        {"sfp", {"\n  1  *present  *on", "\n  2  *absent"}},
        {"backplane", {"\n  1  *EEPROM /dev/i2c-3 0x56  *8  *2.00  *CH8-BP-0024033001"}},
        {"subcards", {"\n  1  *present  *201"}},
        {"irq", {"controllers  *1", "\n  [0-9.]+  *card  *3 0 0  *no"}},
    };
    const Board board("demo");
    for (const Case &each : cases) {
        const Result result = board.dfdctl(fmt::format("show {} --wide", each.page));
        EXPECT_EQ(result.status, 0) << each.page << result.err;
        EXPECT_EQ(result.err, "") << each.page;
        for (const char *line : each.lines) {
            EXPECT_THAT(result.out, ContainsRegex(line)) << each.page;
        }
    }
}

TEST(Pages, OfOneUnit) {
    struct Case {
        const char *words;
        const char *section;
        std::size_t rows;
        const char *label;
        json value;
    };
    const Case cases[] = {
        {"power 1", "telemetry", 1, "supply", 1},
        {"fans 2", "rotors", 2, "tray", 2},
        {"slots 3", "slots", 1, "slot", 3},
        {"temps 31", "sensors", 1, "card", 31},
        {"temps 31", "switch_chips", 0, "", {}},
        {"voltages 0", "channels", 3, "card", 0},
        {"leds fan", "leds", 1, "led", "fan"},
        {"sfp 4", "ports", 1, "port", 4},
        {"backplane 2", "backplanes", 1, "number", 2},
        {"subcards 3", "sub_cards", 1, "sub_slot", 3},
        {"irq 0.0.1", "sources", 1, "position", "0.0.1"},
    };
    const Board board("demo");
    for (const Case &each : cases) {
        const json page = board.dfdctl(fmt::format("show {} --json", each.words)).json();
        EXPECT_EQ(page["command"], std::string("show ") + each.words);
        ASSERT_EQ(page[each.section].size(), each.rows) << each.words;
        for (const json &row : page[each.section]) {
            EXPECT_EQ(row[each.label], each.value) << each.words;
        }
    }
    EXPECT_EQ(board.dfdctl("show power 1 --json").json()["system"], json());
    const std::string text = board.dfdctl("show power 1").out;
    EXPECT_THAT(text, testing::AllOf(HasSubstr("PS12AC0024061701"), HasSubstr("230 V"),
                                     testing::Not(HasSubstr("PS8DC00024061702")),
                                     testing::Not(HasSubstr("supplies are modules"))));
    const std::string trace =
        run_tool(fmt::format("vchassis run --trace {} -- {}/dfdctl show fans 2",
                             board.file("").string(), BUILD_DIR))
            .err;
    EXPECT_THAT(trace, testing::AllOf(HasSubstr("0x51"), testing::Not(HasSubstr("0x52"))));
}

TEST(Pages, UnitsThatDoNotExist) {
    struct Case {
        const char *words;
        const char *error;
    };
    const Case cases[] = {
        {"power 9", "there is no supply 9; this board has 1-4"},
        {"fans x", "there is no tray x; this board has 1-4"},
        {"leds lamp", "there is no LED lamp; this board has status, primary, alarm, "},
        {"subcards 2", "there is no sub-slot 2; this board has 1, 3-8"},
        {"board 1", "unexpected '1'"},
        {"power 1 2", "dfdctl: 'show power' takes [SUPPLY]: Only this supply\n"},
    };
    const Board board("demo");
    for (const Case &each : cases) {
        const Result result = board.dfdctl(fmt::format("show {}", each.words));
        EXPECT_EQ(result.status, 2) << each.words;
        EXPECT_EQ(result.out, "") << each.words;
        EXPECT_THAT(result.err, HasSubstr(each.error));
    }
    EXPECT_THAT(Board("demo-linecard").dfdctl("show fans 1").err,
                HasSubstr("there is no tray 1; this board has none"));
}

// Of a TLV image the library takes the device type's four bytes for the name, not the product name.
TEST(Pages, EveryPageNamesASupplyAsTheLibraryDoes) {
    const Board board("demo");
    board.append("etc/cfg/dfd/chassis/8.cfg", "power_name_9=XY12\npower_dc_ac_9=DC\n");
    board.image("images/power3.bin",
                "[[tlv]]\n[[tlv.entry]]\ntype = 'product_name'\ntext = 'PS800-DC'\n"
                "[[tlv.entry]]\ntype = 'device_type'\nnumber = 0x32315958\n"
                "[[tlv.entry]]\ntype = 3\ntext = 'OTHER'\n[[tlv.entry]]\ntype = 0\ntext = 'SN0'\n");
    const json supply = board.dfdctl("show power --json").json()["supplies"][2];
    EXPECT_EQ(supply["name"]["value"], "XY12");
    EXPECT_EQ(supply["type"]["value"], 9);
    EXPECT_EQ(board.dfdctl("get power_type 3").out, "XY12\n");
    EXPECT_THAT(board.dfdctl("explain --read power_type 3").out, HasSubstr("\"XY12\""));
    const Result page = board.dfdctl("show board");
    EXPECT_THAT(page.out, ContainsRegex("power 3 [^\n]*XY12 [^\n]*9 \\(DC\\)"));
    EXPECT_THAT(page.out, ContainsRegex("power_type_3 [^\n]*XY12\n"));
    EXPECT_THAT(page.out, testing::Not(ContainsRegex("power 3 [^\n]*PS800-DC")));
}

TEST(Pages, EveryPageHasTheSameWordsForASupplyOfUnknownName) {
    const Board board("demo");
    board.image("images/power3.bin",
                "[[tlv]]\n[[tlv.entry]]\ntype = 'device_type'\nnumber = 0x32315958\n");
    const json type = board.dfdctl("show power --json").json()["supplies"][2]["type"];
    EXPECT_EQ(type["value"], 65534);
    EXPECT_EQ(type["meaning"], "unknown name");
    EXPECT_THAT(board.dfdctl("show power").out, ContainsRegex("\n *3 [^\n]*XY12 *unknown name"));
    EXPECT_THAT(board.dfdctl("show board").out,
                ContainsRegex("power 3 [^\n]*65534 \\(unknown name\\)"));
    EXPECT_THAT(board.dfdctl("explain --read drv_get_power_type 3").out,
                HasSubstr("65534 (unknown name)"));
}

TEST(Pages, StatesFollowTheHardware) {
    const Board board("demo");
    poke(board, "/dev/cpld0 0x12 0x01");
    poke(board, "/dev/fpga0 0x42 0x01");
    EXPECT_EQ(row(board.dfdctl("show fans --json").json()["trays"], "tray", 1)["state"]["meaning"],
              "line failed");
    poke(board, "/dev/cpld0 0x20 0x02");
    poke(board, "/dev/cpld1 0x38 0x02");
    EXPECT_EQ(
        row(board.dfdctl("show power --json").json()["supplies"], "supply", 1)["state"]["meaning"],
        "failed");
    const json leds = board.dfdctl("show leds --json").json()["leds"];
    EXPECT_EQ(row(leds, "led", "status")["state"]["value"], "red");
    const json ports = board.dfdctl("show sfp --json").json()["ports"];
    EXPECT_EQ(row(ports, "port", 1)["transmitter"]["meaning"], "off");
    EXPECT_EQ(row(ports, "port", 2)["transmitter"]["meaning"], "on");
}

TEST(Pages, AnAbsentUnitHasNoValuesAndIsNoFailure) {
    const Board board("demo");
    const Result result = board.dfdctl("show fans --json");
    EXPECT_EQ(result.status, 0);
    const json tray = row(result.json()["trays"], "tray", 4);
    EXPECT_EQ(tray["state"]["meaning"], "absent");
    EXPECT_EQ(tray["serial_number"]["status"], "absent");
    EXPECT_EQ(tray["serial_number"]["value"], nullptr);
    EXPECT_EQ(rotor(result.json(), 4, 1)["speed"]["value"], nullptr);
}

TEST(Pages, NothingPluggedIsNotNothingSupported) {
    const Board board("demo");
    poke(board, "/dev/cpld0 0x10 0xff");
    const Result result = board.dfdctl("show power");
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, ContainsRegex("\n  1  *absent  *-  *-"));
    EXPECT_THAT(result.out, testing::Not(HasSubstr("Not supported")));
}

TEST(Pages, ALineCard) {
    const Board board("demo-linecard");
    EXPECT_EQ(board.dfdctl("show fans").status, 3);
    const json channels = board.dfdctl("show voltages --json").json()["channels"];
    EXPECT_EQ(row(channels, "channel", 4)["voltage"]["value"], 12.0);
    EXPECT_EQ(row(channels, "channel", 4)["voltage"]["unit"], "V");
    EXPECT_EQ(row(channels, "channel", 0)["warning_level"]["value"], nullptr);
    const json cards = board.dfdctl("show subcards --json").json()["sub_cards"];
    EXPECT_EQ(row(cards, "sub_slot", 2)["type"]["value"], 211);
    const json slots = board.dfdctl("show slots --json").json()["slots"];
    EXPECT_EQ(row(slots, "slot", 5)["own"]["meaning"], "yes");
}

TEST(Pages, AFailedReadingSaysWhy) {
    const Board board("demo");
    board.append("etc/cfg/dfd/cfg_file/cm8_temps.cfg", "card_temp_ctrl.addr_0_1=0x77\n");
    const Result text = board.dfdctl("show temps --wide");
    EXPECT_EQ(text.status, 1);
    EXPECT_THAT(text.out, ContainsRegex("inlet  *lm75  *.io_error."));
    EXPECT_THAT(text.out, HasSubstr("/dev/i2c-0 0x77: no acknowledgement at this address"));
    const Result document = board.dfdctl("show temps --json");
    EXPECT_EQ(document.status, 1);
    const json inlet = row(document.json()["sensors"], "name", "inlet");
    EXPECT_EQ(inlet["temperature"]["status"], "io_error");
    EXPECT_EQ(inlet["temperature"]["value"], nullptr);
    EXPECT_NE(inlet["temperature"]["error"], nullptr);
    EXPECT_EQ(inlet["temperature"]["device"], "/dev/i2c-0 0x77");
}

// Blank, damaged and without the information are three things, told with the row and its reason.
TEST(Pages, SayWhatIsWrongWithAnEeprom) {
    struct Case {
        const char *image;
        std::string bytes;
        const char *page;
        const char *cell;    ///< JSON pointer
        const char *name;    ///< of the row on the page of the board; null: it has none there
        const char *reason;  ///< on all pages
    };
    const std::string erased(256, '\xff');
    const std::string zeros(256, '\0');
    const auto broken = [](const char *image, const char *text) {
        std::string bytes = read_file(Board("demo").file(image));
        bytes[bytes.find(text)] = '?';
        return bytes;
    };
    const Case cases[] = {
        {"fan2", erased, "fans", "/trays/1/serial_number", "  fan 2 product name, serial number, ",
         "the EEPROM at address 0x51 on /dev/i2c-1 is blank: 0xff throughout"},
        {"fan1", broken("images/fan1.bin", "FT1F00240101"), "fans", "/trays/0/type",
         "  fan 1 product name, ",
         "the EEPROM at address 0x50 on /dev/i2c-1 holds no valid TLV image: flag, length or "
         "checksum is wrong"},
        {"power1", broken("images/power1.bin", "PS1200"), "power", "/supplies/0/name",
         "  power 1 product name, ",
         "the EEPROM at address 0x50 on /dev/i2c-2 holds no valid FRU image: header or product "
         "area is damaged"},
        {"subcard1", zeros, "subcards", "/sub_cards/0/type", "  sub-card 1 ",
         " is blank: 0x00 throughout"},
        {"backplane", erased, "backplane", "/backplanes/0/chassis_type", "  1 chassis type, ",
         "the EEPROM at address 0x56 on /dev/i2c-3 is blank: 0xff throughout"},
    };
    for (const Case &each : cases) {
        SCOPED_TRACE(each.image);
        const Board board("demo");
        write_file(board.file(fmt::format("images/{}.bin", each.image)), each.bytes);
        const Result page = board.dfdctl(fmt::format("show {} --wide", each.page));
        EXPECT_EQ(page.status, 1);
        EXPECT_THAT(page.out, HasSubstr(each.reason));
        const json cell = board.dfdctl(fmt::format("show {} --json", each.page))
                              .json()
                              .at(json::json_pointer(each.cell));
        EXPECT_EQ(cell["status"], "bad_data");
        EXPECT_EQ(cell["value"], nullptr);
        EXPECT_THAT(std::string(cell["error"]), HasSubstr(each.reason));
        const Result all = board.dfdctl("show board --wide");
        EXPECT_EQ(all.status, 1);
        EXPECT_THAT(all.out, ContainsRegex(fmt::format("\n{}[^\n]*{}", each.name, each.reason)));
    }
    const Board board("demo");
    write_file(board.file("images/backplane.bin"), erased);
    EXPECT_THAT(board.dfdctl("show board --wide").out,
                ContainsRegex("Chassis type +255 [^\n]*\n +Found by [^\n]*which is blank: 0xff"));
}

TEST(Pages, AllIsEveryPageInOneDocument) {
    const Board board("demo");
    const Result text = board.dfdctl("show all");
    const Result result = board.dfdctl("show all --json");
    EXPECT_EQ(result.status, 0) << result.err;
    const json document = result.json();
    EXPECT_EQ(document["board"]["board"]["slot"], 1);
    for (const char *page : {"slots", "fans", "power", "temps", "voltages", "leds", "sfp",
                             "backplane", "subcards", "irq"}) {
        json alone = board.dfdctl(fmt::format("show {} --json", page)).json();
        EXPECT_EQ(alone["command"], fmt::format("show {}", page));
        alone.erase("command");
        EXPECT_EQ(document[page], alone) << page;
        EXPECT_THAT(text.out, HasSubstr(board.dfdctl(fmt::format("show {}", page)).out)) << page;
    }
}

TEST(Pages, WhatABoardLacks) {
    const Board board("demo");
    const std::string list = "etc/cfg/dfd/file_name/0x3e";
    board.replace(list, "cm8_ports\n", "");
    const Result lacking = board.dfdctl("show sfp");
    EXPECT_EQ(lacking.status, 3);
    EXPECT_THAT(lacking.out, HasSubstr("not supported"));
    EXPECT_THAT(lacking.err, HasSubstr("nothing of this is configured"));
    EXPECT_EQ(board.dfdctl("show sfp --json").json()["ports"], json::array());
    EXPECT_EQ(board.dfdctl("show all").status, 0) << "a feature that is missing is no failure";
    board.append("etc/cfg/dfd/cfg_file/cm8_leds.cfg", "no equals sign\n");
    EXPECT_EQ(board.dfdctl("show sfp").status, 2);
}

}  // namespace
}  // namespace tools_test
