/* SPDX-License-Identifier: MIT */
/* Where the board sits in the chassis, the other boards around it, and the settings of the board. A
 * call that reads or writes an item on I2C may sleep 50 ms when the device does not answer. */
#ifndef DFD_CHASSIS_H
#define DFD_CHASSIS_H

#include <dfd/types.h>

DFD_BEGIN_DECLS

/* ---- Slots -------------------------------------------------------------------------------- */

/* Own slot: item my_slotid, plus slot_base when that is configured; sub-slot: my_sslotid and
 * sslot_base. Return the number; -6: not configured; otherwise what the failing read returned
 * (dfd_info_get_int), which is 3 or 4 for an item in mode tlv or fru. */
DFD_API int sdd_get_my_slotid(void);
DFD_API int sdd_get_my_sslotid(void);

/* Number of the CPU on the board: item my_cpuid, 0 where it is not configured. */
DFD_API int sdd_get_my_cpu_id(void);

/* The number under which the items of the card in a slot are configured: -1 for slot 0; 0 for what
 * sdd_get_my_slotid returns, also where that is a code, so that -6 names the own card of a board
 * without my_slotid; 31 for slots 30 and 31; else the slot. */
DFD_API int sdd_get_virtual_slotid(int slot);

/* Whether a slot holds a card: item slot_online, index1 slot (0 to 32). Returns 1, also for the
 * own slot whatever the item says; 0 when it is empty, not configured or cannot be read. */
DFD_API int sdd_get_slot_online(int slot);

/* Number of sub-slots: item sslot_num, 0 where it is not configured. */
DFD_API int sdd_get_sslot_num(void);

/* Whether a sub-slot holds a card: item sslot_state, index1 sslot (0 to 8). Returns 1; 0 when it
 * is empty, not configured or cannot be read. */
DFD_API int sdd_get_sslot_state(uint32_t sslot);

/* Switches the power of a card: writes value, in the sense of the item, to item card_power_ctrl,
 * index1 the virtual slot. Returns the result of dfd_info_set_int; -6 for slot 0. */
DFD_API int sdd_control_card_power_on_off(int slot, uint32_t value);

/* ---- Resets ------------------------------------------------------------------------------- */

/*
 * Resets line cards by the items reset_lc, index1 the slot as it is. sdd_reset_lc: one slot, 1 and
 * at once 0 again, the 0 only where the 1 could be written. sdd_reset_lc_all: slots 1 to 28, all 1,
 * a pause of 200 ms, all 0; slots without the item are passed over. sdd_reset_linecard does the
 * second where `all` is not 0, else the first. Failed writes are not reported: it always returns 0.
 */
DFD_API int sdd_reset_linecard(int slot, int all);
DFD_API void sdd_reset_lc(int slot);
DFD_API void sdd_reset_lc_all(void);

/*
 * Resets the peer master board: writes 1 to item rst_master, waits until the peer is absent or
 * neither master nor ready, writes 0. Looks at most 800 times, 10 ms apart, with
 * sdd_get_chassis_mb_info, whose failure is not "down". That sleeps about 12 seconds when the peer
 * does not go down, up to 32 when its lines keep changing, and 8 when they cannot be read (48 on
 * I2C).
 * Returns the result of the releasing write, so -6 without rst_master; -1 when the peer did not go
 * down; 0 at once when the first write returns 6.
 */
DFD_API int sdd_reset_master(void);

/* ---- Master boards ------------------------------------------------------------------------ */

/* State of the peer master board; sdd_set_my_mb_status takes the same numbers for our own. */
enum dfd_peer_state {
    DFD_PEER_ABSENT = 0,
    DFD_PEER_PRESENT = 1,     /* neither master nor ready */
    DFD_PEER_MASTER = 2,      /* master and ready */
    DFD_PEER_READY = 3,       /* ready, not master */
    DFD_PEER_INCONSISTENT = 4 /* a combination of lines that means nothing */
};

/*
 * State of the peer (enum dfd_peer_state) from the items mcpu_rdy_status, mcpu_master_status and
 * mcpu_present, read in this order and sampled twice, 5 ms apart, up to 6 times until two samples
 * agree; the last counts all the same. Both names are one function.
 * Return 0, with state 0 on a board without mcpu_rdy_status or mcpu_master_status, which has no
 * peer; -5: a line cannot be read, or mcpu_present alone is not configured; -1: ready x 4 | master
 * x 2 | present lies outside 0 to 7, and *state stays; -22: null state.
 */
DFD_API int sdd_get_chassis_mb_info(int *state);
DFD_API int sdd_get_peer_mb_state(int *state);

/* The raw value of item mcpu_present. Returns 0 or the negative code of dfd_info_get_int (-8 for a
 * null value); in mode tlv or fru 0, and *value stays. */
DFD_API int sdd_rd_mcpu_present(int *value);

/* Tells the peer our own status, 0 to 4: writes 1 to items mcpu_master_config, mcpu_rdy_config and
 * bp_ctrl for status 2 (master), 0, 1 and 0 for 3 (ready), and 0 to all three for the others.
 * Returns 0, whatever the writes do; -22: a status above 4. */
DFD_API int sdd_set_my_mb_status(uint32_t status);

/* 1 when a equals b, else 0. */
DFD_API int sdd_mb_is_compatible(int a, int b);

/* ---- Versions and constants of the board -------------------------------------------------- */

/* Version dates of CPLD and FPGA: the BCD bytes of item cpld_ver_date or fpga_ver_date as digits,
 * two a byte, not terminated. text holds 42 bytes, *len is only set. Return 0; -6: not configured;
 * -8: null pointer where it is configured; the negative code of dfd_info_get_buf (-5 also for an
 * item of more than 21 bytes). */
DFD_API int sdd_get_cpld_ver_date(char *text, int *len);
DFD_API int sdd_get_fpga_ver_date(char *text, int *len);

/* Keeps the card's hardware version text, len bytes of ver with the terminator among them, for
 * dfd_check_fwed_v100; call it before threads do. Initially "0.00". Returns 0; -1 for null ver or a
 * len outside 0 to 21. */
DFD_API int dfd_cfg_card_hw_ver(const char *ver, int len);

/* 1 when the board type is 74 or 75 and the kept hardware version is "1.00"; else 0. Looks for the
 * board type like sdd_get_my_card_type. */
DFD_API int dfd_check_fwed_v100(void);

/* Whether line cards have the hardware heartbeat: *flag 1 supported, 0 not. The sense is inverted
 * from the register: item support_lc_hwhb reading 1 gives 0, everything else 1, a reading that
 * fails too. Returns 0; -6: not configured, *flag stays; -8: null flag where it is configured;
 * otherwise what dfd_info_get_int returned. */
DFD_API int sdd_get_support_lc_hwhb(int *flag);

/* Failure flags as they are read: items eeprom_fail_status and mb_temp_fail_status. Return the
 * result of dfd_info_get_int: 0; -6: not configured; -8 for a null value where the item is
 * configured; 3 or 4 in mode tlv or fru, without a value; another negative code. */
DFD_API int sdd_get_eeprom_fail_status(int *value);
DFD_API int sdd_get_mb_temp_fail_status(int *value);

/* Virtual switch domains supported: item vsd_support_num, 1 where it is not configured. Always
 * returns 0; a null count is not set. */
DFD_API int sdd_get_vsd_support_num(int *count);

/* MTU of the management port in bytes: items mgmt_min_mtu, mgmt_max_mtu, mgmt_def_mtu; slot is not
 * used. Returns 0; -1: null pointer; -6: one of them is not configured, the others are set. */
DFD_API int sdd_get_mgmt_mtu_range(int slot, int *min, int *max, int *def);

/* Configuration distribution time, in the unit of the platform: item cfg_dist_finish_time, 480
 * where it is not configured. Returns it. */
DFD_API int sdd_get_cfg_dist_finish_time(void);

/* ---- Chip family and fabric mode ---------------------------------------------------------- */

/* Installs a chip family, a bit mask: the first call takes the board's from item chip_family,
 * whatever the mask. Returns 0; -6: nothing installed and not configured; -4: the mask has no bit
 * of what is installed. */
DFD_API int sdd_install_card_chip_family(uint32_t mask);

/* The same word under its other name: overwritten with a mode of 0 to 7 (0: nothing is installed),
 * and read. Return 0; -8: a mode above 7; -1: null mode. */
DFD_API int sdd_set_sys_chip_mode(uint32_t mode);
DFD_API int sdd_get_sys_chip_mode(uint32_t *mode);

/* Installs a fabric mode, 81 to 88 or 102; the first one stays. Returns 0; -8: another mode; -4: a
 * different one is installed. */
DFD_API int sdd_install_ca_fe(uint32_t mode);

/* The fabric mode, overwritten (0 takes it away) and read. Return 0; -8: no fabric mode; -1: null
 * mode. */
DFD_API int sdd_set_ca_sys_fe_mode(uint32_t mode);
DFD_API int sdd_get_ca_sys_fe_mode(uint32_t *mode);

/* ---- Card type conflict ------------------------------------------------------------------- */

/* Card type by the setmac file that item setmac_e2type_file names: its first 10 characters as a
 * hexadecimal number, plus 47; found once and cached. The file is opened for reading and writing.
 * Returns the type; -6: not configured; -1: the file cannot be read. */
DFD_API int sdd_get_my_type_from_setmac(void);

/* 1 when the board type (sdd_get_my_card_type) and the setmac type are both above 0 and differ,
 * else 0. */
DFD_API int sdd_check_mycard_is_conflict(void);

/* ---- SFP ports and reset button ----------------------------------------------------------- */

/* Whether a port has an SFP module: item port_sfp_state, index1 the logical port. Returns 0 and
 * *present 0 or 1; -6: not configured; -7: cannot be read; -8: null present where it can be read.
 */
DFD_API int dfd_port_get_sfp_present(uint32_t lport, uint8_t *present);

/* Switches the transmitter of a port: writes 1 (enable not 0) or 0 to item port_sfp_tx, index1 the
 * logical port. Returns 0 or the negative code of dfd_info_set_int. */
DFD_API int dfd_port_set_sfp_tx(uint32_t lport, int enable);

/* What the reset button is for. */
enum dfd_reset_button {
    DFD_RESET_BUTTON_NONE = 0,
    DFD_RESET_BUTTON_SHORT = 1, /* short press */
    DFD_RESET_BUTTON_LONG = 2   /* long press */
};

/* Reset button (enum dfd_reset_button): item reset_button_type selects a text reset_button_tp_str
 * by index1, and that begins with "long" or "short". Returns 0 also for another text, and when
 * either item is not configured or cannot be read; an item in mode tlv or fru counts as type 0. */
DFD_API int drv_get_reset_button_type(void);

DFD_END_DECLS

#endif
