// SPDX-License-Identifier: MIT
// What a function of the table of calls works on while it runs: its arguments, and buffers for what
// comes out.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "dfdctl/observe/calls.hpp"

namespace dfdctl::observe {

/// What came out through a pointer.
struct Output {
    const Param *param;
    std::int64_t number = 0;  ///< of role out
    std::string bytes = {};   ///< of the others

    bool operator==(const Output &) const = default;
};

class Frame {
  public:
    /// `capacity`: what the function is told of its buffer, at most kMaxLength.
    Frame(const Call &call, const Args &args, std::uint32_t capacity = kMaxLength);
    Frame(const Frame &) = delete;
    Frame &operator=(const Frame &) = delete;

    int run() const { return static_cast<int>(call_.run(words_.data())); }

    std::vector<Output> outputs(int result) const;
    /// Bytes of the first parameter of that role, to be filled before the run; null without one.
    std::uint8_t *bytes_of(Role role) const;
    /// Whether the function wrote nothing behind so many bytes of its buffer, where it is told a
    /// capacity; `room` is that or more.
    bool wrote_within(std::uint32_t room) const;

  private:
    static constexpr std::size_t kBufferSize = 512;
    struct Buffer {
        alignas(std::max_align_t) std::array<char, kBufferSize> bytes;
    };

    Word word_of(const Param &param, const Args &args);
    Word text_word(std::string_view text);
    Word support_of(const Param &param);
    std::size_t text_size(const char *text, int result) const;
    Output output_of(const Param &param, Word word, int result) const;

    const Call &call_;
    const std::uint32_t given_capacity_;
    int capacity_;
    std::array<Word, kMaxParams> words_ = {};
    std::size_t count_ = 0;
    std::size_t next_number_ = 0;
    std::size_t next_text_ = 0;
    std::array<std::uint64_t, kMaxParams> numbers_ = {};
    std::size_t next_out_ = 0;
    std::array<Buffer, kMaxParams> buffers_;
    std::size_t next_buffer_ = 0;
};

}  // namespace dfdctl::observe
