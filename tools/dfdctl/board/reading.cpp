// SPDX-License-Identifier: MIT
#include "dfdctl/board/reading.hpp"

#include <dfd/types.h>
#include <algorithm>
#include <array>
#include <cctype>

#include "dfdctl/output.hpp"

#include <fmt/format.h>

namespace dfdctl {

namespace {

constexpr std::array<std::string_view, 7> kStatusNames = {
    "ok", "none", "absent", "not_configured", "unusable", "bad_data", "io_error"};

template <class... Ts>
struct Visitor : Ts... {
    using Ts::operator()...;
};
template <class... Ts>
Visitor(Ts...) -> Visitor<Ts...>;

bool is_printable(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return std::isprint(static_cast<unsigned char>(c)) != 0; });
}

bool is_padding(char c) {
    constexpr char kErased = '\xff';
    return std::isspace(static_cast<unsigned char>(c)) != 0 || c == kErased;
}

}  // namespace

std::string_view status_name(Status status) {
    return kStatusNames[static_cast<std::size_t>(status)];
}

Reading failure(Status status, int code, std::string error) {
    return {.status = status, .code = code, .error = std::move(error)};
}

bool is_blank(std::span<const std::uint8_t> bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t byte) {
        return byte == 0 || is_padding(static_cast<char>(byte));
    });
}

Reading buffer_reading(std::span<const std::uint8_t> bytes) {
    Reading reading;
    reading.bytes.assign(bytes.begin(), bytes.end());
    std::string text(bytes.begin(), std::find(bytes.begin(), bytes.end(), 0));
    // Fields are padded with blanks or line ends, or with bytes of an erased memory.
    while (!text.empty() && is_padding(text.back())) {
        text.pop_back();
    }
    const bool is_text = is_printable(text) && (!text.empty() || bytes.empty());
    reading.value = is_text ? text : hex_text(bytes);
    reading.contents = is_blank(bytes) ? Contents::blank
                       : is_text       ? Contents::text
                                       : Contents::binary;
    return reading;
}

std::string value_text(const Reading &reading) {
    return std::visit(Visitor{[](std::monostate) { return std::string("-"); },
                              [](std::int64_t value) { return fmt::format("{}", value); },
                              [](double value) { return fmt::format("{:.6g}", value); },
                              [](const std::string &value) { return value; }},
                      reading.value);
}

std::string shown_text(const Reading &reading) {
    switch (reading.contents) {
        case Contents::blank:
            return "blank";
        case Contents::binary:
            return "not text: " + value_text(reading);
        case Contents::text:
            break;
    }
    return value_text(reading);
}

std::string full_text(const Reading &reading) {
    if (reading.status == Status::none) {
        return "-";
    }
    if (reading.status == Status::absent) {
        return "(absent)";
    }
    if (!reading.ok()) {
        return fmt::format("({})", reading.error);
    }
    std::string text = shown_text(reading);
    if (!reading.unit.empty()) {
        text += " " + reading.unit;
    }
    if (!reading.meaning.empty()) {
        text += fmt::format(" ({})", reading.meaning);
    }
    return text;
}

std::string error_with_advice(const Reading &reading) {
    const std::string advice = reading.cause ? advice_of(*reading.cause) : std::string();
    return reading.error + (advice.empty() ? "" : "; " + advice);
}

Json to_json(const Reading &reading) {
    Json json;
    json["status"] = status_name(reading.status);
    json["code"] = reading.code;
    json["value"] = std::visit(Visitor{[](std::monostate) { return Json(); },
                                       [](const auto &value) { return Json(value); }},
                               reading.value);
    json["unit"] = text_or_null(reading.unit);
    json["meaning"] = text_or_null(reading.meaning);
    json["bytes"] = text_or_null(hex_text(reading.bytes));
    json["error"] = text_or_null(reading.error);
    json["device"] = text_or_null(reading.cause ? reading.cause->device() : reading.device);
    json["errno"] = text_or_null(reading.cause ? errno_name(reading.cause->error) : "");
    return json;
}

void report_failure(const Item &item, const Reading &reading) {
    const bool absent = reading.status == Status::absent;
    complain(fmt::format("{}: {}{}", item.name(), absent ? "the unit is not plugged: " : "",
                         absent ? reading.error : error_with_advice(reading)));
}

}  // namespace dfdctl
