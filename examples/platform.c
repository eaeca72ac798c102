/* SPDX-License-Identifier: MIT */
/*
 * Platform software in small: starts the library, makes one monitoring pass over fans, power
 * supplies and temperatures, and serves one interrupt. Plain C11, nothing but libdfd.
 *
 *   vchassis run build/boards/demo -- build/platform
 */
#include <dfd/dfd.h>
#include <stdio.h>
#include <string.h>

enum {
    /* The largest indexes that items of trays, rotors, supplies and sensors can have: nothing
     * beyond them is configured, whatever a count says. */
    TRAYS_MAX = 16,
    ROTORS_MAX = 16,
    SUPPLIES_MAX = 16,
    SENSORS_MAX = 82,
    TEXT_SIZE = 256 /* the largest buffer that an inventory getter wants */
};

/* A text result is bytes and a length; a length below 0 or above the buffer is nothing to print. */
typedef int (*text_getter)(uint32_t id, char *buf, int *len);

static void print_text(const char *label, text_getter get, uint32_t id) {
    char text[TEXT_SIZE] = "";
    int len = sizeof text - 1;
    if (get(id, text, &len) == DFD_OK && len > 0 && len < (int)sizeof text) {
        printf("  %s %.*s", label, len, text);
    }
}

static const char *fan_state(int status) {
    switch (status) {
        case 0:
            return "absent";
        case 2:
            return "failed";
        case 3:
            return "line failed";
        default:
            return status < 0 ? "unknown" : "ok";
    }
}

static void watch_fan(uint32_t fan) {
    const int status = drv_get_fan_status(fan);
    int rotors = 0;
    printf("fan %u: %s", (unsigned)fan, fan_state(status));
    if (status > 0 && drv_get_fan_num(fan, &rotors) == DFD_OK) {
        for (int rotor = 1; rotor <= rotors && rotor <= ROTORS_MAX; ++rotor) {
            int speed = 0;
            if (drv_get_fan_speed(fan, (uint8_t)rotor, &speed) == DFD_OK) {
                printf("  rotor %d at %d", rotor, speed);
            }
        }
        print_text("serial", drv_get_fan_sn, fan);
    }
    printf("\n");
}

static const char *power_state(int status) {
    switch (status) {
        case 0:
            return "absent";
        case 1:
            return "ok";
        case 3:
            return "failed";
        case 4:
            return "input lost";
        case 5:
            return "failed, bit 4 set";
        default:
            return "unknown";
    }
}

static void watch_supply(uint32_t supply) {
    const int status = drv_get_power_status(supply);
    int input = 0;
    if (status == DFD_ERR_NOT_SUPPORTED) {
        return; /* the board has no such supply */
    }
    printf("power %u: %s", (unsigned)supply, power_state(status));
    if (status > 0) {
        const int output = drv_get_power_ovol(supply);
        const int watts = drv_get_power_osupply(supply);
        print_text("name", drv_get_power_name, supply);
        if (drv_get_power_vol_in(supply, &input) == DFD_OK) {
            printf("  in %d V", input);
        }
        if (output >= 0) {
            printf("  out %d mV", output);
        }
        if (watts >= 0) {
            printf("  %d mW", watts);
        }
    }
    printf("\n");
}

/* Of the own card: own_slot is what drv_get_my_slotid returned, be it a code. */
static void watch_temperatures(int own_slot) {
    int alarm = 0;
    const int has_alarm = drv_get_sys_card_alarm_temp(&alarm) == DFD_OK;
    for (uint8_t sensor = 0; sensor <= SENSORS_MAX; ++sensor) {
        char name[DFD_PATH_SIZE] = "";
        int temp = 0;
        if (drv_check_temp_valid(own_slot, sensor) == 0 ||
            drv_get_card_temp(own_slot, sensor, &temp) != DFD_OK) {
            continue;
        }
        if (drv_get_temp_name(sensor, name, sizeof name) != DFD_OK) {
            snprintf(name, sizeof name, "sensor %u", sensor);
        }
        printf("temperature %s: %d C%s\n", name, temp, has_alarm && temp >= alarm ? "  ALARM" : "");
    }
}

static int handle_interrupt(const irq_info_t *source) {
    const char *type = source->type < sizeof g_irq_type_name / sizeof g_irq_type_name[0]
                           ? g_irq_type_name[source->type].name
                           : "unknown";
    printf("interrupt: %s %u %u %u\n", type, (unsigned)source->val0, (unsigned)source->val1,
           (unsigned)source->val2);
    return 0;
}

int main(void) {
    if (dev_drv_init() != DFD_OK) {
        /* The log says why; it goes to standard output. */
        fprintf(stderr, "platform: the library did not start\n");
        return 1;
    }
    const int slot = drv_get_my_slotid();
    printf("board type %d, chassis type %d, ", drv_get_my_dev_type(), drv_get_my_chassis_type());
    if (slot >= 0) {
        printf("slot %d\n", slot);
    } else {
        printf("no slot number\n"); /* a board that is alone in its chassis */
    }

    const int trays = drv_get_sys_fan_num();
    for (int fan = 1; fan <= trays && fan <= TRAYS_MAX; ++fan) {
        watch_fan((uint32_t)fan);
    }
    for (uint32_t supply = 1; supply <= SUPPLIES_MAX; ++supply) {
        watch_supply(supply);
    }
    watch_temperatures(slot);

    /* Real software calls the dispatch when the interrupt line fires. */
    if (drv_irq_cfg_init() > 0 && drv_irq_dispatch(0, handle_interrupt) == DFD_OK) {
        printf("interrupts served\n");
    }
    return 0;
}
