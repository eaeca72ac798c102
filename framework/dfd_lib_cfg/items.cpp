// SPDX-License-Identifier: MIT
#include "framework/dfd_lib_cfg/items.h"

#include <cstddef>
#include <cstdlib>

#include "framework/dfd_lib_cfg/lookup.h"
#include "framework/dfd_lib_cfg/module.h"

namespace {

using dfd::Words;

enum class Field { number, word, text, irq_type };

// Where a member lies in its record and how its value is read.
struct MemberRow {
    std::size_t offset;
    std::size_t size;
    Field field;
    Words words;
};

struct MemberKind {
    const char *noun;  // what messages call the kind
    Words names;
    Words log_names;  // what messages call the members
    std::span<const MemberRow> rows;
    std::size_t record_size;
};

#define MEMBER(record, member, field, words) \
    { offsetof(record, member), sizeof(record::member), field, words }
#define NUMBER(record, member) MEMBER(record, member, Field::number, {})
#define WORD(record, member, words) MEMBER(record, member, Field::word, words)
#define TEXT(record, member) MEMBER(record, member, Field::text, {})

constexpr MemberRow kI2cDevRows[] = {NUMBER(i2c_dev_t, bus), NUMBER(i2c_dev_t, addr)};
constexpr MemberRow kInfoCtrlRows[] = {
    WORD(info_ctrl_t, mode, info_ctrl_mode_str),
    NUMBER(info_ctrl_t, int_cons),
    WORD(info_ctrl_t, src, info_src_str),
    WORD(info_ctrl_t, frmt, info_frmt_str),
    WORD(info_ctrl_t, pola, info_pola_str),
    TEXT(info_ctrl_t, fpath),
    NUMBER(info_ctrl_t, addr),
    NUMBER(info_ctrl_t, reg_offset),
    NUMBER(info_ctrl_t, len),
    NUMBER(info_ctrl_t, bit_offset),
};
constexpr MemberRow kLedInfoRows[] = {
    NUMBER(led_info_t, dark),         NUMBER(led_info_t, green), NUMBER(led_info_t, red),
    NUMBER(led_info_t, yellow),       NUMBER(led_info_t, spark), NUMBER(led_info_t, fspark_open),
    NUMBER(led_info_t, fspark_close),
};
constexpr MemberRow kTempInfoRows[] = {TEXT(temp_info_t, temp_name),
                                       WORD(temp_info_t, type, temp_info_type_str)};
constexpr MemberRow kIrqCtrlRows[] = {NUMBER(irq_ctrl_t, irq_flag),
                                      NUMBER(irq_ctrl_t, irq_clr_flag),
                                      NUMBER(irq_ctrl_t, irq_clr_bit)};
constexpr MemberRow kIrqInfoRows[] = {MEMBER(irq_info_t, type, Field::irq_type, {}),
                                      NUMBER(irq_info_t, val0), NUMBER(irq_info_t, val1),
                                      NUMBER(irq_info_t, val2)};

constexpr MemberKind kI2cDev = {"i2c_dev", dfd_i2c_dev_mem_str, dfd_i2c_dev_mem_str, kI2cDevRows,
                                sizeof(i2c_dev_t)};
// The other five all go by the name of the first: log filters rely on it.
constexpr char kNoun[] = "info_ctrl";
constexpr MemberKind kInfoCtrl = {kNoun, info_ctrl_mem_str, info_ctrl_mem_str, kInfoCtrlRows,
                                  sizeof(info_ctrl_t)};
constexpr MemberKind kLedInfo = {kNoun, led_info_mem_str, led_info_mem_str, kLedInfoRows,
                                 sizeof(led_info_t)};
constexpr MemberKind kTempInfo = {kNoun, temp_info_mem_str, temp_info_mem_str, kTempInfoRows,
                                  sizeof(temp_info_t)};
// Log readers know the interrupt members by the info_ctrl names at the same positions.
constexpr MemberKind kIrqCtrl = {kNoun, irq_ctrl_mem_str, info_ctrl_mem_str, kIrqCtrlRows,
                                 sizeof(irq_ctrl_t)};
constexpr MemberKind kIrqInfo = {kNoun, irq_info_mem_str, info_ctrl_mem_str, kIrqInfoRows,
                                 sizeof(irq_info_t)};

// A member keeps at most size - 1 characters; longer values are cut, not refused.
void set_text(char *field, std::size_t size, const char *value) {
    std::memset(field, 0, size);
    std::memcpy(field, value, strnlen(value, size - 1));
}

uint32_t member_value(const MemberRow &row, const char *value, int line) {
    if (row.field == Field::word) {
        const int word = dfd::find_word(row.words, value);
        return word == dfd::kNoWord ? 0 : static_cast<uint32_t>(word);
    }
    if (row.field == Field::irq_type) {
        return dfd::find_irq_type(value);
    }
    uint32_t number = 0;
    dfd_lib_cfg_get_value_from_char(value, &number, line);
    return number;
}

void set_member(void *record, const MemberRow &row, const char *value, int line) {
    char *const field = static_cast<char *>(record) + row.offset;
    if (row.field == Field::text) {
        set_text(field, row.size, value);
        return;
    }
    const uint32_t number = member_value(row, value, line);
    std::memcpy(field, &number, sizeof number);
}

// Hands a new record to the store, which then owns it; frees it when the store refuses.
int insert(uint32_t key, void *record) {
    const int rv = btree_insert_node(&g_item_root, key, record);
    if (rv != DFD_OK) {
        std::free(record);
    }
    return rv;
}

// `shown` is the value as messages print it.
int add_member_item(const char *func, const MemberKind &kind, uint32_t key, int member,
                    const char *value, const char *shown, int line) {
    const auto index = static_cast<std::size_t>(member);
    const char *const name = kind.log_names[index];
    if (void *const found = btree_find_node(&g_item_root, key)) {
        set_member(found, kind.rows[index], value, line);
        LOG_VBOSE_IN(func, "line%d: replace %s item[%s=%s], key=0x%08x\r\n", line, kind.noun, name,
                     shown, key);
        return DFD_OK;
    }
    void *const record = std::calloc(1, kind.record_size);
    if (record == nullptr) {
        LOG_ERR_IN(func, "line%d: malloc %s fail\r\n", line, kind.noun);
        return DFD_ERR;
    }
    set_member(record, kind.rows[index], value, line);
    if (const int rv = insert(key, record); rv != DFD_OK) {
        LOG_ERR_IN(func, "line%d: add %s item[%s=%s] fail, key=0x%08x rv=%d\r\n", line, kind.noun,
                   name, shown, key, rv);
        return DFD_ERR;
    }
    LOG_VBOSE_IN(func, "line%d: add %s item[%s=%s] success, key=0x%08x\r\n", line, kind.noun, name,
                 shown, key);
    return DFD_OK;
}

int get_member(const MemberKind &kind, const char *text, int *member) {
    const int found = dfd::find_word(kind.names, text);
    if (found == dfd::kNoWord) {
        return DFD_ERR;
    }
    *member = found;
    return DFD_OK;
}

}  // namespace

int dfd_lib_cfg_add_int_item(uint32_t key, const char *value, int line) {
    uint32_t number = 0;
    dfd_lib_cfg_get_value_from_char(value, &number, line);
    const auto integer = static_cast<int>(number);
    if (auto *const found = static_cast<int *>(btree_find_node(&g_item_root, key))) {
        LOG_WARN("line%d: replace int item[%d->%d], key=0x%08x\r\n", line, *found, integer, key);
        *found = integer;
        return DFD_OK;
    }
    auto *const record = static_cast<int *>(std::malloc(sizeof(int)));
    if (record == nullptr) {
        LOG_ERR("line%d: malloc int fail\r\n", line);
        return DFD_ERR;
    }
    *record = integer;
    if (const int rv = insert(key, record); rv != DFD_OK) {
        LOG_ERR("line%d: add int item[%d] fail, key=0x%08x rv=%d \r\n", line, integer, key, rv);
        return DFD_ERR;
    }
    LOG_VBOSE("line%d: add int item[%d] success, key=0x%08x\r\n", line, integer, key);
    return DFD_OK;
}

int dfd_lib_cfg_add_str_item(uint32_t key, const char *value, int line) {
    const std::size_t length = std::strlen(value);
    if (length >= DFD_STRING_SIZE) {
        LOG_ERR("line%d: string item[%s] is too long \r\n", line, value);
        return DFD_ERR;
    }
    if (auto *const found = static_cast<char *>(btree_find_node(&g_item_root, key))) {
        LOG_WARN("line%d: replace string item[%s->%s], key=0x%08x\r\n", line, found, value, key);
        set_text(found, DFD_STRING_SIZE, value);
        return DFD_OK;
    }
    auto *const record = static_cast<char *>(std::malloc(DFD_STRING_SIZE));
    if (record == nullptr) {
        LOG_ERR("line%d: malloc str[%d] fail\r\n", line, static_cast<int>(length));
        return DFD_ERR;
    }
    set_text(record, DFD_STRING_SIZE, value);
    if (const int rv = insert(key, record); rv != DFD_OK) {
        LOG_ERR("line%d: add string item[%s] fail, key=0x%08x rv=%d \r\n", line, value, key, rv);
        return DFD_ERR;
    }
    LOG_VBOSE("line%d: add string item[%s] success, key=0x%08x\r\n", line, value, key);
    return DFD_OK;
}

int dfd_lib_cfg_add_i2c_dev_item(uint32_t key, int member, const char *value, int line) {
    char number[16];
    std::snprintf(number, sizeof number, "%d",
                  *value != '\0' ? static_cast<int>(dfd::number_from_text(value)) : -1);
    return add_member_item(__func__, kI2cDev, key, member, value, number, line);
}

int dfd_lib_cfg_add_info_ctrl_item(uint32_t key, int member, const char *value, int line) {
    return add_member_item(__func__, kInfoCtrl, key, member, value, value, line);
}

int dfd_lib_cfg_add_led_info_item(uint32_t key, int member, const char *value, int line) {
    return add_member_item(__func__, kLedInfo, key, member, value, value, line);
}

int dfd_lib_cfg_add_temp_info_item(uint32_t key, int member, const char *value, int line) {
    return add_member_item(__func__, kTempInfo, key, member, value, value, line);
}

int dfd_lib_cfg_add_irq_ctrl_item(uint32_t key, int member, const char *value, int line) {
    return add_member_item(__func__, kIrqCtrl, key, member, value, value, line);
}

int dfd_lib_cfg_add_irq_info_item(uint32_t key, int member, const char *value, int line) {
    return add_member_item(__func__, kIrqInfo, key, member, value, value, line);
}

int dfd_lib_cfg_get_i2c_dev_member(const char *text, int *member, int line) {
    const int rv = get_member(kI2cDev, text, member);
    if (rv != DFD_OK) {
        LOG_ERR("line%d: i2c dev member[%s] invalid\r\n", line, text);
    }
    return rv;
}

int dfd_lib_cfg_get_info_ctrl_member(const char *text, int *member, int line) {
    const int rv = get_member(kInfoCtrl, text, member);
    if (rv != DFD_OK) {
        LOG_ERR("line%d: info ctrl member[%s] invalid\r\n", line, text);
    }
    return rv;
}

int dfd_lib_cfg_get_led_info_member(const char *text, int *member, int /*line*/) {
    return get_member(kLedInfo, text, member);
}

int dfd_lib_cfg_get_temp_info_member(const char *text, int *member, int /*line*/) {
    return get_member(kTempInfo, text, member);
}

int dfd_lib_cfg_get_irq_ctrl_member(const char *text, int *member, int /*line*/) {
    return get_member(kIrqCtrl, text, member);
}

int dfd_lib_cfg_get_irq_info_member(const char *text, int *member, int /*line*/) {
    return get_member(kIrqInfo, text, member);
}
