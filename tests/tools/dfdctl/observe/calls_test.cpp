// SPDX-License-Identifier: MIT
// The table of calls against the library that is shipped.
#include "dfdctl/observe/calls.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "tools/programs.h"

namespace {

using namespace dfdctl::observe;

std::set<std::string> exported_functions() {
    const std::string symbols =
        tools_test::run("nm -D --defined-only " LIBRARY " | awk '$2 == \"T\" { print $3 }'").out;
    std::set<std::string> names;
    for (std::size_t at = 0; at < symbols.size();) {
        const std::size_t end = symbols.find('\n', at);
        // A name may carry the version of the interface.
        names.insert(symbols.substr(at, end - at).substr(0, symbols.find('@', at) - at));
        at = end + 1;
    }
    return names;
}

TEST(Calls, AreExactlyTheExportedFunctions) {
    std::set<std::string> listed;
    for (const Call &call : calls()) {
        EXPECT_TRUE(listed.insert(std::string(call.name)).second) << call.name << " has two rows";
    }
    const std::set<std::string> exported = exported_functions();
    ASSERT_GT(exported.size(), 300U);
    EXPECT_EQ(listed, exported);
}

TEST(Calls, TakeTheArgumentsThatAreGivenAndStandardsForTheRest) {
    struct Case {
        const char *name;
        Args args;
        const char *usage;
        const char *text;
    };
    const Case cases[] = {
        {"drv_get_my_slotid", {}, "", "drv_get_my_slotid()"},
        {"drv_get_fan_speed", {{4, 2}, {}}, "FAN ROTOR", "drv_get_fan_speed(4, 2)"},
        {"drv_get_fan_speed", {{4}, {}}, "FAN ROTOR", "drv_get_fan_speed(4, 1)"},
        {"drv_get_fan_attribute", {{3}, {}}, "FAN", "drv_get_fan_attribute(3)"},
        {"drv_set_fan_info", {{2}, {"SN"}}, "FAN SN HW", "drv_set_fan_info(2, \"SN\", \"1.00\")"},
        {"drv_set_led", {{4, 1, 2}, {}}, "LED-TYPE LED-STATE LED-UNIT", "drv_set_led(4, 1, 2)"},
    };
    for (const Case &each : cases) {
        const Call *call = find_call(each.name);
        ASSERT_NE(call, nullptr) << each.name;
        EXPECT_EQ(call->usage(), each.usage);
        EXPECT_EQ(text_of(*call, each.args), each.text);
    }
    EXPECT_EQ(find_call("drv_get_fan"), nullptr);
}

}  // namespace
