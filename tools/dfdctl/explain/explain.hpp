// SPDX-License-Identifier: MIT
// From a call to the wire: what is explained, independent of its form.
#pragma once

#include <string>
#include <vector>

#include "dfdctl/board/keys.hpp"
#include "dfdctl/observe/board_use.hpp"

namespace dfdctl::explain {

/// A line that set a member, or a whole item.
struct MemberLine {
    std::string member;  ///< "mode"; empty for items without members
    std::string value;
    std::string place;                  ///< "cm8_fans.cfg:41"
    std::vector<std::string> replaced;  ///< "0x40 of cm8_fans.cfg:12", oldest first
};

/// The lines of an item in the order of its members; empty when it is not configured.
std::vector<MemberLine> member_lines(const Item &item, const LoadRecord &loaded);

/// What a call did with one item: consecutive events of its observation.
struct Stage {
    static constexpr std::size_t kFirstTime = SIZE_MAX;

    Item item;
    bool has_item = false;  ///< false for what comes before the first look-up
    std::size_t first = 0;
    std::size_t end = 0;
    std::size_t earlier = kFirstTime;  ///< stage that has described the item already
};

std::vector<Stage> stages_of(const observe::Observation &seen);

enum class Reading {
    assumed,  ///< nothing is read: values that lead deepest
    given,    ///< some values were given on the command line
    hardware
};

struct Explanation {
    const observe::Call *call;
    observe::Args args;
    std::vector<observe::ItemAnswer> given;
    Reading reading = Reading::assumed;
    observe::Answers answers = {};
    observe::Observation seen = {};
    std::vector<Stage> stages = {};
    std::string absence = {};  ///< which item tells that the unit is not there, where one does

    bool is_given(std::uint32_t key) const;
    /// Whether what an item has read is real, or was given: otherwise it is assumed.
    bool is_real(std::uint32_t key) const { return reading == Reading::hardware || is_given(key); }

    /// No item that the call asks for is configured, although it asks for some.
    bool not_configured() const;
    /// The result is a negative code. A negative value that was read is none.
    bool failed() const;
    /// A transfer has failed.
    bool failed_io() const;
    /// Why the call has failed; empty where nothing that was seen explains it.
    std::string reason() const;
    std::string cause_of_failure() const;
    /// What the transfers of an engine call have read or written.
    std::vector<std::uint8_t> bytes(std::size_t engine, bool written) const;
    /// Values that were not given but are assumed: "fan_state_2 = 1".
    std::vector<std::string> assumptions() const;
};

/// "line failed", where the values of a function have names; empty otherwise.
std::string_view value_name(const observe::Call &call, int value);

/// The value delivered stands for a reading that failed.
bool tells_failure(const Explanation &explanation);

/// The value that the call has delivered, with its unit: "6120 rpm"; empty for none.
std::string value_text(const Explanation &explanation);

struct Request {
    const observe::Call *call;
    observe::Args args;
    std::vector<observe::ItemAnswer> given;
    bool reads_hardware = false;
};

Explanation explain_call(const observe::Observer &observer, const observe::Units &units,
                         const Request &request);

/// Functions that ask for an item, or, where no unit of the board does, for items of its type.
struct Consumer {
    const observe::Call *call;
    observe::Args args;
    bool is_exact;         ///< this very item
    std::string_view how;  ///< "reads", "writes", "looks at"
    bool worked = true;
    std::string refusal = {};  ///< why the engine cannot do it
};
std::vector<Consumer> consumers_of(const observe::BoardUse &board, const Item &item,
                                   const LoadRecord &loaded);

}  // namespace dfdctl::explain
