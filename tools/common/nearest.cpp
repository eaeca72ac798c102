// SPDX-License-Identifier: MIT
#include "common/nearest.hpp"

#include <algorithm>
#include <utility>

namespace dfd_tools {

namespace {

constexpr std::size_t kSuggestions = 3;

/// A name is near when at most this share of its characters differs.
bool is_near(std::size_t distance, std::string_view name) {
    return distance <= std::max<std::size_t>(2, name.size() / 3);
}

/// What differs at least.
std::size_t length_difference(std::string_view a, std::string_view b) {
    return a.size() > b.size() ? a.size() - b.size() : b.size() - a.size();
}

bool is_swap(std::string_view a, std::string_view b, std::size_t i, std::size_t j) {
    return i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
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
            const std::size_t replace = cost(i - 1, j - 1) + (a[i - 1] == b[j - 1] ? 0 : 1);
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
    for (const std::string_view candidate : candidates) {
        if (!is_near(length_difference(name, candidate), name) && !contains(candidate, name)) {
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
        if (names.size() < count) {
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
