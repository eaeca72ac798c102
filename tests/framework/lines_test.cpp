// SPDX-License-Identifier: MIT
// Many made-up lines through the parser's own scanners and through what they stand for: the key
// table from its first row on, sscanf and strtol.
#include <clocale>
#include <cstring>
#include <random>
#include <regex>

#include "framework/dfd_lib_cfg/key_index.h"
#include "framework/dfd_lib_cfg/lookup.h"
#include "framework/dfd_lib_cfg/members.h"
#include "support/library_test.h"

namespace {

using dfd_test::logged_by;
using testing::HasSubstr;

class Maker {
  public:
    std::size_t below(std::size_t end) { return random_() % end; }
    template <typename List>
    const auto &one_of(const List &list) {
        return list[below(std::size(list))];
    }
    std::string text(std::string_view letters, std::size_t longest) {
        std::string text(below(longest + 1), ' ');
        for (char &letter : text) {
            letter = one_of(letters);
        }
        return text;
    }
    std::string key_name() { return std::string(one_of(dfd::kKeyTable).name); }

  private:
    std::mt19937 random_{20};
};

TEST(Names, TheFirstRowOfTheTableThatBeginsTheText) {
    Maker make;
    const dfd::IndexedName *guess = nullptr;
    int found = 0;
    for (int i = 0; i < 50000; ++i) {
        std::string text = make.key_name();
        text.resize(text.size() - make.below(3));
        if (make.below(4) == 0) {
            text[make.below(text.size())] = make.one_of(std::string_view("_az09.\x80\xFF"));
        }
        text += make.below(3) == 0 ? make.key_name() : make.text("_s0.n", 4);
        const auto *const first = std::ranges::find_if(
            dfd::kKeyTable,
            [&text](const dfd::KeyRow &each) { return text.starts_with(each.name); });
        const dfd::KeyRow *const row = first != dfd::kKeyTable.end() ? first : nullptr;
        for (const dfd::IndexedName *const hint : {guess, guess = nullptr}) {
            const dfd::IndexedName *const name = dfd::find_name(text.c_str(), hint);
            ASSERT_EQ(name != nullptr ? name->row : nullptr, row) << text;
            guess = name;
        }
        found += row != nullptr;
    }
    EXPECT_GT(found, 10000);
    for (const dfd::KeyRow &row : dfd::kKeyTable) {
        for (const dfd::IndexedName &hint : dfd::kKeyIndex) {
            ASSERT_EQ(dfd::find_name(row.name.data(), &hint)->row, &row) << row.name;
        }
    }
}

TEST(Numbers, AsTheCLibraryConvertsThem) {
    Maker make;
    for (std::size_t i = 0; i < 50000; ++i) {
        const std::string text =
            make.one_of(std::array{"", "", "", "0", "0x", "0X", "-", "+", "\t", "0x-", "-0x"}) +
            make.text(make.one_of(std::array{"0123456789", "0123456789abcdefABCDEF", "0123_x",
                                             "19fFgG.@`/:\x80 \t+-"}),
                      i % 25);
        const bool is_hex = text.size() > 2 && (text.starts_with("0x") || text.starts_with("0X"));
        const auto number =
            static_cast<std::uint32_t>(std::strtoll(text.c_str(), nullptr, is_hex ? 16 : 10));
        ASSERT_EQ(dfd::number_from_text(text.c_str()), number) << '"' << text << '"';
    }
}

// The words that sscanf finds in a line without spaces and line ends.
struct Split {
    char name[256] = "";
    char value[256] = "";
    bool has_name;

    explicit Split(const std::string &line)
        : has_name(std::sscanf(line.c_str(), "%255[^ =]", name) == 1) {
        std::sscanf(std::strchr(line.c_str(), '=') + 1, "%255s", value);
    }
};

std::string without(std::string text, std::string_view letters) {
    std::erase_if(text,
                  [&](char letter) { return letters.find(letter) != std::string_view::npos; });
    return text;
}

class LinesTest : public dfd_test::LibraryTest {
  protected:
    // What loading these files one after the other logs, without the numbers of lines and the names
    // of the files.
    std::string log_of_loading(const std::vector<std::string> &files) {
        std::string list;
        for (const std::string &text : files) {
            const std::string name = "f" + std::to_string(list.size());
            write_config(name, text);
            list += name + "\n";
        }
        write_board("TEST\n", "card_pid_str_1_0=TEST\n");
        write_list(1, list);
        const std::string log = logged_by(UINT32_MAX, [] {
            const dfd_test::NeverFreed never_freed;
            EXPECT_EQ(dev_drv_init(), 0);
        });
        return std::regex_replace(log, std::regex("line[0-9]+: |start parsing .*\r\n"), "");
    }
    // All records of indexes 0 to 2, byte by byte.
    static std::string records() {
        std::string all;
        for (const dfd::KeyRow &row : dfd::kKeyTable) {
            const dfd::MemberKind *const members = dfd::member_kind(row.kind);
            const std::size_t plain_size =
                row.kind == dfd::Kind::string ? std::size_t{DFD_STRING_SIZE} : sizeof(int);
            const std::size_t size = members != nullptr ? members->record_size : plain_size;
            for (unsigned index = 0; index < 9; ++index) {
                const std::uint32_t key = DFD_MAKE_KEY(row.type, index / 3, index % 3);
                const auto *const record = static_cast<const char *>(dfd_lib_cfg_get_item(key));
                all += std::to_string(key) + '=' +
                       (record != nullptr ? std::string(record, size) : "") + '\n';
            }
        }
        return all;
    }
};

TEST_F(LinesTest, NameAndValueAreTheWordsThatScanfFinds) {
    for (const char *const locale : {"C", "C.UTF-8"}) {
        // Without the files of a locale the plain one has been tried.
        if (std::setlocale(LC_ALL, locale) == nullptr) {
            GTEST_SKIP() << "no locale " << locale;
        }
        Maker make;
        std::string config;
        std::string expected;
        for (int line = 1; line <= 5000;) {
            const std::string raw = make.text("ab= \t\v\f\r#\x85\xA0\xFF", 3) +
                                    make.text("=x_.\t", 4) + '=' +
                                    make.text("a0=\t\t\v\f\r \x01\x7F\x80\x85\xA0\xC2#", 6) + '\n';
            const std::string text = without(raw, "\r\n ");
            const Split split(text);
            // Another test loads lines that fail their file.
            if (!split.has_name || text[0] == '#') {
                continue;
            }
            config += raw;
            expected += "line" + std::to_string(line++) + ": config_line[" + text + "] name[" +
                        split.name + "] value[" + split.value + "]\r\n";
        }
        const std::string log = logged_by(DFD_DEBUG_VBOSE, [&] { start(config); });
        const std::size_t begin = log.find("board.cfg]\r\n") + std::strlen("board.cfg]\r\n");
        ASSERT_TRUE(log.compare(begin, expected.size(), expected) == 0) << locale;
    }
}

// Lines that refer to the name and the record of the line before are taken as lines that stand
// alone.
TEST_F(LinesTest, AFileStoresWhatItsLinesStoreOneByOne) {
    constexpr std::array kNames = {
        "fan_speed_level",      "fan_speed_level_support", "fan_name",
        "fan_speedlvl_convert", "cpld_i2c_dev.bus",        "cpld_i2c_dev.addr",
        "slot_online.mode",     "slot_online.fpath",       "slot_online.reg_",
        "irq_info.type",        "irq_info.val1",           "card_temp_info.temp_name",
        "end_info_ctrl",        "fan_speed_level.len",     "no_name",
        "mb_fan_led_info.red"};
    Maker make;
    std::vector<std::string> lines;
    std::string text;
    std::string name;
    while (lines.size() < 1500) {
        name = name.empty() || make.below(3) == 0 ? make.one_of(kNames) : name;
        lines.push_back(name + make.one_of(std::array{"", "_0", "_1", "_1_2", "_0_0", "_99_1"}) +
                        '=' + make.one_of(std::array{"", "1", "0x10", "config", "fan", "#"}) +
                        '\n');
        text += lines.back();
    }
    const std::string log = log_of_loading({text});
    const std::string stored = records();
    EXPECT_THAT(log, HasSubstr("replace info_ctrl item[.fpath="));
    EXPECT_EQ(log_of_loading(lines), log);
    EXPECT_EQ(records(), stored);
}

}  // namespace
