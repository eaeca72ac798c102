// SPDX-License-Identifier: MIT
// What the commands of `vchassis` do; each returns the exit status.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/command_tree.hpp"

namespace vchassis {

// Arguments as usage lines name them.
inline constexpr const char *kDevice = "DEVICE";
inline constexpr const char *kRegister = "REG";

struct Place {
    std::string dir;
    std::string state;  // empty: inside dir, or the user's own where dir is installed
};

struct RunOptions {
    Place place;
    std::string trace;  // empty: none; "-": standard error; else a file
    bool real_time = false;
    std::string signal_at;  // "N" or "N:HUP"; empty: none comes
    std::vector<std::string> command;
    std::vector<std::string> unparted;  // words that stand where "--" should
};

struct Access {
    Place place;
    std::string device;
    std::string reg;
    std::uint32_t count = 1;
    std::vector<std::string> values;
};

int run_command(const RunOptions &options);
int show_devices(const Place &place);
int peek_bytes(const Access &access);
int poke_bytes(const Access &access);
int reset_devices(const Place &place);

// The devices of the chassis on an unfinished command line, or the registers of one.
std::vector<dfd_tools::Candidate> known_names(const dfd_tools::Expected &expected);

}  // namespace vchassis
