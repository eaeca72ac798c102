// SPDX-License-Identifier: MIT
#include "dfdctl/board/register_bits.hpp"

#include <dfd/access.h>
#include <dfd/records.h>

#include "dfdctl/board/read_pass.hpp"
#include "framework/dfd_info/bits.h"

namespace dfdctl {

Reading read_byte(const info_ctrl_t &record) {
    return with_cause([&record] {
        std::uint8_t byte = 0;
        const int count =
            dfd_read_info(record.src, record.fpath, static_cast<std::uint16_t>(record.addr),
                          record.reg_offset, 1, &byte);
        return count > 0 ? Reading{.value = std::int64_t{byte}} : engine_failure(DFD_ERR_IO);
    });
}

std::uint8_t bits_of(const info_ctrl_t &record) {
    if (record.frmt != INFO_FRMT_BIT) {
        return dfd::kWholeByte;
    }
    const bool is_possible = record.bit_offset < dfd::kBitsPerByte;
    return is_possible ? dfd::field_mask(record.bit_offset, record.len) : std::uint8_t{0};
}

std::uint8_t byte_written(const info_ctrl_t &record, std::uint32_t value) {
    if (record.frmt != INFO_FRMT_BIT || record.bit_offset >= dfd::kBitsPerByte) {
        return static_cast<std::uint8_t>(value);
    }
    return dfd::place_field(value, record.bit_offset, record.pola == INFO_POLA_NEGATIVE);
}

bool is_written_whole(const info_ctrl_t &record) {
    return record.src == INFO_SRC_I2C || bits_of(record) == dfd::kWholeByte;
}

bool is_same_register(const Item &one, const Item &other) {
    const auto *a = record_of<info_ctrl_t>(one);
    const auto *b = record_of<info_ctrl_t>(other);
    return a != nullptr && b != nullptr && a->src == b->src && a->addr == b->addr &&
           a->reg_offset == b->reg_offset && std::string_view(a->fpath) == b->fpath;
}

int write_byte(const info_ctrl_t &record, std::uint8_t byte) {
    return dfd_write_info(record.src, record.fpath, static_cast<std::uint16_t>(record.addr),
                          record.reg_offset, 1, &byte, bits_of(record));
}

}  // namespace dfdctl
