// SPDX-License-Identifier: MIT
#include "dfdctl/observe/recorder.hpp"

#include <dfd/framework.h>
#include <algorithm>
#include <cstdlib>
#include <stdexcept>

namespace dfdctl::observe {

namespace {

using dfd::watch::EngineCall;
using dfd::watch::Transfer;

/// A getter makes some ten; what goes on and on is a loop that waits, or masks interrupts.
constexpr std::size_t kMaxEvents = 20000;
/// Events of one round of the longest loop that waits.
constexpr std::size_t kMaxPeriod = 40;

bool has_data(const Transfer &transfer, int result) {
    return transfer.data != nullptr && (transfer.is_write || result > 0);
}

/// The same as a round earlier, `period` events before.
bool comes_again(const Event &event, const Event &earlier, std::size_t period) {
    if (event.kind != earlier.kind || event.key != earlier.key || event.offset != earlier.offset ||
        event.addr != earlier.addr || event.value != earlier.value || event.text != earlier.text) {
        return false;
    }
    Event moved = earlier;
    moved.engine += earlier.engine == kOutside ? 0 : static_cast<int>(period);
    // What runs within an engine call that is still open stays in it.
    return event == moved || event == earlier;
}

}  // namespace

Recorder::Recorder(const Answers &answers, const Plausible &plausible, const LogCapture *log)
    : answerer_(answers, plausible),
      makes_pauses_(answers.from == Answers::From::hardware),
      log_(log) {
    constexpr std::size_t kUsualEvents = 5;
    seen_.events.reserve(kUsualEvents);
    hooks_.context = this;
    hooks_.looked_up = [](void *context, std::uint32_t key, const void *record) {
        Recorder &recorder = self(context);
        recorder.answerer_.looked_up(key, record);
        recorder.add({.kind = Event::Kind::lookup, .key = key, .found = record != nullptr});
    };
    hooks_.converted = [](void *context, const dfd_list_head_t &list, const char *text,
                          std::uint32_t number, const val_convert_node_t *found) {
        self(context).add(
            {.kind = Event::Kind::conversion,
             .found = found != nullptr,
             .value = found != nullptr ? static_cast<std::uint32_t>(found->index1) : 0,
             .list = &list,
             .number = number,
             .text = text != nullptr ? text : ""});
    };
    hooks_.engine_begin = [](void *context, const EngineCall &call) {
        Recorder &recorder = self(context);
        recorder.answerer_.engine_begin(call);
        if (recorder.add({.kind = Event::Kind::engine, .key = call.key, .op = call.op})) {
            recorder.engine_ = static_cast<int>(recorder.seen_.events.size()) - 1;
        }
        recorder.log_at_ = recorder.log_ != nullptr ? recorder.log_->size() : 0;
    };
    hooks_.refused = [](void *context, dfd::watch::Refusal refusal) {
        Recorder &recorder = self(context);
        if (recorder.engine_ != kOutside) {
            auto &first = recorder.seen_.events[static_cast<std::size_t>(recorder.engine_)].refusal;
            first = first == dfd::watch::Refusal::none ? refusal : first;
        }
    };
    hooks_.engine_end = [](void *context, const EngineCall &call, int result, std::uint32_t value) {
        self(context).engine_end(call, result, value);
    };
    hooks_.answer = [](void *context, const Transfer &transfer, int *result) {
        return self(context).answerer_.answer(transfer, result);
    };
    hooks_.transferred = [](void *context, const Transfer &transfer, int result,
                            const dfd::watch::Failure &failure) {
        self(context).transferred(transfer, result, failure);
    };
    hooks_.pause = [](void *context, unsigned us) {
        self(context).add({.kind = Event::Kind::pause, .number = us});
        return !self(context).makes_pauses_;
    };
}

bool Recorder::add(Event &&event) {
    if (seen_.events.size() >= kMaxEvents) {
        ++seen_.dropped;
        return false;
    }
    event.engine = engine_;
    seen_.events.push_back(std::move(event));
    if (seen_.events.back().kind != Event::Kind::engine) {
        fold();
    }
    return true;
}

/// Drops the last `period` events when they are those before once more.
bool Recorder::fold_period(std::size_t period) {
    auto &events = seen_.events;
    const std::size_t begin = engine_ == kOutside ? 0 : static_cast<std::size_t>(engine_) + 1;
    if (events.size() < begin + 2 * period) {
        return false;
    }
    const auto last = events.end() - static_cast<std::ptrdiff_t>(period);
    if (!std::equal(last, events.end(), last - static_cast<std::ptrdiff_t>(period),
                    [period](const Event &event, const Event &earlier) {
                        return comes_again(event, earlier, period);
                    })) {
        return false;
    }
    const std::size_t first = events.size() - 2 * period;
    events.erase(last, events.end());
    const bool goes_on = !seen_.repeats.empty() && seen_.repeats.back().first == first &&
                         seen_.repeats.back().count == period;
    if (goes_on) {
        ++seen_.repeats.back().times;
    } else {
        seen_.repeats.push_back({first, period, 2});
    }
    return true;
}

void Recorder::fold() {
    const auto &events = seen_.events;
    const std::size_t most = std::min(kMaxPeriod, events.size() / 2);
    for (std::size_t period = 1; period <= most; ++period) {
        // Most periods end here: this is asked behind every event.
        const Event &earlier = events[events.size() - 1 - period];
        if (earlier.key == events.back().key && earlier.kind == events.back().kind &&
            fold_period(period)) {
            return;
        }
    }
}

void Recorder::engine_end(const EngineCall &call, int result, std::uint32_t value) {
    answerer_.engine_end();
    if (engine_ == kOutside || seen_.events.size() <= static_cast<std::size_t>(engine_)) {
        return;
    }
    Event &event = seen_.events[static_cast<std::size_t>(engine_)];
    event.argument = call.argument;
    event.has_processor = call.has_processor;
    event.found = true;
    event.result = result;
    event.value = value;
    if (log_ != nullptr && result < 0) {
        event.text = log_->text().substr(log_at_);
    }
    engine_ = kOutside;
    fold();
}

void Recorder::transferred(const Transfer &transfer, int result,
                           const dfd::watch::Failure &failure) {
    Event event{.kind = Event::Kind::transfer,
                .result = result,
                .call = failure.call,
                .error = failure.error,
                .text = transfer.path != nullptr ? transfer.path : "",
                .via = transfer.via,
                .is_write = transfer.is_write,
                .addr = transfer.addr,
                .offset = transfer.offset,
                .offset_bytes = transfer.offset_bytes,
                .len = transfer.len};
    if (has_data(transfer, result)) {
        // Messages are counted on I2C, bytes elsewhere.
        const bool counts_bytes = !transfer.is_write && transfer.via != dfd::watch::Via::i2c;
        const std::uint32_t count = counts_bytes
                                        ? std::min(transfer.len, static_cast<std::uint32_t>(result))
                                        : transfer.len;
        event.bytes.assign(transfer.data, transfer.data + count);
    }
    add(std::move(event));
}

}  // namespace dfdctl::observe
