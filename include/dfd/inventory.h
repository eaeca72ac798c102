/* SPDX-License-Identifier: MIT */
/* Inventory EEPROMs: raw access, TLV images, IPMI FRU, legacy layouts, queries by type, the
 * backplane record. An EEPROM is named by its bus device ("/dev/i2c-N"), its 7-bit address and, in
 * raw access, a byte offset of 0 to 255. All transfers retry (up to 50 ms of sleeps for a silent
 * device). */
#ifndef DFD_INVENTORY_H
#define DFD_INVENTORY_H

#include <dfd/types.h>

DFD_BEGIN_DECLS

/* Information types, which are also the entry types of a TLV image. */
typedef enum e2prom_info_type {
    E2PROM_INFO_NAME = 2,    /* product name */
    E2PROM_INFO_SN = 3,      /* serial number */
    E2PROM_INFO_HW_VER = 5,  /* hardware version */
    E2PROM_INFO_DEV_TYPE = 6 /* device type, an integer; the product name in a FRU EEPROM */
} e2prom_info_type;

enum {
    DFD_TLV_HEADER_SIZE = 10, /* bytes of the header buffer of a TLV image */
    DFD_FRU_HEADER_SIZE = 8,  /* bytes of the common header of a FRU image */
    DFD_FRU_FIELD_SIZE = 512, /* bytes of a parsed FRU field */
    DFD_BACKPLANE_INFO_SIZE = 44
};

/* ---- Queries by information type ---------------------------------------------------------- */

/*
 * One item of inventory, by information type or, in a TLV image, any entry type. *len is the
 * capacity of buf in and the bytes delivered out; a device type arrives as a 32-bit integer in host
 * order (*len 4), the same number on every CPU, texts without terminator. The layout that an item's
 * .mode names decides which of them to call.
 *
 * ..._by_type: a TLV image. Device type from header byte 3, or entry 6 when that byte is 0xF1; a
 * hardware version whose entry 5 is not there, or cannot be read, from header byte 2 ("1.20" for
 * 0x12).
 * ..._fru: the product info area of a FRU image; name and device type both give the product name.
 * After any failure the EEPROM is read as a TLV image.
 * ..._fru_compatible: the same for texts of at most 256 bytes, which end at a NUL (the rest of the
 * length is zero), and a hardware version of three characters is spread to "x.yz". Of the device
 * type of a TLV image the bytes above its lowest zero byte are lost: 0x01000304 becomes 0x304.
 *
 * A FRU field that is longer than the capacity is cut, a TLV entry passed over.
 * Return 0; -22: null dev, buf or len, no capacity, an empty data area, an empty FRU field
 * (..._fru_compatible, also when buf is too small for the spread version); -1: invalid image, no
 * such entry that fits, or a capacity below 4 for a device type; -12: no memory; the negative
 * result of the I2C transfer. A failed ..._fru gives the result of the TLV reading.
 */
DFD_API int sdd_get_e2prom_info_by_type(const char *dev, uint32_t type, uint16_t addr, void *buf,
                                        int *len);
DFD_API int sdd_get_e2prom_info_by_type_fru(const char *dev, uint32_t type, uint16_t addr,
                                            void *buf, int *len);
DFD_API int sdd_get_e2prom_info_by_type_fru_compatible(const char *dev, uint32_t type,
                                                       uint16_t addr, void *buf, int *len);

/*
 * Fan legacy layout. The capacity is not looked at: buf holds at least 13 bytes. Serial number: 13
 * characters. Hardware version: "V1.23", terminated, *len without the terminator. Device type: a
 * 32-bit integer. Returns 0; -22: null buf or len; -1: another type; the negative result of the
 * I2C transfer.
 */
DFD_API int sdd_get_e2prom_legacy_info_by_type(const char *dev, uint32_t type, uint16_t addr,
                                               void *buf, int *len);

/*
 * Power legacy layout: the field at byte `offset`. The capacity is not looked at: buf holds at
 * least 12 bytes. Name: 12 characters. Hardware version: "2.05", terminated, *len 4. Results as
 * for the fan.
 */
DFD_API int sdd_get_e2prom_legacy_power_info_by_type(const char *dev, uint32_t type, uint16_t addr,
                                                     int offset, void *buf, int *len);

/* ---- Updates ------------------------------------------------------------------------------ */

/*
 * On a bus whose adapter does not know I2C_M_NOSTART (see access.h) every update reports success
 * and destroys the image. Ask the bus before, or write with `dfdctl eeprom set`, which is right on
 * all.
 *
 * An update that ends too early (a unit is pulled, power fails, the EEPROM stops answering) reports
 * a failure where the process lives to see it, and leaves the new bytes up to there and the old
 * ones behind. A reader then gets the old texts, the new ones, or a refusal, and seldom a mixture
 * that no check notices. Of updates that were cut behind each byte that they write: TLV of version
 * 1, 2 of 344 left such a mixture (of its sum, digits that change places are no change); of version
 * 2, which has no check, 136 of 344; FRU, 15 of 2304. Fan and power legacy layouts have no check
 * either. Read back what was written; a damaged image is no longer updated here (-1), but by
 * `dfdctl eeprom restore`, or `set --force`. One update of an EEPROM at a time.
 */

/*
 * Serial number and hardware version of a TLV image: written over the values of entries 3 and 5,
 * with a terminator, where they are shorter than the entry; the others stay, unreported. sn and hw
 * may be null or empty: that one stays. Data area and checksum are written back in any case, 4
 * bytes at a time, 10 ms apart. Both names are the same operation.
 * Return 0; -22: null dev; -1: invalid image, an image that does not fit its EEPROM, or a failed
 * write of the data area; -12: no memory; the negative result of a transfer. Write protection is
 * the caller's.
 */
DFD_API int dfd_set_fan_info_tlv(const char *dev, uint16_t addr, const char *sn, const char *hw);
DFD_API int dfd_set_card_info_tlv(const char *dev, uint16_t addr, const char *sn, const char *hw);

/*
 * Serial number, then product version of a FRU image's product info area. A null or empty string
 * leaves its field. One that cannot be stored (over 63 characters, no room, a field that is not
 * 8-bit text) leaves it too, and the version is then not tried after the serial number; that is
 * not reported. A text of one character ends the area's fields: it and those behind it read as
 * empty. The area, changed or not, is written back to the end of the EEPROM, 4 bytes at a time, 10
 * ms apart.
 * A text that is shorter than the one before it, by n bytes, moves the checksum n bytes forward;
 * the area's length byte stays. The area then ends in n bytes from behind it, and reads as valid
 * only where they add up to 0 modulo 256: with zeros there always, in an erased EEPROM (0xFF)
 * never. Such an area can be neither read nor updated again. To shorten a text, fill it with blanks
 * to its old length, or write with `dfdctl eeprom set`, which keeps the area valid. Five bits of
 * the length byte count: an area of more than 248 bytes is taken for a shorter one, whose checksum
 * as a rule does not fit. Both names are the same operation. Return 0; -1: invalid header or area,
 * or a failed write; -22: null dev, or the area length cannot be read, or lies behind byte 255;
 * -12: no memory; the negative result of a transfer.
 */
DFD_API int dfd_set_fan_info_fru(const char *dev, uint16_t addr, const char *sn, const char *hw);
DFD_API int dfd_set_card_info_fru(const char *dev, uint16_t addr, const char *sn, const char *hw);

/*
 * Fan legacy layout: type (low 8 bits; may be null), serial number of exactly 13 characters and
 * hardware version "x.yz" in hexadecimal digits; a null or empty text leaves its field. With both
 * texts empty nothing at all is done. Sleeps 10 ms for every 4 bytes of 16. Returns 0; -1: a text
 * of the wrong form, or a failed write; the negative result of the read. Nothing is written when a
 * text is refused.
 */
DFD_API int dfd_set_fan_info_legacy(const char *dev, uint16_t addr, const uint32_t *type,
                                    const char *sn, const char *hw);

/* Power legacy layout: the three version characters at byte `offset` from a text "x.yz", whatever
 * characters; a null or empty one does nothing. Results as for the fan. */
DFD_API int dfd_set_power_info_legacy(const char *dev, uint16_t addr, int offset, const char *hw);

/* Groups of write-protect signals (items e2_write_protect). */
enum dfd_write_protect_target {
    DFD_WP_BOARD = 0,     /* index 0 */
    DFD_WP_FANS = 1,      /* indexes 1 to 4 */
    DFD_WP_SUBCARDS = 6,  /* indexes 6 to 8 */
    DFD_WP_BACKPLANE = 10 /* index 10 */
};

/*
 * Protects (enable non-zero: writes 255) or unprotects (writes 0) a group of EEPROMs. Returns 0,
 * for fans and sub-cards also when only some signals could be written; -6: another target, or no
 * signal of the group could be written; for the board the code of the failed write. May sleep 50
 * ms for each signal on I2C.
 */
DFD_API int dfd_ctl_e2_write_pro(int target, int enable);

/* ---- Backplane ---------------------------------------------------------------------------- */

/* The backplane record, as in its EEPROM at offset 0. */
typedef struct backplane_info {
    uint8_t chassis_type;
    uint8_t hw_ver[8];
    uint8_t sn[19];
    uint8_t mac[6]; /* most significant byte first */
    uint8_t serial[4];
    uint8_t reserved[6];
} backplane_info_t;

/*
 * Record of backplane 1 or 2: from the EEPROM that item bp_e2prom_dev names, whole or not at all,
 * else field by field from backplane_hw_ver (at most 7 bytes), _sn (at most 18), _mac, _serial0 to
 * 3 (chassis_type and reserved then stay, and so do the fields from the first that fails on).
 * Cached for the life of the process at the first call, failed reads too: those are not reported,
 * rec keeps what it held (zero it first). Of first calls from several threads the first that ends
 * fills the cache; each gets what it read. May sleep 50 ms for each field on I2C. Returns 0; -5:
 * another id or null rec.
 */
DFD_API int sdd_get_backplane_info(uint32_t id, backplane_info_t *rec);

/* Writes the record to the EEPROM of item bp_e2prom_dev, write protection lifted, 4 bytes at a
 * time, 10 ms apart. The write's result is not reported and the cache not renewed. Returns 0; -5:
 * another id or null rec; -17: no such item. */
DFD_API int sdd_set_backplane_info(uint32_t id, const backplane_info_t *rec);

/*
 * Hardware version and serial number of the items backplane_hw_ver and backplane_sn, terminated
 * text; buf holds len bytes, more than the item's .len. Return the number of characters; -6: not
 * configured, or buf does not hold more than .len bytes; -5: another mode or format, or .len above
 * len; -8: null buf; -7: the hardware did not answer.
 */
DFD_API int sdd_get_bp_hw_ver(uint32_t id, char *buf, int len);
DFD_API int sdd_get_bp_sn(uint32_t id, char *buf, int len);

/* MAC address, 6 bytes: the text of item backplane_mac ("00:11:22:33:44:55") plus
 * backplane_scale_mac where configured. Returns 0; -8: null mac where the text can be read;
 * otherwise the code of dfd_info_get_buf. */
DFD_API int sdd_get_bp_mac(uint32_t id, uint8_t *mac);

/* serial0 to serial3 (which 0 to 3) of the items backplane_serial0 to 3: low 8 bits. Returns 0; -6:
 * another which or not configured; -8: null out where it can be read; otherwise what
 * dfd_info_get_int returned, 3 and 4 (mode tlv and fru) without a value. */
DFD_API int sdd_get_bp_serial(uint32_t id, uint32_t which, uint8_t *out);

/* Amount that is added to the MAC: item backplane_scale_mac. Returns 0; -6: not configured; -8:
 * null value where it is configured. */
DFD_API int sdd_get_bp_scale_mac(int *value);

/* The processor for texts: copies the graphic characters up to the first other one and terminates
 * them; *dst_len is the capacity in and the number of characters out. Returns 0; -8: null pointer
 * or negative src_len; -5: src_len not below the capacity. */
DFD_API int sdd_get_string_by_buf(const uint8_t *src, int src_len, void *dst, int *dst_len);

/* The record of source 1 or 2 that chassis type detection reads: the bytes of item e2_setmac, the
 * first 38 of which go to rec, those that a shorter item lacks as 0. Returns 0; -6: not
 * configured; -8: null rec; otherwise the code of dfd_info_get_buf. */
DFD_API int get_backplane_info_from_e2(uint32_t source, backplane_info_t *rec);

/* MAC address of the backplane record (sdd_get_backplane_info), 6 bytes; of a record that could
 * not be read six zeros, with result 0. Returns 0; -5: null buf, len below 6, or an id other than
 * 1 and 2; -7: the record reader refused. */
DFD_API int drv_get_bp_mac(uint32_t id, uint8_t *buf, int len);

/* ---- EEPROM access and TLV images --------------------------------------------------------- */

/* Reads len bytes at offset in one transfer. Returns 0, or the negative result of sdd_read_i2c. */
DFD_API int dfd_read_e2prom(const char *dev, uint16_t addr, int offset, uint8_t *buf, int len);

/* Writes len bytes at offset in chunks that cross no 4-byte boundary, sleeping 10 ms after each.
 * Returns 0, or the negative result of the first chunk that fails; earlier ones stay written. */
DFD_API int dfd_write_e2prom(const char *dev, uint16_t addr, int offset, const uint8_t *buf,
                             int len);

/* Whether the TLV image whose header is hdr (of dfd_get_e2prom_info) is valid: flag, length of the
 * data area (3 to 244), checksum, for which the whole EEPROM is read. Returns 1, or 0, also for
 * null hdr and a failed read. */
DFD_API int dfd_check_e2prom_info(const char *dev, uint16_t addr, const uint8_t *hdr);

/* Reads and validates the header of a TLV image into hdr, DFD_TLV_HEADER_SIZE bytes, and turns its
 * data length to host order; version 2 images are taken without checks. Returns 0; -1: invalid, hdr
 * is filled all the same; -22: null dev or hdr; the negative result of the read. */
DFD_API int dfd_get_e2prom_info(const char *dev, uint16_t addr, uint8_t *hdr);

/* Value of the first entry of a type that fits buf; type 6 as a 32-bit integer in host order, from
 * an entry of 4 bytes (others are passed over). The walk ends at an entry that runs past the data
 * area. hdr is of dfd_get_e2prom_info; *len capacity in, length out. Returns 0; -1: no such entry;
 * -22: null pointer, no capacity or empty data area; -12: no memory; the negative result of the
 * read. */
DFD_API int dfd_get_tlv_data(const char *dev, uint16_t addr, uint32_t type, const uint8_t *hdr,
                             void *buf, int *len);

/* ---- IPMI FRU ----------------------------------------------------------------------------- */

/* One parsed field: len valid bytes; the rest is zero. */
typedef struct fru_field {
    uint8_t data[DFD_FRU_FIELD_SIZE];
    uint32_t len;
} fru_field_t;

/* Where the parser puts what it finds; every member may be null. */
typedef struct fru_product_info {
    uint8_t *language;
    fru_field_t *manufacturer;
    fru_field_t *product_name;
    fru_field_t *part_number;
    fru_field_t *product_version;
    fru_field_t *serial_number;
    fru_field_t *asset_tag;
    fru_field_t *fru_file_id;
    fru_field_t *custom; /* array of custom_count fields */
    uint32_t custom_count;
} fru_product_info_t;

/* Offset of the type/length byte and data length of the seven fixed fields, in pairs. */
enum {
    FRU_OFFSET_VERSION = 6, /* index of the product version's pair */
    FRU_OFFSET_SN = 8,      /* index of the serial number's pair */
    FRU_OFFSET_COUNT = 14
};
typedef uint8_t fru_field_offsets[FRU_OFFSET_COUNT];

/* Zero checksum, 0 to 255: what makes the 8-bit sum of all bytes 0. 0 for null data or a len below
 * 1. */
DFD_API int calculate_crc(const uint8_t *data, int len);

/* Whether a header or area of len bytes has version 1 and a right checksum. Returns 0; -1, also for
 * null data or len below 1. While errors are logged, a wrong checksum prints the byte behind the
 * area, data[len], which must then be readable. */
DFD_API int verify_fru_data(const uint8_t *data, int len);

/* Whether buf of `size` bytes begins with a valid common header. Returns 0 or -1. While errors are
 * logged, the byte behind the header, buf[DFD_FRU_HEADER_SIZE], must be readable. */
DFD_API int ipmi_validate_common_hdr(const uint8_t *buf, int size);

/*
 * Parses a product info area: fields into info, their places into offsets, FRU_OFFSET_COUNT bytes
 * (zero them first: pairs of fields that are not there stay). Parsing ends at the end mark, at the
 * last custom field wanted, or at a field that does not fit the area; that is a success too.
 * Returns 0; -1: null argument, empty area, wrong version or checksum. While errors are logged, the
 * byte behind the area, area[area_len], must be readable.
 */
DFD_API int ipmi_fru_product_info_area(const uint8_t *area, int area_len, fru_product_info_t *info,
                                       uint8_t *offsets);

/*
 * Replaces the field whose type/length byte is at field_offset by str; growth is the length of str
 * less the field's present length, or 0 to zero the rest of the field. capacity: bytes of area;
 * *area_len: used bytes of it, renewed. Renews the checksum, behind a longer str also the area's
 * length byte; behind a shorter one that byte keeps naming the old size.
 * Returns 0; -1: null argument, a place outside the area, a field that is not 8-bit text, a str
 * over 63 characters or of another length than growth says, or no room (a grown area is rounded up
 * to the next block of 8 bytes, with one more when it just fills one). Nothing is changed on
 * failure.
 */
DFD_API int insert_fru_str(uint8_t *area, int capacity, int *area_len, const char *str,
                           int field_offset, int growth);

/* Replaces serial number, then product version, where not null, at the places in offsets, in an
 * area of area_len used bytes and `capacity` bytes in all. Returns 0, without a look at the area
 * when both are null; -1: null argument, empty area, area_len over capacity, invalid area before or
 * after, no room, or a field that cannot be replaced (a serial number replaced before a version
 * failed stays). While errors are logged, the byte behind the area, area[capacity], must be
 * readable too. */
DFD_API int ipmi_fru_sn_hw_updata(uint8_t *area, int capacity, int area_len, const char *sn,
                                  const char *hw, const uint8_t *offsets);

/* Reads the common header into hdr, DFD_FRU_HEADER_SIZE bytes, and validates it. Returns 0; -1:
 * invalid, hdr is filled all the same; -22: null dev or hdr; the negative result of the read. */
DFD_API int dfd_get_frue2prom_info(const char *dev, uint16_t addr, uint8_t *hdr);

/* Clears info and points the field that an information type names at dest. Returns 0; -1: another
 * type, info is cleared all the same; -22: null argument. */
DFD_API int dfd_set_fru_product_info(fru_product_info_t *info, fru_field_t *dest, uint32_t type);

/*
 * One field of the product info area of a FRU EEPROM, without terminator; *len capacity in, length
 * out. A capacity below the field's length cuts it; a field that the area lacks has 0 bytes.
 * An area whose length leads behind byte 255 is read on from where the chip goes on, most at their
 * start; its sum decides.
 * Returns 0; -1: invalid header or area, or another type; -22: null pointer, no capacity, or the
 * area's length cannot be read, or lies behind byte 255; -12: no memory; the negative result of
 * another read.
 */
DFD_API int dfd_get_fru_data(const char *dev, uint16_t addr, uint32_t type, void *buf, int *len);

DFD_END_DECLS

#endif
