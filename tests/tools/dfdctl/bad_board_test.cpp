// SPDX-License-Identifier: MIT
// dfdctl on boards with something wrong: it says what, and its exit status says how bad.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/programs.h"

namespace tools_test {
namespace {

using nlohmann::json;
using testing::HasSubstr;

constexpr const char *kConfig = "etc/cfg/dfd/cfg_file/";

TEST(BadBoard, BoardTypeFromTheLegacyLayouts) {
    struct Case {
        const char *description;
        int type;
        const char *found_by;
    };
    const Case cases[] = {
        {"[[board_legacy]]\nlayout = 1\ntype = 0x9c\nsub_type = 0x11\n", 14, "byte 64 = 0x11"},
        {"[[board_legacy]]\nlayout = 2\ntype = 10\naddend = 5\n", 62, "byte 3 = 10, byte 7 = 5"},
        {"[[tlv]]\ndevice_type = 62\n[[tlv.entry]]\ntype = 2\ntext = 'x'\n", 62,
         "byte 3 of the header"},
    };
    for (const Case &each : cases) {
        SCOPED_TRACE(each.description);
        const Board board("demo");
        std::filesystem::remove(board.file("tmp/bspinfo/ProductID"));
        board.image("images/board.bin", each.description);
        const auto list = board.file(fmt::format("etc/cfg/dfd/file_name/0x{:x}", each.type));
        write_file(list, read_file(board.file("etc/cfg/dfd/file_name/0x3e")));
        const json page = board.dfdctl("show board --json").json();
        EXPECT_EQ(page["board"]["type"], each.type);
        EXPECT_THAT(std::string(page["board"]["found_by"]), HasSubstr(each.found_by));
        EXPECT_EQ(page["started"], true);
    }
}

TEST(BadBoard, NoBoardTypeAtAll) {
    const Board board("demo");
    std::filesystem::remove(board.file("tmp/bspinfo/ProductID"));
    board.image("images/board.bin", "[[bytes]]\nvalues = 'ff'\n");
    const Result page = board.dfdctl("show board --json");
    EXPECT_EQ(page.status, 2);
    EXPECT_THAT(page.err, HasSubstr("board type is unknown"));
    EXPECT_EQ(page.json()["board"]["type"], nullptr);
    EXPECT_THAT(std::string(page.json()["board"]["found_by"]), HasSubstr("byte 0 = 0xff"));
    const Result get = board.dfdctl("get fan_num");
    EXPECT_EQ(get.status, 2);
    EXPECT_EQ(get.out, "");
    EXPECT_THAT(get.err, HasSubstr("board type cannot be found out"));
}

TEST(BadBoard, NoListOfFilesForTheBoardType) {
    const Board board("demo");
    std::filesystem::remove(board.file("etc/cfg/dfd/file_name/0x3e"));
    const Result get = board.dfdctl("get fan_num");
    EXPECT_EQ(get.status, 2);
    EXPECT_THAT(get.err, HasSubstr("/etc/cfg/dfd/file_name/0x3e"));
    const Result page = board.dfdctl("show board --json");
    EXPECT_EQ(page.status, 2);
    EXPECT_EQ(page.json()["list_file"]["path"], "/etc/cfg/dfd/file_name/0x3e");
    EXPECT_EQ(page.json()["board"]["type"], 62);
}

TEST(BadBoard, AFileThatStopsIsToldWithLineAndTheOthersAreMissing) {
    const Board board("demo");
    board.append(std::string(kConfig) + "cm8_backplane.cfg", "rubbish\n");
    const Result result = board.dfdctl("show board --json");
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.err, HasSubstr("cm8_backplane.cfg:15: loading stopped here"));
    const json files = result.json()["files"];
    ASSERT_EQ(files.size(), 7U) << "card_pid, five listed ones, chassis";
    EXPECT_EQ(files[5]["loaded"], false);
    EXPECT_EQ(files[5]["error_line"], 15);
    EXPECT_EQ(files[6]["role"], "chassis");
    const Result get = board.dfdctl("get fan_speed_floor");
    EXPECT_EQ(get.status, 2) << "the part that is missing may configure it";
    EXPECT_THAT(get.err, HasSubstr("loading stopped here"));
    EXPECT_EQ(board.dfdctl("get slot_base").status, 0);
    EXPECT_EQ(board.dfdctl("set fan_speed_floor 1").status, 2);
    EXPECT_EQ(board.dfdctl("items --type slot_base").status, 2);
}

TEST(BadBoard, AMissingFileEndsTheLoading) {
    const Board board("demo");
    std::filesystem::remove(board.file(std::string(kConfig) + "cm8_fans.cfg"));
    const Result result = board.dfdctl("show board");
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.out, HasSubstr("not loaded: No such file or directory"));
    EXPECT_THAT(result.err, HasSubstr("cm8_fans.cfg: cannot be opened"));
}

TEST(BadBoard, LinesWithoutEffectAreListed) {
    const Board board("demo");
    board.append(std::string(kConfig) + "cm8_common.cfg", "fan_nmu=3\nslot_online.mode_33=tlv\n");
    const Result result = board.dfdctl("show board");
    EXPECT_EQ(result.status, 0) << "the library takes the file";
    EXPECT_THAT(result.out, HasSubstr("cm8_common.cfg:61: ignored: 'fan_nmu'"));
    EXPECT_THAT(result.out, HasSubstr("did you mean 'fan_num'"));
    EXPECT_THAT(result.out, HasSubstr("cm8_common.cfg:62: index1[33] invalid, max=32"));
}

TEST(BadBoard, ASilentDeviceFailsTheReadingsBehindIt) {
    const Board board("demo");
    board.append("etc/cfg/dfd/cfg_file/cm8_ports.cfg",
                 "port_sfp_state.addr_1=0x21\nbypass_state.addr_1=0x21\n");
    const Result get = board.dfdctl("get port_sfp_state 1 --json");
    EXPECT_EQ(get.status, 4);
    EXPECT_EQ(get.json()["reading"]["status"], "io_error");
    EXPECT_EQ(get.json()["reading"]["code"], -7);
    EXPECT_EQ(board.dfdctl("set bypass_state 1 1").status, 4);
    const Result items = board.dfdctl("items --values --json");
    EXPECT_EQ(items.status, 1);
    EXPECT_FALSE(items.json().is_discarded());
    const Result page = board.dfdctl("show board");
    EXPECT_EQ(page.status, 1);
    EXPECT_THAT(page.out,
                HasSubstr("port_sfp_state_1: /dev/i2c-3 0x21: no acknowledgement at this address"));
}

TEST(BadBoard, EepromsThatAreSilentOrHoldOtherThings) {
    const Board silent("demo");
    silent.replace("chassis.toml", "addr = 0x52", "addr = 0x54");
    silent.replace("chassis.toml", "addr = 0x56", "addr = 0x59");
    const json page = silent.dfdctl("show board --json").json();
    EXPECT_EQ(page["chassis"]["source"], "board_type") << "source 2 is not configured";
    EXPECT_THAT(std::string(page["chassis"]["found_by"]),
                HasSubstr("e2_setmac_1 (i2c /dev/i2c-3 address 0x56 register 0x00, buf of 44) "
                          "cannot be read and e2_setmac_2 is not configured"));
    EXPECT_EQ(page["backplanes"][0]["mac"]["status"], "io_error");
    EXPECT_EQ(page["backplanes"][0]["mac"]["value"], nullptr) << "not the zeros of a failed read";
    EXPECT_EQ(silent.dfdctl("get fan_sn 3").status, 4);

    const Board spoilt("demo");
    spoilt.image("images/fan1.bin",
                 "[[tlv]]\ndevice_type = 16\nspoil_checksum = true\n"
                 "[[tlv.entry]]\ntype = 3\ntext = 'X'\n");
    const Result get = spoilt.dfdctl("get fan_sn 1 --json");
    EXPECT_EQ(get.status, 1);
    EXPECT_EQ(get.json()["reading"]["status"], "bad_data");
    spoilt.image("images/fan2.bin", "[[fru]]\nproduct_name = 'OTHER'\n");
    const Result type = spoilt.dfdctl("get fan_type 2");
    EXPECT_EQ(type.status, 1);
    EXPECT_THAT(type.err, HasSubstr("'OTHER'"));
}

}  // namespace
}  // namespace tools_test
