// SPDX-License-Identifier: MIT
// Images against bytes worked out by hand from the layouts; refusals with the line at fault.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "programs.h"

namespace tools_test {
namespace {

using testing::HasSubstr;

constexpr std::size_t kImageSize = 256;

struct Built {
    Result result;
    std::string bytes;
};

Built build(const std::string &description) {
    const TempDir dir;
    const auto source = dir.path() / "unit.toml";
    const auto image = dir.path() / "unit.bin";
    write_file(source, description);
    const Result result =
        run_tool(fmt::format("dfd-eeprom {} {}", source.string(), image.string()));
    return {result, read_file(image)};
}

std::string hex(const std::string &bytes, std::size_t offset, std::size_t count) {
    std::string text;
    for (std::size_t i = offset; i < offset + count && i < bytes.size(); ++i) {
        text +=
            fmt::format("{}{:02x}", text.empty() ? "" : " ", static_cast<unsigned char>(bytes[i]));
    }
    return text;
}

TEST(Eeprom, LayoutsGiveTheBytesOfTheFormat) {
    struct Case {
        const char *what;
        const char *description;
        std::size_t offset;
        const char *expected;
    };
    const Case cases[] = {
        {"short TLV: header, entry with terminator, sum 0x0253",
         "[[tlv]]\nhw_version = '1.2'\ndevice_type = 35\n"
         "[[tlv.entry]]\ntype = 'serial_number'\ntext = 'AB'\n",
         0, "01 7e 12 23 00 05 03 03 41 42 00 01 42 ff"},
        {"long TLV: four reserved bytes, integer entry",
         "[[tlv]]\nversion = 2\n[[tlv.entry]]\ntype = 6\nnumber = 300\n", 0,
         "02 7e 00 f1 00 00 00 00 00 06 06 04 00 00 01 2c 01 ae ff"},
        {"a size pads a text with NUL and may cut off its terminator",
         "[[tlv]]\ndevice_type = 0\n[[tlv.entry]]\ntype = 2\ntext = 'AB'\nsize = 4\n"
         "[[tlv.entry]]\ntype = 3\ntext = 'CD'\nsize = 2\n",
         6, "02 04 41 42 00 00 03 02 43 44"},
        {"spoilt TLV",
         "[[tlv]]\ndevice_type = 0\nflag = 0\nspoil_checksum = true\ndata_length = 9\n", 0,
         "01 00 00 00 00 09 00 0b"},
        {"FRU common header", "[[fru]]\n", 0, "01 00 00 00 01 00 00 fe"},
        {"FRU fields: text, BCD plus, six bit, empty ones, end mark, zero checksum",
         "[[fru]]\nmanufacturer = 'AB'\n"
         "product_name = { text = '12-', code = 'bcd_plus' }\n"
         "part_number = { text = 'IPMI', code = 'six_bit' }\n"
         "product_version = { bytes = [1], code = 'binary' }\n",
         8, "01 03 19 c2 41 42 42 12 ba 83 29 dc a6 01 01 c0 c0 c0 c1 00 00 00 00 5f"},
        {"FRU area of a wished size at a wished place",
         "[[fru]]\nproduct_offset = 32\narea_size = 24\nspoil_header_checksum = true\n", 0,
         "01 00 00 00 04 00 00 fc"},
        {"fan: version 1.23 as 01 and swapped 32",
         "[[fan_legacy]]\ntype = 7\nserial_number = '1234567890123'\nhw_version = '1.2a'\n", 0,
         "07 31 32 33 34 35 36 37 38 39 30 31 32 33 01 a2"},
        {"power: name padded with blanks",
         "[[power_legacy]]\nname_offset = 16\nname = 'PS'\nhw_version_offset = 40\n"
         "hw_version = '2.05'\n",
         16, "50 53 20 20 20 20 20 20 20 20 20 20 ff ff ff ff ff ff ff ff ff ff ff ff 32 30 35"},
        {"board layout 2", "[[board_legacy]]\nlayout = 2\ntype = 10\naddend = 5\n", 0,
         "02 00 ff 0a ff ff ff 05"},
        {"board layout 1, second byte", "[[board_legacy]]\nlayout = 1\ntype = 1\nsub_type = 17\n",
         64, "11"},
        {"backplane",
         "[[backplane]]\nchassis_type = 3\nhw_version = '1.0'\nserial_number = 'S'\n"
         "mac = '00:11:22:33:44:5f'\nserials = [1, 2, 3, 4]\n",
         0,
         "03 31 2e 30 00 00 00 00 00 53 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
         "00 11 22 33 44 5f 01 02 03 04 00 00 00 00 00 00 ff"},
        {"bytes and text side by side, other fill",
         "fill = 0\n[[bytes]]\noffset = 1\nvalues = 'de ad'\n[[text]]\noffset = 3\nvalue = 'x'\n"
         "size = 2\npad = 0x20\n",
         0, "00 de ad 78 20 00"},
    };
    for (const Case &each : cases) {
        SCOPED_TRACE(each.what);
        const Built built = build(each.description);
        EXPECT_EQ(built.result.status, 0) << built.result.err;
        EXPECT_EQ(built.bytes.size(), kImageSize);
        const std::string expected = each.expected;
        EXPECT_EQ(hex(built.bytes, each.offset, (expected.size() + 1) / 3), expected);
    }
}

TEST(Eeprom, BadDescriptionsAreRefusedWithTheLine) {
    struct Case {
        const char *description;
        const char *place;
        const char *message;
    };
    const Case cases[] = {
        {"[[tlv]\n", "unit.toml:1:", "table"},
        {"\n[[tvl]]\n", "unit.toml:2:", "unknown key 'tvl', did you mean 'tlv'?"},
        {"[[tlv]]\ndevice_typ = 1\n", "unit.toml:1:", "'device_type' is missing"},
        {"[[tlv]]\ndevice_type = 1\nversoin = 1\n", "unit.toml:3:", "did you mean 'version'?"},
        {"[[tlv]]\ndevice_type = 256\n", "unit.toml:2:", "a number from 0 to 255"},
        {"[[tlv]]\ndevice_type = 1\n[[tlv.entry]]\ntype = 'serial'\ntext = 'x'\n",
         "unit.toml:4:", "did you mean 'serial_number'?"},
        {"[[tlv]]\ndevice_type = 1\n[[tlv.entry]]\ntype = 3\ntext = 'x'\nnumber = 1\n",
         "unit.toml:3:", "one value"},
        {"[[tlv]]\ndevice_type = 1\n[[tlv.entry]]\ntype = 3\ntext = 'abc'\nsize = 2\n",
         "unit.toml:6:", "below the 3 bytes"},
        {"[[fru]]\nproduct_name = 'x'\n", "unit.toml:2:", "end of the fields"},
        {"[[fru]]\nproduct_name = { text = 'ab', code = 'sixbit' }\n",
         "unit.toml:2:", "did you mean 'six_bit'?"},
        {"[[fru]]\npart_number = { text = 'a', code = 'six_bit' }\n", "unit.toml:2:", "lower case"},
        {"[[tlv]]\ndevice_type = 1\n[[tlv.entry]]\ntype = 3\nnumber = 256\nsize = 1\n",
         "unit.toml:5:", "does not fit"},
        {"[[fru]]\narea_size = 12\n", "unit.toml:2:", "multiple of 8"},
        {"[[fan_legacy]]\ntype = 1\nserial_number = 'short'\nhw_version = '1.23'\n",
         "unit.toml:3:", "exactly 13 characters"},
        {"[[power_legacy]]\nname = 'x'\nhw_version_offset = 9\nhw_version = '12.3'\n",
         "unit.toml:4:", "a version \"x.yz\""},
        {"[[board_legacy]]\nlayout = 1\ntype = 1\naddend = 1\n",
         "unit.toml:1:", "'sub_type' is missing"},
        {"[[backplane]]\nchassis_type = 1\nhw_version = '1'\nserial_number = 's'\n"
         "mac = '00-11-22-33-44-55'\n",
         "unit.toml:5:", "six pairs"},
        {"[[bytes]]\noffset = 250\nvalues = [1,2,3,4,5,6,7]\n",
         "unit.toml:1:", "ends after byte 255"},
        {"[[bytes]]\nvalues = [1, 2]\n[[text]]\noffset = 1\nvalue = 'x'\n",
         "unit.toml:3:", "overlaps [[bytes]] at byte 1"},
        {"[[bytes]]\nvalues = 'abc'\n", "unit.toml:2:", "pairs of hexadecimal digits"},
    };
    for (const Case &each : cases) {
        SCOPED_TRACE(each.description);
        const Built built = build(each.description);
        EXPECT_EQ(built.result.status, 1);
        EXPECT_THAT(built.result.err, HasSubstr(each.place));
        EXPECT_THAT(built.result.err, HasSubstr(each.message));
        EXPECT_TRUE(built.bytes.empty());
    }
}

// By its own name, as what it takes is its own.
TEST(Eeprom, TheProgramNamesItself) {
    struct Case {
        const char *arguments;
        int status;
        const char *text;
    };
    constexpr Case kCases[] = {
        {"unit.toml", 2,
         "dfd-eeprom: 'dfd-eeprom' takes DESCRIPTION IMAGE: A text file as 'dfdctl eeprom decode' "
         "prints it, and the file to write\nTry 'dfd-eeprom --help'.\n"},
        {"--jso a b", 2,
         "dfd-eeprom: unexpected '--jso', did you mean '--json'?\nTry 'dfd-eeprom --help'.\n"},
        {"check unit.bin", 1, "dfd-eeprom: check: "},
        {"--help", 0, "\nUsage: dfd-eeprom [OPTIONS] DESCRIPTION IMAGE\n"},
        {"--help", 0, "\nExample:\n  dfd-eeprom unit.toml unit.bin\n\nExit status:\n"},
        {"--version", 0, "dfd-eeprom "},
    };
    for (const Case &each : kCases) {
        const Result result = run_tool(fmt::format("dfd-eeprom --wide {}", each.arguments));
        EXPECT_EQ(result.status, each.status) << each.arguments;
        EXPECT_THAT(result.out + result.err, HasSubstr(each.text));
        EXPECT_THAT(result.out + result.err, testing::Not(HasSubstr("dfdctl eeprom encode")));
    }
}

TEST(Eeprom, AnImageThatStaysTheSameKeepsItsDate) {
    const TempDir dir;
    const auto source = dir.path() / "unit.toml";
    const auto image = dir.path() / "unit.bin";
    write_file(source, "[[bytes]]\nvalues = [1]\n");
    const auto command = fmt::format("dfd-eeprom {} {}", source.string(), image.string());
    ASSERT_EQ(run_tool(command).status, 0);
    const auto long_ago = std::filesystem::file_time_type::clock::now() - std::chrono::hours(1);
    std::filesystem::last_write_time(image, long_ago);
    ASSERT_EQ(run_tool(command).status, 0);
    EXPECT_EQ(std::filesystem::last_write_time(image), long_ago);
    write_file(source, "[[bytes]]\nvalues = [2]\n");
    ASSERT_EQ(run_tool(command).status, 0);
    EXPECT_NE(std::filesystem::last_write_time(image), long_ago);
}

}  // namespace
}  // namespace tools_test
