/* SPDX-License-Identifier: MIT */
/* libdfd: everything. Begin with the conventions in types.h, which also say what threads may call,
 * and dev_drv_init in framework.h. */
#ifndef DFD_DFD_H
#define DFD_DFD_H

#include <dfd/access.h>
#include <dfd/card.h>
#include <dfd/chassis.h>
#include <dfd/driver.h>
#include <dfd/fan.h>
#include <dfd/framework.h>
#include <dfd/inventory.h>
#include <dfd/irq.h>
#include <dfd/keys.h>
#include <dfd/led.h>
#include <dfd/power.h>
#include <dfd/records.h>
#include <dfd/temperature.h>
#include <dfd/types.h>
#include <dfd/version.h>

#endif
