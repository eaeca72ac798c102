// SPDX-License-Identifier: MIT
#include "dfdctl/watch/terminal.hpp"

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <algorithm>
#include <array>

#include <fmt/format.h>

namespace dfdctl::watch {

namespace {

constexpr std::size_t kUsualRows = 24;
constexpr std::array kSignals = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP, SIGCONT, SIGWINCH};

// Set by the handler.
volatile std::sig_atomic_t g_ending = 0;
volatile std::sig_atomic_t g_is_stopped = 0;
volatile std::sig_atomic_t g_is_continued = 0;
volatile std::sig_atomic_t g_is_resized = 0;

void note(int number) {
    switch (number) {
        case SIGTSTP:
            g_is_stopped = 1;
            break;
        case SIGCONT:
            g_is_continued = 1;
            break;
        case SIGWINCH:
            g_is_resized = 1;
            break;
        default:
            g_ending = number;
            break;
    }
}

bool taken(volatile std::sig_atomic_t &flag) {
    const bool is_set = flag != 0;
    flag = 0;
    return is_set;
}

void handle_all(void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    sigfillset(&action.sa_mask);
    for (const int number : kSignals) {
        sigaction(number, &action, nullptr);
    }
}

bool typed_q() {
    std::array<char, 64> keys = {};
    const ssize_t count = read(STDIN_FILENO, keys.data(), keys.size());
    const auto end = keys.begin() + std::max<ssize_t>(count, 0);
    return std::any_of(keys.begin(), end, [](char key) { return key == 'q' || key == 'Q'; });
}

}  // namespace

Signals::Signals() {
    sigset_t held = {};
    sigemptyset(&held);
    for (const int number : kSignals) {
        sigaddset(&held, number);
    }
    sigprocmask(SIG_BLOCK, &held, &mask_);
    handle_all(note);
}

Signals::~Signals() {
    restore();
}

void Signals::restore() const {
    handle_all(SIG_DFL);
    sigprocmask(SIG_SETMASK, &mask_, nullptr);
}

Events Signals::wait(int descriptor, bool has_keys, std::chrono::milliseconds time) const {
    constexpr long kMsPerSecond = 1000;
    constexpr long kNsPerMs = 1000000;
    std::array<pollfd, 2> polled = {pollfd{descriptor, POLLIN, 0},
                                    pollfd{has_keys ? STDIN_FILENO : -1, POLLIN, 0}};
    const long ms = std::max(static_cast<long>(time.count()), 0L);
    const timespec timeout = {ms / kMsPerSecond, ms % kMsPerSecond * kNsPerMs};
    Events events;
    if (ppoll(polled.data(), polled.size(), &timeout, &mask_) > 0) {
        events.is_readable = polled[0].revents != 0;
        events.wants_quit = polled[1].revents != 0 && typed_q();
    }
    events.ending = g_ending;
    events.is_stopped = taken(g_is_stopped);
    events.is_continued = taken(g_is_continued);
    events.is_resized = taken(g_is_resized);
    return events;
}

void Signals::stop() {
    kill(getpid(), SIGSTOP);
}

void Screen::enter() {
    if (is_entered_) {
        return;
    }
    is_entered_ = true;
    termios keys = {};
    if (tcgetattr(STDIN_FILENO, &keys) == 0) {
        keys_ = keys;
        keys.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
        tcsetattr(STDIN_FILENO, TCSANOW, &keys);
    }
    fmt::print(out_, "\033[?1049h\033[?25l");
    std::fflush(out_);
}

void Screen::leave() {
    if (!is_entered_) {
        return;
    }
    is_entered_ = false;
    fmt::print(out_, "\033[?25h\033[?1049l");
    std::fflush(out_);
    if (keys_) {
        tcsetattr(STDIN_FILENO, TCSANOW, &*keys_);
    }
}

std::size_t Screen::rows() const {
    winsize size = {};
    const bool is_known = ioctl(fileno(out_), TIOCGWINSZ, &size) == 0 && size.ws_row > 0;
    return is_known ? size.ws_row : kUsualRows;
}

void Screen::draw(const std::vector<std::string> &lines) {
    const std::size_t room = rows();
    const bool fits = lines.size() <= room;
    const std::size_t shown = fits ? lines.size() : room - 1;
    std::string text = "\033[H";
    for (std::size_t i = 0; i < shown; ++i) {
        text += lines[i] + "\033[K" + (i + 1 < room ? "\r\n" : "");
    }
    text += fits ? "" : fmt::format("... {} lines below", lines.size() - shown);
    text += shown < room ? "\033[J" : "";
    std::fwrite(text.data(), 1, text.size(), out_);
    std::fflush(out_);
}

}  // namespace dfdctl::watch
