// SPDX-License-Identifier: MIT
// dfdctl watch on a real terminal, with real signals, and into a pipe.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <utmp.h>

#include <chrono>

#include "dfdctl/watch/changes.hpp"
#include "tools/programs.h"

namespace tools_test {
namespace {

using std::chrono::steady_clock;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

const std::string kEnter = "\033[?1049h\033[?25l";
const std::string kLeave = "\033[?25h\033[?1049l";

/// dfdctl on a terminal of its own.
class Terminal {
  public:
    Terminal(const Board &board, const std::string &arguments, unsigned short rows = 24) {
        const winsize size = {rows, 80, 0, 0};
        int device = -1;
        EXPECT_EQ(openpty(&terminal_, &device, nullptr, nullptr, &size), 0);
        tcgetattr(device, &modes_);  // before the program can change them
        child_ = fork();
        if (child_ == 0) {
            close(terminal_);
            login_tty(device);
            setenv("TERM", "xterm", 1);
            unsetenv("NO_COLOR");
            execl("/bin/sh", "sh", "-c",
                  fmt::format("exec {0}/vchassis run {1} -- {0}/dfdctl {2}", BUILD_DIR,
                              board.file("").string(), arguments)
                      .c_str(),
                  nullptr);
            _exit(127);
        }
        close(device);
    }
    ~Terminal() {
        if (child_ > 0) {
            kill(child_, SIGKILL);
            waitpid(child_, nullptr, 0);
        }
        close(terminal_);
    }
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;

    /// What has come since the last time, up to and with this text.
    std::string read_until(const std::string &text) {
        constexpr auto kPatience = std::chrono::seconds(20);
        const auto end = steady_clock::now() + kPatience;
        std::size_t found = pending_.find(text);
        while (found == std::string::npos && steady_clock::now() < end && read_some()) {
            found = pending_.find(text);
        }
        if (found == std::string::npos) {
            ADD_FAILURE() << "no '" << text << "' in:\n" << pending_;
            return pending_;
        }
        const std::string part = pending_.substr(0, found + text.size());
        pending_.erase(0, part.size());
        return part;
    }

    void send(int signal) const { kill(child_, signal); }
    void type(char key) const { EXPECT_EQ(write(terminal_, &key, 1), 1); }
    void resize(unsigned short columns, unsigned short rows) const {
        const winsize size = {rows, columns, 0, 0};
        ioctl(terminal_, TIOCSWINSZ, &size);
    }

    bool has_modes_of_begin() const {
        termios now = {};
        tcgetattr(terminal_, &now);
        return now.c_lflag == modes_.c_lflag && now.c_iflag == modes_.c_iflag &&
               now.c_oflag == modes_.c_oflag;
    }

    /// Of the stopped program.
    int wait_for_stop() const {
        int status = 0;
        waitpid(child_, &status, WUNTRACED);
        return WIFSTOPPED(status) ? WSTOPSIG(status) : 0;
    }

    /// Exit status, or the negative signal.
    int wait_for_end() {
        while (read_some()) {
        }
        int status = 0;
        waitpid(child_, &status, 0);
        child_ = 0;
        return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
    }
    const std::string &pending() const { return pending_; }

  private:
    bool read_some() {
        constexpr int kMilliseconds = 5000;
        pollfd polled = {terminal_, POLLIN, 0};
        std::array<char, 4096> part = {};
        if (poll(&polled, 1, kMilliseconds) <= 0) {
            return false;
        }
        const ssize_t count = read(terminal_, part.data(), part.size());
        pending_.append(part.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        return count > 0;
    }

    int terminal_ = -1;
    pid_t child_ = 0;
    termios modes_ = {};
    std::string pending_ = {};
};

TEST(Watch, LeavesTheTerminalCleanAtEverySignal) {
    const Board board("demo");
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        Terminal terminal(board, "watch sfp -n 0.1");
        EXPECT_THAT(terminal.read_until("SFP ports"), HasSubstr(kEnter));
        terminal.read_until("dfdctl show sfp");  // a second pass
        EXPECT_FALSE(terminal.has_modes_of_begin());
        terminal.send(signal);
        EXPECT_EQ(terminal.wait_for_end(), -signal);
        EXPECT_THAT(terminal.pending(), EndsWith(kLeave)) << signal;
        EXPECT_TRUE(terminal.has_modes_of_begin()) << signal;
    }
}

TEST(Watch, EndsWithQAndWithTheKeysOfTheTerminal) {
    struct Case {
        char key;
        int status;
    };
    const Board board("demo");
    for (const Case &each : {Case{'q', 0}, Case{'\003', -SIGINT}}) {
        Terminal terminal(board, "watch sfp -n 60");
        terminal.read_until("SFP ports");
        terminal.type(each.key);
        EXPECT_EQ(terminal.wait_for_end(), each.status);
        EXPECT_THAT(terminal.pending(), EndsWith(kLeave));
        EXPECT_TRUE(terminal.has_modes_of_begin());
    }
}

TEST(Watch, StopsAndComesBack) {
    const Board board("demo");
    Terminal terminal(board, "watch sfp -n 60");
    terminal.read_until("SFP ports");
    terminal.send(SIGTSTP);
    EXPECT_NE(terminal.wait_for_stop(), 0);
    terminal.read_until(kLeave);
    EXPECT_TRUE(terminal.has_modes_of_begin());
    terminal.send(SIGCONT);
    EXPECT_THAT(terminal.read_until("SFP ports"), HasSubstr(kEnter + "\033[H"));
    EXPECT_FALSE(terminal.has_modes_of_begin());
    terminal.type('q');
    EXPECT_EQ(terminal.wait_for_end(), 0);
    EXPECT_THAT(terminal.pending(), EndsWith(kLeave));
}

TEST(Watch, FollowsTheSizeOfTheTerminal) {
    const Board board("demo");
    Terminal terminal(board, "watch fans -n 60", 8);
    const std::string first = terminal.read_until("... 18 lines below");
    EXPECT_THAT(first, AllOf(HasSubstr("Fan trays"), Not(HasSubstr("Rotors"))));
    EXPECT_EQ(std::count(first.begin(), first.end(), '\n'), 7);
    terminal.resize(132, 50);
    const std::string second = terminal.read_until("4     2");
    EXPECT_THAT(second, AllOf(StartsWith("\033[J\033[H"), HasSubstr("CPLD VERSION"),
                              HasSubstr("Rotors"), Not(HasSubstr("\033[7m"))));
    terminal.type('q');
    EXPECT_EQ(terminal.wait_for_end(), 0);
}

TEST(Watch, MarksWhatChangesAndPutsFailuresFirst) {
    const Board board("demo");
    write_file(board.file("tmp/bspinfo/peer_temp.bin"), std::string("\x18\x00", 2));
    board.append("etc/cfg/dfd/chassis/8.cfg",
                 "sys_alarm_temp.mode=constant\nsys_alarm_temp.int_cons=50\n");
    Terminal terminal(board, "watch temps -n 0.1");
    const std::string first = terminal.read_until("fan-area");
    EXPECT_LT(first.find("58 C"), first.find("27 C")) << first;  // above 50
    write_file(board.file("tmp/bspinfo/peer_temp.bin"), std::string("\x19\x00", 2));
    EXPECT_THAT(terminal.read_until("\033[7m25 C\033[0m"), Not(HasSubstr("\033[7m27")));
    terminal.type('q');
    terminal.wait_for_end();
}

TEST(Watch, PrintsPassesWhereThereIsNoTerminal) {
    const Board board("demo");
    const Result text = board.dfdctl("watch sfp -n 0.1 --count 2");
    EXPECT_EQ(text.status, 0) << text.err;
    EXPECT_THAT(text.out, AllOf(StartsWith("dfdctl show sfp, "), Not(HasSubstr("\033"))));
    EXPECT_NE(text.out.find("SFP ports"), text.out.rfind("SFP ports"));

    const Result lines = board.dfdctl("watch check --json -n 0.1 --count 3");
    EXPECT_EQ(lines.status, 1) << "a supply of the demo has no input";
    ASSERT_EQ(std::count(lines.out.begin(), lines.out.end(), '\n'), 3);
    const nlohmann::json pass = nlohmann::json::parse(lines.out.substr(0, lines.out.find('\n')));
    EXPECT_EQ(pass, board.dfdctl("check --json").json());
}

TEST(Watch, RefusesWhatItCannotShow) {
    struct Case {
        const char *words;
        const char *error;
    };
    const Case cases[] = {
        {"fan", "there is no page 'fan'; the pages are: check, board, slots, fans, power, "},
        {"power 9", "there is no supply 9; this board has 1-4"},
        {"board 1", "page board has no units"},
        {"fans -n 0", "-n: '0' is no number from 0.1 to 86400"},
        {"fans -n soon", "-n: 'soon' is no number"},
        {"fans --count 0", "--count: '0' is no number from 1 to 1000000"},
    };
    const Board board("demo");
    for (const Case &each : cases) {
        const Result result = board.dfdctl(fmt::format("watch {}", each.words));
        EXPECT_EQ(result.status, 2) << each.words;
        EXPECT_EQ(result.out, "") << each.words;
        EXPECT_THAT(result.err, HasSubstr(each.error));
    }
}

TEST(Changes, AreMarkedByCell) {
    using dfdctl::watch::Changes;
    using dfdctl::watch::Style;
    const std::vector<std::string> before = {
        "Fans", "  TRAY  STATE    SPEED", "  1     present  5900 rpm", "  2     present  5900 rpm"};
    struct Case {
        std::vector<std::string> now;
        std::vector<std::string> expected;
    };
    const Case cases[] = {
        {before, before},
        {{"Fans", "  1     present  5900 rpm", "  2     failed   5900 rpm"},
         {"Fans", "  1     present  5900 rpm", "  2     failed*  5900 rpm"}},
        // A row that moves is not a change.
        {{"Fans", "  2     present   900 rpm", "  1     present  5900 rpm"},
         {"Fans", "  2     present   900 rpm*", "  1     present  5900 rpm"}},
        {{"Fans", "  3     present  5900 rpm"}, {"Fans", "  3*    present* 5900 rpm*"}},
        {{"Other", "  1     present  5900 rpm"}, {"Other*", "  1     present  5900 rpm"}},
    };
    for (const Case &each : cases) {
        Changes changes(Style::star);
        EXPECT_EQ(changes.marked(before), before);
        EXPECT_EQ(changes.marked(each.now), each.expected);
        EXPECT_EQ(changes.marked(each.now), each.now);
    }
    Changes reverse(Style::reverse);
    reverse.marked({"  level  2"});
    EXPECT_EQ(reverse.marked({"  level  3"}),
              (std::vector<std::string>{"  level  \033[7m3\033[0m"}));
    reverse.forget();
    EXPECT_EQ(reverse.marked({"  level  4"}), (std::vector<std::string>{"  level  4"}));
}

}  // namespace
}  // namespace tools_test
