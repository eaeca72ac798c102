// SPDX-License-Identifier: MIT
#include "sweep/board.h"

#include <dfd/dfd.h>
#include <dfd/keys.h>
#include <algorithm>
#include <iterator>
#include <stdexcept>

#include "framework/watch.h"
#include "service/intf/pass_through.h"
#include "sweep/arguments.h"
#include "sweep/state.h"

namespace sweep_test {

namespace {

struct PassThrough {
    std::string_view name;
    std::string_view to;
};
#define SWEEP_ROW(name, to, parameters, arguments) PassThrough{#name, #to},
constexpr PassThrough kPassThrough[] = {DFD_PASS_THROUGH(SWEEP_ROW)};
#undef SWEEP_ROW

std::string base_of(std::string_view name) {
    const auto *const row = std::ranges::find(kPassThrough, name, &PassThrough::name);
    return std::string(row == std::end(kPassThrough) ? name : row->to);
}

// What the platform does before the call. A number that is no answer shows whether it stays.
void prepare(const Asked &asked, const dfdctl::observe::Frame &frame) {
    using dfdctl::observe::Role;
    constexpr std::uint8_t kNoAnswer = 0x5A;
    if (std::uint8_t *const out = frame.bytes_of(Role::out); out != nullptr) {
        *out = kNoAnswer;
    }
    if (asked.call->name == "dfd_check_e2prom_info" || asked.call->name == "dfd_get_tlv_data") {
        dfd_get_e2prom_info(asked.args.texts[0].c_str(),
                            static_cast<std::uint16_t>(asked.args.numbers[0]),
                            frame.bytes_of(Role::data));
    }
}

}  // namespace

Board::Board(const std::string &name) : name_(name), chassis_(BUILD_DIR "/boards/" + name) {
    dfdctl::forget_board();
    dfdctl::LoadWatcher watcher;
    watcher.hooks().is_silent = true;
    {
        const dfdctl::Watching watching(watcher.hooks());
        if (dev_drv_init() != DFD_OK) {
            throw std::runtime_error("the board " + name + " does not start");
        }
    }
    record_ = watcher.take();
    const int slot = sdd_get_my_slotid();
    units_.emplace(record_, slot >= 0 ? std::optional(static_cast<std::uint32_t>(slot))
                                      : std::optional<std::uint32_t>());
    forget_answers();
    drv_irq_cfg_init();
    forget_look_ups();
    const auto state = dfd::watch::state();
    started_.assign(state.begin(), state.end());
}

std::vector<Asked> Board::asked() const {
    std::vector<Asked> all;
    for (const Call &call : dfdctl::observe::calls()) {
        if (!call.can_be_observed()) {
            continue;
        }
        for (const Args &args : arguments_of(call, record_, *units_)) {
            all.push_back({&call, args, base_of(call.name)});
        }
    }
    return all;
}

void Board::restore() {
    restore_devices();
    std::copy(started_.begin(), started_.end(), dfd::watch::state().begin());
}

bool Board::is_as_started() const {
    forget_look_ups();
    return std::ranges::equal(started_, dfd::watch::state());
}

Answer Board::call(const Asked &asked, dfd_test::Positions positions,
                   std::optional<dfd_test::CallFault> fault) {
    const dfdctl::observe::Frame frame(*asked.call, asked.args);
    prepare(asked, frame);
    std::vector<dfdctl::observe::Output> before = frame.outputs(0);
    chassis_.clear_log();
    dfd_test::WatchedCalls watched(positions, fault);
    const int result = frame.run();
    watched.end();
    return {.result = asked.call->returns_nothing ? 0 : result,
            .before = std::move(before),
            .outputs = frame.outputs(result),
            .made = watched.made(),
            .wrong = watched.wrong(),
            .blocks_kept = watched.blocks_kept()};
}

}  // namespace sweep_test
