// SPDX-License-Identifier: MIT
// Calls of the library's getters, brought to one form.
#pragma once

#include <dfd/types.h>
#include <algorithm>
#include <array>

#include "dfdctl/board/reading.hpp"

namespace dfdctl {

/// What a getter is asked for: index1 and index2 of the items behind it.
struct Place {
    std::uint32_t index1 = 0;
    std::uint32_t index2 = 0;
};

/// A result of the library: the value only where code is DFD_OK.
struct Answer {
    int code = DFD_OK;
    decltype(Reading::value) value = {};
    const char *meaning = "";  ///< of a value that the column has no word for
    Contents contents = Contents::text;
};

using Reader = Answer (*)(const Place &);

namespace call {

inline int with(int (*get)(), const Place & /*place*/) {
    return get();
}
template <typename A>
int with(int (*get)(A), const Place &place) {
    return get(static_cast<A>(place.index1));
}
template <typename A, typename B>
int with(int (*get)(A, B), const Place &place) {
    return get(static_cast<A>(place.index1), static_cast<B>(place.index2));
}
template <typename Out>
int with(int (*get)(Out *), const Place & /*place*/, Out *out) {
    return get(out);
}
template <typename A, typename Out>
int with(int (*get)(A, Out *), const Place &place, Out *out) {
    return get(static_cast<A>(place.index1), out);
}
template <typename A, typename B, typename Out>
int with(int (*get)(A, B, Out *), const Place &place, Out *out) {
    return get(static_cast<A>(place.index1), static_cast<B>(place.index2), out);
}

}  // namespace call

/// Of a getter that returns the value, or a negative code.
template <auto Get>
Answer by_result(const Place &place) {
    const int result = call::with(Get, place);
    return result < 0 ? Answer{.code = result} : Answer{.value = std::int64_t{result}};
}

/// Of a getter that stores the value and returns a code.
template <auto Get, typename Out = int>
Answer by_pointer(const Place &place) {
    Out out = {};
    const int code = call::with(Get, place, &out);
    return code != DFD_OK ? Answer{.code = code} : Answer{.value = std::int64_t{out}};
}

/// Of a getter of text with a length that goes in and out.
template <auto Get>
Answer by_text(const Place &place) {
    constexpr int kCapacity = 256;
    std::array<char, kCapacity + 1> text = {};
    int len = kCapacity;
    const int code = Get(place.index1, text.data(), &len);
    if (code != DFD_OK) {
        return {.code = code};
    }
    // Some leave the length as it was; the rest of the text is zero then.
    const auto size = static_cast<std::size_t>(std::clamp(len, 0, kCapacity));
    std::array<std::uint8_t, kCapacity> bytes = {};
    std::copy_n(text.begin(), size, bytes.begin());
    Reading reading = buffer_reading(std::span(bytes).first(size));
    return {.value = std::move(reading.value), .contents = reading.contents};
}

/// A value that the library knows how to read, by the key type of its item.
struct LibraryValue {
    std::uint32_t type;
    int scale;  ///< how much finer than the unit of the item's type its numbers are
    Reader read;
};

/// Null for items that the library reads as they are described, without conversion.
const LibraryValue *library_value_of(const Item &item);

/// The slot to ask for, where an item counts cards by virtual slots: 0 is the own one.
std::uint32_t slot_of_card(std::uint32_t card);

}  // namespace dfdctl
