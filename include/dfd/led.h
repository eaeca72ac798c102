/* SPDX-License-Identifier: MIT */
/* LEDs. States are those of enum led_state; which of them an LED has, and with what register
 * values, its led_info item says. LEDs that share a register are set by one caller at a time: a bit
 * field is read, merged and written. A call that reads or writes an LED on I2C may sleep 50 ms. */
#ifndef DFD_LED_H
#define DFD_LED_H

#include <dfd/types.h>

DFD_BEGIN_DECLS

/* LED types of sdd_set_led and sdd_get_led. */
enum dfd_led_type {
    DFD_LED_STATUS = 0,
    DFD_LED_PRIMARY = 1,
    DFD_LED_ALARM = 2,
    DFD_LED_FABRIC = 3,
    DFD_LED_FAN = 4,
    DFD_LED_FAN_IN_FAN = 5,
    DFD_LED_POWER = 6,
    DFD_LED_LINE_CARD = 7,
    DFD_LED_FABRIC_OFFLINE = 8,
    DFD_LED_LOCATION = 12
};

/*
 * Sets an LED by type, for fan, fan-in-fan and power that of a unit. Returns the result of the
 * LED's own function below; 0 without any change while /tmp/.factory_disabale_cli_tty exists; -1
 * for a type that is not assigned.
 */
DFD_API int sdd_set_led(uint32_t type, uint32_t state, uint32_t unit);

/* State of an LED by type, of fan and power that of unit 0. Returns the result of the LED's own
 * function below; -1 for fan-in-fan, location and types that are not assigned. */
DFD_API int sdd_get_led(uint32_t type, uint32_t *state);

/*
 * Board status (items mb_status_led_ctrl, mb_status_led_info), primary (mb_primary_led_*), alarm
 * (mb_alarm_led_*; the second argument is ignored), fabric (mb_fe_led_*), line card status
 * (lc_status_led_*; the second argument is ignored), fabric offline (fe_offline_led_*) and location
 * (location_led_*).
 * Return 0; -6: the LED's table is not configured or lacks the state (nothing is written), or the
 * control item is not configured; -5, -7, -1 of dfd_info_set_int.
 */
DFD_API int sdd_set_mymb_status_led(uint32_t state);
DFD_API int sdd_set_mymb_primary_led(uint32_t state);
DFD_API int sdd_set_mymb_alarm_led(uint32_t state, uint32_t unused);
DFD_API int sdd_set_mymb_fe_led(uint32_t state);
DFD_API int sdd_set_mylc_st_led(uint32_t state, uint32_t unused);
DFD_API int sdd_set_fe_offline_led(uint32_t state);
DFD_API int sdd_set_location_led(uint32_t state);

/* LED of a fan on the board: mb_fan_led_ctrl of index1 unit (0 to 16), mb_fan_led_info. Hands the
 * LED to software first, dfd_set_en_soft_led(DFD_LED_FAN, unit, 1). Always returns 0, whatever
 * failed. */
DFD_API int sdd_set_mymb_fan_led(uint32_t unit, uint32_t state);

/* LED on a fan tray itself: mb_fan_in_fan_led_ctrl of index1 unit (0 to 16), with the values of
 * mb_fan_led_info. Results as for the board status. */
DFD_API int dfd_set_fan_in_fan_led(uint32_t unit, uint32_t state);

/* LED of a power supply: mb_pwr_led_ctrl of index1 unit, mb_pwr_led_info. Hands the LED to software
 * first, dfd_set_en_soft_led(DFD_LED_POWER, unit, 1), whether that succeeds or not. Results as for
 * the board status. */
DFD_API int sdd_set_mymb_pwr_led(uint32_t unit, uint32_t state);

/* Hands an LED to software (value 1) or back: soft_led_ctrl, index1 LED type, index2 unit. Returns
 * 0 or the negative code of dfd_info_set_int. */
DFD_API int dfd_set_en_soft_led(uint32_t type, uint8_t unit, uint32_t value);

/*
 * State of an LED by its control item and table, those of the set function; fan and power: of unit
 * 0. Return 0 with *state set, or left as it was when the register holds no value of the table; of
 * equal values the lowest state. A control item in mode tlv or fru counts as register value 0. The
 * negative code of dfd_info_get_int; -6 also when the table is not configured or state is null.
 */
DFD_API int sdd_get_mymb_status_led(uint32_t *state);
DFD_API int sdd_get_mymb_primary_led(uint32_t *state);
DFD_API int sdd_get_mymb_alarm_led(uint32_t *state);
DFD_API int sdd_get_mymb_fe_led(uint32_t *state);
DFD_API int sdd_get_mymb_fan_led(uint32_t *state);
DFD_API int sdd_get_mymb_pwr_led(uint32_t *state);
DFD_API int sdd_get_mylc_st_led(uint32_t *state);
DFD_API int sdd_get_fe_offline_led(uint32_t *state);

DFD_END_DECLS

#endif
