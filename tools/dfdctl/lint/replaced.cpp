// SPDX-License-Identifier: MIT
// Lines that replace others, and conversion entries that hide others.
#include <dfd/framework.h>

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <unordered_map>

#include "dfdctl/lint/lint.hpp"
#include "dfdctl/lint/survey.hpp"
#include "framework/dfd_lib_cfg/lookup.h"
#include "hal/board_bus.h"

#include <fmt/format.h>

namespace dfdctl::lint {

namespace {

using dfd::watch::Step;

bool is_name_list(std::uint32_t type) {
    return type == DFD_KEY_CARD_PID_STR || type == DFD_KEY_POWER_NAME || type == DFD_KEY_FAN_NAME;
}

constexpr std::array kConversions = {DFD_KEY_FAN_SPEEDLVL_CONVERT, DFD_KEY_CARD_PID_STR,
                                     DFD_KEY_POWER_NAME, DFD_KEY_FAN_NAME};

bool feeds_list(std::uint32_t type) {
    return std::ranges::find(kConversions, type) != kConversions.end();
}

/// The item that a line names, by the whole indexes.
std::string named(const SourceLine &line) {
    return as_written(item_of(line.row->type, line.index1, line.index2));
}

/// A line that sets what an earlier one has set.
void check_pair(Check &check, const SourceLine &earlier, const SourceLine &later) {
    const std::uint32_t type = later.row->type;
    const std::string place = check.place(earlier);
    if (place == check.place(later)) {
        return;  // of a file that is listed twice
    }
    if (earlier.index1 != later.index1 || earlier.index2 != later.index2) {
        // Names are looked up by their lists, which keep the whole indexes.
        if (!is_name_list(type)) {
            check.at_index("index-collision", later,
                           fmt::format("replaces the value of {}: the key keeps 16 bits of the "
                                       "first index and 8 of the second, so that {} and {} are "
                                       "one item",
                                       place, named(earlier), named(later)));
        }
    } else if (earlier.value == later.value) {
        check.at_name("repeat", later, fmt::format("{} sets the same already", place));
    } else if (feeds_list(type)) {
        check.at_value("conversion-replaced", later,
                       fmt::format("replaces '{}' of {} in the item only: look-ups go on finding "
                                   "the earlier entry as well, and first",
                                   earlier.value, place));
    } else {
        check.at_value(earlier.file == later.file ? "replace" : "override", later,
                       fmt::format("replaces '{}' of {}", earlier.value, place));
    }
}

void check_cut(Check &check, const SourceLine &line) {
    constexpr std::uint32_t kKeyBits1 = 0xFFFF;
    constexpr std::uint32_t kKeyBits2 = 0xFF;
    const bool is_cut = line.index1 > kKeyBits1 || line.index2 > kKeyBits2;
    if (is_cut && !is_name_list(line.row->type)) {
        check.at_index("index-cut", line,
                       fmt::format("stored as {}: the key keeps 16 bits of the first index and 8 "
                                   "of the second",
                                   as_written(item_of_key(line.key))));
    }
}

void check_origins(Check &check, const Setting &origins, const std::set<Check::Place> &misread) {
    constexpr std::size_t kMostMembers = 16;
    std::array<const SourceLine *, kMostMembers> last{};
    for (const Origin &origin : origins) {
        const SourceLine &line = check.log().lines[origin.source];
        check_cut(check, line);
        if (!misread.empty() && misread.contains(check.place_of(line))) {
            continue;  // the cause is told
        }
        const int at = origin.member + 1;
        const SourceLine *&earlier = last[static_cast<std::size_t>(at)];
        if (earlier != nullptr) {
            check_pair(check, *earlier, line);
        }
        earlier = &line;
    }
}

/// Entries of one conversion list, and where a look-up ends: at the first entry whose text begins
/// the text that is looked up, or whose number is that number.
class Entries {
  public:
    explicit Entries(std::uint32_t type) : is_text_(type != DFD_KEY_FAN_SPEEDLVL_CONVERT) {}

    /// Adds the entry of a line. The one that a look-up of its value ends at: of an earlier line,
    /// or of this.
    const SourceLine &add(const SourceLine &line) {
        const std::string value = is_text_ ? std::string(line.value) : number_of(line);
        const SourceLine *first = first_.try_emplace(value, &line).first->second;
        // An entry that is shorter may still come before an equal one.
        for (std::size_t size = 0; is_text_ && size < value.size(); ++size) {
            const auto found = first_.find(value.substr(0, size));
            first = found != first_.end() ? std::min(first, found->second) : first;
        }
        return *first;
    }

  private:
    static std::string number_of(const SourceLine &line) {
        return std::to_string(dfd::number_from_text(line.value.data()));
    }

    bool is_text_;
    std::unordered_map<std::string, const SourceLine *> first_;  ///< by value; lines in their order
};

void check_hidden(Check &check, const SourceLine &line, const SourceLine &winner) {
    const bool same_line_again = winner.key == line.key && winner.value == line.value;
    if (winner.value.empty() || same_line_again) {
        return;
    }
    const std::string found = fmt::format("a look-up of '{}' ends at '{}' of {}, which comes first",
                                          line.value, winner.value, check.place(winner));
    if (winner.index1 == line.index1) {
        check.at_value("conversion-redundant", line,
                       fmt::format("{} and has the same result", found));
        return;
    }
    if (line.row->type == DFD_KEY_FAN_SPEEDLVL_CONVERT) {
        check.at_value("level-same-value", line,
                       fmt::format("level {} has the value of level {} ({}): it can be set, but is "
                                   "read back as level {}",
                                   line.index1, winner.index1, check.place(winner), winner.index1));
        return;
    }
    const bool is_longer = winner.value.size() < line.value.size();
    check.at_value("conversion-shadowed", line,
                   fmt::format("never found: {} and gives {}, not {}{}", found, winner.index1,
                               line.index1, is_longer ? "; put the longer text first" : ""));
}

void check_conversion(Check &check, const SourceLine &line, Entries &entries) {
    const std::uint32_t type = line.row->type;
    if (is_name_list(type) && line.value.empty()) {
        check.at_value("conversion-empty", line,
                       fmt::format("an empty text fits every text: look-ups that come here give "
                                   "{}, and no entry behind it is ever found",
                                   line.index1));
    }
    if (const SourceLine &found = entries.add(line); &found != &line) {
        check_hidden(check, line, found);
    }
    if (type == DFD_KEY_CARD_PID_STR && line.value.size() > std::size_t{dfd::kProductIdLength}) {
        check.at_value("pid-too-long", line,
                       fmt::format("{} characters of the product identifier are read: this text "
                                   "of {} never fits it",
                                   dfd::kProductIdLength, line.value.size()));
    }
}

}  // namespace

void check_replaced(Check &check) {
    const std::set<Check::Place> misread = check.misread_lines();
    for (const auto &[key, origins] : check.log().origins) {
        check_origins(check, origins, misread);
    }
    std::map<std::uint32_t, Entries> lists;
    for (const SourceLine &line : check.log().lines) {
        if (line.step == Step::stored && feeds_list(line.row->type)) {
            check_conversion(check, line,
                             lists.try_emplace(line.row->type, line.row->type).first->second);
        }
    }
}

}  // namespace dfdctl::lint
