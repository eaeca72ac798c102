/* SPDX-License-Identifier: MIT */
/* Where the board sits in the chassis. */
#ifndef DFD_CHASSIS_H
#define DFD_CHASSIS_H

#include <dfd/types.h>

DFD_BEGIN_DECLS

/* Own slot: item my_slotid, plus slot_base when that is configured; sub-slot: my_sslotid and
 * sslot_base. Return the number; -6: not configured; otherwise what the failing read returned
 * (dfd_info_get_int), which is 3 or 4 for an item in mode tlv or fru. */
DFD_API int sdd_get_my_slotid(void);
DFD_API int sdd_get_my_sslotid(void);

/* The number under which the items of the card in a slot are configured: -1 for slot 0, 0 for the
 * own slot, 31 for slots 30 and 31, else the slot. */
DFD_API int sdd_get_virtual_slotid(int slot);

/* Keeps the card's hardware version text, len bytes of ver with the terminator among them, for
 * dfd_check_fwed_v100. Initially "0.00". Returns 0; -1 for null ver or a len outside 0 to 21. */
DFD_API int dfd_cfg_card_hw_ver(const char *ver, int len);

/* 1 when the board type is 74 or 75 and the kept hardware version is "1.00"; else 0. */
DFD_API int dfd_check_fwed_v100(void);

DFD_END_DECLS

#endif
