// SPDX-License-Identifier: MIT
#include "eeprom/image.hpp"

#include <algorithm>
#include <array>
#include <filesystem>

#include <fmt/format.h>

namespace eeprom {

namespace {

constexpr std::int64_t kMaxSize = 65536;

struct Builder {
    std::string_view name;
    void (*build)(Section &, Image &);
};

constexpr std::array kBuilders = {
    Builder{"tlv", build_tlv},
    Builder{"fru", build_fru},
    Builder{"fan_legacy", build_fan_legacy},
    Builder{"power_legacy", build_power_legacy},
    Builder{"board_legacy", build_board_legacy},
    Builder{"backplane", build_backplane},
    Builder{"bytes", build_bytes},
    Builder{"text", build_plain_text},
    // Behind all others.
    Builder{"overlay", build_overlay},
};

toml::table parse(const std::string &path) {
    std::error_code ignored;
    if (std::filesystem::is_directory(path, ignored)) {
        throw Error(
            fmt::format("{}: it is a directory; the file of a description is expected", path));
    }
    try {
        toml::table root = toml::parse_file(path);
        if (root.empty()) {
            throw Error(
                fmt::format("{}: it describes nothing: a section such as [[tlv]] or [[fru]] "
                            "is missing; 'dfdctl eeprom decode IMAGE' prints a description",
                            path));
        }
        return root;
    } catch (const toml::parse_error &error) {
        if (error.source().begin.line == 0) {
            throw Error(fmt::format("{}: {}", path, error.description()));
        }
        fail(error.source(), std::string(error.description()));
    }
}

}  // namespace

Image::Image(std::size_t size, std::uint8_t fill) : bytes_(size, fill), owner_(size) {}

void Image::check_place(std::size_t offset, std::size_t size, std::string_view what,
                        const toml::source_region &where) const {
    if (offset > bytes_.size() || size > bytes_.size() - offset) {
        fail(where, fmt::format("{} needs bytes {} to {}, but the memory ends after byte {}", what,
                                offset, offset + size - 1, bytes_.size() - 1));
    }
}

void Image::overlay(std::size_t offset, std::span<const std::uint8_t> bytes,
                    const toml::source_region &where) {
    check_place(offset, bytes.size(), "[[overlay]]", where);
    std::copy(bytes.begin(), bytes.end(), bytes_.begin() + static_cast<std::ptrdiff_t>(offset));
}

void Image::put(std::size_t offset, std::span<const std::uint8_t> bytes, std::string_view what,
                const toml::source_region &where) {
    check_place(offset, bytes.size(), what, where);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (!owner_[offset + i].empty()) {
            fail(where,
                 fmt::format("{} overlaps {} at byte {}", what, owner_[offset + i], offset + i));
        }
        bytes_[offset + i] = bytes[i];
        owner_[offset + i] = what;
    }
}

Image build_table(const toml::table &root) {
    Section top(root);
    const auto size = top.number_or("size", kEepromSize, 1, kMaxSize);
    const auto fill = top.number_or("fill", kByteMax, 0, kByteMax);
    Image image(static_cast<std::size_t>(size), static_cast<std::uint8_t>(fill));
    for (const Builder &layout : kBuilders) {
        for (const toml::table *table : top.tables(layout.name)) {
            Section section(*table);
            layout.build(section, image);
            section.finish();
        }
    }
    top.finish();
    return image;
}

Image image_of_text(const std::string &text) {
    try {
        return build_table(toml::parse(text));
    } catch (const toml::parse_error &error) {
        fail(error.source(), std::string(error.description()));
    }
}

Bytes build_image(const std::string &path) {
    return build_table(parse(path)).bytes();
}

Bytes build_text(const std::string &text) {
    return image_of_text(text).bytes();
}

}  // namespace eeprom
