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

constexpr int kNotReadBack = 1;
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
    int type = 100;
    int chassis = 100;
    const char *source = "product_id";
    std::size_t fans = 2;
    std::size_t supplies = 2;
    std::size_t slots = 4;
    std::size_t ports = 0;
    std::size_t cards = 0;
    std::size_t sources = 0;  ///< of interrupts
    nlohmann::json peer = nullptr;

    friend void PrintTo(const Made &made, std::ostream *out) { *out << made.options; }
};

/// A board in a directory of its own.
class NewBoard {
  public:
    explicit NewBoard(const std::string &options)
        : made_(new_board(dir_, fmt::format("new {}", options))) {
        EXPECT_EQ(made_.status, 0) << made_.err;
    }

    nlohmann::json dfdctl(const std::string &arguments, int status = 0) const {
        const Result result = run_tool(
            fmt::format("vchassis run {0} -- {1}/dfdctl --json {2}", path(), BUILD_DIR, arguments));
        EXPECT_EQ(result.status, status) << arguments << ": " << result.out << result.err;
        return result.json();
    }
    void poke(const char *place) const {
        EXPECT_EQ(run_tool(fmt::format("vchassis poke {} {}", path(), place)).status, 0) << place;
    }
    const Result &made() const { return made_; }
    std::string path() const { return (dir_.path() / "new").string(); }

  private:
    TempDir dir_;
    Result made_;
};

std::string groups_of(const Made &made) {
    const std::pair<bool, const char *> groups[] = {
        {made.fans > 0, ",fans"},   {made.supplies > 0, ",power"}, {made.ports > 0, ",ports"},
        {made.cards > 0, ",cards"}, {made.sources > 0, ",irq"},
    };
    std::string names = "temps,leds,slots";
    for (const auto &[is_there, name] : groups) {
        names += is_there ? name : "";
    }
    return names;
}

class NewBoards : public testing::TestWithParam<Made> {};

TEST_P(NewBoards, AreCleanAndRun) {
    const Made &made = GetParam();
    const NewBoard board(made.options);
    EXPECT_THAT(board.made().out,
                HasSubstr(fmt::format("vchassis run {} -- dfdctl show all", board.path())));

    const Result lint = run_tool(fmt::format("dfdctl lint --strict --root {}", board.path()));
    EXPECT_EQ(lint.status, 0) << lint.out << lint.err;
    // Cards in slots above 8 cannot have a power status.
    const Result coverage = run_tool(
        fmt::format("dfdctl coverage --root {} --require {}{}", board.path(), groups_of(made),
                    made.slots > 8 ? " --allow get_card_power_status" : ""));
    EXPECT_EQ(coverage.status, 0) << coverage.out << coverage.err;

    // All readings of all pages succeed, or the status is 1.
    nlohmann::json all = board.dfdctl("show all");
    EXPECT_EQ(all["board"]["board"]["type"], made.type);
    EXPECT_EQ(all["board"]["board"]["source"], made.source);
    EXPECT_EQ(all["board"]["chassis"]["type"], made.chassis);
    EXPECT_EQ(all["board"]["files"].back()["loaded"], true) << "the file of the chassis";
    EXPECT_EQ(all["power"]["telemetry"].size(), made.supplies);
    EXPECT_EQ(all["slots"]["slots"].size(), std::max<std::size_t>(made.slots, 1)) << "the own one";
    EXPECT_EQ(all["slots"]["board"]["rated_power"]["value"], 60);
    EXPECT_EQ(all["slots"]["board"]["peer_master"]["meaning"], made.peer);
    EXPECT_EQ(all["temps"]["sensors"].size(), 2 + made.cards);
    EXPECT_EQ(all["fans"]["rotors"].size(), 2 * made.fans);
    for (const nlohmann::json &rotor : all["fans"]["rotors"]) {
        EXPECT_EQ(rotor["state"]["meaning"], "ok") << rotor;
    }
    EXPECT_EQ(all["sfp"]["ports"].size(), made.ports);
    for (const nlohmann::json &port : all["sfp"]["ports"]) {
        EXPECT_EQ(port["transmitter"]["meaning"], "on") << port;
    }
    EXPECT_EQ(all["irq"]["sources"].size(), made.sources);
    for (const nlohmann::json &source : all["irq"]["sources"]) {
        EXPECT_EQ(source["pending"]["meaning"], "no") << source;
    }
}

INSTANTIATE_TEST_SUITE_P(
    All, NewBoards,
    testing::Values(
        Made{.options = ""},
        Made{.options = "--type 1 --chassis 1 --fans 0 --supplies 0 --slots 0 --type-from eeprom",
             .type = 1,
             .chassis = 1,
             .source = "eeprom_tlv",
             .fans = 0,
             .supplies = 0,
             .slots = 0},
        Made{.options = "--type 0xffff --chassis 255 --fans 16 --supplies 16 --slots 32 --ports 32 "
                        "--cards --peer --interrupts",
             .type = 65535,
             .chassis = 255,
             .fans = 16,
             .supplies = 16,
             .slots = 32,
             .ports = 32,
             .cards = 30,
             .sources = 97,
             .peer = "ready"},
        Made{.options = "--slots 8 --ports 8 --cards --peer --interrupts",
             .slots = 8,
             .ports = 8,
             .cards = 7,
             .sources = 21,
             .peer = "ready"},
        Made{.options = "--slots 2 --cards", .slots = 2, .cards = 1},
        Made{.options = "--slots 30 --cards --interrupts --type-from eeprom",
             .source = "eeprom_tlv",
             .slots = 30,
             .cards = 28,
             .sources = 34},
        Made{.options = "--fans 0 --supplies 0 --slots 0 --peer --interrupts",
             .fans = 0,
             .supplies = 0,
             .slots = 0,
             .sources = 1,
             .peer = "ready"},
        Made{.options = "--supplies 0 --slots 1 --ports 9 --interrupts",
             .supplies = 0,
             .slots = 1,
             .ports = 9,
             .sources = 12}));

TEST(NewBoardTest, UnitsAnswerEachOnItsOwnBit) {
    const NewBoard board("--fans 9 --supplies 9 --ports 9");
    // The ninth of each has the first bit of the second register.
    for (const char *reg : {"/dev/cpld0 0x09 1", "/dev/cpld0 0x0d 1", "/dev/cpld0 0x35 1"}) {
        board.poke(reg);
    }
    for (const char *item : {"fan_state", "power_present", "port_sfp_state"}) {
        for (const int unit : {8, 9}) {
            EXPECT_EQ(board.dfdctl(fmt::format("get {} {}", item, unit))["reading"]["value"],
                      unit == 8 ? 1 : 0)
                << item << ' ' << unit;
        }
    }
}

TEST(NewBoardTest, CardsAreSwitchedEachOnItsOwnBit) {
    const NewBoard board("--slots 6 --cards");
    board.dfdctl("slot power 3 off --yes");
    board.poke("/dev/cpld1 0x18 0x08");  // slot 4 lacks power
    board.poke("/dev/cpld0 0x10 0x10");  // slot 5 is empty
    const nlohmann::json slots = board.dfdctl("show slots")["slots"];
    const nlohmann::json powers = {"on", "on", "off", "off, power is lacking", nullptr, "on"};
    const nlohmann::json watts = {60, 90, 90, 90, nullptr, 90};
    for (std::size_t at = 0; at < powers.size(); ++at) {
        EXPECT_EQ(slots.at(at)["power"]["meaning"], powers[at]) << slots[at];
        EXPECT_EQ(slots[at]["rated_power"]["value"], watts[at]) << slots[at];
    }
}

/// Level 1, and the positions of the pending sources, masked ones too.
using Pending = std::pair<int, std::vector<std::string>>;

Pending pending(const NewBoard &board) {
    const nlohmann::json irq = board.dfdctl("show irq");
    Pending found{irq["controllers"]["first_level"]["value"], {}};
    for (const nlohmann::json &source : irq["sources"]) {
        if (source["pending"]["meaning"] == "yes") {
            found.second.push_back(source["position"]);
        }
    }
    return found;
}

TEST(NewBoardTest, InterruptsComeFromTheirUnitsUntilTheyAreCleared) {
    const NewBoard board("--fans 9 --supplies 9 --slots 10 --ports 9 --peer --interrupts");
    EXPECT_EQ(pending(board), Pending(0, {}));
    // Supply 9, tray 9, slot 10, port 9.
    for (const char *reg :
         {"/dev/cpld0 0x0d 1", "/dev/cpld0 0x09 1", "/dev/cpld0 0x11 0xfd", "/dev/cpld0 0x35 1"}) {
        board.poke(reg);
    }
    EXPECT_EQ(pending(board), Pending(0x0f, {"0.1.0", "1.1.0", "2.1.1", "3.1.0"}));

    board.dfdctl("irq mask fan on");
    board.dfdctl("set 3rd_irq_clear 2 1 2", kNotReadBack);
    EXPECT_EQ(pending(board), Pending(0x09, {"0.1.0", "1.1.0", "3.1.0"}));
    board.dfdctl("irq mask fan off");
    board.dfdctl("master reset --yes");
    EXPECT_EQ(pending(board), Pending(0x1b, {"0.1.0", "1.1.0", "3.1.0", "4.0.0"}));
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
             {"new --ports 33", "0 to 32"},
             {"new --type-from flash", "--type-from: 'flash' is neither product-id nor eeprom"},
             {"new --cards --slots 1", "two --slots"},
             {"new --interrupts --fans 0 --supplies 0 --slots 0", "nothing raises one"},
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
