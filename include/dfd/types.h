/* SPDX-License-Identifier: MIT */
/*
 * Conventions of the whole interface.
 *
 *  1. Results. A function returns an int: 0 or a value on success, a negative code on failure
 *     (enum dfd_result). Nothing throws, nothing aborts, errno is not part of the interface.
 *  2. Missing configuration is the normal way for a board to say that it lacks a feature: the
 *     function then returns DFD_ERR_NOT_SUPPORTED.
 *  3. Widths. Values are uint32_t, bytes uint8_t, lengths int (uint32_t in the I2C and buffer
 * calls) and, where they go in and come out, int *: the capacity of the buffer goes in, the number
 * of bytes delivered comes out. A buffer whose contents are text or an integer, by what was asked
 * for, is a void *.
 *  4. Texts come back as raw bytes without a terminator unless the function says otherwise.
 *  5. Ownership. The caller owns every buffer that it hands in. Configuration records belong to
 *     the library, live as long as the process and are read in place.
 *  6. Blocking. Every call runs on the caller's thread: it opens the device that it needs,
 *     transfers, closes and returns. A call that can sleep says so.
 *  7. Threads. Nothing is locked.
 *     Before the threads begin: start-up (dev_drv_init), drv_irq_cfg_init, dfd_cfg_card_hw_ver, and
 *     what changes items, conversion lists and interrupt types by hand. After that nothing of them
 *     is written.
 *     From any thread, beside all other calls: every call that only reads, and the log gate. What
 *     is kept at the first reading (board, chassis and setmac type, backplane records) is kept
 *     whole: a thread sees nothing or all of it. Threads that ask first together each ask the
 *     hardware. Chip family and fabric mode are single words, written at once.
 *     For the caller to serialise: calls that write hardware. A bit field on a local bus is read,
 *     merged and written, which is not atomic: of two writers of one register, of whatever items,
 *     one can be lost. These are the setters and controls, LEDs, resets, write protection,
 *     interrupt masks, sdd_irq_dispatch, updates of an EEPROM (one at a time) - and the readings of
 *     voltages, which take and release the lock of their ADC. Other processes are writers too.
 *  8. On failure, results that go through pointers are left as they were unless the function says
 *     otherwise.
 */
#ifndef DFD_TYPES_H
#define DFD_TYPES_H

#include <stdint.h>

#ifdef __cplusplus
#define DFD_BEGIN_DECLS extern "C" {
#define DFD_END_DECLS }
#else
#define DFD_BEGIN_DECLS
#define DFD_END_DECLS
#endif

#define DFD_API __attribute__((visibility("default")))

/* Result codes, shared by all functions. */
enum dfd_result {
    DFD_OK = 0,
    DFD_EXISTS = 1,             /* btree_insert_node: the key is already present */
    DFD_FROM_TLV = 3,           /* integer read: take the value from a TLV EEPROM */
    DFD_FROM_FRU = 4,           /* integer read: take the value from a FRU EEPROM */
    DFD_ERR = -1,               /* not found, cannot open, cannot parse, not possible, time-out */
    DFD_ERR_CONFLICT = -4,      /* something else is already installed */
    DFD_ERR_UNUSABLE = -5,      /* the item, or an argument, does not fit the operation */
    DFD_ERR_NOT_SUPPORTED = -6, /* the item is not configured: the board lacks the feature */
    DFD_ERR_IO = -7,            /* a hardware read or write failed */
    DFD_ERR_ARG = -8,           /* null pointer, key of another kind, mode or length out of range */
    DFD_ERR_MAC_FILE = -10,     /* the MAC temperature file cannot be read */
    DFD_ERR_NO_MEMORY = -12,    /* out of memory */
    DFD_ERR_NO_BACKPLANE = -17, /* no backplane EEPROM is configured to write to */
    DFD_ERR_PARAM = -22         /* bad parameters to an EEPROM or master-board function */
};

#endif
