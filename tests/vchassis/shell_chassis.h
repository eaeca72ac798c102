// SPDX-License-Identifier: MIT
// A chassis directory of a test's own, and shell commands on it.
#pragma once

#include <gtest/gtest.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace vchassis_test {

namespace fs = std::filesystem;

struct Output {
    int status = -1;
    std::string out = {};
    std::string err = {};
};

inline std::string read_all(const fs::path &path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

class Commands : public ::testing::Test {
  protected:
    Commands() {
        std::string name = (fs::temp_directory_path() / "vchassis-test-XXXXXX").string();
        dir = mkdtemp(name.data());
        fs::create_directories(dir / "etc/cfg/dfd");
        std::ofstream(dir / "etc/cfg/dfd/a.cfg") << "from the chassis\n";
        std::string image(256, '\xff');
        image.replace(0, 16, "\x01~BCDEFGHIJKLMNO");
        std::ofstream(dir / "board.bin", std::ios::binary) << image;
        describe("");
    }
    ~Commands() override { fs::remove_all(dir); }

    void describe(const std::string &more) {
        std::ofstream(dir / "chassis.toml") << R"(
            name = "test"
            [[registers]]
            path = "/dev/cpld0"
            reg = [{ address = 1, name = "presence", value = 0xfe, read_only = true }]
            [[i2c]]
            bus = 0
            addr = 0x57
            model = "eeprom"
            image = "board.bin"
            page = 8
            [[i2c]]
            bus = 0
            addr = 0x48
            model = "lm75"
            temp_c = 42.5
            present_when = { device = "/dev/cpld0", register = 1, bit = 0, value = 0 }
            )" << more;
    }

    // Runs a shell command with V for the launcher and D for the directory.
    Output shell(const std::string &command) const {
        const fs::path err = dir / "stderr";
        const std::string line = "PATH=$PATH:/usr/sbin; V=" VCHASSIS "; D=" + dir.string() +
                                 "; { " + command + "; } 2>" + err.string();
        FILE *pipe = popen(line.c_str(), "r");
        Output output;
        std::array<char, 4096> buffer;
        for (std::size_t n; (n = fread(buffer.data(), 1, buffer.size(), pipe)) > 0;) {
            output.out.append(buffer.data(), n);
        }
        output.status = WEXITSTATUS(pclose(pipe));
        output.err = read_all(err);
        return output;
    }

    fs::path dir;
};

}  // namespace vchassis_test
