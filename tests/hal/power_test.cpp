// SPDX-License-Identifier: MIT
#include <array>
#include <memory>

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
using testing::EndsWith;
using testing::HasSubstr;
using vchassis::Op;

constexpr int kSupplyBus = 2;
constexpr int kSupplyAddr = 0x58;
constexpr int kSystem = -1;  // no index

// Lines "KEY.MEMBER_ID=VALUE" from members given as "MEMBER=VALUE ...".
std::string item(int id, const std::string &key, const std::string &members) {
    const std::string index = id == kSystem ? "" : "_" + std::to_string(id);
    std::string lines;
    std::istringstream words(members);
    for (std::string word; words >> word;) {
        lines += key + "." + word.insert(word.find('='), index) + "\n";
    }
    return lines;
}

// One register of the CPLD, with further members.
std::string reg(int id, const std::string &key, int at, const std::string &members = "") {
    return item(id, key,
                "mode=config src=localbus frmt=byte len=1 fpath=/dev/cpld0 reg_offset=" +
                    std::to_string(at) + " " + members);
}

// Bytes of the supply's chip.
std::string chip(int id, const std::string &key, int at, const std::string &members) {
    return item(
        id, key,
        "src=i2c fpath=/dev/i2c-2 addr=0x58 reg_offset=" + std::to_string(at) + " " + members);
}

class PowerTest : public dfd_test::LibraryTest {
  protected:
    PowerTest() {
        chassis.describe("[[registers]]\npath = \"/dev/cpld0\"\nsize = 256\n");
        add_e2prom(kSupplyBus, kSupplyAddr, Bytes(256, 0xFF));
    }
    void put(std::uint32_t offset, const Bytes &bytes) {
        chassis.set_slave(kSupplyBus, kSupplyAddr, offset, bytes);
    }
    void put_word(std::uint32_t offset, unsigned raw) {
        put(offset, {static_cast<std::uint8_t>(raw), static_cast<std::uint8_t>(raw >> 8)});
    }
    void put_registers(std::uint32_t from, const Bytes &bytes) {
        for (const std::uint8_t byte : bytes) {
            chassis.set_reg(kCpld, from++, byte);
        }
    }
    // The registers and the offsets of the chip that were read, in this order.
    std::vector<int> read_from() const {
        std::vector<int> offsets;
        for (const vchassis::Event &event : chassis.log()) {
            if (event.op == Op::read) {
                offsets.push_back(static_cast<int>(event.offset));
            } else if (event.op == Op::transfer) {
                offsets.push_back(event.messages[0].bytes.at(0));
            }
        }
        return offsets;
    }
};

// ---- Presence and health: registers 0x10 presence, 0x11 state, 0x12 failure, 0x13 line failure

std::string health(int id, const std::string &state_mode) {
    return reg(id, "power_present", 0x10) + reg(id, "power_state", 0x11, "mode=" + state_mode) +
           reg(id, "power_fail", 0x12) + reg(id, "power_line_fail", 0x13);
}

TEST_F(PowerTest, StatusByPresenceFailureAndLine) {
    start(health(1, "config") + health(2, "func") + health(3, "tlv") + reg(4, "power_state", 0x11) +
          reg(5, "power_state", 0x11, "mode=func") + reg(6, "power_present", 0x10) +
          reg(6, "power_fail", 0x12));
    struct Row {
        const char *what;
        std::uint32_t id;
        Bytes registers;
        int status;
        std::vector<int> reads;
    };
    for (const Row &row : {Row{"absent", 1, {1, 0, 1, 1}, 0, {0x11}},
                           Row{"normal", 1, {0, 7, 0, 0}, 1, {0x11, 0x12, 0x13}},
                           Row{"failed", 1, {0, 1, 1, 1}, 3, {0x11, 0x12}},
                           Row{"failed, flagged", 1, {0, 1, 0x11, 0}, 5, {0x11, 0x12}},
                           Row{"line failed", 1, {0, 1, 0, 2}, 4, {0x11, 0x12, 0x13}},
                           Row{"func: absent", 2, {0, 1, 1, 1}, 0, {0x10}},
                           Row{"func: normal", 2, {1, 1, 0, 0}, 1, {0x10, 0x11, 0x12, 0x13}},
                           Row{"func: state 0", 2, {1, 0, 0, 0}, 1, {0x10, 0x11, 0x12, 0x13}},
                           Row{"func: failed", 2, {1, 0, 0x10, 0}, 5, {0x10, 0x11, 0x12}},
                           Row{"mode tlv", 3, {1, 1, 1, 1}, 0, {}},
                           Row{"no failure items", 4, {0, 1, 1, 1}, 1, {0x11}},
                           Row{"func without presence", 5, {1, 1, 0, 0}, -6, {}},
                           Row{"no state", 6, {1, 1, 0, 0}, -6, {}}}) {
        put_registers(0x10, row.registers);
        chassis.clear_log();
        EXPECT_EQ(sdd_get_power_status(row.id), row.status) << row.what;
        EXPECT_EQ(read_from(), row.reads) << row.what;
    }
    dfd_debug = DFD_DEBUG_ERR;
    put_registers(0x10, {1, 1, 0, 0});
    EXPECT_THAT(
        dfd_test::printed_by([] { sdd_get_power_status(4); }),
        testing::AllOf(HasSubstr("<File:hal/power.cpp, Func:sdd_get_power_line_fail_status, Line:"),
                       EndsWith("get power[4] line fail info ctrl fail, key=0x55000400\r\n")));
}

TEST_F(PowerTest, StatusOfFailedReadings) {
    start(health(2, "func"));
    put_registers(0x10, {9, 1, 0, 0});
    for (const auto &[at, code] : {std::pair{0x10, -7}, {0x11, -7}, {0x12, -7}, {0x13, -1}}) {
        chassis.fail({.op = Op::read, .path = kCpld, .offset = at});
        EXPECT_EQ(sdd_get_power_status(2), code) << at;
    }
    EXPECT_EQ(sdd_get_power_status(2), 1);
    EXPECT_EQ(sdd_func_get_power_status(2, nullptr), -8);

    struct Row {
        int failing;
        Bytes registers;
        int code, status;
    };
    for (const Row &row : {Row{0x10, {9, 1}, -7, 77}, Row{0x11, {9, 1}, -7, 9},
                           Row{-1, {9, 1}, 0, 3}, Row{-1, {9, 0}, 0, 4}, Row{-1, {0, 1}, 0, 0}}) {
        put_registers(0x10, row.registers);
        if (row.failing > 0) {
            chassis.fail({.op = Op::read, .path = kCpld, .offset = row.failing});
        }
        int status = 77;
        EXPECT_EQ(sdd_func_get_power_status(2, &status), row.code);
        EXPECT_EQ(status, row.status);
    }
}

// On I2C it counts whether there is an answer, not which.
TEST_F(PowerTest, LineFailureOnI2c) {
    start(reg(1, "power_state", 0x11) + reg(2, "power_state", 0x11) + reg(3, "power_state", 0x11) +
          chip(1, "power_line_fail", 0, "mode=config frmt=byte len=1") +
          chip(2, "power_line_fail", 0, "mode=constant int_cons=1") +
          chip(3, "power_line_fail", 0, "mode=config frmt=byte len=32"));
    chassis.set_reg(kCpld, 0x11, 1);
    EXPECT_EQ(sdd_get_power_status(1), 1);
    EXPECT_EQ(sdd_get_power_status(2), 1);
    EXPECT_EQ(sdd_get_power_status(3), 4) << "an item that cannot be read is as good as silence";
    chassis.fail({.addr = kSupplyAddr, .count = 0, .error = ENXIO});
    EXPECT_EQ(sdd_get_power_status(1), 4);
    EXPECT_EQ(chassis.slept_us(), 50000U);
}

TEST_F(PowerTest, PresenceAndFailureValue) {
    start(health(1, "config") + item(2, "power_present", "mode=fru") +
          item(2, "power_fail", "mode=tlv"));
    put_registers(0x10, {0x40, 0, 0x21});
    struct Row {
        std::uint32_t id;
        int present, fail_code, fail;
    };
    for (const Row &row : {Row{1, 1, 0, 0x21}, Row{2, 0, 3, 77}, Row{3, -6, 0, 77}}) {
        int fail = 77;
        EXPECT_EQ(sdd_get_power_present(row.id), row.present);
        EXPECT_EQ(sdd_get_power_fail_status(row.id, &fail), row.fail_code);
        EXPECT_EQ(fail, row.fail);
    }
    put_registers(0x10, {0});
    EXPECT_EQ(sdd_get_power_present(1), 0);
    EXPECT_EQ(sdd_get_power_fail_status(1, nullptr), -8);
}

// ---- Telemetry: one word after the other, as in the table

constexpr const char *kMeasured[] = {"power_in_voltage",  "power_in_current",  "power_out_voltage",
                                     "power_out_current", "power_rate_supply", "power_temp"};
constexpr int kVoltageAt = 4;
constexpr int kCurrentAt = 6;

std::string telemetry(int id, const std::string &members) {
    std::string lines;
    int at = 0;
    for (const char *const key : kMeasured) {
        lines += chip(id, key, at, "mode=config frmt=num_buf " + members);
        at += 2;
    }
    return lines;
}

// What the six functions tell, in the order of the table; a code in place of a value.
std::array<int, 6> measured(std::uint32_t id, int before = 0) {
    int volt = before;
    int milliamp = before;
    int temp = before;
    const int codes[] = {sdd_get_power_vol_in(id, &volt), sdd_get_power_icur(id, &milliamp),
                         sdd_get_power_temp(id, 99, &temp)};
    if (codes[0] < 0) {
        EXPECT_EQ((std::array{volt, milliamp, temp}), (std::array{before, before, before}));
    }
    return {codes[0] < 0 ? codes[0] : volt, codes[1] < 0 ? codes[1] : milliamp,
            sdd_get_power_ovol(id),         sdd_get_power_ocur(id),
            sdd_get_power_rated_supply(id), codes[2] < 0 ? codes[2] : temp};
}

TEST_F(PowerTest, WordsToUnits) {
    start(telemetry(1, "len=2"));
    struct Row {
        unsigned raw;
        int thousandths, whole, out_millivolt;  // of 32 bits, cut before the division
    };
    for (const Row &row :
         {Row{0x00E6, 230000, 230, 449}, Row{0xF9CD, 230500, 230, -3100},
          Row{0x87FF, -1, 0, -60002}, Row{0xFFFF, -500, 0, -2}, Row{0x0400, -1024000, -1024, 2000},
          Row{0x1800, 0, 0, 12000}, Row{0x9000, 0, 0, -56000},
          Row{0x7BFF, -838074368, -838074, 61998}, Row{0x7C00, 805306368, 805306, 62000}}) {
        for (const std::uint32_t offset : {0U, 2U, 4U, 6U, 8U, 10U}) {
            put_word(offset, row.raw);
        }
        EXPECT_EQ(measured(1), (std::array{row.whole, row.thousandths, row.out_millivolt,
                                           row.thousandths, row.whole, row.whole}))
            << row.raw;
    }
    put(0, {1, 0, 2, 0, 3, 0, 4, 0, 5, 0, 6, 0});
    EXPECT_EQ(measured(1), (std::array{1, 2000, 5, 4000, 5, 6})) << "each reads its own word";
}

TEST_F(PowerTest, OtherNumbersAndFailures) {
    std::string others;
    for (const char *const key : kMeasured) {
        others += item(4, key, "mode=constant int_cons=2300") + item(5, key, "mode=fru");
    }
    start(telemetry(1, "len=2") + telemetry(3, "len=3") + others);
    const auto all = [](int value) { return std::array{value, value, value, value, value, value}; };
    EXPECT_EQ(measured(2, 77), all(-6));
    EXPECT_EQ(measured(3, 77), all(-8)) << "three bytes are no word";
    EXPECT_EQ(measured(4), all(2300)) << "numbers of other kinds pass as they are";
    EXPECT_EQ(measured(5, 77), (std::array{77, 77, 0, 0, 0, 77})) << "the value stays as it was";
    EXPECT_EQ(sdd_get_power_vol_in(1, nullptr), -8);
    EXPECT_EQ(sdd_get_power_icur(1, nullptr), -8);
    EXPECT_THAT(logged_by(DFD_DEBUG_ERR, [] { sdd_get_power_temp(1, 0, nullptr); }),
                EndsWith("get power[1] rsupply buf fail, rv=-8\r\n"));
}

TEST(PowerTemperatureProcessor, ArgumentErrors) {
    std::uint8_t bytes[] = {0xE6, 0x00, 0};
    int temp = 77;
    struct Row {
        std::uint8_t *buf;
        int len;
        int *temp;
        const char *message;
    };
    for (const Row &row : {Row{nullptr, 2, &temp, "input arguments error, len=2\r\n"},
                           Row{bytes, 0, &temp, "input arguments error, len=0\r\n"},
                           Row{bytes, 2, nullptr, "input arguments error, len=2\r\n"},
                           Row{bytes, 1, &temp, "len=1, error.\n"},
                           Row{bytes, 3, &temp, "len=3, error.\n"}, Row{bytes, 2, &temp, ""}}) {
        int code = 0;
        const auto call = [&] { code = dfd_get_power_temp_by_buf(row.buf, row.len, row.temp); };
        EXPECT_EQ(logged_by(DFD_DEBUG_ERR, call), row.message);
        EXPECT_EQ(code, *row.message != '\0' ? -8 : 0);
    }
    EXPECT_EQ(temp, 230);
}

TEST_F(PowerTest, OutputPowerFromCurrentThenVoltage) {
    start(telemetry(1, "len=2"));
    struct Row {
        const char *what;
        unsigned current, voltage;
        int milliwatt;
    };
    for (const Row &row :
         {Row{"25 A at 12 V", 0x0019, 0x1800, 300000},
          Row{"1.5 A at 12.001 V", 0xF803, 0x1801, 18001},
          Row{"40 A at 54 V: over 32 bits", 0x0028, 0x6C00, -2134967},
          Row{"negative current", 0x0400, 0x1800, -1}, Row{"negative voltage", 0x0019, 0x9000, -1},
          Row{"both negative", 0x0400, 0x9000, -1}}) {
        put_word(kCurrentAt, row.current);
        put_word(kVoltageAt, row.voltage);
        chassis.clear_log();
        EXPECT_EQ(sdd_get_power_osupply(1), row.milliwatt) << row.what;
        EXPECT_EQ(read_from(), (std::vector<int>{kCurrentAt, kVoltageAt})) << row.what;
    }
}

TEST_F(PowerTest, RatedPowerFromATlvImage) {
    start(chip(1, "power_rate_supply", 0, "mode=tlv"));
    // The lowest byte first on every CPU, and the bytes that a short entry lacks are 0.
    for (const auto &[entry, value] :
         {std::pair{Bytes{0x23, 0x01, 0, 0x80}, 0x80000123U}, {Bytes{0x84, 0x03}, 0x384U}}) {
        put(0, tlv_image(1, 0, 0xF1, tlv_entry(3, bytes_of("SN")) + tlv_entry(0, entry)));
        EXPECT_EQ(sdd_get_power_rated_supply(1), static_cast<int>(value));
    }
    put(0, tlv_image(1, 0, 0xF1, tlv_entry(0, {1, 2, 3, 4, 5})));
    EXPECT_EQ(sdd_get_power_rated_supply(1), -1) << "an entry of over four bytes";
}

// ---- Identity

Bytes supply_image(const std::string &name) {
    return fru_image({"MK", name}, 8);
}

Bytes name_at_0x20(const std::string &name) {
    return e2prom_image({{0x20, bytes_of(name)}});
}

constexpr char kTypes[] =
    "power_name_7=PSU-AC\npower_name_8=PSU-DC\npower_name_9=#\npower_name_10=LLLLLLLL\n";

TEST_F(PowerTest, TypeAndNameBySource) {
    enum Source : std::uint32_t { none, fru, tlv, legacy, config, constant, bit };
    start(kTypes + chip(fru, "power_type", 0, "mode=fru") + chip(tlv, "power_type", 0, "mode=tlv") +
          chip(legacy, "power_type", 0x20, "mode=legacy") +
          chip(config, "power_type", 0x20, "mode=config frmt=num_buf len=12") +
          chip(bit, "power_type", 0, "mode=config frmt=bit len=8") +
          item(constant, "power_type", "mode=constant int_cons=5"));
    const std::string ls(40, 'L');
    struct Row {
        Source source;
        Bytes image;
        int type, code;
        std::string name;
    };
    const Row kRows[] = {{fru, supply_image("PSU-AC-1200 rev2"), 7, 0, "PSU-AC-1200"},
                         {fru, supply_image(ls), 10, 0, ls.substr(0, 31)},
                         {fru, tlv_image(1, 0, '#', Bytes(3)), 9, 0, "#"},
                         {tlv, tlv_image(1, 0, '#', Bytes(3)), 9, 0, "#"},
                         {tlv, Bytes(256, 0xFF), -1, -1, ""},
                         {legacy, name_at_0x20("PSU-DC\x01PSU-A"), 8, 0, "PSU-DC"},
                         {legacy, name_at_0x20("PSU-DC-9\x80XYZ"), 8, 0, "PSU-DC-9"},
                         {legacy, name_at_0x20("PSU-XX      "), 65534, 0, "PSU-XX"},
                         {legacy, Bytes(256, 0xFF), 65534, 0, ""},
                         {config, name_at_0x20("PSU-AC\xFF     "), 7, -1, ""},
                         {bit, Bytes(256, '#'), 9, -1, ""},
                         {constant, Bytes(256, '#'), 5, -1, ""},
                         {none, Bytes(256, '#'), -6, -6, ""}};
    for (const Row &row : kRows) {
        put(0, row.image);
        EXPECT_EQ(sdd_get_power_type(row.source), row.type) << row.source << row.name;
        std::string buf(DFD_POWER_NAME_SIZE, 'x');
        int len = 1;  // not looked at
        EXPECT_EQ(sdd_get_power_name(row.source, buf.data(), &len), row.code) << row.source;
        EXPECT_EQ(len, row.code == 0 ? static_cast<int>(row.name.size()) : 1);
        EXPECT_EQ(buf.c_str(), row.code == 0 ? row.name : std::string(DFD_POWER_NAME_SIZE, 'x'));
    }
    int len = 0;
    char buf[DFD_POWER_NAME_SIZE];
    EXPECT_EQ(sdd_get_power_name(fru, nullptr, &len), -8);
    EXPECT_EQ(sdd_get_power_name(fru, buf, nullptr), -8);
    EXPECT_EQ(sdd_get_power_name(none, nullptr, nullptr), -6);
    chassis.fail({.addr = kSupplyAddr, .count = 0, .error = ENXIO});
    EXPECT_THAT(logged_by(DFD_DEBUG_ERR, [] { EXPECT_EQ(sdd_get_power_type(config), -7); }),
                EndsWith("get power[4] type buf fail, rv=-7\r\n"));
    EXPECT_THAT(logged_by(DFD_DEBUG_ERR, [] { EXPECT_EQ(sdd_get_power_type(legacy), -1); }),
                EndsWith("Read power eeprom name error(dev: /dev/i2c-2, addr: 58, offset:20).\n"));
}

TEST_F(PowerTest, TypeOfANameInItsBuffer) {
    start(kTypes);
    struct Row {
        std::string before;
        int type;
        std::string after;
    };
    for (const Row &row :
         {Row{"PSU-AC", 7, "PSU-AC"}, Row{"PSU-DC 2", 8, std::string("PSU-DC\0002", 8)},
          Row{std::string(1000, 'L'), 10, std::string(1000, 'L')}, Row{"PSU", 65534, "PSU"}}) {
        // Exactly as large as said, so that the sanitizers see a look at the byte behind it.
        const std::size_t size = row.before.size();
        const auto buf = std::make_unique<std::uint8_t[]>(size);
        memcpy(buf.get(), row.before.data(), size);
        int type = 0;
        EXPECT_EQ(dfd_get_power_type_by_buf(buf.get(), static_cast<int>(size), &type), 0);
        EXPECT_EQ(type, row.type);
        EXPECT_EQ(Bytes(buf.get(), buf.get() + size), bytes_of(row.after));
    }
    std::uint8_t name[] = {'P', 'S'};
    int type = 0;
    const std::string failed = "get power type by name[PS] fail\r\n";
    EXPECT_EQ(logged_by(DFD_DEBUG_ERR, [&] { dfd_get_power_type_by_buf(name, 2, &type); }),
              failed + failed)
        << "from the list and from here";
    EXPECT_EQ(dfd_get_power_type_by_buf(nullptr, 2, &type), -8);
    EXPECT_EQ(dfd_get_power_type_by_buf(name, 2, nullptr), -8);
    EXPECT_EQ(
        logged_by(DFD_DEBUG_ERR, [&] { EXPECT_EQ(dfd_get_power_type_by_buf(name, 0, &type), -8); }),
        "input arguments error, len=0\r\n");
}

using TextGetter = int (*)(std::uint32_t, char *, int *);

// "code length contents" of a call with a buffer of just this capacity; a NUL shows as '_', a byte
// left alone as '*'.
std::string text_of(TextGetter get, std::uint32_t id, int capacity) {
    const auto buf = std::make_unique<char[]>(static_cast<std::size_t>(capacity));
    std::fill_n(buf.get(), capacity, '*');
    int len = capacity;
    const int code = get(id, buf.get(), &len);
    std::replace(buf.get(), buf.get() + capacity, '\0', '_');
    return std::to_string(code) + " " + std::to_string(len) + " " +
           std::string(buf.get(), static_cast<std::size_t>(capacity));
}

TEST_F(PowerTest, InventoryTexts) {
    constexpr TextGetter sn = sdd_get_power_sn;
    constexpr TextGetter hw = sdd_get_power_hw_version;
    constexpr TextGetter sw = sdd_get_power_sw_version;
    enum Source : std::uint32_t { none, text, tlv, fru, legacy, three_bytes };
    std::string config = chip(text, "power_sn", 0x80, "mode=config frmt=buf len=8") +
                         chip(text, "power_hw_ver", 0x8A, "mode=config frmt=buf len=4") +
                         chip(text, "power_sw_ver", 0x88, "mode=config frmt=buf len=4") +
                         chip(three_bytes, "power_sw_ver", 0x80, "mode=config frmt=buf len=3");
    for (const char *const key : {"power_sn", "power_hw_ver", "power_sw_ver"}) {
        config += chip(tlv, key, 0, "mode=tlv") + chip(fru, key, 0, "mode=fru") +
                  chip(legacy, key, 0x40, "mode=legacy");
    }
    start(config);
    put(0,
        tlv_image(1, 0x12, 0xF1, tlv_entry(3, bytes_of("not")) + tlv_entry(0, bytes_of("zero"))));
    put(0x40, bytes_of("205"));
    put(0x80, bytes_of("SN-0042 B 1.00"));
    struct Row {
        TextGetter get;
        Source source;
        int capacity;
        const char *found;
    };
    for (const Row &row : {Row{sn, text, 9, "0 7 SN-0042_*"},     Row{sn, text, 8, "-6 8 ********"},
                           Row{sn, text, 7, "-5 7 *******"},      Row{sn, tlv, 5, "0 4 zero*"},
                           Row{sn, tlv, 3, "-1 3 ***"},           Row{sn, fru, 4, "-5 4 ****"},
                           Row{sn, legacy, 4, "-5 4 ****"},       Row{sn, none, 4, "-6 4 ****"},
                           Row{hw, text, 5, "0 4 1.00_"},         Row{hw, tlv, 5, "0 4 zero*"},
                           Row{hw, fru, 4, "-5 4 ****"},          Row{hw, legacy, 6, "0 4 2.05_*"},
                           Row{hw, legacy, 4, "0 4 2.05"},        Row{hw, legacy, 3, "-8 3 ***"},
                           Row{hw, none, 4, "-6 4 ****"},         Row{sw, text, 6, "0 6 B 1.**"},
                           Row{sw, text, 3, "-5 3 ***"},          Row{sw, tlv, 4, "-5 4 ****"},
                           Row{sw, three_bytes, 6, "0 4 zero**"}, Row{sw, none, 5, "0 3 N/A_*"},
                           Row{sw, none, 3, "0 3 N/A"},           Row{sw, none, 2, "-8 2 **"}}) {
        EXPECT_EQ(text_of(row.get, row.source, row.capacity), row.found) << row.source;
    }
    char buf[8];
    int len = 8;
    for (const TextGetter get : {sn, hw, sw}) {
        EXPECT_EQ(get(text, nullptr, &len), -8);
        EXPECT_EQ(get(text, buf, nullptr), -8);
        EXPECT_EQ(text_of(get, text, 0), "-8 0 ");
    }
}

TEST_F(PowerTest, HardwareVersionIsWrittenToLegacyImagesOnly) {
    start(chip(1, "power_hw_ver", 0x40, "mode=legacy") + chip(2, "power_hw_ver", 0, "mode=tlv") +
          reg(0, "e2_write_protect", 0x30) + reg(1, "e2_write_protect", 0x31));
    struct Row {
        std::uint32_t id;
        const char *text;
        int code;
        std::size_t transfers;
    };
    for (const Row &row : {Row{1, nullptr, -8, 0}, Row{2, "3.14", -6, 0}, Row{3, "3.14", -6, 0},
                           Row{1, "", 0, 0}, Row{1, "31.4", -1, 1}, Row{1, "3.14", 0, 2}}) {
        chassis.clear_log();
        EXPECT_EQ(
            sdd_set_power_hw_version(row.id, reinterpret_cast<const std::uint8_t *>(row.text)),
            row.code);
        EXPECT_EQ(count(Op::transfer), row.transfers);
        EXPECT_EQ(count(Op::write), 0U) << "there is no write-protect signal to switch";
    }
    EXPECT_EQ(i2c_writes(), (std::vector<Bytes>{Bytes{0x40} + bytes_of("314")}));
}

// ---- The system

TEST_F(PowerTest, FiguresOfTheSystem) {
    struct Figure {
        const char *key;
        int id;
        int (*get)(int *);
        int tlv_code;
    };
    const Figure kFigures[] = {
        {"sys_power_rsupply", kSystem, sdd_get_sys_power_rsupply, 3},
        {"sys_power_osupply", kSystem, sdd_get_sys_power_osupply, 3},
        {"sys_power_ssupply", kSystem, sdd_get_sys_power_ssupply, 3},
        {"sys_power_rdn_num", kSystem, sdd_get_sys_power_rdn_num, 3},
        {"sys_power_mix_state", kSystem, sdd_get_sys_power_mix_state, 3},
        {"system_power_lack", kSystem, sdd_get_sys_power_lack_state, 0},
        {"power_bypass_state", kSystem, sdd_get_system_bypass_state, 3},
        {"bypass_state", 4, [](int *out) { return sdd_get_bypass_power_state(4, out); }, 3}};
    struct Row {
        const char *members;
        int code;  // 3: as the figure's own
    };
    for (const Row &row : {Row{"src=localbus fpath=/dev/cpld0", 0}, Row{"src=none", -7},
                           Row{"mode=tlv", 3}, Row{"", -6}}) {
        in_own_process(row.members, [&] {
            std::string config;
            int at = 0x20;
            for (const Figure &figure : kFigures) {
                const std::string members(row.members);
                config += members.empty() ? "" : reg(figure.id, figure.key, at++, members);
            }
            start(config);
            put_registers(0x20, {0xA0, 0xA1, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6, 0xA7});
            int expected = 0xA0;
            for (const Figure &figure : kFigures) {
                int out = 77;
                EXPECT_EQ(figure.get(&out), row.code == 3 ? figure.tlv_code : row.code)
                    << figure.key;
                EXPECT_EQ(out, row.code == 0 ? expected++ : 77) << figure.key;
                // A missing item outranks a null pointer but in the one that checks it first.
                const bool checks_first = std::string_view(figure.key) == "system_power_lack";
                EXPECT_EQ(figure.get(nullptr), row.code == -6 && !checks_first ? -6 : -8)
                    << figure.key;
            }
        });
    }
}

TEST_F(PowerTest, ModulePowerAndEnvironmentTemperature) {
    struct Row {
        const char *config;
        int code, is_module;
    };
    for (const Row &row :
         {Row{"is_module_power=0x100", 0, 1}, Row{"is_module_power=0", 0, 0}, Row{"", -6, 9}}) {
        in_own_process(row.config, [&] {
            start(row.config);
            std::uint8_t is_module = 9;
            EXPECT_EQ(sdd_get_is_module_power(&is_module), row.code);
            EXPECT_EQ(is_module, row.is_module);
            EXPECT_EQ(sdd_get_is_module_power(nullptr), -8);
        });
    }
    start(reg(kSystem, "power_env_temp", 0x40, "frmt=num_bytes len=2"));
    for (const auto &[bytes, degrees] : {std::pair<Bytes, int>{{0x01, 0xF8}, 63},
                                         {{0x00, 0x07}, 0},
                                         {{0x03, 0xFF}, 127},
                                         {{0xFC, 0x08}, 1}}) {
        put_registers(0x40, bytes);
        EXPECT_EQ(sdd_get_env_temp(), degrees);
    }
}

TEST_F(PowerTest, MessagesNameTheirFunctions) {
    start(reg(1, "power_state", 0x11) + reg(1, "power_type", 0, "fpath=/dev/cpld7") +
          chip(2, "power_type", 0x20, "mode=legacy") +
          chip(3, "power_hw_ver", 0x40, "mode=legacy"));
    chassis.set_reg(kCpld, 0x11, 1);
    std::uint8_t name[] = {'P', 'S'};
    int value = 0;
    char text[16];
    int len = 16;
    struct Row {
        std::function<void()> call;
        const char *functions;
    };
    for (const Row &row :
         {Row{[] { sdd_get_power_status(1); }, "sdd_get_power_line_fail_status "},
          Row{[] { sdd_get_power_type(1); },
              "sdd_read_info_localbus dfd_info_get_int sdd_get_power_type "},
          Row{[&] { dfd_get_power_type_by_buf(name, 0, &value); }, "dfd_get_power_type_by_buf "},
          Row{[&] { dfd_get_power_type_by_buf(name, 2, &value); },
              "dfd_lib_cfg_get_power_type_by_name dfd_get_power_type_by_buf "},
          Row{[&] { dfd_get_power_temp_by_buf(nullptr, 2, &value); }, "dfd_get_power_temp_by_buf "},
          Row{[&] { dfd_get_power_temp_by_buf(name, 1, &value); }, "dfd_get_power_temp_by_buf "},
          Row{[&] { sdd_get_power_temp(9, 0, &value); }, "sdd_get_power_temp "}}) {
        EXPECT_EQ(dfd_test::functions_logged_by(DFD_DEBUG_ERR, row.call), row.functions);
    }
    chassis.fail({.addr = kSupplyAddr, .count = 0, .error = ENXIO});
    EXPECT_EQ(dfd_test::functions_logged_by(DFD_DEBUG_ERR, [] { sdd_get_power_type(2); }),
              "dfd_read_e2prom sdd_get_e2prom_legacy_power_info_by_type ")
        << "a reader's failure is passed on without a word";
    EXPECT_EQ(dfd_test::functions_logged_by(DFD_DEBUG_ERR,
                                            [&] { sdd_get_power_hw_version(3, text, &len); }),
              "dfd_read_e2prom sdd_get_e2prom_legacy_power_info_by_type ");
}

// A version of three bytes is looked up in the EEPROM under entry 0; one of four goes out as it is.
TEST_F(PowerTest, SoftwareVersionsOfThreeAndFourBytes) {
    start(chip(1, "power_sw_ver", 0x80, "mode=config frmt=buf len=3") +
          chip(2, "power_sw_ver", 0x80, "mode=config frmt=buf len=4"));
    struct Row {
        const char *what;
        std::uint32_t id;
        Bytes entries;
        int capacity, code, len;
        const char *bytes;
    };
    for (const Row &row :
         {Row{"three, found", 1, tlv_entry(0, bytes_of("9.8.7")), 8, 0, 5, "9.8.7~~~"},
          Row{"three, too long", 1, tlv_entry(0, bytes_of("9.8.7")), 4, -1, 4, "1.0~"},
          Row{"three, no entry 0", 1, tlv_entry(3, bytes_of("SN")), 8, -1, 8, "1.0~~~~~"},
          Row{"four", 2, tlv_entry(0, bytes_of("9.8.7")), 8, 0, 8, "1.0A~~~~"},
          Row{"four, no room", 2, tlv_entry(0, bytes_of("9.8.7")), 3, -5, 3, "~~~"}}) {
        put(0, tlv_image(1, 0, 0, row.entries));
        put(0x80, bytes_of("1.0A"));
        dfd_test::DirtyBuffer buf(static_cast<std::size_t>(row.capacity));
        int len = row.capacity;
        EXPECT_EQ(sdd_get_power_sw_version(row.id, buf.data(), &len), row.code) << row.what;
        EXPECT_EQ(len, row.len) << row.what;
        EXPECT_EQ(buf.shown(), row.bytes) << row.what;
    }
}

// Names are cut at what is not graphic and end in a terminator; a buffer of 32 bytes holds them
// all.
TEST_F(PowerTest, NamesInDirtyBuffers) {
    start(chip(1, "power_type", 0, "mode=fru") + chip(2, "power_type", 0x20, "mode=legacy") +
          chip(3, "power_type", 0, "mode=tlv"));
    struct Row {
        std::uint32_t id;
        Bytes image;
        const char *shown;
    };
    const std::string dirt(32, '~');
    for (const Row &row :
         {Row{1, supply_image("AC 650"), "AC|"},
          Row{1, supply_image(std::string(31, 'L')), "LLLLLLLLLLLLLLLLLLLLLLLLLLLLLLL|"},
          Row{1, supply_image(std::string(33, 'L')), "LLLLLLLLLLLLLLLLLLLLLLLLLLLLLLL|"},
          Row{2, name_at_0x20("ABCDEFGHIJKL"), "ABCDEFGHIJKL|"},
          Row{2, name_at_0x20(" BCDEFGHIJKL"), "|"},
          Row{2,
              name_at_0x20("A\x7F"
                           "CDEFGHIJKL"),
              "A|"},
          Row{3, tlv_image(1, 0, '!', Bytes(3)), "!|"}, Row{3, tlv_image(1, 0, ' ', Bytes(3)), "|"},
          Row{3, tlv_image(1, 0, '~' + 1, Bytes(3)), "|"}}) {
        put(0, row.image);
        dfd_test::DirtyBuffer buf(32);
        int len = -1;
        EXPECT_EQ(sdd_get_power_name(row.id, buf.data(), &len), 0);
        const std::string wanted = row.shown;
        EXPECT_EQ(buf.shown(), wanted + dirt.substr(wanted.size()));
        EXPECT_EQ(len, static_cast<int>(wanted.size()) - 1);
    }
}

}  // namespace
