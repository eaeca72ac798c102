// SPDX-License-Identifier: MIT
#include "framework/dfd_lib_cfg/items.h"

#include <cstdlib>
#include <cstring>

#include "framework/dfd_lib_cfg/lookup.h"
#include "framework/dfd_lib_cfg/module.h"

namespace {

using dfd::Field;
using dfd::MemberKind;
using dfd::MemberRow;

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

void *find(dfd::LastRecord *last, uint32_t key) {
    if (last->record == nullptr || last->key != key) {
        *last = {key, btree_find_node(&g_item_root, key)};
    }
    return last->record;
}

// Hands a new record to the store, which then owns it; frees it when the store refuses.
int insert(dfd::LastRecord *last, uint32_t key, void *record) {
    const int rv = btree_insert_node(&g_item_root, key, record);
    if (rv == DFD_OK) {
        *last = {key, record};
    } else {
        std::free(record);
    }
    return rv;
}

using NumberText = char[16];

// The value as messages print it.
const char *shown_value(const MemberKind &kind, const char *value, NumberText &number) {
    if (!kind.shows_numbers) {
        return value;
    }
    std::snprintf(number, sizeof number, "%d",
                  *value != '\0' ? static_cast<int>(dfd::number_from_text(value)) : -1);
    return number;
}

}  // namespace

int dfd_lib_cfg_add_int_item(dfd::LastRecord *last, uint32_t key, const char *value, int line) {
    uint32_t number = 0;
    dfd_lib_cfg_get_value_from_char(value, &number, line);
    const auto integer = static_cast<int>(number);
    if (auto *const found = static_cast<int *>(find(last, key))) {
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
    if (const int rv = insert(last, key, record); rv != DFD_OK) {
        LOG_ERR("line%d: add int item[%d] fail, key=0x%08x rv=%d \r\n", line, integer, key, rv);
        return DFD_ERR;
    }
    LOG_VBOSE("line%d: add int item[%d] success, key=0x%08x\r\n", line, integer, key);
    return DFD_OK;
}

int dfd_lib_cfg_add_str_item(dfd::LastRecord *last, uint32_t key, const char *value, int line) {
    const std::size_t length = std::strlen(value);
    if (length >= DFD_STRING_SIZE) {
        LOG_ERR("line%d: string item[%s] is too long \r\n", line, value);
        return DFD_ERR;
    }
    if (auto *const found = static_cast<char *>(find(last, key))) {
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
    if (const int rv = insert(last, key, record); rv != DFD_OK) {
        LOG_ERR("line%d: add string item[%s] fail, key=0x%08x rv=%d \r\n", line, value, key, rv);
        return DFD_ERR;
    }
    LOG_VBOSE("line%d: add string item[%s] success, key=0x%08x\r\n", line, value, key);
    return DFD_OK;
}

int dfd::add_member_item(LastRecord *last, const MemberKind &kind, uint32_t key, int member,
                         const char *value, int line) {
    NumberText number;
    const char *const func = kind.add_func;
    const auto index = static_cast<std::size_t>(member);
    const char *const name = kind.log_names[index];
    if (void *const found = find(last, key)) {
        set_member(found, kind.rows[index], value, line);
        LOG_VBOSE_IN(func, "line%d: replace %s item[%s=%s], key=0x%08x\r\n", line, kind.noun, name,
                     shown_value(kind, value, number), key);
        return DFD_OK;
    }
    void *const record = std::calloc(1, kind.record_size);
    if (record == nullptr) {
        LOG_ERR_IN(func, "line%d: malloc %s fail\r\n", line, kind.noun);
        return DFD_ERR;
    }
    set_member(record, kind.rows[index], value, line);
    if (const int rv = insert(last, key, record); rv != DFD_OK) {
        LOG_ERR_IN(func, "line%d: add %s item[%s=%s] fail, key=0x%08x rv=%d\r\n", line, kind.noun,
                   name, shown_value(kind, value, number), key, rv);
        return DFD_ERR;
    }
    LOG_VBOSE_IN(func, "line%d: add %s item[%s=%s] success, key=0x%08x\r\n", line, kind.noun, name,
                 shown_value(kind, value, number), key);
    return DFD_OK;
}

int dfd::get_member(const MemberKind &kind, const char *text, int *member, int line) {
    const int found = dfd::find_word(kind.names, text);
    if (found == dfd::kNoWord) {
        if (kind.unknown.func != nullptr) {
            LOG_ERR_IN(kind.unknown.func, "line%d: %s member[%s] invalid\r\n", line,
                       kind.unknown.noun, text);
        }
        return DFD_ERR;
    }
    *member = found;
    return DFD_OK;
}
