/* SPDX-License-Identifier: MIT */
/*
 * Fan trays: presence and health, rotors, speeds, type and airflow, inventory.
 *
 * A tray is named by its fan id, index1 of its configuration items (0 to 16, in practice from 1
 * on). Its rotors (sub-fans) count from 1 and are index2 of the items of a rotor; only the low 8
 * bits of the number enter the key. Nothing is kept between calls. Every call that reads or writes
 * a device may sleep: 50 ms for each transfer to an I2C device that does not answer.
 *
 * Item names stand with their indexes: fan_state(fan) has index1 = fan id and index2 = 0. "Engine
 * code" is what dfd_info_get_int returns for a failed read: -5 unusable description, -7 failed
 * transfer, -8 null result pointer, or format num_buf in all but the speed level, which alone
 * converts it; for dfd_info_get_buf and dfd_info_set_int accordingly. Where an integer is read, an
 * item in mode tlv or fru gives no value: the result then stays as it was, in the functions that
 * return a value 0.
 */
#ifndef DFD_FAN_H
#define DFD_FAN_H

#include <dfd/types.h>

DFD_BEGIN_DECLS

/* ---- Presence and health ------------------------------------------------------------------ */

/* What sdd_get_fan_status tells. A configured presence value other than 1 is passed on as it is. */
enum fan_status {
    FAN_STATUS_ABSENT = 0,
    FAN_STATUS_OK = 1,
    FAN_STATUS_FAIL = 2,     /* a rotor failed; outranks a line failure */
    FAN_STATUS_LINE_FAIL = 3 /* the tray has no power */
};

/*
 * State of a tray: enum fan_status.
 *
 * Presence is fan_state(fan), not 0. With fan_speed_floor(0) configured, a present tray has failed
 * when a rotor turns slower than that although its configured speed level is above 0
 * (fan_real_speed(fan, rotor), get_fan_cfg_speed(fan, rotor); rotors as sdd_get_fan_num says, at
 * most 32). A rotor without fan_real_speed is passed over; one whose speed cannot be read counts as
 * standing still. Without a floor, and also when the level of a slow rotor is not configured or
 * its register value belongs to none, a tray has failed when fan_fail_status(fan) is configured
 * and not 0.
 * The line failure is that of sdd_get_fan_line_fail_status.
 *
 * Returns the state, for a healthy tray the value of fan_state; -6: no fan_state; -7: fan_state or
 * fan_fail_status cannot be read; another engine code of get_fan_cfg_speed or fan_line_fail.
 */
DFD_API int sdd_get_fan_status(uint32_t fan_id);

/*
 * Whether the power line of a tray failed, by fan_line_fail(fan): *fail 0 or not 0. With source
 * i2c the device itself is the sign: one that answers has power (0 whatever it says), a silent one
 * has not (1). Clear *fail first: it stays where fan_line_fail is not configured, which is a
 * success. Returns 0; -7: the read failed and the source is not i2c; another engine code.
 */
DFD_API int sdd_get_fan_line_fail_status(uint32_t fan_id, int *fail);

/*
 * Failed rotors of a tray: bit n - 1 of *bitmap for rotor n. The first source that is configured:
 * fan_fail_bmp(fan); the judgement by fan_speed_floor (see sdd_get_fan_status); the state of the
 * tray. The first two do not look at presence: rotors of an empty tray may count as failed. Ask
 * sdd_get_fan_status first.
 * Returns 0 from the first two, or the engine code (3 and 4 for a fan_fail_bmp in mode tlv and fru,
 * with *bitmap 0). From the third the state itself, so a positive number: 2 with *bitmap 1, 3 or
 * the presence value with *bitmap 0; -1: tray absent or state unreadable. -8: null bitmap. On
 * failure *bitmap is 0.
 */
DFD_API int sdd_get_fan_fail_bmp(uint32_t fan_id, int *bitmap);

/* ---- Counts ------------------------------------------------------------------------------- */

/* Rotors of a tray: subfan_num(fan), 1 where that is not configured. Returns 0; -8: null num; an
 * engine code; 3 or 4 in mode tlv or fru, *num stays. */
DFD_API int sdd_get_fan_num(uint32_t fan_id, int *num);

/* Number of fan trays as item fan_num(0) says; trays beyond 16 cannot be configured. Returns it; 0
 * where it is not configured. */
DFD_API int sdd_get_sys_fan_num(void);

/* Returns fan_id: the place for a board whose trays are numbered otherwise. */
DFD_API int dfd_dev_remap_fanid(uint32_t fan_id);

/* ---- Speed, mode, temperature ------------------------------------------------------------- */

/* Measured speed of a rotor, in the unit of fan_real_speed(fan, rotor), usually rpm. Returns 0;
 * -6: not configured; -8: null speed; another engine code. */
DFD_API int sdd_get_fan_speed(uint32_t fan_id, uint8_t sub_id, int *speed);

/*
 * Configured speed level of a rotor, from get_fan_cfg_speed(fan, rotor). An item of format bit or
 * num_buf gives its first byte as the level or, with fan_speed_level_support(0) configured, the
 * level whose fan_speedlvl_convert(level) it is. Other formats give the value as it is read.
 * Returns 0; -8: null level; -6: not configured, or a byte that belongs to no level; another
 * engine code.
 */
DFD_API int sdd_get_fan_speed_level(uint32_t fan_id, uint32_t sub_id, int *level);

/*
 * Writes the speed of a rotor to fan_cfg_speed(fan, rotor): the register value
 * fan_speedlvl_convert(level) or, where that is not configured (or is -6), level itself. Only one
 * byte is written (dfd_info_set_int). The fans obey in mode 1: see sdd_set_fan_mode.
 * Returns 0; -5: the configured register value is negative; -6: no fan_cfg_speed; another code of
 * dfd_info_set_int.
 */
DFD_API int sdd_set_fan_speed_level(uint32_t fan_id, uint8_t sub_id, uint32_t level);

/* Writes the fan control mode to fan_mode(0). 1 is speed by register; what other values mean is up
 * to the board. Returns 0; -6: not configured; another code of dfd_info_set_int. */
DFD_API int sdd_set_fan_mode(uint32_t mode);

/* What sdd_get_fan_temp returns for a failed read. */
enum { FAN_TEMP_UNREADABLE = 65535 };

/* Temperature of a tray, in the unit of fan_temp(fan), usually degrees Celsius. Returns it;
 * FAN_TEMP_UNREADABLE, not a code, when the read fails; -6: not configured. Temperatures below zero
 * look like codes. */
DFD_API int sdd_get_fan_temp(uint32_t fan_id);

/* ---- Type --------------------------------------------------------------------------------- */

/*
 * Type of a tray, by the mode of fan_type(fan): tlv and legacy the device type in the EEPROM at
 * .fpath, .addr; fru the type under which fan_name(type) lists the product name with its spaces
 * removed, or else the four bytes of a name of four, least significant first; other modes the
 * integer that the item describes.
 * Returns the type; -6: not configured; -5: unknown product name, or an engine code; the result of
 * the EEPROM query (-1, -12, -22, or that of the I2C transfer).
 */
DFD_API int sdd_get_fan_type(uint32_t fan_id);

/* Copies src without its spaces (' ' only) to dst and terminates it; dst holds strlen(src) + 1
 * bytes. Returns 0; -8: null pointer. */
DFD_API int sdd_fan_name_remove_sp(char *dst, const char *src);

/* Airflow of a tray type. */
enum fan_attr {
    FAN_ATTR_OTHER = 0,
    FAN_ATTR_F = 1, /* the attribute name begins with "-F" */
    FAN_ATTR_R = 2  /* with "-R" */
};

/*
 * Airflow of a tray, enum fan_attr, from the text fan_attr_type(type), type as sdd_get_fan_type
 * returns it; 16 bits of it count, a negative code too is looked up. The second argument is
 * ignored. Returns 0; -5: null attr; -6: no text for the type.
 */
DFD_API int sdd_get_fan_attribute(uint32_t fan_id, uint32_t ignored, int *attr);

/* ---- Inventory ---------------------------------------------------------------------------- */

/*
 * Serial number from fan_sn(fan) and hardware version from fan_hw_ver(fan). The item's mode tells
 * the layout of the EEPROM at .fpath, .addr:
 *
 *   mode     serial number                        hardware version
 *   tlv      entry 3; buf holds 256 bytes         entry 5, else from the header ("1.20")
 *   fru      serial number                        product version, "123" spread to "1.23"
 *   legacy   13 characters, *len stays            "V1.23"
 *   other    bytes of the item (format buf)       integer of the item, 0x2101 as "V1.12": low
 *                                                 byte, then the nibbles of the next one, low first
 *
 * buf holds at least 21 bytes. *len: in, the capacity, which is looked at in mode fru and for the
 * hardware version in mode tlv only; out, the number of characters. The text is terminated where
 * the capacity (256 for the serial number in mode tlv) leaves room for that. An item of bytes has
 * at most 21 (.len); its text ends at the first 0 byte, and a 21st character is cut.
 *
 * Return 0; -6: not configured; in modes tlv, fru and legacy the result of the query
 * (sdd_get_e2prom_info_by_type and its kin: -22 for a null pointer or, where it is looked at, no
 * capacity; -1, -12, or that of the I2C transfer), otherwise an engine code, -8 for a null pointer.
 */
DFD_API int sdd_get_fan_sn(uint32_t fan_id, char *buf, int *len);
DFD_API int sdd_get_fan_hw_version(uint32_t fan_id, char *buf, int *len);

/*
 * Software version: the bytes of fan_sw_ver(fan) (mode config, format buf, up to 21 bytes), as
 * text up to the first 0 byte, at most 20 characters or *len - 1, terminated; *len the number of
 * characters. buf holds at least 21 bytes, whatever *len says. An item of exactly 3 or 4 bytes is
 * taken as a sign to read entry 0 of the TLV image (3) or FRU image (4) at .fpath, .addr over them,
 * into *len bytes, at most 256: give version items another length. Returns 0; -6: not configured;
 * -5: another mode or format, or over 21 bytes; -7: the read failed; -8: null pointer; for 3 and 4
 * bytes the result of the EEPROM query.
 */
DFD_API int sdd_get_fan_sw_version(uint32_t fan_id, char *buf, int *len);

/*
 * Version of the CPLD in a tray: bytes of fan_cpld_version(fan) (mode config, format buf, up to 21
 * bytes). Returns the number of bytes read, and then leaves buf and *len as they were: the text is
 * delivered, like a software version, only with a result of exactly 0, which no item gives. What
 * the item holds is read with dfd_info_get_buf. -6: not configured; -5: another mode or format, or
 * over 21 bytes; -7: the read failed; -8: null pointer.
 */
DFD_API int sdd_get_fan_cpld_version(uint32_t fan_id, char *buf, int *len);

/*
 * Writes serial number and hardware version of a tray into its EEPROM: that of fan_hw_ver(fan),
 * by the item's mode with dfd_set_fan_info_tlv, dfd_set_fan_info_fru or dfd_set_fan_info_legacy,
 * which tell what the texts look like. A null or empty text leaves its field. type (legacy only,
 * low 8 bits) may be null and is only written together with a text; the first name passes null.
 * Write protection of the fans is lifted before and restored after, whatever the result:
 * dfd_ctl_e2_write_pro(DFD_WP_FANS), or where none of its items can be written, register 0x39 of
 * /dev/cpld0 (0xF0 lifts, 0xFF protects).
 * Return the result of the writer, 0 for success; 3: another mode, nothing is written; -6: not
 * configured. Sleep 10 ms for every 4 bytes written, or part of them.
 */
DFD_API int sdd_set_fan_info(uint32_t fan_id, const char *sn, const char *hw);
DFD_API int sdd_set_fan_info_with_type(uint32_t fan_id, const uint32_t *type, const char *sn,
                                       const char *hw);

DFD_END_DECLS

#endif
