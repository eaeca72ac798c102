// SPDX-License-Identifier: MIT
// `vchassis run`: sets up the environment of the preload library and becomes the command.
#include <fcntl.h>
#include <fmt/format.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "commands.h"
#include "common/command_line.hpp"
#include "environment.h"
#include "machine.h"
#include "open_machine.h"
#include "report.h"
#include "text.h"

namespace vchassis {

namespace fs = std::filesystem;

namespace {

constexpr int kExitCannotRun = 126;
constexpr int kExitNotFound = 127;
constexpr mode_t kTraceMode = 0666;

fs::path preload_library() {
    const fs::path here = fs::read_symlink("/proc/self/exe").parent_path();
    const fs::path places[] = {here, here / ".." / VCHASSIS_LIBDIR};
    for (const fs::path &place : places) {
        if (fs::exists(place / "libvchassis.so")) {
            return fs::canonical(place / "libvchassis.so");
        }
    }
    throw std::runtime_error(fmt::format("libvchassis.so is neither in {} nor in {}",
                                         places[0].string(),
                                         places[1].lexically_normal().string()));
}

void prepend(const char *variable, const std::string &value) {
    const char *old = std::getenv(variable);
    const std::string all = old == nullptr || *old == '\0' ? value : value + ":" + old;
    setenv(variable, all.c_str(), 1);
}

// The trace file is emptied here, once, for all processes of the command append to it.
std::string trace_target(const std::string &trace) {
    if (trace == kTraceToStderr) {
        return trace;
    }
    const int fd = open(trace.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kTraceMode);
    if (fd < 0) {
        throw std::runtime_error(
            fmt::format("cannot write the trace file {}: {}", trace, std::strerror(errno)));
    }
    close(fd);
    return fs::absolute(trace);
}

// "12" or "12:HUP" as the preload library reads it, "12:1".
std::string signal_at(const std::string &text) {
    constexpr struct {
        const char *name;
        int number;
    } kSignals[] = {{"KILL", SIGKILL}, {"HUP", SIGHUP},   {"INT", SIGINT},
                    {"TERM", SIGTERM}, {"QUIT", SIGQUIT}, {"TSTP", SIGTSTP}};
    const std::size_t colon = text.find(':');
    const auto count = parse_number(text.substr(0, colon));
    const std::string name = colon == std::string::npos ? "KILL" : text.substr(colon + 1);
    const auto *row =
        std::ranges::find_if(kSignals, [&](const auto &each) { return name == each.name; });
    if (!count || *count < 1 || row == std::end(kSignals)) {
        throw dfd_tools::UsageError(fmt::format(
            "--signal-at {}: a number from 1 on, then KILL, HUP, INT, TERM, QUIT or TSTP", text));
    }
    return fmt::format("{}:{}", *count, row->number);
}

void set_environment(const RunOptions &options) {
    setenv(kDirVariable, fs::canonical(options.place.dir).c_str(), 1);
    setenv(kStateVariable, fs::canonical(state_directory(options.place)).c_str(), 1);
    unsetenv(kTraceVariable);
    unsetenv(kRealTimeVariable);
    unsetenv(kSignalAtVariable);
    if (!options.trace.empty()) {
        setenv(kTraceVariable, trace_target(options.trace).c_str(), 1);
    }
    if (options.real_time) {
        setenv(kRealTimeVariable, "1", 1);
    }
    if (!options.signal_at.empty()) {
        setenv(kSignalAtVariable, signal_at(options.signal_at).c_str(), 1);
    }
    prepend("LD_PRELOAD", preload_library());
    // A program built with AddressSanitizer otherwise insists on its runtime being the first
    // library; it works behind this one as well.
    prepend("ASAN_OPTIONS", "verify_asan_link_order=0");
}

int become(const std::vector<std::string> &command) {
    std::vector<char *> arguments;
    for (const std::string &argument : command) {
        arguments.push_back(const_cast<char *>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    const int error = errno;
    complain(fmt::format("cannot run {}: {}", command[0], std::strerror(error)));
    return error == ENOENT ? kExitNotFound : kExitCannotRun;
}

}  // namespace

int run_command(const RunOptions &options) {
    const int status = report_failures(kExitUnusable, [&options] {
        const auto &unparted = options.unparted;
        if (options.command.empty() || !unparted.empty()) {
            throw dfd_tools::UsageError(
                (unparted.empty() ? "no command" : "unexpected '" + unparted.front() + "'") +
                "; usage: vchassis run [OPTIONS] DIR -- COMMAND...");
        }
        // Mistakes in the description come up here, once, and not in each process.
        open_machine(options.place);
        set_environment(options);
    });
    return status != 0 ? status : become(options.command);
}

}  // namespace vchassis
