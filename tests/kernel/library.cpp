// SPDX-License-Identifier: MIT
// What the library makes of a bus: transfers, temperatures.
#include <dfd/dfd.h>

#include <cstring>
#include <functional>

#include "observe.h"

namespace observe {

namespace {

constexpr char kNoBus[] = "/dev/i2c-99";
constexpr std::uint8_t kOffset = 0x80;
constexpr std::size_t kShown = 16;

void transfers() {
    Bytes buf(4);
    const auto data = Bytes{0xa1, 0xa2, 0xa3};
    const auto bytes = [&] { return buf.data(); };
    struct Row {
        const char *name;
        std::function<int()> call;
    };
    const std::vector<Row> reads{
        {"read once",
         [&] { return sdd_read_i2c_one_time(kBus, kScratch, kOffset, bytes(), 4, 0); }},
        {"read once, wide offset",
         [&] { return sdd_read_i2c_one_time(kBus, kScratch, kOffset, bytes(), 4, 1); }},
        {"read once, absent",
         [&] { return sdd_read_i2c_one_time(kBus, kAbsent, 0, bytes(), 4, 0); }},
        {"read once, driver",
         [&] { return sdd_read_i2c_one_time(kBus, kBound, 0, bytes(), 4, 0); }},
        {"read once, over seven bits",
         [&] { return sdd_read_i2c_one_time(kBus, 0x100 | kScratch, kOffset, bytes(), 4, 0); }},
        {"read once, nothing",
         [&] { return sdd_read_i2c_one_time(kBus, kScratch, kOffset, bytes(), 0, 0); }},
        {"read once, too long",
         [&] { return sdd_read_i2c_one_time(kBus, kScratch, kOffset, bytes(), 8193, 0); }},
        {"read once, no bus",
         [&] { return sdd_read_i2c_one_time(kNoBus, kScratch, 0, bytes(), 4, 0); }},
        {"read", [&] { return sdd_read_i2c(kBus, kScratch, kOffset, bytes(), 4); }},
        {"read, absent", [&] { return sdd_read_i2c(kBus, kAbsent, 0, bytes(), 4); }},
        {"read of bus 0", [&] { return dfd_i2c_read(0, kScratch, bytes(), 4); }},
        {"read of bus 0 at an offset",
         [&] { return dfd_i2c_read_offset(0, kScratch, kOffset, bytes(), 4); }},
        {"read of bus 99", [&] { return dfd_i2c_read(99, kScratch, bytes(), 4); }},
        {"read of an item",
         [&] { return dfd_read_info(INFO_SRC_I2C, kBus, kScratch, kOffset, 4, bytes()); }},
    };
    const std::vector<Row> writes{
        {"write once",
         [&] { return sdd_write_i2c_one_time(kBus, kScratch, kOffset, data.data(), 3, 0); }},
        {"write once, one byte",
         [&] { return sdd_write_i2c_one_time(kBus, kScratch, kOffset, data.data(), 1, 0); }},
        {"write once, wide offset",
         [&] { return sdd_write_i2c_one_time(kBus, kScratch, kOffset, data.data(), 3, 1); }},
        {"write once, absent",
         [&] { return sdd_write_i2c_one_time(kBus, kAbsent, 0, data.data(), 1, 0); }},
        {"write once, nothing",
         [&] { return sdd_write_i2c_one_time(kBus, kScratch, kOffset, data.data(), 0, 0); }},
        {"write", [&] { return sdd_write_i2c(kBus, kScratch, kOffset, data.data(), 3); }},
        {"write, absent", [&] { return ssa_i2c_write(kBus, kAbsent, 0, data.data(), 1); }},
        {"write to bus 0", [&] { return dfd_i2c_write(0, kScratch, kOffset, data.data(), 3); }},
        {"write of an item",
         [&] {
             return dfd_write_info(INFO_SRC_I2C, kBus, kScratch, kOffset, 1, data.data(), 0xff);
         }},
    };
    for (const Row &row : reads) {
        buf.assign(4, 0xee);
        const int code = row.call();
        tell_code(row.name, code, buf);
    }
    for (const Row &row : writes) {
        fill(kScratch, kOffset, Bytes(kShown, 0x55));
        fill(kScratch, data[0], Bytes(kShown, 0x66));
        tell_code(row.name, row.call());
        tell_code("  at the offset", 0, contents(kScratch, kOffset, kShown));
        tell_code("  at the first byte", 0, contents(kScratch, data[0], kShown));
    }
}

// A board of type 0x42, as the byte behind the hardware version says, with a serial number.
void put_board() {
    fill(kBoard, 0, {1, 0x7e, 0x12, 0x42, 0, 4, 3, 2, 'S', 'N', 0x01, 0x7d});
}

void start() {
    put_board();
    tell_code("start", dev_drv_init());
    tell_code("board type", drv_get_my_dev_type());
}

void temperatures() {
    for (std::uint8_t sensor = 1; sensor <= 4; ++sensor) {
        const std::string name = "temperature " + std::to_string(sensor);
        int temp = -999;
        tell_code(name, sdd_get_card_temp(sdd_get_my_slotid(), sensor, &temp));
        tell_code(name + ", degrees", temp);
        char text[32] = "";
        const int code = sdd_get_temp_name(0, sensor, text, sizeof text);
        tell_code(name + ", name", code, {text, text + std::strlen(text)});
    }
}

// Registers as items.
void items() {
    const auto item = [](std::uint8_t index) {
        return DFD_MAKE_KEY(DFD_KEY_SLOT_ONLINE, index, 0);
    };
    for (std::uint8_t index = 1; index <= 4; ++index) {
        const std::string name = "item " + std::to_string(index);
        int value = -999;
        tell_code(name, dfd_info_get_int(item(index), &value, nullptr));
        tell_code(name + ", value", value);
        tell_code(name + ", set", dfd_info_set_int(item(index), 1));
        tell_code("  board EEPROM", 0, contents(kBoard, 0x20, kShown));
    }
}

}  // namespace

void observe_library() {
    fill(kBoard, 0x20, Bytes(kShown, 0x5a));
    transfers();
    start();
    temperatures();
    items();
}

}  // namespace observe
