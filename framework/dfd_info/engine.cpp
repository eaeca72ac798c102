// SPDX-License-Identifier: MIT
// Executes info_ctrl items: a key becomes an integer or a buffer, or an integer is written.
#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <span>

#include "framework/dfd_info/bits.h"
#include "framework/dfd_info/module.h"
#include "framework/dfd_lib_cfg/key_table.h"
#include "framework/item.h"
#include "framework/text.h"
#include "framework/watch.h"

namespace {

constexpr uint32_t kMaxBitOffset = 7;
constexpr uint32_t kMaxNumberBytes = 31;
constexpr uint32_t kMaxBufferBytes = 255;

// A byte more than the longest read, so that a text in it is terminated.
using NumberBytes = std::array<uint8_t, kMaxNumberBytes + 1>;
using BufferBytes = std::array<uint8_t, kMaxBufferBytes + 1>;

bool is_info_ctrl_key(uint32_t key) {
    constexpr dfd::KindBlock kBlock = dfd::block_of_kind(dfd::Kind::info_ctrl);
    const uint32_t type = DFD_KEY_TYPE(key);
    return type >= kBlock.first && type < kBlock.end;
}

const info_ctrl_t *find_info_ctrl(uint32_t key) {
    return dfd::get_item<info_ctrl_t>(key);
}

using dfd::word_of;
using dfd::watch::Op;
using dfd::watch::Refusal;

const char *src_of(const info_ctrl_t &ctrl) {
    return word_of(info_src_str, ctrl.src);
}
const char *frmt_of(const info_ctrl_t &ctrl) {
    return word_of(info_frmt_str, ctrl.frmt);
}
const char *pola_of(const info_ctrl_t &ctrl) {
    return word_of(info_pola_str, ctrl.pola);
}

bool is_negative(const info_ctrl_t &ctrl) {
    return ctrl.pola == INFO_POLA_NEGATIVE;
}

// An item that is being executed, with what every step and every message needs.
struct Access {
    const char *func;  // the exported function that log readers know
    uint32_t key;
    const info_ctrl_t &ctrl;
};

int check_bit_offset(const Access &access) {
    if (access.ctrl.bit_offset <= kMaxBitOffset) {
        return DFD_OK;
    }
    DFD_WATCH(refused, Refusal::bit_offset);
    LOG_ERR_IN(access.func, "info ctrl[key=0x%08x] bit_offsest[%d] invalid\r\n", access.key,
               access.ctrl.bit_offset);
    return DFD_ERR_UNUSABLE;
}

int check_number_len(const Access &access) {
    if (access.ctrl.len >= 1 && access.ctrl.len <= kMaxNumberBytes) {
        return DFD_OK;
    }
    DFD_WATCH(refused, Refusal::number_len);
    LOG_ERR_IN(access.func, "info ctrl[key=0x%08x] len[%d] invalid\r\n", access.key,
               access.ctrl.len);
    return DFD_ERR_UNUSABLE;
}

// Bytes to read for an integer, or a negative code.
int number_read_len(const Access &access) {
    switch (access.ctrl.frmt) {
        case INFO_FRMT_BIT: {
            // .len is the width of the field here, and not checked.
            const int rv = check_bit_offset(access);
            return rv == DFD_OK ? 1 : rv;
        }
        case INFO_FRMT_BYTE:
        case INFO_FRMT_NUM_BYTES:
        case INFO_FRMT_NUM_STR:
        case INFO_FRMT_NUM_BUF: {
            const int rv = check_number_len(access);
            return rv == DFD_OK ? static_cast<int>(access.ctrl.len) : rv;
        }
        default:
            DFD_WATCH(refused, Refusal::number_format);
            LOG_ERR_IN(access.func, "info ctrl[key=0x%08x]  format[%d] error\r\n", access.key,
                       access.ctrl.frmt);
            return DFD_ERR_UNUSABLE;
    }
}

int field_value(const Access &access, uint8_t byte, dfd_info_num_proc_t proc, int *value) {
    const info_ctrl_t &ctrl = access.ctrl;
    uint8_t field = dfd::extract_field(byte, ctrl.bit_offset, ctrl.len, is_negative(ctrl));
    if (proc == nullptr) {
        *value = field;
        return DFD_OK;
    }
    const int rv = proc(&field, 1, value);
    if (rv < 0) {
        DFD_WATCH(refused, Refusal::not_processed);
        LOG_ERR_IN(access.func, "info ctrl[key=0x%08x] bit process fail, rv=%d\r\n", access.key,
                   rv);
        return rv;
    }
    return DFD_OK;
}

int processed_value(const Access &access, uint8_t *bytes, int len, dfd_info_num_proc_t proc,
                    int *value) {
    if (proc == nullptr) {
        DFD_WATCH(refused, Refusal::no_processor);
        LOG_ERR_IN(access.func, "info ctrl[key=0x%08x] number buf process function is null\r\n",
                   access.key);
        return DFD_ERR_ARG;
    }
    const int rv = proc(bytes, len, value);
    if (rv < 0) {
        DFD_WATCH(refused, Refusal::not_processed);
        LOG_ERR_IN(access.func, "info ctrl[key=0x%08x] number buf process fail, rv=%d\r\n",
                   access.key, rv);
        return rv;
    }
    return DFD_OK;
}

// Bytes read to an integer. len is what the item asks for, count what the source gave: a file may
// end early, the bytes behind it are 0.
int interpret(const Access &access, NumberBytes &bytes, int len, int count,
              dfd_info_num_proc_t proc, int *value) {
    switch (access.ctrl.frmt) {
        case INFO_FRMT_BIT:
            return field_value(access, bytes[0], proc, value);
        case INFO_FRMT_NUM_STR:
            bytes[static_cast<std::size_t>(count)] = '\0';
            *value = dfd::number_in_base(reinterpret_cast<const char *>(bytes.data()), 10);
            return DFD_OK;
        case INFO_FRMT_NUM_BUF:
            return processed_value(access, bytes.data(), len, proc, value);
        default:
            // Polarity of a number is its byte order, not inversion.
            *value = static_cast<int>(dfd::join_bytes(
                std::span(bytes).first(static_cast<std::size_t>(len)), is_negative(access.ctrl)));
            return DFD_OK;
    }
}

int read_int(const Access &access, uint32_t index, int *ret, dfd_info_num_proc_t proc) {
    const info_ctrl_t &ctrl = access.ctrl;
    const int len = number_read_len(access);
    if (len < 0) {
        return len;
    }
    NumberBytes bytes{};
    const int count = dfd_read_info(ctrl.src, ctrl.fpath, static_cast<uint16_t>(ctrl.addr),
                                    ctrl.reg_offset + ctrl.len * index, len, bytes.data());
    if (count <= 0) {
        LOG_ERR_IN(access.func,
                   "read int info[key=0x%08x src=%s frmt=%s fpath=%s addr=0x%x read_bytes=%d] "
                   "fail, rv=%d\r\n",
                   access.key, src_of(ctrl), frmt_of(ctrl), ctrl.fpath, ctrl.addr, len, count);
        return DFD_ERR_IO;
    }
    int value = 0;
    const int rv = interpret(access, bytes, len, count, proc, &value);
    if (rv != DFD_OK) {
        return rv;
    }
    *ret = value;
    LOG_VBOSE_IN(access.func,
                 "read int info[key=0x%08x src=%s frmt=%s pola=%s fpath=%s addr=0x%x len=%d "
                 "bit_offset=%d] success, ret=%d\r\n",
                 access.key, src_of(ctrl), frmt_of(ctrl), pola_of(ctrl), ctrl.fpath, ctrl.addr,
                 ctrl.len, ctrl.bit_offset, value);
    return DFD_OK;
}

int execute_get(const char *func, uint32_t key, const info_ctrl_t &ctrl, uint32_t index, int *ret,
                dfd_info_num_proc_t proc) {
    switch (ctrl.mode) {
        case INFO_CTRL_MODE_CONSTANT:
            *ret = ctrl.int_cons;
            return DFD_OK;
        case INFO_CTRL_MODE_TLV:
            return DFD_FROM_TLV;
        case INFO_CTRL_MODE_FRU:
            return DFD_FROM_FRU;
        default:
            return read_int({func, key, ctrl}, index, ret, proc);
    }
}

int get_int(const char *func, Op op, uint32_t key, uint32_t index, int *ret,
            dfd_info_num_proc_t proc) {
    if (!is_info_ctrl_key(key) || ret == nullptr) {
        LOG_ERR_IN(func, "input arguments error, key=0x%08x\r\n", key);
        return DFD_ERR_ARG;
    }
    const info_ctrl_t *const ctrl = find_info_ctrl(key);
    if (ctrl == nullptr) {
        LOG_WARN_IN(func, "get info ctrl fail, key=0x%08x\r\n", key);
        return DFD_ERR_NOT_SUPPORTED;
    }
    return dfd::watch::engine(
        {op, key, index, proc != nullptr},
        [=] { return execute_get(func, key, *ctrl, index, ret, proc); },
        [=] { return static_cast<uint32_t>(*ret); });
}

// Bytes of a buffer item through proc into the caller's buffer; the count delivered, or a code.
int deliver(const Access &access, std::span<const uint8_t> raw, void *buf, uint32_t buf_len,
            dfd_info_buf_proc_t proc) {
    if (proc == nullptr) {
        std::memcpy(buf, raw.data(), raw.size());
        return static_cast<int>(raw.size());
    }
    int len = static_cast<int>(std::min(buf_len, uint32_t{INT_MAX}));
    const int rv = proc(raw.data(), static_cast<int>(raw.size()), buf, &len);
    if (rv < 0) {
        DFD_WATCH(refused, Refusal::not_processed);
        LOG_ERR_IN(access.func, "info ctrl[key=0x%08x] buf process fail, rv=%d\r\n", access.key,
                   rv);
        return DFD_ERR_NOT_SUPPORTED;
    }
    return len;
}

int transfer_buf(const Access &access, void *buf, uint32_t buf_len, dfd_info_buf_proc_t proc) {
    const info_ctrl_t &ctrl = access.ctrl;
    const int len = static_cast<int>(ctrl.len);
    BufferBytes raw{};
    const int count = dfd_read_info(ctrl.src, ctrl.fpath, static_cast<uint16_t>(ctrl.addr),
                                    ctrl.reg_offset, len, raw.data());
    if (count < 1) {
        LOG_ERR_IN(access.func,
                   "read buf info[key=0x%08x src=%s frmt=%s fpath=%s addr=0x%x len=%d] fail, "
                   "rv=%d\r\n",
                   access.key, src_of(ctrl), frmt_of(ctrl), ctrl.fpath, ctrl.addr, len, count);
        return DFD_ERR_IO;
    }
    return deliver(access, std::span(raw).first(static_cast<std::size_t>(count)), buf, buf_len,
                   proc);
}

int execute_get_buf(const Access &access, void *buf, uint32_t buf_len, dfd_info_buf_proc_t proc) {
    const info_ctrl_t &ctrl = access.ctrl;
    if (ctrl.mode != INFO_CTRL_MODE_CONFIG) {
        DFD_WATCH(refused, Refusal::read_mode);
        LOG_ERR_IN(access.func, "info ctrl[key=0x%08x] mode[%d] invalid\r\n", access.key,
                   ctrl.mode);
        return DFD_ERR_UNUSABLE;
    }
    if (ctrl.frmt != INFO_FRMT_BUF || ctrl.len < 1 || ctrl.len > kMaxBufferBytes ||
        buf_len < ctrl.len) {
        DFD_WATCH(refused, Refusal::buffer);
        LOG_ERR_IN(access.func, "info ctrl[key=0x%08x] format=%d or len=%d invlaid, buf_len=%d\r\n",
                   access.key, ctrl.frmt, ctrl.len, buf_len);
        return DFD_ERR_UNUSABLE;
    }
    return transfer_buf(access, buf, buf_len, proc);
}

// The byte that a write puts into the register, and the bits of it that count.
struct RegisterWrite {
    uint8_t byte;
    uint8_t mask;
};

int prepare_write(const Access &access, uint32_t value, RegisterWrite *write) {
    const info_ctrl_t &ctrl = access.ctrl;
    int rv = DFD_OK;
    switch (ctrl.frmt) {
        case INFO_FRMT_BIT:
            rv = check_bit_offset(access);
            if (rv == DFD_OK) {
                *write = {dfd::place_field(value, ctrl.bit_offset, is_negative(ctrl)),
                          dfd::field_mask(ctrl.bit_offset, ctrl.len)};
            }
            return rv;
        case INFO_FRMT_BYTE:
        case INFO_FRMT_NUM_BYTES:
        case INFO_FRMT_NUM_BUF:
            // One byte, whatever .len says.
            *write = {static_cast<uint8_t>(value), dfd::kWholeByte};
            return check_number_len(access);
        case INFO_FRMT_NUM_STR:
            DFD_WATCH(refused, Refusal::text_write);
            LOG_ERR_IN(access.func, "not support str int set\r\n");
            return DFD_ERR;
        default:
            DFD_WATCH(refused, Refusal::write_format);
            LOG_ERR_IN(access.func, "info ctrl[key=0x%08x] format[%d] error\r\n", access.key,
                       ctrl.frmt);
            return DFD_ERR_UNUSABLE;
    }
}

int write_int(const Access &access, uint32_t value) {
    const info_ctrl_t &ctrl = access.ctrl;
    RegisterWrite write{};
    int rv = prepare_write(access, value, &write);
    if (rv != DFD_OK) {
        return rv;
    }
    rv = dfd_write_info(ctrl.src, ctrl.fpath, static_cast<uint16_t>(ctrl.addr), ctrl.reg_offset, 1,
                        &write.byte, write.mask);
    if (rv < 0) {
        LOG_ERR_IN(access.func,
                   "write int info[key=0x%08x src=%s frmt=%s fpath=%s addr=0x%x len=%d val=%d] "
                   "fail, rv=%d\r\n",
                   access.key, src_of(ctrl), frmt_of(ctrl), ctrl.fpath, ctrl.addr, ctrl.len, value,
                   rv);
        return DFD_ERR_IO;
    }
    LOG_VBOSE_IN(access.func,
                 "write int info[key=0x%08x src=%s frmt=%s pola=%s fpath=%s addr=0x%x len=%d "
                 "bit_offset=%d val=%d] success\r\n",
                 access.key, src_of(ctrl), frmt_of(ctrl), pola_of(ctrl), ctrl.fpath, ctrl.addr,
                 ctrl.len, ctrl.bit_offset, value);
    return DFD_OK;
}

int execute_set(const Access &access, uint32_t value) {
    if (access.ctrl.mode != INFO_CTRL_MODE_CONFIG) {
        DFD_WATCH(refused, Refusal::write_mode);
        LOG_ERR_IN(access.func, "info ctrl[key=0x%08x] ctrl mode[%d] warnning\r\n", access.key,
                   access.ctrl.mode);
        return DFD_ERR_UNUSABLE;
    }
    return write_int(access, value);
}

// For the Func field: inside a lambda __func__ is another name.
constexpr char kGetBuf[] = "dfd_info_get_buf";
constexpr char kSetInt[] = "dfd_info_set_int";

}  // namespace

int dfd_info_get_int(uint32_t key, int *ret, dfd_info_num_proc_t proc) {
    return get_int(__func__, Op::get_int, key, 0, ret, proc);
}

int dfd_info_get_int_by_index(uint32_t key, uint32_t index, int *ret, dfd_info_num_proc_t proc) {
    return get_int(__func__, Op::get_int_by_index, key, index, ret, proc);
}

int dfd_info_get_buf(uint32_t key, void *buf, uint32_t buf_len, dfd_info_buf_proc_t proc) {
    if (!is_info_ctrl_key(key) || buf == nullptr) {
        LOG_ERR("input arguments error, key=0x%08x\r\n", key);
        return DFD_ERR_ARG;
    }
    const info_ctrl_t *const ctrl = find_info_ctrl(key);
    if (ctrl == nullptr) {
        LOG_WARN("get info ctrl fail, key=0x%08x\r\n", key);
        return DFD_ERR_NOT_SUPPORTED;
    }
    int count = 0;
    return dfd::watch::engine(
        {Op::get_buf, key, buf_len, proc != nullptr},
        [&] {
            count = execute_get_buf({kGetBuf, key, *ctrl}, buf, buf_len, proc);
            return count;
        },
        [&] { return static_cast<uint32_t>(count); });
}

int dfd_info_set_int(uint32_t key, uint32_t value) {
    if (!is_info_ctrl_key(key)) {
        LOG_ERR("input arguments error, key=0x%08x\r\n", key);
        return DFD_ERR_ARG;
    }
    const info_ctrl_t *const ctrl = find_info_ctrl(key);
    if (ctrl == nullptr) {
        // A missing item is an error to a writer, though only a warning to a reader.
        LOG_ERR("get info ctrl fail, key=0x%08x\r\n", key);
        return DFD_ERR_NOT_SUPPORTED;
    }
    return dfd::watch::engine(
        {Op::set_int, key, value, false},
        [=] {
            return execute_set({kSetInt, key, *ctrl}, value);
        },
        [=] { return value; });
}
