// SPDX-License-Identifier: MIT
// A section for each device, a block for each register: its bits, then the items in them. Each item
// has a letter; a bit that several items claim has '*'.
#include "dfdctl/lint/bitmap.hpp"

#include <dfd/records.h>
#include <algorithm>

#include "dfdctl/board/describe.hpp"
#include "dfdctl/lint/registers.hpp"
#include "dfdctl/lint/survey.hpp"
#include "dfdctl/lint/uses.hpp"
#include "dfdctl/output.hpp"

#include <fmt/format.h>

namespace dfdctl::lint {

namespace {

constexpr unsigned kShownBits = 8;
constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr char kFree = '.';
constexpr char kManyItems = '*';

/// "Board 0x3e, chassis 8.cfg".
std::string title(const LoadRecord &log) {
    const auto name = [](const std::string &path) { return path.substr(path.rfind('/') + 1); };
    std::string text = log.list_path.empty() ? "Files" : "Board " + name(log.list_path);
    for (const ConfigFile &file : log.files) {
        text += file.role == FileRole::chassis && !log.list_path.empty() && file.opened
                    ? ", chassis " + name(file.path)
                    : "";
    }
    return text;
}

std::string heading(const Device &device) {
    const std::string path = printable(device.path);
    return device.source == INFO_SRC_I2C ? fmt::format("{}, device {:#04x}", path, device.addr)
                                         : fmt::format("{} ({})", path, source_word(device.source));
}

char letter(std::size_t position) {
    return kLetters[position % kLetters.size()];
}

/// "0x10", "0x10-0x13"; registers of an I2C device may be of several bytes: "0x88 2 bytes".
std::string registers_of(const Device &device, const Claim &claim) {
    if (claim.bytes == 1) {
        return fmt::format("{:#04x}", claim.first);
    }
    return device.source == INFO_SRC_I2C
               ? fmt::format("{:#04x} {} bytes", claim.first, claim.bytes)
               : fmt::format("{:#04x}-{:#04x}", claim.first, claim.end() - 1);
}

/// ". . . . b b a a", bit 7 first.
std::string bits_of(std::span<const Claim> claims) {
    std::string text;
    for (unsigned bit = kShownBits; bit-- > 0;) {
        char shown = kFree;
        for (std::size_t i = 0; i < claims.size(); ++i) {
            if ((claims[i].mask >> bit & 1) != 0) {
                shown = shown == kFree ? letter(i) : kManyItems;
            }
        }
        text += shown;
        text += bit > 0 ? " " : "";
    }
    return text;
}

/// How a value is made of the bits.
std::string meaning_of(const info_ctrl_t &ctrl) {
    const bool is_negative = ctrl.pola == INFO_POLA_NEGATIVE;
    switch (ctrl.frmt) {
        case INFO_FRMT_BIT:
            return is_negative ? "inverted" : "";
        case INFO_FRMT_BYTE:
        case INFO_FRMT_NUM_BYTES:
            return ctrl.len == 1 ? "number"
                                 : (is_negative ? "number, low first" : "number, high first");
        case INFO_FRMT_NUM_STR:
            return "decimal text";
        case INFO_FRMT_NUM_BUF:
            return "converted";
        default:
            return "bytes";
    }
}

/// "R", "W", "RW"; "-" for what no function asks for on this board.
std::string use_of(const Uses &all, const Item &item) {
    const auto uses = all.of(item.key());
    const bool writes = std::ranges::any_of(uses, is_write);
    const bool reads = std::ranges::any_of(uses, is_read) || (!uses.empty() && !writes);
    const std::string use = fmt::format("{}{}", reads ? "R" : "", writes ? "W" : "");
    return use.empty() ? "-" : use;
}

std::string place_of(const Check &check, const Item &item) {
    for (const int member : {int{kRegOffset}, int{kFpath}, kDevAddr}) {
        if (const SourceLine *line = check.line_of(item.key(), member)) {
            return check.place(*line);
        }
    }
    return "";
}

/// Claims of the same registers.
void add_block(const Check &check, const Device &device, std::span<const Claim> claims,
               Table &table) {
    for (std::size_t i = 0; i < claims.size(); ++i) {
        const Claim &claim = claims[i];
        table.add({i == 0 ? registers_of(device, claim) : "", i == 0 ? bits_of(claims) : "",
                   fmt::format("{} {}", letter(i), as_written(claim.item)),
                   use_of(check.uses(), claim.item), meaning_of(*claim.ctrl),
                   place_of(check, claim.item)});
    }
}

void add_claims(const Check &check, const Device &device, const std::vector<Claim> &claims,
                Table &table) {
    for (auto begin = claims.begin(); begin != claims.end();) {
        const auto end = std::find_if(begin, claims.end(), [&](const Claim &claim) {
            return claim.first != begin->first || claim.bytes != begin->bytes;
        });
        add_block(check, device, {begin, end}, table);
        begin = end;
    }
}

}  // namespace

void print_bitmap(const Check &check, std::FILE *out, bool is_first) {
    print_heading(out, title(check.log()), is_first);
    auto claims = claims_of(check);
    const auto images = images_of(check);
    for (const auto &[device, items] : images) {
        claims.try_emplace(device);
    }
    for (const auto &[device, of_device] : claims) {
        print_heading(out, heading(device));
        Table table({"register",
                     "7 6 5 4 3 2 1 0",
                     {"item", Fit::whole},
                     "use",
                     "value",
                     {"line", Fit::cut_front}});
        if (const auto found = images.find(device); found != images.end()) {
            for (const Image &image : found->second) {
                table.add({"EEPROM", "", "  " + as_written(image.item),
                           use_of(check.uses(), image.item), std::string(image.layout),
                           place_of(check, image.item)});
            }
        }
        add_claims(check, device, of_device, table);
        table.print(out);
    }
}

}  // namespace dfdctl::lint
