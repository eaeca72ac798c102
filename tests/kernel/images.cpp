// SPDX-License-Identifier: MIT
// Inventory EEPROMs: what the library reads in an image, and each byte behind an update.
#include <dfd/dfd.h>

#include <cstring>
#include <functional>
#include <numeric>

#include "observe.h"

namespace observe {

namespace {

constexpr std::size_t kImageBytes = 256;
constexpr std::uint8_t kFruAreaAt = 0x80;

Bytes text(const std::string &from) {
    return {from.begin(), from.end()};
}

Bytes operator+(Bytes a, const Bytes &b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

Bytes entry(std::uint8_t type, const Bytes &value) {
    return Bytes{type, static_cast<std::uint8_t>(value.size())} + value;
}

Bytes padded(Bytes bytes) {
    bytes.resize(kImageBytes, 0xff);
    return bytes;
}

// Version 1 has a header of 6 bytes, version 2 one of 10.
Bytes tlv(std::uint8_t version, std::uint8_t type, const Bytes &entries) {
    Bytes image{version, 0x7e, 0x12, type};
    image = image + Bytes(version == 1 ? 0 : 4, 0) +
            Bytes{static_cast<std::uint8_t>(entries.size() >> 8),
                  static_cast<std::uint8_t>(entries.size())} +
            entries;
    const unsigned sum = std::accumulate(image.begin(), image.end(), 0U);
    return padded(image +
                  Bytes{static_cast<std::uint8_t>(sum >> 8), static_cast<std::uint8_t>(sum)});
}

std::uint8_t zero_checksum(const Bytes &bytes) {
    return static_cast<std::uint8_t>(-std::accumulate(bytes.begin(), bytes.end(), 0U));
}

// Manufacturer, name, part number, version, serial number, asset tag, file id.
Bytes fru(const std::vector<std::string> &fields, std::uint8_t blocks) {
    Bytes area{1, blocks, 0x19};
    for (const std::string &field : fields) {
        area = area + Bytes{static_cast<std::uint8_t>(0xc0 | field.size())} + text(field);
    }
    area.push_back(0xc1);
    area.resize(std::size_t{blocks} * 8 - 1);
    area.push_back(zero_checksum(area));
    Bytes header{1, 0, 0, 0, kFruAreaAt / 8, 0, 0};
    header.push_back(zero_checksum(header));
    header.resize(kFruAreaAt, 0xaa);
    return padded(header + area);
}

struct Image {
    const char *name;
    Bytes bytes;
    bool is_main = false;  // for machines that take their time
};

const Bytes kEntries = entry(2, text("LINE-CARD")) + entry(3, text("SN0123456789")) +
                       entry(5, text("1.23")) + entry(6, {0, 0, 1, 0x2c}) + entry(9, {1, 2, 3});
const std::vector<std::string> kFields{"Maker",  "FAN-II",         "PN-77", "1.10",
                                       "SN0001", "asset tag text", "id"};

Bytes with(Bytes image, std::size_t at, std::uint8_t byte) {
    image[at] = byte;
    return image;
}

std::vector<Image> images() {
    const Bytes tlv1 = tlv(1, 0xf1, kEntries);
    const Bytes fan = Bytes{7} + text("SN01234567890") + Bytes{0x01, 0x32};
    return {{"tlv", tlv1, true},
            {"tlv, type in the header", tlv(1, 0x42, kEntries)},
            {"tlv, version 2", tlv(2, 0xf1, kEntries), true},
            {"tlv, short", tlv(1, 0x42, entry(3, text("x")))},
            {"tlv, bad sum", with(tlv1, 20, 0)},
            {"tlv, an entry too long", tlv(1, 0xf1, entry(9, {1}) + Bytes{3, 200, 'x'})},
            {"fru", fru(kFields, 9), true},
            {"fru, room", fru(kFields, 7)},
            {"fru, full", fru({"Maker", "FAN-II", "PN", "1.10", "SN0001", "", ""}, 5)},
            {"fru, few fields", fru({"Maker", "FAN-II"}, 4)},
            {"fru, bad sum", with(fru(kFields, 9), kFruAreaAt + 5, 'X')},
            {"fan, legacy", padded(fan), true},
            {"blank", padded({})},
            {"zeros", Bytes(kImageBytes)}};
}

// Only what the last one left otherwise.
// Writes what differs, for slow buses.
void restore(const Bytes &image, const Bytes &now) {
    const auto differ = [&](std::size_t i) { return image[i] != now[i]; };
    std::size_t first = 0, last = image.size();
    for (; first < last && !differ(first); ++first) {
    }
    for (; last > first && !differ(last - 1); --last) {
    }
    if (first < last) {
        const auto at = image.begin();
        fill(kInventory, static_cast<std::uint8_t>(first),
             {at + static_cast<std::ptrdiff_t>(first), at + static_cast<std::ptrdiff_t>(last)});
    }
}

// A device type arrives as an integer of the processor's byte order; no text here has four
// characters.
Bytes least_significant_first(const Bytes &bytes) {
    std::uint32_t value = 0;
    if (bytes.size() != sizeof value) {
        return bytes;
    }
    std::memcpy(&value, bytes.data(), sizeof value);
    Bytes ordered;
    for (unsigned bit = 0; bit < 32; bit += 8) {
        ordered.push_back(static_cast<std::uint8_t>(value >> bit));
    }
    return ordered;
}

struct Query {
    const char *name;
    std::function<int(std::uint32_t, void *, int *)> call;
};

void queries(const Image &image) {
    const Query rows[] = {
        {"tlv",
         [](auto type, auto *buf, auto *len) {
             return sdd_get_e2prom_info_by_type(kBus, type, kInventory, buf, len);
         }},
        {"fru",
         [](auto type, auto *buf, auto *len) {
             return sdd_get_e2prom_info_by_type_fru(kBus, type, kInventory, buf, len);
         }},
        {"fru compatible",
         [](auto type, auto *buf, auto *len) {
             return sdd_get_e2prom_info_by_type_fru_compatible(kBus, type, kInventory, buf, len);
         }},
        {"fan",
         [](auto type, auto *buf, auto *len) {
             return sdd_get_e2prom_legacy_info_by_type(kBus, type, kInventory, buf, len);
         }},
    };
    fill(kInventory, 0, image.bytes);
    for (const Query &row : rows) {
        for (const std::uint32_t type : {2U, 3U, 5U, 6U}) {
            Bytes buf(64);
            int len = static_cast<int>(buf.size());
            const int code = row.call(type, buf.data(), &len);
            buf.resize(code == 0 ? static_cast<std::size_t>(len) : 0);
            const Bytes answer = type == 6 ? least_significant_first(buf) : buf;
            tell_code(std::string(image.name) + ": as " + row.name + " " + std::to_string(type),
                      code, answer);
        }
    }
}

struct Update {
    const char *name;
    std::function<int()> call;
};

void updates(const Image &image) {
    const std::string longest(63, 'x'), too_long(64, 'x');
    const std::uint32_t type = 0x1234;
    const std::vector<Update> rows{
        {"tlv, sn", [] { return dfd_set_card_info_tlv(kBus, kInventory, "NEW", nullptr); }},
        {"tlv, both", [] { return dfd_set_fan_info_tlv(kBus, kInventory, "SN987654321", "2.0"); }},
        {"tlv, nothing", [] { return dfd_set_fan_info_tlv(kBus, kInventory, nullptr, ""); }},
        {"fru, sn", [] { return dfd_set_card_info_fru(kBus, kInventory, "SN0002", nullptr); }},
        {"fru, longer",
         [] { return dfd_set_fan_info_fru(kBus, kInventory, "SN0123456789", "2.000"); }},
        {"fru, shorter", [] { return dfd_set_fan_info_fru(kBus, kInventory, "S", "2"); }},
        {"fru, longest",
         [&] { return dfd_set_fan_info_fru(kBus, kInventory, longest.c_str(), nullptr); }},
        {"fru, too long",
         [&] { return dfd_set_fan_info_fru(kBus, kInventory, too_long.c_str(), "2.00"); }},
        {"fan",
         [&] { return dfd_set_fan_info_legacy(kBus, kInventory, &type, "SN98765432100", "a.bc"); }},
        {"fan, version",
         [] { return dfd_set_fan_info_legacy(kBus, kInventory, nullptr, "", "9.87"); }},
        {"fan, bad",
         [] { return dfd_set_fan_info_legacy(kBus, kInventory, nullptr, "short", "9.87"); }},
        {"power", [] { return dfd_set_power_info_legacy(kBus, kInventory, 0x21, "4.56"); }},
    };
    for (const Update &row : rows) {
        const std::string name = std::string(image.name) + ": update " + row.name;
        const int code = row.call();
        const Bytes after = contents(kInventory, 0, kImageBytes);
        // Most updates do not fit most images.
        tell_code(name, code, after == image.bytes ? Bytes{} : after);
        restore(image.bytes, after);
    }
}

}  // namespace

void observe_images() {
    for (const Image &image : images()) {
        queries(image);
        updates(image);
    }
}

void observe_main_images() {
    for (const Image &image : images()) {
        if (image.is_main) {
            queries(image);
            updates(image);
        }
    }
}

}  // namespace observe
