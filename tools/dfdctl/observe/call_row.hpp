// SPDX-License-Identifier: MIT
// Makes a row of the table of calls out of a function and the roles of its parameters.
#pragma once

#include <type_traits>
#include <utility>

#include "dfdctl/observe/roles.hpp"

namespace dfdctl::observe {

consteval Role role_of(std::string_view word) {
    for (const RoleFacts &facts : kRoles) {
        if (facts.word == word) {
            return facts.role;
        }
    }
    throw "no such role";
}

/// The next word of a list, which shrinks by it; empty at the end.
constexpr std::string_view next_word(std::string_view &words) {
    const auto end = std::min(words.find(' '), words.size());
    const std::string_view word = words.substr(0, end);
    words.remove_prefix(std::min(end + 1, words.size()));
    return word;
}

/// The part behind the colon, which the word loses.
constexpr std::string_view split_unit(std::string_view &word) {
    const auto colon = word.find(':');
    const std::string_view unit =
        colon == std::string_view::npos ? std::string_view() : word.substr(colon + 1);
    word = word.substr(0, colon);
    return unit;
}

template <typename T>
constexpr Param shape() {
    if constexpr (std::is_pointer_v<T>) {
        using Target = std::remove_pointer_t<T>;
        if constexpr (std::is_arithmetic_v<Target>) {
            return {
                .is_pointer = true, .is_signed = std::is_signed_v<Target>, .size = sizeof(Target)};
        }
        return {.is_pointer = true};
    } else {
        return {.is_signed = std::is_signed_v<T>, .size = sizeof(T)};
    }
}

template <typename T>
T from_word(Word word) {
    if constexpr (std::is_pointer_v<T>) {
        return reinterpret_cast<T>(word);
    } else {
        return static_cast<T>(word);
    }
}

template <typename R, typename... P>
struct Signature {
    static_assert(sizeof...(P) <= kMaxParams);
    static constexpr std::array<Param, sizeof...(P)> kShapes = {shape<P>()...};
    static constexpr bool kReturnsNothing = std::is_void_v<R>;

    template <std::size_t... I>
    static std::int64_t run(R (*function)(P...), [[maybe_unused]] const Word *words,
                            std::index_sequence<I...>) {
        if constexpr (std::is_void_v<R>) {
            function(from_word<P>(words[I])...);
            return 0;
        } else if constexpr (std::is_pointer_v<R>) {
            return function(from_word<P>(words[I])...) != nullptr ? 1 : 0;
        } else {
            return function(from_word<P>(words[I])...);
        }
    }
};

template <typename R, typename... P>
Signature<R, P...> signature_of(R (*function)(P...));

template <auto Function>
std::int64_t run(const Word *words) {
    using Own = decltype(signature_of(Function));
    return Own::run(Function, words, std::make_index_sequence<Own::kShapes.size()>());
}

template <auto Function>
consteval Call make_call(Subsystem subsystem, Does does, std::string_view name,
                         std::string_view roles) {
    using Own = decltype(signature_of(Function));
    Call call{.subsystem = subsystem, .does = does, .name = name};
    call.returns_nothing = Own::kReturnsNothing;
    call.run = run<Function>;
    while (!roles.empty()) {
        std::string_view word = next_word(roles);
        const std::string_view unit = split_unit(word);
        if (word == "result") {
            call.returns_value = true;
            call.unit = unit;
            continue;
        }
        if (word == "essential" || word == "polled") {
            (word == "polled" ? call.is_polled : call.is_essential) = true;
            continue;
        }
        if (call.count >= Own::kShapes.size()) {
            throw "more roles than parameters";
        }
        Param param = Own::kShapes[call.count];
        param.role = role_of(word);
        param.unit = unit;
        const RoleKind kind = kRoles[static_cast<std::size_t>(param.role)].kind;
        const bool needs_pointer = kind == RoleKind::output || kind == RoleKind::text;
        const bool needs_number = kind == RoleKind::index || kind == RoleKind::number;
        if ((needs_pointer && !param.is_pointer) || (needs_number && param.is_pointer)) {
            throw "a role that does not fit its parameter";
        }
        call.slots[call.count++] = param;
    }
    if (call.count != Own::kShapes.size()) {
        throw "fewer roles than parameters";
    }
    return call;
}

/// Every function but those that pass everything through.
std::span<const Call> table_of_calls();

}  // namespace dfdctl::observe

/// A row: subsystem, what it does, name, roles of the parameters in order. "result:UNIT" among them
/// says that a result that is not negative is the value; "out:UNIT" that the value goes there.
/// "essential" and "polled" set the flags of these names.
#define DFD_CALL(subsystem, does, function, roles)                                  \
    ::dfdctl::observe::make_call<function>(::dfdctl::observe::Subsystem::subsystem, \
                                           ::dfdctl::observe::Does::does, #function, roles)
/// Two rows: the function of the hal and its name in the driver interface, which adapts.
#define DFD_CALL_BOTH(subsystem, does, name, roles) \
    DFD_CALL(subsystem, does, sdd_##name, roles), DFD_CALL(subsystem, does, drv_##name, roles)
