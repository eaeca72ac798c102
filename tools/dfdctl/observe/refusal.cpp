// SPDX-License-Identifier: MIT
#include "dfdctl/observe/refusal.hpp"

#include <dfd/records.h>
#include <algorithm>
#include <array>

#include <fmt/format.h>

namespace dfdctl::observe {

namespace {

using dfd::watch::Refusal;

/// What the engine demands, and of which member.
struct Demand {
    Refusal refusal;
    CtrlMember member;
    std::string_view text;
};

constexpr std::array kDemands = {
    Demand{Refusal::bit_offset, kBitOffset, "a bit field begins at bit 0 to 7"},
    Demand{Refusal::number_len, kLen, "a number has 1 to 31 bytes"},
    Demand{Refusal::number_format, kFrmt, "a number is bit, byte, num_bytes, num_str or num_buf"},
    Demand{Refusal::write_format, kFrmt, "only bit, byte, num_bytes and num_buf can be written"},
    Demand{Refusal::text_write, kFrmt, "a text cannot be written"},
    Demand{Refusal::read_mode, kMode,
           "bytes and texts are read in mode config, or from an EEPROM in a layout that the "
           "function knows"},
    Demand{Refusal::write_mode, kMode, "only mode config can be written"},
    Demand{Refusal::no_processor, kFrmt,
           "the function does not convert bytes itself: write bit, byte, num_bytes or num_str"},
    Demand{Refusal::not_processed, kLen, "the function cannot convert this number of bytes"},
    Demand{Refusal::source, kSrc, "a source is localbus, i2c or file"},
    Demand{Refusal::file_write, kSrc, "a file cannot be written"},
};

/// One refusal is about the format and the length of a buffer.
Demand demand_of_buffer(const info_ctrl_t &ctrl) {
    constexpr std::uint32_t kMaxBytes = 255;
    if (ctrl.frmt != INFO_FRMT_BUF) {
        return {Refusal::buffer, kFrmt, "the function takes bytes: write .frmt=buf"};
    }
    return {Refusal::buffer, kLen,
            ctrl.len >= 1 && ctrl.len <= kMaxBytes ? "the function has room for fewer bytes"
                                                   : "a buffer has 1 to 255 bytes"};
}

/// ".len is '40'", "there is no .len".
std::string state_of(const LoadRecord &log, const Item &item, CtrlMember member) {
    const std::string_view name = info_ctrl_mem_str[member];
    const SourceLine *line = log.line_of(item.key(), member);
    return line != nullptr ? fmt::format("{} is '{}'", name, line->value)
                           : fmt::format("there is no {}", name);
}

}  // namespace

std::optional<Reason> reason_of(const LoadRecord &log, const Item &item, Refusal refusal) {
    const auto *const found = std::ranges::find(kDemands, refusal, &Demand::refusal);
    if (refusal != Refusal::buffer && found == kDemands.end()) {
        return std::nullopt;
    }
    const Demand demand =
        refusal == Refusal::buffer ? demand_of_buffer(*record_of<info_ctrl_t>(item)) : *found;
    return Reason{demand.member,
                  fmt::format("{}, but {}", state_of(log, item, demand.member), demand.text)};
}

}  // namespace dfdctl::observe
