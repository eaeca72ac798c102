// SPDX-License-Identifier: MIT
// How to call the functions about inventory, raw access and the library itself.
#include <dfd/dfd.h>

#include "dfdctl/observe/call_row.hpp"

namespace dfdctl::observe {

namespace {

// clang-format off
constexpr Call kAccess[] = {
    DFD_CALL(backplane, get, sdd_get_backplane_info, "backplane record essential"),
    DFD_CALL(backplane, set, sdd_set_backplane_info, "backplane data"),
    DFD_CALL(backplane, get, sdd_get_bp_hw_ver, "backplane buffer capacity result"),
    DFD_CALL(backplane, get, sdd_get_bp_sn, "backplane buffer capacity result"),
    DFD_CALL(backplane, get, sdd_get_bp_mac, "backplane bytes6"),
    DFD_CALL(backplane, get, drv_get_bp_mac, "backplane bytes6 capacity"),
    DFD_CALL(backplane, get, sdd_get_bp_serial, "backplane serial out"),
    DFD_CALL(backplane, get, sdd_get_bp_scale_mac, "out"),
    DFD_CALL(backplane, get, get_backplane_info_from_e2, "backplane record"),
    DFD_CALL(inventory, control, dfd_ctl_e2_write_pro, "group value"),
    DFD_CALL(inventory, control, drv_set_e2_wr_pro, "group value"),
    DFD_CALL(inventory, bus, sdd_get_e2prom_info_by_type, "device info address buffer capacity"),
    DFD_CALL(inventory, bus, sdd_get_e2prom_info_by_type_fru, "device info address buffer capacity"),
    DFD_CALL(inventory, bus, sdd_get_e2prom_info_by_type_fru_compatible, "device info address buffer capacity"),
    DFD_CALL(inventory, bus, sdd_get_e2prom_legacy_info_by_type, "device info address buffer capacity"),
    DFD_CALL(inventory, bus, sdd_get_e2prom_legacy_power_info_by_type, "device info address offset buffer capacity"),
    DFD_CALL(inventory, bus, dfd_set_fan_info_tlv, "device address sn hw"),
    DFD_CALL(inventory, bus, dfd_set_card_info_tlv, "device address sn hw"),
    DFD_CALL(inventory, bus, dfd_set_fan_info_fru, "device address sn hw"),
    DFD_CALL(inventory, bus, dfd_set_card_info_fru, "device address sn hw"),
    DFD_CALL(inventory, bus, dfd_set_fan_info_legacy, "device address none sn hw"),
    DFD_CALL(inventory, bus, dfd_set_power_info_legacy, "device address offset hw"),
    DFD_CALL(inventory, bus, dfd_read_e2prom, "device address offset buffer length"),
    DFD_CALL(inventory, bus, dfd_write_e2prom, "device address offset data length"),
    DFD_CALL(inventory, bus, dfd_check_e2prom_info, "device address data result"),
    DFD_CALL(inventory, bus, dfd_get_e2prom_info, "device address bytes10"),
    DFD_CALL(inventory, bus, dfd_get_tlv_data, "device address info data buffer capacity"),
    DFD_CALL(inventory, bus, dfd_get_frue2prom_info, "device address bytes8"),
    DFD_CALL(inventory, bus, dfd_get_fru_data, "device address info buffer capacity"),
    DFD_CALL(inventory, pure, sdd_get_string_by_buf, "data length buffer capacity"),
    DFD_CALL(inventory, pure, calculate_crc, "data length result"),
    DFD_CALL(inventory, pure, verify_fru_data, "data length"),
    DFD_CALL(inventory, pure, ipmi_validate_common_hdr, "data length"),
    DFD_CALL(inventory, pure, ipmi_fru_product_info_area, "data length scratch scratch"),
    DFD_CALL(inventory, pure, insert_fru_str, "scratch length out text offset value"),
    DFD_CALL(inventory, pure, ipmi_fru_sn_hw_updata, "scratch length length sn hw data"),
    DFD_CALL(inventory, pure, dfd_set_fru_product_info, "scratch scratch info"),

    DFD_CALL(bus, bus, sdd_device_read, "path offset buffer length result:bytes"),
    DFD_CALL(bus, bus, sdd_device_write, "path offset data length"),
    DFD_CALL(bus, bus, dfd_cpld_read, "offset out"),
    DFD_CALL(bus, bus, dfd_cpld_write, "offset value"),
    DFD_CALL(bus, bus, dfd_fpga_read, "offset out"),
    DFD_CALL(bus, bus, dfd_fpga_write, "offset value"),
    DFD_CALL(bus, pure, dev_drv_check_cpld_status, "index"),
    DFD_CALL(bus, pure, dev_drv_check_fpga_status, "index"),
    DFD_CALL(bus, pure, drv_check_cpld, "index"),
    DFD_CALL(bus, pure, drv_check_ucd9081, "bus address index"),
    DFD_CALL(bus, pure, drv_fpga_self_test, ""),
    DFD_CALL(bus, pure, dfd_drv_get_fd, "value scratch"),
    DFD_CALL(bus, bus, sdd_read_i2c_one_time, "device address offset buffer length wide"),
    DFD_CALL(bus, bus, sdd_write_i2c_one_time, "device address offset data length wide"),
    DFD_CALL(bus, bus, sdd_read_i2c, "device address offset buffer length"),
    DFD_CALL(bus, bus, sdd_write_i2c, "device address offset data length"),
    DFD_CALL(bus, bus, dfd_read_port_i2c, "device address offset buffer length"),
    DFD_CALL(bus, bus, dfd_write_port_i2c, "device address offset data length"),
    DFD_CALL(bus, bus, ssa_i2c_read, "device address offset buffer length"),
    DFD_CALL(bus, bus, ssa_i2c_write, "device address offset data length"),
    DFD_CALL(bus, bus, dfd_i2c_read_offset, "bus address offset buffer length"),
    DFD_CALL(bus, bus, dfd_i2c_read, "bus address buffer length"),
    DFD_CALL(bus, bus, dfd_i2c_write, "bus address offset data length"),
    DFD_CALL(bus, bus, dfd_dev_check_db_a1_flag, "out"),
    DFD_CALL(bus, bus, drv_check_db_a1_flag, "out"),
    DFD_CALL(bus, bus, dfd_info_get_int, "key out none"),
    DFD_CALL(bus, bus, dfd_info_get_int_by_index, "key index out none"),
    DFD_CALL(bus, bus, dfd_info_get_buf, "key buffer capacity none"),
    DFD_CALL(bus, bus, dfd_info_set_int, "key value"),
    DFD_CALL(bus, bus, dfd_get_led_info_regval, "key led_state out"),
    DFD_CALL(bus, bus, dfd_get_led_info_state, "key value out"),
    DFD_CALL(bus, bus, dfd_read_info, "source path address offset length buffer result:bytes"),
    DFD_CALL(bus, bus, dfd_write_info, "source path address offset length data mask"),
    DFD_CALL(bus, bus, sdd_read_info_localbus, "path offset length buffer result:bytes"),
    DFD_CALL(bus, bus, sdd_write_info_localbus, "path offset length data mask"),

    DFD_CALL(framework, startup, dev_drv_init, ""),
    DFD_CALL(framework, startup, dfd_lib_cfg_init, ""),
    DFD_CALL(framework, startup, dfd_lib_cfg_init_pre, ""),
    DFD_CALL(framework, startup, dfd_lib_cfg_chassic_init, ""),
    DFD_CALL(framework, internal, dfd_irq_set_type_distrib, "irq_type index index"),
    DFD_CALL(framework, internal, dfd_debug_set, "value value"),
    DFD_CALL(framework, internal, dfd_open_debug, "level"),
    DFD_CALL(framework, internal, dfd_debug_switch, "value"),
    DFD_CALL(framework, internal, dfd_lib_cfg_get_item, "key"),
    DFD_CALL(framework, internal, btree_init_root, "scratch"),
    DFD_CALL(framework, internal, btree_insert_node, "scratch key scratch"),
    DFD_CALL(framework, internal, btree_find_node, "scratch key"),
    DFD_CALL(framework, internal, btree_delete_node, "scratch key"),
    DFD_CALL(framework, pure, compare_node, "data data"),
    DFD_CALL(framework, internal, dfd_lib_cfg_regval_conv_lst_add, "none value text index index"),
    DFD_CALL(framework, pure, dfd_lib_cfg_get_fan_speedlvl_by_regval, "value out"),
    DFD_CALL(framework, pure, dfd_lib_cfg_get_card_type_by_pid_str, "text out"),
    DFD_CALL(framework, pure, dfd_lib_cfg_get_power_type_by_name, "text out"),
    DFD_CALL(framework, pure, dfd_lib_cfg_get_fan_type_by_name, "text out"),
    DFD_CALL(framework, internal, dfd_lib_cfg_show_item, "key"),
    DFD_CALL(framework, internal, dfd_lib_cfg_print_item, "key none"),
    DFD_CALL(framework, internal, dfd_lib_cfg_show_convert_lst, "value"),
};
// clang-format on

}  // namespace

std::span<const Call> access_calls() {
    return kAccess;
}

}  // namespace dfdctl::observe
