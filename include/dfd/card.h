/* SPDX-License-Identifier: MIT */
/*
 * Cards: power budget, supply voltages, and sub-cards without a processor. Items of a card are
 * configured under its virtual slot (sdd_get_virtual_slotid); the own card is asked for with the
 * result of sdd_get_my_slotid, on a board without item my_slotid with its -6. A call that reads an
 * item on I2C may sleep 50 ms when the device does not answer.
 */
#ifndef DFD_CARD_H
#define DFD_CARD_H

#include <dfd/types.h>

DFD_BEGIN_DECLS

/* ---- Power -------------------------------------------------------------------------------- */

/* Power that the card of a slot is rated for: item card_rate_power, index1 the virtual slot. A
 * constant is the power. In formats num_buf and bit the (first) byte is a register value, and item
 * power_regval_convert of index1 that value the power; other formats give the power as it is read.
 * Returns 0; -6: not configured, or the register value has no translation; -8: null power where it
 * is configured; the code of dfd_info_get_int. */
DFD_API int sdd_get_card_power_consume(int slot, int *power);

/* States of sdd_get_card_power_status. */
enum dfd_card_power {
    DFD_CARD_POWER_NONE = 0,         /* no card, or not configured */
    DFD_CARD_POWER_OFF_FOR_LACK = 1, /* off, the chassis lacks power */
    DFD_CARD_POWER_OFF = 2,
    DFD_CARD_POWER_ON = 3
};

/*
 * Whether a card is powered (enum dfd_card_power): on for the own slot whatever the items say; else
 * sslot_state (index1 slot, 0 to 8, so that a card in a higher slot has no state), then
 * card_power_status and card_power_lack (index1 the virtual slot). Returns 0; -8: null status; the
 * negative code of reading card_power_status.
 */
DFD_API int sdd_get_card_power_status(int slot, int *status);

/* Rated power of this card by its type: item my_rate_power, index1 the board type.
 * (drv_get_my_rate_power goes by the own slot instead.) Returns 0; -8: null power; -7: the board
 * type is unknown; -6: not configured. */
DFD_API int sdd_get_my_rate_power(int *power);

/* ---- Voltages ----------------------------------------------------------------------------- */

/* Number of voltage channels: item card_vol_num, 0 where it is not configured. Channel 0 is the
 * reference. */
DFD_API int sdd_get_card_vol_num(void);

/* Takes (1) or releases (0) the lock of the ADC: item card_vol_lock. It keeps the ADC's bytes
 * together and no thread out. A failure is only printed, when bit DFD_DEBUG_VOL_LOCK of dfd_debug
 * is set. */
DFD_API void dfd_card_vol_lock(int on);

/*
 * Voltage of a channel in millivolts: items card_vol_low and card_vol_high, index1 the virtual
 * slot, index2 channel 0 and the channel, read under the lock. Returns it, 0 for a reference of 0;
 * -6: no channels are configured; -1: channel above their number; otherwise the result of the
 * reading that failed (3 or 4 for an item in mode tlv or fru), and the lock stays taken until a
 * later call succeeds. It writes the lock, and so is no call that only reads: serialise the voltage
 * readings of all channels with each other and with writers of the lock's register.
 */
DFD_API int sdd_get_card_vol(int slot, int channel);

/* Warning level of a channel: item card_vol_waterline, index1 the virtual slot, index2 the channel.
 * Returns 0; -6, -1 as sdd_get_card_vol; -8: null level where the item is configured; otherwise the
 * result of dfd_info_get_int. */
DFD_API int sdd_get_card_vol_waterline(int slot, int channel, int *level);

/* Nominal system voltage in volts: item current_voltage, 12 where it is not configured. Always
 * returns 0; a null volt is not set. */
DFD_API int sdd_get_current_voltage(int *volt);

/* Lock hooks that do nothing and exclude nobody. */
DFD_API void dfd_flock_down(int arg);
DFD_API void dfd_flock_up(int arg);

/* ---- Sub-cards ---------------------------------------------------------------------------- */

/*
 * A sub-card by its EEPROM, item sslot_e2prom with index1 the sub-slot, 1 to 8; it is read as a TLV
 * image whatever the item's .mode: device type, serial number, hardware version. The type is read
 * twice, the second answer counts, and sleeps 100 ms more after each failure; slot is not used and
 * aux only must not be null. Of the texts, *len is the capacity in and the length out, without
 * terminator. Return 0; -8: null pointer or another sub-slot; -6: not configured; -5: the EEPROM
 * query failed.
 */
DFD_API int sdd_get_sub_unintlg_lc_info(uint32_t slot, uint32_t sslot, uint32_t *type, void *aux);
DFD_API int sdd_get_sub_unintlg_sn(uint32_t sslot, char *buf, int *len);
DFD_API int sdd_get_sub_unintlg_hw_ver(uint32_t sslot, char *buf, int *len);

/* Writes serial number and hardware version, null to leave one, in the layout of the item's .mode,
 * with write protection of the sub-cards lifted meanwhile. Returns the result of
 * dfd_set_card_info_tlv or dfd_set_card_info_fru; -6: not configured, or another mode. Sleeps 10 ms
 * for every 4 bytes. */
DFD_API int sdd_set_sub_unintlg_info(uint32_t sslot, const char *sn, const char *hw);

DFD_END_DECLS

#endif
