/* SPDX-License-Identifier: MIT */
/* Configuration framework: start-up, log gate, item store, conversion lists, dumps. */
#ifndef DFD_FRAMEWORK_H
#define DFD_FRAMEWORK_H

#include <dfd/keys.h>
#include <dfd/records.h>
#include <dfd/types.h>
#include <pthread.h>

DFD_BEGIN_DECLS

/* ---- Start-up ----------------------------------------------------------------------------- */

/*
 * Prepares the library; call it once, before anything else and before threads use it. Creates the
 * item store, loads /etc/cfg/dfd/cfg_file/card_pid.cfg, finds out the board type, loads every file
 * that /etc/cfg/dfd/file_name/0x<board type> lists from /etc/cfg/dfd/cfg_file/, then
 * /etc/cfg/dfd/chassis/<chassis type>.cfg. A second call begins with an empty store, but keeps the
 * two types and adds to the conversion lists.
 * Returns 0, also without PID table or chassis file, and when one of the listed files fails: what
 * was loaded until then stays, the files after it are not loaded. A file whose reading fails in the
 * middle is logged with the errno: the lines before count, and loading goes on behind it. -1: the
 * store cannot be created, the board type cannot be found or is negative, or the list of the board
 * cannot be opened. A line that fails a file is printed whatever the log gate; open the gate to
 * learn the rest. May sleep 50 ms for each transfer to an EEPROM that does not answer.
 */
DFD_API int dev_drv_init(void);

/* The same under the name of the configuration library. */
DFD_API int dfd_lib_cfg_init(void);

/* First step of the start-up: loads the card PID table. Returns 0, or -1 when the file cannot be
 * opened or one of its lines fails; what the lines before it say stays. */
DFD_API int dfd_lib_cfg_init_pre(void);

/* Last step of the start-up: loads the file of the chassis type (sdd_get_my_chassis_type), if that
 * is known and above 0. Its lines replace earlier values of the same items; that it fails or is not
 * there has no consequence. */
DFD_API void dfd_lib_cfg_chassic_init(void);

/*
 * Board type, found once and cached: see dfd_get_dev_type. Returns the type; -1 when it cannot be
 * found. -1 and 0 are not kept: the next call tries again. Another negative number, a failing
 * query's code or what a legacy layout computes, is kept like a type. Sleeps as dfd_get_dev_type.
 */
DFD_API int drv_get_my_dev_type(void);
DFD_API int sdd_get_my_card_type(void);

/*
 * Board type, uncached. The first source that answers: /tmp/bspinfo/ProductID through the card PID
 * table, a type above 0; the board EEPROM at address 0x57 on /dev/i2c-0 (TLV image: device type;
 * legacy layouts 1 and 2: computed from bytes 3, 7 and 64, whatever that gives); where the EEPROM
 * cannot be read, the product identifier once more, now with type 0 too. May sleep 50 ms for each
 * transfer.
 * Returns the type; -1 when neither source answers or the EEPROM holds no known layout; the code of
 * the inventory query for a layout 1 TLV image without device type; 0 for such a layout 2 image.
 */
DFD_API int dfd_get_dev_type(void);

/* Board type by the product identifier: the first 9 characters of /tmp/bspinfo/ProductID looked up
 * in the card PID table. Returns the type, or -1: no file, unreadable, or not in the table. */
DFD_API int dfd_dev_type_from_product_id(void);

/* Board type from the board EEPROM, taken for a legacy layout, also where it holds a TLV image: the
 * number then means nothing. Returns the type, -1 for a layout other than 1 and 2, or the negative
 * result of the I2C read. May sleep 50 ms. */
DFD_API int dfd_my_type_from_e2(void);

/*
 * Chassis type, found once and cached: byte 0 of the record that item e2_setmac describes, index 1,
 * then 2; the board type where index 1 (or, after a failed read, index 2) is not configured.
 * Returns the type (0 is not kept), a negative board type as it is (kept), or -1 when both reads
 * fail (not kept). May sleep 50 ms for each source.
 */
DFD_API int sdd_get_my_chassis_type(void);

/* ---- Log gate ----------------------------------------------------------------------------- */

/* Bits of dfd_debug. */
enum dfd_debug_bit {
    DFD_DEBUG_ERR = 1,
    DFD_DEBUG_WARN = 2,
    DFD_DEBUG_VBOSE = 4,
    DFD_DEBUG_SPARE = 8,    /* gates no message */
    DFD_DEBUG_VOL_LOCK = 16 /* failures of the voltage lock */
};

/* What is logged to standard output; 0, the initial value, is silence but for the dumps below and
 * for a configuration line that fails its file. The functions below change it beside other
 * threads. */
extern DFD_API uint32_t dfd_debug;
/* While this is 0, dfd_open_debug does nothing; initially 1. */
extern DFD_API uint32_t dfd_debug_sw;

/* Sets (on non-zero) or clears bit `type`, 0 to 4, of dfd_debug. Returns 0; -5 for another type. */
DFD_API int dfd_debug_set(int type, int on);

/* Opens the gate: level 1 adds bits 0 to 2, 2 adds bit 3, 3 adds bits 0 to 4, 4 adds bit 4; any
 * other level clears bits 0 to 4. Does nothing while dfd_debug_sw is 0. */
DFD_API void dfd_open_debug(uint32_t level);

/* Stores value in dfd_debug_sw. */
DFD_API void dfd_debug_switch(uint32_t value);

/* ---- Item store --------------------------------------------------------------------------- */

/* The record of a key, or null when it is not configured; what kind it is follows from the key's
 * type (records.h). The record is the library's: read it in place, do not free it. Where the items
 * asked for last were found is remembered: to ask for them again is cheap. */
DFD_API void *dfd_lib_cfg_get_item(uint32_t key);

/* A tree of records by key. The lock is initialised and never taken. */
struct btree_root;
/* Complete where pthread_rwlock_t is: in C++, and in C with _POSIX_C_SOURCE of 200112L or later,
 * which compilers assume unless they are told -std=c11. */
#if defined(__cplusplus) || defined(_GNU_SOURCE) || !defined(__STRICT_ANSI__) || \
    (defined(_POSIX_C_SOURCE) && _POSIX_C_SOURCE >= 200112L)
typedef struct btree_root {
    pthread_rwlock_t lock;
    void *tree; /* null when empty */
} btree_root_t;
#endif

/* An entry of the tree. */
typedef struct btree_entry {
    uint32_t key;
    void *record;
} btree_entry_t;

/* Makes root an empty tree. Returns 0; -1 when root is null or the lock cannot be initialised. */
DFD_API int btree_init_root(struct btree_root *root);

/* Adds a record, which the tree then refers to. Returns 0; 1 when the key is already present, and
 * nothing changes; -1 when root or record is null or memory runs out. */
DFD_API int btree_insert_node(struct btree_root *root, uint32_t key, void *record);

/* The record of a key, or null (also when root is null). */
DFD_API void *btree_find_node(const struct btree_root *root, uint32_t key);

/* Removes a key; the record stays with the caller. Returns 0, whether the key was there or not; -1
 * when root is null. */
DFD_API int btree_delete_node(struct btree_root *root, uint32_t key);

/* Order of two btree_entry: 1, 0 or -1, by their keys as signed 32-bit numbers. */
DFD_API int compare_node(const void *a, const void *b);

/* ---- Value conversion lists --------------------------------------------------------------- */

/* Link of a circular doubly linked list; an empty list's head points at itself. */
typedef struct dfd_list_head {
    struct dfd_list_head *next;
    struct dfd_list_head *prev;
} dfd_list_head_t;

/* One loaded line; the list's order is that of loading and the first match of a look-up wins. */
typedef struct val_convert_node {
    dfd_list_head_t lst;
    int int_val;                   /* register value; 0 in the lists of texts */
    char str_val[DFD_STRING_SIZE]; /* PID text or name; empty in the speed level list */
    int index1;                    /* result of the look-up */
    int index2;
} val_convert_node_t;

extern DFD_API dfd_list_head_t dfd_lib_cfg_fan_splvl_conv_lst;  /* items fan_speedlvl_convert */
extern DFD_API dfd_list_head_t dfd_lib_cfg_pid_str_conv_lst;    /* items card_pid_str */
extern DFD_API dfd_list_head_t dfd_lib_cfg_power_name_conv_lst; /* items power_name */
extern DFD_API dfd_list_head_t dfd_lib_cfg_fan_name_conv_lst;   /* items fan_name */

/* Appends a node to a list (null: nothing is done), before threads look there; at most 63
 * characters of str_val (may be null) are kept. Without memory nothing is added. */
DFD_API void dfd_lib_cfg_regval_conv_lst_add(dfd_list_head_t *list, uint32_t int_val,
                                             const char *str_val, uint32_t index1, uint32_t index2);

/* Speed level of a fan speed register value (items fan_speedlvl_convert_LEVEL=REGVAL). Returns 0
 * and the level; -1 when level is null or the value is not in the list. */
DFD_API int dfd_lib_cfg_get_fan_speedlvl_by_regval(uint32_t regval, int *level);

/* Card, power or fan type of a text: that of the first entry whose text begins the given one, so an
 * empty entry matches everything (items card_pid_str_TYPE_N=TEXT, power_name_TYPE=TEXT,
 * fan_name_TYPE_N=TEXT). Return 0 and the type; -1 for a null pointer or no match. */
DFD_API int dfd_lib_cfg_get_card_type_by_pid_str(const char *pid_str, uint32_t *card_type);
DFD_API int dfd_lib_cfg_get_power_type_by_name(const char *name, uint32_t *power_type);
DFD_API int dfd_lib_cfg_get_fan_type_by_name(const char *name, uint32_t *fan_type);

/* ---- Dumps to standard output, whatever the log gate -------------------------------------- */

/* Prints the item of a key, or that it does not exist. */
DFD_API void dfd_lib_cfg_show_item(uint32_t key);

/* Prints a record as the kind that the key's type names: int, string, i2c_dev and info_ctrl, of the
 * last all members but .reg_offset; of other kinds only a line of asterisks, the key and
 * "item[TYPE] error!". A null
 * record is only logged. */
DFD_API void dfd_lib_cfg_print_item(uint32_t key, const void *record);

/* Prints a conversion list: 0 fan speed levels, 1 card PIDs, 2 power names, 3 fan names; for
 * another number nothing. */
DFD_API void dfd_lib_cfg_show_convert_lst(uint32_t list);

DFD_END_DECLS

#endif
