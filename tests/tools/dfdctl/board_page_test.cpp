// SPDX-License-Identifier: MIT
// dfdctl show board on the demo boards, against the texts that the boards are built from.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <toml++/toml.h>

#include <set>
#include <sstream>

#include "tools/programs.h"

namespace tools_test {
namespace {

using nlohmann::json;
using testing::HasSubstr;

constexpr const char *kListedDirectory = "/etc/cfg/dfd/cfg_file/";

/// The description of an image; that of the second series where it has one of its own.
toml::table source(const std::string &board, const std::string &image) {
    namespace fs = std::filesystem;
    const fs::path name = fs::path("images") / (image + ".bin.toml");
    const fs::path own = fs::path(BOARD_SOURCES) / board / name;
    return toml::parse_file(
        (fs::exists(own) ? own : fs::path(BOARD_SOURCES) / "demo" / name).string());
}

/// The text of an entry of a TLV description.
std::string tlv_text(const toml::table &description, const std::string &type) {
    for (const auto &entry : *description["tlv"][0]["entry"].as_array()) {
        if (entry.as_table()->get("type")->value_or(std::string()) == type) {
            return entry.as_table()->get("text")->value_or(std::string());
        }
    }
    return "no such entry";
}

json unit(const json &page, const std::string &name, int index = -1) {
    for (const json &row : page["inventory"]) {
        if (row["unit"] == name && (index < 0 || row["index"] == index)) {
            return row;
        }
    }
    ADD_FAILURE() << "no unit " << name << " " << index;
    return {};
}

std::vector<std::string> listed_files(const json &page) {
    std::vector<std::string> names;
    for (const json &file : page["files"]) {
        EXPECT_TRUE(file["loaded"]) << file;
        EXPECT_TRUE(file["problems"].empty()) << file;
        if (file["role"] == "listed") {
            names.push_back(file["path"]);
        }
    }
    return names;
}

std::vector<std::string> expected_files(const std::string &board, const std::string &list) {
    std::istringstream lines(read_file(std::filesystem::path(BUILD_DIR) / "boards" / board /
                                       "etc/cfg/dfd/file_name" / list));
    std::vector<std::string> names;
    for (std::string line; std::getline(lines, line);) {
        names.push_back(kListedDirectory + line + ".cfg");
    }
    return names;
}

struct Variant {
    const char *name;
    int board_type;
    const char *list;
    const char *source;
    const char *found_by;
};

void PrintTo(const Variant &variant, std::ostream *out) {
    *out << variant.name;
}

class BoardVariants : public testing::TestWithParam<Variant> {};

TEST_P(BoardVariants, ShowsWhatTheBoardIsMadeFrom) {
    const Variant &variant = GetParam();
    const Result result = Board(variant.name).dfdctl("show board --json");
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    const json page = result.json();
    EXPECT_EQ(page["board"]["type"], variant.board_type);
    EXPECT_EQ(page["board"]["type_hex"], fmt::format("0x{:x}", variant.board_type));
    EXPECT_EQ(page["board"]["source"], variant.source);
    EXPECT_THAT(std::string(page["board"]["found_by"]), HasSubstr(variant.found_by));
    EXPECT_EQ(page["board"]["slot"], 1);
    EXPECT_EQ(page["files"].front()["role"], "card_pid");
    EXPECT_EQ(page["files"].back()["path"], "/etc/cfg/dfd/chassis/8.cfg");
    EXPECT_EQ(listed_files(page), expected_files(variant.name, variant.list));

    const toml::table board = source(variant.name, "board");
    const json row = unit(page, "board");
    EXPECT_EQ(row["product_name"]["value"], tlv_text(board, "product_name"));
    EXPECT_EQ(row["serial_number"]["value"], tlv_text(board, "serial_number"));
    EXPECT_EQ(row["hw_version"]["value"], tlv_text(board, "hw_version"));
    EXPECT_EQ(row["type"]["value"], variant.board_type);
}

INSTANTIATE_TEST_SUITE_P(Boards, BoardVariants,
                         testing::Values(Variant{"demo", 62, "0x3e", "product_id", "\"DEMO-CM8\""},
                                         Variant{"demo-tlv", 300, "0x12c", "eeprom_tlv",
                                                 "entry of type 6"}),
                         [](const auto &variant) { return std::string(variant.param.source); });

TEST(BoardPage, InventoryOfEveryLayout) {
    const json page = Board("demo").dfdctl("show board --json").json();
    const toml::table fan1 = source("demo", "fan1");
    EXPECT_EQ(unit(page, "fan", 1)["layout"], "tlv");
    EXPECT_EQ(unit(page, "fan", 1)["product_name"]["value"], tlv_text(fan1, "product_name"));
    EXPECT_EQ(unit(page, "fan", 1)["serial_number"]["value"], tlv_text(fan1, "serial_number"));
    EXPECT_EQ(unit(page, "fan", 1)["type"]["value"], *fan1["tlv"][0]["device_type"].value<int>());

    const toml::table fan2 = source("demo", "fan2");
    EXPECT_EQ(unit(page, "fan", 2)["layout"], "fru");
    EXPECT_EQ(unit(page, "fan", 2)["product_name"]["value"],
              *fan2["fru"][0]["product_name"].value<std::string>());
    EXPECT_EQ(unit(page, "fan", 2)["hw_version"]["value"], "1.23") << "123, spread";
    EXPECT_EQ(unit(page, "fan", 2)["type"]["value"], 17) << "by its name";
    EXPECT_EQ(unit(page, "fan", 2)["type"]["meaning"], "-F");

    const toml::table fan3 = source("demo", "fan3");
    EXPECT_EQ(unit(page, "fan", 3)["layout"], "legacy");
    EXPECT_EQ(unit(page, "fan", 3)["product_name"]["value"], nullptr);
    EXPECT_EQ(unit(page, "fan", 3)["serial_number"]["value"],
              *fan3["fan_legacy"][0]["serial_number"].value<std::string>());
    EXPECT_EQ(unit(page, "fan", 3)["hw_version"]["value"], "V1.23");

    EXPECT_EQ(unit(page, "fan", 4)["type"]["status"], "absent");

    const toml::table power2 = source("demo", "power2");
    EXPECT_EQ(unit(page, "power", 2)["product_name"]["value"],
              *power2["power_legacy"][0]["name"].value<std::string>());
    EXPECT_EQ(unit(page, "power", 2)["hw_version"]["value"],
              *power2["power_legacy"][0]["hw_version"].value<std::string>());
    EXPECT_EQ(unit(page, "power", 1)["type"]["value"], 1);
    EXPECT_EQ(unit(page, "power", 2)["type"]["meaning"], "DC");
    EXPECT_EQ(unit(page, "sub-card", 1)["type"]["value"], 201);
    EXPECT_EQ(unit(page, "sub-card", 1)["hw_version"]["value"], "3.10") << "from the header";
}

TEST(BoardPage, BackplanesFromRecordAndFromItems) {
    const json page = Board("demo").dfdctl("show board --json").json();
    const toml::table description = source("demo", "backplane");
    const auto record = description["backplane"][0];
    ASSERT_EQ(page["backplanes"].size(), 2U);
    const json &first = page["backplanes"][0];
    EXPECT_EQ(first["source"], "record");
    EXPECT_EQ(first["chassis_type"]["value"], *record["chassis_type"].value<int>());
    EXPECT_EQ(page["chassis"]["type"], first["chassis_type"]["value"]);
    EXPECT_EQ(first["mac"]["value"], *record["mac"].value<std::string>());
    EXPECT_EQ(first["serial_number"]["value"], *record["serial_number"].value<std::string>());
    const json &second = page["backplanes"][1];
    EXPECT_EQ(second["source"], "items");
    EXPECT_EQ(second["chassis_type"]["value"], nullptr);
    EXPECT_EQ(second["mac"]["value"], "02:44:46:10:30:00") << "the file's address plus one";
    std::vector<int> serials;
    for (const json &serial : second["serials"]) {
        serials.push_back(serial["value"]);
    }
    EXPECT_EQ(serials, (std::vector<int>{42, 43, 44, 3}));
}

TEST(BoardPage, ReadsEverySourceFormatPolarityAndMode) {
    const json page = Board("demo").dfdctl("show board --json").json();
    std::set<std::string> seen;
    for (const json &reading : page["readings"]) {
        const json &record = reading["record"];
        EXPECT_EQ(reading["reading"]["status"], "ok") << reading;
        seen.insert(std::string(record["src"]) + " " + std::string(record["frmt"]));
        seen.insert(record["mode"]);
        seen.insert(std::string(record["frmt"]) + " " + std::string(record["pola"]));
    }
    for (const char *source : {"localbus", "i2c", "file"}) {
        for (const char *format : {"bit", "byte", "num_bytes", "num_str", "num_buf", "buf"}) {
            EXPECT_TRUE(seen.contains(fmt::format("{} {}", source, format))) << source << format;
        }
    }
    for (const char *word : {"config", "constant", "tlv", "fru", "legacy", "func", "bit positive",
                             "bit negative", "num_bytes positive", "num_bytes negative"}) {
        EXPECT_TRUE(seen.contains(word)) << word;
    }
}

TEST(BoardPage, TextHasTheSameFactsUnderHeadings) {
    const Result result = Board("demo").dfdctl("show board --wide");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    std::size_t at = 0;
    for (const char *text :
         {"Board\n", "Board type     62 (0x3e)", "Chassis type   8 (0x8)", "Configuration files",
          "/etc/cfg/dfd/cfg_file/card_pid.cfg", "/etc/cfg/dfd/chassis/8.cfg", "Inventory\n",
          "fan 1", "FT1F00240101", "Backplanes\n", "02:44:46:10:20:00", "Readings",
          "power_rate_supply_1", "1200 W"}) {
        const std::size_t found = result.out.find(text, at);
        EXPECT_NE(found, std::string::npos) << text;
        at = found == std::string::npos ? at : found;
    }
}

TEST(BoardPage, SlotNumbersThatAreAlsoResultCodes) {
    const Board board("demo");
    ASSERT_EQ(board.vchassis("poke", "/dev/cpld0 0x06 2").status, 0);
    EXPECT_EQ(board.dfdctl("show board --json").json()["board"]["slot"], 3);
    EXPECT_THAT(board.dfdctl("show board").out, HasSubstr("Slot           3\n"));
}

TEST(BoardPage, EveryDeviceThatIsOpenedIsClosed) {
    const Board board("demo");
    const Result result = run_tool(fmt::format("vchassis run --trace {} -- {}/dfdctl show board",
                                               board.file("").string(), BUILD_DIR));
    EXPECT_EQ(result.status, 0);
    const auto count = [&result](const std::string &word) {
        std::istringstream lines(result.err);
        int matches = 0;
        for (std::string line; std::getline(lines, line);) {
            matches += line.find("] " + word + " /") != std::string::npos ? 1 : 0;
        }
        return matches;
    };
    EXPECT_GT(count("open"), 0);
    EXPECT_EQ(count("open"), count("close"));
}

}  // namespace
}  // namespace tools_test
