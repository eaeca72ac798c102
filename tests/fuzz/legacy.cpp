// SPDX-License-Identifier: MIT
// The fixed layouts of fans, power supplies and boards.
#include <dfd/framework.h>
#include <dfd/inventory.h>

#include <cctype>
#include <cstring>

#include "fuzz/layouts.h"

namespace dfd_fuzz {

namespace {

constexpr std::size_t kFanSerialAt = 1;
constexpr std::size_t kFanSerialSize = 13;
constexpr std::size_t kFanMajorAt = 14;
constexpr std::size_t kFanMinorAt = 15;
constexpr std::size_t kPowerNameSize = 12;

Bytes bytes_at(const MemoryBytes &memory, std::size_t at, std::size_t size) {
    Bytes bytes;
    for (std::size_t i = 0; i < size; ++i) {
        bytes.push_back(memory[(at + i) % kMemorySize]);
    }
    return bytes;
}

// A result and, where it is 0, what was delivered, with the terminator of a text.
template <typename Ask>
Answer ask_legacy(std::size_t room, bool is_terminated, Ask call) {
    Bytes buffer(room);
    int length = 0;
    const int result = call(buffer.data(), &length);
    if (result == 0) {
        buffer.resize(static_cast<std::size_t>(length) + (is_terminated ? 1 : 0));
    }
    return {result, result == 0 ? buffer : Bytes()};
}

Answer ask_fan(std::uint32_t type) {
    return ask_legacy(kFanSerialSize, type == E2PROM_INFO_HW_VER, [=](void *buffer, int *length) {
        return sdd_get_e2prom_legacy_info_by_type(kBus, type, kAddr, buffer, length);
    });
}

Answer ask_power(std::uint32_t type, int offset) {
    return ask_legacy(kPowerNameSize, type == E2PROM_INFO_HW_VER, [=](void *buffer, int *length) {
        return sdd_get_e2prom_legacy_power_info_by_type(kBus, type, kAddr, offset, buffer, length);
    });
}

Bytes terminated(const std::string &text) {
    return Bytes(text.c_str(), text.c_str() + text.size() + 1);
}

std::string hex(unsigned number) {
    constexpr char kDigits[] = "0123456789abcdef";
    return (number < 16 ? "" : std::string(1, kDigits[number / 16])) + kDigits[number % 16];
}

// 01 32 is "V1.23".
Bytes fan_version(const MemoryBytes &memory) {
    const unsigned minor = memory[kFanMinorAt];
    return terminated("V" + hex(memory[kFanMajorAt]) + "." + hex(minor % 16) + hex(minor / 16));
}

void check_fan(const MemoryBytes &image) {
    const std::uint32_t type = image[0];
    Bytes number(sizeof type);
    std::memcpy(number.data(), &type, sizeof type);
    demand(ask_fan(E2PROM_INFO_DEV_TYPE) == Answer{0, number}, "fan type");
    demand(ask_fan(E2PROM_INFO_SN) == Answer{0, bytes_at(image, kFanSerialAt, kFanSerialSize)},
           "fan serial number");
    demand(ask_fan(E2PROM_INFO_HW_VER) == Answer{0, fan_version(image)}, "fan version");
    demand(ask_fan(E2PROM_INFO_NAME).result == -1, "a fan of this layout has no name");
}

void check_power(const MemoryBytes &image, int offset) {
    const auto at = static_cast<std::size_t>(offset);
    demand(ask_power(E2PROM_INFO_NAME, offset) == Answer{0, bytes_at(image, at, kPowerNameSize)},
           "name of a supply");
    const Bytes digits = bytes_at(image, at, 3);
    demand(ask_power(E2PROM_INFO_HW_VER, offset) ==
               Answer{0, {digits[0], '.', digits[1], digits[2], 0}},
           "version of a supply");
}

// Board type by the table of the layout; nothing for another layout.
std::optional<int> board_type(const MemoryBytes &image) {
    constexpr std::uint8_t kChassisCard = 0x9C;
    constexpr std::uint8_t kFabricCard = 0x9E;
    const int type = image[3];
    const int sub_type = image[64];
    if (image[0] == 2) {
        return type + image[7] + 47;
    }
    if (image[0] != 1) {
        return std::nullopt;
    }
    if (type == kFabricCard) {
        return 42;
    }
    if (type == kChassisCard) {
        return sub_type == 17 ? 14 : sub_type == 1 ? 15 : 41;
    }
    return sub_type == 1 ? type - 100 : type - 80;
}

bool is_version(const std::string &text) {
    return text.size() == 4 && text[1] == '.';
}

bool is_hex_version(const std::string &text) {
    return std::isxdigit(static_cast<unsigned char>(text[0])) != 0 &&
           std::isxdigit(static_cast<unsigned char>(text[2])) != 0 &&
           std::isxdigit(static_cast<unsigned char>(text[3])) != 0;
}

void check_fan_update(const MemoryBytes &image, const std::uint32_t *type, const std::string &sn,
                      const std::string &hw) {
    Memory memory(image);
    const int result = dfd_set_fan_info_legacy(kBus, kAddr, type, sn.c_str(), hw.c_str());
    const bool is_refused =
        (!sn.empty() && sn.size() != kFanSerialSize) || (!hw.empty() && !is_version(hw));
    demand(result == (is_refused ? -1 : 0), "an update of a fan does not report what it did");
    if (is_refused || (sn.empty() && hw.empty())) {
        demand(memory.bytes() == image, "an update of nothing wrote");
        return;
    }
    MemoryBytes expected = image;
    if (type != nullptr) {
        expected[0] = static_cast<std::uint8_t>(*type);
    }
    std::copy(sn.begin(), sn.end(), expected.begin() + kFanSerialAt);
    if (!hw.empty()) {
        expected[kFanMajorAt] = memory.bytes()[kFanMajorAt];
        expected[kFanMinorAt] = memory.bytes()[kFanMinorAt];
        std::string shown = "V";
        for (const char letter : hw) {
            shown += static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
        }
        demand(!is_hex_version(hw) || fan_version(memory.bytes()) == terminated(shown),
               "a version is not stored");
    }
    demand(memory.bytes() == expected, "an update of a fan changed something else");
}

void check_power_update(const MemoryBytes &image, int offset, const std::string &hw) {
    Memory memory(image);
    const int result = dfd_set_power_info_legacy(kBus, kAddr, offset, hw.c_str());
    demand(result == (hw.empty() || is_version(hw) ? 0 : -1),
           "an update of a supply does not report what it did");
    MemoryBytes expected = image;
    if (is_version(hw)) {
        const std::string digits = {hw[0], hw[2], hw[3]};
        for (std::size_t i = 0; i < digits.size(); ++i) {
            expected[(static_cast<std::size_t>(offset) + i) % kMemorySize] =
                static_cast<std::uint8_t>(digits[i]);
        }
    }
    demand(memory.bytes() == expected, "an update of a supply changed something else");
}

}  // namespace

// Parameters: offset of a supply's field; new type of a fan, 0 for none; serial number; version;
// image.
void legacy(Input input) {
    Parameters parameters(input);
    const int offset = parameters.byte();
    const std::uint32_t type = parameters.byte() * 0x101U;
    const std::string sn = parameters.text();
    const std::string hw = parameters.text();
    const MemoryBytes image = memory_bytes(parameters.rest());
    {
        const Memory memory(image);
        check_fan(image);
        check_power(image, offset);
        demand(dfd_my_type_from_e2() == board_type(image).value_or(-1), "type of a board");
        demand(memory.bytes() == image, "reading wrote");
    }
    check_fan_update(image, type != 0 ? &type : nullptr, sn, hw);
    check_power_update(image, offset, hw);
}

}  // namespace dfd_fuzz
