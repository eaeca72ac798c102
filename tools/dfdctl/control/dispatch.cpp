// SPDX-License-Identifier: MIT
// dfdctl irq dispatch: the library's dispatcher with a handler that tells, and what it read and
// cleared meanwhile.
#include <dfd/irq.h>
#include <dfd/keys.h>
#include <dfd/records.h>
#include <dfd/types.h>
#include <algorithm>
#include <memory>

#include "common/signals_held.hpp"
#include "dfdctl/board/describe.hpp"
#include "dfdctl/board/log_capture.hpp"
#include "dfdctl/board/start.hpp"
#include "dfdctl/board/units.hpp"
#include "dfdctl/control/run.hpp"
#include "dfdctl/output.hpp"

#include <fmt/format.h>

namespace dfdctl {

namespace {

constexpr const char *kDispatch = "irq dispatch";

/// In the order in which the dispatcher took them.
struct Step {
    enum class Kind { read, called, cleared };
    Kind kind;
    Item item;  ///< a register, or the source that the handler got
    int result = DFD_OK;
    std::uint32_t value = 0;

    bool has_failed() const { return result < 0; }
};

/// The handler has no argument of its own.
std::vector<Step> *g_steps = nullptr;
const LoadRecord *g_loaded = nullptr;

int note_source(const irq_info_t *source) {
    for (const Item &item : irq_sources(*g_loaded)) {
        if (record_of<irq_info_t>(item) == source) {
            g_steps->push_back({Step::Kind::called, item});
        }
    }
    return 0;
}

bool is_one_of(std::uint32_t type, std::initializer_list<std::uint32_t> types) {
    return std::ranges::find(types, type) != types.end();
}

void note_register(void * /*context*/, const dfd::watch::EngineCall &call, int result,
                   std::uint32_t value) {
    const Item item = item_of_key(call.key);
    const std::uint32_t type = item.type->type;
    if (is_one_of(type, {DFD_KEY_1ST_IRQ_STATUS, DFD_KEY_2ND_IRQ_STATUS, DFD_KEY_3RD_IRQ_STATUS})) {
        g_steps->push_back({Step::Kind::read, item, result, value});
    } else if (is_one_of(type,
                         {DFD_KEY_1ST_IRQ_CLEAR, DFD_KEY_2ND_IRQ_CLEAR, DFD_KEY_3RD_IRQ_CLEAR})) {
        g_steps->push_back({Step::Kind::cleared, item, result, call.argument});
    }
}

struct Dispatched {
    int result;
    std::vector<Step> steps;
    std::vector<Item> pending;  ///< sources that are raised after it

    int status() const {
        const bool has_failed = std::ranges::any_of(steps, &Step::has_failed);
        return result < 0 || has_failed ? kExitIo : kExitOk;
    }
};

Dispatched dispatch(const Library &library) {
    Dispatched done{};
    g_steps = &done.steps;
    g_loaded = &library.loaded;
    dfd::watch::Hooks hooks;
    hooks.context = const_cast<dfd::watch::Hooks *>(dfd::watch::hooks);
    hooks.answer = [](void *outer, const dfd::watch::Transfer &transfer, int *result) {
        return ask_outer(static_cast<const dfd::watch::Hooks *>(outer), transfer, result);
    };
    hooks.engine_end = note_register;
    {
        const Watching watching(hooks);
        // All controllers share the registers and the sources: one dispatch serves them.
        done.result = sdd_irq_dispatch(0, note_source);
    }
    g_steps = nullptr;
    for (const Item &source : irq_sources(library.loaded)) {
        bool is_pending = false;
        if (read_irq_pending(source, &is_pending) == DFD_OK && is_pending) {
            done.pending.push_back(source);
        }
    }
    return done;
}

std::string source_text(const Item &item) {
    const auto &source = *record_of<irq_info_t>(item);
    return fmt::format("{}, unit {} (values {} {} {}), source {}", irq_type_word(source.type),
                       source.val0, source.val0, source.val1, source.val2, irq_position(item));
}

Json source_json(const Item &item) {
    const auto &source = *record_of<irq_info_t>(item);
    return {{"position", irq_position(item)},
            {"type", irq_type_word(source.type)},
            {"values", {source.val0, source.val1, source.val2}}};
}

std::string line_of(const Step &step) {
    if (step.kind == Step::Kind::called) {
        return "handler  " + source_text(step.item);
    }
    const char *const word = step.kind == Step::Kind::read ? "status" : "cleared";
    if (step.has_failed()) {
        return fmt::format("{:<7}  {}: failed with result {}", word, step.item.name(), step.result);
    }
    return fmt::format("{:<7}  {}: 0x{:02x}", word, step.item.name(), step.value);
}

Json step_json(const Step &step) {
    constexpr const char *kWords[] = {"status", "handler", "cleared"};
    const bool is_call = step.kind == Step::Kind::called;
    Json json = {{"step", kWords[static_cast<int>(step.kind)]},
                 {"item", item_json(step.item)},
                 {"result", step.result},
                 {"value", is_call || step.has_failed() ? Json() : Json(step.value)},
                 {"position", Json()},
                 {"type", Json()},
                 {"values", Json()}};
    if (is_call) {
        json.update(source_json(step.item));
    }
    return json;
}

void tell_steps(const Options &options, const Dispatched &done) {
    std::string text;
    Json steps = Json::array();
    for (const Step &step : done.steps) {
        text += line_of(step) + "\n";
        steps.push_back(step_json(step));
    }
    const bool has_calls =
        std::ranges::find(done.steps, Step::Kind::called, &Step::kind) != done.steps.end();
    text += has_calls || done.result < 0 ? "" : "no handler was called\n";
    Json pending = Json::array();
    for (const Item &source : done.pending) {
        text += "pending  still: " + source_text(source) + "\n";
        pending.push_back(source_json(source));
    }
    if (options.json) {
        text = Json{{"command", kDispatch},
                    {"result", done.result},
                    {"steps", steps},
                    {"still_pending", pending}}
                   .document() +
               "\n";
    }
    std::fputs(text.c_str(), options.out);
    std::fflush(options.out);
    if (done.result < 0) {
        complain(fmt::format("{}: the first level status cannot be read", kDispatch));
    }
}

/// The controllers that the library has set up; throws or answers an exit status where it has none.
int set_up(const Library &library) {
    const int count = drv_irq_cfg_init();
    if (count > 0) {
        return kExitOk;
    }
    const bool is_missing = record_of<char>(item_of(DFD_KEY_IRQ_CTRL_NUM)) == nullptr;
    complain(is_missing || count == 0
                 ? "irq dispatch: not supported: irq_ctrl_num gives no interrupt controllers"
                 : fmt::format("irq dispatch: not supported: irq_ctrl_info is not configured, or "
                               "irq_ctrl_num is above {}",
                               int{DFD_IRQ_CONTROLLERS_MAX}));
    return library.incomplete() ? kExitUsage : kExitNotSupported;
}

int run_dispatch(const Options &options, bool yes) {
    const Library library = require_library(options);
    if (const int status = set_up(library); status != kExitOk) {
        return status;
    }
    confirm(kDispatch,
            "pending interrupts are read and cleared; software that waits for them will miss them",
            yes);
    std::optional<LogHeld> log(std::in_place);
    const dfd_tools::SignalsHeld held;
    const Dispatched done = dispatch(library);
    log.reset();
    tell_steps(options, done);
    if (const std::string names = held.waiting(); !names.empty()) {
        tell_signals(names, kDispatch, done.status());
    }
    return done.status();
}

}  // namespace

void add_dispatch(Command &group, const Options &options) {
    auto yes = std::make_shared<bool>(false);
    Command command =
        group.subcommand("dispatch", kDispatchDescription, "dfdctl irq dispatch --yes");
    command.flag("--yes", *yes, "Do not ask");
    command.runs([&options, yes] { return run_dispatch(options, *yes); });
}

}  // namespace dfdctl
