// SPDX-License-Identifier: MIT
#include "dfdctl/startup.hpp"

#include <dfd/framework.h>
#include <sys/mman.h>
#include <unistd.h>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <system_error>

#include <fmt/format.h>

namespace dfdctl {

namespace {

constexpr std::string_view kChassisDirectory = "/etc/cfg/dfd/chassis/";

[[noreturn]] void throw_errno(const char *what) {
    throw std::system_error(errno, std::generic_category(), what);
}

/// Collects what is printed to standard output while it lives.
class Capture {
  public:
    Capture() : memory_(memfd_create("dfdctl-log", MFD_CLOEXEC)), saved_(dup(STDOUT_FILENO)) {
        if (memory_ < 0 || saved_ < 0) {
            throw_errno("capturing the library's log");
        }
        std::fflush(stdout);
        dup2(memory_, STDOUT_FILENO);
    }
    ~Capture() {
        close(memory_);
        close(saved_);
    }
    Capture(const Capture &) = delete;
    Capture &operator=(const Capture &) = delete;

    /// Ends the capture and returns what it holds.
    std::string finish() const {
        std::fflush(stdout);
        dup2(saved_, STDOUT_FILENO);
        const off_t size = lseek(memory_, 0, SEEK_END);
        std::string text(static_cast<std::size_t>(size > 0 ? size : 0), '\0');
        std::size_t done = 0;
        while (done < text.size()) {
            const ssize_t count =
                pread(memory_, text.data() + done, text.size() - done, static_cast<off_t>(done));
            if (count <= 0) {
                throw_errno("reading the library's log");
            }
            done += static_cast<std::size_t>(count);
        }
        return text;
    }

  private:
    int memory_;
    int saved_;
};

bool is_empty_file(const std::string &path) {
    std::ifstream file(path);
    return file && file.peek() == std::ifstream::traits_type::eof();
}

/// The log names the chassis file only when it cannot be opened.
void name_chassis_file(StartupLog &log) {
    for (ConfigFile &file : log.files) {
        if (file.role == FileRole::chassis && file.path.empty()) {
            file.path = fmt::format("{}{}.cfg", kChassisDirectory, sdd_get_my_chassis_type());
        }
    }
}

void report(const ConfigFile &file) {
    if (file.failed_line != 0) {
        fmt::print(stderr, "dfdctl: {}:{}: loading stopped here: {}\n", file.path, file.failed_line,
                   file.error);
    } else if (!file.opened && file.role == FileRole::listed) {
        fmt::print(stderr,
                   "dfdctl: {}: cannot be opened: {}; the files listed behind it are not "
                   "loaded\n",
                   file.path, file.error);
    }
}

}  // namespace

std::FILE *take_stdout() {
    const int data = dup(STDOUT_FILENO);
    std::FILE *stream = data >= 0 ? fdopen(data, "w") : nullptr;
    if (stream == nullptr || dup2(STDERR_FILENO, STDOUT_FILENO) < 0) {
        throw_errno("setting up the output");
    }
    // The library's log and messages of ours then appear in the order in which they arise.
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    return stream;
}

bool Library::incomplete() const {
    for (const ConfigFile &file : log.files) {
        if (file.failed_line != 0 || (!file.opened && file.role == FileRole::listed)) {
            return true;
        }
    }
    return false;
}

int exit_of(const Reading &reading, const Library &library) {
    switch (reading.status) {
        case Status::ok:
            return kExitOk;
        case Status::not_configured:
            return library.incomplete() ? kExitUsage : kExitNotSupported;
        case Status::unusable:
            return kExitUsage;
        case Status::io_error:
            return kExitIo;
        default:
            return kExitReadingFailed;
    }
}

Library start_library(const Options &options) {
    dfd_open_debug(options.debug);
    const std::uint32_t wanted = dfd_debug;
    dfd_debug |= DFD_DEBUG_ERR | DFD_DEBUG_WARN | DFD_DEBUG_VBOSE;
    const Capture capture;
    const int result = dev_drv_init();
    const std::string text = capture.finish();
    dfd_debug = wanted;
    if ((wanted & DFD_DEBUG_VBOSE) != 0) {
        fmt::print(stderr, "{}", text);
    }
    Library library{result, parse_startup_log(text, is_empty_file)};
    name_chassis_file(library.log);
    for (const ConfigFile &file : library.log.files) {
        report(file);
    }
    return library;
}

Library require_library(const Options &options) {
    Library library = start_library(options);
    if (library.usable()) {
        return library;
    }
    if (!library.log.list_path.empty()) {
        throw UsageError(
            fmt::format("the board's list of configuration files {} cannot be opened: {}",
                        library.log.list_path, library.log.list_error));
    }
    throw UsageError(
        "the board type cannot be found out ('dfdctl show board' tells more); without "
        "hardware run it on a virtual chassis: vchassis run DIR -- dfdctl ...");
}

}  // namespace dfdctl
