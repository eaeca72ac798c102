/* SPDX-License-Identifier: MIT */
/*
 * Temperatures: sensors of cards, thresholds of the system, figures of the switch chip (MAC).
 *
 * A sensor is named by the slot of its card and its index (0 to 82). card_temp_info(slot, index)
 * gives name and kind, card_temp_ctrl(slot, index) where the value is read. The slot of a card in
 * these keys is its virtual slot (sdd_get_virtual_slotid) unless a function says that it takes the
 * slot as it is. The own card is asked for with the result of sdd_get_my_slotid, whatever that is
 * but 0: on a board without item my_slotid its -6 names the own card too. Temperatures are whole
 * degrees Celsius. A read or write on an I2C bus sleeps 50 ms when the device does not answer.
 */
#ifndef DFD_TEMPERATURE_H
#define DFD_TEMPERATURE_H

#include <dfd/types.h>

DFD_BEGIN_DECLS

/*
 * Temperature of a sensor: the integer of card_temp_ctrl(virtual slot, index), converted by the
 * .type of card_temp_info(virtual slot, index) where its format is num_buf (or bit): lm75 from two
 * bytes, most significant first, to half degrees and then to whole ones, both towards zero; tmp411
 * from the extended range, byte less 64; none needs another format and is taken as it is read.
 * Returns 0; -6: no card_temp_info or no card_temp_ctrl; -1: a sensor of type mac, see
 * sdd_get_mac_temp_state; -8: null temp; another code of dfd_info_get_int, 3 and 4 without a value.
 */
DFD_API int sdd_get_card_temp(int slot, uint8_t index, int *temp);

/* Name of a sensor, .temp_name of card_temp_info(slot, index), the slot as it is. dst holds dst_len
 * bytes; names have up to 127 characters. Terminated, and the rest of dst is zeroed. Returns 0; -6:
 * not configured; -8: null dst; -5: no room for the name with its terminator. */
DFD_API int sdd_get_temp_name(int slot, uint8_t index, char *dst, int dst_len);

/* Whether a sensor is there: card_temp_info(virtual slot, index) is configured. Returns 1 or 0. */
DFD_API int sdd_check_temp_valid(int slot, uint8_t index);

/*
 * Puts a TMP411 into its extended range, which sdd_get_card_temp expects: writes 4 to register 9,
 * then 0 to register 0x22. The kind is that of card_temp_info(slot, index), the slot as it is;
 * .fpath and .addr are those of card_temp_ctrl(virtual slot, index), source i2c. A sensor of the
 * own card, which both have under 0, is out of reach: slot 0 has no virtual slot.
 * Returns the result of sdd_write_i2c, 2 for success; 0: a sensor of another type, nothing is
 * written; -6: one of the items is missing, or the source is not i2c; the negative result of the
 * first write that fails.
 */
DFD_API int sdd_set_card_temp_cfg(int slot, uint8_t index);

/* Threshold above which the system shuts down, sys_danger_temp(0), or raises an alarm,
 * sys_alarm_temp(0): a constant as it is, a register with three fraction bits in whole degrees.
 * Return 0; -6: not configured; -8: null temp; another code of dfd_info_get_int, 3 and 4 without a
 * value. */
DFD_API int sdd_get_sys_card_shutdown_temp(int *temp);
DFD_API int sdd_get_sys_card_alarm_temp(int *temp);

/* Whether the board has MAC temperatures: mac_temp_file(0) is configured. Returns 1 or 0. */
DFD_API int sdd_is_support_mac_temp(void);

enum { DFD_MAC_TEMP_FILE_SIZE = 100 }; /* bytes that are read of a MAC temperature file */

/*
 * Three figures of MAC number `mac`, from 0 on: 32-bit integers in host order at bytes 88, 92 and
 * 96 of the file that .fpath of card_temp_ctrl(0, mac + 41) names; mac + 41 counts in 8 bits. What
 * they mean is up to the writer of the file; those that a short file does not reach are 0. Returns
 * 0; -6: not configured; -8: null pointer; -10: the file cannot be read.
 */
DFD_API int sdd_get_mac_temp_state(int mac, int *a, int *b, int *c);

/* Reads a MAC temperature file with one read into buf, DFD_MAC_TEMP_FILE_SIZE bytes. Returns the
 * number of bytes; -6: it cannot be opened; -1: it cannot be read; -8: null pointer. */
DFD_API int sdd_get_mac_temp_from_file(const char *path, void *buf);

DFD_END_DECLS

#endif
