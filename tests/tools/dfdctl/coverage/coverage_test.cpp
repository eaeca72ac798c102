// SPDX-License-Identifier: MIT
// dfdctl coverage on the demo boards: whole, with parts removed and with mistakes in them.
#include <map>
#include <set>
#include <string>
#include <tuple>

#include "support/library_test.h"
#include "tools/programs.h"

namespace {

using nlohmann::json;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using tools_test::Board;
using tools_test::Result;

const std::string kBoards = BUILD_DIR "/boards";
const std::string kChassis = "etc/cfg/dfd/chassis/8.cfg";  // loaded last
const std::string kFans = "etc/cfg/dfd/cfg_file/cm8_fans.cfg";

Result coverage(const std::string &root, const std::string &arguments) {
    return tools_test::run_tool("dfdctl --wide coverage --root " + root + " " + arguments);
}

json report(const std::string &root, const std::string &arguments = "") {
    const json document = coverage(root, "--json " + arguments).json();
    return document.at("boards").at(0);
}

std::string root_of(const Board &board) {
    return board.file("").string();
}

/// "drv_get_fan_speed {"fan":2,"rotor":1}" for each cell.
std::map<std::string, json> cells(const json &report) {
    std::map<std::string, json> found;
    for (const json &cell : report.at("cells")) {
        const std::string name = cell.at("function").get<std::string>() + " ";
        EXPECT_TRUE(found.emplace(name + cell.at("indexes").dump(), cell).second);
    }
    return found;
}

/// Without the lines of items whose first index is `index`.
std::string without_index(const std::string &config, const std::string &index) {
    std::string kept;
    for (std::size_t at = 0; at < config.size();) {
        const std::size_t end = std::min(config.find('\n', at), config.size());
        const std::string line = config.substr(at, end - at);
        at = end + 1;
        const std::string key = line.substr(0, line.find('='));
        const std::string digits = key.substr(key.find_last_not_of("0123456789_") + 1);
        const bool is_removed = digits == "_" + index || digits.starts_with("_" + index + "_");
        kept += is_removed ? "" : line + "\n";
    }
    return kept;
}

TEST(Coverage, HasNothingUnusableOnTheDemoBoards) {
    const Result all = coverage(kBoards, "--json");
    ASSERT_EQ(all.status, 0) << all.err;
    std::vector<int> types;
    const json document = all.json();
    for (const json &board : document.at("boards")) {
        types.push_back(board.at("board_type"));
        EXPECT_EQ(board.at("counts").at("unusable"), 0) << board.at("root");
        EXPECT_GT(board.at("counts").at("ok"), 100);
    }
    EXPECT_THAT(types, ElementsAre(62, 71, 300));
}

TEST(Coverage, KnowsWhatTheDemoBoardLacks) {
    const auto all = cells(report(kBoards + "/demo"));
    const struct {
        const char *cell;
        const char *state;
        std::vector<std::string> missing;
    } kCells[] = {
        {"drv_get_fan_temp {\"fan\":3}", "ok", {}},
        {"drv_get_fan_temp {\"fan\":4}", "not configured", {"fan_temp_4"}},
        // Answered from the first two signals of three.
        {"sdd_get_fan_fail_bmp {\"fan\":1}", "ok", {}},
        // Say 0 and do nothing.
        {"drv_get_power_sw_version {\"supply\":2}", "default", {"power_sw_ver_2"}},
        {"sdd_reset_lc {\"slot\":2}", "default", {"reset_lc_2"}},
        {"sdd_reset_lc {\"slot\":\"own\"}", "default", {"reset_lc of the own slot"}},
        {"drv_get_card_power_status {\"slot\":1}", "default", {"card_power_status_1"}},
        // The own card answers without an item, a state that the LED's table lacks does not.
        {"drv_get_slot_online {\"slot\":\"own\"}", "ok", {}},
        {"drv_set_led {\"led_state\":3,\"led_type\":2,\"led_unit\":0}", "ok", {}},
        {"drv_set_led {\"led_state\":4,\"led_type\":2,\"led_unit\":0}", "not configured", {}},
        // Only the legacy layout can be written.
        {"drv_set_power_hw_version {\"supply\":1}", "not configured", {}},
        {"drv_set_power_hw_version {\"supply\":2}", "ok", {}},
    };
    for (const auto &each : kCells) {
        ASSERT_TRUE(all.contains(each.cell)) << each.cell;
        EXPECT_EQ(all.at(each.cell).at("state"), each.state) << each.cell;
        EXPECT_EQ(all.at(each.cell).at("missing"), each.missing) << each.cell;
    }
}

TEST(Coverage, AsksWhereTheBoardStandsAndInventsNoSlot) {
    const auto slots = [](const std::string &more) {
        std::set<std::string> found;
        const json document = coverage(kBoards + "/demo", "--json " + more).json();
        for (const json &cell : document.at("boards").at(0).at("cells")) {
            if (cell.at("function") == "drv_get_card_power_consume" && cell.at("state") == "ok") {
                found.insert(cell.at("indexes").at("slot").dump());
            }
        }
        return found;
    };
    // Card 0 is this one; 1 and 2 have no items of their own.
    EXPECT_THAT(slots(""), testing::AllOf(Contains("\"own\""), Not(Contains("2"))));
    for (const char *place : {"--own-slot 2", "--answer my_slotid=1"}) {
        EXPECT_THAT(slots(place), testing::AllOf(Contains("2"), Not(Contains("\"own\"")))) << place;
    }
}

TEST(Coverage, JudgesByTheAnswersThatAreGiven) {
    const auto state_with = [](const std::string &arguments) {
        const json document = coverage(kBoards + "/demo", "--json " + arguments).json();
        return cells(document.at("boards").at(0))
            .at("drv_get_card_power_consume {\"slot\":6}")
            .at("state");
    };
    EXPECT_EQ(state_with(""), "ok");
    EXPECT_EQ(state_with("--answer 'card_rate_power 6=0xee'"), "not configured")
        << "no power_regval_convert_0xee";
}

TEST(Coverage, LosesExactlyTheColumnOfAFanThatIsRemoved) {
    const Board board("demo");
    const auto before = cells(report(root_of(board)));
    tools_test::write_file(board.file(kFans),
                           without_index(tools_test::read_file(board.file(kFans)), "4"));
    const auto after = cells(report(root_of(board)));
    std::size_t lost = 0;
    for (const auto &[name, cell] : after) {
        if (cell.at("group") == "fans" && cell.at("indexes").value("fan", 0) == 4) {
            EXPECT_THAT(cell.at("state").get<std::string>(),
                        testing::AnyOf("not configured", "default"))
                << name;
            lost += before.at(name).at("state") == "ok" ? 1 : 0;
        } else {
            EXPECT_EQ(cell.at("state"), before.at(name).at("state")) << name;
        }
    }
    EXPECT_GT(lost, 20U);

    const Result demand = coverage(root_of(board), "--require power,fans");
    EXPECT_EQ(demand.status, 1);
    EXPECT_THAT(demand.out, HasSubstr("fans: get_fan_status (drv sdd) fan 4: fan_state_4 not "
                                      "configured\n"));
    EXPECT_THAT(demand.out, testing::ContainsRegex("Required power, fans: [1-9][0-9]* missing"));
    const json missing = coverage(root_of(board), "--require power,fans --json")
                             .json()["boards"][0]["required"]["missing"];
    EXPECT_THAT(missing, testing::Contains(json{{"group", "fans"},
                                                {"function", "get_fan_status (drv sdd)"},
                                                {"unit", "fan 4"},
                                                {"why", "fan_state_4 not configured"}}));
}

TEST(Coverage, BlamesTheLineThatMakesAnItemUnusable) {
    struct Case {
        const char *line;
        const char *item;
        int code;
        const char *reason;
        std::set<std::string> functions;  // without prefix
    };
    const Case kCases[] = {
        {"fan_real_speed.len_2_1=0",
         "fan_real_speed_2_1",
         -5,
         ".len is '0'",
         {"get_fan_speed", "get_fan_status", "get_fan_fail_bmp"}},
        // Behind a way through the function that ends earlier with most states of the supply.
        {"power_line_fail.bit_offset_3=9",
         "power_line_fail_3",
         -5,
         ".bit_offset is '9'",
         {"get_power_status"}},
        {"power_in_current.fpath_2=",
         "power_in_current_2",
         -7,
         ".fpath is missing",
         {"get_power_icur"}},
        // Succeeds, but never reads anything.
        {"card_temp_ctrl.mode_0_2=tlv",
         "card_temp_ctrl_0_2",
         3,
         "reads no EEPROM",
         {"get_card_temp"}},
        {"sys_power_rsupply.frmt=num_buf",
         "sys_power_rsupply",
         -8,
         "does not convert bytes itself",
         {"get_sys_power_rsupply"}},
        // An item without members.
        {"irq_ctrl_num=6", "irq_ctrl_num", -1, "described (6)", {"irq_cfg_init"}},
        {"mb_alarm_led_ctrl.src=file",
         "mb_alarm_led_ctrl",
         -7,
         "a file cannot be written",
         {"set_led", "set_mymb_alarm_led"}},
    };
    const Board board("demo");
    const std::string config = tools_test::read_file(board.file(kChassis));
    auto line = std::count(config.begin(), config.end(), '\n');
    for (const Case &each : kCases) {
        board.append(kChassis, std::string(each.line) + "\n");
    }
    std::map<std::string, std::set<std::string>> functions;  // by item
    std::map<std::string, json> reasons;
    for (const auto &[name, cell] : cells(report(root_of(board)))) {
        const json &unusable = cell.at("unusable");
        ASSERT_EQ(unusable.is_null(), cell.at("state") != "unusable") << name;
        if (!unusable.is_null()) {
            const std::string item = unusable.at("item");
            functions[item].insert(cell.at("function").get<std::string>().substr(4));
            reasons[item] = unusable;
        }
    }
    EXPECT_EQ(functions.size(), std::size(kCases));
    const std::string text = coverage(root_of(board), "").out;
    for (const Case &each : kCases) {
        SCOPED_TRACE(each.line);
        EXPECT_THAT(functions[each.item], testing::IsSupersetOf(each.functions));
        EXPECT_EQ(reasons[each.item].value("code", 0), each.code);
        EXPECT_THAT(reasons[each.item].value("reason", ""), HasSubstr(each.reason));
        ++line;
        EXPECT_THAT(text, HasSubstr(board.file(kChassis).string() + ":" + std::to_string(line) +
                                    ": " + each.item + ": "));
    }
}

TEST(Coverage, FindsWhatIsMissingDeepInsideAFunction) {
    const Board board("demo");
    for (const char *file : {"cm8_cards.cfg", "cm8_power.cfg"}) {
        const std::string path = std::string("etc/cfg/dfd/cfg_file/") + file;
        std::string config = tools_test::read_file(board.file(path));
        for (const char *item : {"\npower_regval_convert_", "\npower_out_voltage."}) {
            for (std::size_t at = 0; (at = config.find(item, at)) != std::string::npos;) {
                config.insert(at + 1, "#");
            }
        }
        tools_test::write_file(board.file(path), config);
    }
    board.replace("etc/cfg/dfd/cfg_file/cm8_temps.cfg", "card_vol_num=2", "card_vol_num=3");
    const auto all = cells(report(root_of(board)));
    const struct {
        const char *cell;
        const char *state;
        std::vector<std::string> missing;
    } kCells[] = {
        {"drv_get_card_vol {\"channel\":3,\"slot\":\"own\"}",
         "not configured",
         {"card_vol_low_0_3"}},
        {"drv_get_card_power_status {\"slot\":9}",
         "default",
         {"sslot_state_9 (no line can have this index)"}},
        {"drv_get_card_power_consume {\"slot\":6}", "not configured", {"power_regval_convert_1"}},
        {"drv_get_card_power_consume {\"slot\":\"own\"}", "ok", {}},  // a constant
        {"drv_get_power_osupply {\"supply\":2}", "not configured", {"power_out_voltage_2"}},
        {"drv_get_power_ocur {\"supply\":2}", "ok", {}},
    };
    for (const auto &each : kCells) {
        EXPECT_EQ(all.at(each.cell).at("state"), each.state) << each.cell;
        EXPECT_EQ(all.at(each.cell).at("missing"), each.missing) << each.cell;
    }
}

TEST(Coverage, NamesTheItemThatIsMissingNotOneThatIsThere) {
    const struct {
        const char *file;
        const char *item;  // that is taken out
        const char *cell;
        const char *missing;
    } kCases[] = {
        {"cm8_slots.cfg", "\nmy_slotid.", "drv_get_my_slotid {}", "my_slotid"},
        {"cm8_power.cfg", "\npower_out_current.", "drv_get_power_osupply {\"supply\":2}",
         "power_out_current_2"},
    };
    for (const auto &each : kCases) {
        const Board board("demo");
        const std::string path = std::string("etc/cfg/dfd/cfg_file/") + each.file;
        std::string config = tools_test::read_file(board.file(path));
        for (std::size_t at = 0; (at = config.find(each.item, at)) != std::string::npos;) {
            config.insert(at + 1, "#");
        }
        tools_test::write_file(board.file(path), config);
        const json cell = cells(report(root_of(board))).at(each.cell);
        EXPECT_EQ(cell.at("state"), "not configured") << each.cell;
        EXPECT_EQ(cell.at("missing"), std::vector<std::string>{each.missing}) << each.cell;
    }
}

TEST(Coverage, RequiresWhatIsEssentialAndPolledAndStrictlyAllThatSomeUnitsHave) {
    const std::string demo = kBoards + "/demo ";
    const std::string known =
        "--allow get_power_sw_version --allow set_power_hw_version --allow get_fan_cpld_version "
        "--allow get_fan_temp --allow set_card_temp_cfg";
    const struct {
        std::string arguments;
        int status;
        std::string message;
    } kRuns[] = {
        {demo + "--require power,temps", 0, ""},
        {demo + "--require power,temps --strict", 1, ""},
        {demo + "--require fans", 1,
         ""},  // tray 4 has no sensor: other trays are polled for theirs
        {demo + "--require fans --allow get_fan_temp", 0, ""},
        {demo + "--require fans,power,temps --strict " + known, 0, ""},
        {kBoards + "/demo-linecard --require ports,temps,voltages", 0, ""},
        {kBoards + "/demo-linecard --require power", 1, ""},
        {demo + "--require fans,tempts", 2, "unknown group 'tempts', did you mean 'temps'?"},
        {demo + "--require fans --allow get_fan_tmp", 2, "get_fan_temp"},
        {demo + "--strict", 2, "--require"},
        {demo + "--board 7", 2, "no list of files for board type 0x7"},
        {demo + "--i2c-khz 0", 2, "bus speed"},
        {demo + "--chassis 9", 2, "chassis type '9'"},
        {demo + "--own-slot x", 2, "'x' is no slot"},
        {demo + "--own-slot 99", 2, "'99' is no slot: 0 to 32"},
        {demo + "--answer fan_num=1", 2, "not configured as something that is read"},
    };
    for (const auto &each : kRuns) {
        const Result result = tools_test::run_tool("dfdctl coverage --root " + each.arguments);
        EXPECT_EQ(result.status, each.status) << each.arguments << "\n" << result.err;
        EXPECT_THAT(result.err, HasSubstr(each.message)) << each.arguments;
    }
    const Board broken("demo");
    broken.append(kChassis, "no such line\n");
    const Result result = coverage(root_of(broken), "");
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.err, HasSubstr("8.cfg:"));
    EXPECT_THAT(result.out, IsEmpty());
}

/// Reads, writes and bytes by device.
using Traffic = std::map<std::string, std::tuple<int, int, int>>;

std::string i2c_name(const std::string &path, int addr) {
    return path + ":" + std::to_string(addr);
}

Traffic traffic_of(const vchassis::Chassis &chassis) {
    Traffic found;
    for (const vchassis::Event &event : chassis.log()) {
        if (event.op == vchassis::Op::transfer) {
            const vchassis::Message &data = event.messages.at(1);
            auto &[reads, writes, bytes] = found[i2c_name(event.path, data.addr)];
            ++reads;
            bytes += static_cast<int>(data.bytes.size());
        } else if (event.op == vchassis::Op::read || event.op == vchassis::Op::write) {
            auto &[reads, writes, bytes] = found[event.path];
            ++(event.op == vchassis::Op::read ? reads : writes);
            bytes += static_cast<int>(event.bytes.size());
        }
    }
    return found;
}

/// What monitoring software asks of the demo line card, written down here once more. Returns the
/// number of calls.
int poll_the_line_card(int slot) {
    int number = 0;
    std::uint8_t present = 0;
    int calls = 0;
    const auto expect = [&calls](int result) {
        EXPECT_GE(result, 0) << "call " << calls;
        ++calls;
    };
    for (std::uint8_t index = 1; index <= 4; ++index) {
        expect(drv_get_card_temp(slot, index, &number));
        expect(drv_get_card_vol(slot, index));
        expect(dfd_port_get_sfp_present(48U + index, &present));
    }
    expect(drv_get_slot_online(slot));
    expect(drv_get_sslot_state(1));
    expect(drv_get_sslot_state(2));
    expect(drv_get_card_power_status(slot, &number));
    expect(drv_get_mac_temp(0, &number, &number, &number));
    expect(drv_get_current_voltage(&number));
    return calls;
}

TEST(Coverage, CountsTheTransfersThatTheHardwareSees) {
    const json pass = report(kBoards + "/demo-linecard").at("pass");
    Traffic counted;
    for (const json &device : pass.at("devices")) {
        const std::string path = device.at("device");
        const json &addr = device.at("addr");
        counted[addr.is_null() ? path : i2c_name(path, addr.get<int>())] = {
            device.at("reads"), device.at("writes"), device.at("bytes")};
    }
    const dfd_test::NeverFreed items;
    vchassis::Chassis chassis(kBoards + "/demo-linecard");
    ASSERT_EQ(dev_drv_init(), 0);
    const int slot = drv_get_my_slotid();
    chassis.clear_log();
    EXPECT_EQ(pass.at("calls"), poll_the_line_card(slot));
    EXPECT_EQ(counted, traffic_of(chassis));
}

TEST(Coverage, CountsTheTimeOnTheBus) {
    // Start, address, offset, start, address, data and stop: 1 + 9 + 9 + 1 + 9 + 9 n + 1 cycles.
    const struct {
        const char *khz;
        int two_bytes_us;
        int one_byte_us;
    } kSpeeds[] = {{"", 480, 390}, {"--i2c-khz 400", 120, 98}};
    for (const auto &speed : kSpeeds) {
        std::map<int, int> time;
        const json board = report(kBoards + "/demo-linecard", speed.khz);
        for (const json &device : board.at("pass").at("devices")) {
            if (device.at("via") == "i2c") {
                time[device.at("addr")] = device.at("bus_us");
            }
        }
        EXPECT_THAT(time, ElementsAre(std::pair(0x48, speed.two_bytes_us),
                                      std::pair(0x49, speed.two_bytes_us),
                                      std::pair(0x4c, speed.one_byte_us)));
    }
}

}  // namespace
