// SPDX-License-Identifier: MIT
// What signals, terminals that hang up and pipes that close leave of a control: all that it began.
#include <fcntl.h>
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <memory>
#include <set>
#include <sstream>
#include <thread>

#include "tools/programs.h"

namespace tools_test {
namespace {

using testing::HasSubstr;

constexpr const char *kDevices[] = {"dev-cpld0.bin", "dev-cpld1.bin", "dev-fpga0.bin"};

/// A run of dfdctl with a state of the chassis of its own.
class Process {
  public:
    enum class Output { file, terminal, pipe };

    Process(const Board &board, const std::string &name, const std::string &options,
            const std::string &arguments, Output output = Output::file)
        : state_(board.file("states") / name), err_(board.file("err-" + name)) {
        const std::string command =
            fmt::format("exec {0}/vchassis run --state {1} {2} {3} -- {0}/dfdctl {4}", BUILD_DIR,
                        state_.string(), options, board.file("").string(), arguments);
        std::filesystem::create_directories(state_.parent_path());
        start(command, output);
    }

    /// Takes what has come, so that nobody waits for a reader.
    void drain() const {
        char bytes[4096];
        while (read(ours_, bytes, sizeof bytes) > 0) {
        }
    }
    /// Ends the terminal or the pipe.
    void hang_up() const { close(ours_); }
    /// As waitpid tells, also of a child that stops.
    int wait() const {
        int status = 0;
        waitpid(pid_, &status, WUNTRACED);
        return status;
    }
    /// As a terminal that its user stops with Ctrl-S.
    void stop_output() const { EXPECT_EQ(write(ours_, "\x13", 1), 1); }
    void go_on() const { kill(pid_, SIGCONT); }

    std::string registers(const char *device) const { return read_file(state_ / device); }
    std::string err() const { return read_file(err_); }

  private:
    void start(const std::string &command, Output output) {
        int ends[2] = {-1, -1};
        if (output == Output::pipe && pipe(ends) != 0) {
            return;
        }
        pid_ = output == Output::terminal ? forkpty(&ours_, nullptr, nullptr, nullptr) : fork();
        if (pid_ == 0) {
            const int file = open(err_.c_str(), O_CREAT | O_WRONLY | O_TRUNC, 0600);
            const int to = output == Output::file ? file : ends[1];
            if (output != Output::terminal) {
                setpgid(0, 0);  // a group whose leader has a parent in the session can be stopped
                dup2(to, STDOUT_FILENO);
                dup2(to, STDERR_FILENO);
            }
            close(ends[0]);
            execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
            _exit(127);
        }
        if (output == Output::pipe) {
            close(ends[1]);
            ours_ = ends[0];
        }
        if (output != Output::file) {
            fcntl(ours_, F_SETFL, O_NONBLOCK);
            fcntl(ours_, F_SETFD, FD_CLOEXEC);  // or the next run keeps it open
        }
    }

    std::filesystem::path state_;
    std::filesystem::path err_;
    pid_t pid_ = -1;
    int ours_ = -1;  ///< end of the terminal or pipe
};

TEST(ControlSignals, AHangUpInTheMiddleLeavesNothingInReset) {
    const Board board("demo");
    // The peer takes its time to go down.
    board.replace("chassis.toml", "on_ms = 100", "on_ms = 100\noff_ms = 300");
    struct Case {
        const char *arguments;
        Process::Output output;
        int signal;
        const char *device;
        std::size_t reg;
        char rest;
    };
    const Case cases[] = {
        {"slot reset all --yes", Process::Output::terminal, SIGHUP, kDevices[1], 0x13, '\xff'},
        {"--debug 1 slot reset all --yes", Process::Output::terminal, SIGHUP, kDevices[1], 0x13,
         '\xff'},
        {"slot reset all --yes", Process::Output::pipe, SIGPIPE, kDevices[1], 0x13, '\xff'},
        {"master reset --yes", Process::Output::terminal, SIGHUP, kDevices[0], 0x0a, '\0'},
    };
    std::vector<std::unique_ptr<Process>> runs;
    for (const Case &each : cases) {
        runs.push_back(std::make_unique<Process>(board, fmt::format("hang-up-{}", runs.size()),
                                                 "--real-time", each.arguments, each.output));
    }
    // Each pauses behind its first writes.
    using std::chrono::steady_clock;
    const auto end = steady_clock::now() + std::chrono::seconds(20);
    std::set<std::size_t> hung_up;
    while (hung_up.size() < runs.size() && steady_clock::now() < end) {
        for (std::size_t i = 0; i < runs.size(); ++i) {
            if (hung_up.contains(i)) {
                continue;
            }
            runs[i]->drain();
            const std::string registers = runs[i]->registers(cases[i].device);
            const bool has_begun =
                registers.size() > cases[i].reg && registers[cases[i].reg] != cases[i].rest;
            if (has_begun) {
                runs[i]->hang_up();
                hung_up.insert(i);
            }
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    ASSERT_EQ(hung_up.size(), runs.size()) << "each was caught in the middle";
    for (std::size_t i = 0; i < runs.size(); ++i) {
        const Case &each = cases[i];
        SCOPED_TRACE(each.arguments);
        const int status = runs[i]->wait();
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == each.signal) << status;
        EXPECT_EQ(runs[i]->registers(each.device)[each.reg], each.rest);
    }
}

/// The first and the last access to a device that is a write, as --signal-at counts them.
std::pair<int, int> writes_in(const std::string &trace) {
    std::pair<int, int> found{0, 0};
    std::istringstream lines(trace);
    int count = 0;
    for (std::string line; std::getline(lines, line);) {
        const bool is_write = line.find("] write /dev/") != std::string::npos;
        const bool is_other = line.find("] read /dev/") != std::string::npos ||
                              line.find("] transfer /dev/") != std::string::npos;
        count += is_write || is_other ? 1 : 0;
        if (is_write) {
            found = {found.first == 0 ? count : found.first, count};
        }
    }
    return found;
}

/// Where to interrupt: the first write, the last one, and some places between.
std::vector<int> places_between(std::pair<int, int> writes) {
    constexpr int kPlaces = 4;
    std::set<int> places;
    for (int i = 0; i <= kPlaces; ++i) {
        places.insert(writes.first + (writes.second - writes.first) * i / kPlaces);
    }
    return {places.begin(), places.end()};
}

TEST(ControlSignals, ASignalWaitsForTheLastWrite) {
    const Board board("demo");
    for (const char *command :
         {"slot reset 3", "slot reset all", "slot power 3 off", "led set fan red", "sfp tx all off",
          "irq mask card on", "write-protect fans off", "fan speed 1 3"}) {
        SCOPED_TRACE(command);
        std::string name = command;
        std::ranges::replace(name, ' ', '-');
        const std::string trace = board.file("trace-" + name).string();
        const std::string arguments = fmt::format("{} --yes", command);
        const Process whole(board, name, "--trace=" + trace, arguments);
        EXPECT_EQ(whole.wait(), 0) << whole.err();
        const std::pair<int, int> writes = writes_in(read_file(trace));
        ASSERT_GT(writes.first, 0);
        std::vector<std::unique_ptr<Process>> runs;
        for (const int at : places_between(writes)) {
            runs.push_back(std::make_unique<Process>(board, fmt::format("{}-{}", name, at),
                                                     fmt::format("--signal-at {}:HUP", at),
                                                     arguments));
        }
        for (const auto &run : runs) {
            const int status = run->wait();
            EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGHUP) << status;
            EXPECT_THAT(run->err(), HasSubstr("HUP waited until"));
            EXPECT_THAT(run->err(), HasSubstr("was finished; nothing is left half-way"));
            for (const char *device : kDevices) {
                EXPECT_EQ(run->registers(device), whole.registers(device)) << device;
            }
        }
    }
}

std::size_t writes_so_far(const std::string &trace) {
    std::size_t count = 0;
    std::istringstream lines(read_file(trace));
    for (std::string line; std::getline(lines, line);) {
        count += line.find("] write /dev/") != std::string::npos ? 1 : 0;
    }
    return count;
}

TEST(ControlSignals, ATerminalThatTakesNoTextStopsNoWrite) {
    using std::chrono::steady_clock;
    const Board board("demo");
    const char *arguments = "--debug 3 slot reset all --yes";
    const std::string trace = board.file("trace").string();
    const std::string stopped = board.file("trace-stopped").string();
    const Process whole(board, "whole", "--trace=" + trace, arguments);
    EXPECT_EQ(whole.wait(), 0) << whole.err();
    const std::size_t all = writes_so_far(trace);
    ASSERT_GT(all, 1U);
    const Process run(board, "stopped", "--trace=" + stopped, arguments, Process::Output::terminal);
    run.stop_output();
    const auto end = steady_clock::now() + std::chrono::seconds(20);
    while (writes_so_far(stopped) < all && steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    EXPECT_EQ(writes_so_far(stopped), all);
    run.hang_up();
    run.wait();
}

TEST(ControlSignals, EachSignalThatEndsOrStopsWaits) {
    const Board board("demo");
    const std::string trace = board.file("trace").string();
    const Process whole(board, "whole", "--trace=" + trace, "slot reset all --yes");
    EXPECT_EQ(whole.wait(), 0);
    const std::pair<int, int> writes = writes_in(read_file(trace));
    const int middle = (writes.first + writes.second) / 2;
    for (const auto &[number, name] : {std::pair(SIGINT, "INT"), std::pair(SIGTERM, "TERM"),
                                       std::pair(SIGQUIT, "QUIT"), std::pair(SIGTSTP, "TSTP")}) {
        SCOPED_TRACE(name);
        const Process run(board, name, fmt::format("--signal-at {}:{}", middle, name),
                          "slot reset all --yes");
        const int status = run.wait();
        EXPECT_EQ(run.registers(kDevices[1]), whole.registers(kDevices[1]));
        EXPECT_THAT(run.err(), HasSubstr(fmt::format("{} waited until 'slot reset'", name)));
        if (number == SIGTSTP) {
            EXPECT_TRUE(WIFSTOPPED(status)) << status;
            run.go_on();
            EXPECT_EQ(run.wait(), 0) << "it ends well when it goes on";
        } else {
            EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == number) << status;
        }
    }
}

}  // namespace
}  // namespace tools_test
