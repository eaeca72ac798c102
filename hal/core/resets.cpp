// SPDX-License-Identifier: MIT
// Line-card resets; the peer master board: its state, its reset, and our lines to it.
#include "framework/platform.h"
#include "hal/core/module.h"

namespace {

constexpr uint32_t kAsserted = 1;
constexpr uint32_t kReleased = 0;

constexpr unsigned kResetPulse_us = 200000;

constexpr int kPeerSamples = 6;
constexpr unsigned kPeerSampleGap_us = 5000;

constexpr int kPeerDownPolls = 800;
constexpr unsigned kPeerDownPause_us = 10000;

int write_reset_line(int slot, uint32_t value) {
    return dfd_info_set_int(DFD_MAKE_KEY(DFD_KEY_RESET_LC, slot, 0), value);
}

void write_all_reset_lines(uint32_t value) {
    for (int slot = dfd::kFirstLineCard; slot <= dfd::kLastLineCard; ++slot) {
        write_reset_line(slot, value);
    }
}

// Reads an input line of the peer; *value is not written when nothing is read.
int read_line(uint32_t type, int *value) {
    const int rv = dfd_info_get_int(DFD_MAKE_KEY(type, 0, 0), value, nullptr);
    return rv < 0 ? rv : DFD_OK;
}

int read_mcpu_rdy_status(int *value) {
    return read_line(DFD_KEY_MCPU_RDY_STATUS, value);
}
int read_mcpu_master_status(int *value) {
    return read_line(DFD_KEY_MCPU_MASTER_STATUS, value);
}

// Ready, master and present as one number, ready the highest bit.
int read_peer_lines(int *lines) {
    int ready = 0;
    int master = 0;
    int present = 0;
    if (const int rv = read_mcpu_rdy_status(&ready); rv != DFD_OK) {
        return rv;
    }
    if (const int rv = read_mcpu_master_status(&master); rv != DFD_OK) {
        return rv;
    }
    if (sdd_rd_mcpu_present(&present) != DFD_OK) {
        return DFD_ERR;
    }
    *lines = static_cast<int>(static_cast<uint32_t>(ready) * 4 | static_cast<uint32_t>(master) * 2 |
                              static_cast<uint32_t>(present));
    return DFD_OK;
}

// Peer states by the number that read_peer_lines forms.
constexpr int kPeerStates[] = {DFD_PEER_ABSENT,       DFD_PEER_PRESENT,      DFD_PEER_INCONSISTENT,
                               DFD_PEER_INCONSISTENT, DFD_PEER_INCONSISTENT, DFD_PEER_READY,
                               DFD_PEER_INCONSISTENT, DFD_PEER_MASTER};

int map_peer_state(int lines, int *state) {
    constexpr int kCount = sizeof kPeerStates / sizeof kPeerStates[0];
    if (lines < 0 || lines >= kCount) {
        return DFD_ERR;
    }
    *state = kPeerStates[lines];
    return DFD_OK;
}

void write_output(uint32_t type, uint32_t value) {
    dfd_info_set_int(DFD_MAKE_KEY(type, 0, 0), value);
}

int write_master_reset(uint32_t value) {
    return dfd_info_set_int(DFD_MAKE_KEY(DFD_KEY_RST_MASTER, 0, 0), value);
}

// A reading that fails is not "gone down": the peer's lines may float while it resets.
bool wait_until_peer_is_down(void) {
    for (int i = 0; i < kPeerDownPolls; ++i) {
        int state = DFD_PEER_INCONSISTENT;
        const int rv = sdd_get_chassis_mb_info(&state);
        if (rv == DFD_OK && (state == DFD_PEER_ABSENT || state == DFD_PEER_PRESENT)) {
            return true;
        }
        dfd::pause_us(kPeerDownPause_us);
    }
    return false;
}

}  // namespace

void sdd_reset_lc(int slot) {
    if (write_reset_line(slot, kAsserted) >= 0) {
        write_reset_line(slot, kReleased);
    }
}

void sdd_reset_lc_all(void) {
    write_all_reset_lines(kAsserted);
    dfd::pause_us(kResetPulse_us);
    write_all_reset_lines(kReleased);
}

int sdd_rd_mcpu_present(int *value) {
    return read_line(DFD_KEY_MCPU_PRESENT, value);
}

int sdd_get_chassis_mb_info(int *state) {
    if (state == nullptr) {
        return DFD_ERR_PARAM;
    }
    int rmp0 = 0;
    int rmp1 = 0;
    int attempt = 0;
    // Two samples that agree, to ride over lines that change while the peer boots.
    for (; attempt < kPeerSamples; ++attempt) {
        LOG_VBOSE("retry_cnt %d.\n", attempt);
        const int rv = read_peer_lines(&rmp0);
        if (rv == DFD_ERR_NOT_SUPPORTED) {
            *state = DFD_PEER_ABSENT;
            return DFD_OK;
        }
        if (rv != DFD_OK) {
            LOG_ERR("retry_cnt %d, get rmp0 failed.\n", attempt);
            return DFD_ERR_UNUSABLE;
        }
        dfd::pause_us(kPeerSampleGap_us);
        if (read_peer_lines(&rmp1) != DFD_OK) {
            LOG_ERR("retry_cnt %d, get rmp1 failed.\n", attempt);
            return DFD_ERR_UNUSABLE;
        }
        LOG_VBOSE("retry_cnt %d, rmp0 0x%x, rmp1 0x%x.\n", attempt, rmp0, rmp1);
        if (rmp0 == rmp1) {
            LOG_VBOSE("retry_cnt %d, rmp0 equal to rmp1 0x%x, exit.\n", attempt, rmp1);
            break;
        }
        LOG_VBOSE("retry_cnt %d, rmp0 0x%X not equal to rmp1 0x%x, retry.\n", attempt, rmp0, rmp1);
    }
    if (attempt == kPeerSamples) {
        // The last sample counts all the same.
        LOG_ERR("retry_cnt %d, get rmp failed, rmp0 0x%x, rmp1 0x%x.\n", attempt, rmp0, rmp1);
    }
    return map_peer_state(rmp1, state);
}

int sdd_get_peer_mb_state(int *state) {
    return sdd_get_chassis_mb_info(state);
}

int sdd_reset_master(void) {
    constexpr int kNothingToReset = 6;
    // A positive 6, not the code of a missing item: callers rely on this comparison.
    if (write_master_reset(kAsserted) == kNothingToReset) {
        return DFD_OK;
    }
    const bool is_down = wait_until_peer_is_down();
    const int rv = write_master_reset(kReleased);
    return is_down ? rv : DFD_ERR;
}

int sdd_set_my_mb_status(uint32_t status) {
    if (status > DFD_PEER_INCONSISTENT) {
        return DFD_ERR_PARAM;
    }
    const bool is_master = status == DFD_PEER_MASTER;
    write_output(DFD_KEY_MCPU_MASTER_CONFIG, is_master ? 1 : 0);
    write_output(DFD_KEY_MCPU_RDY_CONFIG, is_master || status == DFD_PEER_READY ? 1 : 0);
    write_output(DFD_KEY_BP_CTRL, is_master ? 1 : 0);
    return DFD_OK;
}
