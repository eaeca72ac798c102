// SPDX-License-Identifier: MIT
// What is said of a unit for being described like others is what is seen when it is observed.
#include <dfd/framework.h>
#include <dfd/records.h>
#include <gtest/gtest.h>

#include <array>
#include <random>

#include "dfdctl/observe/board_use.hpp"
#include "tools/programs.h"

#include <fmt/format.h>

namespace {

using namespace dfdctl;
using namespace dfdctl::observe;

std::string text_of(const Use &use) {
    return fmt::format("{}{}{} {} {} {} {}", text_of(*use.call, *use.args),
                       use.is_read ? " reads" : "", use.has_processor ? " processed" : "",
                       static_cast<int>(use.op), use.worked, use.refused,
                       static_cast<int>(use.refusal));
}

/// A line for each fact, in order.
std::vector<std::string> facts_of(const BoardUse &board) {
    std::vector<std::string> facts;
    for (const auto &[key, uses] : board.keys) {
        for (const Use &use : uses) {
            facts.push_back(item_of_key(key).name() + ": " + text_of(use));
        }
    }
    for (const auto &[type, users] : board.lists) {
        for (const Call *user : users) {
            facts.push_back(fmt::format("list {}: {}", type, user->name));
        }
    }
    for (const CallUse &use : board.calls) {
        std::string fact =
            fmt::format("{} {} {}", text_of(*use.call, *use.args), use.works, use.code);
        for (const std::uint32_t key : *use.keys) {
            fact += " " + item_of_key(key).name();
        }
        facts.push_back(std::move(fact));
    }
    return facts;
}

/// The first fact that is not the same; empty when all are.
std::string difference(const LoadRecord &log) {
    const Observer observer(log);
    const Units units(log);
    const std::vector<std::string> seen = facts_of(observe_board(observer, units, Rows::observed));
    const std::vector<std::string> said =
        facts_of(observe_board(observer, units, Rows::taken_over));
    const auto [a, b] = std::mismatch(seen.begin(), seen.end(), said.begin(), said.end());
    if (a == seen.end() && b == said.end()) {
        return {};
    }
    return fmt::format("seen '{}', said '{}'", a != seen.end() ? *a : "nothing",
                       b != said.end() ? *b : "nothing");
}

TEST(AlikeUnits, OfTheDemoBoardsAreUsedAsObserved) {
    const BoardChoice boards[] = {
        {.root = BUILD_DIR "/boards/demo", .board_type = 62, .chassis_type = 8},
        {.root = BUILD_DIR "/boards/demo-linecard", .board_type = 0x47, .chassis_type = 8},
        {.root = BUILD_DIR "/boards/demo-tlv", .board_type = 0x12c, .chassis_type = 8},
    };
    for (const BoardChoice &board : boards) {
        const LoadRecord log = load_offline(board);
        EXPECT_FALSE(log.origins.empty()) << board.root;
        EXPECT_EQ(difference(log), "") << board.root;
    }
}

/// Members of an info_ctrl item.
constexpr std::string_view kDescriptions[][6] = {
    {"mode=config", "src=localbus", "frmt=bit", "fpath=/dev/cpld0", "reg_offset=0x10", "len=1"},
    {"mode=config", "src=localbus", "frmt=bit", "pola=negative", "bit_offset=6", "len=4"},
    {"mode=config", "src=i2c", "frmt=byte", "fpath=/dev/i2c-1", "addr=0x20", "len=1"},
    {"mode=config", "src=i2c", "frmt=num_buf", "fpath=/dev/i2c-1", "addr=0x20", "len=2"},
    {"mode=config", "src=file", "frmt=num_str", "fpath=/tmp/file", "addr=0", "len=4"},
    {"mode=config", "src=i2c", "frmt=buf", "fpath=/dev/i2c-1", "addr=0x20", "len=16"},
    {"mode=config", "src=localbus", "frmt=num_bytes", "fpath=/dev/cpld0", "addr=0", "len=0"},
    {"mode=constant", "int_cons=1", "src=none", "frmt=none", "len=0", "addr=0"},
    {"mode=constant", "int_cons=3", "src=none", "frmt=none", "len=0", "addr=0"},
    {"mode=tlv", "src=i2c", "fpath=/dev/i2c-1", "addr=0x50", "len=16", "frmt=buf"},
    {"mode=fru", "src=i2c", "fpath=/dev/i2c-1", "addr=0x50", "len=16", "frmt=buf"},
};

/// Members that are described otherwise than those of the other items.
constexpr std::string_view kSlips[] = {"mode=none",    "mode=tlv",      "mode=func", "int_cons=5",
                                       "src=none",     "src=file",      "frmt=buf",  "frmt=bit",
                                       "frmt=num_buf", "pola=negative", "len=0",     "len=40",
                                       "bit_offset=7", "bit_offset=9"};

/// A board on which items of all types and many indexes are described: those of a type alike, but
/// for one of `many` that is described otherwise, and one that is missing; 0: but for none.
class AnyBoard {
  public:
    AnyBoard(unsigned seed, unsigned many) : seed_(seed), many_(many), random_(seed) {
        for (const KeyType &type : key_types()) {
            for (const std::uint32_t index1 : indexes(type.max1, {0, 1, 2, 3, 4, 5, 6, 30, 31})) {
                for (const std::uint32_t index2 : indexes(type.max2, {0, 1, 2, 3, 4, 41, 42, 43})) {
                    add({&type, index1, index2});
                }
            }
        }
    }
    std::string text() const { return text_; }

  private:
    static std::vector<std::uint32_t> indexes(int max, std::vector<std::uint32_t> all) {
        std::erase_if(all, [max](std::uint32_t index) {
            return index > static_cast<std::uint32_t>(std::max(max, 0));
        });
        return all;
    }
    /// The same for all items of a type, unless it is a slip.
    unsigned choice(const Item &item, unsigned choices, bool is_slip) const {
        return (item.type->type * 31 + seed_ + (is_slip ? 1 : 0)) % choices;
    }
    void add_member(const Item &item, std::string_view member) {
        const auto equals = member.find('=');
        text_ += item.name("." + std::string(member.substr(0, equals)));
        text_ += member.substr(equals);
        text_ += '\n';
    }
    void add_ctrl(const Item &item, bool is_slip) {
        const bool is_member = is_slip && random_() % 2 == 0;
        const bool is_other = is_slip && !is_member;
        for (const auto member : kDescriptions[choice(item, std::size(kDescriptions), is_other)]) {
            add_member(item, member);
        }
        if (is_member) {
            add_member(item, kSlips[random_() % std::size(kSlips)]);
        }
    }
    void add(const Item &item) {
        const unsigned place = many_ != 0 ? static_cast<unsigned>(random_()) % many_ : 2;
        const bool is_slip = place == 0;
        if (place == 1) {
            return;
        }
        switch (item.type->kind) {
            case Kind::integer:
                text_ += fmt::format("{}={}\n", item.name(), choice(item, 7, is_slip));
                break;
            case Kind::temp_info:
                text_ += fmt::format("{}={}\n", item.name(".type"),
                                     std::array{"lm75", "tmp411", "mac"}[choice(item, 3, is_slip)]);
                break;
            case Kind::led_info:
                text_ += fmt::format("{}={}\n", item.name(".green"), choice(item, 3, is_slip));
                break;
            case Kind::info_ctrl:
                add_ctrl(item, is_slip);
                break;
            default:
                break;
        }
    }

    unsigned seed_;
    unsigned many_;
    std::mt19937 random_;
    std::string text_;
};

TEST(AlikeUnits, OfAnyDescriptionAreUsedAsObserved) {
    const tools_test::TempDir dir;
    const std::string path = (dir.path() / "board.cfg").string();
#ifdef DFD_SANITIZED
    const unsigned seeds = std::size(kDescriptions) / 2;  // ten times slower
#else
    const unsigned seeds = 3 * std::size(kDescriptions);
#endif
    for (unsigned seed = 0; seed < seeds; ++seed) {
        const unsigned many = std::array{0U, 12U, 60U}[seed % 3];
        tools_test::write_file(path, AnyBoard(seed, many).text());
        const LoadRecord log = load_files({path});
        EXPECT_EQ(difference(log), "") << "seed " << seed;
    }
}

}  // namespace
