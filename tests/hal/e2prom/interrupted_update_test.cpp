// SPDX-License-Identifier: MIT
// Updates of images that end too early: a unit is pulled, or power fails, behind any byte that the
// EEPROM has taken.
#include <algorithm>
#include <cstdio>
#include <random>

#include "hal/e2prom/fru_board.h"

namespace {

using dfd_test::Bytes;
using dfd_test::bytes_of;
using dfd_test::e2prom_image;
using dfd_test::kBus;
using dfd_test::LibraryTest;
using dfd_test::tlv_entry;
using dfd_test::tlv_image;
using dfd_test::operator+;
using dfd_test::fru::common_header;
using dfd_test::fru::kAddr;
using dfd_test::fru::product_area;

// What a reader of the image gets: name, serial number, hardware version.
using Answers = std::array<std::pair<int, std::string>, 3>;

struct Layout {
    int (*update)(const char *, std::uint16_t, const char *, const char *);
    int (*query)(const char *, std::uint32_t, std::uint16_t, void *, int *);
    // By the description of the layout: nothing of the library is asked.
    bool (*is_valid)(const Bytes &image);
};

std::uint32_t sum_of(const Bytes &image, std::size_t from, std::size_t size) {
    std::uint32_t sum = 0;
    for (std::size_t i = from; i < from + size; ++i) {
        sum += image.at(i);
    }
    return sum;
}

bool is_valid_tlv(const Bytes &image) {
    const std::size_t end = 6U + image[5];
    return sum_of(image, 0, end) == image[end] * 256U + image[end + 1];
}

bool is_unchecked(const Bytes & /*image*/) {
    return true;
}

bool is_valid_fru(const Bytes &image) {
    const std::size_t at = image[4] * 8U;
    const std::size_t size = image[at + 1] * 8U;
    return sum_of(image, 0, 8) % 256 == 0 && at + size <= image.size() &&
           sum_of(image, at, size) % 256 == 0;
}

int query_fru(const char *dev, std::uint32_t type, std::uint16_t addr, void *buf, int *len) {
    return dfd_get_fru_data(dev, addr, type, buf, len);
}

constexpr Layout kTlv1 = {dfd_set_fan_info_tlv, sdd_get_e2prom_info_by_type, is_valid_tlv};
constexpr Layout kTlv2 = {dfd_set_fan_info_tlv, sdd_get_e2prom_info_by_type, is_unchecked};
constexpr Layout kFru = {dfd_set_fan_info_fru, query_fru, is_valid_fru};

// How the cut updates of a layout ended.
struct Counts {
    unsigned cuts, old_image, new_image, detected, unnoticed;
    // Images that are neither old nor new: two that follow each other differ in one byte.
    unsigned mixtures, unnoticed_mixtures;
};

class InterruptedUpdateTest : public LibraryTest {
  protected:
    InterruptedUpdateTest() { add_e2prom(2, kAddr, Bytes(256, 0xFF)); }

    void put(const Bytes &image) {
        chassis.set_slave(2, kAddr, 0, image);
        chassis.advance_us(100000);
        chassis.clear_log();
    }

    Answers answers(const Layout &layout) {
        chassis.advance_us(100000);
        Answers all;
        for (std::size_t i = 0; i < all.size(); ++i) {
            constexpr std::uint32_t kTypes[] = {2, 3, 5};
            char buf[64];
            int len = sizeof buf;
            const int code = layout.query(kBus, kTypes[i], kAddr, buf, &len);
            all[i] = {code, code == 0 ? std::string(buf, static_cast<std::size_t>(len)) : ""};
        }
        return all;
    }

    // One update, cut behind each byte that it writes; adds up how it ended.
    void cut_everywhere(const Layout &layout, const Bytes &before, const std::string &sn,
                        const std::string &hw, Counts *counts) {
        SCOPED_TRACE(sn + ", " + hw);
        put(before);
        const Answers old_answers = answers(layout);
        chassis.clear_log();
        ASSERT_EQ(layout.update(kBus, kAddr, sn.c_str(), hw.c_str()), 0);
        const std::vector<Bytes> writes = i2c_writes();
        const auto reads = static_cast<unsigned>(count(vchassis::Op::transfer) - writes.size());
        const Bytes after = chassis.slave(2, kAddr);
        const Answers new_answers = answers(layout);
        Bytes image = before;
        for (unsigned message = 0; message < writes.size(); ++message) {
            for (std::size_t taken = 0; taken + 1 < writes[message].size(); ++taken) {
                const Bytes last = image;
                put(before);
                chassis.fail({.addr = kAddr, .skip = reads + message, .count = 0});
                EXPECT_LT(layout.update(kBus, kAddr, sn.c_str(), hw.c_str()), 0)
                    << "a success behind message " << message;
                chassis.clear_faults();
                // The bytes of the last message that the chip took.
                chassis.set_slave(2, kAddr, writes[message][0],
                                  std::span(writes[message]).subspan(1, taken));
                image = chassis.slave(2, kAddr);
                judge(layout, image, image != last, {before, after}, {old_answers, new_answers},
                      counts);
            }
        }
    }

    void judge(const Layout &layout, const Bytes &image, bool is_another,
               const std::pair<Bytes, Bytes> &images, const std::pair<Answers, Answers> &known,
               Counts *counts) {
        const Answers now = answers(layout);
        const bool is_refused = std::ranges::all_of(now, [](const auto &a) { return a.first < 0; });
        EXPECT_EQ(is_refused, !layout.is_valid(image));
        const bool is_old = now == known.first;
        const bool is_new = now == known.second;
        const bool is_mixture = image != images.first && image != images.second && is_another;
        const bool is_unnoticed = !is_old && !is_new && !is_refused;
        ++counts->cuts;
        counts->old_image += is_old && !is_refused;
        counts->new_image += is_new && !is_old && !is_refused;
        counts->detected += is_refused;
        counts->unnoticed += is_unnoticed;
        counts->mixtures += is_mixture;
        counts->unnoticed_mixtures += is_mixture && is_unnoticed;
    }

    static void print(const char *what, const Counts &counts) {
        std::printf(
            "%s: %u cut updates: %u old, %u new, %u detected, %u unnoticed mixtures (%.1f %%)\n",
            what, counts.cuts, counts.old_image, counts.new_image, counts.detected,
            counts.unnoticed, 100.0 * counts.unnoticed / counts.cuts);
    }
};

Bytes tlv(std::uint8_t version) {
    return e2prom_image({{0, tlv_image(version, 0x10, 0x23,
                                       tlv_entry(2, bytes_of("LINE-CARD")) +
                                           tlv_entry(3, bytes_of("CM8A0240617001") + Bytes(6, 0)) +
                                           tlv_entry(5, bytes_of("1.20") + Bytes(2, 0)))}});
}

// Its area ends a block before the chip does; `behind` is what stands there.
Bytes fru(std::uint8_t behind) {
    const Bytes area =
        product_area({"MAKER", "PSU-650", "P/N", "1.20", "CM8A0240617001", "", "FID"}, 8);
    constexpr std::uint8_t kBlock = 23;
    return e2prom_image({{0, common_header(kBlock)},
                         {kBlock * 8, area},
                         {kBlock * 8 + area.size(), Bytes(8, behind)}});
}

// Serial numbers as they come: the same maker and year, another week and number.
std::vector<std::string> serials(std::size_t length) {
    constexpr unsigned kCount = 8;
    std::minstd_rand random(1);
    std::vector<std::string> all;
    for (unsigned i = 0; i < kCount; ++i) {
        char text[32];
        std::snprintf(text, sizeof text, "CM8A02%02u%02u%04uXX", 40U + unsigned(random() % 10),
                      1U + unsigned(random() % 52), unsigned(random() % 10000));
        all.push_back(std::string(text).substr(0, length));
    }
    return all;
}

TEST_F(InterruptedUpdateTest, LeaveTheOldImageTheNewOneOrOneThatIsRefused) {
    struct Row {
        const char *what;
        Layout layout;
        Bytes image;
        std::size_t length;  // of the new serial number; the old one has 14 characters
        bool is_readable;    // after an update that nothing cuts
    };
    for (const Row &row : {Row{"TLV, version 1", kTlv1, tlv(1), 14, true},
                           Row{"TLV, version 2", kTlv2, tlv(2), 14, true},
                           Row{"FRU, same length", kFru, fru(0xFF), 14, true},
                           Row{"FRU, longer", kFru, fru(0xFF), 15, true},
                           Row{"FRU, shorter, 0xff behind", kFru, fru(0xFF), 12, false},
                           Row{"FRU, shorter, zeros behind", kFru, fru(0), 12, true}}) {
        SCOPED_TRACE(row.what);
        Counts counts{};
        for (const std::string &sn : serials(row.length)) {
            cut_everywhere(row.layout, row.image, sn, "1.30", &counts);
        }
        print(row.what, counts);
        EXPECT_EQ(counts.old_image + counts.new_image + counts.detected + counts.unnoticed,
                  counts.cuts);
        EXPECT_GT(counts.old_image, 0U);
        EXPECT_GT(counts.mixtures, 0U);
        const bool is_checked = row.layout.is_valid != is_unchecked;
        EXPECT_EQ(counts.detected > 0, is_checked);
        // One byte lies between a mixture and the next. It changes the sum: they are not both
        // valid.
        EXPECT_LE(counts.unnoticed_mixtures, counts.mixtures / (is_checked ? 2 : 1));
        put(row.image);
        const std::string sn = serials(row.length)[0];
        EXPECT_EQ(row.layout.update(kBus, kAddr, sn.c_str(), "1.30"), 0);
        EXPECT_EQ(answers(row.layout)[1].first == 0, row.is_readable);
    }
}

}  // namespace
