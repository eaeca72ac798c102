// SPDX-License-Identifier: MIT
#include "common/nearest.hpp"

#include <algorithm>
#include <array>
#include <utility>

namespace dfd_tools {

namespace {

constexpr std::size_t kSuggestions = 3;

/// A name is near when at most this share of its characters differs.
bool is_near(std::size_t distance, std::string_view name) {
    return distance <= std::max<std::size_t>(2, name.size() / 3);
}

/// Upper and lower case count as one: a name in capitals is meant to be that name.
constexpr char fold(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// The letters of a name, to tell what differs at least: those that only one of two texts has. Far
/// cheaper than the distance, and rules most candidates out.
class Letters {
  public:
    explicit Letters(std::string_view name) : size_(name.size()) {
        for (const char c : name) {
            ++counts_[index(c)];
        }
    }

    std::size_t least_distance(std::string_view other) {
        std::size_t common = 0;
        for (const char c : other) {
            common += counts_[index(c)]-- > 0 ? 1U : 0U;
        }
        for (const char c : other) {
            ++counts_[index(c)];
        }
        return std::max(size_, other.size()) - common;
    }

  private:
    static std::size_t index(char c) { return static_cast<unsigned char>(fold(c)); }

    std::size_t size_;
    std::array<int, 256> counts_{};
};

std::size_t size_difference(std::string_view a, std::string_view b) {
    return std::max(a.size(), b.size()) - std::min(a.size(), b.size());
}

bool is_swap(std::string_view a, std::string_view b, std::size_t i, std::size_t j) {
    return i > 1 && j > 1 && fold(a[i - 1]) == fold(b[j - 2]) && fold(a[i - 2]) == fold(b[j - 1]);
}

/// What a user who typed only part of a name means.
bool contains(std::string_view candidate, std::string_view name) {
    constexpr std::size_t kTellingLength = 3;
    return name.size() >= kTellingLength && candidate.find(name) != std::string_view::npos;
}

}  // namespace

std::size_t edit_distance(std::string_view a, std::string_view b) {
    const std::size_t width = b.size() + 1;
    std::vector<std::size_t> costs((a.size() + 1) * width);
    const auto cost = [&](std::size_t i, std::size_t j) -> std::size_t & {
        return costs[i * width + j];
    };
    for (std::size_t i = 0; i <= a.size(); ++i) {
        for (std::size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                cost(i, j) = i + j;
                continue;
            }
            const std::size_t replace =
                cost(i - 1, j - 1) + (fold(a[i - 1]) == fold(b[j - 1]) ? 0 : 1);
            cost(i, j) = std::min({cost(i - 1, j) + 1, cost(i, j - 1) + 1, replace});
            if (is_swap(a, b, i, j)) {
                cost(i, j) = std::min(cost(i, j), cost(i - 2, j - 2) + 1);
            }
        }
    }
    return cost(a.size(), b.size());
}

std::vector<std::string> nearest_names(std::string_view name,
                                       std::span<const std::string_view> candidates,
                                       std::size_t count) {
    std::vector<std::pair<std::size_t, std::string_view>> ranked;
    Letters letters(name);
    for (const std::string_view candidate : candidates) {
        const bool is_possible = is_near(size_difference(candidate, name), name) &&
                                 is_near(letters.least_distance(candidate), name);
        if (!is_possible && !contains(candidate, name)) {
            continue;
        }
        const std::size_t distance = edit_distance(name, candidate);
        if (is_near(distance, name) || contains(candidate, name)) {
            ranked.emplace_back(distance, candidate);
        }
    }
    std::stable_sort(ranked.begin(), ranked.end(),
                     [](const auto &a, const auto &b) { return a.first < b.first; });
    std::vector<std::string> names;
    for (const auto &[distance, candidate] : ranked) {
        // Several commands may have one name below them.
        if (names.size() < count && std::ranges::find(names, candidate) == names.end()) {
            names.emplace_back(candidate);
        }
    }
    return names;
}

std::string did_you_mean(std::string_view name, std::span<const std::string_view> candidates) {
    const std::vector<std::string> names = nearest_names(name, candidates, kSuggestions);
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const bool last = i + 1 == names.size();
        text += i == 0 ? ", did you mean '" : (last ? " or '" : ", '");
        text += names[i] + "'";
    }
    return text.empty() ? text : text + "?";
}

}  // namespace dfd_tools
