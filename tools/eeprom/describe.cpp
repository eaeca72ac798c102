// SPDX-License-Identifier: MIT
// The description of an image: the sections of its layout, then the bytes that these do not tell,
// so that building gives every byte back.
#include <algorithm>
#include <array>

#include "eeprom/image.hpp"
#include "eeprom/parts.hpp"

#include <fmt/format.h>

namespace eeprom {

namespace {

constexpr std::uint8_t kErased = 0xFF;

std::string head(std::size_t size, std::uint8_t fill) {
    return fmt::format("size = {}\nfill = 0x{:02x}\n", size, fill);
}

/// Nothing where the sections cannot be built, which a decode then has to tell as bytes.
std::optional<Image> built(const std::string &text) {
    try {
        return image_of_text(text);
    } catch (const Error &) {
        return std::nullopt;
    }
}

/// The most frequent byte of those that no section places.
std::uint8_t fill_of(View image, const Image &known) {
    std::array<std::size_t, UINT8_MAX + 1> counts = {};
    for (std::size_t i = 0; i < image.size(); ++i) {
        counts[image[i]] += known.is_placed(i) ? 0 : 1;
    }
    const auto *most = std::ranges::max_element(counts);
    return *most == 0 ? kErased : static_cast<std::uint8_t>(most - counts.begin());
}

std::string run_text(std::size_t at, View bytes, bool is_placed) {
    constexpr std::size_t kShortest = 3;
    const auto text = padded_text(bytes);
    if (is_placed) {
        return fmt::format("\n[[overlay]]\noffset = 0x{:02x}\nvalues = \"{}\"\n", at,
                           hex_text(bytes));
    }
    if (text && text->size() >= kShortest) {
        const std::string size =
            text->size() < bytes.size() ? fmt::format("size = {}\n", bytes.size()) : "";
        return fmt::format("\n[[text]]\noffset = 0x{:02x}\nvalue = {}\n{}", at, toml_text(*text),
                           size);
    }
    return fmt::format("\n[[bytes]]\noffset = 0x{:02x}\nvalues = \"{}\"\n", at, hex_text(bytes));
}

/// Every run of bytes that building would not give.
std::string rest(View image, const Image &known) {
    const auto differs = [&](std::size_t i) { return image[i] != known.bytes()[i]; };
    std::string text;
    for (std::size_t at = 0; at < image.size();) {
        std::size_t end = at;
        while (end < image.size() && differs(end) && known.is_placed(end) == known.is_placed(at)) {
            ++end;
        }
        if (end > at) {
            text += run_text(at, image.subspan(at, end - at), known.is_placed(at));
        }
        at = std::max(end, at + 1);
    }
    return text;
}

/// What can be read of an image that no section tells.
std::string remarks(const Parts &parts) {
    std::string text;
    for (const Fault &fault : parts.out.faults) {
        text += fmt::format("# fault at 0x{:02x}: {}\n", fault.offset, fault.text);
    }
    for (const Field &field : parts.out.fields) {
        if (parts.is_raw) {
            text += fmt::format("# {} at 0x{:02x}: {}\n", field.name, field.offset,
                                toml_text(field.text));
        }
    }
    return text;
}

}  // namespace

std::string describe(const Parts &parts) {
    const std::size_t size = parts.image.size();
    std::string sections = parts.is_raw ? "" : "\n" + parts.sections;
    auto known = built(head(size, kErased) + sections);
    if (!known) {
        sections.clear();
        known = built(head(size, kErased));
    }
    if (!known) {
        return remarks(parts);  // larger than a description can say, or empty
    }
    const std::string start = head(size, fill_of(parts.image, *known));
    return remarks(parts) + start + sections + rest(parts.image, *built(start + sections));
}

}  // namespace eeprom
