// SPDX-License-Identifier: MIT
#include "fuzz/layouts.h"

#include <dfd/inventory.h>

#include <cstring>
#include <numeric>

namespace dfd_fuzz {

namespace {

constexpr std::uint8_t kTlvFlag = 0x7E;
constexpr std::size_t kTlvMinLength = 3;
constexpr std::size_t kTlvMaxLength = 244;
constexpr std::uint8_t kTypeInEntry = 0xF1;
constexpr std::size_t kMaxMessage = 8192;

Answer number_answer(std::uint32_t number, std::size_t capacity) {
    Bytes bytes(sizeof number);
    if (capacity < bytes.size()) {
        return {-1};
    }
    std::memcpy(bytes.data(), &number, sizeof number);
    return {0, bytes};
}

std::size_t number_at(const MemoryBytes &memory, std::size_t at) {
    return static_cast<std::size_t>(memory[at]) << 8 | memory[at + 1];
}

std::size_t tlv_header(const MemoryBytes &memory) {
    return memory[0] == 1 ? 6 : 10;
}

std::size_t sum_up_to(const MemoryBytes &memory, std::size_t end) {
    return std::accumulate(memory.begin(), memory.begin() + static_cast<std::ptrdiff_t>(end),
                           std::size_t{0});
}

// The value of the first entry of the type that fits.
Answer entry_answer(const TlvImage &image, std::uint32_t type, std::size_t capacity) {
    if (image.length == 0) {
        return {DFD_ERR_PARAM};
    }
    for (const TlvEntry &entry : image.entries) {
        if (entry.type != type || entry.value.size() > capacity) {
            continue;
        }
        if (type != E2PROM_INFO_DEV_TYPE) {
            return {0, entry.value};
        }
        if (entry.value.size() == sizeof(std::uint32_t)) {
            return number_answer(std::accumulate(entry.value.begin(), entry.value.end(), 0U,
                                                 [](unsigned number, unsigned byte) {
                                                     return number * 0x100 + byte;
                                                 }),
                                 capacity);
        }
    }
    return {-1};
}

void put_tlv_sum(MemoryBytes &memory, std::size_t end) {
    const std::size_t sum = sum_up_to(memory, end);
    memory[end] = static_cast<std::uint8_t>(sum / 0x100);
    memory[end + 1] = static_cast<std::uint8_t>(sum % 0x100);
}

constexpr std::size_t kFruBlock = 8;

std::size_t fru_area_at(const MemoryBytes &memory) {
    return memory[4] * kFruBlock;
}

std::uint8_t fru_sum(Input bytes) {
    return static_cast<std::uint8_t>(std::accumulate(bytes.begin(), bytes.end(), 0U));
}

}  // namespace

TlvImage read_tlv(const MemoryBytes &memory) {
    TlvImage image;
    image.entries_at = tlv_header(memory);
    image.length = number_at(memory, image.entries_at - 2);
    if (memory[0] != 2) {
        const bool is_long_enough = image.length >= kTlvMinLength && image.length <= kTlvMaxLength;
        if (memory[1] != kTlvFlag || !is_long_enough ||
            number_at(memory, image.end()) != sum_up_to(memory, image.end())) {
            return image;
        }
    }
    image.is_accepted = true;
    // A chip goes on at its beginning behind the last byte; a bus refuses what is longer than a
    // message.
    const auto byte = [&](std::size_t at) { return memory[(image.entries_at + at) % kMemorySize]; };
    for (std::size_t at = 0; image.length <= kMaxMessage && at + 2 <= image.length;) {
        const std::size_t size = byte(at + 1);
        if (at + 2 + size > image.length) {
            break;
        }
        TlvEntry entry{image.entries_at + at + 2, byte(at), {}};
        for (std::size_t i = 0; i < size; ++i) {
            entry.value.push_back(byte(at + 2 + i));
        }
        image.entries.push_back(entry);
        at += 2 + size;
    }
    return image;
}

Answer tlv_answer(const MemoryBytes &memory, std::uint32_t type, std::size_t capacity) {
    const TlvImage image = read_tlv(memory);
    if (!image.is_accepted) {
        return {-1};
    }
    if (type == E2PROM_INFO_DEV_TYPE && memory[3] != kTypeInEntry) {
        return number_answer(memory[3], capacity);
    }
    Answer answer = entry_answer(image, type, capacity);
    if (answer.result != 0 && type == E2PROM_INFO_HW_VER) {
        const std::string version =
            std::to_string(memory[2] / 16) + "." + std::to_string(memory[2] % 16) + "0";
        if (version.size() <= capacity) {
            return {0, Bytes(version.begin(), version.end())};
        }
    }
    return answer;
}

std::optional<MemoryBytes> tlv_updated(const MemoryBytes &memory, const std::string &sn,
                                       const std::string &hw) {
    const TlvImage image = read_tlv(memory);
    if (!image.is_accepted || image.end() + 2 > kMemorySize) {
        return std::nullopt;
    }
    MemoryBytes updated = memory;
    for (const TlvEntry &entry : image.entries) {
        const bool is_serial = entry.type == E2PROM_INFO_SN;
        const std::string &text = is_serial ? sn : hw;
        if ((is_serial || entry.type == E2PROM_INFO_HW_VER) && !text.empty() &&
            text.size() < entry.value.size()) {
            std::copy_n(text.c_str(), text.size() + 1,
                        updated.begin() + static_cast<std::ptrdiff_t>(entry.at));
        }
    }
    put_tlv_sum(updated, image.end());
    return updated;
}

void make_tlv_valid(MemoryBytes &memory) {
    memory[1] = kTlvFlag;
    const std::size_t header = tlv_header(memory);
    std::size_t length = number_at(memory, header - 2);
    if (length < kTlvMinLength || length > kTlvMaxLength) {
        length = kTlvMinLength + length % (kTlvMaxLength - kTlvMinLength + 1);
        memory[header - 2] = 0;
        memory[header - 1] = static_cast<std::uint8_t>(length);
    }
    put_tlv_sum(memory, header + length);
}

void read_fru_fields(Input area, FruArea *out) {
    constexpr std::uint8_t kEndMark = 0xC1;
    constexpr std::size_t kFieldsAt = 3;
    for (std::size_t at = kFieldsAt; at < area.size();) {
        if (area[at] == kEndMark) {
            out->has_end = true;
            return;
        }
        const std::size_t size = area[at] & 0x3F;
        if (at + 1 + size > area.size()) {
            return;
        }
        const auto data = area.subspan(at + 1, size);
        out->fields.push_back(
            {static_cast<std::uint8_t>(area[at] >> 6), Bytes(data.begin(), data.end())});
        at += 1 + size;
    }
}

Bytes fru_area_bytes(const MemoryBytes &memory, std::size_t at) {
    Bytes bytes(memory[at + 1] * kFruBlock);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = memory[(at + i) % kMemorySize];
    }
    return bytes;
}

FruArea read_fru(const MemoryBytes &memory) {
    FruArea area;
    const Input all(memory);
    if (memory[0] != 1 || fru_sum(all.first(DFD_FRU_HEADER_SIZE)) != 0) {
        return area;
    }
    area.at = fru_area_at(memory);
    if (area.at >= kMemorySize) {
        return area;
    }
    area.size = memory[area.at + 1] * kFruBlock;
    if (area.size == 0) {
        return area;
    }
    const Bytes bytes = fru_area_bytes(memory, area.at);
    if (bytes[0] != 1 || fru_sum(bytes) != 0) {
        return area;
    }
    area.is_accepted = true;
    read_fru_fields(bytes, &area);
    return area;
}

Answer fru_answer(const FruArea &area, std::uint32_t type, std::size_t capacity) {
    std::size_t wanted = kFruName;
    switch (type) {
        case E2PROM_INFO_NAME:
        case E2PROM_INFO_DEV_TYPE:
            break;
        case E2PROM_INFO_SN:
            wanted = kFruSerial;
            break;
        case E2PROM_INFO_HW_VER:
            wanted = kFruVersion;
            break;
        default:
            return {-1};
    }
    if (!area.is_accepted) {
        return {-1};
    }
    Answer answer{0};
    if (wanted < area.fields.size()) {
        answer.bytes = area.fields[wanted].data;
        answer.bytes.resize(std::min(answer.bytes.size(), capacity));
    }
    return answer;
}

void repair_fru_sums(MemoryBytes &memory) {
    const auto repair = [&](std::size_t at, std::size_t size) {
        std::uint8_t &sum = memory[at + size - 1];
        sum = 0;
        sum = static_cast<std::uint8_t>(-fru_sum(Input(memory).subspan(at, size)));
    };
    repair(0, DFD_FRU_HEADER_SIZE);
    const std::size_t at = fru_area_at(memory);
    const std::size_t size = at < kMemorySize ? memory[at + 1] * kFruBlock : 0;
    // An area in the header would take the sum of that for its own.
    if (at >= DFD_FRU_HEADER_SIZE && size > 0 && at + size <= kMemorySize) {
        repair(at, size);
    }
}

void make_fru_valid(MemoryBytes &memory) {
    memory[0] = 1;
    const std::size_t at = fru_area_at(memory);
    if (at >= DFD_FRU_HEADER_SIZE && at < kMemorySize) {
        memory[at] = 1;
    }
    repair_fru_sums(memory);
}

UpdateCase::UpdateCase(Input input, void (*make_valid)(MemoryBytes &)) {
    Parameters parameters(input);
    const bool is_made_valid = parameters.byte() % 2 != 0;
    capacity = parameters.byte() + std::size_t{1};
    sn = parameters.text();
    hw = parameters.text();
    image = memory_bytes(parameters.rest());
    if (is_made_valid) {
        make_valid(image);
    }
}

}  // namespace dfd_fuzz
