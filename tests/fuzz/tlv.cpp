// SPDX-License-Identifier: MIT
// TLV images: every entry as the page of the layouts has it, and an update that changes only its
// own.
#include <dfd/inventory.h>

#include <set>

#include "fuzz/layouts.h"

namespace dfd_fuzz {

namespace {

Answer ask_tlv(std::uint32_t type, std::size_t capacity) {
    // As large as it is told, so that a sanitizer sees each byte too many.
    Bytes buffer(capacity);
    auto length = static_cast<int>(capacity);
    const int result = sdd_get_e2prom_info_by_type(kBus, type, kAddr, buffer.data(), &length);
    if (result != 0) {
        return {result};
    }
    demand(length >= 0 && static_cast<std::size_t>(length) <= capacity, "more than there is room");
    buffer.resize(static_cast<std::size_t>(length));
    return {result, buffer};
}

}  // namespace

void tlv(Input input) {
    const auto [capacity, sn, hw, image] = UpdateCase(input, make_tlv_valid);
    Memory memory(image);
    std::set<std::uint32_t> types = {0, 1, 2, 3, 4, 5, 6, 7, 255, 256, 0x103};
    for (const TlvEntry &entry : read_tlv(image).entries) {
        types.insert(entry.type);
    }
    for (const std::uint32_t type : types) {
        demand(ask_tlv(type, capacity) == tlv_answer(image, type, capacity),
               "entry " + std::to_string(type) + " is not what the layout says");
    }
    demand(memory.bytes() == image, "reading wrote");

    const auto expected = tlv_updated(image, sn, hw);
    const int result = dfd_set_fan_info_tlv(kBus, kAddr, sn.c_str(), hw.c_str());
    demand(result == (expected ? 0 : -1), "an update does not report what it did");
    demand(memory.bytes() == expected.value_or(image), "an update changed something else");
    demand(!memory.crossed_page(), "a write crosses a page");
}

}  // namespace dfd_fuzz
