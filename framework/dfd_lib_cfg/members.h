// SPDX-License-Identifier: MIT
// Members of the record kinds: name, place in the record, how the value is read.
#pragma once

#include <dfd/records.h>

#include <cstddef>

#include "framework/dfd_lib_cfg/key_table.h"
#include "framework/text.h"

namespace dfd {

enum class Field { number, word, text, irq_type };

// Where a member lies in its record and how its value is read.
struct MemberRow {
    std::size_t offset;
    std::size_t size;
    Field field;
    Words words;
};

// The message of a member that a kind does not have; kinds without a func are silent.
struct UnknownMember {
    const char *func;
    const char *noun;
};

struct MemberKind {
    const char *noun;  // what messages call the kind
    Words names;
    Words log_names;  // what messages call the members
    std::span<const MemberRow> rows;
    std::size_t record_size;
    const char *add_func;  // the Func field of messages about storing
    UnknownMember unknown = {};
    bool shows_numbers = false;  // in messages, instead of the texts that they came from
};

#define DFD_MEMBER_(record, member, field, words) \
    { offsetof(record, member), sizeof(record::member), field, words }
#define DFD_NUMBER_(record, member) DFD_MEMBER_(record, member, Field::number, {})
#define DFD_WORD_(record, member, words) DFD_MEMBER_(record, member, Field::word, words)
#define DFD_TEXT_(record, member) DFD_MEMBER_(record, member, Field::text, {})

inline constexpr MemberRow kI2cDevRows[] = {DFD_NUMBER_(i2c_dev_t, bus),
                                            DFD_NUMBER_(i2c_dev_t, addr)};
inline constexpr MemberRow kInfoCtrlRows[] = {
    DFD_WORD_(info_ctrl_t, mode, info_ctrl_mode_str),
    DFD_NUMBER_(info_ctrl_t, int_cons),
    DFD_WORD_(info_ctrl_t, src, info_src_str),
    DFD_WORD_(info_ctrl_t, frmt, info_frmt_str),
    DFD_WORD_(info_ctrl_t, pola, info_pola_str),
    DFD_TEXT_(info_ctrl_t, fpath),
    DFD_NUMBER_(info_ctrl_t, addr),
    DFD_NUMBER_(info_ctrl_t, reg_offset),
    DFD_NUMBER_(info_ctrl_t, len),
    DFD_NUMBER_(info_ctrl_t, bit_offset),
};
inline constexpr MemberRow kLedInfoRows[] = {
    DFD_NUMBER_(led_info_t, dark),         DFD_NUMBER_(led_info_t, green),
    DFD_NUMBER_(led_info_t, red),          DFD_NUMBER_(led_info_t, yellow),
    DFD_NUMBER_(led_info_t, spark),        DFD_NUMBER_(led_info_t, fspark_open),
    DFD_NUMBER_(led_info_t, fspark_close),
};
inline constexpr MemberRow kTempInfoRows[] = {DFD_TEXT_(temp_info_t, temp_name),
                                              DFD_WORD_(temp_info_t, type, temp_info_type_str)};
inline constexpr MemberRow kIrqCtrlRows[] = {DFD_NUMBER_(irq_ctrl_t, irq_flag),
                                             DFD_NUMBER_(irq_ctrl_t, irq_clr_flag),
                                             DFD_NUMBER_(irq_ctrl_t, irq_clr_bit)};
inline constexpr MemberRow kIrqInfoRows[] = {
    DFD_MEMBER_(irq_info_t, type, Field::irq_type, {}), DFD_NUMBER_(irq_info_t, val0),
    DFD_NUMBER_(irq_info_t, val1), DFD_NUMBER_(irq_info_t, val2)};

inline constexpr MemberKind kI2cDev = {"i2c_dev",
                                       dfd_i2c_dev_mem_str,
                                       dfd_i2c_dev_mem_str,
                                       kI2cDevRows,
                                       sizeof(i2c_dev_t),
                                       "dfd_lib_cfg_add_i2c_dev_item",
                                       {"dfd_lib_cfg_get_i2c_dev_member", "i2c dev"},
                                       true};
// Messages call the other five kinds info_ctrl: log filters rely on it.
inline constexpr char kMemberNoun[] = "info_ctrl";
inline constexpr MemberKind kInfoCtrl = {kMemberNoun,
                                         info_ctrl_mem_str,
                                         info_ctrl_mem_str,
                                         kInfoCtrlRows,
                                         sizeof(info_ctrl_t),
                                         "dfd_lib_cfg_add_info_ctrl_item",
                                         {"dfd_lib_cfg_get_info_ctrl_member", "info ctrl"}};
inline constexpr MemberKind kLedInfo = {kMemberNoun,        led_info_mem_str,
                                        led_info_mem_str,   kLedInfoRows,
                                        sizeof(led_info_t), "dfd_lib_cfg_add_led_info_item"};
inline constexpr MemberKind kTempInfo = {kMemberNoun,         temp_info_mem_str,
                                         temp_info_mem_str,   kTempInfoRows,
                                         sizeof(temp_info_t), "dfd_lib_cfg_add_temp_info_item"};
// Messages give interrupt members the info_ctrl names of the same positions: log filters rely on
// it.
inline constexpr MemberKind kIrqCtrl = {kMemberNoun,        irq_ctrl_mem_str,
                                        info_ctrl_mem_str,  kIrqCtrlRows,
                                        sizeof(irq_ctrl_t), "dfd_lib_cfg_add_irq_ctrl_item"};
inline constexpr MemberKind kIrqInfo = {kMemberNoun,        irq_info_mem_str,
                                        info_ctrl_mem_str,  kIrqInfoRows,
                                        sizeof(irq_info_t), "dfd_lib_cfg_add_irq_info_item"};

#undef DFD_MEMBER_
#undef DFD_NUMBER_
#undef DFD_WORD_
#undef DFD_TEXT_

// Null for kinds without members.
constexpr const MemberKind *member_kind(Kind kind) {
    switch (kind) {
        case Kind::i2c_dev:
            return &kI2cDev;
        case Kind::info_ctrl:
            return &kInfoCtrl;
        case Kind::irq_ctrl:
            return &kIrqCtrl;
        case Kind::irq_info:
            return &kIrqInfo;
        case Kind::led_info:
            return &kLedInfo;
        case Kind::temp_info:
            return &kTempInfo;
        case Kind::none:
        case Kind::integer:
        case Kind::string:
            break;
    }
    return nullptr;
}

}  // namespace dfd
