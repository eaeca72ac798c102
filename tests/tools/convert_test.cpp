// SPDX-License-Identifier: MIT
#include "dfdctl/convert.hpp"

#include <dfd/types.h>
#include <gtest/gtest.h>

#include <vector>

namespace dfdctl {
namespace {

int converted(Convert convert, std::vector<std::uint8_t> bytes) {
    int value = -1;
    const Conversion conversion = conversion_of(item_of(DFD_KEY_POWER_TEMP, 1), convert);
    const int result = conversion.processor(bytes.data(), static_cast<int>(bytes.size()), &value);
    EXPECT_EQ(result, DFD_OK);
    return value;
}

TEST(Convert, NumbersOfPmbusDevices) {
    EXPECT_EQ(converted(Convert::linear11, {0xE6, 0x00}), 230000);
    EXPECT_EQ(converted(Convert::linear11, {0xCD, 0xF9}), 230500);
    EXPECT_EQ(converted(Convert::linear11, {0xFF, 0x87}), -1) << "mantissa -1, exponent -16";
    EXPECT_EQ(converted(Convert::linear11, {0x01, 0x08}), 2000) << "exponent 1";
    EXPECT_EQ(converted(Convert::linear11, {0xFF, 0x0F}), -2000) << "mantissa -1, exponent 1";
    EXPECT_EQ(converted(Convert::linear16, {0x00, 0x18}), 12000);
    EXPECT_LT(converted(Convert::linear16, {0x00, 0x90}), 0);
    EXPECT_EQ(converted(Convert::plain, {0x12, 0x34}), 0x1234);
}

TEST(Convert, WordsOfAnotherLengthAreRefused) {
    std::uint8_t bytes[3] = {};
    int value = 0;
    for (const Convert convert : {Convert::linear11, Convert::linear16}) {
        const auto processor = conversion_of(item_of(DFD_KEY_POWER_TEMP, 1), convert).processor;
        EXPECT_LT(processor(bytes, 1, &value), 0);
        EXPECT_LT(processor(bytes, 3, &value), 0);
    }
}

}  // namespace
}  // namespace dfdctl
