// SPDX-License-Identifier: MIT
// Runs the built programs and keeps what they print.
#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>

namespace tools_test {

struct Result {
    int status;
    std::string out;
    std::string err;

    /// Standard output as a JSON document; a test failure when it is none.
    nlohmann::json json() const;
};

/// A directory of its own that is removed at the end.
class TempDir {
  public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir &) = delete;
    TempDir &operator=(const TempDir &) = delete;

    const std::filesystem::path &path() const { return path_; }

  private:
    std::filesystem::path path_;
};

/// Runs a shell command.
Result run(const std::string &command);
/// Runs a program of the build directory.
Result run_tool(const std::string &arguments);

std::string read_file(const std::filesystem::path &path);
void write_file(const std::filesystem::path &path, const std::string &content);

/// The configuration that the demo board loads for its chassis type, and may be added to.
inline constexpr char kChassisFile[] = "etc/cfg/dfd/chassis/8.cfg";

/// A private copy of an assembled board, with its initial state.
class Board {
  public:
    explicit Board(const std::string &name);

    /// dfdctl on this board.
    Result dfdctl(const std::string &arguments) const;
    /// The launcher's own commands, with the board's directory in the place of DIR.
    Result vchassis(const std::string &command, const std::string &arguments) const;

    std::filesystem::path file(const std::string &relative) const { return dir_.path() / relative; }
    void append(const std::string &relative, const std::string &text) const;
    /// Replaces the first occurrence; a test failure when there is none.
    void replace(const std::string &relative, const std::string &from, const std::string &to) const;
    /// Builds an image in the place of an existing one.
    void image(const std::string &relative, const std::string &description) const;

  private:
    TempDir dir_;
};

}  // namespace tools_test
