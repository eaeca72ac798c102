// SPDX-License-Identifier: MIT
// The steps that explain shows, and the bytes that the observer answers with, against the engine.
#include "dfdctl/explain/interpret.hpp"

#include <dfd/framework.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dfdctl/observe/observer.hpp"
#include "tools/programs.h"

namespace {

using namespace dfdctl;
using namespace dfdctl::observe;
using explain::interpret_read;
using explain::interpret_write;

constexpr std::uint32_t kKey = DFD_MAKE_KEY(DFD_KEY_MY_SLOTID, 0, 0);

struct Shape {
    int frmt;
    int pola;
    std::uint32_t len;
    std::uint32_t bit_offset;
    std::uint32_t value;  // fits the shape
};

std::vector<Shape> shapes() {
    std::vector<Shape> all;
    for (const int pola : {INFO_POLA_NONE, INFO_POLA_POSITIVE, INFO_POLA_NEGATIVE}) {
        for (const std::uint32_t offset : {0U, 3U, 7U}) {
            all.push_back({INFO_FRMT_BIT, pola, 1, offset, 1});
        }
        all.push_back({INFO_FRMT_BIT, pola, 3, 2, 5});
        all.push_back({INFO_FRMT_BIT, pola, 8, 0, 0xA5});
        for (const int frmt : {INFO_FRMT_BYTE, INFO_FRMT_NUM_BYTES}) {
            all.push_back({frmt, pola, 1, 0, 0x7F});
            all.push_back({frmt, pola, 2, 0, 0x1234});
            all.push_back({frmt, pola, 4, 0, 0x89ABCDEF});
            all.push_back({frmt, pola, 6, 0, 0x01020304});
        }
        all.push_back({INFO_FRMT_NUM_STR, pola, 5, 0, 1234});
        all.push_back({INFO_FRMT_NUM_STR, pola, 3, 0, static_cast<std::uint32_t>(-12)});
    }
    return all;
}

/// One item, described anew for each case.
class Interpretation : public testing::Test {
  protected:
    Interpretation() {
        tools_test::write_file(dir_.path() / "one.cfg", "my_slotid.mode=config\n");
        log_ = load_files({(dir_.path() / "one.cfg").string()});
        record_ = static_cast<info_ctrl_t *>(dfd_lib_cfg_get_item(kKey));
    }

    void describe(const Shape &shape, int src) {
        *record_ = {.mode = INFO_CTRL_MODE_CONFIG,
                    .int_cons = 0,
                    .src = src,
                    .frmt = shape.frmt,
                    .pola = shape.pola,
                    .fpath = "/dev/cpld0",
                    .addr = 0x20,
                    .reg_offset = 0x10,
                    .len = shape.len,
                    .bit_offset = shape.bit_offset,
                    .spare = 0};
    }

    static std::string name_of(const Shape &shape) {
        return info_frmt_str[shape.frmt] + std::string(" ") + info_pola_str[shape.pola] + " len " +
               std::to_string(shape.len) + " bit " + std::to_string(shape.bit_offset);
    }

    static std::vector<std::uint8_t> bytes_of(const Observation &seen, bool written) {
        std::vector<std::uint8_t> bytes;
        for (const Event &event : seen.events) {
            if (event.kind == Event::Kind::transfer && event.is_write == written) {
                bytes.insert(bytes.end(), event.bytes.begin(), event.bytes.end());
            }
        }
        return bytes;
    }

    tools_test::TempDir dir_;
    LoadRecord log_;
    info_ctrl_t *record_;
};

TEST_F(Interpretation, StepsOfReadingEndWhereTheEngineDoes) {
    const Observer observer(log_);
    for (const int src : {INFO_SRC_LOCALBUS, INFO_SRC_I2C, INFO_SRC_FILE}) {
        for (const Shape &shape : shapes()) {
            describe(shape, src);
            const Observation seen = observer.observe(*find_call("dfd_info_get_int"), {{kKey}, {}},
                                                      Answers::all(shape.value));
            const std::string name = info_src_str[src] + std::string(" ") + name_of(shape);
            ASSERT_EQ(seen.result, DFD_OK) << name;
            const auto engine = static_cast<std::int32_t>(seen.outputs.at(0).number);
            EXPECT_EQ(engine, static_cast<std::int32_t>(shape.value)) << name;
            const auto steps = interpret_read(*record_, bytes_of(seen, false), false);
            EXPECT_EQ(steps.value, engine) << name;
            EXPECT_EQ(steps.steps.back().value, std::to_string(engine)) << name;
        }
    }
}

TEST_F(Interpretation, StepsOfWritingEndWithWhatIsWritten) {
    const Observer observer(log_);
    for (const Shape &shape : shapes()) {
        if (shape.frmt == INFO_FRMT_NUM_STR) {
            continue;
        }
        describe(shape, INFO_SRC_I2C);  // the mask of a bit field does not count there
        const Observation seen = observer.observe(*find_call("dfd_info_set_int"),
                                                  {{kKey, shape.value}, {}}, Answers::all(0));
        ASSERT_EQ(seen.result, DFD_OK) << name_of(shape);
        const auto steps = interpret_write(*record_, shape.value);
        ASSERT_TRUE(steps.value.has_value());
        EXPECT_THAT(bytes_of(seen, true), testing::ElementsAre(*steps.value)) << name_of(shape);
    }
}

TEST_F(Interpretation, ConversionOfTheFunctionIsLeftToIt) {
    describe({INFO_FRMT_NUM_BUF, INFO_POLA_NONE, 2, 0, 0}, INFO_SRC_I2C);
    EXPECT_FALSE(interpret_read(*record_, std::vector<std::uint8_t>{1, 2}, true).value);
    describe({INFO_FRMT_BIT, INFO_POLA_NONE, 2, 0, 0}, INFO_SRC_I2C);
    EXPECT_FALSE(interpret_read(*record_, std::vector<std::uint8_t>{1}, true).value);
}

}  // namespace
