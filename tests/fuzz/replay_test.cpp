// SPDX-License-Identifier: MIT
// What fuzzing found and kept, once more.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz/targets.h"

namespace dfd_fuzz {

// In the names of the tests.
static void PrintTo(const Target &target, std::ostream *out) {
    *out << target.name;
}

}  // namespace dfd_fuzz

namespace {

namespace fs = std::filesystem;

using dfd_fuzz::Target;

class Corpus : public testing::TestWithParam<Target> {};

TEST_P(Corpus, NothingIsFoundAgain) {
    std::size_t count = 0;
    for (const fs::directory_entry &file :
         fs::directory_iterator(CORPORA / fs::path(GetParam().name))) {
        std::ifstream in(file.path(), std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(in), {}};
        const std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
        ++count;
        try {
            GetParam().run(input);
        } catch (const std::exception &finding) {
            ADD_FAILURE() << file.path().filename() << ": " << finding.what();
        }
    }
    EXPECT_GT(count, 0U);
}

INSTANTIATE_TEST_SUITE_P(, Corpus, testing::ValuesIn(dfd_fuzz::kTargets),
                         [](const auto &row) { return std::string(row.param.name); });

}  // namespace
