// SPDX-License-Identifier: MIT
#include <dfd/records.h>
#include <algorithm>

#include "dfdctl/board/describe.hpp"
#include "dfdctl/board/faults.hpp"
#include "dfdctl/explain/interpret.hpp"
#include "dfdctl/explain/layout.hpp"
#include "dfdctl/explain/output.hpp"
#include "dfdctl/output.hpp"

#include <fmt/format.h>

namespace dfdctl::explain {

namespace {

using dfd::watch::Op;
using dfd::watch::Via;
using observe::Event;

constexpr std::size_t kMargin = 4;  // of the second line of a sentence

std::string where_of(const Event &event) {
    if (event.via == Via::i2c) {
        return fmt::format("{} address 0x{:02x} at 0x{:02x}", event.text, event.addr, event.offset);
    }
    return event.offset == 0 && event.via != Via::device
               ? event.text
               : fmt::format("{} at 0x{:02x}", event.text, event.offset);
}

/// Long contents are cut.
/// What the system said, where it was asked.
std::string system_words(const Event &event) {
    const FailedTransfer failed{
        .path = event.text, .address = {}, .call = event.call, .error = event.error};
    return event.error == 0 ? std::string()
                            : fmt::format(", {}: {}", errno_name(event.error), words_of(failed));
}

std::string shown_bytes(const Event &event) {
    constexpr std::size_t kMost = 24;
    const auto bytes = std::span(event.bytes);
    return bytes.size() <= kMost
               ? bytes_text(bytes)
               : bytes_text(bytes.first(kMost)) + fmt::format(" ... ({} bytes)", bytes.size());
}

std::string times_text(std::size_t times) {
    return times > 1 ? fmt::format(" ({} times)", times) : "";
}

/// Prints one stage after another.
class CallPrinter {
  public:
    CallPrinter(std::FILE *out, const Explanation &explanation, const LoadRecord &loaded)
        : out_(out), explanation_(explanation), loaded_(loaded) {}

    void stages() {
        const auto &stages = explanation_.stages;
        for (std::size_t i = 0; i < stages.size(); ++i) {
            const std::size_t last = last_missing_of_type(i);
            if (last > i) {
                missing(stages[i].item, stages[last].item);
                i = last;
            } else {
                stage(i);
            }
        }
    }

    /// Events of the stage that concern its item.
    void actions(const Stage &stage) {
        for (std::size_t i = stage.first; i < stage.end; ++i) {
            const Event &event = explanation_.seen.events[i];
            if (event.kind == Event::Kind::engine) {
                engine(i);
            } else if (event.kind == Event::Kind::conversion) {
                conversion(event);
            } else if (event.kind == Event::Kind::transfer && event.engine == observe::kOutside) {
                transfer(event, times(i));
            } else if (event.kind == Event::Kind::pause) {
                constexpr double kMs = 1000;
                print_text(out_, "waits",
                           fmt::format("{} ms{}", event.number / kMs, times_text(times(i))));
            }
        }
        repeated(stage);
    }

  private:
    bool is_missing(const Stage &stage) const {
        return stage.has_item && stage.end == stage.first + 1 &&
               !explanation_.seen.events[stage.first].found;
    }

    /// The last of a row of items of one type that are not configured.
    std::size_t last_missing_of_type(std::size_t i) const {
        const auto &stages = explanation_.stages;
        std::size_t last = i;
        while (is_missing(stages[i]) && last + 1 < stages.size() && is_missing(stages[last + 1]) &&
               stages[last + 1].item.type == stages[i].item.type) {
            ++last;
        }
        return last;
    }

    void numbered(const std::string &text) {
        print_wrapped(out_, fmt::format("{:>2}. {}", ++number_, text), kMargin);
    }

    void missing(const Item &first, const Item &last) {
        numbered(fmt::format("{} to {}: not configured", first.name(), last.name()));
    }

    void stage(std::size_t index) {
        const Stage &stage = explanation_.stages[index];
        if (!stage.has_item) {
            numbered("without an item");
            actions(stage);
            return;
        }
        numbers_.resize(explanation_.stages.size());
        numbers_[index] = number_ + 1;
        const bool found = explanation_.seen.events[stage.first].found;
        if (stage.earlier != Stage::kFirstTime) {
            numbered(fmt::format("{}: again, see {}", stage.item.name(), numbers_[stage.earlier]));
        } else if (!found) {
            numbered(fmt::format("{}: not configured", stage.item.missing_name()));
        } else {
            numbered(stage.item.name());
            print_description(out_, stage.item, loaded_);
        }
        actions(stage);
    }

    std::size_t times(std::size_t event) const {
        for (const observe::Repeat &repeat : explanation_.seen.repeats) {
            if (repeat.first == event && repeat.count == 1) {
                return repeat.times;
            }
        }
        return 1;
    }

    /// Loops that end in this stage.
    void repeated(const Stage &stage) {
        for (const observe::Repeat &repeat : explanation_.seen.repeats) {
            const std::size_t last = repeat.first + repeat.count - 1;
            if (repeat.count > 1 && last >= stage.first && last < stage.end) {
                const Event &event = explanation_.seen.events[repeat.first];
                const std::string from = event.kind == Event::Kind::transfer
                                             ? "the transfer"
                                             : item_of_key(event.key).name();
                print_text(out_, "repeats",
                           fmt::format("from {} on, {} times in all", from, repeat.times));
            }
        }
    }

    void transfer(const Event &event, std::size_t times) {
        if (event.via == Via::file_exists) {
            print_text(
                out_, "looks",
                fmt::format("whether {} exists: {}", event.text, event.result == 0 ? "yes" : "no"));
            return;
        }
        std::string text =
            fmt::format("{}, {} byte{}", where_of(event), event.len, event.len == 1 ? "" : "s");
        if (event.result < 0) {
            text += fmt::format(": fails ({}{})", event.result, system_words(event));
        } else if (is_real(event) || (event.is_write && !is_merged(event))) {
            text += ": " + shown_bytes(event);
        } else if (event.is_write) {
            text += ", merged with its other bits";
        }
        print_text(out_, event.is_write ? "writes" : "reads", text + times_text(times));
    }

    bool is_real(const Event &transfer) const {
        const auto &events = explanation_.seen.events;
        return transfer.engine == observe::kOutside
                   ? explanation_.reading == Reading::hardware
                   : explanation_.is_real(events[static_cast<std::size_t>(transfer.engine)].key);
    }

    /// A write under a mask of what was not really read.
    bool is_merged(const Event &write) const {
        const auto &events = explanation_.seen.events;
        return write.engine != observe::kOutside &&
               std::any_of(events.begin(), events.end(), [&](const Event &event) {
                   return event.kind == Event::Kind::transfer && event.engine == write.engine &&
                          !event.is_write;
               });
    }

    void conversion(const Event &event) {
        const Item list = item_of(observe::list_type(event.list));
        const std::string what = event.text.empty() ? fmt::format("{}", event.number)
                                                    : fmt::format("\"{}\"", event.text);
        const std::string where = fmt::format("{} in the items {}", what, list.type->name);
        print_text(out_, "looks up",
                   event.found ? fmt::format("{}: {}", where, static_cast<int>(event.value))
                               : where + ": no entry");
    }

    void engine(std::size_t index) {
        const Event &event = explanation_.seen.events[index];
        const auto *record = record_of<info_ctrl_t>(item_of_key(event.key));
        if (event.op == Op::led_regval || event.op == Op::led_state) {
            led(event);
        } else if (event.op == Op::set_int) {
            steps(interpret_write(*record, event.argument));
            transfers_of(index);
            outcome(event);
        } else if (!explanation_.is_real(event.key)) {
            assumed(event, *record);
        } else {
            transfers_of(index);
            if (event.op != Op::get_buf) {
                steps(
                    interpret_read(*record, explanation_.bytes(index, false), event.has_processor));
            }
            if (event.has_processor && event.result >= 0) {
                print_text(out_, "", "converted by the function");
            }
            outcome(event);
        }
    }

    void assumed(const Event &event, const info_ctrl_t &record) {
        if (event.result < 0) {
            refused(event);
        } else if (record.mode == INFO_CTRL_MODE_CONSTANT) {
            print_text(out_, "value", fmt::format("{}", static_cast<int>(event.value)));
        } else if (event.op != Op::get_buf) {
            print_text(out_, "assumed", fmt::format("{}", static_cast<int>(event.value)));
        }
    }

    void refused(const Event &event) {
        const std::string message = observe::log_message(event.text);
        print_text(out_, "fails",
                   fmt::format("{}: {}{}{}", event.result, code_meaning(event.result),
                               message.empty() ? "" : "; the log says: ", message));
    }

    void led(const Event &event) {
        const std::string state(
            led_state_name(event.op == Op::led_regval ? event.argument : event.value));
        const std::uint32_t regval = event.op == Op::led_regval ? event.value : event.argument;
        print_text(out_, "LED",
                   event.result < 0 ? fmt::format("no register value for state {}", state)
                                    : fmt::format("state {} is register value {}", state, regval));
    }

    void steps(const Interpretation &interpretation) {
        for (const Step &step : interpretation.steps) {
            print_text(out_, "", fmt::format("{}: {}", step.what, step.value));
        }
    }

    /// Registers that are read one by one are one line.
    void transfers_of(std::size_t engine) {
        const Event *first = nullptr;
        std::size_t reads = 0;
        for (std::size_t i = engine + 1; i < explanation_.seen.events.size(); ++i) {
            const Event &event = explanation_.seen.events[i];
            if (event.engine != static_cast<int>(engine)) {
                break;
            }
            if (event.kind != Event::Kind::transfer) {
                continue;
            }
            if (event.is_write || event.result < 0 || event.via != Via::device) {
                transfer(event, times(i));
            } else {
                first = first == nullptr ? &event : first;
                ++reads;
            }
        }
        if (reads > 0 && !(is_write(engine) && explanation_.reading != Reading::hardware)) {
            print_text(out_, "reads",
                       fmt::format("{}: {}", where_of(*first),
                                   bytes_text(explanation_.bytes(engine, false))));
        }
    }

    bool is_write(std::size_t engine) const {
        return explanation_.seen.events[engine].op == Op::set_int;
    }

    void outcome(const Event &event) {
        if (event.result < 0) {
            refused(event);
        } else if (event.result == DFD_FROM_TLV || event.result == DFD_FROM_FRU) {
            if (event.op != Op::get_buf) {
                print_text(out_, "result",
                           fmt::format("{}: the value is in the EEPROM", event.result));
            }
        } else if (event.op == Op::get_int || event.op == Op::get_int_by_index) {
            print_text(out_, "value", fmt::format("{}", static_cast<int>(event.value)));
        }
    }

    std::FILE *out_;
    const Explanation &explanation_;
    const LoadRecord &loaded_;
    int number_ = 0;
    std::vector<int> numbers_;
};

std::string result_text(const Explanation &explanation) {
    const int result = explanation.seen.result;
    if (explanation.call->returns_nothing) {
        return "nothing is returned";
    }
    if (explanation.failed()) {
        const std::string_view meaning = code_meaning(result);
        return meaning.empty() ? fmt::format("{}", result) : fmt::format("{}: {}", result, meaning);
    }
    const std::string value = value_text(explanation);
    if (value.empty()) {
        return fmt::format("{}", result);
    }
    const bool is_result = explanation.call->returns_value && explanation.seen.outputs.empty();
    return is_result ? value : fmt::format("{}, value {}", result, value);
}

void print_outcome(std::FILE *out, const Explanation &explanation) {
    const bool is_real = explanation.reading == Reading::hardware;
    fmt::print(out, "\n");
    print_wrapped(
        out, fmt::format("{}: {}", is_real ? "Result" : "Result then", result_text(explanation)),
        kMargin);
    const std::string reason = explanation.reason();
    if (!reason.empty()) {
        print_wrapped(out, fmt::format("Because {}.", reason), kMargin);
    }
    if (!is_real) {
        print_wrapped(out, "Nothing was read or written.", kMargin);
    }
    const std::vector<std::string> assumptions = explanation.assumptions();
    if (!assumptions.empty()) {
        print_wrapped(out, "Assumed, as it leads deepest:", kMargin);
        print_pieces(out, "", with_commas(assumptions));
    }
}

}  // namespace

void print_call(std::FILE *out, const Explanation &explanation, const LoadRecord &loaded) {
    const observe::Call &call = *explanation.call;
    print_wrapped(
        out,
        fmt::format("{} ({}, {})", observe::text_of(call, explanation.args),
                    observe::subsystem_name(call.subsystem), observe::does_name(call.does)),
        kMargin);
    fmt::print(out, "\n");
    if (explanation.stages.empty()) {
        print_wrapped(out, "Asks for no item and no device.", kMargin);
    }
    CallPrinter(out, explanation, loaded).stages();
    if (explanation.seen.dropped > 0) {
        print_wrapped(out, fmt::format("... and {} events more", explanation.seen.dropped),
                      kMargin);
    }
    print_outcome(out, explanation);
}

void print_reading(std::FILE *out, const Explanation &reading, const Item &item,
                   const LoadRecord &loaded) {
    const bool is_engine = reading.call->does == observe::Does::bus;
    print_heading(out, fmt::format("As {} reads it:",
                                   is_engine ? std::string(reading.call->name)
                                             : observe::text_of(*reading.call, reading.args)));
    for (const Stage &stage : reading.stages) {
        if (stage.has_item && stage.item.key() == item.key()) {
            CallPrinter(out, reading, loaded).actions(stage);
        }
    }
    print_outcome(out, reading);
}

}  // namespace dfdctl::explain
