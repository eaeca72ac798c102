// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "dfdctl/board/faults.hpp"
#include "dfdctl/board/keys.hpp"
#include "dfdctl/output.hpp"

namespace dfdctl {

/// From `not_configured` on, a reading has failed.
enum class Status {
    ok,
    none,            ///< there is no such information, by the layout or the configuration
    absent,          ///< the unit is not plugged
    not_configured,  ///< the board has no such item
    unusable,        ///< the item's description does not allow it
    bad_data,        ///< the device answers, but what it holds is no such information
    io_error         ///< the device does not answer
};

std::string_view status_name(Status status);

/// What a buffer holds.
enum class Contents {
    text,
    blank,  ///< nothing: blanks, zeros or the bytes of an erased memory
    binary
};

/// A value, or why there is none.
struct Reading {
    Status status = Status::ok;
    int code = 0;  ///< result of the library
    std::variant<std::monostate, std::int64_t, double, std::string> value = {};
    std::string unit = {};
    std::string meaning = {};              ///< name of the value, such as an LED state
    std::vector<std::uint8_t> bytes = {};  ///< of a buffer
    std::string error = {};
    std::optional<FailedTransfer> cause = {};  ///< of an io_error
    Contents contents = Contents::text;        ///< of the buffer that the value comes from
    std::string device = {};                   ///< that answers with bad data, where that is known

    bool ok() const { return status == Status::ok; }
    bool failed() const { return status > Status::absent; }
};

Reading failure(Status status, int code, std::string error);
/// Why the library has no value, by its result for an item that is configured.
Reading engine_failure(int code);
/// Text and bytes of a buffer; the text ends at a NUL, and is hexadecimal when it has characters
/// that cannot be printed.
Reading buffer_reading(std::span<const std::uint8_t> bytes);
/// Nothing but blanks, zeros and bytes of an erased memory.
bool is_blank(std::span<const std::uint8_t> bytes);

/// "230.5", "FT1-F", "20 24 06 18"; "-" where there is no value.
std::string value_text(const Reading &reading);
/// The same for people to read: "blank" or "not text: 20 24 06 18" where a buffer holds no text.
std::string shown_text(const Reading &reading);
/// The value for people, with its unit and meaning, or the error in brackets.
std::string full_text(const Reading &reading);
/// The error, and what to do about a transfer that failed.
std::string error_with_advice(const Reading &reading);
Json to_json(const Reading &reading);
/// Says on standard error why an item has no value.
void report_failure(const Item &item, const Reading &reading);

}  // namespace dfdctl
