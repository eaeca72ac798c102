// SPDX-License-Identifier: MIT
// dfd-eeprom: builds EEPROM images from readable descriptions and shows what an image holds.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <fstream>
#include <iterator>

#include "eeprom/decode.hpp"

#include <fmt/format.h>

namespace {

constexpr int kExitBadInput = 1;
constexpr int kExitUsage = 2;

int usage_error(const std::string &message) {
    fmt::print(stderr, "dfd-eeprom: {}\nTry 'dfd-eeprom --help'.\n", message);
    return kExitUsage;
}

eeprom::Bytes content(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

int build(const std::string &description, const std::string &output) {
    const eeprom::Bytes bytes = eeprom::build_image(description);
    // A file that stays as it is keeps its date: what was made from it need not be made again.
    if (content(output) == bytes) {
        return 0;
    }
    std::ofstream file(output, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char *>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file) {
        throw eeprom::Error(fmt::format("{}: cannot be written", output));
    }
    return 0;
}

int dump(const std::string &path) {
    const eeprom::Bytes bytes = content(path);
    if (bytes.empty()) {
        throw eeprom::Error(fmt::format("{}: cannot be read or is empty", path));
    }
    fmt::print("{}\n{}", eeprom::hex_rows(bytes), eeprom::decode(bytes).description);
    if (std::fflush(stdout) != 0) {
        throw eeprom::Error("the output cannot be written");
    }
    return 0;
}

}  // namespace

int main(int argc, char **argv) {
    CLI::App app{
        "Builds EEPROM images from readable descriptions (docs/eeprom-layouts.md).\n"
        "Exit status: 0 done, 1 bad description or file, 2 usage."};
    std::string input;
    std::string output;
    CLI::App *build_command = app.add_subcommand("build", "Build an image from its description");
    build_command->add_option("DESCRIPTION", input, "TOML file")->required();
    build_command->add_option("IMAGE", output, "file to write")->required();
    CLI::App *dump_command = app.add_subcommand("dump", "Show an image's bytes and what they say");
    dump_command->add_option("IMAGE", input, "file to read")->required();
    try {
        app.parse(argc, argv);
        if (app.get_subcommands().size() != 1) {
            return usage_error("a command is missing: build or dump");
        }
        return build_command->parsed() ? build(input, output) : dump(input);
    } catch (const CLI::ParseError &error) {
        return error.get_exit_code() == 0 ? app.exit(error) : usage_error(error.what());
    } catch (const eeprom::Error &error) {
        fmt::print(stderr, "{}\n", error.what());
        return kExitBadInput;
    }
}
