// SPDX-License-Identifier: MIT
#include <numeric>

#include "support/library_test.h"

namespace {

using dfd_test::Bytes;
using dfd_test::bytes_of;
using dfd_test::e2prom_image;
using dfd_test::in_own_process;
using dfd_test::logged_by;
using dfd_test::printed_by;
using dfd_test::tlv_entry;
using dfd_test::tlv_image;
using dfd_test::operator+;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using vchassis::Op;

constexpr int kFan = 3;
constexpr char kCpld[] = "/dev/cpld0";
constexpr int kBus = 1;
constexpr int kAddr = 0x53;

// Lines of an item of the tray, of rotor `rotor` if not 0. Members are "mode=config src=i2c ...".
std::string item(const std::string &key, std::string_view members, int rotor = 0) {
    const std::string index = "_3" + (rotor != 0 ? "_" + std::to_string(rotor) : "") + "=";
    std::string lines;
    while (!members.empty()) {
        const std::string_view each = members.substr(0, members.find(' '));
        members.remove_prefix(std::min(each.size() + 1, members.size()));
        const std::size_t equals = each.find('=');
        lines += key + "." + std::string(each.substr(0, equals)) + index +
                 std::string(each.substr(equals + 1)) + "\n";
    }
    return lines;
}
std::string constant(const std::string &key, int value, int rotor = 0) {
    return item(key, "mode=constant int_cons=" + std::to_string(value), rotor);
}
std::string reg(const std::string &key, int offset, int rotor = 0,
                const std::string &frmt = "byte") {
    return item(key,
                "mode=config src=localbus len=1 fpath=/dev/cpld0 frmt=" + frmt +
                    " reg_offset=" + std::to_string(offset),
                rotor);
}
// Its device is not there.
std::string broken(const std::string &key, int rotor = 0) {
    return item(key, "mode=config src=localbus frmt=byte len=1 fpath=/dev/cpld7", rotor);
}
std::string on_i2c(const std::string &key, int addr) {
    return item(
        key, "mode=config src=i2c frmt=byte len=1 fpath=/dev/i2c-1 addr=" + std::to_string(addr));
}
std::string e2prom(const std::string &key, const std::string &mode) {
    return item(key, "fpath=/dev/i2c-1 addr=0x53 mode=" + mode);
}
std::string buffer(const std::string &key, int len) {
    return item(key, "mode=config src=localbus frmt=buf fpath=/dev/cpld0 reg_offset=0x40 len=" +
                         std::to_string(len));
}
std::string rotor(int number, int speed, int level) {
    return constant("fan_real_speed", speed, number) + constant("get_fan_cfg_speed", level, number);
}

const std::string kPresent = constant("fan_state", 1);
const std::string kFloor = "fan_speed_floor=100\n";

void put_checksum(Bytes &bytes) {
    bytes.back() = static_cast<std::uint8_t>(-std::accumulate(bytes.begin(), bytes.end() - 1, 0));
}

// A FRU image with these fields in front of its product info area.
Bytes fru_image(const std::vector<std::string> &fields) {
    Bytes header = {1, 0, 0, 0, 1, 0, 0, 0};
    put_checksum(header);
    Bytes area = {1, 16, 25};
    for (const std::string &field : fields) {
        area = area + Bytes{static_cast<std::uint8_t>(0xC0 | field.size())} + bytes_of(field);
    }
    area.push_back(0xC1);
    area.resize(128);
    put_checksum(area);
    return e2prom_image({{0, header + area}});
}
Bytes fru_image(const std::string &name, const std::string &version, const std::string &sn) {
    return fru_image({"MAKER", name, "P/N", version, sn, "", ""});
}
Bytes legacy_image() {
    return e2prom_image({{0, Bytes{0x2A} + bytes_of("1234567890ABC") + Bytes{0x01, 0x32}}});
}

class FanTest : public dfd_test::LibraryTest {
  protected:
    FanTest() {
        chassis.describe("[[registers]]\npath = \"/dev/cpld0\"\nsize = 256\n");
        add_e2prom(kBus, kAddr, Bytes(256, 0xFF));
    }
    void put(std::uint32_t at, std::string_view text) {
        for (const char character : text) {
            chassis.set_reg(kCpld, at++, static_cast<std::uint8_t>(character));
        }
    }
    std::vector<std::int64_t> registers(Op op) const {
        std::vector<std::int64_t> offsets;
        for (const vchassis::Event &event : chassis.log(op)) {
            offsets.push_back(event.offset);
        }
        return offsets;
    }
};

TEST_F(FanTest, StatusByPresenceThenFailureThenLine) {
    chassis.set_reg(kCpld, 0x10, 5);
    chassis.set_reg(kCpld, 0x11, 1);
    chassis.set_slave(kBus, kAddr, 0, Bytes{1});
    const std::string seen = reg("fan_state", 0x10);
    const std::string failed = reg("fan_fail_status", 0x11);
    const std::string line = reg("fan_line_fail", 0x12);
    const std::string line_failed = reg("fan_line_fail", 0x11);
    struct Row {
        const char *name;
        std::string config;
        int status;
        std::vector<std::int64_t> reads;
        const char *message;  // the last one
    };
    const Row kRows[] = {
        {"unknown", "", -6, {}, "fan[3] state not support\r\n"},
        {"unreadable", broken("fan_state"), -7, {}, "get fan[3] state fail, rv=-7\r\n"},
        {"unusable", item("fan_state", "mode=config"), -7, {}, "get fan[3] state fail, rv=-5\r\n"},
        {"absent", reg("fan_state", 0x12) + failed + line_failed, 0, {0x12}, ""},
        {"no value", item("fan_state", "mode=tlv") + failed, 0, {}, ""},
        {"healthy", seen + line + reg("fan_fail_status", 0x12), 5, {0x10, 0x12, 0x12}, ""},
        {"nothing else", seen, 5, {0x10}, ""},
        {"failed", seen + failed + line_failed, 2, {0x10, 0x11}, ""},
        {"fail flag unreadable",
         seen + broken("fan_fail_status") + line_failed,
         -7,
         {0x10},
         "get fan[3] fail bmp fail, rv=-7\r\n"},
        {"fail flag without value", seen + item("fan_fail_status", "mode=fru"), 5, {0x10}, ""},
        {"line failed", seen + line_failed, 3, {0x10, 0x11}, ""},
        {"line unreadable",
         seen + broken("fan_line_fail"),
         -7,
         {0x10},
         "read fan[3] line fail state fail\r\nget fan[3] line fail status fail, rv=-7\r\n"},
        {"line unusable",
         seen + item("fan_line_fail", "mode=config src=i2c"),
         -5,
         {0x10},
         "get fan[3] line fail state fail, rv=-5\r\n"
         "get fan[3] line fail status fail, rv=-5\r\n"},
        {"line device answers", seen + on_i2c("fan_line_fail", kAddr), 5, {0x10}, ""},
        {"line device silent",
         seen + on_i2c("fan_line_fail", 0x10),
         3,
         {0x10},
         "read fan[3] line fail state fail\r\n"},
        {"slow rotor", seen + failed + kFloor + rotor(1, 99, 1), 2, {0x10}, ""},
        {"good rotors, flag ignored", seen + failed + kFloor + rotor(1, 100, 1), 5, {0x10}, ""},
        {"floor, level not configured",
         seen + failed + kFloor + constant("fan_real_speed", 9, 1),
         2,
         {0x10, 0x11},
         "get fan[3 1] speed level fail, rv=-6\r\n"},
    };
    for (const Row &row : kRows) {
        in_own_process(row.name, [&] {
            start(row.config);
            EXPECT_THAT(
                logged_by(DFD_DEBUG_ERR, [&] { EXPECT_EQ(sdd_get_fan_status(kFan), row.status); }),
                EndsWith(row.message));
            EXPECT_EQ(registers(Op::read), row.reads);
        });
    }
}

TEST_F(FanTest, RotorsAreJudgedBySpeedAndLevel) {
    struct Row {
        const char *name;
        std::string config;
        int code;
        int bitmap;
    };
    const Row kRows[] = {
        {"one rotor by default", rotor(1, 99, 1) + rotor(2, 0, 1), 0, 1},
        {"at the floor", rotor(1, 100, 1), 0, 0},
        {"commanded to stand", rotor(1, 0, 0) + constant("subfan_num", 2) + rotor(2, 0, -1), 0, 0},
        {"rotor without speed is passed over",
         constant("subfan_num", 3) + rotor(1, 0, 1) + constant("get_fan_cfg_speed", 1, 2) +
             rotor(3, 99, 7),
         0, 5},
        {"unreadable speed is 0", broken("fan_real_speed", 1) + constant("get_fan_cfg_speed", 1, 1),
         0, 1},
        {"speed without value is 0",
         item("fan_real_speed", "mode=tlv", 1) + constant("get_fan_cfg_speed", 1, 1), 0, 1},
        {"negative floor", "fan_speed_floor=-5\n" + broken("fan_real_speed", 1), 0, 0},
        {"level unreadable",
         constant("subfan_num", 2) + rotor(1, 0, 1) + constant("fan_real_speed", 0, 2) +
             broken("get_fan_cfg_speed", 2),
         -7, 0},
        {"count unreadable", broken("subfan_num") + rotor(1, 0, 1) + rotor(2, 0, 1), 0, 1},
        {"count without value", item("subfan_num", "mode=fru") + rotor(1, 0, 1), 0, 1},
        {"count 0", constant("subfan_num", 0) + rotor(1, 0, 1), 0, 0},
        {"count far too high", constant("subfan_num", 0x7FFFFFFF) + rotor(16, 0, 1), 0, 0x8000},
        {"bitmap goes first", constant("fan_fail_bmp", 6) + rotor(1, 0, 1), 0, 6},
        {"bitmap unreadable", broken("fan_fail_bmp") + rotor(1, 0, 1), -7, 0},
        {"bitmap without value", item("fan_fail_bmp", "mode=fru") + rotor(1, 0, 1), 4, 0},
        {"no level: by the state", kPresent + constant("fan_real_speed", 0, 1), 1, 0},
    };
    for (const Row &row : kRows) {
        in_own_process(row.name, [&] {
            start(kFloor + row.config);
            int bitmap = 99;
            EXPECT_EQ(sdd_get_fan_fail_bmp(kFan, &bitmap), row.code);
            EXPECT_EQ(bitmap, row.bitmap);
        });
    }
}

TEST_F(FanTest, BitmapFallsBackToTheState) {
    struct Row {
        std::string config;
        int code;
        int bitmap;
        const char *message;
    };
    const Row kRows[] = {
        {kPresent, 1, 0, ""},
        {kPresent + constant("fan_fail_status", 1), 2, 1, ""},
        {kPresent + constant("fan_line_fail", 1), 3, 0, ""},
        {constant("fan_state", 0), -1, 0, ""},
        {"", -1, 0, "fan[3] state not support\r\ndfd get fan status failed.\n"},
    };
    for (const Row &row : kRows) {
        in_own_process(row.config, [&] {
            start(row.config);
            int bitmap = 99;
            EXPECT_EQ(logged_by(DFD_DEBUG_ERR,
                                [&] { EXPECT_EQ(sdd_get_fan_fail_bmp(kFan, &bitmap), row.code); }),
                      row.message);
            EXPECT_EQ(bitmap, row.bitmap);
        });
    }
    EXPECT_EQ(sdd_get_fan_fail_bmp(kFan, nullptr), -8);
}

TEST_F(FanTest, LineFailureOfAnUnconfiguredLineLeavesTheFlag) {
    start(broken("fan_line_fail"));
    int fail = 42;
    EXPECT_EQ(sdd_get_fan_line_fail_status(kFan + 1, &fail), 0);
    EXPECT_EQ(sdd_get_fan_line_fail_status(kFan, &fail), -7);
    EXPECT_EQ(fail, 42);
    EXPECT_EQ(sdd_get_fan_line_fail_status(kFan, nullptr), -8);
}

const std::string kLevels = "fan_speedlvl_convert_1=0x10\nfan_speedlvl_convert_2=0x24\n";

TEST_F(FanTest, SpeedLevelsAreConvertedInBothDirections) {
    struct Row {
        const char *name;
        std::string config;
        std::uint8_t regval;
        int code;
        int level;
        const char *message;
    };
    const std::string byte = reg("get_fan_cfg_speed", 0x20, 2, "num_buf");
    const std::string support = "fan_speed_level_support=0\n";
    const Row kRows[] = {
        {"as it is", byte + kLevels, 0x24, 0, 0x24, ""},
        {"converted", byte + kLevels + support, 0x24, 0, 2, ""},
        {"field", reg("get_fan_cfg_speed", 0x20, 2, "bit") + kLevels + support, 0xFF, -6, 99,
         "get fan speed level by regval[0x1] fail\r\n"
         "get fan speed level by regval[1] fail, rv=-1\r\n"
         "info ctrl[key=0x6c000302] bit process fail, rv=-6\r\n"
         "get fan[3 2] real speed fail, rv=-6\r\n"},
        {"not by a processor", reg("get_fan_cfg_speed", 0x20, 2) + kLevels + support, 0x24, 0, 0x24,
         ""},
        {"not configured", "", 0, -6, 99, "get fan[3 2] real speed fail, rv=-6\r\n"},
        {"without value", item("get_fan_cfg_speed", "mode=tlv", 2), 0, 0, 99, ""},
    };
    for (const Row &row : kRows) {
        in_own_process(row.name, [&] {
            start(row.config);
            chassis.set_reg(kCpld, 0x20, row.regval);
            int level = 99;
            EXPECT_EQ(
                logged_by(DFD_DEBUG_ERR,
                          [&] { EXPECT_EQ(sdd_get_fan_speed_level(kFan, 2, &level), row.code); }),
                row.message);
            EXPECT_EQ(level, row.level);
        });
    }
    EXPECT_EQ(
        logged_by(DFD_DEBUG_ERR, [] { EXPECT_EQ(sdd_get_fan_speed_level(kFan, 2, nullptr), -8); }),
        "input arguments error\r\n");
}

TEST_F(FanTest, SpeedLevelsAreWrittenAsRegisterValues) {
    start(kLevels + "fan_speedlvl_convert_7=-6\nfan_speedlvl_convert_8=-1\n" +
          reg("fan_cfg_speed", 0x21, 2) + item("fan_mode", "mode=tlv"));
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
        {1, 1, -6, 0, 7,
         "get info ctrl fail, key=0x6a000301\r\nset fan[fan_id=3 level=1] fail, rv=-6\r\n"},
    };
    for (const Row &row : kRows) {
        chassis.clear_log();
        EXPECT_EQ(
            logged_by(
                DFD_DEBUG_ERR,
                [&] { EXPECT_EQ(sdd_set_fan_speed_level(kFan, row.rotor, row.level), row.code); }),
            row.message);
        EXPECT_EQ(count(Op::write), row.writes);
        EXPECT_EQ(chassis.reg(kCpld, 0x21), row.written);
    }
}

TEST_F(FanTest, NumbersOfTraysAndRotors) {
    start(constant("subfan_num", 2) + broken("fan_temp") + reg("fan_real_speed", 0x30, 1) +
          "fan_num=4\nfan_mode.mode=config\nfan_mode.src=localbus\nfan_mode.frmt=byte\n"
          "fan_mode.len=1\nfan_mode.fpath=/dev/cpld0\nfan_mode.reg_offset=0x31\n"
          "fan_temp.mode_4=constant\nfan_temp.int_cons_4=-12\n");
    chassis.set_reg(kCpld, 0x30, 200);
    int number = 0;
    EXPECT_EQ(sdd_get_fan_num(kFan, &number), 0);
    EXPECT_EQ(number, 2);
    EXPECT_EQ(sdd_get_fan_num(4, &number), 0);
    EXPECT_EQ(number, 1);
    EXPECT_EQ(sdd_get_fan_num(4, nullptr), -8);
    EXPECT_EQ(sdd_get_sys_fan_num(), 4);
    EXPECT_EQ(sdd_get_fan_speed(kFan, 1, &number), 0);
    EXPECT_EQ(number, 200);
    EXPECT_EQ(logged_by(DFD_DEBUG_ERR, [&] { EXPECT_EQ(sdd_get_fan_speed(kFan, 2, &number), -6); }),
              "");
    EXPECT_EQ(sdd_get_fan_temp(kFan), 65535);
    EXPECT_EQ(sdd_get_fan_temp(4), -12);
    EXPECT_EQ(sdd_get_fan_temp(5), -6);
    EXPECT_EQ(sdd_set_fan_mode(1), 0);
    EXPECT_EQ(chassis.reg(kCpld, 0x31), 1);
    EXPECT_EQ(dfd_dev_remap_fanid(7), 7);
}

TEST_F(FanTest, TypeByLayout) {
    struct Row {
        const char *name;
        std::string config;
        Bytes image;
        int type;
        const char *message;  // the last error
    };
    const std::string fru = e2prom("fan_type", "fru");
    const std::string names = "fan_name_9_0=FAN-40\nfan_name_7_1=FANTRAY2\n";
    const Row kRows[] = {
        {"none", "", {}, -6, ""},
        {"tlv", e2prom("fan_type", "tlv"), tlv_image(1, 0, 0x23, tlv_entry(2, bytes_of("FAN"))),
         0x23, ""},
        {"no image", e2prom("fan_type", "tlv"), Bytes(256, 0), -1, ""},
        {"legacy", e2prom("fan_type", "legacy"), legacy_image(), 0x2A, ""},
        {"name", fru + names, fru_image("FAN TRAY 2 B", "", ""), 7, ""},
        {"bytes of a name", fru + names, fru_image("\x04\x03\x02\x01", "", ""), 0x01020304,
         "get fan type by name[\x04\x03\x02\x01] fail\r\n"},
        {"spaces count for the length", fru, fru_image("A B ", "", ""), 0x20422041,
         "get fan type by name[AB] fail\r\n"},
        {"tlv in a fru item", fru + names, tlv_image(1, 0, 0x23, tlv_entry(2, bytes_of("FAN"))),
         0x23, "get fan type by name[#] fail\r\n"},
        {"unknown name", fru + names, fru_image("TRAY 2", "", ""), -5, "get fan[3] type faile\r\n"},
        {"long name", fru + names, fru_image(std::string(63, 'F'), "", ""), -5,
         "get fan[3] type faile\r\n"},
        {"constant", constant("fan_type", 77), {}, 77, ""},
        {"unreadable", broken("fan_type"), {}, -7, "get fan[0] type fail, rv=-7\r\n"},
    };
    for (const Row &row : kRows) {
        in_own_process(row.name, [&] {
            start(row.config);
            chassis.set_slave(kBus, kAddr, 0, row.image);
            EXPECT_THAT(
                logged_by(DFD_DEBUG_ERR, [&] { EXPECT_EQ(sdd_get_fan_type(kFan), row.type); }),
                EndsWith(row.message));
        });
    }
}

TEST_F(FanTest, NamesAreTracedAsReadAndAsLookedUp) {
    start(e2prom("fan_type", "fru") + "fan_name_1_0=OTHER\n");
    chassis.set_slave(kBus, kAddr, 0, fru_image("A B C", "", ""));
    EXPECT_THAT(logged_by(DFD_DEBUG_VBOSE, [] { sdd_get_fan_type(kFan); }),
                EndsWith("fan  name[A B C] to new[ABC]\r\nget fan type by name[A B C] fail\r\n"));
    // A text without blanks needs all of its destination.
    std::vector<char> exact(4);
    EXPECT_EQ(sdd_fan_name_remove_sp(exact.data(), "A\tB"), 0);
    EXPECT_STREQ(exact.data(), "A\tB");
    EXPECT_EQ(sdd_fan_name_remove_sp(exact.data(), nullptr), -8);
    EXPECT_EQ(sdd_fan_name_remove_sp(nullptr, "A"), -8);
}

TEST_F(FanTest, AirflowByTheTypesName) {
    struct Row {
        int type;
        const char *name;
        int attr;
    };
    const Row kRows[] = {{5, "-F", 1}, {0x10005, "-Front", 1}, {6, "-R2", 2}, {7, "F", 0},
                         {8, "", 0},   {9, "A-F", 0}};
    for (const Row &row : kRows) {
        in_own_process(row.name, [&] {
            start(constant("fan_type", row.type) + "fan_attr_type_" +
                  std::to_string(row.type & 0xFFFF) + "=" + row.name + "\n");
            int attr = 99;
            EXPECT_EQ(sdd_get_fan_attribute(kFan, 12, &attr), 0);
            EXPECT_EQ(attr, row.attr);
        });
    }
    start("fan_attr_type_65530=-R\n");
    int attr = 99;
    EXPECT_EQ(logged_by(DFD_DEBUG_ERR | DFD_DEBUG_VBOSE,
                        [&] { EXPECT_EQ(sdd_get_fan_attribute(kFan, 0, &attr), 0); }),
              "dfd_pub_get_fan_type fan_id 3 failed ret -6.\n"
              "fan_id 3 fan_type 0xfffffffa attr_name -R.\n"
              "fan_id 3 fan_type 0xfffffffa attr 2.\n");
    EXPECT_EQ(attr, 2) << "the code of a tray without type is looked up too";
    EXPECT_EQ(
        logged_by(DFD_DEBUG_ERR, [] { EXPECT_EQ(sdd_get_fan_attribute(kFan, 0, nullptr), -5); }),
        "input arguments error\r\n");
}

TEST_F(FanTest, AirflowOfAnUnlistedTypeIsNotSupported) {
    start(constant("fan_type", 5));
    int attr = 99;
    EXPECT_EQ(sdd_get_fan_attribute(kFan, 0, &attr), -6);
    EXPECT_EQ(attr, 99);
}

using Getter = int (*)(std::uint32_t, char *, int *);

// A text getter with a buffer of exactly `size` bytes, which starts as '~', and a length.
struct Text {
    int code;
    int len;
    std::string bytes;
    bool operator==(const Text &) const = default;
    friend void PrintTo(const Text &text, std::ostream *out) {
        *out << text.code << ", " << text.len << ", " << testing::PrintToString(text.bytes);
    }
};
Text read_text(Getter getter, std::size_t size, int len, std::size_t shown) {
    std::vector<char> buf(size, '~');
    const int code = getter(kFan, buf.data(), &len);
    return {code, len, std::string(buf.begin(), buf.begin() + static_cast<std::ptrdiff_t>(shown))};
}

std::string terminated(std::string text) {
    text.push_back('\0');
    return text;
}

TEST_F(FanTest, InventoryTextsByLayout) {
    struct Row {
        const char *name;
        std::string config;
        Bytes image;
        Getter getter;
        std::size_t size;
        int len;
        Text text;
    };
    const std::string long_sn(200, 'S');
    const Bytes tlv = tlv_image(1, 0x12, 0, tlv_entry(3, bytes_of("SN-0001")));
    const Bytes fru = fru_image("FAN", "123", "SN-0002");
    const Row kRows[] = {
        {"sn tlv",
         e2prom("fan_sn", "tlv"),
         tlv,
         sdd_get_fan_sn,
         256,
         0,
         {0, 7, terminated("SN-0001") + "~"}},
        {"long sn tlv",
         e2prom("fan_sn", "tlv"),
         tlv_image(1, 0, 0, tlv_entry(3, bytes_of(long_sn))),
         sdd_get_fan_sn,
         256,
         4,
         {0, 200, terminated(long_sn) + "~"}},
        {"no sn tlv",
         e2prom("fan_sn", "tlv"),
         tlv_image(1, 0, 0, tlv_entry(2, bytes_of("FAN"))),
         sdd_get_fan_sn,
         256,
         4,
         {-1, 4, "~"}},
        {"sn fru",
         e2prom("fan_sn", "fru"),
         fru,
         sdd_get_fan_sn,
         21,
         21,
         {0, 7, terminated("SN-0002") + "~"}},
        {"sn fru, full buffer",
         e2prom("fan_sn", "fru"),
         fru,
         sdd_get_fan_sn,
         7,
         7,
         {0, 7, "SN-0002"}},
        {"sn fru, small buffer", e2prom("fan_sn", "fru"), fru, sdd_get_fan_sn, 3, 3, {0, 3, "SN-"}},
        {"sn fru, no buffer", e2prom("fan_sn", "fru"), fru, sdd_get_fan_sn, 3, 0, {-22, 0, "~"}},
        {"sn legacy",
         e2prom("fan_sn", "legacy"),
         legacy_image(),
         sdd_get_fan_sn,
         21,
         21,
         {0, 21, terminated("1234567890ABC") + "~"}},
        {"sn legacy, full buffer",
         e2prom("fan_sn", "legacy"),
         legacy_image(),
         sdd_get_fan_sn,
         13,
         13,
         {0, 13, "1234567890ABC"}},
        {"sn of an item",
         buffer("fan_sn", 12),
         {},
         sdd_get_fan_sn,
         21,
         0,
         {0, 6, terminated("SN 003") + "~"}},
        {"sn of a full item",
         buffer("fan_sn", 21),
         {},
         sdd_get_fan_sn,
         21,
         0,
         {0, 6, terminated("SN 003") + "~"}},
        {"sn of too long an item", buffer("fan_sn", 22), {}, sdd_get_fan_sn, 21, 4, {-5, 4, "~"}},
        {"sn none", "", {}, sdd_get_fan_sn, 21, 4, {-6, 4, "~"}},
        {"hw tlv, header",
         e2prom("fan_hw_ver", "tlv"),
         tlv,
         sdd_get_fan_hw_version,
         21,
         21,
         {0, 4, terminated("1.20") + "~"}},
        {"hw tlv, small buffer",
         e2prom("fan_hw_ver", "tlv"),
         tlv,
         sdd_get_fan_hw_version,
         3,
         3,
         {-1, 3, "~~~"}},
        {"hw fru",
         e2prom("fan_hw_ver", "fru"),
         fru,
         sdd_get_fan_hw_version,
         21,
         21,
         {0, 4, terminated("1.23") + "~"}},
        {"hw legacy",
         e2prom("fan_hw_ver", "legacy"),
         legacy_image(),
         sdd_get_fan_hw_version,
         21,
         21,
         {0, 5, terminated("V1.23") + "~"}},
        {"hw 0x2101",
         constant("fan_hw_ver", 0x2101),
         {},
         sdd_get_fan_hw_version,
         21,
         0,
         {0, 5, terminated("V1.12") + "~"}},
        {"hw 0x0A05",
         constant("fan_hw_ver", 0x0A05),
         {},
         sdd_get_fan_hw_version,
         21,
         0,
         {0, 5, terminated("V5.a0") + "~"}},
        {"hw -1",
         constant("fan_hw_ver", -1),
         {},
         sdd_get_fan_hw_version,
         21,
         0,
         {0, 6, terminated("Vff.ff") + "~"}},
        {"hw unreadable", broken("fan_hw_ver"), {}, sdd_get_fan_hw_version, 21, 4, {-7, 4, "~"}},
    };
    put(0x40, terminated("SN 003"));
    for (const Row &row : kRows) {
        in_own_process(row.name, [&] {
            start(row.config);
            chassis.set_slave(kBus, kAddr, 0, row.image);
            EXPECT_EQ(read_text(row.getter, row.size, row.len, row.text.bytes.size()), row.text);
        });
    }
}

TEST_F(FanTest, SoftwareVersionsOfThreeOrFourBytesComeFromTheEeprom) {
    const Bytes entry = tlv_entry(0, bytes_of("9.9"));
    struct Row {
        const char *name;
        std::string config;
        Bytes entries;
        int len;
        Text text;
    };
    const auto of_len = [](int len) {
        return item("fan_sw_ver", "mode=config src=i2c frmt=buf fpath=/dev/i2c-1 addr=0x53 len=" +
                                      std::to_string(len));
    };
    const Row kRows[] = {
        {"plain", buffer("fan_sw_ver", 8), {}, 0, {0, 8, terminated("ABCDEFGH") + "~"}},
        {"cut", buffer("fan_sw_ver", 21), {}, 0, {0, 20, terminated("ABCDEFGHIJKLMNOPQRST")}},
        {"mode tlv", e2prom("fan_sw_ver", "tlv"), entry, 21, {-5, 21, "~"}},
        {"3 bytes", of_len(3), entry, 21, {0, 3, terminated("9.9") + "~"}},
        {"4 bytes", of_len(4), entry, 21, {0, 3, terminated("9.9") + "~"}},
        {"no entry", of_len(3), tlv_entry(3, bytes_of("SN")), 21, {-1, 21, "~"}},
        {"no capacity", of_len(3), entry, 0, {-22, 0, "~"}},
        {"entry longer than the text",
         of_len(3),
         tlv_entry(0, Bytes(40, 'x')),
         256,
         {-1, 256, "~"}},
        {"none", "", {}, 4, {-6, 4, "~"}},
    };
    put(0x40, "ABCDEFGHIJKLMNOPQRSTU");
    for (const Row &row : kRows) {
        in_own_process(row.name, [&] {
            start(row.config);
            chassis.set_slave(kBus, kAddr, 0, tlv_image(1, 0, 0, row.entries));
            EXPECT_EQ(read_text(sdd_get_fan_sw_version, 21, row.len, row.text.bytes.size()),
                      row.text);
        });
    }
}

TEST_F(FanTest, CpldVersionReturnsTheCountAndLeavesTheBuffer) {
    start(buffer("fan_cpld_version", 8));
    EXPECT_EQ(read_text(sdd_get_fan_cpld_version, 21, 5, 21), (Text{8, 5, std::string(21, '~')}));
    int len = 5;
    EXPECT_EQ(sdd_get_fan_cpld_version(kFan + 1, nullptr, &len), -6);
    EXPECT_EQ(sdd_get_fan_cpld_version(kFan, nullptr, &len), -8);
}

// The writes to registers and EEPROM in their order: protection is lifted, then restored.
TEST_F(FanTest, InventoryIsWrittenBetweenLiftingAndRestoringProtection) {
    const std::string kSn = "ABCDEFGHIJKLM";
    const std::uint32_t type = 0x155;
    struct Row {
        const char *mode;
        Bytes before;
        const char *hw;
        int code;
        std::size_t at;
        Bytes after;
    };
    const Bytes tlv = tlv_image(1, 0, 0, tlv_entry(3, Bytes(14, '#')));
    const Row kRows[] = {
        {"tlv", tlv, nullptr, 0, 8, bytes_of(kSn)},
        {"tlv", Bytes(256, 0xFF), nullptr, -1, 8, Bytes(13, 0xFF)},
        {"fru", fru_image("FAN", "1.23", "1234567890123"), "2.34", 0, 31, bytes_of(kSn)},
        {"legacy", legacy_image(), "2.34", 0, 0, Bytes{0x55} + bytes_of(kSn) + Bytes{0x02, 0x43}},
        {"legacy", legacy_image(), "bad", -1, 0, Bytes{0x2A}},
        {"config", legacy_image(), "2.34", 3, 0, Bytes{0x2A}},
    };
    for (const Row &row : kRows) {
        for (const bool has_signal : {false, true}) {
            in_own_process(row.mode, [&] {
                start(e2prom("fan_hw_ver", row.mode) +
                      (has_signal ? reg("e2_write_protect", 0x1B) : ""));
                chassis.set_slave(kBus, kAddr, 0, row.before);
                EXPECT_EQ(sdd_set_fan_info_with_type(kFan, &type, kSn.c_str(), row.hw), row.code);
                const Bytes image = chassis.slave(kBus, kAddr);
                EXPECT_TRUE(std::equal(row.after.begin(), row.after.end(),
                                       image.begin() + static_cast<std::ptrdiff_t>(row.at)));
                const std::string at =
                    has_signal ? "write /dev/cpld0 @0x001b [" : "write /dev/cpld0 @0x0039 [";
                EXPECT_THAT(accesses(Op::write),
                            ElementsAre(at + (has_signal ? "00] = 1" : "f0] = 1"), at + "ff] = 1"));
                const auto all = chassis.log();
                const auto is_write = [](const auto &event) { return event.op == Op::write; };
                const auto is_transfer = [](const auto &event) { return event.op == Op::transfer; };
                const auto lifted = std::find_if(all.begin(), all.end(), is_write);
                const auto restored = std::find_if(lifted + 1, all.end(), is_write);
                EXPECT_EQ(static_cast<std::size_t>(std::count_if(lifted, restored, is_transfer)),
                          count(Op::transfer));
            });
        }
    }
    start("");
    EXPECT_EQ(sdd_set_fan_info(kFan, "SN", "1.00"), -6);
    EXPECT_TRUE(chassis.log().empty());
}

TEST_F(FanTest, MessagesCarryTheModulesName) {
    start(kFloor + constant("fan_real_speed", 0, 1) + kPresent);
    dfd_debug = DFD_DEBUG_ERR;
    EXPECT_THAT(printed_by([] { sdd_get_fan_status(kFan); }),
                HasSubstr("<File:hal/fan.cpp, Func:sdd_get_fan_fail_status_by_speed, Line:"));
}

}  // namespace
