/* SPDX-License-Identifier: MIT */
/* Hardware access: CPLD, FPGA and I2C transfers, the information access engine that executes
 * configuration items, and the interrupt type table. */
#ifndef DFD_ACCESS_H
#define DFD_ACCESS_H

#include <dfd/types.h>

DFD_BEGIN_DECLS

/* ---- Device files: CPLDs, FPGA, plain files ----------------------------------------------- */

/*
 * Reads len bytes at offset of a device or plain file, which is opened read-write and closed
 * again. Returns the number of bytes read (0 at the end of the file); -1 when path or buf is null,
 * len negative, or the file cannot be opened; the negative result of the failing lseek or read.
 */
DFD_API int sdd_device_read(const char *path, int offset, uint8_t *buf, int len);

/* Writes len bytes at offset of a device or plain file. Returns 0, also where the device took only
 * a part of them; -1 when path or buf is null or len negative; the negative result of the failing
 * lseek or write. A file that cannot be opened is no error: 0, and nothing is written. */
DFD_API int sdd_device_write(const char *path, int offset, const uint8_t *buf, int len);

/*
 * One register of a CPLD. Address: bits 31 to 24 the CPLD (N of /dev/cpldN), bits 15 to 0 the
 * register; bits 23 to 16 are ignored. Return 0, or the negative result of the device access: -1
 * for a null buf or, reading, a device that cannot be opened. A write to such a device returns 0
 * and writes nothing; a read past the end of the device returns 0 and leaves *buf.
 */
DFD_API int dfd_cpld_read(uint32_t addr, uint8_t *buf);
DFD_API int dfd_cpld_write(uint32_t addr, uint8_t value);

/* One register of /dev/fpga0 at offset. Results as for the CPLD. */
DFD_API int dfd_fpga_read(uint32_t offset, uint8_t *buf);
DFD_API int dfd_fpga_write(uint32_t offset, uint8_t value);

/* Fixed answers without hardware access, kept for compatibility: the two status checks return 0
 * (good), the self-tests -1 (not supported), and there is no descriptor to get (-1). */
DFD_API int dev_drv_check_cpld_status(int cpld);
DFD_API int dev_drv_check_fpga_status(uint8_t fpga);
DFD_API int drv_check_cpld(int cpld);
DFD_API int drv_check_ucd9081(int bus, int addr, int page);
DFD_API int drv_fpga_self_test(void);
DFD_API int dfd_drv_get_fd(int type, void *fd);

/* ---- I2C ---------------------------------------------------------------------------------- */

/*
 * Writes need an adapter that knows I2C_M_NOSTART: offset and data are two messages, the second
 * with that flag. Neither the kernel nor these functions check it. An adapter without it ignores
 * it: the call succeeds, and the chip takes the first data byte as its register offset, so a
 * one-byte write does nothing and a longer one lands at a wrong register. The flag is bit 0x10
 * (I2C_FUNC_NOSTART) of the I2C_FUNCS ioctl; drivers on i2c-algo-bit have it, many others (aspeed,
 * imx, designware, cadence, mv64xxx and more) do not. Reads are right on every adapter.
 */

/*
 * One attempt to transfer: the register offset is written, then len bytes are read into buf, or
 * written from data, as two messages of one I2C_RDWR request on bus device `path`. addr is the
 * 7-bit address. wide_offset 0 sends one offset byte (the low 8 bits); otherwise two bytes, high
 * byte first, and in a read with flag I2C_M_TEN on the first message.
 * Return the result of the request (2: both messages done); -1 when path, buf or data is null, a
 * read is longer than 65535 or a write longer than 256 bytes; the negative result of a failing
 * open. A write of length 0 returns 0 without opening the bus.
 */
DFD_API int sdd_read_i2c_one_time(const char *path, uint16_t addr, uint16_t offset, uint8_t *buf,
                                  uint32_t len, int wide_offset);
DFD_API int sdd_write_i2c_one_time(const char *path, uint16_t addr, uint16_t offset,
                                   const uint8_t *data, uint32_t len, int wide_offset);

/*
 * Up to 5 attempts with a one-byte offset; after each that fails the caller sleeps 10 ms, the last
 * one included (50 ms in all, for bad arguments too). Return the last attempt's result: 2 on
 * success, 0 for an empty write, negative on failure. The other names pass it through;
 * ssa_i2c_write returns 0 for any result that is not negative.
 */
DFD_API int sdd_read_i2c(const char *path, uint16_t addr, uint16_t offset, uint8_t *buf,
                         uint32_t len);
DFD_API int sdd_write_i2c(const char *path, uint16_t addr, uint16_t offset, const uint8_t *data,
                          uint32_t len);
DFD_API int dfd_read_port_i2c(const char *path, uint16_t addr, uint16_t offset, uint8_t *buf,
                              uint32_t len);
DFD_API int dfd_write_port_i2c(const char *path, uint16_t addr, uint16_t offset,
                               const uint8_t *data, uint32_t len);
DFD_API int ssa_i2c_read(const char *path, uint16_t addr, uint16_t offset, uint8_t *buf,
                         uint32_t len);
DFD_API int ssa_i2c_write(const char *path, uint16_t addr, uint16_t offset, const uint8_t *data,
                          uint32_t len);

/* The same by bus number (N of /dev/i2c-N); dfd_i2c_read reads from offset 0. With retries, as
 * above. Return 0, or the negative result; -1 for null buf or data (data without a pause). */
DFD_API int dfd_i2c_read_offset(uint32_t bus, uint16_t addr, uint16_t offset, uint8_t *buf,
                                uint32_t len);
DFD_API int dfd_i2c_read(uint32_t bus, uint16_t addr, uint8_t *buf, uint32_t len);
DFD_API int dfd_i2c_write(uint32_t bus, uint16_t addr, uint16_t offset, const uint8_t *data,
                          uint32_t len);

/*
 * The DB_A1 flag: byte 6 of the board EEPROM (0x57 on /dev/i2c-0) is not zero. Returns 0 with
 * *flag 0 or 1 only when the transfer reports exactly 0; otherwise, so also for the usual positive
 * count of a good transfer and for a null flag, -1 and *flag stays. May sleep 50 ms.
 */
DFD_API int dfd_dev_check_db_a1_flag(uint32_t *flag);
DFD_API int drv_check_db_a1_flag(uint32_t *flag);

/* ---- Information access engine ------------------------------------------------------------ */

/* Turns bytes into an integer: field of a bit item (one byte), or the bytes of a num_buf item.
 * Returns 0, or a negative code. May change the bytes. */
typedef int (*dfd_info_num_proc_t)(uint8_t *bytes, int len, int *value);

/* Turns raw bytes into what the caller wants in out; *out_len is the capacity in and the number of
 * bytes delivered out. Returns 0, or a negative code. */
typedef int (*dfd_info_buf_proc_t)(const uint8_t *raw, int raw_len, void *out, int *out_len);

/*
 * Integer of an info_ctrl item (key types 54 to 171): read from where .src, .fpath, .addr and
 * .reg_offset say, in format .frmt: bit a field of one byte, inverted for negative polarity; byte
 * and num_bytes a number, first byte highest or, for negative polarity, lowest, of which 32 bits
 * count; num_str decimal text. proc, or null, converts the field of a bit item and the bytes of a
 * num_buf item, which needs one; it is not called for other formats.
 * Returns 0 and *ret: the value, .int_cons in mode constant. 3 in mode tlv and 4 in mode fru:
 * nothing is read, the value is in the EEPROM. -8: another key type, null ret, or num_buf without
 * proc. -6: not configured. -5: .bit_offset over 7 (bit), .len outside 1 to 31 (the others), or
 * format none or buf. -7: the read failed or gave nothing, or the source is none or unknown. A
 * negative result of proc as it is. On an I2C source a failing read sleeps 50 ms.
 */
DFD_API int dfd_info_get_int(uint32_t key, int *ret, dfd_info_num_proc_t proc);

/* The same at register .reg_offset + .len x index: one item describes a row of equal units. For
 * format bit .len is the width of the field, and counts here all the same. */
DFD_API int dfd_info_get_int_by_index(uint32_t key, uint32_t index, int *ret,
                                      dfd_info_num_proc_t proc);

/*
 * Bytes of an info_ctrl item of mode config and format buf, through proc if not null; buf holds
 * buf_len bytes.
 * Returns the number of bytes delivered, also where that is 3 or 4: no mode is told here. A file
 * may give fewer than .len. -8: another key type or null buf. -6: not configured, or proc failed.
 * -5: another mode or format, .len outside 1 to 255 or above buf_len. -7: the read failed or gave
 * nothing. May sleep 50 ms (I2C).
 */
DFD_API int dfd_info_get_buf(uint32_t key, void *buf, uint32_t buf_len, dfd_info_buf_proc_t proc);

/*
 * Writes an integer to an info_ctrl item of mode config; always one byte: a bit field shifted,
 * inverted for negative polarity and merged with the register's other bits, or the low byte of
 * value. On an I2C source a bit field is written as the whole byte, so the other bits are lost.
 * Each write to I2C is logged as an error, also when it succeeds.
 * A write of a whole byte to a local-bus device that cannot be opened succeeds and writes nothing;
 * a bit field of less than 8 bits is read first and fails there (-7), as it does where the device
 * ends before the register: nothing is written then.
 * Reading and writing a bit field is not atomic: serialise the writers of one register.
 * Returns 0. -8: another key type. -6: not configured. -5: another mode, .bit_offset over 7, .len
 * outside 1 to 31 (not for bit), or format none or buf. -1: format num_str. -7: the write failed,
 * or the source is a file, none or unknown. May sleep 50 ms (I2C).
 */
DFD_API int dfd_info_set_int(uint32_t key, uint32_t value);

/* Register value of an LED state (enum led_state) in the table of a led_info key (types 177 to
 * 185). Returns 0 and *regval; -8: another key type or null regval; -6: not configured, no such
 * state, or the member is unset (0xFFFFFFFF). */
DFD_API int dfd_get_led_info_regval(uint32_t key, uint32_t state, uint32_t *regval);

/* First LED state with this register value. Returns 0 with *state set, or left as it was when no
 * state has the value; -8: another key type or null state; -6: not configured. */
DFD_API int dfd_get_led_info_state(uint32_t key, uint32_t regval, uint32_t *state);

/*
 * One read as an item describes it: src as enum info_src, path the device, addr the I2C address,
 * reg the register (I2C: its low 8 bits) or file offset. Returns the number of bytes obtained: len
 * or, at the end of a file, fewer; 0 when a file or a local-bus device delivers nothing; -1 for an
 * unknown src; the negative result of the device access. May sleep 50 ms (I2C).
 */
DFD_API int dfd_read_info(int src, const char *path, uint16_t addr, uint32_t reg, int len,
                          uint8_t *buf);

/*
 * One write: localbus merges the masked bits into the register, which is not atomic; I2C writes one
 * byte and ignores the mask. Returns 0 for localbus and the result of sdd_write_i2c, 2, for I2C; -1
 * for another src, a null value, more than one byte on I2C, or a failed localbus access; the
 * negative result of the I2C transfer. May sleep 50 ms (I2C).
 */
DFD_API int dfd_write_info(int src, const char *path, uint16_t addr, uint32_t reg, int len,
                           const uint8_t *value, uint8_t mask);

/* len registers from reg on, each with a device access of its own. Returns len, or the result of
 * the first read that fails: negative, or 0 when the device delivers no byte. */
DFD_API int sdd_read_info_localbus(const char *path, uint32_t reg, int len, uint8_t *buf);

/* One register, whatever len: with mask 0xFF *value as it is, else merged under the mask with what
 * the register holds. Returns 0, also where a device for a whole byte cannot be opened; -1 for a
 * null value, or when the write fails or the read, also one without a byte; nothing is written
 * then. Another writer between the read and the write is lost: serialise them. */
DFD_API int sdd_write_info_localbus(const char *path, uint32_t reg, int len, const uint8_t *value,
                                    uint8_t mask);

/* ---- Interrupt type distribution ---------------------------------------------------------- */

/* Notes the interrupt type (enum irq_type) of a source: index1 = first-level bit << 8 |
 * second-level bit, index2 = third-level bit. Loading an irq_info .type line calls it. A position
 * outside the 8 x 8 x 8 table is refused silently. */
DFD_API void dfd_irq_set_type_distrib(uint32_t type, int index1, int index2);

DFD_END_DECLS

#endif
