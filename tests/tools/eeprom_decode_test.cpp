// SPDX-License-Identifier: MIT
// Decoding images: every byte comes back from the description, faults have their offset, and a text
// is changed with the image sound afterwards.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>
#include <random>

#include "eeprom/decode.hpp"

namespace {

using eeprom::Bytes;
using eeprom::Decoded;
using eeprom::Hint;
using eeprom::Layout;
using testing::HasSubstr;
using testing::Not;

constexpr Hint kPower = {
    .layout = Layout::power_legacy, .name_offset = 0x20, .version_offset = 0x30};

struct Sample {
    const char *what;
    const char *description;
    Hint hint = {};
};

/// Images as they leave a factory, and odd ones that are sound all the same.
const Sample kSound[] = {
    {"short TLV",
     "[[tlv]]\nhw_version = '1.2'\ndevice_type = 62\n"
     "[[tlv.entry]]\ntype = 'product_name'\ntext = 'CM8 master'\n"
     "[[tlv.entry]]\ntype = 'serial_number'\ntext = 'CM8A02'\nsize = 20\n"
     "[[tlv.entry]]\ntype = 'hw_version'\ntext = '1.20'\nsize = 8\n"},
    {"long TLV with reserved bytes, a number, unknown types, an empty and a binary value",
     "[[tlv]]\nversion = 2\nreserved = '01 02 03 04'\n"
     "[[tlv.entry]]\ntype = 6\nnumber = 0x30365350\n[[tlv.entry]]\ntype = 0x42\nbytes = 'de ad "
     "00'\n"
     "[[tlv.entry]]\ntype = 3\ntext = ''\nsize = 0\n[[tlv.entry]]\ntype = 0\ntext = 'AB'\nsize = "
     "2\n"
     "[[tlv.entry]]\ntype = 'serial_number'\ntext = 'SECOND'\n"},
    {"TLV of version 7 with a text behind it, in a memory filled with zeros",
     "fill = 0\n[[tlv]]\nversion = 7\ndevice_type = 1\n[[tlv.entry]]\ntype = 3\ntext = 'S'\n"
     "[[text]]\noffset = 0xd0\nvalue = 'V1.02'\nsize = 8\n[[bytes]]\noffset = 0xf0\nvalues = "
     "'0102'\n"},
    {"FRU, product area in all encodings, custom fields",
     "[[fru]]\nmanufacturer = 'Demo Fans'\nproduct_name = 'FT2-F'\n"
     "part_number = { text = '12-34.5 ', code = 'bcd_plus' }\nproduct_version = '123'\n"
     "serial_number = 'FT2F00240202'\nasset_tag = { text = 'RACK 7', code = 'six_bit' }\n"
     "fru_file_id = { bytes = [1, 255], code = 'binary' }\ncustom = ['front', "
     "{bytes=[],code='binary'}, {bytes=[29],code='bcd_plus'}]\n"},
    {"FRU with chassis and board area, areas out of order, an internal area, Latin 1",
     "[[fru]]\ninternal_offset = 224\nproduct_offset = 8\narea_size = 80\nproduct_name = "
     "'caf\u00e9'\n"
     "[fru.chassis]\noffset = 160\ntype = 23\npart_number = 'C-1'\nserial_number = 'CS2'\n"
     "custom = ['rack']\n[fru.board]\noffset = 88\nmfg_date = 14976000\nmanufacturer = 'BM'\n"
     "serial_number = 'BS1234'\n[[bytes]]\noffset = 224\nvalues = '01 99'\n"},
    {"FRU whose fields end early, padded with 0xff",
     "[[fru]]\nfield_count = 2\nmanufacturer = 'AB'\nproduct_name = ''\narea_size = 40\npad = "
     "0xff\n"},
    {"FRU without a product area", "[[fru]]\nproduct_offset = 0\n[fru.board]\noffset = 8\n"},
    {"fan",
     "[[fan_legacy]]\ntype = 33\nserial_number = 'FT0F002403003'\nhw_version = '1.2a'\n",
     {.layout = Layout::fan_legacy}},
    {"power",
     "[[power_legacy]]\nname_offset = 0x20\nname = 'PS800-DC'\nhw_version_offset = 0x30\n"
     "hw_version = '2.05'\n[[text]]\noffset = 0x40\nvalue = 'PS8DC'\n",
     kPower},
    {"power, name filled with NUL",
     "[[power_legacy]]\nname_offset = 0x20\nname = 'PS'\npad = 0\nhw_version_offset = 0x30\n"
     "hw_version = '0.00'\n",
     kPower},
    {"board 1",
     "[[board_legacy]]\nlayout = 1\ntype = 156\nsub_type = 17\n",
     {.layout = Layout::board_legacy}},
    {"board 2",
     "[[board_legacy]]\nlayout = 2\ntype = 10\naddend = 5\n",
     {.layout = Layout::board_legacy}},
    {"backplane",
     "[[backplane]]\nchassis_type = 8\nhw_version = '2.00'\nserial_number = 'CH8'\n"
     "mac = '02:44:46:10:20:00'\nserials = [1, 2, 3, 4]\nreserved = '010203040506'\n",
     {.layout = Layout::backplane}},
    {"TLV where a FRU image is expected",
     "[[tlv]]\ndevice_type = 1\n[[tlv.entry]]\ntype = 3\n"
     "text = 'SN'\n",
     {.layout = Layout::fru}},
    {"TLV where the record of an old board may stand",
     "[[tlv]]\ndevice_type = 1\n[[tlv.entry]]\ntype = 3\ntext = 'SN'\n",
     {.layout = Layout::board_legacy}},
};

TEST(EepromDecode, SoundImagesAreToldInSectionsThatGiveThemBack) {
    for (const Sample &sample : kSound) {
        SCOPED_TRACE(sample.what);
        const Bytes image = eeprom::build_text(sample.description);
        const Decoded decoded = eeprom::decode(image, sample.hint);
        EXPECT_TRUE(decoded.faults.empty()) << decoded.faults.front().text;
        EXPECT_EQ(eeprom::build_text(decoded.description), image) << decoded.description;
        EXPECT_THAT(decoded.description, Not(HasSubstr("overlay")));
        const bool is_zero = std::string_view(sample.description).starts_with("fill = 0\n");
        EXPECT_THAT(decoded.description, HasSubstr(is_zero ? "fill = 0x00\n" : "fill = 0xff\n"));
        const std::string first(sample.description, 0,
                                std::string(sample.description).find("]]") + 2);
        EXPECT_THAT(decoded.description, HasSubstr(first.substr(first.find("[["))));
    }
}

/// Each byte set to odd values, the end cut off, and noise.
std::vector<Bytes> damaged(const Bytes &image) {
    std::vector<Bytes> images;
    for (std::size_t at = 0; at < image.size(); ++at) {
        for (const int value : {0, 0xc1, 0xff}) {
            images.push_back(image);
            images.back()[at] = static_cast<std::uint8_t>(value);
        }
        if (at % 5 == 0) {
            images.emplace_back(image.begin(), image.begin() + static_cast<std::ptrdiff_t>(at));
        }
    }
    std::minstd_rand random(7);
    for (int round = 0; round < 200; ++round) {
        images.push_back(image);
        for (int change = 0; change < 1 + round % 20; ++change) {
            images.back()[random() % 64] = static_cast<std::uint8_t>(random());
        }
    }
    return images;
}

TEST(EepromDecode, EveryImageComesBackFromItsDescriptionHoweverDamaged) {
    std::size_t count = 0;
    for (const Sample &sample : kSound) {
        for (const Bytes &image : damaged(eeprom::build_text(sample.description))) {
            const Decoded decoded = eeprom::decode(image, sample.hint);
            ++count;
            if (!image.empty()) {
                ASSERT_EQ(eeprom::build_text(decoded.description), image) << sample.what << "\n"
                                                                          << decoded.description;
            }
        }
    }
    EXPECT_GT(count, 13000U);
}

TEST(EepromDecode, FaultsHaveTheirOffset) {
    struct Case {
        const char *what;
        const char *description;
        std::size_t offset;
        const char *text;
        Hint hint = {};
    };
    const Case cases[] = {
        {"erased", "size = 32\n", 0, "blank: all bytes are 0xff"},
        {"zero", "fill = 0\n", 0, "blank: all bytes are 0x00"},
        {"noise", "[[bytes]]\nvalues = '99 12'\n", 0, "neither a TLV nor a FRU image"},
        {"TLV sum",
         "[[tlv]]\ndevice_type = 9\n[[tlv.entry]]\ntype = 3\ntext = 'SN7'\n[[overlay]]\n"
         "offset = 12\nvalues = '00 00'\n",
         12, "the checksum is 0x0000, it should be 0x"},
        {"TLV flag",
         "[[tlv]]\ndevice_type = 9\nflag = 0\n[[tlv.entry]]\ntype = 3\ntext = 'SN7'\n",
         1,
         "the flag is 0x00",
         {.layout = Layout::tlv}},
        {"TLV length", "[[tlv]]\ndevice_type = 9\ndata_length = 500\n", 4,
         "the length of the entries is 500, the memory has room for 248"},
        {"TLV length below 3", "[[tlv]]\ndevice_type = 9\n", 4, "outside 3 to 244"},
        {"TLV entry",
         "[[tlv]]\ndevice_type = 9\n[[tlv.entry]]\ntype = 3\ntext = 'SN7'\n[[overlay]]\n"
         "offset = 7\nvalues = '40'\n",
         6, "an entry runs past the end"},
        {"FRU header", "[[fru]]\nspoil_header_checksum = true\n", 7, "checksum of the header"},
        {"FRU area", "[[fru]]\nproduct_name = 'NAME'\nspoil_area_checksum = true\n", 23,
         "the checksum of the FRU product info area is 0x"},
        {"FRU length", "[[fru]]\narea_length = 200\n", 9, "is 1600 bytes long, the memory has 248"},
        {"FRU place", "size = 64\n[[bytes]]\nvalues = '01 00 00 00 10 00 00 ef'\n", 4,
         "begins at byte 128, behind the end"},
        {"FRU overlap", "[[fru]]\nproduct_name = 'NAME'\n[[overlay]]\noffset = 3\nvalues = '01'\n",
         8, "the FRU product info area overlaps another area"},
        {"FRU field", "[[fru]]\nmanufacturer = 'ABCD'\n[[overlay]]\noffset = 11\nvalues = 'ff'\n",
         11, "a field runs past the end of its area"},
        {
            "FRU end",
            "[[fru]]\nfield_count = 1\nmanufacturer = 'ABC'\n[[overlay]]\noffset = 15\n"
            "values = 'c0'\n",
            23,
            "no end mark",
        },
        {"fan serial",
         "[[bytes]]\nvalues = '21'\n[[bytes]]\noffset = 14\nvalues = '01 32'\n",
         1,
         "serial_number is blank",
         {.layout = Layout::fan_legacy}},
        {"fan version",
         "[[bytes]]\nvalues = '21'\n[[text]]\noffset = 1\nvalue = '1234567890123'\n"
         "[[bytes]]\noffset = 14\nvalues = '99 32'\n",
         14,
         "hw_version is not text",
         {.layout = Layout::fan_legacy}},
        {"power version", "[[text]]\noffset = 0x20\nvalue = 'PS'\nsize = 12\n", 0x30,
         "hw_version is blank", kPower},
        {"backplane serial",
         "[[bytes]]\nvalues = '08 32 2e 30'\n",
         1,
         "hw_version is not text",
         {.layout = Layout::backplane}},
        {"short",
         "size = 20\n[[bytes]]\nvalues = '08'\n",
         20,
         "ends inside the backplane record",
         {.layout = Layout::backplane}},
    };
    for (const Case &each : cases) {
        SCOPED_TRACE(each.what);
        const Bytes image = eeprom::build_text(each.description);
        const Decoded decoded = eeprom::decode(image, each.hint);
        bool is_found = false;
        std::string all;
        for (const eeprom::Fault &fault : decoded.faults) {
            is_found |=
                fault.offset == each.offset && fault.text.find(each.text) != std::string::npos;
            all += fmt::format("0x{:02x} {}\n", fault.offset, fault.text);
        }
        EXPECT_TRUE(is_found) << all;
        EXPECT_EQ(eeprom::build_text(decoded.description), image);
    }
}

TEST(EepromDecode, WhatCanBeReadOfADamagedImageIsTold) {
    Bytes image = eeprom::build_text(kSound[3].description);
    image[9] = 200;  // the length of the product area
    EXPECT_THAT(eeprom::decode(image).description, HasSubstr("# fault at 0x09"));
    image = eeprom::build_text(kSound[0].description);
    image[4 + 2 + 2 + 11 + 1] = 99;  // the length of the serial number's entry
    const Decoded decoded = eeprom::decode(image);
    EXPECT_THAT(decoded.description, HasSubstr("# product_name at 0x08: \"CM8 master\""));
    EXPECT_EQ(decoded.field("serial_number"), nullptr);
}

TEST(EepromDecode, DifferencesAreRunsOfBytes) {
    struct Case {
        Bytes before;
        Bytes after;
        std::vector<eeprom::Difference> runs;
    };
    const Case cases[] = {
        {{1, 2, 3}, {1, 2, 3}, {}},
        {{1, 2, 3}, {9, 8, 3}, {{0, {1, 2}, {9, 8}}}},
        {{1, 2, 3}, {9, 2, 8}, {{0, {1}, {9}}, {2, {3}, {8}}}},
        {{1}, {1, 2, 3}, {{1, {}, {2, 3}}}},
        {{1, 2}, {}, {{0, {1, 2}, {}}}},
    };
    for (const Case &each : cases) {
        const auto found = eeprom::differences(each.before, each.after);
        ASSERT_EQ(found.size(), each.runs.size());
        for (std::size_t i = 0; i < found.size(); ++i) {
            EXPECT_EQ(found[i].offset, each.runs[i].offset);
            EXPECT_EQ(found[i].before, each.runs[i].before);
            EXPECT_EQ(found[i].after, each.runs[i].after);
        }
    }
}

struct Change {
    std::size_t sample;
    std::vector<eeprom::Edit> edits;
    const char *expected;  ///< a field and its text, or a part of the refusal
};

TEST(EepromEdit, GivesASoundImageThatDiffersInTheFieldOnly) {
    const Change changes[] = {
        {0, {{"serial_number", "NEW"}}, "serial_number=NEW"},
        {0, {{"serial_number", "1234567890123456789"}}, "serial_number=1234567890123456789"},
        {0, {{"hw_version", "2.00"}, {"serial_number", "X"}}, "hw_version=2.00"},
        {0, {{"device_type", "77"}}, "device_type=77"},
        {1, {{"device_type", "5"}}, "device_type=5"},
        {3, {{"serial_number", "FT2F00249999"}}, "serial_number=FT2F00249999"},
        // Shorter: the library's own update would leave the area without its checksum.
        {3, {{"serial_number", "S1"}}, "serial_number=S1"},
        {3, {{"serial_number", ""}}, "serial_number="},
        {3, {{"asset_tag", "lower case"}}, "asset_tag=lower case"},
        {3, {{"hw_version", "1.30"}}, "product_version=1.30"},
        // Longer than its area: the area grows into the erased memory behind it.
        {3, {{"serial_number", std::string(63, 'L')}}, "manufacturer=Demo Fans"},
        {3, {{"custom 1", "back to front"}}, "custom 1=back to front"},
        {4, {{"board.serial_number", "BS99"}}, "board.serial_number=BS99"},
        {4, {{"chassis.part_number", "C-22"}}, "chassis.serial_number=CS2"},
        {5, {{"serial_number", "LATE"}}, "serial_number=LATE"},
        {7, {{"serial_number", "1234567890123"}, {"hw_version", "3.0B"}}, "hw_version=3.0b"},
        {7, {{"type", "7"}}, "type=7"},
        {8, {{"hw_version", "3.21"}}, "hw_version=3.21"},
        {8, {{"product_name", "PS900"}}, "name=PS900"},
        {12, {{"serial_number", "CH8-NEW"}, {"mac", "00:11:22:33:44:55"}}, "mac=00:11:22:33:44:55"},
    };
    for (const Change &change : changes) {
        const Sample &sample = kSound[change.sample];
        SCOPED_TRACE(fmt::format("{}: {}", sample.what, change.expected));
        const Bytes image = eeprom::build_text(sample.description);
        const Decoded before = eeprom::decode(image, sample.hint);
        const Bytes result = eeprom::edited(image, before, sample.hint, change.edits);
        const Decoded after = eeprom::decode(result, sample.hint);
        EXPECT_TRUE(after.faults.empty());
        const std::string expected = change.expected;
        const std::size_t at = expected.find('=');
        ASSERT_NE(after.field(expected.substr(0, at)), nullptr);
        EXPECT_EQ(after.field(expected.substr(0, at))->text, expected.substr(at + 1));
        std::size_t changed = 0;
        for (std::size_t i = 0; i < before.fields.size(); ++i) {
            changed += after.fields[i].text != before.fields[i].text ? 1 : 0;
        }
        EXPECT_LE(changed, change.edits.size());
    }
}

TEST(EepromEdit, RefusesWhatDoesNotFit) {
    const Change changes[] = {
        {0, {{"serial_number", "12345678901234567890"}}, "has room for 19"},
        {0, {{"serial_numbr", "X"}}, "did you mean 'serial_number'"},
        {0, {{"serial_number", "tab\t"}}, "printable ASCII"},
        {0, {{"device_type", "many"}}, "no number"},
        {0, {{"device_type", "256"}}, "0 to 255"},
        {1, {{"entry 0x42", "X"}}, "this field cannot be set; those of this image that can"},
        {3, {{"serial_number", "X"}}, "one character"},
        {3, {{"serial_number", std::string(64, 'L')}}, "at most 63 bytes"},
        {3, {{"custom 1", "X"}}, "one character"},
        {3, {{"custom 9", "more"}}, "no such field"},
        {3, {{"serial_number", "ONE"}, {"serial_number", "TWO"}}, "given twice"},
        {4, {{"board.mfg_date", "2024-01-01"}}, "this field cannot be set"},
        {4, {{"board.serial_number", std::string(60, 'L')}}, "overlaps"},
        {6, {{"serial_number", "AB"}}, "no such field"},
        {7, {{"serial_number", "short"}}, "exactly 13"},
        {7, {{"hw_version", "12.3"}}, "x.yz"},
        {8, {{"name", "much too long a name"}}, "the field has 12"},
        {10,
         {{"layout", "2"}},
         "this field cannot be set; those of this image that can be set are type, sub_type"},
        {12, {{"serials", "1"}}, "this field cannot be set"},
        {12, {{"serial_number", std::string(20, 'S')}}, "the field has 19"},
    };
    for (const Change &change : changes) {
        const Sample &sample = kSound[change.sample];
        SCOPED_TRACE(fmt::format("{}: {}", sample.what, change.expected));
        const Bytes image = eeprom::build_text(sample.description);
        try {
            eeprom::edited(image, eeprom::decode(image, sample.hint), sample.hint, change.edits);
            ADD_FAILURE() << "not refused";
        } catch (const eeprom::Error &error) {
            EXPECT_THAT(error.reason, HasSubstr(change.expected));
        }
    }
}

}  // namespace
