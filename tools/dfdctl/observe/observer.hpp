// SPDX-License-Identifier: MIT
// Calls functions of the library and tells what they asked for: look-ups, engine calls, transfers.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "dfdctl/board/offline.hpp"
#include "dfdctl/observe/answers.hpp"
#include "dfdctl/observe/frame.hpp"

namespace dfdctl::observe {

inline constexpr int kOutside = -1;

struct Event {
    enum class Kind : std::uint8_t { lookup, conversion, engine, transfer, pause };
    Kind kind;
    int engine = kOutside;  ///< index of the engine call that it belongs to

    // lookup, engine
    std::uint32_t key = 0;
    bool found = false;  ///< also of a conversion
    // engine
    dfd::watch::Op op = {};
    std::uint32_t argument = 0;
    bool has_processor = false;
    dfd::watch::Refusal refusal = {};
    std::uint32_t value = 0;  ///< of an engine call; type or level of a conversion
    // engine, transfer: as the library got it
    int result = 0;
    dfd::watch::SystemCall call = {};  ///< that the system refused in a transfer
    int error = 0;                     ///< errno of that
    // conversion
    const dfd_list_head_t *list = nullptr;
    std::uint32_t number = 0;  ///< that is looked up, where text is empty; us of a pause
    std::string text = {};     ///< that is looked up; path of a transfer; log of an engine call
    // transfer
    dfd::watch::Via via = {};
    bool is_write = false;
    std::uint16_t addr = 0;
    std::uint32_t offset = 0;
    int offset_bytes = 0;
    std::uint32_t len = 0;                 ///< asked for
    std::vector<std::uint8_t> bytes = {};  ///< written, or read where that succeeded

    bool operator==(const Event &) const = default;
};

/// Events from `first` on that came `times` times in a row; only the first time is kept.
struct Repeat {
    std::size_t first;
    std::size_t count;
    std::size_t times;
};

struct Observation {
    int result = 0;  ///< 0 of a function without one
    std::vector<Output> outputs;
    std::vector<Event> events;
    std::vector<Repeat> repeats;
    std::size_t dropped = 0;  ///< events beyond what is kept
    std::string log;          ///< what the library printed, where that was asked for

    /// That were looked up, each once, in the order of the first look-up.
    std::vector<std::uint32_t> keys() const;
};

/// Key type of the items that a conversion list is made of.
std::uint32_t list_type(const dfd_list_head_t *list);

/// The message of a line of the library's log, without its header.
std::string log_message(const std::string &log);

/// Whether the library's log is wanted: it costs more than all the rest.
enum class Log { closed, open };

class Observer {
  public:
    /// Of the board that is loaded now; the record names its items.
    explicit Observer(const LoadRecord &record);
    /// Puts the library's state back.
    ~Observer();
    Observer(const Observer &) = delete;
    Observer &operator=(const Observer &) = delete;

    /// Calls the function afresh: nothing that an earlier call has kept hides a look-up. Throws
    /// std::logic_error for a call that cannot be observed, and for one that does more than read
    /// where the hardware is to answer.
    Observation observe(const Call &call, const Args &args, const Answers &answers,
                        Log log = Log::closed) const;

    /// The slot of this card by these answers; nothing where they do not tell.
    std::optional<std::uint32_t> own_slot(const Answers &answers) const;

    const Plausible &plausible() const { return plausible_; }
    const LoadRecord &record() const { return record_; }

  private:
    const LoadRecord &record_;
    LibraryState state_;
    Plausible plausible_;
};

}  // namespace dfdctl::observe
