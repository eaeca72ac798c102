// SPDX-License-Identifier: MIT
// Backplane inventory: one EEPROM record, or fields from any configured source.
#include <atomic>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "framework/state.h"
#include "framework/text.h"
#include "hal/board_bus.h"
#include "hal/core/module.h"

static_assert(sizeof(backplane_info_t) == DFD_BACKPLANE_INFO_SIZE);

namespace {

using dfd::BusPath;

constexpr int kTransferBytes = 8;  // of one transfer of the record
constexpr int kTransfers = 7;
constexpr int kSourceSize = 256;  // of the record that e2_setmac describes
constexpr int kMacTextSize = 32;
constexpr int kMacBytes = 6;
constexpr int kSerials = 4;

// Written by the one call that takes it from empty to in_work, and read once it is whole, so that
// threads that ask for the first time together never see half a record.
struct CachedRecord {
    enum State : uint32_t { empty, in_work, whole };
    std::atomic<State> state;
    backplane_info_t record;

    bool get(backplane_info_t *rec) const {
        if (state.load(std::memory_order_acquire) != whole) {
            return false;
        }
        *rec = record;
        return true;
    }
    // The first record stays: callers rely on one answer for the life of the process.
    void keep(const backplane_info_t &rec) {
        State expected = empty;
        if (state.compare_exchange_strong(expected, in_work, std::memory_order_relaxed)) {
            record = rec;
            state.store(whole, std::memory_order_release);
        }
    }
};

DFD_STATE CachedRecord g_cache[dfd::kLastBackplane + 1];

bool is_backplane(uint32_t id) {
    return id >= dfd::kFirstBackplane && id <= dfd::kLastBackplane;
}

const i2c_dev_t *find_e2prom(uint32_t id) {
    return dfd::get_item<i2c_dev_t>(DFD_MAKE_KEY(DFD_KEY_BP_E2PROM_DEV, id, 0));
}

// Copies the whole record or nothing.
void read_from_e2prom(const i2c_dev_t &e2prom, backplane_info_t *rec) {
    const BusPath path(e2prom.bus);
    uint8_t scratch[kTransfers * kTransferBytes] = {};
    for (int i = 0; i < kTransfers; ++i) {
        const int offset = i * kTransferBytes;
        if (sdd_read_i2c(path.text, static_cast<uint16_t>(e2prom.addr),
                         static_cast<uint16_t>(offset), scratch + offset, kTransferBytes) < 0) {
            return;
        }
    }
    std::memcpy(rec, scratch, sizeof *rec);
}

// Stops at the first field that fails.
void read_fields(uint32_t id, backplane_info_t *rec) {
    if (sdd_get_bp_hw_ver(id, reinterpret_cast<char *>(rec->hw_ver), sizeof rec->hw_ver) < 0 ||
        sdd_get_bp_sn(id, reinterpret_cast<char *>(rec->sn), sizeof rec->sn) < 0 ||
        sdd_get_bp_mac(id, rec->mac) < 0) {
        return;
    }
    for (uint32_t which = 0; which < kSerials; ++which) {
        if (sdd_get_bp_serial(id, which, &rec->serial[which]) < 0) {
            return;
        }
    }
}

// Adds to byte `at`; the carry is always 1, which is right for amounts up to 255.
void add_to_mac(uint8_t *mac, int at, int amount) {
    for (; at >= 0; --at) {
        const int64_t sum = int64_t{mac[at]} + amount;
        mac[at] = static_cast<uint8_t>(sum);
        if (sum <= UINT8_MAX) {
            return;
        }
        amount = 1;
    }
}

int get_text(uint32_t type, uint32_t id, char *buf, int len) {
    return dfd_info_get_buf(DFD_MAKE_KEY(type, id, 0), buf, static_cast<uint32_t>(len),
                            sdd_get_string_by_buf);
}

}  // namespace

int sdd_get_backplane_info(uint32_t id, backplane_info_t *rec) {
    if (!is_backplane(id) || rec == nullptr) {
        return DFD_ERR_UNUSABLE;
    }
    CachedRecord &cached = g_cache[id];
    if (cached.get(rec)) {
        return DFD_OK;
    }
    if (const i2c_dev_t *const e2prom = find_e2prom(id)) {
        read_from_e2prom(*e2prom, rec);
    } else {
        read_fields(id, rec);
    }
    // A failed read is not reported and is cached like a good one.
    cached.keep(*rec);
    return DFD_OK;
}

int sdd_set_backplane_info(uint32_t id, const backplane_info_t *rec) {
    if (!is_backplane(id) || rec == nullptr) {
        return DFD_ERR_UNUSABLE;
    }
    const i2c_dev_t *const e2prom = find_e2prom(id);
    if (e2prom == nullptr) {
        return DFD_ERR_NO_BACKPLANE;
    }
    dfd_ctl_e2_write_pro(DFD_WP_BACKPLANE, 0);
    // The write's result is not reported, and readers of this process keep the cached record.
    dfd_write_e2prom(BusPath(e2prom->bus).text, static_cast<uint16_t>(e2prom->addr), 0,
                     reinterpret_cast<const uint8_t *>(rec), sizeof *rec);
    dfd_ctl_e2_write_pro(DFD_WP_BACKPLANE, 1);
    return DFD_OK;
}

int sdd_get_bp_hw_ver(uint32_t id, char *buf, int len) {
    const int rv = get_text(DFD_KEY_BACKPLANE_HW_VER, id, buf, len);
    if (rv < 0) {
        LOG_ERR("get backplane[%d] hw version buf fail, rv=%d\r\n", id, rv);
    }
    return rv;
}

int sdd_get_bp_sn(uint32_t id, char *buf, int len) {
    const int rv = get_text(DFD_KEY_BACKPLANE_SN, id, buf, len);
    if (rv < 0) {
        LOG_ERR("get backplane[%d] sn buf fail, rv=%d\r\n", id, rv);
    }
    return rv;
}

int sdd_get_bp_scale_mac(int *value) {
    const uint32_t key = DFD_MAKE_KEY(DFD_KEY_BACKPLANE_SCALE_MAC, 0, 0);
    const int *const configured = dfd::get_item<int>(key);
    if (configured == nullptr) {
        LOG_ERR("get backplane scale mac config fail, key=0x%08x\r\n", key);
        return DFD_ERR_NOT_SUPPORTED;
    }
    if (value == nullptr) {
        return DFD_ERR_ARG;
    }
    *value = *configured;
    return DFD_OK;
}

int sdd_get_bp_mac(uint32_t id, uint8_t *mac) {
    char text[kMacTextSize + 1] = "";
    const int rv =
        dfd_info_get_buf(DFD_MAKE_KEY(DFD_KEY_BACKPLANE_MAC, id, 0), text, kMacTextSize, nullptr);
    if (rv < 0) {
        LOG_ERR("get backplane[%d] mac buf fail, rv=%d\r\n", id, rv);
        return rv;
    }
    if (mac == nullptr) {
        return DFD_ERR_ARG;
    }
    char cells[kMacBytes][3] = {};
    std::sscanf(text, "%2s:%2s:%2s:%2s:%2s:%2s", cells[0], cells[1], cells[2], cells[3], cells[4],
                cells[5]);
    for (int i = 0; i < kMacBytes; ++i) {
        mac[i] = static_cast<uint8_t>(std::strtoul(cells[i], nullptr, 16));
    }
    int amount = 0;
    if (sdd_get_bp_scale_mac(&amount) == DFD_OK) {
        add_to_mac(mac, kMacBytes - 1, amount);
    }
    return DFD_OK;
}

int sdd_get_bp_serial(uint32_t id, uint32_t which, uint8_t *out) {
    if (which >= kSerials) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    int value = 0;
    const uint32_t type = DFD_KEY_BACKPLANE_SERIAL0 + which;
    const int rv = dfd_info_get_int(DFD_MAKE_KEY(type, id, 0), &value, nullptr);
    if (rv < 0) {
        LOG_ERR("get backplane[%d] serial%d buf fail, rv=%d\r\n", id, which, rv);
        return rv;
    }
    if (out == nullptr) {
        return DFD_ERR_ARG;
    }
    if (rv == DFD_OK) {
        *out = static_cast<uint8_t>(value);
    }
    return rv;
}

int sdd_get_string_by_buf(const uint8_t *src, int src_len, void *dst, int *dst_len) {
    if (src == nullptr || dst == nullptr || dst_len == nullptr || src_len < 0) {
        return DFD_ERR_ARG;
    }
    if (src_len >= *dst_len) {
        return DFD_ERR_UNUSABLE;
    }
    auto *const text = static_cast<char *>(dst);
    int count = 0;
    while (count < src_len && dfd::is_graphic(src[count])) {
        text[count] = static_cast<char>(src[count]);
        ++count;
    }
    text[count] = '\0';
    *dst_len = count;
    return DFD_OK;
}

int get_backplane_info_from_e2(uint32_t source, backplane_info_t *rec) {
    constexpr int kLoggedNumber = 95;  // log scripts know the line by it
    const uint32_t key = DFD_MAKE_KEY(DFD_KEY_E2_SETMAC, source, 0);
    if (!dfd::is_configured(key)) {
        return DFD_ERR_NOT_SUPPORTED;
    }
    if (rec == nullptr) {
        return DFD_ERR_ARG;
    }
    uint8_t bytes[kSourceSize] = {};
    const int rv = dfd_info_get_buf(key, bytes, sizeof bytes, nullptr);
    if (rv < 0) {
        LOG_ERR("%s %d %d\n", __func__, kLoggedNumber, rv);
        return rv;
    }
    std::memcpy(rec, bytes, offsetof(backplane_info_t, reserved));
    return DFD_OK;
}
