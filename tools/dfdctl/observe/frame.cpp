// SPDX-License-Identifier: MIT
#include "dfdctl/observe/frame.hpp"

#include <dfd/inventory.h>
#include <dfd/irq.h>
#include <algorithm>
#include <cstring>

namespace dfdctl::observe {

namespace {

constexpr std::size_t kMacSize = 6;
constexpr std::size_t kRecordSize = sizeof(backplane_info_t);
/// Behind the capacity that a function is told.
constexpr char kGuard = '\xA5';

int ignore_interrupt(const irq_info_t * /*source*/) {
    return 0;
}

std::int64_t number_at(const Param &param, Word word) {
    std::uint64_t raw = 0;
    std::memcpy(&raw, reinterpret_cast<const void *>(word), param.size);
    return param.is_signed ? static_cast<std::int32_t>(raw) : static_cast<std::int64_t>(raw);
}

}  // namespace

Frame::Frame(const Call &call, const Args &args, std::uint32_t capacity)
    : call_(call), given_capacity_(capacity), capacity_(static_cast<int>(capacity)) {
    for (const Param &param : call.params()) {
        words_[count_] = word_of(param, args);
        ++count_;
    }
}

std::vector<Output> Frame::outputs(int result) const {
    std::vector<Output> found;
    for (std::size_t i = 0; i < count_; ++i) {
        const Param &param = call_.slots[i];
        if (facts_of(param.role).kind == RoleKind::output) {
            found.push_back(output_of(param, words_[i], result));
        }
    }
    return found;
}

std::uint8_t *Frame::bytes_of(Role role) const {
    for (std::size_t i = 0; i < count_; ++i) {
        if (call_.slots[i].role == role && call_.slots[i].is_pointer) {
            return reinterpret_cast<std::uint8_t *>(words_[i]);
        }
    }
    return nullptr;
}

bool Frame::wrote_within(std::uint32_t room) const {
    const auto params = call_.params();
    if (std::ranges::find(params, Role::capacity, &Param::role) == params.end()) {
        return true;
    }
    for (std::size_t i = 0; i < count_; ++i) {
        const char *const bytes = reinterpret_cast<const char *>(words_[i]);
        if (params[i].role == Role::buffer &&
            std::any_of(bytes + room, bytes + kBufferSize,
                        [](char byte) { return byte != kGuard; })) {
            return false;
        }
    }
    return true;
}

Word Frame::word_of(const Param &param, const Args &args) {
    const RoleFacts &facts = facts_of(param.role);
    switch (facts.kind) {
        case RoleKind::index:
        case RoleKind::number:
            return next_number_ < args.numbers.size() ? args.numbers[next_number_++]
                                                      : facts.standard;
        case RoleKind::text:
            return text_word(next_text_ < args.texts.size()
                                 ? std::string_view(args.texts[next_text_++])
                                 : facts.text);
        default:
            return support_of(param);
    }
}

/// Of a copy with room behind it: some functions are told how long a text is.
Word Frame::text_word(std::string_view text) {
    Buffer &buffer = buffers_[next_buffer_++];
    buffer.bytes.fill('\0');
    std::copy_n(text.begin(), std::min<std::size_t>(text.size(), kMaxLength), buffer.bytes.begin());
    return reinterpret_cast<Word>(&buffer);
}

Word Frame::support_of(const Param &param) {
    switch (param.role) {
        case Role::handler:
            return reinterpret_cast<Word>(&ignore_interrupt);
        case Role::capacity:
            return param.is_pointer ? reinterpret_cast<Word>(&capacity_) : given_capacity_;
        case Role::ignored:
        case Role::none:
            return 0;
        case Role::out:
            return reinterpret_cast<Word>(&numbers_[next_out_++]);
        default: {
            Buffer &buffer = buffers_[next_buffer_++];
            buffer.bytes.fill('\0');
            if (param.role == Role::buffer) {
                std::fill(buffer.bytes.begin() + given_capacity_, buffer.bytes.end(), kGuard);
            }
            return reinterpret_cast<Word>(&buffer);
        }
    }
}

std::size_t Frame::text_size(const char *text, int result) const {
    if (capacity_ != static_cast<int>(given_capacity_) && capacity_ > 0) {
        return std::min<std::size_t>(static_cast<std::size_t>(capacity_), given_capacity_);
    }
    // Left as it was: the text ends at a NUL, or the result is its length.
    return call_.returns_value && result > 0
               ? std::min<std::size_t>(static_cast<std::size_t>(result), given_capacity_)
               : strnlen(text, given_capacity_);
}

Output Frame::output_of(const Param &param, Word word, int result) const {
    const char *bytes = reinterpret_cast<const char *>(word);
    switch (param.role) {
        case Role::out:
            return {.param = &param, .number = number_at(param, word)};
        case Role::bytes6:
            return {.param = &param, .bytes = std::string(bytes, kMacSize)};
        case Role::bytes8:
            return {.param = &param, .bytes = std::string(bytes, DFD_FRU_HEADER_SIZE)};
        case Role::bytes10:
            return {.param = &param, .bytes = std::string(bytes, DFD_TLV_HEADER_SIZE)};
        case Role::record:
            return {.param = &param, .bytes = std::string(bytes, kRecordSize)};
        default:
            return {.param = &param, .bytes = std::string(bytes, text_size(bytes, result))};
    }
}

}  // namespace dfdctl::observe
