// SPDX-License-Identifier: MIT
#include "sweep/sweep.h"

#include <dfd/inventory.h>
#include <dfd/types.h>
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <iterator>
#include <map>
#include <set>

#include "sweep/expected.h"

namespace sweep_test {

using dfd_test::CallFault;
using dfd_test::LibcCall;
using dfd_test::MadeCall;
using dfd_test::Positions;

namespace {

using How = CallFault::How;
using Reach = CallFault::Reach;

// What is swept unless everything is: of a call, and of the first call of a function. Instrumented
// code takes several times as long.
#ifdef DFD_SANITIZED
constexpr std::size_t kMostPositions = 24;
constexpr std::size_t kMostOfFirst = 24;
constexpr std::size_t kEveryErrorOfFirst = 0;
#else
constexpr std::size_t kMostPositions = 24;
constexpr std::size_t kMostOfFirst = 96;
constexpr std::size_t kEveryErrorOfFirst = 12;
#endif

constexpr int kErrors[] = {EIO, ENXIO, EINTR, ENOMEM, EACCES};

constexpr std::string_view name_of(LibcCall call) {
    constexpr std::string_view kNames[] = {"allocation", "tsearch", "rwlock_init", "ioctl", "open",
                                           "lseek",      "read",    "write",       "close", "fopen",
                                           "fgets",      "fclose",  "access"};
    return kNames[static_cast<std::size_t>(call)];
}

constexpr std::string_view name_of(How how) {
    constexpr std::string_view kNames[] = {"fails with errno", "moves nothing", "moves half",
                                           "does one message of two"};
    return kNames[static_cast<std::size_t>(how)];
}

constexpr std::string_view name_of(Reach reach) {
    constexpr std::string_view kNames[] = {"", " in all attempts", " and on"};
    return kNames[static_cast<std::size_t>(reach)];
}

std::string text_of(const std::vector<MadeCall> &made) {
    std::string text;
    for (const MadeCall &call : made) {
        text += fmt::format("    {}{} {} @{:#x}", call.failed ? "FAILED " : "", name_of(call.call),
                            call.target, call.offset);
        for (const std::uint8_t byte : call.written) {
            text += fmt::format(" {:02x}", byte);
        }
        text += "\n";
    }
    return text;
}

// A write as it reached a device.
bool is_same_write(const MadeCall &a, const MadeCall &b) {
    return a.target == b.target && a.offset == b.offset && a.written == b.written;
}

std::vector<const MadeCall *> writes_of(const Answer &answer) {
    std::vector<const MadeCall *> found;
    for (const MadeCall &call : answer.made) {
        if (!call.written.empty()) {
            found.push_back(&call);
        }
    }
    return found;
}

bool is_untouched(const Answer &answer) {
    using dfdctl::observe::Output;
    const auto is_left = [](const Output &now, const Output &before) {
        return now.number == before.number &&
               now.bytes.find_first_not_of('\0') == std::string::npos;
    };
    return std::ranges::equal(answer.outputs, answer.before, is_left);
}

// A device whose last read failed, and where.
using Place = std::pair<std::string, long>;
Place place_of(const MadeCall &call) {
    // Of an EEPROM or a sensor as a whole, of a CPLD the register.
    return {call.target, call.call == LibcCall::ioctl ? 0 : call.offset};
}

struct Run {
    Board &board;
    const Asked &asked;
    const Expected &expected;
    const Answer &good;  // with the positions that are swept
    const Answer &full;  // with its system calls
    CallFault fault;
    Positions positions;
    Answer seen = {};

    bool is_error() const { return fault.how == How::error; }
    bool was_hit(LibcCall call) const {
        return std::ranges::any_of(
            seen.made, [call](const MadeCall &made) { return made.failed && made.call == call; });
    }
    // The result of a transfer counts as it is, and only a negative one is a failure: one message
    // of two is a success with whatever the buffer held.
    bool was_a_good_transfer() const { return fault.how == How::first_message; }
    After failure() const {
        const bool is_short = fault.how == How::nothing || fault.how == How::half;
        return positions == Positions::memory ? After::no_memory
               : is_short                     ? After::few_bytes
                                              : After::any;
    }
    // All accesses of a getter: it can know nothing of its undisturbed result.
    bool is_blind() const {
        return is_error() && fault.at == 0 && fault.reach == Reach::and_on &&
               positions == Positions::system && asked.call->does == dfdctl::observe::Does::get;
    }
    // A file may hold fewer bytes than are asked for.
    bool may_be_any_value() const {
        return expected.is_any_value || was_a_good_transfer() || fault.how == How::half;
    }
};

std::string describe(const Run &run) {
    return fmt::format(
        "{} on {}: position {}{} {} {}\n  result {} instead of {}\n  undisturbed:\n{}  seen:\n{}",
        run.asked.text(), run.board.name(), run.fault.at, name_of(run.fault.reach),
        name_of(run.fault.how), run.is_error() ? strerrorname_np(run.fault.error) : "",
        run.seen.result, run.good.result, text_of(run.good.made), text_of(run.seen.made));
}

// Nothing may be left behind.
std::string leftovers(const Answer &seen) {
    std::string all;
    for (const std::string &line : seen.wrong) {
        all += line + "; ";
    }
    if (seen.blocks_kept != 0) {
        all += fmt::format("{} blocks are not freed; ", seen.blocks_kept);
    }
    return all;
}

// By the type of information, which is the first number of such a query.
bool asks_for_version(const Asked &asked) {
    return asked.args.numbers.front() == E2PROM_INFO_HW_VER;
}

std::string judge_result(const Run &run) {
    const int result = run.seen.result;
    const Expected &expected = run.expected;
    const bool is_same = result == run.good.result && (!run.is_blind() || expected.hides_outputs);
    if (result < 0 && !is_same) {
        const bool is_of_memory = run.positions == Positions::memory && result == DFD_ERR_NO_MEMORY;
        if (!is_of_memory && std::ranges::find(expected.codes, result) == expected.codes.end()) {
            return "a code that no header names; ";
        }
        return expected.fills || run.may_be_any_value() || is_untouched(run.seen)
                   ? ""
                   : "an output of a failed call; ";
    }
    if (run.may_be_any_value()) {
        return "";
    }
    if (!is_same && std::ranges::find(expected.instead, result) == expected.instead.end()) {
        return "a result that tells nothing of the failure; ";
    }
    const bool is_right = run.seen.outputs == run.good.outputs ||
                          (result < 0 && is_untouched(run.seen)) || expected.hides_outputs ||
                          (expected.hides_version && asks_for_version(run.asked));
    return is_right ? "" : "a good result with other outputs; ";
}

// A lost write may go with a good result where the device could not be opened or took no byte.
std::string judge_writes(const Run &run) {
    const std::vector<const MadeCall *> good = writes_of(run.good);
    std::vector<bool> made(good.size(), false);
    for (const MadeCall *write : writes_of(run.seen)) {
        bool is_known = false;
        for (std::size_t i = 0; i < good.size(); ++i) {
            if (is_same_write(*write, *good[i])) {
                is_known = made[i] = true;
            }
        }
        const bool is_part = run.fault.how == How::half && write->failed;
        // What goes out is made of what came in.
        const bool is_of_garbage = run.was_a_good_transfer();
        if (!is_known && !is_part && !is_of_garbage && !run.expected.writes_otherwise) {
            return fmt::format("a write to {} that the undisturbed call does not make; ",
                               write->target);
        }
    }
    const bool is_complete = std::ranges::find(made, false) == made.end();
    const bool may_lose = run.expected.hides_writes || run.was_hit(LibcCall::open) ||
                          !run.is_error() || run.seen.result < 0;
    return is_complete || may_lose ? "" : "a good result and a write that was not made; ";
}

// Nothing is written to a place whose last read failed.
std::string judge_order(const Run &run) {
    std::set<Place> refused;
    for (const MadeCall &call : run.seen.made) {
        const bool is_refused =
            call.failed && (run.fault.how == How::error || run.fault.how == How::nothing);
        if (call.delivers && is_refused) {
            refused.insert(place_of(call));
        } else if (call.delivers) {
            refused.erase(place_of(call));
        } else if (!call.written.empty() && refused.contains(place_of(call))) {
            return fmt::format("a write to {} behind a read that failed; ", call.target);
        }
    }
    return "";
}

std::string judge(const Run &run) {
    return leftovers(run.seen) + judge_result(run) + judge_writes(run) + judge_order(run);
}

// The call once more, with all hardware in order.
std::string judge_next(const Run &run) {
    if (may_remember(run.asked.base, run.failure())) {
        return "";
    }
    run.board.restore_devices();
    const Answer next = run.board.call(run.asked, Positions::system);
    const auto wrote = [](const Answer &answer) {
        std::vector<MadeCall> writes;
        for (const MadeCall *write : writes_of(answer)) {
            writes.push_back(*write);
        }
        return writes;
    };
    const bool is_same = next.result == run.full.result && next.outputs == run.full.outputs &&
                         std::ranges::equal(wrote(next), wrote(run.full), is_same_write);
    return is_same ? leftovers(next)
                   : fmt::format("the next call gives {}; ", next.result) + leftovers(next);
}

// One error for each reach, in turn, and what is no error.
std::vector<CallFault> with_one_error(std::vector<CallFault> faults) {
    std::erase_if(faults, [](const CallFault &fault) {
        const std::size_t turn = fault.at + static_cast<std::size_t>(fault.reach);
        return fault.how == How::error && fault.error != kErrors[turn % std::size(kErrors)];
    });
    return faults;
}

// Of many positions, as in a wait, the first and then some.
std::vector<std::size_t> sampled(std::size_t count, std::size_t most) {
    std::vector<std::size_t> all;
    const std::size_t dense = std::min(count, most / 2);
    const std::size_t step = std::max<std::size_t>(1, (count - dense) / (most / 2));
    for (std::size_t i = 0; i < count; i += i < dense ? 1 : step) {
        all.push_back(i);
    }
    return all;
}

// What is tried of a call.
std::vector<CallFault> faults_of(const Answer &good, bool is_first) {
    const std::size_t count = good.made.size();
    const std::size_t most = is_whole() ? 2 * count : is_first ? kMostOfFirst : kMostPositions;
    const std::size_t every_error = is_whole() ? count : is_first ? kEveryErrorOfFirst : 0;
    std::vector<CallFault> all;
    for (const std::size_t at : sampled(count, most)) {
        const std::vector<CallFault> faults = faults_at(at, good.made[at]);
        const bool is_of_memory = good.made[at].call == LibcCall::allocation;
        std::ranges::copy(at < every_error || is_of_memory ? faults : with_one_error(faults),
                          std::back_inserter(all));
    }
    return all;
}

void sweep_call(Board &board, const Asked &asked, const Answer &good, const Answer &full,
                Positions positions, bool is_first, Counts &counts) {
    const Expected *expected = expected_of(asked.base);
    if (expected == nullptr) {
        ADD_FAILURE() << asked.base << " has no row that says what it may answer:\n"
                      << text_of(good.made);
        return;
    }
    ++counts.calls;
    std::optional<std::size_t> last;
    for (const CallFault &fault : faults_of(good, is_first)) {
        const bool is_new_position = last != fault.at;
        last = fault.at;
        counts.positions += is_new_position ? 1 : 0;
        ++counts.faults;
        board.restore();
        Run run{board, asked, *expected, good, full, fault, positions};
        run.seen = board.call(asked, positions, fault);
        std::string verdict = judge(run);
        // Without anything remembered the next call is the same for every fault.
        if (is_new_position || !board.is_as_started()) {
            verdict += judge_next(run);
        }
        if (!verdict.empty()) {
            ADD_FAILURE() << verdict << "\n" << describe(run);
            return;
        }
    }
}

// What tells apart calls that are swept each: their kinds of accesses and their outcome.
std::string shape_of(const Asked &asked, const Answer &answer) {
    std::string shape = std::string(asked.call->name) + (answer.result < 0 ? "-" : "+");
    for (const MadeCall &call : answer.made) {
        shape += fmt::format(" {}{}", static_cast<int>(call.call), call.delivers ? "r" : "");
    }
    return shape;
}

}  // namespace

bool is_whole() {
    const char *const asked = std::getenv("DFD_SWEEP");
    return asked != nullptr && std::string_view(asked) == "whole";
}

std::vector<CallFault> faults_at(std::size_t at, const MadeCall &call) {
    if (call.call == LibcCall::allocation) {
        return {{.at = at, .error = ENOMEM}, {.at = at, .reach = Reach::and_on, .error = ENOMEM}};
    }
    const bool moves = call.call == LibcCall::read || call.call == LibcCall::write;
    std::vector<CallFault> faults;
    for (const Reach reach : {Reach::once, Reach::attempts, Reach::and_on}) {
        if (reach == Reach::attempts && call.call != LibcCall::ioctl) {
            continue;
        }
        for (const int error : kErrors) {
            faults.push_back({.at = at, .reach = reach, .error = error});
        }
        if (moves) {
            faults.push_back({.at = at, .reach = reach, .how = How::nothing});
        }
        if (moves && call.size > 1) {
            faults.push_back({.at = at, .reach = reach, .how = How::half});
        }
        if (call.call == LibcCall::ioctl) {
            faults.push_back({.at = at, .reach = reach, .how = How::first_message});
        }
    }
    return faults;
}

void print_counts(const std::string &what, const Counts &counts) {
    fmt::print("Sweep of {}: {} functions in {} calls, {} positions, {} faulty runs\n", what,
               counts.functions, counts.calls, counts.positions, counts.faults);
    std::fflush(stdout);
}

std::set<std::string> shapes_of(Board &board, Positions positions) {
    std::set<std::string> shapes;
    for (const Asked &asked : board.asked()) {
        board.restore();
        shapes.insert(shape_of(asked, board.call(asked, positions)));
    }
    return shapes;
}

Counts sweep(Board &board, Positions positions, std::set<std::string> swept) {
    Counts counts;
    std::set<std::string> functions;
    std::set<std::string> bases;
    for (const Asked &asked : board.asked()) {
        board.restore();
        const Answer good = board.call(asked, positions);
        EXPECT_EQ(leftovers(good), "") << asked.text();
        const bool is_like_another = !swept.insert(shape_of(asked, good)).second;
        if (good.made.empty() || (is_like_another && !is_whole())) {
            continue;
        }
        functions.insert(std::string(asked.call->name));
        const bool is_first = bases.insert(asked.base).second;
        board.restore();
        const Answer full = board.call(asked, Positions::system);
        sweep_call(board, asked, good, full, positions, is_first, counts);
    }
    counts.functions = functions.size();
    return counts;
}

}  // namespace sweep_test
