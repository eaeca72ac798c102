// SPDX-License-Identifier: MIT
#include "dfdctl/observe/observer.hpp"

#include <dfd/framework.h>
#include <dfd/irq.h>
#include <dfd/keys.h>
#include <algorithm>
#include <stdexcept>
#include <unordered_set>

#include "dfdctl/board/keys.hpp"
#include "dfdctl/observe/frame.hpp"
#include "dfdctl/observe/recorder.hpp"

namespace dfdctl::observe {

namespace {

void check(const Call &call, const Answers &answers) {
    if (!call.can_be_observed()) {
        throw std::logic_error(std::string(call.name) + " changes what is loaded");
    }
    if (answers.from == Answers::From::hardware && !call.only_reads()) {
        throw std::logic_error(std::string(call.name) + " does more than read");
    }
}

/// What would not fit the buffers that a call works on.
void check_lengths(const Call &call, const Args &args) {
    const auto params = call.params();
    if (std::ranges::find(params, Role::length, &Param::role) == params.end()) {
        return;
    }
    std::size_t number = 0;
    for (const Param *param : call.inputs()) {
        if (facts_of(param->role).kind == RoleKind::text) {
            continue;
        }
        const bool is_given = number < args.numbers.size();
        if (param->role == Role::length && is_given && args.numbers[number] > kMaxLength) {
            throw std::logic_error(std::string(call.name) + " works on longer buffers");
        }
        ++number;
    }
}

}  // namespace

std::uint32_t list_type(const dfd_list_head_t *list) {
    if (list == &dfd_lib_cfg_pid_str_conv_lst) {
        return DFD_KEY_CARD_PID_STR;
    }
    if (list == &dfd_lib_cfg_power_name_conv_lst) {
        return DFD_KEY_POWER_NAME;
    }
    return list == &dfd_lib_cfg_fan_name_conv_lst ? DFD_KEY_FAN_NAME : DFD_KEY_FAN_SPEEDLVL_CONVERT;
}

std::vector<std::uint32_t> Observation::keys() const {
    std::vector<std::uint32_t> keys;
    std::unordered_set<std::uint32_t> known;
    for (const Event &event : events) {
        if (event.kind == Event::Kind::lookup && known.insert(event.key).second) {
            keys.push_back(event.key);
        }
    }
    return keys;
}

std::string log_message(const std::string &log) {
    const auto header = log.find(">\n");
    const auto begin = header == std::string::npos ? 0 : header + 2;
    return log.substr(begin, log.find_first_of("\r\n", begin) - begin);
}

Observer::Observer(const LoadRecord &record) : record_(record), plausible_(record) {}

Observer::~Observer() {
    state_.restore();
}

Observation Observer::observe(const Call &call, const Args &args, const Answers &answers,
                              Log log) const {
    check(call, answers);
    check_lengths(call, args);
    state_.restore();
    if (call.subsystem == Subsystem::irq && call.does == Does::control) {
        drv_irq_cfg_init();  // what the platform does before the first interrupt
        if (call.name == "drv_irq_cfg_init") {
            state_.restore();
        }
    }
    std::optional<LogCapture> capture;
    if (log == Log::open) {
        capture.emplace();
        capture->open_gate();
    }
    Recorder recorder(answers, plausible_, capture.has_value() ? &*capture : nullptr);
    Frame frame(call, args);
    int result = 0;
    {
        const Watching watching(recorder.hooks());
        result = frame.run();
    }
    Observation seen = recorder.take();
    seen.result = result;
    seen.outputs = frame.outputs(result);
    if (capture.has_value()) {
        seen.log = capture->text();
    }
    return seen;
}

std::optional<std::uint32_t> Observer::own_slot(const Answers &answers) const {
    const bool is_given = answers.find(item_of(DFD_KEY_MY_SLOTID).key()) != nullptr;
    if (!is_given && answers.from != Answers::From::hardware) {
        return std::nullopt;
    }
    const int slot = observe(*find_call("drv_get_my_slotid"), {}, answers).result;
    return slot >= 0 ? std::optional(static_cast<std::uint32_t>(slot)) : std::nullopt;
}

}  // namespace dfdctl::observe
