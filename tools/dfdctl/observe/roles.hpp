// SPDX-License-Identifier: MIT
#pragma once

#include "dfdctl/observe/calls.hpp"

namespace dfdctl::observe {

/// In the order of enum Role.
inline constexpr RoleFacts kRoles[] = {
    {Role::fan, "fan", RoleKind::index, 1, {}},
    {Role::rotor, "rotor", RoleKind::index, 1, {}},
    {Role::supply, "supply", RoleKind::index, 1, {}},
    {Role::slot, "slot", RoleKind::index, 1, {}},
    {Role::card, "card", RoleKind::index, 0, {}},
    {Role::sub_slot, "sub_slot", RoleKind::index, 1, {}},
    {Role::sensor, "sensor", RoleKind::index, 0, {}},
    {Role::card_sensor, "card_sensor", RoleKind::index, 0, {}},
    {Role::channel, "channel", RoleKind::index, 1, {}},
    {Role::port, "port", RoleKind::index, 1, {}},
    {Role::mac, "mac", RoleKind::index, 0, {}},
    {Role::backplane, "backplane", RoleKind::index, 1, {}},
    {Role::serial, "serial", RoleKind::index, 0, {}},
    {Role::led_type, "led_type", RoleKind::index, 0, {}},
    {Role::fan_led, "fan_led", RoleKind::index, 1, {}},
    {Role::tray_led, "tray_led", RoleKind::index, 1, {}},
    {Role::supply_led, "supply_led", RoleKind::index, 1, {}},
    {Role::led_unit, "led_unit", RoleKind::index, 1, {}},
    {Role::led_state, "led_state", RoleKind::index, 1, {}},
    {Role::controller, "controller", RoleKind::index, 0, {}},
    {Role::irq_type, "irq_type", RoleKind::index, 0, {}},
    {Role::group, "group", RoleKind::index, 0, {}},
    {Role::all, "all", RoleKind::index, 0, {}},
    {Role::value, "value", RoleKind::number, 1, {}},
    {Role::level, "level", RoleKind::number, 1, {}},
    {Role::mode, "mode", RoleKind::number, 1, {}},
    {Role::key, "key", RoleKind::number, 0, {}},
    {Role::index, "index", RoleKind::number, 1, {}},
    {Role::length, "length", RoleKind::number, 1, {}},
    {Role::bus, "bus", RoleKind::number, 0, {}},
    {Role::address, "address", RoleKind::number, 0x50, {}},
    {Role::offset, "offset", RoleKind::number, 0, {}},
    {Role::wide, "wide", RoleKind::number, 0, {}},
    {Role::source, "source", RoleKind::number, 1, {}},
    {Role::mask, "mask", RoleKind::number, 0xFF, {}},
    {Role::info, "info", RoleKind::number, 3, {}},
    {Role::ignored, "ignored", RoleKind::support, 0, {}},
    // As long as the legacy layout of a fan wants it.
    {Role::sn, "sn", RoleKind::text, 0, "0000000000000"},
    {Role::hw, "hw", RoleKind::text, 0, "1.00"},
    {Role::device, "device", RoleKind::text, 0, "/dev/i2c-0"},
    {Role::path, "path", RoleKind::text, 0, "/dev/cpld0"},
    {Role::text, "text", RoleKind::text, 0, "text"},
    {Role::data, "data", RoleKind::support, 0, {}},
    {Role::out, "out", RoleKind::output, 0, {}},
    {Role::buffer, "buffer", RoleKind::output, 0, {}},
    {Role::capacity, "capacity", RoleKind::support, 0, {}},
    {Role::bytes6, "bytes6", RoleKind::output, 0, {}},
    {Role::bytes8, "bytes8", RoleKind::output, 0, {}},
    {Role::bytes10, "bytes10", RoleKind::output, 0, {}},
    {Role::record, "record", RoleKind::output, 0, {}},
    {Role::scratch, "scratch", RoleKind::support, 0, {}},
    {Role::handler, "handler", RoleKind::support, 0, {}},
    {Role::none, "none", RoleKind::support, 0, {}},
};

}  // namespace dfdctl::observe
