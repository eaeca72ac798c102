// SPDX-License-Identifier: MIT
// differential [COUNT]: mutated FRU and TLV images, their checksums repaired, as the library and as
// a second decoder reads them: libfreeipmi, and the one of the tests that knows the layout's
// description alone. Differences that are no faults stand in kDifferences; any other ends the run
// with exit status 1.
#include <dfd/inventory.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>

#include "check/peer.h"

namespace {

using namespace dfd_fuzz;
using dfd_check::kMaxCustom;
using dfd_check::Peer;

constexpr std::uint64_t kSeed = 20240618;
constexpr std::size_t kHeaderSize = DFD_FRU_HEADER_SIZE;
constexpr std::size_t kBlock = 8;
constexpr std::uint8_t kEndMark = 0xC1;
constexpr std::uint8_t kEnglish = 25;
constexpr std::uint8_t kTextCode = 3;
constexpr std::size_t kFieldsAt = 3;

class Random {
  public:
    std::size_t below(std::size_t end) { return static_cast<std::size_t>(engine_() % end); }
    bool one_in(std::size_t count) { return below(count) == 0; }
    std::uint8_t byte() { return static_cast<std::uint8_t>(engine_()); }
    std::uint8_t letter() { return static_cast<std::uint8_t>(' ' + below('~' - ' ' + 1)); }

  private:
    std::mt19937_64 engine_{kSeed};
};

// ---- The library -------------------------------------------------------------------------------

// The fields by the functions for EEPROMs: name, version and serial number.
bool library_answers(std::uint32_t type, Bytes *text) {
    text->assign(kMemorySize, 0);
    auto length = static_cast<int>(text->size());
    const int result = dfd_get_fru_data(kBus, kAddr, type, text->data(), &length);
    text->resize(result == 0 ? static_cast<std::size_t>(length) : 0);
    return result == 0;
}

// All fields by the parser of areas. What the area lacks is empty.
bool library_fields(Input area, std::vector<Bytes> *fields, std::uint8_t *language) {
    static fru_field_t stored[kFruFixedFields + kMaxCustom];
    fru_product_info_t info = {language,   &stored[0], &stored[1], &stored[2], &stored[3],
                               &stored[4], &stored[5], &stored[6], &stored[7], kMaxCustom};
    fru_field_offsets offsets = {};
    if (ipmi_fru_product_info_area(area.data(), static_cast<int>(area.size()), &info, offsets) !=
        0) {
        return false;
    }
    for (const fru_field_t &field : stored) {
        fields->emplace_back(field.data, field.data + field.len);
    }
    return true;
}

// ---- Images ------------------------------------------------------------------------------------

void put_field(Random &random, Bytes &area) {
    const std::size_t size = random.one_in(40) ? random.below(64) : random.below(14);
    const std::size_t code = random.one_in(3) ? random.below(4) : kTextCode;
    area.push_back(static_cast<std::uint8_t>(code << 6 | size));
    for (std::size_t i = 0; i < size; ++i) {
        area.push_back(random.one_in(20) ? random.byte() : random.letter());
    }
}

MemoryBytes fru_image(Random &random) {
    MemoryBytes image;
    image.fill(random.one_in(2) ? 0xFF : 0x00);
    const std::size_t at = (1 + random.below(8)) * kBlock;
    Bytes area = {1, 0, random.one_in(4) ? random.byte() : kEnglish};
    const std::size_t fields = random.one_in(30) ? random.below(12) : 7 + random.below(4);
    for (std::size_t i = 0; i < fields; ++i) {
        put_field(random, area);
    }
    area.push_back(kEndMark);
    area.resize(std::min((area.size() / kBlock + 1 + random.below(3)) * kBlock, kMemorySize - at));
    area[1] = static_cast<std::uint8_t>(area.size() / kBlock);
    std::copy(area.begin(), area.end(), image.begin() + static_cast<std::ptrdiff_t>(at));
    std::fill_n(image.begin(), kHeaderSize, std::uint8_t{0});
    image[0] = 1;
    image[4] = static_cast<std::uint8_t>(at / kBlock);
    for (std::size_t count = random.below(4); count > 0; --count) {
        image[at + random.below(area.size())] = random.one_in(4) ? kEndMark : random.byte();
    }
    if (random.one_in(50)) {
        image[random.one_in(2) ? 0 : 4] = random.byte();
    }
    repair_fru_sums(image);
    if (random.one_in(20)) {
        image[random.one_in(2) ? kHeaderSize - 1 : at + area.size() - 1] ^= 1;
    }
    return image;
}

Bytes tlv_input(Random &random) {
    constexpr std::uint8_t kVersions[] = {1, 1, 1, 2, 2, 0, 3};
    constexpr std::uint8_t kTypes[] = {2, 3, 5, 6, 3, 5, 0, 0x42};
    Bytes entries;
    for (std::size_t count = random.below(7); count > 0; --count) {
        entries.push_back(kTypes[random.below(std::size(kTypes))]);
        entries.push_back(static_cast<std::uint8_t>(
            entries.back() == 6 && !random.one_in(5) ? 4 : random.below(30)));
        for (std::size_t i = entries.back(); i > 0; --i) {
            entries.push_back(random.letter());
        }
    }
    const std::uint8_t version = kVersions[random.below(std::size(kVersions))];
    Bytes image = {version, 0x7E, random.byte(),
                   random.one_in(2) ? std::uint8_t{0xF1} : random.byte()};
    image.resize(version == 1 ? 4 : 8);
    image.push_back(0);
    image.push_back(static_cast<std::uint8_t>(std::min<std::size_t>(entries.size(), 244)));
    image.insert(image.end(), entries.begin(), entries.end());
    for (std::size_t count = random.below(3); count > 0; --count) {
        image[random.below(image.size())] = random.byte();
    }
    Bytes input = {static_cast<std::uint8_t>(random.one_in(10) ? 0 : 1), random.byte()};
    for (int text = 0; text < 2; ++text) {
        input.push_back(static_cast<std::uint8_t>(random.below(24)));
        for (std::size_t i = input.back(); i > 0; --i) {
            input.push_back(random.letter());
        }
    }
    input.insert(input.end(), image.begin(), image.end());
    return input;
}

// ---- Judgement ---------------------------------------------------------------------------------

// Where the decoders differ on purpose; none of these images is one that the standard allows.
enum Reason : std::size_t { other_version, past_the_end, runs_over, no_end, kReasons };
struct Difference {
    const char *what;
    std::size_t count = 0;
};
Difference g_differences[kReasons] = {
    {"a version byte is not 1: the library refuses it; libfreeipmi looks at four bits of the "
     "header's "
     "and at none of the area's"},
    {"an area goes on behind the memory: the library goes on with the chip, at its start"},
    {"a field runs past the area, or over its sum: the library gives those before it"},
    {"there is no end mark: the library ends with the area"}};

// Why one takes an image that the other refuses; kReasons: there is no reason.
Reason reason_of(const MemoryBytes &image, bool is_taken) {
    const std::size_t at = image[4] * kBlock;
    if (!is_taken) {
        const bool is_other = image[0] != 1 || (at < image.size() && image[at] != 1);
        return is_other ? other_version : kReasons;
    }
    const Bytes area = fru_area_bytes(image, at);
    if (at + area.size() > image.size()) {
        return past_the_end;
    }
    // The sum is no part of the fields.
    const Input fields = Input(area).first(area.size() - 1);
    FruArea strict;
    read_fru_fields(fields, &strict);
    if (strict.has_end) {
        return kReasons;
    }
    std::size_t end = kFieldsAt;
    for (const FruField &field : strict.fields) {
        end += 1 + field.data.size();
    }
    return end < fields.size() ? runs_over : no_end;
}

struct Counts {
    std::size_t images = 0;
    std::size_t accepted = 0;
    std::size_t refused = 0;
    std::size_t texts = 0;
};

void demand_same_fields(const std::vector<Bytes> &ours, const std::vector<FruField> &theirs) {
    for (std::size_t i = 0; i < theirs.size(); ++i) {
        demand(ours[i] == theirs[i].data, "field " + std::to_string(i) + " differs");
    }
}

void compare_texts(Peer &peer, const std::vector<FruField> &fields, std::uint8_t language,
                   Counts &counts) {
    for (const FruField &field : fields) {
        if (field.code != kTextCode || (language != kEnglish && language != 0)) {
            continue;
        }
        const auto text = peer.text_of(field, language);
        demand(text && *text == std::string(field.data.begin(), field.data.end()),
               "a text differs");
        ++counts.texts;
    }
}

void compare_fru(Peer &peer, const MemoryBytes &image, Counts &counts) {
    const Memory memory(image);
    Bytes texts[3];
    const bool is_ours = library_answers(E2PROM_INFO_NAME, &texts[0]);
    demand(library_answers(E2PROM_INFO_HW_VER, &texts[1]) == is_ours &&
               library_answers(E2PROM_INFO_SN, &texts[2]) == is_ours,
           "the library takes one field and refuses another");
    std::vector<FruField> theirs;
    std::uint8_t language = 0;
    const bool is_theirs = peer.read(image, &theirs, &language);
    ++counts.images;
    ++(is_ours ? counts.accepted : counts.refused);
    if (is_ours != is_theirs) {
        const Reason reason = reason_of(image, is_ours);
        demand(reason != kReasons, is_ours ? "libfreeipmi refuses" : "the library refuses");
        ++g_differences[reason].count;
    }
    if (!is_ours) {
        return;
    }
    const std::size_t at = image[4] * kBlock;
    std::vector<Bytes> ours;
    std::uint8_t our_language = 0;
    demand(library_fields(fru_area_bytes(image, at), &ours, &our_language),
           "the parser of areas refuses");
    demand(
        ours[kFruName] == texts[0] && ours[kFruVersion] == texts[1] && ours[kFruSerial] == texts[2],
        "an EEPROM has other fields than its area");
    demand(!is_theirs || our_language == language, "the language differs");
    demand_same_fields(ours, theirs);
    compare_texts(peer, theirs, language, counts);
}

void print_image(const MemoryBytes &image) {
    for (std::size_t i = 0; i < image.size(); ++i) {
        std::printf("%02x%s", image[i], i % 32 == 31 ? "\n" : " ");
    }
}

void compare_all_fru(std::size_t count) {
    Peer peer;
    Random random;
    Counts counts;
    while (counts.images < count) {
        const MemoryBytes image = fru_image(random);
        try {
            compare_fru(peer, image, counts);
        } catch (const Finding &finding) {
            std::printf("FRU image %zu: %s\n", counts.images, finding.what());
            print_image(image);
            std::exit(1);
        }
    }
    std::printf("FRU: %zu images, %zu taken and %zu refused by the library, %zu texts compared\n",
                counts.images, counts.accepted, counts.refused, counts.texts);
    for (const Difference &difference : g_differences) {
        std::printf("  %6zu  %s\n", difference.count, difference.what);
    }
}

void compare_all_tlv(std::size_t count) {
    Random random;
    for (std::size_t i = 0; i < count; ++i) {
        const Bytes input = tlv_input(random);
        try {
            tlv(input);
        } catch (const Finding &finding) {
            std::printf("TLV image %zu: %s\n", i, finding.what());
            print_image(memory_bytes(input));
            std::exit(1);
        }
    }
    std::printf("TLV: %zu images, each read, updated and read again: no difference\n", count);
}

}  // namespace

int main(int argc, char **argv) {
    const std::size_t count = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 1000000;
    compare_all_fru(count);
    compare_all_tlv(count);
}
