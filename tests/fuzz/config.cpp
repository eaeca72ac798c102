// SPDX-License-Identifier: MIT
// Configuration files: loaded, then every function that asks for an item of the file is called with
// the units that the file names, on devices that answer anything.
#include <dfd/irq.h>
#include <sys/mman.h>
#include <unistd.h>

#include <set>
#include <vector>

#include "dfdctl/board/offline.hpp"
#include "dfdctl/observe/frame.hpp"
#include "dfdctl/observe/units.hpp"
#include "fuzz/targets.h"

namespace dfd_fuzz {

namespace {

using namespace dfdctl;

constexpr std::size_t kMaxUnits = 3;  // of one function
constexpr int kNoAnswer = -1;
constexpr int kTransferred = 2;

// A file in memory, with a path.
class MemoryFile {
  public:
    explicit MemoryFile(Input content) : fd_(memfd_create("config", MFD_CLOEXEC)) {
        demand(fd_ >= 0 && write(fd_, content.data(), content.size()) ==
                               static_cast<ssize_t>(content.size()),
               "no memory for a file");
    }
    ~MemoryFile() { close(fd_); }
    MemoryFile(const MemoryFile &) = delete;
    MemoryFile &operator=(const MemoryFile &) = delete;

    std::string path() const { return "/proc/self/fd/" + std::to_string(fd_); }

  private:
    int fd_;
};

// Answers from bytes of the input; every so many transfers one fails, or delivers half.
class Devices {
  public:
    Devices(std::uint8_t faults, Input contents)
        : failing_(faults % 8U), halved_(faults / 8U % 8U), contents_(contents) {
        hooks_.context = this;
        hooks_.answer = [](void *self, const dfd::watch::Transfer &transfer, int *result) {
            *result = static_cast<Devices *>(self)->transfer(transfer);
            return true;
        };
        hooks_.pause = [](void * /*self*/, unsigned /*us*/) { return true; };
    }

    const dfd::watch::Hooks &hooks() const { return hooks_; }
    void begin() { count_ = 0; }

  private:
    int transfer(const dfd::watch::Transfer &transfer) {
        ++count_;
        if (failing_ != 0 && count_ % failing_ == 0) {
            return kNoAnswer;
        }
        if (transfer.via == dfd::watch::Via::file_exists || transfer.is_write) {
            return transfer.via == dfd::watch::Via::i2c ? kTransferred : 0;
        }
        const bool is_halved =
            transfer.via != dfd::watch::Via::i2c && halved_ != 0 && count_ % halved_ == 0;
        const std::uint32_t size = is_halved ? transfer.len / 2 : transfer.len;
        for (std::uint32_t i = 0; i < size; ++i) {
            transfer.data[i] =
                contents_.empty() ? 0 : contents_[(transfer.offset + i) % contents_.size()];
        }
        return transfer.via == dfd::watch::Via::i2c ? kTransferred : static_cast<int>(size);
    }

    unsigned failing_;
    unsigned halved_;
    Input contents_;
    unsigned count_ = 0;
    dfd::watch::Hooks hooks_;
};

using Types = std::set<std::uint32_t>;

// Types of the items that were looked up while it lives.
class LookUps {
  public:
    explicit LookUps(dfd::watch::Hooks hooks) : hooks_(hooks) {
        hooks_.context = this;
        hooks_.answer = [](void * /*self*/, const dfd::watch::Transfer & /*transfer*/,
                           int *result) {
            *result = kNoAnswer;
            return true;
        };
        hooks_.looked_up = [](void *self, std::uint32_t key, const void * /*record*/) {
            static_cast<LookUps *>(self)->types.insert(DFD_KEY_TYPE(key));
        };
        // Its type is not known here, and the lists are few.
        hooks_.converted = [](void *self, const dfd_list_head_t &, const char *, std::uint32_t,
                              const val_convert_node_t *) {
            static_cast<LookUps *>(self)->types.insert({DFD_KEY_CARD_PID_STR, DFD_KEY_POWER_NAME,
                                                        DFD_KEY_FAN_NAME,
                                                        DFD_KEY_FAN_SPEEDLVL_CONVERT});
        };
    }
    const dfd::watch::Hooks &hooks() const { return hooks_; }

    Types types;

  private:
    dfd::watch::Hooks hooks_;
};

struct Function {
    const observe::Call *call;
    Types first_items;  // looked up where nothing is configured
};

// Functions of a board, and what each asks for first: without one of these items it does what it
// does on a board without any.
std::vector<Function> board_functions() {
    forget_board();
    const LibraryState state;
    std::vector<Function> functions;
    for (const observe::Call &call : observe::calls()) {
        if (call.does != observe::Does::get && call.does != observe::Does::set &&
            call.does != observe::Does::control) {
            continue;
        }
        LookUps look_ups({.pause = [](void *, unsigned) { return true; }});
        observe::Frame frame(call, {});
        const Watching watching(look_ups.hooks());
        frame.run();
        state.restore();
        functions.push_back({&call, look_ups.types});
    }
    return functions;
}

// What a buffer has to hold whatever capacity its function is told: see the headers.
std::uint32_t room_of(std::string_view name) {
    constexpr struct {
        std::string_view part;
        std::uint32_t room;
    } kRooms[] = {{"_ver_date", 42},       {"_power_name", 32},     {"_fan_sn", 256},
                  {"_fan_hw_version", 21}, {"_fan_sw_version", 21}, {"_fan_cpld_version", 21}};
    const auto *const row = std::ranges::find_if(kRooms, [name](const auto &each) {
        return name.find(each.part) != std::string_view::npos;
    });
    return row != std::end(kRooms) ? row->room : 0;
}

// The same answer twice: nothing that was left in memory takes part in it.
void call_twice(const observe::Call &call, const observe::Args &args, std::uint32_t capacity,
                Devices &devices, const LibraryState &state) {
    const auto answer = [&](observe::Frame &frame) {
        state.restore();
        devices.begin();
        const Watching watching(devices.hooks());
        const int result = frame.run();
        demand(frame.wrote_within(std::max(capacity, room_of(call.name))),
               std::string(call.name) + " overran its buffer");
        return call.returns_nothing ? 0 : result;
    };
    observe::Frame first(call, args, capacity);
    observe::Frame second(call, args, capacity);
    const int result = answer(first);
    demand(answer(second) == result, std::string(call.name) + " has another result");
    if (result >= 0) {
        demand(first.outputs(result) == second.outputs(result),
               std::string(call.name) + " answers differently");
    }
}

struct Forget {
    ~Forget() { forget_board(); }
};

}  // namespace

// Parameters: faults of the devices; capacity of buffers; the file, up to a NUL; what devices
// contain.
void config(Input input) {
    static const std::vector<Function> functions = board_functions();
    Parameters parameters(input);
    const std::uint8_t faults = parameters.byte();
    const std::uint32_t capacity = parameters.byte() + 1U;
    const Input rest = parameters.rest();
    const auto end = static_cast<std::size_t>(std::ranges::find(rest, 0) - rest.begin());
    const MemoryFile file(rest.first(end));
    const Forget forget;
    const LoadRecord record = load_files({file.path()});
    const observe::Units units(record);
    const LibraryState state;
    Devices devices(faults, rest.subspan(std::min(end + 1, rest.size())));
    Types configured;
    for (const SourceLine &line : record.lines) {
        if (line.step == dfd::watch::Step::stored) {
            configured.insert(line.row->type);
        }
    }
    for (const Function &function : functions) {
        const bool asks = std::ranges::any_of(
            function.first_items, [&](std::uint32_t type) { return configured.contains(type); });
        if (!asks) {
            continue;
        }
        std::size_t count = 0;
        for (const observe::Args &args : units.all_args(*function.call)) {
            call_twice(*function.call, args, capacity, devices, state);
            if (++count == kMaxUnits) {
                break;
            }
        }
    }
    state.restore();
}

}  // namespace dfd_fuzz
