// SPDX-License-Identifier: MIT
#include "hal/e2prom/fru_board.h"
#include "support/library_test.h"

namespace {

using dfd_test::Bytes;
using dfd_test::bytes_of;
using dfd_test::e2prom_image;
using dfd_test::in_own_process;
using dfd_test::kCpld;
using dfd_test::logged_by;
using dfd_test::tlv_entry;
using dfd_test::tlv_image;
using dfd_test::operator+;
using dfd_test::fru::fru_image;
using testing::ElementsAre;
using testing::EndsWith;
using vchassis::Op;

constexpr int kFan = 3;
constexpr int kTrayBus = 1;
constexpr int kTrayAddr = 0x53;

// How an item of the tests gets its value: members that follow the name of a way.
struct Way {
    const char *name;
    const char *members;
};
constexpr Way kWays[] = {
    {"tlv", "mode=tlv fpath=/dev/i2c-1 addr=0x53"},
    {"fru", "mode=fru fpath=/dev/i2c-1 addr=0x53"},
    {"legacy", "mode=legacy fpath=/dev/i2c-1 addr=0x53"},
    {"broken", "mode=config src=localbus frmt=byte len=1 fpath=/dev/cpld7"},
    {"unusable", "mode=config src=i2c"},
    {"silent", "mode=config src=i2c frmt=byte len=1 fpath=/dev/i2c-1 addr=0x10"},
    {"answers", "mode=config src=i2c frmt=byte len=1 fpath=/dev/i2c-1 addr=0x53"},
    {"chip", "mode=config src=i2c frmt=buf fpath=/dev/i2c-1 addr=0x53 len="},
    {"text", "mode=config src=localbus frmt=buf fpath=/dev/cpld0 reg_offset=0x40 len="},
    {"num", "mode=config src=localbus frmt=num_buf len=1 fpath=/dev/cpld0 reg_offset="},
    {"bit", "mode=config src=localbus frmt=bit len=1 fpath=/dev/cpld0 reg_offset="},
    {"at", "mode=config src=localbus frmt=byte len=1 fpath=/dev/cpld0 reg_offset="},
    {"", "mode=constant int_cons="},
};

std::vector<std::string> split(const std::string &text, char separator) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);) {
        parts.push_back(part);
    }
    return parts;
}

// Configuration lines of the tray's items: "NAME=WAY[:REST] ...", NAME.N for rotor N; a line with
// an index of its own stands as it is.
std::string cfg(const std::string &items) {
    std::string lines;
    for (const std::string &each : split(items, ' ')) {
        const std::vector<std::string> sides = split(each, '=');
        const std::vector<std::string> name = split(sides[0], '.');
        const std::string how = sides.size() > 1 ? sides[1] : "";
        const std::string way = how.substr(0, how.find(':'));
        const auto *const found = std::find_if(std::begin(kWays), std::end(kWays) - 1,
                                               [&](const Way &known) { return way == known.name; });
        const bool is_constant = *found->name == '\0';
        const std::string rest =
            is_constant ? how : how.substr(std::min(way.size() + 1, how.size()));
        for (const std::string &member : split(found->members + rest, ' ')) {
            const std::vector<std::string> pair = split(member, '=');
            lines += name[0] + "." + pair[0] + "_3" + (name.size() > 1 ? "_" + name[1] : "") + "=" +
                     pair[1] + "\n";
        }
    }
    return lines;
}

Bytes tray_image(const std::string &name, const std::string &version = "",
                 const std::string &sn = "") {
    return fru_image({"MAKER", name, "P/N", version, sn}, 16);
}

const Bytes kLegacyTray =
    e2prom_image({{0, Bytes{0x2A} + bytes_of("1234567890ABC") + Bytes{0x01, 0x32}}});
const Bytes kTlvTray = tlv_image(1, 0x12, 0x23, tlv_entry(3, bytes_of("SN-0001")));
const Bytes kFruTray = tray_image("FAN TRAY 2 B", "123", "SN-0002");

class FanTest : public dfd_test::LibraryTest {
  protected:
    FanTest() {
        chassis.describe("[[registers]]\npath = \"/dev/cpld0\"\nsize = 256\n");
        add_e2prom(kTrayBus, kTrayAddr, Bytes(256, 0xFF));
        const Bytes text = bytes_of("ABCDEFGHIJKLMNOPQRSTUV");
        for (std::size_t i = 0; i < text.size(); ++i) {
            chassis.set_reg(kCpld, static_cast<std::uint32_t>(0x40 + i), text[i]);
        }
        chassis.set_reg(kCpld, 0x10, 5);
        chassis.set_reg(kCpld, 0x11, 1);
    }
    // Each row on a library of its own, with its configuration and EEPROM.
    template <typename Row, typename Check>
    void for_rows(const std::vector<Row> &rows, Check check) {
        for (const Row &row : rows) {
            in_own_process(row.items, [&] {
                std::string more;
                if constexpr (requires { row.more; }) {
                    more = row.more;
                }
                start(cfg(row.items) + more);
                if constexpr (requires { row.image; }) {
                    chassis.set_slave(kTrayBus, kTrayAddr, 0, row.image);
                }
                check(row);
            });
        }
    }
};

constexpr char kFloor[] = "fan_speed_floor=100\n";
constexpr char kLevels[] = "fan_speedlvl_convert_1=0x10\nfan_speedlvl_convert_2=0x24\n";
constexpr char kTrayNames[] = "fan_name_9_0=FAN-40\nfan_name_7_1=FANTRAY2\n";

TEST_F(FanTest, StatusByPresenceThenFailureThenLine) {
    struct Row {
        const char *items;
        int status;
        const char *reads;         // registers, in this order
        const char *message = "";  // the last one
        const char *more = "";
    };
    const std::vector<Row> rows = {
        {"", -6, "", "fan[3] state not support\r\n"},
        {"fan_state=broken", -7, "", "get fan[3] state fail, rv=-7\r\n"},
        {"fan_state=unusable", -7, "", "get fan[3] state fail, rv=-5\r\n"},
        {"fan_state=at:18 fan_fail_status=at:17", 0, "18 "},
        {"fan_state=tlv fan_fail_status=at:17", 0, ""},
        {"fan_state=at:16", 5, "16 "},
        {"fan_state=at:16 fan_fail_status=at:18 fan_line_fail=at:18", 5, "16 18 18 "},
        {"fan_state=at:16 fan_fail_status=at:17 fan_line_fail=at:17", 2, "16 17 "},
        {"fan_state=1 fan_fail_status=broken", -7, "", "get fan[3] fail bmp fail, rv=-7\r\n"},
        {"fan_state=at:16 fan_fail_status=fru", 5, "16 "},
        {"fan_state=at:16 fan_line_fail=at:17", 3, "16 17 "},
        {"fan_state=1 fan_line_fail=broken", -7, "",
         "read fan[3] line fail state fail\r\nget fan[3] line fail status fail, rv=-7\r\n"},
        {"fan_state=1 fan_line_fail=unusable", -5, "",
         "get fan[3] line fail state fail, rv=-5\r\nget fan[3] line fail status fail, rv=-5\r\n"},
        {"fan_state=1 fan_line_fail=answers", 1, ""},
        {"fan_state=1 fan_line_fail=silent", 3, "", "read fan[3] line fail state fail\r\n"},
        {"fan_state=1 fan_fail_status=at:17 fan_real_speed.1=99 get_fan_cfg_speed.1=1", 2, "", "",
         kFloor},
        {"fan_state=1 fan_fail_status=at:17 fan_real_speed.1=100", 1, "", "", kFloor},
        // A slow rotor without a configured level counts like a board without a floor.
        {"fan_state=1 fan_fail_status=at:17 fan_real_speed.1=9", 2, "17 ",
         "get fan[3 1] speed level fail, rv=-6\r\n", kFloor},
    };
    for_rows(rows, [&](const Row &row) {
        const auto read = [&] { EXPECT_EQ(sdd_get_fan_status(kFan), row.status); };
        EXPECT_THAT(logged_by(DFD_DEBUG_ERR, read), EndsWith(row.message));
        std::string reads;
        for (const vchassis::Event &event : chassis.log(Op::read)) {
            reads += std::to_string(event.offset) + " ";
        }
        EXPECT_EQ(reads, row.reads);
    });
}

TEST_F(FanTest, BitmapByItemThenSpeedThenState) {
    struct Row {
        const char *items;
        int code;
        int bitmap;
        const char *more = kFloor;
    };
    const std::vector<Row> rows = {
        {"fan_fail_bmp=6 fan_real_speed.1=0 get_fan_cfg_speed.1=1", 0, 6},
        {"fan_fail_bmp=broken", -7, 0},
        {"fan_fail_bmp=fru", 4, 0},
        // One rotor where the number is unknown.
        {"fan_real_speed.1=99 get_fan_cfg_speed.1=1 fan_real_speed.2=0", 0, 1},
        {"subfan_num=broken fan_real_speed.1=0 get_fan_cfg_speed.1=1 fan_real_speed.2=0", 0, 1},
        {"subfan_num=fru fan_real_speed.1=0 get_fan_cfg_speed.1=1 fan_real_speed.2=0 "
         "get_fan_cfg_speed.2=1",
         0, 1},
        {"subfan_num=0 fan_real_speed.1=0 get_fan_cfg_speed.1=1", 0, 0},
        {"subfan_num=2147483647 fan_real_speed.16=0 get_fan_cfg_speed.16=1", 0, 0x8000},
        // At the floor; slow on command; without a speed item; unreadable, which is 0.
        {"fan_real_speed.1=100 get_fan_cfg_speed.1=1", 0, 0},
        {"fan_real_speed.1=0 get_fan_cfg_speed.1=0", 0, 0},
        {"fan_real_speed.1=0 get_fan_cfg_speed.1=-1", 0, 0},
        {"subfan_num=2 get_fan_cfg_speed.1=1 fan_real_speed.2=9 get_fan_cfg_speed.2=1", 0, 2},
        {"fan_real_speed.1=broken get_fan_cfg_speed.1=1", 0, 1},
        {"fan_real_speed.1=tlv get_fan_cfg_speed.1=1", 0, 1},
        {"fan_real_speed.1=broken get_fan_cfg_speed.1=1", 0, 0, "fan_speed_floor=-5\n"},
        {"subfan_num=2 fan_real_speed.1=0 get_fan_cfg_speed.1=1 fan_real_speed.2=0 "
         "get_fan_cfg_speed.2=broken",
         -7, 0},
        // The state is returned, not 0.
        {"fan_state=1 fan_real_speed.1=0", 1, 0},
        {"fan_state=1 fan_fail_status=1", 2, 1, ""},
        {"fan_state=1 fan_line_fail=1", 3, 0, ""},
        {"fan_state=0", -1, 0, ""},
        {"fan_state=broken", -1, 0, ""},
    };
    for_rows(rows, [&](const Row &row) {
        int bitmap = 99;
        EXPECT_EQ(sdd_get_fan_fail_bmp(kFan, &bitmap), row.code);
        EXPECT_EQ(bitmap, row.bitmap);
    });
    EXPECT_EQ(sdd_get_fan_fail_bmp(kFan, nullptr), -8);
    // An absent tray is no message, as a tray of a known type is none.
    start(cfg("fan_state=0 fan_type=77"));
    EXPECT_EQ(logged_by(DFD_DEBUG_ERR,
                        [] {
                            int bitmap = 0;
                            EXPECT_EQ(sdd_get_fan_fail_bmp(kFan, &bitmap), -1);
                            EXPECT_EQ(sdd_get_fan_type(kFan), 77);
                        }),
              "");
}

TEST_F(FanTest, LineFailureLeavesTheFlagOfAnUnconfiguredLine) {
    start(cfg("fan_line_fail=broken"));
    int fail = 42;
    EXPECT_EQ(sdd_get_fan_line_fail_status(kFan + 1, &fail), 0);
    EXPECT_EQ(sdd_get_fan_line_fail_status(kFan, &fail), -7);
    EXPECT_EQ(fail, 42);
    EXPECT_EQ(sdd_get_fan_line_fail_status(kFan, nullptr), -8);
}

TEST_F(FanTest, MessagesCarryModuleAndFunction) {
    start(kFloor + cfg("fan_state=1 fan_real_speed.1=0"));
    dfd_debug = DFD_DEBUG_ERR;
    EXPECT_THAT(
        dfd_test::printed_by([] { sdd_get_fan_status(kFan); }),
        testing::HasSubstr("<File:hal/fan.cpp, Func:sdd_get_fan_fail_status_by_speed, Line:"));
}

TEST_F(FanTest, SpeedLevelsAreConvertedWhenRead) {
    struct Row {
        const char *items;
        int code;
        int level;
        const char *message = "";
        std::string more = std::string(kLevels) + "fan_speed_level_support=0\n";
    };
    const std::vector<Row> rows = {
        {"get_fan_cfg_speed.2=num:32", 0, 2},
        {"get_fan_cfg_speed.2=num:32", 0, 0x24, "", kLevels},
        {"get_fan_cfg_speed.2=at:32", 0, 0x24},
        {"get_fan_cfg_speed.2=tlv", 0, 99},
        {"", -6, 99, "get fan[3 2] real speed fail, rv=-6\r\n"},
        {"get_fan_cfg_speed.2=bit:17", -6, 99,
         "get fan speed level by regval[0x1] fail\r\n"
         "get fan speed level by regval[1] fail, rv=-1\r\n"
         "info ctrl[key=0x6c000302] bit process fail, rv=-6\r\n"
         "get fan[3 2] real speed fail, rv=-6\r\n"},
    };
    chassis.set_reg(kCpld, 0x20, 0x24);
    for_rows(rows, [&](const Row &row) {
        int level = 99;
        const auto read = [&] { EXPECT_EQ(sdd_get_fan_speed_level(kFan, 2, &level), row.code); };
        EXPECT_EQ(logged_by(DFD_DEBUG_ERR, read), row.message);
        EXPECT_EQ(level, row.level);
    });
    const auto read = [] { EXPECT_EQ(sdd_get_fan_speed_level(kFan, 2, nullptr), -8); };
    EXPECT_EQ(logged_by(DFD_DEBUG_ERR, read), "input arguments error\r\n");
}

TEST_F(FanTest, SpeedLevelsAreConvertedWhenWritten) {
    start(kLevels + cfg("fan_cfg_speed.2=at:33") +
          "fan_speedlvl_convert_7=-6\nfan_speedlvl_convert_8=-1\nfan_speedlvl_convert_9=0\n");
    struct Row {
        std::uint8_t rotor;
        std::uint32_t level;
        int code;
        std::size_t writes;
        std::uint8_t written;
        const char *message;
    };
    const Row kRows[] = {
        {2, 1, 0, 1, 0x10, ""},
        {2, 3, 0, 1, 3, "get fan speed level[3] regval convert info ctrl fail, key=0x0e000300\r\n"},
        {2, 7, 0, 1, 7, ""},
        {2, 8, -5, 0, 7, ""},
        {2, 9, 0, 1, 0, ""},
        {1, 1, -6, 0, 0,
         "get info ctrl fail, key=0x6a000301\r\nset fan[fan_id=3 level=1] fail, rv=-6\r\n"},
    };
    for (const Row &row : kRows) {
        chassis.clear_log();
        const auto write = [&] {
            EXPECT_EQ(sdd_set_fan_speed_level(kFan, row.rotor, row.level), row.code);
        };
        EXPECT_EQ(logged_by(DFD_DEBUG_ERR, write), row.message);
        EXPECT_EQ(count(Op::write), row.writes);
        EXPECT_EQ(chassis.reg(kCpld, 0x21), row.written);
    }
}

TEST_F(FanTest, NumbersOfTraysAndRotors) {
    start(cfg("subfan_num=2 fan_temp=broken fan_real_speed.1=at:16") +
          "fan_num=4\nfan_mode.mode=config\nfan_mode.src=localbus\nfan_mode.frmt=byte\n"
          "fan_mode.len=1\nfan_mode.fpath=/dev/cpld0\nfan_mode.reg_offset=0x31\n"
          "fan_temp.mode_4=constant\nfan_temp.int_cons_4=-12\n");
    int number = 0;
    EXPECT_EQ(sdd_get_fan_num(kFan, &number), 0);
    EXPECT_EQ(number, 2);
    EXPECT_EQ(sdd_get_fan_num(4, &number), 0);
    EXPECT_EQ(number, 1);
    EXPECT_EQ(sdd_get_fan_num(4, nullptr), -8);
    EXPECT_EQ(sdd_get_sys_fan_num(), 4);
    EXPECT_EQ(sdd_get_fan_speed(kFan, 1, &number), 0);
    EXPECT_EQ(number, 5);
    EXPECT_EQ(sdd_get_fan_speed(kFan, 2, &number), -6);
    EXPECT_EQ(sdd_get_fan_temp(kFan), 65535);
    EXPECT_EQ(sdd_get_fan_temp(4), -12);
    EXPECT_EQ(sdd_get_fan_temp(5), -6);
    EXPECT_EQ(sdd_set_fan_mode(1), 0);
    EXPECT_EQ(chassis.reg(kCpld, 0x31), 1);
    EXPECT_EQ(dfd_dev_remap_fanid(7), 7);
}

TEST_F(FanTest, TypeByLayout) {
    struct Row {
        const char *items;
        Bytes image;
        int type;
        const char *message = "";  // the last error
        const char *more = kTrayNames;
    };
    const std::vector<Row> rows = {
        {"", kTlvTray, -6},
        {"fan_type=tlv", kTlvTray, 0x23},
        {"fan_type=tlv", Bytes(256, 0), -1},
        {"fan_type=fru", Bytes(256, 0), -1},
        {"fan_type=legacy", kLegacyTray, 0x2A},
        {"fan_type=fru", kFruTray, 7},
        {"fan_type=fru", tray_image("\x84\x03\x02\x01"), 0x01020384},
        // The length is that of the name as read, the look-up that of the name without spaces.
        {"fan_type=fru", tray_image("A B "), 0x20422041, "get fan type by name[AB] fail\r\n"},
        {"fan_type=fru", tray_image("TRAY 2"), -5, "get fan[3] type faile\r\n"},
        {"fan_type=fru", tray_image(std::string(63, 'F')), -5, "get fan[3] type faile\r\n"},
        {"fan_type=fru", kTlvTray, 0x23, "get fan type by name[#] fail\r\n"},
        {"fan_type=77", {}, 77},
        {"fan_type=broken", {}, -7, "get fan[0] type fail, rv=-7\r\n"},
    };
    for_rows(rows, [&](const Row &row) {
        const auto read = [&] { EXPECT_EQ(sdd_get_fan_type(kFan), row.type); };
        EXPECT_THAT(logged_by(DFD_DEBUG_ERR, read), EndsWith(row.message));
    });
}

TEST_F(FanTest, NamesAreTracedAsReadAndAsLookedUp) {
    start(cfg("fan_type=fru") + kTrayNames);
    chassis.set_slave(kTrayBus, kTrayAddr, 0, tray_image("A B C"));
    EXPECT_THAT(logged_by(DFD_DEBUG_VBOSE, [] { sdd_get_fan_type(kFan); }),
                EndsWith("fan  name[A B C] to new[ABC]\r\nget fan type by name[A B C] fail\r\n"));
    std::vector<char> exact(4);
    EXPECT_EQ(sdd_fan_name_remove_sp(exact.data(), " A\tB "), 0);
    EXPECT_STREQ(exact.data(), "A\tB");
    EXPECT_EQ(sdd_fan_name_remove_sp(exact.data(), nullptr), -8);
    EXPECT_EQ(sdd_fan_name_remove_sp(nullptr, "A"), -8);
}

TEST_F(FanTest, AirflowByTheNameOfTheType) {
    struct Row {
        const char *items;
        int code;
        int attr;
        const char *more = "";
    };
    const std::vector<Row> rows = {
        {"fan_type=5", 0, 1, "fan_attr_type_5=-F\n"},
        {"fan_type=65541", 0, 2, "fan_attr_type_5=-Rear\n"},  // 16 bits of the type
        {"fan_type=5", 0, 0, "fan_attr_type_5=F\n"},
        {"fan_type=5", 0, 0, "fan_attr_type_5=\n"},
        {"fan_type=5", 0, 0, "fan_attr_type_5=A-F\n"},
        {"fan_type=5", -6, 99},
    };
    for_rows(rows, [&](const Row &row) {
        int attr = 99;
        EXPECT_EQ(sdd_get_fan_attribute(kFan, 12, &attr), row.code);
        EXPECT_EQ(attr, row.attr);
    });
    start("fan_attr_type_65530=-R\n");
    int attr = 99;
    const auto read = [&] { EXPECT_EQ(sdd_get_fan_attribute(kFan, 0, &attr), 0); };
    EXPECT_EQ(logged_by(DFD_DEBUG_ERR | DFD_DEBUG_VBOSE, read),
              "dfd_pub_get_fan_type fan_id 3 failed ret -6.\n"
              "fan_id 3 fan_type 0xfffffffa attr_name -R.\n"
              "fan_id 3 fan_type 0xfffffffa attr 2.\n");
    EXPECT_EQ(attr, 2) << "the code of a tray without type is looked up too";
    const auto refused = [] { EXPECT_EQ(sdd_get_fan_attribute(kFan, 0, nullptr), -5); };
    EXPECT_EQ(logged_by(DFD_DEBUG_ERR, refused), "input arguments error\r\n");
}

using Getter = int (*)(std::uint32_t, char *, int *);

// One call of a text getter: its buffer has exactly `size` bytes, all '~'. In the expected bytes a
// '|' is a terminator.
struct TextRow {
    const char *items;
    Bytes image;
    std::size_t size;
    int capacity;
    int code;
    int len;
    std::string bytes;
};

void expect_text(Getter getter, const TextRow &row) {
    dfd_test::DirtyBuffer buf(row.size);
    int len = row.capacity;
    EXPECT_EQ(getter(kFan, buf.data(), &len), row.code);
    EXPECT_EQ(len, row.len);
    EXPECT_EQ(buf.shown().substr(0, row.bytes.size()), row.bytes);
}

TEST_F(FanTest, SerialNumberByLayout) {
    const std::string longest(200, 'S');
    const Bytes long_image = tlv_image(1, 0, 0, tlv_entry(3, bytes_of(longest)));
    const std::vector<TextRow> rows = {
        {"", {}, 21, 4, -6, 4, "~"},
        // The capacity plays no part where it is not that of a FRU query.
        {"fan_sn=tlv", kTlvTray, 256, 0, 0, 7, "SN-0001|~"},
        {"fan_sn=tlv", long_image, 256, 4, 0, 200, longest + "|~"},
        {"fan_sn=tlv", kLegacyTray, 256, 4, -1, 4, "~"},
        {"fan_sn=legacy", kLegacyTray, 21, 21, 0, 21, "1234567890ABC|~"},
        {"fan_sn=legacy", kLegacyTray, 13, 13, 0, 13, "1234567890ABC"},
        {"fan_sn=fru", kFruTray, 21, 21, 0, 7, "SN-0002|~"},
        {"fan_sn=fru", kFruTray, 7, 7, 0, 7, "SN-0002"},
        {"fan_sn=fru", kFruTray, 3, 3, 0, 3, "SN-"},
        {"fan_sn=fru", kFruTray, 3, 0, -22, 0, "~"},
        {"fan_sn=text:6", {}, 21, 0, 0, 6, "ABCDEF|~"},
        {"fan_sn=text:21", {}, 21, 0, 0, 20, "ABCDEFGHIJKLMNOPQRST|"},
        {"fan_sn=text:22", {}, 21, 4, -5, 4, "~"},
    };
    for_rows(rows, [](const TextRow &row) { expect_text(sdd_get_fan_sn, row); });
}

TEST_F(FanTest, HardwareVersionByLayout) {
    const std::vector<TextRow> rows = {
        {"fan_hw_ver=tlv", kTlvTray, 21, 21, 0, 4, "1.20|~"},
        {"fan_hw_ver=tlv", kTlvTray, 3, 3, -1, 3, "~~~"},
        {"fan_hw_ver=fru", kFruTray, 21, 21, 0, 4, "1.23|~"},
        {"fan_hw_ver=legacy", kLegacyTray, 21, 21, 0, 5, "V1.23|~"},
        {"fan_hw_ver=8449", {}, 21, 0, 0, 5, "V1.12|~"},  // 0x2101
        {"fan_hw_ver=2565", {}, 21, 0, 0, 5, "V5.a0|~"},  // 0x0A05
        {"fan_hw_ver=-1", {}, 21, 0, 0, 6, "Vff.ff|~"},
        {"fan_hw_ver=broken", {}, 21, 4, -7, 4, "~"},
    };
    for_rows(rows, [](const TextRow &row) { expect_text(sdd_get_fan_hw_version, row); });
}

TEST_F(FanTest, SoftwareVersionsOfThreeOrFourBytesComeFromTheEeprom) {
    const Bytes entry = tlv_image(1, 0, 0, tlv_entry(0, bytes_of("9.9")));
    const Bytes long_entry = tlv_image(1, 0, 0, tlv_entry(0, Bytes(40, 'x')));
    const Bytes padded = tlv_image(1, 0, 0, tlv_entry(0, bytes_of("1.00" + std::string(17, '\0'))));
    const std::vector<TextRow> rows = {
        {"", {}, 21, 4, -6, 4, "~"},
        {"fan_sw_ver=text:8", {}, 21, 0, 0, 8, "ABCDEFGH|~"},
        {"fan_sw_ver=text:21", {}, 21, 0, 0, 20, "ABCDEFGHIJKLMNOPQRST|"},
        {"fan_sw_ver=tlv", entry, 21, 21, -5, 21, "~"},
        {"fan_sw_ver=chip:3", entry, 21, 21, 0, 3, "9.9|~"},
        {"fan_sw_ver=chip:4", entry, 21, 21, 0, 3, "9.9|~"},
        {"fan_sw_ver=chip:3", kTlvTray, 21, 21, -1, 21, "~"},
        {"fan_sw_ver=chip:3", long_entry, 256, 256, 0, 40, std::string(40, 'x') + "|~"},
        {"fan_sw_ver=chip:3", long_entry, 21, 21, -1, 21, "~"},
        // A version that fills the buffer gives up its last character for the terminator.
        {"fan_sw_ver=chip:3", long_entry, 40, 40, 0, 39, std::string(39, 'x') + "|"},
        {"fan_sw_ver=chip:3", long_entry, 41, 41, 0, 40, std::string(40, 'x') + "|"},
        {"fan_sw_ver=chip:3", padded, 21, 21, 0, 4, "1.00|~"},
        {"fan_sw_ver=chip:3", entry, 21, 0, -22, 0, "~"},
    };
    for_rows(rows, [](const TextRow &row) { expect_text(sdd_get_fan_sw_version, row); });
}

TEST_F(FanTest, CpldVersionReturnsTheCountAndLeavesTheBuffer) {
    start(cfg("fan_cpld_version=text:8"));
    expect_text(sdd_get_fan_cpld_version, {"", {}, 21, 5, 8, 5, std::string(21, '~')});
    int len = 5;
    EXPECT_EQ(sdd_get_fan_cpld_version(kFan, nullptr, &len), -8);
    EXPECT_EQ(sdd_get_fan_cpld_version(kFan + 1, nullptr, &len), -6);
}

TEST_F(FanTest, InventoryIsWrittenBetweenLiftingAndRestoringProtection) {
    struct Row {
        const char *items;
        Bytes image;
        const char *hw;
        int code;
        std::size_t at;
        Bytes after;
    };
    const Bytes sn = bytes_of("ABCDEFGHIJKLM");
    const std::vector<Row> rows = {
        {"fan_hw_ver=tlv", tlv_image(1, 0, 0, tlv_entry(3, Bytes(14, '#'))), nullptr, 0, 8, sn},
        {"fan_hw_ver=tlv", kLegacyTray, nullptr, -1, 0, {0x2A}},
        {"fan_hw_ver=fru", tray_image("FAN", "1.23", "1234567890123"), "2.34", 0, 31, sn},
        {"fan_hw_ver=legacy", kLegacyTray, "2.34", 0, 0, Bytes{0x55} + sn + Bytes{0x02, 0x43}},
        {"fan_hw_ver=legacy", kLegacyTray, "bad", -1, 0, {0x2A}},
        {"fan_hw_ver=broken", kLegacyTray, "2.34", 3, 0, {0x2A}},
        {"fan_hw_ver=legacy e2_write_protect=at:27", kLegacyTray, "2.34", 0, 1, sn},
    };
    const std::uint32_t type = 0x155;
    for_rows(rows, [&](const Row &row) {
        EXPECT_EQ(sdd_set_fan_info_with_type(kFan, &type, "ABCDEFGHIJKLM", row.hw), row.code);
        const Bytes image = chassis.slave(kTrayBus, kTrayAddr);
        EXPECT_TRUE(std::equal(row.after.begin(), row.after.end(),
                               image.begin() + static_cast<std::ptrdiff_t>(row.at)));
        const bool has_signal = std::string(row.items).find(' ') != std::string::npos;
        EXPECT_THAT(accesses(Op::write), has_signal
                                             ? ElementsAre("write /dev/cpld0 @0x001b [00] = 1",
                                                           "write /dev/cpld0 @0x001b [ff] = 1")
                                             : ElementsAre("write /dev/cpld0 @0x0039 [f0] = 1",
                                                           "write /dev/cpld0 @0x0039 [ff] = 1"));
        // All of the EEPROM's transfers lie between the two.
        std::string order;
        for (const vchassis::Event &event : chassis.log()) {
            order += event.op == Op::write ? "w" : event.op == Op::transfer ? "t" : "";
        }
        EXPECT_TRUE(order.starts_with('w') && order.ends_with('w')) << order;
    });
    start("");
    EXPECT_EQ(sdd_set_fan_info(kFan, "SN", "1.00"), -6);
    EXPECT_TRUE(chassis.log().empty());
}

// Nothing is read of an item in mode tlv or fru: the code is no failure, and the value stays.
TEST_F(FanTest, ItemsOfAnEepromWhereAnIntegerIsAskedFor) {
    struct Row {
        const char *items;  // '%' stands for the mode
        std::function<int(int *)> call;
        bool gives_mode;
        int result, value;
    };
    const Row kRows[] = {
        {"fan_state=%", [](int *) { return sdd_get_fan_status(kFan); }, false, 0, 99},
        {"fan_state=1 fan_fail_status=%", [](int *) { return sdd_get_fan_status(kFan); }, false, 1,
         99},
        {"fan_state=1 fan_line_fail=%", [](int *) { return sdd_get_fan_status(kFan); }, false, 1,
         99},
        {"fan_line_fail=%", [](int *out) { return sdd_get_fan_line_fail_status(kFan, out); }, false,
         0, 99},
        {"fan_fail_bmp=%", [](int *out) { return sdd_get_fan_fail_bmp(kFan, out); }, true, 0, 0},
        {"subfan_num=%", [](int *out) { return sdd_get_fan_num(kFan, out); }, true, 0, 99},
        {"fan_real_speed.1=%", [](int *out) { return sdd_get_fan_speed(kFan, 1, out); }, false, 0,
         99},
        {"get_fan_cfg_speed.1=%", [](int *out) { return sdd_get_fan_speed_level(kFan, 1, out); },
         false, 0, 99},
        {"fan_temp=%", [](int *) { return sdd_get_fan_temp(kFan); }, false, 0, 99},
        {"fan_cfg_speed.1=%", [](int *) { return sdd_set_fan_speed_level(kFan, 1, 2); }, false, -5,
         99},
    };
    for (const Row &row : kRows) {
        for (const auto &[word, code] : {std::pair{"tlv", 3}, {"fru", 4}}) {
            in_own_process(std::string(row.items) + word, [&, mode = word, rv = code] {
                std::string items = row.items;
                start(cfg(items.replace(items.find('%'), 1, mode)));
                int value = 99;
                EXPECT_EQ(row.call(&value), row.gives_mode ? rv : row.result);
                EXPECT_EQ(value, row.value);
                EXPECT_EQ(count(Op::transfer) + count(Op::read) + count(Op::write), 0U);
            });
        }
    }
}

TEST_F(FanTest, MessagesNameTheirFunctions) {
    struct Row {
        const char *items;
        std::function<void()> call;
        std::string functions;
        const char *more = "";
    };
    const std::function<void()> status = [] { sdd_get_fan_status(kFan); };
    const std::function<void()> level = [] {
        int value = 0;
        sdd_get_fan_speed_level(kFan, 2, &value);
    };
    const std::function<void()> type = [] { sdd_get_fan_type(kFan); };
    const std::string broken = "sdd_read_info_localbus dfd_info_get_int ";
    const Row kRows[] = {
        {"", status, "sdd_get_fan_status "},
        {"fan_state=broken", status, broken + "sdd_get_fan_status "},
        {"fan_state=1 fan_fail_status=broken", status,
         broken + "sdd_get_fan_fail_status sdd_get_fan_status "},
        {"fan_state=1 fan_line_fail=broken", status,
         broken + "sdd_get_fan_line_fail_status sdd_get_fan_status "},
        {"fan_state=1 fan_line_fail=unusable", status,
         "dfd_info_get_int sdd_get_fan_line_fail_status sdd_get_fan_status "},
        {"fan_real_speed.1=9 get_fan_cfg_speed.1=broken fan_state=1", status,
         broken + "sdd_get_fan_speed_level sdd_get_fan_fail_status_by_speed sdd_get_fan_status ",
         kFloor},
        {"fan_state=broken",
         [] {
             int bitmap = 0;
             sdd_get_fan_fail_bmp(kFan, &bitmap);
         },
         broken + "sdd_get_fan_status sdd_get_fan_fail_bmp "},
        {"", level, "sdd_get_fan_speed_level "},
        {"get_fan_cfg_speed.2=num:32", level,
         "dfd_lib_cfg_get_fan_speedlvl_by_regval sdd_get_fan_speed_level_by_buf dfd_info_get_int "
         "sdd_get_fan_speed_level ",
         "fan_speed_level_support=1\n"},
        {"", [] { sdd_get_fan_speed_level(kFan, 2, nullptr); }, "sdd_get_fan_speed_level "},
        {"", [] { sdd_set_fan_speed_level(kFan, 2, 1); },
         "sdd_get_fan_speed_regval_by_level dfd_info_set_int sdd_set_fan_speed_level "},
        {"fan_type=broken", type, broken + "sdd_get_fan_type "},
        {"", [] { sdd_get_fan_attribute(kFan, 0, nullptr); }, "sdd_get_fan_attribute "},
        {"fan_type=broken",
         [] {
             int attr = 0;
             sdd_get_fan_attribute(kFan, 0, &attr);
         },
         broken + "sdd_get_fan_type sdd_get_fan_attribute "},
    };
    for (const Row &row : kRows) {
        in_own_process(row.functions, [&] {
            start(cfg(row.items) + row.more);
            EXPECT_EQ(dfd_test::functions_logged_by(DFD_DEBUG_ERR, row.call), row.functions);
        });
    }
    start(cfg("fan_type=fru") + "fan_attr_type_7=-F\n" + kTrayNames);
    chassis.set_slave(kTrayBus, kTrayAddr, 0, tray_image("TRAY 2"));
    const std::string trace = dfd_test::functions_logged_by(DFD_DEBUG_VBOSE, type);
    EXPECT_THAT(trace,
                EndsWith("sdd_get_e2prom_info_by_type_fru sdd_get_fan_type sdd_get_fan_type "));
    EXPECT_THAT(dfd_test::functions_logged_by(DFD_DEBUG_ERR, type),
                EndsWith("dfd_lib_cfg_get_fan_type_by_name sdd_get_fan_type "));
}

}  // namespace
