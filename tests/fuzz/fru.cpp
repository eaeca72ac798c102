// SPDX-License-Identifier: MIT
// FRU images: every field as the page of the layouts has it, and an update that changes only its
// own.
#include <dfd/inventory.h>

#include "fuzz/layouts.h"

namespace dfd_fuzz {

namespace {

constexpr std::uint8_t kText = 3;
constexpr std::size_t kMaxText = 63;
constexpr std::size_t kBlock = 8;
// An update uses five bits of the length byte.
constexpr std::size_t kMaxUpdated = 31 * kBlock;

Answer ask_fru(std::uint32_t type, std::size_t capacity) {
    Bytes buffer(capacity);
    auto length = static_cast<int>(capacity);
    const int result = dfd_get_fru_data(kBus, kAddr, type, buffer.data(), &length);
    if (result != 0) {
        return {-1};
    }
    demand(length >= 0 && static_cast<std::size_t>(length) <= capacity, "more than there is room");
    buffer.resize(static_cast<std::size_t>(length));
    return {result, buffer};
}

// The area as it will be, if each text can be stored.
struct Wanted {
    FruArea area;
    std::size_t used;  // bytes of the area that count
    bool is_shorter = false;

    // Whether the text could be stored.
    bool put(std::size_t index, const std::string &text) {
        if (text.empty()) {
            return true;
        }
        if (index >= area.fields.size()) {
            return false;
        }
        FruField &field = area.fields[index];
        const std::size_t room = kMemorySize - area.at;
        const std::size_t longer = text.size() - std::min(text.size(), field.data.size());
        const std::size_t shorter = field.data.size() - std::min(text.size(), field.data.size());
        std::size_t after = used + longer - shorter;
        if (longer > 0) {
            after = (after / kBlock + 1) * kBlock;
        }
        if (field.code != kText || text.size() > kMaxText || after > room) {
            return false;
        }
        if (text.size() == 1) {
            area.fields.resize(index);  // reads as the end mark
        } else {
            field.data.assign(text.begin(), text.end());
        }
        used = after;
        is_shorter = longer == 0 && (is_shorter || shorter > 0);
        return true;
    }
};

// Header byte, area, fields: the parts that an update may not touch.
void check_update(const MemoryBytes &image, const FruArea &before, const std::string &sn,
                  const std::string &hw) {
    Memory memory(image);
    const int result = dfd_set_fan_info_fru(kBus, kAddr, sn.c_str(), hw.c_str());
    demand(!memory.crossed_page(), "a write crosses a page");
    const bool is_too_long = before.size > kMaxUpdated || before.at + before.size > kMemorySize;
    if (!before.is_accepted || before.at == 0 || is_too_long) {
        demand(is_too_long || result < 0, "an update of no image is a success");
        demand(result == 0 || memory.bytes() == image, "a refused update wrote");
        return;
    }
    demand(result == 0, "an update of a valid image fails");
    demand(std::equal(image.begin(), image.begin() + static_cast<std::ptrdiff_t>(before.at),
                      memory.bytes().begin()),
           "an update changed what stands before the area");
    FruArea without_sum;
    read_fru_fields(Input(image).subspan(before.at, before.size - 1), &without_sum);
    if (!without_sum.has_end) {
        return;  // what follows the last field, or the sum, is a field of no meaning
    }
    Wanted wanted{before, before.size};
    if (wanted.put(kFruSerial, sn)) {
        wanted.put(kFruVersion, hw);
    }
    FruArea after{.at = before.at};
    read_fru_fields(Input(memory.bytes()).subspan(before.at), &after);
    demand(after.fields == wanted.area.fields, "an update changed another field");
    const Input used = Input(memory.bytes()).subspan(before.at, wanted.used);
    demand(verify_fru_data(used.data(), static_cast<int>(used.size())) == 0, "no sum behind it");
    if (!wanted.is_shorter) {
        const FruArea again = read_fru(memory.bytes());
        demand(again.is_accepted && again.fields == wanted.area.fields,
               "an updated image is not valid");
    }
}

}  // namespace

void fru(Input input) {
    const auto [capacity, sn, hw, image] = UpdateCase(input, make_fru_valid);
    const FruArea area = read_fru(image);
    {
        const Memory memory(image);
        for (std::uint32_t type = 0; type <= 7; ++type) {
            demand(ask_fru(type, capacity) == fru_answer(area, type, capacity),
                   "field " + std::to_string(type) + " is not what the layout says");
        }
        demand(memory.bytes() == image, "reading wrote");
    }
    check_update(image, area, sn, hw);
}

}  // namespace dfd_fuzz
