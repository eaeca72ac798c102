// SPDX-License-Identifier: MIT
// Hooks that show the library at work: lines as they are parsed, look-ups, engine steps, transfers.
// Only the tools' build of the framework and of the bus files (DFD_WATCHED) has these hooks; in
// libdfd.so every DFD_WATCH line is empty.
#pragma once

#include <cstdint>

namespace dfd::watch {

enum class Via { device, i2c, plain_file, file_exists };

// One access to the outside, before it is made or after.
struct Transfer {
    Via via;
    bool is_write = false;
    const char *path;
    uint16_t addr = 0;        // I2C only
    uint32_t offset = 0;      // register, or byte of the file
    int offset_bytes = 0;     // I2C only: 1 or 2
    uint8_t *data = nullptr;  // of a write: do not change it
    uint32_t len = 0;
};

enum class Op { get_int, get_int_by_index, get_buf, set_int, led_regval, led_state };

// A request to the engine that has found its item.
struct EngineCall {
    Op op;
    uint32_t key;
    uint32_t argument;   // index, buffer length, value to write, LED state or register value
    bool has_processor;  // of the caller; otherwise the engine interprets alone
};

// Why the engine does not do a request, reported where it logs the same.
enum class Refusal {
    none,
    bit_offset,
    number_len,
    number_format,
    write_format,
    text_write,
    read_mode,  // of a buffer
    write_mode,
    buffer,  // its format or length, or the caller's room
    no_processor,
    not_processed,  // by the caller's conversion
    source,
    file_write
};

}  // namespace dfd::watch

#ifdef DFD_WATCHED

#include <dfd/framework.h>

#include <cerrno>
#include <cstddef>
#include <span>

#include "framework/dfd_lib_cfg/key_table.h"

namespace dfd::watch {

// How far a line of a configuration file came.
enum class Step {
    blank,
    comment,
    no_equals,       // fails the file
    no_name,         // fails the file
    unknown_key,     // ignored
    refused_type,    // "none" and the "end_" names
    unknown_member,  // skipped, as are the next five
    no_index1,
    no_index2,
    index1_range,
    index2_range,
    not_stored,  // too long a string, or memory ran out
    stored
};

inline constexpr int kNoMember = -1;

// A line and what became of it. Texts and pointers live until the next line.
struct Line {
    const char *path;
    int number;         // counts what the reader delivers: a longer line is several
    const char *raw;    // as read, before spaces are deleted, line end included
    const char *name;   // null where the line did not come so far, as below
    const char *value;  // up to the first white space
    const KeyRow *row;
    int member;       // kNoMember: kind without members, or not reached
    uint32_t index1;  // as parsed, not cut; 0 where the type takes none
    uint32_t index2;
    uint32_t key;  // valid from not_stored on
    Step step;
};

enum class SystemCall { none, open, seek, read, write, ioctl, access };

// What the system refused during an access; `call` none: nothing.
struct Failure {
    SystemCall call = SystemCall::none;
    int error = 0;  // errno
};

// All are optional; `context` goes to each.
struct Hooks {
    void *context = nullptr;

    // Returns the path that a configuration file is really read from; valid until the next call.
    const char *(*map_path)(void *context, const char *path) = nullptr;
    bool goes_on = false;    // behind a line or a file that fails
    bool is_silent = false;  // nothing is printed for a line that fails its file
    void (*list_opened)(void *context, const char *path, int error) = nullptr;
    // A line of the board's list as read, and the file that it stands for.
    void (*listed)(void *context, int line, const char *raw, const char *path) = nullptr;
    void (*file_opened)(void *context, const char *path, int error) = nullptr;
    void (*line)(void *context, const Line &line) = nullptr;
    void (*file_closed)(void *context, const char *path, int result) = nullptr;

    // `record` is null for an item that is not configured.
    void (*looked_up)(void *context, uint32_t key, const void *record) = nullptr;
    // A look-up in a conversion list; `found` is null when nothing matched. Numbers are looked up
    // with text null.
    void (*converted)(void *context, const dfd_list_head_t &list, const char *text, uint32_t number,
                      const val_convert_node_t *found) = nullptr;
    void (*engine_begin)(void *context, const EngineCall &call) = nullptr;
    void (*refused)(void *context, Refusal refusal) = nullptr;
    // `value` is valid for results that deliver one.
    void (*engine_end)(void *context, const EngineCall &call, int result, uint32_t value) = nullptr;

    // Returns true when it answered: nothing outside is touched, and *result is what the system
    // would have returned. It may then set `failure`.
    bool (*answer)(void *context, const Transfer &transfer, int *result) = nullptr;
    // A good result may come with a failure: the library hides some.
    void (*transferred)(void *context, const Transfer &transfer, int result,
                        const Failure &failure) = nullptr;
    // Returns true to keep the library from sleeping.
    bool (*pause)(void *context, unsigned us) = nullptr;
};

// Null: nobody watches, and the library works as libdfd.so does.
extern const Hooks *hooks;
// Of the access that is being made.
extern Failure failure;

}  // namespace dfd::watch

#define DFD_WATCH(hook, ...)                                                                    \
    do {                                                                                        \
        if (::dfd::watch::hooks != nullptr && ::dfd::watch::hooks->hook != nullptr) {           \
            ::dfd::watch::hooks->hook(::dfd::watch::hooks->context __VA_OPT__(, ) __VA_ARGS__); \
        }                                                                                       \
    } while (0)
#define DFD_WATCH_ANSWERS(hook, ...)                                           \
    (::dfd::watch::hooks != nullptr && ::dfd::watch::hooks->hook != nullptr && \
     ::dfd::watch::hooks->hook(::dfd::watch::hooks->context, __VA_ARGS__))
#define DFD_WATCH_FLAG(flag) (::dfd::watch::hooks != nullptr && ::dfd::watch::hooks->flag)
// Behind a system call, before another one can change errno.
#define DFD_WATCH_CALL(name, result)                                         \
    do {                                                                     \
        if ((result) < 0) {                                                  \
            ::dfd::watch::failure = {::dfd::watch::SystemCall::name, errno}; \
        }                                                                    \
    } while (0)
// Notes something of the line in work.
#define DFD_WATCH_LINE(member, value) (::dfd::watch::current_line.member = (value))
#define DFD_WATCH_STEP(reached) (::dfd::watch::current_line.step = ::dfd::watch::Step::reached)
#define DFD_WATCH_BEGIN_LINE(path, number, raw) ::dfd::watch::begin_line(path, number, raw)
#define DFD_WATCH_PAIR(name, value) ::dfd::watch::keep_pair(name, value)
#define DFD_WATCH_END_LINE() DFD_WATCH(line, ::dfd::watch::current_line)

namespace dfd::watch {

// Makes an access, unless a watcher answers it, and reports the result to the watcher.
template <typename Make>
int transfer(const Transfer &transfer, Make make) {
    int result = 0;
    failure = {};
    if (hooks == nullptr || hooks->answer == nullptr ||
        !hooks->answer(hooks->context, transfer, &result)) {
        result = make();
    }
    if (hooks != nullptr && hooks->transferred != nullptr) {
        hooks->transferred(hooks->context, transfer, result, failure);
    }
    return result;
}

// Runs a request to the engine and reports it. `value` returns the value that a good result
// brought.
template <typename Run, typename Value>
int engine(const EngineCall &call, Run run, Value value) {
    DFD_WATCH(engine_begin, call);
    const int result = run();
    DFD_WATCH(engine_end, call, result, result >= DFD_OK ? value() : 0);
    return result;
}

// The line in work, filled as it goes.
extern Line current_line;
// Keep their texts: the parser works in place.
void begin_line(const char *path, int number, const char *raw);
void keep_pair(const char *name, const char *value);

// The bytes that all calls share: see framework/state.h.
std::span<std::byte> state();
// Frees all items and conversion entries. The state then refers to freed memory until it is set
// back to what it was before the first start-up.
void free_items();

}  // namespace dfd::watch

#else

namespace dfd::watch {

template <typename Make>
int transfer(const Transfer & /*transfer*/, Make make) {
    return make();
}
template <typename Run, typename Value>
int engine(const EngineCall & /*call*/, Run run, Value /*value*/) {
    return run();
}

}  // namespace dfd::watch

#define DFD_WATCH(hook, ...) ((void)0)
#define DFD_WATCH_ANSWERS(hook, ...) (false)
#define DFD_WATCH_FLAG(flag) (false)
#define DFD_WATCH_CALL(name, result) ((void)0)
#define DFD_WATCH_LINE(member, value) ((void)0)
#define DFD_WATCH_STEP(reached) ((void)0)
#define DFD_WATCH_BEGIN_LINE(path, number, raw) ((void)0)
#define DFD_WATCH_PAIR(name, value) ((void)0)
#define DFD_WATCH_END_LINE() ((void)0)

#endif
