// SPDX-License-Identifier: MIT
// dfd-reference [--check] PAGES BOARDS: fills the generated blocks of the configuration reference,
// or checks that they are up to date. Who asks for an item is observed on the boards.
#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "reference/page.hpp"
#include "reference/tables.hpp"

namespace {

using reference::Page;

constexpr int kOk = 0;
constexpr int kStale = 1;
constexpr int kUsage = 2;

/// Where two texts differ first.
void print_difference(const Page &page, const std::string &expected) {
    const std::string found = page.text();
    const auto at = std::mismatch(found.begin(), found.end(), expected.begin(), expected.end());
    const auto line_number = std::count(found.begin(), at.first, '\n');
    const auto line_at = [](const std::string &text, std::string::const_iterator position) {
        const auto from = static_cast<std::size_t>(position - text.begin());
        const std::size_t begin = from == 0 ? 0 : text.rfind('\n', from - 1) + 1;
        return text.substr(begin, text.find('\n', from) - begin);
    };
    fmt::print(stderr, "{}\n  - {}\n  + {}\n",
               page.error(static_cast<std::size_t>(line_number), "not up to date").what(),
               line_at(found, at.first), line_at(expected, at.second));
}

int run(const char *directory, const char *boards, bool checks_only) {
    const std::vector<Page> pages = reference::read_pages(directory);
    const reference::KeyIndex index(pages);
    const reference::Readers readers(boards);
    int status = kOk;
    for (const Page &page : pages) {
        reference::check_headings(page);
        reference::check_claims(page, readers);
        const std::string text = page.filled([&](const reference::Block &block) {
            return reference::block_content(page, block, index, readers);
        });
        if (text == page.text()) {
            continue;
        }
        if (checks_only) {
            print_difference(page, text);
            status = kStale;
        } else {
            page.write(text);
        }
    }
    if (status == kStale) {
        fmt::print(stderr, "Build the target \"reference\" to rewrite the pages.\n");
    }
    return status;
}

}  // namespace

int main(int argc, char **argv) {
    const bool checks_only = argc > 1 && std::strcmp(argv[1], "--check") == 0;
    if (argc != (checks_only ? 4 : 3)) {
        fmt::print(stderr, "usage: dfd-reference [--check] PAGES BOARDS\n");
        return kUsage;
    }
    try {
        return run(argv[argc - 2], argv[argc - 1], checks_only);
    } catch (const std::exception &error) {
        fmt::print(stderr, "{}\n", error.what());
        return kUsage;
    }
}
