// SPDX-License-Identifier: MIT
#include "dfdctl/board/read_pass.hpp"

#include <dfd/types.h>
#include <algorithm>

#include "dfdctl/board/bus_writes.hpp"

#include <fmt/format.h>

namespace dfdctl {

namespace {

using dfd::watch::Failure;
using dfd::watch::SystemCall;
using dfd::watch::Transfer;
using dfd::watch::Via;

/// Attempts of the library at one I2C transfer.
constexpr int kAttempts = 5;

/// Plain files are looked for: that one is missing is an answer.
bool may_fail(const Transfer &transfer) {
    return transfer.via == Via::device || transfer.via == Via::i2c;
}

std::string device_of(const Transfer &transfer) {
    const bool is_on_bus = transfer.via == Via::i2c;
    return FailedTransfer{.path = transfer.path,
                          .address = is_on_bus ? std::optional(transfer.addr) : std::nullopt}
        .device();
}

std::optional<FailedTransfer> failure_of(const Transfer &transfer, int result,
                                         const Failure &failure) {
    const bool is_short =
        transfer.via == Via::device && !transfer.is_write && result == 0 && transfer.len != 0;
    // Some failures the library hides.
    if (!may_fail(transfer) || (result >= 0 && failure.call == SystemCall::none && !is_short)) {
        return std::nullopt;
    }
    const bool is_on_bus = transfer.via == Via::i2c && failure.call != SystemCall::open;
    return FailedTransfer{.path = transfer.path,
                          .address = is_on_bus ? std::optional(transfer.addr) : std::nullopt,
                          .call = is_short ? SystemCall::read : failure.call,
                          .error = failure.error};
}

std::size_t bytes_of(const Transfer &transfer, int result) {
    if (transfer.data == nullptr || result < 0) {
        return 0;
    }
    // Messages are counted on I2C, bytes elsewhere.
    return transfer.via == Via::i2c
               ? transfer.len
               : std::min<std::size_t>(transfer.len, static_cast<std::size_t>(result));
}

}  // namespace

ReadPass *ReadPass::current_ = nullptr;

void ReadPass::join(dfd::watch::Hooks &hooks) {
    if (current_ == nullptr) {
        return;
    }
    hooks.answer = [](void * /*context*/, const Transfer &transfer, int *result) {
        return current_->answer(transfer, result);
    };
    hooks.transferred = [](void * /*context*/, const Transfer &transfer, int result,
                           const Failure &failure) {
        current_->transferred(transfer, result, failure);
    };
    hooks.pause = [](void * /*context*/, unsigned /*us*/) { return current_->skips_pause(); };
}

ReadPass::ReadPass() : outer_(current_), watching_(hooks_) {
    current_ = this;
    join(hooks_);
}

ReadPass::~ReadPass() {
    current_ = outer_;
}

const FailedTransfer *ReadPass::dead(const Transfer &transfer) const {
    for (const std::string &name : {device_of(transfer), std::string(transfer.path)}) {
        if (const auto found = dead_.find(name); found != dead_.end()) {
            return &found->second;
        }
    }
    return nullptr;
}

/// The library's next attempt at what has just failed, and it may help.
bool ReadPass::is_retry(const Read &read) const {
    const auto found = known_.find(read);
    return last_ == read && found != known_.end() && found->second.failure.has_value() &&
           found->second.attempts < kAttempts && fault_of(*found->second.failure).is_worth_retry;
}

bool ReadPass::fails(const Transfer &transfer, const FailedTransfer &failure, int *result) {
    ++failures_[device_of(transfer)];
    is_answered_ = true;
    *result = DFD_ERR;
    failed_.push_back(failure);
    return true;
}

bool ReadPass::answer(const Transfer &transfer, int *result) {
    is_answered_ = false;
    if (!transfer.is_write) {
        return answer_read(transfer, result);
    }
    if (BusWriteGuard::refuses(transfer, result)) {
        is_answered_ = true;
        return true;
    }
    std::erase_if(known_, [&](const auto &known) { return known.first.path == transfer.path; });
    const FailedTransfer *failure = dead(transfer);
    return failure != nullptr && fault_of(*failure).fault == Fault::timed_out &&
           fails(transfer, *failure, result);
}

bool ReadPass::answer_read(const Transfer &transfer, int *result) {
    const Read read{transfer.via,    transfer.path,         transfer.addr,
                    transfer.offset, transfer.offset_bytes, transfer.len};
    const auto found = known_.find(read);
    if (is_retry(read)) {
        return false;
    }
    if (found == known_.end()) {
        const FailedTransfer *failure = dead(transfer);
        return failure != nullptr && fails(transfer, *failure, result);
    }
    Known &known = found->second;
    known.reading = reading_;
    if (known.failure) {
        failed_.push_back(*known.failure);
    }
    std::ranges::copy(known.bytes, transfer.data);
    *result = known.result;
    is_answered_ = true;
    return true;
}

void ReadPass::note_answer(const Transfer &transfer) {
    const std::string device = device_of(transfer);
    alive_.insert(device);
    failures_.try_emplace(device);
    failures_.try_emplace(transfer.path);
    dead_.erase(device);
    timed_out_.erase(transfer.path);
}

void ReadPass::note_failure(const Read &read, const FailedTransfer &failed) {
    const std::string device = failed.device();
    const FaultRow &fault = fault_of(failed);
    failed_.push_back(failed);
    ++failures_[device];
    failures_.try_emplace(failed.path);
    auto &strikes = strikes_[device];
    strikes.insert(read);
    const bool is_proved = static_cast<int>(strikes.size()) >= fault.failures;
    if (fault.reach == Reach::node || fault.reach == Reach::bus ||
        (fault.reach == Reach::device && is_proved && !alive_.contains(device))) {
        dead_.emplace(device, failed);
    }
    if (fault.reach != Reach::bus) {
        timed_out_.erase(failed.path);  // the bus works
        return;
    }
    std::string &last = timed_out_[failed.path];
    if (!last.empty() && last != device) {
        ++failures_[failed.path];
        dead_.emplace(failed.path,
                      FailedTransfer{failed.path, std::nullopt, failed.call, failed.error});
    }
    last = device;
}

void ReadPass::transferred(const Transfer &transfer, int result, const Failure &failure) {
    const std::optional<FailedTransfer> failed =
        is_answered_ ? std::nullopt : failure_of(transfer, result, failure);
    last_failed_ = failed.has_value() || (is_answered_ && result < 0);
    retry_helps_ = failed.has_value() && fault_of(*failed).is_worth_retry;
    last_.reset();
    if (is_answered_) {
        return;
    }
    ++made_;
    const Read read{transfer.via,    transfer.path,         transfer.addr,
                    transfer.offset, transfer.offset_bytes, transfer.len};
    if (failed) {
        note_failure(read, *failed);
    } else if (may_fail(transfer)) {
        note_answer(transfer);
    }
    if (transfer.is_write) {
        return;
    }
    Known &known = known_[read];
    known.result = result;
    known.bytes.assign(transfer.data, transfer.data + bytes_of(transfer, result));
    known.failure = failed;
    known.attempts += 1;
    known.reading = reading_;
    if (failed) {
        last_ = read;
        retry_helps_ = is_retry(read);
    }
}

bool ReadPass::skips_pause() {
    if (last_failed_) {
        return !retry_helps_;
    }
    std::erase_if(known_, [&](const auto &known) { return known.second.reading == reading_; });
    return false;
}

ReadingScope::ReadingScope() {
    const bool is_answered_by_others = dfd::watch::hooks != nullptr &&
                                       dfd::watch::hooks->answer != nullptr &&
                                       !BusWriteGuard::is_alone();
    if (ReadPass::current() == nullptr && !is_answered_by_others) {
        own_.emplace();
    }
    pass_ = ReadPass::current();
    if (ReadPass *pass = ReadPass::current()) {
        pass->begin_reading();
        begin_ = pass->failed().size();
    }
}

const FailedTransfer *ReadingScope::failed() const {
    return pass_ != nullptr && pass_->failed().size() > begin_ ? &pass_->failed().back() : nullptr;
}

Reading ReadingScope::explained(Reading reading) const {
    const FailedTransfer *failure = failed();
    if (!reading.failed() || reading.status == Status::not_configured || failure == nullptr) {
        return reading;
    }
    reading.status = Status::io_error;
    reading.cause = *failure;
    reading.error = fmt::format("{}: {}", failure->device(), words_of(*failure));
    return reading;
}

}  // namespace dfdctl
