// SPDX-License-Identifier: MIT
// The terminal while a page is on it, and the signals that end, stop or resize it.
#pragma once

#include <termios.h>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

namespace dfdctl::watch {

/// What has happened since one asked last.
struct Events {
    int ending = 0;  ///< the signal that ends the program
    bool is_stopped = false;
    bool is_continued = false;
    bool is_resized = false;
    bool is_readable = false;  ///< the descriptor that was waited for
    bool wants_quit = false;   ///< somebody typed q
};

/// While it lives, signals come only while one waits.
class Signals {
  public:
    Signals();
    ~Signals();
    Signals(const Signals &) = delete;
    Signals &operator=(const Signals &) = delete;

    /// Until something happens, or the time has come; a descriptor of -1 is none. Keys are read
    /// where `has_keys`.
    Events wait(int descriptor, bool has_keys, std::chrono::milliseconds time) const;
    /// Stops the program as the terminal does, until it is continued.
    static void stop();
    /// As it was, for a child.
    void restore() const;

  private:
    sigset_t mask_ = {};
};

/// The terminal behind a stream: on its other screen, without cursor, keys without return. It is as
/// it was after `leave` and at the end.
class Screen {
  public:
    explicit Screen(std::FILE *out) : out_(out) {}
    ~Screen() { leave(); }
    Screen(const Screen &) = delete;
    Screen &operator=(const Screen &) = delete;

    void enter();
    void leave();
    /// From the top, over what is there; of lines that do not fit, how many there are.
    void draw(const std::vector<std::string> &lines);

  private:
    std::size_t rows() const;

    std::FILE *out_;
    bool is_entered_ = false;
    std::optional<termios> keys_ = {};  ///< as they were
};

}  // namespace dfdctl::watch
