// SPDX-License-Identifier: MIT
// I2C_SMBUS: one SMBus transaction as the messages it consists of.
#pragma once

#include <linux/i2c-dev.h>

#include "i2c_dev.h"

namespace vchassis {

Outcome smbus_transaction(const I2cPort &port, const i2c_smbus_ioctl_data &request,
                          const Transact &transact);

}  // namespace vchassis
