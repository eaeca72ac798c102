// SPDX-License-Identifier: MIT
// What board this is, and what chassis it sits in.
#include <atomic>

#include "framework/platform.h"
#include "framework/state.h"
#include "hal/board_bus.h"
#include "hal/core/module.h"

namespace {

constexpr int kProductIdBuffer = 32;

constexpr uint32_t kBoardE2promBytes = 128;

constexpr uint8_t kLayout1 = 1;
constexpr uint8_t kLayout2 = 2;

// 0: not yet known. Threads that ask first together each find the type out.
DFD_STATE std::atomic<int> g_board_type;
DFD_STATE std::atomic<int> g_chassis_type;

// Offsets of the bytes that give the board type.
constexpr int kLayoutAt = 0;
constexpr int kFlagAt = 1;
constexpr int kRawTypeAt = 3;
constexpr int kExtraTypeAt = 7;
constexpr int kSubTypeAt = 64;

struct BoardE2prom {
    uint8_t bytes[kBoardE2promBytes];

    uint8_t layout() const { return bytes[kLayoutAt]; }
    bool is_tlv() const { return bytes[kFlagAt] == dfd::tlv::kFlag; }
    int raw_type() const { return bytes[kRawTypeAt]; }
    int extra_type() const { return bytes[kExtraTypeAt]; }
    int sub_type() const { return bytes[kSubTypeAt]; }
};

int read_board_e2prom(BoardE2prom *image) {
    return sdd_read_i2c(dfd::kBoardBus, dfd::kBoardE2promAddr, 0, image->bytes, kBoardE2promBytes);
}

constexpr int kAnySub = -1;

// Boards whose type does not follow from the raw type. The first row that matches counts.
struct FixedType {
    int raw;
    int sub;
    int type;
};
constexpr FixedType kFixedTypes[] = {
    {0x9C, 0x11, 14}, {0x9C, 1, 15}, {0x9C, kAnySub, 41}, {0x9E, kAnySub, 42}};

int layout1_type(const BoardE2prom &image) {
    constexpr int kSub1Base = 100;
    constexpr int kBase = 80;
    for (const FixedType &row : kFixedTypes) {
        if (row.raw == image.raw_type() && (row.sub == image.sub_type() || row.sub == kAnySub)) {
            return row.type;
        }
    }
    return image.raw_type() - (image.sub_type() == 1 ? kSub1Base : kBase);
}

int layout2_type(const char *func, const BoardE2prom &image) {
    constexpr int kLayout2Base = 47;
    const int type = image.raw_type() + image.extra_type() + kLayout2Base;
    LOG_VBOSE_IN(func, "CA type is%d\r\n", type);
    return type;
}

int legacy_type(const char *func, const BoardE2prom &image) {
    switch (image.layout()) {
        case kLayout1:
            return layout1_type(image);
        case kLayout2:
            return layout2_type(func, image);
        default:
            return DFD_ERR;
    }
}

int tlv_type(uint8_t layout) {
    int type = 0;
    int len = sizeof type;
    const int rv = sdd_get_e2prom_info_by_type(dfd::kBoardBus, E2PROM_INFO_DEV_TYPE,
                                               dfd::kBoardE2promAddr, &type, &len);
    // Layout 2 does not report a failed query: the type stays 0 then. Boards start on that.
    return rv != DFD_OK && layout == kLayout1 ? rv : type;
}

}  // namespace

int dfd_dev_type_from_product_id(void) {
    char product_id[kProductIdBuffer] = "";
    if (dfd::read_file(dfd::kProductIdFile, product_id, dfd::kProductIdLength) < 0) {
        return DFD_ERR;
    }
    uint32_t card_type = 0;
    if (dfd_lib_cfg_get_card_type_by_pid_str(product_id, &card_type) != DFD_OK) {
        return DFD_ERR;
    }
    return static_cast<int>(card_type);
}

int dfd_get_dev_type(void) {
    const int by_product_id = dfd_dev_type_from_product_id();
    if (by_product_id > 0) {
        return by_product_id;
    }
    BoardE2prom image{};
    if (read_board_e2prom(&image) < 0) {
        return dfd_dev_type_from_product_id();
    }
    const bool known_layout = image.layout() == kLayout1 || image.layout() == kLayout2;
    if (known_layout && image.is_tlv()) {
        return tlv_type(image.layout());
    }
    return legacy_type(__func__, image);
}

int dfd_my_type_from_e2(void) {
    BoardE2prom image{};
    const int rv = read_board_e2prom(&image);
    return rv < 0 ? rv : legacy_type(__func__, image);
}

int sdd_get_my_card_type(void) {
    if (const int known = g_board_type; known != 0) {
        return known;
    }
    const int type = dfd_get_dev_type();
    if (type != DFD_ERR) {
        // Other negative codes are kept as well: every later call gives the same answer.
        g_board_type = type;
    }
    return type;
}

int sdd_get_my_chassis_type(void) {
    if (const int known = g_chassis_type; known != 0) {
        return known;
    }
    for (uint32_t source = dfd::kFirstBackplane; source <= dfd::kLastBackplane; ++source) {
        backplane_info_t record{};
        const int rv = get_backplane_info_from_e2(source, &record);
        if (rv == DFD_ERR_NOT_SUPPORTED) {
            return g_chassis_type = sdd_get_my_card_type();
        }
        if (rv >= 0) {
            return g_chassis_type = record.chassis_type;
        }
    }
    return DFD_ERR;
}
