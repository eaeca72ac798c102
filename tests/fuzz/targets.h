// SPDX-License-Identifier: MIT
// The fuzz targets as plain functions: `./run fuzz` searches for inputs that break them, a test
// replays the inputs that were kept. What a target demands follows from the interface, never from
// the output.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

namespace dfd_fuzz {

using Input = std::span<const std::uint8_t>;

void config(Input input);
void tlv(Input input);
void fru(Input input);
void legacy(Input input);
void text(Input input);
void decode(Input input);
void chassis(Input input);

struct Target {
    std::string_view name;
    void (*run)(Input input);
};

inline constexpr Target kTargets[] = {{"config", config},  {"tlv", tlv},   {"fru", fru},
                                      {"legacy", legacy},  {"text", text}, {"decode", decode},
                                      {"chassis", chassis}};

// What a target finds.
struct Finding : std::logic_error {
    using std::logic_error::logic_error;
};

inline void demand(bool holds, const std::string &what) {
    if (!holds) {
        throw Finding(what);
    }
}

// Takes parameters from the front of an input; behind its end there are zeros.
class Parameters {
  public:
    explicit Parameters(Input input) : rest_(input) {}

    std::uint8_t byte() {
        if (rest_.empty()) {
            return 0;
        }
        const std::uint8_t first = rest_[0];
        rest_ = rest_.subspan(1);
        return first;
    }
    // A length, then so many characters, none of them NUL.
    std::string text() {
        const std::size_t wanted = byte();
        const std::size_t length = std::min(wanted, rest_.size());
        const std::string all(rest_.begin(), rest_.begin() + static_cast<std::ptrdiff_t>(length));
        rest_ = rest_.subspan(length);
        return all.substr(0, all.find('\0'));
    }
    Input rest() const { return rest_; }

  private:
    Input rest_;
};

}  // namespace dfd_fuzz
