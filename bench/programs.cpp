// SPDX-License-Identifier: MIT
// dfdctl from start to exit, beside the least program there is and one that reads a device. What is
// measured is the processor time of the child, which does not depend on what else runs. To be run
// on a virtual chassis.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

extern char **environ;

namespace {

/// Null at its end.
using Environment = std::vector<char *>;

Environment with_all() {
    Environment all;
    for (char **entry = environ; *entry != nullptr; ++entry) {
        all.push_back(*entry);
    }
    all.push_back(nullptr);
    return all;
}

/// The virtual chassis is a library that is loaded before all others.
Environment without_preload() {
    Environment rest = with_all();
    std::erase_if(rest, [](const char *entry) {
        return entry != nullptr && std::string_view(entry).starts_with("LD_PRELOAD=");
    });
    return rest;
}

using benchmark::State;

constexpr int kNotStarted = -1;

double seconds(const timeval &time) {
    constexpr double kMicro = 1e-6;
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * kMicro;
}

/// Processor time of a program without its output; kNotStarted when it cannot be started.
double run(const std::vector<std::string> &words, const Environment &environment) {
    std::vector<char *> arguments;
    for (const std::string &word : words) {
        arguments.push_back(const_cast<char *>(word.c_str()));
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    const int rv =
        posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environment.data());
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    rusage used{};
    if (rv != 0 || wait4(child, &status, 0, &used) != child || !WIFEXITED(status) ||
        WEXITSTATUS(status) > 1) {
        return kNotStarted;
    }
    return seconds(used.ru_utime) + seconds(used.ru_stime);
}

void measure(State &state, const std::vector<std::string> &words, const Environment &environment) {
    for (auto _ : state) {
        const double time = run(words, environment);
        if (time < 0) {
            state.SkipWithError("the program fails");
            break;
        }
        state.SetIterationTime(time);
    }
    state.SetItemsProcessed(state.iterations());
}

void add(const std::string &name, const std::vector<std::string> &words,
         const Environment &environment = with_all()) {
    benchmark::RegisterBenchmark(name.c_str(), measure, words, environment)->UseManualTime();
}

const bool g_registered = [] {
    // Without the virtual chassis, which takes most of the time of all that use it.
    add("without chassis:true", {"true"}, without_preload());
    add("without chassis:dfdctl --version", {BENCH_DFDCTL, "--version"}, without_preload());
    add("program:true", {"true"});
    add("program:head", {"head", "-c", "1", "/dev/cpld0"});
    add("program:dfdctl get", {BENCH_DFDCTL, "get", "slot_online", "5"});
    add("program:dfdctl show all", {BENCH_DFDCTL, "show", "all"});
    add("program:dfdctl check", {BENCH_DFDCTL, "check"});
    return true;
}();

}  // namespace
