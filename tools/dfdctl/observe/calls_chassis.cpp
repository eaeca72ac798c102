// SPDX-License-Identifier: MIT
// How to call the functions about the board, its chassis and the cards in it.
#include <dfd/dfd.h>

#include "dfdctl/observe/call_row.hpp"

namespace dfdctl::observe {

namespace {

// clang-format off
constexpr Call kChassis[] = {
    DFD_CALL(board, get, drv_get_my_dev_type, "result"),
    DFD_CALL(board, get, dfd_get_my_card_type, "result"),
    DFD_CALL(board, get, dfd_get_dev_type, "result"),
    DFD_CALL(board, get, dfd_dev_type_from_product_id, "result"),
    DFD_CALL(board, get, dfd_my_type_from_e2, "result"),
    DFD_CALL(board, get, sdd_get_my_card_type, "result essential"),
    DFD_CALL(board, get, sdd_get_my_chassis_type, "result essential"),
    DFD_CALL(slots, get, sdd_get_my_slotid, "result essential"),
    DFD_CALL(slots, get, sdd_get_my_sslotid, "result"),
    DFD_CALL(board, get, sdd_get_my_cpu_id, "result"),
    DFD_CALL(board, get, drv_get_my_cpuid, "result"),
    DFD_CALL(slots, get, sdd_get_virtual_slotid, "slot result"),
    DFD_CALL_BOTH(slots, get, get_slot_online, "slot result essential polled"),
    DFD_CALL(slots, get, sdd_get_sslot_num, "result"),
    DFD_CALL_BOTH(slots, get, get_sslot_state, "sub_slot result polled"),
    DFD_CALL(board, get, sdd_get_chassis_mb_info, "out"),
    DFD_CALL(board, get, sdd_get_peer_mb_state, "out polled"),
    DFD_CALL(board, get, sdd_rd_mcpu_present, "out"),
    DFD_CALL(board, set, sdd_set_my_mb_status, "mode"),
    DFD_CALL(slots, control, sdd_reset_linecard, "slot all"),
    DFD_CALL(slots, control, sdd_reset_lc, "slot"),
    DFD_CALL(slots, control, sdd_reset_lc_all, ""),
    DFD_CALL(board, control, sdd_reset_master, ""),
    DFD_CALL(board, pure, sdd_mb_is_compatible, "value value result"),
    DFD_CALL(board, pure, dfd_mb_is_compatible, "value value result"),
    DFD_CALL(board, pure, drv_my_dev_type_is_fe, "result"),
    DFD_CALL(board, get, sdd_get_cpld_ver_date, "buffer capacity"),
    DFD_CALL(board, get, sdd_get_fpga_ver_date, "buffer capacity"),
    DFD_CALL(board, pure, dfd_cfg_card_hw_ver, "hw length"),
    DFD_CALL(board, get, dfd_check_fwed_v100, "result"),
    DFD_CALL(board, get, sdd_get_support_lc_hwhb, "out"),
    DFD_CALL(board, get, sdd_get_eeprom_fail_status, "out polled"),
    DFD_CALL(board, get, sdd_get_mb_temp_fail_status, "out"),
    DFD_CALL(board, get, sdd_get_vsd_support_num, "out"),
    DFD_CALL(board, get, sdd_get_mgmt_mtu_range, "ignored out:bytes out:bytes out:bytes"),
    DFD_CALL(board, get, sdd_get_cfg_dist_finish_time, "result"),
    DFD_CALL(board, set, sdd_install_card_chip_family, "mask"),
    DFD_CALL(board, pure, sdd_set_sys_chip_mode, "mode"),
    DFD_CALL(board, pure, sdd_get_sys_chip_mode, "out"),
    DFD_CALL(board, pure, sdd_install_ca_fe, "mode"),
    DFD_CALL(board, pure, sdd_set_ca_sys_fe_mode, "mode"),
    DFD_CALL(board, pure, sdd_get_ca_sys_fe_mode, "out"),
    DFD_CALL(board, get, sdd_get_my_type_from_setmac, "result"),
    DFD_CALL_BOTH(board, get, check_mycard_is_conflict, "result"),
    DFD_CALL(ports, get, dfd_port_get_sfp_present, "port out essential polled"),
    DFD_CALL(ports, set, dfd_port_set_sfp_tx, "port value"),
    DFD_CALL(board, get, drv_get_reset_button_type, "result"),

    DFD_CALL(cards, get, sdd_get_card_power_consume, "slot out:W"),
    DFD_CALL(cards, get, drv_get_card_rate_power, "slot out:W"),
    DFD_CALL_BOTH(cards, get, get_my_rate_power, "out:W essential"),
    DFD_CALL(cards, get, sdd_get_card_power_status, "slot out polled"),
    DFD_CALL(cards, control, sdd_control_card_power_on_off, "slot value"),
    DFD_CALL(cards, control, drv_control_ca_card_power_on_off, "slot value"),
    DFD_CALL(voltages, get, sdd_get_card_vol_num, "result essential"),
    DFD_CALL(voltages, set, dfd_card_vol_lock, "value"),
    DFD_CALL(voltages, get, sdd_get_card_vol, "slot channel result:mV essential polled"),
    DFD_CALL(voltages, get, dfd_get_card_vol, "slot channel out:mV"),
    DFD_CALL(voltages, get, sdd_get_card_vol_waterline, "slot channel out:mV"),
    DFD_CALL(voltages, pure, drv_get_card_vol_i2c, "ignored ignored out:mV"),
    DFD_CALL(voltages, get, sdd_get_current_voltage, "out:V polled"),
    DFD_CALL(cards, pure, dfd_flock_down, "ignored"),
    DFD_CALL(cards, pure, dfd_flock_up, "ignored"),
    DFD_CALL(cards, get, sdd_get_sub_unintlg_lc_info, "ignored sub_slot out scratch"),
    DFD_CALL(cards, get, sdd_get_sub_unintlg_sn, "sub_slot buffer capacity"),
    DFD_CALL(cards, get, sdd_get_sub_unintlg_hw_ver, "sub_slot buffer capacity"),
    DFD_CALL(cards, set, sdd_set_sub_unintlg_info, "sub_slot sn hw"),
};
// clang-format on

}  // namespace

std::span<const Call> chassis_calls() {
    return kChassis;
}

}  // namespace dfdctl::observe
