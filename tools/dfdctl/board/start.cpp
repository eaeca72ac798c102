// SPDX-License-Identifier: MIT
#include "dfdctl/board/start.hpp"

#include <dfd/framework.h>
#include <unistd.h>
#include <cerrno>
#include <system_error>

#include "dfdctl/board/read_pass.hpp"
#include "dfdctl/output.hpp"

#include <fmt/format.h>

namespace dfdctl {

namespace {

[[noreturn]] void throw_errno(const char *what) {
    throw std::system_error(errno, std::generic_category(), what);
}

void report(const ConfigFile &file) {
    if (file.failed_line != 0) {
        complain(fmt::format("{}:{}: loading stopped here: {}", file.path, file.failed_line,
                             file.error));
    } else if (file.is_passed_over) {
        complain(fmt::format("{}: cannot be read: {}", file.path, file.error));
    } else if (!file.opened && file.role == FileRole::listed) {
        complain(fmt::format("{}: cannot be opened: {}; the files listed behind it are not loaded",
                             file.path, file.error));
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
    if (!loaded.list_error.empty()) {
        return true;
    }
    for (const ConfigFile &file : loaded.files) {
        if (file.failed_line != 0 || file.is_passed_over ||
            (!file.opened && file.role == FileRole::listed)) {
            return true;
        }
    }
    return false;
}

void report_missing_chassis_file(const Library &library) {
    for (const ConfigFile &file : library.loaded.files) {
        if (file.role == FileRole::chassis && !file.opened && !file.is_passed_over) {
            complain(fmt::format("{}: {}: what it would set for this chassis is missing", file.path,
                                 file.error));
        }
    }
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

Library start_library(const Options &options, std::optional<std::uint32_t> only) {
    dfd_open_debug(options.debug_startup ? options.debug : 0);
    std::optional<ReadPass> own;
    if (ReadPass::current() == nullptr) {
        own.emplace();
    }
    LoadWatcher watcher;
    if (only) {
        watcher.keep_only(*only);
    }
    watcher.hooks().is_silent = true;  // report() says it with the reason
    ReadPass::join(watcher.hooks());
    const Watching watching(watcher.hooks());
    const int result = dev_drv_init();
    dfd_open_debug(options.debug);
    Library library{result, watcher.take()};
    for (const ConfigFile &file : library.loaded.files) {
        report(file);
    }
    if (library.usable() && library.loaded.list_error.empty() && library.loaded.list.empty()) {
        library.loaded.list_error = "the list is empty";
    }
    if (library.usable() && !library.loaded.list_error.empty()) {
        complain(fmt::format("{}: no file is loaded: {}", library.loaded.list_path,
                             library.loaded.list_error));
    }
    return library;
}

std::string why_unusable(const Library &library) {
    if (!library.loaded.list_error.empty()) {
        return fmt::format("the board's list of configuration files {} cannot be opened: {}",
                           library.loaded.list_path, library.loaded.list_error);
    }
    return "the board type cannot be found out ('dfdctl show board' tells more); without "
           "hardware run it on a virtual chassis: vchassis run DIR -- dfdctl ...";
}

Library require_library(const Options &options, std::optional<std::uint32_t> only) {
    Library library = start_library(options, only);
    if (!library.usable()) {
        throw UsageError(why_unusable(library));
    }
    return library;
}

}  // namespace dfdctl
