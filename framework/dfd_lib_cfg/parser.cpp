// SPDX-License-Identifier: MIT
// Lines of name=value to items of the store.
#include <dfd/access.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "framework/btree.h"
#include "framework/dfd_lib_cfg/items.h"
#include "framework/dfd_lib_cfg/key_index.h"
#include "framework/dfd_lib_cfg/lookup.h"
#include "framework/dfd_lib_cfg/module.h"
#include "framework/item.h"
#include "framework/platform.h"
#include "framework/state.h"
#include "framework/watch.h"

DFD_STATE btree_root g_item_root;

namespace {

using Slot = std::atomic<const btree_entry *>;

// Entries that were asked for, by a hash of their keys: who monitors a board asks for the same
// items all the time, and the tree takes longer than all the rest of a request. Entries are never
// freed.
DFD_STATE Slot g_asked[512];

Slot &slot_of(uint32_t key) {
    // 2^32 over the golden ratio: neighbours lie apart. The upper bits depend on all of the key.
    constexpr uint32_t kSpread = 0x9E3779B1;
    return g_asked[(key * kSpread >> 23) % std::size(g_asked)];
}

}  // namespace

int dfd::init_items() {
    for (Slot &slot : g_asked) {
        slot.store(nullptr, std::memory_order_relaxed);
    }
    return btree_init_root(&g_item_root);
}

void *dfd_lib_cfg_get_item(uint32_t key) {
    Slot &slot = slot_of(key);
    const btree_entry *entry = slot.load(std::memory_order_acquire);
    if (entry == nullptr || entry->key != key) {
        entry = dfd::find_entry(g_item_root, key);
        if (entry != nullptr) {
            slot.store(entry, std::memory_order_release);
        }
    }
    void *const record = entry != nullptr ? entry->record : nullptr;
    DFD_WATCH(looked_up, key, record);
    return record;
}

int dfd_lib_cfg_get_value_from_char(const char *text, uint32_t *result, int line) {
    if (*text == '\0') {
        LOG_WARN("line%d: value str is empty\r\n", line);
        *result = UINT32_MAX;
    } else {
        *result = dfd::number_from_text(text);
    }
    return DFD_OK;
}

namespace {

// Longest line that is taken whole, terminator included.
constexpr int kLineSize = 256;

using dfd::Kind;

int dfd_lib_cfg_check_array_index(const dfd::KeyRow &row, uint32_t index1, const uint32_t *index2,
                                  int line) {
    const auto signed1 = static_cast<int>(index1);
    if (signed1 < 0 || signed1 > row.max_index1) {
        DFD_WATCH_STEP(index1_range);
        LOG_ERR("line%d: index1[%d] invalid, max=%d\r\n", line, signed1, row.max_index1);
        return DFD_ERR;
    }
    if (index2 == nullptr) {
        return DFD_OK;
    }
    const auto signed2 = static_cast<int>(*index2);
    if (signed2 < 0 || signed2 > row.max_index2) {
        DFD_WATCH_STEP(index2_range);
        LOG_ERR("line%d: index2[%d] invalid, max=%d\r\n", line, signed2, row.max_index2);
        return DFD_ERR;
    }
    return DFD_OK;
}

// Both messages say '-' where the separator is '_': their text is part of the interface.
int dfd_lib_cfg_analyse_index(const char *text, uint32_t *index1, uint32_t *index2, int line) {
    if (*text != '_') {
        DFD_WATCH_STEP(no_index1);
        LOG_ERR("line%d: no '-' between name and index1\r\n", line);
        return DFD_ERR;
    }
    dfd_lib_cfg_get_value_from_char(text + 1, index1, line);
    if (index2 == nullptr) {
        return DFD_OK;
    }
    const char *const second = std::strchr(text + 1, '_');
    if (second == nullptr) {
        DFD_WATCH_STEP(no_index2);
        LOG_ERR("line%d: no '-' between index1 and index2\r\n", line);
        return DFD_ERR;
    }
    dfd_lib_cfg_get_value_from_char(second + 1, index2, line);
    return DFD_OK;
}

// What the lines of one file leave for the next one.
struct Loading {
    const dfd::IndexedName *name = nullptr;
    dfd::LastRecord record;
};

struct Indexes {
    uint32_t first = 0;
    uint32_t second = 0;
};

int read_indexes(const dfd::KeyRow &row, const char *text, Indexes *indexes, int line) {
    if (row.max_index1 == dfd::kNoIndex) {
        return DFD_OK;
    }
    uint32_t *const second = row.max_index2 == dfd::kNoIndex ? nullptr : &indexes->second;
    if (dfd_lib_cfg_analyse_index(text, &indexes->first, second, line) != DFD_OK) {
        return DFD_ERR;
    }
    DFD_WATCH_LINE(index1, indexes->first);
    DFD_WATCH_LINE(index2, indexes->second);
    return dfd_lib_cfg_check_array_index(row, indexes->first, second, line);
}

// The conversion list that stored items of a type are added to; null for most types.
dfd_list_head_t *conversion_list(uint32_t type) {
    switch (type) {
        case DFD_KEY_FAN_SPEEDLVL_CONVERT:
            return &dfd_lib_cfg_fan_splvl_conv_lst;
        case DFD_KEY_CARD_PID_STR:
            return &dfd_lib_cfg_pid_str_conv_lst;
        case DFD_KEY_POWER_NAME:
            return &dfd_lib_cfg_power_name_conv_lst;
        case DFD_KEY_FAN_NAME:
            return &dfd_lib_cfg_fan_name_conv_lst;
        default:
            return nullptr;
    }
}

// Called after an item was stored, new or replaced. The entry of a replaced line stays in its list,
// and look-ups find it first. The lists keep the indexes whole, the key only their low bits.
void feed_conversion_list(uint32_t key, const Indexes &indexes) {
    dfd_list_head_t *const list = conversion_list(DFD_KEY_TYPE(key));
    if (list == nullptr) {
        return;
    }
    const void *const record = dfd_lib_cfg_get_item(key);
    if (dfd::kind_of_key(key) == Kind::string) {
        dfd_lib_cfg_regval_conv_lst_add(list, 0, static_cast<const char *>(record), indexes.first,
                                        indexes.second);
    } else {
        dfd_lib_cfg_regval_conv_lst_add(list, *static_cast<const uint32_t *>(record), nullptr,
                                        indexes.first, indexes.second);
    }
}

// int and string: the text behind the key name is the index part.
int store_plain(Loading *loading, const dfd::KeyRow &row, const char *rest, const char *value,
                int line) {
    Indexes indexes;
    if (read_indexes(row, rest, &indexes, line) != DFD_OK) {
        return DFD_ERR;
    }
    const uint32_t key = DFD_MAKE_KEY(row.type, indexes.first, indexes.second);
    DFD_WATCH_LINE(key, key);
    DFD_WATCH_STEP(not_stored);
    const int rv = row.kind == Kind::integer
                       ? dfd_lib_cfg_add_int_item(&loading->record, key, value, line)
                       : dfd_lib_cfg_add_str_item(&loading->record, key, value, line);
    if (rv == DFD_OK) {
        DFD_WATCH_STEP(stored);
        feed_conversion_list(key, indexes);
    }
    return rv;
}

constexpr int kIrqInfoType = 0;  // position of irq_info .type

// The text behind the key name is the member, then the index part.
int store_member(Loading *loading, const dfd::KeyRow &row, const dfd::MemberKind &kind,
                 const char *rest, const char *value, int line) {
    int member = 0;
    DFD_WATCH_STEP(unknown_member);
    if (dfd::get_member(kind, rest, &member, line) != DFD_OK) {
        return DFD_ERR;
    }
    DFD_WATCH_LINE(member, member);
    rest += std::strlen(kind.names[static_cast<std::size_t>(member)]);
    Indexes indexes;
    if (read_indexes(row, rest, &indexes, line) != DFD_OK) {
        return DFD_ERR;
    }
    const uint32_t key = DFD_MAKE_KEY(row.type, indexes.first, indexes.second);
    DFD_WATCH_LINE(key, key);
    DFD_WATCH_STEP(not_stored);
    const int rv = dfd::add_member_item(&loading->record, kind, key, member, value, line);
    if (rv == DFD_OK) {
        DFD_WATCH_STEP(stored);
    }
    if (rv == DFD_OK && row.kind == Kind::irq_info && member == kIrqInfoType) {
        const auto *const info = dfd::get_item<irq_info_t>(key);
        dfd_irq_set_type_distrib(info->type, static_cast<int>(indexes.first),
                                 static_cast<int>(indexes.second));
    }
    return rv;
}

// Stores the item of a line. -1 when the line is skipped; the message, if there is one, is already
// logged.
int dispatch_item(Loading *loading, const char *name, const char *value, int line) {
    loading->name = dfd::find_name(name, loading->name);
    const dfd::KeyRow *const row = loading->name != nullptr ? loading->name->row : nullptr;
    DFD_WATCH_LINE(row, row);
    if (row == nullptr) {
        DFD_WATCH_STEP(unknown_key);
        return DFD_OK;
    }
    const char *const rest = name + row->name.size();
    const Kind kind = row->kind;
    if (kind == Kind::integer || kind == Kind::string) {
        return store_plain(loading, *row, rest, value, line);
    }
    if (const dfd::MemberKind *const members = dfd::member_kind(kind)) {
        return store_member(loading, *row, *members, rest, value, line);
    }
    DFD_WATCH_STEP(refused_type);
    return DFD_ERR;
}

int dfd_lib_cfg_analyse_config_line(Loading *loading, char *text, int line) {
    dfd_lib_cfg_trim(text);
    if (*text == '\0') {
        LOG_VBOSE("line%d: space line\r\n", line);
        return DFD_OK;
    }
    if (*text == '#') {
        DFD_WATCH_STEP(comment);
        LOG_VBOSE("line%d: comment line\r\n", line);
        return DFD_OK;
    }
    char *const equals = std::strchr(text, '=');
    if (equals == nullptr) {
        DFD_WATCH_STEP(no_equals);
        LOG_ERR("line%d: [%s]no '=' between name and value\r\n", line, text);
        return DFD_ERR;
    }
    if (equals == text) {
        DFD_WATCH_STEP(no_name);
        LOG_ERR("line%d: [%s]sscanf arg to memory error\r\n", line, text);
        return DFD_ERR;
    }
    // Nothing behind the "=" leaves the empty value.
    const dfd::Word value = dfd::first_word(equals + 1);
    LOG_VBOSE("line%d: config_line[%s] name[%.*s] value[%.*s]\r\n", line, text,
              static_cast<int>(equals - text), text, static_cast<int>(value.end - value.begin),
              value.begin);
    // From here on the line is its name and its value.
    *equals = '\0';
    *value.end = '\0';
    DFD_WATCH_PAIR(text, value.begin);
    // An item that cannot be stored is skipped, not a failure of the file.
    dispatch_item(loading, text, value.begin, line);
    return DFD_OK;
}

void report_failed_line(const char *path, int line, const char *text) {
    if (!DFD_WATCH_FLAG(is_silent)) {
        std::printf("!!!!file[%s] config line[%d %s] analyse fail\r\n", path, line, text);
    }
}

}  // namespace

void dfd_lib_cfg_trim(char *line) {
    // Nothing to delete is above the space.
    while (static_cast<uint8_t>(*line) > ' ') {
        ++line;
    }
    char *out = line;
    for (const char *in = line; *in != '\0'; ++in) {
        if (*in != '\r' && *in != '\n' && *in != ' ') {
            *out++ = *in;
        }
    }
    *out = '\0';
}

void dfd_lib_cfg_report_broken_file(const char *func, const char *path, int error) {
    if (error != 0) {
        LOG_ERR_IN(func, "read config file[%s] fail, error=%s\n", path, std::strerror(error));
    }
}

int dfd_lib_cfg_analyse_config_file(const char *path) {
    dfd::LineReader file(path);
    DFD_WATCH(file_opened, path, file.is_open() ? 0 : errno);
    if (!file.is_open()) {
        LOG_ERR("open config file[%s] fail, error=%s\n", path, std::strerror(errno));
        return DFD_ERR;
    }
    char text[kLineSize] = "";
    Loading loading;
    int rv = DFD_OK;
    for (int line = 1; rv >= 0 && file.next(text, sizeof text); ++line) {
        DFD_WATCH_BEGIN_LINE(path, line, text);
        rv = dfd_lib_cfg_analyse_config_line(&loading, text, line);
        DFD_WATCH_END_LINE();
        if (rv < 0) {
            report_failed_line(path, line, text);
            rv = DFD_WATCH_FLAG(goes_on) ? DFD_OK : rv;
        }
    }
    dfd_lib_cfg_report_broken_file(__func__, path, file.error());
    DFD_WATCH(file_closed, path, rv);
    return rv;
}
