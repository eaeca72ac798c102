// SPDX-License-Identifier: MIT
#include "sweep/arguments.h"

#include <dfd/inventory.h>
#include <dfd/records.h>
#include <cstdlib>
#include <set>
#include <tuple>

#include "hal/board_bus.h"

namespace sweep_test {

namespace {

using namespace dfdctl::observe;

// Where an item says that something is.
struct ItemPlace {
    std::uint32_t key = 0;
    std::string device;
    std::uint32_t address = 0;
    std::uint32_t offset = 0;
    std::uint32_t source = 0;
};

// One item of each kind: mode, source and format.
std::vector<ItemPlace> places(const dfdctl::LoadRecord &record, auto &&wanted) {
    std::vector<ItemPlace> found;
    std::set<std::tuple<int, int, int>> kinds;
    for (const auto &[key, origins] : record.origins) {
        const auto *item = dfdctl::record_of<info_ctrl_t>(dfdctl::item_of_key(key));
        if (item != nullptr && wanted(key, *item) &&
            kinds.emplace(item->mode, item->src, item->frmt).second) {
            found.push_back({key, item->fpath, item->addr, item->reg_offset,
                             static_cast<std::uint32_t>(item->src)});
        }
    }
    return found;
}

bool is_in(std::string_view text, std::string_view name) {
    return name.find(text) != std::string_view::npos;
}

// EEPROMs of the layout that a function is about; the board's own one where there is none.
std::vector<ItemPlace> eeproms(const dfdctl::LoadRecord &record, std::string_view function) {
    const bool is_power = is_in("power", function);
    const int mode = is_in("fru", function)      ? INFO_CTRL_MODE_FRU
                     : is_in("legacy", function) ? INFO_CTRL_MODE_LEGACY
                                                 : INFO_CTRL_MODE_TLV;
    const auto is_wanted = [&](std::uint32_t key, const info_ctrl_t &item) {
        const bool is_of_power = DFD_KEY_TYPE(key) == DFD_KEY_POWER_HW_VER;
        return item.mode == mode && (mode != INFO_CTRL_MODE_LEGACY || is_of_power == is_power);
    };
    std::vector<ItemPlace> found = places(record, is_wanted);
    if (found.empty()) {
        found.push_back({.device = dfd::kBoardBus, .address = dfd::kBoardE2promAddr});
    }
    found.resize(1);
    return found;
}

bool takes(const Call &call, Role role) {
    for (const Param *param : call.inputs()) {
        if (param->role == role) {
            return true;
        }
    }
    return false;
}

std::uint32_t bus_number(const std::string &device) {
    const std::size_t dash = device.rfind('-');
    return dash == std::string::npos
               ? 0
               : static_cast<std::uint32_t>(std::atoi(device.c_str() + dash + 1));
}

// Numbers and texts of a call in the order of its parameters.
Args args_at(const Call &call, const ItemPlace &place, std::uint32_t info) {
    constexpr std::uint32_t kLength = 8;
    Args args;
    for (const Param *param : call.inputs()) {
        switch (param->role) {
            case Role::device:
            case Role::path:
                args.texts.push_back(place.device);
                break;
            case Role::sn:
            case Role::hw:
            case Role::text:
                args.texts.emplace_back(facts_of(param->role).text);
                break;
            case Role::key:
                args.numbers.push_back(place.key);
                break;
            case Role::bus:
                args.numbers.push_back(bus_number(place.device));
                break;
            case Role::address:
                args.numbers.push_back(place.address);
                break;
            case Role::offset:
                args.numbers.push_back(place.offset);
                break;
            case Role::source:
                args.numbers.push_back(place.source);
                break;
            case Role::info:
                args.numbers.push_back(info);
                break;
            case Role::length:
                // Several bytes on I2C go through the bus functions only.
                args.numbers.push_back(takes(call, Role::source) ? 1 : kLength);
                break;
            case Role::mask:
                args.numbers.push_back(info);
                break;
            default:
                args.numbers.push_back(facts_of(param->role).standard);
        }
    }
    return args;
}

}  // namespace

std::vector<Args> arguments_of(const Call &call, const dfdctl::LoadRecord &record,
                               const Units &units) {
    const bool is_of_eeproms = takes(call, Role::address) && !takes(call, Role::source);
    const bool is_of_items =
        takes(call, Role::key) || takes(call, Role::path) || takes(call, Role::source);
    if (!is_of_eeproms && !is_of_items) {
        return units.all_args(call);
    }
    // A function without a source is told a file or a register.
    const bool is_any_source = takes(call, Role::key) || takes(call, Role::source);
    const auto is_read = [=](std::uint32_t, const info_ctrl_t &item) {
        return item.mode == INFO_CTRL_MODE_CONFIG && item.src != INFO_SRC_NONE &&
               (is_any_source || item.src != INFO_SRC_I2C);
    };
    const std::vector<ItemPlace> all =
        is_of_eeproms ? eeproms(record, call.name) : places(record, is_read);
    std::vector<Args> found;
    for (const ItemPlace &place : all) {
        if (takes(call, Role::info)) {
            for (const std::uint32_t info :
                 {E2PROM_INFO_SN, E2PROM_INFO_HW_VER, E2PROM_INFO_DEV_TYPE}) {
                found.push_back(args_at(call, place, info));
            }
        } else if (takes(call, Role::mask)) {
            // A whole register, and a part of one.
            found.push_back(args_at(call, place, 0xFF));
            found.push_back(args_at(call, place, 0x0F));
        } else {
            found.push_back(args_at(call, place, 0));
        }
    }
    return found;
}

}  // namespace sweep_test
