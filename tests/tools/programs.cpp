// SPDX-License-Identifier: MIT
#include "programs.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

namespace tools_test {

namespace fs = std::filesystem;

nlohmann::json Result::json() const {
    nlohmann::json document = nlohmann::json::parse(out, nullptr, false);
    EXPECT_FALSE(document.is_discarded()) << "no JSON document:\n" << out << err;
    return document;
}

TempDir::TempDir() {
    std::string name = (fs::temp_directory_path() / "dfd-tools-XXXXXX").string();
    path_ = mkdtemp(name.data());
}

TempDir::~TempDir() {
    std::error_code error;
    fs::remove_all(path_, error);
}

std::string read_file(const fs::path &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void write_file(const fs::path &path, const std::string &content) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

Result run(const std::string &command) {
    const TempDir dir;
    const fs::path out = dir.path() / "out";
    const fs::path err = dir.path() / "err";
    const int status =
        std::system(fmt::format("{} 2>{} >{}", command, err.string(), out.string()).c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read_file(out), read_file(err)};
}

Result run_tool(const std::string &arguments) {
    return run(fmt::format("{}/{}", BUILD_DIR, arguments));
}

Board::Board(const std::string &name) {
    for (const char *part : {"chassis.toml", "images", "etc", "tmp"}) {
        fs::copy(fs::path(BUILD_DIR) / "boards" / name / part, dir_.path() / part,
                 fs::copy_options::recursive);
    }
}

Result Board::dfdctl(const std::string &arguments) const {
    return run_tool(
        fmt::format("vchassis run {} -- {}/dfdctl {}", dir_.path().string(), BUILD_DIR, arguments));
}

Result Board::vchassis(const std::string &command, const std::string &arguments) const {
    return run_tool(fmt::format("vchassis {} {} {}", command, dir_.path().string(), arguments));
}

void Board::append(const std::string &relative, const std::string &text) const {
    std::ofstream(file(relative), std::ios::app) << text;
}

void Board::replace(const std::string &relative, const std::string &from,
                    const std::string &to) const {
    std::string text = read_file(file(relative));
    const std::size_t at = text.find(from);
    ASSERT_NE(at, std::string::npos) << from << " in " << relative;
    write_file(file(relative), text.replace(at, from.size(), to));
}

void Board::image(const std::string &relative, const std::string &description) const {
    const fs::path source = file("description.toml");
    write_file(source, description);
    const Result built =
        run_tool(fmt::format("dfd-eeprom {} {}", source.string(), file(relative).string()));
    ASSERT_EQ(built.status, 0) << built.err;
}

}  // namespace tools_test
