// SPDX-License-Identifier: MIT
// The quick reader of descriptions beside the TOML parser: where it says something, it says the
// same.
#include <gtest/gtest.h>

#include <fmt/format.h>

#include <fstream>
#include <iterator>
#include <random>
#include <string>

#include "section.h"

namespace vchassis_test {

namespace {

using vchassis::DescriptionError;
using vchassis::Section;
using vchassis::Value;

std::string shown(const Section &section);

std::string shown(const Value &value) {
    std::string text = fmt::format("{}:{} ", value.mark.line, value.mark.column);
    if (const auto *section = std::get_if<std::shared_ptr<Section>>(&value.data)) {
        return text + shown(**section);
    }
    if (const auto *list = std::get_if<std::vector<Value>>(&value.data)) {
        text += "[";
        for (const Value &item : *list) {
            text += shown(item) + ", ";
        }
        return text + "]";
    }
    if (const auto *word = std::get_if<std::string>(&value.data)) {
        return text + fmt::format("'{}'", *word);
    }
    if (const auto *flag = std::get_if<bool>(&value.data)) {
        return text + (*flag ? "true" : "false");
    }
    const auto *whole = std::get_if<std::int64_t>(&value.data);
    return text + (whole != nullptr ? fmt::format("{}", *whole)
                                    : fmt::format("{:a}", std::get<double>(value.data)));
}

// Place and title are what a message about the section begins with.
std::string shown(const Section &section) {
    std::string text;
    try {
        section.text("no such key");
    } catch (const DescriptionError &error) {
        text = error.what();
    }
    text += " {";
    for (const Section::Entry &entry : section.entries()) {
        text += fmt::format("{} = {}; ", entry.key, shown(*entry.value));
    }
    return text + "}";
}

std::string read_by_toml(const std::string &text) {
    try {
        return shown(*vchassis::parse_toml(text, "file"));
    } catch (const DescriptionError &error) {
        return error.what();
    }
}

// Whether the quick reader said something.
bool compare(const std::string &text) {
    const auto plain = vchassis::parse_plain(text, "file");
    if (plain != nullptr) {
        EXPECT_EQ(shown(*plain), read_by_toml(text)) << text;
    }
    return plain != nullptr;
}

std::string board(const char *name) {
    std::ifstream in(std::string(BOARDS "/") + name + "/chassis.toml");
    return {std::istreambuf_iterator<char>(in), {}};
}

TEST(PlainDescription, TakesWhatBoardsAreMadeOf) {
    for (const char *name : {"demo", "demo-tlv", "demo-linecard"}) {
        EXPECT_TRUE(compare(board(name))) << name;
    }
    for (const char *text :
         {"", "\n\n", "# only\n\t# comments", "a = 1", "a = 1\n[b]\nc = 2 # d\n[b.d]\n[b.e.f]",
          "[[a]]\nb = 1\n[[a]]\n[a.c]\nd = 1\n[[a.e]]\n[[a]]\n[a.c]\nd = 2\n",
          "[[w.l]]\na = 1\n[[w.l]]\na = 2\n[w.x]\nb = 1\n",
          "a = [1,\n 2, # two\n\n 3,\n]\nb = [ [ 1 ], [ ] ]\n",
          "a = { }\nb = { c = { d = [ { e = 1 }, { e = 2 } ] }, f=\"g\" }\n",
          "a = -12\nb = 0x1F\nc = 0\nd = -0\ne = 1.25\nf = -0.5\ng = 123456789012345\nh=0xffffffff",
          "z = true\ny = false\nx = \"\"\nw = \"# [ { = } ]\"\n0x10 = 1\n-_- = [ ]\n"}) {
        EXPECT_TRUE(compare(text)) << text;
    }
}

TEST(PlainDescription, LeavesTheRestToToml) {
    for (const char *text : {"a = 1\r\n",
                             "a = \"\xC3\xA4\"",
                             "a = 'x'",
                             "a = \"\\t\"",
                             "a = \"\"\"x\"\"\"",
                             "a.b = 1",
                             "\"a\" = 1",
                             "a = 1_000",
                             "a = 1e3",
                             "a = 0o7",
                             "a = +1",
                             "a = inf",
                             "a = 2026-01-01",
                             "a = 1234567890123456",
                             "a = 01",
                             "a = 1.",
                             "a = .5",
                             "a = 0x",
                             "a = 1\na = 2",
                             "a = 1 b = 2",
                             "a =",
                             "a",
                             "= 1",
                             "[a",
                             "[a]]",
                             "[[a]",
                             "[]",
                             "[a]\n[a]",
                             "[a.b]\n[a]",
                             "a = 1\n[a]",
                             "a = [{}]\n[[a]]",
                             "a = {}\n[a.b]",
                             "[a]\n[[a]]",
                             "[[a]]\n[a]",
                             "[ a ]",
                             "a = { b = 1, }",
                             "a = { b = 1 c = 2 }",
                             "a = {\nb = 1 }",
                             "a = { b = 1, b = 2 }",
                             "a = [1 2]",
                             "a = [,]",
                             "a = [1",
                             "a = {",
                             "a = \"x",
                             "a = \"x\ny\"",
                             "a = true1",
                             "a = \x01",
                             "a = [[[[[[[[[[[[[[[[[1]]]]]]]]]]]]]]]]]"}) {
        EXPECT_FALSE(compare(text)) << text;
    }
}

// Boards with a byte changed, left out or put in: often mistakes, sometimes another description.
TEST(PlainDescription, NeverSaysAnythingElse) {
    constexpr int kChanges = 500;
    constexpr std::string_view kBytes = "\n \t#[]{}=,.\"'\\-+_0x9aeE\r\x7f";
    const std::string whole = board("demo-linecard");
    std::minstd_rand random(1);
    int taken = 0;
    for (int i = 0; i < kChanges; ++i) {
        std::string text = whole;
        const std::size_t at = random() % text.size();
        const char byte = kBytes[random() % kBytes.size()];
        switch (random() % 3) {
            case 0:
                text[at] = byte;
                break;
            case 1:
                text.erase(at, 1);
                break;
            default:
                text.insert(at, 1, byte);
        }
        taken += compare(text) ? 1 : 0;
    }
    EXPECT_GT(taken, kChanges / 4);
    EXPECT_LT(taken, kChanges);
}

}  // namespace

}  // namespace vchassis_test
