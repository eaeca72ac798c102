// SPDX-License-Identifier: MIT
// Buses and their addresses, and registers that several items claim.
#include <dfd/keys.h>
#include <dfd/records.h>
#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <tuple>

#include "dfdctl/board/describe.hpp"
#include "dfdctl/lint/registers.hpp"
#include "dfdctl/lint/survey.hpp"
#include "dfdctl/lint/uses.hpp"
#include "framework/dfd_info/bits.h"

#include <fmt/format.h>

namespace dfdctl::lint {

namespace {

constexpr std::uint32_t kLastAddress = 0x7F;
constexpr std::uint32_t kLast8BitAddress = 0xFF;
constexpr std::uint32_t kFirstDeviceAddress = 0x08;
constexpr std::uint32_t kLastDeviceAddress = 0x77;
constexpr std::string_view kFpgaPath = "/dev/fpga0";

void check_address(Check &check, const Item &item, int member, std::uint32_t addr) {
    if (!is_set(check, item, member)) {
        check.at_item("i2c-address-missing", item.key(),
                      fmt::format("{} has no .addr: address 0, at which no device answers, is used",
                                  as_written(item)));
    } else if (addr > kLastAddress) {
        const bool is_shifted = addr <= kLast8BitAddress;
        check.at_member(
            "i2c-address-wide", item.key(), member,
            fmt::format("an I2C address has 7 bits, {:#x} is none{}", addr,
                        is_shifted
                            ? fmt::format(": without its read/write bit it is {:#04x}", addr >> 1)
                            : ""));
    } else if (addr < kFirstDeviceAddress || addr > kLastDeviceAddress) {
        check.at_member("i2c-address-reserved", item.key(), member,
                        fmt::format("I2C address {:#04x} is reserved by the bus: devices have 0x08 "
                                    "to 0x77",
                                    addr));
    }
}

bool is_on_i2c(const Item &item, const info_ctrl_t &ctrl) {
    return item.type->type == DFD_KEY_SSLOT_E2PROM || is_eeprom_mode(ctrl.mode) ||
           (is_hardware_mode(ctrl.mode) && !is_place_only(item) && ctrl.src == INFO_SRC_I2C);
}

void check_i2c_item(Check &check, const Item &item, const info_ctrl_t &ctrl) {
    if (check.is_found("layout-unknown", item.key())) {
        return;  // no EEPROM is meant
    }
    const std::string_view path = ctrl.fpath;
    const bool is_localbus = is_hardware_mode(ctrl.mode) && ctrl.src == INFO_SRC_I2C &&
                             (path == kFpgaPath || is_numbered_path(path, kCpldPrefix));
    if (is_localbus) {
        // No wonder that it has no address, and differs from devices on a bus.
        check.withdraw("unit-differs", item.key());
        check.withdraw("device-once", item.key());
    } else {
        check_address(check, item, kAddr, ctrl.addr);
    }
    if (path.empty() || is_numbered_path(path, kI2cPrefix)) {
        return;
    }
    check.at_member(
        "i2c-path", item.key(), kFpath,
        fmt::format("'{}' is no I2C bus: those are /dev/i2c-N; on any other device the "
                    "transfer fails{}",
                    path, is_localbus ? "; write .src=localbus for its registers" : ""));
}

void check_localbus_item(Check &check, const Item &item, const info_ctrl_t &ctrl,
                         std::set<std::string_view> &said) {
    const std::string_view path = ctrl.fpath;
    if (path.empty() || path == kFpgaPath || is_numbered_path(path, kCpldPrefix)) {
        return;
    }
    if (is_numbered_path(path, kI2cPrefix)) {
        check.at_member("localbus-i2c", item.key(), kFpath,
                        fmt::format("'{}' is an I2C bus, but the source is localbus: registers are "
                                    "not read through it; write .src=i2c and .addr",
                                    path));
    } else if (said.insert(path).second) {
        check.at_member("localbus-path", item.key(), kFpath,
                        fmt::format("'{}' is none of /dev/cpldN and /dev/fpga0, the devices with "
                                    "registers",
                                    path));
    }
}

/// A file is read in one go and never written.
void check_file_item(Check &check, const Item &item, const info_ctrl_t &ctrl) {
    const std::string_view path = ctrl.fpath;
    const bool is_bus = is_numbered_path(path, kI2cPrefix);
    if (is_bus || is_numbered_path(path, kCpldPrefix)) {
        check.at_member("file-device", item.key(), kFpath,
                        fmt::format("'{}' is a device, but the source is file, which is read in "
                                    "one transfer and never written; write .src={}",
                                    path, is_bus ? "i2c and .addr" : "localbus"));
    }
}

void check_device_item(Check &check, const Item &item, const i2c_dev_t &device) {
    check_address(check, item, kDevAddr, device.addr);
    if (!is_set(check, item, kDevBus)) {
        check.at_item("i2c-bus-missing", item.key(),
                      fmt::format("{} has no .bus: bus 0 is used", as_written(item)));
    }
}

void check_buses(Check &check) {
    std::set<std::string_view> said;
    for (const Item &item : configured(check, Kind::i2c_dev)) {
        check_device_item(check, item, *record_of<i2c_dev_t>(item));
    }
    for (const Item &item : configured(check, Kind::info_ctrl)) {
        const auto &ctrl = *record_of<info_ctrl_t>(item);
        if (is_on_i2c(item, ctrl)) {
            check_i2c_item(check, item, ctrl);
        } else if (is_hardware_mode(ctrl.mode) && ctrl.src == INFO_SRC_LOCALBUS) {
            check_localbus_item(check, item, ctrl, said);
        } else if (is_hardware_mode(ctrl.mode) && ctrl.src == INFO_SRC_FILE) {
            check_file_item(check, item, ctrl);
        }
    }
}

bool is_register_source(const info_ctrl_t &ctrl) {
    return is_hardware_mode(ctrl.mode) &&
           (ctrl.src == INFO_SRC_LOCALBUS || ctrl.src == INFO_SRC_I2C);
}

/// Items without a register on devices where others have one: a chip may have one register only.
void check_missing_registers(Check &check) {
    using Place = std::tuple<std::string_view, std::uint32_t>;
    const auto place_of = [](const info_ctrl_t &ctrl) {
        return Place(ctrl.fpath, ctrl.src == INFO_SRC_I2C ? ctrl.addr : 0);
    };
    std::vector<Item> with;
    std::vector<Item> without;
    for (const Item &item : configured(check, Kind::info_ctrl)) {
        const auto &ctrl = *record_of<info_ctrl_t>(item);
        if (is_register_source(ctrl) && !is_place_only(item)) {
            (is_set(check, item, kRegOffset) ? with : without).push_back(item);
        }
    }
    if (without.empty()) {
        return;
    }
    std::set<Place> have_registers;
    for (const Item &item : with) {
        have_registers.insert(place_of(*record_of<info_ctrl_t>(item)));
    }
    for (const Item &item : without) {
        if (have_registers.contains(place_of(*record_of<info_ctrl_t>(item)))) {
            check.at_item("register-missing", item.key(),
                          fmt::format("{} has no .reg_offset, as others of this device have: "
                                      "register 0 is accessed",
                                      as_written(item)));
        }
    }
}

/// Units of these types share a register on many boards: one mask for a group of sources, one speed
/// for all rotors, one LED or one protection for all units, switches of two cards in one.
constexpr std::array<std::uint32_t, 9> kShared = {
    DFD_KEY_IRQ_MASK,        DFD_KEY_FAN_CFG_SPEED,    DFD_KEY_GET_FAN_CFG_SPEED,
    DFD_KEY_SOFT_LED_CTRL,   DFD_KEY_MB_FAN_LED_CTRL,  DFD_KEY_MB_FAN_IN_FAN_LED_CTRL,
    DFD_KEY_MB_PWR_LED_CTRL, DFD_KEY_E2_WRITE_PROTECT, DFD_KEY_CARD_POWER_CTRL,
};

bool may_share(std::uint32_t type) {
    return std::find(kShared.begin(), kShared.end(), type) != kShared.end();
}

/// Where an item's bits are; no two devices have one address here.
using Bits = std::tuple<const Device *, std::uint32_t, std::uint32_t, std::uint8_t>;

/// The units of each type, and which bits they share.
class Rows {
  public:
    explicit Rows(const std::map<Device, std::vector<Claim>> &devices) {
        std::vector<std::pair<Bits, std::uint32_t>> types;
        for (const auto &[device, claims] : devices) {
            for (const Claim &claim : claims) {
                const Bits bits(&device, claim.first, claim.bytes, claim.mask);
                bits_.emplace_back(claim.item.key(), bits);
                types.emplace_back(bits, claim.item.type->type);
                ++rows_[claim.item.type->type].units;
            }
        }
        std::ranges::sort(bits_);
        std::ranges::sort(types);
        types.erase(std::unique(types.begin(), types.end()), types.end());
        for (auto at = types.begin(); at != types.end();) {
            const auto end = std::find_if(
                at, types.end(), [&](const auto &other) { return other.first != at->first; });
            for (auto type = at; type != end; ++type) {
                ++rows_[type->second].places;
                for (auto other = at; other != end; ++other) {
                    ++meetings_[{type->second, other->second}];
                }
            }
            at = end;
        }
    }

    /// The only two units that share among units that do not.
    bool is_only_pair(std::uint32_t type) const {
        const Row &row = rows_.at(type);
        return type != DFD_KEY_E2_WRITE_PROTECT && row.units >= kLeastUnits &&
               row.places + 1 == row.units;
    }
    /// The only place that units of two types share, where one of them has several.
    bool is_only_meeting(std::uint32_t a, std::uint32_t b) const {
        return meetings_.at({a, b}) == 1 &&
               std::max(rows_.at(a).units, rows_.at(b).units) >= kLeastUnits;
    }
    /// Null for an item that claims nothing.
    const Bits *find(std::uint32_t key) const {
        const auto found =
            std::ranges::lower_bound(bits_, key, {}, &std::pair<std::uint32_t, Bits>::first);
        return found != bits_.end() && found->first == key ? &found->second : nullptr;
    }

    /// Fewer units prove nothing.
    static constexpr std::size_t kLeastUnits = 4;

  private:
    struct Row {
        std::size_t units = 0;
        std::size_t places = 0;
    };
    std::map<std::uint32_t, Row> rows_;
    std::map<std::pair<std::uint32_t, std::uint32_t>, std::size_t> meetings_;  ///< by two types
    std::vector<std::pair<std::uint32_t, Bits>> bits_;                         ///< by key
};

/// What is written, and what reads it back or is read beside it.
struct ReadBack {
    std::uint32_t written;
    std::uint32_t read;
};
constexpr std::array kReadBacks = {
    ReadBack{DFD_KEY_FAN_CFG_SPEED, DFD_KEY_GET_FAN_CFG_SPEED},
    ReadBack{DFD_KEY_CARD_POWER_CTRL, DFD_KEY_CARD_POWER_STATUS},
    ReadBack{DFD_KEY_2ND_IRQ_CLEAR, DFD_KEY_2ND_IRQ_STATUS},
    ReadBack{DFD_KEY_3RD_IRQ_CLEAR, DFD_KEY_3RD_IRQ_STATUS},
};

/// Another register, or another field of it. A field beside a whole register is none.
bool is_elsewhere(const Bits &a, const Bits &b) {
    const auto [device, first, bytes, mask] = a;
    const auto [other_device, other_first, other_bytes, other_mask] = b;
    const bool are_fields = mask != dfd::kWholeByte && other_mask != dfd::kWholeByte;
    return device != other_device || first != other_first || (are_fields && mask != other_mask);
}

/// The one unit that is read from another register than it is written to; its keys go to `said`.
void check_read_back(Check &check, const Rows &rows, const ReadBack &pair,
                     std::set<std::uint32_t> &said) {
    std::size_t units = 0;
    std::vector<Item> odd;
    for (const Item &item : configured(check, pair.read)) {
        const Item written = item_of(pair.written, item.index1, item.index2);
        const Bits *from = rows.find(item.key());
        const Bits *to = rows.find(written.key());
        if (from != nullptr && to != nullptr) {
            ++units;
            if (is_elsewhere(*from, *to)) {
                odd.push_back(item);
            }
        }
    }
    if (units < Rows::kLeastUnits || odd.size() != 1) {
        return;
    }
    const Item written = item_of(pair.written, odd[0].index1, odd[0].index2);
    said.insert({odd[0].key(), written.key()});
    const SourceLine *line = check.line_of(written.key(), kRegOffset);
    check.at_member(
        "read-back-differs", odd[0].key(), kRegOffset,
        fmt::format("{} is not where {}{} is written, while the {} others are read "
                    "from where they are written",
                    as_written(odd[0]), as_written(written),
                    line != nullptr ? fmt::format(" ({})", check.place(*line)) : "", units - 1));
}

/// What two items disagree about, as a rule and a text; a rule without a name: nothing.
struct Conflict {
    std::string_view rule = {};
    std::string text = {};
};

/// What a mask is switched with: the type of its source, card where there is none.
std::uint32_t irq_type_of(const Item &mask) {
    const auto *source = record_of<irq_info_t>(item_of(DFD_KEY_IRQ_INFO, mask.index1));
    return source != nullptr ? source->type : 0;
}

/// Two items of one type in the same bits.
Conflict conflict_of_units(const Rows &rows, const Claim &a, const Claim &b) {
    const std::uint32_t type = a.item.type->type;
    const bool is_mask = type == DFD_KEY_IRQ_MASK;
    if (is_mask && irq_type_of(a.item) != irq_type_of(b.item)) {
        return {
            "irq-mask-types",
            fmt::format("one mask for sources of type {} and of type {}: who masks the ones "
                        "masks the others as well",
                        irq_type_word(irq_type_of(a.item)), irq_type_word(irq_type_of(b.item)))};
    }
    if (!may_share(type)) {
        return {"register-twice",
                "both are the same place: a copied line whose register was not changed?"};
    }
    return rows.is_only_pair(type)
               ? Conflict{"register-twice",
                          "both are the same place, the only two of their row: a copied line whose "
                          "register was not changed?"}
               : Conflict{};
}

/// Two items of different types in the same bits that are both written.
Conflict conflict_of_writers(const Rows &rows, const Claim &a, const Claim &b) {
    return rows.is_only_meeting(a.item.type->type, b.item.type->type)
               ? Conflict{"register-twice",
                          "both are written in the same place, while the other units of the row "
                          "have places of their own: a copied line whose register was not changed?"}
               : Conflict{"register-shared",
                          "both are written in the same place: the one overwrites the other"};
}

/// Two items in the same bits of the same register.
Conflict conflict_in_same_bits(const Uses &uses, const Rows &rows, const Claim &a, const Claim &b) {
    if (a.item.type == b.item.type) {
        const Conflict conflict = conflict_of_units(rows, a, b);
        if (!conflict.rule.empty()) {
            return conflict;
        }
    } else if (uses.is_written(a.item.type->type) && uses.is_written(b.item.type->type)) {
        return conflict_of_writers(rows, a, b);
    }
    const bool is_number = a.is_field || (a.bytes > 1 && a.ctrl->frmt == b.ctrl->frmt);
    if (is_number && (a.ctrl->pola == INFO_POLA_NEGATIVE) != (b.ctrl->pola == INFO_POLA_NEGATIVE)) {
        return {"register-meaning", a.is_field
                                        ? "one inverts the bits, the other does not"
                                        : "one takes the first byte as most significant, the other "
                                          "as least"};
    }
    return {};
}

/// Two items in some of the same bits.
Conflict conflict_in_some_bits(const Uses &uses, const Device &device, const Claim &a,
                               const Claim &b) {
    if (a.is_field && b.is_field) {
        return {"register-overlap",
                fmt::format("the fields overlap: bits {:#04x} and bits {:#04x} of register {:#04x}",
                            a.mask, b.mask, a.first)};
    }
    const bool both_written =
        uses.is_written(a.item.type->type) && uses.is_written(b.item.type->type);
    if (a.first == b.first && both_written) {
        return {"register-overwritten",
                "both write the register: the one that writes all of it overwrites the bits of the "
                "other"};
    }
    // Registers of an I2C device may each have several bytes; a buffer may be read across others.
    const bool are_numbers = a.ctrl->frmt != INFO_FRMT_BUF && b.ctrl->frmt != INFO_FRMT_BUF;
    const bool is_nested =
        (a.first <= b.first && a.end() >= b.end()) || (b.first <= a.first && b.end() >= a.end());
    if (device.source != INFO_SRC_I2C && are_numbers && !is_nested) {
        return {"register-overlap",
                fmt::format("the numbers overlap: {:#04x} to {:#04x} and {:#04x} to {:#04x}",
                            a.first, a.end() - 1, b.first, b.end() - 1)};
    }
    return {};
}

Conflict conflict_of(const Uses &uses, const Rows &rows, const Device &device, const Claim &a,
                     const Claim &b) {
    if (a == b) {
        return conflict_in_same_bits(uses, rows, a, b);
    }
    const bool meet = a.first < b.end() && b.first < a.end() && (a.mask & b.mask) != 0;
    return meet ? conflict_in_some_bits(uses, device, a, b) : Conflict{};
}

void add_conflict(Check &check, const Claim &at, const Claim &other, const Conflict &conflict) {
    const CtrlMember member = at.is_field ? kBitOffset : kRegOffset;
    const SourceLine *line = check.line_of(other.item.key(), kRegOffset);
    check.at_member(conflict.rule, at.item.key(), member,
                    fmt::format("{} and {}{}: {}", as_written(at.item), as_written(other.item),
                                line != nullptr ? fmt::format(" ({})", check.place(*line)) : "",
                                conflict.text));
}

/// Whether conflict_of() finds the same for both, whatever the other claim is.
bool are_alike(const Claim &a, const Claim &b) {
    const auto kind_of = [](const Claim &claim) {
        return std::tuple(claim.is_field, claim.item.type, claim.ctrl->frmt, claim.ctrl->pola,
                          claim.item.type->type == DFD_KEY_IRQ_MASK ? irq_type_of(claim.item) : 0);
    };
    return a == b && kind_of(a) == kind_of(b);
}

/// Each claim against one of each kind before it that reaches so far; one finding a claim, none for
/// those that something is said of.
void check_registers(Check &check, const Rows &rows, const std::set<std::uint32_t> &said,
                     const Device &device, const std::vector<Claim> &claims) {
    const Uses &uses = check.uses();
    std::vector<const Claim *> near;
    for (const Claim &claim : claims) {
        if (said.contains(claim.item.key())) {
            continue;
        }
        std::erase_if(near, [&](const Claim *other) { return other->end() <= claim.first; });
        for (const Claim *const other : near) {
            const Conflict conflict = conflict_of(uses, rows, device, *other, claim);
            if (!conflict.rule.empty()) {
                add_conflict(check, claim, *other, conflict);
                break;
            }
        }
        if (std::ranges::none_of(near,
                                 [&](const Claim *other) { return are_alike(*other, claim); })) {
            near.push_back(&claim);
        }
    }
}

/// EEPROM images of two units at one address.
void check_shared_images(Check &check) {
    std::map<std::tuple<std::uint32_t, std::string, std::uint32_t, std::uint32_t>, Item> seen;
    for (const Item &item : configured(check, Kind::info_ctrl)) {
        const auto &ctrl = *record_of<info_ctrl_t>(item);
        if (ctrl.fpath[0] == '\0' ||
            (!is_eeprom_mode(ctrl.mode) && item.type->type != DFD_KEY_SSLOT_E2PROM)) {
            continue;
        }
        const auto [at, is_new] =
            seen.try_emplace({item.type->type, ctrl.fpath, ctrl.addr, ctrl.reg_offset}, item);
        if (!is_new) {
            check.at_member("eeprom-twice", item.key(), kAddr,
                            fmt::format("{} and {} are read from the same EEPROM: a copied line "
                                        "whose address was not changed?",
                                        as_written(item), as_written(at->second)));
        }
    }
}

}  // namespace

void check_addresses(Check &check) {
    check_buses(check);
    check_missing_registers(check);
    check_shared_images(check);
    const std::map<Device, std::vector<Claim>> devices = claims_of(check);
    const Rows rows(devices);
    std::set<std::uint32_t> said;
    for (const ReadBack &pair : kReadBacks) {
        check_read_back(check, rows, pair, said);
    }
    for (const auto &[device, claims] : devices) {
        check_registers(check, rows, said, device, claims);
    }
}

}  // namespace dfdctl::lint
