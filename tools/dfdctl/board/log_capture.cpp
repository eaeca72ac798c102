// SPDX-License-Identifier: MIT
#include "dfdctl/board/log_capture.hpp"

#include <dfd/framework.h>
#include <cstdlib>
#include <stdexcept>

namespace dfdctl {

LogCapture::LogCapture() : stream_(open_memstream(&buffer_, &size_)), outer_(stdout) {
    if (stream_ == nullptr) {
        throw std::runtime_error("no memory for the library's log");
    }
    gate_ = dfd_debug;
    // The library prints to what this variable says.
    stdout = stream_;
}

LogCapture::~LogCapture() {
    dfd_debug = gate_;
    stdout = outer_;
    std::fclose(stream_);
    std::free(buffer_);
}

void LogCapture::open_gate() {
    constexpr std::uint32_t kAll = 3;
    dfd_open_debug(kAll);
}

std::string LogCapture::text(std::size_t from) const {
    std::fflush(stream_);
    return std::string(buffer_ + from, size_ - from);
}

std::size_t LogCapture::size() const {
    std::fflush(stream_);
    return size_;
}

LogHeld::~LogHeld() {
    std::fputs(log_.text().c_str(), log_.usual_place());
    std::fflush(log_.usual_place());
}

}  // namespace dfdctl
