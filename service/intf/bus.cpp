// SPDX-License-Identifier: MIT
// Bus functions: CPLD and FPGA registers, I2C by bus number, fixed check answers.
#include <dfd/access.h>

#include <cstdio>

#include "hal/board_bus.h"
#include "service/intf/module.h"

namespace {

using dfd::BusPath;

constexpr char kFpgaPath[] = "/dev/fpga0";
constexpr uint16_t kDbA1Offset = 6;

constexpr uint32_t kCpldShift = 24;
constexpr uint32_t kRegisterMask = 0xFFFF;

struct CpldPath {
    explicit CpldPath(uint32_t addr) {
        std::snprintf(text, sizeof text, "/dev/cpld%d", static_cast<int>(addr >> kCpldShift));
    }
    char text[32];
};

int register_of(uint32_t addr) {
    return static_cast<int>(addr & kRegisterMask);
}

int negative_or_ok(int rv) {
    return rv < 0 ? rv : DFD_OK;
}

}  // namespace

int dfd_cpld_read(uint32_t addr, uint8_t *buf) {
    return negative_or_ok(sdd_device_read(CpldPath(addr).text, register_of(addr), buf, 1));
}

int dfd_cpld_write(uint32_t addr, uint8_t value) {
    return negative_or_ok(sdd_device_write(CpldPath(addr).text, register_of(addr), &value, 1));
}

int dfd_fpga_read(uint32_t offset, uint8_t *buf) {
    return negative_or_ok(sdd_device_read(kFpgaPath, static_cast<int>(offset), buf, 1));
}

int dfd_fpga_write(uint32_t offset, uint8_t value) {
    return negative_or_ok(sdd_device_write(kFpgaPath, static_cast<int>(offset), &value, 1));
}

int dev_drv_check_cpld_status(int /*cpld*/) {
    return DFD_OK;
}
int dev_drv_check_fpga_status(uint8_t /*fpga*/) {
    return DFD_OK;
}
int drv_check_cpld(int /*cpld*/) {
    return DFD_ERR;
}
int drv_check_ucd9081(int /*bus*/, int /*addr*/, int /*page*/) {
    return DFD_ERR;
}
int drv_fpga_self_test(void) {
    return DFD_ERR;
}
int dfd_drv_get_fd(int /*type*/, void * /*fd*/) {
    return DFD_ERR;
}

int dfd_read_port_i2c(const char *path, uint16_t addr, uint16_t offset, uint8_t *buf,
                      uint32_t len) {
    return sdd_read_i2c(path, addr, offset, buf, len);
}

int dfd_write_port_i2c(const char *path, uint16_t addr, uint16_t offset, const uint8_t *data,
                       uint32_t len) {
    return sdd_write_i2c(path, addr, offset, data, len);
}

int ssa_i2c_read(const char *path, uint16_t addr, uint16_t offset, uint8_t *buf, uint32_t len) {
    return sdd_read_i2c(path, addr, offset, buf, len);
}

int ssa_i2c_write(const char *path, uint16_t addr, uint16_t offset, const uint8_t *data,
                  uint32_t len) {
    return negative_or_ok(sdd_write_i2c(path, addr, offset, data, len));
}

int dfd_i2c_read_offset(uint32_t bus, uint16_t addr, uint16_t offset, uint8_t *buf, uint32_t len) {
    return negative_or_ok(sdd_read_i2c(BusPath(bus).text, addr, offset, buf, len));
}

int dfd_i2c_read(uint32_t bus, uint16_t addr, uint8_t *buf, uint32_t len) {
    return dfd_i2c_read_offset(bus, addr, 0, buf, len);
}

int dfd_i2c_write(uint32_t bus, uint16_t addr, uint16_t offset, const uint8_t *data, uint32_t len) {
    if (data == nullptr) {
        LOG_VBOSE("buf == null\r\n");
        return DFD_ERR;
    }
    const BusPath path(bus);
    const int rv = ssa_i2c_write(path.text, addr, offset, data, len);
    if (rv < 0) {
        LOG_VBOSE("ssa_i2c_write: dev = %s, rv = %d\r\n", path.text, rv);
    }
    return rv;
}

int dfd_dev_check_db_a1_flag(uint32_t *flag) {
    uint8_t byte = 0;
    // Only a result of 0 passes, although a good transfer returns its count of messages: callers
    // rely on it.
    if (ssa_i2c_read(dfd::kBoardBus, dfd::kBoardE2promAddr, kDbA1Offset, &byte, 1) != 0) {
        LOG_ERR("/dev/i2c-0 dev_addr = 0x%x, offset = 0x%x fail\r\n", dfd::kBoardE2promAddr,
                kDbA1Offset);
        return DFD_ERR;
    }
    LOG_VBOSE("DB_A1 FLAG = 0x%x\r\n", byte);
    if (flag == nullptr) {
        return DFD_ERR;
    }
    *flag = byte != 0 ? 1 : 0;
    return DFD_OK;
}

int drv_check_db_a1_flag(uint32_t *flag) {
    return dfd_dev_check_db_a1_flag(flag);
}
