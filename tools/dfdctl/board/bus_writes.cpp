// SPDX-License-Identifier: MIT
#include "dfdctl/board/bus_writes.hpp"

#include <dfd/records.h>
#include <linux/i2c.h>
#include <algorithm>
#include <array>
#include <cerrno>
#include <map>

#include "dfdctl/board/facts.hpp"
#include "dfdctl/board/i2c_bus.hpp"
#include "dfdctl/command.hpp"
#include "dfdctl/output.hpp"
#include "hal/board_bus.h"
#include "hal/facts.h"

#include <fmt/format.h>

namespace dfdctl {

namespace {

constexpr const char *kForce = "nothing was written (--force overrides)";

/// Key types of which functions of the library write registers, LEDs apart.
constexpr std::array kWritten = {
    DFD_KEY_RESET_LC,        DFD_KEY_RST_MASTER,      DFD_KEY_MCPU_MASTER_CONFIG,
    DFD_KEY_MCPU_RDY_CONFIG, DFD_KEY_BP_CTRL,         DFD_KEY_FAN_CFG_SPEED,
    DFD_KEY_FAN_MODE,        DFD_KEY_PORT_SFP_TX,     DFD_KEY_1ST_IRQ_CLEAR,
    DFD_KEY_2ND_IRQ_CLEAR,   DFD_KEY_3RD_IRQ_CLEAR,   DFD_KEY_IRQ_MASK,
    DFD_KEY_SOFT_LED_CTRL,   DFD_KEY_CARD_POWER_CTRL, DFD_KEY_CARD_VOL_LOCK,
    DFD_KEY_E2_WRITE_PROTECT};

/// EEPROMs into which the library writes serial numbers and versions.
bool is_written_e2prom(std::uint32_t type, int mode) {
    if (type == DFD_KEY_POWER_HW_VER) {
        return mode == INFO_CTRL_MODE_LEGACY;
    }
    return type == DFD_KEY_FAN_TYPE || type == DFD_KEY_FAN_SN || type == DFD_KEY_FAN_HW_VER ||
           type == DFD_KEY_SSLOT_E2PROM;
}

bool is_written(std::uint32_t type, const info_ctrl_t &record) {
    if (dfd::is_e2prom_mode(record.mode)) {
        return is_written_e2prom(type, record.mode);
    }
    const bool is_output =
        facts_of(type).led_table != 0 || std::ranges::find(kWritten, type) != kWritten.end();
    return is_output && record.mode == INFO_CTRL_MODE_CONFIG && record.src == INFO_SRC_I2C;
}

/// The bus device that the library writes over for this item; empty when it writes over none.
std::string written_bus(const Item &item) {
    if (item.type->type == DFD_KEY_BP_E2PROM_DEV) {
        return dfd::BusPath(static_cast<std::uint32_t>(record_of<i2c_dev_t>(item)->bus)).text;
    }
    if (item.type->kind != Kind::info_ctrl) {
        return "";
    }
    const auto *record = record_of<info_ctrl_t>(item);
    return record != nullptr && is_written(item.type->type, *record) ? record->fpath : "";
}

}  // namespace

std::string write_obstacle(const std::string &device) {
    const I2cBus bus(device);
    const unsigned long functions = bus.functions();
    if (functions == 0 || (functions & I2C_FUNC_NOSTART) != 0) {
        return "";
    }
    return fmt::format(
        "the adapter of {} does not know I2C_M_NOSTART: what the library writes there lands at "
        "a wrong register",
        device);
}

void check_bus_of(const Item &item, bool force) {
    const auto *record = record_of<info_ctrl_t>(item);
    if (force || record == nullptr || record->mode != INFO_CTRL_MODE_CONFIG ||
        record->src != INFO_SRC_I2C) {
        return;
    }
    if (const std::string obstacle = write_obstacle(record->fpath); !obstacle.empty()) {
        throw UsageError(fmt::format("{}: {}; {}", item.name(), obstacle, kForce));
    }
}

BusWriteGuard::BusWriteGuard(const bool &force)
    : hooks_{.answer = [](void * /*context*/, const dfd::watch::Transfer &transfer,
                          int *result) { return refuses(transfer, result); }},
      force_(force),
      watching_(hooks_) {
    current_ = this;
}

BusWriteGuard *BusWriteGuard::current_ = nullptr;

bool BusWriteGuard::refuses(const dfd::watch::Transfer &transfer, int *result) {
    return current_ != nullptr && current_->answer(transfer, result);
}

bool BusWriteGuard::answer(const dfd::watch::Transfer &transfer, int *result) {
    if (force_ || transfer.via != dfd::watch::Via::i2c || !transfer.is_write) {
        return false;
    }
    const std::string obstacle = write_obstacle(transfer.path);
    if (obstacle.empty()) {
        return false;
    }
    if (!has_refused_) {
        complain(fmt::format("{}; {}", obstacle, kForce));
    }
    has_refused_ = true;
    errno = EOPNOTSUPP;
    *result = -1;
    return true;
}

std::vector<WrittenBus> written_buses(const LoadRecord &record) {
    std::map<std::string, std::string> found;
    for (const auto &[key, origins] : record.origins) {
        const Item item = item_of_key(key);
        if (const std::string device = written_bus(item); !device.empty()) {
            found.emplace(device, item.name());
        }
        // What is protected from writes is written.
        if (item.type->type == DFD_KEY_E2_WRITE_PROTECT && item.index1 == DFD_WP_BOARD) {
            found.emplace(dfd::kBoardBus, item.name());
        }
    }
    std::vector<WrittenBus> buses;
    for (const auto &[device, item] : found) {
        buses.push_back({device, item, write_obstacle(device)});
    }
    return buses;
}

}  // namespace dfdctl
