/* SPDX-License-Identifier: MIT */
/*
 * Interrupts: a cascade of status registers up to three levels deep. The caller owns the interrupt
 * line; when it fires, it calls the dispatch, which walks the registers and reports each pending
 * source. Positions are (i, j, k): the bits of the first, second and third level. One thread at a
 * time dispatches and changes masks.
 */
#ifndef DFD_IRQ_H
#define DFD_IRQ_H

#include <dfd/records.h>
#include <dfd/types.h>

DFD_BEGIN_DECLS

enum { DFD_IRQ_CONTROLLERS_MAX = 5 };

/*
 * Called with the irq_info item of a pending source, which is the library's; the result is ignored.
 * It runs inside the dispatch, on its thread, before the source is cleared. It may call any
 * function of the library but the dispatch, which would find the source pending again and not come
 * to an end.
 */
typedef int (*dfd_irq_handler_t)(const irq_info_t *source);

/* Number of interrupt controllers as item irq_ctrl_num says. Returns it; -6: not configured. */
DFD_API int sdd_get_irq_ctrl_num(void);

/* Sets up the controllers from item irq_ctrl_info; call it once after dev_drv_init, before the
 * first dispatch and before threads use the library. Returns the number of controllers, as
 * configured where that is negative; -6: irq_ctrl_num is not configured; -1: irq_ctrl_info is not
 * configured, or there are more than DFD_IRQ_CONTROLLERS_MAX controllers. */
DFD_API int drv_irq_cfg_init(void);

/*
 * Walks 1st_irq_status, 2nd_irq_status (index1 i) and 3rd_irq_status (index1 i, index2 j), and
 * calls handler, if not null, for the irq_info item of each pending source (index1 i << 8 | j,
 * index2 k, from bit 0 up); a source without the item is passed over. A second or third level that
 * is not configured, or cannot be read, ends the walk there: its parent bit is the source, with
 * the lower positions 0. A first level that is not configured counts as all bits pending. A status
 * item in mode tlv or fru reads as 0.
 * Cleared is the register that sources were found in, with its pending bits or all bits (struct
 * irq_ctrl): 3rd_irq_clear once after its sources, 2nd_irq_clear and 1st_irq_clear after each of
 * theirs. A register whose pending bits all have a level below them is not cleared itself. Failed
 * writes and missing clear items are passed over.
 * Polarities come from irq_ctrl_info; all controllers share it, the registers and the sources, so
 * that one dispatch, of controller 0, serves them all. May sleep 50 ms for each register on I2C
 * that does not answer. Returns 0; -1: the first level is configured and cannot be read, or the
 * controller is not set up.
 */
DFD_API int sdd_irq_dispatch(uint32_t controller, dfd_irq_handler_t handler);

/* Unmasks (enable 1) or masks (any other) all sources of a type (enum irq_type): writes 0 or 0xFF
 * to irq_mask of index1 i << 8 | j and index2 k << 4 | m, m from 0 to 15. Positions without a
 * source count as type card. Always returns 0: missing items and failed writes are passed over. May
 * sleep 50 ms for each write to I2C that fails. */
DFD_API int dfd_irq_set_cfg(int type, int enable);

DFD_END_DECLS

#endif
