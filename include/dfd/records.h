/* SPDX-License-Identifier: MIT */
/* Records of the item store: what is kept under a key, one kind for each block of key types. */
#ifndef DFD_RECORDS_H
#define DFD_RECORDS_H

#include <dfd/types.h>

DFD_BEGIN_DECLS

enum {
    DFD_STRING_SIZE = 64, /* bytes of a string record, terminator included */
    DFD_PATH_SIZE = 128   /* bytes of .fpath and .temp_name, terminator included */
};

/* Key types 1 to 37 hold one int, key types 39 to 48 a text of DFD_STRING_SIZE bytes. */

/* Key types 50 to 52: a device on an I2C bus. */
typedef struct i2c_dev {
    uint32_t bus;  /* N of /dev/i2c-N */
    uint32_t addr; /* 7-bit device address */
} i2c_dev_t;

/* info_ctrl .mode: how a value is obtained at all. */
enum info_ctrl_mode {
    INFO_CTRL_MODE_NONE = 0,
    INFO_CTRL_MODE_CONFIG = 1,
    INFO_CTRL_MODE_CONSTANT = 2,
    INFO_CTRL_MODE_TLV = 3,
    INFO_CTRL_MODE_FRU = 4,
    INFO_CTRL_MODE_FUNC = 5,
    INFO_CTRL_MODE_LEGACY = 6
};

/* info_ctrl .src: what device holds it. */
enum info_src { INFO_SRC_NONE = 0, INFO_SRC_LOCALBUS = 1, INFO_SRC_I2C = 2, INFO_SRC_FILE = 3 };

/* info_ctrl .frmt: how its bytes are read. */
enum info_frmt {
    INFO_FRMT_NONE = 0,
    INFO_FRMT_BIT = 1,
    INFO_FRMT_BYTE = 2,
    INFO_FRMT_NUM_BYTES = 3,
    INFO_FRMT_NUM_STR = 4,
    INFO_FRMT_NUM_BUF = 5,
    INFO_FRMT_BUF = 6
};

/* info_ctrl .pola: inversion of a bit field, byte order of a number. */
enum info_pola { INFO_POLA_NONE = 0, INFO_POLA_POSITIVE = 1, INFO_POLA_NEGATIVE = 2 };

/* Key types 54 to 171: where a value lives and how to read it. */
typedef struct info_ctrl {
    int mode;                  /* enum info_ctrl_mode */
    int int_cons;              /* the value in mode constant */
    int src;                   /* enum info_src */
    int frmt;                  /* enum info_frmt */
    int pola;                  /* enum info_pola */
    char fpath[DFD_PATH_SIZE]; /* device file, I2C bus device or plain file */
    uint32_t addr;             /* I2C device address */
    uint32_t reg_offset;       /* register, I2C register offset, or file offset */
    uint32_t len;              /* bytes; for format bit the width of the field in bits */
    uint32_t bit_offset;       /* lowest bit of the field, 0 to 7 */
    uint32_t spare;            /* no configuration member sets it: always 0 */
} info_ctrl_t;

/* Key type 173: polarity of the interrupt status and clear registers. */
typedef struct irq_ctrl {
    uint32_t irq_flag;     /* non-zero: a status bit of 1 is pending; 0: active-low */
    uint32_t irq_clr_flag; /* non-zero: a bit is cleared by writing 1; 0: by writing 0 */
    uint32_t irq_clr_bit;  /* non-zero: the pending bits are cleared; 0: all eight */
} irq_ctrl_t;

/* Interrupt types, the numbers of g_irq_type_name. */
enum irq_type {
    IRQ_TYPE_CARD = 0,
    IRQ_TYPE_POWER = 1,
    IRQ_TYPE_FAN = 2,
    IRQ_TYPE_POE_POWER = 3,
    IRQ_TYPE_POE = 4,
    IRQ_TYPE_SFP = 5,
    IRQ_TYPE_HEARTBEAT = 6,
    IRQ_TYPE_PHY = 7,
    IRQ_TYPE_SYSTEM_POWER = 8,
    IRQ_TYPE_FE_OFFLINE = 9,
    IRQ_TYPE_RESET_BUTTON = 10,
    IRQ_TYPE_UNKNOWN = 12 /* the configured word names no type */
};

/* Key type 175: one interrupt source. */
typedef struct irq_info {
    uint32_t type; /* enum irq_type */
    uint32_t val0; /* three values for the handler */
    uint32_t val1;
    uint32_t val2;
} irq_info_t;

/* LED states: the order of the members of led_info. */
enum led_state {
    LED_STATE_DARK = 0,
    LED_STATE_GREEN = 1,
    LED_STATE_RED = 2,
    LED_STATE_YELLOW = 3,
    LED_STATE_SPARK = 4,
    LED_STATE_FSPARK_OPEN = 5,
    LED_STATE_FSPARK_CLOSE = 6
};

/* A led_info member with this value (an empty one in the configuration): state not supported. */
#define LED_REGVAL_UNSET UINT32_C(0xFFFFFFFF)

/* Key types 177 to 185: the register value of each LED state; 0 where no line mentions the state.
 */
typedef struct led_info {
    uint32_t dark;
    uint32_t green;
    uint32_t red;
    uint32_t yellow;
    uint32_t spark;
    uint32_t fspark_open;
    uint32_t fspark_close;
} led_info_t;

/* temp_info .type */
enum temp_info_type {
    TEMP_INFO_NONE = 0,
    TEMP_INFO_LM75 = 1,
    TEMP_INFO_TMP411 = 2,
    TEMP_INFO_MAC = 3
};

/* Key type 187: one temperature sensor of a card. */
typedef struct temp_info {
    char temp_name[DFD_PATH_SIZE];
    int type; /* enum temp_info_type */
} temp_info_t;

/* Member names as configuration lines spell them, in record order. */
extern DFD_API const char *const dfd_i2c_dev_mem_str[2];
extern DFD_API const char *const info_ctrl_mem_str[10];
extern DFD_API const char *const led_info_mem_str[7];
extern DFD_API const char *const temp_info_mem_str[2];
extern DFD_API const char *const irq_ctrl_mem_str[3];
extern DFD_API const char *const irq_info_mem_str[4];

/* Words of the enumerations, by value. A configured word counts when it begins with one of them,
 * the first in this order; any other is stored as 0. */
extern DFD_API const char *const info_ctrl_mode_str[7];
extern DFD_API const char *const info_src_str[4];
extern DFD_API const char *const info_frmt_str[7];
extern DFD_API const char *const info_pola_str[3];
extern DFD_API const char *const temp_info_type_str[4];

/* Interrupt types by name. */
typedef struct irq_type_name {
    uint32_t type;
    char name[64];
} irq_type_name_t;
extern DFD_API const irq_type_name_t g_irq_type_name[11];

DFD_END_DECLS

#endif
