/* SPDX-License-Identifier: MIT */
/*
 * Power supplies: presence and health, identity, telemetry, and the figures of the whole system.
 *
 * power_id is index1 of every item of a supply (0 to 16; bypass_state 0 to 4). Supplies are
 * numbered from 1 and no item counts them: ask for the status of 1 to 16; -6 is a supply that the
 * board does not have. Figures of the system have no index. Each call makes the few readings that
 * it needs and keeps nothing. A transfer to an I2C device that does not answer sleeps 50 ms, so any
 * function here may sleep, except where it says otherwise.
 *
 * "The code of the reading" is what dfd_info_get_int returned: -6: not configured; -5 or -8: the
 * item cannot be read as a number; -7: the hardware did not answer. An item in mode tlv or fru
 * gives no number: where nothing else is said the call then succeeds and the value stays as it was
 * (0 where the value is the result).
 */
#ifndef DFD_POWER_H
#define DFD_POWER_H

#include <dfd/types.h>

DFD_BEGIN_DECLS

enum {
    DFD_POWER_NAME_SIZE = 32,      /* bytes that a buffer for a product name needs */
    DFD_POWER_VERSION_SIZE = 21,   /* bytes that a buffer for a version should have */
    DFD_POWER_TYPE_UNKNOWN = 65534 /* type of a supply whose name no power_name item begins */
};

/* ---- Presence and health ------------------------------------------------------------------ */

/* Results of sdd_get_power_status. 2 is not used. */
enum power_status {
    POWER_STATUS_ABSENT = 0,
    POWER_STATUS_NORMAL = 1,
    POWER_STATUS_FAILED = 3,
    POWER_STATUS_LINE_FAILED = 4,   /* the input line has failed */
    POWER_STATUS_FAILED_FLAGGED = 5 /* failed, and bit 4 (16) of the failure value is set */
};

/* Whether a supply is plugged: item power_present. Returns 1 or 0 (0 also in mode tlv or fru), or
 * the negative code of the reading. */
DFD_API int sdd_get_power_present(uint32_t power_id);

/*
 * Health of a supply, an enum power_status. Present is a supply whose item power_state is not 0
 * or, where that is in mode func, whose item power_present is not 0, whatever power_state reads
 * (sdd_func_get_power_status). A present supply is then looked at for failure (item power_fail)
 * and for input line failure (item power_line_fail), each of which a board may leave out. Failure
 * outranks line failure. A line failure item on an I2C source tells by whether the supply answers:
 * silence is a failed line, and what it answers does not count.
 * Returns the status; -6: power_state (in mode func power_present) is not configured; -1: a line
 * failure item elsewhere cannot be read; otherwise the negative code of the reading.
 */
DFD_API int sdd_get_power_status(uint32_t power_id);

/*
 * Presence put together from items power_present and power_state: *status 0 absent, 3 present with
 * a power_state other than 0, 4 present with power_state 0. Returns what the last reading
 * returned: 0, or the negative code of the reading (-8 also for null status); 3 or 4 for a
 * power_state in mode tlv or fru, whose value counts as not 0. When the second reading fails,
 * *status holds the first one's value.
 */
DFD_API int sdd_func_get_power_status(uint32_t power_id, int *status);

/* Failure value of item power_fail: 0 no failure; bit 4 (16) has a meaning of its own. Returns 0;
 * also 0, and *fail stays, when the item is not configured, so set *fail to 0 first. -8: null fail;
 * otherwise the code of the reading, 3 or 4 in mode tlv or fru. */
DFD_API int sdd_get_power_fail_status(uint32_t power_id, int *fail);

/* ---- Identity ----------------------------------------------------------------------------- */

/*
 * Type of a supply: its product name looked up in the items power_name_TYPE=NAME, or
 * DFD_POWER_TYPE_UNKNOWN. Item power_type says where the name stands: mode tlv (the image's device
 * type, whose four bytes, least significant first, go for a name), fru (product name), legacy (12
 * bytes at .reg_offset); another mode is read as a number, in format num_buf and bit through
 * dfd_get_power_type_by_buf.
 * Returns the type; -6: not configured; the negative result of the EEPROM query or the code of the
 * reading.
 */
DFD_API int sdd_get_power_type(uint32_t power_id);

/*
 * Type of a supply by its product name, the len bytes of buf up to the first that is not a graphic
 * ASCII character; that byte is overwritten with 0. The first power_name item that begins the name
 * decides. Does not sleep. Returns 0 with *type, DFD_POWER_TYPE_UNKNOWN for an unknown name; -8:
 * null buf or type, or len below 1.
 */
DFD_API int dfd_get_power_type_by_buf(uint8_t *buf, int len, int *type);

/*
 * Product name from where item power_type says (modes tlv, fru and legacy), up to the first byte
 * that is not a graphic ASCII character, at most 31 characters, terminated. The capacity is not
 * looked at: buf holds DFD_POWER_NAME_SIZE bytes. *len becomes the number of characters.
 * Returns 0; -6: not configured; -8: null buf or len; -1: another mode; otherwise the negative
 * result of the EEPROM query. buf and *len stay on failure.
 */
DFD_API int sdd_get_power_name(uint32_t power_id, char *buf, int *len);

/*
 * Serial number (item power_sn) and hardware version (item power_hw_ver). *len is the capacity of
 * buf in and the number of characters out.
 * Mode tlv: entry 0 of the TLV image (of type 0, not the serial number's or the version's own), as
 * stored. Mode legacy, hardware version only: "2.05" from the three characters at .reg_offset,
 * terminated where buf has room for 5. Mode config, format buf: the text up to the first byte that
 * is not graphic, terminated; buf holds more than .len bytes. DFD_POWER_VERSION_SIZE bytes do for
 * a version.
 * Return 0; -8: null buf or len, a capacity below 1, or below 4 for a legacy hardware version; -6:
 * not configured, or buf does not hold more than .len bytes; -5: another mode or format, or .len
 * above the capacity; -7: the hardware did not answer; otherwise the negative result of the EEPROM
 * query.
 */
DFD_API int sdd_get_power_sn(uint32_t power_id, char *buf, int *len);
DFD_API int sdd_get_power_hw_version(uint32_t power_id, char *buf, int *len);

/*
 * Software version (item power_sw_ver, mode config, format buf): the .len bytes as they are,
 * without terminator; *len is the capacity in and stays, so clear buf first. Without the item:
 * "N/A", terminated where buf has room for 4, and *len 3. An item of three bytes is read anew as
 * entry 0 of a TLV image at the same device, whose length *len then is; where that fails, buf
 * holds the three bytes. Give a buffer of DFD_POWER_VERSION_SIZE bytes.
 * Returns 0; -8: null buf or len, a capacity below 1, or below 3 without the item; -5: another
 * mode or format, or .len above the capacity; -7: the hardware did not answer; otherwise the
 * negative result of the EEPROM query.
 */
DFD_API int sdd_get_power_sw_version(uint32_t power_id, char *buf, int *len);

/*
 * Writes the hardware version, a terminated text "x.yz", to a supply whose item power_hw_ver is in
 * mode legacy; an empty text writes nothing. Supplies have no write-protect signal. Sleeps 10 ms
 * after each of at most two writes. Returns 0; -8: null data; -6: not configured, or another mode;
 * -1: a text of another form, or a failed write; otherwise the negative result of the read.
 */
DFD_API int sdd_set_power_hw_version(uint32_t power_id, const uint8_t *data);

/* ---- Telemetry ---------------------------------------------------------------------------- */

/*
 * sdd_get_power_vol_in, _icur, _ovol, _ocur, _rated_supply and _temp take their item alike: format
 * num_buf, two bytes, the low one first, is a LINEAR11 (_ovol: LINEAR16) word; another number of
 * bytes, and format bit, give -8; the other formats and a constant give their number as it is, in
 * the unit of the function.
 */

/*
 * Input voltage in V (item power_in_voltage), cut to whole units towards zero, and input current in
 * mA (item power_in_current). Return 0; -8: null pointer; otherwise the negative code of the
 * reading.
 */
DFD_API int sdd_get_power_vol_in(uint32_t power_id, int *volt);
DFD_API int sdd_get_power_icur(uint32_t power_id, int *milliamp);

/*
 * Output voltage in mV (item power_out_voltage, a signed LINEAR16 word with exponent -9) and output
 * current in mA (item power_out_current, LINEAR11). Return the value, which the word can make
 * negative, or the negative code of the reading.
 */
DFD_API int sdd_get_power_ovol(uint32_t power_id);
DFD_API int sdd_get_power_ocur(uint32_t power_id);

/* Output power in mW, from output current and output voltage, both always read, in this order. mA
 * times mV is computed in 32 bits, so above about 2147 W the result is wrong. Returns the value; -1
 * when one of the two is negative, be it a code or a value. */
DFD_API int sdd_get_power_osupply(uint32_t power_id);

/*
 * Rated output power in W (item power_rate_supply): a LINEAR11 word, cut to whole units towards
 * zero; in mode tlv entry 0 of the TLV image, of at most four bytes, lowest first; a longer one is
 * not found. Returns the value; -6: not configured; the negative code of the reading or of the
 * EEPROM query.
 */
DFD_API int sdd_get_power_rated_supply(uint32_t power_id);

/* Temperature in whole degrees Celsius (item power_temp, its word through
 * dfd_get_power_temp_by_buf). sensor is ignored. Returns 0; -8: null temp; otherwise the negative
 * code of the reading. */
DFD_API int sdd_get_power_temp(uint32_t power_id, uint32_t sensor, int *temp);

/* Temperature of a LINEAR11 word, low byte first, in whole degrees towards zero. Does not sleep.
 * Returns 0; -8: null buf or temp, or len other than 2. */
DFD_API int dfd_get_power_temp_by_buf(uint8_t *buf, int len, int *temp);

/* ---- The system --------------------------------------------------------------------------- */

/*
 * Figures that the board's power logic keeps, passed on as they are; what they count and in which
 * unit is the board's. Rated power (item sys_power_rsupply), output power (sys_power_osupply),
 * spare power (sys_power_ssupply), number of redundant supplies (sys_power_rdn_num), state of mixed
 * supplies (sys_power_mix_state).
 * Return 0; -8: null out where the item is configured; otherwise the code of the reading, 3 or 4 in
 * mode tlv or fru. *out is written on 0 only.
 */
DFD_API int sdd_get_sys_power_rsupply(int *out);
DFD_API int sdd_get_sys_power_osupply(int *out);
DFD_API int sdd_get_sys_power_ssupply(int *out);
DFD_API int sdd_get_sys_power_rdn_num(int *out);
DFD_API int sdd_get_sys_power_mix_state(int *out);

/* Whether power is lacking, as the board's logic says it (item system_power_lack). Returns 0; -8:
 * null out; otherwise the negative code of the reading. */
DFD_API int sdd_get_sys_power_lack_state(int *out);

/*
 * Bypass state of one supply (item bypass_state, index 0 to 4) and of the system (item
 * power_bypass_state, without index), as the board encodes it. Results as for the figures.
 */
DFD_API int sdd_get_bypass_power_state(uint32_t power_id, int *out);
DFD_API int sdd_get_system_bypass_state(int *out);

/* Whether supplies are modules that can be pulled: *out 1 or 0, from the number of item
 * is_module_power. Does not sleep. Returns 0; -8: null out; -6: not configured. */
DFD_API int sdd_get_is_module_power(uint8_t *out);

/* Temperature in the power area in whole degrees Celsius, 0 to 127: bits 3 to 9 of item
 * power_env_temp. Returns the temperature, or the negative code of the reading. */
DFD_API int sdd_get_env_temp(void);

DFD_END_DECLS

#endif
