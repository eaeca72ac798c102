// SPDX-License-Identifier: MIT
// What the observer sees of the library, on the demo boards' files alone.
#include "dfdctl/observe/observer.hpp"

#include <dfd/driver.h>
#include <dfd/framework.h>
#include <dfd/records.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dfdctl/board/keys.hpp"
#include "dfdctl/observe/board_use.hpp"

namespace {

using namespace dfdctl;
using namespace dfdctl::observe;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

LoadRecord demo() {
    return load_offline({.root = BUILD_DIR "/boards/demo", .board_type = 62, .chassis_type = 8});
}

std::vector<std::string> names_of(const std::vector<std::uint32_t> &keys) {
    std::vector<std::string> names;
    for (const std::uint32_t key : keys) {
        names.push_back(item_of_key(key).name());
    }
    return names;
}

class ObserverOnDemo : public testing::Test {
  protected:
    Observation observe(const char *name, const Args &args, const Answers &answers) const {
        return observer.observe(*find_call(name), args, answers);
    }

    const LoadRecord log = demo();
    const Observer observer{log};
    const Units units{log};
};

TEST_F(ObserverOnDemo, WhatIsAskedForDependsOnWhatIsRead) {
    const Item state = parse_item("fan_state", std::vector<std::string>{"2"});
    const Answers ones = Answers::all(1);
    EXPECT_THAT(names_of(observe("drv_get_fan_status", {{2}, {}}, ones).keys()),
                ElementsAre("fan_state_2", "fan_speed_floor", "subfan_num_2", "fan_real_speed_2_1",
                            "get_fan_cfg_speed_2_1", "fan_speed_level_support",
                            "fan_real_speed_2_2", "get_fan_cfg_speed_2_2", "fan_line_fail_2"));
    const Observation absent =
        observe("drv_get_fan_status", {{2}, {}}, ones.with({.key = state.key(), .number = 0}));
    EXPECT_THAT(names_of(absent.keys()), ElementsAre("fan_state_2"));
    EXPECT_EQ(absent.result, 0);
    EXPECT_EQ(observe("drv_get_fan_status", {{2}, {}}, Answers::nothing()).result, DFD_ERR_IO);
}

TEST_F(ObserverOnDemo, NoCacheHidesALookUp) {
    const char *const cached[] = {"drv_get_backplane_info", "drv_check_mycard_is_conflict",
                                  "sdd_get_my_type_from_setmac", "drv_get_my_chassis_type"};
    for (const char *name : cached) {
        const Observation first = observe(name, {}, Answers::all(1));
        const Observation second = observe(name, {}, Answers::all(1));
        EXPECT_EQ(first.events, second.events) << name;
    }
    EXPECT_THAT(names_of(observe("drv_get_backplane_info", {}, Answers::all(1)).keys()),
                ElementsAre("bp_e2prom_dev_1"));
}

TEST_F(ObserverOnDemo, EepromsHoldWhatTheirItemsExpect) {
    struct Case {
        const char *name;
        std::uint32_t unit;
        const char *text;  // null: the result counts
        int result;
    };
    const Case cases[] = {
        {"drv_get_fan_type", 1, nullptr, 16},   // tlv
        {"drv_get_fan_type", 2, nullptr, 17},   // fru, by its name
        {"drv_get_fan_type", 3, nullptr, 16},   // legacy
        {"drv_get_power_type", 1, nullptr, 1},  // fru
        {"drv_get_fan_sn", 1, "SN00000000001", 0},
        {"drv_get_fan_sn", 2, "SN00000000001", 0},
        {"drv_get_fan_hw_version", 3, "V1.00", 0},
        {"drv_get_sub_unintlg_sn", 1, "SN00000000001", 0},
    };
    for (const Case &each : cases) {
        const Observation seen = observe(each.name, {{each.unit}, {}}, Answers::all(1));
        EXPECT_EQ(seen.result, each.result) << each.name << each.unit;
        if (each.text != nullptr) {
            EXPECT_EQ(seen.outputs.at(0).bytes, each.text) << each.name << each.unit;
        }
    }
}

TEST_F(ObserverOnDemo, FoldsWhatRepeats) {
    // Five attempts on a silent bus, each with its pause.
    const Observation silent = observe("drv_get_fan_temp", {}, Answers::nothing());
    ASSERT_FALSE(silent.repeats.empty());
    EXPECT_EQ(silent.repeats.back().count, 2U);
    EXPECT_EQ(silent.repeats.back().times, 5U);

    // A peer that never goes down is asked 800 times.
    const Observation waiting = observe("drv_reset_master", {}, Answers::all(1));
    EXPECT_EQ(waiting.result, DFD_ERR);
    ASSERT_FALSE(waiting.repeats.empty());
    EXPECT_EQ(waiting.repeats.back().times, 800U);
    EXPECT_EQ(waiting.dropped, 0U);
    EXPECT_LT(waiting.events.size(), 60U);
}

TEST_F(ObserverOnDemo, RefusesWhatItCannotUndoAndWritingHardware) {
    EXPECT_THROW(observe("dev_drv_init", {}, Answers::all(1)), std::logic_error);
    EXPECT_THROW(observe("dfd_lib_cfg_regval_conv_lst_add", {}, Answers::all(1)), std::logic_error);
    EXPECT_THROW(observe("drv_reset_linecard", {{3, 0}, {}}, Answers::hardware()),
                 std::logic_error);
    EXPECT_THROW(observe("dfd_cpld_write", {}, Answers::hardware()), std::logic_error);
}

// A function whose standard arguments make it write or read outside its buffers shows here under
// the sanitizers.
TEST_F(ObserverOnDemo, EveryFunctionCanBeRun) {
    for (const Call &call : calls()) {
        if (!call.can_be_observed()) {
            continue;
        }
        for (const Answers &answers : {Answers::nothing(), Answers::all(0), Answers::all(1)}) {
            const Observation seen = observer.observe(call, {}, answers);
            EXPECT_EQ(seen.dropped, 0U) << call.name;
        }
    }
}

TEST_F(ObserverOnDemo, BoardUseKnowsReadersWritersAndLists) {
    const BoardUse board = observe_board(observer, units);
    const auto users = [&](const char *name, std::vector<std::string> indexes) {
        std::vector<std::string> texts;
        const auto found = board.keys.find(parse_item(name, indexes).key());
        if (found != board.keys.end()) {
            for (const Use &use : found->second) {
                texts.push_back(text_of(*use.call, *use.args) + (use.is_read ? " reads" : "") +
                                (use.worked ? "" : " in vain"));
            }
        }
        return texts;
    };
    EXPECT_THAT(
        users("power_in_voltage", {"2"}),
        testing::IsSupersetOf({"drv_get_power_vol_in(2) reads", "sdd_get_power_vol_in(2) reads"}));
    EXPECT_THAT(users("card_temp_ctrl", {"0", "1"}),
                Contains("drv_get_card_temp(11, 1) reads"));  // the own card
    EXPECT_THAT(users("reset_lc", {"3"}), Contains("drv_reset_linecard(3, 0) reads"));
    EXPECT_THAT(users("power_dc_ac", {"1"}), IsEmpty());
    EXPECT_THAT(board.lists, Contains(testing::Key(DFD_KEY_POWER_NAME)));
    // What the configuration of a good board describes, the engine can do.
    for (const auto &[key, uses] : board.keys) {
        for (const Use &use : uses) {
            const bool refused = use.is_read && !use.worked;
            EXPECT_FALSE(refused) << item_of_key(key).name() << ": " << use.refused;
        }
    }
}

TEST_F(ObserverOnDemo, UnitsAreThoseThatTheBoardDescribes) {
    std::set<std::string> types;
    for (const Args &args : units.all_args(*find_call("drv_irq_set_cfg"))) {
        types.insert(g_irq_type_name[args.numbers.front()].name);
    }
    EXPECT_THAT(types, ElementsAre("card", "fan", "fe_offline", "heartbeat", "power",
                                   "reset_button", "sfp", "system_power"));
}

TEST(Observer, LeavesTheLibraryAsItWas) {
    const LoadRecord log = demo();
    {
        const Observer observer(log);
        const Observation seen = observer.observe(*find_call("drv_set_sys_chip_mode"), {{5}, {}},
                                                  Answers::all(1), Log::open);
        EXPECT_EQ(seen.result, DFD_OK);
    }
    std::uint32_t mode = 9;
    drv_get_sys_chip_mode(&mode);
    EXPECT_EQ(mode, 0U);
    EXPECT_EQ(dfd_debug, 0U);
}

TEST(Observer, SaysWhyTheEngineRefuses) {
    const LoadRecord log = demo();
    auto *record =
        static_cast<info_ctrl_t *>(dfd_lib_cfg_get_item(DFD_MAKE_KEY(DFD_KEY_FAN_STATE, 2, 0)));
    ASSERT_NE(record, nullptr);
    record->bit_offset = 8;
    const Observer observer(log);
    const BoardUse board = observe_board(observer, Units(log));
    const Use &use = board.keys.at(DFD_MAKE_KEY(DFD_KEY_FAN_STATE, 2, 0)).front();
    EXPECT_FALSE(use.worked);
    EXPECT_EQ(use.refused, DFD_ERR_UNUSABLE);
    EXPECT_EQ(use.refusal, dfd::watch::Refusal::bit_offset);
}

}  // namespace
