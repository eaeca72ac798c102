// SPDX-License-Identifier: MIT
// FRU images and the EEPROM that the tests put them into.
#pragma once

#include <numeric>

#include "support/library_test.h"

namespace dfd_test::fru {

inline constexpr int kAddr = 0x52;

inline void put_checksum(Bytes &bytes) {
    bytes.back() = 0;
    bytes.back() = static_cast<std::uint8_t>(-std::accumulate(bytes.begin(), bytes.end(), 0));
}

inline Bytes common_header(std::uint8_t product_blocks) {
    Bytes header = {1, 0, 0, 0, product_blocks, 0, 0, 0};
    put_checksum(header);
    return header;
}

// A product info area with these fields as 8-bit text, padded to `blocks` blocks.
inline Bytes product_area(const std::vector<std::string> &fields, std::uint8_t blocks) {
    Bytes area = {1, blocks, 25};
    for (const std::string &field : fields) {
        area.push_back(static_cast<std::uint8_t>(0xC0 | field.size()));
        area.insert(area.end(), field.begin(), field.end());
    }
    area.push_back(0xC1);
    area.resize(blocks * 8U);
    put_checksum(area);
    return area;
}

// An EEPROM with such an area behind the header and 0xFF behind both.
inline Bytes fru_image(const std::vector<std::string> &fields, std::uint8_t blocks) {
    return e2prom_image({{0, common_header(1) + product_area(fields, blocks)}});
}

inline const std::vector<std::string> kFields = {"MAKER",  "PSU-650", "P/N", "123",
                                                 "SN0001", "",        "FID"};

class FruTest : public LibraryTest {
  protected:
    FruTest() { add_e2prom(2, kAddr, Bytes(256, 0xFF)); }
    void put(const Bytes &area) {
        // What stands behind the area can be told apart.
        Bytes image(256);
        std::iota(image.begin(), image.end(), std::uint8_t{0});
        chassis.set_slave(2, kAddr, 0, image);
        chassis.set_slave(2, kAddr, 0, common_header(1) + area);
        chassis.advance_us(100000);
    }
    Bytes area(std::size_t size) const {
        const Bytes image = chassis.slave(2, kAddr);
        return {image.begin() + 8, image.begin() + 8 + static_cast<std::ptrdiff_t>(size)};
    }
    using Query = int (*)(const char *, std::uint32_t, std::uint16_t, void *, int *);
    static std::pair<int, std::string> query(Query function, std::uint32_t type,
                                             int capacity = 64) {
        char buf[300] = "untouched";
        int len = capacity;
        const int code = function(kBus, type, kAddr, buf, &len);
        EXPECT_TRUE(code == 0 || (len == capacity && std::string(buf) == "untouched"));
        return {code, code == 0 ? std::string(buf, static_cast<std::size_t>(len)) : ""};
    }
    static int fru_data(const char *dev, std::uint32_t type, std::uint16_t addr, void *buf,
                        int *len) {
        return dfd_get_fru_data(dev, addr, type, buf, len);
    }
};

using Found = std::pair<int, std::string>;

}  // namespace dfd_test::fru
