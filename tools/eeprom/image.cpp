// SPDX-License-Identifier: MIT
#include "eeprom/image.hpp"

#include <array>

#include <fmt/format.h>

namespace eeprom {

namespace {

constexpr std::int64_t kMaxSize = 65536;
constexpr std::int64_t kErased = 0xFF;

struct Layout {
    std::string_view name;
    void (*build)(Section &, Image &);
};

constexpr std::array kLayouts = {
    Layout{"tlv", build_tlv},
    Layout{"fru", build_fru},
    Layout{"fan_legacy", build_fan_legacy},
    Layout{"power_legacy", build_power_legacy},
    Layout{"board_legacy", build_board_legacy},
    Layout{"backplane", build_backplane},
    Layout{"bytes", build_bytes},
    Layout{"text", build_text},
};

toml::table parse(const std::string &path) {
    try {
        return toml::parse_file(path);
    } catch (const toml::parse_error &error) {
        if (error.source().begin.line == 0) {
            throw Error(fmt::format("{}: {}", path, error.description()));
        }
        fail(error.source(), std::string(error.description()));
    }
}

}  // namespace

Image::Image(std::size_t size, std::uint8_t fill) : bytes_(size, fill), owner_(size) {}

void Image::put(std::size_t offset, std::span<const std::uint8_t> bytes, std::string_view what,
                const toml::source_region &where) {
    if (offset > bytes_.size() || bytes.size() > bytes_.size() - offset) {
        fail(where, fmt::format("{} needs bytes {} to {}, but the memory ends after byte {}", what,
                                offset, offset + bytes.size() - 1, bytes_.size() - 1));
    }
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (!owner_[offset + i].empty()) {
            fail(where,
                 fmt::format("{} overlaps {} at byte {}", what, owner_[offset + i], offset + i));
        }
        bytes_[offset + i] = bytes[i];
        owner_[offset + i] = what;
    }
}

Bytes build_image(const std::string &path) {
    const toml::table root = parse(path);
    Section top(root);
    const auto size = top.number_or("size", kEepromSize, 1, kMaxSize);
    const auto fill = top.number_or("fill", kErased, 0, kErased);
    Image image(static_cast<std::size_t>(size), static_cast<std::uint8_t>(fill));
    for (const Layout &layout : kLayouts) {
        for (const toml::table *table : top.tables(layout.name)) {
            Section section(*table);
            layout.build(section, image);
            section.finish();
        }
    }
    top.finish();
    return image.bytes();
}

}  // namespace eeprom
