// SPDX-License-Identifier: MIT
// What the library prints, kept from its usual place.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

namespace dfdctl {

/// The library's log while it lives: into a text.
class LogCapture {
  public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    /// Opens the gate as far as it goes, until the end of the capture.
    void open_gate();
    /// What was printed, from a size() on.
    std::string text(std::size_t from = 0) const;
    std::size_t size() const;
    /// Where the log would have gone.
    std::FILE *usual_place() const { return outer_; }

  private:
    char *buffer_ = nullptr;
    std::size_t size_ = 0;
    std::FILE *stream_;
    std::FILE *outer_;
    std::uint32_t gate_;
};

/// The log comes later: at its usual place when this ends.
class LogHeld {
  public:
    LogHeld() = default;
    ~LogHeld();
    LogHeld(const LogHeld &) = delete;
    LogHeld &operator=(const LogHeld &) = delete;

  private:
    LogCapture log_;
};

}  // namespace dfdctl
